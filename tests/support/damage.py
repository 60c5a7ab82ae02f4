"""Damaged documents."""
import struct


def damaged(raw, generator, framed=True):
    """Up to three bytes or lengths changed, taken away or put in. framed: mostly with the length in front put right."""
    raw = bytearray(raw)
    for _ in range(generator.choice([1, 1, 1, 2, 3])):
        if not raw:
            break
        at = generator.randrange(len(raw))
        what = generator.randrange(6)
        if what < 3:
            raw[at] = generator.choice([0, 1, raw[at] ^ 1, (raw[at] + 1) % 256, generator.randrange(256)])
        elif what == 3:
            raw[at:at + 4] = struct.pack("<I", generator.choice([0, 1, 4, len(raw), 2**31 - 1, 2**31, 2**32 - 1]))
        elif what == 4:
            del raw[at:at + generator.randrange(1, 5)]
        else:
            raw[at:at] = generator.randbytes(generator.randrange(1, 5))
    if framed and len(raw) >= 4 and generator.random() < 0.7:  # so that the damage inside is reached
        raw[:4] = struct.pack("<I", len(raw))
    return bytes(raw)
