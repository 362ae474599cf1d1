"""The live link under kills, for tools/stress: a program that sends scenes without end, and Studio; either is killed at any moment."""
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import time

from stress_checks import require, wait_until

ROOT = pathlib.Path(__file__).resolve().parent.parent
SENDER = ROOT / "tests/stress/link_sender.py"
OBJECTS = 8  # of the sender
ROW = re.compile(r"(sender\d+) (\d+) (\d+)")


class LinkTreatment:
    def __init__(self, work, open_studio):
        self.work, self.open_studio = work, open_studio
        self.runtime = tempfile.mkdtemp(prefix="link-")  # a short path: sockets want one
        self.studio = self.sender = None
        self.senders = self.lost_studios = 0
        self.waits = []  # seconds until the survivor's scene was there
        self.start_studio()
        self.start_sender()
        self.await_scene()

    # --- both sides ---

    def start_studio(self):
        self.studio = self.open_studio("--listen", environment={"XDG_RUNTIME_DIR": self.runtime})

    def start_sender(self):
        self.senders += 1
        self.name = f"sender{self.senders}"
        self.acknowledged = self.work.folder / f"{self.name}.txt"
        with open(self.work.folder / "senders.log", "ab") as log:
            self.sender = subprocess.Popen([sys.executable, SENDER, ROOT / "integrations/python", self.name, self.acknowledged],
                                           env={**os.environ, "XDG_RUNTIME_DIR": self.runtime}, stdin=subprocess.DEVNULL, stdout=log,
                                           stderr=subprocess.STDOUT)

    # --- looking ---

    def scene(self):
        """The sender and the number of the scene that Studio shows; None before the first. All objects must be of one scene."""
        found = [row for row in (ROW.fullmatch(thing.get("text", "")) for thing in self.studio.things() if thing.get("class") == "row") if row]
        if not found:
            return None
        scenes = {row.groups()[:2] for row in found}
        require(len(scenes) == 1, f"Studio shows a mixture of scenes: {sorted(row.group() for row in found)}")
        require(sorted(int(row.group(3)) for row in found) == list(range(OBJECTS)), f"objects are missing or double: {sorted(row.group() for row in found)}")
        name, number = scenes.pop()
        return name, int(number)

    def await_scene(self):
        """The sender's scene appears, and goes on."""
        started, first = time.monotonic(), []

        def goes_on():
            require(self.sender.poll() is None, f"the sender has ended: {self.log()}")
            now = self.scene()
            if now and now[0] == self.name:
                first.append(now[1])
            return first and first[-1] > first[0]
        wait_until(goes_on, 90, f"scenes of {self.name}")
        self.waits.append(time.monotonic() - started)

    def log(self):
        return (self.work.folder / "senders.log").read_text(errors="replace")[-1000:]

    # --- kills ---

    def kill_one(self):
        time.sleep(self.work.random.uniform(0, 1))  # the moment of the kill
        if self.work.random.random() < 0.5:
            self.kill_sender()
        else:
            self.kill_studio()
        self.work.killed += 1
        self.await_scene()

    def kill_sender(self):
        self.sender.kill()
        self.sender.wait()
        wait_until(lambda: self.studio.find(name="linkState") is None, 60, "the end of the connection in Studio")
        before = self.scene()
        least = int(self.acknowledged.read_text(encoding="ascii"))
        require(before is not None and before[0] == self.name and before[1] >= least, f"Studio shows {before}, but had acknowledged {self.name} {least}")
        require(self.scene() == before, "the scene of a program that has ended does not stay")
        self.start_sender()

    def kill_studio(self):
        self.lost_studios += 1
        self.studio.kill()
        self.studio.close()
        require(self.sender.poll() is None, f"the sender ended with Studio: {self.log()}")
        self.start_studio()

    def end(self):
        self.sender.kill()
        self.sender.wait()
        self.studio.alive()
        slowest = max(self.waits)
        return f"whole; {self.lost_studios} times Studio, {self.senders - 1} times the program; its scenes were back after {slowest:.1f} s at most"

    def close(self):
        for process in (self.sender, self.studio and self.studio.process):
            if process and process.poll() is None:
                process.kill()
                process.wait()
        if self.studio:
            self.studio.close()
        shutil.rmtree(self.runtime, ignore_errors=True)
