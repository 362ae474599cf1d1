#!/usr/bin/python3
"""From a change in Blender to changed pixels in Studio's viewer, with the real programs under Xvfb.

    link_window.py [--moves 40] [--seconds 6] [--delay MS] [demo] [million]

For the demo scene, and beside a grid of a million triangles: the time of the first send until the viewer shows it, of moves of an object until
the viewer shows it elsewhere (median and 95th percentile), and the views a second that reach the viewer while a camera goes around the
scene. A green marker in the scene tells its place in the viewer's pixels. Moves come at any moment, so most of them find a render that
runs. Without --delay the viewer waits for the end of a render, as it does by default; with it, changes break renders off, at
most once in so many milliseconds. Processor time of both programs stands beside. Wants Blender, Xvfb, openbox, xdotool, ImageMagick and numpy.
"""
import argparse
import json
import os
import pathlib
import random
import statistics
import subprocess
import sys
import time

import numpy

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "tests/studio"))
from scenario import Run, set_auto  # noqa: E402
from studio_driver import wait_for  # noqa: E402

MOVED = 3.0  # pixels that tell one place of the marker from another
VIEW_MOVED, VIEW_SECONDS = 5.0, 0.03  # of one view of an orbit and the next: more than a view's blocks of 8 pixels and their refinement shift it
TICKS = os.sysconf("SC_CLK_TCK")


def seconds_of(pid):
    """Processor time of a process so far."""
    fields = pathlib.Path(f"/proc/{pid}/stat").read_text(encoding="ascii").rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / TICKS


class Viewer:
    def __init__(self, studio):
        self.studio, self.place = studio, studio.viewer()

    def marker(self):
        """The marker's place across the viewer; None while it is not there."""
        shot = self.studio.shot(self.place)
        pixels = numpy.frombuffer(shot.data, numpy.uint8).reshape(shot.height, shot.width, 3).astype(numpy.int16)
        green = (pixels[..., 1] > 180) & (pixels[..., 1] - pixels[..., 0] > 90) & (pixels[..., 1] - pixels[..., 2] > 90)
        columns = green.sum(axis=0)
        return float((columns * numpy.arange(columns.size)).sum() / columns.sum()) if columns.sum() > 30 else None

    def await_marker(self, before, seconds=60):
        """The time at which the marker is elsewhere."""
        def elsewhere():
            now = self.marker()
            return time.time() if now is not None and (before is None or abs(now - before) > MOVED) else None
        return wait_for("the marker at another place", elsewhere, seconds, 0.002)


class Blender:
    def __init__(self, studio, arguments):
        script = pathlib.Path(__file__).with_name("link_window_blender.py")
        self.process = subprocess.Popen(["blender", "--background", "--factory-startup", "--python-exit-code", "1", "--python", str(script), "--", *arguments],
                                        env={**os.environ, "XDG_RUNTIME_DIR": str(studio.inspect_folder)}, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                        stderr=subprocess.STDOUT, text=True)
        self.triangles = self.answer("READY")["triangles"]

    def answer(self, word):
        said = []
        for line in self.process.stdout:
            if line.startswith(word + " "):
                return json.loads(line[len(word):])
            said.append(line)
        raise SystemExit("Blender ended: " + "".join(said)[-2000:])

    def tell(self, *words):
        self.process.stdin.write(" ".join(map(str, words)) + "\n")
        self.process.stdin.flush()


def percentile(values, part):
    return sorted(values)[min(len(values) - 1, int(part * len(values)))]


def first_send(blender, viewer):
    blender.tell("SEND")
    shown = viewer.await_marker(None, 120)
    done = blender.answer("DONE")
    return shown - done["began"], done


def moves(options, studio, blender, viewer):
    times, ours, theirs = [], [], []
    for index in range(options.moves):
        time.sleep(options.random.uniform(0.3, 0.8))
        before, used = viewer.marker(), seconds_of(studio.process.pid)
        blender.tell("MOVE", 0.45 if index % 2 == 0 else -0.45)
        shown = viewer.await_marker(before)
        ours.append(seconds_of(studio.process.pid) - used)
        done = blender.answer("DONE")
        times.append(shown - done["began"])
        theirs.append(done["cpu"])
    return times, ours, theirs


def orbit(studio, blender, viewer, seconds):
    """Views a second in the viewer, views a second that the add-on has sent, and Studio's processor time a second."""
    used, last, shown, counted = seconds_of(studio.process.pid), viewer.marker(), 0, 0.0
    blender.tell("ORBIT", seconds, 30)
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        now = viewer.marker()
        if now is not None and (last is None or abs(now - last) > VIEW_MOVED) and time.monotonic() - counted > VIEW_SECONDS:
            last, shown, counted = now, shown + 1, time.monotonic()
        time.sleep(0.004)
    used = seconds_of(studio.process.pid) - used
    return shown / seconds, blender.answer("DONE")["commits"] / seconds, used / seconds


def measure(run, options, name):
    if options.delay is not None:
        run.set("LM_REFRESH_WAIT", 0)
        run.set("LM_REFRESH_DELAY", options.delay)
    studio = run.viewer()
    set_auto(studio, True)
    studio.settled()
    blender = Blender(studio, ["million"] if name == "million" else ["demo", str(ROOT / "scenes/demo.glb")])
    viewer = Viewer(studio)
    try:
        first, sent = first_send(blender, viewer)
        run.display.save(options.output / f"link-window-{name}.png")
        times, ours, theirs = moves(options, studio, blender, viewer)
        views, commits, load = orbit(studio, blender, viewer, options.seconds)
    finally:
        blender.process.kill()
        blender.process.wait()
    print(json.dumps({
        "scene": name, "triangles": blender.triangles, "delay": options.delay, "load": round(os.getloadavg()[0], 1), "first_send_s": round(first, 2),
        "first_send_blender_cpu_s": round(sent["cpu"], 2), "moves": len(times), "move_median_ms": round(1e3 * statistics.median(times)),
        "move_95_ms": round(1e3 * percentile(times, 0.95)), "move_studio_cpu_ms": round(1e3 * statistics.median(ours)),
        "move_blender_cpu_ms": round(1e3 * statistics.median(theirs), 1), "orbit_views_a_second": round(views, 1),
        "orbit_commits_a_second": round(commits, 1), "orbit_studio_cpu_a_second": round(load, 2)}), flush=True)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("scenes", nargs="*", default=["demo", "million"], metavar="SCENE")
    parser.add_argument("--moves", type=int, default=40)
    parser.add_argument("--seconds", type=float, default=6)
    parser.add_argument("--delay", type=int)
    parser.add_argument("--studio", type=pathlib.Path, default=ROOT / "build/release/bin/lumenara-studio")
    parser.add_argument("--batch", type=pathlib.Path, default=ROOT / "build/release/bin/lumenara")
    parser.add_argument("--source", type=pathlib.Path, default=ROOT)
    parser.add_argument("--output", type=pathlib.Path, default=ROOT / "build/release/bench")
    options = parser.parse_args()
    options.random = random.Random(1)
    options.output.mkdir(parents=True, exist_ok=True)
    for name in options.scenes:
        run = Run(options)
        try:
            measure(run, options, name)
        finally:
            run.close()


if __name__ == "__main__":
    main()
