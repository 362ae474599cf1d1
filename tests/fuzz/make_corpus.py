#!/usr/bin/env python3
"""Writes the seed corpus of scene_fuzz: small glTF files, each with a few features, made here."""
import base64
import json
import pathlib
import struct

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


def main():
    FOLDER.mkdir(exist_ok=True)
    for make in (plain, quantised, animated, skinned, sparse, furnished):
        (FOLDER / f"{make.__name__}.glb").write_bytes(make().glb())
    for make in (plain, furnished):
        (FOLDER / f"{make.__name__}.gltf").write_bytes(make().text())


main()
