// Scenes and meshes far from zero, where floats are coarse, look as they do near it.
#include <gtest/gtest.h>

#include "ray_scene.h"
#include "sampler.h"
#include "scene_kit.h"
#include "surface_point.h"

using namespace kit;
using host::render::Hit;
using host::render::Ray;
using host::render::RayScene;
using host::render::Surface;

namespace {

Matrix at(const Vector& place) {
  return {place, Vector(1, 0, 0), Vector(0, 1, 0), Vector(0, 0, 1)};
}

MeshPtr shifted(const MeshPtr& mesh, float by) {
  auto far = std::make_shared<Mesh>(*mesh);
  far->id = newIdentity();
  const auto move = [by](Float3& p) {
    for (float& v : p)
      v += by;
  };
  for (Float3& p : far->positions)
    move(p);
  move(far->low);
  move(far->high);
  return far;
}

// A ball of a centimetre on a tray, under a lamp and a dim sky. `ball` lies `inside` away from its mesh's
// origin.
Result tray(const Vector& place, const MeshPtr& ball, double inside) {
  Scene scene;
  scene.sky(0.2f);
  scene.materials[0]->roughness = 0.6f;
  scene.add(quad({-0.05f, 0, 0.05f}, {0.1f, 0, 0}, {0, 0, -0.1f}), 0, at(place));
  scene.add(ball, 0, at(place + Vector(0, 0.01, 0) - Vector(inside, inside, inside)));
  SnapshotLight& lamp = scene.addLight(LightKind::point, {0.04f, 0.08f, 0.03f}, {0, 0, 0}, 0.02f);
  lamp.toWorld.off = lamp.toWorld.off + place;
  scene.lookAt({0, 0.06f, 0.1f}, {0, 0.005f, 0}, false, 0.6f);
  scene.snapshot->camera.znear = 0.001f;
  scene.snapshot->camera.toWorld.off = scene.snapshot->camera.toWorld.off + place;
  return draw(scene, 24, 8);
}

double difference(const Result& a, const Result& b) {
  double sum = 0;
  for (std::size_t i = 0; i < a.pixels.size(); ++i)
    sum += std::abs(static_cast<double>(a.pixels[i] - b.pixels[i]));
  return sum / static_cast<double>(a.pixels.size());
}

TEST(Precision, ScenesFarFromTheOrigin) {
  const MeshPtr pea = ball(0.01f, 24);
  const Result here = tray({}, pea, 0);
  ASSERT_GT(here.mean().x, 0.1f);
  for (const double distance : {1e3, 1e5, 1e7}) {
    SCOPED_TRACE(distance);
    EXPECT_LT(difference(here, tray({distance, -distance, distance / 2}, pea, 0)), 0.003);
  }
}

TEST(Precision, MeshesFarFromTheirOrigin) {
  for (const float away : {16.0f, 4096.0f}) {
    SCOPED_TRACE(away);
    // The mesh that the rounded vertices describe, near its origin and far from it.
    const MeshPtr rounded = shifted(ball(0.01f, 24), away), near = shifted(rounded, -away);
    const Result here = tray({}, near, 0);
    EXPECT_LT(difference(here, tray({}, rounded, static_cast<double>(away))), 0.002);
  }
}

// Rays that leave a surface do not meet it again, whatever its placement and size.
TEST(Precision, RaysLeaveTheirSurface) {
  std::uint32_t number = 0;
  const auto random = [&] { return render::unitFloat(render::hash32(++number)); };
  const auto direction = [&] {
    return render::normalize(Vec3(random() - 0.5f, random() - 0.5f, random() - 0.5f));
  };
  int met = 0, tried = 0;
  float widest = 0; // step, in sizes of the scene around it
  for (int i = 0; i < 300; ++i) {
    Scene scene;
    const float size = std::pow(10.0f, 6 * random() - 3), away = std::pow(10.0f, 5 * random() - 2);
    const Vec3 u = direction(), v = direction(), z = render::normalize(render::cross(u, v));
    const float stretch = 0.1f + 3 * random();
    const auto wide = [](Vec3 a) { return Vector(a.x, a.y, a.z); };
    scene.add(quad(direction() * away, direction() * size, direction() * size), 0,
              {wide(direction() * away), wide(u * stretch), wide(v), wide(z * 0.5f)});
    Result picture = draw(scene, 1, 1); // sets the bounds
    const auto rays = RayScene::build(scene.snapshot, settings(1, 1, 1), 1, {}).scene;
    const Mesh& mesh = *scene.snapshot->instances[0].mesh;
    for (int k = 0; k < 50; ++k) {
      const Hit hit{1, random() * 0.5f, random() * 0.5f, 0, static_cast<std::uint32_t>(k & 1)};
      const Vec3 from = direction();
      const Surface s = render::surfaceAt(*rays, {{}, from}, hit, 0);
      const Vec3 leaving = direction();
      const Ray ray{render::offsetFrom(s, leaving), leaving};
      met += rays->intersect(ray, render::anyMask, false).has_value();
      ++tried;
      widest = std::max(widest, s.error / (size + away));
    }
    EXPECT_FALSE(mesh.triangles.empty());
  }
  EXPECT_EQ(met, 0) << "of " << tried;
  EXPECT_LT(widest, 3e-5f);
}

} // namespace
