#!/usr/bin/env python3
"""Writes a start corpus for the fuzz targets: OUTPUT/documents, OUTPUT/replies, OUTPUT/commands.

    make_corpus.py OUTPUT [--random N]

Without --random it writes the fixed inputs alone, which are the ones in seeds/. With it, N further ones for each target:
the fixed ones with values, lengths and types changed in ways that keep most of the structure. Always the same ones.
"""
import argparse
import pathlib
import random
import struct


def element(kind, key, body=b""):
    return bytes([kind]) + key.encode() + b"\0" + body


def document(*elements):
    inner = b"".join(elements)
    return struct.pack("<i", len(inner) + 5) + inner + b"\0"


def text(key, value, kind=0x02):
    raw = value if isinstance(value, bytes) else value.encode()
    return element(kind, key, struct.pack("<i", len(raw) + 1) + raw + b"\0")


def int32(key, value):
    return element(0x10, key, struct.pack("<i", value))


def real(key, value):
    return element(0x01, key, struct.pack("<d", value))


def boolean(key, value):
    return element(0x08, key, bytes([value]))


def binary(key, value, subtype=0):
    return element(0x05, key, struct.pack("<i", len(value)) + bytes([subtype]) + value)


def array(key, make, values):
    return element(0x04, key, document(*(make(str(i), v) for i, v in enumerate(values))))


def inner(key, elements):
    return element(0x03, key, document(*elements))


def scope(key, code, *elements):
    raw = code.encode() + b"\0"
    body = struct.pack("<i", len(raw)) + raw + document(*elements)
    return element(0x0F, key, struct.pack("<i", len(body) + 4) + body)


EVERY_KIND = [
    real("d", 0.5), text("s", "hi"), inner("doc", [int32("n", 1)]), array("list", int32, [1, 2, 3]),
    binary("b", b"\xAA\xBB", 0x80), element(0x06, "undefined"), element(0x07, "oid", bytes(range(12))),
    boolean("on", 1), element(0x09, "utc", struct.pack("<q", -1)), element(0x0A, "null"),
    element(0x0B, "regex", b"a.*b\0im\0"), element(0x0C, "dbptr", struct.pack("<i", 3) + b"db\0" + bytes(12)),
    text("js", "f()", 0x0D), text("symbol", "sym", 0x0E), scope("scoped", "g()", int32("n", 1)), int32("i", -1),
    element(0x11, "ts", bytes(8)), element(0x12, "l", struct.pack("<q", 2**62)), element(0x7F, "max"),
    element(0xFF, "min"),
]


def nested(depth, kind=0x03):
    value = document()
    for _ in range(depth):
        value = document(element(kind, "0", value))
    return value


def documents():
    yield "empty", document()
    yield "every_kind", document(*EVERY_KIND)
    for one in EVERY_KIND:
        yield "kind_%02x" % one[0], document(one)
    yield "unknown_at_top", document(int32("a", 1), element(0x13, "x"), int32("b", 2))
    yield "unknown_inside", document(inner("doc", [int32("a", 1), element(0x13, "x")]), int32("b", 2))
    yield "zero_type", document(element(0x00, "x"))
    yield "array_keys_00", document(element(0x04, "a", document(int32("00", 1), int32(" +1", 2), int32("2x", 3))))
    yield "array_keys_gap", document(element(0x04, "a", document(int32("0", 1), int32("2", 2))))
    yield "lengths_of_0", document(element(0x02, "s", bytes(4)), element(0x0C, "p", bytes(16)), binary("b", b""))
    yield "length_of_0_last", document(element(0x02, "s", bytes(4)))
    yield "negative_length", document(element(0x02, "s", b"\xff\xff\xff\xff\0"))
    yield "length_wraps", document(element(0x05, "b", b"\xfb\xff\xff\xff\0\0"), element(0x0A, "n"))
    yield "scope_is_short", document(element(0x0F, "w", struct.pack("<ii", 9, 1) + b"\0" + document()))
    yield "key_without_end", struct.pack("<i", 8) + b"\x0Aab\0"
    yield "same_keys", document(int32("k", 1), text("k", "two"), int32("k", 3))
    yield "boolean_2", document(element(0x08, "on", b"\2"))
    yield "one_byte_more", document() + b"\0"
    yield "nested_30", nested(30)
    yield "nested_arrays_30", nested(30, 0x04)


COMBO = array("gradeCombo", text, ["1dlut", "cdl", "3dlut", "cdl", "fifth"])


def preset_entry(name, index):
    return [text("presetName", name), int32("gradeComboIndex", index), COMBO]


def component(kind, *rest):
    return [text("type", kind), int32("typeIndex", 1), *rest]


CDL = [array(key, real, [1.0, 0.5, 2.0]) for key in ("power", "slope", "offset")] + [real("saturation", 0.9)]
TABLE = [text("dataFormat", "float"), binary("data", bytes(24))]


def connection(source, destination):
    return [int32("sourceIndex", 1), text("sourceType", source), int32("destinationIndex", 2),
            text("destinationType", destination)]


MODEL = [text("modelName", "m"), text("friendlyName", "f"), text("modelSerial", "s"),
         element(0x04, "gradeCombos", document(array("0", text, ["cdl"]), array("1", text, []))),
         array("gradeChannels", inner, [[text("channelName", "A" * 40),
                                         array("supportedGradeComboIndices", int32, [1, 2, 3, 4, 5])]])]


def results():
    """What each reading function reads, by its number."""
    yield "preset_list", 0, [int32("maxPresetsListSize", 100),
                             array("presetsList", inner, [preset_entry("a", 1), preset_entry("b" * 40, 2)])]
    yield "preset_list_empty", 0, [int32("maxPresetsListSize", 0), element(0x04, "presetsList", document())]
    yield "preset_list_bad_second", 0, [int32("maxPresetsListSize", 9), array(
        "presetsList", inner, [preset_entry("a", 1), [text("presetName", "b"), COMBO]])]
    yield "preset", 1, [int32("gradeComboIndex", 1), array("gradeCombo", inner, [
        component("cdl", *CDL), component("1dlut", *TABLE), component("saturation", binary("data", b"\1\2")),
        component("other"), component("3dlut", *TABLE)])]
    yield "preset_bad_last", 1, [int32("gradeComboIndex", 1), array("gradeCombo", inner, [
        component("3dlut", *TABLE), component("cdl", *CDL), component("1dlut", text("dataFormat", "x"))])]
    yield "preset_short_triple", 1, [int32("gradeComboIndex", 1), array("gradeCombo", inner, [
        component("cdl", array("power", real, [1.0]), array("slope", int32, [1, 2, 3, 4]), real("saturation", 1.0))])]
    yield "model", 2, MODEL
    yield "model_without_lists", 2, MODEL[:3]
    yield "model_bad_index", 2, MODEL[:4] + [array("gradeChannels", inner, [
        [text("channelName", "A"), array("supportedGradeComboIndices", text, ["1"])]])]
    yield "video", 3, [array("videoConnections", inner, [connection("input", "channel"),
                                                         connection("channel", "output"),
                                                         connection("other", "output"),
                                                         [int32("sourceIndex", 1)]] * 3)]
    yield "option", 4, [text("value", "a value")]
    yield "option_long", 4, [text("value", b"x" * 40)]
    yield "option_inner_zero", 4, [text("value", b"a\0b")]
    yield "selected", 5, [text("presetName", "p" * 33), int32("presetIndex", 7)]
    yield "state", 6, [int32("colorTransformState", -1)]
    yield "state_boolean", 6, [boolean("colorTransformState", 1)]


def replies():
    for name, function, fields in results():
        yield name, bytes([0x80 | function]) + b"".join(fields)
        yield name + "_whole", bytes([function]) + document(text("type", "response"), int32("msgID", 1),
                                                            int32("code", 0), *fields)
    yield "refused", b"\4" + document(text("type", "response"), int32("code", 3), text("value", "x"))
    yield "event", b"\4" + document(text("type", "event"), int32("code", 0), text("value", "x"))
    yield "no_code", b"\4" + document(text("type", "response"), text("value", "x"))
    yield "nothing", b"\4"


COMMANDS = ["deleteAllPresets", "deletePreset", "getColorTransformState", "getModelInfo", "getOption",
            "getOverridePreset", "getPreset", "getPresetsList", "getSelectedPreset", "getVideoConnections",
            "loadPresetsFromMedia", "movePreset", "renamePreset", "savePresetsToMedia", "sendCDL", "sendClientInfo",
            "sendGradeCombo", "sendLive", "sendLut", "sendPreset", "sendSaturation", "setColorTransformState",
            "setOption", "setOverridePreset", "setSelectedPreset", "setVideoConnection"]


def command(name, *fields):
    raw = b"".join(fields)
    return bytes([0x80 | COMMANDS.index(name)]) + struct.pack("<H", len(raw)) + raw


def whole(*elements):
    raw = document(*elements)
    return b"\0" + struct.pack("<H", len(raw)) + raw


GRADE = array("gradeCombo", inner, [
    component("cdl", text("dataFormat", "cdl"), *CDL), component("1dlut", *TABLE), component("3dlut", *TABLE)])


def upload(name, *more):
    return command("sendPreset", text("presetName", name), *more, int32("gradeComboIndex", 1), GRADE)


def commands():
    yield "library", upload("a") + upload("b", int32("toIndex", 1)) + command(
        "movePreset", text("presetName", "a"), int32("toIndex", 1)) + command(
        "renamePreset", int32("presetIndex", 2), text("newName", "c")) + command(
        "deletePreset", text("presetName", "a")) + command("getPreset", text("presetName", "c")) + command(
        "getPresetsList") + command("deleteAllPresets")
    yield "chosen", upload("a") + command("setSelectedPreset", int32("channelIndex", 1), text("presetName", "a")) + \
        command("getSelectedPreset", int32("channelIndex", 1)) + command("setOverridePreset", int32("presetIndex", 1)) + \
        command("getOverridePreset") + command("setOverridePreset", int32("presetIndex", 0))
    yield "live", command("sendCDL", int32("channelIndex", 1), boolean("resetAndApply", 1), int32("cdlIndex", 1),
                          *CDL) + \
        command("sendSaturation", int32("channelIndex", 2), boolean("resetAndApply", 0), real("saturation", 0.5)) + \
        command("sendLut", int32("channelIndex", 1), boolean("resetAndApply", 0), int32("lutIndex", 1),
                text("type", "3dlut"), *TABLE) + \
        command("sendGradeCombo", boolean("resetAndApply", 1), int32("gradeComboIndex", 1)) + \
        command("sendLive", int32("channelIndex", 1), int32("gradeComboIndex", 1), boolean("resetAndApply", 1), GRADE)
    yield "pattern", command("sendLive", boolean("resetAndApply", 1), array("gradeCombo", inner, [
        [text("type", "tpg"), text("patternType", "square"), int32("videoFormat", 1), real("squareSize", 0.5),
         array("fgColor", int32, [1, 2, 3]), array("bgColor", int32, [0, 0, 65535])]]))
    yield "device", command("sendClientInfo", text("clientModel", "m"), text("versionNumber", "1"),
                            text("clientSerial", "s")) + command("getModelInfo") + \
        command("setColorTransformState", int32("channelIndex", 1), int32("colorTransformState", 2)) + \
        command("getColorTransformState", int32("channelIndex", 1)) + \
        command("setOption", text("name", "friendlyName"), text("value", "new")) + \
        command("getOption", text("name", "friendlyName"))
    yield "routes", command("setVideoConnection", text("sourceType", "input"), int32("sourceIndex", 1),
                            text("destinationType", "output"), int32("destinationIndex", 2)) + \
        command("getVideoConnections")
    yield "media", command("savePresetsToMedia") + command("loadPresetsFromMedia")
    yield "empty", b"".join(command(name) for name in COMMANDS)
    yield "wrong_kinds", b"".join(command(name, real("channelIndex", 1.0), int32("presetName", 1), text(
        "presetIndex", "1")) for name in COMMANDS)
    yield "no_envelope", whole() + whole(text("command", "getModelInfo")) + whole(
        text("protocolVersion", "3.0"), text("type", "command"), int32("msgID", 1), text("command", "getModelInfo"))
    yield "not_bson", b"\0\3\0abc"
    header = document(text("format", "lutc presets"), int32("version", 1), int32("presets", 1))
    stored = document(text("presetName", "a"), int32("gradeComboIndex", 1), GRADE)
    yield "media_file", b"\xff" + header + stored
    yield "media_file_short", b"\xff" + header + stored[:-9]
    yield "media_file_long", b"\xff" + header + stored + stored


SOURCES = {"documents": documents, "replies": replies, "commands": commands}
TELLING = [0, 1, 2, 4, 5, 0x7F, 0x80, 0xFF]


def changed(raw, generator):
    raw = bytearray(raw)
    for _ in range(generator.randint(1, 4)):
        if not raw:
            return bytes(raw)
        at = generator.randrange(len(raw))
        what = generator.randrange(5)
        if what == 0:
            raw[at] = generator.choice(TELLING)
        elif what == 1:
            raw[at] = (raw[at] + generator.choice([-1, 1])) % 256
        elif what == 2:
            raw[at:at + 4] = struct.pack("<I", generator.choice([0, 1, 4, 5, len(raw), 2**31 - 1, 2**32 - 1]))
        elif what == 3:
            del raw[at:at + generator.randint(1, 8)]
        else:
            raw[at:at] = raw[at:at + generator.randint(1, 32)]
    return bytes(raw)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("output", type=pathlib.Path)
    parser.add_argument("--random", type=int, default=0, metavar="N")
    options = parser.parse_args()
    generator = random.Random(1)
    for target, source in SOURCES.items():
        folder = options.output / target
        folder.mkdir(parents=True, exist_ok=True)
        fixed = dict(source())
        for name, raw in fixed.items():
            (folder / name).write_bytes(raw)
        for number in range(options.random):
            raw = changed(generator.choice(list(fixed.values())), generator)
            (folder / ("random_%d" % number)).write_bytes(raw)


if __name__ == "__main__":
    main()
