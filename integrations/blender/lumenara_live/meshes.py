"""Evaluated meshes as buffers: read on Blender's main thread in steps, packed on another thread."""
import ctypes
import zlib

import bpy
import numpy

# Blender 3.3 to 3.5 keeps elements as structures, and foreach_get asks for many of their numbers singly: 150 ms for the corners of a million
# triangles. Their memory is copied instead, in slices, after a comparison with what the interface says.
VERTEX = numpy.dtype([("co", "<f4", 3), ("", "<i4")])
FACE = numpy.dtype([("loop_start", "<i4"), ("loop_total", "<i4"), ("", "<i2"), ("use_smooth", "u1"), ("", "u1")])
CORNER = numpy.dtype([("vertex_index", "<u4"), ("edge_index", "<u4")])
UV = numpy.dtype([("uv", "<f4", 2), ("", "<i4")])
VECTOR = numpy.dtype([("vector", "<f4", 3)])
SMOOTH = 1  # bit of a face's use_smooth
SLICE = 1 << 16  # elements that are copied between two looks at the clock


def structures(collection, kind, attribute):
    """A view of a collection's structures, valid for the moment, or None where they do not look like `kind`."""
    count = len(collection)
    if bpy.app.version >= (3, 6, 0) or not count:
        return None
    begin = collection[0].as_pointer()
    if collection[count - 1].as_pointer() - begin != (count - 1) * kind.itemsize:
        return None
    view = numpy.frombuffer((ctypes.c_char * (count * kind.itemsize)).from_address(begin), dtype=kind)[attribute]
    if attribute == "use_smooth":
        equal = all(bool(view[at] & SMOOTH) == collection[at].use_smooth for at in {0, count // 3, count // 2, count - 1})
    else:
        equal = all(numpy.array_equal(view[at], getattr(collection[at], attribute)) for at in {0, count // 3, count // 2, count - 1})
    return view if equal else None


def read_layer(collection, attribute, width, kind, structure, out, begin, over):
    """Copies a layer's elements from `begin` on into `out` until the time is `over`. The number of the first that is still to copy."""
    count = len(collection)
    view = structures(collection, structure, attribute) if structure else None
    if view is None:
        collection.foreach_get(attribute, out.reshape(-1))
        return count
    while begin < count:
        end = min(begin + SLICE, count)
        part = view[begin:end].reshape(end - begin, width)
        out[begin:end] = part & SMOOTH if attribute == "use_smooth" else part
        begin = end
        if over():
            break
    return begin


# Layers, in the order of reading: name, and the arguments of `read_layer`, or None where the mesh has no such layer. Each is looked up anew
# at each step; `read` holds what was read already.


def corners_layer(mesh, read):
    return mesh.loops, "vertex_index", 1, numpy.int32, CORNER


def sizes_layer(mesh, read):
    return mesh.polygons, "loop_total", 1, numpy.int32, FACE


def smooth_layer(mesh, read):
    return mesh.polygons, "use_smooth", 1, bool, FACE


def slots_layer(mesh, read):
    return (mesh.polygons, "material_index", 1, numpy.int32, None) if len(mesh.materials) > 1 else None


def positions_layer(mesh, read):
    return mesh.vertices, "co", 3, numpy.float32, VERTEX


def uneven(mesh, read):
    """Whether normals differ within a vertex."""
    if hasattr(mesh, "corner_normals") and mesh.normals_domain == "CORNER":
        return True
    return mesh.has_custom_normals or not read["smooth"].all() or getattr(mesh, "use_auto_smooth", False)


def corner_normals_layer(mesh, read):
    """Flat meshes need no normals; those that are smooth all over have a normal a vertex."""
    if not read["smooth"].any() or not uneven(mesh, read):
        return None
    if hasattr(mesh, "corner_normals"):
        return mesh.corner_normals, "vector", 3, numpy.float32, None
    mesh.calc_normals_split()
    return mesh.loops, "normal", 3, numpy.float32, None


def normals_layer(mesh, read):
    if not read["smooth"].any() or "corner_normals" in read:
        return None
    return mesh.vertex_normals, "vector", 3, numpy.float32, VECTOR


def uv_layer(number):
    def layer(mesh, read):
        layers = sorted(mesh.uv_layers, key=lambda one: not one.active_render)
        return (layers[number].data, "uv", 2, numpy.float32, UV) if number < len(layers) else None
    return layer


def colors_layer(domain):
    def layer(mesh, read):
        active = mesh.color_attributes.active_color if len(mesh.color_attributes) else None
        return (active.data, "color", 4, numpy.float32, None) if active is not None and active.domain == domain else None
    return layer


LAYERS = (("face_vertices", corners_layer), ("face_sizes", sizes_layer), ("smooth", smooth_layer), ("slots", slots_layer),
          ("positions", positions_layer), ("corner_normals", corner_normals_layer), ("normals", normals_layer), ("uv0", uv_layer(0)),
          ("uv1", uv_layer(1)), ("corner_colors", colors_layer("CORNER")), ("colors", colors_layer("POINT")))


def uv_names(mesh):
    """The names of the UV maps in the order in which they cross."""
    return [layer.name for layer in sorted(mesh.uv_layers, key=lambda layer: not layer.active_render)[:2]]


class MeshReader:
    """Reads one object's evaluated mesh, a slice at each call, so that no call is long.

    The mesh is taken anew at each step: Blender frees evaluated data between them. `step` says whether it is done; a mesh that changed
    its size meanwhile begins again, and one that changed its values is marked as changed and read once more.
    """

    def __init__(self, name, key):
        self.name, self.key, self.buffers = name, key, {}
        self._layer = self._element = 0  # where to go on
        self._shape = None

    def step(self, depsgraph, until):
        """Reads until the time `until()` is over. True when all is read; None when the object has no mesh any more."""
        original = bpy.data.objects.get(self.name)
        if original is None:
            return None
        item = original.evaluated_get(depsgraph)
        # A copy is needed where the data is no mesh, or where its normals of corners are computed in place.
        shared = item.type == "MESH" and original.mode != "EDIT" and not getattr(item.data, "use_auto_smooth", False)
        mesh = item.data if shared else item.to_mesh()
        if mesh is None:
            return None
        try:
            return self._read(mesh, until)
        finally:
            if not shared:
                item.to_mesh_clear()

    def _read(self, mesh, until):
        shape = (len(mesh.vertices), len(mesh.loops), len(mesh.polygons))
        if shape != self._shape:
            self._shape, self._layer, self._element, self.buffers = shape, 0, 0, {}
        while self._layer < len(LAYERS):
            if not self._read_layer(mesh, until):
                return False
            self._layer, self._element = self._layer + 1, 0
            if until() and self._layer < len(LAYERS):
                return False
        self.buffers.pop("smooth")
        return True

    def _read_layer(self, mesh, until):
        """True when the layer is read to its end."""
        name, find = LAYERS[self._layer]
        layer = find(mesh, self.buffers)
        if layer is None:
            self.buffers.pop(name, None)  # it went away between two slices
            return True
        collection, attribute, width, kind, structure = layer
        count = len(collection)
        out = self.buffers.get(name)
        if out is None or len(out) != count:
            out, self._element = numpy.empty((count, width), dtype=kind), 0
            self.buffers[name] = out
        self._element = read_layer(collection, attribute, width, kind, structure, out, self._element, until)
        if self._element < count:
            return False
        self.buffers[name] = out.reshape(-1)
        return True


# Below: no Blender, any thread.


def sorted_by_slot(buffers):
    """Faces in the order of their material slots; [first, count] of each slot's triangles."""
    slots = buffers.pop("slots", None)
    if slots is None or not len(slots) or slots.max() == slots.min() == 0:
        return None
    sizes = buffers["face_sizes"]
    order = numpy.argsort(slots, kind="stable")
    if (numpy.diff(order) != 1).any():
        starts = numpy.cumsum(sizes) - sizes
        picked = sizes[order]
        firsts = numpy.cumsum(picked) - picked
        corners = numpy.repeat(starts[order] - firsts, picked) + numpy.arange(len(buffers["face_vertices"]))
        buffers["face_sizes"] = picked
        for name, width in (("face_vertices", 1), ("corner_normals", 3), ("uv0", 2), ("uv1", 2), ("corner_colors", 4)):
            if name in buffers:
                buffers[name] = buffers[name].reshape(-1, width)[corners].reshape(-1)
    counts = numpy.bincount(slots)
    return numpy.stack((numpy.cumsum(counts) - counts, counts), axis=1).astype(numpy.uint32)


def checksum(buffers):
    total = 0
    for name in sorted(buffers):
        total = zlib.crc32(name.encode(), total)
        total = zlib.crc32(buffers[name], total)
    return total


def mesh_arguments(buffers):
    """The arguments of `Connection.mesh` for what a reader gathered; the buffers are changed."""
    groups = sorted_by_slot(buffers)
    corners, given = [], {}
    for name in ("uv0", "uv1"):
        if name in buffers:
            buffers[name][1::2] = 1 - buffers[name][1::2]  # v points down there
            given[name] = buffers[name]
            corners.append(name)
    for name, ours in (("normals", "normals"), ("colors", "colors"), ("corner_normals", "normals"), ("corner_colors", "colors")):
        if name in buffers:
            given[ours] = buffers[name]
            corners += [ours] if name.startswith("corner_") else []
    sizes = buffers["face_sizes"]
    if len(sizes) and sizes.min() == sizes.max() == 3:
        given["indices"] = buffers["face_vertices"]
    else:
        given["face_sizes"], given["face_vertices"] = sizes, buffers["face_vertices"]
    return {"positions": buffers["positions"], "corners": corners, "groups": groups, **given}


def triangles(buffers):
    return int(len(buffers["face_vertices"]) - 2 * len(buffers["face_sizes"]))
