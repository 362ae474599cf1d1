// The motion between snapshots of one document at several times.
#include "snapshot_motion.h"

#include "document.h"
#include "scene_builder.h"

namespace host {
namespace {

using Json = SceneBuilder::Json;

// Two quads and a camera; a node named "n" goes from x = 0 to 4 in the second after the first.
SceneBuilder scene(bool cameraMoves) {
  SceneBuilder built;
  const int mesh = built.addQuad();
  const int moving = built.addNode(Json{{"name", "n"}, {"mesh", mesh}});
  built.addNode(Json{{"name", "still"}, {"mesh", mesh}});
  built.add("cameras", Json{{"type", "perspective"}, {"perspective", {{"yfov", 1}, {"znear", 0.1}}}});
  const int camera = built.addNode(Json{{"name", "c"}, {"camera", 0}, {"translation", {0, 0, 5}}});
  const int input = built.addFloats({1, 2}, "SCALAR", 1);
  const int output = built.addFloats({0, 0, 0, 4, 0, 0}, "VEC3", 3);
  built.add("animations",
            Json{{"samplers", {{{"input", input}, {"output", output}}}},
                 {"channels",
                  {{{"sampler", 0},
                    {"target", {{"node", cameraMoves ? camera : moving}, {"path", "translation"}}}}}}});
  return built;
}

SnapshotPtr at(const DocumentPtr& document, double seconds) {
  document->SetTime(BaseTime(seconds));
  EXPECT_TRUE(document->ExecutePasses(nullptr, TRUE, TRUE, TRUE, BUILDFLAGS_0));
  return takeSnapshot(*document, {});
}

TEST(SnapshotMotion, hasTheStepsOfWhatMoves) {
  const DocumentPtr document = load(scene(false));
  const SnapshotPtr moved =
      withMotion(at(document, 1.5), {at(document, 1.25), at(document, 1.5), at(document, 1.75)});
  ASSERT_EQ(moved->instances.size(), 2U);
  const Instance &n = moved->instances[0], &still = moved->instances[1];
  ASSERT_EQ(n.motion.size(), 3U);
  EXPECT_EQ(n.motion[0].off, Vector(1, 0, 0));
  EXPECT_EQ(n.motion[2].off, Vector(3, 0, 0));
  EXPECT_EQ(n.toWorld.off, Vector(2, 0, 0));
  EXPECT_TRUE(n.shapes.empty());
  EXPECT_TRUE(still.motion.empty());
  EXPECT_TRUE(moved->camera.motion.empty());
  EXPECT_LE(moved->low[0], 1) << "the bounds hold the whole way";
  EXPECT_GE(moved->high[0], 3);
}

TEST(SnapshotMotion, hasTheStepsOfTheCamera) {
  const DocumentPtr document = load(scene(true));
  const SnapshotPtr moved = withMotion(at(document, 1.5), {at(document, 1), at(document, 2)});
  ASSERT_EQ(moved->camera.motion.size(), 2U);
  EXPECT_EQ(moved->camera.motion[1].off - moved->camera.motion[0].off, Vector(4, 0, 0));
  EXPECT_TRUE(moved->instances[0].motion.empty());
}

TEST(SnapshotMotion, isEmptyBeyondTheKeys) {
  const DocumentPtr document = load(scene(false));
  const SnapshotPtr moved = withMotion(at(document, 9), {at(document, 8), at(document, 10)});
  EXPECT_TRUE(moved->instances[0].motion.empty());
}

TEST(SnapshotMotion, leavesOutWhatAnotherTimeLacks) {
  const DocumentPtr document = load(scene(false));
  const SnapshotPtr frame = at(document, 1.5);
  auto empty = std::make_shared<Snapshot>(*at(document, 1));
  empty->instances.erase(empty->instances.begin());
  const SnapshotPtr moved = withMotion(frame, {empty, at(document, 2)});
  EXPECT_TRUE(moved->instances[0].motion.empty());
  EXPECT_EQ(moved->instances.size(), 2U);
}

} // namespace
} // namespace host
