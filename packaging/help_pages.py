#!/usr/bin/env python3
"""Makes man pages and shell completions from what the programs and the public header say themselves.

    help_pages.py man FRAME -o PAGE --version V [--program "COMMAND ..."] [--header lutc.h]
    help_pages.py links --header lutc.h -o FOLDER       one page for each function, which refers to lutc(3)
    help_pages.py completion TEMPLATE -o FILE --program "COMMAND ..." [--program ...]

FRAME is a man page with markers on lines of their own: @OPTIONS@, @COMMANDS@ and @NOTES@ are filled from the
program's --help and that of its subcommands, @CONVENTIONS@, @RECORDS@ and @FUNCTIONS@ from the header's comments.
"""
import argparse
import os
import re
import shlex
import subprocess

HELP_OPTIONS = ("-h,--help", "--help-all")


class Command:
    """One (sub)command as its --help describes it: a summary, the usage line, and titled lists of (term, text)."""

    def __init__(self, program, path):
        self.path = path
        words = shlex.split(program) + path[1:] + ["--help"]
        done = subprocess.run(words, stdin=subprocess.DEVNULL, capture_output=True, text=True, check=False)
        if done.returncode != 0:
            raise SystemExit(f"help_pages: {' '.join(words)} failed: {done.stderr.strip()}")
        self.parse(done.stdout)
        if not self.usage.startswith(" ".join(path)):
            raise SystemExit(f"help_pages: the help of '{' '.join(path)}' is that of '{self.usage}'")
        names = [term for title, items in self.lists if title != "Positionals" for term, _ in items
                 if re.fullmatch(r"[a-z][a-z0-9-]*", term)] if "SUBCOMMAND" in self.usage else []
        self.children = [Command(program, path + [name]) for name in names]

    def parse(self, text):
        self.summary, self.usage, self.lists, self.notes = "", "", [], []
        items = None
        for line in text.splitlines():
            if line.startswith("Usage: "):
                self.usage = line[len("Usage: "):]
            elif not self.usage:
                self.summary += line.strip() + " "
            elif re.fullmatch(r"\S[^:]*:", line):
                items = []
                self.lists.append((line[:-1], items))
            elif items is not None and re.match(r" {2}\S", line):
                term, _, description = line.strip().partition("  ")
                items.append([term, description.strip()])
            elif items and re.match(r" {3,}\S", line):
                items[-1][1] = (items[-1][1] + " " + line.strip()).strip()
            elif line.strip():
                items = None
                self.notes.append(line.strip())
        self.summary = self.summary.strip()

    def options(self):
        return [item for title, items in self.lists if title != "Positionals" for item in items
                if item[0].startswith("-") and item[0] not in HELP_OPTIONS]

    def positionals(self):
        return [item for title, items in self.lists if title == "Positionals" for item in items]

    def menus(self):
        """The titles of the lists that name subcommands."""
        names = [child.path[-1] for child in self.children]
        return [title for title, items in self.lists if any(term in names for term, _ in items)]

    def leaves(self):
        if not self.children:
            return [self]
        return [leaf for child in self.children for leaf in child.leaves()]

    def walk(self):
        yield self
        for child in self.children:
            yield from child.walk()


# ---- Manual pages ---------------------------------------------------------------------------------------------------


def roff(text):
    text = text.replace("\\", "\\e").replace("-", "\\-").replace("'", "\\(aq").replace("`", "\\(ga")
    text = text.replace("~", "\\(ti").replace("^", "\\(ha")
    return "\\&" + text if text.startswith(".") else text


def tagged(items):
    lines = []
    for term, text in items:
        needs = re.search(r" Needs: (.*?)(?= Excludes:|$)", term)
        excludes = re.search(r" Excludes: (.*?)(?= Needs:|$)", term)
        extra = (f" (only with {needs.group(1)})" if needs else "") + \
            (f" (not with {excludes.group(1).replace(' ', ', ')})" if excludes else "")
        extra += " (required)" if " REQUIRED" in term and term.startswith("-") else ""
        term = re.sub(r" (Needs|Excludes): .*| REQUIRED|=\[\]", "", term)
        lines += [".TP", f".B {roff(term)}", roff(text + extra)]
    return lines


def command_markers(command):
    """@COMMANDS@ has what each command takes; @NOTES@ the closing lists (exit codes ...), which all have in common."""
    notes = []
    for title, items in command.lists:
        if title != "Positionals" and items and not items[0][0].startswith("-") and title not in command.menus():
            notes += [f'.SH "{roff(title.upper())}"'] + tagged(items)
    for note in command.notes:
        notes += [".PP", roff(note)]
    commands = []
    for leaf in command.leaves() if command.children else []:
        commands += [f'.SS "{roff(leaf.usage)}"', roff(leaf.summary) + "."]
        commands += tagged(leaf.positionals() + leaf.options())
        commands += [line for note in leaf.notes if note not in command.notes for line in (".PP", roff(note))]
    options = tagged([["-h,--help", "Print the help of the program or of one of its commands, and exit"]
                      if command.children else ["-h,--help", "Print help and exit"]] + command.options())
    return {"@OPTIONS@": options, "@COMMANDS@": commands, "@NOTES@": notes}


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


def header_functions(path):
    return [re.match(r"int (lutc_\w+)", declaration).group(1)
            for _, _, declaration in header_parts(path)[1] if declaration.startswith("int ")]


def header_markers(path):
    opening, parts = header_parts(path)
    conventions = []
    for line in comment_text(opening):
        numbered = re.match(r" *(\d+)\. (.*)", line)
        if numbered:
            conventions += [f".IP {numbered.group(1)}. 4", roff(numbered.group(2))]
        elif conventions and line.strip():
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
        words = shlex.split(options.program[0])
        markers.update(command_markers(Command(options.program[0], [options.name or os.path.basename(words[-1])])))
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
    # A paragraph mark is wanted between two paragraphs alone.
    page = [line for i, line in enumerate(page)
            if line != ".PP" or not re.match(r"\.(PP|TP|SH|SS)", page[i + 1]) and
            not re.match(r"\.(PP|SH|SS)\b", page[i - 1])]
    write(options.output, "\n".join(page) + "\n")


def make_links(options):
    os.makedirs(options.output, exist_ok=True)
    for name in header_functions(options.header):
        write(os.path.join(options.output, name + ".3"), ".so man3/lutc.3\n")


# ---- Completions ----------------------------------------------------------------------------------------------------


def spellings(term):
    """("-n,--name TEXT:{a,b} REQUIRED") -> (["-n", "--name"], the values' description or "")."""
    names, _, value = re.sub(r" (Needs|Excludes): .*", "", term).partition(" ")
    return names.split(","), value


def completion_tables(programs):
    """For each command's path: its words, and for each option what its value is."""
    tables = {}
    for program in programs:
        root = Command(program, [os.path.basename(shlex.split(program)[-1])])
        inherited = [term for term, _ in root.options()]
        for command in root.walk():
            options, values = [], {}
            terms = [term for term, _ in command.options()] + (inherited if command is not root else [])
            for term in terms + ["-h,--help"]:
                names, value = spellings(term)
                options += [name for name in names if name.startswith("--") and name not in options]
                if value:
                    values.update({name: value_kind(command, names[-1], value) for name in names})
            operands = [value_kind(command, *term.partition(" ")[::2]) for term, _ in command.positionals()]
            tables[" ".join(command.path)] = {"words": [child.path[-1] for child in command.children],
                                              "options": options, "values": values, "operands": operands}
    return tables


def value_kind(command, name, value):
    """What completes a value: "presets", "files", "folders", "=a b c" for fixed words, or "" for nothing."""
    choices = re.search(r"\{([^}]*)\}", value)
    if choices:
        return "=" + " ".join(re.sub(r"->.*", "", choice) for choice in choices.group(1).split(","))
    bare = name.lstrip("-").lower()
    if bare in ("dir", "media", "folder") or ":DIR" in value:
        return "folders"
    if bare in ("file", "output", "out", "o") or ":FILE" in value or value.split(" ")[0] in ("FILE", "PATH"):
        return "files"
    if is_preset_name(command, bare):
        return "presets"
    return ""


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
    parser.add_argument("kind", choices=["man", "links", "completion"])
    parser.add_argument("frame", nargs="?", help="the frame or template to fill")
    parser.add_argument("-o", "--output")
    parser.add_argument("--program", action="append", help="a program to ask for its --help (repeatable)")
    parser.add_argument("--name", help="the program's name on its page")
    parser.add_argument("--header", help="the public header")
    parser.add_argument("--version", default="")
    parser.add_argument("--date", default="", help="the date in the page's footer")
    options = parser.parse_args()
    if options.kind == "man":
        make_man(options)
    elif options.kind == "links":
        make_links(options)
    else:
        make_completion(options)


if __name__ == "__main__":
    main()
