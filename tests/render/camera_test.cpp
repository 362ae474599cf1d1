// The renderer's camera: the lens.
#include "render_camera.h"

#include <gtest/gtest.h>

#include "sampler.h"
#include "scene_kit.h"

using namespace kit;
using host::render::Ray;
using host::render::RenderCamera;
using host::render::Vec2;

namespace {

SnapshotCamera lens(bool orthographic, int blades = 0) {
  SnapshotCamera camera;
  camera.orthographic = orthographic;
  camera.aperture = 0.5f;
  camera.focusDistance = 4;
  camera.blades = blades;
  return camera;
}

Vec3 atDepth(const Ray& ray, float depth) {
  return ray.origin + ray.direction * (depth / -ray.direction.z);
}

TEST(Lens, RaysOfAPixelMeetAtTheFocus) {
  for (const bool orthographic : {false, true}) {
    SCOPED_TRACE(orthographic);
    const RenderCamera camera(lens(orthographic), 32, 24, 1);
    const Vec2 pixel{7.25f, 3.5f};
    const Vec3 focus = atDepth(camera.ray(pixel), 4);
    float widest = 0;
    for (std::uint32_t i = 0; i < 64; ++i) {
      render::Sampler sampler(1, 2, 3, i);
      const Ray ray = camera.ray(pixel, sampler.next2());
      EXPECT_LT(render::length(atDepth(ray, 4) - focus), 1e-5f);
      EXPECT_NEAR(render::length(ray.direction), 1, 1e-6f);
      // At twice the distance the rays spread as wide as the opening.
      widest = std::max(widest, render::length(atDepth(ray, 8) - atDepth(camera.ray(pixel), 8)));
    }
    EXPECT_GT(widest, 0.22f);
    EXPECT_LE(widest, 0.2501f);
  }
}

TEST(Lens, PlanesAtNearAndFarStay) {
  SnapshotCamera camera = lens(false);
  camera.znear = 1, camera.zfar = 9;
  const Ray ray = RenderCamera(camera, 32, 24, 1).ray({3, 20}, {0.9f, 0.2f});
  EXPECT_NEAR((ray.direction * ray.near).z, -1, 1e-5f);
  EXPECT_NEAR((ray.direction * ray.far).z, -9, 1e-4f);
}

TEST(Lens, AShiftShowsThePartBesideTheAxis) {
  for (const bool orthographic : {false, true})
    for (const float aperture : {0.0f, 0.5f}) {
      SCOPED_TRACE(testing::Message() << orthographic << ' ' << aperture);
      SnapshotCamera straight = lens(orthographic), shifted = straight;
      straight.aperture = shifted.aperture = aperture;
      shifted.shiftX = 0.25f, shifted.shiftY = -0.5f;
      // A quarter of the width to the right and half of the height down: 8 and 12 pixels.
      const Ray ray = RenderCamera(shifted, 32, 24, 1).ray({5.5f, 3.25f}, {0.8f, 0.3f});
      const Ray same = RenderCamera(straight, 32, 24, 1).ray({13.5f, 15.25f}, {0.8f, 0.3f});
      EXPECT_LT(render::length(ray.origin - same.origin), 1e-6f);
      EXPECT_LT(render::length(ray.direction - same.direction), 1e-6f);
    }
}

TEST(Lens, BladesMakeAPolygon) {
  const RenderCamera camera(lens(true, 4), 32, 32, 1);
  const Vec3 middle = camera.ray({16, 16}).origin - camera.ray({16, 16}, {0, 0}).origin;
  double area = 0;
  for (std::uint32_t i = 0; i < 4096; ++i) {
    render::Sampler sampler(1, 2, 3, i);
    const Vec3 p = camera.ray({16, 16}, sampler.next2()).origin;
    // A square that stands on its corner.
    EXPECT_LE(std::abs(p.x) + std::abs(p.y), 0.2501f);
    area += static_cast<double>(std::abs(p.x) + std::abs(p.y) > 0.125f);
  }
  EXPECT_NEAR(area / 4096, 0.75, 0.02) << "evenly spread";
  EXPECT_TRUE(render::finite(middle));
}

// A small bright square out of focus spreads over the circle of confusion and keeps its light.
TEST(Lens, BlursOutOfFocusAndKeepsTheLight) {
  const auto shot = [](float aperture, float focus) {
    Scene scene;
    scene.materials[0]->unlit = true;
    scene.add(quad({-0.02f, -0.02f, 0}, {0.04f, 0, 0}, {0, 0.04f, 0}));
    scene.lookAt({0, 0, 4}, {0, 0, 0}, false, 0.2f);
    scene.snapshot->camera.aperture = aperture;
    scene.snapshot->camera.focusDistance = focus;
    return draw(scene, 32, 64);
  };
  const Result sharp = shot(0, 2), focused = shot(0.2f, 4), blurred = shot(0.2f, 2);
  // 16 pixels are 4 tan 0.1 metres; the opening of 0.1 at twice the focus is a circle of 0.1: 4 pixels.
  EXPECT_NEAR(focused.mean().x, sharp.mean().x, 0.001f);
  EXPECT_NEAR(focused.at(16, 16).x, sharp.at(16, 16).x, 0.1f);
  EXPECT_NEAR(blurred.mean().x / sharp.mean().x, 1, 0.06f);
  EXPECT_LT(blurred.at(16, 16).x, 0.2f);
  EXPECT_GT(blurred.at(13, 16).x, 0);
  for (int x = 0; x < 32; ++x)
    for (int y = 0; y < 32; ++y) {
      if (std::hypot(static_cast<float>(x) - 15.5f, static_cast<float>(y) - 15.5f) > 6.5f) {
        EXPECT_EQ(blurred.at(x, y).x, 0);
      }
    }
}

} // namespace
