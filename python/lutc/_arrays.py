"""Tables as numpy arrays, in every layout that `lutc lut pack` writes (docs/colour-files.md)."""
import re
from typing import Any, Tuple

LARGEST = {"float32": 0, "uint16": 65535, "uint12in16": 4095, "uint10in16": 1023}  # what 1 is stored as; 0: IEEE 754
DEFAULTS = {1: "uint16-le", 3: "uint16-le-red-fastest"}  # by the number of axes: of a curve, of a cube


def _find(layout: str, axes: int) -> Tuple[str, int, bool]:
    """The layout's numpy type, what 1 is stored as, and whether red is fastest."""
    match = re.fullmatch(f"({'|'.join(LARGEST)})-(le|be)({'-red-fastest|-blue-fastest' if axes == 3 else ''})",
                         DEFAULTS[axes] if layout == "uint16" else layout)
    if match is None:
        raise ValueError(f"{layout!r} is no layout of a {'cube' if axes == 3 else 'curve'}, as {DEFAULTS[axes]!r} is")
    sample_type = ("<" if match[2] == "le" else ">") + ("u2" if LARGEST[match[1]] else "f4")
    return sample_type, LARGEST[match[1]], match[3] == "-red-fastest"


def pack(array: Any, layout: str, axes: int) -> bytes:
    import numpy
    sample_type, largest, red_fastest = _find(layout, axes)
    values = numpy.asarray(array)
    size = values.shape[0] if values.ndim else 0
    if size < 2 or values.shape != (size,) * axes + (3,):
        raise ValueError(f"expected an array of shape ({'N, ' * axes}3) with N of 2 or more, not {values.shape}")
    if values.dtype.kind not in "iuf":
        raise TypeError(f"expected integers or floats, not {values.dtype}")
    top = float(numpy.finfo("f4").max) if not largest else 1 if values.dtype.kind == "f" else largest
    lowest, highest = float(values.min()), float(values.max())
    if not (-top * (not largest) <= lowest and highest <= top):
        raise ValueError(f"expected values from {0 if largest else -top} to {top}, not {lowest} to {highest}")
    if top == 1:
        values = numpy.floor(values.astype("f8") * largest + 0.5)  # halves up
    samples = values.astype(sample_type)
    return (samples.transpose(2, 1, 0, 3) if red_fastest else samples).tobytes()


def unpack(data: bytes, layout: str, axes: int) -> Any:
    import numpy
    sample_type, _, red_fastest = _find(layout, axes)
    entries, rest = divmod(len(data), 3 * numpy.dtype(sample_type).itemsize)
    size = round(entries ** (1 / axes))
    if rest or size < 2 or size**axes != entries:
        raise ValueError(f"{len(data)} bytes are no table of {layout!r}, of shape ({'N, ' * axes}3)")
    values = numpy.frombuffer(data, sample_type).reshape((size,) * axes + (3,))
    return numpy.array(values.transpose(2, 1, 0, 3) if red_fastest else values, dtype=sample_type[1:], order="C")
