"""A program under lutc-trace does what it does without, and each reply is shown."""
import contextlib
import os
import re
import shutil
import struct
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, os.path.join(os.environ["LUTC_SOURCE_DIR"], "tests", "support"))
from service import Simulator, listener  # noqa: E402

TRACE, SIMULATOR, PROGRAM = (os.environ[name] for name in ("LUTC_TRACE_BIN", "LUTC_SIMULATOR", "LUTC_PROGRAM"))


def run(*words):
    """Its output, what it says itself on standard error, its status; and what lutc-trace says."""
    done = subprocess.run(words, capture_output=True, text=True, timeout=60)
    said = done.stderr.splitlines(keepends=True)
    own = [line for line in said if not line.startswith("lutc-trace")]
    return (done.stdout, own, done.returncode), "".join(line for line in said if line.startswith("lutc-trace"))


def long_reply(connection):
    text = b"x" * 5000 + b"\0"
    fields = b"\x10code\0\4\0\0\0" + b"\2message\0" + struct.pack("<I", len(text)) + text + b"\0"
    with connection:
        connection.recv(65536)
        connection.sendall(struct.pack("<I", len(fields) + 4) + fields)


class Trace(unittest.TestCase):
    def test_nothing_is_changed_and_every_reply_is_shown(self):
        for fault, shown in ((None, r'7 > code=4 message="no preset is named \"first steps\""'), ("refuse", 'code=7 message="refused on'),
                             ("silence,50", "no reply: the connection ended"), ("close", "no reply: the connection ended"),
                             ("reset", "no reply: Connection reset"), ("truncate", " bytes)"), ("trickle,0", "7 > code=4"),
                             ("delay,30", "7 > code=4"), ("garbage", " bytes"), ("length", "bytes)"),
                             ("event-first", 'type="event"'), ("event-glued", "1 > code=0")):
            options = ["--fault", "*=" + fault] if fault else []
            with self.subTest(fault=fault), Simulator(SIMULATOR, "--quiet", *options):
                seen, said = run(TRACE, PROGRAM)
                self.assertEqual(seen, run(PROGRAM)[0])
                self.assertIn(shown, said)
                self.assertRegex(said, r"^lutc-trace\[\d+\]: 1 < getPresetsList\n.*ms\)\n")

    def test_the_reason_of_each_code(self):
        with tempfile.TemporaryDirectory() as folder:
            device = os.path.join(folder, "device.json")
            with open(device, "w", encoding="utf-8") as file:
                file.write('{"gradeChannels": [{"channelName": "A", "supportedGradeComboIndices": [2]}]}')
            with Simulator(SIMULATOR, "--quiet", "--device", device, "--media", "/proc/none", "--fault", "getOption=refuse"):
                said = run(TRACE, os.path.join(os.path.dirname(PROGRAM), "all_functions"))[1]
        self.assertEqual(set(re.findall(r'> code=([3-7]) message="\w', said.replace('"\\"', '"'))), set("34567"), said)

    def test_nobody_listens_and_a_reply_that_the_caller_does_not_read(self):
        for service, program, shown in (
                (contextlib.nullcontext, [PROGRAM], "1 < getPresetsList\n[^\n]*1 > no connection: Connection refused"),
                (lambda: listener(long_reply), [os.path.join(os.path.dirname(PROGRAM), "read_model")],
                 r"1 < getModelInfo\n[^\n]*code=4 message=\"xxx.*\(1024 bytes of it were read\)")):
            with service():
                seen, said = run(TRACE, *program)
                self.assertEqual(seen, run(*program)[0])
            self.assertRegex(said, shown)

    def test_the_status_is_the_programs_and_nothing_to_trace_is_said(self):
        for words, status, said in ((["sh", "-c", "exit 3", "--help"], 3, "no connection"), (["sh", "-c", "kill -TERM $$"], -15, "no conn"),
                                    (["/sbin/ldconfig", "--version"], 0, "takes no other library"), (["absent"], 127, "absent: No such"),
                                    (["/etc/passwd"], 126, "denied"), ([], 125, "PROGRAM"), (["--no"], 125, "--no")):
            with self.subTest(words=words):
                seen, shown = run(TRACE, *words)
                self.assertEqual(seen[2], status)
                self.assertRegex(shown, "^lutc-trace: .*" + re.escape(said))

    def test_any_prefix_and_a_library_out_of_sight(self):
        call = ("from ctypes import *; "
                "print(CDLL('%s/liblutc.so.1').lutc_get_state(byref(c_int()), 1))")
        libraries = os.path.join(os.path.dirname(os.path.dirname(TRACE)), "lib")
        with tempfile.TemporaryDirectory() as folder, Simulator(SIMULATOR, "--quiet"):
            for name in os.path.relpath(TRACE, os.path.dirname(libraries)), "lib/lutc/lutc-trace.so":
                os.makedirs(os.path.dirname(os.path.join(folder, "a b:c", name)), exist_ok=True)
                shutil.copy(os.path.join(os.path.dirname(libraries), name), os.path.join(folder, "a b:c", name))
            seen, said = run(os.path.join(folder, "a b:c", "bin", "lutc-trace"), "/usr/bin/python3", "-c", call % libraries)
            self.assertEqual(seen[0], "0\n")
            self.assertIn("1 < getColorTransformState channelIndex=1", said)


if __name__ == "__main__":
    unittest.main()
