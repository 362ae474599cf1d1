// Many copies of a mesh: EXT_mesh_gpu_instancing.
#include "document.h"
#include "scene_builder.h"
#include "snapshot.h"

namespace host {
namespace {

using Json = SceneBuilder::Json;

Json& copiesOf(SceneBuilder& scene) {
  return scene.root["nodes"][0]["extensions"]["EXT_mesh_gpu_instancing"]["attributes"];
}

// A quad at x = 10.
SceneBuilder quad() {
  SceneBuilder scene;
  scene.root["extensionsRequired"] = {"EXT_mesh_gpu_instancing"};
  scene.addNode(Json{{"mesh", scene.addQuad()}, {"translation", {10, 0, 0}}});
  return scene;
}

int addBytes(SceneBuilder& scene, const std::vector<std::int8_t>& values, const char* type, int width,
             bool normalised) {
  return scene.add("accessors", Json{{"bufferView", scene.addView(values)},
                                     {"componentType", 5120},
                                     {"normalized", normalised},
                                     {"count", values.size() / static_cast<std::size_t>(width)},
                                     {"type", type}});
}

std::string errorOf(const SceneBuilder& scene, std::size_t elements = LoadLimits().elements) {
  LoadOptions options;
  options.limits.elements = elements;
  return loadDocumentFromMemory(scene.glb(), Filename(), options).error;
}

TEST(GltfPlacements, placeCopiesInTheObjectsSpace) {
  SceneBuilder scene = quad();
  copiesOf(scene) = Json{{"TRANSLATION", scene.addFloats({1, 2, 3, 4, 5, 6}, "VEC3", 3)},
                         {"ROTATION", addBytes(scene, {0, 0, 0, 127, 0, 0, 127, 0}, "VEC4", 4, true)},
                         {"SCALE", scene.addFloats({1, 1, 1, 2, 3, 4}, "VEC3", 3)}};
  const DocumentPtr document = load(scene);
  const SnapshotPtr snapshot = takeSnapshot(*document, {});
  ASSERT_EQ(snapshot->instances.size(), 2U);
  const Matrix &first = snapshot->instances[0].toWorld, &second = snapshot->instances[1].toWorld;
  EXPECT_EQ(first, Matrix({11, 2, 3}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}));
  EXPECT_EQ(second.off, Vector(14, 5, 6));
  EXPECT_NEAR(second.v1.x, -2, 1e-12) << "half a turn about z";
  EXPECT_NEAR(second.v2.y, -3, 1e-12);
  EXPECT_NEAR(second.v3.z, 4, 1e-12);
  EXPECT_EQ(snapshot->instances[0].mesh, snapshot->instances[1].mesh) << "no vertex is copied";
  EXPECT_EQ(countScene(*document).triangles, 4U);
  EXPECT_EQ(sceneBounds(*document)->high.x, 14);
  reload(*document);
  const DocumentPtr clone(static_cast<BaseDocument*>(document->GetClone(COPYFLAGS_0)));
  EXPECT_TRUE(documentsEqual(*document, *clone));
}

TEST(GltfPlacements, childrenAreNotCopied) {
  SceneBuilder scene = quad();
  scene.root["nodes"][0]["children"] = {scene.addNode(Json{{"mesh", 0}}, false)};
  copiesOf(scene) = Json{{"SCALE", scene.addFloats({1, 1, 1, 2, 2, 2, 3, 3, 3}, "VEC3", 3)}};
  const DocumentPtr document = reload(*load(scene));
  EXPECT_EQ(takeSnapshot(*document, {})->instances.size(), 4U);
}

TEST(GltfPlacements, numbersOfOtherProgramsAreSavedAgain) {
  SceneBuilder scene = quad();
  const std::vector<std::int8_t> numbers{1, -2, 3, -4};
  copiesOf(scene) = Json{{"TRANSLATION", scene.addFloats({0, 0, 0, 1, 0, 0}, "VEC3", 3)},
                         {"_ID", addBytes(scene, numbers, "VEC2", 2, false)}};
  auto& sparse = scene.root["accessors"].back()["sparse"];
  sparse["count"] = 1;
  sparse["indices"] =
      Json{{"bufferView", scene.addView(std::vector<std::uint8_t>{1})}, {"componentType", 5121}};
  sparse["values"] = Json{{"bufferView", scene.addView(std::vector<std::int8_t>{7, -8})}};
  const DocumentPtr document = reload(*load(scene));
  const PlacementsPtr placements = stateOf(document->GetFirstObject())->placements;
  ASSERT_EQ(placements->others.size(), 1U);
  const KeptNumbers& kept = placements->others[0];
  EXPECT_EQ(kept.name, "_ID");
  EXPECT_EQ(kept.type, "VEC2");
  EXPECT_EQ(kept.component, 5120);
  EXPECT_EQ(kept.bytes,
            (std::vector<std::byte>{std::byte{1}, std::byte{0xFE}, std::byte{7}, std::byte{0xF8}}));
}

TEST(GltfPlacements, noCopiesShowNothing) {
  SceneBuilder scene = quad();
  copiesOf(scene) =
      Json{{"SCALE", scene.add("accessors", Json{{"componentType", 5126}, {"count", 0}, {"type", "VEC3"}})}};
  const DocumentPtr document = reload(*load(scene));
  EXPECT_TRUE(takeSnapshot(*document, {})->instances.empty());
  copiesOf(scene) = Json::object();
  EXPECT_EQ(takeSnapshot(*load(scene), {})->instances.size(), 1U)
      << "no attribute: one, as without the extension";
}

TEST(GltfPlacements, damaged) {
  SceneBuilder scene = quad();
  const int two = scene.addFloats({0, 0, 0, 1, 0, 0}, "VEC3", 3), one = scene.addFloats({0, 0, 0}, "VEC3", 3);
  copiesOf(scene) = Json{{"TRANSLATION", two}, {"SCALE", one}};
  EXPECT_NE(errorOf(scene).find("different lengths"), std::string::npos);
  copiesOf(scene) = Json{{"ROTATION", two}};
  EXPECT_NE(errorOf(scene).find("3 numbers a piece"), std::string::npos);
  copiesOf(scene) = Json{{"TRANSLATION", 99}};
  EXPECT_NE(errorOf(scene).find("accessor 99"), std::string::npos);
  copiesOf(scene) = Json{{"_X", 99}};
  EXPECT_NE(errorOf(scene).find("accessor 99"), std::string::npos);
  copiesOf(scene) = Json{{"TRANSLATION", two}};
  scene.root["accessors"][static_cast<std::size_t>(two)]["count"] = 3'000'000;
  EXPECT_NE(errorOf(scene).find("reaches behind"), std::string::npos);
  scene.root["accessors"][static_cast<std::size_t>(two)].erase("bufferView");
  EXPECT_NE(errorOf(scene, 10'000'000).find("more numbers than"), std::string::npos)
      << "a copy costs more than its numbers";
}

} // namespace
} // namespace host
