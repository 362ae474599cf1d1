#!/usr/bin/env python3
"""Draws the viewer's pictures from vector art into res/gui/: splash, progress strip, title bar pieces.

Usage: make_pictures.py [FOLDER] [--preview FOLDER]

The icons beside them are make_icons.py's. The art is SVG; its letters are strokes of our own, so no font takes part.
Needs rsvg-convert and ImageMagick's convert. `--preview` also writes each picture as a PNG, enlarged twice.
"""

import argparse
import pathlib
import subprocess
from math import hypot, sqrt

import vector_art as art

WINDOW, PANEL, FIELD, LINE = "#2b2b2e", "#333337", "#232326", "#3f3f45"
TEXT, DIM, TONE, ACCENT = "#d8d8dc", "#8e8e96", "#94949c", "#e0a030"
DARK_HALF = "#606068"

# Letters as strokes on a height of 10: path, advance.
LETTERS = {
    "A": ("M0 10L4.25 0L8.5 10M1.6 6.7H6.9", 8.5),
    "D": ("M0 0V10H2.6A5 5 0 0 0 2.6 0z", 7.6),
    "E": ("M6 0H0V10H6M0 5H5", 6),
    "F": ("M6 0H0V10M0 5H5", 6),
    "G": ("M7.7 2.2A4.4 5 0 1 0 8.2 6.2V5.5H5", 8.2),
    "H": ("M0 0V10M7 0V10M0 5H7", 7),
    "I": ("M0 0V10", 0),
    "L": ("M0 0V10H5.5", 5.5),
    "M": ("M0 10V0L4.5 6.5L9 0V10", 9),
    "N": ("M0 10V0L7.2 10V0", 7.2),
    "O": ("M4.2 0A4.2 5 0 1 0 4.2 10A4.2 5 0 1 0 4.2 0z", 8.4),
    "P": ("M0 10V0H3.8a2.9 2.9 0 0 1 0 5.8H0", 6.7),
    "R": ("M0 10V0H3.8a2.9 2.9 0 0 1 0 5.8H0M3.4 5.8L6.7 10", 6.7),
    "S": ("M6.1 1.8C5.6 .6 4.5 0 3.2 0C1.6 0 .4 1 .4 2.5C.4 5.5 6.4 4.5 6.4 7.5C6.4 9 5 10 3.3 10C1.7 10 .5 9.2 0 7.9", 6.4),
    "T": ("M0 0H7.4M3.7 0V10", 7.4),
    "U": ("M0 0V6.5A3.5 3.5 0 0 0 7 6.5V0", 7),
    " ": ("", 4),
}


def word_width(word, height, spacing):
    return (sum(LETTERS[c][1] for c in word) + spacing * (len(word) - 1)) * height / 10


def word(text, x, y, height, colour, stroke, spacing=3.6):
    """Words whose upper left corner is at (x, y), `stroke` pixels thick."""
    scale = height / 10
    out = [
        f'<g transform="translate({x} {y}) scale({scale})" fill="none" stroke="{colour}" '
        f'stroke-width="{stroke / scale}" stroke-linecap="round" stroke-linejoin="round">'
    ]
    at = 0.0
    for letter in text:
        path, advance = LETTERS[letter]
        out.append(f'<path transform="translate({at} 0)" d="{path}"/>')
        at += advance + spacing
    return "".join(out) + "</g>"


def mark(cx, cy, size, turn=0.0, ring=TONE):
    """The mark of make_icons.py: a lens, split into a dim and a lit half; `turn` in degrees."""
    length = hypot(3.8, 16)
    along, across = (-3.8 / length, 16 / length), (16 / length, 3.8 / length)
    radius, gap = 4.75, 0.55
    half = sqrt(radius**2 - gap**2)

    def at(side, end):
        return " ".join(f"{side * gap * a + end * half * b:.3f}" for a, b in zip(across, along))

    lit = f'<path d="M{at(1, -1)}A{radius} {radius} 0 0 1 {at(1, 1)}z" fill="{ACCENT}"/>'
    dim = f'<path d="M{at(-1, -1)}A{radius} {radius} 0 0 0 {at(-1, 1)}z" fill="{DARK_HALF}"/>'
    return (
        f'<g transform="translate({cx} {cy}) scale({size / 16})"><g transform="rotate({turn})">{dim}{lit}</g>'
        f'<circle r="6.5" fill="none" stroke="{ring}" stroke-width="1.5"/></g>'
    )


def splash():
    width, height = 320, 200
    name, hint = "LUMENARA", "PRESS REFRESH TO RENDER"
    name_height, hint_height = 14, 6.5
    name_x = (width - word_width(name, name_height, 5)) / 2
    hint_x = (width - word_width(hint, hint_height, 4)) / 2
    return width, height, (
        f'<rect x=".5" y=".5" width="{width - 1}" height="{height - 1}" rx="9.5" fill="{FIELD}" stroke="{LINE}"/>'
        + mark(width / 2, 71, 64)
        + word(name, name_x, 122, name_height, TEXT, 1.9, 5)
        + word(hint, hint_x, 158, hint_height, DIM, 1.0, 4)
    )


FRAMES, FRAME_HEIGHT = 24, 35


def progress():
    """One frame above the other, each a pill with the turning mark; the strip runs ten frames a second."""
    width, parts = 130, []
    for frame in range(FRAMES):
        top = frame * FRAME_HEIGHT
        parts.append(f'<rect x="6" y="{top + 6}" width="{width - 10}" height="24" rx="12" fill="#161618" fill-opacity=".8"/>')
        parts.append(mark(20, top + 18, 17, 360 * frame / FRAMES, TEXT))
        parts.append(word("RENDERING", 37, top + 14.5, 7, TEXT, 1.15))
        for dot in range(3):
            lit = frame // 2 % 4 > dot
            parts.append(
                f'<circle cx="{104 + 6.5 * dot}" cy="{top + 20.2}" r="1.5" fill="{ACCENT}" fill-opacity="{1 if lit else 0.3}"/>'
            )
    return width, FRAMES * FRAME_HEIGHT, "".join(parts)


BAR = 24


def band(width, extra=""):
    return width, BAR, (
        f'<rect width="{width}" height="{BAR}" fill="{PANEL}"/><rect width="{width}" height="1" fill="{LINE}"/>'
        f'<rect y="{BAR - 1}" width="{width}" height="1" fill="{FIELD}"/>{extra}'
    )


def highlight(width):
    return (
        f'<rect x="2" y="3" width="{width - 4}" height="{BAR - 6}" rx="4" fill="#ffffff" fill-opacity=".09"/>'
    )


def name_piece(hover):
    height, spacing = 8, 4
    width = round(word_width("LUMENARA", height, spacing)) + 42
    return band(
        width,
        (highlight(width) if hover else "")
        + mark(17, BAR / 2, 16)
        + word("LUMENARA", 31, 8, height, "#ffffff" if hover else TEXT, 1.3, spacing),
    )


def button(path, hover):
    colour = "#ffffff" if hover else TONE
    return band(
        28,
        (highlight(28) if hover else "")
        + f'<g transform="translate(6 4)" fill="none" stroke="{colour}" stroke-width="1.5" stroke-linecap="round" '
        f'stroke-linejoin="round">{path}</g>',
    )


HELP = '<circle cx="8" cy="8" r="6.25"/><path d="M6.2 6.4A1.85 1.85 0 1 1 8 8.5v.6M8 11.3v.01"/>'
HOME = '<path d="M2 8l6-5.5L14 8M3.75 6.75v6.5h8.5v-6.5"/>'


def separator(x):
    return f'<rect x="{x}" y="6" width="1" height="{BAR - 12}" fill="{LINE}"/>'


PICTURES = {
    "splash": splash,
    "progress": progress,
    "t_cntr": lambda: band(16),
    "t_caps": lambda: band(10),
    "t_left": lambda: band(9, separator(4)),
    "t_rght": lambda: band(9, separator(4)),
    "name_a": lambda: name_piece(False),
    "name_b": lambda: name_piece(True),
    "help_a": lambda: button(HELP, False),
    "help_b": lambda: button(HELP, True),
    "home_a": lambda: button(HOME, False),
    "home_b": lambda: button(HOME, True),
}


def render(width, height, body, zoom=1):
    """PNG bytes of a drawing."""
    svg = (
        f'<svg xmlns="http://www.w3.org/2000/svg" width="{width * zoom}" height="{height * zoom}" '
        f'viewBox="0 0 {width} {height}">{body}</svg>'
    )
    return subprocess.run(["rsvg-convert"], input=svg.encode(), stdout=subprocess.PIPE, check=True).stdout


def rgba_rows(png, width):
    convert = ["convert", "png:-", "-depth", "8", "rgba:-"]
    data = subprocess.run(convert, input=png, stdout=subprocess.PIPE, check=True).stdout
    return [data[i : i + 4 * width] for i in range(0, len(data), 4 * width)]


def main():
    root = pathlib.Path(__file__).resolve().parent.parent
    parser = argparse.ArgumentParser(description="Draws the viewer's pictures.")
    parser.add_argument("folder", nargs="?", type=pathlib.Path, default=root / "res" / "gui")
    parser.add_argument("--preview", type=pathlib.Path)
    options = parser.parse_args()
    for folder in filter(None, (options.folder, options.preview)):
        folder.mkdir(parents=True, exist_ok=True)
    for name, draw in PICTURES.items():
        width, height, body = draw()
        rows = rgba_rows(render(width, height, body), width)
        (options.folder / f"{name}.tif").write_bytes(art.tiff_bytes(rows))
        if options.preview:
            (options.preview / f"{name}.png").write_bytes(render(width, height, body, 2))


if __name__ == "__main__":
    main()
