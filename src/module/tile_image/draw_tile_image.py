#!/usr/bin/env python3
"""Draws the tile image: a security key lying on a calm blue ground, 192 x 192 pixels, 24 bits.

    draw_tile_image.py FILE.bmp     writes the bitmap (the tree's own: tile_image.bmp)
    draw_tile_image.py FILE.png     writes the same picture as PNG, to look at

Every shape is a signed distance in pixels, which gives smooth edges and soft shadows. Only
additions, products and square roots are used: they are exact to the last bit on every machine, so
the script gives the same bytes everywhere.
"""
import math
import struct
import sys
import zlib

SIZE = 192
# The key's own axes: x runs from its ring to its plug, turned by the angle of a 3-4-5 triangle.
AXIS_X, AXIS_Y = 0.8, -0.6
SHADOW_OFFSET_X, SHADOW_OFFSET_Y = 3.0, 7.0

GROUND_TOP = (78, 132, 168)
GROUND_BOTTOM = (24, 62, 96)
GROUND_GLOW = (134, 184, 210)
SHADOW = (8, 26, 44)
BODY_LIGHT = (58, 66, 78)
BODY_DARK = (28, 33, 42)
BODY_EDGE = (110, 122, 138)
PLUG_LIGHT = (226, 230, 236)
PLUG_DARK = (150, 158, 170)
PLUG_HOLE = (64, 70, 80)
DISC_LIGHT = (250, 214, 130)
DISC_DARK = (208, 154, 62)
DISC_MARK = (104, 70, 18)
LIGHT = (120, 226, 170)


def clamp(value):
    return min(1.0, max(0.0, value))


def smooth(value):
    t = clamp(value)
    return t * t * (3.0 - 2.0 * t)


def mix(first, second, share):
    return tuple(a + (b - a) * share for a, b in zip(first, second))


def coverage(distance):
    """How much of a pixel a shape covers whose edge is `distance` away (negative: inside)."""
    return clamp(0.5 - distance)


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


def ground(x, y):
    colour = mix(GROUND_TOP, GROUND_BOTTOM, smooth(y / SIZE))
    glow = 1.0 - math.sqrt((x - 70) ** 2 + (y - 52) ** 2) / 130
    return mix(colour, GROUND_GLOW, 0.45 * smooth(glow))


def key_axes(x, y):
    x, y = x - SIZE / 2, y - SIZE / 2
    return x * AXIS_X + y * AXIS_Y, y * AXIS_X - x * AXIS_Y


def paint_plug(colour, x, y):
    metal = mix(PLUG_LIGHT, PLUG_DARK, smooth((y + 15) / 30))
    colour = mix(colour, metal, coverage(plug(x, y)))
    for top in (-9.5, 3.5):
        colour = mix(colour, PLUG_HOLE, coverage(box(x, y, 44, top, 51, top + 6, 1)))
    return colour


def paint_body(colour, x, y):
    distance = body(x, y)
    case = mix(BODY_LIGHT, BODY_DARK, smooth((y + 23) / 46))
    colour = mix(colour, case, coverage(distance))
    rim = coverage(abs(distance + 1.2) - 0.7) * (0.85 - 0.6 * clamp((y + 23) / 46))
    return mix(colour, BODY_EDGE, rim)


def paint_disc(colour, x, y):
    distance = circle(x, y, -8, 0, 16)
    gold = mix(DISC_LIGHT, DISC_DARK, smooth((x + y + 32) / 52))
    colour = mix(colour, BODY_DARK, 0.8 * coverage(distance - 2.2))
    colour = mix(colour, gold, coverage(distance))
    return mix(colour, DISC_MARK, coverage(touch_mark(x, y)))


def paint_light(colour, x, y):
    distance = circle(x, y, 20, 0, 2.4)
    colour = mix(colour, LIGHT, 0.35 * smooth(1.0 - distance / 5.0))
    return mix(colour, LIGHT, coverage(distance))


def pixel(column, row):
    screen_x, screen_y = column + 0.5, row + 0.5
    colour = ground(screen_x, screen_y)
    x, y = key_axes(screen_x - SHADOW_OFFSET_X, screen_y - SHADOW_OFFSET_Y)
    colour = mix(colour, SHADOW, 0.5 * smooth(0.5 - min(body(x, y), plug(x, y)) / 16))
    x, y = key_axes(screen_x, screen_y)
    for paint in (paint_plug, paint_body, paint_disc, paint_light):
        colour = paint(colour, x, y)
    return tuple(int(channel + 0.5) for channel in colour)


def draw():
    return [[pixel(column, row) for column in range(SIZE)] for row in range(SIZE)]


def bmp_bytes(rows):
    padding = b"\0" * (-SIZE * 3 % 4)
    bits = b"".join(
        b"".join(bytes((blue, green, red)) for red, green, blue in row) + padding
        for row in reversed(rows))
    header_bytes = 14 + 40
    return (struct.pack("<2sIHHI", b"BM", header_bytes + len(bits), 0, 0, header_bytes) +
            struct.pack("<IiiHHIIiiII", 40, SIZE, SIZE, 1, 24, 0, len(bits), 3780, 3780, 0, 0) +
            bits)


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
