#!/usr/bin/env python3
"""Makes the example icon and bitmap files of examples/icons, byte by byte, from patterns.

    python3 examples/icons/make_examples.py [OUTPUT_DIR]   (default: this script's folder)

Every file is written by hand-built headers in little-endian order, independently of the
library, so that the library's readers and writers are checked against bytes they did not make:

  mono.ico   one 16x16 image, 1 bit        mono.bmp   16x16, 1 bit
  four.ico   one 16x16 image, 4 bits       four.bmp   16x16, 4 bits
  eight.ico  one 32x32 image, 8 bits       eight.bmp  32x32, 8 bits
  true.ico   one 32x32 image, 24 bits      true.bmp   32x32, 24 bits
  alpha.ico  one 48x48 image, 32 bits      alpha.bmp  48x48, 32 bits
  large.ico  one 256x256 image, 1 bit (its directory entry stores width and height 0)
  png.ico    one 256x256 image stored as PNG
  torvex.ico the five images of mono, four, eight, true and alpha, in that order

The ICO directories follow the rules of the ICO writer (colour count 1 << bits below 8 bits, else 0;
images in order after the directory), so that writing the images again gives the same bytes.
Each icon image's header carries biSizeImage = XOR and AND mask bytes. The tiny PE files with
these icons are made by make_pe.sh.
"""

import os
import struct
import sys
import zlib

DEFAULT16 = [(0, 0, 0), (128, 0, 0), (0, 128, 0), (128, 128, 0), (0, 0, 128), (128, 0, 128),
             (0, 128, 128), (192, 192, 192), (192, 220, 192), (166, 202, 240), (255, 251, 240),
             (160, 160, 164), (128, 128, 128), (255, 0, 0), (0, 255, 0), (255, 255, 0)]


def line_bytes(width, bits):
    return ((width * bits + 31) >> 5) * 4


def table_bytes(entries):
    """Colour table from (red, green, blue) entries, written blue, green, red, 0."""
    return b"".join(struct.pack("<BBBB", b, g, r, 0) for (r, g, b) in entries)


def palette(bits):
    if bits == 1:
        return [(0, 0, 0), (255, 255, 255)]
    if bits == 4:
        return DEFAULT16
    if bits == 8:
        return [(i, (i * 3) % 256, 255 - i) for i in range(256)]
    return []


def pixel(bits, width, height, x, y):
    """The pattern: index or (r, g, b[, a]) of pixel (x, y), y counted from the top."""
    if bits == 1:
        return 1 if ((x // 4) + (y // 4)) % 2 == 0 or x == y else 0
    if bits == 4:
        return (x + y) % 16
    if bits == 8:
        return (x * 8 + y) % 256
    r, g, b = (x * 255) // max(width - 1, 1), (y * 255) // max(height - 1, 1), ((x + y) * 4) % 256
    if bits == 24:
        return (r, g, b)
    cx, cy = width / 2 - 0.5, height / 2 - 0.5
    d = ((x - cx) ** 2 + (y - cy) ** 2) ** 0.5
    a = 255 if d < width / 3 else (0 if d > width / 2 else 128)
    return (r, g, b, a)


def transparent(width, height, x, y):
    """AND mask: the corners are transparent."""
    return (x < 2 or x >= width - 2) and (y < 2 or y >= height - 2)


def pixel_rows(bits, width, height):
    """XOR rows, bottom-up, each padded to 32 bits."""
    rows = []
    for y in reversed(range(height)):
        if bits in (1, 4, 8):
            acc, nbits, out = 0, 0, bytearray()
            for x in range(width):
                acc = (acc << bits) | pixel(bits, width, height, x, y)
                nbits += bits
                if nbits == 8:
                    out.append(acc)
                    acc, nbits = 0, 0
            if nbits:
                out.append(acc << (8 - nbits))
        else:
            out = bytearray()
            for x in range(width):
                p = pixel(bits, width, height, x, y)
                out += bytes((p[2], p[1], p[0])) + (bytes((p[3],)) if bits == 32 else b"")
        out += b"\0" * (line_bytes(width, bits) - len(out))
        rows.append(bytes(out))
    return b"".join(rows)


def and_rows(width, height):
    rows = []
    for y in reversed(range(height)):
        out = bytearray(line_bytes(width, 1))
        for x in range(width):
            if transparent(width, height, x, y):
                out[x >> 3] |= 0x80 >> (x & 7)
        rows.append(bytes(out))
    return b"".join(rows)


def info_header(width, height, bits, size_image):
    return struct.pack("<IiiHHIIiiII", 40, width, height, 1, bits, 0, size_image, 0, 0, 0, 0)


def icon_image(width, height, bits):
    xor, mask = pixel_rows(bits, width, height), and_rows(width, height)
    return (info_header(width, height * 2, bits, len(xor) + len(mask)) + table_bytes(palette(bits))
            + xor + mask)


def png_image(width, height):
    def chunk(kind, data):
        return (struct.pack(">I", len(data)) + kind + data
                + struct.pack(">I", zlib.crc32(kind + data) & 0xFFFFFFFF))
    def rgba(x, y):
        return bytes((40, 90, 160, 255)) if (x // 32 + y // 32) % 2 else bytes((230, 180, 40, 160))
    raw = b"".join(b"\0" + b"".join(rgba(x, y) for x in range(width)) for y in range(height))
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 6, 0, 0, 0))
            + chunk(b"IDAT", zlib.compress(raw, 9)) + chunk(b"IEND", b""))


def ico(images):
    """images: list of (width, height, bits, block)."""
    out = struct.pack("<HHH", 0, 1, len(images))
    offset = 6 + 16 * len(images)
    for (width, height, bits, block) in images:
        colors = (1 << bits) & 0xFF if bits < 8 else 0
        out += struct.pack("<BBBBHHII", width & 0xFF, height & 0xFF, colors, 0, 1, bits,
                           len(block), offset)
        offset += len(block)
    return out + b"".join(block for (_, _, _, block) in images)


def bmp(width, height, bits):
    table = table_bytes(palette(bits))
    pixels = pixel_rows(bits, width, height)
    offset = 14 + 40 + len(table)
    return (struct.pack("<HIHHI", 0x4D42, offset + len(pixels), 0, 0, offset)
            + info_header(width, height, bits, len(pixels)) + table + pixels)


def main():
    out = sys.argv[1] if len(sys.argv) > 1 else os.path.dirname(os.path.abspath(__file__))
    sizes = {"mono": (16, 1), "four": (16, 4), "eight": (32, 8), "true": (32, 24), "alpha": (48, 32)}
    files = {}
    all_images = []
    for name, (size, bits) in sizes.items():
        image = (size, size, bits, icon_image(size, size, bits))
        all_images.append(image)
        files[name + ".ico"] = ico([image])
        files[name + ".bmp"] = bmp(size, size, bits)
    files["large.ico"] = ico([(256, 256, 1, icon_image(256, 256, 1))])
    files["png.ico"] = ico([(256, 256, 32, png_image(256, 256))])
    files["torvex.ico"] = ico(all_images)
    for name, data in files.items():
        with open(os.path.join(out, name), "wb") as f:
            f.write(data)


if __name__ == "__main__":
    main()
