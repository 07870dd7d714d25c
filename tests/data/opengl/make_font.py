#!/usr/bin/env python3
"""Makes blocks.ttf, a font of a few plain glyphs whose every number is known.

1000 units to the em, ascent 800, descent -200, line gap 100. Advances are 600, of "i" 300.

  0 .notdef  a triangle
  1 space    (U+0020)
  2 A        a square from (100, 0) to (500, 400)
  3 O        a square from (0, 0) to (600, 600) with a square hole from (200, 200) to (400, 400)
  4 D        a half disk: a straight left side and two quadratic curves
  5 i        a bar from (100, 0) to (200, 700), advance 300
  6 U+1F600  a square from (0, 0) to (1000, 1000), advance 1000
  7 X        two bars that cross, as outlines of their own

The pair A, i is kerned by -50.
"""
import struct
import sys


def square(x0, y0, x1, y1, clockwise=True):
    points = [(x0, y0, 1), (x0, y1, 1), (x1, y1, 1), (x1, y0, 1)]
    return points if clockwise else points[::-1]


GLYPHS = [
    (600, [[(100, 0, 1), (300, 500, 1), (500, 0, 1)]]),
    (600, []),
    (600, [square(100, 0, 500, 400)]),
    (600, [square(0, 0, 600, 600), square(200, 200, 400, 400, False)]),
    (600, [[(0, 0, 1), (0, 800, 1), (400, 800, 0), (400, 400, 1), (400, 0, 0)]]),
    (300, [square(100, 0, 200, 700)]),
    (1000, [square(0, 0, 1000, 1000)]),
    (600, [square(200, 0, 300, 600), square(0, 200, 600, 300)]),
]
CHARACTERS = {0x20: 1, 0x41: 2, 0x4F: 3, 0x44: 4, 0x69: 5, 0x1F600: 6, 0x58: 7}


def glyph(outlines):
    if not outlines:
        return b""
    points = [p for outline in outlines for p in outline]
    xs, ys = [p[0] for p in points], [p[1] for p in points]
    data = struct.pack(">hhhhh", len(outlines), min(xs), min(ys), max(xs), max(ys))
    end = -1
    for outline in outlines:
        end += len(outline)
        data += struct.pack(">H", end)
    data += struct.pack(">H", 0)  # no instructions
    data += bytes(p[2] for p in points)
    for axis in (0, 1):
        before = 0
        for p in points:
            data += struct.pack(">h", p[axis] - before)
            before = p[axis]
    return data + b"\0" * (-len(data) % 4)


def cmap():
    groups = b"".join(struct.pack(">III", c, c, g) for c, g in sorted(CHARACTERS.items()))
    table = struct.pack(">HHIII", 12, 0, 16 + len(groups), 0, len(CHARACTERS)) + groups
    return struct.pack(">HHHHI", 0, 1, 3, 10, 12) + table


def names():
    texts = {1: "Blocks", 2: "Regular", 4: "Blocks Regular", 6: "Blocks-Regular"}
    records, pool = b"", b""
    for number, text in texts.items():
        data = text.encode("utf-16-be")
        records += struct.pack(">HHHHHH", 3, 1, 0x409, number, len(data), len(pool))
        pool += data
    return struct.pack(">HHH", 0, len(texts), 6 + len(records)) + records + pool


def tables():
    shapes = [glyph(outlines) for _, outlines in GLYPHS]
    offsets = [sum(len(s) for s in shapes[:i]) for i in range(len(shapes) + 1)]
    count = len(GLYPHS)
    return {
        b"cmap": cmap(),
        b"glyf": b"".join(shapes),
        b"head": struct.pack(">IIIIHHQQhhhhHHhhh", 0x10000, 0x10000, 0, 0x5F0F3CF5, 0, 1000, 0, 0,
                             0, 0, 1000, 1000, 0, 8, 2, 1, 0),
        b"hhea": struct.pack(">IhhhHhhhhhhhhhhhH", 0x10000, 800, -200, 100, 1000, 0, 0, 1000, 1, 0,
                             0, 0, 0, 0, 0, 0, count),
        b"hmtx": b"".join(struct.pack(">Hh", advance,
                                      min([p[0] for o in outlines for p in o], default=0))
                          for advance, outlines in GLYPHS),
        b"kern": struct.pack(">HHHHHHHHHHHh", 0, 1, 0, 20, 1, 1, 6, 0, 0, 2, 5, -50),
        b"loca": b"".join(struct.pack(">I", offset) for offset in offsets),
        b"maxp": struct.pack(">IHHHHHHHHHHHHHH", 0x10000, count, 16, 4, 0, 0, 1, 0, 0, 0, 0, 0, 0,
                             0, 0),
        b"name": names(),
        b"post": struct.pack(">IIhhIIIII", 0x30000, 0, 0, 0, 0, 0, 0, 0, 0),
    }


def font():
    parts = tables()
    offset = 12 + 16 * len(parts)
    directory, body = b"", b""
    for tag, data in sorted(parts.items()):
        padded = data + b"\0" * (-len(data) % 4)
        total = sum(struct.unpack(f">{len(padded) // 4}I", padded)) & 0xFFFFFFFF
        directory += tag + struct.pack(">III", total, offset + len(body), len(data))
        body += padded
    return struct.pack(">IHHHH", 0x10000, len(parts), 128, 3, 16 * len(parts) - 128) + directory + body


with open(sys.argv[1] if len(sys.argv) > 1 else "blocks.ttf", "wb") as file:
    file.write(font())
