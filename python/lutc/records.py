"""What the device and its presets are, as calls return it; and grades, lists of components.

All are values: they don't change, and compare equal when all of their fields do. Components settle their fields when
they are made: sequences become tuples, buffers become bytes. `dataclasses.replace` gives one with other fields.
"""
from __future__ import annotations

import ctypes
import enum
from dataclasses import dataclass, field
from typing import Any, List, Optional, Sequence, Tuple, TypeVar, Union

from . import _arrays, _library
from ._library import from_text, integer, number, text

__all__ = ["Cdl", "Channel", "Component", "Grade", "Lut1D", "Lut3D", "Model", "PresetChoice", "PresetEntry",
           "PresetLibrary", "RawColour", "Saturation", "StoredPreset", "TestPattern", "UnknownComponent",
           "VideoConnection", "VideoEnd"]
AnyLut = TypeVar("AnyLut", bound="_Lut")
Triple = Tuple[float, float, float]
ONES, ZEROS = (1.0, 1.0, 1.0), (0.0, 0.0, 0.0)


class VideoEnd(enum.IntEnum):
    """The end of a video connection."""

    INPUT, CHANNEL, OUTPUT = range(3)


def _triple(values: Any, settle: Any = number) -> tuple[Any, ...]:
    if len(components := tuple(map(settle, values))) != 3:
        raise ValueError(f"expected three values (red, green, blue), not {len(components)}")
    return components


# What isn't here is checked when it is sent.
_SETTLE: dict[str, Any] = {
    "slope": _triple, "offset": _triple, "power": _triple, "saturation": number, "value": number, "slot": integer,
    "data": lambda data: memoryview(data).tobytes(), "is_saturation": bool, "video_format": integer, "size": number,
    **dict.fromkeys(("foreground", "background"), lambda values: _triple(values, lambda each: integer(each, 0, 65535)))}


@dataclass(frozen=True)
class _Component:
    def __post_init__(self) -> None:
        for name in _SETTLE.keys() & vars(self).keys():
            object.__setattr__(self, name, _SETTLE[name](getattr(self, name)))


@dataclass(frozen=True)
class Cdl(_Component):
    """ASC CDL: out = (in * slope + offset) ** power, then saturation."""

    slope: Triple = ONES
    offset: Triple = ZEROS
    power: Triple = ONES
    saturation: float = 1.0
    slot: int = 0


@dataclass(frozen=True)
class Saturation(_Component):
    """1 leaves the picture as it is, 0 gives greys."""

    value: float = 1.0
    slot: int = 0


@dataclass(frozen=True)
class _Lut(_Component):
    format: str
    data: bytes = field(repr=False)
    slot: int = 0

    @classmethod
    def from_array(cls: type[AnyLut], array: Any, layout: str = "", *, format: str = "", slot: int = 0) -> AnyLut:
        """Integers are samples as they are; floats 0 to 1 are scaled and rounded, but for float32 layouts.

        The layout is "uint16-le", for a cube "uint16-le-red-fastest", and the format has the layout's name, unless they
        are given.
        """
        layout = layout or _arrays.DEFAULTS[_AXES[cls]]
        return cls(format or layout, _arrays.pack(array, layout, _AXES[cls]), slot)

    def to_array(self, layout: str = "") -> Any:
        """The samples as they are, a numpy array. The layout is the one that the format names, unless it is given."""
        return _arrays.unpack(self.data, layout or self.format, _AXES[type(self)])


class Lut1D(_Lut):
    """A curve; `format` is the table's, by the service's name, and `data` any buffer. Arrays have the shape (N, 3)."""


class Lut3D(_Lut):
    """A cube; `format` is the table's, by the service's name, and `data` any buffer. Arrays have the shape
    (N, N, N, 3), indexed [red, green, blue]."""


_AXES: dict[type, int] = {Lut1D: 1, Lut3D: 3}


@dataclass(frozen=True)
class RawColour(_Component):
    """A CDL or a saturation that came, or goes, as bytes. An answer doesn't say which."""

    data: bytes
    is_saturation: bool = False
    slot: int = 0


@dataclass(frozen=True)
class TestPattern(_Component):
    """For `send_live` alone; a preset takes it as an empty component. The last three belong to the type "square"."""

    __test__ = False  # for pytest, which takes it for a test
    type: str
    video_format: int = 0
    size: float = 0.0
    foreground: Tuple[int, int, int] = (0, 0, 0)
    background: Tuple[int, int, int] = (0, 0, 0)
    slot: int = 0


@dataclass(frozen=True)
class UnknownComponent(_Component):
    """A component of a type that lutc doesn't know; it is sent with its slot alone."""

    slot: int = 0


Component = Union[Cdl, Saturation, Lut1D, Lut3D, RawColour, TestPattern, UnknownComponent]
Grade = Sequence[Component]


@dataclass(frozen=True)
class PresetEntry:
    """A preset of the list: `combination` is an index into the model's, `components` are that combination's strings."""

    name: str
    combination: int
    components: List[str]


@dataclass(frozen=True)
class PresetLibrary:
    """The presets in their order, and the most that the library may hold."""

    presets: List[PresetEntry]
    maximum: int


@dataclass(frozen=True)
class StoredPreset:
    """A preset that was fetched: the index of its combination, and its grade."""

    combination: int
    components: List[Component]


@dataclass(frozen=True)
class PresetChoice:
    """The preset that is selected, or the override."""

    name: str
    index: int


@dataclass(frozen=True)
class Channel:
    """A grade channel, and the indices of the combinations that it supports."""

    name: str
    combinations: List[int]


@dataclass(frozen=True)
class Model:
    """What the device is; combinations and channels count from 1."""

    name: str
    friendly_name: str
    serial: str
    combinations: List[List[str]]
    channels: List[Channel]


@dataclass(frozen=True)
class VideoConnection:
    """From an input or a channel to a channel or an output.

    A type of None: the service named another than the three; when sent, it is left out.
    """

    source_type: Optional[VideoEnd]
    source_index: int
    destination_type: Optional[VideoEnd]
    destination_index: int


# ---- The library's records of grades --------------------------------------------------------------------------------

_KINDS = {Cdl: 0, Saturation: 1, Lut1D: 2, Lut3D: 3, RawColour: 0, TestPattern: 4, UnknownComponent: -1}


def cdl_record(cdl: Cdl) -> Any:
    return _library.Cdl(cdl.offset, cdl.power, cdl.slope, cdl.saturation)


def _record(component: Any) -> Any:
    _library.expect(component, _Component)
    record = _library.GradeComponent(_KINDS[type(component)], typeIndex=component.slot)
    if isinstance(component, (_Lut, RawColour)):
        record.data = ctypes.cast(ctypes.c_char_p(component.data), _library.Bytes)  # keeps the bytes
        record.dataSize = integer(len(component.data))
    if isinstance(component, _Lut):
        record.dataFormat = ctypes.cast(ctypes.c_char_p(text(component.format)), _library.Text)
    elif isinstance(component, RawColour):
        record.kind = _KINDS[Saturation if component.is_saturation else Cdl]
    elif isinstance(component, (Cdl, Saturation)):
        values = component if isinstance(component, Cdl) else Cdl(saturation=component.value)
        record.cdlValues = ctypes.pointer(cdl_record(values))
    elif isinstance(component, TestPattern):
        record.pattern = ctypes.pointer(_library.TestPattern(
            text(component.type), component.video_format, component.size, component.foreground, component.background))
    return record


def to_records(grade: Grade) -> Any:
    """They keep all that they point to."""
    return (_library.GradeComponent * len(grade))(*map(_record, grade))


def from_record(record: Any) -> Component:
    slot, data = record.typeIndex, ctypes.string_at(record.data, record.dataSize)
    if record.cdlValues:
        values = record.cdlValues.contents
        cdl = Cdl(values.slope, values.offset, values.power, values.saturation, slot)
        # All 0 is how an answer without slope, offset and power reads.
        alone = (cdl.slope, cdl.offset, cdl.power) in ((ONES, ZEROS, ONES), (ZEROS, ZEROS, ZEROS))
        return Saturation(cdl.saturation, slot) if alone else cdl
    if record.dataFormat:
        lut: type[Lut1D | Lut3D] = Lut1D if record.kind == _KINDS[Lut1D] else Lut3D
        return lut(from_text(ctypes.string_at(record.dataFormat)), data, slot)
    return RawColour(data, False, slot) if record.kind == _KINDS[RawColour] else UnknownComponent(slot)
