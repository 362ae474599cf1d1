#!/usr/bin/env python3
"""Windows, docks and dialogs: layouts that come back or are dropped, small screens.

  window_tests.py SCENARIO --studio PROGRAM --batch PROGRAM --source FOLDER [--output FOLDER]
"""
import json
import random
import sys
import time

from scenario import DIALOG, check, editor, main
from studio_driver import Display, wait_for

# The viewer's dock has its dialog's name.
PARTS = {"editor-view": {}, DIALOG: {"class": "host::DialogDock"}, "dock-objects": {}, "dock-attributes": {}}


def drag_to(studio, x):
    """Drags the splitter between editor and viewer to about `x` and returns its place."""
    left, top, width, height = editor(studio)["place"]
    edge = left + width
    studio.drag((edge + 2, top + height // 3), (x, top + height // 3), steps=20)
    return editor(studio)["place"][0] + editor(studio)["place"][2]


def check_usable(studio, sentence):
    """Editor, viewer, objects and attributes stand in the window, side by side and large enough to work with."""
    window = studio.get(name="studio")["place"]
    places = {name: studio.get(name=name, **more)["place"] for name, more in PARTS.items()}
    for name, (x, y, width, height) in places.items():
        check(width >= 100 and height >= 80, f"{sentence}: {name} is a strip of {width} x {height}")
        check(x >= window[0] and y > window[1] and x + width <= window[0] + window[2]
              and y + height <= window[1] + window[3], f"{sentence}: {name} at {x}, {y} reaches out of the window")
    ex, _, ew, _ = places["editor-view"]
    check(places[DIALOG][0] >= ex + ew, f"{sentence}: the viewer lies over the editor view")
    return places


def largest(studio):
    """Maximises the window through the window manager."""
    studio.key("super+m")
    wait_for("the largest window", lambda: studio.get(name="studio")["place"][2] == studio.display.width)


def started(run, *arguments):
    studio = run.start(run.scene, *arguments)
    studio.get(name=DIALOG, seconds=30)
    return studio


def at_rest(studio):
    """The places once two looks find them alike."""
    seen = []

    def still():
        seen.append(check_usable(studio, "at rest"))
        return len(seen) > 1 and seen[-1] == seen[-2]
    wait_for("parts that stand still", still)
    return seen[-1]


def alike(one, other):
    return all(max(abs(a - b) for a, b in zip(one[name], other[name])) <= 2 for name in one)


def between(now, before, after):
    """Each edge stands where it was before, after, or on its way: a layout may be saved during the drag."""
    return all(min(a, b) - 2 <= value <= max(a, b) + 2 for name in now for value, a, b in zip(now[name], before[name], after[name]))


def splitter(run):
    """The splitter between editor and viewer stands where it was left, in a window as large as the screen as well."""
    studio = started(run, "--viewer")
    middle = run.display.width // 2
    for x, grow in ((middle, False), (middle, True), (560, False), (1200, False), (0, False), (2 * middle, False)):
        if grow:
            largest(studio)
        at = drag_to(studio, x)
        before = at_rest(studio)
        studio.quit()
        studio = started(run)
        wait_for(f"the splitter at {at}", lambda: alike(before, at_rest(studio)))
        check("layout" not in studio.output(), "a whole layout was dropped")
    studio.quit()
    # The default layout is restored on request, and stays.
    for arguments in (("--reset-layout",), ()):
        studio = started(run, *arguments)
        check(editor(studio)["place"][2] < run.display.width // 2 + 100 and
              studio.get(name="studio")["place"][2] < run.display.width, "--reset-layout left the layout")
        studio.quit()


def stored(run):
    return json.loads((run.home / "preferences.json").read_text(encoding="utf-8"))


def damaged(run):
    """With a damaged layout or list of recent files the program starts and says so once."""
    studio = started(run, "--viewer")
    studio.quit()
    whole = stored(run)
    names = [key for key in whole if key.startswith("program/")]
    check({"program/window", "program/dialogs"} <= set(names), f"stored is {names}")
    for number, spoil in enumerate(SPOILED, 1):
        text = spoil(json.loads(json.dumps(whole)))
        (run.home / "preferences.json").write_text(text, encoding="utf-8")
        studio = run.start(run.scene, "--viewer")
        studio.get(name=DIALOG, seconds=30)
        check_usable(studio, f"damage {number}")
        lines = [line for line in studio.output().splitlines() if "layout" in line or "damaged" in line]
        check(len(lines) <= 1, f"damage {number}: more than one line: {lines}")
        check(lines, f"damage {number}: no line")
        studio.quit()


def change(value, turn):
    """Every piece of data in a container turned into something else."""
    if isinstance(value, dict):
        return {key: change(one, turn) for key, one in value.items()}
    if isinstance(value, list):
        return [change(one, turn) for one in value]
    return turn(value)


def spoil_window(turn):
    def spoil(contents):
        contents["program/window"] = change(contents["program/window"], turn)
        return json.dumps(contents)
    return spoil


def garble(value):
    return value[: len(value) // 2] + "aaaa" + value[len(value) // 2 + 4:] if isinstance(value, str) and len(value) > 40 else value


SPOILED = (
    spoil_window(garble),
    spoil_window(lambda value: value + 1 if isinstance(value, int) else value),
    lambda contents: json.dumps(contents)[: len(json.dumps(contents)) // 2],
    lambda contents: "",
    lambda contents: json.dumps({**contents, "program/recentFiles": [[1, "long", 7], [2, "string", "no file"]]}),
)


def small_screen(run):
    """At 900 x 600 the main window is whole, and the highest dialog shows its OK."""
    run.display = Display(900, 600)
    studio = started(run, "--viewer")
    check_usable(studio, "900 x 600")
    x, y, width, height = studio.get(name="studio")["place"]
    check(x >= 0 and y >= 0 and x + width <= 900 and y + height <= 600, f"the window is {width} x {height} at {x}, {y}")
    run.options.output.mkdir(parents=True, exist_ok=True)
    run.display.save(run.options.output / "small-screen.png")
    studio.click(**{"class": "QAction", "text": "Options", "menu": True})
    studio.click(**{"class": "QAction", "text": "Options..."})
    place = wait_for("OK on the screen", lambda: studio.find(name="gadget-1", text="OK"))["place"]
    check(place[1] + place[3] <= 600 and place[0] + place[2] <= 900, f"OK is at {place}")
    run.display.save(run.options.output / "small-screen-options.png")
    studio.click(name="gadget-1", text="OK")
    wait_for("the closed dialog", lambda: studio.find(name="gadget-1", text="OK") is None)
    studio.quit()


def kills(run):
    """Killed at any moment after the splitter was moved, the program comes back with the layout from before, after or
    on the way."""
    random.seed(20)
    studio = started(run, "--viewer")
    largest(studio)
    known = [at_rest(studio)]
    for _ in range(run.options.kills):
        at = drag_to(studio, random.randrange(500, 1300))
        known = known[-1:] + [check_usable(studio, f"the splitter at {at}")]
        time.sleep(random.uniform(0, 2))
        studio.kill()
        studio.close()
        studio = started(run)
        wait_for("the layout from before or after", lambda: between(at_rest(studio), known[0], known[-1]))
        check("layout" not in studio.output() and "damaged" not in studio.output(), "a layout was damaged")
        known = [at_rest(studio)]
    studio.quit()


if __name__ == "__main__":
    sys.exit(main((splitter, damaged, small_screen, kills)))
