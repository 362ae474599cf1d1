"""Writes what a recorded link adds up to as a glTF file, so that the mapping can be rendered without a window."""
import base64
import json
import pathlib
import struct
import zlib

LIGHTS = {"point": "point", "spot": "spot", "sun": "directional", "rectangle": "spot", "disk": "spot"}
KINDS = {"point": 0, "spot": 1, "sun": 2, "rectangle": 3, "disk": 4}
SKIES = {"none": 0, "color": 1, "gradient": 2, "picture": 3}


def png(width, height, pixels, srgb):
    """A PNG of linear floats RGBA."""
    def encode(value):
        value = min(1.0, max(0.0, value))
        return round(255 * (12.92 * value if value <= 0.0031308 else 1.055 * value ** (1 / 2.4) - 0.055))

    table = [encode(i / 4095) for i in range(4096)] if srgb else [round(255 * i / 4095) for i in range(4096)]
    at = [min(4095, max(0, round(value * 4095))) for value in pixels]
    rows = bytearray()
    for row in range(height):
        rows.append(0)
        line = at[row * width * 4:(row + 1) * width * 4]
        rows += bytes(round(value * 255 / 4095) if index % 4 == 3 else table[value] for index, value in enumerate(line))

    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 6, 0, 0, 0)) + chunk(b"IDAT", zlib.compress(bytes(rows))) + chunk(b"IEND", b"")


class Writer:
    def __init__(self, scene):
        self.scene, self.body, self.views, self.accessors = scene, bytearray(), [], []
        self.images, self.textures, self.samplers, self.textures_of = [], [], [], {}
        self.gltf = {"asset": {"version": "2.0"}, "nodes": [], "meshes": [], "materials": [], "cameras": []}
        self.lights = []

    def view(self, data):
        self.body += bytes(-len(self.body) % 8)
        self.views.append({"buffer": 0, "byteOffset": len(self.body), "byteLength": len(data)})
        self.body += data
        return len(self.views) - 1

    def floats(self, values, width):
        rows = [values[i::width] for i in range(width)]
        kind = {1: "SCALAR", 2: "VEC2", 3: "VEC3", 4: "VEC4"}[width]
        self.accessors.append({"bufferView": self.view(struct.pack(f"<{len(values)}f", *values)), "componentType": 5126, "count": len(values) // width,
                               "type": kind, "min": [min(row) for row in rows], "max": [max(row) for row in rows]})
        return len(self.accessors) - 1

    # Meshes: each corner of each triangle is a vertex of its own.

    def mesh(self, item):
        source = self.scene.meshes[item["mesh"]]
        used = source.get("indices", source.get("face_vertices"))
        sizes = source.get("face_sizes", [3] * (len(used) // 3))
        groups = source.get("groups", [0, len(sizes)])
        starts, total = [], 0
        for size in sizes:
            starts.append(total)
            total += size
        primitives = []
        materials = item.get("materials") or [None]
        keys = list(self.scene.materials)
        for index in range(len(groups) // 2):
            first, count = groups[2 * index:2 * index + 2]
            corners = [starts[face] + corner for face in range(first, first + count) for third in range(1, sizes[face] - 1) for corner in (0, third, third + 1)]
            if not corners:
                continue
            attributes = {"POSITION": self.attribute(source, "positions", 3, corners, used)}
            for name, semantic, width in (("normals", "NORMAL", 3), ("uv0", "TEXCOORD_0", 2), ("uv1", "TEXCOORD_1", 2), ("colors", "COLOR_0", 4)):
                if name in source:
                    attributes[semantic] = self.attribute(source, name, width, corners, used)
            primitive = {"attributes": attributes}
            material = materials[min(index, len(materials) - 1)]
            if material:
                primitive["material"] = keys.index(material)
            primitives.append(primitive)
        self.gltf["meshes"].append({"primitives": primitives})
        return len(self.gltf["meshes"]) - 1

    def attribute(self, source, name, width, corners, used):
        values = source[name]
        rows = corners if name in source.get("corners", ()) else [used[corner] for corner in corners]
        return self.floats([values[row * width + i] for row in rows for i in range(width)], width)

    # Materials.

    def image(self, key, srgb=False):
        picture = self.scene.pictures[key]
        if picture.get("path"):
            data = pathlib.Path(picture["path"]).read_bytes()
        elif "file" in picture:
            data = bytes(picture["file"])
        else:
            data = png(picture["width"], picture["height"], picture["pixels"], srgb)
        kind = "image/png" if data[:4] == b"\x89PNG" else "image/jpeg" if data[:2] == b"\xff\xd8" else "image/vnd.radiance" if data[:2] == b"#?" else "image/x-exr"
        self.images.append({"uri": f"data:{kind};base64," + base64.b64encode(data).decode()})
        return len(self.images) - 1

    def with_textures(self, value, name=""):
        """The material with texture indices in place of keys."""
        if isinstance(value, list):
            return [self.with_textures(item) for item in value]
        if not isinstance(value, dict):
            return value
        made = {below: self.with_textures(item, below) for below, item in value.items()}
        if isinstance(made.get("picture"), str):
            key = made.pop("picture")
            if "type" in made:
                return {**made, "image": self.image(key)}
            sampler = {"wrapS": made.pop("wrapS", 10497), "wrapT": made.pop("wrapT", 10497)}
            if made.pop("nearest", False):
                sampler["magFilter"] = 9728
            self.samplers.append(sampler)
            self.textures.append({"source": self.image(key, name in ("baseColorTexture", "emissiveTexture")), "sampler": len(self.samplers) - 1})
            made["index"] = len(self.textures) - 1
        return made

    # Objects.

    def node(self, key, item):
        node = {"name": item["name"], "matrix": item["matrix"]}
        if item["kind"] == "mesh":
            node["mesh"] = self.mesh(item)
        elif item["kind"] == "light":
            self.light(node, item["light"])
        elif item["kind"] == "camera":
            self.camera(node, item["camera"])
        return node

    def light(self, node, light):
        made = {"type": LIGHTS[light["kind"]], "color": light["color"], "intensity": light["intensity"]}
        if made["type"] == "spot":
            made["spot"] = {"innerConeAngle": light.get("inner", 0), "outerConeAngle": light.get("outer", 1.57)}
        container = [[1101, "long", KINDS[light["kind"]]], [1107, "real", light.get("radius", 0)]]
        if "width" in light:
            container += [[1109, "real", light["width"]], [1110, "real", light["height"]]]
        self.lights.append(made)
        node["extensions"] = {"KHR_lights_punctual": {"light": len(self.lights) - 1}}
        node["extras"] = {"lumenara": {"container": container}}

    def camera(self, node, camera):
        if "yfov" in camera:
            made = {"type": "perspective", "perspective": {"yfov": camera["yfov"], "znear": camera["near"], "aspectRatio": camera["aspect"]}}
        else:
            made = {"type": "orthographic", "orthographic": {"ymag": camera["ymag"], "xmag": camera["ymag"] * camera["aspect"], "znear": camera["near"], "zfar": camera["far"]}}
        self.gltf["cameras"].append(made)
        node["camera"] = len(self.gltf["cameras"]) - 1
        container = []
        if "aperture" in camera:
            container += [[1009, "real", camera["aperture"]], [1010, "real", camera["focus"]], [1011, "long", camera["blades"]]]
        if "shift" in camera:
            container += [[1120, "real", camera["shift"][0]], [1121, "real", camera["shift"][1]]]
        if container:
            node["extras"] = {"lumenara": {"container": container}}

    def sky(self):
        sky = self.scene.sky
        container = [[1201, "long", SKIES[sky["kind"]]], [1205, "real", sky.get("rotation", 0)], [1207, "real", sky.get("strength", 1)]]
        for number, name in ((1202, "color"), (1203, "horizon"), (1204, "ground")):
            if name in sky:
                container.append([number, "vector", sky[name]])
        extras = {"type": 5105, "container": container}
        if "picture" in sky:
            extras["image"] = self.image(sky["picture"])
        return {"name": "Sky", "extras": {"lumenara": extras}}

    def write(self, path):
        gltf = self.gltf
        gltf["materials"] = [self.with_textures(material) for material in self.scene.materials.values()]
        keys = list(self.scene.objects)
        gltf["nodes"] = [self.node(key, item) for key, item in self.scene.objects.items()]
        for index, item in enumerate(self.scene.objects.values()):
            if item.get("parent"):
                gltf["nodes"][keys.index(item["parent"])].setdefault("children", []).append(index)
        roots = [index for index, item in enumerate(self.scene.objects.values()) if not item.get("parent")]
        if self.scene.sky.get("kind", "none") != "none":
            gltf["nodes"].append(self.sky())
            roots.append(len(gltf["nodes"]) - 1)
        gltf.update(scenes=[{"nodes": roots}], scene=0, bufferViews=self.views, accessors=self.accessors,
                    buffers=[{"byteLength": len(self.body), "uri": "data:application/octet-stream;base64," + base64.b64encode(self.body).decode()}])
        if self.images:
            gltf.update(images=self.images, textures=self.textures, samplers=self.samplers)
        if self.lights:
            gltf["extensions"] = {"KHR_lights_punctual": {"lights": self.lights}}
        names = sorted({name for material in gltf["materials"] for name in extensions_of(material)} | ({"KHR_lights_punctual"} if self.lights else set()))
        gltf["extensionsUsed"] = names
        pathlib.Path(path).write_text(json.dumps({name: value for name, value in gltf.items() if value != []}), encoding="utf-8")


def extensions_of(value):
    if isinstance(value, dict):
        yield from value.get("extensions", {})
        for below in value.values():
            yield from extensions_of(below)
