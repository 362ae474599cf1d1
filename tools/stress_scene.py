"""A scene for tools/stress: two textures that are JPEG files with colour profiles, made here."""
import base64
import json
import pathlib
import struct


def colour_profile():
    """A matrix profile of ICC version 2 with the primaries of Adobe RGB (1998) and a gamma of 2.2."""
    def fixed(value):
        return struct.pack(">i", round(value * 65536))

    def xyz(*values):
        return b"XYZ \0\0\0\0" + b"".join(map(fixed, values))

    curve = b"curv\0\0\0\0" + struct.pack(">IH", 1, round(2.2 * 256)) + b"\0\0"
    name = b"Stress\0"
    description = b"desc\0\0\0\0" + struct.pack(">I", len(name)) + name + bytes(78)
    tags = [(b"desc", description + bytes(-len(description) % 4)), (b"cprt", b"text\0\0\0\0none\0\0\0\0"),
            (b"wtpt", xyz(0.9642, 1, 0.8249)),
            (b"rXYZ", xyz(0.60974, 0.31111, 0.01947)), (b"gXYZ", xyz(0.20528, 0.62567, 0.06087)),
            (b"bXYZ", xyz(0.14919, 0.06322, 0.74457)), (b"rTRC", curve), (b"gTRC", curve), (b"bTRC", curve)]
    table, data, at = b"", b"", 128 + 4 + 12 * len(tags)
    for tag, body in tags:
        table += struct.pack(">4sII", tag, at + len(data), len(body))
        data += body
    size = at + len(data)
    header = struct.pack(">I4sI4s4s4s", size, b"\0\0\0\0", 0x02100000, b"mntr", b"RGB ", b"XYZ ")
    header += struct.pack(">6H", 2026, 1, 1, 0, 0, 0) + b"acsp" + bytes(28) + fixed(0.9642) + fixed(1) + fixed(0.8249)
    return header + bytes(128 - len(header)) + struct.pack(">I", len(tags)) + table + data


def add_profile(jpeg):
    """The same JPEG with the profile behind its first mark."""
    body = b"ICC_PROFILE\0\x01\x01" + colour_profile()
    return jpeg[:2] + b"\xff\xe2" + struct.pack(">H", len(body) + 2) + body + jpeg[2:]


def write_profiled_scene(folder, jpeg):
    """Writes `jpeg` twice with a profile, and a scene of two squares that show them; gives the scene's path."""
    folder = pathlib.Path(folder)
    corners = [(0, 0), (1, 0), (1, 1), (0, 1)]
    data = b"".join(struct.pack("<3f", x, y, 0) for x, y in corners)
    data += b"".join(struct.pack("<2f", x, 1 - y) for x, y in corners) + struct.pack("<6H", 0, 1, 2, 0, 2, 3)
    for name in ("a.jpg", "b.jpg"):
        (folder / name).write_bytes(add_profile(jpeg))
    primitive = {"attributes": {"POSITION": 0, "TEXCOORD_0": 1}, "indices": 2}
    scene = {
        "asset": {"version": "2.0"}, "scene": 0, "scenes": [{"nodes": [0, 1]}],
        "nodes": [{"mesh": 0}, {"mesh": 1, "translation": [1.1, 0, 0]}],
        "meshes": [{"primitives": [{**primitive, "material": i}]} for i in (0, 1)],
        "materials": [{"pbrMetallicRoughness": {"baseColorTexture": {"index": i}}} for i in (0, 1)],
        "textures": [{"source": 0}, {"source": 1}], "images": [{"uri": "a.jpg"}, {"uri": "b.jpg"}],
        "accessors": [
            {"bufferView": 0, "componentType": 5126, "count": 4, "type": "VEC3", "min": [0, 0, 0], "max": [1, 1, 0]},
            {"bufferView": 1, "componentType": 5126, "count": 4, "type": "VEC2"},
            {"bufferView": 2, "componentType": 5123, "count": 6, "type": "SCALAR"}],
        "bufferViews": [{"buffer": 0, "byteOffset": at, "byteLength": length} for at, length in ((0, 48), (48, 32), (80, 12))],
        "buffers": [{"byteLength": len(data), "uri": "data:application/octet-stream;base64," + base64.b64encode(data).decode()}],
    }
    path = folder / "profiled.gltf"
    path.write_text(json.dumps(scene), encoding="utf-8")
    return path
