"""The tool and the simulator under test, for unittest."""
import os
import subprocess
import sys
import tempfile
import unittest

LUTC = os.environ["LUTC_BIN"]
SIMULATOR = os.environ["LUTC_SIMULATOR_BIN"]
SOURCE = os.environ["LUTC_SOURCE_DIR"]
sys.path.insert(0, os.path.join(SOURCE, "tests", "support"))
from service import Simulator  # noqa: E402

DONE, REFUSED, USAGE, NOBODY, INTERRUPTED = 0, 1, 2, 3, 130


def on_another_host(**variables):
    """The environment that makes lutc run as other_host.c says."""
    return {**os.environ, "LD_PRELOAD": os.environ["LUTC_OTHER_HOST"], "ASAN_OPTIONS": "verify_asan_link_order=0", **variables}


def run(*arguments, input=b"", **options):
    """Runs lutc; its output as text. Standard input is no terminal."""
    result = subprocess.run([LUTC, *map(str, arguments)], input=input, capture_output=True, timeout=120, **options)
    result.stdout = result.stdout.decode()
    result.stderr = result.stderr.decode()
    return result


class WithFolder(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name
        os.environ["XDG_CONFIG_HOME"] = self.path("config")

    def path(self, *names):
        return os.path.join(self.folder, *names)

    def write(self, name, content):
        with open(self.path(name), "wb") as file:
            file.write(content if isinstance(content, bytes) else content.encode())
        return self.path(name)

    def read(self, name):
        with open(self.path(name), "rb") as file:
            return file.read()

    def expect(self, code, *arguments, **options):
        """Runs lutc in the folder and checks its exit code: nothing on standard error, or exactly one line."""
        result = run(*arguments, cwd=self.folder, **options)
        self.assertEqual(result.returncode, code, f"{arguments}: {result.stdout}{result.stderr}")
        self.assertEqual(result.stderr.count("\n"), 0 if code == DONE else 1, result.stderr)
        return result

    def check(self, *rows):
        """Rows of an exit code, a command (words with blanks between them, or a list) and a part of what it prints."""
        for code, command, *parts in rows:
            with self.subTest(command=command):
                result = self.expect(code, *(command.split() if isinstance(command, str) else command))
                for part in parts:
                    self.assertIn(part, result.stdout + result.stderr)


class WithSimulator(WithFolder):
    def setUp(self):
        super().setUp()
        self.simulator = None
        self.start()

    def start(self, *arguments):
        """A fresh simulator in the place of the one that runs."""
        if self.simulator:
            self.simulator.stop()
        else:
            self.addCleanup(lambda: self.simulator.stop())
        self.simulator = Simulator(SIMULATOR, "--media", self.path("media"), *arguments)
