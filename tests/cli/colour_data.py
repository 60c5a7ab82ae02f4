"""Colour files for the tests, and PNG pictures read back."""
import itertools
import struct
import zlib


def floats(values):
    """As single precision holds them."""
    return [struct.unpack("<f", struct.pack("<f", value))[0] for value in values]


def asymmetric(red, green, blue):
    """Every channel depends on every input, each in a way of its own."""
    return (round(0.05 + 0.83 * red + 0.02 * green + 0.01 * blue, 6),
            round(0.91 - 0.61 * green + 0.03 * red * blue, 6),
            round(0.1 + 0.5 * blue * blue + 0.07 * red - 0.013 * green, 6))


def entries(size, function=asymmetric, fastest="red"):
    """The triples of a cube: {red, green, blue} the fastest, the opposite the slowest."""
    levels = [i / (size - 1) for i in range(size)]
    for slow, middle, fast in itertools.product(levels, levels, levels):
        yield function(fast, middle, slow) if fastest == "red" else function(slow, middle, fast)


def rows(triples):
    return "".join("%.6f %.6f %.6f\n" % tuple(triple) for triple in triples)


def cube(triples, size, head=""):
    return "# a test\n%sLUT_3D_SIZE %d\n%s" % (head, size, rows(triples))


def clf(nodes):
    return '<?xml version="1.0"?>\n<ProcessList id="t" compCLFversion="3">\n%s</ProcessList>\n' % nodes


def clf_cube(triples, size):
    """Blue is the fastest here."""
    return ('<LUT3D inBitDepth="32f" outBitDepth="32f">\n<Array dim="%d %d %d 3">\n%s</Array>\n</LUT3D>\n'
            % (size, size, size, rows(triples)))


def packed(triples, samples, byte_order):
    """The bytes that lutc lut pack has to make of the triples."""
    code, largest = {"float32": ("f", None), "uint16": ("H", 65535), "uint12in16": ("H", 4095),
                     "uint10in16": ("H", 1023)}[samples]
    values = floats(itertools.chain.from_iterable(triples))
    if largest:
        values = [int(min(max(value, 0.0), 1.0) * largest + 0.5) for value in values]
    return struct.pack((">" if byte_order == "big" else "<") + str(len(values)) + code, *values)


class Png:
    """An 8-bit RGB picture."""

    def __init__(self, data):
        assert data[:8] == b"\x89PNG\r\n\x1a\n"
        at, compressed = 8, b""
        while at < len(data):
            length, kind = struct.unpack(">I4s", data[at:at + 8])
            body = data[at + 8:at + 8 + length]
            if kind == b"IHDR":
                self.width, self.height, depth, colour = struct.unpack(">IIBB", body[:10])
                assert (depth, colour) == (8, 2)
            if kind == b"IDAT":
                compressed += body
            at += 12 + length
        raw, stride = zlib.decompress(compressed), 3 * self.width
        before, self.lines = bytes(stride), []
        for start in range(0, len(raw), stride + 1):
            before = self.unfilter(raw[start], bytearray(raw[start + 1:start + 1 + stride]), before)
            self.lines.append(before)

    @staticmethod
    def unfilter(kind, line, before):
        for i in range(len(line)):
            left, up = (line[i - 3] if i >= 3 else 0), before[i]
            corner = before[i - 3] if i >= 3 else 0
            nearest = min((left, up, corner), key=lambda value: abs(left + up - corner - value))
            line[i] = line[i] + (0, left, up, (left + up) // 2, nearest)[kind] & 255
        return line

    def at(self, x, y):
        return tuple(self.lines[y][3 * x:3 * x + 3])
