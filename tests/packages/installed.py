"""Checks of an installed Lumenara, wherever it stands: shared by the tests of the installation and of the packages."""
import base64
import json
import os
import pathlib
import re
import struct
import subprocess
import zlib

SKIP = 77
COLOUR = (230, 140, 40)  # of the textures
SIDE = 32


class Failed(Exception):
    """A failed check; the text says what was wrong."""


def check(condition, sentence):
    if not condition:
        raise Failed(sentence)


def png(colour, side=SIDE):
    row = b"\0" + bytes(colour) * side

    def chunk(name, body):
        return struct.pack(">I", len(body)) + name + body + struct.pack(">I", zlib.crc32(name + body))
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", side, side, 8, 2, 0, 0, 0)) +
            chunk(b"IDAT", zlib.compress(row * side)) + chunk(b"IEND", b""))


def bmp_pixel(file, x, y):
    """Red, green and blue of an uncompressed BMP of 24 or 32 bits, from the upper left corner."""
    data = file.read_bytes()
    start, = struct.unpack_from("<I", data, 10)
    width, height, _, bits = struct.unpack_from("<iiHH", data, 18)
    row = (width * bits // 8 + 3) // 4 * 4
    line = height - 1 - y if height > 0 else y
    at = start + line * row + x * bits // 8
    return data[at + 2], data[at + 1], data[at]


def scene_of_textures(folder, names):
    """A row of squares that glow in the colours of the pictures, each one unit wide, before an orthographic camera."""
    count = len(names)
    corners = struct.pack("<12f", -.5, -.5, 0, .5, -.5, 0, .5, .5, 0, -.5, .5, 0)
    places = struct.pack("<8f", 0, 1, 1, 1, 1, 0, 0, 0)
    buffer = corners + places + struct.pack("<6H", 0, 1, 2, 0, 2, 3)
    squares = [{"mesh": i, "translation": [i - (count - 1) / 2, 0, 0]} for i in range(count)]
    camera = {"camera": 0, "translation": [0, 0, 5], "name": "Camera"}
    scene = {
        "asset": {"version": "2.0"}, "scene": 0, "scenes": [{"nodes": list(range(count + 1))}], "nodes": squares + [camera],
        "cameras": [{"type": "orthographic", "orthographic": {"xmag": count / 2, "ymag": .5, "znear": .1, "zfar": 10}}],
        "meshes": [{"primitives": [{"attributes": {"POSITION": 0, "TEXCOORD_0": 1}, "indices": 2, "material": i}]} for i in range(count)],
        "materials": [{"emissiveFactor": [1, 1, 1], "emissiveTexture": {"index": i},
                       "pbrMetallicRoughness": {"baseColorFactor": [0, 0, 0, 1], "metallicFactor": 0}} for i in range(count)],
        "textures": [{"source": i} for i in range(count)], "images": [{"uri": name} for name in names],
        "accessors": [{"bufferView": 0, "componentType": 5126, "count": 4, "type": "VEC3", "min": [-.5, -.5, 0], "max": [.5, .5, 0]},
                      {"bufferView": 1, "componentType": 5126, "count": 4, "type": "VEC2"},
                      {"bufferView": 2, "componentType": 5123, "count": 6, "type": "SCALAR"}],
        "bufferViews": [{"buffer": 0, "byteOffset": at, "byteLength": size} for at, size in ((0, 48), (48, 32), (80, 12))],
        "buffers": [{"byteLength": len(buffer), "uri": "data:application/octet-stream;base64," + base64.b64encode(buffer).decode()}]}
    file = folder / "textures.gltf"
    file.write_text(json.dumps(scene), encoding="utf-8")
    return file


class Installed:
    """The programs in PREFIX/bin, with a home of their own."""

    def __init__(self, prefix, folder, command=()):
        self.prefix, self.folder, self.command = pathlib.Path(prefix), folder, list(command)
        self.environment = {"PATH": f"{self.prefix}/bin:/usr/bin:/bin", "LUMENARA_HOME": str(folder / "home"), "HOME": str(folder),
                            "LANG": "C.UTF-8"}

    def run(self, *arguments, program="lumenara", codes=(0,), **more):
        ended = subprocess.run([*self.command, str(self.prefix / "bin" / program), *map(str, arguments)], env={**self.environment, **more},
                               stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=300, check=False)
        check(ended.returncode in codes, f"{program} {' '.join(map(str, arguments))} ended with {ended.returncode}: {ended.stderr}")
        return ended.stdout

    def versions(self, version):
        for program in ("lumenara", "lumenara-studio"):
            check(self.run("--version", program=program).strip() == f"{program} {version}", f"{program} has another version")

    def textures(self):
        """Each codec writes a picture and reads it as a texture."""
        source = self.folder / "texture.png"
        source.write_bytes(png(COLOUR))
        names = ["texture.png"]
        for suffix in ("jpg", "webp", "tif", "bmp", "exr", "psd"):
            self.run("compare", source, source, "-o", self.folder / f"texture.{suffix}", "--quiet")
            names.append(f"texture.{suffix}")
        scene = scene_of_textures(self.folder, names)
        picture = self.folder / "textures.bmp"
        self.run("render", scene, "-o", picture, "--size", f"{8 * len(names)}x8", "--samples", 4, "--sampling", "even", "--quiet")
        for i, name in enumerate(names):
            pixel = bmp_pixel(picture, 8 * i + 4, 4)
            check(max(abs(a - b) for a, b in zip(pixel, COLOUR)) <= 25, f"the texture {name} renders as {pixel}, not as {COLOUR}")
        return scene

    def parts(self, scene):
        """Everything that is loaded at its first use: denoiser, movie, OpenColorIO, import, both engines of rays."""
        size = ("--size", "40x40", "--samples", 2, "--quiet")
        noisy, clean = self.folder / "noisy.bmp", self.folder / "clean.bmp"
        demo = self.prefix / "share" / "lumenara" / "scenes" / "demo.glb"
        self.run("render", demo, "-o", noisy, *size)
        self.run("render", demo, "-o", clean, "--denoise", *size)
        check(noisy.read_bytes() != clean.read_bytes(), "the denoiser changes nothing")
        movie = self.folder / "film.mov"
        self.run("animate", scene, "-o", movie, "--frames", "0:1", *size)
        check(b"moov" in movie.read_bytes(), "the movie has no index")
        config = self.folder / "config.ocio"
        config.write_text(OCIO, encoding="utf-8")
        self.run("render", scene, "-o", self.folder / "view.png", "--view", "sRGB - Plain", *size, OCIO=str(config))
        mesh = self.folder / "mesh.obj"
        mesh.write_text("v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n", encoding="utf-8")
        check(json.loads(self.run("info", mesh, "--json")), "nothing is known of an OBJ file")

    def names_nothing_of(self, *folders):
        """No installed file names a build folder, and no link leaves the prefix."""
        inside = self.prefix.resolve()
        for file in sorted(self.prefix.rglob("*")):
            if file.is_symlink():
                check(inside in file.resolve(strict=True).parents, f"the link {file} leaves the prefix")
            elif file.is_file():
                content = file.read_bytes()
                for folder in folders:
                    check(re.search(re.escape(os.fsencode(folder)) + rb"[/\0\"']", content) is None, f"{file} names {folder}")


OCIO = """ocio_profile_version: 2
roles: {default: raw, scene_linear: raw, color_picking: raw}
displays:
  sRGB: [!<View> {name: Plain, colorspace: plain}]
active_displays: [sRGB]
active_views: [Plain]
colorspaces:
  - !<ColorSpace> {name: raw, isdata: false}
  - !<ColorSpace> {name: plain, from_scene_reference: !<ExponentTransform> {value: [2.2, 2.2, 2.2, 1], direction: inverse}}
"""
