#!/usr/bin/env python3
"""Compare mode, the history and the capture of the host's own renders.

  compare_tests.py SCENARIO --studio PROGRAM --batch PROGRAM --source FOLDER [--output FOLDER]

Pictures on screen are checked pixel by pixel against the files of the history, which ImageMagick decodes.
"""
import json
import math
import os
import shutil
import subprocess
import sys

from scenario import check, first_mesh, main, move_object, select, set_auto
from studio_driver import Picture, wait_for

SLIDER, BUTTON_A, BUTTON_B = "gadget-1108", "gadget-1120", "gadget-1121"
OK, AUTOLOAD, STYLE = "gadget-1", "gadget-20052", "gadget-20037"
WIDTH, HEIGHT = 320, 240
FIRST, SECOND = "scene.gltf[001]", "scene.gltf[002]"
INVALID = "Lumenara Error: Invalid Image"


def history_folder(run):
    return run.home / "plugins" / "Lumenara" / "history"


def names(run):
    folder = history_folder(run)
    return sorted(os.listdir(folder)) if folder.is_dir() else []


def decoded(path, width=WIDTH, height=HEIGHT):
    """A picture file as a screenshot of it looks."""
    with open(path, "rb") as file:  # brackets in a name would mean something to ImageMagick
        data = subprocess.run(["convert", path.suffix[1:] + ":-", "-depth", "8", "rgb:-"], stdin=file, check=True,
                              capture_output=True, timeout=60).stdout
    return Picture(width, height, data)


def stored(run, name):
    return decoded(history_folder(run) / (name + ".tif"))


def prepare(run, **settings):
    """A view of a known size, without the stamp of the time, with nothing loaded by itself."""
    for key, value in {"LM_VIEW_SIZE": 2, "LM_STAMP_RENDER_TIME": 0, "LM_HISTORY_AUTOLOAD": 0, "LM_COMPARE_STYLE": 0,
                       **settings}.items():
        run.set(key, value)


def keep_shot(run, name):
    """Saves a screenshot in the output folder."""
    run.options.output.mkdir(parents=True, exist_ok=True)
    run.display.save(run.options.output / f"{name}.png")


def add_image(run, studio):
    before = len(names(run))
    studio.menu("History", "Add Image to History")
    wait_for("a picture in the history", lambda: len(names(run)) == before + 1)


def fill_history(run, studio):
    """Two pictures of the scene: before and after an object was moved."""
    set_auto(studio, True)
    before = studio.settled()
    add_image(run, studio)
    select(studio, first_mesh(studio))
    move_object(studio, "0.8")
    studio.changed_from(before)
    after = studio.settled()
    add_image(run, studio)
    check(names(run) == [FIRST + ".tif", SECOND + ".tif"], f"the history holds {names(run)}")
    check(stored(run, FIRST).data == before.data, "the first picture is not the one that was shown")
    check(stored(run, SECOND).data == after.data, "the second picture is not the one that was shown")
    return before, after


def popup(studio, button):
    """Opens the popup of A or B: its entries by their texts."""
    studio.click(name=button)

    def entries():
        things = studio.things()
        shown = {t["text"]: t for t in things if t["class"] == "QAction" and not t["name"] and not t["menu"]}
        return shown if any(t["name"] == "popup" for t in things) and "Load Image..." in shown else None
    return wait_for("the popup of the history", entries)


def choose_picture(studio, button, text):
    studio.click(thing=popup(studio, button)[text])
    wait_for("the end of the popup", lambda: studio.find(name="popup") is None)


def shows(studio, picture, what, seconds=10):
    wait_for(what, lambda: studio.picture().data == picture.data, seconds)


def handle(studio):
    return studio.get(**{"class": "QSlider", "in": SLIDER})


def slider_value(studio):
    """The slider's value as its field shows it, -1 to 1."""
    field = next(t for t in studio.things() if t.get("in") == SLIDER and t["class"] != "QSlider" and "%" in t["text"])
    return float(field["text"].replace("%", "").replace("\u2212", "-").replace(",", ".").strip()) / 100


def drag_to(studio, share):
    """Drags the handle from where it is to a share of the way."""
    x, y, width, height = handle(studio)["place"]
    at = x + width * (slider_value(studio) + 1) / 2
    studio.drag((min(max(at, x + 6), x + width - 7), y + height // 2), (x + 2 + (width - 5) * share, y + height // 2), steps=4)


def composed(style, a, b, slider):
    """The composition of two pictures in Compare mode."""
    if style == "columns":
        split = math.floor(WIDTH * 0.5 * (slider + 1)) * 3
        rows = range(0, len(a.data), WIDTH * 3)
        return b"".join(b.data[at:at + split] + a.data[at + split:at + WIDTH * 3] for at in rows)
    if style == "rows":
        split = math.floor(HEIGHT * 0.5 * (slider + 1)) * WIDTH * 3
        return b.data[:split] + a.data[split:]
    part = (slider + 1) / 2
    return bytes(math.floor((y - x) * part + x) for x, y in zip(a.data, b.data))


def check_composed(studio, style, a, b):
    def alike():
        slider = slider_value(studio)
        return studio.picture().data == composed(style, a, b, slider)
    wait_for(f"{style} as the slider says", alike, 10, 0.1)


def choose_style(studio, row):
    """The style, in the Options dialog."""
    studio.menu("Options", "Options...")
    studio.click(thing=studio.standing(name=STYLE))
    rows = wait_for("the list of styles", lambda: (lambda found: found if len(found) >= 3 else None)(
        [t for t in studio.things() if t["class"] == "row" and t["name"] not in ("objectTree", "materialList")]))
    studio.click(thing=rows[row])
    wait_for("the end of the list", lambda: studio.get(name=STYLE)["text"] == rows[row]["text"])
    studio.click(name=OK)
    wait_for("the end of the options", lambda: studio.find(name=STYLE) is None)


def compare_slider(run):
    """Render, keep, change, render, keep: then A beside B, by the slider."""
    prepare(run)
    studio = run.viewer()
    fill_history(run, studio)
    a, b = stored(run, FIRST), stored(run, SECOND)
    studio.menu("Mode", "Compare")
    wait_for("the black of an empty comparison", lambda: studio.picture().mean() == 0)
    choose_picture(studio, BUTTON_A, FIRST)
    check(studio.picture().mean() == 0, "with B empty something is composed")
    choose_picture(studio, BUTTON_B, SECOND)
    check_composed(studio, "columns", a, b)
    keep_shot(run, "compare-columns")
    # Every position on the way is composed, and the ends show one picture only.
    drag_to(studio, 0)
    shows(studio, a, "A alone at the left end")
    x, y, width, height = handle(studio)["place"]
    studio.move(x + 5, y + height // 2)
    studio.display.tool("mousedown", 1)
    seen = set()
    for step in range(1, 9):
        studio.move(round(x + 5 + (width - 10) * step / 8), y + height // 2)
        check_composed(studio, "columns", a, b)
        seen.add(slider_value(studio))
    studio.display.tool("mouseup", 1)
    check(len(seen) == 8, f"the slider stood at {sorted(seen)}")
    drag_to(studio, 1)
    shows(studio, b, "B alone at the right end")
    studio.menu("History", "Swap A/B Images")
    shows(studio, a, "the other picture after the swap")
    studio.menu("History", "Swap A/B Images")
    shows(studio, b, "the first one again")
    studio.click(**{"class": "QAction", "text": "History", "menu": True})
    entry = studio.get(**{"class": "QAction", "text": "Add Image to History"})
    check(not entry["enabled"], "Add Image to History can be chosen in Compare mode")
    studio.key("Escape", "Escape")
    studio.menu("Mode", "Normal")
    wait_for("the render again", lambda: studio.settled().difference(b) < 2)
    studio.quit()


def compare_styles(run):
    """Both pictures are there when the viewer opens; the three styles, and the difference."""
    prepare(run, LM_HISTORY_AUTOLOAD=1, LM_MODE=1105)
    for name, camera in (("one", "Camera"), ("two", "Plan")):
        picture = run.folder / (name + ".png")
        for words in (["render", run.scene, "-o", picture, "--size", f"{WIDTH}x{HEIGHT}", "--samples", 4, "--camera", camera],
                      ["history", "add", picture]):
            subprocess.run([str(run.options.batch), *map(str, words), "--home", str(run.home)], check=True, capture_output=True,
                           timeout=120)
    a, b = stored(run, "one.png[001]"), stored(run, "two.png[001]")
    studio = run.start(run.scene, "--viewer")
    studio.click(name=BUTTON_A)  # the viewer starts switched off: this switches it on
    studio.get(name="popup")
    studio.key("Escape")
    check_composed(studio, "columns", a, b)
    for row, style in ((1, "rows"), (2, "blend"), (0, "columns")):
        choose_style(studio, row)
        check_composed(studio, style, a, b)
        drag_to(studio, 0.7)
        check_composed(studio, style, a, b)
        keep_shot(run, f"compare-{style}")
    studio.menu("History", "View Difference")
    studio.get(name="frameBuffer")
    size = studio.get(name="pictureSize")
    check(size["text"].replace(" ", "") == f"{WIDTH}x{HEIGHT}", f"the difference has {size['text']} pixels")
    wanted = bytes(abs(x - y) for x, y in zip(a.data, b.data))
    studio.click(name="pictureCanvas")
    studio.key("1")
    canvas = studio.get(name="pictureCanvas")
    x, y, width, height = canvas["place"]
    left, top = x + (width - WIDTH) // 2, y + (height - HEIGHT) // 2
    wait_for("the absolute difference in the Frame Buffer", lambda: any(
        studio.display.shot((left + dx, top + dy, WIDTH, HEIGHT)).data == wanted
        for dx in (0, 1, -1) for dy in (0, 1, -1)), 15, 0.2)
    keep_shot(run, "compare-difference")
    studio.display.to_front("Lumenara Studio")
    studio.quit()


def box_sentence(studio):
    box = studio.get(name="box")
    return studio.get(**{"in": box["name"], "name": "sentence"})["text"]


def compare_capture(run):
    """The capture post in the scene's render settings; Render View and the Frame Buffer's render reach the history."""
    prepare(run)

    def make_small(scene):
        own = (scene["scenes"][0].get("extras") or scene["extras"])["lumenara"]
        own["renderData"][own["activeRenderData"]]["container"] = [[5008, "long", 200], [5009, "long", 120], [7100, "long", 4]]
    run.rewrite(make_small)
    captured = history_folder(run).parent / "lastRender.tif"
    studio = run.viewer()
    set_auto(studio, False)
    studio.menu("Render", "Render View")
    wait_for("a render without the capture", lambda: not studio.busy())
    check(not captured.exists(), "a render was captured that nobody asked to be")

    studio.menu("Render", "Render Settings...")
    studio.standing(name="renderSettings")

    def last_page():
        """A key that comes before the window has the keyboard is lost."""
        if studio.find(name="addEffect"):
            return True
        studio.key("ctrl+Tab")
        return False
    wait_for("the last page", last_page, 20, 0.5)
    studio.click(name="addEffect")
    studio.click(**{"class": "QAction", "text": "lmPostData*"})
    wait_for("the effect in the list", lambda: [t for t in studio.things() if t["class"] == "row" and t["name"] == "effectList"
                                                and "lmPostData" in t["text"]])
    keep_shot(run, "capture-settings")
    studio.key("Escape")
    wait_for("the end of the settings", lambda: studio.find(name="renderSettings") is None)
    studio.click(name="gadget-1109")
    studio.settled()
    check(not captured.exists(), "the viewer's own render was captured")

    studio.menu("History", "Add Last Render")
    check(box_sentence(studio) == "Lumenara Error: No previous render found.", f"the box says {box_sentence(studio)}")
    keep_shot(run, "capture-none")
    studio.key("Return")
    wait_for("the end of the box", lambda: studio.find(name="box") is None)

    studio.menu("Render", "Render View")
    wait_for("the captured render of the view", captured.exists, 60)
    studio.menu("History", "Add Last Render")
    wait_for("the render in the history", lambda: names(run) == ["lastRender[001].tif"])
    check(not captured.exists(), "the captured render was copied, not moved")

    studio.menu("Render", "Render to Frame Buffer")
    wait_for("the captured render of the Frame Buffer", captured.exists, 60)
    wait_for("the whole file", lambda: decoded(captured, 200, 120).colours() > 20)
    studio.get(name="frameBuffer")
    studio.display.to_front("Lumenara Studio")
    studio.menu("History", "Add Last Render")
    wait_for("both renders", lambda: names(run) == ["lastRender[001].tif", "lastRender[002].tif"])

    # Clearing asks first and removes pictures only.
    (history_folder(run) / "notes.txt").write_text("mine", encoding="utf-8")
    for answer, left in ((1, 3), (0, 1)):
        studio.menu("History", "Clear History")
        sentence = box_sentence(studio)
        check(sentence == "Are you sure you want to delete all images in your history?", f"the question is {sentence}")
        keep_shot(run, "history-clear")
        studio.click(name=f"answer-{answer}")
        wait_for("the end of the question", lambda: studio.find(name="box") is None)
        wait_for(f"{left} files in the history", lambda: len(names(run)) == left)
    check(names(run) == ["notes.txt"], f"the history holds {names(run)}")

    studio.key("ctrl+s")
    wait_for("the saved scene", lambda: " *" not in studio.get(name="studio")["text"])
    saved = json.loads(run.scene.read_text(encoding="utf-8"))
    check("1021449" in json.dumps(saved), "the capture is not saved with the scene")
    check(studio.find(name="box") is None, "a box is open")
    studio.quit()


def console(studio):
    return studio.get(name="console-text")["text"]


def history_trouble(run):
    """An empty history; pictures that others delete or damage; a folder that is gone or cannot be made."""
    prepare(run)
    studio = run.viewer()
    studio.menu("Window", "Console")
    set_auto(studio, False)
    studio.menu("Mode", "Compare")
    entries = popup(studio, BUTTON_A)
    check(list(entries) == ["[ Empty ]", "Load Image..."], f"the empty history shows {list(entries)}")
    check(not entries["[ Empty ]"]["enabled"], "[ Empty ] can be chosen")
    keep_shot(run, "history-empty")
    studio.click(thing=entries["Load Image..."])
    chooser = studio.get(name="file-chooser")
    check(chooser["text"] == "Load Image", f"the file selector's title is {chooser['text']}")
    filters = [t["text"] for t in studio.things() if t["class"] == "QComboBox" and "*.png" in t["text"]]
    check(filters and all(f"*.{suffix} " in filters[0].replace(")", " ") for suffix in ("tif", "png", "jpg", "exr", "hdr", "psd", "bmp", "tga")),
          f"the file selector shows {filters}")
    keep_shot(run, "history-load")
    picture = run.folder / "own.png"
    subprocess.run(["convert", "-size", f"{WIDTH}x{HEIGHT}", "gradient:red-blue", "-depth", "8", "-type", "TrueColor",
                    str(picture)], check=True, timeout=60)
    studio.write(str(picture))
    studio.key("Return")
    wait_for("the end of the file selector", lambda: studio.find(name="file-chooser") is None)

    # The folder is missing: adding makes it again.
    studio.menu("Mode", "Normal")
    shown = studio.settled()
    shutil.rmtree(history_folder(run))
    add_image(run, studio)
    add_image(run, studio)
    check(stored(run, FIRST).data == shown.data, "another picture was added")
    studio.menu("Mode", "Compare")
    choose_picture(studio, BUTTON_B, FIRST)
    own, first = decoded(picture), stored(run, FIRST)
    check_composed(studio, "columns", own, first)

    # Other programs change the folder while the popup is open.
    for work in (lambda file: file.unlink(), lambda file: os.truncate(file, 200)):
        before = console(studio).count(INVALID)
        entries = popup(studio, BUTTON_A)
        file = history_folder(run) / (list(entries)[0] + ".tif")
        work(file)
        studio.click(thing=list(entries.values())[0])
        wait_for("the line on the console", lambda: console(studio).count(INVALID) == before + 1)
        check(studio.picture().data == composed("columns", own, first, slider_value(studio)), "the last composition is gone")
        check(studio.find(name="box") is None, "a box opened")
    keep_shot(run, "history-damaged")

    # A folder that cannot be written: one line on the console, and no leftovers.
    studio.menu("Mode", "Normal")
    shutil.rmtree(history_folder(run))
    history_folder(run).write_text("in the way", encoding="utf-8")
    studio.settled()
    studio.menu("History", "Add Image to History")
    wait_for("the line on the console", lambda: "history/scene.gltf[001].tif" in console(studio))
    check(console(studio).count("history/scene.gltf[001].tif") == 1, "the console says it more than once")
    studio.menu("Mode", "Compare")
    entries = popup(studio, BUTTON_B)
    check(list(entries) == ["[ Empty ]", "Load Image..."], f"without a folder the history shows {list(entries)}")
    studio.key("Escape")
    studio.quit()


if __name__ == "__main__":
    sys.exit(main((compare_slider, compare_styles, compare_capture, history_trouble)))
