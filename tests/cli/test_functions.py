"""docs/functions.md against the library's header and the tool."""
import os
import re
import unittest

from tool import DONE, SOURCE, run


def read(*names):
    with open(os.path.join(SOURCE, *names)) as file:
        return file.read()


class Functions(unittest.TestCase):
    def test_the_table_is_complete_and_true(self):
        header = read("interface", "include", "lutc", "lutc.h")
        sent = {}  # function: command, from the comment above each declaration
        for comment, function in re.findall(r"/\*((?:(?!\*/).)*)\*/\s*LUTC_EXPORT int (lutc_\w+)\(", header, re.S):
            sent[function] = re.search(r'Sends\s+(?:\*\s+)?"(\w+)"', comment).group(1)
        self.assertEqual(len(sent), header.count("LUTC_EXPORT int "))
        rows = re.findall(r"^\| `(lutc_\w+)` \| \"(\w+)\" \| `lutc ([a-z ]+)`", read("docs", "functions.md"), re.M)
        self.assertEqual(sorted(function for function, _, _ in rows), sorted(sent))
        for function, command, tool_command in rows:
            with self.subTest(function=function):
                self.assertEqual(command, sent[function])
                shown = run(*tool_command.split(), "--help")
                self.assertEqual(shown.returncode, DONE)
                self.assertRegex(shown.stdout, r"(?m)^Usage: lutc " + tool_command + r"( |$)")


if __name__ == "__main__":
    unittest.main()
