"""PNG pictures of every kind, written and read: rows of pixels, a pixel being a tuple of samples."""
import itertools
import struct
import zlib

KINDS = {"grey": (0, 1, (1, 2, 4, 8, 16)), "rgb": (2, 3, (8, 16)), "palette": (3, 1, (1, 2, 4, 8)),
         "grey-alpha": (4, 2, (8, 16)), "rgba": (6, 4, (8, 16))}  # number, samples a pixel, bits a sample
ADAM7 = ((0, 0, 8, 8), (4, 0, 8, 8), (0, 4, 4, 8), (2, 0, 4, 4), (0, 2, 2, 4), (1, 0, 2, 2), (0, 1, 1, 2))


def chunk(kind, body):
    return struct.pack(">I", len(body)) + kind + body + struct.pack(">I", zlib.crc32(kind + body))


def header(width, height, depth, kind, interlaced):
    body = struct.pack(">IIBBBBB", width, height, depth, KINDS[kind][0], 0, 0, interlaced)
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", body)


def packed(row, depth):
    bits = "".join(format(sample, "0%db" % depth) for sample in itertools.chain.from_iterable(row))
    return b"\0" + int(bits.ljust(-len(bits) % 8 + len(bits), "0"), 2).to_bytes((len(bits) + 7) // 8, "big")


def written(rows, depth, kind="rgb", interlaced=False, chunks=b""):
    passes = ADAM7 if interlaced else ((0, 0, 1, 1),)
    parts = ([row[x::dx] for row in rows[y::dy]] for x, y, dx, dy in passes)
    data = b"".join(packed(row, depth) for part in parts for row in part if row)
    return (header(len(rows[0]), len(rows), depth, kind, interlaced) + chunks + chunk(b"IDAT", zlib.compress(data))
            + chunk(b"IEND", b""))


def checksum(rows):
    """Of the samples, when they have 8 bits."""
    return zlib.crc32(bytes(itertools.chain(*itertools.chain(*rows))))


def read(data):
    """The depth and the rows of an RGB picture that isn't interlaced."""
    assert data[:8] == b"\x89PNG\r\n\x1a\n" and data.endswith(chunk(b"IEND", b""))
    at, compressed = 8, b""
    while at < len(data):
        length, kind = struct.unpack(">I4s", data[at:at + 8])
        body = data[at + 8:at + 8 + length]
        if kind == b"IHDR":
            width, height, depth, colour, _, _, interlaced = struct.unpack(">IIBBBBB", body)
            assert (colour, interlaced) == (2, 0)
        compressed += body if kind == b"IDAT" else b""
        at += 12 + length
    raw, step, stride = zlib.decompress(compressed), 3 * depth // 8, 3 * depth // 8 * width
    rows, before = [], bytes(stride)
    for start in range(0, height * (stride + 1), stride + 1):
        line = bytearray(raw[start + 1:start + 1 + stride])
        for i in range(stride):
            left, up, corner = (line[i - step], before[i], before[i - step]) if i >= step else (0, before[i], 0)
            nearest = min((left, up, corner), key=lambda value: abs(left + up - corner - value))
            line[i] = line[i] + (0, left, up, (left + up) // 2, nearest)[raw[start]] & 255
        samples = struct.unpack(">%d%s" % (3 * width, "BH"[depth // 16]), line)
        rows.append([samples[i:i + 3] for i in range(0, len(samples), 3)])
        before = line
    return depth, rows
