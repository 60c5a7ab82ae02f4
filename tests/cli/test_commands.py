"""Every group of commands but the presets, against the simulator."""
import json
import os
import pty
import signal
import struct
import subprocess
import threading
import unittest

from tool import DONE, LUTC, NOBODY, REFUSED, USAGE, WithFolder, WithSimulator
from service import listener  # noqa: E402, found by tool

DOCUMENT = bytes.fromhex("0C000000 10 6100 01000000 00".replace(" ", ""))


class Alone(WithFolder):
    """Without a service."""

    def test_nobody_listens(self):
        self.check(*((NOBODY, command, "no service listens") for command in ("presets save", "model", "state get")))

    def test_wrong_usage(self):
        self.check((USAGE, "", "subcommand"),
                   (USAGE, "presets lsit", "'lsit' is not known here; did you mean 'list'?"),
                   (USAGE, "presets selectt --name a", "did you mean 'select'?"), (USAGE, "select", "did you mean 'presets select'?"),
                   (USAGE, "grade cdl --slop 1 1 1", "did you mean '--slope'?"), (USAGE, "help modle", "did you mean 'model'?"),
                   (USAGE, "presets save load", "load"),
                   (USAGE, "grade cdl --slope 1 1", "--slope"),
                   (USAGE, "grade cdl --channel 1", "give --slope, --offset, --power, --saturation, --file or --neutral"),
                   (USAGE, "grade cdl --neutral --slope 1 1 1", "--neutral"),
                   (USAGE, "grade cdl --slope 1 -1 1", "slope must not be below 0"), (USAGE, "grade saturation -1", "below 0"),
                   (USAGE, "grade cdl --slope 1 nan 1", "'nan' is not a decimal number"),
                   (USAGE, "grade cdl --saturation 1,5", "'1,5' is not a decimal number"),
                   (USAGE, "state set 010x", "'010x' is not a whole number"),
                   (USAGE, "state get --channel 0", "'0' is less than 1"),
                   (USAGE, "presets delete --yes", "--name or --index"),
                   (USAGE, "presets select --name a --index 1", "--index"),
                   (USAGE, "presets select --name " + "n" * 33, "33 bytes"),
                   (USAGE, "presets upload a.json --channel 1", "--apply"),
                   (USAGE, "presets clear", "--yes"),
                   (USAGE, ["presets", "restore", "", "--yes"], "folder: must not be empty"),
                   (USAGE, "presets backup .", "current folder"),
                   (USAGE, "presets download - --index 1", "give a file"),
                   (USAGE, "video connect output:1 channel:1", "can't be a source"),
                   (USAGE, "video connect input:1 input:2", "can't be a destination"),
                   (USAGE, "video connect input:1 channel:x", "channel:x"),
                   (USAGE, "watch --interval 1h", "'1h' is no time"),
                   (USAGE, "watch --interval 0.9ms", "no time"), (USAGE, "watch --interval 86401s", "no time"))

    def test_wrong_grade_files_name_the_place(self):
        square = '{"type":"tpg","patternType":"square","videoFormat":1,"squareSize":1,'
        for component, complaint in [
                ('{"type":"cdl","slope":[1,1]}', "component 1: slope: must be a list of three numbers"),
                ('{"type":"cdl"},{"type":"cdl","power":[1,"1",1]}', "component 2: power: must be numbers only"),
                ('{"type":"cdl","gain":1}', "component 1: gain: is not a known field here"),
                ('{"type":"cdl","slop":[1,1,1]}', "component 1: slop: is not a known field here; did you mean 'slope'?"),
                ('{"type":"cdl","offset":[0,0,0],"offset":[1,0,0]}', "offset: stands twice in one object"),
                ('{"type":"cdl","file":"x","slope":[1,1,1]}', "component 1: slope: is not a known field here"),
                ('{"type":"cdl","file":""}', "component 1: file: must not be empty"),
                ('{"type":"4dlut"}', "component 1: type: '4dlut' is none of"),
                ('{"type":"4d\\u0000"}', "component 1: type: must not hold a zero"),
                ('{"slope":[1,1,1]}', "component 1: type: is missing"),
                ('{"type":"saturation","slope":[0,0,0],"offset":[0,0,0]}', "component 1: slope: changes the picture"),
                *(('{"type":"cdl","typeIndex":%s}' % value, "component 1: typeIndex: must be a whole number from 1")
                  for value in ("0", "1.0", "2147483648", "4294967297", "18446744073709551615")),
                (square + '"fgColor":[65536,0,0],"bgColor":[0,0,0]}', "component 1: fgColor: must be a whole number from 0"),
                (square + '"fgColor":[0,0,0]}', "component 1: bgColor: is missing"),
                ('{"type":"tpg","patternType":"bars","videoFormat":1,"squareSize":1}', "component 1: squareSize: is not a"),
                ("7", "component 1: must be an object"), ("{", "is no JSON")]:
            self.write("grade.json", '{"components": [%s]}' % component)
            self.check((USAGE, "grade live grade.json", "lutc: grade.json: " + complaint))
        for fields in ('"dataFormat":"f",', ""):  # without it a LUT file, which is packed
            self.write("grade.json", '{"components": [{"type":"1dlut",%s"file":"absent"}]}' % fields)
            self.check((REFUSED, "grade live grade.json", "component 1: file: absent: can't be opened"))

    def test_help_and_version(self):
        self.check((DONE, "--help", *("\n  %-4d " % code for code in (0, 1, 2, 3, 130))), (DONE, "help grade cdl", "Usage: lutc grade cdl"))
        self.assertNotIn("Exit codes", self.expect(DONE, *"grade cdl --help".split()).stdout)
        self.assertEqual(*(self.expect(DONE, *words.split()).stdout for words in ("help grade cdl", "grade cdl --help")))
        for words in ("--help", "presets --help", "grade lut --help", "config layout --help"):
            self.assertLessEqual(max(map(len, self.expect(DONE, *words.split()).stdout.splitlines())), 80, words)
        self.assertNotIn("\nSubcommands:", self.expect(DONE, "--help").stdout, "a command that stands in none of the groups")
        self.assertRegex(self.expect(DONE, "--version").stdout, r"^lutc \d+\.\d+\.\d+\n$")

    def test_full_disk_is_a_failure(self):
        with open("/dev/full", "wb") as full:
            result = subprocess.run([LUTC, "dump", self.write("d.bson", DOCUMENT)], stdout=full, stderr=subprocess.PIPE)
        self.assertEqual(result.returncode, REFUSED)
        self.assertIn(b"standard output", result.stderr)

    def test_dump(self):
        self.assertEqual(self.expect(DONE, "dump", self.write("d.bson", DOCUMENT)).stdout, "a:(int32)1\n")
        text = b"\x02k\n\0\x07\0\0\0\xc2\x9b\n\x7f\0\\\0" + b"\x0dj\0\2\0\0\0\x1b\0"
        self.assertEqual(self.expect(DONE, "dump", "-", input=struct.pack("<i", len(text) + 5) + text + b"\0").stdout,
                         "k\\x0a:(string)\\xc2\\x9b\\x0a\\x7f\\x00\\\nj:(javascript)\\x1b\n")
        nested = bytes.fromhex("17000000 10 6100 01000000 03 6400 08000000 13 7800 00 00".replace(" ", ""))
        for option, shown in [([], "a:(int32)1\nd:(embedded document){\n}\n"), (["--json"], '{"a":1,"d":{}}\n')]:
            result = self.expect(USAGE, "dump", "-", *option, input=nested)
            self.assertIn("at byte 18: element 'd.x': type byte 0x13 is unknown", result.stderr)
            self.assertEqual(result.stdout, shown)
        for broken, complaint in [
                (DOCUMENT + b"\0", "at byte 0: the length says 12 bytes; there are 13"),
                (b"\x10\0\0\0\x04a\0\x08\0\0\0\n1\0\0\0", "at byte 12: element 'a.1': the key is not the index"),
                (b"\x13\0\0\0\x0fa\0\x08" + bytes(7) + b"\nb\0\0", "at byte 11: element 'a': the code leaves no room"),
                (b"\x08\0\0\0\x13x\0\0", "at byte 4: element 'x': type byte 0x13 is unknown")]:
            result = self.expect(USAGE, "dump", "-", input=broken)
            self.assertIn("standard input: " + complaint, result.stderr)
            self.assertEqual(result.stdout, "")

    def test_dump_as_json(self):
        expected = []
        elements = b""
        for kind, body, shown in [
                (0x01, struct.pack("<d", 1), "1.0"),
                (0x01, struct.pack("<d", float("-inf")), '{"$numberDouble":"-Infinity"}'),
                (0x02, b"\5\0\0\0\"\n\xFFx\0", '"\\"\\n\ufffdx"'),
                (0x03, b"\x08\0\0\0\n\x01\0\0", '{"\\u0001":null}'),
                (0x04, b"\x0B\0\0\0\n0\0\n1\0\0", "[null,null]"),
                (0x05, b"\4\0\0\0\x80\xFF\0\1\2", '{"$binary":{"base64":"/wABAg==","subType":"80"}}'),
                (0x06, b"", '{"$undefined":true}'),
                (0x07, bytes(range(12)), '{"$oid":"000102030405060708090a0b"}'),
                (0x08, b"\1", "true"),
                (0x09, struct.pack("<q", 1356351330501), '{"$date":"2012-12-24T12:15:30.501Z"}'),
                (0x09, struct.pack("<q", -1), '{"$date":{"$numberLong":"-1"}}'),
                (0x0A, b"", "null"),
                (0x0B, b"a.*\0i\0", '{"$regularExpression":{"pattern":"a.*","options":"i"}}'),
                (0x0C, b"\3\0\0\0ns\0" + bytes(12), '{"$dbPointer":{"$ref":"ns","$id":{"$oid":"%s"}}}' % ("00" * 12)),
                (0x0D, b"\2\0\0\0x\0", '{"$code":"x"}'),
                (0x0E, b"\2\0\0\0x\0", '{"$symbol":"x"}'),
                (0x0F, b"\x12\0\0\0\2\0\0\0x\0\x08\0\0\0\n1\0\0", '{"$code":"x","$scope":{"1":null}}'),
                (0x0F, b"\x0D\0\0\0" + bytes(4) + b"\5\0\0\0\0", '{"$code":"","$scope":{}}'),
                (0x10, struct.pack("<i", -7), "-7"),
                (0x11, struct.pack("<II", 2, 1), '{"$timestamp":{"t":1,"i":2}}'),
                (0x12, struct.pack("<q", -2 ** 63), "-9223372036854775808"),
                (0x7F, b"", '{"$maxKey":1}'),
                (0xFF, b"", '{"$minKey":1}')]:
            elements += bytes([kind]) + b"k\0" + body
            expected.append('"k":' + shown)
        whole = struct.pack("<I", len(elements) + 5) + elements + b"\0"
        self.assertEqual(self.expect(DONE, "dump", "-", "--json", input=whole).stdout, "{" + ",".join(expected) + "}\n")
        depth = 20000
        deep = b"".join(struct.pack("<I", 5 + 8 * left) + (b"\3a\0" if left else b"") for left in range(depth, -1, -1))
        self.assertEqual(self.expect(DONE, "dump", "-", "--json", input=deep + b"\0" * (depth + 1)).stdout,
                         '{"a":' * depth + "{}" + "}" * depth + "\n")


class Device(WithSimulator):
    def json(self, command):
        return json.loads(self.expect(DONE, *command.split(), "--json").stdout)

    def test_model_and_client(self):
        self.expect(DONE, "option", "set", "friendlyName", "x" * 256)  # the longest: a reply has 1024 bytes
        model = self.json("model")
        self.assertEqual(model["gradeCombos"][1], {"gradeComboIndex": 2, "gradeCombo": ["cdl", "saturation"]})
        self.assertEqual([channel["channelIndex"] for channel in model["gradeChannels"]], [1, 2])
        self.check((DONE, "model", model["modelName"], "  gradeComboIndex  gradeCombo\n"),
                   (DONE, "client --model tester --client-version 1.2 --serial 7"))
        self.simulator.wait_for('clientModel="tester"')

    def test_state_options_and_routes(self):
        self.check((DONE, "state set -3 --channel 2"), (DONE, "option set note -- --words"),
                   (DONE, "video connect input:1 channel:2"))
        self.assertEqual(self.json("state get --channel 2"), {"colorTransformState": -3})
        self.assertEqual(self.json("option get note"), {"name": "note", "value": "--words"})
        self.assertIn({"source": "input:1", "destination": "channel:2"}, self.json("video list")["videoConnections"])

    def test_a_failure_says_its_cause(self):
        self.start(*(part for fault in ("movePreset:1=refuse", "movePreset:2=truncate", "deletePreset=close", "sendPreset:3=close",
                                        "sendCDL=close", "renamePreset=close", "getPresetsList:6=close")
                     for part in ("--fault", fault)))
        self.write("a.json", '{"components": []}')
        lost = "the connection ended before an answer"
        unsure = "; it may have been performed: look before you try again\n"
        # What an index stands for is said, and counts: after a lost answer it may stand for another.
        self.check((DONE, "presets upload a.json --name a"), (DONE, "presets upload a.json --name b"),
                   (REFUSED, "presets upload a.json --name c", "presets upload: 'c': " + lost + unsure),
                   (REFUSED, "presets move --index 2 --to 1", "presets move: 'b': refused (7): refused on demand\n"),
                   (REFUSED, "presets move --index 2 --to 1", "presets move: 'b': the answer broke off" + unsure),
                   (USAGE, "presets delete --index 1", "Delete 'b'? Give --yes"),
                   (REFUSED, "presets delete --index 1 --yes", "presets delete: 'b': " + lost + unsure),
                   (REFUSED, "presets delete --name b --yes"),
                   (REFUSED, "presets rename --index 1 --new-name x", "presets rename: 'a': " + lost + unsure),
                   (REFUSED, "presets list", "presets list: " + lost + "\n"),
                   (REFUSED, "grade cdl --neutral --channel 1", "grade cdl: channel 1: " + lost + unsure),
                   (DONE, "presets list", "1            x ", "2            c "))

    def test_a_refusal_is_in_the_services_words(self):
        self.start("--fault", "getOption:2=event-glued", "--fault", "getOption:3=event-first")
        self.check((REFUSED, "presets selected --channel 1", "lutc: presets selected: refused (4): no preset is selected on channel 1\n"),
                   (REFUSED, "state get --channel 9", "refused (3): "), (REFUSED, "presets load --yes", "refused (6): "),
                   (REFUSED, "option get x", 'refused (4): no option is named "x"'),
                   (REFUSED, "option get x", "the answer broke off"), (REFUSED, "option get x", "refused (4): no option"))

    def test_grades(self):
        self.write("cube.bin", os.urandom(33 ** 3 * 3 * 2))
        self.write("empty.bin", b"")
        self.check((DONE, "grade combination 1 --channel 1 --reset"),
                   (DONE, "grade cdl --slope 1 2.5 1e-1 --offset -.5 -1 -1e-3 --saturation .25 --channel 1 --slot 1"),
                   (DONE, "grade saturation 0.5 --slot 1"), (DONE, "grade cdl --neutral"),
                   (DONE, "grade lut cube.bin --type 3dlut --format uint16 --slot 1 --channel 1"),
                   (USAGE, "grade lut empty.bin --type 1dlut --format uint16", "holds no table"))
        self.simulator.wait_for("slope=[1 2.5 0.1] offset=[-0.5 -1 -0.001] saturation=0.25")
        raw = "grade lut - --type 1dlut --format uint16".split()
        for text in (b"LUT_1D_SIZE 2\n0 0 0\n1 1 1\n", b" <?xml version='1.0'?>", b"\xef\xbb\xbf<ProcessList", b"3\n",
                     "<a".encode("utf-16")):
            self.assertIn("the text of a LUT", self.expect(USAGE, *raw, input=text).stderr)
        self.write("look.cube", "LUT_1D_SIZE 2\n0 0 0\n1 1 1\n")
        self.write("text.json", '{"components": [{"type": "1dlut", "dataFormat": "uint16", "file": "look.cube"}]}')
        self.check((USAGE, "grade live text.json", "file: look.cube: is the text of a LUT"))
        for table in (b"table", b"<<<<<<<<<<<<\n", b"\0\n1\n"):
            self.expect(DONE, *raw, input=table)
        self.simulator.stop()
        self.assertEqual(self.simulator.count("< sendLut"), 4)

    def test_live_grade(self):
        self.write("cube.bin", os.urandom(33 ** 3 * 3 * 2))
        self.write("live.json", json.dumps({"gradeComboIndex": 1, "components": [
            {"type": "cdl", "typeIndex": 1, "slope": [1.1, 1, 0.9], "offset": [-0.01, 0, 0.02], "saturation": 0.9},
            {"type": "3dlut", "typeIndex": 1, "dataFormat": "uint16", "file": "cube.bin"},
            {"type": "tpg", "patternType": "square", "videoFormat": 3, "squareSize": 0.25,
             "fgColor": [65535, 0, 1], "bgColor": [0, 2, 0]}]}))
        self.check((DONE, "grade live live.json --channel 1 --reset"), (REFUSED, "grade live live.json --channel 9", "refused"))
        self.simulator.wait_for("sendLive")
        with self.simulator.grown:
            line = next(line for line in self.simulator.lines if "sendLive" in line)
        for part in ("resetAndApply=true", 'type="cdl"', "slope=[1.1 1 0.9]", 'type="3dlut"', "215622",
                     'patternType="square"', "squareSize=0.25", "fgColor=[65535 0 1]", "bgColor=[0 2 0]"):
            self.assertIn(part, line)
        self.expect(USAGE, "grade", "live", "-", input=b'{"components": [{"type": "cdl", "slope": 1}]}')

    def test_control_characters_are_escaped(self):
        name = "a\x1b[m\x7f\u009b\u0085\u202e\u2066\u00a0\u00e9"
        shown = "a\\x1b[m\\x7f\\xc2\\x9b\\xc2\\x85\\xe2\\x80\\xae\\xe2\\x81\\xa6\u00a0\u00e9"
        self.check((DONE, ["option", "set", "note", name]), (DONE, "option get note", "value: %s\n" % shown),
                   (REFUSED, ["option", "get", name], shown))
        self.assertEqual(self.json("option get note")["value"], name)
        self.assertIn("\\u007f\\u009b\\u0085\\u202e\\u2066", self.expect(DONE, *"option get note --json".split()).stdout)
        raw = os.fsencode("a") + b"\xc3\xe9"
        result = subprocess.run([LUTC, "option", "get", raw], capture_output=True)
        self.assertIn(b"option get: 'a\\xc3\\xe9': ", result.stderr)


class Watching(WithSimulator):
    options = []

    def start(self):
        """One who watches, and then a service."""
        asked = threading.Semaphore(0)
        with listener(lambda connection: (connection.close(), asked.release())):
            self.watch = subprocess.Popen([LUTC, "watch", "--interval", "20ms", "--option", "note", *self.options],
                                          stdout=subprocess.PIPE, text=True)
            self.addCleanup(self.watch.stdout.close)
            self.addCleanup(self.watch.kill)
            self.assertTrue(asked.acquire(timeout=60))
        super().start()

    def test_changes_are_told(self):
        self.write("a.json", '{"name": "a", "components": []}')
        preset, chosen = {"presetName": "a", "gradeComboIndex": 1}, {"presetName": "a", "presetIndex": 1}
        for command, what, channel, value, before, text in [
                ("model", "service", None, "found", "lost", "service: found (before: lost)"),
                ("option set note x", "option note", None, "x", "", "option note: x (before: )"),
                ("state set 5 --channel 2", "state", 2, 5, 0, "channel 2 state: 5 (before: 0)"),
                ("video connect input:2 output:1", "route output:1", None, "input:2", "channel:1",
                 "route output:1: input:2 (before: channel:1)"),
                ("presets upload a.json", "presets", None, [preset], [], "presets: a (before: -)"),
                ("presets select --name a --channel 1", "selection", 1, chosen, None, "channel 1 selection: a (before: -)"),
                ("presets override set --index 1", "override", None, chosen, None, "override: a (before: -)"),
                ("presets override clear", "override", None, None, chosen, "override: - (before: a)")]:
            self.expect(DONE, *command.split())
            line = self.watch.stdout.readline().strip()
            if self.options:
                told = {"what": what, "channel": channel, "value": value, "before": before}
                self.assertEqual(json.loads(line), told)
            else:
                self.assertEqual(line, text)
        self.simulator.stop()
        self.assertIn("lost", self.watch.stdout.readline())
        self.watch.send_signal(signal.SIGINT)
        self.assertEqual((self.watch.wait(timeout=60), self.watch.stdout.read()), (DONE, ""))


class WatchingAsJson(Watching):
    options = ["--json"]


class Asking(WithSimulator):
    def answer(self, text):
        """What presets clear says and gives back on a terminal where that is typed."""
        mine, its = pty.openpty()
        process = subprocess.Popen([LUTC, "presets", "clear"], stdin=its, stderr=its, stdout=subprocess.DEVNULL)
        os.close(its)
        said = os.read(mine, 1000)
        os.write(mine, text)
        code = process.wait(timeout=60)
        os.close(mine)
        return said, code

    def test_a_terminal_is_asked(self):
        said, code = self.answer(b"n\n")
        self.assertIn(b"Delete every preset", said)
        self.assertEqual((code, self.simulator.count("deleteAllPresets")), (REFUSED, 0))
        self.assertEqual(self.answer(b"y\n")[1], DONE)
        self.simulator.wait_for("deleteAllPresets")
        # Without a terminal for the question there is none.
        mine, its = pty.openpty()
        os.write(mine, b"y\n")
        unseen = subprocess.run([LUTC, "presets", "clear"], stdin=its, capture_output=True, timeout=60)
        self.assertEqual((unseen.returncode, self.simulator.count("deleteAllPresets")), (USAGE, 1))
        os.close(mine)
        os.close(its)


if __name__ == "__main__":
    unittest.main()
