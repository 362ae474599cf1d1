#!/usr/bin/env python3
"""Makes the demo scene, a still life on a table top. Usage: make_demo_scene.py [OUTPUT.glb]

Everything in it is made here: shapes (demo_mesh.py), pictures (demo_textures.py) and the composition below.
The output is the same on every run and takes a minute. Metres, y up; the camera stands on the +z side. What
glTF has no word for follows docs/scene-format.md. Needs nothing but Python 3.
"""

import argparse
import math
import pathlib

import demo_mesh as shape
import demo_textures as paint
from demo_gltf import Document, combine, look, turn
from vector_art import png_bytes

FPS, LAST_FRAME = 30, 90
TOP = 0.05  # height of the table slab
ARCH_X, ARCH_Z, ARCH_LEG, ARCH_OUT, ARCH_IN, ARCH_DEPTH = -0.13, -0.12, 0.20, 0.17, 0.10, 0.11
FOCUS = (0.0, 0.17, 0.0)


def linear(token):
    """A linear colour from a 0xRRGGBB token in sRGB."""
    channels = [v / 255 for v in paint.token(token)]
    return [round(c / 12.92 if c <= 0.04045 else ((c + 0.055) / 1.055) ** 2.4, 5) for c in channels]


def ours(**fields):
    return {"lumenara": fields}


# Materials ------------------------------------------------------------


class Materials:
    """Indices of the scene's materials, by attribute."""

    def __init__(self, doc):
        self.doc = doc
        self.plain()
        self.metals()
        self.textured()
        self.glowing()

    def surface(self, name, token, metallic, roughness, **fields):
        look_of = {"baseColorFactor": linear(token) + [1.0], "metallicFactor": metallic, "roughnessFactor": roughness}
        look_of.update(fields.pop("maps", {}))
        return self.doc.material(name, pbrMetallicRoughness=look_of, **fields)

    def picture(self, name, rows):
        return {"index": self.doc.texture(name, png_bytes(rows, 3))}

    def plain(self):
        self.backdrop = self.surface("Backdrop paper", 0xB5A99B, 0.0, 0.95)
        self.arch = self.surface("Terracotta plaster", 0xA0674E, 0.0, 0.88, extras=ours(**self.dusty_corners()))
        self.lacquer = self.surface("Petrol lacquer", 0x16494C, 0.0, 0.42, extensions={
            "KHR_materials_clearcoat": {"clearcoatFactor": 1.0, "clearcoatRoughnessFactor": 0.03}})
        self.glass = self.surface("Clear glass", 0xFFFFFF, 0.0, 0.0, extensions={
            "KHR_materials_transmission": {"transmissionFactor": 1.0}, "KHR_materials_ior": {"ior": 1.5},
            "KHR_materials_volume": {"thicknessFactor": 0.1}})
        self.stem = self.surface("Dry stem", 0x5B4A38, 0.0, 0.8)
        self.bud = self.surface("Dry bud", 0xDCCBAA, 0.0, 0.85)
        self.pebble = self.surface("Matte pebble", 0xCFC8BB, 0.0, 0.6)
        self.doc.use("KHR_materials_clearcoat", "KHR_materials_transmission", "KHR_materials_ior",
                     "KHR_materials_volume")

    @staticmethod
    def dusty_corners():
        """Ambient occlusion laid over the colour: corners and the feet of the arch look deeper."""
        occlusion = {"type": 1001191, "name": "Corners", "container": [
            [1601, "long", 1], [1602, "real", 0.8], [1641, "real", 0.07],
            [1642, "vector", [0.32, 0.17, 0.12]], [1643, "vector", [1.0, 1.0, 1.0]]]}
        tone = {"type": 5832, "name": "Tone", "container": [[1611, "vector", [1.0, 1.0, 1.0]]]}
        return {"shaders": [{"type": 1011123, "name": "Plaster", "children": [tone, occlusion]}], "slots": {"0": 0}}

    def metals(self):
        self.steel = self.surface("Polished steel", 0xDADADC, 1.0, 0.03)
        self.brass = self.surface("Polished brass", 0xE3B868, 1.0, 0.1)
        marks, relief = paint.brushed(256)
        self.brushed = self.surface("Brushed metal", 0xC6C3BF, 1.0, 1.0, maps={
            "metallicRoughnessTexture": self.picture("Brushed roughness", marks)},
            normalTexture=self.picture("Brushed relief", relief))

    def textured(self):
        colour, rough = paint.terrazzo(768)
        self.terrazzo = self.surface("Terrazzo", 0xFFFFFF, 0.0, 1.0, maps={
            "baseColorTexture": self.picture("Terrazzo colour", colour),
            "metallicRoughnessTexture": self.picture("Terrazzo roughness", rough)})
        colour, rough = paint.walnut(768, 384)
        self.walnut = self.surface("Walnut", 0xFFFFFF, 0.0, 1.0, maps={
            "baseColorTexture": self.picture("Walnut colour", colour),
            "metallicRoughnessTexture": self.picture("Walnut roughness", rough)})
        colour, rough, relief = paint.stoneware(512)
        self.stoneware = self.surface("Glazed stoneware", 0xFFFFFF, 0.0, 1.0, maps={
            "baseColorTexture": self.picture("Stoneware colour", colour),
            "metallicRoughnessTexture": self.picture("Stoneware roughness", rough)},
            normalTexture=self.picture("Stoneware relief", relief))

    def light(self, name, colour, strength):
        return self.surface(name, 0x000000, 0.0, 1.0, emissiveFactor=colour, extensions={
            "KHR_materials_emissive_strength": {"emissiveStrength": strength}})

    def glowing(self):
        self.doc.use("KHR_materials_emissive_strength")
        self.sun = self.light("Amber glow", [1.0, 0.16, 0.03], 3.2)
        self.window = self.light("Softbox light", [1.0, 0.96, 0.9], 3.8)
        self.strip = self.light("Strip light", [0.82, 0.91, 1.0], 6.0)


# Objects ------------------------------------------------------------


def backdrop():
    """A sheet that runs from the floor up the wall in one curve. Its x is the room's z: the node turns it."""
    curve = shape.rounded([(2.6, 0.0), (-1.3, 0.0), (-1.3, 2.6)], 0.8, 24)
    return shape.extruded(curve, 5.0, 0.001, bevel_steps=1)


def arch():
    def outline(radius):
        half = [(math.cos(math.pi * i / 48), math.sin(math.pi * i / 48)) for i in range(49)]
        bow = [(radius * c, ARCH_LEG + radius * s, c, s) for c, s in half]
        return [(radius, -0.002, 1.0, 0.0)] + bow + [(-radius, -0.002, -1.0, 0.0)]

    bevel = 0.006
    outer, inner = outline(ARCH_OUT), [(x, y, -nx, -ny) for x, y, nx, ny in outline(ARCH_IN)]
    mesh = shape.extruded(outer, ARCH_DEPTH, bevel).add(shape.extruded(inner, ARCH_DEPTH, bevel))
    edges = [[(x - nx * bevel, y - ny * bevel) for x, y, nx, ny in curve] for curve in (outer, inner)]
    for side in (1, -1):
        mesh.add(shape.band(*edges, side * ARCH_DEPTH / 2, side))
    return mesh


def clay_vase():
    foot = [(0.0, 0.0), (0.030, 0.0), (0.042, 0.003)]
    belly = [(0.050, 0.012), (0.070, 0.050), (0.078, 0.090), (0.068, 0.130)]
    neck = [(0.042, 0.160), (0.029, 0.182), (0.031, 0.203), (0.038, 0.214)]
    outer = shape.flowing(foot + belly + neck, 8)
    inner = shape.inner_wall(outer[20:], 0.005)
    rim = [outer[-1]] + shape.lip(outer[-1], inner[0]) + inner
    mesh = shape.lathe(outer, 96, v_range=(0.06, 1.0), tangents=True)
    return mesh.add(shape.lathe(rim, 96, v_range=(0.0, 0.06), tangents=True))


def glass_vase():
    """One closed skin: outside, lip and inside, with a thick foot."""
    outer = shape.rounded([(0.0, 0.0), (0.036, 0.0), (0.036, 0.01)], [0, 0.004, 0], 6)[:-1]
    wall = [(0.036, 0.006), (0.0375, 0.03), (0.0435, 0.075), (0.044, 0.11), (0.0365, 0.150), (0.0335, 0.172)]
    outer += shape.flowing(wall + [(0.0365, 0.192)], 8)
    inner = shape.inner_wall([p for p in outer if p[1] > 0.03], 0.0028)
    floor = shape.flowing([inner[-1][:2], (0.031, 0.0215), (0.018, 0.0165), (0.0, 0.015)], 6)[1:]
    return shape.lathe(outer + shape.lip(outer[-1], inner[0]) + inner + floor, 96)


def branch(lean, height, tip, phase):
    """The way of a dry branch: from its foot in the glass over the other side's rim to its tip, at 0 to 1.

    `lean` is its direction about y, `tip` the tip's distance from the axis. The distance is a parabola through
    three heights, so that the branch clears the glass.
    """
    rim = 0.172 / height
    curve = (tip + 0.018 - 0.038 / rim) / (1 - rim)
    slope = tip + 0.018 - curve

    def at(t):
        out = -0.018 + slope * t + curve * t * t
        side = 0.006 * math.sin(t * 5 + phase)
        x = out * math.cos(lean) - side * math.sin(lean)
        z = out * math.sin(lean) + side * math.cos(lean)
        return (x, 0.0175 + height * t, z)

    return at


def stems():
    """Thin dry branches that stand in the glass, with buds: (stems, buds)."""
    branches, buds = shape.Mesh(), shape.Mesh()
    kinds = ((-0.62, 0.33, 0.082, 2.0), (0.22, 0.375, 0.05, 1.3), (1.9, 0.29, 0.07, 0.2), (3.4, 0.325, 0.055, 4.2))
    for k, kind in enumerate(kinds):
        at = branch(*kind)
        branches.add(shape.tube([at(i / 28) for i in range(29)], lambda t: 0.0016 - 0.0009 * t, 8))
        for n in range(9):
            t = 0.62 + 0.0425 * n
            size = 0.0046 - 0.0012 * (t - 0.62) + 0.0004 * math.sin(n * 5 + k)
            if n == 8:
                end = shape.plus(at(1.0), (0.0, 0.003, 0.0))
            else:
                out = shape.unit((math.cos(n * 2.4 + k), 0.55, math.sin(n * 2.4 + k)))
                end = shape.plus(at(t), shape.times(out, 0.013 - 0.006 * (t - 0.62)))
                middle = shape.plus(shape.times(shape.plus(at(t), end), 0.5), (0.0, -0.001, 0.0))
                branches.add(shape.tube([at(t), middle, end], 0.0006, 6))
            buds.add(shape.sphere(size, 14, 8), end)
    return branches, buds


def plinth():
    side = shape.rounded([(0.0, 0.0), (0.115, 0.0), (0.115, 0.07), (0.0, 0.07)], [0, 0.004, 0.004, 0], 6)
    mesh = shape.lathe(side, 128, u_repeat=1.0, v_range=(0.0, 0.62))
    return shape.flat_top_uv(mesh, 0.42)


def cone():
    side = shape.rounded([(0.0, 0.0), (0.052, 0.0), (0.0, 0.15)], [0, 0.004, 0], 6)[:-1]
    tip = shape.rounded([(0.052, 0.0), (0.0, 0.15), (-0.052, 0.0)], 0.006, 16)
    nose = [p for p in tip[1:] if p[0] >= -1e-9]
    return shape.lathe(side + nose, 96, u_repeat=1.0, v_range=(0.0, 2.0), tangents=True)


def panel(width, height):
    mesh = shape.Mesh()
    for x, y in ((-1, -1), (1, -1), (1, 1), (-1, 1)):
        mesh.vertex((x * width / 2, y * height / 2, 0.0), (0.0, 0.0, -1.0), ((x + 1) / 2, (1 - y) / 2))
    mesh.quad(0, 1, 2, 3)
    return mesh


def cage():
    """The knot's control cage, for the subdivision generator.

    Quads in pairs of triangles, without normals.
    """
    mesh = shape.Mesh()
    mesh.positions, quads = shape.knot_cage(0.0265, 0.030, 0.0135, 21, -2)
    for a, b, c, d in quads:
        mesh.triangles += [(a, b, c), (a, c, d)]
    return mesh


# Composition ------------------------------------------------------------


def still_life(doc, look_of):
    """The table and what stands on it; hands back the nodes that move."""
    table = doc.node("Still life", rotation=turn("y", -6))

    def put(name, mesh, material, x, y, z, **fields):
        return doc.node(name, table, mesh=doc.mesh(name, (mesh, material)), translation=[x, y, z], **fields)

    put("Terrazzo slab", shape.rounded_box(0.96, TOP, 0.50, 0.005, uv_size=0.42), look_of.terrazzo, 0, TOP / 2, 0)
    put("Arch", arch(), look_of.arch, ARCH_X, TOP, ARCH_Z)
    put("Walnut plinth", plinth(), look_of.walnut, 0.17, TOP, -0.09)
    put("Clay vase", clay_vase(), look_of.stoneware, -0.345, TOP, 0.03)
    put("Glass vase", glass_vase(), look_of.glass, 0.045, TOP, 0.07)
    branches, buds = stems()
    dry = doc.mesh("Dry branches", (branches, look_of.stem), (buds, look_of.bud))
    doc.node("Dry branches", table, mesh=dry, translation=[0.045, TOP, 0.07])
    put("Brushed cone", cone(), look_of.brushed, -0.195, TOP, 0.13)
    put("Steel sphere", shape.sphere(0.042), look_of.steel, -0.085, TOP + 0.042, 0.155)
    put("Pebble", shape.sphere(0.02, 48, 24), look_of.pebble, 0.15, TOP + 0.02, 0.175)
    ring = put("Brass ring", shape.torus(0.078, 0.021), look_of.brass, 0.17, TOP + 0.07 + 0.099, -0.09)
    sun = put("Amber sun", shape.sphere(0.034, 40, 20), look_of.sun, *sun_at(0.0))

    knot = doc.node("Lacquer knot", table, translation=[0.345, TOP + 0.0816, 0.05],
                    rotation=combine(turn("y", -24), combine(turn("x", -12), turn("z", 30))),
                    extras=ours(type=1007455, container=[[1401, "long", 3]]))
    doc.node("Knot cage", knot, mesh=doc.mesh("Knot cage", (cage(), look_of.lacquer)))
    return ring, sun


def sun_at(t):
    """The glowing ball's way through the arch, t from 0 to 1: it rises on the left and sinks on the right."""
    angle = math.radians(168 - 156 * t)
    return (ARCH_X + 0.052 * math.cos(angle), TOP + 0.145 + 0.085 * math.sin(angle), ARCH_Z + 0.012)


def lamps(doc, look_of):
    def panel_at(name, size, place, material):
        sheet = doc.mesh(name, (panel(*size), material))
        doc.node(name, mesh=sheet, translation=list(place), rotation=look(place, FOCUS))

    panel_at("Softbox", (0.8, 1.0), (-1.35, 1.05, 0.75), look_of.window)
    panel_at("Strip light", (0.16, 1.1), (1.15, 0.75, 0.15), look_of.strip)
    aim = doc.node("Light aim", translation=list(FOCUS))
    watch = [{"type": 5676, "container": [[1521, "link", {"node": aim}]]}]
    wall = (0.12, 0.42, -1.3)
    for name, place, target, colour, strength, radius, cone_of in (
        ("Key light", (-0.75, 1.55, 1.05), FOCUS, [1.0, 0.93, 0.84], 12.0, 0.09, (0.15, 0.5)),
        ("Rim light", (0.95, 0.95, -0.8), FOCUS, [0.8, 0.9, 1.0], 3.2, 0.06, (0.2, 0.55)),
        ("Wall light", (0.95, 1.35, -0.45), wall, [1.0, 0.82, 0.62], 5.0, 0.08, (0.0, 0.85)),
    ):
        cone = {"innerConeAngle": cone_of[0], "outerConeAngle": cone_of[1]}
        spot = doc.light(name=name, type="spot", color=colour, intensity=strength, spot=cone)
        soft = ours(container=[[1107, "real", radius], [1108, "long", 2]], tags=watch if target == FOCUS else [])
        doc.node(name, translation=list(place), rotation=look(place, target), extensions=spot, extras=soft)
    doc.node("Sky", extras=ours(type=5105, container=[
        [1201, "long", 2], [1202, "vector", [0.18, 0.205, 0.25]],
        [1203, "vector", [0.25, 0.235, 0.22]], [1204, "vector", [0.09, 0.085, 0.08]]]))


def cameras(doc):
    """Hero hangs on a rig that drifts about the middle of the table; Detail stands still."""

    def camera(name, parent, angle, eye, target):
        lens = doc.camera(name, math.radians(angle), 16 / 9)
        return doc.node(name, parent, camera=lens, translation=list(eye), rotation=look(eye, target))

    rig = doc.node("Camera rig", translation=list(FOCUS))
    hero = camera("Hero", rig, 22.5, (0.43, 0.36, 1.64), (0.0, 0.0, 0.0))
    camera("Detail", None, 20, (0.40, 0.30, 0.80), (0.065, 0.170, 0.0))
    return rig, hero


def motion(doc, ring, sun, rig):
    length = LAST_FRAME / FPS
    quarter = [length * k / 4 for k in range(5)]
    facing = 38
    turns = [turn("y", facing + 90 * k) for k in range(5)]
    doc.json["nodes"][ring]["rotation"] = turns[0]

    # Cubic keys: the tangents are the path's own slopes a second.
    keys = [length * k / 6 for k in range(7)]
    places = []
    for k in range(7):
        t, h = k / 6, 1e-4
        slope = shape.times(shape.sub(sun_at(t + h), sun_at(t - h)), 1 / (2 * h * length))
        places += [slope, sun_at(t), slope]

    def drift(t):
        return turn("y", 4.5 - 9 * t * t * (3 - 2 * t))

    steps = [k / 12 for k in range(13)]
    doc.json["nodes"][rig]["rotation"] = drift(0.0)
    doc.animation("Slow afternoon",
                  (ring, "rotation", "LINEAR", quarter, turns),
                  (sun, "translation", "CUBICSPLINE", keys, places),
                  (rig, "rotation", "LINEAR", [length * t for t in steps], [drift(t) for t in steps]))


def settings(doc, camera):
    start, end = [0, FPS], [LAST_FRAME, FPS]
    final = [[5008, "long", 1280], [5009, "long", 720], [7100, "long", 64], [7101, "real", 0.01], [5002, "long", 2]]
    doc.json["extras"] = ours(
        version=1,
        fps=FPS,
        time=start,
        minTime=start,
        maxTime=end,
        loopMinTime=start,
        loopMaxTime=end,
        renderData=[{"name": "Final", "container": final, "videoPosts": [{"type": 1021096}]}],
        activeRenderData=0,
        views=[{"camera": {"node": camera}, "frame": [0, 0, 1280, 720]}],
        activeView=0,
        renderView=0,
    )


def build():
    doc = Document("make_demo_scene.py")
    look_of = Materials(doc)
    doc.node("Backdrop", mesh=doc.mesh("Backdrop", (backdrop(), look_of.backdrop)), rotation=turn("y", -90))
    ring, sun = still_life(doc, look_of)
    lamps(doc, look_of)
    rig, hero = cameras(doc)
    motion(doc, ring, sun, rig)
    settings(doc, hero)
    return doc


def main():
    root = pathlib.Path(__file__).resolve().parent.parent
    parser = argparse.ArgumentParser(description="Makes the demo scene.")
    parser.add_argument("output", nargs="?", type=pathlib.Path, default=root / "scenes" / "demo.glb")
    options = parser.parse_args()
    options.output.parent.mkdir(parents=True, exist_ok=True)
    options.output.write_bytes(build().glb())


if __name__ == "__main__":
    main()
