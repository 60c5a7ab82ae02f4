"""The wheel in a virtual environment of its own, with nothing of the sources: an example, and the pytest plug-in."""
import os
import subprocess
import sys
import tempfile
import unittest


class Wheel(unittest.TestCase):
    def test_it_brings_the_package_its_types_and_the_fixture(self):
        with tempfile.TemporaryDirectory() as folder:
            def run(*command):
                done = subprocess.run(command, cwd=folder, capture_output=True, text=True, timeout=120)
                self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
                return done.stdout

            # numpy and pytest are the system's.
            run(sys.executable, "-m", "venv", "--system-site-packages", "own")
            run("own/bin/pip", "install", "--no-index", "--no-deps", os.environ["LUTC_WHEEL"])
            self.assertIn(f"{folder}/own/lib", run("own/bin/python", "-c", "import lutc; print(lutc.__path__)"))
            with open(f"{folder}/test_a.py", "w") as file:
                file.write("import os, lutc, runpy\n\n\ndef test_example(lutc_simulator, capsys):\n"
                           "    assert os.path.exists(os.path.join(os.path.dirname(lutc.__file__), 'py.typed'))\n"
                           f"    runpy.run_path({os.environ['LUTC_SOURCE_DIR'] + '/examples/numpy_lut.py'!r})\n"
                           "    assert capsys.readouterr().out == 'channel 1 shows warm\\nwhat came back is what was sent\\n'\n")
            run("own/bin/python", "-m", "pytest", "-q", "test_a.py")


if __name__ == "__main__":
    unittest.main()
