// Renders that show one property of the surfaces.
#include "surface_shading.h"

#include <gtest/gtest.h>

#include "display_transform.h"
#include "scene_kit.h"

using namespace kit;
using host::render::ShadingMode;

namespace {

render::RenderSettings shadedAs(ShadingMode mode, int side = 16) {
  render::RenderSettings how = settings(side, side, 4);
  how.shading = mode;
  how.preview = how.showsSurfaces();
  return how;
}

// A square that fills the view, of the size 2 x 2 around the origin, facing the camera at +z.
Scene wall() {
  Scene scene;
  scene.sky(1);
  scene.add(quad({-1, -1, 0}, {2, 0, 0}, {0, 2, 0}));
  scene.lookAt({0, 0, 5}, {0, 0, 0}, true, 1);
  return scene;
}

float code(float light) {
  return static_cast<float>(host::linearToSrgb(static_cast<double>(light)));
}

TEST(SurfaceShading, AlbedoIsTheBaseColour) {
  Scene scene = wall();
  scene.materials[0]->baseColor = {0.2f, 0.5f, 0.7f, 1};
  const Result r = draw(scene, 16, 16, shadedAs(ShadingMode::albedo));
  EXPECT_NEAR(r.at(8, 8).x, 0.2f, 1e-6f);
  EXPECT_NEAR(r.at(8, 8).y, 0.5f, 1e-6f);
  EXPECT_NEAR(r.at(8, 8).z, 0.7f, 1e-6f);
  EXPECT_EQ(r.alpha(8, 8), 1);
}

TEST(SurfaceShading, NormalsAreCodesOfTheirAxes) {
  Scene scene = wall();
  const Result r = draw(scene, 16, 16, shadedAs(ShadingMode::normals));
  EXPECT_NEAR(code(r.at(8, 8).x), 0.5f, 1e-4f);
  EXPECT_NEAR(code(r.at(8, 8).y), 0.5f, 1e-4f);
  EXPECT_NEAR(code(r.at(8, 8).z), 1, 1e-4f);
}

TEST(SurfaceShading, TheCheckerHasTenSquaresAUnit) {
  Scene scene = wall();
  render::RenderSettings how = shadedAs(ShadingMode::uvChecker, 100);
  how.antiAliasing = render::AntiAliasing::none;
  const Result r = draw(scene, 100, 100, how);
  int changes = 0;
  for (int x = 1; x < 100; ++x) {
    const float before = r.at(x - 1, 5).z, now = r.at(x, 5).z;
    changes += std::max(before, now) > 2 * std::min(before, now);
  }
  EXPECT_EQ(changes, 9);
}

TEST(SurfaceShading, LinesRunAlongEdgesOfTriangles) {
  Scene scene = wall();
  render::RenderSettings how = shadedAs(ShadingMode::wireframe, 64);
  const Result r = draw(scene, 64, 64, how);
  // The diagonal of the square, and its middle on one side.
  EXPECT_LT(std::min(r.at(32, 31).x, r.at(32, 32).x), 0.12f);
  EXPECT_GT(r.at(16, 40).x + r.at(48, 24).x, 0.5f);
}

TEST(SurfaceShading, BackSidesAreRed) {
  Scene scene;
  scene.add(quad({-1, -1, 0}, {1, 0, 0}, {0, 2, 0})); // left: the front
  scene.add(quad({0, -1, 0}, {0, 2, 0}, {1, 0, 0}));  // right: the back
  scene.materials[0]->doubleSided = false;
  scene.lookAt({0, 0, 5}, {0, 0, 0}, true, 1);
  const Result r = draw(scene, 16, 16, shadedAs(ShadingMode::facing));
  EXPECT_GT(r.at(4, 8).z, 2 * r.at(4, 8).x);
  EXPECT_GT(r.at(12, 8).x, 2 * r.at(12, 8).z);
}

TEST(SurfaceShading, ObjectsInTheSamePlaceAreWhite) {
  Scene scene;
  scene.add(quad({-1, -1, 0}, {2, 0, 0}, {0, 2, 0}));
  scene.add(quad({0, -1, 0}, {1, 0, 0}, {0, 2, 0}));       // on the right half of the first
  scene.add(quad({-1, -1, -0.01f}, {2, 0, 0}, {0, 2, 0})); // a little behind
  scene.lookAt({0, 0, 5}, {0, 0, 0}, true, 1);
  const Result r = draw(scene, 16, 16, shadedAs(ShadingMode::overlaps));
  EXPECT_LT(r.at(4, 8).x, 0.9f);
  EXPECT_EQ(r.at(12, 8).x, 1);
  EXPECT_EQ(r.at(12, 8).y, 1);
}

TEST(SurfaceShading, ClayIsGreyInTheScenesLight) {
  Scene scene = wall();
  scene.materials[0]->baseColor = {0.9f, 0.1f, 0.1f, 1};
  scene.materials[0]->metallic = 1;
  const Result r = draw(scene, 16, 16, shadedAs(ShadingMode::clay));
  const Vec3 mean = r.mean(4, 4, 11, 11);
  EXPECT_NEAR(mean.x, 0.6f, 0.01f) << "a white sky of 1";
  EXPECT_NEAR(mean.y, mean.x, 1e-5f);
  EXPECT_EQ(scene.materials[0]->metallic, 1) << "the scene stays as it is";
}

TEST(SurfaceShading, TheSettingIsReadWithinItsRange) {
  BaseContainer container;
  EXPECT_EQ(render::readSettings(container, 4, 4).shading, ShadingMode::standard);
  container.SetLong(render::shadingSetting, 5);
  EXPECT_EQ(render::readSettings(container, 4, 4).shading, ShadingMode::wireframe);
  EXPECT_TRUE(render::readSettings(container, 4, 4).preview);
  container.SetLong(render::shadingSetting, 1);
  EXPECT_FALSE(render::readSettings(container, 4, 4).preview) << "clay is lit";
  container.SetLong(render::shadingSetting, 99);
  EXPECT_EQ(render::readSettings(container, 4, 4).shading, ShadingMode::overlaps);
  for (const render::ShadingModeInfo& info : render::shadingModes())
    EXPECT_EQ(render::shadingModeOf(info.name), info.mode);
  EXPECT_FALSE(render::shadingModeOf("grey"));
}

} // namespace
