"""Every code block of the documents: C and C++ compile, JSON parses, shell commands run against a simulator.

A shell block behind a comment <!-- not run: why --> is passed over. The blocks of one document share a folder and run
in their order; the files that they mention and don't make are those of prepare(). What is in Python runs in python.md
alone, and prints what the text behind it says.
"""
import json
import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import unittest

import programs
from reader import SOURCE, blocks, documents, functions, quoted, tables

INCLUDES = [f"-I{folder}" for folder in os.environ["LUTC_INCLUDES"].split(":")]
LIBRARIES = os.environ["LUTC_LIBRARY_DIR"]
WARNINGS = ["-Wall", "-Wextra", "-Wpedantic", "-Werror"]
COMPILERS = {"cpp": [os.environ["CXX"], "-std=c++17", "-x", "c++"], "c": [os.environ["CC"], "-std=c11", "-x", "c"]}
HEADERS = {
    "cpp": "#include <lutc/lutc.h>\n#include <lutc/bsonDocument.h>\n#include <cstdio>\n#include <cstdlib>\n#include <string>\n",
    "c": "#include <lutc/lutc.h>\n#include <stdio.h>\n#include <stdlib.h>\n#include <string.h>\n",
}
NOT_CODE = {"text", "hex", "console", "mermaid", "cmake"}  # cmake: the packages' tests build with these lines


def prepare(folder):
    """Puts the files that the documents' commands read into the folder."""
    def make(name, content):
        with open(os.path.join(folder, name), "w") as file:
            file.write(content)

    lut = SOURCE / "scripts" / "make_print_lut"
    for name, form in (("look.cube", "cube"), ("look.bin", "uint16")):
        subprocess.run([lut, "--size", "17", "--format", form, "-o", os.path.join(folder, name)], check=True)
    make("shot.cc", '<ColorCorrection id="shot"><SOPNode><Slope>1.1 1 0.9</Slope><Offset>0 0 0</Offset>'
                    "<Power>1 1 1</Power></SOPNode><SatNode><Saturation>0.9</Saturation></SatNode></ColorCorrection>")
    with open(os.path.join(folder, "message.bson"), "wb") as file:
        file.write(bytes((5, 0, 0, 0, 0)))
    make("grade.json", json.dumps({"name": "evening", "gradeComboIndex": 1, "components": [
        {"type": "cdl", "typeIndex": 1, "slope": [1.1, 1, 0.9], "offset": [0, 0, 0], "power": [1, 1, 1],
         "saturation": 0.9}]}))


class Documents(unittest.TestCase):
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
        command = COMPILERS[language] + WARNINGS + INCLUDES + ["-fsyntax-only", "-"]
        result = subprocess.run(command, input=text, capture_output=True, text=True)
        self.assertEqual(result.returncode, 0, result.stderr + text)

    def test_code_compiles_and_data_parses(self):
        for document in documents():
            for line, language, _, text in blocks(document.read_text()):
                with self.subTest(document=document.name, line=line):
                    language = language.split(" ")[0]
                    if language in COMPILERS:
                        self.check_code(language, text)
                    elif language == "json":
                        json.loads(text)
                    elif language == "python":
                        compile(text, document.name, "exec")
                    else:
                        self.assertIn(language, NOT_CODE | {"sh"}, "a block that nothing checks")

    def test_commands_run(self):
        environment = dict(os.environ, PATH=os.pathsep.join([os.path.dirname(programs.TOOL), os.environ["PATH"]]))
        for document in documents():
            script = "".join(f"echo '--- line {line}' >&2\n{text}" for line, language, remark, text in blocks(document.read_text())
                             if language == "sh" and not remark.startswith("<!-- not run:"))
            if not script:
                continue
            with self.subTest(document=document.name), \
                    programs.simulator(), tempfile.TemporaryDirectory() as folder:
                prepare(folder)
                subprocess.run([programs.TOOL, "presets", "upload", "grade.json"], cwd=folder, check=True, capture_output=True)
                result = programs.run("bash", "-euo", "pipefail", "-c", script, cwd=folder, env=environment)
                self.assertEqual(result.returncode, 0, result.stdout + result.stderr)

    def test_the_examples_of_help_run(self):
        def commands(entry, path=""):
            yield path + entry["name"], entry
            for each in entry["commands"]:
                yield from commands(each, f"{path}{entry['name']} ")

        environment = dict(os.environ, PATH=os.pathsep.join([os.path.dirname(programs.TOOL), os.environ["PATH"]]))
        tree = json.loads(programs.run(programs.TOOL, "--command-tree").stdout)
        start = "lutc presets save; lutc presets backup library --yes; lutc presets upload grade.json --apply; "
        with programs.simulator(), tempfile.TemporaryDirectory() as folder:
            prepare(folder)
            environment["XDG_CONFIG_HOME"] = folder
            for path, entry in commands(tree):
                example = entry["notes"].partition("Example:\n  ")[2]
                with self.subTest(command=path):
                    self.assertIn(path, example)
                    if path == "lutc watch":  # goes on until it is ended
                        example = "timeout --preserve-status 1 " + example
                    done = programs.run("sh", "-c", start + "lutc presets override set --name evening;" + example, cwd=folder,
                                        env=environment)
                    self.assertEqual(done.returncode, 0, example + done.stdout + done.stderr)

    def test_python_prints_what_the_page_says(self):
        cells = [(line, language, text) for line, language, _, text in blocks(SOURCE.joinpath("docs", "python.md").read_text())
                 if language in ("python", "text")]
        script = "".join(text + "print('--- end')\n" for _, language, text in cells if language == "python")
        environment = dict(os.environ, LD_LIBRARY_PATH=LIBRARIES, PYTHONPATH=str(SOURCE / "python"), PATH=os.pathsep.join(
            [os.path.dirname(programs.SIMULATOR), os.environ["PATH"]]))
        script += "with lutc.simulator.run() as device:\n    test_the_look_warms(device)\n"
        with tempfile.TemporaryDirectory() as folder:
            prepare(folder)
            result = programs.run("/usr/bin/python3", "-B", "-c", script, cwd=folder, env=environment)
        self.assertEqual(result.returncode, 0, result.stderr)
        printed = iter(result.stdout.split("--- end\n"))
        for (line, language, _), (_, behind, text) in zip(cells, [*cells[1:], (0, "", "")]):
            if language == "python":
                self.assertEqual(next(printed), text if behind == "text" else "", line)

    @unittest.skipUnless(int(os.environ["LUTC_PICTURES"] or 0) and shutil.which("curl"), "no pictures, or no curl")
    def test_the_readmes_opening_prints_what_it_says(self):
        (_, _, _, shell), (_, _, _, expected) = blocks(SOURCE.joinpath("README.md").read_text())[:2]
        ready = "trap 'kill $!' EXIT\nuntil curl -s -o ready http://127.0.0.1:8080/state.json; do :; done\n"
        first, rest = shell.split("\n", 1)
        environment = dict(os.environ, PATH=os.pathsep.join([os.path.dirname(programs.TOOL), os.environ["PATH"]]))
        with tempfile.TemporaryDirectory() as folder:
            done = programs.run("bash", "-euc", first + "\n" + ready + rest, cwd=folder, env=environment)
            self.assertEqual((done.returncode, done.stdout), (0, expected), done.stderr)
            pictures = os.path.join(folder, "shown.png"), SOURCE / "docs" / "opening.png"
            header = slice(0, 24)  # of a PNG, up to its width and height
            self.assertEqual(*(pathlib.Path(picture).read_bytes()[header] for picture in pictures))

    def test_functions_and_the_tools_commands(self):
        rows = tables(SOURCE.joinpath("docs", "functions.md").read_text())[0][1]
        self.assertEqual({quoted(function)[0]: command.strip('"') for function, command, _ in rows}, functions())
        tree = json.loads(programs.run(programs.TOOL, "--command-tree").stdout)
        for path in [path for _, _, tool in rows for path in quoted(tool)]:
            with self.subTest(command=path):
                command = tree
                for word in path.split()[1:]:
                    command = {each["name"]: each for each in command["commands"]}[word]
                self.assertEqual(command["commands"], [])

    def test_the_simulators_options_and_faults(self):
        tree = json.loads(programs.run(programs.SIMULATOR, "--command-tree").stdout)
        listed = {head[0]: rows for head, rows in tables(SOURCE.joinpath("docs", "simulator.md").read_text())}
        options = {option["names"][-1] for option in tree["options"]} - {"--help", "--version", "--command-tree"}
        self.assertEqual(options, {quoted(row[0])[0].split()[0] for row in listed["Option"]})
        faults = re.findall(r"^  ([a-z-]+) .* \[(\d+)\]$", tree["notes"], re.M)
        self.assertGreater(len(faults), 10)
        self.assertEqual(faults, [(quoted(row[0])[0], row[2].split()[-1]) for row in listed["KIND"]])

    def test_links_lead_somewhere(self):
        for document in documents():
            links = re.findall(r"\]\(([^)#:]+)(?:#[^)]*)?\)", document.read_text())
            self.assertEqual([link for link in links if not document.parent.joinpath(link).exists()], [], document.name)


if __name__ == "__main__":
    unittest.main()
