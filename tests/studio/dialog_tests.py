#!/usr/bin/env python3
"""The plug-in's dialogs by the keyboard: Options, Optimizations, Render Animation, the title bar, and the Help menu.

  dialog_tests.py SCENARIO --studio PROGRAM --batch PROGRAM --source FOLDER [--output FOLDER]
"""
import json
import os
import subprocess
import sys

from scenario import REFRESH, check, main, set_auto
from studio_driver import wait_for

OPTIONS, ANIMATION = "modal-dialog-0-0", "modal-dialog-0-0"
OPTIMIZATIONS = "dialog-1021446-0"


def stored(run, key):
    """A setting as it is stored for the next program."""
    return subprocess.run([run.options.batch, "settings", "get", key, "--home", str(run.home)], check=True,
                          capture_output=True, text=True, timeout=60).stdout.rstrip("\n")


def expect_stored(run, **wanted):
    for key, value in wanted.items():
        wait_for(f"{key} {value} in the preferences", lambda key=key, value=value: stored(run, key) == value, 10, 0.2)


def popup(studio):
    """The entries of the open menu that can be chosen, in their order."""
    things = studio.things()
    menu = next((t for t in things if t["class"] == "QMenu" and t.get("window")), None)
    if not menu:
        return []
    x, y, width, height = menu["place"]
    inside = [t for t in things if t["class"] == "QAction" and t["enabled"] and x <= t["place"][0] < x + width
              and y <= t["place"][1] < y + height and t["place"][2] > 0]
    return sorted(inside, key=lambda t: t["place"][1])


def choose(studio, text):
    """Goes down the open menu with the arrow key and takes the entry."""
    entries = wait_for(f"a menu with {text}", lambda: (lambda e: e if any(t["text"] == text for t in e) else None)(popup(studio)))
    studio.key("Home", *["Down"] * [t["text"] for t in entries].index(text), "Return")


def into_viewer(studio):
    """The focus goes to the viewer's gadgets."""
    studio.key("alt+w")
    choose(studio, "Lumenara")
    wait_for("the focus in the viewer", lambda: not any(t.get("focus") and t["name"] in ("", "editor-view") for t in studio.things()))


def viewer_menu(studio, entry):
    """An entry of the viewer's Options menu."""
    into_viewer(studio)
    studio.key("F10")
    wait_for("the viewer's menu", lambda: popup(studio))
    choose(studio, entry)


def with_focus(studio):
    return next((t for t in studio.things() if t.get("focus")), None)


def gadget_of(thing):
    """The gadget that a thing is, or is a part of."""
    if not thing:
        return ""
    return thing["name"] if thing["name"].startswith("gadget-") else thing["in"]


def focused(studio):
    return gadget_of(with_focus(studio))


def tab_to(studio, gadget, most=60):
    """Presses Tab until this gadget has the focus. Returns the gadgets passed; a field and its slider are one."""
    passed = []
    for _ in range(most):
        at = with_focus(studio)
        if gadget_of(at) == f"gadget-{gadget}":
            return passed
        if passed[-1:] != [gadget_of(at)]:
            passed.append(gadget_of(at))
        studio.key("Tab")
        wait_for(f"Tab going on from {at and gadget_of(at)}", lambda at=at: (lambda now: now and (not at or now["place"] != at["place"]))(with_focus(studio)), 10)
    raise AssertionError(f"Tab does not lead to {gadget}, but to {passed}")


def box(studio, gadget, on):
    """Waits until a check box shows this."""
    wait_for(f"{gadget} {'on' if on else 'off'}", lambda: studio.get(name=f"gadget-{gadget}")["checked"] == on)


def gone(studio, name):
    wait_for(f"no {name} any more", lambda: studio.find(name=name) is None)


def asked(studio, question):
    """Waits for a question, and until its box has the keyboard, which the window manager gives it later."""
    wait_for("the question", lambda: studio.find(name="sentence", text=question))
    wait_for("the box's keyboard", lambda: "Yes" in ((with_focus(studio) or {}).get("text") or ""))


def recording(run):
    """An environment in which a request to open a file or an address is recorded."""
    folder = run.folder / "bin"
    folder.mkdir()
    record = run.folder / "opened.txt"
    opener = folder / "xdg-open"
    opener.write_text(f'#!/bin/sh\nprintf "%s\\n" "$1" >> "{record}"\n', encoding="utf-8")
    opener.chmod(0o755)
    opened = lambda: record.read_text(encoding="utf-8").splitlines() if record.exists() else []
    return {"PATH": f"{folder}:{os.environ['PATH']}", "BROWSER": str(opener)}, opened


def options_by_keys(run):
    studio = run.viewer()
    viewer_menu(studio, "Options...")
    studio.get(name=OPTIONS)
    wait_for("the focus in the first gadget", lambda: focused(studio) == "gadget-20004")
    check(not studio.get(name="gadget-20065")["enabled"], "waiting can be chosen without automatic refresh")
    studio.key("alt+a")
    box(studio, 20004, True)
    check(studio.get(name="gadget-20065")["enabled"], "waiting cannot be chosen")
    studio.key("alt+w")
    box(studio, 20065, False)
    # Down the left column, through what is now enabled.
    passed = tab_to(studio, 20005)
    studio.write("700/2")
    passed += tab_to(studio, 20027)
    check([p for p in passed if p] == [f"gadget-{i}" for i in (20065, 20005, 20064, 20049, 20053)], f"Tab went over {passed}")
    studio.key("Down")
    wait_for("the custom size", lambda: studio.get(name="gadget-20028")["enabled"])
    tab_to(studio, 20028)
    studio.write("99999")
    tab_to(studio, 20029)
    check(studio.text("gadget-20028") == "16000", "a width above its range")
    studio.write("200")
    tab_to(studio, 20040)
    studio.write("25")
    tab_to(studio, 20033)
    check(studio.text("gadget-20040") == "20 %", "a zoom step above its range")
    tab_to(studio, 20011)
    studio.key("alt+1")
    box(studio, 20017, True)
    tab_to(studio, 20018)
    studio.write("Draft")
    studio.key("alt+i")
    box(studio, 20021, True)
    tab_to(studio, 20023)
    studio.key("Return")
    chooser = studio.get(**{"class": "QFileDialog"})
    check(chooser["text"] == "Load Image", f"the chooser's title: {chooser['text']}")
    wrong = run.folder / "notes.txt"
    wrong.write_text("no picture", encoding="utf-8")
    studio.write(str(wrong))
    studio.key("Return")
    wait_for("the complaint", lambda: studio.find(name="sentence", text="Error: Invalid Image"))
    studio.key("Return")
    gone(studio, "box")
    check(studio.text("gadget-20022") == "", "a file that is no picture was taken")
    studio.key("Escape")
    gone(studio, OPTIONS)
    expect_stored(run, LM_AUTO_REFRESH="1", LM_REFRESH_WAIT="0", LM_REFRESH_DELAY="350", LM_VIEW_SIZE="1",
                  LM_MIN_WIDTH="16000", LM_MIN_HEIGHT="200", LM_ZOOM_STEP="0.2", LM_STAMP_CUSTOM1="1",
                  LM_STAMP_TEXT1="Draft", LM_STAMP_IMAGE="1")
    # Opened again, the stamp's unusable picture is forgotten; Enter is OK.
    viewer_menu(studio, "Options...")
    studio.get(name=OPTIONS)
    check(not studio.get(name="gadget-20021")["checked"], "an image stamp without an image")
    check(studio.text("gadget-20018") == "Draft", "the text is gone")
    combo = "gadget-20027"
    tab_to(studio, 20027)
    studio.key("Up")
    wait_for("the size of the window", lambda: studio.text(combo) == "Fit the window")
    tab_to(studio, 1)
    studio.key("Return")
    gone(studio, OPTIONS)
    check(studio.get(name="gadget-1110")["checked"], "the viewer's box does not show automatic refresh")
    expect_stored(run, LM_VIEW_SIZE="0", LM_STAMP_IMAGE="0")
    studio.quit()


def optimizations_by_keys(run):
    """Each change of the live dialog reaches the viewer, which renders again."""
    run.set("LM_VIEW_SIZE", 2)
    studio = run.viewer()
    set_auto(studio, True)
    full = studio.settled()
    studio.key("alt+p")
    choose(studio, "Lumenara Optimizations")
    studio.get(name=OPTIMIZATIONS)
    studio.key("alt+w")
    choose(studio, "Optimizations")
    wait_for("the focus in the dialog", lambda: focused(studio) == "gadget-15057")
    tab_to(studio, 15040)
    before = studio.settled()
    studio.write("8")
    studio.key("Return")
    coarse = studio.changed_from(before, 0.2)
    expect_stored(run, LM_OPT_RES_DIVISOR="8")
    coarse = studio.settled()
    studio.write("25")
    studio.key("Return")
    expect_stored(run, LM_OPT_RES_DIVISOR="20")
    check(studio.text("gadget-15040") == "20", "the divisor goes beyond its range")
    studio.write("1")
    studio.key("Return")
    studio.changed_from(coarse, 0.2)
    sharp = studio.settled()
    check(sharp.difference(before) < 2, "back at full resolution it is another picture")
    tab_to(studio, 15043)
    studio.write("37")
    studio.key("Return")
    expect_stored(run, LM_OPT_LOD="0.37")
    sharp = studio.settled()
    # A material channel, by Tab and Space.
    tab_to(studio, 15026)
    studio.key("space")
    box(studio, 15026, False)
    studio.changed_from(sharp, 0.5)
    expect_stored(run, LM_OPT_MAT_15026="0")
    studio.key("space")
    box(studio, 15026, True)
    check(not studio.get(name="gadget-15050")["enabled"], "grey can be chosen without stereo")
    studio.key("alt+s")
    box(studio, 15048, True)
    check(all(studio.get(name=f"gadget-{i}")["enabled"] for i in (15060, 15055, 15053, 15050, 15052)), "stereo enables nothing")
    studio.key("alt+n")
    box(studio, 15060, True)
    check(not studio.get(name="gadget-15055")["enabled"] and studio.get(name="gadget-15052")["enabled"],
          "named cameras do not take the separation away")
    expect_stored(run, LM_STEREO="1", LM_STEREO_NAMED_CAMERAS="1")
    studio.key("alt+s")
    box(studio, 15048, False)
    check(not studio.get(name="gadget-15060")["enabled"], "named cameras without stereo")
    check(full.difference(studio.settled()) < 255, "the viewer has another size")
    studio.key("ctrl+w")
    gone(studio, OPTIMIZATIONS)
    studio.quit()
    expect_stored(run, LM_OPT_LOD="0.37", LM_STEREO="0", LM_STEREO_NAMED_CAMERAS="1", LM_OPT_RES_DIVISOR="1")


def animation_by_keys(run):
    """Three frames as pictures; then a long animation that another request asks to cancel."""
    run.set("LM_VIEW_SIZE", 2)
    shown = json.loads(run.scene.read_text(encoding="utf-8"))
    check("animations" in shown, "the small scene does not move")
    studio = run.viewer()
    set_auto(studio, False)
    viewer_menu(studio, "Render Animation...")
    studio.get(name=ANIMATION)
    wait_for("the focus in the file name", lambda: focused(studio) == "gadget-14001")
    check(not studio.get(name="gadget-14010")["enabled"], "a stored format of 0 has options")
    studio.write(str(run.folder / "shot"))
    tab_to(studio, 14004)
    studio.write("1")
    tab_to(studio, 14005)
    studio.write("5")
    tab_to(studio, 14006)
    studio.write("2")
    tab_to(studio, 14007)
    studio.key("Home")
    wait_for("the suffix", lambda: studio.text("gadget-14001") == str(run.folder / "shot.bmp"))
    check(not studio.get(name="gadget-14010")["enabled"], "BMP has options")
    studio.key("Down", "Down")
    wait_for("the suffix", lambda: studio.text("gadget-14001") == str(run.folder / "shot.jpg"))
    tab_to(studio, 14010)
    studio.key("Return")
    wait_for("the options of JPEG", lambda: focused(studio) == "gadget-14011")
    studio.write("40")
    studio.key("Return", "Return")
    wait_for("the end of the options", lambda: studio.find(text="JPEG Settings", window=True) is None)
    tab_to(studio, 14008)
    studio.key("space")
    box(studio, 14008, True)
    studio.key("Return")
    gone(studio, ANIMATION)
    frames = [run.folder / f"shot000{n}.jpg" for n in (1, 3, 5)]
    wait_for("three frames", lambda: all(f.exists() for f in frames) and not studio.busy(), 90, 0.2)
    check(sorted(run.folder.glob("shot*.jpg")) == frames, "other frames than those of the step")
    expect_stored(run, LM_ANIM_REMEMBER="1", LM_ANIM_FROM="1", LM_ANIM_TO="5", LM_ANIM_STEP="2", LM_ANIM_FORMAT="8",
                  LM_ANIM_JPEG_QUALITY="40", LM_ANIM_FILE=str(run.folder / "shot.jpg"))

    viewer_menu(studio, "Render Animation...")
    studio.get(name=ANIMATION)
    check(studio.text("gadget-14001") == str(run.folder / "shot.jpg"), "the settings were not remembered")
    studio.key("ctrl+a")
    studio.write(str(run.folder / "long"))
    tab_to(studio, 14005)
    studio.write("5000")
    studio.key("Return", "Return")
    gone(studio, ANIMATION)
    first = run.folder / "long0001.jpg"
    wait_for("the first frame", first.exists, 60, 0.1)
    into_viewer(studio)
    tab_to(studio, 1109)
    studio.key("space")
    question = "Are you sure you want to cancel the animation?"
    asked(studio, question)
    studio.key("Escape")
    gone(studio, "box")
    count = len(list(run.folder.glob("long*.jpg")))
    wait_for("more frames after a no", lambda: len(list(run.folder.glob("long*.jpg"))) > count + 1, 60, 0.1)
    studio.key("space")
    asked(studio, question)
    studio.key("Return")
    gone(studio, "box")
    wait_for("the end", lambda: not studio.busy(), 20)
    check(first.exists(), "a cancelled animation loses its frames")
    left = len(list(run.folder.glob("long*.jpg")))
    check(left < 2500, "the animation was not cancelled")
    studio.quit()


def help_and_title_bar(run):
    environment, opened = recording(run)
    manual = (run.options.source / "docs" / "lm_manual.pdf").resolve()
    studio = run.viewer(environment=environment)

    def expect_opened(count, what):
        wait_for(what, lambda: len(opened()) == count, 10)
        return opened()[-1]

    def is_manual(text):
        path = text.removeprefix("file://")
        return path.endswith("lm_manual.pdf") and os.path.samefile(path, manual)
    studio.key("alt+h")
    choose(studio, "Manual")
    check(is_manual(expect_opened(1, "the manual from the Help menu")), f"opened instead: {opened()}")
    studio.key("F1")
    check(is_manual(expect_opened(2, "the manual by F1")), f"opened instead: {opened()}")
    studio.key("alt+h")
    choose(studio, "About Lumenara Studio")
    about = wait_for("the about box", lambda: next((t for t in studio.things() if t.get("window") and "About" in t["class"]), None))
    studio.key("Escape")
    wait_for("no about box", lambda: not any(t.get("window") and t["class"] == about["class"] for t in studio.things()))

    viewer_menu(studio, "Options...")
    studio.get(name=OPTIONS)
    bar = studio.get(name="gadget-20001")
    x, y, width, height = bar["place"]
    check(height == 24, f"the title bar is {height} high")
    places = {"name": (x + 40, y + 12), "home": (x + width - 62, y + 12), "help": (x + width - 24, y + 12)}
    studio.move(x + width // 2, y + 200)
    plain = wait_for("a title bar without a highlight", lambda: studio.shot(bar))
    for name, place in places.items():
        studio.move(*place)
        lit = wait_for(f"a highlight of {name}", lambda: (lambda now: now if now.difference(plain) > 0.05 else None)(studio.shot(bar)))
        studio.move(x + width // 2, y + 12)
        wait_for(f"the end of the highlight of {name}", lambda: studio.shot(bar).difference(plain) == 0)
        studio.move(*place)
        wait_for(f"the highlight of {name} again", lambda lit=lit: studio.shot(bar).difference(lit) == 0)
        studio.move(x + width // 2, y + 200)  # leaves it across its edge
        wait_for(f"no highlight after leaving {name}", lambda: studio.shot(bar).difference(plain) == 0)
    studio.click(at=places["help"])
    check(is_manual(expect_opened(3, "the manual from the title bar")), f"opened instead: {opened()}")
    studio.click(at=places["home"])
    page = expect_opened(4, "the product's page").removeprefix("file://")
    check(os.path.samefile(page, run.options.source / "docs" / "lumenara.html"), f"opened instead: {opened()}")
    studio.click(at=places["name"])
    version = wait_for("the version", lambda: studio.find(name="sentence"))
    check(version["text"].startswith("Lumenara v"), version["text"])
    studio.key("Escape")
    gone(studio, "box")
    studio.key("Escape")
    gone(studio, OPTIONS)
    check(len(opened()) == 4, f"opened as well: {opened()}")
    check(studio.get(name=REFRESH)["enabled"], "the viewer cannot be used")
    studio.quit()


if __name__ == "__main__":
    sys.exit(main((options_by_keys, optimizations_by_keys, animation_by_keys, help_and_title_bar)))
