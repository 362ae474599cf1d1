"""A Studio for tests: speaks the link over a real socket, checks each frame, and keeps what a document would hold."""
import json
import os
import pathlib
import socket
import struct
import threading

SIZES = {"u8": 1, "u32": 4, "f32": 4, "f64": 8}
CODES = {"u8": "B", "u32": "I", "f32": "f", "f64": "d"}


def unpack(message, body):
    """The blocks of a message as tuples of numbers (bytes for u8). ValueError where they break the rules."""
    found, end = {}, 0
    for name, block in message.get("blocks", {}).items():
        scalar, _, width = block["format"].partition("x")
        size = SIZES[scalar] * int(width or 1) * block["count"]
        if block["offset"] % 8 or block["offset"] < end or block["offset"] + size > len(body):
            raise ValueError(f"block {name} of {message['type']} lies wrong: {block}, body {len(body)}")
        end = block["offset"] + size
        raw = body[block["offset"]:end]
        found[name] = raw if scalar == "u8" else memoryview(raw).cast(CODES[scalar])
    return found


class Scene:
    """What the messages add up to. `faults` lists references to nothing and other mistakes."""

    def __init__(self):
        self.clear()
        self.counts, self.faults, self.commits = {}, [], 0

    def clear(self):
        self.meshes, self.pictures, self.materials, self.objects = {}, {}, {}, {}
        self.sky, self.settings, self.time = {}, {}, {}

    def apply(self, message, blocks):
        kind = message["type"]
        self.counts[kind] = self.counts.get(kind, 0) + 1
        apply = getattr(self, "on_" + kind, None)
        if apply:
            apply(message, blocks)

    def need(self, table, key, of):
        if key is not None and key not in table:
            self.faults.append(f"{of} names {key}, which is not there")

    def on_scene_begin(self, message, blocks):
        if message.get("replace", True):
            self.clear()

    def on_mesh(self, message, blocks):
        self.meshes[message["key"]] = {**message, **{name: values for name, values in blocks.items()}}
        points = len(blocks["positions"]) // 3
        used = blocks.get("indices", blocks.get("face_vertices"))
        if len(used) and max(used) >= points:
            self.faults.append(f"mesh {message['key']} has an index beyond its points")
        if "face_sizes" in blocks and sum(blocks["face_sizes"]) != len(used):
            self.faults.append(f"mesh {message['key']} has another number of corners than its faces say")
        for name, width in (("normals", 3), ("uv0", 2), ("uv1", 2), ("colors", 4)):
            wanted = len(used) if name in message.get("corners", ()) else points
            if name in blocks and len(blocks[name]) != wanted * width:
                self.faults.append(f"mesh {message['key']}: {name} has {len(blocks[name])} numbers for {wanted} entries")

    def on_picture(self, message, blocks):
        self.pictures[message["key"]] = {**message, **blocks}

    def on_material(self, message, blocks):
        self.materials[message["key"]] = message["gltf"]
        for key in picture_keys(message["gltf"]):
            self.need(self.pictures, key, f"material {message['key']}")

    def on_object(self, message, blocks):
        self.objects[message["key"]] = {**message, **blocks}
        self.need(self.objects, message.get("parent"), f"object {message['key']}")
        if message["kind"] in ("mesh", "instances"):
            self.need(self.meshes, message["mesh"], f"object {message['key']}")
        for key in message.get("materials", ()):
            self.need(self.materials, key, f"object {message['key']}")

    def on_transforms(self, message, blocks):
        values = blocks["matrices"]
        for index, key in enumerate(message["keys"]):
            self.need(self.objects, key, "transforms")
            if key in self.objects:
                self.objects[key]["matrix"] = list(values[16 * index:16 * index + 16])

    def on_visibility(self, message, blocks):
        for key, editor, render in zip(message["keys"], message["editor"], message["render"]):
            self.need(self.objects, key, "visibility")
            self.objects[key]["visible"] = {"editor": editor, "render": render}

    def on_remove(self, message, blocks):
        for key in message["keys"]:
            if not any(table.pop(key, None) for table in (self.meshes, self.pictures, self.materials, self.objects)):
                self.faults.append(f"remove names {key}, which is not there")

    def on_sky(self, message, blocks):
        self.sky = message
        self.need(self.pictures, message.get("picture"), "sky")

    def on_settings(self, message, blocks):
        self.settings.update(message)
        self.need(self.objects, message.get("camera"), "settings")

    def on_time(self, message, blocks):
        self.time = message

    def on_commit(self, message, blocks):
        self.commits = message["n"]


def picture_keys(value):
    """All picture keys of a glTF material."""
    if isinstance(value, dict):
        for name, below in value.items():
            if name == "picture" and isinstance(below, str):
                yield below
            else:
                yield from picture_keys(below)
    elif isinstance(value, list):
        for below in value:
            yield from picture_keys(below)


class RecordingStudio:
    """Listens in a folder, which becomes the runtime folder of this process. One client after another."""

    def __init__(self, runtime, refuse_version=False, token=""):
        """With a token it listens on a port of the loopback instead, `address`."""
        os.environ["XDG_RUNTIME_DIR"] = str(runtime)
        folder = pathlib.Path(runtime) / "lumenara"
        folder.mkdir(mode=0o700, exist_ok=True)
        self.path = folder / f"link-{os.getpid()}.sock"
        self.path.unlink(missing_ok=True)
        self.file = self.path.with_suffix(".json")
        self.scene, self.messages, self.refuse_version = Scene(), [], refuse_version
        self.refusal = ""  # of "open" and "grab"
        self.finishes = 0  # 1: tells the ends of renders at each commit
        self.progress = False  # renders end once a client watches them
        self.silent, self.promised = False, 3  # no answer to them; bytes that a picture announces
        self.failure, self.hold_acks, self.broken = None, False, None
        self.changed = threading.Condition()
        self.token, self.address = token, ""
        self.listener = socket.socket(socket.AF_INET if token else socket.AF_UNIX, socket.SOCK_STREAM)
        self.listener.bind(("127.0.0.1", 0) if token else str(self.path))
        self.listener.listen(4)
        if token:
            self.address = f"127.0.0.1:{self.listener.getsockname()[1]}"
        self.client = None
        self.file.write_text(json.dumps({"version": 1, "pid": os.getpid(), "socket": str(self.path), "program": "Recording Studio 1",
                                         "scene": "", "started": "2000-01-01T00:00:00Z"}), encoding="utf-8")
        self.thread = threading.Thread(target=self.serve, daemon=True)
        self.thread.start()

    def serve(self):
        while True:
            try:
                self.client, _ = self.listener.accept()
            except OSError:
                return
            try:
                with self.client:
                    self.talk(self.client)
            except (OSError, EOFError):
                pass
            except Exception as error:  # shown by the test that looks
                with self.changed:
                    self.failure = error
                    self.changed.notify_all()

    @staticmethod
    def take(client, count):
        pieces = bytearray()
        while len(pieces) < count:
            piece = client.recv(min(count - len(pieces), 1 << 20))
            if not piece:
                raise EOFError
            pieces += piece
        return bytes(pieces)

    def talk(self, client):
        while True:
            magic, json_size, body_size = struct.unpack("<4sIQ", self.take(client, 16))
            if magic != b"LMLK":
                raise ValueError(f"magic is {magic}")
            message = json.loads(self.take(client, json_size))
            blocks = unpack(message, self.take(client, body_size))
            with self.changed:
                self.messages.append((message, blocks))
                self.scene.apply(message, blocks)
                self.changed.notify_all()
            self.answer(client, message)
            if message["type"] == "bye":
                return

    def answer(self, client, message):
        kind = message["type"]
        if kind == "hello" and self.token and message.get("token") != self.token:
            self.send({"type": "refused", "reason": "The token is missing or wrong.", "help": "Look it up."}, client=client)
            client.close()
        elif kind == "hello" and self.refuse_version:
            self.send({"type": "refused", "reason": "The client speaks version 1, this Studio version 0.", "help": "Update Lumenara."}, client=client)
            client.close()
        elif kind == "hello":
            self.send({"type": "welcome", "version": 1, "program": "Recording Studio 1", "pid": os.getpid()}, client=client)
        elif kind == "ping":
            self.send({"type": "pong"}, client=client)
        elif kind in ("grab", "open") and self.silent:
            pass
        elif kind in ("grab", "open") and self.refusal:
            self.send({"type": "error", "message": message["id"], "text": self.refusal, "help": "Do so."}, client=client)
        elif kind == "open":
            self.send({"type": "ack", "message": message["id"]}, client=client)
        elif kind == "grab":
            self.send({"type": "error", "message": 999, "text": "Of another message.", "help": ""}, client=client)
            self.send({"type": "picture", "message": message["id"], "format": message["format"], "width": 4, "height": 3, "running": True,
                       "blocks": {"file": {"offset": 0, "count": self.promised, "format": "u8"}}}, b"PNG\0\0\0\0\0", client)
        elif kind == "commit" and not self.hold_acks:
            for _ in range(self.finishes):  # of the render before: clients that wait for their commit pass over it
                self.send({"type": "finished", "result": "stopped", "seconds": 0.1}, client=client)
            self.send({"type": "ack", "commit": message["n"], "milliseconds": 1.5, "objects": len(self.scene.objects), "triangles": 12,
                       "notes": []}, client=client)
            if not self.progress:
                self.finish(client)
        elif kind == "watch" and message["progress"]:
            self.send({"type": "progress", "samples": 3, "of": 8}, client=client)
            if self.progress:
                self.finish(client)

    def finish(self, client):
        for result in ("stopped", "done")[:2 * self.finishes]:
            self.send({"type": "finished", "result": result, "seconds": 0.5, "width": 4, "height": 3}, client=client)

    def send(self, message, body=b"", client=None):
        text = json.dumps(message).encode()
        (client or self.client).sendall(struct.pack("<4sIQ", b"LMLK", len(text), len(body)) + text + body)

    def wait(self, condition, seconds=30):
        """Waits until the condition holds; fails after so many seconds."""
        with self.changed:
            met = self.changed.wait_for(lambda: self.failure or condition(), seconds)
        if self.failure:
            raise self.failure
        if not met:
            raise AssertionError(f"not seen within {seconds} s; counts {self.scene.counts}")

    def drop_client(self):
        """Breaks the connection as a killed program would."""
        self.client.shutdown(socket.SHUT_RDWR)

    def close(self):
        self.file.unlink(missing_ok=True)
        self.listener.shutdown(socket.SHUT_RDWR)
        self.listener.close()
        self.path.unlink(missing_ok=True)
        self.thread.join(5)
