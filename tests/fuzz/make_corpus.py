#!/usr/bin/env python3
"""Writes the seeds of the fuzz targets, one folder a target: small glTF files, each with a few features, preferences,
containers, names and command lines, made here. Inputs that runs have found lie beside them."""
import base64
import json
import pathlib
import shutil
import struct
import subprocess
import sys

FOLDER = pathlib.Path(__file__).parent / "corpus"


class Scene:
    def __init__(self):
        self.data = b""
        self.root = {"asset": {"version": "2.0"}, "scene": 0, "scenes": [{"nodes": []}]}

    def add(self, where, item):
        self.root.setdefault(where, []).append(item)
        return len(self.root[where]) - 1

    def view(self, data):
        self.data += b"\0" * (-len(self.data) % 4)
        at = len(self.data)
        self.data += data
        return self.add("bufferViews", {"buffer": 0, "byteOffset": at, "byteLength": len(data)})

    def accessor(self, values, code, component, kind, width, **more):
        view = self.view(struct.pack(f"<{len(values)}{code}", *values))
        return self.add("accessors", {"bufferView": view, "componentType": component, "count": len(values) // width,
                                      "type": kind, **more})

    def floats(self, values, kind, width):
        return self.accessor(values, "f", 5126, kind, width)

    def node(self, node, top=True):
        index = self.add("nodes", node)
        if top:
            self.root["scenes"][0]["nodes"].append(index)
        return index

    def quad(self, **primitive):
        attributes = {"POSITION": self.floats([0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0], "VEC3", 3)}
        indices = self.accessor([0, 1, 2, 0, 2, 3], "H", 5123, "SCALAR", 1)
        return self.add("meshes", {"primitives": [{"attributes": attributes, "indices": indices, **primitive}]})

    def attributes(self):
        return self.root["meshes"][0]["primitives"][0]["attributes"]

    def glb(self):
        self.root["buffers"] = [{"byteLength": len(self.data)}]
        text = json.dumps(self.root, separators=(",", ":")).encode()
        text += b" " * (-len(text) % 4)
        data = self.data + b"\0" * (-len(self.data) % 4)
        chunks = struct.pack("<II", len(text), 0x4E4F534A) + text
        if data:
            chunks += struct.pack("<II", len(data), 0x004E4942) + data
        return struct.pack("<III", 0x46546C67, 2, 12 + len(chunks)) + chunks

    def text(self):
        uri = "data:application/octet-stream;base64," + base64.b64encode(self.data).decode()
        self.root["buffers"] = [{"byteLength": len(self.data), "uri": uri}]
        return json.dumps(self.root, separators=(",", ":")).encode()


def plain():
    scene = Scene()
    scene.node({"mesh": scene.quad(), "translation": [1, 2, 3], "rotation": [0, 0, 0, 1]})
    return scene


def quantised():
    scene = Scene()
    scene.node({"mesh": scene.quad()})
    scene.attributes()["POSITION"] = scene.accessor([0, 0, 0, 9, 0, 0, 9, 9, 0, 0, 9, 0], "h", 5122, "VEC3", 3)
    scene.attributes()["TEXCOORD_0"] = scene.accessor([0, 255, 255, 255, 255, 0, 0, 0], "B", 5121, "VEC2", 2, normalized=True)
    scene.attributes()["COLOR_0"] = scene.accessor([255, 0, 0] * 4, "B", 5121, "VEC3", 3, normalized=True)
    scene.root["extensionsRequired"] = ["KHR_mesh_quantization"]
    return scene


def animated():
    scene = Scene()
    mesh = scene.quad(targets=[{"POSITION": scene.floats([0, 0, 1] + [0] * 9, "VEC3", 3)}])
    node = scene.node({"mesh": mesh, "weights": [0.5]})
    times = scene.floats([0, 1], "SCALAR", 1)
    samplers = [{"input": times, "output": scene.floats([0, 0, 0, 1, 0, 0], "VEC3", 3)},
                {"input": times, "output": scene.floats([0, 0, 0, 1, 0, 0, 1, 0], "VEC4", 4), "interpolation": "STEP"},
                {"input": times, "output": scene.floats([0, 0, 0, 0, 1, 0], "SCALAR", 1), "interpolation": "CUBICSPLINE"}]
    paths = ["translation", "rotation", "weights"]
    channels = [{"sampler": i, "target": {"node": node, "path": path}} for i, path in enumerate(paths)]
    scene.add("animations", {"name": "a", "samplers": samplers, "channels": channels})
    return scene


def skinned():
    scene = Scene()
    node = scene.node({"mesh": scene.quad(), "skin": 0})
    scene.attributes()["JOINTS_0"] = scene.accessor([0, 1, 0, 0] * 4, "H", 5123, "VEC4", 4)
    scene.attributes()["WEIGHTS_0"] = scene.floats([0.5, 0.5, 0, 0] * 4, "VEC4", 4)
    joint = scene.node({"name": "j", "translation": [0, 1, 0]})
    matrices = scene.floats([1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1] * 2, "MAT4", 16)
    scene.add("skins", {"joints": [node, joint], "inverseBindMatrices": matrices})
    return scene


def sparse():
    scene = Scene()
    scene.node({"mesh": scene.quad()})
    scene.root["accessors"][0]["sparse"] = {
        "count": 1, "indices": {"bufferView": scene.view(struct.pack("<H", 2)), "componentType": 5123},
        "values": {"bufferView": scene.view(struct.pack("<3f", 5, 5, 5))}}
    return scene


def furnished():
    scene = Scene()
    scene.add("images", {"uri": "data:image/png;base64,iVBORw0KGgo=", "name": "p"})
    scene.add("samplers", {"wrapS": 33071, "wrapT": 33648, "magFilter": 9728})
    scene.add("textures", {"source": 0, "sampler": 0})
    transform = {"KHR_texture_transform": {"offset": [0.5, 0], "scale": [2, 2], "rotation": 1}}
    scene.add("materials", {
        "name": "m", "normalTexture": {"index": 0, "scale": 0.5}, "emissiveFactor": [1, 0, 0], "alphaMode": "BLEND",
        "pbrMetallicRoughness": {"baseColorTexture": {"index": 0, "extensions": transform}},
        "extensions": {"KHR_materials_clearcoat": {"clearcoatFactor": 1}, "KHR_materials_ior": {"ior": 1.3}},
        "extras": {"theirs": 1, "lumenara": {"container": [[2004, "bool", False]], "shaders": [
            {"type": 1011123, "children": [{"type": 5833, "image": 0}, {"type": 1001191, "ref": "ao"}]}], "slots": {"12": 0}}}})
    scene.add("cameras", {"type": "perspective", "perspective": {"yfov": 0.5, "znear": 0.1}})
    scene.add("cameras", {"type": "orthographic", "orthographic": {"xmag": 1, "ymag": 1, "znear": 0.1, "zfar": 9}})
    child = scene.node({"mesh": scene.quad(material=0)}, top=False)
    scene.node({"name": "s", "children": [child], "extras": {"lumenara": {"type": 1007455, "container": [[1401, "long", 3]]}}})
    scene.node({"name": "c", "camera": 0, "extras": {"lumenara": {"tags": [
        {"type": 5676, "container": [[1521, "link", {"node": 0}]]}]}}})
    scene.node({"camera": 1, "extensions": {"KHR_lights_punctual": {"light": 0}}})
    scene.node({"extras": {"lumenara": {"type": 5105, "image": 0, "container": [[1201, "long", 3]]}}})
    scene.node({"extras": {"lumenara": {"type": 5104, "tags": [{"type": 5616, "container": [[1501, "link", {"material": 0}]]}]}}})
    scene.root["extensions"] = {"KHR_lights_punctual": {"lights": [{"type": "spot", "spot": {}, "range": 5}]}}
    values = [[1, "long", 1], [2, "real", "nan"], [3, "bool", True], [4, "int64", "9"], [5, "time", [1, 3]],
              [6, "vector", [1, 2, 3]], [7, "matrix", [0] * 12], [8, "string", "x"], [9, "filename", "a/b"],
              [10, "bytes", "AAEC"], [11, "link", {"ref": "ao"}], [12, "link", {"name": "c"}], [13, "nil", 0]]
    scene.root["extras"] = {"lumenara": {
        "fps": 25, "time": 0.5, "maxTime": [50, 25], "lod": 0.5, "container": [[10005, "container", values]],
        "renderData": [{"name": "r", "container": [[5008, "long", 64]], "videoPosts": [{"type": 1021096, "bits": 4}]}],
        "activeRenderData": 0, "views": [{"camera": {"node": 2}, "frame": [0, 0, 64, 48]}, {"editorCamera": {"matrix": [0] * 12}}],
        "activeView": 1}}
    return scene


# A quad's positions, normals (octahedral), triangles and strip in the packed form of EXT_meshopt_compression.
PACKED = {"positions": "oAAAATMAAAD//wEzAAAAfn0AAAEMAAAA/wEMAAAAfgAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA==",
          "normals": "oAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAB/AA==",
          "triangles": "4PAAAHaHVmd4qYZliWiYAWkAAA==",
          "strip": "0AAECAIAAAAA"}


def compressed():
    scene = Scene()
    scene.node({"mesh": scene.quad()})
    primitive = scene.root["meshes"][0]["primitives"][0]

    def accessor(name, count, stride, mode, component, kind, **more):
        data = base64.b64decode(PACKED[name])
        inside = scene.root["bufferViews"][scene.view(data)]
        packed = {"buffer": 0, "byteOffset": inside["byteOffset"], "byteLength": len(data), "byteStride": stride,
                  "count": count, "mode": mode, **more}
        view = scene.add("bufferViews", {"buffer": 0, "byteLength": count * stride,
                                         "extensions": {"EXT_meshopt_compression": packed}})
        return scene.add("accessors", {"bufferView": view, "componentType": component, "count": count, "type": kind})

    primitive["attributes"]["POSITION"] = accessor("positions", 4, 12, "ATTRIBUTES", 5126, "VEC3")
    primitive["attributes"]["NORMAL"] = accessor("normals", 4, 4, "ATTRIBUTES", 5120, "VEC3", filter="OCTAHEDRAL")
    primitive["indices"] = accessor("triangles", 6, 2, "TRIANGLES", 5123, "SCALAR")
    strip = dict(primitive, indices=accessor("strip", 4, 4, "INDICES", 5125, "SCALAR"), mode=5)
    scene.root["meshes"][0]["primitives"].append(strip)
    scene.root["extensionsRequired"] = ["EXT_meshopt_compression"]
    return scene


def copied():
    scene = Scene()
    index = scene.node({"mesh": scene.quad()})
    scene.root["nodes"][index]["extensions"] = {"EXT_mesh_gpu_instancing": {"attributes": {
        "TRANSLATION": scene.floats([0, 0, 0, 1, 0, 0, 2, 0, 0], "VEC3", 3),
        "ROTATION": scene.accessor([0, 0, 0, 127, 0, 127, 0, 0, 127, 0, 0, 0], "b", 5120, "VEC4", 4, normalized=True),
        "_ID": scene.accessor([1, 2, 3], "H", 5123, "SCALAR", 1)}}}
    return scene


def dressed():
    scene = Scene()
    scene.add("images", {"uri": "data:image/png;base64,iVBORw0KGgo=", "name": "p"})
    scene.add("images", {"uri": "data:image/webp;base64,UklGRgAAAABXRUJQ", "name": "w"})
    scene.add("textures", {"source": 0, "extensions": {"EXT_texture_webp": {"source": 1}}})
    old = {"diffuseFactor": [1, 0, 0, 1], "specularFactor": [0.5, 0.5, 0.5], "glossinessFactor": 0.5,
           "specularGlossinessTexture": {"index": 0}}
    scene.add("materials", {"extensions": {"KHR_materials_pbrSpecularGlossiness": old}})
    scene.add("materials", {"name": "m", "pbrMetallicRoughness": {"baseColorTexture": {"index": 0}}})
    scene.root["extensions"] = {"KHR_materials_variants": {"variants": [{"name": "day"}, {"name": "night"}]}}
    mappings = [{"material": 1, "variants": [0, 1]}, {"material": 0, "variants": [1], "name": "n"}]
    scene.node({"mesh": scene.quad(material=0, extensions={"KHR_materials_variants": {"mappings": mappings}})})
    scene.root["extras"] = {"lumenara": {"container": [[1701, "long", 1]]}}
    return scene


def write(target, name, data):
    folder = FOLDER / target
    folder.mkdir(parents=True, exist_ok=True)
    (folder / name).write_bytes(data if isinstance(data, bytes) else data.encode())


VALUES = [[1, "long", 1], [2, "llong", 9000000000], [3, "bool", True], [4, "real", 0.5], [5, "real", "nan"],
          [6, "time", [1, 30]], [7, "vector", [1, 2, 3]], [8, "matrix", [0] * 12], [9, "string", "x"],
          [10, "filename", "a/b.tif"], [11, "bytes", "00ff"], [12, "link", 7], [13, "nil"],
          [14, "container", {"id": 3, "entries": [[1, "long", 2]]}]]


def containers():
    write("container", "values.json", json.dumps(VALUES))
    write("container", "with_id.json", json.dumps({"id": 5, "entries": VALUES[:3]}))
    write("container", "damaged.json", json.dumps([[1, "long", "x"], 7, [2, "container", [[3], [4, "bool", True]]]]))


def preferences():
    head = {"format": "Lumenara preferences", "version": 1}
    write("preferences", "whole.json", json.dumps({**head, "plugins/1030001": VALUES, "program/recentFiles": VALUES[9:10]}))
    write("preferences", "damaged.json", json.dumps({**head, "plugins/1030001": [[1, "long", 5], [2, "long"]], "program/x": 3}))
    write("preferences", "other_version.json", json.dumps({**head, "version": 2}))
    write("preferences", "cut_off.json", json.dumps(head)[:-1] + ', "plugins/1')


def names():
    for number, name in enumerate(("scene[001].tif", "lastRender[012].tif", ".hidden", "a.b.c", "two words[999].tif",
                                   "\u00e4\u6f22.tif", "..tif", "[1].TIF")):
        write("history", f"name{number}", name)


def command_lines():
    lines = (["render", "a.glb", "-o", "b.png", "--size", "64x48", "--samples", "4", "--region", "0,0,9,9"],
             ["render", "a.glb", "-o", "b.png", "--region-box", "0.25,0.25,0.5", "--frame", "3", "--set", "LM_OPT_15014=0"],
             ["animate", "a.glb", "-o", "b.mov", "--frames", "0:89:2", "--format", "4", "--quality", "50", "--resume"],
             ["compare", "a.png", "b.png", "--slider", "-1", "--style", "blend", "--stats", "--fail-above", "0.1"],
             ["settings", "set", "10005", "-1"], ["settings", "list", "--home", "x"], ["history", "add", "a.tif"],
             ["info", "a.glb", "--json"], ["--version"], ["render", "--help"],
             ["compare", "a", "b", "--metric", "flip,psnr", "--fail-above", "flip=0.05,psnr=40", "--json", "a.json"],
             ["render", "a.glb", "-o", "b.exr", "--layers", "depth,lightgroups", "--half", "--compression", "piz"])
    for number, words in enumerate(lines):
        write("command_line", f"line{number}", "\0".join(words))


def profile(space=b"RGB ", kind=b"mntr"):
    """A small ICC profile of primaries and one exponent."""
    def curve(gamma):
        return b"curv" + struct.pack(">IIH2x", 0, 1, round(gamma * 256))

    def xyz(*values):
        return b"XYZ " + struct.pack(">I3i", 0, *(round(v * 65536) for v in values))

    tags = {b"wtpt": xyz(0.9642, 1, 0.8249)}
    if space == b"GRAY":
        tags[b"kTRC"] = curve(1.8)
    else:
        tags.update({b"rXYZ": xyz(0.4361, 0.2225, 0.0139), b"gXYZ": xyz(0.3851, 0.7169, 0.0971),
                     b"bXYZ": xyz(0.1431, 0.0606, 0.7141), b"rTRC": curve(1), b"gTRC": curve(1.8), b"bTRC": curve(2.2)})
    at, table, data = 128 + 4 + 12 * len(tags), struct.pack(">I", len(tags)), b""
    for name, block in tags.items():
        table += name + struct.pack(">II", at + len(data), len(block))
        data += block
    head = struct.pack(">I4sI4s4s4s12s4s", at + len(data), b"none", 0x02100000, kind, space, b"XYZ ", bytes(12), b"acsp")
    head += bytes(28) + struct.pack(">3i", 63190, 65536, 54061) + bytes(48)
    return head + table + data


def pictures():
    """Seeds of the picture formats, through ImageMagick where it is installed, and our program for OpenEXR."""
    for space in (b"RGB ", b"GRAY"):
        write("color_profile", space.decode().strip().lower() + ".icc", profile(space))
    if not shutil.which("convert"):
        return
    icc = str(FOLDER / "color_profile" / "rgb.icc")
    source = ["-size", "9x7", "gradient:red-blue"]
    undated = ["+set", "date:create", "+set", "date:modify", "+set", "date:timestamp", "-define", "png:exclude-chunks=date,tIME"]
    kinds = {"png": {"plain.png": [], "deep.png": ["-depth", "16"], "palette.png": ["-colors", "4", "-type", "palette"],
                     "passes.png": ["-interlace", "PNG"], "profile.png": ["-profile", icc, *undated]},
             "jpeg": {"plain.jpg": [], "grey.jpg": ["-colorspace", "Gray"], "inks.jpg": ["-colorspace", "CMYK"],
                      "passes.jpg": ["-interlace", "JPEG"], "profile.jpg": ["-profile", icc]},
             "tiff": {"plain.tif": ["-compress", "LZW"], "tiles.tif": ["-define", "tiff:tile-geometry=16x16"],
                      "deep.tif": ["-depth", "16", "-compress", "Zip"], "palette.tif": ["-colors", "4", "-type", "palette"],
                      "inks.tif": ["-colorspace", "CMYK"], "lab.tif": ["-colorspace", "Lab"], "jpeg.tif": ["-compress", "JPEG"],
                      "floats.tif": ["-define", "quantum:format=floating-point", "-depth", "32"]},
             "webp": {"lossy.webp": [], "lossless.webp": ["-define", "webp:lossless=true"], "profile.webp": ["-profile", icc]}}
    for kind, files in kinds.items():
        (FOLDER / kind).mkdir(exist_ok=True)
        for name, options in files.items():
            subprocess.run(["convert", *source, *options, "-strip" if "profile" not in name else "-quiet",
                            str(FOLDER / kind / name)], check=False)
    program = FOLDER.parents[2] / "build" / "release" / "bin" / "lumenara"
    if program.exists():
        (FOLDER / "exr").mkdir(exist_ok=True)
        subprocess.run([program, "render", FOLDER.parents[2] / "scenes" / "demo.glb", "-o", FOLDER / "exr" / "plain.exr",
                        "--size", "9x7", "--samples", "1", "--quiet"], check=False)


def bmp():
    """A whole palette with runs, a short palette, an old header, and plain pixels."""
    def file(bits, colors, data, packing=0):
        palette = bytes(range(4 * colors))
        head = struct.pack("<IiiHHIIiiII", 40, 5, 2, 1, bits, packing, len(data), 0, 0, colors, 0)
        return b"BM" + struct.pack("<IHHI", 54 + len(palette + data), 0, 0, 54 + len(palette)) + head + palette + data

    old = struct.pack("<IHHHH", 12, 5, 2, 1, 1) + bytes(6) + bytes([0x50, 0, 0, 0, 0xA8, 0, 0, 0])
    write("bmp", "short.bmp", file(8, 3, bytes([0, 1, 2, 3, 255, 0, 0, 0] * 2)))
    write("bmp", "runs.bmp", file(8, 16, bytes([3, 7, 0, 4, 1, 2, 3, 200, 0, 0, 0, 2, 1, 0, 2, 9, 0, 1]), 1))
    write("bmp", "halves.bmp", file(4, 5, bytes([0x01, 0x23, 0x4F, 0] * 2)))
    write("bmp", "plain.bmp", file(24, 0, bytes(range(32))))
    write("bmp", "old.bmp", b"BM" + struct.pack("<IHHI", 14 + len(old), 0, 0, 32) + old)


def tga():
    def file(kind, bits, data, palette=b"", first=0, flags=0):
        head = struct.pack("<BBBHHBHHHHBB", 0, bool(palette), kind, first, len(palette) // 3, 24 if palette else 0, 0, 0,
                           3, 2, bits, flags)
        return head + palette + data

    end = struct.pack("<II", 0, 0) + b"TRUEVISION-XFILE.\0"
    write("tga", "palette.tga", file(1, 8, bytes([0, 1, 2, 3, 0, 255]), bytes(range(9))) + end)
    write("tga", "runs.tga", file(9, 8, bytes([0x82, 9, 2, 8, 9, 10]), bytes(range(6)), first=8))
    write("tga", "plain.tga", file(2, 32, bytes(range(24)), flags=8))
    write("tga", "gray.tga", file(11, 8, bytes([0x85, 7]), flags=0x20))


def gif():
    def sub(data):
        return bytes([len(data)]) + data + b"\0"

    def file(colors, data, own=b"", extension=b""):
        flags = 0x80 | (colors.bit_length() - 2)
        frame = b"," + struct.pack("<HHHHB", 0, 0, 3, 1, 0x80 if own else 0) + own
        return b"GIF89a" + struct.pack("<HHBBB", 3, 1, flags, 0, 0) + bytes(range(3 * colors)) + extension + frame + data + b";"

    data = b"\x02" + sub(bytes([0x44, 0x5C]))
    write("gif", "plain.gif", file(4, data))
    write("gif", "short.gif", file(2, data))
    write("gif", "own.gif", file(4, data, own=bytes(range(6)), extension=b"!\xf9" + sub(bytes([1, 0, 0, 3]))))


def hdr():
    head = b"#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 2 +X %d\n"
    write("hdr", "plain.hdr", head % 3 + bytes(range(100, 124)))
    row = b"\2\2\0\x08" + b"\x88\x40" * 2 + bytes([8, *range(8)]) + b"\x88\x81"
    write("hdr", "runs.hdr", head % 8 + row * 2)


def pnm():
    for kind, data in ((1, b"1 0 1\n0 1 0\n"), (2, b"1 2 3 4 5 255\n"), (3, b"9 " * 18)):
        write("pnm", f"text{kind}.pnm", b"P%d\n# made here\n3 2\n" % kind + (b"" if kind == 1 else b"255\n") + data)
    for kind, most, data in ((4, None, b"\xa0\x40"), (5, 65535, bytes(range(12))), (6, 255, bytes(range(18)))):
        write("pnm", f"bytes{kind}.pnm", b"P%d 3 2\n" % kind + (b"%d\n" % most if most else b"") + data)


def psd():
    def file(mode, channels, data, packing=0, resources=b"", depth=8):
        head = b"8BPS" + struct.pack(">H6xHIIHH", 1, channels, 2, 3, depth, mode)
        return head + struct.pack(">II", 0, len(resources)) + resources + struct.pack(">IH", 0, packing) + data

    icc = profile()
    block = b"8BIM" + struct.pack(">HHI", 1039, 0, len(icc)) + icc
    write("psd", "profile.psd", file(3, 3, bytes(range(18)), resources=block))
    write("psd", "runs.psd", file(3, 3, struct.pack(">6H", *[2] * 6) + b"\xfe\x07" * 6, packing=1))
    write("psd", "gray.psd", file(1, 2, bytes(range(24)), depth=16))
    write("psd", "inks.psd", file(4, 4, bytes(range(24))))
    write("psd", "few.psd", file(3, 2, struct.pack(">4H", *[2] * 4) + b"\xfe\x07" * 4, packing=1))


# The first byte chooses what the rest is: 0 an entry without its hash, 1 a film, 2 a list of contents.
def kept_renders():
    blob = "ab" * 32 + " 4"
    entry = [[1, "string", "5"], [2, "string", "room"], [4, "bool", True], [8, "llong", 9], [9, "long", 2], [13, "real", 0.5],
             [19, "string", blob], [22, "string", "tif"], [23, "string", f"{blob}\n{blob}"], [24, "string", blob]]
    write("kept_renders", "entry", b"\0" + json.dumps(entry).encode())
    text = lambda value: struct.pack("<I", len(value)) + value
    film = b"LMFILM01" + struct.pack("<5I", 2, 1, 1, 1, 1) + struct.pack("<8f", *range(8)) + text(b"depth") + text(b"Z")
    film += struct.pack("<I2f", 0, 1, 2) + text(b"key") + text(b"value") + text(b"Scene") + text(b"room")
    write("kept_renders", "film", b"\1" + film)
    write("kept_renders", "list", b"\2" + bytes(range(40)))


def open_exr(channels, width=3, height=2, compression=0, **attributes):
    """Rows of floats without compression. `attributes`: the kind and the bytes of each."""
    names = sorted(channels)
    window = struct.pack("<4i", 0, 0, width - 1, height - 1)
    listed = b"".join(name.encode() + b"\0" + struct.pack("<iB3xii", 2, 0, 1, 1) for name in names) + b"\0"
    fields = {"channels": ("chlist", listed), "compression": ("compression", bytes([compression])),
              "dataWindow": ("box2i", window), "displayWindow": ("box2i", window), "lineOrder": ("lineOrder", b"\0"),
              "pixelAspectRatio": ("float", struct.pack("<f", 1)), "screenWindowCenter": ("v2f", bytes(8)),
              "screenWindowWidth": ("float", struct.pack("<f", 1)), **attributes}
    head = struct.pack("<II", 20000630, 2)
    for name, (kind, data) in fields.items():
        head += name.encode() + b"\0" + kind.encode() + b"\0" + struct.pack("<I", len(data)) + data
    head += b"\0"
    line = 8 + 4 * width * len(names)
    first = len(head) + 8 * height
    rows = b"".join(struct.pack("<ii", y, line - 8) +
                    b"".join(struct.pack(f"<{width}f", *(channels[name] + x + y for x in range(width))) for name in names)
                    for y in range(height))
    return head + struct.pack(f"<{height}Q", *(first + y * line for y in range(height))) + rows


def films():
    colors = {letter: value for value, letter in enumerate("ABGR")}
    layers = {f"{layer}.{letter}": value for layer in ("diffuse_direct", "crypto_object00", "Normal")
              for value, letter in enumerate("RGB")}
    aces = struct.pack("<8f", 0.713, 0.293, 0.165, 0.83, 0.128, 0.044, 0.32168, 0.33767)
    write("film", "layers.exr", open_exr({**colors, **layers, "depth.Z": float("inf"), "mask": float("nan")},
                                         chromaticities=("chromaticities", aces)))
    write("film", "mattes.exr", open_exr({**colors, **layers}, **{"cryptomatte/1/name": ("string", b"Normal"),
                                                                  "lumenara:Scene": ("string", b"room")}))
    write("film", "numbers.exr", open_exr({f"id{number}": number for number in range(9)}))
    write("film", "light.hdr", b"#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 1 +X 2\n" + bytes([1, 2, 3, 128] * 2))


def links():
    """Streams of messages of the live link, packed by its Python client."""
    sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "integrations/python"))
    import lumenara_link

    def message(message_type, blocks=None, **fields):
        return b"".join(bytes(piece) for piece in lumenara_link.pack_frame({"type": message_type, "id": 1, **fields}, blocks))

    unit = [1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1]
    corners = ([0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0], "f32x3")

    def thing(key, kind, **fields):
        return message("object", key=key, name=key, kind=kind, matrix=unit, **fields)

    begin, end = message("scene_begin", name="room", replace=True), message("scene_end")
    first, second = message("commit", n=1), message("commit", n=2)
    triangles = message("mesh", {"positions": corners, "indices": ([0, 1, 2, 0, 2, 3], "u32x3")}, key="m")
    polygon = message("mesh", {"positions": corners, "face_sizes": ([4], "u32"), "face_vertices": ([0, 1, 2, 3], "u32"),
                               "uv0": ([0, 0, 1, 0, 1, 1, 0, 1], "f32x2"), "normals": ([0, 0, 1] * 4, "f32x3"),
                               "groups": ([0, 1], "u32x2")}, key="q", corners=["uv0", "normals"])
    picture = message("picture", {"pixels": ([1, 0, 0, 1, 0, 1, 0, 1], "f32x4")}, key="pic", name="two", width=2, height=1)
    paint = message("material", key="p", gltf={"pbrMetallicRoughness": {"baseColorTexture": {"picture": "pic"}}})
    lamp = thing("l", "light", light={"kind": "spot", "color": [1, 1, 1], "intensity": 3, "inner": 0.1, "outer": 0.5})
    camera = thing("c", "camera", camera={"yfov": 0.8, "near": 0.1, "aperture": 0.01, "focus": 3})
    copies = message("object", {"translations": ([0, 0, 0, 1, 0, 0], "f32x3"), "rotations": ([0, 0, 0, 1] * 2, "f32x4"),
                                "scales": ([1, 1, 1] * 2, "f32x3")}, key="i", name="i", kind="instances", matrix=unit, mesh="m")
    write("link", "triangles", begin + triangles + thing("o", "mesh", mesh="m", materials=[None]) + end + first +
          message("transforms", {"matrices": (unit, "f64x16")}, keys=["o"]) + second)
    write("link", "polygons", begin + picture + paint + polygon + thing("o", "mesh", mesh="q", materials=["p"]) + lamp + camera + end +
          message("settings", width=64, height=32, samples=4, camera="c") + first)
    write("link", "instances", begin + triangles + copies + thing("n", "null", parent="i") +
          message("sky", kind="gradient", color=[1, 1, 1], strength=2) + end + first + message("parent", keys=["n"], parents=[None]) +
          message("visibility", keys=["i"], editor=[False], render=[True]) + message("rename", key="n", name="m") +
          message("time", seconds=1, fps=24, **{"from": 0, "to": 3}) + message("remove", keys=["i"]) + second)


def main():
    pictures()
    links()
    kept_renders()
    films()
    for make in (bmp, tga, gif, hdr, pnm, psd):
        make()
    for make in (plain, quantised, animated, skinned, sparse, furnished, compressed, copied, dressed):
        write("scene", f"{make.__name__}.glb", make().glb())
    for make in (plain, furnished):
        write("scene", f"{make.__name__}.gltf", make().text())
    for make in (animated, skinned, furnished, copied, dressed):
        write("render", f"{make.__name__}.glb", make().glb())
    containers()
    preferences()
    names()
    command_lines()


main()
