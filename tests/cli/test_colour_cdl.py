"""lutc grade cdl --file and lutc grade plot, with the simulator."""
import json
import os
import socket
import unittest
import urllib.request

from tool import DONE, REFUSED, SIMULATOR, USAGE, WithSimulator
import png  # of tests/support, which tool knows
from service import Simulator, listener

SOP = "<SOPNode><Description>a look</Description>\n<Slope>1.1 %s 1.3</Slope><Offset>0.1 -0.2 0.3</Offset>" \
      "<Power>1 2.5 3</Power></SOPNode>"
SAT = "<SatNode><Saturation>%s</Saturation></SatNode>"


def correction(content, identity="shot"):
    return '<ColorCorrection id="%s">%s</ColorCorrection>' % (identity, content)


def collection(*corrections):
    return '<ColorCorrectionCollection xmlns="urn:ASC:CDL:v1.01">%s</ColorCorrectionCollection>' % "".join(corrections)


class CdlFileTest(WithSimulator):
    def test_what_is_sent_is_printed(self):
        described = "<Description>1,5 of nan</Description><InputDescription>x</InputDescription>"
        self.write("shot.cc", correction(described + SOP % "1.2345678901234567" + SAT % 0.75))
        shown = json.loads(self.expect(DONE, *"--json grade cdl --file shot.cc --channel 2".split()).stdout)
        self.assertEqual(shown, {"slope": [1.1, 1.2345678901234567, 1.3], "offset": [0.1, -0.2, 0.3],
                                 "power": [1.0, 2.5, 3.0], "saturation": 0.75})
        self.simulator.stop()
        log, = (line for line in self.simulator.lines if "sendCDL" in line)
        for part in ("channelIndex=2", "power=[1 2.5 3]", "slope=[1.1 1.23457 1.3]", "offset=[0.1 -0.2 0.3]",
                     "saturation=0.75"):
            self.assertIn(part, log)

    def test_one_of_several(self):
        self.write("list.ccc", collection(correction(SAT % 0.5, "a"), correction(SAT % 0.25, "b")))
        self.write("list.cdl", '<ColorDecisionList xmlns="urn:ASC:CDL:v1.01"><ColorDecision>%s</ColorDecision>'
                   "<ColorDecision><MediaRef ref='x'/>%s</ColorDecision></ColorDecisionList>"
                   % (correction(SAT % 0.5, "#2"), correction(SAT % 0.25, "b")))
        for name, ids in (("list.ccc", "a, b"), ("list.cdl", "#2, b")):
            command = "grade cdl --file " + name
            self.check((DONE, command + " --id b", "saturation: 0.25"), (USAGE, command, "--id with one of: " + ids),
                       (USAGE, command + " --id c", "there are: " + ids))
        self.check((DONE, "grade cdl --file list.ccc --id #2", "saturation: 0.25"),
                   (DONE, "grade cdl --file list.cdl --id #2", "saturation: 0.5"))

    def test_edl_comments(self):
        self.write("cut.edl", "TITLE: CUT\n003  AX V C 00:00:00:00\n* FROM CLIP NAME: (a)\n*ASC_SOP (1.5 1 1)(0 0 -.5)( 1 1 2 )\n"
                   "* ASC_SAT 0.5\n004  AX V C 00:00:00:00\n* ASC_SAT 0.25\n005 AX V C\n* COMMENT ASC_SAT 7\n")
        cdl = "grade cdl --file cut.edl "
        self.check((DONE, cdl + "--id 003", "slope: 1.5 1.0 1.0\noffset: 0.0 0.0 -0.5\npower: 1.0 1.0 2.0\nsaturation: 0.5\n"),
                   (DONE, cdl + "--id 004", "saturation: 0.25"), (DONE, cdl + "--id #2", "saturation: 0.25"),
                   (DONE, "grade preview cut.edl --id 004 -o p.png"), (USAGE, cdl, "--id with one of: 003, 004"),
                   (USAGE, cdl + "--id 005", "there are: 003, 004"))
        for comment, complaint in (("ASC_SOP (1 1 1)(0 0 0)(1 1)", "ASC_SOP needs 9 numbers"), ("ASC_SAT 0,5", "has a comma"),
                                   ("ASC_SOP (-1 1 1)(0 0 0)(1 1 1)", "slope must not be below 0"),
                                   ("ASC_SAT 1\n* ASC_SAT 1", "a second ASC_SAT in event 001")):
            self.write("bad.edl", "001 AX V C\n* " + comment + "\n")
            self.check((USAGE, "grade cdl --file bad.edl", "line %d: " % (2 + comment.count("\n")), complaint))

    def test_bad_files_send_nothing(self):
        for content, complaint in [
                (correction("\n<SOPMode/>" + SAT % 1), "line 2: unknown element SOPMode"),
                (correction(SOP % "1" + "<SatNode><Sat>1</Sat></SatNode>"), "unknown element Sat "),
                (collection(correction(SAT % 1), "<ColorCorrectionRef ref='x'/>"), "ColorCorrectionRef"),
                (correction(""), "neither a SOPNode nor a SatNode"),
                (correction("<SatNode></SatNode>"), "SatNode has no Saturation"),
                (correction("<SOPNode><Slope>1 1 1</Slope></SOPNode>"), "'Offset' is missing"),
                (correction(SOP % "1" + SOP % "2"), "a second SOPNode"),
                (correction(SOP % "1,5"), "line 2: '1,5' has a comma"),
                (correction(SOP % "nan"), "line 2: 'nan' is not finite"),
                (correction(SOP % "-1"), "'slope' -1"),
                (correction(SOP % ""), "3 values required"),
                (correction(SOP % "1")[:80], "line 2"),
                (collection(), "no ColorCorrection"),
                (collection(correction(SAT % 1), correction(SAT % 0.5)), "'shot'")]:
            name = "bad." + ("ccc" if "Collection" in content else "cc")
            self.write(name, content)
            self.check((USAGE, "grade cdl --file " + name, complaint))
        self.write("good.cc", correction(SAT % 0.5))
        self.check((REFUSED, "grade cdl --file missing.cc", "can't be opened"), (REFUSED, ["grade", "cdl", "--file", ""]),
                   (USAGE, "grade cdl --file good.cc --slope 1 1 1"), (USAGE, "grade cdl --id a"))
        self.simulator.stop()
        self.assertEqual(self.simulator.count("sendCDL"), 0)

    def test_plot(self):
        self.write("shot.cc", correction("<SOPNode><Slope>0.5 1 1</Slope><Offset>0 0 0.25</Offset>"
                                         "<Power>1 2 1</Power></SOPNode>"))
        self.check((DONE, "grade plot --file shot.cc -o file.png"),
                   (DONE, "grade plot --slope 0.5 1 1 --offset 0 0 0.25 --power 1 2 1 -o values.png"),
                   (USAGE, "grade plot --power 0 1 1 -o none.png"))
        self.expect(DONE, *"lut plot shot.cc -o lut.png".split())
        self.assertEqual(self.read("file.png"), self.read("lut.png"))
        _, picture = png.read(self.read("values.png"))
        for channel, value in enumerate((0.4, 0.64, 1.0)):  # of 0.8; blue is limited to 1
            self.assertGreater(picture[round(80 + 512 * (1 - value))][72 + round(0.8 * 512)][channel], 200)
        self.assertFalse(os.path.exists(self.path("none.png")))


LOOK = "LUT_3D_SIZE 2\n" + "".join("%d %d %d\n" % (1 - (i & 1), i >> 1 & 1, i >> 2) for i in range(8))
CURVE = "LUT_1D_SIZE 2\n0 0 0\n0.5 0.5 0.5\n"


class ToTheDevice(WithSimulator):
    """Colour files that are packed on the way."""

    def setUp(self):
        super().setUp()
        for name, content in (("look.cube", LOOK), ("curve.cube", CURVE), ("shot.cc", correction(SAT % 0.5)),
                              ("list.ccc", collection(correction(SAT % 0.25, "a#1"), correction(SAT % 0.75, "b")))):
            self.write(name, content)

    def sent(self, command):
        """What the service was sent by the last call of the command."""
        self.simulator.stop()
        return [line for line in self.simulator.lines if "< " + command in line][-1]

    def test_one_command_puts_a_look_on_a_channel(self):
        self.start("--page", "0")
        page = next(line for line in self.simulator.lines if "page at" in line).split()[-1]
        self.expect(DONE, *"presets upload --name evening --cdl shot.cc --lut look.cube --apply --channel 1".split())
        with urllib.request.urlopen(page + "outputs/1.png") as answer:
            shown = answer.read()
        self.expect(DONE, *"presets upload --name plain --cdl shot.cc --apply --channel 1".split())
        with urllib.request.urlopen(page + "outputs/1.png") as answer:
            plain = answer.read()
        inverted = [[(255 - r, g, b) for r, g, b in row] for row in png.read(plain)[1]]
        self.assertEqual(png.read(shown)[1], inverted)

    def test_the_combination_follows_the_order_of_the_options(self):
        upload = "presets upload --name a "
        for files, combination, slots in [
                ("--cdl shot.cc", 2, "cdl 1"), ("--cdl shot.cc --lut curve.cube", 4, "cdl 1 1dlut 1"),
                ("--lut curve.cube --cdl list.ccc#b --lut=look.cube", 1, "1dlut 1 cdl 1 3dlut 1"),
                ("--lut look.cube --lut curve.cube --apply --channel 2", 3, "3dlut 1 1dlut 2"),
                ("--cdl shot.cc --apply", 1, "cdl 1"),
                ("--lut look.cube --lut curve.cube --apply", None, "supported by the channel"),
                ("--cdl shot.cc --lut look.cube --combination 2", None, "grade combination 2 doesn't have cdl, 3dlut"),
                ("--lut look.cube --cdl shot.cc", None, "no grade combination of the device has 3dlut, cdl in this order"),
                ("--cdl shot.cc --apply --channel 3", None, "no channel 3"), ("--cdl list.ccc", None, "a#1, b"),
                ("a.json --cdl shot.cc", None, "either a grade file or"), ("", None, "either a grade file or")]:
            with self.subTest(files=files):
                result = self.expect(DONE if combination else USAGE, *(upload + files).split(), "--json")
                if combination:
                    shown = json.loads(result.stdout)
                    self.assertEqual(shown["gradeComboIndex"], combination)
                    self.assertEqual(" ".join("%s %d" % (part["type"], part["typeIndex"]) for part in shown["components"]), slots)
                else:
                    self.assertIn(slots, result.stderr)
        self.check((USAGE, "presets upload --cdl shot.cc", "--name or --index"), (DONE, "presets upload --index 1 --cdl list.ccc#a#1"))
        self.assertIn('presetName="a" gradeComboIndex=2 gradeCombo=[{typeIndex=1 type="cdl"', self.sent("sendPreset"))

    def test_layouts_and_the_config(self):
        lut, cube = "grade lut look.cube", "config/lutc/config.json"
        self.check((DONE, lut, "dataFormat: uint16-le-red-fastest"), (DONE, "grade lut curve.cube", "dataFormat: uint16-le\n"),
                   (DONE, lut + " --layout float32-be-blue-fastest --size 3", "dataFormat: float32-be-blue-fastest\nsize: 3\n"),
                   (DONE, lut + " --format tbl", "dataFormat: tbl\n"),
                   (USAGE, lut + " --layout uint16-le", "no order for a cube"), (USAGE, lut + " --layout x", "no layout"),
                   (USAGE, lut + " --type 3dlut", "--format"), (USAGE, "lut pack look.cube -o x", "lutc config layout NAME"),
                   (DONE, "config", "config: " + self.path(cube) + "\nlayout: -\n"),
                   (DONE, "config layout uint10in16-be-blue-fastest"), (DONE, "config format tbl", "layout: uint10in16-be-blue-fastest"),
                   (DONE, lut, "dataFormat: tbl\n"), (DONE, "grade lut curve.cube --layout float32-le", "dataFormat: float32-le\n"),
                   (DONE, "lut pack look.cube -o x", "layout: uint10in16-be-blue-fastest"), (USAGE, "config layout x"))
        self.assertEqual(json.loads(self.read(cube)), {"layout": "uint10in16-be-blue-fastest", "format": "tbl"})
        for content, complaint in (('{"layout": "x"}', "layout: 'x' is no layout"), ('{"size": 1}', "size: is not a known field"),
                                   ("[" * 60000, "nested more than 100 deep"), ('{"format": "' + "x" * 70000 + '"}', "has more than 65536 bytes")):
            self.write(cube, content)
            self.check((USAGE, lut, "config.json: " + complaint))

    def test_an_unknown_model_needs_a_layout(self):
        self.simulator.stop()
        name = b"lutc simulated device"
        with Simulator(SIMULATOR, "--port", "0", "--media", self.path("media")) as device:
            def rename(connection):
                with connection, socket.create_connection(("127.0.0.1", device.port)) as service:
                    service.sendall(connection.recv(65536))
                    connection.sendall(service.recv(65536).replace(name, name[::-1]))

            with listener(rename):
                self.check((USAGE, "grade lut look.cube", "Give --layout NAME, or write it down once: lutc config layout NAME"),
                           (DONE, "grade lut look.cube --layout uint16-le-red-fastest"))

    def test_grade_files_take_colour_files(self):
        for component, complaint in [({"type": "1dlut", "file": "look.cube"}, "type: '1dlut', but look.cube is a 3dlut"),
                                     ({"type": "cdl", "file": "list.ccc"}, "--id with one of"),
                                     ({"type": "3dlut", "file": "look.cube", "size": 1}, "size: must be a whole number from 2 to "),
                                     ({"type": "3dlut", "file": "look.cube", "layout": "x"}, "layout: is not a known field")]:
            self.write("grade.json", json.dumps({"components": [component]}))
            self.check((USAGE, "grade live grade.json", complaint))
        self.write("grade.json", json.dumps({"components": [{"type": "cdl", "file": "list.ccc", "id": "b"},
                                                            {"type": "3dlut", "file": "look.cube", "size": 3}]}))
        self.check((DONE, "grade preview grade.json -o preview.png"), (DONE, "presets upload grade.json --name a"),
                   (DONE, "grade live grade.json --format tbl"))
        sent = self.sent("sendLive")
        self.assertIn("saturation=0.75", sent)
        self.assertIn('type="3dlut" dataFormat="tbl" data=[162 bytes', sent)


if __name__ == "__main__":
    unittest.main()
