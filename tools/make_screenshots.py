#!/usr/bin/env python3
"""Takes the screenshots of the README and the manual with the real program.

Usage: make_screenshots.py [--studio PROGRAM] [--batch PROGRAM] [NAME...]

Writes docs/images/ and docs/manual/images/. Without names all of them; it takes some minutes. Needs Xvfb, openbox,
xdotool and ImageMagick; nothing appears on your own display.
"""

import argparse
import pathlib
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "tests" / "studio"))

from studio_driver import Display, Studio, require_tools, wait_for  # noqa: E402

DIALOG, REFRESH = "dialog-1021442-0", "gadget-1109"
SIZE = (1500, 940)


class Photographer:
    def __init__(self, options):
        self.options = options
        self.display = Display(1600, 1000)
        self.folder = tempfile.TemporaryDirectory(prefix="screenshots-")
        self.home = pathlib.Path(self.folder.name) / "home"
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

    def start(self, theme="dark", viewer=True, refresh=True):
        if self.studio:
            self.studio.close()
        scene = ROOT / "scenes" / "demo.glb"
        more = ["--viewer"] if viewer else []
        self.studio = Studio(self.display, self.options.studio, scene, *more, home=self.home, theme=theme)
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
        self.save(self.studio.get(name=DIALOG)["place"], self.manual("viewer"))
        self.studio.menu("History", "Add Image to History")
        time.sleep(1)

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
        view, dialog = self.studio.get(name="editor-view")["place"], self.studio.get(name=DIALOG)["place"]
        top = min(view[1], dialog[1])
        bottom = dialog[1] + dialog[3]
        self.save((view[0], top, dialog[0] + dialog[2] - view[0], bottom - top), self.manual("region"))
        self.studio.menu("Mode", "Normal")
        time.sleep(1)

    def compare(self):
        self.render()
        self.studio.close()
        self.set("LM_OPT_15014", 0)
        self.start()
        self.finished()
        self.studio.menu("History", "Add Image to History")
        time.sleep(1)
        self.studio.close()
        self.set("LM_OPT_15014", 1)
        self.set("LM_HISTORY_AUTOLOAD", 1)
        for style, name in ((1, "compare-rows"), (2, "compare-blend"), (0, "compare")):
            self.set("LM_COMPARE_STYLE", style)
            self.start(refresh=False)
            self.studio.menu("Mode", "Compare")
            time.sleep(2)
            self.away()
            self.save(self.studio.get(name=DIALOG)["place"], self.manual(name))
        self.studio.menu("History", "View Difference")
        viewer = self.studio.get(name="pictureViewer", seconds=30)
        time.sleep(2)
        self.away()
        self.save(self.studio.get(name="pictureViewer")["place"] or viewer["place"], self.manual("difference"))
        self.studio.close()
        self.set("LM_MODE", 1103)

    def dialogs(self):
        self.start()
        self.studio.menu("Options", "Optimizations...")
        self.save_dialog("dialog-1021446-0", "optimizations")
        self.studio.menu("Options", "Options...")
        self.save_modal("options")
        self.studio.menu("Options", "Render Animation...")
        self.save_modal("animation")

    def save_dialog(self, name, file):
        self.studio.get(name=name)
        time.sleep(1)
        self.away()
        self.save(self.studio.get(name=name)["place"], self.manual(file))

    def save_modal(self, file):
        modal = wait_for("the dialog", lambda: next(
            (t for t in self.studio.things() if t["class"].endswith("DialogWindow") and t["name"] not in (DIALOG, "dialog-1021446-0")), None))
        time.sleep(1)
        self.away()
        self.save(modal["place"], self.manual(file))
        self.studio.key("Escape")
        time.sleep(1)


def main():
    parser = argparse.ArgumentParser(description="Takes the screenshots of the README and the manual.")
    parser.add_argument("--studio", type=pathlib.Path, default=ROOT / "build" / "release" / "bin" / "lumenara-studio")
    parser.add_argument("--batch", type=pathlib.Path, default=ROOT / "build" / "release" / "bin" / "lumenara")
    parser.add_argument("names", nargs="*", help="idle light region compare dialogs")
    options = parser.parse_args()
    require_tools()
    for name in options.names or ("idle", "compare", "region", "dialogs", "light"):
        photographer = Photographer(options)
        try:
            getattr(photographer, name)()
        finally:
            photographer.close()


if __name__ == "__main__":
    main()
