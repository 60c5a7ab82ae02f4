"""Control of a video colour-processing device: presets, grades, channels, routing, options.

Each function is the one of the C library without its prefix: one command to the service, and its answer. A preset is
given by name (str) or index (int). A channel, slot or index of 0 or less means that none is named; all count from 1.
`reset` starts from a neutral grade and applies what is sent at once. A failed call raises `lutc.Error`; arguments that
can't be sent raise ValueError or TypeError before anything is.
"""
from __future__ import annotations

from ctypes import byref as _byref, c_int as _c_int, create_string_buffer as _buffer
from typing import Any as _Any

from . import _library, simulator as simulator
from ._library import Error as Error, call as _call, expect as _expect, from_text as _from_text, integer as _integer, \
    preset as _preset, strings_of as _strings
from .records import *  # noqa: F403
from .records import _Lut, cdl_record as _cdl_record, from_record as _from_record, to_records as _to_records

Error.__module__ = __name__

# ---- The preset library as a whole ----------------------------------------------------------------------------------


def load_presets_from_media() -> None:
    """Replaces the library with the one stored on the device's media."""
    _call("load_presets_from_media")


def save_presets_to_media() -> None:
    """Stores the library on the device's media."""
    _call("save_presets_to_media")


def delete_all_presets() -> None:
    """Deletes every preset of the library, not of the media."""
    _call("delete_all_presets")


def preset_list() -> PresetLibrary:
    """The presets in their order, with what the combination of each consists of."""
    entries, maximum = _library.Block(_library.PresetEntry), _c_int()
    _call("preset_list", *entries.places, _byref(maximum))
    return PresetLibrary([PresetEntry(_from_text(each.presetName), each.gradeComboIndex, _strings(each.gradeCombo))
                          for each in entries], maximum.value)


def delete_preset(preset: str | int) -> None:
    """Deletes one preset."""
    _call("delete_preset", *_preset(preset))


def rename_preset(preset: str | int, *, new_name: str) -> None:
    """Renames one preset."""
    _call("rename_preset", *_preset(preset), new_name)


def move_preset(preset: str | int, *, to_index: int) -> None:
    """Moves one preset to another place in the list; the index is sent whatever its value."""
    _call("move_preset", *_preset(preset), to_index)


# ---- Selected and override presets ----------------------------------------------------------------------------------


def _choice(call: str, *arguments: _Any) -> PresetChoice:
    name, index = _buffer(_library.NAME_SIZE + 1), _c_int()
    _call(call, *arguments, name, _byref(index))
    return PresetChoice(_from_text(name.value), index.value)


def get_preset(*, channel: int = 0) -> PresetChoice:
    """The preset that the channel shows."""
    return _choice("get_preset", channel)


def set_preset(preset: str | int, *, channel: int = 0) -> None:
    """Selects the preset that the channel shows."""
    _call("set_preset", channel, *_preset(preset))


def get_override_preset() -> PresetChoice:
    """The override preset."""
    return _choice("get_override_preset")


def set_override_preset(preset: str | int) -> None:
    """Sets the override preset. An index of 0 is sent too."""
    _call("set_override_preset", *_preset(preset))


# ---- Grades ---------------------------------------------------------------------------------------------------------


def send_combination(combination: int, *, channel: int = 0, reset: bool = False) -> None:
    """Chooses the grade combination, an index into the model's that is sent whatever its value."""
    _call("send_combination", channel, reset, combination)


def send_lut(lut: Lut1D | Lut3D, *, channel: int = 0, slot: int | None = None, reset: bool = False,
             type: str | None = None) -> None:
    """Sends one table, to the LUT's slot unless another is given. `type` is the service's name of what it is; without
    it that is "1dlut" or "3dlut"."""
    _expect(lut, _Lut)
    kind = type if type is not None else "1dlut" if isinstance(lut, Lut1D) else "3dlut"
    _call("send_lut", channel, lut.slot if slot is None else slot, reset, kind, lut.format, lut.data, len(lut.data))


def send_cdl(cdl: Cdl, *, channel: int = 0, slot: int | None = None, reset: bool = False) -> None:
    """Sends CDL values, to their slot unless another is given."""
    _expect(cdl, Cdl)
    _call("send_cdl", channel, cdl.slot if slot is None else slot, reset, _byref(_cdl_record(cdl)))


def send_saturation(saturation: Saturation | float, *, channel: int = 0, slot: int | None = None,
                    reset: bool = False) -> None:
    """Sends a saturation, to its slot unless another is given."""
    given = saturation if isinstance(saturation, Saturation) else Saturation(saturation)
    _call("send_saturation", channel, given.slot if slot is None else slot, reset, given.value)


def send_live(grade: Grade, *, channel: int = 0, combination: int = 0, reset: bool = False) -> None:
    """Sends a whole grade for immediate use; nothing is stored."""
    records = _to_records(grade)
    _call("send_live", channel, combination, reset, records, len(records))


def send_preset(preset: str | int, grade: Grade, *, to_index: int = 0, combination: int = 0, apply: bool = False,
                channel: int = 0) -> None:
    """Stores a preset, at the place `to_index` of the list. With `apply` the channel shows it at once."""
    records = _to_records(grade)
    _call("send_preset", *_preset(preset), to_index, combination, apply, channel, records, len(records))


def recv_preset(preset: str | int) -> StoredPreset:
    """Fetches a preset, all of its components.

    An answer doesn't say whether values are a CDL or a saturation: those whose slope, offset or power changes the
    picture come as Cdl, all others as Saturation. Bytes come as a RawColour of a CDL.
    """
    for capacity in (64, 1 << 17):  # an answer has no room for more
        room, combination = _library.Block(_library.GradeComponent, capacity), _c_int()
        _call("recv_preset", *_preset(preset), _byref(combination), *room.places)
        if room.count.value < capacity:
            break
    return StoredPreset(combination.value, [_from_record(each) for each in room])


# ---- The device -----------------------------------------------------------------------------------------------------


def client_info(model: str, *, version: str | None = None, serial: str | None = None) -> None:
    """Tells the service who the client is."""
    _call("client_info", model, version, serial)


def model_info() -> Model:
    """What the device is."""
    strings = [_buffer(_library.MODEL_STRING_BUFFER_SIZE) for _ in range(3)]
    combos, channels = _library.Block(_library.GradeCombo), _library.Block(_library.GradeChannel)
    _call("model_info", *strings, *combos.places, *channels.places)
    name, friendly_name, serial = (_from_text(string.value) for string in strings)
    return Model(name, friendly_name, serial, [_strings(combo) for combo in combos],
                 [Channel(_from_text(each.channelName), [i for i in each.supportedGradeComboIndices if i != 0])
                  for each in channels])


def get_state(*, channel: int = 0) -> int:
    """The colour-transform state of a channel, a number of the service's."""
    state = _c_int()
    _call("get_state", _byref(state), channel)
    return state.value


def set_state(state: int, *, channel: int = 0) -> None:
    """Sets the colour-transform state of a channel."""
    _call("set_state", state, channel)


def get_video_connections() -> list[VideoConnection]:
    """The video connections, at most eight."""
    untouched = [(-1, 0, -1, 0)] * _library.MAX_VIDEO_CONNECTIONS  # an unknown type leaves its field
    connections, count = (_library.VideoConnection * len(untouched))(*untouched), _c_int()
    _call("get_video_connections", connections, _byref(count))
    end = dict(enumerate(VideoEnd)).get
    return [VideoConnection(end(each.sourceType), each.sourceIndex, end(each.destinationType), each.destinationIndex)
            for each in connections[:count.value]]


def set_video_connection(connection: VideoConnection) -> None:
    """Makes one connection: from an input or a channel, to a channel or an output."""
    _expect(connection, VideoConnection)
    ends = (connection.source_type, connection.source_index, connection.destination_type, connection.destination_index)
    record = _library.VideoConnection(*(-1 if value is None else _integer(value) for value in ends))
    _call("set_video_connection", _byref(record))


def get_option(name: str) -> str:
    """An option of the device as text."""
    value = _buffer(_library.MODEL_STRING_BUFFER_SIZE + 1)  # an answer has no room for more
    _call("get_option", name, value, len(value) - 1)
    return _from_text(value.value)


def set_option(name: str, value: str) -> None:
    """Sets an option of the device."""
    _call("set_option", name, value)
