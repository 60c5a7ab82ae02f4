"""docs/protocol.md against what the library sends and reads."""
import contextlib
import re
import struct
import unittest

import bson
from bson.codec_options import CodecOptions
import programs
import reader
from service import listener

TYPES = {"double": float, "string": str, "array": list, "binary": bytes, "boolean": bool, "int32": int}
CDL = {"type": "cdl", "typeIndex": 1, "power": [1.0] * 3, "slope": [1.0] * 3, "offset": [0.0] * 3, "saturation": 1.0}
SAMPLES = {  # what the service answers in each reply field that the document lists
    "maxPresetsListSize": 100,
    "presetsList": [{"presetName": "evening", "gradeComboIndex": 1, "gradeCombo": ["cdl", "3dlut"]}],
    "presetName": "evening", "presetIndex": 3, "gradeComboIndex": 1, "gradeCombo": [CDL],
    "modelName": "model", "friendlyName": "name", "modelSerial": "1", "gradeCombos": [["cdl", "3dlut"]],
    "gradeChannels": [{"channelName": "A", "supportedGradeComboIndices": [1]}],
    "colorTransformState": 1, "value": "text",
    "videoConnections": [{"sourceIndex": 1, "sourceType": "input", "destinationIndex": 1, "destinationType": "channel"}],
}


class Command:
    """One command of the document: its function, the fields that it sends, the reply fields that it reads."""

    def __init__(self, section):
        self.name = section.split("\n", 1)[0]
        self.function = re.search(r"`(lutc_\w+)`", section).group(1)
        self.sent, self.read = [], []  # of (names, types, third column)
        for head, rows in reader.tables(section):
            for names, types, when in rows:
                (self.sent if head[0] == "Field" else self.read).append(
                    (reader.quoted(names), [TYPES[word.split()[0].rstrip(",")] for word in types.split(" or ")], when))

    def reply(self):
        return {"type": "response", "code": 0, **{names[0]: SAMPLES[names[0]] for names, _, _ in self.read}}


class Message(dict):
    """A decoded document, which keeps the keys and types of its elements in order: keys may occur twice."""
    pairs = ()

    def __setitem__(self, key, value):
        self.pairs += (key, type(value)),
        super().__setitem__(key, value)


def decoded(message):
    return bson.decode(message, CodecOptions(document_class=Message))


@contextlib.contextmanager
def service(answer):
    """Answers each command with answer(message); gives the list of them."""
    received = []

    def serve(connection):
        with connection, connection.makefile("rb") as stream:
            length = stream.read(4)
            received.append(length + stream.read(struct.unpack("<I", length)[0] - 4))
            connection.sendall(answer(received[-1]))

    with listener(serve):
        yield received


def command_name(message):
    return decoded(message)["command"]


class Protocol(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.text = reader.text("docs", "protocol.md")
        listed = cls.text.split("\n## Commands\n")[1].split("\n## ")[0]
        cls.commands = {command.name: command for command in map(Command, listed.split("\n### ")[1:])}

    def bytes_of(self, name):
        block = next(text for _, language, _, text in reader.blocks(self.text) if language == f"hex {name}")
        return bytes.fromhex("".join(line[6:54] for line in block.splitlines()))

    def test_worked_example(self):
        with service(lambda message: self.bytes_of("reply")) as received:
            result = programs.run(programs.TOOL, "presets", "selected", "--channel", "2")
        self.assertEqual(received, [self.bytes_of("command")])
        self.assertEqual(result.stdout, "presetName: evening\npresetIndex: 3\n")

    def test_every_function_has_its_command(self):
        self.assertEqual({command.function: command.name for command in self.commands.values()}, reader.functions())

    def test_fields_are_those_sent_and_replies_suffice(self):
        with service(lambda message: bson.encode(self.commands[command_name(message)].reply())) as received:
            result = programs.run_example("all_functions")
        self.assertEqual(result.returncode, 0, result.stdout)

        never_sent = {(command.name, tuple(names)) for command in self.commands.values() for names, _, _ in command.sent}
        for message in received:
            command = self.commands[command_name(message)]
            *envelope, sent = *decoded(message).pairs[:4], list(decoded(message).pairs[4:])
            self.assertEqual(envelope, [("protocolVersion", str), ("type", str), ("msgID", int), ("command", str)])
            for names, types, when in command.sent:  # in the document's order, nothing between
                if sent and sent[0] in zip(names, types):
                    sent.pop(0)
                    never_sent.discard((command.name, tuple(names)))
                else:
                    self.assertNotIn("always", when, f"{command.name}: {names} is missing")
            self.assertEqual(sent, [], f"{command.name} sends more than the document lists, or in another order")
        self.assertEqual(never_sent, set())
        self.assertEqual({command_name(message) for message in received}, set(self.commands))


if __name__ == "__main__":
    unittest.main()
