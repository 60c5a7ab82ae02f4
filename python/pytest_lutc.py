"""pytest: the fixture lutc_simulator, a fresh simulated device for each test that asks for it."""
import pytest


@pytest.fixture
def lutc_simulator():
    """A simulated device on the service's port: see lutc.simulator."""
    from lutc import simulator  # not before it is asked for: it needs the library
    with simulator.run() as device:
        yield device
