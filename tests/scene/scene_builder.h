// Small glTF files made in memory, for tests.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "node_state.h"
#include "scene_file.h"

/// A file under construction: `root` is its JSON; views and accessors are added with their data.
class SceneBuilder {
 public:
  using Json = nlohmann::ordered_json;
  Json root = Json{{"asset", {{"version", "2.0"}}},
                   {"scene", 0},
                   {"scenes", Json::array({Json{{"nodes", Json::array()}}})}};

  int add(const char* list, Json value) {
    root[list].push_back(std::move(value));
    return static_cast<int>(root[list].size()) - 1;
  }

  template <class T>
  int addView(const std::vector<T>& values) {
    data_.resize((data_.size() + 3) / 4 * 4);
    const std::size_t at = data_.size(), bytes = values.size() * sizeof(T);
    data_.resize(at + bytes);
    if (bytes > 0) std::memcpy(data_.data() + at, values.data(), bytes);
    return add("bufferViews", Json{{"buffer", 0}, {"byteOffset", at}, {"byteLength", bytes}});
  }

  int addFloats(const std::vector<float>& values, const char* type, int width) {
    return add("accessors", Json{{"bufferView", addView(values)},
                                 {"componentType", 5126},
                                 {"count", values.size() / static_cast<std::size_t>(width)},
                                 {"type", type}});
  }
  int addShorts(const std::vector<std::uint16_t>& values, const char* type = "SCALAR", int width = 1) {
    return add("accessors", Json{{"bufferView", addView(values)},
                                 {"componentType", 5123},
                                 {"count", values.size() / static_cast<std::size_t>(width)},
                                 {"type", type}});
  }

  /// A node at the top of the scene.
  int addNode(Json node, bool atTop = true) {
    const int index = add("nodes", std::move(node));
    if (atTop) root["scenes"][0]["nodes"].push_back(index);
    return index;
  }

  /// A quad of two triangles in the plane z = 0, from 0 to 1; returns the mesh's index.
  int addQuad(int material = -1) {
    const int positions = addFloats({0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0}, "VEC3", 3);
    const int uv = addFloats({0, 1, 1, 1, 1, 0, 0, 0}, "VEC2", 2);
    const int indices = addShorts({0, 1, 2, 0, 2, 3});
    Json primitive{{"attributes", {{"POSITION", positions}, {"TEXCOORD_0", uv}}}, {"indices", indices}};
    if (material >= 0) primitive["material"] = material;
    return add("meshes", Json{{"primitives", Json::array({primitive})}});
  }

  std::vector<std::byte> glb() const {
    Json json = root;
    if (!data_.empty() && !json.contains("buffers"))
      json["buffers"] = Json::array({Json{{"byteLength", data_.size()}}});
    return pack(json.dump(), data_);
  }
  std::string text() const { return root.dump(); }
  const std::vector<std::byte>& data() const { return data_; }

  /// A binary file of this JSON text and data.
  static std::vector<std::byte> pack(std::string json, std::vector<std::byte> data) {
    json.resize((json.size() + 3) / 4 * 4, ' ');
    data.resize((data.size() + 3) / 4 * 4);
    std::vector<std::byte> file;
    const auto word = [&](std::size_t value) {
      for (int i = 0; i < 4; ++i)
        file.push_back(static_cast<std::byte>((value >> (8 * i)) & 255));
    };
    word(0x46546C67), word(2), word(12 + 8 + json.size() + (data.empty() ? 0 : 8 + data.size()));
    word(json.size()), word(0x4E4F534A);
    for (const char c : json)
      file.push_back(static_cast<std::byte>(c));
    if (data.empty()) return file;
    word(data.size()), word(0x004E4942);
    file.insert(file.end(), data.begin(), data.end());
    return file;
  }

 private:
  std::vector<std::byte> data_;
};

inline std::span<const std::byte> bytesOfText(const std::string& text) {
  return std::as_bytes(std::span(text));
}

/// Loads the builder's file; the test fails when it does not load.
inline host::DocumentPtr load(const SceneBuilder& scene, host::LoadResult* details = nullptr) {
  host::LoadResult result = host::loadDocumentFromMemory(scene.glb(), Filename());
  EXPECT_TRUE(result.document != nullptr) << result.error;
  host::DocumentPtr document = std::move(result.document);
  if (details) *details = std::move(result);
  return document;
}

/// Saves and loads a document; expects the copy to be equal.
inline host::DocumentPtr reload(const BaseDocument& document, bool binary = true) {
  std::string error, difference;
  const std::vector<std::byte> bytes = host::saveDocumentToMemory(document, binary, &error);
  EXPECT_FALSE(bytes.empty()) << error;
  host::LoadResult result = host::loadDocumentFromMemory(bytes, Filename());
  EXPECT_TRUE(result.document != nullptr) << result.error;
  if (result.document) {
    EXPECT_TRUE(host::documentsEqual(document, *result.document, &difference)) << difference;
  }
  return std::move(result.document);
}

inline BaseObject* objectNamed(const host::DocumentPtr& document, const char* name) {
  BaseObject* object = document->SearchObject(String(name));
  EXPECT_NE(object, nullptr) << name;
  return object;
}

/// Loads the file with each of these bits flipped, one at a time, in its last `bytes`: each gives a scene or
/// a sentence.
inline void expectFlippedBitsAreTaken(const std::vector<std::byte>& file, std::size_t bytes, int bitStep) {
  for (std::size_t at = file.size() - bytes; at < file.size(); ++at)
    for (int bit = 0; bit < 8; bit += bitStep) {
      auto flipped = file;
      flipped[at] ^= static_cast<std::byte>(1 << bit);
      const host::LoadResult any = host::loadDocumentFromMemory(flipped, Filename());
      EXPECT_TRUE(any.document || !any.error.empty());
    }
}
