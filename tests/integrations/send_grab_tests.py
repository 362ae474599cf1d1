#!/usr/bin/env python3
"""Tests of `lumenara send` and `lumenara grab` against a recording server.

  send_grab_tests.py LUMENARA
"""
import json
import os
import pathlib
import signal
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))

from recording_studio import RecordingStudio

PROGRAM = ""


class SendAndGrab(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.scene, self.picture = self.folder / "scene.glb", self.folder / "picture.png"
        self.scene.write_bytes(b"scene")
        self.studio = RecordingStudio(folder.name)
        self.addCleanup(lambda: self.studio.close())

    def run_program(self, *arguments):
        done = subprocess.run([PROGRAM, *map(str, arguments)], capture_output=True, text=True, timeout=60, check=False, cwd=self.folder)
        self.assertEqual(done.stdout, "")
        return done.returncode, done.stderr

    def describe_another(self, started, scene):
        """A second running program: this test's parent."""
        pid = os.getppid()
        file = self.studio.file.with_name(f"link-{pid}.json")
        file.write_text(json.dumps({"version": 1, "pid": pid, "socket": "/none", "scene": scene, "started": started}), encoding="utf-8")
        self.addCleanup(file.unlink, missing_ok=True)
        return pid

    def asked(self, kind):
        return [message for message, _ in self.studio.messages if message["type"] == kind]

    def test_send_names_the_whole_path(self):
        self.assertEqual(self.run_program("send", "./scene.glb"), (0, "lumenara: Lumenara Studio shows ./scene.glb\n"))
        self.assertEqual([message["path"] for message in self.asked("open")], [str(self.scene)])
        self.assertEqual(self.run_program("send", "scene.glb", "--quiet"), (0, ""))

    def test_send_hands_a_refusal_on(self):
        self.studio.refusal = "The open scene stays."
        self.assertEqual(self.run_program("send", "scene.glb"), (5, "lumenara: The open scene stays. Do so.\n"))

    def test_a_scene_that_is_not_there(self):
        self.assertEqual(self.run_program("send", "none.glb"), (3, "lumenara: the scene none.glb is not there; check its path\n"))
        self.assertEqual(self.run_program("send", "."), (3, "lumenara: the scene . is not a file; name a scene\n"))
        self.assertEqual(self.asked("open"), [])

    def test_grab_writes_what_studio_sends(self):
        self.assertEqual(self.run_program("grab", "-o", "picture.PNG"), (0, "lumenara: picture.PNG has 4 x 3 pixels; the render goes on\n"))
        self.assertEqual((self.folder / "picture.PNG").read_bytes(), b"PNG")
        self.assertEqual(self.run_program("grab", "-o", "film.exr", "--quiet"), (0, ""))
        self.assertEqual([message["format"] for message in self.asked("grab")], ["png", "exr"])

    def test_grab_that_cannot_be_written_keeps_what_is_there(self):
        self.picture.write_bytes(b"old")
        self.studio.refusal = "The viewer has no picture yet."
        self.assertEqual(self.run_program("grab", "-o", "picture.png"), (5, "lumenara: The viewer has no picture yet. Do so.\n"))
        self.assertEqual(self.picture.read_bytes(), b"old")
        self.assertEqual(self.run_program("grab", "-o", "picture.xyz")[0], 2)
        self.assertEqual(self.run_program("grab", "-o", "none/picture.png")[0], 4)
        self.assertEqual(self.run_program("grab")[0], 2)

    def test_no_studio(self):
        self.studio.file.unlink()
        for arguments in (("send", "scene.glb"), ("grab", "-o", "picture.png")):
            self.assertEqual(self.run_program(*arguments), (5, "lumenara: no Lumenara Studio that listens is running; start lumenara-studio\n"))

    def test_the_newest_of_several_is_asked(self):
        own = os.getpid()
        other = self.describe_another("1999-12-31T23:59:59Z", "old.glb")
        said = f"lumenara: several Lumenara Studios run: {own} (), {other} (old.glb); the first, which is the newest, is asked. --pid chooses another\n"
        self.assertEqual(self.run_program("send", "scene.glb"), (0, said + "lumenara: Lumenara Studio shows scene.glb\n"))
        self.describe_another("2000-01-01T00:00:01Z", "new.glb")
        code, text = self.run_program("send", "scene.glb")
        self.assertEqual(code, 5)
        self.assertIn("cannot be reached", text)
        self.assertEqual(self.run_program("send", "scene.glb", "--pid", own), (0, "lumenara: Lumenara Studio shows scene.glb\n"))
        code, text = self.run_program("send", "scene.glb", "--pid", 1 << 29)
        self.assertEqual((code, text), (5, f"lumenara: no Lumenara Studio with the process number {1 << 29} listens; running: {other} (new.glb), {own} ()\n"))

    def test_a_studio_that_does_not_answer(self):
        self.studio.silent = True
        code, text = self.run_program("grab", "-o", "picture.png", "--wait", "0.3")
        self.assertEqual((code, text), (5, "lumenara: Lumenara Studio has not answered in time. Is it busy, or does it ask a question?\n"))
        process = subprocess.Popen([PROGRAM, "grab", "-o", str(self.picture)], stderr=subprocess.PIPE, text=True)
        self.studio.wait(lambda: len(self.asked("grab")) == 2)
        process.send_signal(signal.SIGINT)
        self.assertEqual((process.communicate(timeout=60)[1], process.returncode), ("lumenara: cancelled\n", 130))
        self.assertFalse(self.picture.exists())

    def test_an_answer_that_promises_too_much(self):
        self.studio.promised = 1000
        self.assertEqual(self.run_program("grab", "-o", "picture.png"), (5, "lumenara: the answer of Lumenara Studio holds no picture; update it\n"))

    def test_a_studio_of_another_version(self):
        self.studio.refuse_version = True
        self.assertEqual(self.run_program("send", "scene.glb"), (5, "lumenara: The client speaks version 1, this Studio version 0. Update Lumenara.\n"))


if __name__ == "__main__":
    PROGRAM = os.path.abspath(sys.argv.pop(1))
    unittest.main()
