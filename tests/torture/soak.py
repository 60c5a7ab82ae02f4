#!/usr/bin/env python3
"""Sixteen clients for half an hour, random faults, and the HTTP interface polled meanwhile.

    soak.py BUILD [MINUTES]

BUILD is a build folder; the loader must find its liblutc.so. MINUTES are 30 unless given. After the first minute and at
the end the clients rest, and the idle simulator is measured. At the end the answers, counted by command and errno, must
be those of the faults that the simulator's log names. Uses the service's own port.
"""
import collections
import concurrent.futures
import errno
import os
import pathlib
import random
import re
import sys
import tempfile
import time
import urllib.error
import urllib.request

HERE = pathlib.Path(__file__).resolve().parent
BUILD = pathlib.Path(sys.argv[1]).resolve()
SECONDS = 60 * float(sys.argv[2] if len(sys.argv) > 2 else 30)
FIRST, CLIENTS, REST = 60, 16, 3
sys.path[:0] = [str(HERE.parent / "support"), str(HERE.parent.parent / "python")]
import lutc  # noqa: E402
from service import Simulator  # noqa: E402

# What the caller of a command with this fault learns; a trickle may take longer between two pieces than the 10 ms.
ERRORS = {"": {0}, "delay": {0}, "event-first": {0}, "trickle": {0, errno.EPROTO}, "refuse": {errno.EREMOTEIO},
          "silence": {errno.ETIMEDOUT}, "close": {errno.ECONNRESET}, "reset": {errno.ECONNRESET},
          **{kind: {errno.EPROTO} for kind in ("truncate", "garbage", "length", "event-glued")}}
GRADE = [lutc.Cdl(slope=(1.1, 1, 0.9)), lutc.Lut3D("float32 little red", bytes(12 * 17**3))]
CALLS = {
    "getOption": lambda name: lutc.get_option("serialNumber") == "SIM-0001",
    "getPresetsList": lambda name: len(lutc.preset_list().presets) == CLIENTS,
    "getPreset": lambda name: len(lutc.recv_preset(name).components) == 2,
    "sendPreset": lambda name: lutc.send_preset(name, GRADE) is None,
    "setSelectedPreset": lambda name: lutc.set_preset(name, channel=1) is None,
    "sendCDL": lambda name: lutc.send_cdl(GRADE[0], channel=2) is None,
    "getModelInfo": lambda name: lutc.model_info().serial == "SIM-0001",
    "savePresetsToMedia": lambda name: lutc.save_presets_to_media() is None,
    "loadPresetsFromMedia": lambda name: lutc.load_presets_from_media() is None}


def client(number, until):
    """Calls until then; how often each command ended with each errno."""
    choose, seen = random.Random(number + until), collections.Counter()
    while time.monotonic() < until:
        name = choose.choice(list(CALLS))
        try:
            good, error = CALLS[name]("p%d" % number), 0
        except lutc.Error as failure:
            good, error = True, failure.errno
        assert good, name + " succeeded with a wrong answer"
        seen[name, error] += 1
    return seen


def poll(port, until):
    """All that can be had over HTTP, again and again; how many answers."""
    answers = 0
    while time.monotonic() < until:
        for path in ("state.json", "log.json", "log.json?since=10", "faults", "channels/1.png?width=160",
                     "presets/1.png?width=64", "channels/2/components/1.json"):
            try:
                with urllib.request.urlopen("http://127.0.0.1:%d/%s" % (port, path), timeout=60) as answer:
                    answer.read()
            except urllib.error.HTTPError as refused:
                assert refused.code == 404, (path, refused.code)  # a component that isn't there now
            answers += 1
        time.sleep(0.2)
    return answers


def work(port, seconds):
    until = time.monotonic() + seconds
    with concurrent.futures.ThreadPoolExecutor(CLIENTS + 1) as pool:
        polling = pool.submit(poll, port, until)
        seen = sum(pool.map(client, range(CLIENTS), [until] * CLIENTS), collections.Counter())
        return seen, polling.result()


def measure(process):
    time.sleep(REST)
    status = pathlib.Path("/proc/%d/status" % process.pid).read_text()
    return len(os.listdir("/proc/%d/fd" % process.pid)), int(status.split("VmRSS:")[1].split()[0]) / 1024


def compare(seen, lines):
    """The counted answers against the log: by command, as many of each errno as faults that lead to it."""
    commands, allowed = {}, collections.Counter()
    for line in lines:
        if found := re.match(r"\S+ (\d+) < (\w+)", line):
            commands[found[1]] = found[2]
        elif found := re.match(r"\S+ (\d+) > .*?(?:\(fault: ([\w-]+)\))?$", line):
            allowed[commands[found[1]], frozenset(ERRORS[found[2] or ""])] += 1
    for name in CALLS:
        total = sum(count for (command, _), count in allowed.items() if command == name)
        assert total == sum(count for (command, _), count in seen.items() if command == name), name
        for error in {error for command, error in seen if command == name} | {0}:
            least = allowed[name, frozenset({error})]
            most = sum(count for (command, errors), count in allowed.items() if command == name and error in errors)
            assert least <= seen[name, error] <= most, (name, errno.errorcode.get(error), seen[name, error], least, most)


def main():
    with tempfile.TemporaryDirectory() as media:
        with Simulator(str(BUILD / "bin" / "lutc-simulator"), "--media", media):
            for number in range(CLIENTS):
                lutc.send_preset("p%d" % number, GRADE)
            lutc.save_presets_to_media()
        options = ["--media", media, "--page", "0", "--random-faults", "10", "--seed", "7"]
        with Simulator(str(BUILD / "bin" / "lutc-simulator"), *options) as simulator:
            page = int(re.search(r":(\d+)/", next(line for line in simulator.lines if "page at" in line))[1])
            while True:
                try:
                    lutc.load_presets_from_media()
                    break
                except lutc.Error:
                    pass
            begun = len(simulator.lines)
            seen, answers = work(page, FIRST)
            before = measure(simulator.process)
            more, further = work(page, max(SECONDS - FIRST, FIRST))
            after = measure(simulator.process)
            simulator.stop()
            compare(seen + more, simulator.lines[begun:])
        with Simulator(str(BUILD / "bin" / "lutc-simulator"), "--media", media):
            lutc.load_presets_from_media()
            assert len(lutc.preset_list().presets) == CLIENTS
    calls, failed = sum((seen + more).values()), sum(n for (_, error), n in (seen + more).items() if error)
    print("%d calls, %d of them failed as their faults say; %d answers over HTTP" % (calls, failed, answers + further))
    print("descriptors %d to %d, memory %.1f to %.1f MiB" % (before[0], after[0], before[1], after[1]))
    assert after[0] == before[0] and after[1] - before[1] <= 6


main()
