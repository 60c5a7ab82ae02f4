#!/usr/bin/env python3
"""Makes man pages and shell completions from what the programs and the public header say themselves.

    help_pages.py man FRAME -o PAGE --version V [--program "COMMAND ..."] [--header lutc.h]
    help_pages.py functions --header lutc.h -o FOLDER --version V   a page for each function
    help_pages.py document FILE.md -o PAGE --version V  a page made of a document
    help_pages.py completion TEMPLATE -o FILE --program "COMMAND ..." [--program ...]

FRAME is a man page with markers on lines of their own: @OPTIONS@, @COMMANDS@, @NOTES@ and @EXAMPLES@ are filled from the
program's --command-tree, @CONVENTIONS@, @RECORDS@ and @FUNCTIONS@ from the header's comments.
"""
import argparse
import json
import os
import pathlib
import re
import shlex
import subprocess


class Command:
    """A command of a program's --command-tree: its path of names, its options and arguments, its commands."""

    def __init__(self, tree, above=()):
        self.path = [*above, tree["name"]]
        self.description, self.arguments = tree["description"], tree["arguments"]
        self.notes, _, self.example = ("\n" + tree["notes"]).partition("\nExample:\n")
        self.options = [option for option in tree["options"] if "--help" not in option["names"]]
        groups = list(dict.fromkeys(each["group"] for each in tree["commands"]))  # in the order of --help
        self.commands = [Command(each, self.path) for each in
                         sorted(tree["commands"], key=lambda each: groups.index(each["group"]))]

    def walk(self):
        yield self
        for each in self.commands:
            yield from each.walk()

    def usage(self):
        names = [argument["names"][0] for argument in self.arguments]
        names = [name if argument["required"] else f"[{name}]" for name, argument in zip(names, self.arguments)]
        return " ".join(self.path + ["[OPTIONS]"] + names)


def commands_of(program):
    done = subprocess.run(shlex.split(program) + ["--command-tree"], stdout=subprocess.PIPE, check=True)
    return Command(json.loads(done.stdout))


# ---- Manual pages ---------------------------------------------------------------------------------------------------


def roff(text):
    text = text.replace("\\", "\\e").replace("-", "\\-").replace("'", "\\(aq").replace("`", "\\(ga")
    text = text.replace("~", "\\(ti").replace("^", "\\(ha")
    return "\\&" + text if text.startswith(".") else text


def tagged(term, text):
    return [".TP", f".B {roff(term)}", roff(text)]


def option_entry(option):
    """Its names and what its value is; its description, and in brackets what CLI11 knows besides."""
    value = "|".join(option.get("choices", [option.get("value", "")])) + (" ..." if option.get("repeats") else "")
    remarks = ["required"] if option["required"] and option["names"][0].startswith("-") else []
    remarks += [f"{word} {', '.join(option[key])}" for key, word in (("needs", "only with"), ("excludes", "not with"))
                if option[key]]
    remarks += [option["check"].removeprefix("UINT in ").strip("[]").replace(" - ", " to ")] if option.get("check") else []
    remarks += [f"default {option['default']}"] if option.get("default") else []
    return tagged(f"{','.join(option['names'])} {value}".strip(),
                  option["description"] + (f" ({'; '.join(remarks)})" if remarks else ""))


def note_sections(notes):
    """A footer: titled lists of "  term  text" whose longer texts go on further in, and other lines."""
    lines = []
    for line in filter(None, notes.splitlines()):
        if line.startswith("   "):
            lines[-1] += " " + roff(line.strip())
        elif line.startswith("  "):
            term, _, text = line.strip().partition("  ")
            lines += tagged(term, text.strip())
        elif line.endswith(":"):
            lines.append(f'.SH "{roff(line[:-1].upper())}"')
        else:
            lines += [".PP", roff(line)]
    return lines


def code(text):
    """Lines as they are, further in."""
    return [".RS 4", ".nf"] + [roff(line.strip()) for line in text.strip("\n").splitlines()] + [".fi", ".RE"]


def command_markers(program):
    """@COMMANDS@ has what each command takes, @EXAMPLES@ one for each group; @NOTES@ is the program's footer."""
    commands = []
    for command in program.walk():
        if command is not program and not command.commands:
            commands += [f'.SS "{roff(command.usage())}"', roff(command.description) + "."]
            commands += [line for option in command.arguments + command.options for line in option_entry(option)]
            commands += [".PP", "Example:", ".PP"] + code(command.example)
    options = tagged("-h,--help", "Print help and exit" + ("; after a command, its help" if program.commands else ""))
    options += [line for option in program.options for line in option_entry(option)]
    shown = [command for command in program.commands if command.path[-1] != "help"] or [program]
    examples = [line for command in shown for line in [".PP", roff(command.description.rstrip(".")) + ":", ".PP"] +
                code(command.example)]
    return {"@OPTIONS@": options, "@COMMANDS@": commands, "@NOTES@": note_sections(program.notes), "@EXAMPLES@": examples}


def comment_text(comment):
    """The lines of a /* */ comment without its marks."""
    body = re.sub(r"^/\*+<?|\*+/$", "", comment)
    return [re.sub(r"^ ?\* ?", "", line.rstrip()) for line in body.strip("\n").split("\n")]


def described(lines):
    """Paragraphs, and tables of "term  text" whose continuation lines are indented, as roff."""
    out, table = [], False
    for line in lines:
        entry = re.match(r" *(\S+(?:,? \S+)*?) {2,}(\S.*)$", line)
        if not line.strip():
            out.append(".PP")
            table = False
        elif entry:
            out += [".TP", f".I {roff(entry.group(1))}", roff(entry.group(2))]
            table = True
        else:
            if table and not line.startswith(" "):
                out.append(".PP")
                table = False
            out.append(roff(line.strip()))
    return out


def header_parts(path):
    """The opening comment, then (section, comment, declaration) for each declaration of the header."""
    text = read(path)
    opening = re.match(r"/\*.*?\*/", text, re.S).group(0)
    text = re.sub(r"^#.*?(?<!\\)$", "", text[len(opening):], flags=re.M)
    text = text.replace('extern "C" {', "").replace("LUTC_EXPORT ", "").replace(" LUTC_NOEXCEPT", "")
    text = re.sub(r"__asm__\([^)]*\)\s*", "", text)
    section, comment, parts = "", "", []
    token = re.compile(r"/\*.*?\*/|(?:typedef struct|enum)[^{;]*\{.*?\}[^;]*;|int lutc_\w+\s*\(.*?\)\s*;", re.S)
    for match in token.finditer(text):
        piece = match.group(0)
        heading = re.match(r"/\* -{3,} (.*?) -{3,} \*/", piece)
        if heading:
            section, comment = heading.group(1), ""
        elif piece.startswith("/*"):
            comment = piece
        else:
            if piece.startswith("int "):  # its further lines are set under the arguments: LUTC_EXPORT went
                piece = piece.replace("\n" + " " * len("LUTC_EXPORT "), "\n")
            parts.append((section, comment, re.sub(r"\s+;$", ";", piece)))
            comment = ""
    return opening, parts


def function_page(declaration, comment, options):
    """The page of one function: what the header says of it, and where the rest stands."""
    name = re.match(r"int (lutc_\w+)", declaration).group(1)
    lines = comment_text(comment)
    text = " ".join(line.strip() for line in lines)
    summary = re.split(r"[.;] ", text)[0].rstrip(".")
    return paragraphs(
        [f'.TH {roff(name.upper())} 3 {options.date} "lutc {options.version}" "lutc"', ".SH NAME",
         f"{roff(name)} \\- {roff(summary[0].lower() + summary[1:])}", ".SH SYNOPSIS", ".nf", ".B #include <lutc/lutc.h>",
         ".PP"] + [".B " + roff(line) if not line.startswith(" ") else roff(line) for line in declaration.splitlines()] +
        [".fi", ".SH DESCRIPTION"] + described(lines) +
        [".SH RETURN VALUE", "0 on success; \\-1 on failure, with the reason in", ".IR errno :",
         "the conventions in", ".BR lutc (3)", "list its values. Outputs are written only on success.",
         ".SH SEE ALSO", ".BR lutc (3),", ".BR lutc\\-trace (1)"])


def header_markers(path):
    opening, parts = header_parts(path)
    conventions = []
    for line in comment_text(opening):
        numbered = re.match(r" *(\d+)\. (.*)", line)
        row = re.match(r" *(\S+) {2,}(.*)", line)
        if row and not numbered:
            conventions += [".RS", ".TP 14", f".B {roff(row.group(1))}", roff(row.group(2)), ".RE"]
        elif numbered:
            conventions += [f".IP {numbered.group(1)}. 4", roff(numbered.group(2))]
        elif conventions and line.strip():
            conventions += ['.IP "" 4'] if conventions[-1] == ".RE" else []
            conventions.append(roff(line.strip()))
    records, functions, last = [], [], ""
    for section, comment, declaration in parts:
        code = [".PP", ".nf", ".ft CW"] + [roff(line) for line in declaration.splitlines()] + [".ft R", ".fi"]
        text = described(comment_text(comment)) if comment else []
        if declaration.startswith("int "):
            if section != last:
                functions.append(f'.SH "{roff(section.upper())}"')
                last = section
            name = re.match(r"int (lutc_\w+)", declaration).group(1)
            functions += [f".SS {roff(name)}"] + code + [".PP"] + text
        else:
            records += ([".PP"] + text if text else []) + code
    return {"@CONVENTIONS@": conventions, "@RECORDS@": records, "@FUNCTIONS@": functions}


def make_man(options):
    markers = {}
    if options.program:
        markers.update(command_markers(commands_of(options.program[0])))
    if options.header:
        markers.update(header_markers(options.header))
    page = []
    for line in read(options.frame).splitlines():
        if line in markers:
            if not markers[line] and line != "@NOTES@":
                raise SystemExit(f"help_pages: nothing to put in place of {line} in {options.frame}")
            page += markers[line]
        else:
            page.append(line.replace("@VERSION@", options.version).replace("@DATE@", options.date))
    write(options.output, paragraphs(page))


def paragraphs(page):
    """A page of those lines. A paragraph mark is wanted between two paragraphs alone."""
    page = [line for i, line in enumerate(page)
            if line != ".PP" or not re.match(r"\.(PP|TP|SH|SS)", page[i + 1]) and
            not re.match(r"\.(PP|SH|SS)\b", page[i - 1])]
    return "\n".join(page) + "\n"


def make_functions(options):
    os.makedirs(options.output, exist_ok=True)
    for _, comment, declaration in header_parts(options.header)[1]:
        if declaration.startswith("int "):
            name = re.match(r"int (lutc_\w+)", declaration).group(1)
            write(os.path.join(options.output, name + ".3"), function_page(declaration, comment, options))


def make_document(options):
    """lowdown makes the page; the document's title becomes its NAME, and code is bold."""
    name, section = pathlib.Path(options.output).name.split(".")
    text = re.sub(r"<!--.*?-->\n|^!\[.*\n", "", read(options.frame), flags=re.M)
    text = re.sub(r"^# (.*)", rf"# NAME\n\n{name} - \1\n\n# DESCRIPTION", text, count=1)
    values = {"title": name, "section": section, "date": options.date, "source": f"lutc {options.version}"}
    done = subprocess.run(["lowdown", "-s", "-tman", "--nroff-nolinks", *[word for pair in values.items()
                                                                        for word in ("-m", "=".join(pair))]],
                          input=text, stdout=subprocess.PIPE, text=True, check=True)
    page = re.sub(r"\\fC|\\f\(CR", r"\\fB", done.stdout)
    page = re.sub(r"^\.(S[HS])\n(.*)\n(?:\.LP\n)?", r".\1 \2\n", page, flags=re.M)
    write(options.output, page.replace(f"{name} - ", f"{roff(name)} \\- ", 1))


# ---- Completions ----------------------------------------------------------------------------------------------------


def completion_tables(programs):
    """For each command's path: its words, and for each option what its value is."""
    tables = {}
    for root in map(commands_of, programs):
        for command in root.walk():
            options = command.options + (root.options if command is not root else [])
            tables[" ".join(command.path)] = {
                "words": [each.path[-1] for each in command.commands],
                "options": [option["names"][-1] for option in options] + ["--help"],
                "values": {name: value_kind(command, option) for option in options if "value" in option
                           for name in option["names"]},
                "operands": [value_kind(command, argument) for argument in command.arguments]}
    return tables


def value_kind(command, option):
    """What completes a value: "presets", "files", "folders", "=a b c" for fixed words, or "" for nothing."""
    name = option["names"][-1].lstrip("-")
    if "choices" in option:
        return "=" + " ".join(option["choices"])
    if name in ("media", "folder") or option.get("check") == "DIR":
        return "folders"
    if name in ("file", "output") or option.get("check") == "FILE":
        return "files"
    return "presets" if is_preset_name(command, name) else ""


def is_preset_name(command, name):
    """--name addresses a preset in every command about presets; a preset yet to be named has no completion."""
    return "preset" in " ".join(command.path) and name in ("name", "preset")


def make_completion(options):
    """Fills a template: @SHARED@ with the functions that both shells read, and in them @CASES@ with the tables."""
    cases = []
    for path, table in completion_tables(options.program).items():
        kinds = {}
        for name, kind in table["values"].items():
            kinds.setdefault(kind, []).append(name)
        values = "".join(f"\n                {' | '.join(names)}) lutc_kind={shlex.quote(kind or 'none')} ;;"
                         for kind, names in kinds.items())
        cases.append(f"""        {shlex.quote(path)})
            lutc_commands=({' '.join(table['words'])})
            lutc_options=({' '.join(table['options'])})
            lutc_operands=({' '.join(shlex.quote(kind or 'none') for kind in table['operands'])})
            case "$1" in{values}
                *) lutc_kind= ;;
            esac ;;""")
    shared = read(os.path.join(os.path.dirname(options.frame), "shared.sh.in"))
    shared = shared.replace("@CASES@", "\n".join(cases))
    write(options.output, read(options.frame).replace("@SHARED@", shared))


def read(path):
    with open(path, encoding="utf-8") as file:
        return file.read()


def write(path, text):
    with open(path, "w", encoding="utf-8") as file:
        file.write(text)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("kind", choices=["man", "functions", "document", "completion"])
    parser.add_argument("frame", nargs="?", help="the frame or template to fill")
    parser.add_argument("-o", "--output")
    parser.add_argument("--program", action="append", help="a program to ask for its commands (repeatable)")
    parser.add_argument("--header", help="the public header")
    parser.add_argument("--version", default="")
    parser.add_argument("--date", default="", help="the date in the page's footer")
    options = parser.parse_args()
    if options.kind == "man":
        make_man(options)
    elif options.kind == "functions":
        make_functions(options)
    elif options.kind == "document":
        make_document(options)
    else:
        make_completion(options)


if __name__ == "__main__":
    main()
