// Structures of a whole scene are kept while the scene stays the same.
#include <gtest/gtest.h>

#include "ray_scene.h"
#include "recent_products.h"
#include "scene_kit.h"

using namespace kit;
using host::render::RecentProducts;

namespace {

TEST(RecentProducts, keepsTheLastUsed) {
  RecentProducts<int, int> products(2);
  for (const int key : {1, 2})
    products.put(key, std::make_shared<const int>(10 * key));
  EXPECT_EQ(*products.find(1), 10);
  products.put(3, std::make_shared<const int>(30));
  EXPECT_EQ(products.find(2), nullptr);
  EXPECT_EQ(*products.find(1), 10);
  products.dropIf([](int key) { return key == 1; });
  EXPECT_EQ(products.find(1), nullptr);
  EXPECT_EQ(*products.find(3), 30);
}

Scene copies() {
  Scene scene;
  const MeshPtr mesh = quad({-0.4f, -0.4f, 0}, {0.8f, 0, 0}, {0, 0.8f, 0});
  for (int i = 0; i < 9; ++i)
    scene.add(mesh).toWorld.off = {static_cast<double>(i % 3) - 1, static_cast<double>(i / 3) - 1, 0};
  scene.addLight(LightKind::point, {0, 0, 3}, {0, 0, 0}, 9);
  scene.lookAt({0, 0, 5}, {0, 0, 0}, true, 1.5f);
  return scene;
}

TEST(KeptStructures, warmRendersBuildNone) {
  Scene scene = copies();
  render::SceneCache::shared().clear();
  const Result cold = draw(scene, 16, 2);
  EXPECT_EQ(cold.stats.topsBuilt, 1u);
  EXPECT_EQ(cold.stats.lightTreesBuilt, 1u);
  const Result warm = draw(scene, 16, 2);
  EXPECT_EQ(warm.stats.topsBuilt, 0u);
  EXPECT_EQ(warm.stats.lightTreesBuilt, 0u);
  EXPECT_EQ(warm.pixels, cold.pixels);
  EXPECT_NE(draw(scene, 17, 2).stats.topsBuilt, 1u) << "another size";
}

TEST(KeptStructures, changesAreSeen) {
  Scene scene = copies();
  const Result before = draw(scene, 16, 2);
  scene.snapshot->instances[4].toWorld.off.x += 0.3;
  const Result moved = draw(scene, 16, 2);
  EXPECT_EQ(moved.stats.topsBuilt, 1u);
  EXPECT_EQ(moved.stats.meshesBuilt, 0u);
  EXPECT_NE(moved.pixels, before.pixels);
  scene.snapshot->instances[4].seenByCamera = false;
  EXPECT_EQ(draw(scene, 16, 2).stats.topsBuilt, 1u);
  scene.snapshot->lights[0].toWorld.off.x += 1;
  EXPECT_EQ(draw(scene, 16, 2).stats.lightTreesBuilt, 1u);
}

// Another scene's render lets the meshes of the first one go.
TEST(KeptStructures, pinNoMeshThatNothingElseHolds) {
  std::weak_ptr<const Mesh> mesh;
  {
    Scene scene = copies();
    mesh = scene.snapshot->instances[0].mesh;
    draw(scene, 8, 1);
  }
  Scene other;
  other.add(quad({-1, -1, 0}, {2, 0, 0}, {0, 2, 0}));
  other.lookAt({0, 0, 5}, {0, 0, 0}, true, 1);
  draw(other, 8, 1);
  EXPECT_TRUE(mesh.expired());
}

TEST(KeptStructures, tablesOfASkyBelongToPictureAndColour) {
  DecodedPicture decoded;
  decoded.width = 8, decoded.height = 4;
  for (int i = 0; i < 32; ++i)
    decoded.floats.insert(decoded.floats.end(), {i == 9 ? 50.0f : 0.1f, 0.1f, 0.1f, 1});
  const auto texture = std::make_shared<const render::Texture>(decoded, render::ColorSpace::data);
  SnapshotSky sky;
  sky.kind = SkyKind::picture;
  sky.color = {1, 1, 1};
  const render::RenderSky one(sky, texture);
  sky.rotation = 1;
  const render::RenderSky turned(sky, texture);
  EXPECT_NE(one.table(), nullptr);
  EXPECT_EQ(one.table(), turned.table());
  sky.color = {2, 1, 1};
  EXPECT_NE(render::RenderSky(sky, texture).table(), one.table());
  const auto again = std::make_shared<const render::Texture>(decoded, render::ColorSpace::data);
  sky.color = {1, 1, 1};
  EXPECT_NE(render::RenderSky(sky, again).table(), one.table());
}

} // namespace
