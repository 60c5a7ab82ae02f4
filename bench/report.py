#!/usr/bin/env python3
"""Runs the benchmark programs, prints their measurements as tables and puts these into docs/performance.md.

scripts/bench builds the programs and starts this.
"""

import argparse
import collections
import contextlib
import datetime
import http.client
import json
import os
import pathlib
import platform
import re
import shutil
import statistics
import subprocess
import sys
import tempfile
import threading

BEGIN = "<!-- measured: begin (written by scripts/bench) -->"
END = "<!-- measured: end -->"


class Measurements:
    """What the programs measured: for each benchmark and number of threads, its repetitions."""

    def __init__(self):
        self.runs = collections.defaultdict(list)

    def add(self, report):
        for run in json.loads(report)["benchmarks"]:
            if run.get("error_occurred"):
                sys.exit(f"bench: {run['name']}: {run['error_message']}")
            if run["run_type"] == "iteration":
                self.runs[run["run_name"].split("/real_time")[0], run["threads"]].append(run)

    def series(self, name, threads=1, clock="cpu", per_byte=False):
        if (name, threads) not in self.runs:
            sys.exit(f"bench: nothing was measured for {name} with {threads} threads")
        return [run[f"{clock}_time"] / (run["bytes"] if per_byte else 1) for run in self.runs[name, threads]]


def ratio(numerator, denominator):
    return statistics.median(numerator) / statistics.median(denominator)


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
        real, cpu = (ratio(m.series(f"{name}/lutc", clock=clock), m.series(f"{name}/bare", clock=clock))
                     for clock in ("real", "cpu"))
        rows.append([f"`{name}`", f"{transferred:,}", number(real), number(cpu), str(used["allocations"]),
                     f"{used['peak']:,}", number(used["peak"] / transferred),
                     system_calls(f"{name}/lutc"), system_calls(f"{name}/bare")])
    return table(("call", "bytes of the larger message", "wall, x bare", "CPU, x bare", "allocations",
                  "peak heap, bytes", "peak heap, x message", "system calls", "system calls, bare"), rows)


def default_malloc(used):
    rows = []
    for name in CALLS:
        own, bare = used[f"{name}/lutc"], used[f"{name}/bare"]
        rows.append([f"`{name}`", number(own[0]), number(bare[0]), number(own[1] / bare[1]) if bare[1] else ""])
    return table(("call", "page faults", "page faults, bare", "CPU, x bare"), rows)


def parallel(m):
    rows = []
    for name in CALLS:
        own, bare = ({n: m.series(f"parallel/{name}/{who}", n, "real") for n in THREADS} for who in ("lutc", "bare"))
        rows.append([f"`{name}`"] + [number(ratio(own[n], bare[n])) for n in THREADS] +
                    [number(ratio(own[1], own[n])) for n in THREADS[1:]])
    return table(("call",) + tuple(f"{n} thread{'s' * (n > 1)}, x bare" for n in THREADS) +
                 tuple(f"calls/s of {n} threads, x one" for n in THREADS[1:]), rows)


def goal(what, against, bound, reached, spread, met):
    return [what, against, bound, f"{number(reached)} x", spread, "yes" if met else "**no**"]


def middle_half(numerator, denominator):
    """Of the ratios of one repetition each; a spread, not what is compared."""
    reached = sorted(a / b for a, b in zip(numerator, denominator))
    return f"{number(reached[len(reached) // 4])} to {number(reached[-1 - len(reached) // 4])}"


def faster(m, what, own, against, other, bound):
    pair = m.series(other), m.series(own)
    return goal(what, against, f"at least {bound:g} x as fast", ratio(*pair), middle_half(*pair), ratio(*pair) >= bound)


def within(m, what, own, against, other, bound, clock="cpu", per_byte=False):
    pair = (m.series(own, clock=clock, per_byte=per_byte), m.series(other, clock=clock, per_byte=per_byte))
    return goal(what, against, f"within {bound:g} x", ratio(*pair), middle_half(*pair), ratio(*pair) <= bound)


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


def call_goals(m, memory, used):
    small = f"{SMALL_CALL}/lutc", "the bare client", f"{SMALL_CALL}/bare"
    sent, received = memory["lutc_send_preset"], memory["lutc_recv_preset"]
    peak, heap = sent["peak"] / sent["command"], received["peak"] / received["reply"]
    faults = max(used[f"{call}/lutc"][0] for call in CALLS)
    return [
        within(m, "small call, wall time", *small, 1.1, "real"),
        within(m, "small call, client CPU", *small, 1.3),
        within(m, "`lutc_preset_list`, client CPU", "lutc_preset_list/lutc",
               "one decode of that reply, and the records", "records/lutc_preset_list", 1.2),
        *(within(m, f"`{call}`, client CPU", f"{call}/lutc", "the bare client", f"{call}/bare", bound)
          for call, bound in (("lutc_preset_list", 10), ("lutc_recv_preset", 1.3))),
        goal("`lutc_recv_preset`, peak heap", "the reply", "at most 2.3 x", heap, "", heap <= 2.3),
        ["page faults of a call, malloc as it is by default", "", "none", number(faults), "", "**no**" if faults else "yes"],
        goal("`lutc_send_preset`, peak heap beyond the caller's", "the encoded command", "at most 3 x", peak, "", peak <= 3)]


def growth_goals(m):
    return [within(m, f"{what}, 100,000 deep, by byte", f"nesting-100000/{name}", "10 deep", f"nesting-10/{name}", 2,
                   per_byte=True)
            for what, name in (("validate", "validate/lutc"), ("decode and destroy", "decode/lutc"),
                               ("measure", "measure/lutc"))]


POLLS = 25  # of each poller in a second
LOADS = (("read", "stays (304)", 0.8), ("grade", "changes with every call", 0.5))


def load_goal(what, against, bound, reached):
    reached, quarter = sorted(reached), len(reached) // 4
    median = statistics.median(reached)
    return goal(f"calls/s of 8 clients of `lutc-simulator` while {what}", against, f"at least {bound:g} x", median,
                f"{number(reached[quarter])} to {number(reached[-1 - quarter])}", median >= bound)


def load_goals(loads, with_page):
    rows = [load_goal(f"two poll a picture that {picture}, {POLLS} times a second", "the same without the two", bound,
                      loads[call]) for call, picture, bound in LOADS]
    if with_page:
        rows.append(load_goal("they grade a channel that a browser shows, on another core", "the same without the page", 0.8,
                              with_page))
    return rows


def goal_table(goals):
    return table(("what", "against", "goal", "reached", "middle half of the repetitions", "met"), goals)


def picture_goals(m):
    return [within(m, "a picture of 1920x1080 through a CDL, a cube and a curve", "picture/grade",
                   "OpenColorIO's own apply", "picture/apply", 1.5)]


def floors(m):
    """What the calls with large replies take beside the least that they must do."""
    copied = ratio(m.series("preset/copy/memcpy"), m.series("lutc_recv_preset/bare"))
    least = [sum(pair) for pair in zip(m.series("records/lutc_preset_list"), m.series("lutc_preset_list/bare"))]
    return (f"`lutc_preset_list` takes {number(ratio(m.series('lutc_preset_list/lutc'), least))} x the client CPU of the "
            "bare exchange, one decode of the reply and the records together. The caller of `lutc_recv_preset` gets blocks "
            f"of their own: copying that reply once, and nothing else, takes {number(copied)} x the CPU of the bare client.")


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
    """What the program writes to standard output."""
    done = subprocess.run([str(word) for word in command], stdout=subprocess.PIPE, text=True, check=False,
                          preexec_fn=lambda: os.sched_setaffinity(0, cores))
    if done.returncode != 0:
        sys.exit(f"bench: {pathlib.Path(command[0]).name} failed")
    return done.stdout


@contextlib.contextmanager
def browser(cores):
    """Debian's, on these cores; null where scripts/setup --browser hasn't been run."""
    try:
        from selenium import webdriver
        from selenium.webdriver.chrome.service import Service
    except ImportError:
        webdriver = None
    if webdriver is None or not shutil.which("chromedriver"):
        print("bench: no row with a browser: scripts/setup --browser hasn't been run", file=sys.stderr)
        yield None
        return
    options = webdriver.ChromeOptions()
    for argument in ("headless=new", "disable-dev-shm-usage") + ("no-sandbox",) * (os.geteuid() == 0):
        options.add_argument("--" + argument)
    every_core = os.sched_getaffinity(0)
    os.sched_setaffinity(0, cores)  # what is started inherits them
    driver = webdriver.Chrome(service=Service(shutil.which("chromedriver")), options=options)
    os.sched_setaffinity(0, every_core)
    try:
        yield driver
    finally:
        driver.quit()


@contextlib.contextmanager
def simulator(program, cores=None):
    """The port of its page."""
    with tempfile.TemporaryDirectory() as media, subprocess.Popen(
            [program, "--quiet", "--page=0", f"--media={media}"], stdout=subprocess.PIPE, text=True,
            preexec_fn=lambda: os.sched_setaffinity(0, cores or os.sched_getaffinity(0))) as process:
        try:
            lines = [process.stdout.readline() for _ in range(2)]  # page, listening
            yield int(re.search(r"(\d+)/$", lines[0])[1])
        finally:
            process.terminate()


@contextlib.contextmanager
def pollers(port):
    def poll():
        connection, tag = http.client.HTTPConnection("127.0.0.1", port), ""
        while not done.wait(1 / POLLS):
            connection.request("GET", "/outputs/1.png", headers={"If-None-Match": tag})
            answer = connection.getresponse()
            answer.read()
            tag = answer.headers["ETag"]

    done = threading.Event()
    threads = [threading.Thread(target=poll) for _ in range(2)]
    for thread in threads:
        thread.start()
    try:
        yield
    finally:
        done.set()
        for thread in threads:
            thread.join()


class Bench:
    """The programs, and how long they run."""

    def __init__(self, programs, quick):
        self.programs = programs
        self.quick = quick
        self.every_core = os.sched_getaffinity(0)
        self.one_core = {max(self.every_core)}
        self.measurements = Measurements()

    def time(self, program, repetitions, seconds, cores, *options):
        """All benchmarks that often, in random order, each for that many seconds at least."""
        if self.quick:
            repetitions, seconds = 1, 0.0001
        self.measurements.add(run([self.programs / program, f"--benchmark_repetitions={repetitions}",
                                   f"--benchmark_min_time={seconds}", "--benchmark_enable_random_interleaving=true",
                                   "--benchmark_format=json", *options], cores))

    def time_documents(self):
        self.time("lutc-bench-documents", 11, 0.03, self.one_core)

    def time_calls(self):
        self.time("lutc-bench-calls", 11, 0.2, self.one_core, "--benchmark_filter=-^parallel/")
        self.time("lutc-bench-calls", 5, 0.2, self.every_core, "--benchmark_filter=^parallel/")

    def time_pictures(self):
        self.time("lutc-bench-pictures", 5, 0.2, self.one_core)

    def heap_use(self):
        used = {}
        for line in run([self.programs / "lutc-bench-memory"], self.every_core).splitlines():
            name, *numbers = line.split("\t")
            used[name] = dict(zip(("allocations", "peak", "command", "reply"), map(int, numbers)))
        return used

    def clients(self, call, cores=None):
        """Calls in a second of 8 clients, none of which failed."""
        made, failed = run([self.programs / "lutc-bench-clients", call, 0.1 if self.quick else 2],
                           cores or self.every_core).split()
        if failed != "0" and not self.quick:
            sys.exit(f"bench: {failed} calls failed beside the page")
        return float(made)

    def loads(self):
        """For each kind of call, calls/s while two poll in terms of those without, in rounds."""
        found = {}
        for call, _, _ in LOADS:
            with simulator(self.programs / "lutc-simulator") as port:
                found[call] = []
                for _ in range(1 if self.quick else 5):
                    alone = self.clients(call)
                    with pollers(port):
                        found[call].append(self.clients(call) / alone)
        return found

    def loads_with_page(self):
        """The same for grading while a browser shows the channel; empty without a browser, or a core for it."""
        others, found = self.every_core - self.one_core, []
        if not others:
            return found
        with browser(self.one_core) as shown, simulator(self.programs / "lutc-simulator", others) as port:
            for _ in range((1 if self.quick else 5) if shown else 0):
                shown.get("about:blank")
                alone = self.clients("grade", others)
                shown.get(f"http://127.0.0.1:{port}/#channel=1")
                while shown.execute_script("return document.querySelector('#link').textContent") != "live":
                    pass
                found.append(self.clients("grade", others) / alone)
        return found

    def call(self, name, times):
        """Command line for 2 x times calls."""
        return [self.programs / "lutc-bench-calls", "--call", *name.split("/"), str(times)]

    def with_default_malloc(self):
        """For each call and client: page faults and processor time of a call; medians of five runs, in turn."""
        names = [f"{call}/{who}" for call in CALLS for who in ("lutc", "bare")]
        runs = [{name: run(self.call(name, 2 if self.quick else 20), self.one_core).split() for name in names}
                for _ in range(1 if self.quick else 5)]
        return {name: [statistics.median(float(each[name][column]) for each in runs) for column in (0, 1)]
                for name in names}

    def system_calls(self, name):
        """Of the client for one call; not counted where strace is missing or not permitted."""
        lines, times = [], 1 if self.quick else 5
        with tempfile.TemporaryDirectory() as folder:
            trace = pathlib.Path(folder, "trace")
            for count in (times, 2 * times):
                words = ["strace", "-qq", "-e", "signal=none", "-o", trace, *self.call(name, count)]
                if not shutil.which("strace") or subprocess.run(words, check=False, stdout=subprocess.DEVNULL).returncode:
                    return "not counted"
                lines.append(trace.read_text(errors="replace").count("\n"))
        return number((lines[1] - lines[0]) / (2 * times))


DOCUMENTS_NOTE = "CPU time of each in terms of lutc's: 2 means twice lutc's time, 0.5 half of it."
DEPTH_NOTE = "CPU time for each byte, in terms of that at depth 10. The number of bytes and of documents is the same."
ROW_NOTE = "The same for elements beside each other, in terms of 1,000 of them."
CALLS_NOTE = "One thread; client and service share one core. Peak heap includes what is handed to the caller."
MALLOC_NOTE = "With malloc as it is by default, in the steady state: after 20 calls, the mean of 20 more."
PARALLEL_NOTE = "All cores. Wall time of a call in terms of the bare client's from as many threads."


def document_report(m):
    return ["### Documents", DOCUMENTS_NOTE, documents(m),
            "### Growth", DEPTH_NOTE, growth_table(m, "nesting", DEPTHS, 10, GROWTH[:4]),
            ROW_NOTE, growth_table(m, "elements", COUNTS, 1000, GROWTH)]


def whole_report(bench):
    bench.time_documents()
    bench.time_calls()
    bench.time_pictures()
    m, memory, used = bench.measurements, bench.heap_use(), bench.with_default_malloc()
    return ["### Goals", goal_table(document_goals(m) + call_goals(m, memory, used) + growth_goals(m) +
                                      picture_goals(m) + load_goals(bench.loads(), bench.loads_with_page())), floors(m),
            *document_report(m),
            "### Calls", CALLS_NOTE, calls(m, memory, bench.system_calls),
            MALLOC_NOTE, default_malloc(used),
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
