"""lutc grade preview: grades and pictures, against the formulas in reference.py. No service is needed."""
import itertools
import json
import os
import random
import sys
import unittest

import reference

sys.path.insert(0, os.path.join(os.environ["LUTC_SOURCE_DIR"], "tests", "cli"))
from tool import DONE, REFUSED, USAGE, WithFolder  # noqa: E402
import png  # noqa: E402

GENERATOR = random.Random(16)
LEVELS = (0, 1, 13107, 32768, 65534, 65535)
NOISE = [tuple(GENERATOR.randrange(65536) for _ in range(3)) for _ in range(24 * 20 - 6 ** 3)]
PIXELS = list(itertools.product(LEVELS, repeat=3)) + NOISE
ROWS = [PIXELS[i:i + 24] for i in range(0, len(PIXELS), 24)]

CDL = {"slope": [1.2, 0.9, 2.5], "offset": [-0.05, 0.1, -0.7], "power": [0.8, 1.7, 0.45], "saturation": 1.3}
CURVE = [(0.2 * x + 0.8 * x * x, 1.0 - x, 1.5 * x - 0.2) for x in (i / 16 for i in range(17))]
CUBE = [(0.05 + 0.83 * r * r + 0.1 * g, 0.91 - 0.61 * g + 0.3 * r * b, 1.2 * b * b - 0.1 * g)
        for b, g, r in itertools.product((0.0, 0.25, 0.5, 0.75, 1.0), repeat=3)]


class WithPreview(WithFolder):
    def preview(self, file, content, *arguments):
        """The depth and the rows of the graded picture."""
        self.write("in.png", content)
        self.expect(DONE, "grade", "preview", file, "--picture", "in.png", "-o", "out.png", *arguments)
        return png.read(self.read("out.png"))

    def refused(self, code, complaint, *arguments):
        result = self.expect(code, "grade", "preview", *arguments, "-o", "none.png")
        self.assertIn(complaint, result.stderr)
        self.assertFalse(os.path.exists(self.path("none.png")))


class Grades(WithPreview):
    def component(self, kind, layout=None, entries=None):
        """A component as a grade file has it, and as the reference has it."""
        if kind == "cdl":
            return {"type": kind, **CDL}, (reference.cdl, CDL)
        if kind == "saturation":
            return {"type": kind, "saturation": 0.4}, (reference.saturation, 0.4)
        is_cube = kind == "3dlut"
        layout = layout or ("float32-le-blue-fastest" if is_cube else "float32-be")
        plain = "uint16-le-red-fastest" if is_cube else "uint16-le"
        data, held = reference.table(entries or (CUBE if is_cube else CURVE), plain if layout == "uint16" else layout)
        self.write(kind + ".bin", data)
        return ({"type": kind, "dataFormat": layout, "file": kind + ".bin"},
                (reference.cube if is_cube else reference.curve, held))

    def check(self, components, depth=16):
        """The preview of the components is what the formulas say."""
        file = self.write("grade.json", json.dumps({"components": [written for written, _ in components]}))
        formulas = [formula for _, formula in components]
        largest = 2 ** depth - 1
        most = 0.51 if depth == 8 else 2 if any(function is reference.cube for function, _ in formulas) else 1
        rows = [[tuple(sample >> 16 - depth for sample in pixel) for pixel in row] for row in ROWS]
        got_depth, result = self.preview(file, png.written(rows, depth))
        self.assertEqual(got_depth, depth)
        for before, after in zip(itertools.chain(*rows), itertools.chain(*result)):
            wanted = reference.graded(formulas, [sample / largest for sample in before])
            for sample, value in zip(after, wanted):
                self.assertLessEqual(abs(sample - value * largest), most, (before, after))

    def test_components_in_every_order(self):
        kinds = ("cdl", "saturation", "1dlut", "3dlut")
        for order in itertools.chain.from_iterable(itertools.permutations(kinds, count) for count in range(5)):
            with self.subTest(order):
                self.check([self.component(kind) for kind in order])

    def test_tables_in_every_layout(self):
        curves = [("1dlut", layout) for layout in reference.CURVE_LAYOUTS + ["uint16"]]
        for kind, layout in curves + [("3dlut", layout) for layout in reference.CUBE_LAYOUTS + ["uint16"]]:
            with self.subTest(kind=kind, layout=layout):
                self.check([self.component(kind, layout)])
                self.check([self.component(kind, layout)], depth=8)

    def test_smallest_and_largest_tables(self):
        ends = [(0.1, 0.9, 0.0), (0.7, 0.2, 1.0)]
        long = [(x, 1.0 - x * x, x ** 3) for x in (i / 65535 for i in range(65536))]
        corners = [(0.9 * r + 0.1 * b, 1.0 - g, g * b) for b, g, r in itertools.product((0, 1), repeat=3)]
        for kind, entries in (("1dlut", ends), ("1dlut", long), ("3dlut", corners)):
            with self.subTest(kind=kind, entries=len(entries)):
                self.check([self.component(kind, None, entries)])
        black = {"type": "3dlut", "dataFormat": "uint16", "file": "black.bin"}
        self.write("black.bin", bytes(6 * 129 ** 3))
        _, rows = self.preview(self.write("grade.json", json.dumps({"components": [black]})), png.written(ROWS, 16))
        self.assertEqual(set(itertools.chain(*rows)), {(0, 0, 0)})

    def test_what_can_not_run_is_an_error(self):
        table = {"type": "1dlut", "dataFormat": "uint16-le", "file": "table.bin"}
        cases = [({**table, "dataFormat": "uint16-le-red-fastest"}, 12, "format"),
                 ({**table, "dataFormat": "text"}, 12, "format"),
                 (table, 13, "13 bytes"), (table, 6, "6 bytes"), (table, 6 * 65537, "bytes"),
                 ({**table, "type": "3dlut", "dataFormat": "uint16"}, 6 * 9, "54 bytes"),
                 ({**table, "type": "3dlut", "dataFormat": "uint16"}, 6 * 130 ** 3, "13182000 bytes"),
                 ({**table, "dataFormat": "uint10in16-le"}, b"\0\4" * 6, "above 1023"),
                 ({**table, "dataFormat": "float32-le"}, b"\0\0\x80\x7f" * 6, "not finite"),
                 ({"type": "cdl", "file": "table.bin"}, 80, "bytes"),
                 ({"type": "cdl", "slope": [1, -0.1, 1]}, 0, "slope"),
                 ({"type": "cdl", "power": [1, 1, 0]}, 0, "power"),
                 ({"type": "saturation", "saturation": -0.1}, 0, "saturation"),
                 ({"type": "tpg", "patternType": "snow", "videoFormat": 1}, 0, "snow")]
        for component, content, complaint in cases:
            with self.subTest(component=component, content=content):
                self.write("table.bin", bytes(content) if isinstance(content, int) else content)
                file = self.write("grade.json", json.dumps({"components": [{"type": "cdl"}, component]}))
                self.refused(USAGE, complaint, file)

    def test_colour_files_split_and_pattern(self):
        look = self.write("look.cube", "LUT_3D_SIZE 2\n" + "".join(
            "%d %d %d\n" % (1 - r, g, b) for b, g, r in itertools.product((0, 1), repeat=3)))
        shaped = self.write("wide.cube", "LUT_1D_SIZE 2\nDOMAIN_MAX 2 2 2\n0 0 0\n1 1 1\n")
        shot = self.write("shot.cc", '<ColorCorrection id="a"><SOPNode><Slope>0 1 1</Slope><Offset>1 0 0</Offset>'
                          "<Power>1 1 1</Power></SOPNode></ColorCorrection>")
        square = self.write("square.json", json.dumps({"components": [{
            "type": "tpg", "patternType": "square", "videoFormat": 1, "squareSize": 0.5, "fgColor": [65535, 0, 1],
            "bgColor": [0, 2, 3]}]}))
        rows = [[(1000 * x, 2000 * y, 40000) for x in range(16)] for y in range(12)]
        inverted = [[(65535 - r, g, b) for r, g, b in row] for row in rows]
        for file, arguments, wanted in (
                (look, (), inverted), (look, ("--split",), [a[:8] + b[8:] for a, b in zip(rows, inverted)]),
                (shot, (), [[(65535, g, b) for _, g, b in row] for row in rows]),
                (shaped, (), [[tuple((sample + 1) // 2 for sample in pixel) for pixel in row] for row in rows]),
                (square, (), [[(65535, 0, 1) if 5 <= x < 11 and 3 <= y < 9 else (0, 2, 3) for x in range(16)]
                              for y in range(12)])):
            with self.subTest(file=file, arguments=arguments):
                self.assertEqual(self.preview(file, png.written(rows, 16), *arguments), (16, wanted))


class Pictures(WithPreview):
    def test_the_chart_is_what_it_was(self):
        self.expect(DONE, "grade", "preview", self.write("nothing.json", '{"components": []}'), "-o", "chart.png")
        depth, rows = png.read(self.read("chart.png"))
        self.assertEqual((depth, len(rows[0]), len(rows), png.checksum(rows)), (8, 960, 540, 0xA836F0EB))

    def test_every_kind_of_png(self):
        file = self.write("nothing.json", '{"components": []}')
        colours = bytes(GENERATOR.randrange(256) for _ in range(768))
        for kind, (_, samples, depths) in png.KINDS.items():
            for depth, interlaced in itertools.product(depths, (False, True)):
                rows = [[tuple(GENERATOR.randrange(2 ** depth) for _ in range(samples)) for _ in range(13)]
                        for _ in range(11)]
                seen = {"palette": lambda pixel: tuple(colours[3 * pixel[0]:3 * pixel[0] + 3]),
                        "rgb": tuple, "rgba": lambda pixel: pixel[:3]}.get(kind, lambda pixel: tuple(
                            pixel[:1] if depth >= 8 else [pixel[0] * 255 // (2 ** depth - 1)]) * 3)
                chunks = (png.chunk(b"PLTE", colours[:3 * 2 ** depth]) + png.chunk(b"tRNS", b"\0\x80")
                          if kind == "palette" else b"")
                with self.subTest(kind=kind, depth=depth, interlaced=interlaced):
                    self.assertEqual(self.preview(file, png.written(rows, depth, kind, interlaced, chunks)),
                                     (max(depth, 8), [list(map(seen, row)) for row in rows]))

    def test_bad_pictures(self):
        file = self.write("nothing.json", '{"components": []}')
        good = png.written(ROWS, 16)
        large = png.header(8193, 1, 8, "rgb", False) + png.chunk(b"IDAT", b"") + png.chunk(b"IEND", b"")
        claims = png.header(8192, 8192, 16, "rgb", False) + png.chunk(b"IDAT", b"\x78\x9c") + png.chunk(b"IEND", b"")
        for content, complaint in ((b"", "early"), (b"GIF89a..", "PNG"), (good[:-20], "PNG"), (good[:100], "early"),
                                   (good[:60] + b"?" + good[61:], "IDAT"), (large, "8193x1"), (claims, "early")):
            with self.subTest(complaint=complaint, content=content[:80]):
                self.write("bad.png", content)
                self.refused(USAGE, complaint, file, "--picture", "bad.png")
        for path in ("missing.png", "."):
            self.refused(REFUSED, "can't be read", file, "--picture", path)


if __name__ == "__main__":
    unittest.main()
