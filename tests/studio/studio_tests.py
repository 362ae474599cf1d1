#!/usr/bin/env python3
"""The viewer and the main window: rendering, refreshing, cameras, files, layout, themes.

  studio_tests.py SCENARIO --studio PROGRAM --batch PROGRAM --source FOLDER [--output FOLDER]
"""
import os
import re
import shutil
import subprocess
import sys
import time

from scenario import (AUTO, CAMERA, DIALOG, REFRESH, check, editor, first_mesh, main, move_object, orbit, select,
                      set_auto)
from studio_driver import wait_for


def command_line(run):
    """Texts and exit codes without a display."""
    bare = {k: v for k, v in os.environ.items() if k not in ("DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM")}

    def call(*arguments, **more):
        return subprocess.run([run.options.studio, *arguments], env={**bare, **more}, capture_output=True, text=True,
                              timeout=60, stdin=subprocess.DEVNULL, check=False)
    usage = call("--help")
    check(usage.returncode == 0 and "--viewer" in usage.stdout and "SCENE" in usage.stdout, "--help")
    version = call("--version")
    other = subprocess.run([run.options.batch, "--version"], capture_output=True, text=True, timeout=60, check=True)
    check(version.returncode == 0 and re.fullmatch(r"lumenara-studio \d+\.\d+\.\d+\n", version.stdout), "--version")
    check(version.stdout.split()[1] == other.stdout.split()[1], f"two versions: {version.stdout} {other.stdout}")
    unknown = call("--no-such-option")
    check(unknown.returncode == 2 and "--no-such-option" in unknown.stderr, "an unknown option")
    alone = call(str(run.scene), "--viewer")
    check(alone.returncode == 1 and "display" in alone.stderr, f"no display: {alone.returncode} {alone.stderr}")
    check(len(alone.stderr.strip().splitlines()) == 1, f"no display: more than a sentence: {alone.stderr}")
    wrong = call(str(run.scene), DISPLAY=":65432")
    check(wrong.returncode == 1 and "display" in wrong.stderr, f"a wrong display: {wrong.returncode} {wrong.stderr}")


def viewer(run):
    """--viewer opens the dialog and renders a picture, although the viewer starts switched off."""
    studio = run.viewer()
    check(studio.get(name="studio")["text"].startswith("scene.gltf"), "the window's title")
    for gadget in (REFRESH, AUTO, CAMERA):
        check(studio.get(name=gadget)["enabled"], f"{gadget} cannot be used")
    picture = studio.picture()
    check(picture.colours() > 40, "the picture has hardly any colours")
    studio.quit()
    again = run.start()
    check(again.get(name=DIALOG, seconds=30), "the open dialog came back")
    again.quit()


def refresh(run):
    studio = run.viewer()
    set_auto(studio, False)
    before = studio.settled()
    orbit(studio)
    end = time.monotonic() + 1.5
    while time.monotonic() < end:
        check(studio.picture().difference(before) == 0, "a picture came without being asked for")
        time.sleep(0.1)
    studio.click(name=REFRESH)
    studio.changed_from(before)
    after = studio.settled()
    check(after.difference(before) > 0.3, "Refresh shows the old view")
    # The menu's command does the same.
    orbit(studio, -200)
    studio.menu("Plugins", "Lumenara Refresh")
    studio.changed_from(after)
    studio.settled()
    studio.quit()


def cancel(run):
    shutil.copy(run.options.source / "scenes" / "demo.glb", run.folder / "demo.glb")
    run.scene = run.folder / "demo.glb"
    studio = run.start(run.scene, "--viewer")
    studio.get(name=DIALOG, seconds=30)
    for stop in (lambda: studio.click(name="status-stop"),
                 lambda: studio.menu("Plugins", "Lumenara Cancel")):
        studio.click(name=REFRESH)
        wait_for("the bar of a render", studio.busy, 30)
        stop()
        started = time.monotonic()
        wait_for("the end of a cancelled render", lambda: not studio.busy(), 5)
        check(time.monotonic() - started < 5, "cancelling took long")
        at = studio.picture()
        time.sleep(0.5)
        check(studio.picture().difference(at) < 0.5, "the render went on")
    studio.quit()


def switch(run):
    """The viewer is switched off and on again."""
    studio = run.viewer()
    set_auto(studio, True)
    rendered = studio.settled()
    studio.menu("Options", "Enabled")
    off = wait_for("the splash", lambda: (lambda p: p if p.difference(rendered) > 2 else None)(studio.picture()))
    orbit(studio)
    end = time.monotonic() + 1
    while time.monotonic() < end:
        check(not studio.busy(), "a viewer that is switched off renders")
        time.sleep(0.1)
    check(studio.picture().difference(off) == 0, "a viewer that is switched off changed its picture")
    studio.menu("Options", "Enabled")
    studio.changed_from(off, 1)
    on = studio.settled()
    check(on.colours() > 40 and on.difference(off) > 2, "switched on again it does not show the scene")
    check(on.difference(rendered) > 0.3, "switched on again it shows the scene from where it was seen before")
    studio.quit()


def resize(run):
    studio = run.viewer()
    set_auto(studio, True)
    small = studio.viewer()["place"]
    window = studio.display.window("Lumenara Studio")
    for width, height in ((1560, 960), (1200, 700)):
        studio.display.tool("windowsize", "--sync", window, width, height)
        wait_for("the window's new size", lambda: studio.get(name="studio")["place"][2:] == [width, height], 20)
        picture = studio.settled()
        edge = [picture.pixel(picture.width - 3, y) for y in range(4, picture.height - 4, 7)]
        check(any(pixel != (0, 0, 0) for pixel in edge), f"at {width} x {height} the picture does not reach its edge")
    check(studio.viewer()["place"][2:] != small[2:], "the picture has the size that it had")
    x, y, w, h = studio.get(name=DIALOG)["place"]
    area = studio.viewer()["place"]
    check(area[0] >= x and area[0] + area[2] <= x + w, "the picture is wider than its dialog")
    studio.quit()


def camera(run):
    studio = run.viewer()
    set_auto(studio, True)
    before = studio.settled()
    studio.click(name=CAMERA)
    entries = wait_for("the list of cameras", lambda: [
        t for t in studio.things() if t["class"] == "QAction" and t["enabled"] and not t["menu"]
        and not t["name"] and t["text"] not in ("", "Default Camera")])
    studio.click(thing=entries[-1])
    studio.changed_from(before)
    seen = studio.settled()
    studio.click(name=CAMERA)
    studio.click(**{"class": "QAction", "text": "Default Camera"})
    studio.changed_from(seen)
    check(studio.settled().difference(before) < 2, "the default camera shows something else than before")
    studio.quit()


def move(run):
    """An object is moved; with automatic refresh on a new picture comes by itself, and undo brings the old one."""
    studio = run.viewer()
    set_auto(studio, True)
    before = studio.settled()
    select(studio, first_mesh(studio))
    move_object(studio, "0.8")
    studio.changed_from(before)
    moved = studio.settled()
    check(studio.get(name="studio")["text"].startswith("scene.gltf *"), "the title tells of no change")
    studio.click(at=(studio.get(name="editor-view")["place"][0] + 20, studio.get(name="editor-view")["place"][1] + 20))
    studio.key("ctrl+z")
    wait_for("the end of the change", lambda: " *" not in studio.get(name="studio")["text"])
    studio.changed_from(moved)
    check(studio.settled().difference(before) < 2, "undo does not bring the picture back")
    studio.quit()


def rendered_part(picture):
    """The share of the viewer's progress bar that is filled, 0 to 1; None without a bar."""
    y = picture.height - 6
    x = 2
    while x < picture.width and picture.pixel(x, y) == (140, 147, 157):
        x += 1
    return x / picture.width if x > 6 else None


def pacing_wait(run):
    """A running render finishes; changes made meanwhile wait and share the next render."""
    run.set("LM_REFRESH_WAIT", 1)
    run.set("LM_AUTO_REFRESH", 1)
    run.set("LM_PROGRESS_BAR", 1)
    run.set("LM_VIEW_SIZE", 1)  # a size of its own: large enough for changes in the middle of a render
    run.set("LM_MIN_WIDTH", 240)
    run.set("LM_MIN_HEIGHT", 180)
    shutil.copy(run.options.source / "scenes" / "demo.glb", run.folder / "demo.glb")
    run.scene = run.folder / "demo.glb"
    studio = run.start(run.scene, "--viewer")
    studio.get(name=DIALOG, seconds=30)
    wait_for("the bar of the first render", lambda: rendered_part(studio.picture()), 120, 0.1)
    for by in (60, 60, 60):  # changes in the middle of it
        orbit(studio, by)
    check(rendered_part(studio.picture()), "the first render is over too soon for this test")
    renders, last, quiet = [0.0], 0.0, 0
    end = time.monotonic() + 400
    while quiet < 12 and time.monotonic() < end:
        part = rendered_part(studio.picture())
        quiet = quiet + 1 if part is None and not studio.busy() else 0
        if part is not None:
            if part < last - 0.1:
                renders.append(0.0)
            last = renders[-1] = max(renders[-1], part)
        time.sleep(0.05)
    check(quiet >= 12, "the renders did not end")
    check(len(renders) == 2, f"{len(renders)} renders were made, reaching {renders}; there should be two")
    check(renders[0] > 0.8, f"the first render was given up at {renders[0]:.0%}")
    studio.quit()


def pacing_delay(run):
    """A change within the delay after a refresh is held, then shown."""
    delay = 16
    run.set("LM_REFRESH_WAIT", 0)
    run.set("LM_REFRESH_DELAY", 5000)
    run.stretch("LM_REFRESH_DELAY", 5000, delay * 1000)
    run.set("LM_AUTO_REFRESH", 1)
    studio = run.viewer()
    select(studio, first_mesh(studio))
    # The delay after the viewer's own first refresh passes first.
    time.sleep(delay)
    before = studio.settled()
    move_object(studio, "0.5")
    studio.changed_from(before)
    shown = time.monotonic()  # the delay began a little earlier
    first = studio.settled(delay)
    finished = time.monotonic() - shown
    move_object(studio, "-0.8")
    typed = time.monotonic() - shown
    check(typed < delay - 4, f"this machine is too slow to type within the delay: the first picture took {finished:.1f} s, "
          f"typing {typed - finished:.1f} s")
    while time.monotonic() - shown < delay - 3:
        check(studio.picture().difference(first) == 0, "the second change was not held")
        time.sleep(0.1)
    studio.changed_from(first, 0.3, 60)
    check(studio.settled().difference(first) > 0.3, "the held change was lost")
    studio.quit()


def reload(run):
    """Another program rewrites the open file: it is reloaded and rendered."""
    studio = run.viewer()
    set_auto(studio, True)
    before = studio.settled()
    count = studio.text("status-triangles")

    def shift(scene):
        for node in scene["nodes"]:
            if "mesh" in node:
                at = node.get("translation", [0, 0, 0])
                node["translation"] = [at[0] + 0.7, at[1], at[2]]
    run.rewrite(shift)
    studio.changed_from(before)
    after = studio.settled()
    check(after.difference(before) > 0.3, "the rewritten file is not shown")
    check(studio.text("status-triangles") == count, "the triangles changed")
    check(" *" not in studio.get(name="studio")["text"], "a reload counts as a change")
    # A file that is broken for a moment does no harm.
    whole = run.scene.read_text(encoding="utf-8")
    run.scene.write_text(whole[: len(whole) // 2], encoding="utf-8")
    time.sleep(0.3)
    run.scene.write_text(whole, encoding="utf-8")
    time.sleep(2)
    check(studio.find(name="box") is None, "a file in the middle of a write opened a box")
    check(studio.settled().difference(after) < 2, "the scene was lost")
    studio.quit()


def drop_open(run):
    """File > Open through the box, a broken file, and the start page."""
    studio = run.start()
    check(studio.get(name="start-page"), "no start page")
    studio.click(name="start-demo")
    wait_for("the demo scene", lambda: studio.get(name="studio")["text"].startswith("demo.glb"), 60)
    check(studio.find(name="start-page") is None, "the start page stays")
    studio.quit()
    broken = run.folder / "broken.gltf"
    broken.write_text("{ this is no scene", encoding="utf-8")
    studio = run.start(broken)
    studio.get(name="box", seconds=30)
    studio.key("Escape")
    wait_for("the closed box", lambda: studio.find(name="box") is None)
    check(studio.get(name="start-page"), "Studio did not stay open with an empty scene")
    studio.quit()


def loading(run):
    """A long load shows a box with a bar and can be cancelled."""
    large, side = run.folder / "large.obj", 700
    with open(large, "w", encoding="utf-8") as file:
        for i in range(side):
            file.writelines(f"v {i * 0.01:.2f} {(i * j) % 7 * 0.001:.3f} {j * 0.01:.2f}\n" for j in range(side))
        for i in range(side - 1):
            corners = (i * side + j + 1 for j in range(side - 1))
            file.writelines(f"f {a} {a + 1} {a + side + 1} {a + side}\n" for a in corners)
    studio = run.start(large)
    studio.get(name="loading")
    studio.click(**{"in": "loading", "class": "QPushButton"})
    wait_for("the end of the box", lambda: studio.find(name="loading") is None)
    check(studio.get(name="studio")["text"].startswith("Untitled"), "a cancelled scene was opened")
    check(studio.find(name="box") is None, "a cancelled load counts as an error")
    studio.quit()


def settings_survive(run):
    """Killed right after a finished command, the program has lost nothing."""
    on = None
    for _ in range(run.options.kills):
        studio = run.start("--viewer")
        box = studio.get(name=AUTO, seconds=30)
        check(on is None or box["checked"] == on, "a stored setting was lost")
        on = not box["checked"]
        studio.click(thing=box)
        wait_for("the check box", lambda: studio.get(name=AUTO)["checked"] == on)
        studio.kill()
        left = [name for name in os.listdir(run.home) if name.endswith((".tmp", ".damaged"))]
        check(not [name for name in left if name.endswith(".damaged")], f"damaged preferences: {left}")
        studio.close()
    studio = run.start("--viewer")
    check(studio.get(name=AUTO, seconds=30)["checked"] == on, "a stored setting was lost")
    studio.quit()


def layout(run):
    """Docks and windows come back as they were left."""
    studio = run.start(run.scene)
    check(studio.find(name="dock-console") is None, "the console shows at first")
    studio.menu("Window", "Console")
    studio.get(name="dock-console")
    studio.menu("Plugins", "Lumenara")
    studio.get(name=DIALOG)
    studio.quit()
    studio = run.start(run.scene)
    check(studio.get(name="dock-console"), "the console is gone")
    check(studio.get(name=DIALOG), "the viewer is gone")
    studio.menu("Window", "Reset Layout")
    wait_for("the default layout", lambda: studio.find(name="dock-console") is None)
    x, y = studio.middle(editor(studio))
    studio.click(at=(x, y))
    studio.key("F11")
    wait_for("the picture alone", lambda: studio.find(name="dock-objects") is None)
    check(editor(studio)["place"][2] == studio.display.width, "the picture does not fill the screen")
    studio.key("Escape")
    studio.get(name="dock-objects")
    # With the focus in the viewer, the viewer's picture is saved.
    studio.menu("Plugins", "Lumenara")
    studio.click(thing=studio.viewer())
    studio.key("F11")
    full = studio.get(name="full-picture")
    wait_for("the viewer's picture on the whole screen", lambda: studio.get(name="full-picture")["place"][2:] ==
             [studio.display.width, studio.display.height])
    wait_for("a picture there", lambda: studio.shot(full).colours() > 20)
    studio.key("Escape")
    wait_for("the window again", lambda: studio.find(name="full-picture") is None)
    studio.get(name="dock-objects")
    studio.quit()


def box_select(run):
    """A box drawn with the select tool selects what is in it; Shift adds."""
    studio = run.start(run.scene)
    studio.get(name="objectTree")

    def chosen():
        return sorted(t["text"] for t in studio.things() if t["class"] == "row" and t["name"] == "objectTree"
                      and t["selected"])
    x, y, w, h = editor(studio)["place"]
    studio.click(at=(x + 4, y + 4))
    studio.key("h")
    wait_for("nothing selected", lambda: chosen() == [])
    studio.drag((x + 3, y + 3), (x + w - 4, y + h // 2))
    upper = wait_for("a selection", chosen)
    studio.move(x + 3, y + h - 4)
    studio.display.tool("keydown", "shift")
    studio.drag((x + 3, y + h - 4), (x + w - 4, y + h // 2 - 2))
    studio.display.tool("keyup", "shift")
    both = wait_for("more of them", lambda: (lambda now: now if len(now) > len(upper) else None)(chosen()))
    check(set(upper) < set(both), f"Shift gave up {upper}: {both}")
    studio.drag((x + 3, y + 3), (x + 20, y + 20))
    wait_for("nothing selected", lambda: chosen() == [])
    check(" *" not in studio.get(name="studio")["text"], "a selection counts as a change")
    studio.quit()


def save_picture(run):
    """The Frame Buffer saves in the background and says so."""
    studio = run.viewer()
    studio.menu("Options", "Save to Picture Viewer")
    wait_for("the frame buffer", lambda: studio.find(name="frameBuffer"))
    studio.key("ctrl+s")
    target = run.folder / "shown.png"
    studio.get(**{"class": "QFileDialog"})
    studio.key("ctrl+a")
    studio.write(str(target))
    studio.key("Return")
    wait_for("the file", target.exists)
    studio.get(name="renderProgress", text="Saved shown.png")
    run.options.output.mkdir(parents=True, exist_ok=True)
    run.display.save(run.options.output / "save-picture.png")
    studio.click(thing=studio.viewer())  # the main window gets the keys again
    studio.quit()


def themes(run):
    """Both themes, with screenshots in the output folder."""
    run.options.output.mkdir(parents=True, exist_ok=True)
    brightness = {}
    for theme in ("dark", "light"):
        studio = run.viewer(theme=theme)
        set_auto(studio, False)
        studio.settled()
        run.display.save(run.options.output / f"theme-{theme}.png")
        brightness[theme] = studio.shot(studio.get(name="dock-attributes")).mean()
        studio.quit()
    check(brightness["light"] > brightness["dark"] + 60, f"the themes look alike: {brightness}")


if __name__ == "__main__":
    sys.exit(main((command_line, viewer, refresh, cancel, switch, resize, camera, move, pacing_wait, pacing_delay, reload,
                   drop_open, loading, settings_survive, layout, box_select, save_picture, themes)))
