// From a document to glTF's JSON and binary data. Each property is written and read back at once; extras hold
// the difference, so that nothing is lost and nothing is stored twice. Private to host/scene.
#pragma once

#include <array>
#include <functional>
#include <map>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "gltf_derive.h"
#include "gltf_file.h"
#include "gltf_values.h"

namespace host {

/// Writes one document, once, under its lock. Throws SceneError and std::bad_alloc.
class GltfWriter {
 public:
  /// Outside pictures are named as seen from `folder`; with an empty folder, or `packed`, they are written
  /// into the scene. `progress` (may be empty) is called with 0 to 1.
  GltfWriter(const DocumentState& document, Filename folder, bool packed,
             std::function<void(double)> progress)
      : document_(document), folder_(std::move(folder)), packed_(packed), progress_(std::move(progress)) {}

  /// The root. Its buffer has the length of `data`; an empty one is left out.
  Json write();
  Bytes& data() { return data_; }

 private:
  struct Shape {
    std::map<std::string, int> attributes;
    std::vector<std::map<std::string, int>> targets;
    std::vector<int> indices; // of each group
  };

  // --- numbers ---
  void number(const NodeList& list);
  LinkWriter links();
  Json link(Identity identity);
  std::string refOf(Identity identity);
  int addView(std::span<const std::byte> bytes, int target = 0);
  int append(const char* list, Json value);
  template <class T>
  int addView(const std::vector<T>& values, int target = 0) {
    return addView(std::as_bytes(std::span(values)), target);
  }
  template <class T>
  int addAccessor(const std::vector<T>& values, int component, const char* type, std::size_t count,
                  int target = 0) {
    Json accessor{{"componentType", component}, {"count", count}, {"type", type}};
    if (count > 0) accessor["bufferView"] = addView(values, target);
    return append("accessors", std::move(accessor));
  }
  template <std::size_t N>
  int addPieces(const std::vector<std::array<float, N>>& values, int target = TINYGLTF_TARGET_ARRAY_BUFFER) {
    static constexpr const char* types[] = {"", "SCALAR", "VEC2", "VEC3", "VEC4"};
    return addAccessor(values, TINYGLTF_COMPONENT_TYPE_FLOAT, types[N], values.size(), target);
  }

  // --- pictures, textures, materials ---
  int pictureIndex(const PicturePtr& picture);
  int textureIndex(const ShaderState& bitmap);
  int shared(const char* list, Json value);
  void writeCommon(const NodeState& node, const BaseContainer& derived, Json& to);
  Json entry(const NodeState& node, bool withType = true);
  static std::string refPlaceholder(Identity identity);
  Json shaderEntry(const ShaderState& shader);
  static const NodeState* shaderOf(const MaterialState& material, int slot);
  static bool isPlain(const MaterialState& material);
  static bool isPlainBitmap(const NodeState& shader);
  void writeMaterials();
  static void putStrengths(const MaterialState& material, const TextureSlot& place, Json& info);
  void writeShaders(const MaterialState& material, Json& extras);
  static void putName(const NodeState& node, Json& json, Json& extras);
  static void putExtras(const NodeState& node, Json extras, Json& json);

  // --- objects ---
  void writeObjects();
  void writeObject(const ObjectState& object);
  static bool needsType(const ObjectState& object);
  static Json weightsJson(const std::vector<float>& weights);
  static void writeTransform(const ObjectState& object, Json& json);
  int plainMaterial(const NodeState& tag, std::size_t groups);
  std::vector<int> materialsOf(const ObjectState& object, const NodeState*& firstOther);
  void writeTags(const ObjectState& object, Json& extras);

  // --- meshes ---
  Shape& shapeOf(const ObjectState& object);
  void putBounds(const Mesh& mesh);
  void addDeformation(const Deformation& d, Shape& shape);
  int meshIndex(const ObjectState& object);

  // --- skins and animations ---
  int skinIndex(const SkinPtr& skin);
  void writeSkins();
  void writeAnimations();
  void writeTrack(const ObjectState& object, const Track& track, Json& animation);
  std::pair<int, int> curveAccessors(const Track& track);

  // --- the document itself ---
  void writeDocumentPart();
  void writeViews(Json& extras);

  // --- the end ---
  void dropRefs(Json& json);
  void dropAllRefs();
  void dropRefsOfOurs(Json& item);
  void finish();

  const DocumentState& document_;
  const Filename folder_;
  const bool packed_;
  const std::function<void(double)> progress_;
  Json root_ = Json::object();
  Json lights_ = Json::array();
  Bytes data_;
  std::vector<const ObjectState*> objects_;
  std::unordered_map<Identity, Json> places_;      // links to objects and materials
  std::unordered_map<Identity, std::string> refs_; // of other nodes that something links to
  std::unordered_map<Identity, int> pictures_;
  std::unordered_map<std::string, int> shared_;
  std::map<std::pair<Identity, Identity>, Shape> shapes_;
  std::map<const Curve*, std::pair<int, int>> curves_;
  std::vector<SkinPtr> skins_;
};

} // namespace host
