"""liblutc.so.1 by ctypes: arguments as it takes them, its records and functions, and what a failed call raises."""
from __future__ import annotations

import ctypes
import errno
import functools
import operator
import os
import sys
from ctypes import POINTER, c_bool, c_char, c_char_p, c_double, c_int, c_int32, c_ubyte, c_uint16, c_uint32, c_void_p
from typing import Any, Iterator

# ---- Arguments, or a TypeError or ValueError before anything is sent ------------------------------------------------

NAME_SIZE, COMBO_SLOTS, MAX_VIDEO_CONNECTIONS, MODEL_STRING_BUFFER_SIZE = 32, 4, 8, 1024


def integer(value: Any, lowest: int = -(2**31), highest: int = 2**31 - 1) -> int:
    if isinstance(value, bool) or not lowest <= operator.index(value) <= highest:
        raise ValueError(f"{value} is not a whole number from {lowest} to {highest}")
    return operator.index(value)


def number(value: Any) -> float:
    return float(c_double(value).value)  # which takes no texts


def text(value: Any, most: int = sys.maxsize) -> bytes:
    encoded = str.encode(value, "utf-8", "surrogateescape")
    if b"\0" in encoded or len(encoded) > most:
        reason = "a zero byte" if b"\0" in encoded else f"{len(encoded)} bytes; at most {most} are possible"
        raise ValueError(f"the text {value!r} has {reason}")
    return encoded


def expect(value: Any, kind: type) -> None:
    if not isinstance(value, kind):
        raise TypeError(f"expected a {kind.__name__.lstrip('_')}, not {type(value).__name__}")


def from_text(encoded: bytes) -> str:
    return encoded.decode("utf-8", "surrogateescape")


def preset(value: str | int) -> tuple[str | None, int]:
    """Its name and its index."""
    return (value, 0) if isinstance(value, str) else (None, integer(value))


# ---- Records --------------------------------------------------------------------------------------------------------


def _record(name: str, **fields: Any) -> Any:
    return type(name, (ctypes.Structure,), {"_fields_": list(fields.items())})


Bytes, Text = POINTER(c_ubyte), POINTER(c_char)  # not c_char_p, whose address can't be had
Cdl = _record("cdl", offset=c_double * 3, power=c_double * 3, slope=c_double * 3, saturation=c_double)
TestPattern = _record("testPattern", patternType=c_char_p, videoFormat=c_int32, squareSize=c_double,
                      fgColor=c_uint16 * 3, bgColor=c_uint16 * 3)
GradeComponent = _record("gradeComponent", kind=c_int32, data=Bytes, dataSize=c_int32, typeIndex=c_int32,
                         dataFormat=Text, cdlValues=POINTER(Cdl), pattern=POINTER(TestPattern))
GradeCombo = _record("gradeCombo", slots=Text * COMBO_SLOTS)
Name = c_char * (NAME_SIZE + 1)
PresetEntry = _record("presetEntry", presetName=Name, gradeComboIndex=c_int32, gradeCombo=GradeCombo)
GradeChannel = _record("gradeChannel", channelName=Name, supportedGradeComboIndices=c_int32 * COMBO_SLOTS)
VideoConnection = _record("videoConnection", sourceType=c_int32, sourceIndex=c_int32, destinationType=c_int32,
                          destinationIndex=c_int32)


class Block:
    """Records that a call hands out, or with a capacity fills; what it allocates is freed with this object."""

    def __init__(self, kind: Any, capacity: int = 0) -> None:
        self.records, self.count = POINTER(kind)(), c_int(capacity)
        if capacity:  # a kind (the first field) that isn't written stays -1
            self.records = (kind * capacity).from_buffer_copy(bytes(kind(-1)) * capacity)
        self.places = ctypes.byref(self.records), ctypes.byref(self.count)

    def __iter__(self) -> Iterator[Any]:
        return iter(self.records[:self.count.value])

    def __del__(self) -> None:
        for record in self:
            for field in ("data", "dataFormat", "cdlValues"):
                free(getattr(record, field, None))
            for slot in getattr(getattr(record, "gradeCombo", record), "slots", ()):
                free(slot)
        if not isinstance(self.records, ctypes.Array):
            free(self.records)


def strings_of(combo: Any) -> list[str]:
    return [from_text(ctypes.string_at(slot)) for slot in combo.slots if slot]


# ---- Functions ------------------------------------------------------------------------------------------------------

# How arguments are passed and checked. In capitals: or None.
ARGUMENTS: dict[str, tuple[Any, Any]] = {
    "i": (c_int, integer), "u": (c_uint32, integer), "b": (c_bool, bool), "d": (c_double, number),
    "t": (c_char_p, text), "n": (c_char_p, lambda name: text(name, NAME_SIZE)), "p": (c_void_p, lambda place: place)}
SIGNATURES = {
    "load_presets_from_media": "", "save_presets_to_media": "", "delete_all_presets": "", "preset_list": "ppp",
    "delete_preset": "Ni", "rename_preset": "Nin", "move_preset": "Nii", "get_preset": "ipp", "set_preset": "iNi",
    "get_override_preset": "pp", "set_override_preset": "Ni", "send_combination": "ibi", "send_lut": "iibttpi",
    "send_cdl": "iibp", "send_saturation": "iibd", "send_live": "iibpi", "send_preset": "Niiibipi",
    "recv_preset": "Nippp", "client_info": "tTT", "model_info": "ppppppp", "get_state": "pi", "set_state": "ii",
    "get_video_connections": "pp", "set_video_connection": "p", "get_option": "tpu", "set_option": "tt"}
SYMBOLS = {"send_lut": "_Z13lutc_send_lutiibPKcS0_Phi"}  # the one that carries its parameter types

try:
    _library = ctypes.CDLL("liblutc.so.1", use_errno=True)
    _functions: dict[str, Any] = {each: getattr(_library, SYMBOLS.get(each, "lutc_" + each)) for each in SIGNATURES}
except (OSError, AttributeError) as error:
    raise ImportError(f"lutc needs the library liblutc.so.1 ({error}): install the package liblutc1, or name its "
                      "folder in LD_LIBRARY_PATH", name="liblutc.so.1") from error
for _name, _function in _functions.items():
    _function.argtypes = [ARGUMENTS[letter.lower()][0] for letter in SIGNATURES[_name]]
free = ctypes.CDLL(None).free
free.argtypes, free.restype = [ctypes.c_void_p], None

REASONS = {
    errno.EREMOTEIO: "the service refused it (its log says why)",
    errno.ETIMEDOUT: "no answer in time, or it did not take the command",
    errno.EPROTO: "the answer broke off",
    errno.ECONNRESET: "the connection ended before an answer"}


class Error(OSError):
    """A call that failed.

    `errno` is what the library set, `call` the name of its function. It is raised as the built-in class of the errno
    too, where there is one: `except ConnectionRefusedError`, `except TimeoutError`.
    """

    def __init__(self, number: int, call: str) -> None:
        super().__init__(number, f"{call}: {REASONS.get(number) or os.strerror(number)}")
        self.call = call

    def __reduce__(self) -> tuple[Any, ...]:
        return failure, (self.errno, self.call)


@functools.lru_cache(maxsize=None)
def _class_of(number: int) -> type[Error]:
    known = type(OSError(number, ""))
    return Error if known is OSError else type(known.__name__, (Error, known), {"__module__": "lutc"})


def failure(number: int, call: str) -> Error:
    return _class_of(number)(number, call)


def call(name: str, *arguments: Any) -> None:
    converted = [None if value is None and letter.isupper() else ARGUMENTS[letter.lower()][1](value)
                 for letter, value in zip(SIGNATURES[name], arguments)]
    if _functions[name](*converted) != 0:
        raise failure(ctypes.get_errno(), "lutc_" + name)
