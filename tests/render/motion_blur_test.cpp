// Motion while the shutter is open: exact coverage of moving things, and pictures as means of stills.
#include <gtest/gtest.h>

#include "scene_kit.h"

using namespace kit;
using host::render::pi;

namespace {

Matrix movedTo(double x, double y = 0, double z = 0) {
  Matrix m;
  m.off = Vector(x, y, z);
  return m;
}

// A white square, 8 pixels wide, before a camera that shows 32 x 32 of them.
struct MovingSquare {
  Scene scene;
  Instance* square;
  MovingSquare() {
    int white;
    scene.addMaterial(&white).unlit = true;
    square = &scene.add(quad({-4, -4, 0}, {8, 0, 0}, {0, 8, 0}), white);
    scene.lookAt({0, 0, 5}, {0, 0, 0}, true, 16);
  }
  Result drawn(int samples = 256) {
    auto how = settings(32, 32, samples);
    how.antiAliasing = host::render::AntiAliasing::none; // the pixel alone
    how.noise = 0;
    return draw(scene, 32, 32, how);
  }
};

// The part of a pixel's column and of the time that a square covers whose left edge goes evenly from one
// place to another.
float coverage(int column, double from, double to) {
  constexpr int steps = 4000;
  double sum = 0;
  for (int i = 0; i < steps; ++i) {
    const double left = from + (to - from) * (i + 0.5) / steps;
    sum += std::max(0.0, std::min(column + 1.0, left + 8) - std::max(static_cast<double>(column), left));
  }
  return static_cast<float>(sum / steps);
}

void expectCoverage(const Result& picture, double from, double to) {
  for (const int row : {13, 18})
    for (int x = 0; x < 32; ++x) {
      EXPECT_NEAR(picture.alpha(x, row), coverage(x, from, to), 0.03f) << x;
      EXPECT_NEAR(picture.at(x, row).x, coverage(x, from, to), 0.03f) << x;
    }
  EXPECT_NEAR(picture.mean().x, 64.0f / 1024, 5e-4f) << "as much as the square that stands still";
  EXPECT_EQ(picture.alpha(2, 5), 0);
}

TEST(MotionBlur, ASquareCoversWhatItPasses) {
  MovingSquare m;
  m.square->motion = {movedTo(-8), movedTo(8)};
  expectCoverage(m.drawn(), 4, 20);
}

TEST(MotionBlur, MoreStepsFollowThePath) {
  MovingSquare m;
  m.square->motion = {movedTo(-8), movedTo(-8), movedTo(8)}; // waits for half of the time
  const Result picture = m.drawn();
  for (int x = 0; x < 32; ++x) {
    const float expected = 0.5f * (coverage(x, 4, 4) + coverage(x, 4, 20));
    EXPECT_NEAR(picture.at(x, 15).x, expected, 0.03f) << x;
  }
}

TEST(MotionBlur, AChangeOfShapeCoversAsAMoveDoes) {
  MovingSquare m;
  for (const float x : {-8.0f, 0.0f, 8.0f})
    m.square->shapes.push_back(quad({x - 4, -4, 0}, {8, 0, 0}, {0, 8, 0}));
  expectCoverage(m.drawn(), 4, 20);
}

TEST(MotionBlur, ShapeAndPlaceMoveTogether) {
  MovingSquare m;
  m.square->motion = {movedTo(-4), movedTo(4)};
  for (const float x : {-4.0f, 4.0f})
    m.square->shapes.push_back(quad({x - 4, -4, 0}, {8, 0, 0}, {0, 8, 0}));
  expectCoverage(m.drawn(), 4, 20);
}

TEST(MotionBlur, CopiesMoveOnTheirOwn) {
  MovingSquare m;
  m.square->motion = {movedTo(-8, 8), movedTo(8, 8)};
  Instance copy = *m.square;
  copy.motion.clear();
  copy.toWorld = movedTo(0, -8);
  m.scene.snapshot->instances.push_back(copy);
  const Result picture = m.drawn();
  for (int x = 0; x < 32; ++x) {
    EXPECT_NEAR(picture.at(x, 8).x, coverage(x, 4, 20), 0.03f) << x;
    EXPECT_NEAR(picture.at(x, 24).x, coverage(x, 12, 12), 1e-6f) << x;
  }
}

TEST(MotionBlur, ASlidingCameraIsAMovingSquare) {
  MovingSquare m;
  const Matrix eye = m.scene.snapshot->camera.toWorld;
  for (const double x : {8.0, -8.0}) {
    Matrix step = eye;
    step.off.x = x;
    m.scene.snapshot->camera.motion.push_back(step);
  }
  expectCoverage(m.drawn(), 4, 20);
}

// Two halves of a wall, white on the right. The border's angle sweeps evenly over the picture.
TEST(MotionBlur, APanningCameraTurnsEvenly) {
  Scene scene;
  int white;
  scene.addMaterial(&white).unlit = true;
  scene.add(quad({0, -50, -10}, {100, 0, 0}, {0, 100, 0}), white);
  constexpr double most = 0.25; // radians to either side
  SnapshotCamera& camera = scene.snapshot->camera;
  camera.toWorld = Matrix();
  camera.yfov = static_cast<float>(pi / 2);
  for (const double turn : {-most, 0.0, most})
    camera.motion.push_back(Matrix(Vector(), Vector(std::cos(turn), 0, -std::sin(turn)), Vector(0, 1, 0),
                                   Vector(std::sin(turn), 0, std::cos(turn))));
  auto how = settings(32, 32, 256);
  how.antiAliasing = host::render::AntiAliasing::none;
  how.noise = 0;
  const Result picture = draw(scene, 32, 32, how);
  for (int x = 0; x < 32; ++x) {
    double expected = 0; // the part of the pixel and of the time with a direction to the right of the border
    for (int i = 0; i < 64; ++i) {
      const double angle = std::atan((x + (i + 0.5) / 64) / 16 - 1);
      expected += std::clamp((angle + most) / (2 * most), 0.0, 1.0) / 64;
    }
    EXPECT_NEAR(static_cast<double>(picture.at(x, 16).x), expected, 0.03) << x;
  }
}

// A ball that moves through lamplight above a floor: shading, shadows and the mirror image of the mean of
// stills.
TEST(MotionBlur, APictureIsTheMeanOfItsMoments) {
  const auto place = [](double part) { return movedTo(-0.6 + 1.2 * part, 0.7 + 0.3 * part); };
  const auto pictureAt = [&](double from, double to, bool glows) {
    Scene scene;
    scene.materials[0]->roughness = 0.3f;
    scene.add(quad({-5, 0, 5}, {10, 0, 0}, {0, 0, -10}));
    int own;
    SurfaceMaterial& m = scene.addMaterial(&own);
    m.baseColor = {0.8f, 0.3f, 0.2f, 1};
    if (glows) m.emission = {3, 2, 1};
    Instance& ball = scene.add(kit::ball(0.5f, 16), own, place(from));
    if (to > from) ball.motion = {place(from), place(to)};
    scene.addLight(LightKind::point, {1, 3, 1}, {0, 0, 0}, 30).radius = 0.2f;
    scene.lookAt({0, 2, 4}, {0, 0.5f, 0}, false, 0.7f);
    auto how = settings(16, 16, to > from ? 512 : 32);
    how.noise = 0;
    how.clampIndirect = 0;
    return draw(scene, 16, 16, how);
  };
  for (const bool glows : {false, true}) {
    SCOPED_TRACE(glows);
    const Result blurred = pictureAt(0, 1, glows);
    constexpr int moments = 24;
    std::vector<Vec3> mean(256);
    for (int i = 0; i < moments; ++i) {
      const Result still = pictureAt((i + 0.5) / moments, 0, glows);
      for (int p = 0; p < 256; ++p)
        mean[static_cast<std::size_t>(p)] += still.at(p % 16, p / 16) * (1.0f / moments);
    }
    double difference = 0, whole = 0;
    for (int p = 0; p < 256; ++p) {
      const Vec3 d = blurred.at(p % 16, p / 16) - mean[static_cast<std::size_t>(p)];
      difference += static_cast<double>(std::abs(host::render::luminance(d)));
      whole += static_cast<double>(host::render::luminance(mean[static_cast<std::size_t>(p)]));
    }
    EXPECT_GT(whole, 10);
    EXPECT_LT(difference, 0.05 * whole);
  }
}

TEST(MotionBlur, WhatStandsStillTakesTheSameSamples) {
  MovingSquare still, held;
  held.square->motion = {movedTo(0), movedTo(0)};
  EXPECT_EQ(still.drawn(4).at(12, 12).x, 1);
  EXPECT_EQ(held.drawn(64).at(12, 12).x, 1) << "a motion without a way";
}

// Steps that no ray can take, and shapes of other meshes.
TEST(MotionBlur, ImpossibleMotionIsLeftOut) {
  MovingSquare m;
  Matrix flat = movedTo(8);
  flat.v1 = Vector();
  m.square->motion = {movedTo(-8), flat};
  m.square->shapes = {ball(1, 8), ball(1, 8)};
  EXPECT_EQ(m.drawn(4).at(16, 16).x, 1);
  m.square->motion.clear();
  EXPECT_EQ(m.drawn(4).at(16, 16).x, 1);
}

} // namespace
