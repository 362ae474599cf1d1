#!/usr/bin/env python3
"""Keyframes set by key, dragged in the timeline, and looked at in the view."""

import sys

from scenario import editor, main, move_object, select
from studio_driver import wait_for


def keyframes(run):
    """Two keys move an object; a dragged key moves it earlier."""
    studio = run.start(run.scene)
    studio.get(name="studio")
    studio.await_keyboard()
    select(studio, "Sheet")  # nothing moves it

    def x():
        return float(studio.get(label="Position X")["text"].split()[0].replace(",", ""))

    def go_to(frame):
        studio.enter("time-frame", str(frame))
        wait_for("the frame", lambda: studio.get(name="time-frame")["text"] == str(frame))

    def ruler(frame):
        """The place of a frame in the timeline: keys stand in its middle."""
        left, top, width, _ = studio.get(name="time-ruler")["place"]
        first, last = (float(studio.get(name=f"time-{end}")["text"]) for end in ("first", "last"))
        return round(left + 10 + (frame - first) / (last - first) * (width - 20)), top + 21

    go_to(0)
    start = x()
    studio.menu("View", "Keyframes", "Set Key")
    go_to(20)
    move_object(studio, start + 2)
    wait_for("the moved object", lambda: abs(x() - start - 2) < 1e-3)
    studio.click(name="key-set")
    go_to(10)
    wait_for("the object half way", lambda: abs(x() - start - 1) < 0.01)
    before = studio.shot(editor(studio))
    studio.drag(ruler(20), ruler(10))
    wait_for("the object at its end", lambda: abs(x() - start - 2) < 0.01)
    wait_for("the moved object in the view", lambda: studio.shot(editor(studio)).difference(before) > 0.3)
    run.options.output.mkdir(parents=True, exist_ok=True)
    run.display.save(run.options.output / "keyframes.png")
    studio.menu("Edit", "Undo Move Keys")
    wait_for("the key where it was", lambda: abs(x() - start - 1) < 0.01)
    studio.quit()


if __name__ == "__main__":
    sys.exit(main((keyframes,)))
