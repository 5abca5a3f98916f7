#!/usr/bin/env python3
"""Draws the pictures of the shipped windows: a wheel of colours for the gallery, and plain white, which a program tints.

usage: make-pictures.py FOLDER    writes colorwheel.png and white.png there
"""

import colorsys
import math
import pathlib
import struct
import sys
import zlib

SIZE = 160
SAMPLES = 4


def chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def write_png(path, width, height, get_pixel):
    rows = b"".join(b"\0" + b"".join(bytes(get_pixel(x, y)) for x in range(width)) for y in range(height))
    header = struct.pack(">IIBBBBB", width, height, 8, 6, 0, 0, 0)
    png = b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(rows, 9)) + chunk(b"IEND", b"")
    path.write_bytes(png)


def get_wheel_pixel(x, y):
    """Hue around, saturation outwards; the rim is smooth."""
    half = SIZE / 2
    dx, dy = x + 0.5 - half, y + 0.5 - half
    hue = math.atan2(dy, dx) / (2 * math.pi) % 1
    color = colorsys.hsv_to_rgb(hue, min(math.hypot(dx, dy) / half, 1), 1)
    inside = sum(
        math.hypot(x + (i % SAMPLES + 0.5) / SAMPLES - half, y + (i // SAMPLES + 0.5) / SAMPLES - half) <= half
        for i in range(SAMPLES * SAMPLES)
    )
    return [round(255 * part) for part in color] + [round(255 * inside / SAMPLES**2)]


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    folder = pathlib.Path(sys.argv[1])
    write_png(folder / "colorwheel.png", SIZE, SIZE, get_wheel_pixel)
    write_png(folder / "white.png", 32, 16, lambda x, y: (255, 255, 255, 255))


if __name__ == "__main__":
    main()
