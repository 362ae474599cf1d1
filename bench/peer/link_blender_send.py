"""Measures the add-on's own share of the link: longest hold of Blender's main thread and time until everything is written.

    blender --background --factory-startup --python link_blender_send.py -- [TRIANGLES]

Studio is a small server in this process that reads and drops all bytes, so the figures are Blender's and the add-on's side alone. Prints
one line of JSON.
"""
import json
import pathlib
import statistics
import sys
import tempfile
import time

import bpy

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "tests/integrations"))

import blender_setup  # finds the add-on
import lumenara_live
from lumenara_live.live import link
from recording_studio import RecordingStudio


class DroppingStudio(RecordingStudio):
    """Keeps no messages: their bytes would only cost time."""

    def talk(self, client):
        self.scene.apply = lambda message, blocks: self.scene.counts.update({message["type"]: self.scene.counts.get(message["type"], 0) + 1})
        super().talk(client)


def tick_until_sent():
    """Seconds until everything is acknowledged, seconds of the longest tick, and the same in processor time."""
    begin, longest, busiest = time.perf_counter(), 0.0, 0.0
    while True:
        start, worked = time.perf_counter(), time.thread_time()
        link.tick()
        longest, busiest = max(longest, time.perf_counter() - start), max(busiest, time.thread_time() - worked)
        if not link.sync.dirty and not link.once and not link.outbox.busy and link.connection.applied >= link.sync.commits:
            return time.perf_counter() - begin, longest, busiest
        time.sleep(0.001)


def make_scene(triangles):
    bpy.ops.wm.read_factory_settings(use_empty=True)
    side = max(2, round((triangles / 2) ** 0.5))
    bpy.ops.mesh.primitive_grid_add(x_subdivisions=side, y_subdivisions=side)
    mesh = bpy.context.object.data
    mesh.polygons.foreach_set("use_smooth", [True] * len(mesh.polygons))
    bpy.ops.mesh.primitive_cube_add()
    bpy.context.object.name = "Moved"
    bpy.context.view_layer.update()
    return 2 * len(mesh.polygons)


def measure():
    given = sys.argv[sys.argv.index("--") + 1:] if "--" in sys.argv else []
    triangles = make_scene(int(given[0]) if given else 1_000_000)
    with tempfile.TemporaryDirectory() as folder:
        studio = DroppingStudio(folder)
        lumenara_live.register()
        link.connect()
        link.send_scene()
        link.set_live(True)
        first, longest, busiest = tick_until_sent()
        moves, edits = [], []
        for index in range(50):
            bpy.data.objects["Moved"].location.x = index
            bpy.context.view_layer.update()
            moves.append(tick_until_sent())
        for index in range(5):
            mesh = bpy.data.objects["Grid"].data
            mesh.vertices[0].co.z = index + 1
            mesh.update()
            bpy.context.view_layer.update()
            edits.append(tick_until_sent())
        lumenara_live.unregister()
        studio.close()
    ordered = sorted(seconds for seconds, _, _ in moves)
    print("MEASURED " + json.dumps({
        "triangles": triangles, "first_send_s": round(first, 3), "longest_tick_ms": round(longest * 1e3, 1),
        "longest_tick_cpu_ms": round(busiest * 1e3, 1),
        "move_median_ms": round(statistics.median(ordered) * 1e3, 2), "move_95_ms": round(ordered[47] * 1e3, 2),
        "edit_median_s": round(statistics.median(seconds for seconds, _, _ in edits), 3),
        "edit_longest_tick_ms": round(max(tick for _, tick, _ in edits) * 1e3, 1),
        "edit_longest_tick_cpu_ms": round(max(tick for _, _, tick in edits) * 1e3, 1)}), flush=True)


if __name__ == "__main__":
    measure()
