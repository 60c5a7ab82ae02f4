"""Services for the tests: the simulator as a process, and a listener on the service's own port."""
import contextlib
import socket
import subprocess
import threading

ADDRESS = ("127.0.0.1", 54440)
DEADLINE = 60


@contextlib.contextmanager
def listener(serve):
    """Calls serve(connection) for one connection to the service's port after the other, in a thread."""
    def run():
        with contextlib.suppress(OSError):
            while True:
                connection, _ = listening.accept()
                with contextlib.suppress(OSError):
                    serve(connection)

    listening = socket.create_server(ADDRESS)
    thread = threading.Thread(target=run, daemon=True)
    thread.start()
    try:
        yield
    finally:
        listening.shutdown(socket.SHUT_RDWR)
        thread.join(DEADLINE)
        listening.close()


class Simulator:
    """Listens once it has been made, until stop(), kill() or the end of a with block; collects what it prints."""

    def __init__(self, program, *options):
        self.lines, self.ended, self.grown = [], False, threading.Condition()
        self.process = subprocess.Popen([program, *options], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        self.reader = threading.Thread(target=self.read)
        self.reader.start()
        try:
            self.wait_for("listening on")
        except RuntimeError:
            self.kill()
            raise
        self.port = int(next(line for line in self.lines if "listening on" in line).rpartition(":")[2])

    def read(self):
        for line in self.process.stdout:
            with self.grown:
                self.lines.append(line)
                self.grown.notify_all()
        with self.grown:
            self.ended = True
            self.grown.notify_all()

    def count(self, text):
        return sum(text in line for line in self.lines)

    def wait_for(self, text, times=1):
        """Until that many lines hold the text."""
        with self.grown:
            self.grown.wait_for(lambda: self.ended or self.count(text) >= times, timeout=DEADLINE)
            if self.count(text) < times:
                raise RuntimeError(f"the simulator never said '{text}': {self.lines[-3:]}")

    def stop(self):
        """Again is nothing. What was printed before is then in lines."""
        self.process.terminate()
        self.reap()
        if self.process.returncode != 0:
            raise RuntimeError(f"the simulator ended with {self.process.returncode}: {''.join(self.lines)}")

    def kill(self):
        self.process.kill()
        self.reap()

    def reap(self):
        self.process.wait(timeout=DEADLINE)
        self.reader.join()
        self.process.stdout.close()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if self.process.returncode is None:
            self.stop()
