"""Builds a glTF 2.0 document in memory and gives the bytes of a GLB file or the text of a glTF file. Standard
library only.

Indices are handed out as things are added; a thing may be changed afterwards through `document.json`.
Rotations are quaternions (x, y, z, w).
"""

import base64
import json
import math
import struct

from demo_mesh import cross, sub, unit

FLOAT, SHORT_INDEX, LONG_INDEX = 5126, 5123, 5125
VERTICES, INDICES = 34962, 34963
KINDS = {1: "SCALAR", 2: "VEC2", 3: "VEC3", 4: "VEC4"}


class Document:
    def __init__(self, generator):
        self.json = {"asset": {"version": "2.0", "generator": generator}, "scene": 0, "scenes": [{"nodes": []}]}
        self.data = bytearray()

    def _append(self, name, item):
        self.json.setdefault(name, []).append(item)
        return len(self.json[name]) - 1

    def use(self, *extensions):
        used = self.json.setdefault("extensionsUsed", [])
        used += [e for e in extensions if e not in used]

    def view(self, data, target=None):
        self.data += b"\0" * (-len(self.data) % 4)
        item = {"buffer": 0, "byteOffset": len(self.data), "byteLength": len(data)}
        if target:
            item["target"] = target
        self.data += data
        return self._append("bufferViews", item)

    @staticmethod
    def _accessor(view, component, count, kind):
        return {"bufferView": view, "componentType": component, "count": count, "type": kind}

    def floats(self, rows, bounds=False, target=None):
        """An accessor of tuples, or of plain numbers."""
        rows = [r if isinstance(r, tuple) else (r,) for r in rows]
        data = struct.pack(f"<{len(rows) * len(rows[0])}f", *(v for r in rows for v in r))
        item = self._accessor(self.view(data, target), FLOAT, len(rows), KINDS[len(rows[0])])
        if bounds:
            stored = list(zip(*struct.iter_unpack(f"<{len(rows[0])}f", data)))
            item["min"], item["max"] = [min(c) for c in stored], [max(c) for c in stored]
        return self._append("accessors", item)

    def indices(self, triangles, vertices):
        short = vertices < 65535
        data = struct.pack(f"<{len(triangles) * 3}{'H' if short else 'I'}", *(i for t in triangles for i in t))
        kind = SHORT_INDEX if short else LONG_INDEX
        item = self._accessor(self.view(data, INDICES), kind, len(triangles) * 3, "SCALAR")
        return self._append("accessors", item)

    def texture(self, name, png):
        image = self._append("images", {"name": name, "mimeType": "image/png", "bufferView": self.view(png)})
        if "samplers" not in self.json:
            self._append("samplers", {"magFilter": 9729, "minFilter": 9987, "wrapS": 10497, "wrapT": 10497})
        return self._append("textures", {"name": name, "sampler": 0, "source": image})

    def material(self, name, **fields):
        return self._append("materials", {"name": name, **fields})

    def mesh(self, name, *parts):
        """`parts` are pairs of a Mesh and a material's index."""
        primitives = []
        for shape, material in parts:
            attributes = {"POSITION": self.floats(shape.positions, True, VERTICES)}
            if shape.normals:
                attributes["NORMAL"] = self.floats(shape.normals, target=VERTICES)
            if shape.tangents:
                attributes["TANGENT"] = self.floats(shape.tangents, target=VERTICES)
            if shape.uvs:
                attributes["TEXCOORD_0"] = self.floats(shape.uvs, target=VERTICES)
            index = self.indices(shape.triangles, len(shape.positions))
            primitives.append({"attributes": attributes, "indices": index, "material": material})
        return self._append("meshes", {"name": name, "primitives": primitives})

    def camera(self, name, yfov, aspect, near=0.01):
        lens = {"yfov": yfov, "aspectRatio": aspect, "znear": near}
        return self._append("cameras", {"name": name, "type": "perspective", "perspective": lens})

    def light(self, **fields):
        self.use("KHR_lights_punctual")
        lights = self.json.setdefault("extensions", {}).setdefault("KHR_lights_punctual", {"lights": []})["lights"]
        lights.append(fields)
        return {"KHR_lights_punctual": {"light": len(lights) - 1}}

    def node(self, name, parent=None, **fields):
        index = self._append("nodes", {"name": name, **fields})
        if parent is None:
            self.json["scenes"][0]["nodes"].append(index)
        else:
            self.json["nodes"][parent].setdefault("children", []).append(index)
        return index

    def animation(self, name, *tracks):
        """`tracks` are tuples of node, path, interpolation, times in seconds, values."""
        samplers, channels = [], []
        for node, path, interpolation, times, values in tracks:
            channels.append({"sampler": len(samplers), "target": {"node": node, "path": path}})
            curve = {"input": self.floats(times, True), "output": self.floats(values)}
            samplers.append({**curve, "interpolation": interpolation})
        return self._append("animations", {"name": name, "samplers": samplers, "channels": channels})

    def gltf(self):
        """The document as one text file, its data inside as a data URI."""
        address = "data:application/octet-stream;base64," + base64.b64encode(bytes(self.data)).decode()
        self.json["buffers"] = [{"byteLength": len(self.data), "uri": address}]
        return json.dumps(self.json, indent=1) + "\n"

    def glb(self):
        self.json["buffers"] = [{"byteLength": len(self.data)}]
        text = json.dumps(self.json, separators=(",", ":")).encode()
        text += b" " * (-len(text) % 4)
        data = bytes(self.data) + b"\0" * (-len(self.data) % 4)
        size = 12 + 8 + len(text) + 8 + len(data)
        head = struct.pack("<4sII", b"glTF", 2, size)
        json_head, data_head = struct.pack("<I4s", len(text), b"JSON"), struct.pack("<I4s", len(data), b"BIN\0")
        return head + json_head + text + data_head + data


# Placement ------------------------------------------------------------


def turn(axis, degrees):
    """A rotation about "x", "y" or "z"."""
    half = math.radians(degrees) / 2
    return tuple(math.sin(half) if name == axis else 0.0 for name in "xyz") + (math.cos(half),)


def combine(a, b):
    """The rotation that does b first, then a."""
    ax, ay, az, aw = a
    bx, by, bz, bw = b
    return (
        aw * bx + ax * bw + ay * bz - az * by,
        aw * by - ax * bz + ay * bw + az * bx,
        aw * bz + ax * by - ay * bx + az * bw,
        aw * bw - ax * bx - ay * by - az * bz,
    )


def look(eye, target):
    """The rotation that turns -Z from eye to target, with y up."""
    back = unit(sub(eye, target))
    right = unit(cross((0.0, 1.0, 0.0), back))
    up = cross(back, right)
    (a, b, c), (d, e, f), (g, h, i) = right, up, back
    w = math.sqrt(max(0.0, 1 + a + e + i)) / 2
    if w > 1e-3:
        return ((f - h) / (4 * w), (g - c) / (4 * w), (b - d) / (4 * w), w)
    x = math.sqrt(max(0.0, 1 + a - e - i)) / 2
    y = math.sqrt(max(0.0, 1 - a + e - i)) / 2
    z = math.sqrt(max(0.0, 1 - a - e + i)) / 2
    return (math.copysign(x, f - h), math.copysign(y, g - c), math.copysign(z, b - d), w)
