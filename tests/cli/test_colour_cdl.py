"""lutc grade cdl --file and lutc grade plot, with the simulator."""
import json
import os
import unittest

from colour_data import Png
from tool import DONE, REFUSED, USAGE, WithSimulator

SOP = "<SOPNode>\n<Slope>1.1 %s 1.3</Slope><Offset>0.1 -0.2 0.3</Offset><Power>1 2.5 3</Power></SOPNode>"
SAT = "<SatNode><Saturation>%s</Saturation></SatNode>"


def correction(content, identity="shot"):
    return '<ColorCorrection id="%s">%s</ColorCorrection>' % (identity, content)


def collection(*corrections):
    return '<ColorCorrectionCollection xmlns="urn:ASC:CDL:v1.01">%s</ColorCorrectionCollection>' % "".join(corrections)


class CdlFileTest(WithSimulator):
    def test_what_is_sent_is_printed(self):
        single = self.write("shot.cc", correction(SOP % "1.2345678901234567" + SAT % 0.75))
        shown = json.loads(self.expect(DONE, "--json", "grade", "cdl", "--file", single, "--channel", 2).stdout)
        self.assertEqual(shown, {"slope": [1.1, 1.2345678901234567, 1.3], "offset": [0.1, -0.2, 0.3],
                                 "power": [1.0, 2.5, 3.0], "saturation": 0.75})
        self.simulator.stop()
        log, = (line for line in self.simulator.lines if "sendCDL" in line)
        for part in ("channelIndex=2", "power=[1 2.5 3]", "slope=[1.1 1.23457 1.3]", "offset=[0.1 -0.2 0.3]",
                     "saturation=0.75"):
            self.assertIn(part, log)

    def test_one_of_several(self):
        lists = {"list.ccc": collection(correction(SAT % 0.5, "a"), correction(SAT % 0.25, "b")),
                 "list.cdl": '<ColorDecisionList xmlns="urn:ASC:CDL:v1.01">'
                             "<ColorDecision>%s</ColorDecision><ColorDecision><MediaRef ref='x'/>%s</ColorDecision>"
                             "</ColorDecisionList>" % (correction(SAT % 0.5, "a"), correction(SAT % 0.25, "b"))}
        for name, content in lists.items():
            with self.subTest(name):
                path = self.write(name, content)
                for identity in ("b", "#2"):
                    result = self.expect(DONE, "grade", "cdl", "--file", path, "--id", identity)
                    self.assertIn("saturation: 0.25", result.stdout)
                self.assertIn("a, b", self.expect(USAGE, "grade", "cdl", "--file", path).stderr)
                self.assertIn("a, b", self.expect(USAGE, "grade", "cdl", "--file", path, "--id", "c").stderr)

    def test_bad_files_send_nothing(self):
        cases = {
            "unknown node": (correction("\n<SOPMode/>" + SAT % 1), "line 2: unknown element SOPMode"),
            "unknown part": (correction(SOP % "1" + "<SatNode><Sat>1</Sat></SatNode>"), "unknown element Sat "),
            "reference": (collection(correction(SAT % 1), "<ColorCorrectionRef ref='x'/>"), "ColorCorrectionRef"),
            "nothing in it": (correction(""), "neither a SOPNode nor a SatNode"),
            "no offset": (correction("<SOPNode><Slope>1 1 1</Slope></SOPNode>"), "'Offset' is missing"),
            "twice": (correction(SOP % "1" + SOP % "2"), "a second SOPNode"),
            "comma": (correction(SOP % "1,5"), "line 2: '1,5' has a comma"),
            "nan": (correction(SOP % "nan"), "line 2: 'nan' is not finite"),
            "negative": (correction(SOP % "-1"), "'slope' -1"),
            "two numbers": (correction(SOP % ""), "3 values required"),
            "cut off": (correction(SOP % "1")[:40], "line 2"),
            "none": (collection(), "no ColorCorrection"),
            "same id": (collection(correction(SAT % 1), correction(SAT % 0.5)), "'shot'"),
        }
        for name, (content, complaint) in cases.items():
            with self.subTest(name):
                path = self.write("bad." + ("ccc" if "Collection" in content else "cc"), content)
                self.assertIn(complaint, self.expect(USAGE, "grade", "cdl", "--file", path).stderr)
        self.expect(REFUSED, "grade", "cdl", "--file", self.path("missing.cc"))
        self.expect(REFUSED, "grade", "cdl", "--file", "")
        good = self.write("good.cc", correction(SAT % 0.5))
        self.expect(USAGE, "grade", "cdl", "--file", good, "--slope", 1, 1, 1)
        self.expect(USAGE, "grade", "cdl", "--id", "a")
        self.simulator.stop()
        self.assertEqual(self.simulator.count("sendCDL"), 0)

    def test_plot(self):
        path = self.write("shot.cc", correction("<SOPNode><Slope>0.5 1 1</Slope><Offset>0 0 0.25</Offset>"
                                                "<Power>1 2 1</Power></SOPNode>"))
        values = ("--slope", 0.5, 1, 1, "--offset", 0, 0, 0.25, "--power", 1, 2, 1)
        pictures = []
        for arguments in (("--file", path), values):
            self.expect(DONE, "grade", "plot", *arguments, "-o", self.path("out.png"))
            with open(self.path("out.png"), "rb") as file:
                pictures.append(file.read())
        self.assertEqual(pictures[0], pictures[1])
        picture = Png(pictures[0])
        for channel, value in enumerate((0.4, 0.64, 1.0)):  # of 0.8; blue is limited to 1
            self.assertGreater(picture.at(48 + round(0.8 * 512), round(48 + 512 * (1 - value)))[channel], 200)
        self.expect(USAGE, "grade", "plot", "--power", 0, 1, 1, "-o", self.path("none.png"))
        self.assertFalse(os.path.exists(self.path("none.png")))


if __name__ == "__main__":
    unittest.main()
