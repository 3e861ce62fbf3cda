#!/usr/bin/env python3
"""Draws the tile image: a security key lying on a calm blue ground, 192 x 192 pixels, 8 bits.

    draw_tile_image.py FILE.bmp     writes the bitmap (the tree's own: tile_image.bmp)
    draw_tile_image.py FILE.png     writes the same picture as PNG, to look at

The module carries the bitmap as it is, so each pixel is one byte, a place in a palette. No colour
may be lost to that: everything is of one colour each, and an edge has few steps. The script fails
when the picture needs more colours than a palette holds.

Every shape is a signed distance in pixels, which gives smooth edges. Only additions, products and
square roots are used: they are exact to the last bit on every machine, so the script gives the
same bytes everywhere.
"""
import math
import struct
import sys
import zlib

SIZE = 192
# The key's own axes: x runs from its ring to its plug, turned by the angle of a 3-4-5 triangle.
AXIS_X, AXIS_Y = 0.8, -0.6
SHADOW_OFFSET_X, SHADOW_OFFSET_Y = 3.0, 8.0
EDGE_STEPS = 16
PALETTE_COLOURS = 256

GROUND = (58, 108, 146)
SHADOW = (37, 77, 110)
BODY = (42, 49, 60)
BODY_EDGE = (98, 110, 126)
PLUG = (206, 211, 219)
PLUG_SHADE = (158, 166, 178)
PLUG_HOLE = (64, 70, 80)
DISC = (236, 188, 96)
DISC_RING = (24, 29, 37)
DISC_MARK = (104, 70, 18)
LIGHT = (120, 226, 170)


def clamp(value):
    return min(1.0, max(0.0, value))


def mix(first, second, share):
    return tuple(a + (b - a) * share for a, b in zip(first, second))


def coverage(distance):
    """How much of a pixel a shape covers whose edge is `distance` away (negative: inside)."""
    return int(clamp(0.5 - distance) * EDGE_STEPS + 0.5) / EDGE_STEPS


def circle(x, y, centre_x, centre_y, radius):
    return math.sqrt((x - centre_x) ** 2 + (y - centre_y) ** 2) - radius


def box(x, y, left, top, right, bottom, corner):
    away_x = abs(x - (left + right) / 2) - (right - left) / 2 + corner
    away_y = abs(y - (top + bottom) / 2) - (bottom - top) / 2 + corner
    outside = math.sqrt(max(away_x, 0.0) ** 2 + max(away_y, 0.0) ** 2)
    return outside + min(max(away_x, away_y), 0.0) - corner


def body(x, y):
    """The case with the hole for a key ring at its left end."""
    return max(box(x, y, -64, -23, 30, 23, 15), -circle(x, y, -49, 0, 6.5))


def plug(x, y):
    return box(x, y, 26, -15, 62, 15, 2.5)


def touch_mark(x, y):
    """A small door key: a bow, a shaft and two teeth."""
    bow = abs(circle(x, y, -15.5, 0, 4.2)) - 1.4
    shaft = box(x, y, -11.0, -1.4, 2.0, 1.4, 0.6)
    near_tooth = box(x, y, -4.6, 0.0, -2.0, 4.6, 0.5)
    far_tooth = box(x, y, -0.6, 0.0, 2.0, 5.6, 0.5)
    return min(bow, shaft, near_tooth, far_tooth)


def key_axes(x, y):
    x, y = x - SIZE / 2, y - SIZE / 2
    return x * AXIS_X + y * AXIS_Y, y * AXIS_X - x * AXIS_Y


def paint_plug(colour, x, y):
    distance = plug(x, y)
    colour = mix(colour, PLUG, coverage(distance))
    colour = mix(colour, PLUG_SHADE, coverage(max(distance, 7.0 - y)))
    for top in (-9.5, 3.5):
        colour = mix(colour, PLUG_HOLE, coverage(box(x, y, 44, top, 51, top + 6, 1)))
    return colour


def paint_body(colour, x, y):
    distance = body(x, y)
    colour = mix(colour, BODY_EDGE, coverage(distance))
    return mix(colour, BODY, coverage(distance + 1.6))


def paint_disc(colour, x, y):
    distance = circle(x, y, -8, 0, 16)
    colour = mix(colour, DISC_RING, coverage(distance - 2.2))
    colour = mix(colour, DISC, coverage(distance))
    return mix(colour, DISC_MARK, coverage(touch_mark(x, y)))


def paint_light(colour, x, y):
    return mix(colour, LIGHT, coverage(circle(x, y, 20, 0, 2.4)))


def pixel(column, row):
    screen_x, screen_y = column + 0.5, row + 0.5
    x, y = key_axes(screen_x - SHADOW_OFFSET_X, screen_y - SHADOW_OFFSET_Y)
    colour = mix(GROUND, SHADOW, coverage(min(body(x, y), plug(x, y))))
    x, y = key_axes(screen_x, screen_y)
    for paint in (paint_plug, paint_body, paint_disc, paint_light):
        colour = paint(colour, x, y)
    return tuple(int(channel + 0.5) for channel in colour)


def draw():
    return [[pixel(column, row) for column in range(SIZE)] for row in range(SIZE)]


def palette_of(rows):
    colours = sorted({dot for row in rows for dot in row})
    if len(colours) > PALETTE_COLOURS:
        sys.exit(f"the picture has {len(colours)} colours: a palette holds {PALETTE_COLOURS}")
    return colours


def bmp_bytes(rows):
    colours = palette_of(rows)
    place = {colour: index for index, colour in enumerate(colours)}
    padding = b"\0" * (-SIZE % 4)
    bits = b"".join(bytes(place[dot] for dot in row) + padding for row in reversed(rows))
    palette = b"".join(bytes((blue, green, red, 0)) for red, green, blue in colours)
    before_bits = 14 + 40 + len(palette)
    return (struct.pack("<2sIHHI", b"BM", before_bits + len(bits), 0, 0, before_bits) +
            struct.pack("<IiiHHIIiiII", 40, SIZE, SIZE, 1, 8, 0, len(bits), 3780, 3780,
                        len(colours), 0) +
            palette + bits)


def png_bytes(rows):
    def chunk(kind, data):
        return (struct.pack(">I", len(data)) + kind + data +
                struct.pack(">I", zlib.crc32(kind + data)))

    bits = b"".join(b"\0" + bytes(channel for dot in row for channel in dot) for row in rows)
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", SIZE, SIZE, 8, 2, 0, 0, 0)) +
            chunk(b"IDAT", zlib.compress(bits, 9)) + chunk(b"IEND", b""))


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    write = png_bytes if sys.argv[1].endswith(".png") else bmp_bytes
    with open(sys.argv[1], "wb") as file:
        file.write(write(draw()))


if __name__ == "__main__":
    main()
