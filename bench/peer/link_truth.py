"""Scenes by Cycles and through the live link: do they agree, block by block?

    blender --background --factory-startup --python-exit-code 1 --python link_truth.py -- [--program lumenara] [--samples 512] [--work DIR]
        [--pictures DIR] [SCENE...]

Each scene is built here, rendered by Cycles (no denoiser, no adaptive sampling), and sent by the add-on to a recording server. What arrived
is written as glTF and rendered by `lumenara`. Prints for each scene the largest difference of a block's mean of 8 x 8 blocks, as a part of the mean
of Cycles' block, and how many blocks differ by more than 3 %; exits 1 if any does. --pictures writes both pictures side by side, Cycles' on the left.
"""
import argparse
import math
import pathlib
import subprocess
import sys
import tempfile
import time

import bpy
import numpy

HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parents[1]
sys.path.insert(0, str(ROOT / "tests/integrations"))

import blender_setup  # finds the add-on
import gltf_of_link
import lumenara_live
from lumenara_live.live import link
from recording_studio import RecordingStudio

BLOCKS, LIMIT, SIZE = 8, 0.03, (128, 128)


def material(name, color=(0.8, 0.8, 0.8), **values):
    made = bpy.data.materials.new(name)
    made.use_nodes = True
    shader = made.node_tree.nodes["Principled BSDF"]
    shader.inputs["Base Color"].default_value = (*color, 1)
    for key, value in values.items():
        shader.inputs[key.replace("_", " ")].default_value = value
    shader.distribution = "MULTI_GGX"  # keeps the energy of rough reflections, as ours does
    return made, shader


def matt(name, color=(0.8, 0.8, 0.8)):
    """Diffuse BSDF, the same surface on both sides. The diffuse part of Principled is brighter where it sends light back to the lamp."""
    made = bpy.data.materials.new(name)
    made.use_nodes = True
    tree = made.node_tree
    shader = tree.nodes.new("ShaderNodeBsdfDiffuse")
    shader.inputs["Color"].default_value = (*color, 1)
    tree.links.new(shader.outputs[0], tree.nodes["Material Output"].inputs["Surface"])
    return made


def add(kind, made, **options):
    getattr(bpy.ops.mesh, f"primitive_{kind}_add")(**options)
    item = bpy.context.object
    item.data.materials.append(made)
    return item


def smooth(item):
    for polygon in item.data.polygons:
        polygon.use_smooth = True
    return item


def lamp(kind, energy, location, turn=(0, 0, 0), **values):
    data = bpy.data.lights.new(kind.title(), kind)
    data.energy = energy
    for key, value in values.items():
        setattr(data, key, value)
    item = bpy.data.objects.new(kind.title(), data)
    item.location, item.rotation_euler = location, turn
    bpy.context.scene.collection.objects.link(item)


def camera(location, turn, lens=50):
    data = bpy.data.cameras.new("Camera")
    data.lens = lens
    item = bpy.data.objects.new("Camera", data)
    item.location, item.rotation_euler = location, turn
    bpy.context.scene.collection.objects.link(item)
    bpy.context.scene.camera = item


def picture(name, width, height, values, floats=False):
    """A picture of our own, written as a file: `values` are stored numbers, first row at the bottom."""
    image = bpy.data.images.new(name, width, height, float_buffer=floats)
    image.pixels.foreach_set(numpy.ascontiguousarray(values, dtype=numpy.float32).reshape(-1))
    image.filepath_raw = str(pathlib.Path(WORK) / (name + (".exr" if floats else ".png")))
    image.file_format = "OPEN_EXR" if floats else "PNG"
    image.save()
    loaded = bpy.data.images.load(image.filepath_raw)
    bpy.data.images.remove(image)
    return loaded


def world(color=(0, 0, 0), strength=1.0):
    made = bpy.data.worlds.new("World")
    made.use_nodes = True
    bpy.context.scene.world = made
    background = made.node_tree.nodes["Background"]
    background.inputs["Color"].default_value, background.inputs["Strength"].default_value = (*color, 1), strength
    return made, background


def lamps_scene():
    """Each kind of lamp on matt surfaces."""
    grey = matt("Grey")
    add("plane", grey, size=12)
    add("cube", matt("Blue", (0.15, 0.3, 0.7)), size=1, location=(-1, 0.5, 0.5))
    smooth(add("uv_sphere", grey, radius=0.6, segments=64, ring_count=32, location=(1, 0, 0.6)))
    lamp("POINT", 150, (-2.5, -2, 3), shadow_soft_size=0.3)
    lamp("SPOT", 400, (2.5, -1, 4), (0, math.radians(25), 0), spot_size=math.radians(60), spot_blend=0.15, shadow_soft_size=0.1, color=(1, 0.8, 0.6))
    lamp("SUN", 0.8, (0, 0, 5), (math.radians(30), math.radians(-20), 0), angle=math.radians(5))
    world((0.05, 0.06, 0.08))
    camera((0, -6, 3.5), (math.radians(62), 0, 0), 35)


def studio_scene():
    """Area lights, a world picture, textured Principled materials."""
    y, x = numpy.mgrid[0:64, 0:128] / numpy.array((64, 128)).reshape(2, 1, 1)
    sky = numpy.stack((0.3 + 0.5 * x, 0.4 + 0.3 * y, 0.9 - 0.5 * x, numpy.ones_like(x)), axis=-1)
    sky[40:50, 20:36, :3] = 6
    made, background = world()
    node = made.node_tree.nodes.new("ShaderNodeTexEnvironment")
    node.image = picture("sky", 128, 64, sky, floats=True)
    mapping, place = made.node_tree.nodes.new("ShaderNodeMapping"), made.node_tree.nodes.new("ShaderNodeTexCoord")
    mapping.inputs["Rotation"].default_value[2] = 0.9
    made.node_tree.links.new(place.outputs["Generated"], mapping.inputs["Vector"])
    made.node_tree.links.new(mapping.outputs["Vector"], node.inputs["Vector"])
    made.node_tree.links.new(node.outputs["Color"], background.inputs["Color"])
    background.inputs["Strength"].default_value = 0.6
    checks, shader = material("Checks", Roughness=0.5, Specular=0)
    y, x = numpy.mgrid[0:512, 0:512] // 64  # fine: Cycles mixes neighbouring pixels by their stored numbers, not by their light
    odd = ((x + y) % 2)[..., None]
    tiles = odd * numpy.array((0.9, 0.75, 0.3, 1)) + (1 - odd) * numpy.array((0.25, 0.35, 0.6, 1))
    textured(checks, shader, picture("checks", 512, 512, tiles))
    metal, _ = material("Metal", (0.9, 0.7, 0.5), Metallic=1, Roughness=0.4)
    glow, _ = material("Glow", (0, 0, 0), Emission=(0.3, 0.8, 0.4, 1), Emission_Strength=2.0, Specular=0)
    add("plane", checks, size=8)
    smooth(add("uv_sphere", metal, radius=0.7, segments=64, ring_count=32, location=(-1, 0, 0.7)))
    add("cube", glow, size=0.8, location=(1.2, 0.4, 0.4))
    lamp("AREA", 60, (0, -2, 3), (math.radians(35), 0, 0), shape="RECTANGLE", size=1.5, size_y=0.6)
    lamp("AREA", 40, (-3, 1, 2.5), (0, math.radians(-55), 0), shape="DISK", size=0.8, color=(1, 0.6, 0.4))
    camera((0, -5, 3), (math.radians(62), 0, 0), 35)


def textured(made, shader, image):
    node = made.node_tree.nodes.new("ShaderNodeTexImage")
    node.image = image
    mapping, place = made.node_tree.nodes.new("ShaderNodeMapping"), made.node_tree.nodes.new("ShaderNodeTexCoord")
    mapping.inputs["Scale"].default_value[:] = (2, 1, 1)
    mapping.inputs["Rotation"].default_value[2] = 0.3
    made.node_tree.links.new(place.outputs["UV"], mapping.inputs["Vector"])
    made.node_tree.links.new(mapping.outputs["Vector"], node.inputs["Vector"])
    made.node_tree.links.new(node.outputs["Color"], shader.inputs["Base Color"])


def metals_scene():
    """Metals of three roughnesses, glowing and matt surfaces, under a plain sky, a sun and an area light."""
    add("plane", matt("Grey", (0.5, 0.5, 0.5)), size=10)
    for index, (color, roughness) in enumerate((((0.95, 0.75, 0.35), 0.25), ((0.9, 0.9, 0.9), 0.5), ((0.9, 0.5, 0.35), 0.8))):
        metal, _ = material(f"Metal {index}", color, Metallic=1, Roughness=roughness)
        smooth(add("uv_sphere", metal, radius=0.6, segments=64, ring_count=32, location=(1.4 * (index - 1), 0, 0.6)))
    glow, _ = material("Glow", (0, 0, 0), Emission=(1, 0.7, 0.4, 1), Emission_Strength=3.0, Specular=0)
    add("cube", glow, size=0.4, location=(0.7, -1.1, 0.2))
    lamp("AREA", 90, (-1, -2, 3.5), (math.radians(28), math.radians(-14), 0), shape="SQUARE", size=1.2)
    lamp("SUN", 1.2, (0, 0, 5), (math.radians(20), math.radians(35), 0), angle=math.radians(4))
    world((0.4, 0.5, 0.7), 0.6)
    camera((0, -5, 2.5), (math.radians(67), 0, 0), 35)


def gloss_scene():
    """Principled at its defaults, rough and shiny, under a plain sky and an area light. Here the models differ (docs/blender.md)."""
    plain, _ = material("Plain")
    shiny, _ = material("Shiny", (0.6, 0.1, 0.1), Roughness=0.2)
    add("plane", plain, size=10)
    smooth(add("uv_sphere", shiny, radius=0.7, segments=64, ring_count=32, location=(-0.9, 0, 0.7)))
    smooth(add("uv_sphere", plain, radius=0.7, segments=64, ring_count=32, location=(0.9, 0, 0.7)))
    lamp("AREA", 120, (1, -2, 4), (math.radians(25), math.radians(12), 0), shape="SQUARE", size=1.5)
    world((0.5, 0.6, 0.7), 0.5)
    camera((0, -5, 2.5), (math.radians(67), 0, 0), 35)


SCENES = {"lamps": lamps_scene, "studio": studio_scene, "metals": metals_scene, "gloss": gloss_scene}


def by_cycles(samples, output):
    scene = bpy.context.scene
    scene.render.engine, scene.cycles.device, scene.cycles.samples = "CYCLES", "CPU", samples
    scene.cycles.use_adaptive_sampling = scene.cycles.use_denoising = False
    scene.cycles.max_bounces, scene.cycles.sample_clamp_indirect, scene.cycles.blur_glossy = 12, 0, 0
    scene.render.filepath = output
    scene.render.image_settings.file_format, scene.render.image_settings.color_depth = "OPEN_EXR", "32"
    bpy.ops.render.render(write_still=True)


def by_link(program, samples, folder, output):
    studio = RecordingStudio(folder)
    lumenara_live.register()
    try:
        bpy.context.scene.lumenara.resolution = 100
        if not link.connect():
            raise SystemExit(link.error)
        link.send_scene()
        end = time.monotonic() + 60
        while (link.once or link.outbox.busy or link.connection.applied < link.sync.commits) and time.monotonic() < end:
            link.tick()
            time.sleep(0.001)
        notes = link.notes()
    finally:
        lumenara_live.unregister()
        studio.close()
    if studio.scene.faults or studio.failure:
        raise SystemExit(f"{studio.scene.faults} {studio.failure}")
    gltf_of_link.Writer(studio.scene).write(folder + "/scene.gltf")
    done = subprocess.run([program, "render", folder + "/scene.gltf", "-o", output, "--size", f"{SIZE[0]}x{SIZE[1]}", "--samples", str(samples), "--noise", "0",
                           "--sampling", "even", "--home", folder + "/home", "--quiet", "--set", "LM_ERROR_BANNER=0"], check=False)
    if done.returncode:
        raise SystemExit(f"{program} ended with code {done.returncode}")
    return notes


def pixels_of(file):
    image = bpy.data.images.load(file, check_existing=False)
    image.colorspace_settings.name = "Linear"
    return numpy.array(image.pixels[:], dtype=numpy.float64).reshape(image.size[1], image.size[0], -1)[..., :3]


def side_by_side(files, output, scale=2):
    light = numpy.concatenate([pixels_of(file) for file in files], axis=1).clip(0, 1)
    stored = numpy.where(light < 0.0031308, 12.92 * light, 1.055 * light ** (1 / 2.4) - 0.055).repeat(scale, 0).repeat(scale, 1)
    image = bpy.data.images.new("beside", stored.shape[1], stored.shape[0])
    image.pixels.foreach_set(numpy.concatenate((stored, numpy.ones_like(stored[..., :1])), axis=-1).astype(numpy.float32).reshape(-1))
    image.filepath_raw, image.file_format = str(output), "JPEG"
    image.save()


def blocks_of(file):
    pixels = pixels_of(file)
    rows, columns = pixels.shape[0] // BLOCKS, pixels.shape[1] // BLOCKS
    return pixels[:rows * BLOCKS, :columns * BLOCKS].reshape(BLOCKS, rows, BLOCKS, columns, 3).mean(axis=(1, 3, 4))


def main():
    global WORK
    parser = argparse.ArgumentParser()
    parser.add_argument("scenes", nargs="*", default=list(SCENES))
    parser.add_argument("--program", default=str(ROOT / "build/release/bin/lumenara"))
    parser.add_argument("--samples", type=int, default=512)
    parser.add_argument("--work")
    parser.add_argument("--pictures", type=pathlib.Path)
    options = parser.parse_args(sys.argv[sys.argv.index("--") + 1:] if "--" in sys.argv else [])
    WORK = options.work or tempfile.mkdtemp()
    failed = 0
    for name in options.scenes or SCENES:
        bpy.ops.wm.read_factory_settings(use_empty=True)
        scene = bpy.context.scene
        scene.render.resolution_x, scene.render.resolution_y = SIZE
        SCENES[name]()
        theirs, ours = f"{WORK}/{name}-cycles.exr", f"{WORK}/{name}-link.exr"
        by_cycles(options.samples, theirs)
        notes = by_link(options.program, options.samples, WORK, ours)
        if options.pictures:
            side_by_side((theirs, ours), options.pictures / f"link-{name}.jpg")
        expected, found = blocks_of(theirs), blocks_of(ours)
        difference = abs(found - expected) / numpy.maximum(expected, 1e-6)
        failed += int((difference > LIMIT).sum())
        print(f"TRUTH {name}: largest {difference.max():.2%}, median {numpy.median(difference):.2%}, {int((difference > LIMIT).sum())} of {BLOCKS * BLOCKS} "
              f"blocks above {LIMIT:.0%}, means {expected.mean():.4f} {found.mean():.4f} {notes}", flush=True)
    sys.exit(1 if failed else 0)


if __name__ == "__main__":
    main()
