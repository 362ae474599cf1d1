"""Makes the add-on importable inside Blender from the source tree, with the client library where the zip has it."""
import pathlib
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path[:0] = [str(ROOT / "integrations/python"), str(ROOT / "integrations/blender"), str(ROOT / "tests/integrations")]

import lumenara_link

sys.modules["lumenara_live.lumenara_link"] = lumenara_link
import lumenara_live

lumenara_live.lumenara_link = lumenara_link
