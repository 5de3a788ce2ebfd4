#!/usr/bin/python3
"""Draws side.bmp, the picture at the side of the wizard: draw_side.py >side.bmp

Every pixel is the mean of 8 x 8 points, so edges are smooth. A pixel has 24 bits.
"""

import struct
import sys

WIDTH, HEIGHT = 120, 260
POINTS = 8
SKY_TOP, SKY_LOW = (54, 201, 219), (30, 92, 174)
SKY_LOW_Y = 225
SUN, SUN_COLOUR = (82.5, 70.3, 20.5), (255, 222, 137)
SNOW = (238, 245, 252)
# The shapes from back to front: colour, corners.
SHAPES = (
    ((23, 51, 107), ((38.5, 140), (118.5, 260), (-40, 260))),
    (SNOW, ((38.5, 140), (60.2, 172.5), (52.5, 167.3), (41.5, 177), (31.5, 168), (17, 172.8))),
    ((13, 35, 77), ((86.5, 168), (157, 260), (20.8, 260))),
    (SNOW, ((86.5, 168), (108.3, 196.5), (98, 194.3), (88.5, 203.8), (79.5, 195.5), (64, 199.5))),
)


def contains(corners, x, y):
    inside = False
    for (x1, y1), (x2, y2) in zip(corners, corners[1:] + corners[:1]):
        if (y1 > y) != (y2 > y) and x < x1 + (y - y1) * (x2 - x1) / (y2 - y1):
            inside = not inside
    return inside


def point(x, y):
    for colour, corners in reversed(SHAPES):
        if contains(corners, x, y):
            return colour
    if (x - SUN[0]) ** 2 + (y - SUN[1]) ** 2 < SUN[2] ** 2:
        return SUN_COLOUR
    share = min(y / SKY_LOW_Y, 1)
    return tuple(top + (low - top) * share for top, low in zip(SKY_TOP, SKY_LOW))


def pixel(column, row):
    points = [point(column + (i + 0.5) / POINTS, row + (j + 0.5) / POINTS) for i in range(POINTS) for j in range(POINTS)]
    return tuple(round(sum(channel) / len(points)) for channel in zip(*points))


def main():
    bits, start = 24, 54
    size = WIDTH * HEIGHT * bits // 8
    out = sys.stdout.buffer
    out.write(struct.pack("<2sIHHI", b"BM", start + size, 0, 0, start))
    out.write(struct.pack("<IiiHHIIiiII", 40, WIDTH, HEIGHT, 1, bits, 0, size, 2835, 2835, 0, 0))
    for row in reversed(range(HEIGHT)):
        for column in range(WIDTH):
            out.write(bytes(reversed(pixel(column, row))))


if __name__ == "__main__":
    main()
