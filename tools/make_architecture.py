#!/usr/bin/env python3
"""Draws docs/images/architecture.svg: the folders of the host as layers, their sub-folders, and who uses whom.

  make_architecture.py            writes the picture
  make_architecture.py --check    compares it with the tree; exits 1 when it is out of date

Layers and arrows come from the tables in cmake/Rules.cmake, rooms from the sub-folders.
"""
import html
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
PICTURE = ROOT / "docs/images/architecture.svg"

PURPOSE = {
    "qt": "windows, managers, editor view",
    "farm": "jobs for many machines, Slurm",
    "session": "the open document, undo, files",
    "link": "scenes of other programs",
    "render": "RenderDocument, path tracer",
    "dialog": "gadgets, layout, user areas",
    "view": "editor view, scene hooks",
    "image": "bitmaps, film, picture and movie files",
    "scene": "documents, nodes, glTF, snapshots",
    "denoise": "a network against noise",
    "core": "text, files, time, threads, plug-ins",
    "interface": "the plug-in interface, headers only",
}
PARTS = {"ffmpeg": "movies", "onednn": "networks", "ocio": "colour management", "import": "OBJ, FBX, PLY, STL, DAE", "avx2": "inner loops"}
NO_ROOMS = {"icons", "style"}

WIDTH, LEFT, RIGHT = 1120, 24, 800
BOX, GAP, STEP = 76, 16, 118
INK, SOFT, LINE = "#26262a", "#6a6a72", "#9a9aa2"
COLORS = {"host": "#e9f0f7", "app": "#f4ead8", "plugin": "#fbe3b5", "part": "#eeeeef", "interface": "#e3f1e4"}


def read_tables():
    """The host's folders, lowest first, what each uses directly, and the parts of each."""
    text = (ROOT / "cmake/Rules.cmake").read_text()
    folders = re.search(r"set\(LUMENARA_FOLDERS ([^)]*)\)", text).group(1).split()
    uses = {name: set(re.search(rf"set\(LUMENARA_USES_{name}\b([^)]*)\)", text).group(1).split()) for name in folders}
    parts = {name: found.split() for name, found in re.findall(r"set\(LUMENARA_PARTS_(\w+) ([^)]*)\)", text)}
    return folders, uses, parts


def reduced(uses):
    """The uses without those that follow from others."""
    def reached(name):
        return uses[name].union(*(reached(other) for other in uses[name])) if uses[name] else set()
    return {name: {other for other in mine if not any(other in reached(third) for third in mine - {other})}
            for name, mine in uses.items()}


def levels_of(folders, uses):
    level = {}
    for name in folders:
        level[name] = 1 + max((level[other] for other in uses[name]), default=-1)
    return level


def rooms_of(folder, parts):
    top = ROOT / "host" / folder
    return sorted(path.name for path in top.iterdir() if path.is_dir() and path.name not in NO_ROOMS | set(parts))


class Drawing:
    def __init__(self):
        self.lines = []
        self.boxes = {}

    def text(self, x, y, words, size=13, weight="normal", color=INK, anchor="start"):
        self.lines.append(f'<text x="{x:g}" y="{y:g}" font-size="{size}" font-weight="{weight}" fill="{color}" '
                          f'text-anchor="{anchor}">{html.escape(words)}</text>')

    def box(self, key, x, y, width, height, kind, title, lines):
        self.boxes[key] = (x, y, width, height)
        self.lines.append(f'<rect x="{x:g}" y="{y:g}" width="{width:g}" height="{height:g}" rx="6" fill="{COLORS[kind]}" '
                          f'stroke="{LINE}"/>')
        self.text(x + 12, y + 22, title, 15, "bold")
        for row, (words, color) in enumerate(line for line in lines if line[0]):
            self.text(x + 12, y + 42 + 18 * row, words, 12, color=color)

    def arrow(self, x1, y1, x2, y2, dashed=False):
        dash = ' stroke-dasharray="5 4"' if dashed else ""
        self.lines.append(f'<path d="M{x1:g} {y1:g}L{x2:g} {y2:g}" stroke="{SOFT}" stroke-width="1.4"{dash} marker-end="url(#to)"/>')

    def down(self, user, used, dashed=False):
        """From the lower edge of one box to the upper edge of another, above each other where they can be."""
        x, y, width, height = self.boxes[user]
        u, v, other, _ = self.boxes[used]
        low, high = max(x, u), min(x + width, u + other)
        middle = (low + high) / 2 if low < high else None
        self.arrow(middle or x + width / 2, y + height, middle or u + other / 2, v - 2, dashed)

    def svg(self, height):
        return "\n".join([
            f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {height}" font-family="DejaVu Sans, Arial, sans-serif">',
            "<!-- Made by tools/make_architecture.py -->",
            f'<defs><marker id="to" viewBox="0 0 8 8" refX="7" refY="4" markerWidth="8" markerHeight="8" orient="auto">'
            f'<path d="M0 0L8 4L0 8z" fill="{SOFT}"/></marker></defs>',
            f'<rect width="{WIDTH}" height="{height}" fill="#ffffff"/>',
            *self.lines, "</svg>", ""])


def draw_host(drawing, top):
    folders, uses, parts = read_tables()
    level = levels_of(folders, uses)
    highest = max(level.values())
    for name in folders:
        row = [other for other in folders if level[other] == level[name]]
        width = (RIGHT - LEFT - GAP * (len(row) - 1)) / len(row)
        if name == "qt":  # only Studio stands on it
            width = drawing.boxes["studio"][2]
        x, y = LEFT + row.index(name) * (width + GAP), top + (highest - level[name]) * STEP
        full = name == "interface"  # the plug-in stands on it as well
        rooms = rooms_of(name, parts.get(name, []))
        drawing.box(name, x, y, WIDTH - 2 * LEFT if full else width, BOX, "interface" if full else "host", f"host/{name}",
                    [(PURPOSE[name], INK), (" · ".join(rooms), SOFT)])
    for name, used in reduced(uses).items():
        for other in sorted(used):
            drawing.down(name, other)
    return parts


def draw():
    drawing = Drawing()
    top = 24
    drawing.box("studio", LEFT, top, 420, 58, "app", "apps/studio", [("lumenara-studio: the desktop program", INK)])
    drawing.box("batch", LEFT + 436, top, 340, 58, "app", "apps/batch", [("lumenara: the same without a display", INK)])
    drawing.box("plugin", RIGHT + 48, top, WIDTH - LEFT - RIGHT - 48, 158, "plugin", "source/  the plug-in",
                [("viewer, region, history, compare,", INK), ("stamps, stereo, animations", INK), ("", INK),
                 ("Studio loads it as a module;", SOFT), ("lumenara links its units.", SOFT),
                 ("It sees host/interface only.", SOFT)])
    parts = draw_host(drawing, top + 58 + 42)
    drawing.down("studio", "qt")
    x, y, width, height = drawing.boxes["batch"]
    drawing.down("batch", "farm")
    drawing.arrow(x + width, y + 30, drawing.boxes["plugin"][0] - 2, y + 30, True)
    px, py, pwidth, pheight = drawing.boxes["plugin"]
    drawing.arrow(px + pwidth - 24, py + pheight, px + pwidth - 24, drawing.boxes["interface"][1] - 2)
    names = [(folder, name) for folder, group in parts.items() for name in group]
    y = drawing.boxes["image"][1] - 8
    drawing.text(px, y, "Parts, loaded at their first use", 12, "bold")
    for row, (folder, name) in enumerate(names):
        drawing.box(name, px, y + 10 + row * 50, pwidth - 48, 44, "part", f"{folder}/{name}", [])
        drawing.text(px + 12, y + 10 + row * 50 + 38, PARTS[name], 11, color=SOFT)
    drawing.arrow(RIGHT, y + 50, px - 2, y + 50, True)
    bottom = drawing.boxes["interface"]
    height = bottom[1] + bottom[3] + 40
    drawing.text(LEFT, height - 14, "An arrow means: uses. Uses that follow from others are left out. Dashed: links or loads.", 11, color=SOFT)
    return drawing.svg(int(height))


def main():
    picture = draw()
    if sys.argv[1:] == ["--check"]:
        if not PICTURE.is_file() or PICTURE.read_text() != picture:
            sys.exit(f"{PICTURE.relative_to(ROOT)} is out of date: run tools/make_architecture.py")
        return
    PICTURE.write_text(picture)


if __name__ == "__main__":
    main()
