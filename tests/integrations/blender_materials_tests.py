"""Tests of the add-on's mapping inside a real Blender: materials, lights, world and cameras as exact values."""
import math
import pathlib
import sys
import tempfile
import unittest

import bpy

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))

import blender_setup  # finds the add-on
from lumenara_live import scenery
from lumenara_live.materials import MaterialMapper
from mathutils import Vector


class Mapping(unittest.TestCase):
    def setUp(self):
        bpy.ops.wm.read_factory_settings(use_empty=True)
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        self.material = bpy.data.materials.new("M")
        self.material.use_nodes = True
        self.tree = self.material.node_tree
        self.shader = self.tree.nodes["Principled BSDF"]

    def map(self):
        return MaterialMapper(self.material, ("UVMap", "Second")).map()

    def add(self, kind, **values):
        node = self.tree.nodes.new(kind)
        for name, value in values.items():
            setattr(node, name, value)
        return node

    def join(self, node, output, target):
        self.tree.links.new(node.outputs[output], self.shader.inputs[target] if isinstance(target, str) else target)

    def image(self, name, color, data=False):
        """An image node of a 2 x 2 picture on disk, all of one stored colour."""
        made = bpy.data.images.new(name, 2, 2, alpha=True)
        made.pixels.foreach_set(list(color) * 4)
        made.filepath_raw, made.file_format = f"{self.folder.name}/{name}.png", "PNG"
        made.save()
        bpy.data.images.remove(made)
        node = self.add("ShaderNodeTexImage", image=bpy.data.images.load(f"{self.folder.name}/{name}.png"))
        if data:
            node.image.colorspace_settings.name = "Non-Color"
        return node

    def near(self, found, expected, digits=4):
        self.assertEqual([round(float(value), digits) for value in found], [round(value, digits) for value in expected])

    def test_numbers_of_principled(self):
        for name, value in (("Base Color", (0.1, 0.2, 0.3, 1)), ("Metallic", 0.25), ("Roughness", 0.75), ("Alpha", 0.5), ("Specular", 0.5)):
            self.shader.inputs[name].default_value = value
        mapped = self.map()
        pbr = mapped.gltf["pbrMetallicRoughness"]
        self.near(pbr["baseColorFactor"], (0.1, 0.2, 0.3, 0.5))
        self.near((pbr["metallicFactor"], pbr["roughnessFactor"]), (0.25, 0.75))
        self.assertEqual(mapped.gltf["alphaMode"], "BLEND")
        self.near([mapped.gltf["extensions"]["KHR_materials_ior"]["ior"]], [1.5])  # 4 % at right angles
        self.assertEqual((mapped.notes, mapped.pictures), ([], {}))

    def test_a_picture_crosses_as_its_file(self):
        node = self.image("wood", (0.5, 0.5, 0.5, 1))
        node.extension = "EXTEND"
        self.join(node, "Color", "Base Color")
        mapped = self.map()
        info = mapped.gltf["pbrMetallicRoughness"]["baseColorTexture"]
        self.assertEqual(info, {"picture": "picture:wood.png", "wrapS": 33071, "wrapT": 33071})
        self.assertEqual(mapped.pictures["picture:wood.png"]["path"], f"{self.folder.name}/wood.png")
        self.assertEqual(mapped.images, {"wood.png"})

    def test_a_mix_is_computed_pixel_by_pixel(self):
        mix = self.add("ShaderNodeMixRGB", blend_type="MULTIPLY")
        mix.inputs[0].default_value = 1
        mix.inputs[2].default_value = (0.5, 1, 0, 1)
        self.tree.links.new(self.image("half", (0.5, 0.5, 0.5, 1)).outputs["Color"], mix.inputs[1])
        self.join(mix, "Color", "Base Color")
        mapped = self.map()
        picture = mapped.pictures[mapped.gltf["pbrMetallicRoughness"]["baseColorTexture"]["picture"]]
        linear = ((128 / 255 + 0.055) / 1.055) ** 2.4
        self.assertEqual(picture["size"], (2, 2))
        self.near(picture["pixels"][0, 0], (linear * 0.5, linear, 0, 1), 3)

    def test_roughness_and_metallic_share_a_picture(self):
        self.join(self.image("rough", (0.25, 0.25, 0.25, 1), data=True), "Color", "Roughness")
        self.shader.inputs["Metallic"].default_value = 0.5
        mapped = self.map()
        pbr = mapped.gltf["pbrMetallicRoughness"]
        self.assertEqual((pbr["metallicFactor"], pbr["roughnessFactor"]), (1, 1))
        self.near(mapped.pictures[pbr["metallicRoughnessTexture"]["picture"]]["pixels"][0, 0, 1:3], (0.25, 0.5), 2)

    def test_mapping_and_second_uv(self):
        node, mapping, uv = self.image("a", (1, 1, 1, 1)), self.add("ShaderNodeMapping"), self.add("ShaderNodeUVMap", uv_map="Second")
        mapping.inputs["Scale"].default_value = (2, 3, 1)
        mapping.inputs["Location"].default_value = (0.25, 0.5, 0)
        self.tree.links.new(uv.outputs[0], mapping.inputs["Vector"])
        self.tree.links.new(mapping.outputs[0], node.inputs["Vector"])
        self.join(node, "Color", "Base Color")
        info = self.map().gltf["pbrMetallicRoughness"]["baseColorTexture"]
        transform = info["extensions"]["KHR_texture_transform"]
        self.assertEqual(info["texCoord"], 1)
        self.near(transform["scale"] + transform["offset"], (2, 3, 0.25, 1 - 0.5 - 3))

    def test_normal_and_bump(self):
        normal, bump = self.add("ShaderNodeNormalMap"), self.add("ShaderNodeBump")
        normal.inputs["Strength"].default_value = 0.7
        bump.inputs["Distance"].default_value, bump.inputs["Strength"].default_value = 0.02, 0.5
        self.tree.links.new(self.image("n", (0.5, 0.5, 1, 1), data=True).outputs["Color"], normal.inputs["Color"])
        self.tree.links.new(self.image("h", (0.5, 0.5, 0.5, 1), data=True).outputs["Color"], bump.inputs["Height"])
        self.tree.links.new(normal.outputs[0], bump.inputs["Normal"])
        self.join(bump, 0, "Normal")
        gltf = self.map().gltf
        self.assertEqual(gltf["normalTexture"]["picture"], "picture:n.png")
        self.near([gltf["normalTexture"]["scale"], gltf["extras"]["lumenara"]["container"][0][2]], [0.7, 0.01])
        self.assertEqual(gltf["extras"]["lumenara"]["shaders"][0]["picture"], "picture:h.png")

    def test_diffuse_of_principled_is_brighter_than_ours(self):
        base, rough, specular, metallic = (self.shader.inputs[name] for name in ("Base Color", "Roughness", "Specular", "Metallic"))
        base.default_value, rough.default_value, specular.default_value, metallic.default_value = (0.5, 0.25, 0.98, 1), 0.5, 0.5, 0
        factor = self.map().gltf["pbrMetallicRoughness"]["baseColorFactor"]
        gain = 1.008 / (1 - (0.04 * 0.862 + 0.018))
        self.near(factor, (0.5 * gain, 0.25 * gain, 1, 1))
        specular.default_value = 0
        self.near(self.map().gltf["pbrMetallicRoughness"]["baseColorFactor"], (0.5 * 1.008, 0.25 * 1.008, 0.98 * 1.008, 1))
        metallic.default_value = 1
        self.near(self.map().gltf["pbrMetallicRoughness"]["baseColorFactor"], (0.5, 0.25, 0.98, 1))

    def test_emission_above_one(self):
        self.shader.inputs["Emission"].default_value = (2, 1, 0, 1)
        self.shader.inputs["Emission Strength"].default_value = 3
        gltf = self.map().gltf
        self.near(gltf["emissiveFactor"], (1, 0.5, 0))
        self.near([gltf["extensions"]["KHR_materials_emissive_strength"]["emissiveStrength"]], [6])

    def test_transparent_mix_is_alpha(self):
        mix, clear = self.add("ShaderNodeMixShader"), self.add("ShaderNodeBsdfTransparent")
        mix.inputs[0].default_value = 0.25
        self.tree.links.new(clear.outputs[0], mix.inputs[1])
        self.tree.links.new(self.shader.outputs[0], mix.inputs[2])
        self.tree.links.new(mix.outputs[0], self.tree.nodes["Material Output"].inputs["Surface"])
        self.near([self.map().gltf["pbrMetallicRoughness"]["baseColorFactor"][3]], [0.25])

    def test_what_cannot_be_mapped_is_listed(self):
        self.join(self.add("ShaderNodeTexNoise"), "Color", "Base Color")
        mapped = self.map()
        self.assertEqual(len(mapped.notes), 1)
        self.assertIn("Noise Texture", mapped.notes[0])
        self.near(mapped.gltf["pbrMetallicRoughness"]["baseColorFactor"], (0.8 * 1.0638,) * 3 + (1,), 3)

    def test_lights_in_our_units(self):
        lights = {kind: bpy.data.lights.new(kind, kind) for kind in ("POINT", "SPOT", "SUN", "AREA")}
        for light in lights.values():
            light.energy = 40
        lights["SPOT"].spot_size, lights["SPOT"].spot_blend = 1.0, 0
        lights["AREA"].shape, lights["AREA"].size, lights["AREA"].size_y = "RECTANGLE", 2, 1
        notes = []
        found = {kind: scenery.light_fields(light, Vector((3, 2, 1)), notes) for kind, light in lights.items()}
        self.near([found[kind]["intensity"] for kind in found], [10 / math.pi, 10 / math.pi * (1 + math.cos(0.5)) / 2, 40, 10])
        self.near([found["SPOT"]["inner"], found["SPOT"]["outer"], found["AREA"]["width"], found["AREA"]["height"]], [0.5, 0.5, 6, 2])
        self.assertEqual(notes, [])

    def test_world_color_and_picture(self):
        world = bpy.data.worlds.new("W")
        world.use_nodes = True
        background = world.node_tree.nodes["Background"]
        background.inputs["Color"].default_value, background.inputs["Strength"].default_value = (0.1, 0.2, 0.3, 1), 2
        fields, pictures = scenery.world_fields(world, [])
        self.near(fields["color"], (0.1, 0.2, 0.3))
        self.assertEqual((fields["kind"], fields["strength"], pictures), ("color", 2, {}))
        node, mapping = world.node_tree.nodes.new("ShaderNodeTexEnvironment"), world.node_tree.nodes.new("ShaderNodeMapping")
        node.image = bpy.data.images.new("sky", 4, 2, float_buffer=True)
        mapping.inputs["Rotation"].default_value[2] = 0.5
        world.node_tree.links.new(mapping.outputs[0], node.inputs["Vector"])
        world.node_tree.links.new(node.outputs[0], background.inputs["Color"])
        fields, pictures = scenery.world_fields(world, [])
        self.near([fields["rotation"]], [-math.pi / 2 - 0.5])
        self.assertEqual(pictures[fields["picture"]]["size"], (4, 2))

    def test_camera_with_shift_and_focus(self):
        data = bpy.data.cameras.new("C")
        item = bpy.data.objects.new("C", data)
        bpy.context.scene.collection.objects.link(item)
        data.sensor_width, data.lens, data.shift_x = 36, 18, 0.1
        data.dof.use_dof, data.dof.focus_distance, data.dof.aperture_fstop = True, 3, 2
        bpy.context.view_layer.update()
        graph = bpy.context.evaluated_depsgraph_get()
        fields = scenery.camera_fields(item.evaluated_get(graph), graph, 200, 100, [])
        self.near([fields["yfov"], fields["aperture"], fields["focus"]], [2 * math.atan(0.5), 0.009, 3])
        self.near(fields["shift"], (0.1, 0))
        data.type, data.ortho_scale = "ORTHO", 4
        bpy.context.view_layer.update()
        fields = scenery.camera_fields(item.evaluated_get(graph), graph, 200, 100, [])
        self.near([fields["ymag"]], [1])
        self.near(fields["shift"], (0.1, 0))


if __name__ == "__main__":
    if not unittest.TextTestRunner().run(unittest.defaultTestLoader.loadTestsFromTestCase(Mapping)).wasSuccessful():
        sys.exit(1)
