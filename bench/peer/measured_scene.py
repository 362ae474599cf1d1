"""Copies of a glTF scene with the camera and the light of a measurement, one for each renderer.

Scenes without lamps get a sun of irradiance 3, half angle 0.265 degrees; all get an even sky of (0.5, 0.6, 0.7). The peer's script
makes the same sun and sky itself.
"""
import json
import math
import pathlib
import shutil

import numpy

SUN, SUN_ANGLE, SUN_TURN = 3, math.radians(0.265), (50, 10, 30)  # irradiance, half angle, Euler angles with z up in degrees
SKY = [0.5, 0.6, 0.7]


class View:
    """Camera of a measurement: an orbit around the bounds, or an eye and the point it looks at."""

    def __init__(self, orbit=(30, 15, 1.8), eye=None, target=None, angle=45):
        self.orbit, self.eye, self.target, self.angle = orbit, eye, target, angle


# Of scenes that are not measured from around their bounds.
VIEWS = {"Interior": View(eye=(-4.5, 1.6, 1.9), target=(1.5, 1, -0.6), angle=60)}


def node_matrix(node):
    if "matrix" in node:
        return numpy.array(node["matrix"]).reshape(4, 4).T
    matrix = numpy.eye(4)
    x, y, z, w = node.get("rotation", (0, 0, 0, 1))
    matrix[:3, :3] = [[1 - 2 * (y * y + z * z), 2 * (x * y - z * w), 2 * (x * z + y * w)],
                      [2 * (x * y + z * w), 1 - 2 * (x * x + z * z), 2 * (y * z - x * w)],
                      [2 * (x * z - y * w), 2 * (y * z + x * w), 1 - 2 * (x * x + y * y)]]
    matrix[:3, :3] *= numpy.array(node.get("scale", (1, 1, 1)))
    matrix[:3, 3] = node.get("translation", (0, 0, 0))
    return matrix


def bounds(document):
    """Lowest and highest corner of all meshes."""
    corners = []

    def visit(index, above):
        node = document["nodes"][index]
        matrix = above @ node_matrix(node)
        for primitive in document["meshes"][node["mesh"]]["primitives"] if "mesh" in node else ():
            accessor = document["accessors"][primitive["attributes"]["POSITION"]]
            for corner in range(8):
                point = [accessor["max" if corner >> axis & 1 else "min"][axis] for axis in range(3)]
                corners.append((matrix @ numpy.array(point + [1]))[:3])
        for child in node.get("children", ()):
            visit(child, matrix)

    for root in document["scenes"][document.get("scene", 0)]["nodes"]:
        visit(root, numpy.eye(4))
    return numpy.min(corners, axis=0), numpy.max(corners, axis=0)


def looking(eye, direction):
    """Column-major matrix of a node at `eye` whose -z axis points along `direction`."""
    back = -direction / numpy.linalg.norm(direction)
    right = numpy.cross([0, 1, 0], back)
    right /= numpy.linalg.norm(right)
    matrix = numpy.eye(4)
    matrix[:3, 0], matrix[:3, 1], matrix[:3, 2], matrix[:3, 3] = right, numpy.cross(back, right), back, eye
    return matrix.T.flatten().tolist()


def sun_direction():
    x, y, z = map(math.radians, SUN_TURN)
    down = numpy.array([0, 0, -1.0])
    turn_x = numpy.array([[1, 0, 0], [0, math.cos(x), -math.sin(x)], [0, math.sin(x), math.cos(x)]])
    turn_y = numpy.array([[math.cos(y), 0, math.sin(y)], [0, 1, 0], [-math.sin(y), 0, math.cos(y)]])
    turn_z = numpy.array([[math.cos(z), -math.sin(z), 0], [math.sin(z), math.cos(z), 0], [0, 0, 1]])
    direction = turn_z @ turn_y @ turn_x @ down
    return numpy.array([direction[0], direction[2], -direction[1]])  # y up


def add_node(document, node):
    document["nodes"].append(node)
    document["scenes"][document.get("scene", 0)]["nodes"].append(len(document["nodes"]) - 1)
    return len(document["nodes"]) - 1


def add_camera(document, view, aspect):
    low, high = bounds(document)
    centre, radius = (low + high) / 2, float(numpy.linalg.norm(high - low)) / 2
    if view.eye:
        eye, target = numpy.array(view.eye), numpy.array(view.target)
    else:
        azimuth, height = map(math.radians, view.orbit[:2])
        direction = numpy.array([math.sin(azimuth) * math.cos(height), math.sin(height), math.cos(azimuth) * math.cos(height)])
        target, eye = centre, centre + view.orbit[2] * radius * direction
    for node in document["nodes"]:
        node.pop("camera", None)
    document["cameras"] = [{"type": "perspective", "perspective": {"yfov": math.radians(view.angle), "aspectRatio": aspect,
                                                                   "znear": radius * 1e-3, "zfar": radius * 100}}]
    return add_node(document, {"name": "measured camera", "camera": 0, "matrix": looking(eye, target - eye)})


def lamps_of(document):
    """Radius of each lamp by the name of its node."""
    lamps = {}
    for node in document["nodes"]:
        if "KHR_lights_punctual" not in node.get("extensions", {}):
            continue
        values = node.get("extras", {}).get("lumenara", {}).get("container", ())
        lamps[node["name"]] = next((value for number, _, value in values if number == 1107), 0)
    return lamps


def add_light(document, lamps):
    if not lamps:
        document.setdefault("extensionsUsed", []).append("KHR_lights_punctual")
        document.setdefault("extensions", {})["KHR_lights_punctual"] = {"lights": [{"type": "directional", "intensity": SUN}]}
        add_node(document, {"name": "sun", "matrix": looking(numpy.zeros(3), sun_direction()),
                            "extensions": {"KHR_lights_punctual": {"light": 0}},
                            "extras": {"lumenara": {"container": [[1107, "real", SUN_ANGLE]]}}})
    add_node(document, {"name": "sky", "extras": {"lumenara": {"type": 5105, "container": [[1201, "long", 1], [1202, "vector", SKY]]}}})


def add_settings(document, camera, seed):
    """Best anti-aliasing, every sample taken, global illumination, the seed."""
    document.setdefault("extras", {})["lumenara"] = {
        "version": 1, "activeRenderData": 0, "views": [{"camera": {"node": camera}}],
        "renderData": [{"name": "measured", "container": [[7101, "real", 0.0], [5002, "long", 2], [7102, "long", seed]],
                        "videoPosts": [{"type": 1021096}]}]}


class MeasuredScene:
    """The files of one scene in a folder of their own: `peer`, `lamps` and `ours(seed)`."""

    def __init__(self, source, view, aspect, folder):
        self.folder = pathlib.Path(folder) / pathlib.Path(source).stem
        shutil.copytree(pathlib.Path(source).parent, self.folder, dirs_exist_ok=True, copy_function=shutil.copyfile)
        self.folder.chmod(0o755)  # the source may be read-only
        self.document = json.loads(pathlib.Path(source).read_text(encoding="utf-8"))
        self.lamps = lamps_of(self.document)
        self.camera = add_camera(self.document, view, aspect)
        self.peer = self.write("peer.gltf", self.document)
        add_light(self.document, self.lamps)

    def write(self, name, document):
        (self.folder / name).write_text(json.dumps(document), encoding="utf-8")
        return str(self.folder / name)

    def ours(self, seed):
        add_settings(self.document, self.camera, seed)
        return self.write(f"ours{seed}.gltf", self.document)
