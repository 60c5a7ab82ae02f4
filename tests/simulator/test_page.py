"""lutc-simulator --page: the device, its pictures, log and faults over HTTP, and what it refuses."""
import concurrent.futures
import contextlib
import http.client
import itertools
import json
import os
import random
import re
import socket
import subprocess
import sys
import tempfile
import unittest

import bson

SOURCE = os.environ["LUTC_SOURCE_DIR"]
sys.path[:0] = [os.path.join(SOURCE, "tests", "support"), os.path.join(SOURCE, "tests", "colour")]
import png  # noqa: E402
import reference  # noqa: E402
from service import Simulator  # noqa: E402

SIMULATOR = os.environ["LUTC_SIMULATOR"]
DEADLINE = 20
GENERATOR = random.Random(16)
ROWS = [[tuple(GENERATOR.randrange(65536) for _ in range(3)) for _ in range(24)] for _ in range(20)]
FLAT = [[(20000, 30000, 40000)] * 24] * 20
CDL = {"slope": [1.2, 0.9, 1.1], "offset": [-0.05, 0.1, 0.0], "power": [0.8, 1.7, 1.0], "saturation": 1.3}
CURVE, CURVE_HELD = reference.table([(x, 1 - x, x * x) for x in (i / 16 for i in range(17))], "uint16-le")
CUBE, CUBE_HELD = reference.table([(0.9 * r, 0.1 + 0.8 * g * r, b * b) for b, g, r in
                                   itertools.product((0.0, 0.5, 1.0), repeat=3)], "uint16-le-red-fastest")
GRADE = [{"type": "3dlut", "dataFormat": "uint16", "data": CUBE}, {"type": "cdl", "dataFormat": "cdl", **CDL},
         {"type": "1dlut", "dataFormat": "uint16-le", "data": CURVE}]  # combination 1 runs them from the end
FORMULAS = [(reference.curve, CURVE_HELD), (reference.cdl, CDL), (reference.cube, CUBE_HELD)]
SQUARE = {"type": "tpg", "patternType": "square", "videoFormat": 1, "squareSize": 0.5, "fgColor": [60000, 1000, 30000],
          "bgColor": [5000, 6000, 7000]}
BLACK = [[(0, 0, 0)] * 24] * 20


def live(*components, **fields):
    return "sendLive", {"channelIndex": 1, "resetAndApply": True, "gradeCombo": list(components), **fields}


def preset(name, *components, **fields):
    return "sendPreset", {"presetName": name, "gradeCombo": list(components), **fields}


def option(name, value):
    return "setOption", {"name": name, "value": value}


def route(source, destination):
    (kind, index), (to, to_index) = source.split(":"), destination.split(":")
    return "setVideoConnection", {"sourceType": kind, "sourceIndex": int(index), "destinationType": to,
                                  "destinationIndex": int(to_index)}


def state(value):
    return "setColorTransformState", {"channelIndex": 1, "colorTransformState": value}


def square(x, y):
    return SQUARE["fgColor"] if abs(x - 11.5) < 5 and abs(y - 9.5) < 5 else SQUARE["bgColor"]


PATTERN = [[square(x, y) for x in range(24)] for y in range(20)]
OVERRIDE = [preset("other", {"type": "saturation", "dataFormat": "cdl", **CDL}, gradeComboIndex=2),
            ("setOverridePreset", {"presetName": "other"})]
# Commands, the place, the picture that enters, what then happens to it, in legal range.
SHOWN = {
    "input": ([live(*GRADE)], "inputs/1", ROWS, []),
    "grade": ([live(*GRADE)], "outputs/1", ROWS, FORMULAS),
    "routing": ([live(*GRADE), route("input:2", "channel:1"), route("channel:1", "output:2")], "outputs/2", FLAT, FORMULAS),
    "input to output": ([live(*GRADE), route("input:2", "output:1")], "outputs/1", FLAT, []),
    "override": ([live(*GRADE), *OVERRIDE], "channels/1", ROWS, [(reference.saturation, CDL["saturation"])]),
    "override, bypassed": ([*OVERRIDE, state(1)], "channels/1", ROWS, []),
    "bypass": ([live(*GRADE, SQUARE), state(1)], "outputs/1", ROWS, []),
    "state unknown": ([live(*GRADE), state(7)], "outputs/1", ROWS, FORMULAS),
    "legal": ([live(*GRADE), option("rangeMode", "legal")], "outputs/1", ROWS, FORMULAS, True),
    "legal, nothing graded": ([option("rangeMode", "legal")], "outputs/1", ROWS, []),
    "pattern": ([live(*GRADE, SQUARE)], "channels/1", PATTERN, FORMULAS),
    "pattern, legal": ([live(*GRADE, SQUARE), option("rangeMode", "legal")], "channels/1", PATTERN, FORMULAS, True),
    "pattern unknown": ([live(*GRADE, {**SQUARE, "patternType": "circle"})], "channels/1", ROWS, FORMULAS),
    "only": ([live(*GRADE)], "channels/1?only=2", ROWS, FORMULAS[1:2]),
    "without": ([live(*GRADE)], "channels/1?without=1,3", ROWS, FORMULAS[1:2]),
    "before": ([live(*GRADE, SQUARE)], "channels/1?only=", PATTERN, []),
    "without the pattern": ([live(*GRADE, SQUARE)], "channels/1?without=1", ROWS, FORMULAS),
    "can't run": ([live(GRADE[0], {**GRADE[2], "dataFormat": "int3"}, {**GRADE[1], "power": [0.0, 1.0, 1.0]})],
                  "channels/1", ROWS, FORMULAS[2:]),
    "preset": ([preset("stored", *GRADE)], "presets/1", ROWS, FORMULAS),
}


class Page(unittest.TestCase):
    def start(self, *options):
        folder = self.enterContext(tempfile.TemporaryDirectory())
        for number, rows in enumerate((ROWS, FLAT), 1):
            with open(f"{folder}/{number}.png", "wb") as file:
                file.write(png.written(rows, 16))
        inputs = [f"--input={number}={folder}/{number}.png" for number in (1, 2)]
        self.simulator = Simulator(SIMULATOR, "--port=0", "--page=0", "--media", folder + "/media", *inputs, *options)
        self.addCleanup(self.simulator.stop)
        self.page = int(re.fullmatch(r"lutc-simulator: page at http://127\.0\.0\.1:(\d+)/\n", self.simulator.lines[0])[1])

    def send(self, name, fields):
        command = bson.encode({"protocolVersion": "2.0", "type": "command", "msgID": 1, "command": name, **fields})
        with socket.create_connection(("127.0.0.1", self.simulator.port), DEADLINE) as connection:
            connection.sendall(command)
            return bson.decode(b"".join(iter(lambda: connection.recv(65536), b"")))

    def do(self, *commands):
        for name, fields in commands:
            self.assertEqual(self.send(name, fields)["message"], "ok")

    def ask(self, path, method="GET", body=None, **headers):
        """Status, headers and body."""
        connection = http.client.HTTPConnection("127.0.0.1", self.page, timeout=DEADLINE)
        with contextlib.closing(connection):
            connection.request(method, "/" + path, body, {name.replace("_", "-"): value for name, value in headers.items()})
            answer = connection.getresponse()
            return answer.status, answer.headers, answer.read()

    def json(self, path, *arguments, **keywords):
        status, _, body = self.ask(path, *arguments, **keywords)
        self.assertEqual(status, 200, body)
        return json.loads(body)

    def picture(self, path, depth=16):
        place, _, query = path.partition("?")
        got_depth, rows = png.read(self.ask(f"{place}.png?{query}&depth={depth}")[2])
        self.assertEqual(got_depth, depth)
        return rows

    def raw(self, data):
        """The status of what comes back for these bytes."""
        with socket.create_connection(("127.0.0.1", self.page), DEADLINE) as connection:
            connection.sendall(data)
            answer = b"".join(iter(lambda: connection.recv(65536), b""))
        return int(answer.split()[1])

    def test_shows_what_the_commands_did(self):
        self.start()
        for name, (commands, place, entering, formulas, *legal) in SHOWN.items():
            with self.subTest(name):
                self.json("reset", "POST")
                self.do(*commands)
                for before, after in zip(itertools.chain(*entering), itertools.chain(*self.picture(place))):
                    wanted = reference.graded(formulas, [sample / 65535 for sample in before], bool(legal))
                    for sample, value in zip(after, wanted):
                        self.assertLessEqual(abs(sample - value * 65535), 2.51, (before, after, wanted))

    def test_shows_what_is_left_without_a_signal(self):
        self.start("--input=2=none")
        self.do(live(*GRADE, channelIndex=2), route("channel:2", "output:1"))
        self.assertEqual({pixel for row in self.picture("outputs/1?width=96") for pixel in row}, {(0, 0, 0)})
        self.do(option("testPatternOnLoss", "on"))
        rows = self.picture("outputs/1?width=96", 8)
        self.assertEqual((len(rows), len(rows[0])), (54, 96))
        bars = [(255, 255, 255), (191, 191, 0), (0, 191, 191), (0, 191, 0), (191, 0, 191), (191, 0, 0), (0, 0, 191), (0, 0, 0)]
        self.assertEqual(rows[10][::12], bars)
        self.assertEqual(self.json("state.json")["channels"][1]["components"][0]["reason"], "there is no signal")

    def test_an_input_without_a_picture_shows_its_number(self):
        with tempfile.NamedTemporaryFile("w", suffix=".json") as device:
            device.write('{"inputs": 3}')
            device.flush()
            self.start("--device=" + device.name)
        rows = self.picture("inputs/3", 8)
        self.assertEqual((len(rows[0]), len(rows), png.checksum(rows)), (960, 540, 0x2C42A094))

    def test_scales_and_names_what_has_not_changed(self):
        self.start()
        averages = [[tuple(sum(ROWS[y + j][x + i][c] for i in (0, 1) for j in (0, 1)) / 4 for c in range(3))
                     for x in range(0, 24, 2)] for y in range(0, 20, 2)]
        for got, wanted in zip(itertools.chain(*self.picture("inputs/1?width=12")), itertools.chain(*averages)):
            self.assertLessEqual(max(abs(a - b) for a, b in zip(got, wanted)), 1)
        self.assertEqual(self.picture("inputs/1?width=999"), self.picture("inputs/1"))
        with concurrent.futures.ThreadPoolExecutor(8) as asking:  # each gets its own
            self.assertEqual(list(asking.map(lambda width: len(self.picture(f"inputs/1?width={width}")[0]), range(1, 25))),
                             list(range(1, 25)))

        def etag():
            return self.ask("outputs/1.png")[1]["ETag"]
        tags = [etag()]
        for changes, commands in ((True, [live(*GRADE)]), (False, [live(*GRADE), option("note", "x"), preset("p", *GRADE)]),
                                  (False, [live(GRADE[1], channelIndex=2)]), (True, [option("rangeMode", "legal")]),
                                  (True, [state(1)]), (False, [option("rangeMode", "full")])):
            self.do(*commands)
            tags.append(etag())
            self.assertEqual(tags[-1] != tags[-2], changes, commands)
        self.assertEqual(self.ask("outputs/1.png", If_None_Match=tags[-1])[::2], (304, b""))
        self.assertEqual(self.ask("outputs/1.png", If_None_Match=tags[1])[0], 200)

    def test_tells_the_state(self):
        self.start("--fault=getOption:9=close")
        cdl = {**GRADE[1], "slope": [-1.0, 1.0, 1.0], "typeIndex": 2}
        self.do(preset("evening \xff<b>", *GRADE), ("setSelectedPreset", {"channelIndex": 1, "presetIndex": 1}),
                live(*GRADE, cdl, {"type": "saturation", "dataFormat": "cdl", "data": b"\0"}), state(5))
        told = self.json("state.json")
        self.assertEqual(set(told), {"model", "presets", "override", "media", "inputs", "channels", "connections", "options", "faults",
                                     "revision", "instance", "maxPresetsListSize", "clients"})
        channel = told["channels"][0]
        self.assertEqual([(each["type"], each["typeIndex"], each["runs"], each["reason"]) for each in channel["components"]],
                         [("1dlut", 1, True, None), ("cdl", 1, True, None), ("3dlut", 1, True, None),
                          ("cdl", 2, False, "the grade combination doesn't name it"),
                          ("saturation", 1, False, "the grade combination doesn't name it")])
        self.assertEqual(channel["components"][1]["slope"], CDL["slope"])
        self.assertEqual((channel["channelName"], channel["gradeCombo"], channel["colorTransformState"], channel["stateMeaning"]),
                         ("Channel 1", ["1dlut", "cdl", "3dlut"], 5, "unknown"))
        self.assertEqual(channel["selectedPreset"], {"presetName": "evening \xff<b>", "presetIndex": 1})
        self.assertEqual(told["connections"][2], {"source": "channel:1", "destination": "output:1"})
        self.assertEqual((told["override"], told["options"]["rangeMode"], told["faults"], told["media"]["saved"]),
                         (None, "full", ["getOption:9=close"], False))
        table = self.json("channels/1/components/3.json")
        self.assertEqual((table["size"], len(table["samples"])), (3, 27))
        for got, held in zip(table["samples"], CUBE_HELD):
            self.assertLess(max(abs(a - b) for a, b in zip(got, held)), 1e-6)
        ends = self.json("channels/1/components/3.json?points=2")
        self.assertEqual((ends["size"], ends["samples"]), (2, [table["samples"][i] for i in (0, 2, 6, 8, 18, 20, 24, 26)]))
        self.assertEqual(self.json("channels/1/components/1.json?points=5")["samples"][3],
                         self.json("channels/1/components/1.json")["samples"][12])
        self.assertEqual(self.json("channels/1/components/2.json")["power"], CDL["power"])
        self.simulator.wait_for("3 ! channel 1: cdl 2 doesn't run: slope must not be below 0\n")
        self.assertEqual(len(self.json("log/3.json")["notes"]), 2)

    def test_keeps_a_log_and_tells_of_events(self):
        self.start()
        self.send("nonsense", {"text": "<i>\n"})
        self.do(live(*GRADE))
        first, second = self.json("log.json")
        self.assertEqual({key: first[key] for key in ("number", "connection", "command", "reply", "code")},
                         {"number": 1, "connection": 1, "command": r'nonsense text="<i>\x0a"',
                          "reply": r'code=2 message="there is no command \"nonsense\""', "code": 2})
        self.assertEqual(self.json("log.json?since=1"), [second])
        messages = self.json("log/2.json")
        self.assertEqual((bytes.fromhex(messages["commandHex"])[4:20], messages["commandSize"] > 300),
                         (b"\2protocolVersion"[:16], True))
        instance = self.json("state.json")["instance"]
        for last_id, expected in (("", ["state"]), (instance + ".1", ["command 2", "state"]),
                                  ("another.2", ["command 1", "command 2", "state"])):
            with self.events(last_id) as following:
                self.assertEqual([next(following) for _ in expected], expected, last_id)
        with self.events("") as following:
            self.assertEqual(next(following), "state")
            self.send("getModelInfo", {})
            self.assertEqual(next(following), "command 3")
            self.json("reset", "POST")
            self.assertEqual(next(following), "state")

    @contextlib.contextmanager
    def events(self, last_id):
        """The events of a stream, commands with their numbers."""
        with socket.create_connection(("127.0.0.1", self.page), DEADLINE) as connection, connection.makefile() as stream:
            connection.sendall(f"GET /events HTTP/1.1\r\nHost: localhost\r\nLast-Event-ID: {last_id}\r\n\r\n".encode())
            fields = (line.rstrip("\n").partition(": ")[::2] for line in stream)
            events = (json.loads(next(fields)[1]).get("number") for name, value in fields if name == "event")
            yield (f"command {number}" if number else "state" for number in events)

    def test_adds_and_removes_faults(self):
        self.start("--fault=getOption=delay,1")
        refused = json.dumps({"fault": "getModelInfo:2=refuse"})
        self.assertEqual(self.json("faults", "POST", refused)["faults"], ["getOption=delay,1", "getModelInfo:2=refuse"])
        self.assertEqual([self.send("getModelInfo", {})["code"] for _ in range(3)], [0, 7, 0])
        self.assertEqual(self.json("faults")["faults"], ["getOption=delay,1"])  # the other is over
        self.assertEqual(self.json("faults?fault=getOption%3Ddelay,1", "DELETE")["faults"], [])
        self.assertEqual(self.ask("faults?fault=getOption%3Ddelay,1", "DELETE")[0], 404)
        for body, complaint in (('{"fault": "x=close"}', 'no command "x"'), ('{"fault": "*=fire"}', 'no fault "fire"'),
                                ("[", "the body is not"), ('{"fault": 1}', "the body is not"), ("[" * 60000, "the body is not")):
            status, _, answer = self.ask("faults", "POST", body)
            self.assertEqual((status, complaint in answer.decode(), answer.count(b"\n")), (400, True, 1), answer)
        self.do(option("note", "changed"), preset("p", *GRADE))
        self.json("reset", "POST")
        told = self.json("state.json")
        self.assertEqual((told["faults"], told["presets"], told["options"]["note"]), (["getOption=delay,1"], [], ""))
        self.assertEqual(self.json("faults", "DELETE")["faults"], [])

    def test_refuses_what_it_should(self):
        self.start()
        for path, status in (("index.html", 404), ("outputs/3.png", 404), ("outputs/0.png", 404), ("presets/1.png", 404),
                             ("log/1.json", 404), ("channels/1/components/1.json", 404), ("../state.json", 404),
                             ("outputs/1.png?depth=12", 400), ("outputs/1.png?width=0", 400), ("outputs/1.png?width=x", 400),
                             ("outputs/1.png?only=1", 400), ("channels/1.png?without=1", 400), ("log.json?since=x", 400),
                             ("channels/1/components/1.json?points=x", 400), ("channels/1/components/1.json?points=65537", 400),
                             ("channels/1/components/1.json?points=65536", 404), ("state.json?%", 400), ("state.json?a=1&a=1", 400)):
            self.assertEqual(self.ask(path)[0], status, path)
        self.assertEqual([self.ask("faults", "PUT")[1]["Allow"], self.ask("reset")[0]], ["GET, HEAD, POST, DELETE", 405])
        for status, headers in ((200, {"Host": "localhost:1"}), (200, {"Origin": f"http://127.0.0.1:{self.page}"}),
                                (403, {"Host": "example.org"}), (403, {"Host": "10.0.0.1"}), (403, {"Host": "127.0.0.1.example.org"}),
                                (403, {"Origin": "null"}), (403, {"Origin": "http://example.org"}),
                                (403, {"Origin": f"http://127.0.0.1:{self.page + 1}"})):
            got, answered, _ = self.ask("state.json", **headers)
            self.assertEqual((got, answered["Access-Control-Allow-Origin"]), (status, None), headers)
        for lines, body, status in (
                ("GET / HTTP/1.1\r\nHost: localhost\r\nHost: localhost\r\n\r\n", 0, 400), ("GET / HTTP/1.1\r\n\r\n", 0, 400),
                ("nonsense\r\n\r\n", 0, 400), (self.request(8192), 0, 200), (self.request(8193), 0, 431),
                ("GET /" + 9000 * "x", 0, 431), (self.posted("Content-Length: 65536"), 65536, 400),
                (self.posted("Content-Length: 65537"), 0, 413),
                (self.posted("Transfer-Encoding: chunked") + "10001\r\n", 65537, 413),
                (self.posted("Content-Length: 1\r\nTransfer-Encoding: chunked"), 0, 400)):
            self.assertEqual(self.raw(lines.encode() + body * b"x"), status, lines[:80])
        full, head = (self.ask("outputs/1.png", method) for method in ("GET", "HEAD"))
        self.assertEqual((head[0], head[1]["Content-Type"], head[1]["Content-Length"], head[2]),
                         (200, "image/png", str(len(full[2])), b""))

    def request(self, size):
        head, end = "GET / HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\nX: ", "\r\n\r\n"
        return head + (size - len(head) - len(end)) * "x" + end

    def posted(self, length):
        return f"POST /faults HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n{length}\r\n\r\n"

    def test_serves_the_page(self):
        self.start()
        for path, kind in (("", "text/html"), ("page.css", "text/css"), ("main.js", "text/javascript"), ("icon.svg", "image/svg+xml")):
            status, headers, body = self.ask(path)
            with open(f"{SOURCE}/simulator/page/web/{path or 'index.html'}", "rb") as file:
                self.assertEqual((status, headers["Content-Type"], body), (200, kind + "; charset=utf-8", file.read()))
            self.assertRegex(headers["Content-Security-Policy"], "^default-src 'none'; script-src 'self'; style-src 'self';.* frame-ancestors 'none'$")
            self.assertEqual(headers["X-Content-Type-Options"], "nosniff")
            self.assertEqual(self.ask(path, If_None_Match=headers["ETag"])[0], 304)

    def test_limits_its_connections(self):
        self.start()
        with contextlib.ExitStack() as opened:
            for _ in range(16):
                next(opened.enter_context(self.events("")))
            self.assertEqual(self.ask("events")[0], 503)
            for _ in range(48):
                opened.enter_context(socket.create_connection(("127.0.0.1", self.page), DEADLINE))
            self.assertEqual(self.raw(b"GET /state.json HTTP/1.1\r\nHost: localhost\r\n\r\n"), 503)
            self.do(live(*GRADE))  # the service is another matter
        while self.raw(self.request(100).encode()) == 503:
            pass

    def test_runs_a_command(self):
        def run(*command):
            return subprocess.run([SIMULATOR, "--port=0", "--run", "--", *command], capture_output=True, text=True,
                                  timeout=DEADLINE)
        fetch = ("import os, sys, urllib.request as u; u.urlopen(os.environ['LUTC_PAGE'] + '/outputs/1.png').read(); "
                 "print('done'); sys.exit(3)")
        result = run(sys.executable, "-c", fetch)
        self.assertEqual((result.returncode, result.stdout), (3, "done\n"), result.stderr)
        self.assertRegex(result.stderr, r"^lutc-simulator: page at .*\nlutc-simulator: listening on .*\n$")
        for code, command in ((143, ["sh", "-c", "kill $$"]), (127, ["/nowhere"]), (126, ["/"]), (141, ["sh", "-c", "kill -PIPE $$"])):
            self.assertEqual(run(*command).returncode, code, command)

    def test_ends_with_a_reason_when_it_can_not_show(self):
        taken = self.enterContext(socket.create_server(("127.0.0.1", 0))).getsockname()[1]
        for code, complaint, *options in (
                (1, "Address already in use", f"--page={taken}", "--run", "--", "sh", "-c", "echo it runs; echo it runs >&2"),
                (2, "is not N=FILE", "--page=0", "--input=3=none"), (2, "--input needs --page", "--input=1=none"),
                (1, "nowhere.png: can't be read: No such file", "--page=0", "--input=1=nowhere.png"), (2, "not [ADDRESS:]PORT", "--page=x"),
                (1, "not a PNG", "--page=0", "--input=1=" + __file__), (2, "go together", "--run"), (2, "go together", "echo")):
            result = subprocess.run([SIMULATOR, "--port=0", *options], capture_output=True, text=True, timeout=DEADLINE)
            self.assertEqual((result.returncode, complaint in result.stderr, result.stderr.count("\n")), (code, True, 1), result.stderr)


if __name__ == "__main__":
    unittest.main()
