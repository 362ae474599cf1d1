// Large meshes get a quick structure for the first coarse picture; the finished picture comes from the
// careful one.
#include <gtest/gtest.h>

#include <cstring>

#include "ray_scene.h"
#include "sampler.h"
#include "scene_kit.h"

using namespace kit;
using host::render::BuildCare;
using host::render::Hit;
using host::render::Ray;
using host::render::RayScene;

namespace {

// Hills of 205 thousand triangles, from -1 to 1.
MeshPtr hills() {
  constexpr std::uint32_t side = 320;
  auto mesh = std::make_shared<Mesh>();
  for (std::uint32_t row = 0; row <= side; ++row)
    for (std::uint32_t column = 0; column <= side; ++column) {
      const float x = 2 * static_cast<float>(column) / side - 1, z = 2 * static_cast<float>(row) / side - 1;
      mesh->positions.push_back({x, 0.1f * std::sin(20 * x) * std::cos(30 * z), z});
    }
  for (std::uint32_t row = 0; row < side; ++row)
    for (std::uint32_t column = 0; column < side; ++column) {
      const std::uint32_t a = row * (side + 1) + column, b = a + side + 1;
      mesh->triangles.push_back({a, b, a + 1});
      mesh->triangles.push_back({a + 1, b, b + 1});
    }
  mesh->groups = {{0, static_cast<std::uint32_t>(mesh->triangles.size())}};
  mesh->low = {-1, -0.1f, -1}, mesh->high = {1, 0.1f, 1};
  return mesh;
}

Scene landscape() {
  Scene scene;
  scene.sky(0.5f);
  scene.addLight(LightKind::point, {1, 2, 1}, {0, 0, 0}, 5);
  scene.add(hills());
  scene.lookAt({0, 1.2f, 1.8f}, {0, 0, 0}, false, 0.8f);
  return scene;
}

std::vector<Hit> hitsOf(const RayScene& scene) {
  std::vector<Hit> hits;
  std::uint32_t number = 0;
  const auto random = [&] { return 1.8f * render::unitFloat(render::hash32(++number)) - 0.9f; };
  for (int i = 0; i < 500; ++i) {
    const Vec3 from(random(), 1, random());
    const auto hit = scene.intersect({from, render::normalize(Vec3(random(), 0, random()) - from)},
                                     render::anyMask, false);
    EXPECT_TRUE(hit) << i;
    hits.push_back(hit.value_or(Hit()));
  }
  return hits;
}

TEST(QuickStructure, isReplacedByTheCarefulOne) {
  Scene scene = landscape();
  draw(scene, 1, 1); // sets the bounds
  render::SceneCache::shared().clear();
  const auto build = [&](BuildCare care) {
    return RayScene::build(scene.snapshot, settings(1, 1, 1), 2, {}, care);
  };
  const auto quick = build(BuildCare::quickFirst);
  ASSERT_TRUE(quick.scene);
  EXPECT_TRUE(quick.scene->isQuick());
  const std::vector<Hit> first = hitsOf(*quick.scene);
  const auto careful = build(BuildCare::careful);
  EXPECT_FALSE(careful.scene->isQuick());
  EXPECT_EQ(careful.counts.meshesBuilt, 1U) << "the quick one is not kept";
  const std::vector<Hit> wanted = hitsOf(*careful.scene);
  for (std::size_t i = 0; i < wanted.size(); ++i)
    EXPECT_NEAR(first[i].distance, wanted[i].distance, 1e-5f);
  ASSERT_TRUE(quick.scene->buildCarefully(2, {}));
  EXPECT_FALSE(quick.scene->isQuick());
  const std::vector<Hit> after = hitsOf(*quick.scene);
  EXPECT_EQ(std::memcmp(after.data(), wanted.data(), wanted.size() * sizeof(Hit)), 0);
  EXPECT_FALSE(build(BuildCare::quickFirst).scene->isQuick()) << "the careful one is kept";
}

TEST(QuickStructure, thePictureDoesNotDependOnTheCache) {
  Scene scene = landscape();
  render::SceneCache::shared().clear();
  const Result cold = draw(scene, 32, 2);
  EXPECT_EQ(cold.stats.meshesBuilt, 1U);
  const Result warm = draw(scene, 32, 2);
  EXPECT_EQ(warm.stats.meshesBuilt, 0U);
  EXPECT_EQ(cold.pixels, warm.pixels);
  EXPECT_GT(cold.mean().x, 0.1f);
}

TEST(QuickStructure, aBreakEndsTheCarefulBuild) {
  Scene scene = landscape();
  draw(scene, 1, 1);
  render::SceneCache::shared().clear();
  const auto built = RayScene::build(scene.snapshot, settings(1, 1, 1), 1, {}, BuildCare::quickFirst);
  ASSERT_TRUE(built.scene);
  EXPECT_FALSE(built.scene->buildCarefully(1, [] { return true; }));
}

} // namespace
