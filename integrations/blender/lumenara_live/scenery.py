"""Lights, cameras and the world in the link's terms."""
import math

from mathutils import Matrix

from . import nodes
from .materials import file_picture, floats

# Blender's z up to the link's y up. Lights and cameras look along -Z on both sides, so this matrix stands on the left only.
Y_UP = Matrix(((1, 0, 0, 0), (0, 0, 1, 0), (0, -1, 0, 0), (0, 0, 0, 1)))


def columns(matrix):
    """16 numbers, column after column."""
    return [matrix[row][column] for column in range(4) for row in range(4)]


def rigid(matrix):
    """The matrix without its scale, and the scale."""
    place, turn, scale = matrix.decompose()
    return Matrix.Translation(place) @ turn.to_matrix().to_4x4(), scale


def light_fields(light, scale, notes):
    """The link's light of a Blender light.

    Watts become an intensity in watts a steradian. A point or spot of P watts is a sphere that glows evenly: P / (4 pi). An area light
    of P watts has in Cycles the radiance P / (4 area), so its intensity along the axis is P / 4. A sun's strength is its irradiance already.
    """
    fields = {"color": floats(light.color), "shadow": bool(light.use_shadow)}
    if light.type == "SUN":
        fields.update(kind="sun", intensity=light.energy, radius=light.angle / 2)
    elif light.type == "AREA":
        area_fields(fields, light, scale, notes)
    else:
        fields.update(kind="point", intensity=light.energy / (4 * math.pi), radius=light.shadow_soft_size)
        if light.type == "SPOT":
            outer = light.spot_size / 2
            edge = math.cos(outer)
            # Cycles dims a spot by the cosine towards its edge, ours does not: both send the same light in all.
            fields["intensity"] *= (1 + edge) / 2
            # Blender's edge is a smooth step, ours a square: this width puts half of the light at the same angle.
            fields.update(kind="spot", outer=outer, inner=math.acos(edge + (1 - edge) * light.spot_blend * math.sqrt(0.5)))
    if light.use_nodes and light.node_tree:
        output = light.node_tree.get_output_node("ALL") if hasattr(light.node_tree, "get_output_node") else None
        shader = nodes.source(output.inputs[0])[0] if output else None
        plain = shader is not None and shader.type == "EMISSION" and not any(socket.is_linked for socket in shader.inputs)
        if plain:
            factor = shader.inputs["Strength"].default_value
            fields["color"] = [a * b for a, b in zip(fields["color"], shader.inputs["Color"].default_value)]
            fields["intensity"] *= factor
        else:
            notes.append(f"Light \"{light.name}\": its nodes are left out.")
    return fields


def area_fields(fields, light, scale, notes):
    width = light.size * abs(scale.x)
    height = (light.size_y if light.shape in ("RECTANGLE", "ELLIPSE") else light.size) * abs(scale.y)
    fields.update(kind="rectangle", intensity=light.energy / 4, width=width, height=height)
    if light.shape in ("DISK", "ELLIPSE"):
        if abs(width - height) > 1e-4 * max(width, height):
            notes.append(f"Light \"{light.name}\": an ellipse is shown as a disk of the same area.")
        fields.update(kind="disk", width=math.sqrt(width * height), height=math.sqrt(width * height))
    if getattr(light, "spread", math.pi) < math.pi - 1e-3:
        notes.append(f"Light \"{light.name}\": its spread is left out.")


def lens_fields(projection, near, far, width, height):
    """The link's camera of a projection matrix of Blender."""
    fields = {"near": near, "far": far, "aspect": width / height}
    if abs(projection[3][3]) < 0.5:
        fields["yfov"] = 2 * math.atan(1 / projection[1][1])
        shift = (projection[0][2] / 2, projection[1][2] / 2)
    else:
        fields["ymag"] = 1 / projection[1][1]
        shift = (-projection[0][3] / 2, -projection[1][3] / 2)
    if abs(shift[0]) > 1e-6 or abs(shift[1]) > 1e-6:
        fields["shift"] = floats(shift)
    return fields


def camera_fields(item, depsgraph, width, height, notes):
    """The link's camera of an evaluated camera object, for a picture of width x height pixels."""
    lens = item.data
    if lens.type == "PANO":
        notes.append(f"Camera \"{item.name}\": a panorama is shown as a perspective.")
    fields = lens_fields(item.calc_matrix_camera(depsgraph, x=width, y=height), lens.clip_start, lens.clip_end, width, height)
    if lens.dof.use_dof and lens.type == "PERSP":
        fields["aperture"] = lens.lens * 1e-3 / max(lens.dof.aperture_fstop, 1e-3)
        fields["focus"] = lens.dof.focus_distance
        if lens.dof.focus_object:
            offset = item.matrix_world.inverted_safe() @ lens.dof.focus_object.matrix_world.translation
            fields["focus"] = max(1e-3, -offset.z)
        fields["blades"] = lens.dof.aperture_blades
    return fields


# The world.


def world_fields(world, notes):
    """The link's sky, and the pictures that it needs."""
    if world is None:
        return {"kind": "none"}, {}
    if not world.use_nodes or world.node_tree is None:
        return {"kind": "color", "color": floats(world.color), "strength": 1.0, "seen": True}, {}
    output = world.node_tree.get_output_node("CYCLES") or world.node_tree.get_output_node("ALL")
    shader = nodes.source(output.inputs["Surface"])[0] if output else None
    if shader is None:
        return {"kind": "none"}, {}
    if shader.type not in ("BACKGROUND", "EMISSION"):
        notes.append(f"World \"{world.name}\": shader \"{shader.name}\" is left out.")
        return {"kind": "color", "color": floats(world.color), "strength": 1.0, "seen": True}, {}
    strength = shader.inputs["Strength"]
    if strength.is_linked:
        notes.append(f"World \"{world.name}\": the strength's nodes are left out.")
    fields = {"strength": strength.default_value, "seen": True}
    node, _ = nodes.source(shader.inputs["Color"])
    if node is not None and node.type == "TEX_ENVIRONMENT" and node.image:
        return picture_sky(world, node, fields, notes)
    if node is not None and gradient_sky(node, fields):
        return fields, {}
    try:
        color = nodes.Evaluator().of(shader.inputs["Color"]).reshape(-1)[:3]
    except nodes.Unmapped as error:
        notes.append(f"World \"{world.name}\" is shown as a colour: {error}.")
        color = nodes.constant(shader.inputs["Color"])[:3]
    return {"kind": "color", "color": floats(color), **fields}, {}


def picture_sky(world, node, fields, notes):
    if node.projection != "EQUIRECTANGULAR":
        notes.append(f"World \"{world.name}\": a mirror ball is shown as a latitude-longitude picture.")
    turn = 0.0
    mapping, _ = nodes.source(node.inputs["Vector"])
    if mapping is not None and mapping.type == "MAPPING":
        angles = mapping.inputs["Rotation"].default_value
        turn = angles[2]
        if abs(angles[0]) > 1e-5 or abs(angles[1]) > 1e-5 or mapping.inputs["Rotation"].is_linked:
            notes.append(f"World \"{world.name}\": only the turn about Z is shown.")
    picture = file_picture(node.image, data=node.image.is_float)
    if picture is None:
        pixels = nodes.image_pixels(node.image)
        picture = {"name": node.image.name, "size": (pixels.shape[1], pixels.shape[0]), "pixels": pixels}
    key = "picture:" + node.image.name_full
    # The centre of Blender's picture is at +X, the link's at -Z, a quarter turn away.
    return {"kind": "picture", "picture": key, "color": [1.0, 1.0, 1.0], "rotation": -math.pi / 2 - turn, **fields}, {key: picture}


def gradient_sky(ramp, fields):
    """A colour ramp over the direction's height: separate z, map -1..1 to 0..1, ramp with colours at 0, 0.5 and 1."""
    if ramp.type != "VALTORGB":
        return False
    ranged, _ = nodes.source(ramp.inputs[0])
    if ranged is None or ranged.type != "MAP_RANGE" or [round(ranged.inputs[i].default_value, 4) for i in range(1, 5)] != [-1, 1, 0, 1]:
        return False
    separate, output = nodes.source(ranged.inputs[0])
    if separate is None or separate.type != "SEPXYZ" or output.name != "Z":
        return False
    ground, horizon, zenith = (floats(ramp.color_ramp.evaluate(at))[:3] for at in (0, 0.5, 1))
    fields.update(kind="gradient", color=zenith, horizon=horizon, ground=ground)
    return True
