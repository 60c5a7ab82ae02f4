"""lutc lut pack and lutc lut plot, against tables computed here. No service is needed."""
import itertools
import json
import os
import signal
import subprocess
import unittest
from xml.etree import ElementTree

from colour_data import asymmetric, clf, clf_cube, cube, entries, packed, rows
from tool import DONE, LUTC, REFUSED, USAGE, WithFolder, on_another_host, run
import png  # of tests/support, which tool knows

CURVE = [(0.0, 0.1, 1.0), (0.25, 0.3, 0.6), (0.5, 0.45, 0.35), (0.9, 0.8, 0.125), (1.0, 0.987654, 0.0)]
HOT = [(-0.5, 0.0, 0.25), (0.5, 2.0, 1.0)]
THREE_DL = [(r * 3 // 4, 4095 - g, b // 2) for r, g, b in itertools.product(range(0, 4096, 1365), repeat=3)]  # red the slowest
BLUE_5 = list(entries(5, fastest="blue"))
UNITY = '<Matrix inBitDepth="32f" outBitDepth="32f"><Array dim="3 3">1 0 0 0 1 0 0 0 1</Array></Matrix>\n'
GOOD = rows(entries(2)).splitlines(keepends=True)
CSP = "CSPLUTV100\n%s\n\n%s\n%s"
SPI1D = "Version 1\nFrom 0.0 1.0\nLength %d\nComponents %d\n{\n%s}\n"
NAME_WITH_SIGNS = "a$LUTC_BIN%LUTC_BIN%#1.spi1d"  # which is a variable of the environment, and counts for nothing


def same(*inputs):
    return inputs


def linear(red, green, blue):
    return 0.1 + 0.4 * red, 0.2 + 0.3 * green, 0.9 - 0.5 * blue


def in_domain(red, green, blue):
    return linear((red + 1) / 2, green / 2, blue / 4)


def in_range(red, green, blue):
    return linear(red / 2, green / 2, blue / 2)


def in_video_range(*inputs):
    black, white = 64 / 1023, 940 / 1023
    levels = linear(*(min(max((value - black) / (white - black), 0), 1) for value in inputs))
    return [black + value * (white - black) for value in levels]


def bilinear(red, green, blue):
    return red * green, 1 - blue, 0.5 * green


def half_mixed(red, green, blue):
    return red + green / 2, green, blue


FILES = {
    "look.cube": cube(entries(5), 5, "DOMAIN_MIN 0 0 0\nDOMAIN_MAX 1.0 1 1\n"),
    "look.spi3d": "SPILUT 1.0\n3 3\n5 5 5\n" + "".join("%d %d %d %s" % (*index, rows([triple])) for index, triple in
                                                       zip(itertools.product(range(5), repeat=3), BLUE_5)),
    "look.clf": clf(UNITY + clf_cube(BLUE_5, 5)),
    "curve.cube": "LUT_1D_SIZE 5\n" + rows(CURVE),
    NAME_WITH_SIGNS: SPI1D % (5, 3, rows(CURVE)),
    "curve.spi1d": SPI1D % (5, 3, rows(CURVE)),
    "curve.clf": clf('<LUT1D inBitDepth="32f" outBitDepth="32f">\n<Array dim="5 3">\n%s</Array>\n</LUT1D>\n' % rows(CURVE)),
    "look.3dl": " ".join(str(i * 1023 // 15) for i in range(16)) + "\n" + "".join("%d %d %d\n" % v for v in THREE_DL),
    "wide.cube": cube(entries(3, linear), 3, "DOMAIN_MIN -1 0 0\nDOMAIN_MAX 1 2 4\n"),
    # Keywords count wherever they stand.
    "ranged.cube": 'TITLE "a #1"\nLUT_3D_INPUT_RANGE 0 2\n' + cube(entries(3, linear), 3),
    "video.cube": "LUT_IN_VIDEO_RANGE\n" + cube(entries(3, linear), 3) + "lut_out_video_range\n",
    "mark.cube": "\ufeffTITLE a\nLUT_1D_SIZE 5\n" + rows(CURVE),
    "mark.spi1d": "\ufeff" + SPI1D % (5, 3, rows(CURVE)),
    "new.clf": "\ufeff" + clf("<Id>urn:uuid:0</Id>" + clf_cube(BLUE_5, 5)).replace('id="t" compCLFversion="3"', 'xmlns="x"'),
    # Ahead of a cube that changes nothing: a curve through 0, 1/4 and 1. Two points make a straight line of it.
    "shaped.cube": "LUT_1D_SIZE 3\nLUT_3D_SIZE 2\n0 0 0\n.25 .25 .25\n1 1 1\n" + rows(entries(2, same)),
    "small.cube": cube(entries(2, bilinear), 2),
    "matrix.ctf": clf(UNITY.replace("1 0 0 0", "1 0.5 0 0", 1).replace("3 3", "3 3 3")),
    # Two points of a shaper make a straight line.
    "look.csp": CSP % ("3D\nBEGIN METADATA\nLength 99999999\nnan 1,5\nEND METADATA", "2\n0 1\n0 1\n0\n2\n0 1\n0 1\n", "5 5 5\n" + rows(entries(5))),
    "curve.csp": CSP % ("1D", "2\n0 1\n0 1\n" * 3, "5\n" + rows(CURVE)),
    "mesh.3dl": "3DMESH\nMesh 2 12\n0 255 511 767 1023\n%s\nLUT8\ngamma 1.0\n" % "".join(
        "%d %d %d\n" % (r, g, b) for r, g, b in itertools.product((0, 1024, 2047, 3071, 4095), repeat=3)),
    "hot.cube": "LUT_1D_SIZE 2\n" + rows(HOT),
}


def with_row(row):
    """A cube whose fifth line is the row."""
    return cube([], 2) + "".join(GOOD[:2]) + row + "\n" + "".join(GOOD[3:])


def clf_with_row(row):
    array = "".join(GOOD[:1]) + row + "\n" + "".join(GOOD[2:])
    return clf('<LUT3D inBitDepth="32f" outBitDepth="32f"><Array dim="2 2 2 3">\n%s</Array></LUT3D>\n' % array)


ICC = b"\0" * 36 + b"acsp" + b"\0" * 88 + b"\x20" * 1000

BAD_FILES = [
    ("comma.cube", with_row("0,5 0,5 0,5"), "line 5: '0,5' has a comma"),
    ("nan.cube", with_row("0.5 nan 0.5"), "line 5: 'nan' is not finite"),
    ("inf.cube", with_row("-inf 0 0"), "line 5: '-inf' is not finite"),
    ("huge.cube", with_row("1e99 0 0"), "line 5: '1e99' is not finite"),
    ("hex.cube", with_row("0x1 0 0"), "line 5: '0x1' is not a decimal number"),
    ("word.cube", with_row("zero 0 0"), "line 5: unknown keyword 'zero'"),
    ("two.cube", with_row("0 0"), "line 5: a row has three numbers, this one 2"),
    *((name + ".cube", cube(entries(2), 2) + line, "line 11: " + complaint) for name, line, complaint in (
        ("maxx", "DOMAIN_MAXX 1 1 1", "unknown keyword 'DOMAIN_MAXX'"),
        ("black", "DOMAIN_MAX 1 0 1", "the minimum of the inputs must be below"),
        ("inverted", "LUT_3D_INPUT_RANGE 1 0", "the minimum of the inputs must be below"),
        ("twice", "LUT_3D_SIZE 2", "a second LUT_3D_SIZE"), ("lost", "LUT_1D_INPUT_RANGE 0 2", "an input range of a table that isn't there"),
        ("line", "LUT_IN_VIDEO_RANGE 0 1", "LUT_IN_VIDEO_RANGE stands alone"))),
    # Too large: said at the line of the size, before there is a row.
    ("large.cube", "LUT_3D_SIZE 130\n", "line 1: a size of '130'; possible are 2 to 129"),
    ("long1.cube", "LUT_1D_SIZE 65537\n", "line 1: a size of '65537'"),
    ("long1.spi1d", SPI1D % (65537, 1, ""), "line 3: a size of 65537; at most 65536 entries"),
    ("large.spi3d", "SPILUT 1.0\n3 3\n130 130 130\n", "line 3: a size of 130; at most 129 points"),
    ("large.csp", "CSPLUTV100\n3D\n\n" + "2\n0 1\n0 1\n" * 3 + "\n9 9 130\n", "line 14: a size of 130"),
    # Formats that are not read, by name and by content: one of another format costs nothing.
    ("large.vf", "#Inventor V2.1 ascii\ngrid_size 130 2 2\n", "they end in .cube, .3dl, .csp, .clf,"),
    ("profile.icc", ICC, "not the name of a colour file"), ("icc.cube", ICC, "its content is no .cube"), ("icc.3dl", ICC, "is no .3dl"),
    ("text.3dl", "#" * 36 + "acsp\n1 1 1\n", "is no .3dl"), ("truelight.3dl", "# Truelight Cube v2.0\n# width 999 999 999\n", "is no .3dl"),
    ("look.spi1d", FILES["look.csp"], "is no .spi1d"), ("cube.clf", FILES["look.cube"], "is no .clf"), ("clf.cube", clf(""), "is no .cube"),
    ("cc.clf", "<ColorCorrection/>", "line 1: the root is ColorCorrection, not ProcessList"), ("look.clf.cc", clf(""), "not ColorCorrection"),
    ("words.3dl", "LUT_3D_SIZE 999\n", "line 1: unknown keyword 'LUT_3D_SIZE'"), ("mesh8.3dl", "Mesh 8 12\n", "line 1: a size of 8; at most 7"),
    ("plus.spi1d", (SPI1D % (2, 1, "")).replace("Length 2", "Length +999999999"), "line 3: '+999999999' is no size"),
    ("glued.spi1d", (SPI1D % (2, 1, "")).replace("Length 2", "Length999999999"), "line 3: unknown keyword"),
    ("long.spi1d", SPI1D % (2, 1, "0\n1\n1\n"), "line 8: more rows than its size"),
    ("long.clf", clf('<LUT1D><Array dim="2 1">\n0 1 1</Array></LUT1D>'), "line 4: more numbers than its size"),
    ("matrix.clf", clf(UNITY.replace("3 3", "65536 65536")), "line 3: a size of 65536; at most 4"),
    ("deep.clf", "<ProcessList>" + "<a>" * 100, "nested too deep"), ("steps.clf", clf("<Id/>" * 101), "too many steps"),
    ("attributes.clf", "<ProcessList %s>" % " ".join("a%d=''" % i for i in range(101)), "too many attributes"),
    ("entities.clf", "<!DOCTYPE a>" + clf(""), "a document type"), ("line.3dl", "1 " * (1 << 20), "line 1: is longer than"),
    ("large.clf", clf('<LUT3D inBitDepth="32f" outBitDepth="32f"><Array dim="130 130 130 3"></Array></LUT3D>'), "line 3: a size of 130"),
    ("range.spi1d", SPI1D.replace("0.0 1.0", "1 1") % (2, 1, "0\n1\n"), "line 2: the minimum of the inputs"),
    ("both.cube", "LUT_3D_INPUT_RANGE 0 1\nDOMAIN_MAX 1 1 1\n" + cube(entries(2), 2), "a domain and an input range"),
    ("domain.cube", "DOMAIN_MAX 1 1 1,5\n" + cube(entries(2), 2), "line 1: '1,5' has a comma"),
    ("short.cube", cube([], 2) + "".join(GOOD[:7]), "line 9: the table ends after 7 of 8 rows"),
    ("long.cube", cube([], 2) + "".join(GOOD + GOOD[:1]), "line 11: a row more than the 8"),
    ("short.spi1d", SPI1D % (3, 1, "0\n1\n"), "line 8: the table ends after 2 of 3 rows"),
    ("comma.spi1d", SPI1D % (3, 1, "0\n0,5\n1\n"), "line 7: '0,5' has a comma"),
    ("nan.clf", clf_with_row("0 NaN 0"), "line 5: 'NaN' is not finite"),
    ("short.clf", clf_with_row("0 1"), "line 12: the Array lacks 1 of its numbers"),
    ("unknown.clf", clf("<Bend/>\n" + clf_cube(entries(2), 2)), "line 3: Unrecognized element 'Bend'"),
    ("cut.clf", clf("")[:60], "line 2"),
    ("short.3dl", "0 64 128 192\n" + "1 2 3\n" * 26, "line 27: its 26 rows are no cube"), ("row.3dl", "0 64 128 192\n1 2 3\n1 2 3 4\n", "line 3: a row has three numbers"),
    # The reader would leave out the line, and would try every other format for numbers too low.
    ("point.3dl", "0 64 128 192\n1 2.0 3\n", "line 2: '2.0' is no whole number of 32 bits"), ("low.3dl", "127 2 3\n" * 8, "line 8: the largest number of its rows is 127"),
    ("mesh2.3dl", "3DMESH\nMesh 2 12\n0 255 511 767 1023\n" + "1023 2 3\n" * 64, "line 67: the table ends after 64 of 125 rows"),
    ("prelut.csp", CSP % ("1D", "2\n0 1\n0 1\n" * 3, "2\n0 0 0\n1 1\n"), "prelut.csp: Malformed 1D csp LUT. Each line of LUT values must contain three numbers. Line: '1 1'\n"),
    ("shaper.3dl", "0 1 2 127\n" + "1023 2 3\n" * 8, "line 1: the largest number of its shaper is 127"),
    ("empty.cube", "", "the file is empty"),
    ("other.cube", "hello\n", "other.cube")]


class PackTest(WithFolder):
    def setUp(self):
        super().setUp()
        for name, content in FILES.items():
            self.write(name, content)

    def test_tables_and_reports(self):
        look, curve = {"type": "3dlut", "size": 5, "shaper": False}, {"type": "1dlut", "size": 5}
        for source, layout, extra, triples, error, wanted in [
                ("look.cube", "float32 little red", "--exact", entries(5), 0, look),
                ("look.spi3d", "uint16 big blue", "--exact", BLUE_5, 0, look),
                ("look.clf", "uint10in16 little blue", "--exact", BLUE_5, 0.5 / 1023, look),
                ("curve.cube", "float32 big red", "--exact", CURVE, 0,
                 {**curve, "minimum": [0.0, 0.1, 0.0], "maximum": [1.0, 0.987654, 1.0]}),
                ("curve.spi1d", "uint12in16 big blue", "--exact", CURVE, 0.5 / 4095, curve),
                ("curve.clf", "uint16 little red", "--exact", CURVE, 0, curve),
                (NAME_WITH_SIGNS, "float32 big red", "--exact", CURVE, 0, curve),
                ("look.3dl", "uint12in16 little blue", "", [[v / 4095 for v in row] for row in THREE_DL], 0, {"size": 4}),
                ("look.csp", "uint16 big red", "--exact", entries(5), 0, look),
                ("curve.csp", "float32 big red", "--exact", CURVE, 0, curve),
                ("mesh.3dl", "uint12in16 little blue", "--exact", [[v / 4095 for v in row] for row in itertools.product(
                    (0, 1024, 2047, 3071, 4095), repeat=3)], 0, look),
                ("wide.cube", "uint10in16 little red", "", entries(3, in_domain), None,
                 {"domainMinimum": [-1.0, 0.0, 0.0], "domainMaximum": [1.0, 2.0, 4.0], "shaper": False}),
                ("wide.cube", "uint16 big blue", "", entries(3, in_domain, "blue"), None, {"order": "blue-fastest"}),
                ("ranged.cube", "uint10in16 little red", "", entries(3, in_range), None, {"domainMaximum": [2.0] * 3}),
                ("video.cube", "uint10in16 little red", "", entries(3, in_video_range), None, {"resampled": True}),
                ("mark.cube", "float32 big red", "--exact", CURVE, 0, curve),
                ("mark.spi1d", "float32 big red", "--exact", CURVE, 0, curve),
                ("new.clf", "uint16 big blue", "--exact", BLUE_5, 0, look),
                ("shaped.cube", "float32 little red", "", entries(2, same), 0.25, {"shaper": True}),
                ("shaped.cube", "float32 little red", "--size 3", None, 0, {}),
                ("shaped.cube", "float32 little red", "--size 4", None, 1 / 12, {}),
                ("small.cube", "float32 little red", "--size 3", entries(3, bilinear), 0, {"fileSize": 2, "size": 3}),
                ("matrix.ctf", "float32 little red", "--size 2", entries(2, half_mixed), 0, {"fileSize": 0}),
                ("hot.cube", "float32 little red", "--exact", HOT, 0, {"outOfRange": 2, "clipped": False}),
                ("hot.cube", "uint16 little red", "", HOT, 0.5, {"minimum": [-0.5, 0.0, 0.25], "maximum": [0.5, 2.0, 1.0],
                                                               "outOfRange": 2, "clipped": True})]:
            with self.subTest(source=source, layout=layout, extra=extra):
                samples, byte_order, order = layout.split()
                result = run("--json", "lut", "pack", source, "--samples", samples, "--byte-order", byte_order, "--order",
                             order + "-fastest", "-o", "table", *extra.split(), cwd=self.folder)
                self.assertEqual(result.returncode, DONE, result.stderr)
                table, report = self.read("table"), json.loads(result.stdout)
                if triples:
                    self.assertEqual(table, packed(triples, samples, byte_order))
                if error is not None:
                    self.assertAlmostEqual(report["maximumError"], error, delta=2e-5)
                resampled = source in ("wide.cube", "ranged.cube", "video.cube", "shaped.cube", "matrix.ctf") or "--size" in extra
                wanted = {"bytes": len(table), "resampled": resampled, **wanted}
                self.assertEqual({key: report.get(key) for key in wanted}, wanted)
                self.assertEqual("2 of 6 values are outside 0..1" in result.stderr, report["clipped"])
                lossy = report["maximumError"] >= 0.001
                self.assertEqual("resampled: up to" in result.stderr, lossy and resampled)
                self.assertEqual(result.stderr == "", not report["clipped"] and not lossy)

    def test_info(self):
        self.write("steps.clf", clf(UNITY * 100))
        name = self.write("Failed primary format a.clf", clf(UNITY))  # the reader's own words for a refusal
        self.write("below.cube", "LUT_1D_SIZE 2\n-3 -2 -1\n-4 -3 -2\n")
        self.check((DONE, ["lut", "info", name]), (DONE, "lut info below.cube", "minimum: -4.0 -3.0 -2.0\nmaximum: -3.0 -2.0 -1.0\n"))
        # A range counts where its limits can be reached.
        for low, high, stages in ((0.25, 1, "range, then 3D LUT"), (0, 0.75, "range, then 3D LUT"), (-1, 2, "3D LUT")):
            limits = "".join(f"<min{end}Value>{low}</min{end}Value><max{end}Value>{high}</max{end}Value>" for end in ("In", "Out"))
            self.write("limits.clf", clf(f'<Range inBitDepth="32f" outBitDepth="32f">{limits}</Range>\n' + clf_cube(entries(2), 2)))
            self.check((DONE, "lut info limits.clf", f"stages: {stages} of 2 points an axis\n"))
        self.check((DONE, "lut info ranged.cube 1 0.5 0", "title: a #1\ntype: 3dlut\nstages: matrix, then 3D LUT of 3 points an axis",
                    "fileSize: 3\ndomainMinimum: 0.0 0.0 0.0\ndomainMaximum: 2.0 2.0 2.0\nshaper: false\n",
                    "exact: false\ninput: 1.0 0.5 0.0\noutput: 0.3 0.275 0.9\n"),
                   (DONE, "lut info hot.cube -.5 0.5 1", "minimum: -0.5 0.0 0.25\nmaximum: 0.5 2.0 1.0\noutOfRange: 2\nexact: true",
                    "output: -0.5 1.0 1.0\n"), (DONE, "lut info shaped.cube", "shaper: true"), (DONE, "lut info steps.clf"), (USAGE, "lut info hot.cube 1 1"))

    def test_a_lossy_table_names_a_better_size(self):
        pack = "lut pack shaped.cube --samples float32 --byte-order little --order red-fastest -o table".split()
        for name, end in (("steep.cube", "0.01"), ("dark.cube", "0.03125")):
            self.write(name, f"LUT_1D_INPUT_RANGE 0 {end}\n" + FILES["shaped.cube"])
        for source, size, said in (("shaped", "2", "25 % off; --size 33 gives 0 %"), ("shaped", "50", "0.51 % off"),
                                   ("dark", "2", "97 % off; --size 65 gives 0 %"),
                                   ("steep", "2", "99 % off; --size 129 gives 24 %"), ("steep", "129", "24 % off")):
            pack[2] = source + ".cube"
            result = run(*pack, "--size", size, cwd=self.folder)
            self.assertEqual((result.returncode, result.stderr), (DONE, f"lutc: note: {source}.cube: resampled: up to {said}\n"))

    def test_refusals_write_nothing(self):
        for name, content, _ in BAD_FILES:
            self.write(name, content)
        there = sorted(os.listdir(self.folder))
        pack = "lut pack %s --samples float32 --byte-order little --order red-fastest -o none"
        in_16 = pack.replace("float32", "uint16")
        self.check(*((USAGE, pack % name, complaint) for name, _, complaint in BAD_FILES),
                   (USAGE, pack % "wide.cube --exact", "matrix"),
                   (USAGE, pack % "shaped.cube --exact", "1D LUT of 3 entries, then 3D LUT of 2"),
                   (USAGE, pack % "small.cube --size 3 --exact", "3 points an axis"),
                   (USAGE, pack % "small.cube --size 1", "'1' is less than 2"),
                   (USAGE, pack % "small.cube --size 130", "2 to 129"),
                   (USAGE, pack % "matrix.ctf", "give --size"),
                   (USAGE, in_16 % "hot.cube --exact", "2 of 6 values"),
                   (USAGE, in_16.replace("--order red-fastest", "") % "look.cube", "a cube; give --order"),
                   (USAGE, pack.replace("red-", "green-") % "look.cube", "green-fastest"),
                   (REFUSED, pack.replace("none", "absent/none") % "look.cube", "can't be created"),
                   (REFUSED, pack.replace("none", ".") % "look.cube", "Is a directory"),
                   (REFUSED, pack % "missing.cube", "can't be opened"),
                   (REFUSED, "lut plot . -o none", "can't be read: Is a directory"),
                   (USAGE, "lut plot short.cube -o none", "7 of 8 rows"))
        os.environ["OCIO_LOGGING_LEVEL"] = "none"  # which would hide a warning
        self.addCleanup(os.environ.pop, "OCIO_LOGGING_LEVEL")
        self.check((USAGE, pack % "unknown.clf", "Bend"))
        self.assertEqual(sorted(os.listdir(self.folder)), there)

    def test_outputs(self):
        pack = "lut pack two.cube --samples uint10in16 --byte-order big -o".split()
        self.write("two.cube", "LUT_1D_SIZE 2\n0 0 0\n0.25 0.25 0.25\n")
        table = b"\0" * 6 + b"\1\0" * 3
        for output in ("-", "/dev/stdout"):  # which carries the table alone
            result = run(*pack, output, cwd=self.folder)
            self.assertEqual((result.returncode, result.stdout.encode()), (DONE, table), result.stderr)
            self.assertIn("type: 1dlut\n", result.stderr)
        for command in ("lut plot two.cube -o -", "grade plot --slope 1 2 3 -o -", "grade preview two.cube -o -"):
            result = subprocess.run([LUTC, *command.split(), "--json"], cwd=self.folder, capture_output=True)
            self.assertEqual((png.read(result.stdout)[0], json.loads(result.stderr)), (8, {"done": True}))
        # What is ended when its file is on the disk, or a copy of its input, leaves nothing behind.
        self.write("marked.clf", "\ufeff" + clf(UNITY))
        there = sorted(os.listdir(self.folder))
        for command in (" ".join(pack), "lut plot two.cube -o", "grade plot --slope 1 2 3 -o", "grade preview two.cube -o",
                        "lut plot marked.clf -o"):
            for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
                ended = run(*command.split(), "out", cwd=self.folder, preexec_fn=lambda: signal.signal(number, signal.SIG_DFL),
                            env=on_another_host(LUTC_END_WITH=str(int(number)), TMPDIR=self.folder))
                self.assertEqual((ended.returncode, ended.stderr), (128 + number, ""), command)
                self.assertEqual(sorted(os.listdir(self.folder)), there, command)
        # What is no regular file is written into, and links are followed.
        os.mkfifo(self.path("pipe"))
        pipe = os.open(self.path("pipe"), os.O_RDWR)
        self.addCleanup(os.close, pipe)
        self.write("old", "")
        os.chmod(self.path("old"), 0o640)
        for link, target in (("link", "old"), ("dangling", "new")):
            os.symlink(target, self.path(link))
        for output, target in (("pipe", None), ("link", "old"), ("dangling", "new")):
            self.expect(DONE, *pack, output)
            self.assertEqual(os.read(pipe, 99) if target is None else self.read(target), table)
        self.assertTrue(os.path.islink(self.path("link")))
        self.assertEqual(os.stat(self.path("old")).st_mode & 0o777, 0o640)
        # What is an input stays.
        self.write("shot.cc", '<ColorCorrection id="a"><SatNode><Saturation>1</Saturation></SatNode></ColorCorrection>')
        self.write("grade.json", '{"components": [{"type": "1dlut", "dataFormat": "uint10in16-be", "file": "old"}]}')
        self.expect(DONE, "lut", "plot", "two.cube", "-o", "picture.png")
        os.link(self.path("two.cube"), self.path("same"))
        self.check((USAGE, [*pack, "./two.cube"], "is the input two.cube too"), (USAGE, "lut plot two.cube -o same", "input"),
                   (USAGE, "grade plot --file shot.cc -o shot.cc"), (USAGE, "grade preview shot.cc -o shot.cc"),
                   (USAGE, "grade preview grade.json -o link", "input old too"), (USAGE, "grade preview two.cube -o same"),
                   (USAGE, "grade preview grade.json -o grade.json", "is the input"),
                   (USAGE, "grade preview two.cube --picture picture.png -o picture.png"))
        self.assertTrue(self.read("two.cube").startswith(b"LUT"))


class PlotTest(WithFolder):
    LEFT, TOP, SIDE = 72, 80, 512  # of the diagram

    def plotted(self, name, content):
        self.expect(DONE, "lut", "plot", self.write(name, content), "-o", "out.png")
        return png.read(self.read("out.png"))[1]

    def colour_at(self, picture, across, value):
        return picture[round(self.TOP + self.SIDE * (1 - value))][self.LEFT + round(self.SIDE * across)]

    def test_curves_stand_where_their_values_are(self):
        picture = self.plotted("curve.cube", "LUT_1D_SIZE 3\n" + rows([(0.1, 0.9, 0.5), (0.7, 0.3, 0.5), (1, 0, 0.5)]))
        for channel, value in enumerate((0.7, 0.3, 0.5)):
            self.assertGreater(self.colour_at(picture, 0.5, value)[channel], 200)
        self.assertEqual(max(picture[self.TOP + 20][self.LEFT + self.SIDE // 2 + 20]), 24)  # nothing there
        # Curves on one another are white; the whole domain is drawn.
        picture = self.plotted("wide.cube", "LUT_1D_SIZE 2\nLUT_1D_INPUT_RANGE -1 3\n0 0 0\n1 1 1\n")
        for part in (0.75, 1):
            self.assertGreater(min(self.colour_at(picture, part, part)), 200)

    def test_slices_show_red_to_the_right_green_up_and_blue_from_slice_to_slice(self):
        picture = self.plotted("look.cube", cube(entries(3), 3))
        for blue, (left, top) in {0.0: (624, 94), 0.5: (728, 94), 1.0: (624, 212)}.items():
            for red, green in itertools.product((0, 1), repeat=2):
                colour = picture[top + 95 * (1 - green)][left + 95 * red]
                for got, wanted in zip(colour, asymmetric(red, green, blue)):
                    self.assertAlmostEqual(got / 255, wanted, delta=1 / 255)

    def test_a_drawing_says_what_it_is(self):
        self.write(os.fsdecode(b"a\xff.cube"), cube(entries(2), 2, 'TITLE "A <look> & more"\n'))
        self.expect(DONE, "lut", "plot", os.fsdecode(b"a\xff.cube"), "-o", "out.svg")
        root = ElementTree.fromstring(self.read("out.svg"))
        self.assertEqual([(child.tag.rpartition("}")[2], child.text) for child in root][0], ("title", "A <look> & more"))
        self.assertIn("a?.cube: 3D LUT of 2 points an axis. Beside it slices", root[1].text)
        texts = ["A <look> & more", "a?.cube: 3D LUT of 2 points an axis", *"0 0.2 0.4 0.6 0.8 1".split() * 2, "input", "output", "red",
                 "green", "blue", "unchanged, 0 to 1", "slices: red to the right, green upwards", "blue = 0", "blue = 1"]
        self.assertEqual(self.read("out.svg").count(b'href="#glyph'), len("".join(texts)))


if __name__ == "__main__":
    unittest.main()
