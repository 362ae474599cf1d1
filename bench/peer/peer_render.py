"""Renders a scene with Blender's path tracer on the processor and prints the times as one line of JSON.

    blender --background --factory-startup --python peer_render.py -- JOB.json

The job: "scene", "size" [width, height], "threads", "sun" [strength, angle, Euler angles], "sky", "lamps" {name: radius}, "runs" [{"samples",
"seed", "output"}]. No denoiser, no adaptive sampling.
"""
import json
import math
import sys
import time

import bpy
import numpy

for name, kind in (("bool", bool), ("int", int), ("float", float), ("object", object)):
    if name not in numpy.__dict__:  # names that the importer needs and newer versions of numpy lack
        setattr(numpy, name, kind)

import addon_utils


def load(job):
    bpy.ops.wm.read_factory_settings(use_empty=True)
    for addon in ("io_scene_gltf2", "cycles"):
        addon_utils.enable(addon)
    # This mode takes an intensity as watts a steradian.
    bpy.ops.import_scene.gltf(filepath=job["scene"], convert_lighting_mode="COMPAT")
    scene = bpy.context.scene
    scene.camera = next(item for item in scene.objects if item.type == "CAMERA")
    for item in scene.objects:
        if item.type == "LIGHT":
            # The importer puts lamps on a node of their own below the named one.
            owner = item if item.name in job["lamps"] else item.parent
            item.data.shadow_soft_size = job["lamps"].get(owner.name if owner else "", 0)
    return scene


def add_light(scene, job):
    if not job["lamps"]:
        strength, angle, turn = job["sun"]
        data = bpy.data.lights.new("sun", "SUN")
        data.energy, data.angle = strength, angle
        sun = bpy.data.objects.new("sun", data)
        sun.rotation_euler = tuple(map(math.radians, turn))
        scene.collection.objects.link(sun)
    scene.world = bpy.data.worlds.new("sky")
    scene.world.use_nodes = True
    scene.world.node_tree.nodes["Background"].inputs[0].default_value = (*job["sky"], 1)


def set_up(scene, job):
    scene.render.engine, scene.cycles.device = "CYCLES", "CPU"
    scene.cycles.use_adaptive_sampling = scene.cycles.use_denoising = False
    scene.render.threads_mode, scene.render.threads = "FIXED", job["threads"]
    scene.render.resolution_x, scene.render.resolution_y = job["size"]
    scene.render.resolution_percentage = 100
    scene.render.image_settings.file_format, scene.render.image_settings.color_depth = "OPEN_EXR", "32"
    scene.view_settings.view_transform = "Standard"


def main():
    with open(sys.argv[sys.argv.index("--") + 1], encoding="utf-8") as file:
        job = json.load(file)
    scene = load(job)
    add_light(scene, job)
    set_up(scene, job)
    for run in job["runs"]:
        scene.cycles.samples, scene.cycles.seed, scene.render.filepath = run["samples"], run["seed"], run["output"]
        started, worked = time.perf_counter(), time.process_time()
        bpy.ops.render.render(write_still=True)
        run["seconds"], run["work"] = time.perf_counter() - started, time.process_time() - worked
    print("PEER " + json.dumps(job["runs"]), flush=True)


main()
