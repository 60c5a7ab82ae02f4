#!/usr/bin/env python3
"""Turns the measurements of the benchmark programs into the tables of docs/performance.md."""

import collections
import statistics
import sys


class Measurements:
    """What the programs printed: for each benchmark and number of threads, its runs round by round."""

    def __init__(self, lines):
        self.runs = collections.defaultdict(dict)
        for line in lines:
            round_number, name, threads, wall, cpu, size = line.rstrip("\n").split("\t")
            self.runs[name, int(threads)][int(round_number)] = (float(wall), float(cpu), float(size))

    def series(self, name, threads=1, clock="cpu", per_byte=False):
        """The times of a benchmark, by round."""
        if (name, threads) not in self.runs:
            sys.exit(f"bench: nothing was measured for {name} with {threads} threads")
        column = 0 if clock == "wall" else 1
        return {r: run[column] / (run[2] if per_byte else 1) for r, run in self.runs[name, threads].items()}


def ratio(numerator, denominator):
    """The median of the ratios of each round."""
    return statistics.median(numerator[r] / denominator[r] for r in numerator.keys() & denominator.keys())


def sum_of(*series):
    return {r: sum(s[r] for s in series) for r in set.intersection(*(set(s) for s in series))}


def number(value):
    return f"{value:.0f}" if value >= 100 else f"{value:.3g}" if value < 10 else f"{value:.1f}"


def table(head, rows):
    return "\n".join(["| " + " | ".join(head) + " |", "|" + "---|" * len(head)] +
                     ["| " + " | ".join(row) + " |" for row in rows])


SAMPLES = ("small", "list", "preset")
OPERATIONS = {
    "validate": (("libbson", "validate/libbson"), ("memcpy", "copy/memcpy")),
    "decode": (("libbson", "decode/libbson"), ("nlohmann", "decode/nlohmann"), ("memcpy", "copy/memcpy"),
               ("block", "copy/block"), ("leaves", "copy/leaves")),
    "encode": (("libbson", "encode/libbson"), ("nlohmann", "encode/nlohmann"), ("memcpy", "copy/memcpy"),
               ("block", "copy/block"), ("messages in turn", "copy/messages-in-turn"),
               ("messages together", "copy/messages-together")),
}
DOCUMENT_COLUMNS = ("libbson", "nlohmann", "memcpy", "block", "leaves", "messages in turn", "messages together")


def documents(m):
    rows = []
    for sample in SAMPLES:
        for operation, others in OPERATIONS.items():
            own = m.series(f"{sample}/{operation}/lutc")
            cells = {label: number(ratio(m.series(f"{sample}/{name}"), own)) for label, name in others}
            rows.append([sample, operation, "1"] + [cells.get(column, "") for column in DOCUMENT_COLUMNS])
    return table(("document", "operation", "lutc") + DOCUMENT_COLUMNS, rows)


DEPTHS = [10 ** n for n in range(6)]
COUNTS = [10 ** n for n in range(1, 7)]
GROWTH = (("validate", "validate/lutc"), ("decode, destroy", "decode/lutc"), ("measure", "measure/lutc"),
          ("encode, by byte written", "encode/lutc"), ("leaves", "copy/leaves"))


def growth_table(m, prefix, sizes, base, columns):
    rows = []
    for size in sizes:
        row = [f"{size:,}"]
        for _, name in columns:
            full = f"{prefix}-{size}/{name}"
            if name == "encode/lutc" and (full, 1) not in m.runs:
                row.append("")
                continue
            row.append(number(ratio(m.series(full, per_byte=True),
                                    m.series(f"{prefix}-{base}/{name}", per_byte=True))))
        rows.append(row)
    return table((prefix,) + tuple(label for label, _ in columns), rows)


def goals(m):
    """Each row: what, against, the goal as text, the ratio reached, whether it is met."""

    def faster(what, own, against, other, goal):
        reached = ratio(m.series(other), m.series(own))
        return what, against, f"{goal:g} x as fast", reached, reached >= goal

    def within(what, own, against, other, goal, clock="cpu"):
        own = m.series(own, clock=clock) if isinstance(own, str) else own
        other = m.series(other, clock=clock) if isinstance(other, str) else other
        reached = ratio(own, other)
        return what, against, f"within {goal:g} x", reached, reached <= goal

    yield faster("decode and destroy, list", "list/decode/lutc", "libbson into an owning tree", "list/decode/libbson", 2)
    yield faster("decode and destroy, list", "list/decode/lutc", "nlohmann::ordered_json", "list/decode/nlohmann", 4)
    yield within("decode and destroy, preset", "preset/decode/lutc", "malloc, memcpy, free of the same bytes",
                 "preset/copy/block", 1.2)
    yield faster("decode and destroy, small", "small/decode/lutc", "libbson into an owning tree",
                 "small/decode/libbson", 1.5)
    yield faster("validate, list", "list/validate/lutc", "libbson's validate", "list/validate/libbson", 4)
    yield faster("encode, list", "list/encode/lutc", "libbson's append from a tree", "list/encode/libbson", 1.5)
    yield within("encode, preset", "preset/encode/lutc", "malloc, memcpy, free of each message, one at a time",
                 "preset/copy/messages-in-turn", 1.2)
    for what, name in (("validate", "validate/lutc"), ("decode and destroy", "decode/lutc"),
                       ("measure", "measure/lutc")):
        yield within(f"{what}, 100,000 deep", f"nesting-100000/{name}", "the same bytes 10 deep", f"nesting-10/{name}", 2)


def goal_table(m):
    return table(("what", "against", "goal", "reached", ""),
                 [[what, against, goal, number(reached) + " x", "met" if met else "**missed**"]
                  for what, against, goal, reached, met in goals(m)])


if __name__ == "__main__":
    m = Measurements(open(sys.argv[1]))
    print(goal_table(m), documents(m), growth_table(m, "nesting", DEPTHS, 10, GROWTH[:4]),
          growth_table(m, "elements", COUNTS, 1000, GROWTH), sep="\n\n")
