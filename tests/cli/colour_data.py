"""Colour files for the tests."""
import itertools
import struct


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
