"""Procedural pictures for the demo scene. They tile, and are the same on every run. Standard library only.

A field is a list of rows of floats, mostly from 0 to 1. A picture is a list of rows of bytes, three a pixel
(red, green, blue). Colours are written as they are stored, in sRGB.
"""

import math
import random


def token(value):
    return (value >> 16 & 255, value >> 8 & 255, value & 255)


def mix(a, b, t):
    return tuple(x + (y - x) * t for x, y in zip(a, b))


def step(low, high, value):
    """0 below low, 1 above high, smooth between."""
    t = max(0.0, min(1.0, (value - low) / (high - low)))
    return t * t * (3 - 2 * t)


def noise(width, height, cells_x, cells_y, seed):
    """Smooth tiling noise: random values at cells, blended between them."""
    rng = random.Random(seed)
    lattice = [[rng.random() for _ in range(cells_x)] for _ in range(cells_y)]
    columns = [_cell(x, width, cells_x) for x in range(width)]
    wide = [[row[a] + (row[b] - row[a]) * t for a, b, t in columns] for row in lattice]
    field = []
    for y in range(height):
        a, b, t = _cell(y, height, cells_y)
        field.append([p + (q - p) * t for p, q in zip(wide[a], wide[b])])
    return field


def _cell(place, size, cells):
    at = place * cells / size
    whole = int(at)
    t = at - whole
    return whole % cells, (whole + 1) % cells, t * t * (3 - 2 * t)


def layered(width, height, cells_x, cells_y, octaves, seed, fade=0.5):
    """Noise over noise, each finer by two and weaker by `fade`, from 0 to 1 about a mean of a half."""
    total, weight, field = 0.0, 1.0, None
    for octave in range(octaves):
        fine = noise(width, height, min(width, cells_x << octave), min(height, cells_y << octave), seed * 31 + octave)
        if field is None:
            field = [[v * weight for v in row] for row in fine]
        else:
            field = [[f + v * weight for f, v in zip(a, b)] for a, b in zip(field, fine)]
        total += weight
        weight *= fade
    return [[v / total for v in row] for row in field]


def picture(width, height, shade):
    """`shade(x, y)` gives a colour of three numbers from 0 to 255."""
    rows = []
    for y in range(height):
        row = bytearray()
        for x in range(width):
            row += bytes(max(0, min(255, round(c))) for c in shade(x, y))
        rows.append(bytes(row))
    return rows


def normals(heights, strength, wrap_v=True):
    """A tangent-space normal map of a field of heights; green points to the top of the picture."""
    height, width = len(heights), len(heights[0])
    rows = []
    for y, row in enumerate(heights):
        above = heights[y - 1 if y or wrap_v else 0]
        below = heights[(y + 1) % height if wrap_v else min(y + 1, height - 1)]
        line = bytearray()
        for x in range(width):
            dx = (row[x - 1] - row[(x + 1) % width]) * strength
            dy = (below[x] - above[x]) * strength
            size = 127.5 / math.sqrt(dx * dx + dy * dy + 1)
            line += bytes((round(127.5 + dx * size), round(127.5 + dy * size), round(127.5 + size)))
        rows.append(bytes(line))
    return rows


# Terrazzo ------------------------------------------------------------

TERRAZZO_BED = token(0xD3CCC0)
TERRAZZO_CHIPS = [(token(t), weight) for t, weight in (
    (0xECE7DD, 7), (0xB6ADA0, 5), (0x8D867D, 4), (0x57534F, 3), (0xC08F6A, 3), (0xCF9C45, 1), (0x8E978A, 3))]


def terrazzo(size, seed=11):
    """Stone chips of many sizes in a pale bed: (colour, metallic-roughness)."""
    rng = random.Random(seed)
    bed = layered(size, size, 32, 32, 4, seed + 1)
    colour = [[mix(TERRAZZO_BED, token(0xBDB5A8), 0.7 * step(0.3, 0.8, v)) for v in row] for row in bed]
    rough = [[0.46 + 0.1 * (v - 0.5) for v in row] for row in bed]
    taken = []
    for radius, count in ((0.036, 26), (0.022, 90), (0.013, 260), (0.0065, 700)):
        for _ in range(count):
            _place_chip(rng, size, radius * rng.uniform(0.75, 1.25), taken, colour, rough)
    pixels = picture(size, size, lambda x, y: colour[y][x])
    surface = picture(size, size, lambda x, y: (255, 255 * rough[y][x], 0))
    return pixels, surface


def _place_chip(rng, size, radius, taken, colour, rough):
    x, y = rng.random(), rng.random()
    for ox, oy, other in taken:
        dx, dy = abs(x - ox), abs(y - oy)
        if math.hypot(min(dx, 1 - dx), min(dy, 1 - dy)) < (radius + other) * 0.97:
            return
    taken.append((x, y, radius))
    tone = rng.choices([c for c, _ in TERRAZZO_CHIPS], [w for _, w in TERRAZZO_CHIPS])[0]
    tone = mix(tone, (tone[0] * 0.86, tone[1] * 0.86, tone[2] * 0.88), rng.random())
    sides = rng.randint(5, 8)
    turn, squash = rng.uniform(0, math.pi), rng.uniform(0.6, 1.0)
    edges = []
    for k in range(sides):
        a = 2 * math.pi * (k + rng.uniform(-0.3, 0.3)) / sides
        edges.append((math.cos(a), math.sin(a), radius * size * rng.uniform(0.62, 0.95)))
    _paint_chip(x * size, y * size, radius * size, edges, turn, squash, tone, colour, rough)


def _paint_chip(cx, cy, reach, edges, turn, squash, tone, colour, rough):
    size = len(colour)
    c, s = math.cos(turn), math.sin(turn)
    for py in range(int(cy - reach), int(cy + reach) + 2):
        for px in range(int(cx - reach), int(cx + reach) + 2):
            dx, dy = px - cx, py - cy
            lx, ly = dx * c + dy * s, (dy * c - dx * s) / squash
            inside = min(1.0, 0.5 + min(limit - lx * ex - ly * ey for ex, ey, limit in edges))
            if inside > 0:
                x, y = px % size, py % size
                colour[y][x] = mix(colour[y][x], tone, inside)
                rough[y][x] += (0.3 - rough[y][x]) * inside


# Wood ------------------------------------------------------------


def walnut(width, height, seed=23):
    """Straight-grained walnut, the grain along u: (colour, metallic-roughness)."""
    bend = layered(width, height, 2, 3, 3, seed)
    fibre = noise(width, height, 10, height // 2, seed + 1)
    fine = noise(width, height, 40, height, seed + 2)
    pores = noise(width, height, 28, height, seed + 3)
    tint = layered(width, height, 2, 6, 3, seed + 4)
    dark, mid, light = token(0x4A3122), token(0x7A5538), token(0xA37A53)

    def parts(x, y):
        ring = (y / height * 17 + bend[y][x] * 3.4) % 1.0
        late = step(0.3, 0.94, ring) * (1 - step(0.94, 1.0, ring))
        grain = 0.42 * late + 0.3 * (fibre[y][x] - 0.5) + 0.16 * (fine[y][x] - 0.5)
        pore = step(0.80, 0.92, pores[y][x]) * (0.35 + 0.65 * late)
        return grain, pore

    def shade(x, y):
        grain, pore = parts(x, y)
        tone = mix(light, mid, max(0.0, min(1.0, 0.35 + grain + 0.5 * (tint[y][x] - 0.5))))
        return mix(mix(tone, dark, max(0.0, grain) * 0.75), dark, pore * 0.7)

    def surface(x, y):
        grain, pore = parts(x, y)
        return (255, 255 * min(1.0, 0.44 + 0.14 * grain + 0.3 * pore), 0)

    return picture(width, height, shade), picture(width, height, surface)


# Stoneware ------------------------------------------------------------


def stoneware(size, seed=37):
    """A thrown pot, glazed above a wavy line and bare below.

    (colour, metallic-roughness, normals). v does not tile.
    """
    wave = noise(size, 1, 7, 1, seed)[0]
    drip = noise(size, 1, 19, 1, seed + 1)[0]
    clay = layered(size, size, 24, 24, 5, seed + 2, 0.65)
    cloud = layered(size, size, 3, 4, 4, seed + 3)
    grit = noise(size, size, size // 3, size // 3, seed + 4)
    turning = noise(size, size, 3, 46, seed + 5)
    spots = _spots(size, seed + 6)
    bare, glaze, thin = token(0xA4694A), token(0xDDD5C6), token(0xB78E6C)
    line = [0.64 + 0.05 * (a - 0.5) + 0.035 * (b - 0.5) for a, b in zip(wave, drip)]

    def cover(x, y):
        return step(-0.006, 0.006, line[x] - y / size)

    def shade(x, y):
        body = mix(bare, token(0x8A5238), step(0.3, 0.85, clay[y][x]))
        run = step(0.0, 0.045, line[x] - y / size)
        coat = mix(thin, mix(glaze, token(0xC7BEAE), step(0.4, 0.75, cloud[y][x])), 0.25 + 0.75 * run)
        coat = mix(coat, token(0x5B4636), 0.8 * spots[y][x])
        return mix(body, coat, cover(x, y))

    def surface(x, y):
        coat = 0.3 + 0.16 * cloud[y][x] + 0.2 * spots[y][x]
        return (255, 255 * (0.92 + (coat - 0.92) * cover(x, y)), 0)

    def relief(x, y):
        on = cover(x, y)
        return 0.9 * turning[y][x] + (0.55 * (clay[y][x] - 0.5) + 0.30 * grit[y][x]) * (1 - 0.8 * on) + 0.9 * on

    heights = [[relief(x, y) for x in range(size)] for y in range(size)]
    return picture(size, size, shade), picture(size, size, surface), normals(heights, 1.5, False)


def _spots(size, seed):
    """Iron specks, a few of them large."""
    rng = random.Random(seed)
    field = [[0.0] * size for _ in range(size)]
    for _ in range(size * 2):
        cx, cy = rng.random() * size, rng.random() * size
        reach = size / 512 * (0.5 + 1.9 * rng.random() ** 5)
        for y in range(int(cy - reach - 1), int(cy + reach + 2)):
            for x in range(int(cx - reach - 1), int(cx + reach + 2)):
                amount = max(0.0, min(1.0, reach + 0.5 - math.hypot(x - cx, y - cy)))
                row = field[y % size]
                row[x % size] = max(row[x % size], amount)
    return field


# Brushed metal ------------------------------------------------------------


def brushed(size, seed=53):
    """Fine turning marks along u: (metallic-roughness, normals)."""
    lines = noise(size, size, 2, size, seed)
    broad = noise(size, size, 2, size // 6, seed + 1)
    marks = [[0.6 * a + 0.4 * b for a, b in zip(p, q)] for p, q in zip(lines, broad)]
    surface = picture(size, size, lambda x, y: (255, 255 * (0.24 + 0.22 * marks[y][x]), 255))
    return surface, normals(marks, 0.35)
