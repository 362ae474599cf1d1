#!/usr/bin/env python3
"""The history of renders: a picture of an earlier session brings its scene back.

  history_tests.py SCENARIO --studio PROGRAM --batch PROGRAM --source FOLDER [--output FOLDER]
"""
import sys

from scenario import REFRESH, check, first_mesh, main, move_object, select
from studio_driver import wait_for


def entries(run):
    return sorted((run.home / "renders" / "entries").glob("*.txt"))


def position(studio):
    return studio.get(label="Position X")["text"]


def restore_scene(run):
    studio = run.viewer()
    wait_for("the first render in the history", lambda: entries(run), 60)
    row = first_mesh(studio)
    select(studio, row)
    before = position(studio)
    move_object(studio, "1.25")
    wait_for("the moved object", lambda: position(studio) != before)
    moved = position(studio)
    kept = len(entries(run))
    studio.click(name=REFRESH)
    wait_for("a second render in the history", lambda: len(entries(run)) > kept, 120)
    studio.kill()  # the history needs no orderly end

    studio = run.start(run.scene)
    select(studio, row)
    wait_for("the old place, as in the file", lambda: position(studio) == before)
    studio.menu("Window", "Frame Buffer")
    studio.standing(name="frameBuffer")
    rows = wait_for("the renders of the earlier session",
                    lambda: [thing for thing in studio.things() if thing["class"] == "row" and thing["name"] == "filmstripList"])
    studio.click(thing=rows[0])  # newest first
    wait_for("the chosen picture", lambda: studio.find(**{"class": "row", "name": "filmstripList", "selected": True}))
    studio.click(thing=rows[0], button=3)
    studio.get(**{"class": "QAction", "name": "restore"})
    run.options.output.mkdir(parents=True, exist_ok=True)
    run.display.save(run.options.output / "restore_scene-menu.png")
    studio.click(**{"class": "QAction", "name": "restore"})
    wait_for("the change of the scene", lambda: " *" in studio.get(name="studio")["text"], 60)
    studio.key("ctrl+w")  # the Frame Buffer
    select(studio, row)
    check(position(studio) == moved, f"the object is at {position(studio)}, not at {moved}")
    studio.click(at=(studio.get(name="editor-view")["place"][0] + 20, studio.get(name="editor-view")["place"][1] + 20))
    studio.key("ctrl+z")
    wait_for("the end of the change", lambda: " *" not in studio.get(name="studio")["text"])
    select(studio, row)
    check(position(studio) == before, "undo does not bring the scene back")
    studio.quit()


if __name__ == "__main__":
    sys.exit(main([restore_scene]))
