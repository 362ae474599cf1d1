#!/usr/bin/env python3
"""The live link with the real program: the scene of another program in the viewer, its changes, and the end of either side."""

import json
import os
import pathlib
import shutil
import socket
import statistics
import struct
import subprocess
import sys
import time

from scenario import check, main, set_auto
from studio_driver import Picture, wait_for


def client(run, studio):
    """The Python client, which finds this Studio and no other."""
    folder = str(run.options.source / "integrations" / "python")
    if folder not in sys.path:
        sys.path.insert(0, folder)
    os.environ["XDG_RUNTIME_DIR"] = str(studio.inspect_folder)
    import animate_scene
    import lumenara_link
    return lumenara_link, animate_scene


def cut_off(link):
    """A stranger that announces gigabytes, sends a few bytes and dies."""
    with socket.socket(socket.AF_UNIX) as stranger:
        stranger.connect(str(link.find_studios()[0].socket))
        stranger.sendall(struct.pack("<4sIQ", b"LMLK", 100, 8 << 30) + b'{"type":')


def live_link(run):
    studio = run.viewer()
    set_auto(studio, True)
    own = studio.settled()
    link, ring = client(run, studio)
    wait_for("the socket", link.find_studios)
    with link.connect("scenario") as sender:
        ring.send_scene(sender)
        studio.changed_from(own, 3)
        first = studio.settled()
        run.options.output.mkdir(parents=True, exist_ok=True)
        run.display.save(run.options.output / "live-link.png")
        keys = [f"cube{index}" for index in range(ring.CUBES)]
        begin = time.monotonic()
        sender.transforms(keys, [ring.placed(index, 0.3) for index in range(ring.CUBES)])
        sender.commit(wait=30)
        studio.changed_from(first)
        print(f"moved cubes are in the viewer after {time.monotonic() - begin:.2f} s")
        moved = studio.settled()
        cut_off(link)
        studio.alive()
    # The last scene stays when its program has gone, and a new one may come.
    check(studio.settled().difference(moved) == 0, "the picture stays")
    with link.connect("scenario again") as sender:
        ring.send_scene(sender)
        studio.changed_from(moved)
        studio.kill()
        try:
            sender.commit(wait=10)
            check(False, "the client notices the end of Studio")
        except link.LinkError as error:
            print(f"the client says: {error}")


def batch(run, studio, *arguments):
    """The program lumenara, which finds this Studio and no other: its exit code and its errors."""
    settings = dict(os.environ, XDG_RUNTIME_DIR=str(studio.inspect_folder), LUMENARA_HOME=str(run.folder / "batch-home"))
    done = subprocess.run([str(run.options.batch), *map(str, arguments)], env=settings, capture_output=True, text=True, timeout=120, check=False)
    return done.returncode, done.stderr


def read_bmp(path):
    """A picture of 24 bits a pixel."""
    data = path.read_bytes()
    begin, width, height, bits = *struct.unpack_from("<I", data, 10), *struct.unpack_from("<ii", data, 18), *struct.unpack_from("<H", data, 28)
    check(bits == 24 and height > 0, f"{path} has {bits} bits and {height} rows")
    line, rgb = (width * 3 + 3) // 4 * 4, bytearray()
    for row in reversed(range(height)):
        bgr = data[begin + row * line:begin + row * line + width * 3]
        pixels = bytearray(len(bgr))
        for channel in range(3):
            pixels[channel::3] = bgr[2 - channel::3]
        rgb += pixels
    return Picture(width, height, bytes(rgb))


def below_stamp(picture, rows=40):
    """The picture without the rows where the viewer draws the time that the render took."""
    return Picture(picture.width, picture.height - rows, picture.data[rows * picture.width * 3:])


def sent_scene(run):
    """The scenario's scene with its objects in other places."""
    scene = json.loads(run.scene.read_text(encoding="utf-8"))
    for node in scene["nodes"]:
        if "mesh" in node:
            node["translation"] = [part + 0.3 for part in node.get("translation", (0, 0, 0))]
    file = run.folder / "sent scene.gltf"
    file.write_text(json.dumps(scene), encoding="utf-8")
    return file


def send_and_grab(run):
    """`lumenara send` and `lumenara grab` with the real program, and its port on the loopback."""
    studio = run.viewer("--listen-tcp")
    set_auto(studio, True)
    own = studio.settled()
    link, _ = client(run, studio)
    found = wait_for("the socket", link.find_studios)[0]
    scene = sent_scene(run)
    code, said = batch(run, studio, "send", scene)
    check((code, said) == (0, f"lumenara: Lumenara Studio shows {scene}\n"), f"send: {code} {said}")
    wait_for("the scene's name in the description", lambda: link.find_studios()[0].scene == scene.name)
    studio.changed_from(own)
    for name in ("during.png", "film.exr"):
        picture = run.folder / name
        code, said = batch(run, studio, "grab", "-o", picture)
        check(code == 0, f"grab: {code} {said}")
        check(picture.stat().st_size > 1000, f"{name} has {picture.stat().st_size} bytes")
    shown = studio.settled()
    picture = run.folder / "finished.bmp"
    code, said = batch(run, studio, "grab", "-o", picture)
    check(code == 0 and "goes on" not in said, f"grab: {code} {said}")
    grabbed = read_bmp(picture)
    check((grabbed.width, grabbed.height) == (shown.width, shown.height), f"the picture has {grabbed.width} x {grabbed.height} pixels")
    check(below_stamp(grabbed).data == below_stamp(shown).data, f"the picture is the viewer's: {below_stamp(grabbed).difference(below_stamp(shown))}")
    check(below_stamp(grabbed).difference(below_stamp(own)) > 0.3, "the picture is of the sent scene")
    with link.connect("scenario", address=f"127.0.0.1:{found.port}", token=found.token) as sender:
        check(sender.grab("bmp") == picture.read_bytes(), "the port gives the same picture")
    try:
        link.connect("scenario", address=f"127.0.0.1:{found.port}")
        check(False, "a program without the token is refused")
    except link.LinkError as error:
        check("token" in str(error), str(error))
    run.options.output.mkdir(parents=True, exist_ok=True)
    run.display.save(run.options.output / "grabbed-from.png")
    studio.kill()
    code, said = batch(run, studio, "grab", "-o", run.folder / "none.png")
    check(code == 5 and "no Lumenara Studio" in said, f"grab from an ended Studio: {code} {said}")



def link_window(run):
    """File > Live Link: TCP is switched on by hand, a program connects through it, and the next start listens there again."""
    studio = run.viewer()
    link, ring = client(run, studio)
    studio.await_keyboard()
    studio.menu("File", "Live Link...")
    studio.standing(name="link-dialog")
    studio.click(name="link-tcp")
    found = wait_for("the port in the description", lambda: (lambda all: all[0] if all and all[0].port else None)(link.find_studios()))
    check(studio.get(name="link-address")["text"] == f"127.0.0.1:{found.port}", "the address is shown")
    check(studio.get(name="link-token")["text"] == found.token, "the token is shown")
    with link.connect("Ring of Cubes", address=f"127.0.0.1:{found.port}", token=found.token) as sender:
        ring.send_scene(sender)
        check(studio.get(name="link-client")["text"] == "Ring of Cubes", "the window names the program")
        studio.get(name="linkState", text=f"Ring of Cubes connected, {sender.acknowledged['objects']} objects")
        studio.settled()
        run.options.output.mkdir(parents=True, exist_ok=True)
        run.display.save(run.options.output / "link-window.png")
    wait_for("the end of the connection", lambda: studio.find(name="linkState") is None)
    studio.kill()
    studio = run.start(run.scene)
    link, _ = client(run, studio)
    found = wait_for("the port after the next start", lambda: (lambda all: all[0] if all and all[0].port else None)(link.find_studios()))
    studio.kill()
    studio = run.start(run.scene, "--no-listen")
    link, _ = client(run, studio)
    studio.await_keyboard()
    studio.menu("File", "Live Link...")
    check(studio.get(name="link-client")["text"] == "Studio does not listen", "--no-listen holds over the choice")
    check(not link.find_studios(), "no socket is there")


class Blender:
    """Blender in the background, with the add-on connected to a Studio."""

    def __init__(self, run, studio):
        if not shutil.which("blender"):
            print("skipped: Blender is not installed")
            sys.exit(77)
        folder = run.folder / "blender"
        folder.mkdir(exist_ok=True)
        # Blender's Python takes the library beside the first python3 in the path: this script's own may lack numpy.
        path = [place for place in os.environ["PATH"].split(os.pathsep) if not pathlib.Path(place).is_relative_to(sys.base_prefix) or sys.base_prefix == "/usr"]
        settings = dict(os.environ, PATH=os.pathsep.join(path), XDG_RUNTIME_DIR=str(studio.inspect_folder), BLENDER_USER_CONFIG=str(folder),
                        BLENDER_USER_SCRIPTS=str(folder))
        script = pathlib.Path(__file__).resolve().parent / "blender_mover.py"
        self.process = subprocess.Popen(["blender", "--background", "--factory-startup", "--python-exit-code", "1", "--python", str(script)],
                                        env=settings, stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        self.answer("SENT")

    def answer(self, word):
        said = []
        for line in self.process.stdout:
            if line.startswith(word):
                return [float(number) for number in line.split()[1:]]
            said.append(line)
        check(False, "Blender ended: " + "".join(said)[-800:])

    def move(self, *place):
        """The time at which the cube moved."""
        self.process.stdin.write(" ".join(map(str, place)) + "\n")
        self.process.stdin.flush()
        return self.answer("MOVED")[0]

    def kill(self):
        self.process.kill()
        self.process.wait()


def blender(run):
    """The start scene of a real Blender in the viewer; its cube moves, and Blender dies."""
    studio = run.viewer()
    set_auto(studio, True)
    own = studio.settled()
    modeller = Blender(run, studio)
    studio.changed_from(own, 3)
    before = studio.settled()
    run.options.output.mkdir(parents=True, exist_ok=True)
    run.display.save(run.options.output / "blender.png")
    times = []
    for turn in range(1, 13):
        moved = modeller.move(1.5 * (turn % 2), 0.2 * turn, 0)
        wait_for("the moved cube", lambda: (lambda shot: shot if shot.difference(before) > 0.3 else None)(studio.picture()), 30, 0.005)
        times.append(time.time() - moved)
        before = studio.settled()
    times.sort()
    print(f"move to changed pixels: median {1000 * statistics.median(times):.0f} ms, longest {1000 * times[-1]:.0f} ms")
    modeller.kill()
    check(studio.settled().difference(before) == 0, "the picture stays when Blender dies")
    again = Blender(run, studio)
    again.move(0, 0, 2)
    studio.changed_from(before)
    again.kill()


if __name__ == "__main__":
    sys.exit(main((live_link, send_and_grab, link_window, blender)))
