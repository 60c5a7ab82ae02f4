#!/usr/bin/env python3
"""A test of a program by what it does to the picture.

    lutc-simulator --run -- python3 check_picture.py EXPECTED.png PROGRAM [ARGUMENT]...

Runs PROGRAM, then holds output 1 against EXPECTED.png, a value at a time. Without that file it is written: look at it,
then keep it. Exit: 0 equal or written, 1 different or PROGRAM failed.
"""
import json
import os
import struct
import subprocess
import sys
import urllib.request
import zlib


def fetch(path):
    return urllib.request.urlopen(os.environ["LUTC_PAGE"] + path).read()


def read_png(data):
    """Width, height and the values, row by row, of a picture as the simulator writes it: 8 bits, RGB."""
    width, height = struct.unpack(">II", data[16:24])
    packed, at = b"", 8
    while at < len(data):
        size, kind = struct.unpack(">I4s", data[at:at + 8])
        packed += data[at + 8:at + 8 + size] if kind == b"IDAT" else b""
        at += 12 + size
    lines, values = zlib.decompress(packed), []
    for start in range(0, len(lines), 3 * width + 1):
        row = bytearray(lines[start + 1:start + 1 + 3 * width])
        if lines[start] == 1:  # differences to the pixel on the left
            for i in range(3, len(row)):
                row[i] = (row[i] + row[i - 3]) % 256
        values.extend(row)
    return width, height, values


def main():
    expected, *program = sys.argv[1:]
    if subprocess.run(program).returncode != 0:
        sys.exit("the program failed")
    for component in json.loads(fetch("/state.json"))["channels"][0]["components"]:
        if not component["runs"]:
            print(f"{component['type']} {component['typeIndex']} doesn't run: {component['reason']}")
    shown = fetch("/outputs/1.png")
    if not os.path.exists(expected):
        with open(expected, "wb") as file:
            file.write(shown)
        return print(f"wrote {expected}")
    with open(expected, "rb") as file:
        *size, wanted = read_png(file.read())
    *shown_size, values = read_png(shown)
    if shown_size != size or max(abs(a - b) for a, b in zip(values, wanted)) > 1:
        sys.exit(f"output 1 is not {expected}")
    print(f"output 1 is {expected}")


if __name__ == "__main__":
    main()
