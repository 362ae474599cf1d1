#!/usr/bin/env python3
"""The Frame Buffer's panels, worked by mouse and keyboard: the light mixer on a render, and its way into the scene."""

import sys

from scenario import check, main
from studio_driver import wait_for


def frame_of(studio):
    """The Frame Buffer in front, with the keys."""
    studio.menu("Window", "Frame Buffer")
    frame = studio.standing(name="frameBuffer")
    studio.click(name="pictureSize") if studio.find(name="pictureSize") else studio.click(thing=frame)
    return frame


def strip(studio):
    """The slider of the first group: its place, and the picture's mean."""
    return next(thing for thing in studio.things()
                if "Slider" in thing["class"] and str(thing["in"]).startswith("strip-"))


def mean(studio):
    return studio.shot(studio.get(name="pictureCanvas")).mean()


def mixed(run):
    """Studio with two renders of a scene, the second with the light of its first group applied darker."""
    studio = run.start(run.scene)
    studio.get(name="studio")
    frame_of(studio)
    studio.key("ctrl+2")
    studio.click(name="mixWant")
    wait_for("the lesson's second half", lambda: studio.text("mixLesson").startswith("Light groups are on."))
    studio.key("shift+r")
    wait_for("a strip for a group", lambda: any(str(thing["name"]).startswith("strip-") for thing in studio.things()),
             120)
    wait_for("the finished render", lambda: not studio.find(name="renderStop"), 120)
    before = mean(studio)
    x, y, width, height = strip(studio)["place"]
    studio.drag((x + width // 2, y + height // 2), (x + 8, y + height // 2))
    wait_for("a darker picture", lambda: mean(studio) < before - 3)
    check(not studio.find(name="renderStop"), "the mix renders nothing")
    run.options.output.mkdir(parents=True, exist_ok=True)
    run.display.save(run.options.output / "light-mixer.png")
    studio.click(name="mixApply")
    wait_for("the picture of the render again", lambda: abs(mean(studio) - before) < 1)
    studio.click(name="pictureSize")
    studio.key("shift+r")
    wait_for("the darker light in the scene", lambda: mean(studio) < before - 3, 120, 0.3)
    wait_for("the finished render", lambda: not studio.find(name="renderStop"), 120)
    return studio


def light_mixer(run):
    """A scene without groups is taught them; a fader changes the picture at once, and the scene on demand."""
    mixed(run).quit()


def wipe(run):
    """A bright and a dark picture on the sides of a line that the mouse drags and turns."""
    studio = mixed(run)
    for key in ("shift+b", "shift+a"):
        rows = [thing for thing in studio.things() if thing["class"] == "row" and thing["name"] == "filmstripList"]
        check(len(rows) == 2, f"two pictures: {rows}")
        studio.click(thing=rows[0] if key == "shift+b" else rows[1])
        studio.click(name="pictureSize")
        studio.key(key)
    bright = mean(studio)
    studio.key("ctrl+4", "w")
    half = wait_for("half of each", lambda: mean(studio) if mean(studio) < bright - 1 else None)
    x, y, width, height = studio.get(name="pictureCanvas")["place"]
    studio.drag((x + width // 2, y + height // 2), (x + width // 5, y + height // 2))
    wait_for("more of the dark one", lambda: mean(studio) < half - 0.5)
    studio.drag((x + width // 5, y + height // 2), (x + 4 * width // 5, y + height // 2))
    wait_for("more of the bright one", lambda: mean(studio) > half + 0.5)
    run.display.save(run.options.output / "wipe.png")
    studio.key("t")
    studio.key("t")
    wait_for("A whole", lambda: abs(mean(studio) - bright) < 0.5)
    studio.key("w")
    studio.quit()


if __name__ == "__main__":
    sys.exit(main((light_mixer, wipe)))
