"""lutc lut pack and lutc lut plot, against tables computed here. No service is needed."""
import itertools
import json
import os
import unittest

from colour_data import Png, asymmetric, clf, clf_cube, cube, entries, packed, rows
from tool import DONE, REFUSED, USAGE, WithFolder, run

CURVE = [(0.0, 0.1, 1.0), (0.25, 0.3, 0.6), (0.5, 0.45, 0.35), (0.9, 0.8, 0.125), (1.0, 0.987654, 0.0)]
HOT = [(-0.5, 0.0, 0.25), (0.5, 2.0, 1.0)]
GRID = list(itertools.product(range(0, 4096, 1365), repeat=3))
THREE_DL = [(r * 3 // 4, 4095 - g, b // 2) for r, g, b in GRID]  # red the slowest
WHOLE_NUMBERS = [tuple(value / 4095 for value in triple) for triple in THREE_DL]
BLUE_5 = list(entries(5, fastest="blue"))


def same(*inputs):
    return inputs


def linear(red, green, blue):
    return 0.1 + 0.4 * red, 0.2 + 0.3 * green, 0.9 - 0.5 * blue


def in_domain(red, green, blue):
    return linear((red + 1) / 2, green / 2, blue / 4)


def bilinear(red, green, blue):
    return red * green, 1 - blue, 0.5 * green


def saturating(red, green, blue):
    return red + green / 2, green, blue


FILES = {
    "look.cube": cube(entries(5), 5, "DOMAIN_MIN 0 0 0\nDOMAIN_MAX 1.0 1 1\n"),
    "look.spi3d": "SPILUT 1.0\n3 3\n5 5 5\n" + "".join("%d %d %d %s" % (*index, rows([triple])) for index, triple in
                                                       zip(itertools.product(range(5), repeat=3), BLUE_5)),
    "look.clf": clf(clf_cube(BLUE_5, 5)),
    "neutral.clf": clf('<Matrix inBitDepth="32f" outBitDepth="32f"><Array dim="3 3">1 0 0 0 1 0 0 0 1</Array></Matrix>\n'
                       + clf_cube(BLUE_5, 5)),
    "c.cube": "LUT_1D_SIZE 5\n" + rows(CURVE),
    "c.spi1d": "Version 1\nFrom 0.0 1.0\nLength 5\nComponents 3\n{\n%s}\n" % rows(CURVE),
    "c.clf": clf('<LUT1D inBitDepth="32f" outBitDepth="32f">\n<Array dim="5 3">\n%s</Array>\n</LUT1D>\n' % rows(CURVE)),
    "look.3dl": " ".join(str(i * 1023 // 15) for i in range(16)) + "\n" + "".join("%d %d %d\n" % v for v in THREE_DL),
    "wide.cube": cube(entries(3, linear), 3, "DOMAIN_MIN -1 0 0\nDOMAIN_MAX 1 2 4\n"),
    # Ahead of a cube that changes nothing: a curve through 0, 1/4 and 1. Two points make a straight line of it.
    "shaped.cube": "LUT_1D_SIZE 3\nLUT_3D_SIZE 2\n0 0 0\n.25 .25 .25\n1 1 1\n" + rows(entries(2, same)),
    "small.cube": cube(entries(2, bilinear), 2),
    "matrix.spimtx": "1 0.5 0 0  0 1 0 0  0 0 1 0\n",
    "hot.cube": "LUT_1D_SIZE 2\n" + rows(HOT),
}


class PackTest(WithFolder):
    def pack(self, source, layout, *extra):
        samples, byte_order, order = layout.split()
        result = run("--json", "lut", "pack", self.path(source), "--samples", samples, "--byte-order", byte_order, "--order",
                     order + "-fastest", "-o", self.path("table"), *extra)
        self.assertEqual(result.returncode, DONE, result.stderr)
        return self.read("table"), json.loads(result.stdout), result.stderr

    def refused(self, code, source, *extra, samples="float32"):
        result = self.expect(code, "lut", "pack", source, "--samples", samples, "--byte-order", "little", "--order",
                             "red-fastest", "-o", "none", *extra)
        self.assertFalse(any(name.startswith("none") for name in os.listdir(self.folder)), "something was written")
        return result.stderr

    def test_tables_and_reports(self):
        exact = {"resampled": False, "maximumError": 0.0}
        looks = {"type": "3dlut", "size": 5, "shaper": False, "resampled": False}
        for source, layout, extra, triples, wanted in [
                ("look.cube", "float32 little red", ["--exact"], entries(5), {**looks, **exact}),
                ("look.spi3d", "float32 big blue", ["--exact"], BLUE_5, {**looks, **exact}),
                ("look.clf", "uint16 big red", ["--exact"], entries(5), looks),
                ("neutral.clf", "uint12in16 little blue", ["--exact"], BLUE_5, looks),
                ("c.cube", "float32 big red", ["--exact"], CURVE,
                 {**exact, "type": "1dlut", "size": 5, "minimum": [0.0, 0.1, 0.0], "maximum": [1.0, 0.987654, 1.0]}),
                ("c.spi1d", "uint12in16 big blue", ["--exact"], CURVE, {"type": "1dlut", "size": 5}),
                ("c.clf", "uint10in16 little red", ["--exact"], CURVE, {"type": "1dlut", "size": 5}),
                ("look.3dl", "uint12in16 little blue", [], WHOLE_NUMBERS, {"size": 4, "shaper": False}),
                ("wide.cube", "uint10in16 little red", [], entries(3, in_domain),
                 {"domainMinimum": [-1.0, 0.0, 0.0], "domainMaximum": [1.0, 2.0, 4.0], "resampled": True, "shaper": False}),
                ("wide.cube", "uint16 big blue", [], entries(3, in_domain, "blue"), {"order": "blue-fastest"}),
                ("shaped.cube", "float32 little red", [], entries(2, same),
                 {"shaper": True, "resampled": True, "maximumError": 0.25}),
                ("shaped.cube", "float32 little red", ["--size", 3], None, {"maximumError": 0.0}),
                ("shaped.cube", "float32 little red", ["--size", 4], None, {"maximumError": 1 / 12}),
                ("small.cube", "float32 little red", ["--size", 3], entries(3, bilinear),
                 {"fileSize": 2, "size": 3, "resampled": True}),
                ("matrix.spimtx", "float32 little red", ["--size", 2], entries(2, saturating), {"fileSize": 0}),
                ("hot.cube", "float32 little red", ["--exact"], HOT, {"outOfRange": 2, "clipped": False}),
                ("hot.cube", "uint16 little red", [], HOT, {"minimum": [-0.5, 0.0, 0.25], "maximum": [0.5, 2.0, 1.0],
                                                            "outOfRange": 2, "clipped": True})]:
            with self.subTest(source=source, layout=layout, extra=extra):
                self.write(source, FILES[source])
                table, report, notes = self.pack(source, layout, *extra)
                if triples:
                    self.assertEqual(table, packed(triples, *layout.split()[:2]))
                self.assertEqual(report["bytes"], len(table))
                if "maximumError" in wanted:
                    self.assertAlmostEqual(report["maximumError"], wanted.pop("maximumError"), places=4)
                self.assertEqual({key: report.get(key) for key in wanted}, wanted)
                self.assertEqual(notes != "", "2 of 6 values are outside 0..1" in notes)
                self.assertEqual(notes != "", report["clipped"])

    def test_maximum_error_counts_the_rounding(self):
        self.write("look.cube", FILES["look.cube"])
        for samples, largest in (("uint16", 65535), ("uint12in16", 4095), ("uint10in16", 1023)):
            error = self.pack("look.cube", samples + " little red")[1]["maximumError"]
            self.assertTrue(0.4 / largest < error <= 0.5001 / largest, (samples, error))

    def test_what_can_not_be_kept_is_refused(self):
        for name in ("wide.cube", "shaped.cube", "small.cube", "matrix.spimtx", "hot.cube"):
            self.write(name, FILES[name])
        for source, extra, samples, complaint in [
                ("wide.cube", ["--exact"], "float32", "matrix"),
                ("shaped.cube", ["--exact"], "float32", "1D LUT of 3 entries, then 3D LUT of 2"),
                ("small.cube", ["--size", 3, "--exact"], "float32", "3 points an axis"),
                ("small.cube", ["--size", 1], "float32", "'1' is less than 2"),
                ("small.cube", ["--size", 130], "float32", "2 to 129"),
                ("matrix.spimtx", [], "float32", "give --size"),
                ("hot.cube", ["--exact"], "uint16", "2 of 6 values")]:
            with self.subTest(source=source, extra=extra):
                self.assertIn(complaint, self.refused(USAGE, source, *extra, samples=samples))

    def test_bad_files_are_refused_with_the_line(self):
        good = rows(entries(2)).splitlines(keepends=True)
        at_5 = lambda row: cube([], 2) + "".join(good[:2]) + row + "\n" + "".join(good[3:])
        clf_5 = lambda row: clf('<LUT3D inBitDepth="32f" outBitDepth="32f"><Array dim="2 2 2 3">\n' + "".join(good[:1]) + row
                                + "\n" + "".join(good[2:]) + "</Array></LUT3D>\n")
        spi1d = "Version 1\nFrom 0 1\nLength 3\nComponents 1\n{\n0\n%s1\n}\n"
        for name, content, complaint in [
                ("comma.cube", at_5("0,5 0,5 0,5"), "line 5: '0,5' has a comma"),
                ("nan.cube", at_5("0.5 nan 0.5"), "line 5: 'nan' is not finite"),
                ("inf.cube", at_5("-inf 0 0"), "line 5: '-inf' is not finite"),
                ("huge.cube", at_5("1e99 0 0"), "line 5: '1e99' is not finite"),
                ("hex.cube", at_5("0x1 0 0"), "line 5: '0x1' is not a decimal number"),
                ("word.cube", at_5("zero 0 0"), "line 5: 'zero' is not a number"),
                ("two.cube", at_5("0 0"), "(5): '0 0'"),
                ("domain.cube", "DOMAIN_MAX 1 1 1,5\n" + cube(entries(2), 2), "line 1: '1,5' has a comma"),
                ("short.cube", cube([], 2) + "".join(good[:7]), "line 9: the table ends after 7 of 8 rows"),
                ("long.cube", cube([], 2) + "".join(good + good[:1]), "line 11: a row more than the 8"),
                ("short.spi1d", spi1d % "", "line 8: Not enough entries"),
                ("comma.spi1d", spi1d % "0,5\n", "line 7: '0,5' has a comma"),
                ("nan.clf", clf_5("0 NaN 0"), "line 5: 'NaN' is not finite"),
                ("comma.clf", clf_5("0,1 0 0"), "line 5: '0,1' has a comma"),
                ("short.clf", clf_5(""), "line 3: Expected 2x2x2x3"),
                ("unknown.clf", clf("<Bend/>\n" + clf_cube(entries(2), 2)), "line 3: Unrecognized element 'Bend'"),
                ("cut.clf", clf("")[:60], "line 2"),
                ("short.3dl", "".join(["0 64 128 192\n"] + ["1 2 3\n"] * 26), "its last line is 27"),
                ("empty.cube", "", "the file is empty"),
                ("other.cube", "hello\n", "other.cube")]:
            with self.subTest(name):
                self.write(name, content)
                self.assertIn(complaint, self.refused(USAGE, name))
        os.environ["OCIO_LOGGING_LEVEL"] = "none"  # which would hide a warning
        self.addCleanup(os.environ.pop, "OCIO_LOGGING_LEVEL")
        self.assertIn("Bend", self.refused(USAGE, "unknown.clf"))

    def test_failures_around_the_table(self):
        self.write("look.cube", cube(entries(2), 2))
        self.write("bad.cube", "LUT_1D_SIZE 2\n0 0 0\n")
        command = "lut pack look.cube --samples uint16 --byte-order little "
        self.check((USAGE, command + "-o none", "a cube; give --order"),
                   (USAGE, command + "--order green-fastest -o none", "green-fastest"),
                   (REFUSED, command + "--order red-fastest -o absent/none", "can't be created"),
                   (REFUSED, command + "--order red-fastest -o .", "Is a directory"),
                   (REFUSED, "lut pack missing.cube --samples uint16 --byte-order little -o none", "can't be opened"),
                   (REFUSED, "lut plot . -o none", "can't be read: Is a directory"),
                   (USAGE, "lut plot bad.cube -o none", "1 of 2 rows"))
        self.assertEqual(sorted(os.listdir(self.folder)), ["bad.cube", "look.cube"])

    def test_standard_output_carries_the_table_alone(self):
        source = self.write("curve.cube", "LUT_1D_SIZE 2\n0 0 0\n0.25 0.25 0.25\n")
        result = run("lut", "pack", source, "--samples", "uint10in16", "--byte-order", "big", "-o", "-")
        self.assertEqual((result.returncode, result.stdout), (DONE, "\0" * 6 + "\1\0" * 3))
        self.assertIn('lutc: note: type: "1dlut"\n', result.stderr)


class PlotTest(WithFolder):
    LEFT, TOP, SIDE = 48, 48, 512  # of the diagram

    def plotted(self, name, content):
        self.expect(DONE, "lut", "plot", self.write(name, content), "-o", "out.png")
        return Png(self.read("out.png"))

    def test_curves_stand_where_their_values_are(self):
        picture = self.plotted("curve.cube", "LUT_1D_SIZE 3\n" + rows([(0.1, 0.9, 0.5), (0.7, 0.3, 0.5), (1, 0, 0.5)]))
        for channel, value in enumerate((0.7, 0.3, 0.5)):
            colour = picture.at(self.LEFT + self.SIDE // 2, round(self.TOP + self.SIDE * (1 - value)))
            self.assertGreater(colour[channel], 200)
        self.assertEqual(max(picture.at(self.LEFT + self.SIDE // 2 + 20, self.TOP + 20)), 24)  # nothing there

    def test_slices_show_red_to_the_right_green_up_and_blue_from_slice_to_slice(self):
        picture = self.plotted("look.cube", cube(entries(3), 3))
        for blue, (left, top) in {0.0: (608, 48), 0.5: (720, 48), 1.0: (608, 160)}.items():
            for red, green in itertools.product((0, 1), repeat=2):
                colour = picture.at(left + 95 * red, top + 95 * (1 - green))
                for got, wanted in zip(colour, asymmetric(red, green, blue)):
                    self.assertAlmostEqual(got / 255, wanted, delta=1 / 255)


if __name__ == "__main__":
    unittest.main()
