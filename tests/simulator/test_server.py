"""lutc-simulator as a process of its own, on a free port: its sockets, log, faults and ends."""
import contextlib
import json
import os
import re
import resource
import signal
import socket
import struct
import subprocess
import sys
import tempfile
import unittest

import bson

sys.path.insert(0, os.path.join(os.environ["LUTC_SOURCE_DIR"], "tests", "support"))
from service import Simulator  # noqa: E402

SIMULATOR = os.environ["LUTC_SIMULATOR"]
DEADLINE = 20
EVENT = bson.encode({"type": "event", "msgID": 1, "event": "simulated"})


def command(name, /, **fields):
    return bson.encode({"protocolVersion": "2.0", "type": "command", "msgID": 1, "command": name, **fields})


GET_OPTION = command("getOption", name="rangeMode")


def run(*options):
    """Runs the simulator to its end; exit code and standard error."""
    result = subprocess.run([SIMULATOR, *options], capture_output=True, text=True, timeout=DEADLINE)
    return result.returncode, result.stderr


class Server(unittest.TestCase):
    def start(self, *options):
        self.simulator = Simulator(SIMULATOR, "--port", "0", *options)
        self.addCleanup(self.simulator.stop)
        self.port = self.simulator.port
        self.assertEqual(self.simulator.lines[0], f"lutc-simulator: listening on 127.0.0.1:{self.port}\n")

    def send(self, *pieces):
        """Everything that comes until the service closes its side; None when it resets the connection."""
        with socket.create_connection(("127.0.0.1", self.port), DEADLINE) as connection:
            connection.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
            received = b""
            try:
                for piece in pieces:
                    connection.sendall(piece)
                while block := connection.recv(65536):
                    received += block
            except ConnectionResetError:
                return None
            return received

    def message(self, *pieces):
        return bson.decode(self.send(*pieces))["message"]

    def test_answers_logs_and_stops(self):
        self.start()
        self.assertEqual(bson.decode(self.send(command("getColorTransformState", channelIndex=1))),
                         {"type": "response", "msgID": 1, "code": 0, "message": "ok", "colorTransformState": 0})
        self.send(command("x", data=b"\0\1", message="no\n\x1fl\u00efne\x9b", none=None, list=[1.5, {"deep": True}]))
        with socket.create_connection(("127.0.0.1", self.port), DEADLINE) as connection:
            connection.sendall(b"\x10")
        self.simulator.wait_for("3 - closed by the client within a command\n")
        self.simulator.stop()
        self.assertEqual([re.sub(r"^\d\d:\d\d:\d\d\.\d{3} ", "", line.rstrip("\n")) for line in self.simulator.lines[1:]], [
            "1 < getColorTransformState channelIndex=1",
            '1 > code=0 message="ok" colorTransformState=0',
            r'2 < x data=[2 bytes 00 01] message="no\x0a\x1flïne\xc2\x9b" none=null list=[1.5 {deep=true}]',
            r'2 > code=2 message="there is no command \"x\""',
            "3 - closed by the client within a command"])

    def test_puts_commands_together(self):
        self.start("--quiet")
        model = command("getModelInfo")
        expected = self.send(model)
        for cut in range(1, len(model)):
            self.assertEqual(self.send(model[:cut], model[cut:]), expected, cut)
        self.assertEqual(self.send(model + model), expected, "one command a connection")
        self.simulator.process.send_signal(signal.SIGINT)  # Ctrl-C is a usual end too
        self.simulator.reap()
        self.assertEqual(self.simulator.process.returncode, 0)

    def test_refuses_impossible_lengths_without_losing_the_reply(self):
        self.start("--quiet", "--max-command", "1000")
        self.assertEqual(self.message(b"\4\0\0\0"), "the command claims a length of 4")
        longest = command("x", fill="x" * 915)
        self.assertEqual(len(longest), 1000)
        self.assertEqual(self.message(longest), 'there is no command "x"')
        for size in (1001, 2**32 - 1):
            self.assertEqual(self.message(struct.pack("<I", size), bytes(5000000)),
                             f"the command has {size} bytes; at most 1000 are taken")

    def test_holds_no_more_than_its_limits(self):
        self.start("--quiet", "--max-pending", "100000", "--deadline", "1")
        elements = b"\x02\0\x01\0\0\0\0" * 1000001
        whole = struct.pack("<I", len(elements) + 5) + elements + b"\0"
        full = "out of memory: too much is half received, or not read by its client"
        self.assertEqual(self.message(whole), full)
        half = struct.pack("<I", 70000) + bytes(60000)
        with socket.create_connection(("127.0.0.1", self.port), 20) as slow:
            slow.sendall(half)
            self.assertEqual(self.message(half), full)
            slow.settimeout(0.1)
            end = None
            while end is None:  # a byte now and then doesn't keep it open
                with contextlib.suppress(TimeoutError):
                    slow.sendall(b"\0")
                    end = slow.recv(1)
            self.assertEqual(end, b"")
        self.simulator.stop()
        self.start("--max-pending", "3000000", "--fault=getPreset:3-4=delay,600000")  # as if nobody read them
        table = {"typeIndex": 1, "type": "1dlut", "dataFormat": "f", "data": bytes(1600000)}
        self.send(command("sendPreset", presetName="a", gradeCombo=[table]))
        get = command("getPreset", presetName="a")
        self.assertEqual([bson.decode(self.send(get))["gradeCombo"] for _ in range(2)], [[table]] * 2)
        with contextlib.ExitStack() as stack:
            for number in (3, 4):
                stack.enter_context(socket.create_connection(("127.0.0.1", self.port), DEADLINE)).sendall(get)
                self.simulator.wait_for("> code=0 message=\"ok\" gradeComboIndex", number)
            self.assertEqual(self.message(GET_OPTION), full)
        self.simulator.stop()
        # What decoding takes memory for: elements, and embedded documents besides.
        self.start("--quiet")
        missing = '"protocolVersion" is missing'
        for element, most in ((b"\2\0\1\0\0\0\0", 1000000), (b"\x0a\0", 375000), (b"\3\0\5\0\0\0\0", 230769)):
            for count, message in ((most, missing), (most + 1, "the command has more than ")):
                whole = struct.pack("<I", len(element) * count + 5) + element * count + b"\0"
                self.assertTrue(self.message(whole).startswith(message), (element, count))

    def test_a_media_file_that_would_become_too_large_is_a_failure(self):
        with tempfile.TemporaryDirectory() as folder:
            self.start("--media", folder)
            resource.prlimit(self.simulator.process.pid, resource.RLIMIT_FSIZE, (20, resource.RLIM_INFINITY))
            self.send(command("sendPreset", presetName="a", gradeComboIndex=1, gradeCombo=[]))
            self.assertIn("File too large", self.message(command("savePresetsToMedia")))
            self.assertEqual(os.listdir(folder), [])

    def test_goes_wrong_on_demand(self):
        kinds = ["reset", "close", "silence,50", "event-first", "event-glued", "trickle", "delay", "truncate", "length", "garbage"]
        faults = [f"--fault=getOption:{number}={kind}" for number, kind in enumerate(kinds, 1)]
        self.start("--quiet", *faults, "--fault=setOption=refuse")
        self.assertEqual([self.send(GET_OPTION) for _ in range(3)], [None, b"", b""])
        self.assertEqual(self.message(command("setOption", name="rangeMode", value="legal")), "refused on demand")
        *changed, garbage, usual = (self.send(GET_OPTION) for _ in range(8))
        self.assertEqual(bson.decode(usual)["value"], "full")
        self.assertEqual(changed, [EVENT + usual, EVENT + usual, usual, usual, usual[:len(usual) // 2],
                                   bytes([usual[0] + 1]) + usual[1:]])
        self.assertEqual((len(garbage), garbage == usual), (len(usual), False))

    def write(self, name, content):
        with open(os.path.join(self.folder, name), "w", encoding="utf-8") as file:
            json.dump(content, file)
        return os.path.join(self.folder, name)

    def test_begins_as_another_device_with_the_presets_of_a_backup(self):
        with tempfile.TemporaryDirectory() as self.folder:
            combinations = [["cdl"], ["cdl", "1dlut", "3dlut", "saturation", "1dlut"]]
            device = {"modelName": "other", "gradeCombos": [{"gradeComboIndex": i + 1, "gradeCombo": each}
                                                            for i, each in enumerate(combinations)],
                      "gradeChannels": [{"channelIndex": 1, "channelName": "A", "supportedGradeComboIndices": [2]}],
                      "inputs": 1, "outputs": 3, "options": {"mode": {"value": "a", "choices": ["a", "b"]}}}
            preset = {"name": "evening", "gradeComboIndex": 2, "components": [{"type": "cdl", "saturation": 0.5}, {"type": "tpg"}]}
            index = {"formatVersion": 1, "gradeCombos": [device["gradeCombos"][1]], "presets": ["001.json"]}
            self.write("001.json", preset)
            self.write("library.json", index)
            self.start("--quiet", "--device", self.write("device.json", device), "--library", self.folder)
            self.assertEqual(bson.decode(self.send(command("getPresetsList")))["presetsList"],
                             [{"presetName": "evening", "gradeComboIndex": 2, "gradeCombo": combinations[1]}])
            self.assertEqual([each["type"] for each in bson.decode(self.send(command("getPreset", presetIndex=1)))["gradeCombo"]],
                             ["cdl", "tpg"])
            self.assertEqual(len(bson.decode(self.send(command("getVideoConnections")))["videoConnections"]), 4)
            self.assertIn("only one of a, b", self.message(command("setOption", name="mode", value="c")))
            os.symlink("/etc/passwd", os.path.join(self.folder, "link.json"))
            os.mkfifo(os.path.join(self.folder, "pipe.json"))
            for option, name, content, reason in (
                    ("--device", "device.json", {**device, "modelNam": ""}, "modelNam: is not a known field here; did you mean 'modelName'?"),
                    ("--device", "device.json", {"gradeChannels": [{"channelName": "A", "supportedGradeComboIndices": [5]}]}, "gradeChannels 1: "),
                    ("--library", "library.json", {**index, "presets": ["../x"]}, "must be a file of the same folder"),
                    ("--library", "library.json", {**index, "presets": ["link.json"]}, "link.json: is a symbolic link"),
                    ("--library", "library.json", {**index, "presets": ["pipe.json"]}, "pipe.json: is no regular file"),
                    ("--library", "library.json", {**index, "presets": ["001.json"] * 2}, 'two presets are named "evening"')):
                self.write(name, content)
                library = ["--library", self.folder] if option == "--library" else []
                code, said = run("--device", os.path.join(self.folder, "device.json"), *library)
                self.assertIn(reason, said)
                self.assertEqual((code, said.count("\n")), (2, 1), said)
                self.write("device.json", device)

    def test_goes_wrong_in_the_commands_that_were_named(self):
        self.start("--quiet", "--fault=getModelInfo:3=close", "--fault=*:3-4=before-close")
        model, change = command("getModelInfo"), command("setOption", name="rangeMode", value="legal")
        replies = [self.send(each) for each in (model, command("no such command"), change, model, model, GET_OPTION)]
        self.assertEqual([bool(reply) for reply in replies], [True, True, False, False, False, True])
        self.assertEqual(bson.decode(replies[-1])["value"], "full", "not performed")

    def test_ends_with_a_reason_when_it_can_not_start(self):
        self.start("--quiet")
        taken = f"lutc-simulator: can't listen on 127.0.0.1:{self.port}: Address already in use\n"
        self.assertEqual(run("--port", str(self.port)), (1, taken))
        self.assertEqual(run("--port", "abc"), (2, "lutc-simulator: Could not convert: --port = abc (see --help)\n"))
        for fault, fault_said in (("getOption=trikle", "there is no fault \"trikle\"; did you mean 'trickle'?"),
                                  ("getoption=close", "there is no command \"getoption\"; did you mean 'getOption'?")):
            self.assertEqual(run("--fault", fault), (2, f"lutc-simulator: --fault: {fault_said}\n"))
        for fault in ("getPreset", "getPreset:0=refuse", "getPreset:3-2=refuse", "getPreset=before-", "getPreset=delay,1s"):
            self.assertEqual(run("--fault", fault)[0], 2, fault)
        self.assertEqual(run("--porl", "1")[0], 2)
        with Simulator(SIMULATOR, "--port", "0", "--address", "0.0.0.0") as open_to_all:
            self.assertIn("warning: whoever reaches this machine", open_to_all.lines[0])


if __name__ == "__main__":
    unittest.main()
