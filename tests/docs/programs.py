"""The programs under test."""
import contextlib
import os
import subprocess
import sys
import tempfile

from reader import SOURCE

sys.path.insert(0, str(SOURCE / "tests" / "support"))
from service import Simulator  # noqa: E402

TOOL = os.environ.get("LUTC_TOOL")  # not built everywhere
SIMULATOR = os.environ["LUTC_SIMULATOR"]
EXAMPLES = os.environ["LUTC_EXAMPLES"]


def run(*command, **options):
    """Runs a command to its end; its output comes as text."""
    return subprocess.run([str(part) for part in command], capture_output=True, text=True, timeout=60, **options)


def run_example(name, *arguments, **options):
    return run(os.path.join(EXAMPLES, name), *arguments, **options)


@contextlib.contextmanager
def simulator(*options):
    """A simulator with an empty library, on the service's port."""
    with tempfile.TemporaryDirectory() as media, Simulator(SIMULATOR, "--media", media, "--quiet", *options):
        yield
