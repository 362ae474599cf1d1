#!/usr/bin/env python3
"""Tests of the C++ client: its example, built by us, against a recording server.

  cpp_link_tests.py EXAMPLE
"""
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))

from recording_studio import RecordingStudio

EXAMPLE = ""


def run(frames, *more):
    return subprocess.run([EXAMPLE, str(frames), *more], capture_output=True, text=True, timeout=60, check=False)


class CppClient(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        self.studio = RecordingStudio(self.folder.name)
        self.addCleanup(lambda: self.studio.close())

    def test_the_example_sends_a_whole_scene(self):
        done = run(20)
        self.assertEqual((done.returncode, done.stdout, done.stderr), (0, "20 frames\n", ""))
        self.studio.wait(lambda: "bye" in self.studio.scene.counts)
        scene = self.studio.scene
        self.assertEqual(scene.faults, [])
        self.assertEqual((scene.counts["transforms"], scene.commits), (20, 21))
        self.assertEqual(list(scene.meshes["cube"]["positions"][:6]), [-0.5, -0.5, -0.5, -0.5, -0.5, 0.5])
        self.assertEqual(list(scene.meshes["cube"]["face_sizes"]), [4] * 6)
        self.assertAlmostEqual(scene.objects["cube-1"]["matrix"][0], 0.9210609940028851)  # the cosine of 0.4
        self.assertEqual([message["id"] for message, _ in self.studio.messages], list(range(len(self.studio.messages))))

    def test_the_viewers_picture(self):
        picture = pathlib.Path(self.folder.name) / "picture.png"
        self.studio.finishes, self.studio.progress = 1, True
        done = run(1, str(picture))
        self.assertEqual((done.returncode, done.stderr, picture.read_bytes()), (0, "", b"PNG"))
        self.assertEqual(done.stdout, "3 of 8 samples\n1 frames\n")
        self.studio.refusal = "The viewer has no picture yet."
        done = run(1, str(picture))
        self.assertEqual((done.returncode, done.stderr), (1, "error: The viewer has no picture yet. Do so.\n"))

    def test_a_port_with_a_token(self):
        self.studio.close()
        self.studio = RecordingStudio(self.folder.name, token="secret")
        for token, expected in (("secret", (0, "")), ("", (1, "error: The token is missing or wrong. Look it up.\n"))):
            settings = dict(os.environ, LUMENARA_LINK=self.studio.address, LUMENARA_LINK_TOKEN=token)
            done = subprocess.run([EXAMPLE, "1"], capture_output=True, text=True, timeout=60, check=False, env=settings)
            self.assertEqual((done.returncode, done.stderr), expected)
        settings["LUMENARA_LINK"] = "127.0.0.1:none"
        done = subprocess.run([EXAMPLE, "1"], capture_output=True, text=True, timeout=60, check=False, env=settings)
        self.assertEqual((done.returncode, done.stderr), (1, "error: The address 127.0.0.1:none is unknown. Write it as 127.0.0.1:4711.\n"))

    def test_a_refusal_is_handed_on(self):
        self.studio.refuse_version = True
        done = run(1)
        self.assertEqual((done.returncode, done.stderr), (1, "error: The client speaks version 1, this Studio version 0. Update Lumenara.\n"))

    def test_a_lost_studio_ends_it_with_a_message(self):
        self.studio.scene.on_transforms = lambda message, blocks: self.studio.drop_client() if self.studio.scene.counts["transforms"] == 5 else None
        done = run(1000000)
        self.assertEqual(done.returncode, 1)
        self.assertRegex(done.stderr, "^error: .*send the scene\\.\n$")

    def test_no_studio(self):
        self.studio.file.unlink()
        done = run(1)
        self.assertEqual((done.returncode, done.stderr), (1, "error: No Lumenara Studio listens. Start it, without --no-listen.\n"))


if __name__ == "__main__":
    EXAMPLE = os.path.abspath(sys.argv.pop(1))
    unittest.main()
