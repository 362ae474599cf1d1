#!/usr/bin/env python3
"""Draws the project's icons from vector art into res/gui/. Usage: make_icons.py [FOLDER] [--preview FOLDER]
       make_icons.py --desktop FOLDER --sizes N...

The art lives on a grid of 16 units with strokes of 1.5; pictures are 32 pixels wide, the error sign 64.
`--preview` also writes each picture enlarged, on the dark and the light window colour, as a PNG to look at.
`--desktop` draws the program's icon alone, as NxN/apps/lumenara-studio.png of an icon theme.
Needs nothing but Python 3.
"""

import argparse
import pathlib
from math import cos, radians, sin

import vector_art as art

LINE = 1.5
TONE = art.colour(0x94949C)  # one tone that reads on the dark and on the light theme
DIM = art.colour(0x606068)
LIT = art.colour(0xE0A030)
ERROR = art.colour(0xD25050)
WHITE = art.colour(0xFFFFFF)


def mark():
    """The project's mark.

    A lens-like disc, split by a slanted line into a dim and a lit half - before and after.
    """
    glass = art.disc(8, 8, 4.75)
    top, bottom = (9.9, 0), (6.1, 16)
    lit_side = art.half_plane(*top, *bottom)
    gap = art.stroke([top, bottom], 1.1)
    return [
        (art.without(art.without(glass, lit_side), gap), DIM),
        (art.without(art.both(glass, lit_side), gap), LIT),
        (art.ring(8, 8, 6.5, LINE), TONE),
    ]


def refresh():
    """A circle that runs back towards its start and ends in an arrow head."""
    radius, stop = 5.75, radians(318)
    end = (8 + radius * cos(stop), 8.25 + radius * sin(stop))
    tip = (14.25, 6.25)
    return [
        (art.arc(8, 8.25, radius, 25, 318, LINE), TONE),
        (art.stroke([end, tip], LINE), TONE),
        (art.stroke([(14.25, 2.5), tip, (10.5, 6.25)], LINE), TONE),
    ]


def cancel():
    """A ring with a cross."""
    a, b = 5.6, 10.4
    return [
        (art.ring(8, 8, 6.5, LINE), TONE),
        (art.stroke([(a, a), (b, b)], LINE), TONE),
        (art.stroke([(b, a), (a, b)], LINE), TONE),
    ]


def error():
    """A warning triangle for the banner over a picture.

    Filled, and dark around its edge so that it reads on any colour.
    """
    corners = [(8, 3.1), (14.0, 13.0), (2.0, 13.0)]
    halo = [(art.polygon(corners, 1.2 + 0.08 * i), (0, 0, 0, 0.08)) for i in range(7, 0, -1)]
    return halo + [
        (art.polygon(corners, 1.2), ERROR),
        (art.stroke([(8, 6.2), (8, 9.4)], LINE), WHITE),
        (art.disc(8, 11.9, 0.95), WHITE),
    ]


PICTURES = {
    "lm": (mark, 32),
    "refresh": (refresh, 32),
    "cancel": (cancel, 32),
    "error": (error, 64),
}


def write_preview(folder, name, rows, zoom=8):
    """The picture enlarged, twice: on the dark and on the light window colour."""
    out = []
    for row in rows:
        line = bytearray()
        for back in (0x2B2B2E, 0xF0F0F2):
            under = art.colour(back)[:3]
            for x in range(0, len(row), 4):
                alpha = row[x + 3] / 255
                pixel = bytes(round(row[x + c] * alpha + under[c] * (1 - alpha)) for c in range(3))
                line += pixel * zoom
        out += [bytes(line)] * zoom
    (folder / f"{name}.png").write_bytes(art.png_bytes(out, 3))


def write_desktop(folder, sizes):
    """The program's icon in the folders of an icon theme."""
    for size in sizes:
        place = folder / f"{size}x{size}" / "apps"
        place.mkdir(parents=True, exist_ok=True)
        rows = art.rasterise(mark(), size, samples=max(4, 128 // size))
        (place / "lumenara-studio.png").write_bytes(art.png_bytes(rows, 4))


def main():
    root = pathlib.Path(__file__).resolve().parent.parent
    parser = argparse.ArgumentParser(description="Draws the project's icons.")
    parser.add_argument("folder", nargs="?", type=pathlib.Path, default=root / "res" / "gui")
    parser.add_argument("--preview", type=pathlib.Path)
    parser.add_argument("--desktop", type=pathlib.Path)
    parser.add_argument("--sizes", type=int, nargs="+", default=[])
    options = parser.parse_args()
    if options.desktop:
        write_desktop(options.desktop, options.sizes)
        return
    for folder in filter(None, (options.folder, options.preview)):
        folder.mkdir(parents=True, exist_ok=True)
    for name, (draw, size) in PICTURES.items():
        rows = art.rasterise(draw(), size, samples=max(4, 256 // size))
        (options.folder / f"{name}.tif").write_bytes(art.tiff_bytes(rows))
        if options.preview:
            write_preview(options.preview, name, rows, 256 // size)


if __name__ == "__main__":
    main()
