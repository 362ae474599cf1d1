#!/usr/bin/env python3
"""Tests of the Python client against a recording server on a real socket."""
import array
import json
import os
import pathlib
import subprocess
import sys
import tempfile
import threading
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path[:0] = [str(ROOT / "integrations/python"), str(pathlib.Path(__file__).parent)]

import lumenara_link as link
from recording_studio import RecordingStudio

try:
    import numpy
except ImportError:
    numpy = None

TRIANGLE = [(0, 0, 0), (1, 0, 0), (0, 1, 0)]


class Packing(unittest.TestCase):
    def test_frame_bytes_are_exact(self):
        pieces = link.pack_frame({"type": "mesh", "id": 7}, {"a": (b"\1\2\3", "u8"), "b": ([1.0, 2.0], "f32")})
        text = (b'{"type": "mesh", "id": 7, "blocks": {"a": {"offset": 0, "count": 3, "format": "u8"}, '
                b'"b": {"offset": 8, "count": 2, "format": "f32"}}}')
        body = b"\1\2\3\0\0\0\0\0" + b"\0\0\x80\x3f\0\0\0\x40"
        self.assertEqual(b"".join(pieces), b"LMLK" + len(text).to_bytes(4, "little") + len(body).to_bytes(8, "little") + text + body)

    def test_all_kinds_of_data_give_equal_bytes(self):
        wanted = bytes(link.pack_block([[0, 1, 2], [3, 4, 5]], "u32x3")[0])
        self.assertEqual(len(wanted), 24)
        self.assertEqual(bytes(link.pack_block(array.array("I", range(6)), "u32x3")[0]), wanted)
        self.assertEqual(bytes(link.pack_block(wanted, "u32x3")[0]), wanted)
        self.assertEqual(bytes(link.pack_block(array.array("d", range(6)), "u32x3")[0]), wanted)
        self.assertEqual(link.pack_block([], "f32x3")[1], 0)

    @unittest.skipIf(numpy is None, "numpy is not installed")
    def test_numpy_arrays_are_converted(self):
        values = numpy.arange(12, dtype=numpy.int64).reshape(4, 3)[::2]
        raw, count = link.pack_block(values, "f32x3")
        self.assertEqual((list(raw.cast("f")), count), ([0, 1, 2, 6, 7, 8], 2))
        self.assertEqual(link.pack_block(numpy.zeros((0, 3)), "f32x3")[1], 0)

    def test_wrong_data_is_refused(self):
        for data, form in ((b"12345", "u32"), ([1, 2], "f32x3"), ([1], "f16")):
            with self.subTest(form=form), self.assertRaises(ValueError):
                link.pack_block(data, form)
        with self.assertRaisesRegex(ValueError, "not finite"):
            link.pack_frame({"type": "time", "seconds": float("nan")})

    def test_reader_takes_single_bytes(self):
        stream = b"".join(link.pack_frame({"type": "a"}, {"x": (b"12", "u8")})) + b"".join(link.pack_frame({"type": "b"}))
        reader, found = link.FrameReader(), []
        for index in range(len(stream)):
            found += reader.feed(stream[index:index + 1])
        self.assertEqual([message["type"] for message, _ in found], ["a", "b"])
        self.assertEqual(found[0][1], b"12\0\0\0\0\0\0")
        for broken in (b"GET / HTTP/1.1\r\n\r\n", b"LMLK" + b"\xff" * 12, b"LMLK\2\0\0\0" + bytes(8) + b"[]"):
            with self.subTest(broken=broken), self.assertRaises(link.LinkError):
                link.FrameReader().feed(broken)


class WithStudio(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        self.studio = RecordingStudio(self.folder.name)
        self.addCleanup(lambda: self.studio.close())

    def test_a_scene_arrives(self):
        with link.connect("test") as client:
            client.scene_begin("s")
            client.mesh("m", TRIANGLE, indices=[0, 1, 2], uv0=[0, 0, 1, 0, 0, 1], corners=["uv0"])
            client.picture("p", size=(1, 1), pixels=[0.5, 0.5, 0.5, 1])
            client.material("red", {"pbrMetallicRoughness": {"baseColorTexture": {"picture": "p"}}})
            client.object("o", "mesh", mesh="m", materials=["red"])
            client.instances("i", "m", translations=[(0, 0, 1), (0, 0, 2)])
            client.transforms(["o"], [[*link.IDENTITY[:12], 1, 2, 3, 1]])
            client.scene_end()
            client.commit(wait=30)
            scene = self.studio.scene
            self.assertEqual(scene.faults, [])
            self.assertEqual(list(scene.meshes["m"]["positions"]), [0, 0, 0, 1, 0, 0, 0, 1, 0])
            self.assertEqual(scene.objects["o"]["matrix"][12:], [1, 2, 3, 1])
            self.assertEqual(list(scene.objects["i"]["translations"]), [0, 0, 1, 0, 0, 2])
            self.assertEqual(client.acknowledged["objects"], 2)
            ids = [message["id"] for message, _ in self.studio.messages]
            self.assertEqual(ids, sorted(set(ids)))

    def test_a_port_with_a_token(self):
        self.studio.close()
        self.studio = RecordingStudio(self.folder.name, token="secret")
        with link.connect("test", address=self.studio.address, token="secret") as client:
            self.assertEqual(client.grab(), b"PNG")
        for token in ("", "Secret"):
            with self.assertRaisesRegex(link.LinkError, "^The token is missing or wrong. Look it up.$"):
                link.connect("test", address=self.studio.address, token=token)
        for address in ("127.0.0.1", ":4711", "127.0.0.1:x", "127.0.0.1:70000"):
            with self.assertRaisesRegex(link.LinkError, "is not a host and a port"):
                link.connect("test", address=address)

    def test_the_end_of_a_render(self):
        self.studio.finishes = 1
        with link.connect("test") as client:
            client.commit(wait=30)
            self.assertEqual([client.wait_finished(30)["result"] for _ in range(3)], ["stopped", "stopped", "done"])
            with self.assertRaisesRegex(link.LinkError, "sent no finished"):
                client.wait_finished(0.01)

    def test_progress_comes_when_it_is_watched(self):
        with link.connect("test") as client:
            client.watch_progress()
            answer = client.wait_for("progress")[0]
            self.assertEqual((answer["samples"], answer["of"]), (3, 8))
            client.watch_progress(False)
            client.flush()
            self.studio.wait(lambda: self.studio.scene.counts.get("watch") == 2)
            self.assertEqual([message["progress"] for message, _ in self.studio.messages if message["type"] == "watch"], [True, False])

    def test_open_and_grab(self):
        with link.connect("test") as client:
            self.assertEqual(client.grab("exr"), b"PNG")
            client.open("some/../scene.glb")
            self.assertEqual(self.studio.messages[-1][0]["path"], os.path.abspath("scene.glb"))
            self.studio.refusal = "The viewer has no picture yet."
            for ask in (client.grab, lambda: client.open("scene.glb")):
                with self.assertRaisesRegex(link.LinkError, "^The viewer has no picture yet. Do so.$"):
                    ask()
            self.studio.refusal = ""
            self.assertEqual(client.grab(), b"PNG")

    def test_messages_of_many_threads_stay_whole(self):
        with link.connect("test") as client:
            def work(number):
                for index in range(20):
                    client.mesh(f"{number}/{index}", [(number, index, 0)] * 3, indices=[0, 1, 2])
            threads = [threading.Thread(target=work, args=(number,)) for number in range(4)]
            [thread.start() for thread in threads]
            [thread.join() for thread in threads]
            client.commit(wait=30)
        self.assertEqual(len(self.studio.scene.meshes), 80)
        self.assertTrue(all(list(mesh["positions"][:2]) == list(map(float, key.split("/"))) for key, mesh in self.studio.scene.meshes.items()))

    def test_answers_arrive_by_callback_and_queue(self):
        seen = []
        with link.connect("test", on_message=lambda message, body: seen.append(message["type"])) as client:
            client.send("ping")
            client.wait_for("pong")
            self.studio.send({"type": "picked", "key": "k", "name": "n"})
            self.assertEqual(client.wait_for("picked")[0]["key"], "k")
            self.assertEqual(seen, ["pong", "picked"])

    def test_a_coalesced_ack_answers_older_commits(self):
        with link.connect("test") as client:
            self.studio.hold_acks = True
            numbers = [client.commit() for _ in range(3)]
            self.studio.wait(lambda: self.studio.scene.commits == numbers[-1])
            self.studio.send({"type": "ack", "commit": numbers[0], "through": numbers[-1]})
            client.wait_commit(numbers[-1])

    def test_a_broken_connection_is_told_and_opened_again(self):
        client = link.connect("test")
        client.send("ping")
        client.wait_for("pong")
        self.studio.drop_client()
        with self.assertRaises(link.LinkError) as caught:
            client.wait_for("pong")
        self.assertIn("scene", caught.exception.help)
        self.assertFalse(client.connected)
        with self.assertRaises(link.LinkError):
            client.send("ping")
        client.reconnect()
        client.send("ping")
        client.wait_for("pong")
        self.assertEqual(client.commit(wait=30), 1)
        client.close()
        with self.assertRaises(link.LinkError):
            client.send("ping")

    def test_a_refusal_is_handed_on(self):
        self.studio.refuse_version = True
        with self.assertRaises(link.LinkError) as caught:
            link.connect("test")
        self.assertEqual(str(caught.exception), "The client speaks version 1, this Studio version 0. Update Lumenara.")

    def test_a_strangers_folder_is_not_trusted(self):
        self.assertEqual(len(link.find_studios()), 1)
        link.runtime_folder().chmod(0o755)
        self.assertEqual(link.find_studios(), [])

    def test_files_of_dead_studios_are_removed(self):
        process = subprocess.Popen(["true"])
        process.wait()
        folder = link.runtime_folder()
        stale = folder / f"link-{process.pid}.json"
        stale.write_text(json.dumps({"version": 1, "pid": process.pid, "socket": str(stale.with_suffix(".sock"))}), encoding="utf-8")
        (folder / "link-0.json").write_text("{", encoding="utf-8")
        self.assertEqual([studio.pid for studio in link.find_studios()], [os.getpid()])
        self.assertFalse(stale.exists())

    def test_the_example_runs(self):
        done = subprocess.run([sys.executable, str(ROOT / "integrations/python/animate_scene.py"), "--seconds", "0.3"], capture_output=True,
                              text=True, timeout=60, check=False)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertEqual(self.studio.scene.faults, [])
        self.assertGreater(self.studio.scene.counts["transforms"], 1)


class WithoutStudio(unittest.TestCase):
    def test_the_error_says_what_to_do(self):
        with tempfile.TemporaryDirectory() as folder:
            os.environ["XDG_RUNTIME_DIR"] = folder
            with self.assertRaisesRegex(link.LinkError, "No Lumenara Studio listens. Start it"):
                link.connect("test")
            with self.assertRaisesRegex(link.LinkError, "was not found"):
                link.start_studio("no-such-program")
            with self.assertRaisesRegex(link.LinkError, "ended with code 1"):
                link.start_studio("false")
            with self.assertRaisesRegex(link.LinkError, "No Lumenara Studio answers"):
                link.Connection("test", folder + "/nothing.sock")


if __name__ == "__main__":
    unittest.main()
