#!/usr/bin/env python3
"""What desktops read is valid, and thumbnails of good and of hostile scenes are made or refused in time.

  desktop_test.py --build FOLDER --source FOLDER
"""
import argparse
import os
import pathlib
import shutil
import struct
import subprocess
import sys
import tempfile

from installed import Failed, check


def tool(name, *arguments):
    if not shutil.which(name):
        print(f"not tested, because not installed: {name}")
        return
    ended = subprocess.run([name, *map(str, arguments)], capture_output=True, text=True, check=False)
    check(ended.returncode == 0, f"{name}: {ended.stdout}{ended.stderr}")


def size_of_png(file):
    data = file.read_bytes()
    check(data.startswith(b"\x89PNG"), f"{file} is no PNG")
    return struct.unpack_from(">II", data, 16)


class Thumbnails:
    """The thumbnailer beside the built program, as an installation has them."""

    def __init__(self, build, source, folder):
        self.folder, self.program = folder, folder / "lumenara-thumbnailer"
        (folder / "lumenara").symlink_to(build / "bin" / "lumenara")
        shutil.copy(source / "packaging" / "lumenara-thumbnailer", folder)
        self.scratch = folder / "scratch"
        self.scratch.mkdir()

    def run(self, scene, *size, **more):
        """(Code, picture or None). Nothing stays in the folder for temporary files."""
        picture = self.folder / "picture"
        picture.unlink(missing_ok=True)
        ended = subprocess.run([self.program, scene, picture, *size], cwd=self.folder, capture_output=True, text=True, timeout=60, check=False,
                               env={"PATH": os.environ["PATH"], "TMPDIR": str(self.scratch), "HOME": "/nonexistent", **more})
        check(not list(self.scratch.iterdir()), f"the thumbnailer leaves {list(self.scratch.iterdir())}")
        check("Traceback" not in ended.stderr, ended.stderr)
        return ended.returncode, picture if picture.exists() else None

    def good(self, scene, size):
        code, picture = self.run(scene, str(size))
        check(code == 0 and picture, f"no thumbnail of {scene}")
        check(size_of_png(picture) == (size, size), f"the thumbnail of {scene} has another size")

    def refused(self, name, data):
        (self.folder / name).write_bytes(data)
        code, picture = self.run(name)
        check(code == 1 and not picture, f"{name} has a thumbnail, or ends with {code}")


def check_thumbnails(build, source, folder):
    thumbnails = Thumbnails(build, source, folder)
    small = source / "scenes" / "small.gltf"
    thumbnails.good(small, 32)
    odd = folder / "-o.gltf"
    shutil.copy(small, odd)
    thumbnails.good("-o.gltf", 16)
    thumbnails.refused("empty.glb", b"")
    thumbnails.refused("noise.glb", b"glTF" + bytes(range(256)) * 40)
    thumbnails.refused("huge.glb", struct.pack("<4sIIII", b"glTF", 2, 0xFFFFFFF0, 0xFFFFFFE0, 0x4E4F534A) + b"{" * 1000)
    thumbnails.refused("deep.gltf", b'{"asset":{"version":"2.0"},"extras":' + b"[" * 200000)
    # A pipe that nobody writes to: the time is bounded whatever the program does. The bound itself is not waited for.
    text = (source / "packaging" / "lumenara-thumbnailer").read_text(encoding="utf-8")
    check("timeout --kill-after=1 10 " in text, "the bound of 10 seconds is gone")
    pipe = folder / "pipe.glb"
    os.mkfifo(pipe)
    thumbnails.program.write_text(text.replace("--kill-after=1 10 ", "--kill-after=1 0.5 "), encoding="utf-8")
    code, picture = thumbnails.run("pipe.glb")
    check(code == 1 and not picture, "a pipe has a thumbnail")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", type=pathlib.Path, required=True)
    parser.add_argument("--source", type=pathlib.Path, required=True)
    options = parser.parse_args()
    tool("desktop-file-validate", options.source / "packaging" / "lumenara-studio.desktop")
    tool("appstreamcli", "validate", "--no-net", options.build / "packaging" / "org.lumenara.Studio.metainfo.xml")
    entry = (options.source / "packaging" / "lumenara-studio.desktop").read_text(encoding="utf-8")
    for kind in ("model/gltf-binary", "model/gltf+json"):
        known = pathlib.Path("/usr/share/mime") / (kind + ".xml")
        check(kind + ";" in entry, f"the desktop entry does not open {kind}")
        check(known.exists() or not known.parents[1].exists(), f"this system does not know {kind}")
    for icon in (options.build / "packaging" / "icons").rglob("*.png"):
        width, height = size_of_png(icon)
        check(icon.parts[-3] == f"{width}x{height}", f"{icon} has another size")
    with tempfile.TemporaryDirectory(prefix="lumenara-thumbnails-") as name:
        check_thumbnails(options.build, options.source, pathlib.Path(name))
    print("passed")
    return 0


if __name__ == "__main__":
    try:
        sys.exit(main())
    except Failed as failure:
        print(f"failed: {failure}")
        sys.exit(1)
