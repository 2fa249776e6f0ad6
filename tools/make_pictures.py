#!/usr/bin/env python3
"""Draws the sample pictures that tools/make_examples embeds in the example documents.

Writes tests/data/pictures/landscape.jpg (256 x 192, about 30 KiB, through cjpeg from the
libjpeg-turbo-progs package) and tests/data/pictures/drawing.png (96 x 64, written here).
Run from the repository root: python3 tools/make_pictures.py
"""
import random
import struct
import subprocess
import zlib

OUT = "tests/data/pictures/"


def landscape(width, height):
    rng = random.Random(1234)
    rows = []
    for y in range(height):
        row = bytearray()
        for x in range(width):
            horizon = height * 0.55 + 18 * ((x * 0.045) % 3.1 - 1.5) ** 2
            if (x - 190) ** 2 + (y - 45) ** 2 < 22 ** 2:
                r, g, b = 250, 215, 90                       # sun
            elif y < horizon:
                t = y / horizon
                r, g, b = int(90 + 90 * t), int(140 + 70 * t), int(230 - 30 * t)   # sky
            else:
                t = (y - horizon) / (height - horizon + 1)
                r, g, b = int(60 + 50 * t), int(130 - 40 * t), int(50 + 10 * t)   # hills
                stripe = int((x + y * 1.7) / 9) % 2
                r, g, b = r + 12 * stripe, g + 12 * stripe, b
            n = rng.randint(-14, 14)  # texture, so the JPEG has detail to keep
            row += bytes(max(0, min(255, c + n)) for c in (r, g, b))
        rows.append(bytes(row))
    return rows


def write_jpeg(path, width, height, quality):
    ppm = b"P6\n%d %d\n255\n" % (width, height) + b"".join(landscape(width, height))
    jpeg = subprocess.run(["cjpeg", "-quality", str(quality), "-optimize"], input=ppm,
                          capture_output=True, check=True).stdout
    with open(path, "wb") as f:
        f.write(jpeg)
    return len(jpeg)


def chunk(kind, data):
    body = kind + data
    return struct.pack(">I", len(data)) + body + struct.pack(">I", zlib.crc32(body) & 0xFFFFFFFF)


def write_png(path, width, height):
    raw = bytearray()
    for y in range(height):
        raw.append(0)  # filter type None
        for x in range(width):
            inside = (x - 48) ** 2 / 40 ** 2 + (y - 32) ** 2 / 26 ** 2 < 1
            if inside:
                raw += bytes((40 + 2 * x, 90 + y, 200, 255))
            elif (x // 8 + y // 8) % 2:
                raw += bytes((235, 235, 235, 255))
            else:
                raw += bytes((255, 255, 255, 0))
    png = b"\x89PNG\r\n\x1a\n"
    png += chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 6, 0, 0, 0))
    png += chunk(b"IDAT", zlib.compress(bytes(raw), 9))
    png += chunk(b"IEND", b"")
    with open(path, "wb") as f:
        f.write(png)
    return len(png)


if __name__ == "__main__":
    print("landscape.jpg", write_jpeg(OUT + "landscape.jpg", 256, 192, 96), "bytes")
    print("drawing.png", write_png(OUT + "drawing.png", 96, 64), "bytes")
