// Scenes as glTF text.
#pragma once

namespace testscene {

/// A triangle whose material shows the picture "nowhere.png".
inline constexpr const char* WITH_A_MISSING_PICTURE = R"({
  "asset": {"version": "2.0"},
  "scene": 0, "scenes": [{"nodes": [0, 1]}],
  "nodes": [{"mesh": 0}, {"camera": 0, "translation": [0, 0, 3]}],
  "cameras": [{"type": "perspective", "perspective": {"yfov": 0.5, "znear": 0.01}}],
  "meshes": [{"primitives": [{"attributes": {"POSITION": 0, "TEXCOORD_0": 1}, "material": 0}]}],
  "materials": [{"pbrMetallicRoughness": {"baseColorTexture": {"index": 0}}}],
  "textures": [{"source": 0}], "images": [{"uri": "nowhere.png"}],
  "accessors": [
    {"bufferView": 0, "componentType": 5126, "count": 3, "type": "VEC3", "min": [-0.5, -0.5, 0], "max": [0.5, 0.5, 0]},
    {"bufferView": 1, "componentType": 5126, "count": 3, "type": "VEC2"}],
  "bufferViews": [{"buffer": 0, "byteLength": 36}, {"buffer": 0, "byteOffset": 36, "byteLength": 24}],
  "buffers": [{"byteLength": 60, "uri": "data:application/octet-stream;base64,AAAAvwAAAL8AAAAAAAAAPwAAAL8AAAAAAAAAAAAAAD8AAAAAAAAAAAAAAAAAAIA/AAAAAAAAAD8AAIA/"}]
})";

} // namespace testscene
