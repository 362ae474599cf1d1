#!/usr/bin/env python3
"""Unsaved changes of a killed program come back.

  recovery_tests.py SCENARIO --studio PROGRAM --batch PROGRAM --source FOLDER [--output FOLDER]
"""
import json
import sys

from scenario import check, first_mesh, main, move_object, select
from studio_driver import wait_for


def recovery(run):
    """Killed with unsaved changes; the next start offers them; saved, nothing is offered any more."""
    run.set("LM_STAMP_TEXT1", "a text")
    preferences = run.home / "preferences.json"
    contents = json.loads(preferences.read_text(encoding="utf-8"))
    contents["program/autosave"] = [[1, "long", 1]]  # seconds
    preferences.write_text(json.dumps(contents), encoding="utf-8")
    original = run.scene.read_bytes()

    studio = run.start(run.scene)
    check(studio.find(name="recovery") is None, "a first start offers scenes")
    name = first_mesh(studio)
    select(studio, name)
    move_object(studio, 3.25)
    wait_for("the kept scene", lambda: list(run.home.glob("autosave/*/scene.json")), 60)
    studio.kill()
    check(run.scene.read_bytes() == original, "the user's file was written")

    studio = run.start()
    studio.get(name="recovery")
    row = studio.get(**{"class": "row", "name": "recovery-list"})
    check(row["text"].startswith(run.scene.name), f"the list shows {row['text']}")
    run.options.output.mkdir(parents=True, exist_ok=True)
    run.display.save(run.options.output / "recovery.png")
    studio.click(thing=studio.standing(name="recovery-recover"))
    wait_for("the recovered scene", lambda: studio.get(name="studio")["text"].startswith(run.scene.name + " *"))
    check(float(select(studio, name)["text"].split()[0]) == 3.25, "the edit was lost")
    studio.await_keyboard()
    studio.key("ctrl+s")
    wait_for("the saved scene", lambda: " *" not in studio.get(name="studio")["text"])
    check(run.scene.read_bytes() != original, "the scene was not saved under its own name")
    wait_for("an empty folder", lambda: not list(run.home.glob("autosave/*/scene.json")))
    studio.quit()
    studio = run.start(run.scene)
    check(studio.find(name="recovery") is None, "a saved scene is offered again")
    studio.quit()


if __name__ == "__main__":
    sys.exit(main((recovery,)))
