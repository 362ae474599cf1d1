// Compressed buffer views: EXT_meshopt_compression. The test packs with the library's own encoder.
#include <meshoptimizer.h>

#include "document.h"
#include "scene_builder.h"

namespace host {
namespace {

using Json = SceneBuilder::Json;
using Packed = std::vector<unsigned char>;

constexpr const char* extensionName = "EXT_meshopt_compression";

template <class T>
Packed packVertices(const std::vector<T>& values, std::size_t stride) {
  const std::size_t count = values.size() * sizeof(T) / stride;
  Packed packed(meshopt_encodeVertexBufferBound(count, stride));
  packed.resize(meshopt_encodeVertexBuffer(packed.data(), packed.size(), values.data(), count, stride));
  return packed;
}

Packed packTriangles(const std::vector<unsigned>& indices) {
  Packed packed(meshopt_encodeIndexBufferBound(indices.size(), 4));
  packed.resize(meshopt_encodeIndexBuffer(packed.data(), packed.size(), indices.data(), indices.size()));
  return packed;
}

Packed packSequence(const std::vector<unsigned>& indices) {
  Packed packed(meshopt_encodeIndexSequenceBound(indices.size(), 4));
  packed.resize(meshopt_encodeIndexSequence(packed.data(), packed.size(), indices.data(), indices.size()));
  return packed;
}

// A view in the fallback buffer, 1, whose packed bytes lie in buffer 0.
int addPacked(SceneBuilder& scene, const Packed& packed, std::size_t count, std::size_t stride,
              const char* mode, const char* filter = nullptr) {
  const auto inside = static_cast<std::size_t>(scene.addView(packed));
  Json view = scene.root["bufferViews"][inside];
  Json from{{"buffer", 0},
            {"byteOffset", view["byteOffset"]},
            {"byteLength", packed.size()},
            {"byteStride", stride},
            {"count", count},
            {"mode", mode}};
  if (filter) from["filter"] = filter;
  return scene.add("bufferViews", Json{{"buffer", 1},
                                       {"byteLength", count * stride},
                                       {"extensions", {{extensionName, std::move(from)}}}});
}

int accessor(SceneBuilder& scene, int view, int component, int count, const char* type,
             bool normalised = false) {
  return scene.add("accessors", Json{{"bufferView", view},
                                     {"componentType", component},
                                     {"count", count},
                                     {"type", type},
                                     {"normalized", normalised}});
}

const std::vector<float> corners{0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0};
const std::vector<unsigned> quadIndices{0, 1, 2, 0, 2, 3};

SceneBuilder scene() {
  SceneBuilder built;
  built.root["extensionsRequired"] = {extensionName};
  const int positions =
      accessor(built, addPacked(built, packVertices(corners, 12), 4, 12, "ATTRIBUTES"), 5126, 4, "VEC3");
  const int indices =
      accessor(built, addPacked(built, packTriangles(quadIndices), 6, 2, "TRIANGLES"), 5123, 6, "SCALAR");
  built.add("meshes",
            Json{{"primitives", {{{"attributes", {{"POSITION", positions}}}, {"indices", indices}}}}});
  built.addNode(Json{{"mesh", 0}});
  built.root["buffers"] = {Json{{"byteLength", built.data().size()}},
                           Json{{"byteLength", 60}, {"extensions", {{extensionName, {{"fallback", true}}}}}}};
  return built;
}

// Adds to a scene's buffer; its length is known at the end.
SceneBuilder complete(SceneBuilder built) {
  built.root["buffers"][0]["byteLength"] = built.data().size();
  return built;
}

const Mesh& meshOf(const DocumentPtr& document) {
  return *stateOf(document->GetFirstObject())->mesh;
}

TEST(GltfMeshopt, verticesAndTriangles) {
  const DocumentPtr document = load(scene());
  EXPECT_EQ(meshOf(document).positions, (std::vector<Float3>{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}));
  using Triangles = std::vector<std::array<std::uint32_t, 3>>;
  EXPECT_EQ(meshOf(document).triangles.size(), 2U);
  for (const auto& triangle : meshOf(document).triangles)
    EXPECT_TRUE(triangle == (Triangles::value_type{0, 1, 2}) || triangle == (Triangles::value_type{0, 2, 3}));
  reload(*document);
}

TEST(GltfMeshopt, sequencesKeepTheirOrder) {
  for (const std::size_t size : {2U, 4U}) {
    SceneBuilder built = scene();
    auto& primitive = built.root["meshes"][0]["primitives"][0];
    const int view = addPacked(built, packSequence({2, 3, 1, 0}), 4, size, "INDICES", "NONE");
    primitive["indices"] = accessor(built, view, size == 2 ? 5123 : 5125, 4, "SCALAR");
    primitive["mode"] = 5;
    const DocumentPtr document = load(complete(built));
    using Triangles = std::vector<std::array<std::uint32_t, 3>>;
    EXPECT_EQ(meshOf(document).triangles, (Triangles{{2, 3, 1}, {3, 0, 1}}));
  }
}

TEST(GltfMeshopt, filters) {
  SceneBuilder built = scene();
  auto& attributes = built.root["meshes"][0]["primitives"][0]["attributes"];
  const std::vector<float> normals{0, 0, 1, 0, 1, 0, 0, 0, 0, -1, 0, 0, 0, 0, -1, 0};
  std::vector<std::int8_t> octahedral(16);
  meshopt_encodeFilterOct(octahedral.data(), 4, 4, 8, normals.data());
  int view = addPacked(built, packVertices(octahedral, 4), 4, 4, "ATTRIBUTES", "OCTAHEDRAL");
  built.root["bufferViews"][static_cast<std::size_t>(view)]["byteStride"] = 4;
  attributes["NORMAL"] = accessor(built, view, 5120, 4, "VEC3", true);
  const std::vector<float> uv{0, 0.5F, 0.25F, -3, 1024, 0, 1, 1};
  std::vector<std::uint32_t> exponential(8);
  meshopt_encodeFilterExp(exponential.data(), 4, 8, 15, uv.data());
  view = addPacked(built, packVertices(exponential, 8), 4, 8, "ATTRIBUTES", "EXPONENTIAL");
  attributes["TEXCOORD_0"] = accessor(built, view, 5126, 4, "VEC2");
  const std::vector<float> turns{0, 0, 0, 1, 0, 0.70710678F, 0, 0.70710678F};
  std::vector<std::int16_t> quaternions(8);
  meshopt_encodeFilterQuat(quaternions.data(), 2, 8, 16, turns.data());
  view = addPacked(built, packVertices(quaternions, 8), 2, 8, "ATTRIBUTES", "QUATERNION");
  built.root["nodes"][0]["extensions"]["EXT_mesh_gpu_instancing"]["attributes"]["ROTATION"] =
      accessor(built, view, 5122, 2, "VEC4", true);
  const DocumentPtr document = load(complete(built));
  const Mesh& mesh = meshOf(document);
  for (std::size_t v = 0; v < 4; ++v)
    for (std::size_t axis = 0; axis < 3; ++axis)
      EXPECT_NEAR(mesh.normals[v][axis], normals[v * 4 + axis], 0.02F);
  EXPECT_EQ(mesh.uv[0], (std::vector<Float2>{{0, 0.5F}, {0.25F, -3}, {1024, 0}, {1, 1}}));
  const auto& rotations = stateOf(document->GetFirstObject())->placements->rotations;
  EXPECT_NEAR(rotations.at(1)[1], 0.7071F, 1e-3F);
  EXPECT_NEAR(rotations.at(1)[3], 0.7071F, 1e-3F);
  reload(*document);
}

TEST(GltfMeshopt, damaged) {
  const auto errorWith = [](const char* key, const Json& value, std::size_t view = 1) {
    SceneBuilder built = scene();
    built.root["bufferViews"][view]["extensions"][extensionName][key] = value;
    return loadDocumentFromMemory(built.glb(), Filename()).error;
  };
  EXPECT_NE(errorWith("buffer", 5).find("buffer 5"), std::string::npos);
  EXPECT_NE(errorWith("buffer", nullptr).find("names no buffer"), std::string::npos);
  EXPECT_NE(errorWith("byteOffset", 1'000'000).find("behind the end"), std::string::npos);
  EXPECT_NE(errorWith("byteLength", 1'000'000).find("behind the end"), std::string::npos);
  EXPECT_NE(errorWith("byteLength", 9).find("cannot be unpacked"), std::string::npos);
  EXPECT_NE(errorWith("count", 4'000'000'000).find("cut off"), std::string::npos);
  EXPECT_NE(errorWith("count", 5, 3).find("do not go together"), std::string::npos) << "no whole triangles";
  for (const Json& stride : {Json(0), Json(3), Json(260), Json()})
    EXPECT_NE(errorWith("byteStride", stride).find("do not go together"), std::string::npos) << stride;
  EXPECT_NE(errorWith("mode", "POINTS").find("do not go together"), std::string::npos);
  EXPECT_NE(errorWith("filter", "OCTAHEDRAL").find("do not go together"), std::string::npos);
  EXPECT_NE(errorWith("filter", "QUATERNION").find("do not go together"), std::string::npos);
  EXPECT_NE(errorWith("count", 3), "") << "the accessor wants four";
}

TEST(GltfMeshopt, anyFlippedBitGivesASceneOrASentence) {
  expectFlippedBitsAreTaken(scene().glb(), scene().data().size(), 2);
}

} // namespace
} // namespace host
