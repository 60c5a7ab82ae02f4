"""Every code block of the documents: C and C++ compile, JSON parses, shell commands run against a simulator.

A shell block behind a comment <!-- not run: why --> is passed over. The blocks of one document share a folder and run
in their order; the files that they mention and don't make are those of prepare().
"""
import glob
import json
import os
import re
import subprocess
import tempfile
import unittest

import programs

INCLUDES = [f"-I{folder}" for folder in os.environ["LUTC_INCLUDES"].split(":")]
SANITIZE = [f"-fsanitize={os.environ['LUTC_SANITIZE']}"] if os.environ.get("LUTC_SANITIZE") else []
LIBRARIES = os.environ["LUTC_LIBRARY_DIR"]
WARNINGS = ["-Wall", "-Wextra", "-Wpedantic", "-Werror"]
COMPILERS = {"cpp": [os.environ["CXX"], "-std=c++17", "-x", "c++"], "c": [os.environ["CC"], "-std=c11", "-x", "c"]}
HEADERS = {
    "cpp": "#include <lutc/lutc.h>\n#include <lutc/bsonDocument.h>\n#include <cstdio>\n#include <cstdlib>\n#include <string>\n",
    "c": "#include <lutc/lutc.h>\n#include <stdio.h>\n#include <stdlib.h>\n#include <string.h>\n",
}
NOT_CODE = {"text", "hex", "console", "cmake"}  # cmake: the packages' tests build with these lines


def documents():
    names = glob.glob(os.path.join(programs.SOURCE, "*.md")) + glob.glob(os.path.join(programs.SOURCE, "docs", "*.md"))
    return sorted(names)


def blocks(document):
    """The code blocks as (line number, language, remark in the comment in front, text)."""
    with open(document) as file:
        lines = file.read().split("\n")
    found, start, remark = [], None, ""
    for number, line in enumerate(lines, 1):
        fence = re.match(r"( *)```(.*)", line)
        if fence and start is None:
            start, indent, language = number, len(fence[1]), fence[2]
        elif fence:
            found.append((start, language, remark, "\n".join(text[indent:] for text in lines[start:number - 1]) + "\n"))
            start = None
        if start is None and line.strip():
            remark = line.strip() if line.strip().startswith("<!--") else ""
    return found


def prepare(folder):
    """Puts the files that the documents' commands read into the folder, and one preset "evening" into the library."""
    def make(name, content):
        with open(os.path.join(folder, name), "w") as file:
            file.write(content)

    lut = os.path.join(programs.SOURCE, "scripts", "make_print_lut")
    for name, form in (("look.cube", "cube"), ("look.bin", "uint16")):
        subprocess.run([lut, "--size", "17", "--format", form, "-o", os.path.join(folder, name)], check=True)
    make("shot.cc", '<ColorCorrection id="shot"><SOPNode><Slope>1.1 1 0.9</Slope><Offset>0 0 0</Offset>'
                    "<Power>1 1 1</Power></SOPNode><SatNode><Saturation>0.9</Saturation></SatNode></ColorCorrection>")
    make("grade.json", json.dumps({"name": "evening", "gradeComboIndex": 1, "components": [
        {"type": "cdl", "typeIndex": 1, "slope": [1.1, 1, 0.9], "offset": [0, 0, 0], "power": [1, 1, 1],
         "saturation": 0.9}]}))
    subprocess.run([programs.TOOL, "presets", "upload", "grade.json"], cwd=folder, check=True, capture_output=True)


class Documents(unittest.TestCase):
    def compile(self, language, text, options):
        command = COMPILERS[language] + WARNINGS + INCLUDES + options + ["-"]
        result = subprocess.run(command, input=text, capture_output=True, text=True)
        self.assertEqual(result.returncode, 0, result.stderr + text)

    def check_code(self, language, text):
        if not re.search(r"^int main\(", text, re.M):  # lines from inside a function, or a function
            included = "".join(line + "\n" for line in text.split("\n") if line.startswith("#include"))
            rest = text[len(included):]
            whole = re.search(r"^[\w:<>*& ]+ \w+\(.*\) \{$", rest, re.M) and not rest.startswith(" ")
            whole = whole and not re.search(r"^(if|for|while) ", rest, re.M)
            parameters = "void" if language == "c" else ""
            declared = f"void fragment({parameters});\n" if language == "c" else ""
            text = HEADERS[language] + included + declared
            text += rest if whole else f"void fragment({parameters}) {{\n{rest}\n}}\n"
        self.compile(language, text, ["-fsyntax-only"])

    def test_code_compiles_and_data_parses(self):
        for document in documents():
            for line, language, _, text in blocks(document):
                with self.subTest(document=os.path.relpath(document, programs.SOURCE), line=line):
                    language = language.split(" ")[0]
                    if language in COMPILERS:
                        self.check_code(language, text)
                    elif language == "json":
                        json.loads(text)
                    else:
                        self.assertIn(language, NOT_CODE | {"sh"}, "a block that nothing checks")

    def test_commands_run(self):
        environment = dict(os.environ, PATH=os.pathsep.join([os.path.dirname(programs.TOOL), os.environ["PATH"]]))
        for document in documents():
            script = "".join(f"echo '--- line {line}' >&2\n{text}" for line, language, remark, text in blocks(document)
                             if language == "sh" and not remark.startswith("<!-- not run:"))
            if not script:
                continue
            with self.subTest(document=os.path.relpath(document, programs.SOURCE)), \
                    programs.simulator(), tempfile.TemporaryDirectory() as folder:
                prepare(folder)
                result = programs.run("bash", "-euo", "pipefail", "-c", script, cwd=folder, env=environment)
                self.assertEqual(result.returncode, 0, result.stdout + result.stderr)

    def test_readme_example(self):
        readme = blocks(os.path.join(programs.SOURCE, "README.md"))
        text = next(text for _, language, _, text in readme if language == "cpp example")
        expected = next(text for _, language, _, text in readme if language == "text")
        with programs.simulator(), tempfile.TemporaryDirectory() as folder:
            program = os.path.join(folder, "example")
            source = os.path.join(folder, "example.cpp")
            with open(source, "w") as file:
                file.write(text)
            command = COMPILERS["cpp"][:2] + WARNINGS + INCLUDES + SANITIZE
            command += [source, "-o", program, f"-L{LIBRARIES}", "-llutc", f"-Wl,-rpath,{LIBRARIES}"]
            result = programs.run(*command)
            self.assertEqual(result.returncode, 0, result.stderr)
            self.assertEqual(programs.run(program).stdout, expected)

    def test_links_lead_somewhere(self):
        for document in documents():
            with open(document) as file:
                links = re.findall(r"\]\(([^)#:]+)(?:#[^)]*)?\)", file.read())
            missing = [link for link in links if not os.path.exists(os.path.join(os.path.dirname(document), link))]
            self.assertEqual(missing, [], os.path.relpath(document, programs.SOURCE))


if __name__ == "__main__":
    unittest.main()
