"""Runs inside Blender for link_window.py: a scene with a green marker, and commands from standard input.

    blender --background --factory-startup --python link_window_blender.py -- demo FILE | million

SEND sends the scene; MOVE X moves the marker sideways; ORBIT SECONDS RATE turns the camera around the scene, so many views a second.
"""
import json
import math
import pathlib
import sys
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "tests/integrations"))

import blender_setup  # finds the add-on
import bpy
import lumenara_live
import numpy
from lumenara_live.live import link
from mathutils import Vector

numpy.bool = bool  # Blender 3.4's importer of glTF uses a name that numpy no longer has
STEP = 0.05  # radians between two views


def make_million():
    bpy.ops.mesh.primitive_grid_add(x_subdivisions=707, y_subdivisions=707, size=4)
    mesh = bpy.context.object.data
    for vertex in mesh.vertices:
        vertex.co.z = 0.1 * math.sin(9 * vertex.co.x) * math.cos(7 * vertex.co.y)
    mesh.polygons.foreach_set("use_smooth", [True] * len(mesh.polygons))
    sun = bpy.data.objects.new("Sun", bpy.data.lights.new("Sun", "SUN"))
    sun.data.energy = 2
    sun.rotation_euler = (0.6, 0.3, 0)
    bpy.context.scene.collection.objects.link(sun)


def bounds():
    corners = [item.matrix_world @ Vector(corner) for item in bpy.context.scene.objects if item.type == "MESH" for corner in item.bound_box]
    low, high = (Vector(pick(c[axis] for c in corners) for axis in range(3)) for pick in (min, max))
    return (low + high) / 2, max(1e-3, (high - low).length / 2)


def add_marker(centre, radius):
    made = bpy.data.materials.new("Marker")
    made.use_nodes = True
    shader = made.node_tree.nodes["Principled BSDF"]
    shader.inputs["Base Color"].default_value = (0, 0, 0, 1)
    shader.inputs["Emission"].default_value = (0, 1, 0, 1)
    shader.inputs["Emission Strength"].default_value = 20
    bpy.ops.mesh.primitive_uv_sphere_add(radius=radius / 6, location=centre + Vector((0, -1.1 * radius, 0.6 * radius)))
    item = bpy.context.object
    item.name = "Marker"
    item.data.materials.append(made)
    return item


def place(camera, centre, radius, angle):
    camera.location = centre + 2.6 * radius * Vector((math.sin(angle), -math.cos(angle), 0.35))
    camera.rotation_euler = (centre - camera.location).to_track_quat("-Z", "Y").to_euler()


def build(arguments):
    bpy.ops.wm.read_factory_settings(use_empty=True)
    if arguments[0] == "million":
        make_million()
    else:
        bpy.ops.import_scene.gltf(filepath=arguments[1])
    bpy.context.view_layer.update()
    centre, radius = bounds()
    marker = add_marker(centre, radius)
    camera = bpy.data.objects.new("Orbit", bpy.data.cameras.new("Orbit"))
    bpy.context.scene.collection.objects.link(camera)
    bpy.context.scene.camera = camera
    place(camera, centre, radius, 0)
    bpy.context.scene.render.resolution_x, bpy.context.scene.render.resolution_y = 640, 480
    bpy.context.view_layer.update()
    return centre, radius, marker, camera


def settled():
    return not link.sync.dirty and not link.once and not link.outbox.busy and link.connection.applied >= link.sync.commits


def run_until(done, seconds=120):
    end = time.monotonic() + seconds
    while not done():
        if time.monotonic() > end:
            raise SystemExit(f"not done: {link.error} {link.outbox and link.outbox.failure}")
        link.tick()
        time.sleep(0.001)


def orbit(camera, centre, radius, seconds, rate):
    """Views from -0.3 to 0.3 radians and back. A view that finds Blender busy is left out, as one of a mouse would be."""
    begin, shown = time.monotonic(), 0
    while (now := time.monotonic() - begin) < seconds:
        if now * rate >= shown:
            shown = int(now * rate) + 1
            turn = (STEP * shown) % 1.2
            place(camera, centre, radius, min(turn, 1.2 - turn) - 0.3)
            bpy.context.view_layer.update()
        link.tick()
        time.sleep(0.001)


def main():
    centre, radius, marker, camera = build(sys.argv[sys.argv.index("--") + 1:])
    lumenara_live.register()
    if not link.connect():
        raise SystemExit(f"not connected: {link.error}")
    triangles = sum(len(item.data.loop_triangles) for item in bpy.context.scene.objects if item.type == "MESH" and (item.data.calc_loop_triangles() or True))
    print("READY", json.dumps({"triangles": triangles}), flush=True)
    home = marker.location.copy()
    for line in sys.stdin:
        command, *numbers = line.split()
        began, worked, commits = time.time(), time.process_time(), link.sync.commits
        if command == "SEND":
            link.send_scene()
            link.set_live(True)
            run_until(settled)
        elif command == "MOVE":
            marker.location = home + Vector((float(numbers[0]) * radius, 0, 0))
            bpy.context.view_layer.update()
            run_until(settled)
        else:
            orbit(camera, centre, radius, *map(float, numbers))
        print("DONE", json.dumps({"began": began, "ended": time.time(), "cpu": time.process_time() - worked, "commits": link.sync.commits - commits}), flush=True)


main()
