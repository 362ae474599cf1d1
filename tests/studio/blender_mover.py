"""Runs inside Blender, for the scenario `blender`: sends the start scene to Studio and moves its cube at each line of standard input."""
import pathlib
import sys
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "integrations"))

import blender_setup  # noqa: F401, finds the add-on
import bpy
import lumenara_live
from lumenara_live.live import link


def settle(seconds=60):
    bpy.context.view_layer.update()
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        link.tick()
        if link.connected and not link.sync.dirty and not link.once and not link.outbox.busy and link.connection.applied >= link.sync.commits:
            return
        time.sleep(0.001)
    raise SystemExit(f"not settled: {link.error} {link.outbox and link.outbox.failure}")


bpy.ops.wm.read_factory_settings()
lumenara_live.register()
if not link.connect():
    raise SystemExit(f"not connected: {link.error}")
link.send_scene()
link.set_live(True)
settle()
print("SENT", flush=True)
for line in sys.stdin:
    begin = time.time()
    bpy.data.objects["Cube"].location = [float(word) for word in line.split()]
    settle()
    print(f"MOVED {begin} {time.time()}", flush=True)
