#!/usr/bin/env python3
"""Takes the screenshots of the README and the manual with the real program.

Usage: make_screenshots.py [--studio PROGRAM] [--batch PROGRAM] [NAME...]

Writes docs/images/ and docs/manual/images/. Without names all of them; it takes some minutes. Needs Xvfb, openbox,
xdotool and ImageMagick; nothing appears on your own display.
"""

import argparse
import json
import pathlib
import struct
import subprocess
import sys
import tempfile
import time
import types

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "tests" / "studio"))

from farm_tests import FakeSlurm  # noqa: E402
from studio_driver import Display, Studio, require_tools, wait_for  # noqa: E402

DIALOG, OPTIMIZATIONS, REFRESH = "dialog-1021442-0", "dialog-1021446-0", "gadget-1109"
SIZE = (1500, 940)
SAMPLES = 64  # a pixel; enough for pictures of this size
LAYERS = 31 | 32768 | 65536  # albedo, normal, depth, object, material; noise; light groups


def scene_with_samples(folder, layers=0, samples=SAMPLES):
    """The demo scene, rendered with fewer samples, so that the pictures come soon, and with layers (setting 7104)."""
    data = (ROOT / "scenes" / "demo.glb").read_bytes()
    length = struct.unpack_from("<I", data, 12)[0]
    document = json.loads(data[20:20 + length])
    own = (document.get("extras") or document["scenes"][0]["extras"])["lumenara"]
    for settings in own["renderData"]:
        settings["container"] = [[key, kind, samples if key == 7100 else value] for key, kind, value in settings["container"]
                                 if key != 7104] + [[7104, "long", layers]]
    text = json.dumps(document).encode()
    text += b" " * (-len(text) % 4)
    rest = data[20 + length:]
    file = folder / "demo.glb"
    file.write_bytes(struct.pack("<4sIIII", b"glTF", 2, 20 + len(text) + len(rest), len(text), 0x4E4F534A) + text + rest)
    return file


class Photographer:
    def __init__(self, options):
        self.options = options
        self.display = Display(1600, 1000)
        self.folder = tempfile.TemporaryDirectory(prefix="screenshots-")
        self.home = pathlib.Path(self.folder.name) / "home"
        self.scene = scene_with_samples(pathlib.Path(self.folder.name))
        self.studio = None
        self.set("LM_STAMP_RENDER_TIME", 0)

    def close(self):
        if self.studio:
            self.studio.close()
        self.display.close()
        self.folder.cleanup()

    def set(self, key, value):
        subprocess.run([self.options.batch, "settings", "set", key, str(value), "--home", str(self.home)],
                       check=True, capture_output=True, timeout=60)

    def start(self, theme="dark", viewer=True, refresh=True, environment=None):
        if self.studio:
            self.studio.close()
        more = ["--viewer"] if viewer else []
        self.studio = Studio(self.display, self.options.studio, self.scene, *more, home=self.home, theme=theme,
                             environment=environment)
        window = self.display.tool("search", "--name", "Lumenara Studio").stdout.split()[-1]
        self.display.tool("windowsize", "--sync", window, *SIZE)
        self.display.tool("windowmove", window, 40, 30)
        wait_for("the scene", lambda: "demo" in self.studio.get(name="studio")["text"], 60)
        if not viewer:
            self.studio.menu("Plugins", "Lumenara")
        self.studio.get(name=DIALOG, seconds=30)
        if viewer and refresh:
            self.studio.click(name=REFRESH)  # the size of the view has changed since
        self.away()
        return self.studio

    def away(self):
        """The pointer where it highlights nothing."""
        self.display.tool("mousemove", 1598, 998)
        time.sleep(0.6)

    def finished(self):
        wait_for("a rendered picture", lambda: self.studio.picture().colours() > 40, 120, 0.2)
        self.studio.settled(400)
        self.away()

    def save(self, place, file):
        x, y, width, height = place
        file.parent.mkdir(parents=True, exist_ok=True)
        shot = subprocess.run(["import", "-silent", "-display", self.display.name, "-window", "root", "-crop",
                               f"{width}x{height}+{max(0, x)}+{max(0, y)}", "-depth", "8", "png:-"],
                              env=self.display.environment, check=True, capture_output=True, timeout=60).stdout
        subprocess.run(["convert", "png:-", "+repage", "-strip", "-sampling-factor", "4:4:4", "-quality", "92", str(file)],
                       input=shot, check=True, timeout=60)
        print(file.relative_to(ROOT))

    def save_window(self, file):
        self.save(self.studio.get(name="studio")["place"], file)

    def viewer_place(self):
        """The viewer with its title: the dock and the dialog in it have one name."""
        return max((t["place"] for t in self.studio.things() if t["name"] == DIALOG), key=lambda place: place[3])

    def image(self, name):
        return ROOT / "docs" / "images" / f"{name}.jpg"

    def manual(self, name):
        return ROOT / "docs" / "manual" / "images" / f"{name}.jpg"

    # --- the pictures ---

    def idle(self):
        self.start(viewer=False)
        time.sleep(12)  # thumbnails
        self.away()
        self.save_window(self.image("studio-idle"))

    def render(self):
        self.start()
        time.sleep(5)
        self.save_window(self.image("studio-rendering"))
        self.finished()
        time.sleep(8)
        self.save_window(self.image("studio-finished"))
        self.save(self.viewer_place(), self.manual("viewer"))

    def light(self):
        self.start(theme="light")
        self.finished()
        time.sleep(8)
        self.save_window(self.image("studio-light"))

    def region(self):
        self.start()
        self.finished()
        self.studio.menu("Mode", "Region")
        time.sleep(2)
        self.finished()
        view, dialog = self.studio.get(name="editor-view")["place"], self.viewer_place()
        top = min(view[1], dialog[1])
        bottom = dialog[1] + dialog[3]
        self.save((view[0], top, dialog[0] + dialog[2] - view[0], bottom - top), self.manual("region"))
        self.studio.menu("Mode", "Normal")
        time.sleep(1)

    def keep(self):
        """The picture goes into the history."""
        self.finished()
        count = len(self.history())
        self.studio.menu("History", "Add Image to History")
        wait_for("one picture more", lambda: len(self.history()) > count, 30)

    def history(self):
        return list((self.home / "plugins" / "Lumenara" / "history").glob("*.tif"))

    def compare(self):
        """Two pictures of one size, without and with global illumination, and what they are written into them."""
        self.set("LM_VIEW_SIZE", 3)
        self.set("LM_STAMP_CUSTOM1", 1)
        # Each where its own part of the composed picture is.
        for light, text, place in ((0, "direct light", 2), (1, "all light", 0)):
            self.set("LM_OPT_15014", light)
            self.set("LM_STAMP_TEXT1", text)
            self.set("LM_STAMP_CUSTOM1_H", place)
            self.set("LM_STAMP_CUSTOM1_V", place)
            self.start()
            self.keep()
            self.studio.close()
        sizes = {subprocess.run(["identify", "-format", "%wx%h", f"{file}[0]"], check=True, capture_output=True,
                                text=True, timeout=60).stdout for file in self.history()}
        if len(sizes) != 1:
            sys.exit(f"the pictures to compare have different sizes: {sizes}")
        for style, name in ((1, "compare-rows"), (2, "compare-blend"), (0, "compare")):
            self.set("LM_COMPARE_STYLE", style)
            self.start(refresh=False)
            self.studio.menu("Mode", "Compare")
            time.sleep(2)
            self.away()
            self.save(self.viewer_place(), self.manual(name))
        self.studio.menu("History", "View Difference")
        self.studio.get(name="frameBuffer", seconds=30)
        time.sleep(2)
        self.away()
        self.save(self.studio.get(name="frameBuffer")["place"], self.manual("difference"))

    def pictures(self):
        """The Frame Buffer with a render of the scene's own size."""
        self.start(viewer=False)
        self.studio.menu("Render", "Render to Frame Buffer")
        self.studio.get(name="frameBuffer", seconds=30)
        time.sleep(4)
        wait_for("the end of the render", lambda: not self.studio.busy(), 400, 0.5)
        time.sleep(2)
        self.away()
        self.save(self.studio.get(name="frameBuffer")["place"], self.manual("frame-buffer"))

    def desk(self):
        """The Frame Buffer's panels on a render with layers: pixel, scopes, lens effects, noise, isolated objects, errors."""
        self.scene = scene_with_samples(pathlib.Path(self.folder.name), LAYERS, 32)
        self.start(viewer=False)
        self.studio.menu("Render", "Render to Frame Buffer")
        self.rendered()
        canvas = self.studio.get(name="pictureCanvas")["place"]
        self.studio.key("asterisk", "p")
        self.pause("probeTree")
        canvas = self.studio.get(name="pictureCanvas")["place"]
        self.display.tool("mousemove", canvas[0] + canvas[2] * 11 // 20, canvas[1] + canvas[3] * 11 // 20)
        time.sleep(1)
        self.save_frame("pixel")
        self.studio.key("p")
        for key, panel, name in (("ctrl+1", "scopesPanel", "scopes"), ("ctrl+3", "lensPanel", "lens")):
            self.studio.key(key)
            self.pause(panel)
            if name == "lens":
                self.studio.tick(name="lensBloom")
                self.studio.tick(name="lensGlare")
                time.sleep(3)
                self.away()
            self.save_frame(name)
            if name == "lens":
                self.studio.tick(name="lensBloom")
                self.studio.tick(name="lensGlare")
                self.studio.click(name="pictureSize")
            self.studio.key(key)
        self.choose_layer("Noise")
        self.save_frame("noise")
        self.choose_layer("Picture")
        self.display.to_front("Lumenara Studio")
        self.studio.click(thing=next(row for row in self.studio.things() if row["class"] == "row" and row["text"] == "Brass ring"))
        self.studio.menu("Window", "Frame Buffer")
        self.studio.click(name="pictureSize")
        self.studio.key("i")
        self.studio.key("shift+r")
        self.rendered()
        self.save_frame("isolated")
        self.studio.key("i", "shift+b")
        rows = [row for row in self.studio.things() if row["class"] == "row" and row["name"] == "filmstripList"]
        self.studio.click(thing=rows[-1])
        self.studio.click(name="pictureSize")
        self.studio.key("shift+a", "ctrl+4", "w")
        self.pause("comparePanel")
        self.studio.click(name="compareMode")
        self.studio.key("End", "Return")
        wait_for("the figures", lambda: "FLIP" in self.studio.text("compareValues"), 120, 0.5)
        time.sleep(2)
        self.save_frame("heat-map")

    def rendered(self):
        self.studio.get(name="frameBuffer", seconds=30)
        time.sleep(4)
        wait_for("the end of the render", lambda: not self.studio.find(name="renderStop"), 400, 0.5)
        self.studio.click(name="pictureSize")
        time.sleep(2)

    def pause(self, name):
        self.studio.standing(name=name)
        time.sleep(1)
        self.away()

    def choose_layer(self, text):
        self.studio.click(name="layerChoice")
        self.studio.click(thing=next(row for row in self.studio.things()
                                     if row["class"] == "row" and row["name"] == "layerList" and row["text"].strip() == text))
        self.studio.click(name="pictureSize")
        time.sleep(1)
        self.away()

    def save_frame(self, name):
        self.save(self.studio.get(name="frameBuffer")["place"], self.manual(name))

    def farm(self):
        """The farm's windows, with programs of Slurm that a script plays."""
        folder = pathlib.Path(self.folder.name)
        self.scene = scene_with_samples(folder, samples=8)
        slurm = FakeSlurm(types.SimpleNamespace(folder=folder, options=self.options))
        self.start(viewer=False, environment=slurm.environment())
        self.studio.menu("Render", "Render on the Farm...")
        self.studio.standing(name="farm-dialog")
        self.studio.enter("farm-output", "turntable.tif")
        for name, value in (("farm-from", 0), ("farm-to", 23), ("farm-width", 320), ("farm-height", 180), ("farm-chunk", 2)):
            self.studio.enter(name, str(value))
        self.away()
        self.save(self.studio.get(name="farm-dialog")["place"], self.image("farm-dialog"))
        slurm.queue.write_text("41_[4-11]|PENDING|Resources\n41_3|RUNNING|None\n", encoding="utf-8")
        self.studio.click(name="farm-submit")
        self.studio.standing(name="farm-jobs")
        job = next(folder.rglob("job.json")).parent
        for task in range(3):
            slurm.task(job, task)
        wait_for("the frames", lambda: sum(t["class"] == "row" and t["name"] == "farm-frames" for t in self.studio.things()) == 6, 60, 0.5)
        self.away()
        self.save(self.studio.get(name="farm-jobs")["place"], self.image("farm-jobs"))

    def queue(self):
        """The render queue at work."""
        self.start()
        for output, frames, samples in (("turntable.mp4", "0:8", 16), ("turntable.####.exr", "0:400", 2)):
            self.studio.display.to_front("Lumenara Studio")
            self.studio.menu("Render", "Render Animation...")
            self.studio.standing(name="animation-dialog")
            for name, value in (("output", output), ("frames", frames), ("width", 320), ("height", 180), ("samples", samples)):
                self.studio.enter(f"animation-{name}", str(value))
            self.away()
            if output.endswith("exr"):
                self.save(self.studio.get(name="animation-dialog")["place"], self.manual("queue-dialog"))
            self.studio.click(name="animation-add")
            self.studio.standing(name="render-queue")
        wait_for("the second animation", lambda: "Done" in [t["text"] for t in self.studio.things() if t["name"] == "queue-list"], 300, 0.5)
        wait_for("a time left", lambda: any(" of 401" in t["text"] for t in self.studio.things()), 60, 0.5)
        time.sleep(8)
        self.away()
        self.save(self.studio.get(name="render-queue")["place"], self.manual("queue"))
        self.studio.click(name="queue-cancel")
        wait_for("the end", lambda: "Cancelled" in [t["text"] for t in self.studio.things() if t["name"] == "queue-list"], 60, 0.5)

    def shading(self):
        """The shadings beside each other, as the batch program renders them."""
        tiles = []
        for name in ("clay", "albedo", "normals", "uv", "wireframe", "facing"):
            tiles.append(str(pathlib.Path(self.folder.name) / f"{name}.png"))
            subprocess.run([self.options.batch, "render", self.scene, "-o", tiles[-1], "--size", "420x236", "--shading", name],
                           check=True, capture_output=True, timeout=600)
        rows = ["-gravity", "center", "-background", "#2b2b2e", "(", *tiles[:3], "+append", ")", "(", *tiles[3:], "+append", ")"]
        subprocess.run(["convert", *rows, "-append", "-strip", "-sampling-factor", "4:4:4", "-quality", "92",
                        str(self.manual("shading"))], check=True, timeout=60)
        print(self.manual("shading").relative_to(ROOT))

    def dialogs(self):
        """Every dialog of the plug-in, with what a user sees first."""
        self.set("LM_ANIM_REMEMBER", 1)
        self.set("LM_ANIM_FORMAT", 8)
        self.start()
        self.finished()
        self.studio.menu("Options", "Options...")
        self.save_modal("options")
        self.studio.menu("Options", "Render Animation...")
        self.modal()
        wait_for("the file name's focus", lambda: self.studio.get(name="gadget-14001")["focus"])
        self.studio.write("renders/turn.jpg")
        self.studio.key("Tab")
        self.save_modal("animation", close=False)
        self.studio.click(name="gadget-14010")
        self.save_window_of("JPEG Settings", "jpeg")
        self.studio.close()
        self.set("LM_ANIM_FORMAT", 4)
        self.start(refresh=False)
        self.studio.click(name=REFRESH)
        self.studio.menu("Options", "Render Animation...")
        self.modal()
        self.studio.click(name="gadget-14010")
        self.save_window_of("Movie Options", "movie")
        self.studio.close()
        self.start(refresh=False)
        self.studio.menu("Options", "Optimizations...")
        self.studio.get(name=OPTIMIZATIONS)
        time.sleep(1)
        self.away()
        self.save(self.studio.get(name=OPTIMIZATIONS)["place"], self.manual("optimizations"))

    def modal(self):
        return wait_for("the dialog", lambda: next((t for t in self.studio.things() if t["name"].startswith("modal-dialog")), None))

    def save_modal(self, file, close=True):
        self.modal()
        time.sleep(1)
        self.away()
        self.save(self.modal()["place"], self.manual(file))
        if close:
            self.studio.key("Escape")
            time.sleep(1)

    def save_window_of(self, title, file):
        self.studio.get(text=title, window=True)
        time.sleep(1)
        self.away()
        self.save(self.studio.get(text=title, window=True)["place"], self.manual(file))


def main():
    parser = argparse.ArgumentParser(description="Takes the screenshots of the README and the manual.")
    parser.add_argument("--studio", type=pathlib.Path, default=ROOT / "build" / "release" / "bin" / "lumenara-studio")
    parser.add_argument("--batch", type=pathlib.Path, default=ROOT / "build" / "release" / "bin" / "lumenara")
    parser.add_argument("names", nargs="*", help="idle render light region compare pictures desk farm queue shading dialogs")
    options = parser.parse_args()
    require_tools()
    for name in options.names or ("idle", "render", "compare", "region", "pictures", "desk", "farm", "queue", "shading", "dialogs", "light"):
        photographer = Photographer(options)
        try:
            getattr(photographer, name)()
        finally:
            photographer.close()


if __name__ == "__main__":
    main()
