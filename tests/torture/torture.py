#!/usr/bin/env python3
"""Faults of the service, the network and the host, many threads, and abuse of the simulator.

    torture.py BUILD [--full] [--sanitized] [unittest arguments]

BUILD is a build folder with liblutc.so, lutc-simulator and torture_threads. --full makes the numbers those of
docs/reliability.md; without it they are small enough for every run of the tests. --sanitized leaves out what loads the
library into this interpreter. Uses the service's own port. No test asserts a time but for generous bounds.
"""
import concurrent.futures
import contextlib
import ctypes
import errno
import os
import pathlib
import resource
import socket
import subprocess
import sys
import tempfile
import time
import unittest

import bson

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "support"))
import service  # noqa: E402
from service import ADDRESS  # noqa: E402

FULL = "--full" in sys.argv
SANITIZED = "--sanitized" in sys.argv
ARGUMENTS = [a for a in sys.argv[1:] if a not in ("--full", "--sanitized")]
BUILD = pathlib.Path(ARGUMENTS[0]).resolve()
FIRST_BYTE = 15.0  # seconds that a call waits for a reply
AT_ONCE = 5.0      # far below that, far above what a busy machine needs

library = None if SANITIZED else ctypes.CDLL(str(BUILD / "lib" / "liblutc.so"), use_errno=True)


class Simulator(service.Simulator):
    def __init__(self, *options, folder="/nowhere"):
        super().__init__(str(BUILD / "bin" / "lutc-simulator"), "--quiet", "--media", folder, *options)

    def memory(self):
        status = pathlib.Path("/proc/%d/status" % self.process.pid).read_text()
        return int(status.split("VmHWM:")[1].split()[0]) * 1024


def exchange(raw, timeout=AT_ONCE):
    """Sends bytes to the service and returns all that comes back."""
    with socket.create_connection(ADDRESS, timeout) as connection:
        connection.sendall(raw)
        pieces = []
        while piece := connection.recv(65536):
            pieces.append(piece)
        return b"".join(pieces)


def command(command_name, **fields):
    return bson.encode({"protocolVersion": "2.0", "type": "command", "msgID": 1, "command": command_name, **fields})


GET_SERIAL = command("getOption", name="serialNumber")


def upload(name, size=300000):
    part = {"type": "3dlut", "dataFormat": "float", "typeIndex": 1, "data": bytes(size)}
    return exchange(command("sendPreset", presetName=name, gradeCombo=[part]), 20)


def refused(reply):
    return b"\x10code\0\0\0\0\0" not in reply and b"\x10code\0" in reply


def get_option(name=b"serialNumber"):
    """The option's text; None when the call failed, with the buffer as it was."""
    value = ctypes.create_string_buffer(b"\xA5" * 32, 32)
    result = library.lutc_get_option(name, value, 32)
    if result == 0:
        return value.value
    assert result == -1 and value.raw == b"\xA5" * 32
    return None


def recv_preset(name=b"large"):
    count, combination = ctypes.c_int(0), ctypes.c_int(-7)
    result = library.lutc_recv_preset(name, 0, ctypes.byref(combination), None, ctypes.byref(count))
    assert combination.value == (1 if result == 0 else -7)
    return None if result else combination.value


def set_state():
    return True if library.lutc_set_state(1, 1) == 0 else None


def descriptors():
    return sorted(os.listdir("/proc/self/fd"))


def timed(call):
    before = time.monotonic()
    result = call()
    return result, time.monotonic() - before


def elsewhere(program, wrap=()):
    """Runs Python code in a new interpreter that has this module as `t`; returns its exit code."""
    start = "import sys; sys.argv = %r; sys.path.insert(0, %r); import torture as t\n" % (
        ["torture.py", str(BUILD)], str(pathlib.Path(__file__).parent))
    return subprocess.run([*wrap, sys.executable, "-B", "-c", start + program], timeout=120).returncode


@unittest.skipIf(SANITIZED, "a sanitized library can't be loaded")
class ServiceFaults(unittest.TestCase):
    # kind, why the call fails (0: it succeeds), least seconds that it takes
    KINDS = [("refuse", errno.EREMOTEIO, 0), ("silence,800", errno.ECONNRESET, 0.8), ("close", errno.ECONNRESET, 0),
             ("close,300", errno.ECONNRESET, 0.3), ("reset", errno.ECONNRESET, 0), ("truncate", errno.EPROTO, 0),
             ("trickle,60", errno.EPROTO, 0), ("delay,500", 0, 0.5), ("garbage", errno.EPROTO, 0),
             ("length", errno.EPROTO, 0), ("event-first", 0, 0), ("event-glued", errno.EPROTO, 0)]
    CALLS = [("getOption", get_option), ("getPreset", recv_preset), ("setColorTransformState", set_state)]

    def test_every_kind_in_every_kind_of_call(self):
        options = []
        for name, _ in self.CALLS:
            for number, (kind, *_) in enumerate(self.KINDS):
                options += ["--fault", "%s:%d=%s" % (name, 2 * number + 1, kind)]
        with Simulator(*options):
            upload("large", 40000)  # comes in one piece
            before = descriptors()
            for name, call in self.CALLS:
                for kind, error, least in self.KINDS:
                    with self.subTest(command=name, kind=kind):
                        ctypes.set_errno(0)
                        result, seconds = timed(call)
                        self.assertEqual((result is None, ctypes.get_errno()), (error != 0, error))
                        self.assertGreaterEqual(seconds, least * 0.9)
                        self.assertLess(seconds, least + AT_ONCE)
                        self.assertIsNotNone(call())  # the next one works
            self.assertEqual(descriptors(), before)

    def test_failing_calls_leave_no_descriptor(self):
        before = descriptors()
        for reason in (errno.ECONNREFUSED, errno.EREMOTEIO):
            with Simulator() if reason == errno.EREMOTEIO else contextlib.nullcontext():
                for _ in range(10000 if FULL else 1000):
                    self.assertIsNone(get_option(b"no such option"))
                    self.assertEqual(ctypes.get_errno(), reason)
                self.assertLess(timed(get_option)[1], AT_ONCE)
        self.assertEqual(descriptors(), before)

    @unittest.skipUnless(FULL, "takes up to 75 s")
    def test_random_faults(self):
        with Simulator("--random-faults", "60", "--seed", "6"):
            with concurrent.futures.ThreadPoolExecutor(64) as callers:
                results = list(callers.map(lambda _: timed(get_option), range(256)))
        self.assertEqual({result for result, _ in results}, {None, b"SIM-0001"})
        self.assertLess(max(seconds for _, seconds in results), 2 * FIRST_BYTE + AT_ONCE)


@unittest.skipIf(SANITIZED, "a sanitized library can't be loaded")
class Host(unittest.TestCase):
    def test_standard_descriptors_closed(self):
        with Simulator():
            self.assertEqual(elsewhere("import os\nfor d in (0, 1, 2): os.close(d)\n"
                                       "good = all(t.get_option() == b'SIM-0001' for _ in range(10))\n"
                                       "os._exit(0 if good and os.open('/dev/null', os.O_RDONLY) == 0 else 1)"), 0)

    def test_descriptor_table_full(self):
        with Simulator():
            self.assertEqual(elsewhere(
                "import ctypes, errno, os, resource\n"
                "while True:\n"
                "    resource.setrlimit(resource.RLIMIT_NOFILE, (64, 64))\n"
                "    try: last = os.open('/dev/null', os.O_RDONLY)\n"
                "    except OSError: break\n"
                "result, seconds = t.timed(t.get_option)\n"
                "told = ctypes.get_errno() == errno.EMFILE\n"
                "os.close(last)\n"
                "os._exit(0 if result is None and told and seconds < t.AT_ONCE and t.get_option() else 1)"), 0)

    def test_a_connection_to_itself_is_nobody(self):
        # In a network of its own, where the service's port is one of two that connections come from.
        program = (
            "import fcntl, os, socket, struct\n"
            "lo = struct.pack('16sH14s', b'lo', 1, b'')\n"
            "fcntl.ioctl(socket.socket(), 0x8914, lo)\n"  # up
            "open('/proc/sys/net/ipv4/ip_local_port_range', 'w').write('54440 54441')\n"
            "calls = [t.timed(t.get_option) for _ in range(10)]\n"
            "os._exit(0 if all(result is None and seconds < t.AT_ONCE for result, seconds in calls) else 1)")
        if subprocess.run(["unshare", "-rn", "true"], capture_output=True).returncode:
            self.skipTest("no network namespaces here")
        self.assertEqual(elsewhere(program, ["unshare", "-rn"]), 0)


class Threads(unittest.TestCase):
    def threads(self, *arguments):
        done = subprocess.run([str(BUILD / "bin" / "torture_threads"), *map(str, arguments)], capture_output=True,
                              text=True, timeout=900)
        if done.returncode == 77:
            self.skipTest("not under AddressSanitizer")
        self.assertEqual(done.returncode, 0, done.stderr)

    def test_calls_of_all_kinds(self):
        with Simulator():
            self.threads(64 if FULL else 16, 25 if FULL else 5)

    def test_cancellation_waits_for_the_end_of_a_call(self):
        with Simulator("--fault", "getOption=delay,300"):
            self.threads()


class SimulatorAbuse(unittest.TestCase):
    def test_silent_clients_are_closed(self):
        with Simulator("--idle-timeout", "1"):
            clients = [socket.create_connection(ADDRESS, AT_ONCE) for _ in range(500 if FULL else 100)]
            for number, client in enumerate(clients):
                client.sendall(GET_SERIAL[:number % 5])
            self.assertIn(b"SIM-0001", exchange(GET_SERIAL))  # served meanwhile
            for client in clients:
                client.settimeout(20)
                self.assertEqual(client.recv(1), b"")
                client.close()

    def test_many_connections(self):
        with Simulator() as simulator:
            for _ in range(100):
                exchange(GET_SERIAL)
            before, open_before = simulator.memory(), len(os.listdir("/proc/%d/fd" % simulator.process.pid))
            for number in range(10000 if FULL else 1000):
                if number % 3:
                    self.assertIn(b"SIM-0001", exchange(GET_SERIAL))
                else:
                    socket.create_connection(ADDRESS, AT_ONCE).close()
            self.assertIn(b"SIM-0001", exchange(GET_SERIAL))
            self.assertTrue(SANITIZED or simulator.memory() - before < 2**22)
            self.assertLessEqual(len(os.listdir("/proc/%d/fd" % simulator.process.pid)), open_before + 1)


def names():
    reply = exchange(command("getPresetsList"))
    return [name for name in (b"old", b"new", b"first") if name + b"\0" in reply]


class Media(unittest.TestCase):
    SAVE, LOAD = command("savePresetsToMedia"), command("loadPresetsFromMedia")

    def test_killed_while_saving(self):
        with tempfile.TemporaryDirectory() as folder:
            ends = set()
            for attempt in range(60 if FULL else 8):
                with Simulator(folder=folder) as simulator:
                    exchange(command("deleteAllPresets"))
                    upload("old")
                    self.assertFalse(refused(exchange(self.SAVE)))
                    for _ in range(5):
                        exchange(command("renamePreset", presetName="old", newName="new"))
                        upload("first", 1500000)
                    with socket.create_connection(ADDRESS) as connection:
                        connection.sendall(self.SAVE)
                        time.sleep(attempt * 0.0002)
                        simulator.kill()
                with Simulator(folder=folder):
                    self.assertFalse(refused(exchange(self.LOAD)))
                    ends.add(tuple(names()))
            self.assertLessEqual(ends, {(b"old",), (b"new", b"first")})


if __name__ == "__main__":
    most = resource.getrlimit(resource.RLIMIT_NOFILE)[1]
    resource.setrlimit(resource.RLIMIT_NOFILE, (most if 0 <= most < 4096 else 4096, most))
    unittest.main(argv=[sys.argv[0], *ARGUMENTS[1:]], verbosity=2 if FULL else 1)
