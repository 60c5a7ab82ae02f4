#!/usr/bin/env python3
"""Writes a start corpus for the fuzz targets: OUTPUT/documents, OUTPUT/replies, OUTPUT/commands.

    make_corpus.py OUTPUT N

Each has N inputs, always the same ones: what is in seeds/ with values, lengths and types changed in ways that keep most
of the structure.
"""
import pathlib
import random
import sys

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent / "support"))
from damage import damaged  # noqa: E402

HEADS = {"documents": 0, "replies": 1, "commands": 3}  # bytes in front of a document


def main(output, number):
    generator = random.Random(1)
    for target, head in HEADS.items():
        folder = pathlib.Path(output, target)
        folder.mkdir(parents=True, exist_ok=True)
        seeds = [path.read_bytes() for path in sorted((HERE / "seeds" / target).iterdir())]
        for i in range(int(number)):
            raw = generator.choice(seeds)
            framed = head == 0 or raw[0] < 0x80
            (folder / f"changed_{i}").write_bytes(raw[:head] + damaged(raw[head:], generator, framed))


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    main(*sys.argv[1:])
