#!/usr/bin/env python3
"""The document classes against the BSON codec of python3-bson, on random documents of the kinds that both know.

    test_against_pymongo.py CODEC_TOOL [NUMBER [SEED]]

What it encodes we decode to the same values; what we encode it reads back equal; what it refuses in a damaged document
we refuse, but for the deliberate differences of docs/protocol.md, which ALLOWED names by its words for them.
"""
import datetime
import math
import pathlib
import random
import re
import struct
import subprocess
import sys
import unittest

import bson
from bson.binary import Binary
from bson.code import Code
from bson.errors import InvalidBSON
from bson.int64 import Int64
from bson.objectid import ObjectId
from bson.regex import Regex
from bson.timestamp import Timestamp

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "support"))
from damage import damaged  # noqa: E402

TOOL = sys.argv[1]
NUMBER = int(sys.argv[2]) if len(sys.argv) > 2 else 1000
SEED = int(sys.argv[3]) if len(sys.argv) > 3 else 1
OPTIONS = bson.codec_options.CodecOptions(document_class=bson.son.SON, unicode_decode_error_handler="replace")

# Refused there, accepted here: its words, what our values then hold, why.
ALLOWED = [
    (r"Detected unknown BSON type", r"[{[]", "an unknown type byte in an embedded document ends that one alone"),
    (r"invalid string length", r"=(text|0d|0e|0c):", "a length of 0 is an empty string"),
    (r"", r"=0f:", "of code with scope the code is not looked at, and the scope only for its structure"),
    (r"bytes is not a 16-char string|invalid binary", r"=bytes:", "a binary's bytes are not looked at"),
    (r"date value out of range|year|days|int too large", r"=time:", "a time is any 64-bit number"),
]
EPOCH = datetime.datetime(1970, 1, 1)


def random_text(generator):
    return "".join(generator.choice("aZ09 _-.é€😀") for _ in range(generator.randrange(12)))


def random_value(generator, depth):
    simple = [
        lambda: generator.choice([0.0, -0.0, 1.5, -2.25e300, 5e-324, math.inf, generator.uniform(-1e6, 1e6)]),
        lambda: random_text(generator), lambda: generator.randbytes(generator.randrange(20)),
        lambda: ObjectId(generator.randbytes(12)), lambda: generator.choice([True, False]), lambda: None,
        lambda: EPOCH + datetime.timedelta(milliseconds=generator.randrange(-2**40, 2**41)),
        lambda: generator.choice([0, 1, -1, 2**31 - 1, -2**31, generator.randrange(-2**31, 2**31)]),
        lambda: Int64(generator.choice([0, 2**63 - 1, -2**63, generator.randrange(-2**63, 2**63)])),
        lambda: Timestamp(generator.randrange(2**32), generator.randrange(2**32)),
        lambda: Regex(random_text(generator), generator.choice(["", "i", "im", "imsux"])),
        lambda: Code(random_text(generator)), lambda: Code(random_text(generator), random_document(generator, 9)),
        lambda: Binary(generator.randbytes(5), generator.choice([0, 0x80])),
    ]
    nested = [lambda: random_document(generator, depth + 1),
              lambda: [random_value(generator, depth + 1) for _ in range(generator.randrange(12))]]
    return generator.choice(simple + (nested * 3 if depth < 4 else []))()


def random_document(generator, depth=0):
    return bson.son.SON((random_text(generator) + str(i), random_value(generator, depth))
                        for i in range(generator.randrange(8)))


def values_of(pairs):
    return "".join("%s=%s," % (key.encode().hex(), value_of(value)) for key, value in pairs)


def value_of(value):
    """A value in the words of the tool."""
    if isinstance(value, dict):
        return "{%s}" % values_of(value.items())
    if isinstance(value, list):
        return "[%s]" % values_of((str(i), one) for i, one in enumerate(value))
    if value is None or isinstance(value, bool):
        return {None: "null", True: "true", False: "false"}[value]
    if isinstance(value, float):
        return "real:%.17g" % value
    if isinstance(value, Int64):
        return "int64:%d" % value
    if isinstance(value, int):
        return "int32:%d" % value
    if isinstance(value, Code) and value.scope is not None:
        return "0f:" + bson.encode({"": value})[6:-1].hex()
    if isinstance(value, Code):
        return "0d:" + (str(value).encode() + b"\0").hex()
    if isinstance(value, str):
        return "text:" + value.encode().hex()
    if isinstance(value, bytes):
        return "bytes:" + value.hex()
    if isinstance(value, ObjectId):
        return "id:" + value.binary.hex()
    if isinstance(value, datetime.datetime):
        return "time:%d" % ((value - EPOCH) // datetime.timedelta(milliseconds=1))
    if isinstance(value, Timestamp):
        return "11:" + struct.pack("<II", value.inc, value.time).hex()
    assert isinstance(value, Regex)
    return "0b:" + bson.encode({"": value})[6:-1].hex()


def through_tool(documents):
    stream = b"".join(struct.pack("<I", len(one)) + one for one in documents)
    done = subprocess.run([TOOL], input=stream, capture_output=True, check=True)
    lines = done.stdout.decode().splitlines()
    assert len(lines) == len(documents)
    return lines


class AgainstPymongo(unittest.TestCase):
    maxDiff = 0

    def setUp(self):
        self.generator = random.Random(SEED)
        self.documents = [random_document(self.generator) for _ in range(NUMBER)]
        self.encodings = [bson.encode(one) for one in self.documents]

    def test_values_and_encodings_agree(self):
        for original, raw, line in zip(self.documents, self.encodings, through_tool(self.encodings)):
            encoded, *values = line.split(" ")
            self.assertEqual("".join(values), values_of(original.items()), raw.hex())
            back = bson.decode(bytes.fromhex(encoded), OPTIONS)  # equal but for the subtype of binaries
            self.assertEqual(values_of(back.items()), values_of(original.items()))

    def test_what_is_refused_there_is_refused_here(self):
        inputs = [damaged(raw, self.generator) for raw in self.encodings for _ in range(5)]
        refused = 0
        for raw, line in zip(inputs, through_tool(inputs)):
            try:
                bson.decode(raw, OPTIONS)
            except (InvalidBSON, OverflowError, ValueError) as error:
                refused += 1
                if not any(re.search(words, str(error)) and re.search(ours, line) for words, ours, _ in ALLOWED):
                    self.assertEqual(line, "refused", "%s: %s" % (error, raw.hex()))
        self.assertGreater(refused, len(inputs) // 10)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
