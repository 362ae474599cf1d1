"""Shared by the scenarios with the real lumenara-studio: a folder and a display of its own, the started programs, and the
command line.
"""
import argparse
import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import traceback

from studio_driver import Display, Failed, Studio, require_tools, wait_for

# The plug-in's own defaults, in Studio and in every program beside it; tests of site defaults say otherwise.
os.environ.setdefault("LUMENARA_DEFAULTS", "/dev/null")

DIALOG = "dialog-1021442-0"
REFRESH, AUTO, CAMERA, AREA = "gadget-1109", "gadget-1110", "gadget-1118", "gadget-1123"


# A scenario looks at what a render shows, not at its noise; rendering is most of its processor time.
FEW_SAMPLES = 3


def set_samples(own, samples):
    """Sets the samples per pixel of the scene's active render settings."""
    container = own["renderData"][own["activeRenderData"]]["container"]
    container[:] = [entry for entry in container if entry[0] != 7100] + [[7100, "long", samples]]


def check(condition, sentence):
    if not condition:
        raise Failed(sentence)


class Run:
    """One scenario: a folder of its own, a display, and whatever it starts."""

    def __init__(self, options):
        self.options = options
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="studio-test-"))
        self.home = self.folder / "home"
        self.scene = self.folder / "scene.gltf"
        # The small scene, with one view that is both edited and rendered.
        scene = json.loads((options.source / "scenes" / "small.gltf").read_text(encoding="utf-8"))
        own = (scene["scenes"][0].get("extras") or scene["extras"])["lumenara"]
        own["views"], own["activeView"], own["renderView"] = own["views"][:1], 0, 0
        set_samples(own, FEW_SAMPLES)
        self.scene.write_text(json.dumps(scene), encoding="utf-8")
        self.display = None
        self.studios = []

    def start(self, *arguments, **more):
        if not self.display:
            self.display = Display()
        studio = Studio(self.display, self.options.studio, *arguments, home=self.home, **more)
        self.studios.append(studio)
        return studio

    def viewer(self, *arguments, **more):
        """Studio with the viewer open and its first picture finished."""
        studio = self.start(self.scene, "--viewer", *arguments, **more)
        studio.get(name=DIALOG, seconds=30)
        wait_for("a rendered picture", lambda: studio.picture().colours() > 40, 120, 0.2)
        studio.settled()
        return studio

    def set(self, key, value):
        """Stores a setting of the plug-in; Studio must not be running."""
        subprocess.run([self.options.batch, "settings", "set", key, str(value), "--home", str(self.home)],
                       check=True, capture_output=True, timeout=60)

    def stretch(self, key, stored, value):
        """Replaces a stored integer with one beyond the setting's range: slow machines need more time."""
        file = self.home / "preferences.json"
        text = file.read_text(encoding="utf-8")
        check(text.count(f'"long",{stored}]') == 1, f"{key} is not stored as {stored}")
        file.write_text(text.replace(f'"long",{stored}]', f'"long",{value}]'), encoding="utf-8")

    def rewrite(self, change):
        """Rewrites the scene, as another program would."""
        scene = json.loads(self.scene.read_text(encoding="utf-8"))
        change(scene)
        beside = self.scene.with_suffix(".new")
        beside.write_text(json.dumps(scene), encoding="utf-8")
        os.replace(beside, self.scene)

    def keep(self, scenario):
        """Saves a screenshot and the programs' output of a failed scenario."""
        self.options.output.mkdir(parents=True, exist_ok=True)
        if self.display:
            self.display.save(self.options.output / f"{scenario}.png")
        for number, studio in enumerate(self.studios):
            (self.options.output / f"{scenario}-{number}.txt").write_text(studio.output(), encoding="utf-8")

    def close(self):
        for studio in self.studios:
            studio.close()
        if self.display:
            self.display.close()
        shutil.rmtree(self.folder, ignore_errors=True)


def set_auto(studio, on):
    box = studio.get(name=AUTO)
    if box["checked"] != on:
        studio.click(thing=box)
        wait_for("the check box", lambda: studio.get(name=AUTO)["checked"] == on)


def editor(studio):
    return studio.get(name="editor-view")


def orbit(studio, by=120):
    x, y = studio.middle(editor(studio))
    before = studio.shot(editor(studio))
    studio.drag((x, y), (x + by, y + 10), key="alt")
    wait_for("an orbited editor view", lambda: studio.shot(editor(studio)).difference(before) > 0.5)


def select(studio, row):
    """Selects an object in the tree and waits for its attributes."""
    studio.click(**{"class": "row", "name": "objectTree", "text": row})
    return studio.get(label="Position X")


def move_object(studio, value, axis="X"):
    field = studio.get(label=f"Position {axis}")
    studio.move(*studio.middle(field))
    studio.display.tool("click", "--repeat", 2, "--delay", 60, 1)
    wait_for("the keyboard in the field", lambda: studio.get(label=f"Position {axis}")["focus"])
    studio.key("ctrl+a")
    studio.write(str(value))
    studio.key("Return")


def first_mesh(studio):
    rows = [t for t in studio.things() if t["class"] == "row" and t["name"] == "objectTree"]
    names = [row["text"] for row in rows]
    check(names, "the object tree lists nothing")
    for wanted in ("Box", "box", "Cube", "Sphere", "Ball"):
        for name in names:
            if wanted.lower() in name.lower():
                return name
    return names[0]


def main(functions):
    """Runs the scenario that the command line names. Exit code: 0 passed, 1 failed (the output folder has a screenshot and
    the program's output), 77 skipped."""
    scenarios = {function.__name__: function for function in functions}
    parser = argparse.ArgumentParser(description="Scenarios with the real lumenara-studio.")
    parser.add_argument("scenario", choices=sorted(scenarios))
    parser.add_argument("--studio", type=pathlib.Path, required=True)
    parser.add_argument("--batch", type=pathlib.Path, required=True)
    parser.add_argument("--source", type=pathlib.Path, required=True)
    parser.add_argument("--output", type=pathlib.Path, default=pathlib.Path("studio-tests"))
    parser.add_argument("--kills", type=int, default=12)
    options = parser.parse_args()
    if options.scenario != "command_line":
        require_tools()
    run = Run(options)
    try:
        scenarios[options.scenario](run)
        print("passed")
        return 0
    except Exception as error:  # whatever went wrong, the screen tells more
        run.keep(options.scenario)
        if isinstance(error, Failed):
            print(f"failed: {error}")
        traceback.print_exc()
        return 1
    finally:
        run.close()
