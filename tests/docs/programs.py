"""The programs under test, and a simulator that runs while a test needs it."""
import contextlib
import os
import subprocess
import tempfile

SOURCE = os.environ["LUTC_SOURCE_DIR"]
TOOL = os.environ.get("LUTC_TOOL")  # not built everywhere
SIMULATOR = os.environ["LUTC_SIMULATOR"]
EXAMPLES = os.environ["LUTC_EXAMPLES"]
ADDRESS = ("127.0.0.1", 54440)


def run(*command, **options):
    """Runs a command to its end; its output comes as text."""
    return subprocess.run([str(part) for part in command], capture_output=True, text=True, timeout=60, **options)


def run_example(name, *arguments, **options):
    return run(os.path.join(EXAMPLES, name), *arguments, **options)


@contextlib.contextmanager
def simulator():
    """A simulator with an empty library, listening on the service's port; gives the folder of its media."""
    with tempfile.TemporaryDirectory() as media:
        process = subprocess.Popen([SIMULATOR, "--media", media, "--quiet"], stdout=subprocess.PIPE, text=True)
        try:
            if "listening" not in process.stdout.readline():
                raise RuntimeError("the simulator does not listen")
            yield media
        finally:
            process.terminate()
            process.stdout.close()
            if process.wait(timeout=30) != 0:
                raise RuntimeError(f"the simulator ended with {process.returncode}")
