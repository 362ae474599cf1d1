// The automatic view of a scene without a camera shows all of it.
#include <cmath>

#include "scene_builder.h"
#include "snapshot.h"

namespace host {
namespace {

using Json = SceneBuilder::Json;

// The largest of a point's coordinates in the picture, where -1 to 1 is seen.
double reach(const SnapshotCamera& camera, const Vector& point, double aspect) {
  const Vector d = point - camera.toWorld.off;
  const double depth = -Dot(d, camera.toWorld.v3);
  const double half = static_cast<double>(halfHeight(camera, static_cast<float>(aspect)));
  return std::max(std::abs(Dot(d, camera.toWorld.v2)) / (depth * half),
                  std::abs(Dot(d, camera.toWorld.v1)) / (depth * half * aspect));
}

// Of all corners of a box.
double reach(const SnapshotCamera& camera, const Vector& low, const Vector& high, double aspect) {
  double most = 0;
  for (int corner = 0; corner < 8; ++corner)
    most = std::max(most, reach(camera,
                                Vector(corner & 1 ? high.x : low.x, corner & 2 ? high.y : low.y,
                                       corner & 4 ? high.z : low.z),
                                aspect));
  return most;
}

TEST(FrameScene, AtEveryAspect) {
  for (const auto& scale : {Vector(20, 1, 1), Vector(1, 20, 1), Vector(1, 1, 1)}) {
    SceneBuilder scene;
    scene.addNode(Json{{"mesh", scene.addQuad()}, {"scale", {scale.x, scale.y, scale.z}}});
    const SnapshotCamera camera = takeSnapshot(*load(scene), {})->camera;
    double best = 0;
    for (const double aspect : {16.0 / 9, 4.0 / 3, 1.0, 9.0 / 16, 3.0}) {
      const double most = reach(camera, {}, {scale.x, scale.y, 0}, aspect);
      EXPECT_LE(most, 1) << scale.x << " by " << scale.y << " at " << aspect;
      best = std::max(best, most);
    }
    EXPECT_GT(best, 0.8) << "and fills the picture";
  }
}

TEST(FrameScene, OverTheWholeAnimation) {
  SceneBuilder scene;
  const int node = scene.addNode(Json{{"mesh", scene.addQuad()}});
  const int times = scene.addFloats({0, 1, 2}, "SCALAR", 1);
  const int places = scene.addFloats({0, 0, 0, 30, 0, 0, 0, 10, 0}, "VEC3", 3);
  scene.add("animations",
            Json{{"channels", {{{"sampler", 0}, {"target", {{"node", node}, {"path", "translation"}}}}}},
                 {"samplers", {{{"input", times}, {"output", places}}}}});
  const DocumentPtr document = load(scene);
  const SnapshotCamera camera = takeSnapshot(*document, {})->camera;
  EXPECT_LE(reach(camera, {30, 0, 0}, {31, 1, 0}, 16.0 / 9), 1);
  EXPECT_LE(reach(camera, {0, 10, 0}, {1, 11, 0}, 16.0 / 9), 1);
  EXPECT_EQ(takeSnapshot(*document, {})->instances.at(0).toWorld.off, Vector()) << "the pose stays";
}

} // namespace
} // namespace host
