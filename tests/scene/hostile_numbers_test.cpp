// Files and animations with numbers beyond the range for computations: snapshots stay in range.
#include <cmath>
#include <limits>

#include "scene_builder.h"
#include "snapshot_range.h"

namespace host {
namespace {

using Json = SceneBuilder::Json;

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double endless = std::numeric_limits<double>::infinity();

SnapshotPtr snapshotOf(const DocumentPtr& document) {
  document->ExecutePasses(nullptr, TRUE, TRUE, TRUE, BUILDFLAGS_0);
  return takeSnapshot(*document, {});
}

bool isFinite(const Matrix& m) {
  bool finite = true;
  for (const Vector& v : {m.off, m.v1, m.v2, m.v3})
    finite = finite && std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z);
  return finite;
}

void expectInRange(const Snapshot& snapshot) {
  for (const Instance& instance : snapshot.instances)
    EXPECT_TRUE(isFinite(instance.toWorld));
  for (const SnapshotLight& light : snapshot.lights) {
    EXPECT_TRUE(isFinite(light.toWorld));
    EXPECT_LE(light.range, 1e15F);
    EXPECT_LE(light.radius, 1e9F);
  }
  const SnapshotCamera& camera = snapshot.camera;
  EXPECT_TRUE(isFinite(camera.toWorld));
  EXPECT_LE(std::sqrt(Dot(camera.toWorld.off, camera.toWorld.off)), 2e12);
  EXPECT_GE(camera.yfov, 1e-4F);
  EXPECT_LE(camera.yfov, 3.14F);
  EXPECT_LE(camera.ymag, 1e9F);
  EXPECT_LE(camera.znear, 1e12F);
  for (std::size_t axis = 0; axis < 3; ++axis)
    EXPECT_LE(std::max(std::abs(snapshot.low[axis]), std::abs(snapshot.high[axis])), 1e9F);
}

// A quad "Good", which stays, and a quad "Bad" below a parent.
struct TwoQuads {
  DocumentPtr document;
  BaseObject *parent, *bad;

  TwoQuads() {
    SceneBuilder scene;
    scene.addNode(Json{{"mesh", scene.addQuad()}, {"name", "Good"}});
    const int child = scene.addNode(Json{{"mesh", 0}, {"name", "Bad"}}, false);
    scene.addNode(Json{{"name", "Parent"}, {"children", {child}}});
    document = load(scene);
    parent = objectNamed(document, "Parent");
    bad = objectNamed(document, "Bad");
  }

  void expectLeftOut(const char* about) {
    const SnapshotPtr snapshot = snapshotOf(document);
    expectInRange(*snapshot);
    EXPECT_EQ(snapshot->instances.size(), 1U) << about;
    ASSERT_EQ(snapshot->problems.size(), 1U) << about;
    EXPECT_EQ(snapshot->problems[0].find("\"Bad\" is left out: farther than"), 0U) << snapshot->problems[0];
  }
};

TEST(HostileNumbers, anOrdinarySceneHasNoProblems) {
  const TwoQuads scene;
  const SnapshotPtr snapshot = snapshotOf(scene.document);
  EXPECT_EQ(snapshot->instances.size(), 2U);
  EXPECT_TRUE(snapshot->problems.empty());
}

TEST(HostileNumbers, objectsOutOfRangeAreLeftOutAndNamed) {
  for (const double value : {1e19, -2e9, 1e300, endless, notANumber}) {
    TwoQuads moved;
    moved.bad->SetMl({Vector(value, 0, 0), Vector(1, 0, 0), Vector(0, 1, 0), Vector(0, 0, 1)});
    moved.expectLeftOut("moved");
    TwoQuads scaled;
    scaled.bad->SetMl({Vector(), Vector(value, 0, 0), Vector(0, 1, 0), Vector(0, 0, 1)});
    scaled.expectLeftOut("scaled");
  }
}

TEST(HostileNumbers, theEdgeOfTheRange) {
  TwoQuads scene; // the quad reaches one metre farther than its place
  scene.bad->SetMl({Vector(0, 0, farthestSurface), Vector(1, 0, 0), Vector(0, 1, 0), Vector(0, 0, 1)});
  EXPECT_TRUE(snapshotOf(scene.document)->problems.empty());
  scene.bad->SetMl({Vector(farthestSurface, 0, 0), Vector(1, 0, 0), Vector(0, 1, 0), Vector(0, 0, 1)});
  scene.expectLeftOut("one metre too far");
}

TEST(HostileNumbers, parentsWithAnOverflowingProduct) {
  TwoQuads scene;
  const Matrix large{Vector(), Vector(1e200, 0, 0), Vector(0, 1e200, 0), Vector(0, 0, 1e200)};
  scene.parent->SetMl(large);
  scene.bad->SetMl(large);
  scene.expectLeftOut("a product beyond every number");
}

TEST(HostileNumbers, manyObjectsGiveOneSentence) {
  SceneBuilder builder;
  builder.addQuad();
  for (int i = 0; i < 5; ++i)
    builder.addNode(Json{{"mesh", 0}, {"name", "Q" + std::to_string(i)}, {"translation", {1e20, 0, 0}}});
  const SnapshotPtr snapshot = snapshotOf(load(builder));
  EXPECT_TRUE(snapshot->instances.empty());
  ASSERT_EQ(snapshot->problems.size(), 1U);
  EXPECT_EQ(snapshot->problems[0].find("\"Q0\", \"Q1\", \"Q2\" and 2 more are left out"), 0U)
      << snapshot->problems[0];
}

TEST(HostileNumbers, anAnimationThatLeadsThere) {
  SceneBuilder builder;
  builder.addNode(Json{{"mesh", builder.addQuad()}, {"name", "Bad"}});
  const int input = builder.addFloats({0, 1}, "SCALAR", 1);
  const int output = builder.addFloats({0, 0, 0, 3e38F, 0, 0}, "VEC3", 3);
  builder.root["animations"] = {
      Json{{"samplers", {{{"input", input}, {"output", output}}}},
           {"channels", {{{"sampler", 0}, {"target", {{"node", 0}, {"path", "translation"}}}}}}}};
  const DocumentPtr document = load(builder);
  EXPECT_TRUE(snapshotOf(document)->problems.empty());
  document->SetTime(BaseTime(1.0));
  const SnapshotPtr later = snapshotOf(document);
  expectInRange(*later);
  EXPECT_EQ(later->problems.size(), 1U);
}

TEST(HostileNumbers, lightsAndTheirNumbers) {
  SceneBuilder builder;
  builder.root["extensions"]["KHR_lights_punctual"]["lights"] = {
      Json{{"type", "point"}, {"range", 1e300}, {"intensity", 1e300}}, Json{{"type", "directional"}}};
  const auto light = [](int index) { return Json{{"KHR_lights_punctual", {{"light", index}}}}; };
  builder.addNode(Json{{"name", "Near"}, {"extensions", light(0)}});
  builder.addNode(Json{{"name", "Far"}, {"extensions", light(0)}, {"translation", {0, 1e19, 0}}});
  builder.addNode(Json{{"name", "Sun"}, {"extensions", light(1)}, {"translation", {0, 1e19, 0}}});
  const SnapshotPtr snapshot = snapshotOf(load(builder));
  expectInRange(*snapshot);
  EXPECT_EQ(snapshot->lights.size(), 2U) << "a sun shines from anywhere";
  ASSERT_EQ(snapshot->problems.size(), 1U);
  EXPECT_EQ(snapshot->problems[0].find("\"Far\" is left out"), 0U) << snapshot->problems[0];
}

TEST(HostileNumbers, camerasAndTheirNumbers) {
  for (const double value : {1e19, 1e300, -endless, notANumber}) {
    SceneBuilder builder;
    builder.addNode(Json{{"mesh", builder.addQuad()}});
    builder.root["cameras"] = {
        Json{{"type", "perspective"}, {"perspective", {{"yfov", 1e300}, {"znear", 1e300}, {"zfar", -5}}}}};
    builder.addNode(Json{{"name", "Eye"}, {"camera", 0}});
    const DocumentPtr document = load(builder);
    BaseObject* camera = objectNamed(document, "Eye");
    EXPECT_TRUE(snapshotOf(document)->problems.empty());
    camera->SetMl({Vector(0, 0, value), Vector(value, 0, 0), Vector(0, 1, 0), Vector(0, 0, value)});
    const SnapshotPtr snapshot = snapshotOf(document);
    expectInRange(*snapshot);
    ASSERT_EQ(snapshot->problems.size(), 1U);
    EXPECT_EQ(snapshot->problems[0].find("The camera \"Eye\" stands where"), 0U) << snapshot->problems[0];
  }
}

TEST(HostileNumbers, meshesBeyondTheRange) {
  SceneBuilder builder;
  const int positions = builder.addFloats({0, 0, 0, 3e38F, 0, 0, 0, 3e38F, 0}, "VEC3", 3);
  builder.add("meshes", Json{{"primitives", {{{"attributes", {{"POSITION", positions}}}}}}});
  builder.addNode(Json{{"mesh", 0}, {"name", "Large"}, {"scale", {1e-38, 1e-38, 1e-38}}});
  const SnapshotPtr snapshot = snapshotOf(load(builder));
  EXPECT_TRUE(snapshot->instances.empty()) << "its own space cannot be computed in";
  EXPECT_EQ(snapshot->problems.size(), 1U);
}

TEST(HostileNumbers, weightsBeyondFloatsAreIgnored) {
  for (const char* place : {"meshes", "nodes"}) {
    SceneBuilder builder;
    builder.addNode(Json{{"mesh", builder.addQuad()}});
    builder.root["meshes"][0]["primitives"][0]["targets"] = {
        Json{{"POSITION", builder.addFloats(std::vector<float>(12, 1), "VEC3", 3)}}};
    builder.root[place][0]["weights"] = {1e300};
    const DocumentPtr document = load(builder);
    EXPECT_EQ(stateOf(document->GetFirstObject())->weights, std::vector<float>{0}) << place;
    reload(*document);
  }
}

// --- attributes that are shorter than the positions ---

SceneBuilder skinned() {
  SceneBuilder scene;
  scene.addNode(Json{{"mesh", scene.addQuad()}, {"skin", 0}});
  auto& attributes = scene.root["meshes"][0]["primitives"][0]["attributes"];
  attributes["JOINTS_0"] = scene.addShorts(std::vector<std::uint16_t>(16, 0), "VEC4", 4);
  attributes["WEIGHTS_0"] = scene.addFloats({1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0}, "VEC4", 4);
  attributes["NORMAL"] = scene.addFloats({0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1}, "VEC3", 3);
  scene.root["meshes"][0]["primitives"][0]["targets"] = {
      Json{{"POSITION", scene.addFloats(std::vector<float>(12, 0), "VEC3", 3)}}};
  const int joint = scene.addNode(Json{{"translation", {0, 1, 0}}});
  scene.root["skins"] = {Json{{"joints", {joint}}}};
  return scene;
}

TEST(HostileNumbers, everyAttributeIsAsLongAsThePositions) {
  ASSERT_TRUE(load(skinned()));
  const Json attributes = skinned().root["meshes"][0]["primitives"][0]["attributes"];
  for (const auto& [name, accessor] : attributes.items())
    for (const int count : {0, 1, 3}) {
      SceneBuilder scene = skinned();
      scene.root["accessors"][accessor.get<std::size_t>()]["count"] = count;
      const LoadResult result = loadDocumentFromMemory(scene.glb(), Filename());
      EXPECT_FALSE(result.document) << name << " of " << count;
      EXPECT_TRUE(result.error.find("attributes of different lengths") != std::string::npos)
          << name << " of " << count << ": " << result.error;
    }
  SceneBuilder morphed = skinned();
  const auto target = morphed.root["meshes"][0]["primitives"][0]["targets"][0]["POSITION"].get<std::size_t>();
  morphed.root["accessors"][target]["count"] = 0;
  EXPECT_FALSE(loadDocumentFromMemory(morphed.glb(), Filename()).document);
}

} // namespace
} // namespace host
