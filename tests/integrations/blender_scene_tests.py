"""Tests of the add-on inside a real Blender: what a change of the scene sends.

    blender --background --factory-startup --python-exit-code 1 --python blender_scene_tests.py

In the background no timer runs, so the tests call the add-on's `tick` themselves; handlers run as they do for users.
"""
import math
import pathlib
import sys
import tempfile
import threading
import time
import unittest

import bpy
import numpy

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))

import blender_setup  # finds the add-on
import lumenara_live
from lumenara_live import meshes
from lumenara_live.live import link
from recording_studio import RecordingStudio

CUBE = "object:Cube"


def rounded(values, digits=4):
    return [round(value, digits) + 0.0 for value in values]


class LinkedBlender(unittest.TestCase):
    """The start scene of Blender, sent."""

    def setUp(self):
        bpy.ops.wm.read_factory_settings()
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        self.studio = RecordingStudio(self.folder.name)
        self.addCleanup(self.studio.close)
        lumenara_live.register()
        self.addCleanup(lumenara_live.unregister)
        self.assertTrue(link.connect(), link.error)
        link.send_scene()
        link.set_live(True)
        self.settle()
        self.scene = self.studio.scene

    def settle(self, seconds=60):
        """Ticks until everything that is dirty was sent and acknowledged."""
        bpy.context.view_layer.update()
        end = time.monotonic() + seconds
        while time.monotonic() < end:
            link.tick()
            if link.connected and not link.sync.dirty and not link.once and not link.outbox.busy and link.connection.applied >= link.sync.commits:
                self.assertIsNone(self.studio.failure)
                self.assertEqual(self.studio.scene.faults, [])
                self.assertIsNone(link.outbox.failure)
                return
            time.sleep(0.001)
        self.fail(f"not settled: {link.error} {link.outbox and link.outbox.failure} {self.studio.scene.counts}")

    def sent_by(self, change):
        """The numbers of messages by type that a change sends."""
        before = dict(self.scene.counts)
        change()
        self.settle()
        return {kind: count - before.get(kind, 0) for kind, count in self.scene.counts.items() if count != before.get(kind, 0)}


class Objects(LinkedBlender):
    def test_the_start_scene_is_complete(self):
        self.assertEqual(set(self.scene.objects), {CUBE, "object:Light", "object:Camera"})
        cube = self.scene.meshes["mesh:Cube"]
        self.assertEqual(list(cube["face_sizes"]), [4] * 6)
        self.assertEqual(cube["corners"], ["uv0"])
        self.assertEqual(len(cube["positions"]), 24)
        self.assertEqual(self.scene.objects[CUBE]["materials"], ["material:Material"])
        self.assertEqual(self.scene.settings["camera"], "object:Camera")
        self.assertEqual((self.scene.settings["width"], self.scene.settings["height"]), (960, 540))

    def test_z_up_becomes_y_up(self):
        bpy.data.objects["Cube"].location = (1, 2, 3)
        self.settle()
        self.assertEqual(rounded(self.scene.objects[CUBE]["matrix"]), [1, 0, 0, 0, 0, 0, -1, 0, 0, 1, 0, 0, 1, 3, -2, 1])

    def test_a_move_is_one_block_without_a_mesh(self):
        def move():
            bpy.data.objects["Cube"].location.x = 2
        self.assertEqual(self.sent_by(move), {"transforms": 1, "commit": 1})
        self.assertEqual(self.scene.objects[CUBE]["matrix"][12], 2)

    def test_nothing_is_sent_while_nothing_changes(self):
        self.assertEqual(self.sent_by(lambda: None), {})

    def test_an_edit_sends_that_mesh_alone(self):
        def edit():
            bpy.data.meshes["Cube"].vertices[0].co.x = 5
            bpy.data.meshes["Cube"].update()
        sent = self.sent_by(edit)
        self.assertEqual((sent.get("mesh"), sent.get("material"), sent.get("object")), (1, None, None))
        self.assertEqual(self.scene.meshes["mesh:Cube"]["positions"][0], 5)

    def test_edit_mode_sends_each_operation(self):
        bpy.context.view_layer.objects.active = bpy.data.objects["Cube"]
        bpy.ops.object.mode_set(mode="EDIT")
        bpy.ops.mesh.select_all(action="SELECT")
        bpy.ops.mesh.subdivide()
        self.settle()
        key = self.scene.objects[CUBE]["mesh"]
        self.assertEqual(len(self.scene.meshes[key]["face_sizes"]), 24)
        bpy.ops.object.mode_set(mode="OBJECT")
        self.settle()
        self.assertEqual(len(self.scene.meshes[self.scene.objects[CUBE]["mesh"]]["face_sizes"]), 24)

    def test_modifiers_are_evaluated(self):
        bpy.data.objects["Cube"].modifiers.new("s", "SUBSURF").levels = 2
        self.settle()
        mesh = self.scene.meshes[self.scene.objects[CUBE]["mesh"]]
        self.assertEqual(len(mesh["face_sizes"]), 96)
        self.assertEqual(set(self.scene.meshes), {"mesh of object:Cube"})

    def test_objects_share_their_mesh(self):
        other = bpy.data.objects.new("Twin", bpy.data.meshes["Cube"])
        sent = self.sent_by(lambda: bpy.context.scene.collection.objects.link(other))
        self.assertEqual((sent.get("mesh"), sent.get("object")), (None, 1))
        self.assertEqual(self.scene.objects["object:Twin"]["mesh"], "mesh:Cube")

    def test_removing_and_renaming(self):
        bpy.data.objects["Cube"].name = "Box"
        bpy.context.view_layer.update()
        link.sync.structure = True
        self.settle()
        self.assertIn("object:Box", self.scene.objects)
        bpy.data.objects.remove(bpy.data.objects["Box"])
        self.settle()
        self.assertEqual(set(self.scene.objects), {"object:Light", "object:Camera"})
        self.assertEqual(self.scene.meshes, {})

    def test_children_hang_below_their_parent(self):
        parent = bpy.data.objects.new("Parent", None)
        bpy.context.scene.collection.objects.link(parent)
        parent.location = (0, 0, 2)
        bpy.data.objects["Cube"].parent = parent
        self.settle()
        self.assertEqual(self.scene.objects[CUBE]["parent"], "object:Parent")
        self.assertEqual(rounded(self.scene.objects[CUBE]["matrix"]), [1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1])
        parent.location.x = 4
        self.settle()
        self.assertEqual(rounded(self.scene.objects["object:Parent"]["matrix"][12:]), [4, 2, 0, 1])
        self.assertEqual(rounded(self.scene.objects[CUBE]["matrix"][12:]), [0, 0, 0, 1])

    def test_collection_instances_become_copies(self):
        group = bpy.data.collections.new("Group")
        group.objects.link(bpy.data.objects["Cube"])
        for x in (4, 8):
            item = bpy.data.objects.new(f"Instance{x}", None)
            item.instance_type, item.instance_collection, item.location = "COLLECTION", group, (x, 0, 0)
            bpy.context.scene.collection.objects.link(item)
        self.settle()
        copies = [item for item in self.scene.objects.values() if item["kind"] == "instances"]
        self.assertEqual(sorted(item["translations"][0] for item in copies), [4, 8])
        self.assertEqual([len(item["rotations"]) for item in copies], [4, 4])
        bpy.data.objects["Instance4"].location.x = 5
        self.settle()
        copies = [item for item in self.scene.objects.values() if item["kind"] == "instances"]
        self.assertEqual(sorted(item["translations"][0] for item in copies), [5, 8])

    def test_render_visibility(self):
        bpy.context.scene.lumenara.visibility = "RENDER"
        bpy.data.objects["Cube"].hide_render = True
        self.settle()
        self.assertNotIn(CUBE, self.scene.objects)

    def test_material_slots_become_groups(self):
        cube = bpy.data.objects["Cube"]
        cube.data.materials.append(bpy.data.materials.new("Second"))
        for index in (1, 4):
            cube.data.polygons[index].material_index = 1
        cube.data.update()
        self.settle()
        mesh = self.scene.meshes["mesh:Cube"]
        self.assertEqual(list(mesh["groups"]), [0, 4, 4, 2])
        corners = [cube.data.loops[corner].vertex_index for face in (0, 2, 3, 5, 1, 4) for corner in cube.data.polygons[face].loop_indices]
        self.assertEqual(list(mesh["face_vertices"]), corners)
        self.assertEqual(self.scene.objects[CUBE]["materials"], ["material:Material", "material:Second"])

    def test_smooth_and_mixed_normals(self):
        cube = bpy.data.objects["Cube"]
        for polygon in cube.data.polygons:
            polygon.use_smooth = True
        cube.data.update()
        self.settle()
        mesh = self.scene.meshes["mesh:Cube"]
        self.assertNotIn("normals", mesh["corners"])
        self.assertAlmostEqual(abs(mesh["normals"][0]), 1 / math.sqrt(3), 3)
        cube.data.polygons[0].use_smooth = False
        cube.data.update()
        self.settle()
        mesh = self.scene.meshes["mesh:Cube"]
        self.assertIn("normals", mesh["corners"])
        self.assertEqual(rounded(mesh["normals"][:3]), rounded(cube.data.polygons[0].normal))


class Life(LinkedBlender):
    def test_a_followed_view_and_back(self):
        bpy.context.scene.lumenara.follow = "VIEW"
        link.tick()
        self.settle()
        self.assertEqual(self.scene.settings["camera"], "view camera")
        self.assertEqual(self.scene.objects["view camera"]["kind"], "camera")
        bpy.context.scene.lumenara.follow = "CAMERA"
        link.tick()
        self.settle()
        self.assertEqual(self.scene.settings["camera"], "object:Camera")
        self.assertNotIn("view camera", self.scene.objects)

    def test_moves_are_sent_before_the_next_redraw(self):
        bpy.data.objects["Cube"].location.x = 7
        bpy.context.view_layer.update()
        link.outbox.drain()
        self.studio.wait(lambda: self.scene.objects[CUBE]["matrix"][12] == 7)

    def test_time_and_animation(self):
        cube = bpy.data.objects["Cube"]
        cube.keyframe_insert("location", frame=1)
        cube.location.x = 10
        cube.keyframe_insert("location", frame=25)
        bpy.context.scene.frame_set(25)
        self.settle()
        self.assertAlmostEqual(self.scene.objects[CUBE]["matrix"][12], 10, 4)
        self.assertAlmostEqual(self.scene.time["seconds"], 25 / 24)
        self.assertEqual(self.scene.time["fps"], 24)

    def test_undo_is_followed_and_equal_meshes_stay(self):
        bpy.ops.ed.undo_push(message="before")
        bpy.data.objects["Cube"].location.x = 3
        bpy.ops.ed.undo_push(message="move")
        self.settle()
        self.assertEqual(self.scene.objects[CUBE]["matrix"][12], 3)
        sent = self.sent_by(bpy.ops.ed.undo)
        self.assertEqual(self.scene.objects[CUBE]["matrix"][12], 0)
        self.assertNotIn("mesh", sent)

    def test_a_new_file_starts_a_new_scene(self):
        path = self.folder.name + "/other.blend"
        bpy.data.objects["Cube"].name = "Other"
        bpy.ops.wm.save_as_mainfile(filepath=path)
        bpy.ops.wm.read_homefile(use_factory_startup=True, use_empty=True)
        self.settle()
        self.assertEqual(set(self.scene.objects), set())
        bpy.ops.wm.open_mainfile(filepath=path)
        self.settle()
        self.assertIn("object:Other", self.scene.objects)
        self.assertIn("mesh:Cube", self.scene.meshes)

    def test_a_lost_studio_is_found_again(self):
        self.studio.drop_client()
        end = time.monotonic() + 30
        while link.connected and time.monotonic() < end:
            time.sleep(0.001)
        self.studio.scene.clear()
        self.settle()
        self.assertIn(CUBE, self.scene.objects)
        self.assertIn("mesh:Cube", self.scene.meshes)

    def test_a_studio_that_hangs_does_not_hold_blender_up(self):
        release = threading.Event()
        self.addCleanup(release.set)
        self.scene.on_ping = lambda message, blocks: release.wait(60)
        connection = link.connection
        connection.send("ping")
        connection.send("noise", {"bytes": (bytes(8 << 20), "u8")})  # more than the socket holds
        begin = time.monotonic()
        link.disconnect()
        self.assertLess(time.monotonic() - begin, 1)
        self.assertFalse(link.connected)
        end = time.monotonic() + 30
        while connection.connected and time.monotonic() < end:
            time.sleep(0.001)
        self.assertFalse(connection.connected, "the connection ends in the background")

    def test_a_studio_that_does_not_start_is_told_without_waiting(self):
        link.disconnect()
        self.studio.file.unlink()
        self.assertTrue(link.connect(start=True, program="no-such-program"))
        end = time.monotonic() + 30
        while not link.error and time.monotonic() < end:
            link.tick()
        self.assertEqual(link.error, "The program no-such-program was not found.")

    def test_what_is_picked_in_studio_is_selected(self):
        self.studio.send({"type": "picked", "key": "object:Camera", "name": "Camera"})
        end = time.monotonic() + 30
        while link.picked != "object:Camera" and time.monotonic() < end:
            link.tick()
        self.assertEqual([item.name for item in bpy.context.selected_objects], ["Camera"])

    def test_an_error_of_studio_stands_in_the_panel(self):
        self.studio.send({"type": "error", "message": 3, "text": "The mesh is empty.", "help": "Leave it out."})
        end = time.monotonic() + 30
        while not link.error and time.monotonic() < end:
            link.tick()
        self.assertEqual((link.error, link.help), ("The mesh is empty.", "Leave it out."))
        self.assertIn("3 objects, 12 triangles", link.status())


class Slices(unittest.TestCase):
    """A large mesh is read in many short calls, whatever happens between them."""

    LARGE = 300  # quads along a side: 90,601 vertices, 360,000 corners

    def setUp(self):
        bpy.ops.wm.read_factory_settings(use_empty=True)
        bpy.ops.mesh.primitive_grid_add(x_subdivisions=self.LARGE, y_subdivisions=self.LARGE)
        self.mesh = bpy.context.object.data
        for face in self.mesh.polygons:
            face.use_smooth = True
        bpy.context.view_layer.update()
        self.reader = meshes.MeshReader(bpy.context.object.name, "mesh")

    def read(self):
        """The number of calls until all is read, where the time is always over."""
        graph, calls = bpy.context.evaluated_depsgraph_get(), 1
        while not self.reader.step(graph, lambda: True):
            calls += 1
            self.assertLess(calls, 1000)
        return calls

    def assert_equal_to_blender(self):
        mesh, buffers = self.mesh, self.reader.buffers
        expected = {"face_vertices": (mesh.loops, "vertex_index", 1, numpy.int32), "face_sizes": (mesh.polygons, "loop_total", 1, numpy.int32),
                    "positions": (mesh.vertices, "co", 3, numpy.float32), "normals": (mesh.vertices, "normal", 3, numpy.float32),
                    "uv0": (mesh.uv_layers[0].data, "uv", 2, numpy.float32)}
        self.assertEqual(set(buffers), set(expected))
        for name, (collection, attribute, width, kind) in expected.items():
            values = numpy.empty(len(collection) * width, dtype=kind)
            collection.foreach_get(attribute, values)
            self.assertTrue(numpy.array_equal(buffers[name], values), name)

    def test_slices_together_are_the_mesh(self):
        calls = self.read()
        if bpy.app.version < (3, 5, 0):
            vertices, faces, corners = (-(-len(part) // meshes.SLICE) for part in (self.mesh.vertices, self.mesh.polygons, self.mesh.loops))
            layers_without_data = 5
            self.assertEqual(calls, 2 * vertices + 2 * faces + 2 * corners + layers_without_data)
        self.assert_equal_to_blender()

    def test_a_mesh_that_grows_meanwhile_begins_again(self):
        graph = bpy.context.evaluated_depsgraph_get()
        for _ in range(3):
            self.assertFalse(self.reader.step(graph, lambda: True))
        self.mesh.vertices.add(5)
        self.mesh.update()
        bpy.context.view_layer.update()
        self.read()
        self.assert_equal_to_blender()


def main():
    suite = unittest.defaultTestLoader.loadTestsFromModule(sys.modules[__name__])
    if not unittest.TextTestRunner(verbosity=1).run(suite).wasSuccessful():
        sys.exit(1)


if __name__ == "__main__":
    main()
