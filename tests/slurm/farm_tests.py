#!/usr/bin/env python3
"""The program's jobs on a real Slurm. One test a call: farm_tests.py --program FILE --scenes FOLDER NAME."""

import argparse
import filecmp
import json
import os
import shutil
import signal
import subprocess
import sys
import tempfile
import time

from slurm_instance import SlurmInstance, missing_programs

SKIPPED = 77
LOOK = ["--size", "64x36", "--samples", "2"]


class Farm:
    """A cluster, a folder, and the program."""

    def __init__(self, cluster, program, scenes, folder):
        self.cluster, self.program, self.folder = cluster, program, folder
        self.scene = os.path.join(scenes, "demo.glb")
        self.home = os.path.join(folder, "home")
        os.mkdir(self.home, 0o700)

    def __truediv__(self, name):
        return os.path.join(self.folder, name)

    def run(self, *arguments, code=0):
        environment = dict(self.cluster.environment(), LUMENARA_HOME=self.home)
        result = subprocess.run([self.program, *arguments], env=environment, capture_output=True, text=True,
                                timeout=300)
        assert result.returncode == code, f"{arguments}: {result.returncode}\n{result.stdout}{result.stderr}"
        return result.stdout

    def submit(self, output, *options):
        self.run("farm", "submit", self.scene, "-o", self / output, "--quiet", *options)
        return self / (output + ".farm")

    def status(self, job):
        result = self.run_any("farm", "status", job, "--json")
        return json.loads(result)

    def run_any(self, *arguments):
        environment = dict(self.cluster.environment(), LUMENARA_HOME=self.home)
        return subprocess.run([self.program, *arguments], env=environment, capture_output=True, text=True,
                              timeout=300).stdout

    def wait(self, job, done, what, seconds=240):
        """Until `done(status)`; the status then."""
        limit = time.monotonic() + seconds
        while True:
            state = self.status(job)
            if done(state):
                return state
            if time.monotonic() > limit:
                raise AssertionError(f"{what} did not happen: {json.dumps(state)}\n{self.logs(job)}\n"
                                     f"{self.cluster.logs()}")
            time.sleep(0.1)

    def wait_end(self, job):
        return self.wait(job, lambda state: state["slurm_answers"] and
                         state["tasks_running"] + state["tasks_waiting"] == 0, "the end")

    def logs(self, job):
        text = ""
        for name in sorted(os.listdir(f"{job}/log")):
            with open(f"{job}/log/{name}", errors="replace") as file:
                text += f"---- {name}\n{file.read()}"
        return text

    def render_here(self, output, frames):
        """The same frames on this machine alone."""
        os.makedirs(os.path.dirname(self / output), exist_ok=True)
        self.run("animate", self.scene, "-o", self / output, "--frames", frames, "--quiet", *LOOK)

    def expect_same_pictures(self, one, other, frames):
        for frame in frames:
            a, b = (self / f"{base}{frame:04d}.bmp" for base in (one, other))
            assert os.path.exists(a), f"{a} is missing"
            assert filecmp.cmp(a, b, shallow=False), f"{a} and {b} differ"

    def worker_of(self, job):
        """The process and the unit of a program that works on a unit now; None while there is none."""
        for name in sorted(os.listdir(f"{job}/state")):
            if not name.endswith(".begun"):
                continue
            try:
                with open(f"{job}/state/{name[:-6]}.claim") as file:
                    return json.load(file)["process"], int(name[:-6])
            except (OSError, ValueError):
                continue
        return None

    def wait_worker(self, job, least_done=0, seconds=120):
        limit = time.monotonic() + seconds
        while time.monotonic() < limit:
            done = len([name for name in os.listdir(f"{job}/state") if name.endswith(".done")])
            worker = self.worker_of(job)
            if worker and done >= least_done:
                return worker
            time.sleep(0.005)
        raise AssertionError(f"no program began a unit\n{self.logs(job)}\n{self.cluster.logs()}")


# Frames that take a second or so, so that a program can be hit in the middle of one.
SLOW = ["--size", "160x90", "--samples", "32", "--sampling", "even", "--noise", "0"]


def decoded(movie):
    """A line for each frame, by its pixels."""
    return subprocess.run(["ffmpeg", "-v", "error", "-i", movie, "-f", "framemd5", "-"], capture_output=True, text=True,
                          check=True, timeout=60).stdout


def animation(farm):
    pictures = farm.submit("shot.bmp", "--frames", "0:10:2", "--chunk", "2", *LOOK)
    movie = farm.submit("film.mov", "--frames", "0:7", "--chunk", "3", *LOOK)
    for job in (pictures, movie):
        state = farm.wait_end(job)
        assert state["state"] == "done" and state["failed"] == 0, f"{state}\n{farm.logs(job)}"
        assert not os.listdir(f"{job}/work"), "programs left files"
    farm.render_here("here/shot.bmp", "0:10:2")
    farm.expect_same_pictures("shot", "here/shot", range(0, 11, 2))
    farm.render_here("here/film.mov", "0:7")
    assert len(decoded(farm / "film.mov").splitlines()) >= 8, "frames are missing"
    assert decoded(farm / "film.mov") == decoded(farm / "here/film.mov"), "the movies differ"
    assert farm.run("farm", "list").count(", complete") == 2
    # A folder is submitted once.
    before = os.listdir(f"{pictures}/submissions")
    farm.run("farm", "submit", farm.scene, "-o", farm / "shot.bmp", "--frames", "0:10:2", code=4)
    assert os.listdir(f"{pictures}/submissions") == before


def split(farm):
    look = ["--size", "48x32", "--samples", "24", "--layers", "albedo,depth"]
    job = farm.submit("still.exr", "--split-samples", "3", *look)
    state = farm.wait_end(job)
    assert state["state"] == "done", f"{state}\n{farm.logs(job)}"
    parts = []
    for number in (3, 1, 2):
        parts.append(farm / f"part{number}.exr")
        farm.run("render", farm.scene, "-o", parts[-1], "--part", f"{number}/3", "--quiet", *look)
    farm.run("merge", *parts, "-o", farm / "merged.exr", "--quiet")
    farm.run("render", farm.scene, "-o", farm / "whole.exr", "--sampling", "even", "--noise", "0", "--quiet", *look)
    # The headers tell other times of the render; the pixels are the same.
    same = farm.run("compare", farm / "still.exr", farm / "merged.exr", "--metric", "rmse", "--fail-above", "0")
    assert "rmse 0" in same, same
    farm.run("compare", farm / "still.exr", farm / "whole.exr", "--metric", "rmse", "--fail-above", "1e-6")


def tiles(farm):
    look = ["--size", "50x31", "--samples", "6", "--layers", "albedo,noise", "--denoise"]
    job = farm.submit("poster.exr", "--split-tiles", "3x2", *look)
    state = farm.wait_end(job)
    assert state["state"] == "done" and state["units"] == 6, f"{state}\n{farm.logs(job)}"
    farm.run("render", farm.scene, "-o", farm / "whole.exr", "--sampling", "even", "--noise", "0", "--quiet", *look)
    same = farm.run("compare", farm / "poster.exr", farm / "whole.exr", "--metric", "rmse", "--fail-above", "0")
    assert "rmse 0" in same, same


def split_frames(farm):
    """Each frame is joined by the task that ends its last part."""
    look = ["--size", "48x32", "--samples", "6"]
    farm.run("farm", "submit", farm.scene, "-o", farm / "shot.##.png", "--frames", "2,5:7:2", "--split-samples", "3",
             "--chunk", "1", "--quiet", *look)
    job = farm / "shot.frames.png.farm"
    state = farm.wait_end(job)
    assert state["state"] == "done" and state["units"] == 9, f"{state}\n{farm.logs(job)}"
    assert os.listdir(f"{job}/units") == [], "films were left"
    for number in (1, 2, 3):
        farm.run("render", farm.scene, "-o", farm / f"{number}.exr", "--part", f"{number}/3", "--frame", "7", "--quiet",
                 *look)
    films = [farm / f"{number}.exr" for number in (1, 2, 3)]
    farm.run("merge", *films, "-o", farm / "7.png", "--scene", farm.scene, "--quiet")
    same = farm.run("compare", farm / "shot.07.png", farm / "7.png", "--metric", "rmse", "--fail-above", "0")
    assert "rmse 0" in same, same
    for frame in (2, 5):
        assert os.path.exists(farm / f"shot.{frame:02d}.png"), frame


def killed(farm):
    """A program that dies in the middle of a frame: nothing is lost, and a retry renders the rest."""
    job = farm.submit("shot.bmp", "--frames", "0:5", "--chunk", "6", *SLOW)
    process, _ = farm.wait_worker(job, least_done=1)
    os.kill(process, signal.SIGKILL)
    state = farm.wait_end(job)
    assert state["state"] == "stopped" and 1 <= state["done"] < 6, state
    done = [name for name in os.listdir(farm.folder) if name.startswith("shot0")]
    assert len(done) == state["done"], f"{done}: {state}"
    times = {name: os.stat(farm / name).st_mtime_ns for name in done}
    farm.run("farm", "retry", job)
    state = farm.wait_end(job)
    assert state["state"] == "done" and state["done"] == 6, f"{state}\n{farm.logs(job)}"
    for name, written in times.items():
        assert os.stat(farm / name).st_mtime_ns == written, f"{name} was rendered twice"


def requeue(farm):
    """A task that Slurm starts again goes on with what is missing."""
    job = farm.submit("shot.bmp", "--frames", "0:5", "--chunk", "6", *SLOW)
    farm.wait_worker(job, least_done=1)
    with open(f"{job}/submissions/1.json") as file:
        number = json.load(file)["array"]
    farm.cluster.run(["scontrol", "requeue", f"{number}_0"])
    # A requeued task waits for two minutes unless its time is set. Slurm refuses a start within the second in which
    # it ended the task.
    limit = time.monotonic() + 60
    while time.monotonic() < limit:
        tasks = farm.cluster.run(["squeue", "--noheader", "--array", f"--jobs={number}", "--format=%T"])
        if tasks.strip() == "PENDING" and not os.listdir(f"{job}/work"):
            break
        time.sleep(0.1)
    farm.cluster.run(["scontrol", "update", f"JobId={number}_0", "StartTime=now+5"], check=False)
    state = farm.wait_end(job)
    assert state["state"] == "done" and state["failed"] == 0, f"{state}\n{farm.logs(job)}\n{farm.cluster.logs()}"
    with open(f"{job}/log/1-0.txt") as file:
        log = file.read()
    for frame in range(6):
        assert log.count(f"frame {frame} is done") == 1, log


def cancel_retry(farm):
    job = farm.submit("shot.bmp", "--frames", "0:7", "--chunk", "2", *SLOW)
    farm.wait_worker(job, least_done=1)
    farm.run("farm", "cancel", job)
    state = farm.wait_end(job)
    assert state["state"] == "stopped" and 1 <= state["done"] < 8, state
    assert state["failures"] == [], "a cancelled frame has not failed"
    os.remove(farm / "shot0000.bmp") if os.path.exists(farm / "shot0000.bmp") else None
    farm.run("farm", "retry", job)
    state = farm.wait_end(job)
    assert state["state"] == "done", f"{state}\n{farm.logs(job)}"
    assert len([name for name in os.listdir(farm.folder) if name.startswith("shot0")]) == 8


def failing(farm):
    """A frame that cannot be written is named with its reason, and the others are rendered."""
    os.mkdir(farm / "shot0001.bmp")  # in the way of a picture
    job = farm.submit("shot.bmp", "--frames", "0:3", "--chunk", "4", *LOOK)
    state = farm.wait_end(job)
    assert state["state"] == "failed" and state["done"] == 3 and state["failed"] == 1, f"{state}\n{farm.logs(job)}"
    failure = state["failures"][0]
    assert failure["number"] == 1 and failure["attempts"] == 3, failure
    assert "shot0001.bmp cannot be written" in failure["reason"], failure
    os.rmdir(farm / "shot0001.bmp")
    farm.run("farm", "retry", job)
    assert farm.wait_end(job)["state"] == "done"


def many(farm):
    """500 tiny frames. The times are printed for docs/performance.md."""
    look = ["--size", "32x18", "--samples", "1"]
    start = time.monotonic()
    farm.run("animate", farm.scene, "-o", farm / "here.bmp", "--frames", "0:499", "--threads", "1", "--quiet", *look)
    here = time.monotonic() - start
    start = time.monotonic()
    job = farm.submit("shot.bmp", "--frames", "0:499", *look)
    submitted = time.monotonic() - start
    state = farm.wait_end(job)
    there = time.monotonic() - start
    assert state["state"] == "done" and state["done"] == 500, f"{state}\n{farm.logs(job)}"
    farm.expect_same_pictures("shot", "here", range(0, 500, 25))
    tasks = len(os.listdir(f"{job}/log")) - 1
    print(f"500 frames: {here:.2f} s by one program, {there:.2f} s by the farm of {farm.cluster.nodes} nodes "
          f"({tasks} tasks, {submitted:.2f} s to submit)")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--program", required=True)
    parser.add_argument("--scenes", required=True)
    parser.add_argument("name", choices=["animation", "split", "tiles", "split_frames", "killed", "requeue", "cancel_retry",
                                         "failing", "many"])
    options = parser.parse_args()
    missing = missing_programs()
    if missing or (os.getuid() != 0 and not os.access("/run", os.W_OK)):
        print(f"skipped: {', '.join(missing) or 'Slurm needs the rights of root here'} "
              "(section [farm] of cmake/packages.txt)")
        return SKIPPED
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))
    folder = tempfile.mkdtemp(prefix="lumenara-farm-")
    try:
        with SlurmInstance(nodes=2) as cluster:
            globals()[options.name](Farm(cluster, os.path.abspath(options.program), options.scenes, folder))
    finally:
        shutil.rmtree(folder, ignore_errors=True)
    print("passed")
    return 0


if __name__ == "__main__":
    sys.exit(main())
