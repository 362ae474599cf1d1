#!/usr/bin/env python3
"""Studio on a monitor whose desktop is scaled by 1.5.

  scale_tests.py SCENARIO --studio PROGRAM --batch PROGRAM --source FOLDER [--output FOLDER]
"""
import sys

from scenario import check, main
from studio_driver import Display, wait_for

SCALE = 1.5


def save(run, name):
    run.options.output.mkdir(parents=True, exist_ok=True)
    run.display.save(run.options.output / f"{name}.png")


def width_of_picture(studio):
    """Monitor pixels of the row through the middle of the canvas that are not its background."""
    shot = studio.shot(studio.get(name="pictureCanvas"))
    background = shot.pixel(2, 2)
    return sum(shot.pixel(x, shot.height // 2) != background for x in range(shot.width))


def scaled(run):
    """Windows at 1.5: main window, viewer, Frame Buffer and dialogs, with pictures in the monitor's own pixels."""
    run.display = Display(2400, 1500)
    studio = run.viewer(environment={"QT_SCALE_FACTOR": str(SCALE)})
    studio.await_keyboard()
    button = studio.get(name="button-file.open")["place"]
    check(button[3] >= 24 * SCALE, f"a button of the tool bar is {button[3]} pixels high")
    save(run, "scaled-1")
    studio.menu("Render", "Render Settings...")
    studio.get(name="renderSettings")
    save(run, "scaled-2")
    studio.key("Escape")
    wait_for("closed render settings", lambda: studio.find(name="renderSettings") is None)
    studio.menu("Help", "Shortcuts")
    studio.get(name="shortcuts")
    save(run, "scaled-3")
    studio.key("Escape")
    wait_for("closed shortcuts", lambda: studio.find(name="shortcuts") is None)
    studio.menu("Help", "About Lumenara Studio")
    studio.get(name="about")
    save(run, "scaled-4")
    studio.key("Escape")
    wait_for("a closed box", lambda: studio.find(name="about") is None)
    studio.menu("Render", "Render to Frame Buffer")
    studio.get(name="frameBuffer", seconds=60)
    wait_for("a finished render", lambda: studio.find(name="zoomButton") and not studio.find(name="renderStop"), 120, 0.2)
    studio.display.to_front("Frame Buffer")
    studio.click(thing=studio.standing(name="pictureCanvas"))
    studio.key("1")
    wait_for("the picture one to one", lambda: studio.get(name="zoomButton")["text"] == "100 %")
    wait_for("640 pixels of the monitor", lambda: width_of_picture(studio) == 640, 20, 0.2)
    save(run, "scaled-5")
    studio.quit()


if __name__ == "__main__":
    sys.exit(main((scaled,)))
