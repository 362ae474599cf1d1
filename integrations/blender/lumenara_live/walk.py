"""The scene as Blender's dependency graph shows it now: plain values by key, to be compared with what was sent."""
import dataclasses
from typing import Dict, List, Optional, Tuple

import numpy

from . import scenery

MESH_TYPES = ("MESH", "CURVE", "CURVES", "SURFACE", "META", "FONT")


@dataclasses.dataclass
class Item:
    """An object to show. `fields` go into the object message as they are."""

    name: str
    kind: str
    matrix: Tuple[float, ...]
    parent: Optional[str] = None
    render: bool = True
    mesh: Optional[str] = None
    reader: str = ""  # name of the object whose evaluated mesh is read
    fields: dict = dataclasses.field(default_factory=dict)
    copies: Optional[numpy.ndarray] = None  # n x 10: translation, rotation x y z w, scale

    def same_but_place(self, other):
        return (self.name, self.kind, self.parent, self.mesh, self.fields) == (other.name, other.kind, other.parent, other.mesh, other.fields) and (
            (self.copies is None) == (other.copies is None) and (self.copies is None or numpy.array_equal(self.copies, other.copies)))


@dataclasses.dataclass
class View:
    """How the scene is shown: picture's size, and whether what renders hide is left out."""

    width: int = 1280
    height: int = 720
    renders: bool = False


def object_key(item):
    return "object:" + item.name_full


def mesh_key(item):
    """Objects without modifiers share the mesh of their data; all others have one of their own."""
    original = item.original
    shared = original.type == "MESH" and not original.modifiers and original.mode == "OBJECT" and not (original.data and original.data.shape_keys)
    return "mesh:" + original.data.name_full if shared else "mesh of object:" + original.name_full


def material_names(item):
    return [slot.material.name_full if slot.material else None for slot in item.material_slots]


def material_keys(item):
    return ["material:" + name if name else None for name in material_names(item)] or [None]


def has_surface(item):
    return item.type in MESH_TYPES and item.data is not None


class Walk:
    """One pass over the dependency graph. `items` by key; `instancing` says whether objects are copied by others."""

    def __init__(self, depsgraph, view):
        self.depsgraph, self.view = depsgraph, view
        self.items: Dict[str, Item] = {}
        self.notes: List[str] = []
        self.instancing = False
        self._copies: Dict[Tuple[str, str], list] = {}
        self._parents = {}
        for found in depsgraph.object_instances:
            self._take(found)
        for key, parent in self._parents.items():
            self._attach(key, parent)
        self._finish_copies()

    def _take(self, found):
        item = found.object
        if found.is_instance:
            self.instancing = True
            self._take_copy(item, found)
            return
        if self.view.renders and item.hide_render:
            return
        key = object_key(item)
        entry = self._entry(item, found.matrix_world)
        if entry is None or has_surface(item) and not found.show_self:
            return
        entry.render = not (self.view.renders and item.hide_render)
        self.items[key] = entry
        if item.parent is not None:
            self._parents[key] = (object_key(item.parent), found.matrix_world.copy(), item.parent.matrix_world.copy())

    def _entry(self, item, matrix):
        place = tuple(scenery.columns(scenery.Y_UP @ matrix))
        if has_surface(item):
            return Item(item.name, "mesh", place, mesh=mesh_key(item), reader=item.original.name,
                        fields={"materials": material_keys(item)})
        if item.type == "LIGHT":
            rigid, scale = scenery.rigid(matrix)
            fields = {"light": scenery.light_fields(item.data, scale, self.notes)}
            return Item(item.name, "light", tuple(scenery.columns(scenery.Y_UP @ rigid)), fields=fields)
        if item.type == "CAMERA":
            rigid, _ = scenery.rigid(matrix)
            fields = {"camera": scenery.camera_fields(item, self.depsgraph, self.view.width, self.view.height, self.notes)}
            return Item(item.name, "camera", tuple(scenery.columns(scenery.Y_UP @ rigid)), fields=fields)
        return Item(item.name, "null", place) if item.type == "EMPTY" else None

    def _attach(self, key, parent):
        """Hangs an object below its parent. A parent that is not shown or has no inverse leaves it at the top."""
        parent_key, world, above = parent
        item = self.items.get(key)
        if item is None or parent_key not in self.items or item.kind in ("light", "camera") or self.items[parent_key].kind in ("light", "camera"):
            return
        if abs(above.determinant()) > 1e-9:
            item.parent = parent_key
            item.matrix = tuple(scenery.columns(above.inverted() @ world))

    def _take_copy(self, item, found):
        owner = found.parent
        if not has_surface(item):
            if item.type == "LIGHT":
                self._light_copy(item, found)
            return
        if self.view.renders and item.hide_render:
            return
        slot = (owner.name_full if owner else "", item.name_full)
        if slot not in self._copies:
            # The evaluated copy is valid during the pass only, so its values are taken here.
            self._copies[slot] = [Item(f"{item.name} of {owner.name}" if owner else item.name, "instances", tuple(scenery.columns(scenery.Y_UP)),
                                       mesh=mesh_key(item), reader=item.original.name, fields={"materials": material_keys(item)}), []]
        place, turn, scale = found.matrix_world.decompose()
        self._copies[slot][1].append((*place, turn.x, turn.y, turn.z, turn.w, *scale))

    def _light_copy(self, item, found):
        number = sum(key.startswith("copy of light:") for key in self.items)
        self.items[f"copy of light:{item.name_full}/{number}"] = self._entry(item, found.matrix_world)

    def _finish_copies(self):
        for (owner, name), (entry, rows) in self._copies.items():
            entry.copies = numpy.array(rows, dtype=numpy.float32)
            self.items[f"copies:{owner}/{name}"] = entry
