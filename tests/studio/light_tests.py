#!/usr/bin/env python3
"""Lights and their attributes, and objects put on the floor, worked by mouse and keyboard."""

import sys

from scenario import check, editor, first_mesh, main, move_object, select
from studio_driver import wait_for


def enter(studio, label, text):
    field = studio.get(label=label)
    studio.move(*studio.middle(field))
    studio.display.tool("click", "--repeat", 2, "--delay", 60, 1)
    wait_for(f"the keyboard in {label}", lambda: studio.get(label=label)["focus"])
    studio.key("ctrl+a")
    studio.write(text)
    studio.key("Return")


def light_attributes(run):
    """A new light is tinted by its temperature and switched to shine alone."""
    studio = run.start(run.scene)
    studio.get(name="studio")
    studio.await_keyboard()
    studio.menu("Edit", "Add", "Light")
    check("cd" in studio.get(label="Intensity")["text"], "the intensity's unit")
    enter(studio, "Temperature", "3200")
    wait_for("the temperature", lambda: "3200" in studio.get(label="Temperature")["text"].replace(",", ""))
    studio.tick(text="Solo")
    wait_for("the switch", lambda: studio.get(text="Solo")["checked"])
    check(not studio.get(text="Mute")["checked"], "the light is muted")
    run.options.output.mkdir(parents=True, exist_ok=True)
    run.display.save(run.options.output / "light-attributes.png")
    studio.key("ctrl+z")
    wait_for("the switch undone", lambda: not studio.get(text="Solo")["checked"])
    studio.quit()


def drop_to_floor(run):
    """Shift+F puts a lifted object back where it lay."""
    studio = run.start(run.scene)
    studio.get(name="studio")
    studio.await_keyboard()
    select(studio, first_mesh(studio))

    def height():
        return studio.get(label="Position Y")["text"]

    studio.menu("Edit", "Drop to Floor")
    studio.click(thing=editor(studio), button=2)
    low = height()
    move_object(studio, 5, "Y")
    wait_for("the lifted object", lambda: height() != low)
    studio.click(thing=editor(studio), button=2)
    studio.key("shift+f")
    wait_for("the object on the floor", lambda: height() == low)
    run.display.save(run.options.output / "drop-to-floor.png")
    studio.quit()


def handles(run):
    """The red arrow of the move tool moves along x alone."""
    studio = run.start(run.scene)
    studio.get(name="studio")
    studio.await_keyboard()
    select(studio, first_mesh(studio))
    studio.click(thing=editor(studio), button=2)
    studio.key("e")

    def arrow():
        """A point of the arrow's red line, towards its end."""
        place, shot = editor(studio)["place"], studio.shot(editor(studio))
        red = [(x, y) for y in range(0, shot.height, 2) for x in range(0, shot.width, 2)
               if (lambda r, g, b: r > 200 and 70 < g < 120 and 70 < b < 120)(*shot.pixel(x, y))]
        if len(red) < 10:
            return None
        x, y = max(red)[0] - 6, max(red)[1]
        return place[0] + x, place[1] + y

    def positions():
        return [studio.get(label=f"Position {axis}")["text"] for axis in "XYZ"]

    before = positions()
    x, y = wait_for("the red arrow", arrow)
    studio.move(x, y)
    run.options.output.mkdir(parents=True, exist_ok=True)
    wait_for("the marked arrow", lambda: arrow() is None or abs(arrow()[0] - x) > 8)
    run.display.save(run.options.output / "handles-move.png")
    studio.drag((x, y), (x + 80, y + 10))
    wait_for("the moved object", lambda: positions()[0] != before[0])
    check(positions()[1:] == before[1:], f"it moved to {positions()}")
    studio.key("ctrl+z")
    wait_for("the object where it was", lambda: positions() == before)
    for key, name in (("r", "turn"), ("t", "scale")):
        studio.key(key)
        wait_for("the tool", lambda tool=name: any(t["text"].replace("&", "") == tool.capitalize() and t.get("checked") for t in studio.things())
                 or arrow())
        run.display.save(run.options.output / f"handles-{name}.png")
    studio.quit()


if __name__ == "__main__":
    sys.exit(main((light_attributes, drop_to_floor, handles)))
