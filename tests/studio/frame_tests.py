#!/usr/bin/env python3
"""The Frame Buffer's canvas: layers, values of pixels, picking, exposure and channels.

  frame_tests.py SCENARIO --studio PROGRAM --batch PROGRAM --source FOLDER [--output FOLDER]
"""
import sys

from scenario import check, main, set_auto
from studio_driver import Display, wait_for

# The setting that asks for layers: albedo, normal, depth, object, material.
LAYERS, BITS = 7104, 0b11111


def keep_shot(run, name):
    run.options.output.mkdir(parents=True, exist_ok=True)
    run.display.save(run.options.output / f"{name}.png")


def open_frame(run):
    """Studio with the viewer's picture finished, and the Frame Buffer's window at the viewer's film."""
    def change(scene):
        own = (scene["scenes"][0].get("extras") or scene["extras"])["lumenara"]
        own["renderData"][own["activeRenderData"]]["container"] = [[LAYERS, "long", BITS], [7100, "long", 4]]
    run.rewrite(change)
    studio = run.viewer()
    set_auto(studio, False)
    studio.menu("Window", "Frame Buffer")
    studio.standing(name="frameBuffer")
    studio.click(name="pictureSize")  # the keys go to this window
    wait_for("the film of the viewer", lambda: canvas(studio).colours() > 40)
    return studio


def canvas(studio):
    return studio.shot(studio.get(name="pictureCanvas"))


def other_than(studio, before, what):
    return wait_for(what, lambda: (lambda now: now if now.difference(before) > 0.5 else None)(canvas(studio)), 20, 0.1)


def like(studio, before, what):
    return wait_for(what, lambda: canvas(studio).difference(before) < 0.1, 20, 0.1)


def rows(studio, name):
    return [thing for thing in studio.things() if thing["class"] == "row" and thing["name"] == name]


def ball(studio):
    """The middle of the orange ball at the right, on screen."""
    thing = studio.standing(name="pictureCanvas")
    picture = studio.shot(thing)
    spots = []
    for y in range(0, picture.height, 3):
        for x in range(picture.width * 6 // 10, picture.width, 3):
            red, _, blue = picture.pixel(x, y)
            if red > blue + 60:
                spots.append((x, y))
    check(len(spots) > 20, "no ball in the picture")
    return tuple(thing["place"][i] + sum(spot[i] for spot in spots) // len(spots) for i in (0, 1))


def layer(run):
    """Another layer of the film shows its own pixels; the first one comes back."""
    studio = open_frame(run)
    plain = canvas(studio)
    studio.key("Right")
    wait_for("another layer", lambda: studio.text("layerChoice") != "Picture")
    seen = other_than(studio, plain, "the pixels of another layer")
    studio.click(name="layerChoice")
    wanted = next(row for row in rows(studio, "layerList") if row["text"].strip() == "Depth")
    studio.click(thing=wanted)
    wait_for("the chosen layer", lambda: "Depth" in studio.text("layerChoice"))
    depth = other_than(studio, seen, "the pixels of the depth")
    x, y = depth.width // 2, depth.height // 2
    check(len(set(depth.pixel(x, y))) == 1, f"a depth is grey, not {depth.pixel(x, y)}")
    keep_shot(run, "frame-depth")
    studio.click(name="layerChoice")
    studio.click(thing=next(row for row in rows(studio, "layerList") if row["text"].strip() == "Picture"))
    like(studio, plain, "the picture again")
    studio.quit()


def probe(run):
    """The panel shows every layer of the pixel under the pointer; clicks select its object and its material."""
    studio = open_frame(run)
    studio.key("p")
    studio.get(name="probeTree")
    x, y = ball(studio)
    studio.move(x - 3, y)
    studio.move(x, y)
    wait_for("the pixel's place", lambda: studio.text("probePlace").startswith("x "))
    names = [row["text"].strip() for row in rows(studio, "probeTree")]
    for wanted in ("Picture", "Albedo", "Normal", "Depth", "Object", "Material"):
        check(any(name.startswith(wanted) for name in names), f"no value of {wanted}: {names}")
    keep_shot(run, "frame-probe")
    at_first = studio.text("probePlace")
    studio.move(x + 40, y + 30)
    wait_for("another pixel", lambda: studio.text("probePlace") not in (at_first, ""))
    for key, kind, name, at in ((None, "object", "Cage", (x, y)), ("alt", "material", "", (x + 10, y))):  # no double click
        studio.drag(at, at, key=key, steps=1)
        said = f'Selected the {kind} "{name}'
        wait_for(said, lambda: (studio.find(name="renderProgress") or {"text": ""})["text"].startswith(said), 10)  # noqa: B023
    wait_for("the chosen object", lambda: any(row["text"] == "Cage" and row["selected"] for row in rows(studio, "objectTree")))
    studio.quit()


def light_of(code):
    value = code / 255
    return value / 12.92 if value <= 0.04045 else ((value + 0.055) / 1.055) ** 2.4


def exposure(run):
    """A stop of exposure is twice the light of each pixel; channels are shown alone."""
    studio = open_frame(run)
    plain = canvas(studio)
    studio.key("e", "e")
    wait_for("the field", lambda: studio.find(name="viewExposure"))
    bright = other_than(studio, plain, "a brighter film")
    studio.standing(name="pictureCanvas")
    bright = canvas(studio)
    keep_shot(run, "frame-exposure")
    x, y, compared = plain.width // 2, plain.height // 2, 0
    for dx in range(-60, 61, 20):
        for dy in range(-40, 41, 20):
            for before, after in zip(plain.pixel(x + dx, y + dy), bright.pixel(x + dx, y + dy)):
                if not 40 < before < 150:
                    continue
                compared += 1
                check(abs(light_of(after) / light_of(before) - 2) < 0.06, f"{before} became {after}, not twice the light")
    check(compared > 20, f"only {compared} values to compare")
    studio.key("shift+e", "shift+e")
    like(studio, plain, "the film as before")
    studio.key("b")
    blue = other_than(studio, plain, "the blue channel")
    check(blue.pixel(x, y) == (plain.pixel(x, y)[2],) * 3, f"{plain.pixel(x, y)} became {blue.pixel(x, y)}")
    studio.key("a")
    alpha = other_than(studio, blue, "the alpha channel")
    check(alpha.pixel(x, y) == (255, 255, 255), f"an opaque pixel became {alpha.pixel(x, y)}")
    studio.key("a")
    like(studio, plain, "all channels")
    studio.quit()


def place_of(studio, name):
    return studio.standing(name=name)["place"]


def beside(run):
    """The first start has the Frame Buffer beside the main window where the screen is wide; later ones have it where it was,
    or closed."""
    run.display = Display(1920, 1080)
    studio = run.viewer()
    (x, y, width, height), frame = place_of(studio, "studio"), place_of(studio, "frameBuffer")
    check(frame[0] >= x + width and frame[1] < y + height, f"the frame buffer at {frame} is not beside {(x, y, width, height)}")
    check(frame[0] + frame[2] <= 1920 and frame[1] + frame[3] <= 1080, f"the frame buffer at {frame} leaves the screen")
    wait_for("the film of the viewer", lambda: canvas(studio).colours() > 40)
    keep_shot(run, "frame-beside")
    studio.quit()
    studio = run.viewer()
    again = place_of(studio, "frameBuffer")
    check(all(abs(a - b) <= 2 for a, b in zip(again, frame)), f"the frame buffer is at {again} after {frame}")
    studio.click(name="pictureSize")
    studio.key("ctrl+w")
    wait_for("the closed frame buffer", lambda: studio.find(name="frameBuffer") is None)
    studio.quit()
    studio = run.viewer()
    check(studio.find(name="frameBuffer") is None, "the closed frame buffer came back")
    studio.quit()


if __name__ == "__main__":
    sys.exit(main((layer, probe, exposure, beside)))
