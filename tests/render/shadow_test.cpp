// Shadow rays through surfaces that let light pass: one ray, each surface once.
#include <gtest/gtest.h>

#include "ray_scene.h"
#include "sampler.h"
#include "scene_kit.h"
#include "shadow_ray.h"

using namespace kit;
using host::render::Ray;
using host::render::RayScene;

namespace {

struct Built {
  render::RenderSettings how = settings(1, 1, 1);
  std::unique_ptr<RayScene> rays;

  explicit Built(Scene& scene) {
    draw(scene, 1, 1); // sets the bounds
    rays = RayScene::build(scene.snapshot, how, 1, {}).scene;
  }
  Vec3 passed(Vec3 from, Vec3 direction, float far = 100) const {
    return render::traceShadow(*rays, how, {from, render::normalize(direction), 0, far});
  }
};

int halfClear(Scene& scene, float alpha = 0.5f) {
  int index;
  SurfaceMaterial& m = scene.addMaterial(&index);
  m.baseColor = {1, 1, 1, alpha};
  m.alphaMode = AlphaMode::blend;
  return index;
}

// Long slanting triangles in a cube from -1 to 1. Their bounds overlap, so the structure refers to each from
// several places.
MeshPtr needles(std::uint32_t count) {
  auto mesh = std::make_shared<Mesh>();
  std::uint32_t number = 0;
  const auto random = [&] { return 2 * render::unitFloat(render::hash32(++number)) - 1; };
  for (std::uint32_t i = 0; i < count; ++i) {
    const Vec3 middle = Vec3(random(), random(), random()) * 0.3f;
    for (const Vec3 corner : {Vec3(-0.7f), Vec3(0.7f), Vec3(0.6f, 0.7f, 0.5f)})
      mesh->positions.push_back({middle.x + corner.x, middle.y + corner.y, middle.z + corner.z});
    mesh->triangles.push_back({3 * i, 3 * i + 1, 3 * i + 2});
  }
  mesh->groups = {{0, count}};
  mesh->low = {-1, -1, -1}, mesh->high = {1, 1, 1};
  return mesh;
}

TEST(ShadowRay, everySurfaceTakesItsShareOnce) {
  Scene scene;
  scene.add(needles(800), halfClear(scene, 0.0625f));
  const Built built(scene);
  const Vec3 up(0, 1, 0);
  std::uint32_t number = 99;
  const auto random = [&] { return 0.8f * render::unitFloat(render::hash32(++number)) - 0.4f; };
  int most = 0;
  for (int i = 0; i < 300; ++i) {
    Ray ray{{random(), -2, random()}, up};
    const Vec3 from = ray.origin;
    float wanted = 1;
    int count = 0;
    while (const auto hit = built.rays->intersect(ray, render::anyMask, false)) {
      wanted *= 0.9375f;
      ray.near = hit->distance * 1.000001f;
      ++count;
    }
    if (count > 64) continue; // no light passes more
    most = std::max(most, count);
    EXPECT_NEAR(built.passed(from, up).x, wanted, 1e-5f) << i;
  }
  EXPECT_GT(most, 20);
}

TEST(ShadowRay, opaqueSurfacesBeforeAndBehindClearOnesStopIt) {
  for (const float height : {0.5f, 1.5f}) {
    Scene scene;
    scene.add(quad({-1, 1, 1}, {2, 0, 0}, {0, 0, -2}), halfClear(scene));
    scene.add(quad({-1, height, 1}, {2, 0, 0}, {0, 0, -2}));
    EXPECT_EQ(Built(scene).passed({0.1f, 0, 0.2f}, {0, 1, 0}).x, 0) << height;
  }
}

// A pane of glass: the body's absorption goes by the way inside, however the surfaces are found.
TEST(ShadowRay, bodiesAbsorbAlongTheWayInside) {
  Scene scene;
  int glass;
  SurfaceMaterial& m = scene.addMaterial(&glass);
  m.transmission = 1, m.ior = 1, m.specular = 0, m.thickness = 1, m.roughness = 0;
  m.attenuationColor = {0.5f, 0.25f, 1}, m.attenuationDistance = 1;
  scene.add(quad({-5, 1, -5}, {10, 0, 0}, {0, 0, 10}), glass); // faces down
  scene.add(quad({-5, 3, 5}, {10, 0, 0}, {0, 0, -10}), glass); // faces up
  scene.add(quad({-5, 3.5f, 5}, {10, 0, 0}, {0, 0, -10}), halfClear(scene));
  Built built(scene);
  built.how.caustics = false; // light passes glass straight
  const Vec3 passed = built.passed({0.1f, 0, 0.2f}, {0, 1, 0});
  EXPECT_NEAR(passed.x, 0.5f * 0.25f, 1e-4f);
  EXPECT_NEAR(passed.y, 0.5f * 0.0625f, 1e-4f);
  EXPECT_NEAR(passed.z, 0.5f, 1e-4f);
}

TEST(ShadowRay, manyClearLayersCostOneRay) {
  const auto raysOf = [](int layers) {
    Scene scene;
    const int clear = halfClear(scene);
    scene.add(quad({-1, 0, 1}, {2, 0, 0}, {0, 0, -2}));
    for (int i = 0; i < layers; ++i)
      scene.add(quad({-1, 1 + 0.1f * static_cast<float>(i), 1}, {2, 0, 0}, {0, 0, -2}), clear).seenByCamera =
          false;
    scene.addLight(LightKind::point, {0, 4, 0}, {0, 0, 0}, 10);
    scene.lookAt({0, 3, 0.001f}, {0, 0, 0}, true, 0.4f);
    auto how = settings(8, 8, 4);
    how.globalIllumination = false;
    how.bounces = 1;
    return draw(scene, 8, 8, how).stats;
  };
  const auto none = raysOf(0), many = raysOf(9);
  EXPECT_EQ(many.cameraSamples, none.cameraSamples);
  EXPECT_GT(none.rays, none.cameraSamples) << "the plane is lit";
  EXPECT_LT(many.rays, none.rays + 3 * none.cameraSamples) << "scattered rays pass one layer on average";
}

} // namespace
