#!/usr/bin/env python3
"""Runs the benchmark programs, prints their measurements as tables and puts these into docs/performance.md.

scripts/bench builds the programs and starts this.
"""

import argparse
import collections
import datetime
import os
import pathlib
import platform
import re
import shutil
import statistics
import subprocess
import sys
import tempfile

BEGIN = "<!-- measured: begin (written by scripts/bench) -->"
END = "<!-- measured: end -->"


class Measurements:
    """What the programs printed: for each benchmark and number of threads, its runs round by round."""

    def __init__(self):
        self.runs = collections.defaultdict(dict)

    def add(self, lines):
        for line in lines:
            round_number, name, threads, wall, cpu, size = line.rstrip("\n").split("\t")
            self.runs[name, int(threads)][int(round_number)] = (float(wall), float(cpu), float(size))

    def series(self, name, threads=1, clock="cpu", per_byte=False):
        """The times of a benchmark, by round."""
        if (name, threads) not in self.runs:
            sys.exit(f"bench: nothing was measured for {name} with {threads} threads")
        column = 0 if clock == "wall" else 1
        return {r: run[column] / (run[2] if per_byte else 1) for r, run in self.runs[name, threads].items()}


def ratios(numerator, denominator):
    """The ratios of each round, in order of size."""
    return sorted(numerator[r] / denominator[r] for r in numerator.keys() & denominator.keys())


def ratio(numerator, denominator):
    return statistics.median(ratios(numerator, denominator))


def sum_of(one, other):
    return {r: one[r] + other[r] for r in one.keys() & other.keys()}


def number(value):
    return f"{value:.0f}" if value >= 100 else f"{value:.3g}" if value < 10 else f"{value:.1f}"


def table(head, rows):
    return "\n".join(["| " + " | ".join(head) + " |", "|" + "---|" * len(head)] +
                     ["| " + " | ".join(row) + " |" for row in rows])


SAMPLES = ("small", "list", "preset")
OPERATIONS = {
    "validate": (("libbson", "validate/libbson"), ("libbson's walk", "validate/libbson-walk"), ("memcpy", "copy/memcpy")),
    "decode": (("libbson", "decode/libbson"), ("nlohmann", "decode/nlohmann"), ("memcpy", "copy/memcpy"),
               ("block", "copy/block"), ("leaves", "copy/leaves"), ("memory", "copy/memory")),
    "encode": (("libbson", "encode/libbson"), ("nlohmann", "encode/nlohmann"), ("memcpy", "copy/memcpy"),
               ("block", "copy/block"), ("messages in turn", "copy/messages-in-turn"),
               ("messages together", "copy/messages-together")),
    "duplicate": (("plain tree", "duplicate/tree"), ("memory", "copy/memory")),
}
DOCUMENT_COLUMNS = ("libbson", "libbson's walk", "nlohmann", "plain tree", "memcpy", "block", "leaves", "memory",
                    "messages in turn", "messages together")


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


CALLS = ("lutc_save_presets_to_media", "lutc_preset_list", "lutc_recv_preset", "lutc_send_preset", "lutc_send_lut")
THREADS = (1, 2, 8, 64)
SMALL_CALL = CALLS[0]


def calls(m, memory, system_calls):
    rows = []
    for name in CALLS:
        used = memory[name]
        transferred = max(used["command"], used["reply"])
        wall, cpu = (ratio(m.series(f"{name}/lutc", clock=clock), m.series(f"{name}/bare", clock=clock))
                     for clock in ("wall", "cpu"))
        rows.append([f"`{name}`", f"{transferred:,}", number(wall), number(cpu), str(used["allocations"]),
                     f"{used['peak']:,}", number(used["peak"] / transferred),
                     system_calls.get(f"{name}/lutc", "not counted"), system_calls.get(f"{name}/bare", "not counted")])
    return table(("call", "bytes of the larger message", "wall, x bare", "CPU, x bare", "allocations",
                  "peak heap, bytes", "peak heap, x message", "system calls", "system calls, bare"), rows)


def parallel(m):
    rows = []
    for name in CALLS:
        own, bare = ({n: m.series(f"parallel/{name}/{who}", n, "wall") for n in THREADS} for who in ("lutc", "bare"))
        rows.append([f"`{name}`"] + [number(ratio(own[n], bare[n])) for n in THREADS] +
                    [number(ratio(own[1], own[n])) for n in THREADS[1:]])
    return table(("call",) + tuple(f"{n} thread{'s' * (n > 1)}, x bare" for n in THREADS) +
                 tuple(f"calls/s of {n} threads, x one" for n in THREADS[1:]), rows)


def faster(m, what, own, against, other, goal):
    reached = ratios(m.series(other), m.series(own))
    return what, against, f"at least {goal:g} x as fast", reached, statistics.median(reached) >= goal


def within(m, what, own, against, other, goal, clock="cpu", per_byte=False):
    reached = ratios(m.series(own, clock=clock, per_byte=per_byte), m.series(other, clock=clock, per_byte=per_byte))
    return what, against, f"within {goal:g} x", reached, statistics.median(reached) <= goal


# Each goal: what, against, the goal, the ratios that were reached, whether it is met.


def document_goals(m):
    tree = "libbson into an owning tree"
    return [
        faster(m, "decode and destroy, list", "list/decode/lutc", tree, "list/decode/libbson", 3),
        faster(m, "decode and destroy, list", "list/decode/lutc", "nlohmann::ordered_json", "list/decode/nlohmann", 3.2),
        within(m, "decode and destroy, preset", "preset/decode/lutc", "malloc, memcpy, free of the same bytes",
               "preset/copy/block", 1.2),
        faster(m, "decode and destroy, small", "small/decode/lutc", tree, "small/decode/libbson", 1.5),
        faster(m, "validate, list", "list/validate/lutc", "libbson's validate", "list/validate/libbson", 4),
        faster(m, "encode, list", "list/encode/lutc", "libbson's append from a tree", "list/encode/libbson", 1.5),
        within(m, "encode, preset", "preset/encode/lutc", "malloc, memcpy, free of each message, one at a time",
               "preset/copy/messages-in-turn", 1.2),
        faster(m, "copy and destroy, list", "list/duplicate/lutc", "a plain owning tree", "list/duplicate/tree", 0.8),
        faster(m, "build, encode and destroy, six fields", "small/build/lutc", "libbson's append", "small/build/libbson",
               0.7)]


def call_goals(m, memory):
    small = f"{SMALL_CALL}/lutc", "the bare client", f"{SMALL_CALL}/bare"
    sent = memory["lutc_send_preset"]
    peak = sent["peak"] / sent["command"]
    return [
        within(m, "small call, wall time", *small, 1.1, "wall"),
        within(m, "small call, client CPU", *small, 1.3),
        within(m, "`lutc_preset_list`, client CPU", "lutc_preset_list/lutc",
               "one decode of that reply, and the records", "records/lutc_preset_list", 1.2),
        ("`lutc_send_preset`, peak heap beyond the caller's", "the encoded command", "at most 3 x", [peak], peak <= 3)]


def growth_goals(m):
    return [within(m, f"{what}, 100,000 deep, by byte", f"nesting-100000/{name}", "10 deep", f"nesting-10/{name}", 2,
                   per_byte=True)
            for what, name in (("validate", "validate/lutc"), ("decode and destroy", "decode/lutc"),
                               ("measure", "measure/lutc"))]


def goal_table(goals):
    rows = []
    for what, against, goal, reached, met in goals:
        quarter = len(reached) // 4
        rows.append([what, against, goal, f"{number(statistics.median(reached))} x",
                     f"{number(reached[quarter])} to {number(reached[-1 - quarter])}" if len(reached) > 1 else "",
                     "yes" if met else "**no**"])
    return table(("what", "against", "goal", "reached", "middle half of the rounds", "met"), rows)


def floor_of_list(m):
    """What lutc_preset_list takes beside the least that it must do: exchange, decode, records."""
    least = sum_of(m.series("records/lutc_preset_list"), m.series("lutc_preset_list/bare"))
    return (f"`lutc_preset_list` takes {number(ratio(m.series('lutc_preset_list/lutc'), least))} x the client CPU of the "
            "bare exchange, one decode of the reply and the records together.")


def machine(programs):
    with open("/proc/cpuinfo", encoding="utf-8") as information:
        model = re.search(r"^(?:model name|Model|Hardware)\s*:\s*(.*)$", information.read(), re.M)
    compiler = "unknown"
    for found in programs.parent.glob("CMakeFiles/*/CMakeCXXCompiler.cmake"):
        said = dict(re.findall(r'set\(CMAKE_CXX_COMPILER_(ID|VERSION) "([^"]*)"\)', found.read_text()))
        compiler = f"{said.get('ID')} {said.get('VERSION')}"
    kernel = re.match(r"[\d.]*", platform.release())[0]
    return "\n".join([f"- Processor: {model[1] if model else platform.machine()}, {os.cpu_count()} cores",
                      f"- Compiler: {compiler}, release build; C library: {' '.join(platform.libc_ver())}",
                      f"- Kernel: {platform.system()} {kernel}"])


def run(command, cores):
    """The lines that the program writes to standard output."""
    done = subprocess.run([str(word) for word in command], stdout=subprocess.PIPE, text=True, check=False,
                          preexec_fn=lambda: os.sched_setaffinity(0, cores))
    if done.returncode != 0:
        sys.exit(f"bench: {pathlib.Path(command[0]).name} failed")
    return done.stdout.splitlines()


def count_system_calls(program, name, times):
    """System calls of the client for one call, or None where strace is missing or not permitted."""
    lines = []
    with tempfile.TemporaryDirectory() as folder:
        for count in (times, 2 * times):
            trace = pathlib.Path(folder, "trace")
            done = subprocess.run(["strace", "-qq", "-e", "signal=none", "-o", trace, program, f"--call={name}",
                                   f"--times={count}"], check=False)
            if done.returncode != 0:
                return None
            lines.append(len(trace.read_text(errors="replace").splitlines()))
    return number((lines[1] - lines[0]) / times)


class Bench:
    """The programs, and how long they run."""

    def __init__(self, programs, quick):
        self.programs = programs
        self.quick = quick
        self.every_core = os.sched_getaffinity(0)
        self.one_core = {max(self.every_core)}
        self.measurements = Measurements()

    def time(self, program, rounds, seconds, cores, *options):
        """rounds: of all benchmarks; seconds: at least, of each benchmark in each round."""
        if self.quick:
            rounds, seconds = 1, 0.0001
        self.measurements.add(run([self.programs / program, f"--rounds={rounds}",
                                   f"--benchmark_min_time={seconds}", *options], cores))

    def time_documents(self):
        self.time("lutc-bench-documents", 11, 0.03, self.one_core)

    def time_calls(self):
        self.time("lutc-bench-calls", 11, 0.2, self.one_core, "--benchmark_filter=-^parallel/")
        self.time("lutc-bench-calls", 5, 0.2, self.every_core, "--benchmark_filter=^parallel/")

    def heap_use(self):
        used = {}
        for line in run([self.programs / "lutc-bench-memory"], self.every_core):
            name, *numbers = line.split("\t")
            used[name] = dict(zip(("allocations", "peak", "command", "reply"), map(int, numbers)))
        return used

    def system_calls(self):
        if not shutil.which("strace"):
            return {}
        counts = {name: count_system_calls(self.programs / "lutc-bench-calls", name, 2 if self.quick else 10)
                  for name in (f"{call}/{who}" for call in CALLS for who in ("lutc", "bare"))}
        return {name: count for name, count in counts.items() if count is not None}


DOCUMENTS_NOTE = "CPU time of each in terms of lutc's: 2 means twice lutc's time, 0.5 half of it."
DEPTH_NOTE = "CPU time for each byte, in terms of that at depth 10. The number of bytes and of documents is the same."
ROW_NOTE = "The same for elements beside each other, in terms of 1,000 of them."
CALLS_NOTE = "One thread; client and service share one core. Peak heap includes what is handed to the caller."
PARALLEL_NOTE = "All cores. Wall time of a call in terms of the bare client's from as many threads."


def document_report(m):
    return ["### Documents", DOCUMENTS_NOTE, documents(m),
            "### Growth", DEPTH_NOTE, growth_table(m, "nesting", DEPTHS, 10, GROWTH[:4]),
            ROW_NOTE, growth_table(m, "elements", COUNTS, 1000, GROWTH)]


def whole_report(bench):
    bench.time_documents()
    bench.time_calls()
    m, memory = bench.measurements, bench.heap_use()
    return ["### Goals", goal_table(document_goals(m) + call_goals(m, memory) + growth_goals(m)), floor_of_list(m),
            *document_report(m),
            "### Calls", CALLS_NOTE, calls(m, memory, bench.system_calls()),
            "### Calls in parallel", PARALLEL_NOTE, parallel(m)]


def report_on_documents(bench):
    bench.time_documents()
    m = bench.measurements
    return ["### Goals", goal_table(document_goals(m) + growth_goals(m)), *document_report(m)]


def write_into(document, text):
    content = document.read_text(encoding="utf-8")
    before, begin, rest = content.partition(BEGIN)
    _, end, after = rest.partition(END)
    if not begin or not end:
        sys.exit(f"bench: {document} lacks the lines between which the measurements stand")
    partial = document.with_suffix(".partial")
    partial.write_text(f"{before}{BEGIN}\n\n{text}\n\n{END}{after}", encoding="utf-8")
    partial.replace(document)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--programs", type=pathlib.Path, required=True, help="folder of the benchmark programs")
    parser.add_argument("--write", type=pathlib.Path, help="document that takes the tables")
    parser.add_argument("--quick", action="store_true", help="run everything once; the numbers mean nothing")
    parser.add_argument("--documents", action="store_true", help="leave out the calls")
    options = parser.parse_args()
    programs = options.programs.resolve()
    bench = Bench(programs, options.quick)
    parts = report_on_documents(bench) if options.documents else whole_report(bench)
    load = os.getloadavg()[1] / os.cpu_count()
    text = "\n\n".join([f"Measured on {datetime.date.today().isoformat()}.",
                        f"{machine(programs)}\n- Load in terms of the cores, this run included: {load:.1f}", *parts])
    print(text)
    if options.write:
        write_into(options.write, text)


if __name__ == "__main__":
    main()
