"""Reads the project's documents and its header, for the tests that hold them against the code."""
import pathlib
import re

SOURCE = pathlib.Path(__file__).resolve().parents[2]


def text(*name):
    return SOURCE.joinpath(*name).read_text()


def documents():
    return sorted([*SOURCE.glob("*.md"), *SOURCE.glob("docs/*.md")])


def tables(markdown):
    """Each table as (head, rows), lists of cells."""
    found = []
    for lines in re.findall(r"(?:^\|.*\n)+", markdown, re.M):
        head, _, *rows = [[cell.strip() for cell in line.strip("|").split("|")] for line in lines.splitlines()]
        found.append((head, rows))
    return found


def quoted(cell):
    """What stands in backquotes."""
    return re.findall(r"`([^`]+)`", cell)


def blocks(markdown):
    """The code blocks as (line number, language, remark in the comment in front, text)."""
    lines = markdown.split("\n")
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


def functions():
    """Each function that the header declares, with the command that the comment above it says it sends."""
    header = text("interface", "include", "lutc", "lutc.h")
    found = re.findall(r"/\*((?:(?!\*/).)*)\*/\s*LUTC_EXPORT int (lutc_\w+)\(", header, re.S)
    assert len(found) == header.count("LUTC_EXPORT int ")
    return {function: re.search(r'Sends\s+(?:\*\s+)?"(\w+)"', comment)[1] for comment, function in found}
