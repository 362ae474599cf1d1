#!/usr/bin/env python3
"""Homes that cannot be read or written, and damaged preferences: the program starts, says so in one line and works.

  home_tests.py SCENARIO --studio PROGRAM --batch PROGRAM --source FOLDER [--output FOLDER]
"""
import json
import os
import subprocess
import sys

from scenario import AUTO, DIALOG, check, first_mesh, main, move_object, select, set_auto
from studio_driver import wait_for

WORDS = ("preferences", "home ", "damaged")


def lines(studio):
    """The console's lines about the home and the preferences; the program prints them on its output, too."""
    return [line for line in studio.output().splitlines() if any(word in line.lower() for word in WORDS)]


def works(run, studio):
    """A picture in the viewer, a setting, an edit and a save."""
    studio.get(name=DIALOG, seconds=30)
    wait_for("a rendered picture", lambda: studio.picture().colours() > 40, 120, 0.2)
    set_auto(studio, not studio.get(name=AUTO)["checked"])
    select(studio, first_mesh(studio))
    move_object(studio, 0.5)
    studio.key("ctrl+s")
    wait_for("the saved scene", lambda: " *" not in studio.get(name="studio")["text"])
    json.loads(run.scene.read_text(encoding="utf-8"))


def one_line(studio, part):
    found = lines(studio)
    check(len(found) == 1, f"not one line but {len(found)}: {found}")
    check(part in found[0], f"the line does not say \"{part}\": {found[0]}")


def home_unwritable(run):
    """A file stands where the home should be: settings last until the end, and the file stays as it is."""
    in_the_way = run.folder / "file"
    in_the_way.write_text("not a folder", encoding="utf-8")
    run.home = in_the_way / "home"
    studio = run.start(run.scene, "--viewer")
    works(run, studio)
    studio.quit()
    one_line(studio, "cannot be saved")
    check(in_the_way.read_text(encoding="utf-8") == "not a folder", "the file in the way was changed")


def home_unreadable(run):
    """Preferences that cannot be read are not replaced, and are used again once they can be."""
    studio = run.start("--viewer")
    on = not studio.get(name=AUTO, seconds=30)["checked"]
    set_auto(studio, on)
    studio.quit()
    preferences, kept = run.home / "preferences.json", run.folder / "kept.json"
    os.replace(preferences, kept)
    preferences.mkdir()
    (preferences / "own.txt").write_text("of the user", encoding="utf-8")
    studio = run.start(run.scene, "--viewer")
    works(run, studio)
    studio.quit()
    one_line(studio, "cannot be saved")
    check((preferences / "own.txt").read_text(encoding="utf-8") == "of the user", "the user's file was changed")
    (preferences / "own.txt").unlink()
    preferences.rmdir()
    os.replace(kept, preferences)
    studio = run.start("--viewer")
    check(studio.get(name=AUTO, seconds=30)["checked"] == on, "the setting from before was lost")
    check(not lines(studio), f"a home in order has a line: {lines(studio)}")
    studio.quit()


def home_damaged(run):
    """One damaged entry costs that entry alone; the damaged file is kept, and the next start says nothing."""
    run.set("LM_STAMP_TEXT1", "a text to keep")
    preferences = run.home / "preferences.json"
    contents = json.loads(preferences.read_text(encoding="utf-8"))
    contents["program/recentFiles"] = "no container"
    damaged = json.dumps(contents)
    preferences.write_text(damaged, encoding="utf-8")
    studio = run.start(run.scene, "--viewer")
    works(run, studio)
    studio.quit()
    one_line(studio, "kept as")
    kept = preferences.with_name(preferences.name + ".damaged")
    check(kept.read_text(encoding="utf-8") == damaged, "the damaged file is not kept as it was")
    stored = subprocess.run([run.options.batch, "settings", "list", "--home", str(run.home)], check=True,
                            capture_output=True, text=True, timeout=60).stdout
    check("a text to keep" in stored, "a setting beside the damage was lost")
    studio = run.start("--viewer")
    studio.get(name=DIALOG, seconds=30)
    check(not lines(studio), f"the second start has a line: {lines(studio)}")
    studio.quit()


if __name__ == "__main__":
    sys.exit(main((home_unwritable, home_unreadable, home_damaged)))
