"""Blender's materials as glTF materials of the link. Nothing here sends: pictures are returned beside the material."""
import math
import os

import bpy
import numpy

from . import nodes

GREY = (0.8, 0.8, 0.8)


# Means over all directions, at roughness 0.05, 0.25, 0.5, 0.75 and 1: the light that the diffuse part of Principled 3.x gives back, as a part
# of its base colour, and the reflection of a dielectric, as a factor of its reflection at right angles and a constant.
ROUGHNESSES = (0.05, 0.25, 0.5, 0.75, 1.0)
DIFFUSE_SHARE = (0.959, 0.981, 1.008, 1.036, 1.065)
REFLECTION_FACTOR, REFLECTION_EDGE = (0.953, 0.948, 0.862, 0.637, 0.374), (0.047, 0.039, 0.018, 0.006, 0.002)


def diffuse_gain(roughness, reflection):
    """The factor of a base colour that makes our diffuse part, which the reflection weakens, as bright as that of Principled 3.x."""
    share, factor, edge = (float(numpy.interp(roughness, ROUGHNESSES, values)) for values in (DIFFUSE_SHARE, REFLECTION_FACTOR, REFLECTION_EDGE))
    return share / (1 - min(0.5, reflection * factor + edge if reflection > 0 else 0.0))


class Mapped:
    """A glTF material, the pictures it needs as {key: dict for `Connection.picture`}, and notes for the user."""

    def __init__(self):
        self.gltf, self.pictures, self.notes = {}, {}, []
        self.images = set()  # names of all images it depends on


def floats(values):
    return [float(value) for value in values]


def image_file(image):
    """A file on disk that is the image, unchanged, or None."""
    if image.source != "FILE" or image.packed_file or image.is_dirty or not image.filepath:
        return None
    path = bpy.path.abspath(image.filepath, library=image.library)
    return os.path.abspath(path) if os.path.isfile(path) else None


def file_picture(image, data):
    """The picture of an image that may be shown as it is, or None: its colour space has to be the one of the slot."""
    space = image.colorspace_settings.name
    wanted = ("Non-Color", "Raw", "Linear") if data else ("sRGB",)
    if space not in wanted and not image.is_float or image.is_dirty:
        return None
    path = image_file(image)
    if path:
        return {"name": image.name, "path": path}
    if image.packed_file and image.source == "FILE":
        return {"name": image.name, "file": bytes(image.packed_file.data)}
    return None


class MaterialMapper:
    """Maps one material. `uv_names`: the first two UV maps of the meshes that use it."""

    def __init__(self, material, uv_names=()):
        self.material, self.uv_names, self.out = material, list(uv_names), Mapped()

    def note(self, text):
        line = f"Material \"{self.material.name}\": {text}."
        if line not in self.out.notes:
            self.out.notes.append(line)

    def map(self):
        gltf = self.out.gltf
        gltf["name"] = self.material.name
        gltf["doubleSided"] = not self.material.use_backface_culling
        if not self.material.use_nodes or self.material.node_tree is None:
            gltf["pbrMetallicRoughness"] = {"baseColorFactor": floats(self.material.diffuse_color), "roughnessFactor": self.material.roughness,
                                            "metallicFactor": self.material.metallic}
            return self.out
        output = self.material.node_tree.get_output_node("CYCLES") or self.material.node_tree.get_output_node("ALL")
        shader = nodes.source(output.inputs["Surface"])[0] if output else None
        if shader is None:
            gltf["pbrMetallicRoughness"] = {"baseColorFactor": [0, 0, 0, 1], "metallicFactor": 0, "roughnessFactor": 1}
            gltf["extensions"] = {"KHR_materials_specular": {"specularFactor": 0}}
        else:
            self.shader(shader)
        if output and output.inputs["Displacement"].is_linked:
            self.note("displacement is left out")
        return self.out

    # Shaders.

    def shader(self, node):
        handler = {"BSDF_PRINCIPLED": self.principled, "EMISSION": self.emission, "BSDF_DIFFUSE": self.diffuse, "BSDF_GLOSSY": self.glossy,
                   "BSDF_GLASS": self.glass, "BSDF_REFRACTION": self.glass, "BSDF_TRANSPARENT": self.transparent,
                   "MIX_SHADER": self.mix_shader}.get(node.type)
        if handler:
            return handler(node)
        self.note(f"shader \"{node.name}\" ({node.bl_label}) is shown as its colour")
        color = nodes.find_input(node, "Color", "Base Color")
        self.surface(color, None, 0.0, 0.5, specular=0)
        return None

    def surface(self, color, alpha, metallic, roughness, specular=1):
        """Base colour, alpha, metallic and roughness; the last two as numbers or sockets."""
        pbr = self.out.gltf.setdefault("pbrMetallicRoughness", {})
        self.base_color(pbr, color, alpha)
        self.metallic_roughness(pbr, metallic, roughness)
        if specular != 1:
            self.extension("KHR_materials_specular")["specularFactor"] = specular

    def extension(self, name):
        return self.out.gltf.setdefault("extensions", {}).setdefault(name, {})

    def diffuse(self, node):
        self.surface(node.inputs["Color"], None, 0.0, 1.0, specular=0)
        self.relief(node)

    def glossy(self, node):
        self.surface(node.inputs["Color"], None, 1.0, node.inputs["Roughness"])
        self.relief(node)

    def glass(self, node):
        self.surface(node.inputs["Color"], None, 0.0, node.inputs["Roughness"])
        self.transmission(1.0, self.number(node.inputs["IOR"], 1.45))
        self.relief(node)

    def transparent(self, node):
        color = self.color(node.inputs["Color"])
        self.surface(None, None, 0.0, 1.0, specular=0)
        self.out.gltf["pbrMetallicRoughness"]["baseColorFactor"] = floats(color) + [0.0]
        self.out.gltf["alphaMode"] = "BLEND"
        if min(color) < 1:
            self.note("the tint of a transparent shader is left out")

    def emission(self, node):
        self.surface(None, None, 0.0, 1.0, specular=0)
        self.out.gltf["pbrMetallicRoughness"]["baseColorFactor"] = [0.0, 0.0, 0.0, 1.0]
        self.emit(node.inputs["Color"], node.inputs["Strength"])

    def mix_shader(self, node):
        """Transparent mixed with another shader is that shader's alpha; of other pairs the larger part is shown."""
        first, second = (nodes.source(socket)[0] for socket in node.inputs[1:3])
        share = self.number(node.inputs[0], 0.5, quiet=True)
        for clear, solid, inverse in ((first, second, False), (second, first, True)):
            if clear is not None and clear.type == "BSDF_TRANSPARENT" and solid is not None:
                self.shader(solid)
                return self.alpha_of_mix(node.inputs[0], share, inverse)
        self.note(f"mix \"{node.name}\" shows the shader with the larger part")
        chosen = (second if share >= 0.5 else first) or first or second
        return self.shader(chosen) if chosen else self.surface(None, None, 0.0, 0.5)

    def alpha_of_mix(self, factor, share, inverse):
        pbr = self.out.gltf["pbrMetallicRoughness"]
        self.out.gltf["alphaMode"] = "BLEND"
        if not nodes.upstream_images(factor):
            base = pbr.setdefault("baseColorFactor", [1.0, 1.0, 1.0, 1.0])
            base[3] = 1 - share if inverse else share
            return
        color = self._shader_color_socket
        self.baked_base(pbr, color, factor, inverse)

    _shader_color_socket = None

    def principled(self, node):
        read = lambda *names: nodes.find_input(node, *names)
        alpha = read("Alpha")
        self.surface(read("Base Color"), alpha, read("Metallic"), read("Roughness"))
        self.specular(node)
        self.brighten(node)
        transmission = self.number(read("Transmission Weight", "Transmission"), 0)
        if transmission > 0:
            self.transmission(transmission, self.number(read("IOR"), 1.45))
        self.coat(node)
        emission = read("Emission Color", "Emission")
        if emission is not None:
            self.emit(emission, read("Emission Strength"))
        self.relief(node)
        for name in ("Subsurface", "Subsurface Weight"):
            if name in node.inputs and self.number(node.inputs[name], 0) > 0:
                self.note("subsurface scattering is left out")

    def brighten(self, node):
        """3.x puts its reflection on top of an unweakened diffuse part: a plain base colour is sent brighter by the mean difference."""
        factor = self.out.gltf["pbrMetallicRoughness"].get("baseColorFactor")
        others = [node.inputs[name] for name in ("Metallic", "Transmission", "Roughness") if name in node.inputs]
        if "Specular" not in node.inputs or factor is None or "baseColorTexture" in self.out.gltf["pbrMetallicRoughness"]:
            return
        if any(socket.is_linked for socket in others) or any(socket.default_value > 0 for socket in others[:2]):
            return
        gain = diffuse_gain(node.inputs["Roughness"].default_value, 0.08 * max(0.0, self.number(node.inputs["Specular"], 0.5)))
        factor[:3] = [min(1.0, gain * value) for value in factor[:3]]

    def specular(self, node):
        """The reflection at right angles: 3.x gives it by Specular, 4.x by the index of refraction times twice the level."""
        if "Specular" in node.inputs:
            share = 0.08 * max(0.0, self.number(node.inputs["Specular"], 0.5))
        else:
            ior = self.number(node.inputs["IOR"], 1.45)
            share = ((ior - 1) / (ior + 1)) ** 2 * 2 * self.number(nodes.find_input(node, "Specular IOR Level"), 0.5)
        root = math.sqrt(min(share, 0.9))
        if root > 0:
            self.extension("KHR_materials_ior")["ior"] = (1 + root) / (1 - root)
        else:
            self.extension("KHR_materials_specular")["specularFactor"] = 0.0
        turn = self.number(nodes.find_input(node, "Anisotropic"), 0)
        if turn > 0:
            self.extension("KHR_materials_anisotropy").update(
                anisotropyStrength=min(1.0, turn), anisotropyRotation=2 * math.pi * self.number(node.inputs["Anisotropic Rotation"], 0))

    def coat(self, node):
        weight = self.number(nodes.find_input(node, "Coat Weight", "Clearcoat"), 0)
        if weight > 0:
            # The coat of 3.x reflects a quarter of what its weight says.
            self.extension("KHR_materials_clearcoat").update(
                clearcoatFactor=min(1.0, weight if "Coat Weight" in node.inputs else weight / 4),
                clearcoatRoughnessFactor=self.number(nodes.find_input(node, "Coat Roughness", "Clearcoat Roughness"), 0.03))
        sheen = self.number(nodes.find_input(node, "Sheen Weight", "Sheen"), 0)
        if sheen > 0:
            self.extension("KHR_materials_sheen").update(sheenColorFactor=[min(1.0, sheen)] * 3, sheenRoughnessFactor=0.5)

    def transmission(self, weight, ior):
        self.extension("KHR_materials_transmission")["transmissionFactor"] = min(1.0, weight)
        self.extension("KHR_materials_ior")["ior"] = max(1.0, ior)
        # Any thickness makes the surface the border of a body.
        self.extension("KHR_materials_volume")["thicknessFactor"] = 1.0

    # Values.

    def remember(self, socket):
        for image in nodes.upstream_images(socket):
            self.out.images.add(image.image.name)

    def color(self, socket):
        """A colour of three numbers; a picture or unknown node becomes one, with a note."""
        try:
            values = nodes.Evaluator(16, 16).of(socket)
            if nodes.upstream_images(socket):
                self.remember(socket)
                self.note(f"the picture of \"{socket.name}\" is shown as its mean")
            return floats(values[..., :3].reshape(-1, 3).mean(axis=0))
        except nodes.Unmapped as error:
            self.note(f"\"{socket.name}\" is shown as a colour: {error}")
            return floats(nodes.constant(socket)[:3]) if socket.type != "SHADER" else list(GREY)

    def number(self, socket, default, quiet=False):
        if socket is None:
            return default
        if not socket.is_linked:
            return float(socket.default_value)
        notes = list(self.out.notes)
        value = self.color(socket)[0]
        if quiet:
            self.out.notes[:] = notes
        return value

    # Pictures.

    def add_picture(self, key, picture):
        self.out.pictures[key] = picture
        return key

    def baked(self, slot, pixels):
        """Linear floats (height, width, 4), first row at the top, as a picture of this material."""
        height, width = pixels.shape[:2]
        return self.add_picture(f"picture:{self.material.name_full}/{slot}",
                                {"name": f"{self.material.name} {slot}", "size": (width, height),
                                 "pixels": numpy.ascontiguousarray(pixels, dtype=numpy.float32)})

    def direct(self, socket, data):
        """The texture info of an input that an image feeds unchanged, or None."""
        node, output = nodes.source(socket)
        if node is None or node.type != "TEX_IMAGE" or node.image is None or output.name != "Color":
            return None
        picture = file_picture(node.image, data)
        if picture is None:
            return None
        self.remember(socket)
        return {"picture": self.add_picture("picture:" + node.image.name_full, picture), **self.place(node)}

    def place(self, node):
        notes = []
        info = nodes.placement(node, self.uv_names, notes)
        for text in notes:
            self.note(text)
        return info

    def on_grid(self, *sockets):
        """The sockets' values at the size of their largest picture, and the first picture's placement; None where no picture is."""
        images = [node for socket in sockets if socket is not None for node in nodes.upstream_images(socket)]
        if not images:
            return None
        places = [self.place(node) for node in images]
        if any(place != places[0] for place in places):
            self.note("pictures with different mappings are joined by the first one's")
        width, height = nodes.bake_size(images)
        grid = nodes.Evaluator(width, height)
        values = [numpy.broadcast_to(grid.of(socket), (height, width, 4)) if socket is not None else None for socket in sockets]
        for socket in sockets:
            if socket is not None:
                self.remember(socket)
        return values, places[0]

    def base_color(self, pbr, color, alpha):
        self._shader_color_socket = color
        alpha_pictures = alpha is not None and bool(nodes.upstream_images(alpha))
        level = 1.0 if alpha is None or alpha_pictures else self.number(alpha, 1)
        if level < 1 or alpha_pictures:
            self.out.gltf["alphaMode"] = "BLEND"
        if color is None:
            pbr["baseColorFactor"] = [*GREY, level]
            return
        info = self.direct(color, data=False)
        if info and not alpha_pictures:
            pbr["baseColorTexture"], pbr["baseColorFactor"] = info, [1.0, 1.0, 1.0, level]
        elif info and self.alpha_of_same_image(color, alpha):
            pbr["baseColorTexture"] = info
        elif nodes.upstream_images(color) or alpha_pictures:
            self.baked_base(pbr, color, alpha if alpha_pictures else None, False, level)
        else:
            pbr["baseColorFactor"] = self.color(color) + [level]

    @staticmethod
    def alpha_of_same_image(color, alpha):
        (first, _), (second, output) = nodes.source(color), nodes.source(alpha)
        return second is not None and first == second and output.name == "Alpha"

    def baked_base(self, pbr, color, alpha, inverse, level=1.0):
        try:
            (values, alphas), place = self.on_grid(color, alpha)
        except nodes.Unmapped as error:
            self.note(f"the base colour is shown as a colour: {error}")
            pbr["baseColorFactor"] = [*(self.color(color) if color is not None else GREY), level]
            return
        pixels = numpy.empty((alphas if values is None else values).shape, dtype=numpy.float32)
        pixels[..., :3] = GREY if values is None else values[..., :3]
        pixels[..., 3] = level if alphas is None else (1 - alphas[..., 0] if inverse else alphas[..., 0])
        pbr["baseColorTexture"] = {"picture": self.baked("base colour", numpy.clip(pixels, 0, 1)), **place}
        pbr["baseColorFactor"] = [1.0] * 4

    def metallic_roughness(self, pbr, metallic, roughness):
        sockets = [value if hasattr(value, "is_linked") else None for value in (metallic, roughness)]
        try:
            found = self.on_grid(*sockets)
        except nodes.Unmapped as error:
            self.note(f"metallic or roughness is shown as a number: {error}")
            found = None
        numbers = [self.number(socket, 0) if socket is not None and not (found and nodes.upstream_images(socket)) else value
                   for socket, value in zip(sockets, (metallic, roughness))]
        if not found:
            pbr["metallicFactor"], pbr["roughnessFactor"] = (min(1.0, max(0.0, float(value))) for value in numbers)
            return
        (metal, rough), place = found
        shape = (metal if metal is not None else rough).shape
        pixels = numpy.zeros(shape, dtype=numpy.float32)
        pixels[..., 1] = rough[..., 0] if rough is not None else numbers[1]
        pixels[..., 2] = metal[..., 0] if metal is not None else numbers[0]
        pixels[..., 3] = 1
        pbr["metallicFactor"] = pbr["roughnessFactor"] = 1.0
        pbr["metallicRoughnessTexture"] = {"picture": self.baked("metallic roughness", numpy.clip(pixels, 0, 1)), **place}

    def emit(self, color, strength):
        info = self.direct(color, data=False)
        factor = self.number(strength, 1) if strength is not None else 1.0
        if info:
            self.out.gltf["emissiveTexture"], rgb = info, [1.0, 1.0, 1.0]
        else:
            rgb = self.color(color)
        factor *= max(1.0, max(rgb))
        rgb = [max(0.0, value) / max(1.0, max(rgb)) for value in rgb]
        if factor <= 0 or max(rgb) <= 0:
            self.out.gltf.pop("emissiveTexture", None)
            return
        self.out.gltf["emissiveFactor"] = rgb
        if factor != 1:
            self.extension("KHR_materials_emissive_strength")["emissiveStrength"] = factor

    # Normal and bump maps.

    def relief(self, shader):
        socket = nodes.find_input(shader, "Normal")
        node, _ = nodes.source(socket)
        if node is None:
            return
        if node.type == "BUMP":
            self.bump(node)
            node, _ = nodes.source(node.inputs["Normal"])
        if node is not None and node.type == "NORMAL_MAP":
            self.normal_map(node)
        elif node is not None:
            self.note(f"normals of \"{node.name}\" ({node.bl_label}) are left out")

    def normal_map(self, node):
        if node.space != "TANGENT":
            self.note(f"normal map \"{node.name}\" is not in tangent space and is left out")
            return
        info = self.direct(node.inputs["Color"], data=True)
        if info is None:
            try:
                found = self.on_grid(node.inputs["Color"])
            except nodes.Unmapped as error:
                return self.note(f"normal map \"{node.name}\" is left out: {error}")
            if not found:
                return None
            info = {"picture": self.baked("normal", found[0][0]), **found[1]}
        self.out.gltf["normalTexture"] = {**info, "scale": self.number(node.inputs["Strength"], 1)}
        return None

    def bump(self, node):
        """Our bump channel takes a picture of heights and the distance in metres between black and white."""
        info = self.direct(node.inputs["Height"], data=True)
        if info is None:
            try:
                found = self.on_grid(node.inputs["Height"])
            except nodes.Unmapped as error:
                return self.note(f"bump \"{node.name}\" is left out: {error}")
            if not found:
                return None
            info = {"picture": self.baked("bump", found[0][0]), **found[1]}
        if "extensions" in info:
            self.note(f"the mapping of bump \"{node.name}\" is left out")
        height = self.number(node.inputs["Distance"], 1) * self.number(node.inputs["Strength"], 1) * (-1 if node.invert else 1)
        self.out.gltf["extras"] = {"lumenara": {"container": [[2118, "real", height]],
                                                "shaders": [{"type": 5833, "picture": info["picture"]}], "slots": {"6": 0}}}
        return None
