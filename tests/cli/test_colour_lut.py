"""lutc lut pack and lutc lut plot, against tables computed here. No service is needed."""
import itertools
import json
import os
import struct
import unittest

from colour_data import Png, asymmetric, clf, clf_cube, cube, entries, packed, rows
from tool import DONE, REFUSED, USAGE, WithFolder, run

SAMPLES = ("float32", "uint16", "uint12in16", "uint10in16")
CURVE = [(0.0, 0.1, 1.0), (0.25, 0.3, 0.6), (0.5, 0.45, 0.35), (0.9, 0.8, 0.125), (1.0, 0.987654, 0.0)]


class PackTest(WithFolder):
    def pack(self, source, *extra, samples="float32", byte_order="little", order="red-fastest"):
        """The bytes and the report. A note may stand on standard error."""
        result = run("--json", "lut", "pack", source, "--samples", samples, "--byte-order", byte_order, "--order", order,
                     "-o", self.path("table"), *extra)
        self.assertEqual(result.returncode, DONE, result.stderr)
        self.notes = result.stderr
        with open(self.path("table"), "rb") as file:
            return file.read(), json.loads(result.stdout)

    def refused(self, code, source, *extra, samples="float32"):
        result = self.expect(code, "lut", "pack", source, "--samples", samples, "--byte-order", "little", "--order",
                             "red-fastest", "-o", self.path("none"), *extra)
        self.assertFalse(any(name.startswith("none") for name in os.listdir(self.folder)), "something was written")
        return result.stderr

    def test_every_layout_of_an_asymmetric_cube(self):
        source = self.write("look.cube", cube(entries(4), 4))
        for samples, byte_order, fastest in itertools.product(SAMPLES, ("little", "big"), ("red", "blue")):
            with self.subTest(samples=samples, byte_order=byte_order, fastest=fastest):
                table, report = self.pack(source, samples=samples, byte_order=byte_order, order=fastest + "-fastest")
                self.assertEqual(table, packed(entries(4, fastest=fastest), samples, byte_order))
                self.assertEqual((report["type"], report["size"], report["bytes"]), ("3dlut", 4, len(table)))
                self.assertFalse(report["resampled"])
                self.assertLessEqual(report["maximumError"], {"float32": 0.0, "uint16": 1.0 / 131069.0,
                                                              "uint12in16": 1.0 / 8189.0}.get(samples, 1.0 / 2045.0))

    def test_formats_of_the_same_cube_give_identical_bytes(self):
        indices = itertools.product(range(5), repeat=3)
        spi3d = "SPILUT 1.0\n3 3\n5 5 5\n" + "".join(
            "%d %d %d %s" % (*index, rows([triple])) for index, triple in zip(indices, entries(5, fastest="blue")))
        sources = {"look.cube": cube(entries(5), 5, "DOMAIN_MIN 0 0 0\nDOMAIN_MAX 1.0 1 1\n"), "look.spi3d": spi3d,
                   "look.clf": clf(clf_cube(entries(5, fastest="blue"), 5)),
                   "neutral.clf": clf('<Matrix inBitDepth="32f" outBitDepth="32f"><Array dim="3 3">1 0 0 0 1 0 0 0 1'
                                      "</Array></Matrix>\n" + clf_cube(entries(5, fastest="blue"), 5))}
        for name, content in sources.items():
            with self.subTest(name):
                table, report = self.pack(self.write(name, content), "--exact")
                self.assertEqual(table, packed(entries(5), "float32", "little"))
                self.assertEqual(report["maximumError"], 0.0)

    def test_curves(self):
        spi1d = "Version 1\nFrom 0.0 1.0\nLength 5\nComponents 3\n{\n%s}\n" % rows(CURVE)
        lut1d = ('<LUT1D inBitDepth="32f" outBitDepth="32f">\n<Array dim="5 3">\n%s</Array>\n</LUT1D>\n' % rows(CURVE))
        for name, content in {"c.cube": "LUT_1D_SIZE 5\n" + rows(CURVE), "c.spi1d": spi1d, "c.clf": clf(lut1d)}.items():
            with self.subTest(name):
                table, report = self.pack(self.write(name, content), "--exact", samples="uint12in16", byte_order="big",
                                          order="blue-fastest")
                self.assertEqual(table, packed(CURVE, "uint12in16", "big"))
                self.assertEqual((report["type"], report["size"]), ("1dlut", 5))
                self.assertEqual((report["minimum"], report["maximum"]), ([0.0, 0.1, 0.0], [1.0, 0.987654, 1.0]))

    def test_whole_numbers_of_a_3dl(self):
        grid = itertools.product(range(0, 4096, 1365), repeat=3)
        values = [(r * 3 // 4, 4095 - g, b // 2) for r, g, b in grid]  # red the slowest
        ramp = " ".join(str(i * 1023 // 15) for i in range(16))
        source = self.write("look.3dl", ramp + "\n" + "".join("%d %d %d\n" % value for value in values))
        table, report = self.pack(source, samples="uint12in16", order="blue-fastest")
        self.assertEqual(table, struct.pack("<192H", *itertools.chain.from_iterable(values)))
        self.assertEqual((report["size"], report["shaper"]), (4, False))

    def test_domain_is_resampled(self):
        linear = lambda red, green, blue: (0.1 + 0.4 * red, 0.2 + 0.3 * green, 0.9 - 0.5 * blue)
        domain = "DOMAIN_MIN -1 0 0\nDOMAIN_MAX 1 2 4\n"
        source = self.write("wide.cube", cube(entries(3, linear), 3, domain))
        wanted = list(entries(3, lambda r, g, b: linear((r + 1) / 2, g / 2, b / 4)))
        table, report = self.pack(source, samples="uint10in16")
        self.assertEqual(table, packed(wanted, "uint10in16", "little"))
        self.assertEqual((report["domainMinimum"], report["domainMaximum"]), ([-1.0, 0.0, 0.0], [1.0, 2.0, 4.0]))
        self.assertTrue(report["resampled"])
        self.assertIn("matrix", self.refused(USAGE, source, "--exact"))

    def test_shaper_is_resampled_with_its_error(self):
        # Ahead of a cube that changes nothing: a curve through 0, 1/4 and 1. Two points make a straight line of it.
        same = lambda *inputs: inputs
        source = self.write("shaped.cube", "LUT_1D_SIZE 3\nLUT_3D_SIZE 2\n0 0 0\n.25 .25 .25\n1 1 1\n"
                            + rows(entries(2, same)))
        table, report = self.pack(source)
        self.assertEqual(table, packed(entries(2, same), "float32", "little"))
        self.assertTrue(report["shaper"] and report["resampled"])
        self.assertAlmostEqual(report["maximumError"], 0.25, places=4)
        self.assertLess(self.pack(source, "--size", 3)[1]["maximumError"], 1e-6)
        self.assertAlmostEqual(self.pack(source, "--size", 4)[1]["maximumError"], 1 / 12, places=4)
        self.assertIn("1D LUT of 3 entries, then 3D LUT of 2", self.refused(USAGE, source, "--exact"))

    def test_other_size(self):
        bilinear = lambda red, green, blue: (red * green, 1 - blue, 0.5 * green)
        source = self.write("small.cube", cube(entries(2, bilinear), 2))
        table, report = self.pack(source, "--size", 3)
        self.assertEqual(table, packed(entries(3, bilinear), "float32", "little"))
        self.assertEqual((report["fileSize"], report["size"], report["resampled"]), (2, 3, True))
        self.refused(USAGE, source, "--size", 3, "--exact")
        for size in (1, 130):
            self.refused(USAGE, source, "--size", size)
        matrix = self.write("matrix.spimtx", "1 0.5 0 0  0 1 0 0  0 0 1 0\n")
        self.assertIn("--size", self.refused(USAGE, matrix))
        self.assertEqual(self.pack(matrix, "--size", 2)[0],
                         packed(entries(2, lambda r, g, b: (r + g / 2, g, b)), "float32", "little"))

    def test_values_outside_0_1(self):
        curve = [(-0.5, 0.0, 0.25), (0.5, 2.0, 1.0)]
        source = self.write("hot.cube", "LUT_1D_SIZE 2\n" + rows(curve))
        self.assertEqual(self.pack(source, "--exact")[0], packed(curve, "float32", "little"))
        self.assertEqual(self.notes, "")
        table, report = self.pack(source, samples="uint16")
        self.assertEqual(table, struct.pack("<6H", 0, 0, 16384, 32768, 65535, 65535))
        self.assertIn("2 of 6 values are outside 0..1", self.notes)
        self.assertEqual((report["minimum"], report["maximum"], report["outOfRange"], report["clipped"]),
                         ([-0.5, 0.0, 0.25], [0.5, 2.0, 1.0], 2, True))
        self.assertIn("2 of 6", self.refused(USAGE, source, "--exact", samples="uint16"))

    def test_bad_files_are_refused_with_the_line(self):
        good = rows(entries(2)).splitlines(keepends=True)
        at_5 = lambda row: cube([], 2) + "".join(good[:2]) + row + "\n" + "".join(good[3:])
        clf_5 = lambda row: clf('<LUT3D inBitDepth="32f" outBitDepth="32f"><Array dim="2 2 2 3">\n' + "".join(good[:1]) + row
                                + "\n" + "".join(good[2:]) + "</Array></LUT3D>\n")
        spi1d = "Version 1\nFrom 0 1\nLength 3\nComponents 1\n{\n0\n%s1\n}\n"
        cases = {
            "comma.cube": (at_5("0,5 0,5 0,5"), "line 5: '0,5' has a comma"),
            "nan.cube": (at_5("0.5 nan 0.5"), "line 5: 'nan' is not finite"),
            "inf.cube": (at_5("-inf 0 0"), "line 5: '-inf' is not finite"),
            "huge.cube": (at_5("1e99 0 0"), "line 5: '1e99' is not finite"),
            "hex.cube": (at_5("0x1 0 0"), "line 5: '0x1' is not a decimal number"),
            "word.cube": (at_5("zero 0 0"), "line 5: 'zero' is not a number"),
            "two.cube": (at_5("0 0"), "(5): '0 0'"),
            "domain.cube": ("DOMAIN_MAX 1 1 1,5\n" + cube(entries(2), 2), "line 1: '1,5' has a comma"),
            "short.cube": (cube([], 2) + "".join(good[:7]), "line 9: the table ends after 7 of 8 rows"),
            "long.cube": (cube([], 2) + "".join(good + good[:1]), "line 11: a row more than the 8"),
            "short.spi1d": (spi1d % "", "line 8: Not enough entries"),
            "comma.spi1d": (spi1d % "0,5\n", "line 7: '0,5' has a comma"),
            "nan.clf": (clf_5("0 NaN 0"), "line 5: 'NaN' is not finite"),
            "comma.clf": (clf_5("0,1 0 0"), "line 5: '0,1' has a comma"),
            "short.clf": (clf_5(""), "line 3: Expected 2x2x2x3"),
            "unknown.clf": (clf("<Bend/>\n" + clf_cube(entries(2), 2)), "line 3: Unrecognized element 'Bend'"),
            "cut.clf": (clf("")[:60], "line 2"),
            "short.3dl": ("".join(["0 64 128 192\n"] + ["1 2 3\n"] * 26), "its last line is 27"),
            "empty.cube": ("", "the file is empty"),
            "other.cube": ("hello\n", "other.cube"),
        }
        for name, (content, complaint) in cases.items():
            with self.subTest(name):
                self.assertIn(complaint, self.refused(USAGE, self.write(name, content)))

    def test_warnings_can_not_be_hidden(self):
        source = self.write("unknown.clf", clf("<Bend/>\n" + clf_cube(entries(2), 2)))
        os.environ["OCIO_LOGGING_LEVEL"] = "none"
        self.addCleanup(os.environ.pop, "OCIO_LOGGING_LEVEL")
        self.assertIn("Bend", self.refused(USAGE, source))

    def test_failures_around_the_table(self):
        source = self.write("look.cube", cube(entries(2), 2))
        arguments = ("lut", "pack", source, "--samples", "uint16", "--byte-order", "little")
        self.expect(USAGE, *arguments, "-o", self.path("none"))  # a cube without --order
        self.expect(USAGE, *arguments, "--order", "green-fastest", "-o", self.path("none"))
        self.expect(REFUSED, *arguments, "--order", "red-fastest", "-o", self.path("no folder", "none"))
        self.refused(REFUSED, self.path("missing.cube"))
        self.assertEqual(os.listdir(self.folder), ["look.cube"])

    def test_standard_output_carries_the_table_alone(self):
        source = self.write("curve.cube", "LUT_1D_SIZE 2\n0 0 0\n0.25 0.25 0.25\n")
        result = run("lut", "pack", source, "--samples", "uint10in16", "--byte-order", "big", "-o", "-")
        self.assertEqual((result.returncode, result.stdout), (DONE, "\0" * 6 + "\1\0" * 3))
        self.assertIn("1dlut", result.stderr)


class PlotTest(WithFolder):
    LEFT, TOP, SIDE = 48, 48, 512  # of the diagram

    def plotted(self, name, content):
        self.expect(DONE, "lut", "plot", self.write(name, content), "-o", self.path("out.png"))
        with open(self.path("out.png"), "rb") as file:
            return Png(file.read())

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

    def test_a_bad_file_makes_no_picture(self):
        self.expect(USAGE, "lut", "plot", self.write("bad.cube", "LUT_1D_SIZE 2\n0 0 0\n"), "-o", self.path("out.png"))
        self.assertEqual(os.listdir(self.folder), ["bad.cube"])


if __name__ == "__main__":
    unittest.main()
