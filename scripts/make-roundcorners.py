#!/usr/bin/env python3
"""Draws assets/textures/roundcorners.png, which rounded rectangles take their corners from.

usage: make-roundcorners.py OUT.png

The first row holds the upper left corners of white discs of radius 1 to 16, the second those of rings one pixel wide,
each with a pixel of what continues it around. gameengine/gui/draw2D/drawI.cpp knows the places.
"""

import pathlib
import struct
import sys
import zlib

WIDTH, HEIGHT = 256, 64
MAX_RADIUS = 16
DISC_ROW, RING_ROW = 1, 20
SAMPLES = 16


def coverage(radius, x, y, is_ring):
    """How much of a pixel lies in the disc or ring, whose middle is `radius` pixels right of and below the origin."""
    count = 0
    for i in range(SAMPLES * SAMPLES):
        dx = x + (i % SAMPLES + 0.5) / SAMPLES - radius
        dy = y + (i // SAMPLES + 0.5) / SAMPLES - radius
        # Beyond the quarter the edges go on straight.
        distance = max(min(dx, 0) ** 2 + min(dy, 0) ** 2, 0) ** 0.5
        count += distance <= radius and (not is_ring or distance >= radius - 1)
    return count / SAMPLES**2


def chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    alpha = [bytearray(WIDTH) for _ in range(HEIGHT)]
    column = 1
    for radius in range(1, MAX_RADIUS + 1):
        for row, is_ring in ((DISC_ROW, False), (RING_ROW, True)):
            for y in range(-1, radius + 1):
                for x in range(-1, radius + 1):
                    alpha[row + y][column + x] = round(255 * coverage(radius, x, y, is_ring))
        column += radius + 2
    rows = b"".join(b"\0" + b"".join(bytes((255, 255, 255, a)) for a in row) for row in alpha)
    header = struct.pack(">IIBBBBB", WIDTH, HEIGHT, 8, 6, 0, 0, 0)
    png = b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(rows, 9)) + chunk(b"IEND", b"")
    pathlib.Path(sys.argv[1]).write_bytes(png)


if __name__ == "__main__":
    main()
