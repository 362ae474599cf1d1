#!/usr/bin/env python3
"""The render region: its box in the editor view, its commands and keys, its record in the file, and its picture.

  region_tests.py SCENARIO --studio PROGRAM --batch PROGRAM --source FOLDER [--output FOLDER]
"""
import json
import math
import subprocess
import sys
import time

from scenario import CAMERA, check, editor, main, set_auto
from studio_driver import Picture, wait_for

REGION, X, Y, SIZE, LINKED = 10005, 1111, 1112, 1113, 1114
MOVE_CURSOR = 9  # Qt's number of the pointer with four arrows
BLACK, WHITE = b"\0\0\0", b"\xff\xff\xff"


# ---- The record in the file


def own_part(run):
    return json.loads(run.scene.read_text(encoding="utf-8"))["extras"]["lumenara"]


def record(run):
    """The region record in the file; None without one."""
    for key, kind, value in own_part(run).get("container", []):
        if key == REGION and kind == "container":
            return {entry[0]: entry[2] for entry in value}
    return None


def save(run, studio):
    """Saves with the keys; the record that is in the file then."""
    before = run.scene.stat().st_mtime_ns
    studio.key("ctrl+s")
    wait_for("the saved file", lambda: run.scene.stat().st_mtime_ns != before)
    wait_for("the end of saving", lambda: " *" not in studio.get(name="studio")["text"])
    return record(run)


# ---- Places that follow from the record


def render_format(run):
    own = own_part(run)
    values = {entry[0]: entry[2] for entry in own["renderData"][own["activeRenderData"]]["container"]}
    return values[5008], values[5009]


def frame(run, studio):
    """Left, top, width and height of the part of the view that the render format covers, in whole numbers."""
    width, height = editor(studio)["place"][2:]
    format_width, format_height = render_format(run)
    wide = width * format_height - height * format_width
    side = min((wide + format_height) // (2 * format_height), (width - 1) // 2) if wide > 0 else 0
    above = min((-wide + format_width) // (2 * format_width), (height - 1) // 2) if wide < 0 else 0
    return side, above, width - 2 * side, height - 2 * above


def aspect(studio):
    width, height = studio.viewer()["place"][2:]
    return width / height


def expected_box(run, studio, region):
    """Where the box of a record stands in the editor view."""
    x, y, w, h = frame(run, studio)
    ratio, size = aspect(studio), region.get(SIZE, 0.5)
    if w / h > ratio:
        box_h = math.floor(h * size)
        box_w = math.floor(box_h * ratio)
    else:
        box_w = math.floor(w * size)
        box_h = math.floor(h * size) if w / h == ratio else math.floor(box_w / ratio)
    left = max(math.floor(w * region.get(X, 0.0)), 1)
    top = max(math.floor(h * region.get(Y, 0.0)), 2)
    if left + box_w >= w:
        left = w - box_w
    if top + box_h >= h:
        top = h - box_h
    return x + left, y + top, x + left + box_w, y + top + box_h


# ---- The box on screen


def find_box(picture):
    """The white box with black on both of its sides, (left, top, right, bottom); None without one. Its lower and right
    edge may lie outside the picture."""
    width, least = picture.width, 30
    rows = []
    for y in range(1, picture.height - 1):
        row = picture.data[y * width * 3:(y + 1) * width * 3]
        start = row.find(WHITE * least)
        while start >= 0 and start % 3:
            start = row.find(WHITE * least, start + 1)
        if start < 0:
            continue
        end = start
        while row[end:end + 3] == WHITE:
            end += 3
        above = picture.data[((y - 1) * width) * 3 + start:((y - 1) * width) * 3 + end]
        below = picture.data[((y + 1) * width) * 3 + start:((y + 1) * width) * 3 + end]
        inner = (end - start) // 3 - 4
        if above[6:6 + inner * 3] == BLACK * inner and below[6:6 + inner * 3] == BLACK * inner:
            rows.append((start // 3, y, end // 3 - 1))
    if len(rows) != 2 or rows[0][0] != rows[1][0] or rows[0][2] != rows[1][2]:
        return None
    left, top, right = rows[0]
    bottom = rows[1][1]
    for y in range(top + 4, bottom - 3):
        for x in (left, right):
            if picture.pixel(x, y) != (255, 255, 255):
                return None
            for beside in (x - 1, x + 1):
                if 0 <= beside < width and picture.pixel(beside, y) != (0, 0, 0):
                    return None
    return left, top, right, bottom


def shown_box(studio):
    return find_box(studio.shot(editor(studio)))


def expect_box(studio, box, what):
    """Waits until exactly this box is on screen."""
    seen = []

    def look():
        seen.append(shown_box(studio))
        return seen[-1] == box
    try:
        wait_for(what, look, 10)
    except Exception as error:
        raise type(error)(f"{error}: it is at {seen[-1]}, should be at {box}") from None


# ---- Dragging


def choose_mode(studio, mode):
    studio.click(**{"class": "QAction", "text": "Mode", "menu": True})
    studio.click(**{"class": "QAction", "text": mode, "menu": False, "enabled": True})


def region_command(studio, command):
    studio.click(**{"class": "QAction", "text": "Region", "menu": True})
    studio.click(**{"class": "QAction", "text": command, "menu": False, "enabled": True})


def on_screen(studio, x, y):
    left, top = editor(studio)["place"][:2]
    return left + x, top + y


def pointer(studio):
    return editor(studio)["cursor"]


def start_in_region_mode(run, *arguments):
    studio = run.viewer(*arguments)
    set_auto(studio, False)
    choose_mode(studio, "Region")
    wait_for("the box", lambda: shown_box(studio))
    return studio


def drag_box(studio, x, y, dx, dy, steps=4):
    """Drags from a place in the view and checks that the box follows while the button is down. Returns the box."""
    before = shown_box(studio)
    studio.move(*on_screen(studio, x, y))
    wait_for("the move cursor", lambda: pointer(studio) == MOVE_CURSOR)
    studio.display.tool("mousedown", 1)
    for i in range(1, steps + 1):
        studio.move(*on_screen(studio, x + dx * i // steps, y + dy * i // steps))
        time.sleep(0.03)

    def moved():
        now = shown_box(studio)
        # Every step rounds down, so that it may fall behind by a pixel.
        near = now and all(-steps - 2 <= now[i] - before[i] - (dx if i % 2 == 0 else dy) <= 1 for i in range(4))
        return now if near else None
    live = wait_for(f"the box {dx}, {dy} further with the button down", moved, 10)
    studio.display.tool("mouseup", 1)
    expect_box(studio, live, "the box where it was dragged to")
    check(live[2] - live[0] == before[2] - before[0] and live[3] - live[1] == before[3] - before[1],
          f"the drag changed the box's size: {before} to {live}")
    return live


# ---- Scenarios


def region_drag(run):
    """Dragged by each edge and by an edge's extension; locked it stays; undo brings the earlier place."""
    studio = start_in_region_mode(run)
    expect_box(studio, expected_box(run, studio, {}), "the box without a record")
    box = shown_box(studio)
    middle_x, middle_y = (box[0] + box[2]) // 2, (box[1] + box[3]) // 2
    studio.move(*on_screen(studio, middle_x, middle_y))
    wait_for("the plain pointer inside the box", lambda: pointer(studio) != MOVE_CURSOR)

    box = drag_box(studio, box[0], middle_y, 60, 40)
    box = drag_box(studio, box[2], (box[1] + box[3]) // 2, -20, 10)
    box = drag_box(studio, (box[0] + box[2]) // 2, box[1], 15, 25)
    box = drag_box(studio, (box[0] + box[2]) // 2, box[3], -10, -30)
    before_last = save(run, studio)
    check(sorted(before_last) == [X, Y, SIZE], f"the record holds {before_last}")
    check(expected_box(run, studio, before_last) == box, f"the saved box is not the shown one: {before_last}, {box}")
    above = box[1] - 30 if box[1] > 40 else box[3] + 30
    box_then = drag_box(studio, box[0], above, 25, -12)
    last = save(run, studio)
    check(expected_box(run, studio, last) == box_then, f"after the extension: {last}, {box_then}")
    studio.key("ctrl+z")
    expect_box(studio, box, "the box before the last drag")
    check(save(run, studio) == before_last, "undo does not bring the record back")

    region_command(studio, "Lock")
    x, y = box[0], (box[1] + box[3]) // 2
    studio.move(*on_screen(studio, x + 40, y))
    studio.move(*on_screen(studio, x, y))
    studio.drag(on_screen(studio, x, y), on_screen(studio, x + 50, y + 50))
    check(pointer(studio) != MOVE_CURSOR, "a locked box has the move cursor")
    expect_box(studio, box, "the locked box in its place")
    region_command(studio, "Zoom In")
    studio.key("ctrl+s")
    expect_box(studio, box, "the locked box in its size")
    region_command(studio, "Lock")
    drag_box(studio, x, y, 12, 8)
    run.options.output.mkdir(parents=True, exist_ok=True)
    run.display.save(run.options.output / "region.png")
    studio.quit()


def region_keeps(run):
    """Zoomed by menu and keys, reset, through a resize of the window, a save and the next start."""
    studio = start_in_region_mode(run)

    def size_is(size, what):
        expect_box(studio, expected_box(run, studio, {X: place[X], Y: place[Y], SIZE: size}), what)
        saved = save(run, studio)
        check(abs(saved[SIZE] - size) < 1e-9, f"{what}: the size is {saved[SIZE]}, not {size}")

    box = shown_box(studio)
    drag_box(studio, box[0], (box[1] + box[3]) // 2, 90, 30)
    place = save(run, studio)
    region_command(studio, "Zoom In")
    size_is(0.4, "smaller by the menu")
    region_command(studio, "Zoom Out")
    region_command(studio, "Zoom Out")
    size_is(0.6, "larger by the menu")
    area = studio.viewer()
    studio.click(thing=area)
    studio.key("plus", "plus", "plus")
    size_is(0.3, "smaller by the key")
    studio.key("minus")
    size_is(0.4, "larger by the key")

    window = studio.display.window("Lumenara Studio")
    seen = []
    for width, height in ((1240, 720), (1560, 940)):
        studio.display.tool("windowsize", "--sync", window, width, height)
        wait_for("the window's new size", lambda: studio.get(name="studio")["place"][2:] == [width, height])
        wait_for("the box after the resize", lambda: shown_box(studio) == expected_box(run, studio, record(run)))
        seen.append(shown_box(studio))
    check(seen[0] != seen[1], "the box did not follow the window")
    kept = record(run)
    check(save(run, studio) == kept, "a resize changed the record")
    studio.quit()

    studio = run.start(run.scene, "--viewer")
    wait_for("the box at the next start", lambda: shown_box(studio), 60)
    expect_box(studio, expected_box(run, studio, kept), "the box where it was")
    place = {X: 0.0, Y: 0.0}
    region_command(studio, "Reset")
    size_is(0.5, "reset")
    check(record(run) == {X: 0.0, Y: 0.0, SIZE: 0.5}, f"reset left {record(run)}")
    choose_mode(studio, "Normal")
    wait_for("the view without a box", lambda: shown_box(studio) is None)
    studio.quit()


def region_undo(run):
    """A drag rewrites the record and so forgets the chosen camera; undo restores the whole earlier record."""
    studio = start_in_region_mode(run)
    region_command(studio, "Zoom In")
    studio.click(name=CAMERA)
    entries = wait_for("the list of cameras", lambda: [
        t for t in studio.things() if t["class"] == "QAction" and t["enabled"] and not t["menu"]
        and not t["name"] and t["text"] not in ("", "Default Camera")])
    studio.click(thing=entries[-1])
    wait_for("the closed list", lambda: not studio.find(**{"class": "QAction", "text": "Default Camera"}))
    whole = save(run, studio)
    check(sorted(whole) == [SIZE, LINKED] and abs(whole[SIZE] - 0.4) < 1e-9, f"the record before: {whole}")
    box = shown_box(studio)
    drag_box(studio, box[0], (box[1] + box[3]) // 2, 50, 20)
    dragged = save(run, studio)
    check(sorted(dragged) == [X, Y, SIZE], f"the record after a drag: {dragged}")
    studio.key("ctrl+z")
    expect_box(studio, box, "the box before the drag")
    check(save(run, studio) == whole, f"undo brought {record(run)} instead of {whole}")
    studio.key("ctrl+shift+z")
    wait_for("the box of the drag", lambda: shown_box(studio) not in (None, box))
    check(save(run, studio) == dragged, "redo does not bring the drag back")
    studio.quit()


def implied(run, studio, region):
    """The whole image that a region render is a part of, and the rectangle of that part."""
    w, h = frame(run, studio)[2:]
    view_w, view_h = studio.viewer()["place"][2:]
    ratio, size = aspect(studio), region[SIZE]
    if w / h > ratio:
        height = int(view_h / size)
        width = math.floor(height * (w / h))
        box_h = math.floor(height * size)
        box_w = math.floor(box_h * ratio)
    else:
        width = int(view_w / size)
        height = math.floor(width / (w / h))
        box_w = math.floor(width * size)
        box_h = math.floor(box_w / ratio)
    x1, y1 = max(0, math.floor(width * region[X])), max(0, math.floor(height * region[Y]))
    if x1 + box_w - 1 >= width - 1:
        x1 = width - box_w
    if y1 + box_h - 1 >= height - 1:
        y1 = height - box_h
    return width, height, (x1, y1, x1 + box_w - 1, y1 + box_h - 1)


def cropped(run, file, left, top, width, height, to):
    """A part of a picture file, in the size of what is on screen."""
    data = subprocess.run(["convert", str(file), "-crop", f"{width}x{height}+{left}+{top}", "+repage", "-alpha", "off",
                           "-filter", "Triangle", "-resize", f"{to[0]}x{to[1]}!", "-depth", "8", "rgb:-"],
                          env=run.display.environment, check=True, capture_output=True, timeout=60).stdout
    return Picture(to[0], to[1], data)


def region_picture(run):
    """In a view with a surround the viewer shows what the box frames: that part of the whole picture."""
    run.set("LM_STAMP_RENDER_TIME", 0)
    studio = start_in_region_mode(run)

    def wide_and_even(scene):
        own = scene["extras"]["lumenara"]
        values = own["renderData"][own["activeRenderData"]]["container"]
        for entry in values:
            entry[2] = {5008: 1920, 5009: 600, 7100: 4}.get(entry[0], entry[2])
        values.append([7101, "real", 0.0])  # every pixel gets all of its samples
    save(run, studio)
    run.rewrite(wide_and_even)
    wait_for("the view with a surround", lambda: shown_box(studio) == expected_box(run, studio, {}))
    left, top, w, h = frame(run, studio)
    check(left > 20 or top > 20, "the view has no surround")
    box = shown_box(studio)
    drag_box(studio, box[0], (box[1] + box[3]) // 2, w // 4, h // 5)
    # The viewer keeps a bitmap when one side alone would change, as it does with this format; a render in another mode
    # replaces it.
    for mode in ("Normal", "Region"):
        before = studio.picture()
        studio.click(**{"class": "QAction", "text": "Mode", "menu": True})
        studio.click(**{"class": "QAction", "text": mode, "menu": False})
        studio.changed_from(before)
        shown = studio.settled()
    run.options.output.mkdir(parents=True, exist_ok=True)
    run.display.save(run.options.output / "region-picture.png")
    region = save(run, studio)
    width, height, (x1, y1, x2, y2) = implied(run, studio, region)
    studio.quit()

    whole = run.folder / "whole.png"
    subprocess.run([run.options.batch, "render", str(run.scene), "-o", str(whole), "--size", f"{width}x{height}",
                    "--home", str(run.home), "--quiet"], check=True, capture_output=True, timeout=300)
    to = (shown.width, shown.height)
    difference = {shift: shown.difference(cropped(run, whole, x1 + shift, y1, x2 - x1, y2 - y1, to))
                  for shift in (-4, 0, 4)}
    print("mean difference by shift:", {k: round(v, 2) for k, v in difference.items()})
    check(difference[0] < 1.5, f"the region's picture is not that part of the whole: {difference}")
    check(min(difference[-4], difference[4]) > 2 * difference[0], f"this comparison tells nothing: {difference}")

    # A camera that is named for a region is the view's, as for the whole.
    name = [node["name"] for node in json.loads(run.scene.read_text(encoding="utf-8"))["nodes"] if "camera" in node][0]
    pictures = []
    for file, more in (("seen.png", ["--camera", name]), ("part.png", ["--camera", name, "--region", "40,30,119,89"]),
                       ("other.png", ["--region", "40,30,119,89"])):
        subprocess.run([run.options.batch, "render", str(run.scene), "-o", str(run.folder / file), "--size", "160x120",
                        "--home", str(run.home), "--quiet", *more], check=True, capture_output=True, timeout=300)
        pictures.append(cropped(run, run.folder / file, 40, 30, 80, 60, (80, 60)))
    check(pictures[0].difference(pictures[1]) < 0.1, "the camera's region is not that part of what it sees")
    check(pictures[2].difference(pictures[1]) > 2, "the camera makes no difference")


if __name__ == "__main__":
    sys.exit(main((region_drag, region_keeps, region_undo, region_picture)))
