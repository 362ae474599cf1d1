"""Keeps Studio's scene equal to Blender's: what changed is marked, read in slices, compared with what was sent, and committed."""
import time

import bpy
import numpy

from . import materials, meshes, scenery, walk


class Sync:
    """What one connection has sent, and what is still to send. Main thread only."""

    def __init__(self, outbox, view):
        self.outbox, self.view = outbox, view
        self.notes = []
        self.longest = 0.0  # seconds of the longest call of `step`
        self.camera = None  # key of the camera to look through, if it is Blender's view
        self.ended_view = None
        self.commits = 0
        self.last_commit = None
        self.mark_all(begin=True)

    # Marks.

    def mark_all(self, begin=False):
        """Everything is compared again; with `begin` the scene is sent from the start."""
        if begin:
            self.items, self.materials, self.pictures, self.sky, self.settings_sent, self.clock = {}, {}, {}, None, None, None
            self.known_meshes, self.begun, self.uv_names = set(), False, {}
        self.structure = self.world = True
        self.dirty_meshes, self.moved, self.dirty_materials = set(self.known_meshes), set(), set(self.materials)
        self.readers = []
        self.instancing = True

    def mark_update(self, update):
        """What the dependency graph says of one data-block."""
        data = update.id.original
        if isinstance(data, bpy.types.Object):
            if update.is_updated_geometry and data.type in walk.MESH_TYPES:
                self.dirty_meshes.add(walk.mesh_key(data))
                self.structure = True
            if update.is_updated_transform and not self.instancing and "object:" + data.name_full in self.items and not update.is_updated_geometry:
                self.moved.add(data.name)
            else:
                self.structure = True
        elif isinstance(data, bpy.types.Material):
            self.dirty_materials.add(data.name_full)
            self.structure = True
        elif isinstance(data, bpy.types.Image):
            self.mark_image(data.name)
        elif isinstance(data, (bpy.types.World, bpy.types.Scene)):
            self.world = True
        elif isinstance(data, (bpy.types.Mesh, bpy.types.Light, bpy.types.Camera, bpy.types.Collection, bpy.types.Curve)):
            self.structure = True
            if isinstance(data, bpy.types.Mesh):
                self.dirty_meshes.add("mesh:" + data.name_full)

    def mark_image(self, name):
        self.dirty_materials |= {key for key, mapped in self.materials.items() if name in mapped.images}
        for key in ("picture:" + name,):
            self.pictures.pop(key, None)
        self.world = self.structure = True

    @property
    def dirty(self):
        return bool(self.structure or self.world or self.moved or self.readers or self.dirty_materials)

    @property
    def only_moves(self):
        return bool(self.moved) and not (self.structure or self.world or self.readers or self.dirty_materials)

    # Sending.

    def step(self, depsgraph, budget=0.008):
        """Works for about `budget` seconds; True when a commit was queued or nothing was left to send."""
        begin = time.perf_counter()
        try:
            return self._step(depsgraph, lambda: time.perf_counter() - begin > budget)
        finally:
            self.longest = max(self.longest, time.perf_counter() - begin)

    def _step(self, depsgraph, over):
        if self.only_moves:
            return self._send_moves(depsgraph)
        if not self.readers and self.structure:
            self._look(depsgraph)
            if over():
                return False
        while self.readers:
            reader = self.readers[0]
            done = reader.step(depsgraph, over)
            if done is False:
                return False
            self.readers.pop(0)
            if done:
                item = bpy.data.objects[reader.name]
                self.known_meshes.add(reader.key)
                self.outbox.put_mesh(reader.key, item.data.name, reader.buffers)
            if over() and self.readers:
                return False
        self._send_changes(depsgraph)
        return True

    def _look(self, depsgraph):
        """Walks the graph and lists the meshes to read."""
        self.structure = False
        self.found = walk.Walk(depsgraph, self.view)
        self.instancing = self.found.instancing
        if not self.begun:
            self.outbox.put("scene_begin", bpy.path.basename(bpy.data.filepath) or "Blender")
            self.closing, self.begun = True, True
        wanted = {item.mesh: item.reader for item in self.found.items.values() if item.mesh}
        self.readers = [meshes.MeshReader(reader, key) for key, reader in wanted.items() if key in self.dirty_meshes or key not in self.known_meshes]
        self.dirty_meshes.clear()
        for name in sorted({name[len("material:"):] for item in self.found.items.values() for name in item.fields.get("materials", ()) if name}):
            self._find_uv_names(name)

    def _find_uv_names(self, material):
        """The UV maps of the first mesh that uses a material."""
        for item in self.found.items.values():
            if "material:" + material in (item.fields.get("materials") or ()):
                data = bpy.data.objects[item.reader].data
                self.uv_names[material] = meshes.uv_names(data) if isinstance(data, bpy.types.Mesh) else []
                return

    def _send_changes(self, depsgraph):
        self.notes = list(self.found.notes)
        self._send_materials()
        self._send_objects()
        self._send_sky(depsgraph.scene.world)
        self._send_settings(depsgraph.scene)
        self.send_time(depsgraph.scene)
        if getattr(self, "closing", False):
            self.outbox.put("scene_end")
            self.closing = False
        self.world = False
        self.commit()

    def commit(self):
        self.commits += 1
        self.last_commit = self.commits
        self.outbox.put("commit")

    def _send_materials(self):
        used = {key[len("material:"):] for item in self.found.items.values() for key in item.fields.get("materials", ()) if key}
        for name in sorted(used):
            material = bpy.data.materials.get(name)
            if material is None or name in self.materials and name not in self.dirty_materials:
                continue
            mapped = materials.MaterialMapper(material, self.uv_names.get(name, ())).map()
            self._send_pictures(mapped.pictures)
            before = self.materials.get(name)
            self.materials[name] = mapped
            if before is None or before.gltf != mapped.gltf:
                self.outbox.put("material", "material:" + name, mapped.gltf, name=name)
        gone = [name for name in self.materials if name not in used]
        if gone:
            self.outbox.put("remove", ["material:" + name for name in gone])
            for name in gone:
                del self.materials[name]
        self.dirty_materials.clear()
        for mapped in self.materials.values():
            self.notes += mapped.notes

    def _send_pictures(self, pictures):
        for key, picture in pictures.items():
            # Pictures by pixels are made anew by each mapping and compared by their bytes.
            mark = hash(picture["pixels"].tobytes()) if "pixels" in picture else tuple(sorted(picture.items()))
            if self.pictures.get(key) != mark:
                self.pictures[key] = mark
                self.outbox.put("picture", key, **picture)

    def _send_objects(self):
        moved, shown = [], []
        gone = [key for key in self.items if key not in self.found.items or self.items[key].kind != self.found.items[key].kind]
        if gone:
            self.outbox.put("remove", gone)
        for key in gone:
            del self.items[key]
        for key, item in self._parents_first():
            before = self.items.get(key)
            if before is None or not item.same_but_place(before):
                self._send_object(key, item)
                continue
            if item.matrix != before.matrix:
                moved.append((key, item.matrix))
            if item.render != before.render:
                shown.append((key, item.render))
        self._put_moves(moved)
        if shown:
            self.outbox.put("visibility", [key for key, _ in shown], [True] * len(shown), [render for _, render in shown])
        self.items = self.found.items
        self._remove_meshes()

    def _parents_first(self):
        done, waiting = set(), dict(self.found.items)
        while waiting:
            ready = [key for key, item in waiting.items() if item.parent is None or item.parent in done or item.parent not in self.found.items]
            for key in ready or list(waiting):
                done.add(key)
                yield key, waiting.pop(key)

    def _send_object(self, key, item):
        fields = dict(item.fields)
        if item.mesh:
            fields["mesh"] = item.mesh
        blocks = None
        if item.copies is not None:
            parts = {"translations": (slice(0, 3), "f32x3"), "rotations": (slice(3, 7), "f32x4"), "scales": (slice(7, 10), "f32x3")}
            blocks = {name: (numpy.ascontiguousarray(item.copies[:, columns]), form) for name, (columns, form) in parts.items()}
        self.outbox.put("object", key, item.kind, name=item.name, parent=item.parent, matrix=item.matrix, render=item.render, blocks=blocks, **fields)

    def _put_moves(self, moved):
        if moved:
            matrices = numpy.array([matrix for _, matrix in moved], dtype=numpy.float64)
            self.outbox.put("transforms", [key for key, _ in moved], matrices)

    def _remove_meshes(self):
        gone = self.known_meshes - {item.mesh for item in self.items.values()}
        if gone:
            self.outbox.put("remove", sorted(gone))
            self.known_meshes -= gone
            for key in gone:
                self.outbox.forget(key)

    def _send_moves(self, depsgraph):
        """Only transforms changed: no walk, one block."""
        moved = []
        for name in self.moved:
            original = bpy.data.objects.get(name)
            item = self.items.get("object:" + original.name_full) if original else None
            if item is None:
                self.structure = True
                continue
            world = original.evaluated_get(depsgraph).matrix_world
            if item.kind in ("light", "camera"):
                rigid, scale = scenery.rigid(world)
                if item.kind == "light" and original.data.type == "AREA" and tuple(round(value, 5) for value in scale) != (1, 1, 1):
                    self.structure = True  # its scale is its size
                    continue
                matrix = tuple(scenery.columns(scenery.Y_UP @ rigid))
            elif item.parent:
                above = original.parent.evaluated_get(depsgraph).matrix_world
                if abs(above.determinant()) <= 1e-9:
                    self.structure = True
                    continue
                matrix = tuple(scenery.columns(above.inverted() @ world))
            else:
                matrix = tuple(scenery.columns(scenery.Y_UP @ world))
            if matrix != item.matrix:
                item.matrix = matrix
                moved.append(("object:" + original.name_full, matrix))
        self.moved.clear()
        self._put_moves(moved)
        if self.structure:
            return False
        if moved:
            self.commit()
        return True

    def _send_sky(self, world):
        notes = []
        fields, pictures = scenery.world_fields(world, notes)
        self.notes += notes
        self._send_pictures(pictures)
        if fields != self.sky:
            self.sky = fields
            self.outbox.put("sky", **fields)

    def _send_settings(self, scene):
        camera = self.camera or (walk.object_key(scene.camera) if scene.camera else None)
        fields = {"width": self.view.width, "height": self.view.height}
        if camera in self.items or camera == self.camera and camera:
            fields["camera"] = camera
        if fields != self.settings_sent:
            self.settings_sent = fields
            self.outbox.put("settings", **fields)
        if self.ended_view:
            self.outbox.put("remove", [self.ended_view])
            self.ended_view = None

    def end_view(self):
        """Back to the scene's camera. The view's own goes once nothing looks through it."""
        self.ended_view, self.camera, self.structure = self.camera, None, True

    def send_time(self, scene):
        rate = scene.render.fps / scene.render.fps_base
        fields = {"fps": rate, "from": scene.frame_start / rate, "to": scene.frame_end / rate}
        clock = ((scene.frame_current + scene.frame_subframe) / rate, fields)
        if clock != self.clock:
            self.clock = clock
            self.outbox.put("time", clock[0], **fields)

    def send_view(self, matrix, fields):
        """The camera of Blender's own view, outside of the scene's objects."""
        self.camera = "view camera"
        self.outbox.put("object", self.camera, "camera", name="Blender's view", matrix=scenery.columns(scenery.Y_UP @ matrix), camera=fields)
        wanted = {"width": self.view.width, "height": self.view.height, "camera": self.camera}
        if self.settings_sent != wanted:
            self.settings_sent = wanted
            self.outbox.put("settings", **wanted)
        self.commit()
