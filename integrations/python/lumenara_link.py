"""Client of Lumenara's live link: show and animate a scene in a running Lumenara Studio.

One file for Python 3.9 and later; numpy arrays are taken where numpy is there. docs/link.md describes the protocol.

    import lumenara_link as link

    with link.connect("My program") as studio:
        studio.scene_begin("Cube")
        studio.mesh("cube", positions, indices=triangles)
        studio.object("cube-1", "mesh", mesh="cube", matrix=link.IDENTITY)
        studio.scene_end()
        studio.commit(wait=10)

Metres, right-handed, y up; cameras and lights look along their -Z. Colours are linear. Matrices are 16 numbers, column after column.

Messages are queued and written by a thread of the connection; answers are read by another. All methods may be called from any
thread. A lost connection raises LinkError at the next call; `reconnect` looks for a Studio again, and then the whole scene has to be sent.
"""
from __future__ import annotations

import array
import collections
import dataclasses
import json
import os
import pathlib
import shutil
import socket
import stat
import struct
import subprocess
import sys
import tempfile
import threading
import time
from typing import Any, Callable, Deque, Dict, Iterable, List, Optional, Sequence, Tuple, Union

VERSION = 1
IDENTITY = (1.0, 0.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 0.0, 1.0)

_MAGIC = b"LMLK"
_HEAD = struct.Struct("<4sIQ")
_MOST_JSON = 16 << 20
_MOST_BODY = 8 << 30
_SCALARS = {"u8": "B", "u32": "I", "f32": "f", "f64": "d"}
# Bytes that may wait for the writer before a sender is held back.
_MOST_WAITING = 256 << 20

Message = Dict[str, Any]
# Bytes in the block's own layout, an array, a numpy array, or (nested) sequences of numbers.
Data = Any


class LinkError(Exception):
    """A failure of the link: `str()` says what happened, `help` what to do."""

    def __init__(self, text: str, help: str = "") -> None:
        super().__init__(text if not help else f"{text} {help}")
        self.text, self.help = text, help


# Finding and starting Studio.


@dataclasses.dataclass(frozen=True)
class Studio:
    """A running Studio, as its own small file describes it."""

    pid: int
    socket: str
    program: str
    scene: str
    started: str
    port: int = 0
    token: str = ""


def runtime_folder() -> pathlib.Path:
    """The folder of the sockets. It exists only once a Studio has listened."""
    base = os.environ.get("XDG_RUNTIME_DIR")
    return pathlib.Path(base) / "lumenara" if base else pathlib.Path(f"/tmp/lumenara-{os.getuid()}")


def _is_private(folder: pathlib.Path) -> bool:
    try:
        state = folder.lstat()
    except OSError:
        return False
    return stat.S_ISDIR(state.st_mode) and state.st_uid == os.getuid() and stat.S_IMODE(state.st_mode) & 0o077 == 0


def _alive(pid: int) -> bool:
    try:
        os.kill(pid, 0)
    except ProcessLookupError:
        return False
    except (PermissionError, OverflowError):
        pass
    return True


def _read_studio(file: pathlib.Path) -> Optional[Studio]:
    try:
        with open(file, "rb") as stream:
            found = json.loads(stream.read(1 << 16))
        studio = Studio(int(found["pid"]), str(found["socket"]), str(found.get("program", "Lumenara Studio")),
                        str(found.get("scene", "")), str(found.get("started", "")), int(found.get("port", 0)),
                        str(found.get("token", "")))
    except (OSError, ValueError, KeyError, TypeError):
        return None
    return studio if studio.pid > 0 and studio.socket else None


def find_studios() -> List[Studio]:
    """All Studios of this user that listen, the youngest first. Removes what dead ones left behind."""
    folder = runtime_folder()
    if not _is_private(folder):
        return []
    found = []
    for file in folder.glob("link-*.json"):
        studio = _read_studio(file)
        if studio is None:
            continue
        if _alive(studio.pid):
            found.append(studio)
            continue
        for stale in (file, file.with_suffix(".sock")):
            try:
                stale.unlink()
            except OSError:
                pass
    return sorted(found, key=lambda studio: studio.started, reverse=True)


def start_studio(program: Optional[str] = None, arguments: Sequence[str] = (), timeout: float = 30) -> Studio:
    """Starts Lumenara Studio and waits until it listens, at most `timeout` seconds.

    The program is `program`, else $LUMENARA_STUDIO, else `lumenara-studio` of the path.
    """
    name = program or os.environ.get("LUMENARA_STUDIO") or "lumenara-studio"
    path = shutil.which(name)
    if path is None:
        raise LinkError(f"The program {name} was not found.", "Install Lumenara Studio or give the program's full path.")
    known = {studio.pid for studio in find_studios()}
    process = subprocess.Popen([path, "--listen", *arguments], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                               stderr=subprocess.DEVNULL, start_new_session=True)
    end = time.monotonic() + timeout
    while time.monotonic() < end:
        for studio in find_studios():
            if studio.pid not in known:
                return studio
        if process.poll() is not None:
            raise LinkError(f"{path} ended with code {process.returncode} before it listened.", "Start it in a terminal to see why.")
        time.sleep(0.05)
    raise LinkError(f"{path} did not listen within {timeout:g} seconds.", "Start it without --no-listen and try again.")


# Blocks.


def _flat(values: Iterable[Any]) -> Iterable[float]:
    for value in values:
        if isinstance(value, (int, float)):
            yield value
        else:
            yield from _flat(value)


def _scalars_and_width(form: str) -> Tuple[str, int]:
    scalar, _, width = form.partition("x")
    if scalar not in _SCALARS or width not in ("", "2", "3", "4", "16"):
        raise ValueError(f"unknown block format {form}")
    return scalar, int(width or 1)


def pack_block(data: Data, form: str) -> Tuple[memoryview, int]:
    """The bytes of a block and the number of its elements. `form` is one of u8, u32, f32, f64, with x2, x3, x4 or x16 behind it.

    Arrays of the right type are not copied here, and must not change until the message has been written.
    """
    scalar, width = _scalars_and_width(form)
    code = _SCALARS[scalar]
    if hasattr(data, "__array_interface__"):
        import numpy
        data = numpy.ascontiguousarray(data, dtype="<" + {"u8": "u1", "u32": "u4", "f32": "f4", "f64": "f8"}[scalar])
        raw = memoryview(data.reshape(-1)).cast("B") if data.size else memoryview(b"")
    elif isinstance(data, (bytes, bytearray)):
        raw = memoryview(data)
    else:
        if not (isinstance(data, (array.array, memoryview)) and memoryview(data).format == code):
            data = array.array(code, _flat(data) if scalar.startswith("f") else map(int, _flat(data)))
        if sys.byteorder == "big":
            data = array.array(code, data)
            data.byteswap()
        raw = memoryview(data).cast("B") if len(data) else memoryview(b"")
    size = array.array(code).itemsize * width
    if len(raw) % size:
        raise ValueError(f"{len(raw)} bytes are not a whole number of {form}")
    return raw, len(raw) // size


def pack_frame(message: Message, blocks: Optional[Dict[str, Tuple[Data, str]]] = None) -> List[memoryview]:
    """The pieces of a frame: head, JSON, and the blocks, each at a multiple of 8 bytes of the body."""
    pieces: List[memoryview] = []
    described, offset = {}, 0
    for name, (data, form) in (blocks or {}).items():
        raw, count = pack_block(data, form)
        described[name] = {"offset": offset, "count": count, "format": form}
        pieces.append(raw)
        padding = -len(raw) % 8
        if padding:
            pieces.append(memoryview(bytes(padding)))
        offset += len(raw) + padding
    if described:
        message = {**message, "blocks": described}
    try:
        text = json.dumps(message, allow_nan=False).encode()
    except ValueError as error:
        raise ValueError(f"the message {message.get('type')} has a number that is not finite") from error
    if len(text) > _MOST_JSON or offset > _MOST_BODY:
        raise ValueError(f"the message {message.get('type')} is too large: {len(text)} bytes of JSON, {offset} of blocks")
    return [memoryview(_HEAD.pack(_MAGIC, len(text), offset) + text), *pieces]


class FrameReader:
    """Takes frames out of a stream that arrives in pieces."""

    def __init__(self) -> None:
        self._bytes = bytearray()

    def feed(self, piece: bytes) -> List[Tuple[Message, bytes]]:
        """All messages that are complete now, each with its body. LinkError when the stream is broken."""
        self._bytes += piece
        found = []
        while len(self._bytes) >= _HEAD.size:
            magic, json_size, body_size = _HEAD.unpack_from(self._bytes)
            if magic != _MAGIC or json_size > _MOST_JSON or body_size > _MOST_BODY:
                raise LinkError("The other side does not speak Lumenara's link.", "Check the address.")
            end = _HEAD.size + json_size + body_size
            if len(self._bytes) < end:
                break
            try:
                message = json.loads(bytes(self._bytes[_HEAD.size:_HEAD.size + json_size]))
            except ValueError as error:
                raise LinkError("A message of the other side is not JSON.") from error
            if not isinstance(message, dict):
                raise LinkError("A message of the other side is not an object.")
            found.append((message, bytes(self._bytes[_HEAD.size + json_size:end])))
            del self._bytes[:end]
        return found


# The connection.

Address = Union[str, Tuple[str, int]]


class Connection:
    """A connection with one Studio. Use `connect`, or give the address of a socket or (host, port)."""

    def __init__(self, program: str, address: Address, token: str = "", timeout: float = 5,
                 on_message: Optional[Callable[[Message, bytes], None]] = None) -> None:
        self.program, self.address, self.token, self.timeout = program, address, token, timeout
        self.on_message = on_message
        """Called on the reading thread with every answer and its body."""
        self.welcome: Message = {}
        self.acknowledged: Message = {}
        """The last ack: commit, milliseconds, objects, triangles, notes."""
        self._open()

    # Life.

    def _open(self) -> None:
        self._changed = threading.Condition()
        self._waiting: Deque[Optional[memoryview]] = collections.deque()
        self._waiting_bytes = 0
        self._answers: Deque[Tuple[Message, bytes]] = collections.deque(maxlen=10000)
        self._failure: Optional[LinkError] = None
        self._closing = False
        self._acked = 0
        self._next_id = self._next_commit = 1
        try:
            if isinstance(self.address, str):
                self._socket = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
                self._socket.settimeout(self.timeout)
                self._socket.connect(self.address)
            else:
                self._socket = socket.create_connection(self.address, self.timeout)
        except OSError as error:
            self._socket.close() if isinstance(self.address, str) else None
            raise LinkError(f"No Lumenara Studio answers at {self.address}: {error.strerror or error}.", "Start Studio and try again.") from error
        try:
            self._greet()
        except BaseException:
            self._socket.close()
            raise
        self._socket.settimeout(None)
        self._writer = threading.Thread(target=self._write, args=(self._socket,), name="lumenara-link-writer", daemon=True)
        self._reader = threading.Thread(target=self._read, args=(self._socket, self._frames), name="lumenara-link-reader", daemon=True)
        self._writer.start()
        self._reader.start()

    def _greet(self) -> None:
        hello = {"type": "hello", "id": 0, "version": VERSION, "program": self.program}
        if self.token:
            hello["token"] = self.token
        self._frames = FrameReader()
        try:
            self._socket.sendall(b"".join(pack_frame(hello)))
            answers: List[Tuple[Message, bytes]] = []
            while not answers:
                piece = self._socket.recv(65536)
                if not piece:
                    raise LinkError("Studio closed the connection at once.", "Look into its console.")
                answers = self._frames.feed(piece)
        except OSError as error:
            raise LinkError(f"Studio did not answer the greeting: {error}.", "Is it busy or stopped? Try again, or restart it.") from error
        first = answers[0][0]
        if first.get("type") == "refused":
            raise LinkError(str(first.get("reason", "Studio refused the connection.")), str(first.get("help", "")))
        if first.get("type") != "welcome":
            raise LinkError("The other side does not speak Lumenara's link.", "Check the address.")
        self.welcome = first
        for answer in answers[1:]:
            self._take(answer)

    def reconnect(self, timeout: float = 30) -> None:
        """Opens the connection again, to any Studio that listens, trying for `timeout` seconds. Then send the whole scene."""
        self.close()
        end = time.monotonic() + timeout
        while True:
            try:
                if isinstance(self.address, str):
                    studios = find_studios()
                    if studios and self.address not in [studio.socket for studio in studios]:
                        self.address = studios[0].socket
                return self._open()
            except LinkError:
                if time.monotonic() >= end:
                    raise
            time.sleep(0.1)

    def close(self) -> None:
        """Writes what is queued if the other side takes it within two seconds, says goodbye and closes."""
        with self._changed:
            alive = self._failure is None and not self._closing
        if alive:
            try:
                self.send("bye")
                self.flush(2)
            except LinkError:
                pass
        with self._changed:
            self._closing = True
            self._changed.notify_all()
        try:
            self._socket.shutdown(socket.SHUT_RDWR)
        except OSError:
            pass
        for thread in (self._writer, self._reader):
            if thread is not threading.current_thread():
                thread.join(5)
        self._socket.close()

    def __enter__(self) -> "Connection":
        return self

    def __exit__(self, *_: Any) -> None:
        self.close()

    @property
    def connected(self) -> bool:
        return self._failure is None and not self._closing

    @property
    def failure(self) -> Optional[LinkError]:
        """Why the connection ended, or None."""
        return self._failure

    def _fail(self, error: LinkError) -> None:
        with self._changed:
            if self._failure is None and not self._closing:
                self._failure = error
            self._changed.notify_all()

    # The two threads.

    def _write(self, channel: socket.socket) -> None:
        while True:
            with self._changed:
                self._changed.wait_for(lambda: self._waiting or self._closing or self._failure)
                if not self._waiting or self._closing or self._failure:
                    return
                piece = self._waiting[0]
            try:
                channel.sendall(piece)
            except OSError as error:
                return self._fail(LinkError(f"The connection with Studio broke: {error.strerror or error}.", "Connect again and send the scene."))
            with self._changed:
                self._waiting.popleft()
                self._waiting_bytes -= len(piece)
                self._changed.notify_all()

    def _read(self, channel: socket.socket, frames: FrameReader) -> None:
        while True:
            try:
                piece = channel.recv(1 << 16)
                answers = frames.feed(piece)
            except LinkError as error:
                return self._fail(error)
            except OSError as error:
                return self._fail(LinkError(f"The connection with Studio broke: {error.strerror or error}.", "Connect again and send the scene."))
            if not piece:
                return self._fail(LinkError("Studio closed the connection.", "Start it again if needed, connect, and send the scene."))
            for answer in answers:
                self._take(answer)

    def _take(self, answer: Tuple[Message, bytes]) -> None:
        message = answer[0]
        with self._changed:
            if message.get("type") == "ack":
                self.acknowledged = message
                self._acked = max(self._acked, int(message.get("commit", 0)), int(message.get("through", 0)))
            self._answers.append(answer)
            self._changed.notify_all()
        if self.on_message:
            self.on_message(*answer)

    # Sending and receiving.

    def send(self, type: str, blocks: Optional[Dict[str, Tuple[Data, str]]] = None, **fields: Any) -> int:
        """Queues a message and returns its number. Fields that are None are left out; blocks are {name: (data, format)}."""
        with self._changed:
            number, self._next_id = self._next_id, self._next_id + 1
            message = {"type": type, "id": number, **{name: value for name, value in fields.items() if value is not None}}
            pieces = pack_frame(message, blocks)
            self._changed.wait_for(lambda: self._waiting_bytes < _MOST_WAITING or self._failure or self._closing)
            if self._failure:
                raise self._failure
            if self._closing:
                raise LinkError("The connection is closed.", "Connect again.")
            # Pieces of one message stay together: the lock is held while they are queued.
            self._waiting.extend(piece for piece in pieces if len(piece))
            self._waiting_bytes += sum(map(len, pieces))
            self._changed.notify_all()
        return number

    @property
    def applied(self) -> int:
        """The newest commit that Studio has acknowledged."""
        return self._acked

    @property
    def waiting_bytes(self) -> int:
        """Bytes that are queued and not yet written."""
        return self._waiting_bytes

    def flush(self, timeout: float = 60) -> None:
        """Waits until everything queued is written."""
        with self._changed:
            self._changed.wait_for(lambda: not self._waiting or self._failure or self._closing, timeout)
            if self._failure:
                raise self._failure
            if self._waiting:
                raise LinkError(f"Studio did not take {self._waiting_bytes} bytes within {timeout:g} seconds.", "Is it stopped?")

    def answers(self) -> List[Tuple[Message, bytes]]:
        """Answers that came since the last call, with their bodies. Does not wait. At most the last 10000 are kept."""
        with self._changed:
            found = list(self._answers)
            self._answers.clear()
        return found

    def wait_for(self, type: str, timeout: float = 30, **fields: Any) -> Tuple[Message, bytes]:
        """The next answer of a type whose fields have these values; takes it and leaves others."""
        def matches(answer: Tuple[Message, bytes]) -> bool:
            return answer[0].get("type") == type and all(answer[0].get(name) == value for name, value in fields.items())

        with self._changed:
            self._changed.wait_for(lambda: any(map(matches, self._answers)) or self._failure or self._closing, timeout)
            for answer in self._answers:
                if matches(answer):
                    self._answers.remove(answer)
                    return answer
            if self._failure:
                raise self._failure
        raise LinkError(f"Studio sent no {type} within {timeout:g} seconds.", "Is it busy or stopped?")

    def _ask(self, type: str, timeout: float, **fields: Any) -> Tuple[Message, bytes]:
        """Sends a message and waits for the answer to it. An answer that is an error is raised."""
        number = self.send(type, **fields)

        def answered() -> Optional[Tuple[Message, bytes]]:
            return next((answer for answer in self._answers if answer[0].get("message") == number), None)

        with self._changed:
            self._changed.wait_for(lambda: answered() or self._failure or self._closing, timeout)
            answer = answered()
            if answer is None:
                raise self._failure or LinkError(f"Studio did not answer {type} within {timeout:g} seconds.", "Is it busy, or does it ask a question?")
            self._answers.remove(answer)
        if answer[0].get("type") == "error":
            raise LinkError(str(answer[0].get("text", "Studio reports an error.")), str(answer[0].get("help", "")))
        return answer

    def wait_finished(self, timeout: float = 600) -> Message:
        """Waits until the viewer's render has ended, and returns that answer: result, seconds, width, height. A "stopped" one counts, too."""
        return self.wait_for("finished", timeout)[0]

    def watch_progress(self, on: bool = True) -> int:
        """From now on Studio tells how far the viewer's render is: answers "progress" with samples and of, at most five a second."""
        return self.send("watch", progress=on)

    def wait_commit(self, number: int, timeout: float = 30) -> Message:
        """Waits until a commit, or one behind it, is applied, and returns that ack."""
        with self._changed:
            self._changed.wait_for(lambda: self._acked >= number or self._failure or self._closing, timeout)
            if self._acked >= number:
                return self.acknowledged
            if self._failure:
                raise self._failure
        raise LinkError(f"Studio did not apply commit {number} within {timeout:g} seconds.", "Is it busy or stopped?")

    # Messages.

    def scene_begin(self, name: str, replace: bool = True) -> int:
        return self.send("scene_begin", name=name, replace=replace)

    def scene_end(self) -> int:
        return self.send("scene_end")

    def mesh(self, key: str, positions: Data, *, name: str = "", indices: Data = None, face_sizes: Data = None, face_vertices: Data = None,
             normals: Data = None, uv0: Data = None, uv1: Data = None, colors: Data = None, groups: Data = None, corners: Sequence[str] = ()) -> int:
        """Triangles by `indices`, or polygons by `face_sizes` and `face_vertices`. Names in `corners` have one entry a corner."""
        given = {"positions": (positions, "f32x3"), "indices": (indices, "u32x3"), "face_sizes": (face_sizes, "u32"),
                 "face_vertices": (face_vertices, "u32"), "normals": (normals, "f32x3"), "uv0": (uv0, "f32x2"), "uv1": (uv1, "f32x2"),
                 "colors": (colors, "f32x4"), "groups": (groups, "u32x2")}
        blocks = {block: pair for block, pair in given.items() if pair[0] is not None}
        return self.send("mesh", blocks, key=key, name=name or key, corners=list(corners) or None)

    def picture(self, key: str, *, name: str = "", path: Optional[str] = None, file: Optional[bytes] = None,
                size: Optional[Tuple[int, int]] = None, pixels: Data = None) -> int:
        """A picture by path, by a file's bytes, or by `size` and linear RGBA floats, first row at the top."""
        blocks: Dict[str, Tuple[Data, str]] = {"file": (file, "u8")} if file is not None else {"pixels": (pixels, "f32x4")} if size else {}
        return self.send("picture", blocks, key=key, name=name or key, path=path, width=size[0] if size else None, height=size[1] if size else None)

    def material(self, key: str, gltf: Message, name: str = "") -> int:
        """A glTF 2.0 material; texture infos name a "picture" by its key in place of an "index"."""
        return self.send("material", key=key, name=name or key, gltf=gltf)

    def object(self, key: str, kind: str = "null", *, name: str = "", parent: Optional[str] = None, matrix: Sequence[float] = IDENTITY,
               editor: bool = True, render: bool = True, blocks: Optional[Dict[str, Tuple[Data, str]]] = None, **fields: Any) -> int:
        """An object; `fields` by kind: mesh and materials, light, camera, or mesh, materials and blocks of instances."""
        return self.send("object", blocks, key=key, name=name or key, parent=parent, matrix=list(map(float, matrix)), kind=kind,
                         visible={"editor": editor, "render": render}, **fields)

    def instances(self, key: str, mesh: str, *, translations: Data = None, rotations: Data = None, scales: Data = None, **fields: Any) -> int:
        """Copies of a mesh; rotations are quaternions x, y, z, w. Other arguments are those of `object`."""
        given = {"translations": (translations, "f32x3"), "rotations": (rotations, "f32x4"), "scales": (scales, "f32x3")}
        return self.object(key, "instances", mesh=mesh, blocks={name: pair for name, pair in given.items() if pair[0] is not None}, **fields)

    def sky(self, kind: str, **fields: Any) -> int:
        """kind: none, color, gradient or picture; fields: color, horizon, ground, picture, rotation, strength, seen."""
        return self.send("sky", kind=kind, **fields)

    def transforms(self, keys: Sequence[str], matrices: Data) -> int:
        """New matrices, 16 numbers an object, in doubles."""
        return self.send("transforms", {"matrices": (matrices, "f64x16")}, keys=list(keys))

    def visibility(self, keys: Sequence[str], editor: Sequence[bool], render: Sequence[bool]) -> int:
        return self.send("visibility", keys=list(keys), editor=list(editor), render=list(render))

    def remove(self, keys: Sequence[str]) -> int:
        return self.send("remove", keys=list(keys))

    def time(self, seconds: float, **fields: Any) -> int:
        """fields: fps, from, to (pass `from` in a dict: `**{"from": 0}`)."""
        return self.send("time", seconds=seconds, **fields)

    def settings(self, **fields: Any) -> int:
        """width, height, samples, camera, denoise, noise: the standard error at which a pixel ends, 0 to 1 (0: none ends early)."""
        return self.send("settings", **fields)

    def commit(self, undo: bool = False, view: bool = True, wait: float = 0) -> int:
        """Applies everything since the last commit as one change. Waits up to `wait` seconds for its ack; returns its number."""
        with self._changed:
            number, self._next_commit = self._next_commit, self._next_commit + 1
        self.send("commit", n=number, undo=undo, view=view)
        if wait > 0:
            self.wait_commit(number, wait)
        return number

    def open(self, path: Union[str, "os.PathLike[str]"], timeout: float = 60) -> None:
        """Opens a scene file in Studio and waits until it is shown."""
        self._ask("open", timeout, path=os.path.abspath(path))

    def grab(self, format: str = "png", timeout: float = 30) -> bytes:
        """The viewer's picture as the bytes of a file: `format` is png, exr, jpg, tif or another suffix that Studio writes.

        LinkError where the viewer has no picture yet.
        """
        answer, body = self._ask("grab", timeout, format=format)
        block = answer.get("blocks", {}).get("file", {})
        return body[int(block.get("offset", 0)):][:int(block.get("count", len(body)))]


def _host_and_port(address: str) -> Tuple[str, int]:
    host, _, port = address.rpartition(":")
    if not host or not port.isdigit() or not 0 < int(port) < 65536:
        raise LinkError(f"The address {address} is not a host and a port.", "Write it as 127.0.0.1:4711.")
    return host, int(port)


def connect(program: str, start: bool = False, timeout: float = 30, on_message: Optional[Callable[[Message, bytes], None]] = None,
            address: str = "", token: str = "") -> Connection:
    """Connects to the youngest Studio that listens; with `start`, starts one where none does.

    With `address`, such as 127.0.0.1:4711, to a Studio that was started with --listen-tcp; `token` stands in its link-PID.json.
    """
    if address:
        return Connection(program, _host_and_port(address), token, on_message=on_message)
    failure = LinkError("No Lumenara Studio listens.", "Start it, without --no-listen.")
    studios = find_studios() or ([start_studio(timeout=timeout)] if start else [])
    for studio in studios:
        try:
            return Connection(program, studio.socket, token=studio.token, on_message=on_message)
        except LinkError as error:
            failure = error
    raise failure
