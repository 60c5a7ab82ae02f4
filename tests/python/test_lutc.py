"""import lutc, held against the header and the simulator."""
import concurrent.futures
import ctypes
import errno
import itertools
import os
import pickle
import re
import subprocess
import sys
import tempfile
import unittest

import numpy

import lutc
from lutc import _arrays, _library

SOURCE = os.environ["LUTC_SOURCE_DIR"]
sys.path.insert(0, os.path.join(SOURCE, "tests", "docs"))
import reader  # noqa: E402

ODD = "\udcff \udc80 ä"  # no UTF-8
CDL = lutc.Cdl([1.1, 1, 0.9], (0, -0.25, 0.5), numpy.array([1, 2, 1]), 0.9, slot=1)
VALUES = "power=[1 2 1] slope=[1.1 1 0.9] offset=[0 -0.25 0.5] saturation=0.9"
PATTERN = lutc.TestPattern("square", 3, 0.5, (65535, 1, 2), (3, 4, 5))
ROUTE = lutc.VideoConnection(lutc.VideoEnd.INPUT, 2, lutc.VideoEnd.OUTPUT, 1)
SENT = [  # a call, how what it sends begins, and what it returns
    (lambda: lutc.send_preset("a", [CDL], to_index=1, combination=2, apply=True, channel=1), 'sendPreset presetName="a" toIndex=1 '
     f'gradeComboIndex=2 applyPreset=true applyChannel=1 gradeCombo=[{{typeIndex=1 type="cdl" dataFormat="cdl" {VALUES}', None),
    (lambda: lutc.recv_preset(1), "getPreset presetIndex=1", lutc.StoredPreset(2, [CDL])),
    (lambda: lutc.rename_preset("a", new_name=ODD), 'renamePreset presetName="a" newName="', None),
    (lambda: lutc.move_preset(1, to_index=1), "movePreset presetIndex=1 toIndex=1", None),
    (lutc.preset_list, "getPresetsList", lutc.PresetLibrary([lutc.PresetEntry(ODD, 2, ["cdl", "saturation"])], 100)),
    (lambda: lutc.get_preset(channel=1), "getSelectedPreset channelIndex=1", lutc.PresetChoice(ODD, 1)),
    (lambda: lutc.set_preset(ODD, channel=1), 'setSelectedPreset channelIndex=1 presetName="', None),
    (lambda: lutc.set_override_preset(1), "setOverridePreset presetIndex=1", None),
    (lutc.get_override_preset, "getOverridePreset", lutc.PresetChoice(ODD, 1)),
    (lambda: lutc.delete_preset(ODD), 'deletePreset presetName="', None), (lutc.save_presets_to_media, "savePresetsToMedia", None),
    (lutc.delete_all_presets, "deleteAllPresets", None), (lutc.load_presets_from_media, "loadPresetsFromMedia", None),
    (lambda: lutc.send_combination(2, channel=1, reset=True), "sendGradeCombo channelIndex=1 resetAndApply=true gradeCombo", None),
    (lambda: lutc.send_cdl(CDL, channel=1, slot=3), f"sendCDL channelIndex=1 resetAndApply=false cdlIndex=3 {VALUES}", None),
    (lambda: lutc.send_saturation(0.5, channel=2, slot=4, reset=True), "sendSaturation channelIndex=2 resetAndApply=true satu", None),
    (lambda: lutc.send_lut(lutc.Lut1D("f", bytes(12), 2)), 'sendLut resetAndApply=false lutIndex=2 type="1dlut" dataFormat="f"', None),
    (lambda: lutc.send_live([PATTERN], channel=1, combination=2), "sendLive channelIndex=1 gradeComboIndex=2 resetAndApply=false "
     'gradeCombo=[{type="tpg" patternType="square" videoFormat=3 squareSize=0.5 fgColor=[65535 1 2] bgColor=[3 4 5]}', None),
    (lambda: lutc.client_info("me", serial="7"), 'sendClientInfo clientModel="me" clientSerial="7"', None),
    (lambda: (lutc.model_info().combinations[1][1:], lutc.model_info().channels[1:]), "getModelInfo",
     (["saturation"], [lutc.Channel("Channel 2", [1, 3])])),
    (lambda: lutc.set_state(7, channel=2), "setColorTransformState channelIndex=2 colorTransformState=7", None),
    (lambda: lutc.get_state(channel=2), "getColorTransformState channelIndex=2", 7), (
        lambda: lutc.set_video_connection(ROUTE), 'setVideoConnection sourceType="input" sourceIndex=2 destinationType="output" d', None),
    (lambda: ROUTE in lutc.get_video_connections(), "getVideoConnections", True),
    (lambda: lutc.set_option("note", ODD), 'setOption name="note" value="', None),
    (lambda: lutc.get_option("note"), 'getOption name="note"', ODD)]
BAD = [lambda: lutc.set_preset(2**31), lambda: lutc.get_state(channel=-2**31 - 1), lambda: lutc.delete_preset("a\0"),
       lambda: lutc.delete_preset("ä" * 17), lambda: lutc.rename_preset(1, new_name="n" * 33), lambda: lutc.set_preset(True),
       lambda: lutc.delete_preset(None), lambda: lutc.delete_preset(b"a"), lambda: lutc.set_preset(1.0), lambda: lutc.Cdl([1]),
       lambda: lutc.rename_preset(1, new_name=None), lambda: lutc.send_live([7]), lambda: lutc.send_cdl(lutc.Saturation()),
       lambda: lutc.send_saturation("1"), lambda: lutc.send_live([lutc.Lut1D("\0", b"")]), lambda: lutc.Lut1D("f", "text"),
       lambda: lutc.TestPattern("square", foreground=(0, 0, 65536)), lambda: lutc.set_video_connection(1)]


class Library(unittest.TestCase):
    def test_records_and_numbers_are_those_of_the_header(self):
        structures = [each for each in vars(_library).values() if isinstance(each, type(ctypes.Structure))]
        self.assertEqual({each.__name__ for each in structures}, set(re.findall(
            r"^typedef struct (\w+)", reader.text("interface", "include", "lutc", "lutc.h"), re.M)))
        facts = [f"sizeof({each.__name__}) == {ctypes.sizeof(each)}" for each in structures] + [
            f"offsetof({each.__name__}, {name}) == {getattr(each, name).offset}" for each in structures for name, _ in each._fields_]
        source = "#include <lutc/lutc.h>\n#include <stddef.h>\n" + "".join(f'_Static_assert({fact}, "");\n' for fact in facts)
        done = subprocess.run([os.environ["CC"], f"-I{SOURCE}/interface/include", "-fsyntax-only", "-x", "c", "-"],
                              input=source, capture_output=True, text=True)
        self.assertEqual(done.returncode, 0, done.stderr)

    def test_every_exported_function_is_there(self):
        exported = re.findall(r"^ \S*lutc_([a-z_]+?)(?:iibPKcS0_Phi)?@", reader.text("packaging", "debian", "liblutc1.symbols"), re.M)
        self.assertEqual(set(exported), set(_library.SIGNATURES))
        self.assertTrue(all(callable(getattr(lutc, name)) for name in exported))

    def test_without_the_library_it_says_how_to_install_it(self):
        program = "import ctypes\ndef refuse(*_, **__): raise OSError('none')\nctypes.CDLL = refuse\nimport lutc"
        done = subprocess.run([sys.executable, "-Bc", program], capture_output=True, text=True)
        self.assertRegex(done.stderr, "ImportError: .*liblutc.so.1 .*liblutc1")


class Calls(unittest.TestCase):
    def setUp(self):
        self.device = self.enterContext(lutc.simulator.run())

    def test_what_is_sent_and_what_comes(self):
        for call, command, answer in SENT:
            with self.subTest(command):
                self.assertEqual(call(), answer)
                self.assertEqual(self.device.log()[-1]["command"][:len(command)], command)
        self.assertEqual({entry["command"].split()[0] for entry in self.device.log()}, set(reader.functions().values()))

    def test_grades_come_back_equal(self):
        grade = [CDL, lutc.Lut3D.from_array(numpy.arange(375).reshape(5, 5, 5, 3), slot=1), lutc.Lut1D(ODD, memoryview(bytes(range(48)))[::2], 4),
                 lutc.Saturation(0.25, 2), lutc.RawColour(bytearray(b"raw"), slot=3)]
        lutc.send_preset("every kind", [*grade, lutc.Cdl(saturation=0.5, slot=2)])
        self.assertEqual(lutc.recv_preset("every kind").components, [*grade, lutc.Saturation(0.5, 2)])
        self.assertNotEqual(lutc.Lut1D("f", b""), lutc.Lut3D("f", b""))

    def test_failures_are_the_built_in_classes_too(self):
        for fault, kind, number in [("close", ConnectionResetError, errno.ECONNRESET), ("refuse", lutc.Error, errno.EREMOTEIO),
                                    ("truncate", lutc.Error, errno.EPROTO), (None, ConnectionRefusedError, errno.ECONNREFUSED)]:
            self.device.reset()
            self.device.add_fault(f"*={fault}") if fault else self.doCleanups()
            for call in (lutc.preset_list, lutc.model_info, lambda: lutc.recv_preset("a"), lambda: lutc.get_option("a")):
                with self.assertRaises(kind) as failed:
                    call()
                self.assertEqual(pickle.loads(pickle.dumps(failed.exception)).errno, number)
            self.assertEqual((failed.exception.call, isinstance(failed.exception, lutc.Error)), ("lutc_get_option", True))
        reasons = re.findall(r'case (E\w+):\s+return "(.*)";', reader.text("interface", "include", "lutc", "values.hpp"))
        self.assertEqual({getattr(errno, name): text for name, text in reasons}, _library.REASONS)

    def test_bad_arguments_are_never_sent(self):
        for call in BAD:
            self.assertRaises((TypeError, ValueError), call)
        self.assertEqual(self.device.log(), [])

    def test_the_simulated_device(self):
        with self.assertRaisesRegex(RuntimeError, "only one"), lutc.simulator.run():
            self.fail()
        lutc.send_live([PATTERN], channel=1)
        self.assertEqual(self.device.array("outputs/1", depth=16)[[0, 270], [0, 480]].tolist(), [[3, 4, 5], [65535, 1, 2]])
        self.assertRaises(ValueError, self.device.picture, "outputs/9")
        self.doCleanups()
        with self.assertRaises(KeyError), lutc.simulator.run(["*=refuse"]) as device:
            raise KeyError(self.assertEqual(len(device.state()["faults"]), 1))

    def test_10000_calls_of_64_threads_leave_nothing_and_get_their_own_answers(self):
        def ask(name, times):
            for _ in range(times):
                self.assertRaises(lutc.Error, lutc.recv_preset, "none")
                self.assertEqual(lutc.recv_preset(name).components, [lutc.Lut1D(name, bytes(1000))])
                self.assertEqual(len(lutc.preset_list().presets + lutc.model_info().channels), 66)
        names, left = [f"preset {i}" for i in range(64)], []
        for name in names:
            lutc.send_preset(name, [lutc.Lut1D(name, bytes(1000))])
        for times in (5, 40):
            with concurrent.futures.ThreadPoolExecutor(64) as callers:
                list(callers.map(ask, names, [times] * 64))
            left.append((len(os.listdir("/proc/self/fd")), numpy.fromfile("/proc/self/statm", int, sep=" ")[1]))
        self.assertEqual(left[0][0], left[1][0])
        self.assertLess(left[1][1] - left[0][1], 1000)  # pages; what comes in 2,560 times is far more

    def test_ctrl_c_ends_a_call_with_the_call(self):
        self.device.add_fault("getOption=delay,1500")
        program = subprocess.Popen([sys.executable, "-Bc", "import lutc; lutc.get_option('note')"], stderr=subprocess.PIPE)
        next(filter(None, (self.device.log() for _ in itertools.count())))  # until the call is there
        program.send_signal(2)
        self.assertIn(b"KeyboardInterrupt", program.communicate(timeout=60)[1])


class Arrays(unittest.TestCase):
    def test_tables_are_those_of_the_tool(self):
        cube = numpy.random.default_rng(21).random((3, 3, 3, 3), dtype="f4")
        for samples, end, order in itertools.product(_arrays.LARGEST, ("little", "big"), ("", "red-fastest", "blue-fastest")):
            layout = "-".join([samples, end[0] + "e", order]).strip("-")
            lut, array, rows = (lutc.Lut3D, cube, cube.transpose(2, 1, 0, 3)) if order else (lutc.Lut1D, cube[0, 0], cube[0, 0])
            with self.subTest(layout), tempfile.TemporaryDirectory() as folder:
                head = f"LUT_{3 if order else 1}D_SIZE 3"
                numpy.savetxt(f"{folder}/a.cube", rows.reshape(-1, 3), "%.9g", header=head, comments="")
                subprocess.run(["lutc", "lut", "pack", "a.cube", "--samples", samples, "--byte-order", end, "-o", "a.bin",
                                *(["--order", order] if order else [])], cwd=folder, check=True, capture_output=True)
                packed = lut.from_array(array, layout, slot=3)
                self.assertEqual(packed, lut(layout, numpy.fromfile(f"{folder}/a.bin", "u1"), 3))
                self.assertEqual(lut.from_array(packed.to_array(), layout, slot=3), packed)

    def test_what_fits_no_table_is_refused(self):
        for shape, value, layout, said in [
                ((2, 4), 0, "uint16-le", r"shape \(N, 3\).* not \(2, 4\)"), ((2, 3), 1024, "uint10in16-le", "0 to 1023"),
                ((2, 3), 0, "uint16-le-red-fastest", "no layout of a curve"), ((2, 3), -1, "uint16-le", "0 to 65535"),
                ((2, 3), 1.0001, "uint16-le", "0 to 1,"), ((2, 3), numpy.nan, "uint16-le", "nan"),
                ((2, 3), numpy.inf, "float32-le", "inf"), ((2, 3), 1e39, "float32-le", r"1e\+39")]:
            self.assertRaisesRegex(ValueError, said, lutc.Lut1D.from_array, numpy.full(shape, value), layout)
        self.assertRaisesRegex(ValueError, "30 bytes", lutc.Lut3D("uint16", bytes(30)).to_array)


if __name__ == "__main__":
    unittest.main()
