"""What the documents say of the sources: who includes whom, and which tests there are."""
import graphlib
import re
import unittest

import reader

PREFIXES = {  # how the headers begin that <...> names; others are the C++ library's, or with a .h POSIX's
    "Boost": "boost/", "cairo": "cairo", "CLI11": "CLI/", "expat": "expat.h", "Google Benchmark": "benchmark/", "GoogleTest": "gtest/",
    "libbson": "bson/bson.h", "libpng": "png.h", "nlohmann-json": "nlohmann/", "OpenColorIO": "OpenColorIO/"}


def library(header):
    known = [name for name, prefix in PREFIXES.items() if header.startswith("<" + prefix)]
    return known[0] if known else "POSIX" if header.startswith("<") and header.endswith(".h") else header


class Includes(unittest.TestCase):
    """CONTRIBUTING.md, "Layout"."""

    def setUp(self):
        table = reader.text("CONTRIBUTING.md").split("\n## Layout\n")[1].split("\n## ")[0]
        self.rooms = {reader.quoted(cells[0])[0]: cells for cells in reader.tables(table)[0][1]}
        files = [path for suffix in ("c", "cpp", "h", "hpp") for path in reader.SOURCE.glob(f"*/**/*.{suffix}")]
        self.files = {path.relative_to(reader.SOURCE).as_posix(): path for path in files if "build" not in path.parts}
        self.public = {name.split("/include/")[1]: name for name in self.files if "/include/" in name}

    def room(self, name):
        return max((room for room in self.rooms if name.startswith(room)), key=len)

    def included(self, name):
        """Files of ours by their names, others with the < in front."""
        found = re.findall(r'^#include "?(<?[^">]+)', self.files[name].read_text(), re.M)
        return [self.public.get(header.lstrip("<"), header) for header in found]

    def test_includes_follow_the_table(self):
        for name in self.files:
            own = self.room(name)
            allowed, libraries = tuple(reader.quoted(self.rooms[own][2])), self.rooms[own][3].split(", ")
            for header in self.included(name):
                with self.subTest(file=name, includes=header):
                    if header in self.files:
                        self.assertTrue(self.room(header) == own or header.startswith(allowed))
                    elif not re.fullmatch("<[a-z_]+", header):  # the C++ library's
                        self.assertIn(library(header), libraries)

    def test_nothing_goes_in_a_circle(self):
        for place in (str, self.room):  # files, and folders
            known = {}
            for name in self.files:
                others = {place(header) for header in self.included(name) if header in self.files}
                known.setdefault(place(name), set()).update(others - {place(name)})
            graphlib.TopologicalSorter(known).prepare()


class Reliability(unittest.TestCase):
    """docs/reliability.md"""

    def existing(self):
        def text(suffix):
            return "\n".join(path.read_text() for path in sorted(reader.SOURCE.glob(f"tests/**/{suffix}")))

        names = set(re.findall(r"^ *(?:add_test\(NAME|lutc_fuzz_target\() ?(\w+)", text("CMakeLists.txt"), re.M))
        names.update(map(".".join, re.findall(r"TEST(?:_F|_P)?\(\s*(\w+),\s*(\w+)\)", text("*.cpp"))))
        for suite, body in re.findall(r"^class (\w+)\(.*\n((?:(?:    .*)?\n)*)", text("*.py"), re.M):
            names.update(f"{suite}.{name}" for name in re.findall(r"^    def (test_\w+)\(", body, re.M))
        return names

    def test_every_row_names_tests_that_exist(self):
        known, promises = self.existing(), reader.text("docs", "reliability.md").split("\n## Measured\n")[0]
        rows = [row for _, rows in reader.tables(promises) for row in rows]
        self.assertGreater(len(rows), 20)
        for row in rows:
            with self.subTest(fault=row[0]):
                self.assertNotEqual(reader.quoted(row[2]), [])
                self.assertEqual(set(reader.quoted(row[2])) - known, set())


if __name__ == "__main__":
    unittest.main()
