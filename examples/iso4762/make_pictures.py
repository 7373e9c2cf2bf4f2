#!/usr/bin/env python3
"""Makes the pictures of the socket head cap screws: Thumbnail.bmp (the family document's
Thumbnail/File, 96x64, 24 bits) and Family.ico (16, 32 and 48 pixels, 32 bits with alpha), a
side view of a black oxide screw drawn from a few shapes.

    python3 examples/iso4762/make_pictures.py [OUTPUT_DIR]   (default: this script's folder)

The bytes are written by the helpers of examples/icons/make_examples.py.
"""

import os
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "icons"))
import make_examples as files  # noqa: E402


def screw(width, height, x, y):
    """(r, g, b, a) of pixel (x, y), y from the top: head, shank and thread."""
    u, v = (x + 0.5) / width, (y + 0.5) / height
    shade = 1.0 - abs(v - 0.45) * 1.4  # light from above
    if 0.06 <= u < 0.34 and 0.16 <= v < 0.84:  # the head
        if 0.06 <= u < 0.10 and 0.36 <= v < 0.64:  # the socket's edge on the face
            return (25, 27, 30, 255)
        level = int(70 + 90 * shade)
        return (level, level + 4, level + 10, 255)
    if 0.34 <= u < 0.94 and 0.36 <= v < 0.64:  # the shank
        level = int(60 + 100 * shade)
        if u >= 0.52 and int(u * width) % 3 == 0:  # thread crests
            level -= 35
        return (level, level + 4, level + 10, 255)
    return (255, 255, 255, 0)


def bmp24(width, height):
    rows = []
    for y in reversed(range(height)):
        out = bytearray()
        for x in range(width):
            r, g, b, a = screw(width, height, x, y)
            out += bytes((b, g, r)) if a else b"\xff\xff\xff"
        out += b"\0" * (files.line_bytes(width, 24) - len(out))
        rows.append(bytes(out))
    pixels = b"".join(rows)
    offset = 14 + 40
    return (files.struct.pack("<HIHHI", 0x4D42, offset + len(pixels), 0, 0, offset)
            + files.info_header(width, height, 24, len(pixels)) + pixels)


def icon32(size):
    rows = []
    for y in reversed(range(size)):
        rows.append(b"".join(bytes((b, g, r, a)) for (r, g, b, a) in
                             (screw(size, size, x, y) for x in range(size))))
    xor = b"".join(rows)
    mask = bytearray()
    for y in reversed(range(size)):
        line = bytearray(files.line_bytes(size, 1))
        for x in range(size):
            if screw(size, size, x, y)[3] == 0:
                line[x >> 3] |= 0x80 >> (x & 7)
        mask += line
    block = files.info_header(size, size * 2, 32, len(xor) + len(mask)) + xor + bytes(mask)
    return (size, size, 32, block)


def main():
    out = sys.argv[1] if len(sys.argv) > 1 else os.path.dirname(os.path.abspath(__file__))
    with open(os.path.join(out, "Thumbnail.bmp"), "wb") as f:
        f.write(bmp24(96, 64))
    with open(os.path.join(out, "Family.ico"), "wb") as f:
        f.write(files.ico([icon32(16), icon32(32), icon32(48)]))


if __name__ == "__main__":
    main()
