"""Evaluated meshes as buffers: read on Blender's main thread in steps, packed on another thread."""
import ctypes
import zlib

import bpy
import numpy

# Blender 3.3 to 3.5 keeps faces and corners as structures, and foreach_get asks for each number singly: 150 ms for a million triangles.
# Their memory is copied instead, after a comparison with what the interface says.
FACE = numpy.dtype([("loop_start", "<i4"), ("loop_total", "<i4"), ("", "<i2"), ("flag", "u1"), ("", "u1")])
CORNER = numpy.dtype([("vertex_index", "<u4"), ("edge_index", "<u4")])
SMOOTH = 1  # bit of a face's flag



def array_of(collection, attribute, width, kind):
    values = numpy.empty(len(collection) * width, dtype=kind)
    collection.foreach_get(attribute, values)
    return values


def structures(collection, kind, *attributes):
    """A view of a collection's structures, valid for the moment, or None where they do not look like `kind`."""
    count = len(collection)
    if bpy.app.version >= (3, 6, 0) or not count:
        return None
    begin = collection[0].as_pointer()
    if collection[count - 1].as_pointer() - begin != (count - 1) * kind.itemsize:
        return None
    view = numpy.frombuffer((ctypes.c_char * (count * kind.itemsize)).from_address(begin), dtype=kind)
    probes = {0, count // 3, count // 2, count - 1}
    equal = all(view[at][name] == getattr(collection[at], name) for at in probes for name in attributes)
    return view if equal else None


def read_corners(mesh, out):
    corners = structures(mesh.loops, CORNER, "vertex_index", "edge_index")
    out["face_vertices"] = (array_of(mesh.loops, "vertex_index", 1, numpy.int32) if corners is None
                            else numpy.ascontiguousarray(corners["vertex_index"]))


def read_faces(mesh, out):
    faces = structures(mesh.polygons, FACE, "loop_start", "loop_total")
    if faces is not None and bool(faces[0]["flag"] & SMOOTH) == mesh.polygons[0].use_smooth:
        out["face_sizes"] = numpy.ascontiguousarray(faces["loop_total"])
        out["smooth"] = faces["flag"] & SMOOTH != 0
    else:
        out["face_sizes"] = array_of(mesh.polygons, "loop_total", 1, numpy.int32)
        out["smooth"] = array_of(mesh.polygons, "use_smooth", 1, bool)
    if len(mesh.materials) > 1:
        out["slots"] = array_of(mesh.polygons, "material_index", 1, numpy.int32)


def read_positions(mesh, out):
    out["positions"] = array_of(mesh.vertices, "co", 3, numpy.float32)


def read_normals(mesh, out):
    """Nothing for flat meshes, a normal a vertex for smooth ones, a normal a corner for all others."""
    smooth = out.pop("smooth")
    if not smooth.any():
        return
    uneven = mesh.has_custom_normals or not smooth.all() or getattr(mesh, "use_auto_smooth", False)
    if hasattr(mesh, "corner_normals"):
        if uneven or mesh.normals_domain == "CORNER":
            out["corner_normals"] = array_of(mesh.corner_normals, "vector", 3, numpy.float32)
            return
    elif uneven:
        mesh.calc_normals_split()
        out["corner_normals"] = array_of(mesh.loops, "normal", 3, numpy.float32)
        return
    out["normals"] = array_of(mesh.vertex_normals, "vector", 3, numpy.float32)


def read_uv(mesh, out):
    layers = sorted(mesh.uv_layers, key=lambda layer: not layer.active_render)[:2]
    for number, layer in enumerate(layers):
        out[f"uv{number}"] = array_of(layer.data, "uv", 2, numpy.float32)


def read_colors(mesh, out):
    layer = mesh.color_attributes.active_color if len(mesh.color_attributes) else None
    if layer is not None:
        out["corner_colors" if layer.domain == "CORNER" else "colors"] = array_of(layer.data, "color", 4, numpy.float32)


STEPS = (read_corners, read_faces, read_positions, read_normals, read_uv, read_colors)


def uv_names(mesh):
    """The names of the UV maps in the order in which they cross."""
    return [layer.name for layer in sorted(mesh.uv_layers, key=lambda layer: not layer.active_render)[:2]]


class MeshReader:
    """Reads one object's evaluated mesh, a step at each call, so that no call is long.

    The mesh is taken anew at each step: Blender frees evaluated data between them. `step` says whether it is done; a mesh that changed
    meanwhile begins again.
    """

    def __init__(self, name, key):
        self.name, self.key, self.buffers, self._next, self._shape = name, key, {}, 0, None

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
            shape = (len(mesh.vertices), len(mesh.loops), len(mesh.polygons))
            if shape != self._shape:
                self._shape, self._next, self.buffers = shape, 0, {}
            while self._next < len(STEPS):
                STEPS[self._next](mesh, self.buffers)
                self._next += 1
                if until() and self._next < len(STEPS):
                    return False
        finally:
            if not shared:
                item.to_mesh_clear()
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
