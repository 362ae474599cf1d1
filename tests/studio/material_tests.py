#!/usr/bin/env python3
"""Materials, their textures, and pictures that a scene lacks, worked by mouse and keyboard."""

import base64
import json
import struct
import sys
import zlib

from scenario import check, main, select
from studio_driver import wait_for


def png(red, green, blue, side=16):
    """A picture of squares in two shades."""
    rows = b""
    for y in range(side):
        rows += b"\0"
        for x in range(side):
            half = 2 if (x // 4 + y // 4) % 2 else 1
            rows += bytes((red // half, green // half, blue // half))

    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    head = struct.pack(">IIBBBBB", side, side, 8, 2, 0, 0, 0)
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", head) + chunk(b"IDAT", zlib.compress(rows)) + chunk(b"IEND", b"")


def write_scene(folder):
    """A square with a color and a normal texture; the pictures are named, not written."""
    points = struct.pack("<12f", -1, 0, 0, 1, 0, 0, 1, 2, 0, -1, 2, 0)
    places = struct.pack("<8f", 0, 1, 1, 1, 1, 0, 0, 0)
    corners = struct.pack("<6H", 0, 1, 2, 0, 2, 3)
    data = points + places + corners
    scene = {
        "asset": {"version": "2.0"},
        "scene": 0,
        "scenes": [{"nodes": [0]}],
        "nodes": [{"name": "Box", "mesh": 0}],
        "meshes": [{"primitives": [{"attributes": {"POSITION": 0, "TEXCOORD_0": 1}, "indices": 2, "material": 0}]}],
        "materials": [{
            "name": "Tiles", "doubleSided": True,
            "pbrMetallicRoughness": {"baseColorTexture": {"index": 0}, "metallicFactor": 0},
            "normalTexture": {"index": 1}}],
        "textures": [{"source": 0}, {"source": 1}],
        "images": [{"uri": "tiles.png"}, {"uri": "tiles-normal.png"}],
        "buffers": [{"byteLength": len(data),
                     "uri": "data:application/octet-stream;base64," + base64.b64encode(data).decode()}],
        "bufferViews": [{"buffer": 0, "byteOffset": 0, "byteLength": 48},
                        {"buffer": 0, "byteOffset": 48, "byteLength": 32},
                        {"buffer": 0, "byteOffset": 80, "byteLength": 12}],
        "accessors": [
            {"bufferView": 0, "componentType": 5126, "count": 4, "type": "VEC3", "min": [-1, 0, 0], "max": [1, 2, 0]},
            {"bufferView": 1, "componentType": 5126, "count": 4, "type": "VEC2"},
            {"bufferView": 2, "componentType": 5123, "count": 6, "type": "SCALAR"}],
    }
    folder.mkdir(parents=True, exist_ok=True)
    (folder / "tiles.gltf").write_text(json.dumps(scene))
    return folder / "tiles.gltf"


def show_material(studio):
    """From the object to its material."""
    select(studio, "Box")
    studio.click(name="objectMaterial", text="Tiles")
    studio.get(text="Color Texture")


def textures(run):
    """An object's attributes lead to its material, whose texture is switched off and on again."""
    folder = run.folder / "tiles"
    scene = write_scene(folder)
    (folder / "tiles.png").write_bytes(png(220, 120, 40))
    (folder / "tiles-normal.png").write_bytes(png(128, 128, 255))
    studio = run.start(scene)
    studio.get(name="studio")
    studio.await_keyboard()
    check(not studio.find(name="missingNotice"), "a notice although all pictures are there")
    select(studio, "Box")
    run.options.output.mkdir(parents=True, exist_ok=True)
    studio.get(name="objectMaterial", text="Tiles")
    run.display.save(run.options.output / "object-materials.png")
    show_material(studio)
    run.display.save(run.options.output / "textures.png")
    view = studio.get(name="editor-view")
    lit = studio.shot(view)
    studio.tick(**{"class": "QCheckBox", "in": "texture-Color-On"})
    wait_for("the view without the texture", lambda: studio.shot(view).difference(lit) > 0.5)
    studio.key("ctrl+z")
    wait_for("the texture again", lambda: studio.shot(view).difference(lit) < 0.5)
    studio.quit()


def missing_files(run):
    """A scene without its pictures tells so, and one that is located brings the other one."""
    folder = run.folder / "moved"
    scene = write_scene(folder)
    (folder / "elsewhere" / "below").mkdir(parents=True)
    (folder / "elsewhere" / "tiles.png").write_bytes(png(220, 120, 40))
    (folder / "elsewhere" / "below" / "tiles-normal.png").write_bytes(png(128, 128, 255))
    studio = run.start(scene)
    studio.get(name="studio")
    studio.await_keyboard()
    check("2 pictures" in studio.get(name="missingWords")["text"], "the number of missing pictures")
    run.options.output.mkdir(parents=True, exist_ok=True)
    run.display.save(run.options.output / "missing-notice.png")
    studio.click(name="missingShow")
    rows = wait_for("the list", lambda: [t for t in studio.things()
                                         if t["class"] == "row" and t["name"] == "missingList"])
    check("tiles.png" in [row["text"] for row in rows], f"the list shows {rows}")
    run.display.save(run.options.output / "missing-files.png")
    studio.click(name="missingLocate")
    check(studio.get(name="file-chooser")["text"] == "Locate tiles.png", "the chooser's title")
    studio.write(str(folder / "elsewhere" / "tiles.png"))
    studio.key("Return")
    wait_for("an empty list", lambda: "All files are there" in studio.get(name="missingState")["text"])
    wait_for("the notice gone", lambda: not studio.find(name="missingNotice"))
    studio.await_keyboard()
    studio.key("Escape")
    wait_for("the list closed", lambda: not studio.find(name="missingFiles"))
    studio.await_keyboard()
    studio.quit()


def material_library(run):
    """A material of the library goes onto the selected object, and undo takes it away again."""
    scene = write_scene(run.folder / "tiles")
    studio = run.start(scene)
    studio.get(name="studio")
    studio.await_keyboard()
    select(studio, "Box")
    before = studio.shot(studio.get(name="editor-view"))
    studio.key("ctrl+shift+b")
    studio.get(name="materialLibrary")
    studio.await_keyboard()
    studio.standing(name="materialLibrary")

    def rows():
        return [t for t in studio.things() if t["class"] == "row" and t["name"] == "libraryList"]

    wait_for("the materials", lambda: len(rows()) > 8)
    run.options.output.mkdir(parents=True, exist_ok=True)
    wait_for("the thumbnails", lambda: studio.shot(studio.get(name="libraryList")).colours() > 400, 120)
    run.display.save(run.options.output / "material-library.png")
    studio.click(name="librarySearch")
    studio.write("neon")
    neon = wait_for("the found one", lambda: rows() if len(rows()) == 1 else None)[0]
    studio.move(*studio.middle(neon))
    studio.display.tool("click", "--repeat", 2, "--delay", 60, 1)
    studio.key("Escape")
    wait_for("the library closed", lambda: not studio.find(name="materialLibrary"))
    studio.await_keyboard()
    view = studio.get(name="editor-view")
    wait_for("the object with it", lambda: studio.shot(view).difference(before) > 0.5)
    studio.key("ctrl+z")
    wait_for("the object as before", lambda: studio.shot(view).difference(before) < 0.5)
    studio.quit()


if __name__ == "__main__":
    sys.exit(main((textures, missing_files, material_library)))
