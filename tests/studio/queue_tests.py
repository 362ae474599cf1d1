#!/usr/bin/env python3
"""The render queue in the windows: animations into pictures and movies, pause, a killed program, the question when quitting.

  queue_tests.py SCENARIO --studio PROGRAM --batch PROGRAM --source FOLDER [--output FOLDER]
"""
import shutil
import subprocess
import sys

from scenario import check, main
from studio_driver import wait_for


def row(studio, name):
    """The texts of the row's cells, or nothing."""
    cells = [t for t in studio.things() if t["class"] == "row" and t["name"] == "queue-list"]
    first = next((t for t in cells if t["text"] == name), None)
    return [t["text"] for t in cells if t["place"][1] == first["place"][1]] if first else None


def state(studio, name, text):
    wait_for(f"{name}: {text}", lambda: any(text in cell for cell in row(studio, name) or []), 120, 0.2)


def picture(run, name):
    run.options.output.mkdir(parents=True, exist_ok=True)
    run.display.save(run.options.output / name)


def add(run, studio, output, frames, shot=None, samples=2, deep=False):
    studio.display.to_front("Lumenara Studio")
    studio.menu("Render", "Render Animation...")
    studio.standing(name="animation-dialog")
    for name, value in (("output", output), ("frames", frames), ("width", 64), ("height", 48), ("samples", samples)):
        studio.enter(f"animation-{name}", str(value))
    if deep:
        studio.tick(name="animation-deep")
    if shot:
        picture(run, shot)
    studio.click(name="animation-add")


def render_queue(run):
    out = run.folder / "out"
    out.mkdir()
    studio = run.start(run.scene)
    add(run, studio, run.folder / "nowhere" / "shot.png", "0:2")
    wait_for("the problem", lambda: studio.text("animation-message").startswith(f'The folder "{run.folder}/nowhere" does not exist.'))
    studio.enter("animation-output", str(out / "shot.####.exr"))
    for field in ("codec", "deep"):
        check(studio.find(name=f"animation-{field}") is None, f"{field} of OpenEXR pictures")
    picture(run, "animation-pictures.png")
    studio.click(name="animation-add")
    studio.standing(name="render-queue")
    state(studio, "shot.####.exr", "Done")
    check(sorted(f.name for f in out.iterdir()) == [f"shot.{n:04}.exr" for n in range(3)], "other frames than those of the range")

    studio.click(name="queue-pause")
    wait_for("the pause", lambda: studio.get(name="queue-pause")["text"].replace("&", "") == "Resume")
    add(run, studio, out / "shot.mp4", "0:5", "animation-movie.png")
    state(studio, "shot.mp4", "Paused")
    picture(run, "render-queue.png")
    studio.kill()

    studio = run.start(run.scene)
    studio.standing(name="render-queue")
    state(studio, "shot.mp4", "Paused")
    studio.click(name="queue-pause")
    state(studio, "shot.mp4", "Done")
    if shutil.which("ffprobe"):
        count = subprocess.run(["ffprobe", "-v", "error", "-count_frames", "-select_streams", "v", "-show_entries",
                                "stream=nb_read_frames", "-of", "csv=p=0", out / "shot.mp4"], capture_output=True, text=True, timeout=60)
        check(count.stdout.strip() == "6", f"the movie has {count.stdout} frames; {count.stderr}")

    # A long one, and a question before the program ends.
    add(run, studio, out / "long.png", "0:5000", "animation-deep.png", samples=64, deep=True)
    state(studio, "long.png", " %")
    wait_for("its first picture", (out / "long0000.png").exists, 60)
    check((out / "long0000.png").read_bytes()[24] == 16, "the picture has not 16 bits a channel")
    picture(run, "render-queue-runs.png")
    studio.key("ctrl+q")
    wait_for("the question", lambda: studio.find(name="sentence", text="Quit while animations are rendered?"))
    studio.key("Escape")
    wait_for("the answer", lambda: studio.find(name="sentence") is None)
    studio.click(name="queue-cancel")
    state(studio, "long.png", "Cancelled")
    studio.click(name="queue-clear")
    wait_for("an empty list", lambda: row(studio, "long.png") is None)
    studio.quit()


if __name__ == "__main__":
    sys.exit(main([render_queue]))
