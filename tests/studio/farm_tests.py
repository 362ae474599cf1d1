#!/usr/bin/env python3
"""Jobs of a render farm in the windows, with programs of Slurm that a script plays: submit, failures, frames, cancel, retry.

  farm_tests.py SCENARIO --studio PROGRAM --batch PROGRAM --source FOLDER [--output FOLDER]
"""
import json
import os
import shutil
import subprocess
import sys

from scenario import check, main
from studio_driver import wait_for


class FakeSlurm:
    """Programs in a folder of PATH: sbatch numbers the jobs, squeue tells what `queue` holds, scancel empties it."""

    def __init__(self, run):
        self.run = run
        self.folder = run.folder / "slurm"
        self.folder.mkdir()
        self.queue, self.calls, self.refusal = (self.folder / name for name in ("queue", "calls", "refusal"))
        self.queue.write_text("", encoding="utf-8")
        self.program("sbatch", f'if [ -e "{self.refusal}" ]; then cat "{self.refusal}" >&2; exit 1; fi\n'
                               f'echo "$@" >> "{self.calls}"\necho $((40 + $(wc -l < "{self.calls}")))')
        self.program("squeue", f'cat "{self.queue}"')
        self.program("scancel", f'echo "scancel $@" >> "{self.calls}"\n: > "{self.queue}"')

    def program(self, name, text):
        file = self.folder / name
        file.write_text("#!/bin/sh\n" + text + "\n", encoding="utf-8")
        file.chmod(0o755)

    def environment(self):
        return {"PATH": f"{self.folder}:{os.environ['PATH']}"}

    def task(self, job, number, code=0):
        """Does the work of a task, as Slurm's node would."""
        done = subprocess.run([self.run.options.batch, "farm", "work", str(job), "--task", str(number)],
                              env=dict(os.environ, **self.environment()), capture_output=True, text=True, timeout=300)
        check(done.returncode == code, f"task {number} ended with {done.returncode}: {done.stderr}")

    def submissions(self):
        return self.calls.read_text(encoding="utf-8").splitlines() if self.calls.exists() else []


def rows(studio):
    return [t for t in studio.things() if t["class"] == "row" and t["name"] == "farm-list"]


def frames(studio):
    return [t for t in studio.things() if t["class"] == "row" and t["name"] == "farm-frames"]


def message(studio, start):
    return wait_for(f"the message {start}", lambda: studio.text("farm-message").startswith(start), 60)


def state(studio, text):
    wait_for(f"a state with {text}", lambda: text in studio.text("farm-state"), 60, 0.3)


def picture(run, name):
    run.options.output.mkdir(parents=True, exist_ok=True)
    run.display.save(run.options.output / name)


def damaged_job(studio, job):
    """A job whose file cannot be read stays in the list and says so."""
    def told(text):
        return lambda: any(text in t["text"] for t in rows(studio)) or text in studio.text("farm-state")

    kept = (job / "job.json").read_bytes()
    (job / "job.json").write_text("{", encoding="utf-8")
    wait_for("the damaged job", told("cannot be read"), 60, 0.3)
    (job / "job.json").write_bytes(kept)


def tiles_job(run, studio, out):
    """The dialog's fields of tiles; the file of the submitted job."""
    studio.display.to_front("Lumenara Studio")
    studio.menu("Render", "Render on the Farm...")
    studio.standing(name="farm-dialog")
    check(studio.find(name="farm-columns") is None, "tiles are asked for frames")
    studio.click(name="farm-kind")
    studio.key("Down", "Down", "Return")
    studio.enter("farm-columns", "2")
    studio.enter("farm-rows", "1")
    studio.enter("farm-output", str(out / "still.exr"))
    studio.enter("farm-width", "64")
    studio.enter("farm-height", "48")
    picture(run, "farm-tiles.png")
    studio.click(name="farm-submit")
    still = out / "still.exr.farm" / "job.json"
    wait_for("the job of tiles", still.exists, 60)
    tiles = json.loads(still.read_text(encoding="utf-8"))
    check((tiles["kind"], tiles["columns"], tiles["rows"]) == ("tiles", 2, 1), f"the job of tiles is {tiles}")
    wait_for("its submission", lambda: (still.parent / "submissions" / "1.json").exists(), 60)
    wait_for("the closed dialog", lambda: studio.find(name="farm-dialog") is None, 60)
    return still


def farm(run):
    slurm = FakeSlurm(run)
    out = run.folder / "out"
    out.mkdir()
    job = out / "shot.tif.farm"
    studio = run.start(run.scene, environment=slurm.environment())
    studio.menu("Render", "Render on the Farm...")
    studio.standing(name="farm-dialog")
    studio.enter("farm-output", str(run.folder / "nowhere" / "shot.tif"))
    studio.click(name="farm-submit")
    message(studio, f'The folder "{run.folder}/nowhere" does not exist.')
    studio.enter("farm-output", str(out / "shot.tif"))
    for name, value in (("farm-from", 0), ("farm-to", 2), ("farm-width", 64), ("farm-height", 48), ("farm-samples", 2)):
        studio.enter(name, str(value))
    picture(run, "farm-dialog.png")
    slurm.queue.write_text("41_[0-2]|PENDING|Resources\n", encoding="utf-8")
    studio.click(name="farm-submit")
    studio.standing(name="farm-jobs")
    state(studio, "Tasks: 0 running, 3 waiting (Resources)")
    calls = slurm.submissions()
    check(len(calls) == 2 and "--dependency=afterany:41" in calls[1], f"sbatch was called with {calls}")
    job_of = json.loads((job / "job.json").read_text(encoding="utf-8"))
    check((job_of["from"], job_of["to"], job_of["width"], job_of["height"]) == (0, 2, 64, 48), f"the job is {job_of}")

    slurm.task(job, 0)
    wait_for("a finished frame", lambda: any(t["text"] == "0" for t in frames(studio)), 60, 0.3)
    check((out / "shot0000.tif").exists(), "the frame is not in its place")
    studio.click(name="farm-jobs-cancel")
    state(studio, "No task is left")
    check("scancel 41" in slurm.submissions(), f"the calls are {slurm.submissions()}")
    picture(run, "farm-jobs.png")

    studio.click(name="farm-jobs-retry")
    wait_for("a second submission", lambda: sum("submissions/2" in line for line in slurm.submissions()) == 2, 60)
    tasks = json.loads((job / "submissions" / "2.json").read_text(encoding="utf-8"))["tasks"]
    check(tasks == [[1], [2]], f"the tasks of the second submission are {tasks}")
    submission = job / "submissions" / "2.json"
    wait_for("the end of the retry", lambda: json.loads(submission.read_text(encoding="utf-8"))["closing"], 60)
    damaged_job(studio, job)
    still = tiles_job(run, studio, out)
    shutil.rmtree(job)
    shutil.rmtree(still.parent)
    wait_for("an empty list", lambda: not rows(studio), 60, 0.3)
    studio.quit()


if __name__ == "__main__":
    sys.exit(main([farm]))
