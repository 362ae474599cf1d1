#!/usr/bin/env python3
"""Makes scenes/small.gltf: a few triangles with one of everything that docs/scene-format.md describes, to try
and to test with.

Usage: make_small_scene.py [OUTPUT.gltf]. A textured sheet, a box that moves, a smoothed cage, a floor, a sky,
lights and two cameras.
"""

import argparse
import base64
import math
import pathlib

import demo_mesh as shape
from demo_gltf import Document, look, turn
from vector_art import png_bytes


def ours(**fields):
    return {"lumenara": fields}


def chequer():
    light, dark = b"\xe0\xa0\x30", b"\x2b\x2b\x2e"
    return png_bytes([b"".join(dark if (x + y) % 2 else light for x in range(8)) for y in range(8)], 3)


def sheet():
    mesh = shape.Mesh()
    for x, y in ((-1, -1), (1, -1), (1, 1), (-1, 1)):
        mesh.vertex((x * 0.5, y * 0.5, 0.0), (0.0, 0.0, 1.0), ((x + 1) / 2, (1 - y) / 2))
    mesh.quad(0, 1, 2, 3)
    return mesh


def box(half):
    """Eight corners, no normals: flat sides, and a cage for the subdivision generator."""
    mesh = shape.Mesh()
    mesh.positions = [(x * half, y * half, z * half) for x in (-1, 1) for y in (-1, 1) for z in (-1, 1)]
    for a, b, c, d in ((0, 1, 3, 2), (4, 6, 7, 5), (0, 4, 5, 1), (2, 3, 7, 6), (0, 2, 6, 4), (1, 5, 7, 3)):
        mesh.triangles += [(a, b, c), (a, c, d)]
    return mesh


def materials(doc):
    doc.texture("Chequer", chequer())
    doc.json["images"][0]["extras"] = ours(uri="chequer.png")
    doc.use("KHR_texture_transform", "KHR_materials_specular", "KHR_materials_clearcoat", "KHR_materials_unlit")
    transform = {"offset": [0.25, 0.0], "rotation": 0.5, "scale": [2.0, 2.0]}
    turned = {"index": 0, "extensions": {"KHR_texture_transform": transform}}
    painted = doc.material(
        "Painted",
        doubleSided=True,
        alphaMode="MASK",
        alphaCutoff=0.25,
        pbrMetallicRoughness={"baseColorTexture": turned, "metallicFactor": 0.0},
        extras=ours(container=[[2004, "bool", True], [2012, "bool", False]]),
    )
    surface = {"baseColorFactor": [0.6, 0.5, 0.4, 1.0], "metallicFactor": 0.0, "roughnessFactor": 0.4}
    coat = {
        "KHR_materials_specular": {"specularFactor": 0.7},
        "KHR_materials_clearcoat": {"clearcoatFactor": 0.5},
    }
    trees = ours(
        ref="layered",
        container=[[2007, "bool", True], [2118, "real", 0.004]],
        shaders=shaders(),
        slots={"0": 0, "6": 1},
    )
    layered = doc.material("Layered", pbrMetallicRoughness=surface, extensions=coat, extras=trees)
    grey = {"baseColorFactor": [0.35, 0.36, 0.38, 1.0]}
    flat = doc.material("Flat", pbrMetallicRoughness=grey, extensions={"KHR_materials_unlit": {}})
    return painted, layered, flat


def shaders():
    """A layer with a picture and ambient occlusion, and a fusion of a colour and a picture."""

    def shader(kind, name, *container, **fields):
        return {"type": kind, "name": name, "container": list(container), **fields}

    chequers = shader(5833, "Chequer", [1623, "vector", [3.0, 3.0, 1.0]], [1627, "bool", True], image=0)
    corners = shader(1001191, "Corners", [1601, "long", 1], [1641, "real", 0.3])
    tone = shader(5832, "Tone", [1611, "vector", [0.5, 0.5, 0.5]])
    dents = shader(5833, "Dents", [1601, "long", 3], [1602, "real", 0.25], image=0)
    return [
        {"type": 1011123, "name": "Paint", "children": [chequers, corners]},
        {"type": 1011109, "name": "Relief", "children": [tone, dents]},
    ]


def tag(kind, *container, **fields):
    return {"type": kind, "container": list(container), **fields}


def objects(doc, painted, layered, flat):
    flagged = [tag(5637, [1511, "bool", True], [1512, "bool", False]), tag(5629, name="Protected")]
    picture = doc.mesh("Sheet", (sheet(), painted))
    marks = ours(ref="the sheet", bits=2, tags=flagged)
    doc.node("Sheet", mesh=picture, translation=[-0.6, 0.5, 0.0], extras=marks)

    phong = ours(tags=[tag(5612, [1531, "bool", True], [1532, "real", 0.7])])
    cube = doc.node("Box", mesh=doc.mesh("Box", (box(0.2), layered)), translation=[0.0, 0.2, 0.0], extras=phong)

    generator = ours(type=1007455, container=[[1401, "long", 2]])
    smooth = doc.node("Smooth", translation=[0.65, 0.3, 0.0], extras=generator)
    doc.node("Cage", smooth, mesh=doc.mesh("Cage", (box(0.3), layered)))

    covered = tag(5616, [1501, "link", {"material": flat}])
    doc.node("Floor", extras=ours(type=5104, container=[[1301, "real", 4.0]], tags=[covered]))
    zenith, horizon, nadir = [0.3, 0.4, 0.6], [0.7, 0.7, 0.7], [0.2, 0.2, 0.2]
    gradient = [[1201, "long", 2], [1202, "vector", zenith], [1203, "vector", horizon], [1204, "vector", nadir]]
    doc.node("Sky", extras=ours(type=5105, container=gradient))
    return cube


def lights(doc):
    place = (1.0, 2.0, 1.5)
    cone = {"innerConeAngle": 0.3, "outerConeAngle": 0.6}
    spot = doc.light(name="Lamp", type="spot", color=[1.0, 0.9, 0.8], intensity=12.0, spot=cone)
    soft = ours(container=[[1107, "real", 0.1], [1108, "long", 2]])
    doc.node("Lamp", translation=list(place), rotation=look(place, (0.0, 0.0, 0.0)), extensions=spot, extras=soft)
    sun = doc.light(name="Sun", type="directional", intensity=0.8)
    doc.node("Sun", rotation=turn("x", -60), extensions=sun, extras=ours(container=[[1107, "real", 0.01]]))


def cameras(doc, cube):
    eye = (0.5, 1.0, 3.0)
    watch = ours(tags=[tag(5676, [1521, "link", {"node": cube}], [1000999, "bool", False])])
    lens = doc.camera("Camera", math.radians(35), 16 / 9)
    place = {"translation": list(eye), "rotation": look(eye, (0.0, 0.3, 0.0))}
    camera = doc.node("Camera", camera=lens, extras=watch, **place)
    plan = {"xmag": 1.6, "ymag": 0.9, "znear": 0.01, "zfar": 20.0}
    doc.json["cameras"].append({"name": "Plan", "type": "orthographic", "orthographic": plan})
    doc.node("Plan", camera=1, translation=[0.0, 4.0, 0.0], rotation=turn("x", -90))
    return camera


def motion(doc, cube):
    """One track of each kind of interpolation."""
    low, high, still = (0.0, 0.2, 0.0), (0.0, 0.6, 0.0), (0.0, 0.0, 0.0)
    hop = [still, low, still, still, high, still, still, low, still]
    doc.animation(
        "Hop",
        (cube, "translation", "CUBICSPLINE", [0.0, 0.5, 1.0], hop),
        (cube, "rotation", "LINEAR", [0.0, 0.5, 1.0], [turn("y", 0), turn("y", 45), turn("y", 90)]),
        (cube, "scale", "STEP", [0.0, 0.75], [(1.0, 1.0, 1.0), (1.0, 0.75, 1.0)]),
    )


def settings(doc, cube, camera):
    upright = [1, 0, 0, 0, 1, 0, 0, 0, 1]
    everything = [
        [1, "long", -3],
        [2, "real", 0.1],
        [3, "real", "-inf"],
        [4, "bool", True],
        [5, "int64", "9007199254740993"],
        [6, "time", [45, 30]],
        [7, "vector", [0.1, 0.2, 0.3]],
        [8, "matrix", [0, 0, 0] + upright],
        [9, "string", "Grüße"],
        [10, "filename", "out/shot.png"],
        [11, "bytes", base64.b64encode(bytes(range(8))).decode()],
        [12, "container", {"id": 7, "entries": [[1, "nil", None]]}],
        [13, "link", {"node": cube}],
        [14, "link", {"ref": "layered"}],
        [15, "link", {"name": "Camera"}],
        [16, "link", None],
    ]
    draft = [[5008, "long", 320], [5009, "long", 180], [7100, "long", 4], [5300, "long", 1]]
    final = [[5008, "long", 640], [5009, "long", 360], [7100, "long", 16]]
    posts = [
        {"type": 1021096},
        {"type": 300001045, "bits": 4},
        {"type": 1021830, "name": "Kept", "container": [[1, "long", 2]]},
    ]
    own_camera = {"matrix": [0, 0.5, 4] + upright, "container": [[1002, "real", 0.7]]}
    frame = [0, 0, 640, 360]
    doc.json["extras"] = ours(
        version=1,
        fps=25,
        time=[0, 25],
        minTime=[0, 25],
        maxTime=[25, 25],
        loopMinTime=[5, 25],
        loopMaxTime=[20, 25],
        lod=0.5,
        container=[[1000, "container", everything]],
        renderData=[
            {"name": "Draft", "container": draft},
            {"name": "Final", "container": final, "videoPosts": posts},
        ],
        activeRenderData=1,
        views=[{"frame": frame, "editorCamera": own_camera}, {"camera": {"node": camera}, "frame": frame}],
        activeView=0,
        renderView=1,
    )


def main():
    root = pathlib.Path(__file__).resolve().parent.parent
    parser = argparse.ArgumentParser(description="Makes a small scene with one of everything.")
    parser.add_argument("output", nargs="?", type=pathlib.Path, default=root / "scenes" / "small.gltf")
    options = parser.parse_args()
    doc = Document("make_small_scene.py")
    cube = objects(doc, *materials(doc))
    lights(doc)
    camera = cameras(doc, cube)
    motion(doc, cube)
    settings(doc, cube, camera)
    options.output.write_text(doc.gltf(), encoding="utf-8")


if __name__ == "__main__":
    main()
