"""Test of the add-on's zip in a real Blender: it installs, its panel and operators are there, and it goes again."""
import pathlib
import subprocess
import sys
import tempfile
import unittest

import addon_utils
import bpy

ROOT = pathlib.Path(__file__).resolve().parents[2]


class Install(unittest.TestCase):
    def test_the_zip_installs_and_uninstalls(self):
        with tempfile.TemporaryDirectory() as folder:
            archives = [pathlib.Path(folder) / name for name in ("a.zip", "b.zip")]
            for archive in archives:
                subprocess.run([sys.executable, str(ROOT / "integrations/blender/make_zip"), str(archive)], check=True)
            self.assertEqual(archives[0].read_bytes(), archives[1].read_bytes())
            bpy.ops.preferences.addon_install(filepath=str(archives[0]), overwrite=True)
        bpy.ops.preferences.addon_enable(module="lumenara_live")
        self.assertEqual(addon_utils.check("lumenara_live"), (True, True))
        self.assertTrue(hasattr(bpy.types, "VIEW3D_PT_lumenara"))
        self.assertFalse(bpy.ops.lumenara.send.poll())
        self.assertEqual(bpy.context.scene.lumenara.follow, "CAMERA")
        bpy.ops.preferences.addon_disable(module="lumenara_live")
        self.assertFalse(hasattr(bpy.types, "VIEW3D_PT_lumenara"))
        self.assertFalse(hasattr(bpy.types.Scene, "lumenara"))


if __name__ == "__main__":
    if not unittest.TextTestRunner().run(unittest.defaultTestLoader.loadTestsFromTestCase(Install)).wasSuccessful():
        sys.exit(1)
