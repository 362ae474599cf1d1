"""Values of Blender's shader nodes: constants, pictures with a factor, and everything else computed pixel by pixel.

Colours are linear. A picture that a graph changes is computed at the size of the largest picture in it.
"""
import math

import numpy

LARGEST_BAKE = 2048
WRAPS = {"REPEAT": 10497, "MIRROR": 33648, "EXTEND": 33071, "CLIP": 33071}
LUMINANCE = numpy.array((0.2126, 0.7152, 0.0722), dtype=numpy.float32)


class Unmapped(Exception):
    """A node that cannot be computed; the text names it."""


def source(socket):
    """The node and output socket that feed an input, through reroutes, or (None, None)."""
    while socket is not None and socket.is_linked:
        link = socket.links[0]
        if not link.is_valid or link.from_node.mute:
            return None, None
        if link.from_node.type != "REROUTE":
            return link.from_node, link.from_socket
        socket = link.from_node.inputs[0]
    return None, None


def find_input(node, *names):
    """The first input with one of these names: they changed between Blender's versions."""
    for name in names:
        if name in node.inputs:
            return node.inputs[name]
    return None


def constant(socket):
    """The socket's own value as four numbers."""
    value = socket.default_value
    if isinstance(value, (int, float)):
        return numpy.array((value, value, value, 1), dtype=numpy.float32)
    values = list(value)[:4]
    return numpy.array(values + [1] * (4 - len(values)), dtype=numpy.float32)


def upstream_images(socket, found=None):
    """All image nodes that a socket depends on."""
    found = [] if found is None else found
    node, _ = source(socket)
    if node is not None:
        if node.type == "TEX_IMAGE" and node.image and node not in found:
            found.append(node)
        for below in node.inputs:
            upstream_images(below, found)
    return found


def to_linear(values):
    return numpy.where(values <= 0.04045, values / 12.92, ((numpy.maximum(values, 0) + 0.055) / 1.055) ** 2.4)


def image_pixels(image):
    """(height, width, 4) linear floats, first row at the top."""
    width, height = image.size
    if not width or not height:
        raise Unmapped(f"picture \"{image.name}\" has no pixels")
    pixels = numpy.empty(width * height * 4, dtype=numpy.float32)
    image.pixels.foreach_get(pixels)
    pixels = pixels.reshape(height, width, 4)[::-1].copy()
    if not image.is_float and image.colorspace_settings.name == "sRGB":
        pixels[..., :3] = to_linear(pixels[..., :3])
    return pixels


def resized(pixels, width, height):
    rows = numpy.arange(height) * pixels.shape[0] // height
    columns = numpy.arange(width) * pixels.shape[1] // width
    return pixels[rows][:, columns]


BLENDS = {
    "MIX": lambda a, b: b,
    "MULTIPLY": lambda a, b: a * b,
    "ADD": lambda a, b: a + b,
    "SUBTRACT": lambda a, b: a - b,
    "SCREEN": lambda a, b: 1 - (1 - a) * (1 - b),
    "DARKEN": numpy.minimum,
    "LIGHTEN": numpy.maximum,
    "DIFFERENCE": lambda a, b: abs(a - b),
    "DIVIDE": lambda a, b: numpy.where(b == 0, 0, a / numpy.where(b == 0, 1, b)),
}
MATHS = {
    "ADD": lambda a, b: a + b,
    "SUBTRACT": lambda a, b: a - b,
    "MULTIPLY": lambda a, b: a * b,
    "DIVIDE": BLENDS["DIVIDE"],
    "POWER": lambda a, b: numpy.power(numpy.maximum(a, 0), b),
    "MINIMUM": numpy.minimum,
    "MAXIMUM": numpy.maximum,
    "GREATER_THAN": lambda a, b: (a > b).astype(numpy.float32),
    "LESS_THAN": lambda a, b: (a < b).astype(numpy.float32),
    "SQRT": lambda a, b: numpy.sqrt(numpy.maximum(a, 0)),
    "ABSOLUTE": lambda a, b: abs(a),
}


class Evaluator:
    """Computes sockets on a grid of width x height points of the unit square of texture coordinates."""

    def __init__(self, width=1, height=1):
        self.width, self.height, self.images = width, height, {}

    def of(self, socket):
        """(height or 1, width or 1, 4) floats."""
        node, output = source(socket)
        if node is None:
            return constant(socket).reshape(1, 1, 4)
        compute = getattr(self, "node_" + node.type.lower(), None)
        if compute is None:
            raise Unmapped(f"node \"{node.name}\" ({node.bl_label})")
        values = compute(node, output)
        return self._as_float(values, output) if socket.type == "VALUE" and output.type == "RGBA" else values

    @staticmethod
    def _as_float(values, _output):
        grey = values[..., :3] @ LUMINANCE
        return numpy.repeat(grey[..., None], 4, axis=-1)

    @staticmethod
    def _grey(values):
        return numpy.repeat(values[..., None], 4, axis=-1)

    def node_rgb(self, node, output):
        return constant(node.outputs[0]).reshape(1, 1, 4)

    node_value = node_rgb

    def node_tex_image(self, node, output):
        if node.image is None:
            raise Unmapped(f"node \"{node.name}\" has no picture")
        if node.image.name not in self.images:
            self.images[node.image.name] = resized(image_pixels(node.image), self.width, self.height)
        pixels = self.images[node.image.name]
        return self._grey(pixels[..., 3]) if output.name == "Alpha" else pixels

    def node_mix_rgb(self, node, output):
        return self._mix(node.blend_type, node.use_clamp, *node.inputs[:3])

    def node_mix(self, node, output):
        kinds = {"FLOAT": "VALUE", "RGBA": "RGBA", "VECTOR": "VECTOR"}
        pair = [i for i in node.inputs if i.name in ("A", "B") and i.type == kinds.get(node.data_type)]
        if len(pair) != 2:
            raise Unmapped(f"node \"{node.name}\" ({node.bl_label})")
        blend = node.blend_type if node.data_type == "RGBA" else "MIX"
        return self._mix(blend, getattr(node, "clamp_result", False), node.inputs[0], *pair)

    def _mix(self, blend, clamp, factor, first, second):
        if blend not in BLENDS:
            raise Unmapped(f"mix mode {blend.lower()}")
        share = numpy.clip(self.of(factor)[..., :1], 0, 1)
        a, b = self.of(first), self.of(second)
        mixed = a * (1 - share) + BLENDS[blend](a, b) * share
        return numpy.clip(mixed, 0, 1) if clamp else mixed

    def node_invert(self, node, output):
        share, color = self.of(node.inputs[0])[..., :1], self.of(node.inputs[1])
        return color * (1 - share) + (1 - color) * share

    def node_gamma(self, node, output):
        return numpy.power(numpy.maximum(self.of(node.inputs[0]), 0), self.of(node.inputs[1])[..., :1])

    def node_brightcontrast(self, node, output):
        color, bright, contrast = (self.of(socket) for socket in node.inputs[:3])
        a = 1 + contrast[..., :1]
        return numpy.maximum(a * color + bright[..., :1] - contrast[..., :1] * 0.5, 0)

    def node_valtorgb(self, node, output):
        table = numpy.array([list(node.color_ramp.evaluate(i / 255)) for i in range(256)], dtype=numpy.float32)
        at = numpy.clip(self.of(node.inputs[0])[..., 0] * 255 + 0.5, 0, 255).astype(int)
        return self._grey(table[at][..., 3]) if output.name == "Alpha" else table[at]

    def node_math(self, node, output):
        if node.operation not in MATHS:
            raise Unmapped(f"node \"{node.name}\" ({node.operation.lower()})")
        values = MATHS[node.operation](self.of(node.inputs[0]), self.of(node.inputs[1]))
        return numpy.clip(values, 0, 1) if node.use_clamp else values

    def node_rgbtobw(self, node, output):
        return self._grey(self.of(node.inputs[0])[..., :3] @ LUMINANCE)

    def node_separate_color(self, node, output):
        if getattr(node, "mode", "RGB") != "RGB":
            raise Unmapped(f"node \"{node.name}\" ({node.mode})")
        return self._grey(self.of(node.inputs[0])[..., list(node.outputs).index(output)])

    node_seprgb = node_separate_color

    def node_clamp(self, node, output):
        return numpy.clip(self.of(node.inputs[0]), self.of(node.inputs[1]), self.of(node.inputs[2]))


def bake_size(image_nodes):
    """Width and height at which a graph is computed."""
    width = max((node.image.size[0] for node in image_nodes if node.image), default=1)
    height = max((node.image.size[1] for node in image_nodes if node.image), default=1)
    shrink = max(1.0, max(width, height) / LARGEST_BAKE)
    return max(1, int(width / shrink)), max(1, int(height / shrink))


def placement(node, uv_names, notes):
    """What glTF's texture info says of an image node: coordinate set, wrap, KHR_texture_transform."""
    info = {}
    wrap = WRAPS.get(node.extension, 10497)
    if wrap != 10497:
        info["wrapS"] = info["wrapT"] = wrap
    if node.interpolation == "Closest":
        info["nearest"] = True
    if node.projection != "FLAT":
        notes.append(f"projection of \"{node.name}\" is not flat")
    origin, output = source(node.inputs["Vector"])
    mapping = None
    if origin is not None and origin.type == "MAPPING":
        mapping = origin
        origin, output = source(mapping.inputs["Vector"])
    if origin is not None:
        if origin.type == "UVMAP":
            if origin.uv_map in uv_names[1:2]:
                info["texCoord"] = 1
        elif not (origin.type == "TEX_COORD" and output.name == "UV"):
            notes.append(f"coordinates of \"{node.name}\" are not a UV map")
    if mapping is not None:
        transform = texture_transform(mapping, notes)
        if transform:
            info["extensions"] = {"KHR_texture_transform": transform}
    return info


def texture_transform(mapping, notes):
    """KHR_texture_transform of a mapping node: Blender's v points up, glTF's down."""
    if mapping.vector_type != "POINT" or any(mapping.inputs[name].is_linked for name in ("Location", "Rotation", "Scale")):
        notes.append(f"mapping \"{mapping.name}\" is not a constant point mapping")
        return None
    scale, location = mapping.inputs["Scale"].default_value, mapping.inputs["Location"].default_value
    angle = mapping.inputs["Rotation"].default_value[2]
    if abs(scale[0]) == abs(scale[1]) == 1 and scale[0] == scale[1] == 1 and not angle and not location[0] and not location[1]:
        return None
    # v' = 1 - v on both sides: with R the turn and S the scale, offset = (0, 1) + flip(location) - R S (0, 1) in glTF's axes.
    c, s = math.cos(angle), math.sin(angle)
    return {"scale": [scale[0], scale[1]], "rotation": angle,
            "offset": [location[0] - s * scale[1], 1 - location[1] - c * scale[1]]}
