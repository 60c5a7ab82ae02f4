"""lutc grade cdl --file and lutc grade plot, with the simulator."""
import json
import os
import unittest

from tool import DONE, REFUSED, USAGE, WithSimulator
import png  # of tests/support, which tool knows

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
        self.assertEqual(self.read("file.png"), self.read("values.png"))
        _, picture = png.read(self.read("file.png"))
        for channel, value in enumerate((0.4, 0.64, 1.0)):  # of 0.8; blue is limited to 1
            self.assertGreater(picture[round(48 + 512 * (1 - value))][48 + round(0.8 * 512)][channel], 200)
        self.assertFalse(os.path.exists(self.path("none.png")))


if __name__ == "__main__":
    unittest.main()
