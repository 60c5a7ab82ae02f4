"""A simulated device for tests and experiments: `with lutc.simulator.run() as device:`."""
from __future__ import annotations

import contextlib
import http.client
import json
import struct
import tempfile
import zlib
from subprocess import DEVNULL, PIPE, STDOUT, Popen
from typing import Any, Iterable, Iterator
from urllib.parse import quote, urlencode, urlsplit


class Device:
    """The device that `run` started, from the inside: its state, its pictures and its log. `url` is its page."""

    def __init__(self, url: str) -> None:
        self.url = url

    def _ask(self, path: str, method: str = "GET", body: str | None = None) -> bytes:
        connection = http.client.HTTPConnection(urlsplit(self.url).netloc, timeout=60)
        with contextlib.closing(connection):
            connection.request(method, "/" + path, body, {"Content-Type": "application/json"})
            answer = connection.getresponse()
            content = answer.read()
        if answer.status != 200:
            raise ValueError(f"{path}: {content.decode(errors='replace').strip()}")
        return content

    def state(self) -> dict[str, Any]:
        """The device, as /state.json has it (docs/simulator.md)."""
        return dict(json.loads(self._ask("state.json")))

    def log(self, since: int = 0) -> list[dict[str, Any]]:
        """The commands with a number above `since`, of the last 1,000."""
        return list(json.loads(self._ask(f"log.json?since={since:d}")))

    def picture(self, place: str, **query: Any) -> bytes:
        """The picture there as PNG, such as "outputs/1"; depth=16, width=W, only=K and without=K choose what of it."""
        return self._ask(quote(place) + ".png" + ("?" + urlencode(query) if query else ""))

    def array(self, place: str, **query: Any) -> Any:
        """The same as a numpy array of shape (height, width, 3): uint8, or with depth=16 uint16."""
        return _read_png(self.picture(place, **query))

    def add_fault(self, fault: str) -> None:
        """Lets calls go wrong from now on, such as "sendPreset:2=close"."""
        self._ask("faults", "POST", json.dumps({"fault": fault}))

    def reset(self) -> None:
        """The device, and the faults that it was started with, as at the start."""
        self._ask("reset", "POST")


def _read_png(png: bytes) -> Any:
    """RGB that isn't interlaced, each row as differences to the pixel on the left: what is served."""
    import numpy
    width, height, depth = struct.unpack(">IIB", png[16:25])
    at, packed = 8, b""
    while at < len(png):
        size, kind = struct.unpack(">I4s", png[at:at + 8])
        packed += png[at + 8:at + 8 + size] if kind == b"IDAT" else b""
        at += 12 + size
    rows = numpy.frombuffer(zlib.decompress(packed), "u1").reshape(height, -1)
    if (rows[:, 0] != 1).any():
        raise ValueError("a picture with another filter")
    values = numpy.cumsum(rows[:, 1:].reshape(height, width, -1), axis=1, dtype="u1")
    return values.view(">u2").astype("u2") if depth == 16 else values


def _wait(process: Popen[str]) -> str:
    """The page's address, once the simulator listens."""
    said = ""
    for line in process.stdout or ():
        said += line
        if "listening on" in line:
            return said.split("page at ")[1].split("/\n")[0]
    raise RuntimeError(said.strip() + "; the service's port is fixed: only one can run" * ("already in use" in said))


@contextlib.contextmanager
def run(faults: Iterable[str] = (), options: Iterable[str] = (), program: str = "lutc-simulator") -> Iterator[Device]:
    """Starts the installed simulator and stops it when the block ends.

    `faults` go wrong on demand, such as "sendPreset=close"; `options` are more of its command line, such as
    "--input=1=shot.png". What it saves to its media goes with it.
    """
    with tempfile.TemporaryDirectory() as folder:
        command = [program, "--quiet", "--page=0", "--media=" + folder, *options, *map("--fault={}".format, faults)]
        with Popen(command, stdin=DEVNULL, stdout=PIPE, stderr=STDOUT, text=True) as process:
            try:
                yield Device(_wait(process))
            finally:
                process.terminate()
