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


def overlap(a, b):
    """Whether two places (left, top, width, height) share a pixel."""
    return a[0] < b[0] + b[2] and b[0] < a[0] + a[2] and a[1] < b[1] + b[3] and b[1] < a[1] + a[3]


def light_table(run):
    """A value of the table changes both selected lights, and undo brings it back."""
    studio = run.start(run.scene)
    studio.get(name="studio")
    studio.await_keyboard()
    studio.menu("Edit", "Add", "Light")
    studio.menu("Edit", "Add", "Spot Light")
    studio.key("ctrl+shift+l")
    studio.get(name="lightTable")
    studio.await_keyboard()

    def cells():
        return [t for t in studio.things() if t["class"] == "row" and t["name"] == "lightList"]

    wait_for("the lights", lambda: len([c for c in cells() if c["text"].startswith("Light")]) >= 2)
    studio.key("ctrl+a")
    first = next(c for c in cells() if c["text"].startswith("Light"))
    run.options.output.mkdir(parents=True, exist_ok=True)
    number = next(c for c in cells() if c["text"].endswith(" cd") and abs(c["place"][1] - first["place"][1]) < 4)
    studio.move(*studio.middle(number))
    studio.display.tool("click", "--repeat", 2, "--delay", 60, 1)
    wait_for("the number's editor", lambda: studio.find(label="Intensity"))
    run.display.save(run.options.output / "light-table.png")
    studio.key("ctrl+a")
    studio.write("7")
    studio.key("Return")
    wait_for("both lights", lambda: len([c for c in cells() if c["text"] == "7 cd"]) >= 2)
    studio.key("Escape")
    wait_for("the table closed", lambda: not studio.find(name="lightTable"))
    studio.await_keyboard()
    studio.key("ctrl+z")
    wait_for("the intensity from before", lambda: studio.find(label="Intensity") and not studio.get(label="Intensity")["text"].startswith("7 "))
    studio.quit()


def color_picker(run):
    """The picker stays open off the view, which follows while a colour is dragged."""
    studio = run.start(run.scene)
    studio.get(name="studio")
    studio.await_keyboard()
    studio.menu("Edit", "Add", "Light")
    studio.click(label="Color")
    picker = studio.get(name="colorPicker")
    view = editor(studio)
    check(not overlap(picker["place"], view["place"]), f"the picker at {picker['place']} hides the view at {view['place']}")
    run.options.output.mkdir(parents=True, exist_ok=True)
    plane = studio.get(label="Saturation and value")
    left, top, width, height = plane["place"]
    code = studio.get(label="Colour as #rrggbb")["text"]
    studio.drag((left + 4, top + 4), (left + width - 4, top + height // 3))
    wait_for("another colour", lambda: studio.get(label="Colour as #rrggbb")["text"] != code)
    run.display.save(run.options.output / "color-picker.png")
    studio.key("ctrl+z")
    wait_for("the colour from before", lambda: studio.get(label="Colour as #rrggbb")["text"] == code)
    studio.quit()


def look_through_light(run):
    """The view through a spot, whose navigation moves it."""
    studio = run.start(run.scene)
    studio.get(name="studio")
    studio.await_keyboard()
    select(studio, "Lamp")
    before = studio.shot(editor(studio))
    place = [studio.get(label=f"Position {axis}")["text"] for axis in "XYZ"]
    studio.menu("View", "Look Through", "Light", "Lamp")
    wait_for("the view through the spot", lambda: studio.shot(editor(studio)).difference(before) > 1)
    run.options.output.mkdir(parents=True, exist_ok=True)
    run.display.save(run.options.output / "look-through-light.png")
    x, y = studio.middle(editor(studio))
    studio.drag((x, y), (x + 60, y + 10), button=2)
    wait_for("the moved spot", lambda: [studio.get(label=f"Position {axis}")["text"] for axis in "XYZ"] != place)
    studio.key("ctrl+z")
    wait_for("the spot where it was", lambda: [studio.get(label=f"Position {axis}")["text"] for axis in "XYZ"] == place)
    studio.quit()


def skies(run):
    """A made sky lights the scene, and undo takes it away again."""
    studio = run.start(run.scene)
    studio.get(name="studio")
    studio.await_keyboard()
    view = studio.get(name="editor-view")
    before = studio.shot(view)
    studio.key("ctrl+shift+k")
    studio.get(name="skies")
    studio.await_keyboard()
    studio.standing(name="skies")

    def rows():
        return [t for t in studio.things() if t["class"] == "row" and t["name"] == "skyList"]

    wait_for("the thumbnails", lambda: studio.shot(studio.get(name="skyList")).colours() > 300, 60)
    run.options.output.mkdir(parents=True, exist_ok=True)
    sky = next(row for row in rows() if row["text"] == "Golden hour")
    studio.click(thing=sky)
    wait_for("its sun", lambda: "sun stands" in studio.get(name="skySun")["text"])
    run.display.save(run.options.output / "sky-list.png")

    def suns():
        return len([t for t in studio.things() if t["class"] == "row" and t["text"] == "Sun"])

    others = suns()
    studio.click(name="skyApply")
    wait_for("its sun in the tree", lambda: suns() == others + 1)
    studio.key("Escape")
    wait_for("the window closed", lambda: not studio.find(name="skies"))
    studio.await_keyboard()
    wait_for("the view under it", lambda: studio.shot(view).difference(before) > 1)
    run.display.save(run.options.output / "sky-applied.png")
    studio.key("ctrl+z")
    wait_for("the view as before", lambda: studio.shot(view).difference(before) < 0.5)
    studio.quit()


if __name__ == "__main__":
    sys.exit(main((light_attributes, drop_to_floor, handles, light_table, color_picker, look_through_light, skies)))
