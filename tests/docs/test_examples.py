"""Each example does what it says, against the simulator."""
import contextlib
import os
import tempfile
import unittest

import programs
import reader
from programs import run_example


class Examples(unittest.TestCase):
    def done(self, result):
        self.assertEqual(result.returncode, 0, result.stdout + result.stderr)
        return result.stdout

    def test_what_they_print(self):
        first_steps = ('channel 1 shows "first steps"\nwhat came back is what was sent\n'
                       "reading it once more: the service refused it (its log says why)\n")
        for command, *expected in (
                ("all_functions", *(f"{name} " for name in reader.functions()), "channel 1 shows 1: all functions"),
                ("read_model", "supports combinations 1"), ("control_surface 3", "3 of 3 updates taken\n"),
                ("build_and_dump", "slope:(array document)[\n\t0:(double)1.100000\n",
                 "data:(binary [length=5])00,40,80,C0,FF"),
                ("first_steps", first_steps), ("first_steps_in_c", first_steps)):
            with self.subTest(command), programs.simulator():
                output = self.done(run_example(*command.split()))
                self.assertEqual([part for part in expected if part not in output], [], output)

    def test_uploaded_presets_are_backed_up_byte_for_byte(self):
        with programs.simulator(), tempfile.TemporaryDirectory() as folder:
            table = os.path.join(folder, "table.bin")
            self.done(programs.run(reader.SOURCE / "scripts" / "make_print_lut", "--size", "17",
                                   "--format", "uint16", "-o", table))
            self.done(run_example("upload_and_apply", "evening", table, "uint16"))
            backup = os.path.join(folder, "backup")
            self.assertIn("evening", self.done(run_example("backup_library", backup)))
            self.assertEqual(sorted(os.listdir(backup)), ["1-1.cdl", "1-2.bin"])
            with open(os.path.join(backup, "1-2.bin"), "rb") as copy, open(table, "rb") as original:
                self.assertEqual(copy.read(), original.read())
            with open(os.path.join(backup, "1-1.cdl")) as values:
                self.assertEqual([float(value) for value in values.read().split()],
                                 [1.1] * 3 + [-0.02] * 3 + [1.0] * 3 + [0.9])

    @unittest.skipUnless(int(os.environ["LUTC_PICTURES"] or 0), "built without OpenColorIO")
    def test_pictures_are_checked(self):
        with tempfile.TemporaryDirectory() as folder:
            table, expected = os.path.join(folder, "table.bin"), os.path.join(folder, "expected.png")
            programs.run(reader.SOURCE / "scripts" / "make_print_lut", "--size", "17", "--format", "uint16", "-o", table)
            program = [os.path.join(programs.EXAMPLES, "upload_and_apply"), "evening", table, "uint16"]
            for command, code, said in ((program, 0, "wrote"), (program, 0, "output 1 is"), (["true"], 1, "is not")):
                result = programs.run(programs.SIMULATOR, "--run", "--", "python3",
                                      reader.SOURCE / "examples" / "check_picture.py", expected, *command)
                self.assertEqual((result.returncode, said in result.stdout + result.stderr), (code, True), result.stderr)

    def test_they_say_why_they_fail(self):
        for fault, reason in ((None, "Connection refused"), ("*=refuse", "the service refused it (its log says why)"),
                              ("*=close", "the connection ended before an answer")):
            with programs.simulator("--fault", fault) if fault else contextlib.nullcontext():
                result = run_example("first_steps")
                self.assertEqual((result.returncode, result.stdout), (1, "lutc_preset_list: %s\n" % reason))
        for name in ("first_steps_in_c", "read_model", "all_functions"):
            self.assertEqual(run_example(name).returncode, 1, name)


if __name__ == "__main__":
    unittest.main()
