// Known irradiances, and the combination of light and surface sampling.
#include <gtest/gtest.h>

#include "scene_kit.h"

using namespace kit;
using host::render::LightSampling;
using host::render::pi;

namespace {

constexpr float albedo = 0.5f;

TEST(Irradiance, PointLight) {
  Scene scene = diffusePlane(albedo);
  scene.addLight(LightKind::point, {0, 2, 0}, {0, 0, 0}, 10);
  EXPECT_NEAR(draw(scene, 8, 16).mean().x, albedo / pi * 10 / 4, 1e-3);
}

TEST(Irradiance, PointLightAtAnAngleAndDistance) {
  Scene scene = diffusePlane(albedo);
  scene.addLight(LightKind::point, {3, 4, 0}, {0, 0, 0}, 100);
  EXPECT_NEAR(draw(scene, 8, 16).mean().x, albedo / pi * 100 / 25 * 0.8f, 2e-3);
}

TEST(Irradiance, RangeEndsALight) {
  Scene scene = diffusePlane(albedo);
  scene.addLight(LightKind::point, {0, 2, 0}, {0, 0, 0}, 10).range = 1.9f;
  EXPECT_EQ(draw(scene, 8, 4).mean().x, 0);
}

TEST(Irradiance, SphereLight) {
  // A sphere of any size has the irradiance of a point light at its centre.
  for (const float radius : {0.1f, 1.0f, 1.9f}) {
    SCOPED_TRACE(radius);
    Scene scene = diffusePlane(albedo);
    scene.addLight(LightKind::point, {0, 2, 0}, {0, 0, 0}, 10).radius = radius;
    EXPECT_NEAR(draw(scene, 16, 256).mean().x, albedo / pi * 10 / 4, 0.01 * albedo / pi * 10 / 4);
  }
}

TEST(Irradiance, DistantLight) {
  for (const float angle : {0.0f, 0.005f, 0.1f}) {
    SCOPED_TRACE(angle);
    Scene scene = diffusePlane(albedo);
    scene.addLight(LightKind::distant, {3, 4, 0}, {0, 0, 0}, 2).radius = angle;
    EXPECT_NEAR(draw(scene, 16, 128).mean().x, albedo / pi * 2 * 0.8f, 0.005);
  }
}

TEST(Irradiance, SpotLightFadesFromItsInnerToItsOuterCone) {
  const auto lit = [](Vec3 target) {
    Scene scene = diffusePlane(albedo);
    SnapshotLight& light = scene.addLight(LightKind::spot, {0, 2, 0}, target, 10);
    light.innerCone = 0.3f, light.outerCone = 0.6f;
    return draw(scene, 8, 16).mean().x;
  };
  const float full = albedo / pi * 10 / 4;
  EXPECT_NEAR(lit({0, 0, 0}), full, 1e-3);
  EXPECT_NEAR(lit({2 * std::tan(0.25f), 0, 0}), full, 2e-3); // inside the inner cone
  const float between = lit({2 * std::tan(0.45f), 0, 0});
  EXPECT_GT(between, 0.05f * full);
  EXPECT_LT(between, 0.9f * full);
  EXPECT_EQ(lit({2 * std::tan(0.7f), 0, 0}), 0);
}

TEST(Irradiance, GlowingRectangle) {
  Scene scene = diffusePlane(albedo);
  int glow;
  SurfaceMaterial& m = scene.addMaterial(&glow);
  m.baseColor = {0, 0, 0, 1};
  m.reflectionOn = false;
  m.emission = {3, 3, 3};
  // 2 x 1 at height 1.5, facing down.
  scene.add(quad({-1, 1.5f, -0.5f}, {2, 0, 0}, {0, 0, 1}), glow).seenByCamera = false;
  const auto corner = [](double a, double b, double h) {
    const double p = std::sqrt(a * a + h * h), q = std::sqrt(b * b + h * h);
    return (a / p * std::atan(b / p) + b / q * std::atan(a / q)) / (2 * static_cast<double>(pi));
  };
  const double expected = static_cast<double>(albedo) * 3 * 4 * corner(1, 0.5, 1.5);
  EXPECT_NEAR(static_cast<double>(draw(scene, 16, 256).mean().x), expected, 0.01 * expected);
}

TEST(Irradiance, EvenSky) {
  Scene scene = diffusePlane(albedo);
  scene.sky(2);
  EXPECT_NEAR(draw(scene, 16, 64).mean().x, albedo * 2, 0.005);
}

TEST(Irradiance, GradientSky) {
  Scene scene = diffusePlane(albedo);
  SnapshotSky& sky = scene.snapshot->sky;
  sky.kind = SkyKind::gradient;
  sky.color = {3, 0, 1}, sky.horizon = {1, 1, 1}, sky.ground = {9, 9, 9};
  const Vec3 c = draw(scene, 16, 256).mean();
  EXPECT_NEAR(c.x, albedo * (1 + 2.0f / 3 * 2), 0.01);
  EXPECT_NEAR(c.y, albedo * (1 - 2.0f / 3), 0.01);
  EXPECT_NEAR(c.z, albedo, 0.01);
}

TEST(Irradiance, PictureSkyWithASun) {
  Scene scene = diffusePlane(albedo);
  SnapshotSky& sky = scene.snapshot->sky;
  sky.kind = SkyKind::picture;
  sky.color = {1, 1, 1};
  // One bright pixel above the horizon of a grey sky. The picture is interpolated, so the expected value is a
  // sum over the same interpolated picture.
  constexpr int w = 64, h = 32;
  const auto value = [](int x, int y) { return x == 20 && y == 8 ? 500.0 : 0.5; };
  sky.picture = floatPicture(w, h, [&](int x, int y) { return Vec3(static_cast<float>(value(x, y))); });
  double expected = 0;
  constexpr int fine = 8;
  for (int j = 0; j < h / 2 * fine; ++j)
    for (int i = 0; i < w * fine; ++i) {
      const double v = (j + 0.5) / fine - 0.5, u = (i + 0.5) / fine - 0.5;
      const int x0 = static_cast<int>(std::floor(u)), y0 = static_cast<int>(std::floor(v));
      const double tx = u - x0, ty = v - y0;
      const auto read = [&](int x, int y) { return value((x + w) % w, std::clamp(y, 0, h - 1)); };
      const double c = (read(x0, y0) * (1 - tx) + read(x0 + 1, y0) * tx) * (1 - ty) +
                       (read(x0, y0 + 1) * (1 - tx) + read(x0 + 1, y0 + 1) * tx) * ty;
      const double theta = (j + 0.5) / (h * fine) * M_PI;
      expected += c * std::cos(theta) * std::sin(theta) * (M_PI / (h * fine)) * (2 * M_PI / (w * fine));
    }
  expected *= static_cast<double>(albedo) / M_PI;
  EXPECT_NEAR(static_cast<double>(draw(scene, 16, 256).mean().x), expected, 0.02 * expected);
}

// A glossy floor and a ball under lights of every findable kind.
Scene mixedScene(int kind) {
  Scene scene;
  scene.materials[0]->baseColor = {0.7f, 0.6f, 0.5f, 1};
  scene.materials[0]->roughness = 0.35f;
  scene.materials[0]->metallic = 0.5f;
  scene.add(quad({-5, 0, 5}, {10, 0, 0}, {0, 0, -10}));
  Matrix up;
  up.off = Vector(0, 1, 0);
  scene.add(ball(1, 48), 0, up);
  if (kind == 0) scene.addLight(LightKind::point, {2, 3, 2}, {0, 0, 0}, 30).radius = 0.8f;
  if (kind == 1) scene.addLight(LightKind::distant, {2, 3, 2}, {0, 0, 0}, 3).radius = 0.2f;
  if (kind == 2) {
    int glow;
    scene.addMaterial(&glow).emission = {6, 6, 6};
    scene.add(quad({-1, 3.5f, -1}, {2, 0, 0}, {0, 0, 2}), glow);
  }
  if (kind >= 4) {
    const LightKind shape = kind == 4 ? LightKind::rectangle : LightKind::disc;
    SnapshotLight& light = scene.addLight(shape, {2, 2.5f, 2}, {0, 0, 0}, 30);
    light.width = 2.5f, light.height = 1;
  }
  if (kind == 3) {
    scene.snapshot->sky.kind = SkyKind::picture;
    scene.snapshot->sky.color = {1, 1, 1};
    scene.snapshot->sky.picture =
        floatPicture(32, 16, [](int x, int y) { return y < 5 && x > 4 && x < 12 ? Vec3(6.0f) : Vec3(0.2f); });
  }
  scene.lookAt({0, 2.5f, 5}, {0, 0.8f, 0}, false, 0.7f);
  return scene;
}

TEST(LightSampling, BothEstimatorsGiveTheSamePicture) {
  for (int kind = 0; kind < 6; ++kind) {
    SCOPED_TRACE(kind);
    Scene scene = mixedScene(kind);
    auto how = settings(16, 16, 512);
    how.clampIndirect = 0;
    how.bounces = 2;
    how.caustics = true;
    const float both = draw(scene, 16, 16, how).mean().x;
    how.lightSampling = LightSampling::lightsOnly;
    const float lights = draw(scene, 16, 16, how).mean().x;
    how.lightSampling = LightSampling::surfacesOnly;
    const float surfaces = draw(scene, 16, 16, how).mean().x;
    EXPECT_GT(both, 0.02f);
    EXPECT_NEAR(lights, both, 0.02f * both);
    EXPECT_NEAR(surfaces, both, 0.02f * both);
  }
}

// A glowing plate close above a surface covers half of its sky: every way to find it gives the same light.
TEST(LightSampling, EstimatorsAgreeUnderAGlowingPlateNearby) {
  Scene scene = diffusePlane(albedo);
  int glowing;
  SurfaceMaterial& glow = scene.addMaterial(&glowing);
  glow.baseColor = {0, 0, 0, 1};
  glow.emission = {1, 1, 1};
  Instance& plate = scene.add(quad({-0.3f, 0.2f, -0.3f}, {0.6f, 0, 0}, {0, 0, 0.6f}), glowing);
  plate.seenByCamera = false;
  auto how = settings(16, 16, 256);
  how.bounces = 1;
  const Vec3 both = draw(scene, 16, 16, how).mean();
  EXPECT_GT(both.x, 0.05f);
  for (const LightSampling one : {LightSampling::lightsOnly, LightSampling::surfacesOnly}) {
    how.lightSampling = one;
    EXPECT_NEAR(draw(scene, 16, 16, how).mean().x, both.x, 0.01f * both.x);
  }
}

TEST(LightSampling, ManyLightsAddUp) {
  Scene scene = diffusePlane(albedo);
  for (int i = 0; i < 40; ++i)
    scene.addLight(LightKind::point, {0, 2, 0}, {0, 0, 0}, 0.25f);
  EXPECT_NEAR(draw(scene, 16, 128).mean().x, albedo / pi * 10 / 4, 2e-3);
}

TEST(LightSampling, ManyLampsWithARadiusAddUp) {
  for (const int count : {40, 80}) {
    SCOPED_TRACE(count);
    Scene scene = diffusePlane(albedo);
    for (int i = 0; i < count; ++i)
      scene.addLight(LightKind::point, {0, 2, 0}, {0, 0, 0}, 10.0f / static_cast<float>(count)).radius = 1;
    EXPECT_NEAR(draw(scene, 16, 128).mean().x, albedo / pi * 10 / 4, 0.02f * albedo / pi * 10 / 4);
  }
}

// Scattered rays and shadow rays meet the same lamp, also behind a layer that lets everything through.
TEST(LightSampling, AClearLayerChangesNoLampsLight) {
  Scene scene = diffusePlane(albedo);
  int clear;
  SurfaceMaterial& m = scene.addMaterial(&clear);
  m.baseColor = {1, 1, 1, 0};
  m.alphaMode = AlphaMode::blend;
  scene.addLight(LightKind::point, {0, 2, 0}, {0, 0, 0}, 10).radius = 1;
  Instance& layer = scene.add(quad({-5, 0.9f, 5}, {10, 0, 0}, {0, 0, -10}), clear);
  layer.seenByCamera = false;
  EXPECT_NEAR(draw(scene, 16, 256).mean().x, albedo / pi * 10 / 4, 0.01f * albedo / pi * 10 / 4);
}

// A coarse ball lit from the side darkens towards the edge of the light as a finely divided one does. Without
// help whole triangles turn black there.
TEST(LightSampling, CoarseMeshesHaveNoHardEdgeOfShadow) {
  const auto lit = [](int rings) {
    Scene scene;
    scene.materials[0]->reflectionOn = false;
    scene.add(ball(1, rings));
    scene.addLight(LightKind::distant, {1, 0, 0.12f}, {0, 0, 0}, host::render::pi);
    scene.lookAt({0, 0, 5}, {0, 0, 0}, true, 1);
    auto how = settings(96, 96, 4);
    how.globalIllumination = false;
    return draw(scene, 96, 96, how);
  };
  const Result fine = lit(96), coarse = lit(12);
  double missing = 0, whole = 0;
  for (int y = 24; y < 72; ++y)
    for (int x = 12; x < 84; ++x) {
      const float wanted = fine.at(x, y).x;
      if (wanted > 0.2f) continue;
      whole += static_cast<double>(wanted);
      missing += static_cast<double>(std::max(0.0f, wanted - coarse.at(x, y).x));
    }
  EXPECT_GT(whole, 1);
  EXPECT_LT(missing, 0.1 * whole);
}

TEST(LightSampling, ABlockerThrowsAShadow) {
  Scene scene = diffusePlane(albedo);
  scene.addLight(LightKind::point, {0, 2, 0}, {0, 0, 0}, 10);
  Instance& blocker = scene.add(quad({-0.5f, 1, 0.5f}, {1, 0, 0}, {0, 0, -1}));
  auto how = settings(8, 8, 8);
  how.globalIllumination = false; // the blocker would light the plane
  EXPECT_EQ(draw(scene, 8, 8, how).mean().x, 0);
  blocker.castsShadows = false;
  EXPECT_NEAR(draw(scene, 8, 8, how).mean().x, albedo / pi * 10 / 4, 1e-3);
}

} // namespace
