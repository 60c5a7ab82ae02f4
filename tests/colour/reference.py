"""What grades do to a pixel, apart from the program: the formulas as they are written, in double precision."""
import itertools
import struct

WEIGHTS = (0.2126, 0.7152, 0.0722)
BLACK, WHITE = 64 / 1023, 940 / 1023  # of the legal range


def limited(value):
    return min(max(value, 0.0), 1.0)


def saturation(amount, rgb):
    luma = sum(weight * value for weight, value in zip(WEIGHTS, rgb))
    return [limited(luma + amount * (value - luma)) for value in rgb]


def cdl(values, rgb):
    powered = [limited(value * slope + offset) ** power for value, slope, offset, power in
               zip(rgb, values["slope"], values["offset"], values["power"])]
    return saturation(values["saturation"], powered)


def place(value, size):
    """The entry at or below the value, and how far behind it the value is."""
    exact = limited(value) * (size - 1)
    below = min(int(exact), size - 2)
    return below, exact - below


def curve(entries, rgb):
    """entries: the triples."""
    result = []
    for channel, value in enumerate(rgb):
        at, rest = place(value, len(entries))
        result.append(entries[at][channel] * (1 - rest) + entries[at + 1][channel] * rest)
    return result


def cube(entries, rgb):
    """Tetrahedral. entries: the triples, red fastest."""
    size = round(len(entries) ** (1 / 3))
    places = [place(value, size) for value in rgb]
    corner = sum(at * size ** axis for axis, (at, _) in enumerate(places))
    result = list(entries[corner])
    for axis in sorted(range(3), key=lambda axis: -places[axis][1]):  # along the longest way first
        following = corner + size ** axis
        for channel in range(3):
            result[channel] += places[axis][1] * (entries[following][channel] - entries[corner][channel])
        corner = following
    return result


def graded(components, rgb, legal=False):
    """components: (function, its values) in the order in which they run. Limited, not rounded."""
    if legal and components:
        rgb = [(value - BLACK) / (WHITE - BLACK) for value in rgb]
    for function, values in components:
        rgb = function(values, rgb)
    if components:
        rgb = [limited(value) for value in rgb]
    return [BLACK + value * (WHITE - BLACK) for value in rgb] if legal and components else rgb


SAMPLES = {"float32": ("f", None), "uint16": ("H", 65535), "uint12in16": ("H", 4095), "uint10in16": ("H", 1023)}
CURVE_LAYOUTS = ["%s-%s" % names for names in itertools.product(SAMPLES, ("le", "be"))]
CUBE_LAYOUTS = ["%s-%s-fastest" % names for names in itertools.product(CURVE_LAYOUTS, ("red", "blue"))]


def table(entries, layout):
    """The bytes of a table, and the entries that they hold."""
    samples, order, *fastest = layout.split("-")
    code, largest = SAMPLES[samples]
    code = (">" if order == "be" else "<") + "%d" % (3 * len(entries)) + code
    numbers = list(itertools.chain.from_iterable(entries))
    if largest:
        numbers = [int(limited(number) * largest + 0.5) for number in numbers]
    held = [number / (largest or 1) for number in struct.unpack(code, struct.pack(code, *numbers))]
    triples = [numbers[i:i + 3] for i in range(0, len(numbers), 3)]
    if fastest and fastest[0] == "blue":
        size = round(len(triples) ** (1 / 3))
        triples = [triples[red + size * (green + size * blue)]
                   for red, green, blue in itertools.product(range(size), repeat=3)]
    return (struct.pack(code, *itertools.chain.from_iterable(triples)),
            [held[i:i + 3] for i in range(0, len(held), 3)])
