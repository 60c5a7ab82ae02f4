#!/usr/bin/env python3
"""Every test that docs/reliability.md names in its tables exists, and every row names one."""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]


def sources(*patterns):
    return "\n".join(path.read_text() for pattern in patterns for path in sorted((ROOT / "tests").rglob(pattern)))


def existing():
    names = {"%s.%s" % pair for pair in re.findall(r"TEST(?:_F|_P)?\(\s*(\w+),\s*(\w+)\)", sources("*.cpp"))}
    suite = None
    for line in sources("*.py").splitlines():
        if found := re.match(r"class (\w+)\(", line):
            suite = found[1]
        elif found := re.match(r"    def (test_\w+)\(", line):
            names.add("%s.%s" % (suite, found[1]))
    cmake = sources("CMakeLists.txt")
    return names | set(re.findall(r"add_test\(NAME (\w+)", cmake)) | set(re.findall(r"^ *lutc_fuzz_target\((\w+)", cmake, re.M))


def main():
    known, rows, wrong = existing(), 0, []
    for line in (ROOT / "docs" / "reliability.md").read_text().splitlines():
        if line.startswith("## Measured"):
            break
        if not line.startswith("|") or line.startswith(("| Fault", "|---")):
            continue
        rows += 1
        tests = re.findall(r"`([^`]+)`", line.split("|")[3])
        if not tests or not set(tests) <= known:
            wrong.append(line)
    print("%d rows, %d wrong" % (rows, len(wrong)), *wrong, sep="\n")
    return 0 if rows > 20 and not wrong else 1


if __name__ == "__main__":
    sys.exit(main())
