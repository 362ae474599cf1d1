"""A small vector rasteriser and picture writer for the project's own line art. Standard library only.

A shape is a function (x, y) -> bool in grid units. A drawing is a list of (shape, colour) pairs, painted
bottom first, where a colour is (red, green, blue, alpha) with alpha from 0 to 1. `rasterise` takes many
samples a pixel, so edges come out smooth at any size, and returns rows of straight (not premultiplied) 8-bit
RGBA.
"""

import math
import struct
import zlib


def colour(token, alpha=1.0):
    """A colour from a 0xRRGGBB token."""
    return (token >> 16 & 255, token >> 8 & 255, token & 255, alpha)


# Shapes ------------------------------------------------------------


def disc(cx, cy, radius):
    return lambda x, y: (x - cx) ** 2 + (y - cy) ** 2 <= radius * radius


def ring(cx, cy, radius, width):
    inner, outer = (radius - width / 2) ** 2, (radius + width / 2) ** 2
    return lambda x, y: inner <= (x - cx) ** 2 + (y - cy) ** 2 <= outer


def segment_distance(x, y, ax, ay, bx, by):
    dx, dy = bx - ax, by - ay
    length = dx * dx + dy * dy
    t = 0.0 if length == 0 else max(0.0, min(1.0, ((x - ax) * dx + (y - ay) * dy) / length))
    return math.hypot(x - ax - t * dx, y - ay - t * dy)


def stroke(points, width, closed=False):
    """A polyline with round caps and joins."""
    ends = points[1:] + points[:1] if closed else points[1:]
    pieces = [a + b for a, b in zip(points, ends)]
    return lambda x, y: any(segment_distance(x, y, *piece) <= width / 2 for piece in pieces)


def arc(cx, cy, radius, start, stop, width):
    """A stroked arc with round caps.

    Angles in degrees, clockwise on the picture from the three o'clock direction.
    """
    ends = [(cx + radius * math.cos(math.radians(a)), cy + radius * math.sin(math.radians(a))) for a in (start, stop)]
    caps = [disc(x, y, width / 2) for x, y in ends]
    band = ring(cx, cy, radius, width)

    def inside(x, y):
        if band(x, y) and (math.degrees(math.atan2(y - cy, x - cx)) - start) % 360 <= stop - start:
            return True
        return any(cap(x, y) for cap in caps)

    return inside


def polygon(points, grow=0.0):
    """A filled polygon, its outline pushed out by `grow` with round corners."""
    edges = list(zip(points, points[1:] + points[:1]))
    outline = stroke(points, 2 * grow, True) if grow > 0 else None

    def inside(x, y):
        hit = False
        for (ax, ay), (bx, by) in edges:
            if (ay > y) != (by > y) and x < (bx - ax) * (y - ay) / (by - ay) + ax:
                hit = not hit
        return hit or (outline is not None and outline(x, y))

    return inside


def half_plane(ax, ay, bx, by):
    """Everything on the right hand of the line from a to b, as seen on the picture."""
    return lambda x, y: (bx - ax) * (y - ay) - (by - ay) * (x - ax) < 0


def both(first, second):
    return lambda x, y: first(x, y) and second(x, y)


def without(first, second):
    return lambda x, y: first(x, y) and not second(x, y)


# Pixels ------------------------------------------------------------


def rasterise(drawing, size, grid=16.0, samples=8):
    """Rows of straight RGBA bytes of a `size` x `size` picture of the square from (0, 0) to (grid, grid)."""
    scale = grid / (size * samples)
    rows = []
    for py in range(size):
        row = bytearray()
        for px in range(size):
            row += _pixel(drawing, px * samples, py * samples, samples, scale)
        rows.append(bytes(row))
    return rows


def _pixel(drawing, left, top, samples, scale):
    red = green = blue = alpha = 0.0
    for j in range(samples):
        y = (top + j + 0.5) * scale
        for i in range(samples):
            x = (left + i + 0.5) * scale
            r = g = b = a = 0.0
            for shape, (cr, cg, cb, ca) in drawing:
                if shape(x, y):
                    keep = 1.0 - ca
                    r, g, b, a = r * keep + cr * ca, g * keep + cg * ca, b * keep + cb * ca, a * keep + ca
            red, green, blue, alpha = red + r, green + g, blue + b, alpha + a
    if alpha == 0:
        return b"\0\0\0\0"
    return bytes(min(255, round(v)) for v in (red / alpha, green / alpha, blue / alpha, 255 * alpha / samples**2))


# Files ------------------------------------------------------------


def tiff_bytes(rows):
    """A little-endian, uncompressed TIFF 6.0 of RGBA rows, its fourth sample marked as unassociated alpha."""
    width, height = len(rows[0]) // 4, len(rows)
    data = b"".join(rows)
    bits_at = 8
    data_at = bits_at + 8
    short, long = 3, 4
    entries = [
        (256, short, 1, width),
        (257, short, 1, height),
        (258, short, 4, bits_at),
        (259, short, 1, 1),
        (262, short, 1, 2),
        (273, long, 1, data_at),
        (277, short, 1, 4),
        (278, short, 1, height),
        (279, long, 1, len(data)),
        (284, short, 1, 1),
        (338, short, 1, 2),
    ]
    pad = b"\0" * (len(data) % 2)
    directory = struct.pack("<H", len(entries)) + b"".join(struct.pack("<HHII", *e) for e in entries) + b"\0\0\0\0"
    header = struct.pack("<2sHI", b"II", 42, data_at + len(data) + len(pad))
    return header + struct.pack("<4H", 8, 8, 8, 8) + data + pad + directory


def png_bytes(rows, channels):
    """A PNG of 8-bit rows with 1 (grey), 3 (RGB) or 4 (RGBA) channels.

    Each row takes the filter that looks cheapest.
    """
    kind = {1: 0, 3: 2, 4: 6}[channels]
    width, height = len(rows[0]) // channels, len(rows)

    def chunk(name, body):
        return struct.pack(">I", len(body)) + name + body + struct.pack(">I", zlib.crc32(name + body))

    packed, above = bytearray(), bytes(len(rows[0]))
    for row in rows:
        packed += min(_filtered(row, above, channels), key=lambda f: sum(min(v, 256 - v) for v in f[1:]))
        above = row
    head = struct.pack(">IIBBBBB", width, height, 8, kind, 0, 0, 0)
    body = chunk(b"IHDR", head) + chunk(b"IDAT", zlib.compress(bytes(packed), 9)) + chunk(b"IEND", b"")
    return b"\x89PNG\r\n\x1a\n" + body


def _filtered(row, above, channels):
    left = bytes(channels) + row[:-channels]
    corner = bytes(channels) + above[:-channels]
    yield b"\x00" + row
    yield b"\x01" + bytes((v - a) & 255 for v, a in zip(row, left))
    yield b"\x02" + bytes((v - b) & 255 for v, b in zip(row, above))
    yield b"\x04" + bytes((v - _paeth(a, b, c)) & 255 for v, a, b, c in zip(row, left, above, corner))


def _paeth(a, b, c):
    estimate = a + b - c
    da, db, dc = abs(estimate - a), abs(estimate - b), abs(estimate - c)
    if da <= db and da <= dc:
        return a
    return b if db <= dc else c
