#!/usr/bin/env python3
"""The first start and the search for commands.

  first_tests.py SCENARIO --studio PROGRAM --batch PROGRAM --source FOLDER [--output FOLDER]
"""
import subprocess
import sys

from scenario import DIALOG, check, main
from studio_driver import wait_for


def save(run, name):
    run.options.output.mkdir(parents=True, exist_ok=True)
    run.display.save(run.options.output / f"{name}.png")


def title(studio):
    return studio.get(name="tour-title")["text"]


def first_start(run):
    """A new home: demo scene, viewer, tour, our defaults. The second start has neither demo nor tour."""
    first = {"LUMENARA_TOUR": "1", "LUMENARA_DEFAULTS": ""}
    studio = run.start(environment=first)
    studio.get(name="tour", seconds=30)
    studio.get(name=DIALOG, seconds=30)
    wait_for("the demo scene", lambda: studio.get(name="studio")["text"].startswith("demo.glb"))
    wait_for("a rendered picture", lambda: studio.picture().colours() > 40, 240, 0.2)
    check(title(studio) == "Look around", f"the tour begins with {title(studio)}")
    save(run, "first_start-1")
    studio.await_keyboard()
    wait_for("the keyboard in the tour", lambda: studio.get(name="tour-next")["focus"])
    studio.key("Return")
    wait_for("the second step", lambda: title(studio) == "See it rendered")
    save(run, "first_start-2")
    studio.click(thing=studio.standing(name="tour-next"))
    wait_for("the third step", lambda: title(studio) == "Find any command")
    save(run, "first_start-3")
    studio.key("Escape")
    wait_for("a closed tour", lambda: studio.find(name="tour") is None)
    studio.quit()

    listed = subprocess.run([run.options.batch, "settings", "get", "opt.anti-aliasing", "--home", str(run.home)], check=True,
                            capture_output=True, text=True, timeout=60).stdout
    check(listed.strip() == "2", f"anti-aliasing is {listed}")
    studio = run.start(environment=first)
    studio.get(name="start-page")
    check(studio.find(name="tour") is None, "the tour came back")
    studio.quit()


def command_search(run):
    """Ctrl+Shift+P, a few letters, Enter: the command runs."""
    studio = run.viewer()
    studio.await_keyboard()
    studio.key("ctrl+shift+p")
    studio.get(name="palette")
    studio.write("rend sett")
    wait_for("the best hit", lambda: studio.find(**{"class": "row", "name": "palette-list", "text": "Render Settings..."}))
    save(run, "command_search-1")
    studio.key("Return")
    studio.get(name="renderSettings")
    check(studio.find(name="palette") is None, "the search stays open")
    studio.key("Escape")
    wait_for("closed render settings", lambda: studio.find(name="renderSettings") is None)
    studio.quit()


def theme_menu(run):
    """View > Theme > Light: every window at once, and at the next start again."""
    def attributes(studio):
        return studio.shot(studio.get(name="attributeManager")).mean()
    studio = run.start(run.scene)
    dark = attributes(studio)
    check(dark < 100, f"the dark theme has {dark:.0f}")
    studio.menu("View", "Theme", "Light")
    wait_for("the light theme", lambda: attributes(studio) > 150)
    save(run, "theme_menu-1")
    studio.quit()
    studio = run.start(run.scene)
    wait_for("the light theme again", lambda: attributes(studio) > 150)
    studio.menu("View", "Theme", "Dark")
    wait_for("the dark theme", lambda: attributes(studio) < 100)
    studio.quit()


def assigned_keys(run):
    """Help > Shortcuts: a key that another command has, reassigned; it works at once and at the next start."""
    studio = run.start(run.scene)
    studio.await_keyboard()
    studio.menu("Help", "Shortcuts")
    studio.get(name="shortcuts")
    studio.click(thing=studio.standing(name="keys-search"))
    studio.write("render sett")
    row = {"class": "row", "name": "keys-list", "text": "Render Settings"}
    wait_for("the command", lambda: studio.find(**row))
    studio.click(thing=studio.standing(**row))
    wait_for("the chosen command", lambda: studio.get(name="keys-command")["text"] == "Render Settings")
    studio.click(thing=studio.standing(name="keys-field"))
    wait_for("the field's keyboard", lambda: studio.get(name="keys-field")["focus"])
    studio.key("ctrl+d")
    wait_for("the other command's name", lambda: "Duplicate" in studio.get(name="keys-message")["text"])
    save(run, "assigned_keys-1")
    studio.key("Return")
    wait_for("the assigned key", lambda: studio.get(name="keys-field")["text"] == "Ctrl+D" and
             not studio.get(name="keys-message")["text"])
    save(run, "assigned_keys-2")
    studio.key("Escape")
    wait_for("closed shortcuts", lambda: studio.find(name="shortcuts") is None)
    studio.await_keyboard()
    studio.key("ctrl+d")
    studio.get(name="renderSettings")
    studio.key("Escape")
    wait_for("closed render settings", lambda: studio.find(name="renderSettings") is None)
    studio.quit()
    studio = run.start(run.scene)
    studio.await_keyboard()
    studio.key("ctrl+d")
    studio.get(name="renderSettings")
    studio.key("Escape")
    wait_for("closed render settings again", lambda: studio.find(name="renderSettings") is None)
    studio.quit()


if __name__ == "__main__":
    sys.exit(main((first_start, command_search, theme_menu, assigned_keys)))
