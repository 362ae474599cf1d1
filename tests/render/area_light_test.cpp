// Rectangles and discs that shine: their samples against closed forms, and pictures lit by them.
#include "area_light.h"

#include <gtest/gtest.h>

#include "light_set.h"
#include "sampler.h"
#include "scene_kit.h"
#include "spherical_triangle.h"

using namespace kit;
using namespace host::render;

namespace {

constexpr double piD = 3.14159265358979323846;

float random(std::uint32_t i, std::uint32_t k) {
  return unitFloat(hashMore(hash32(i), k));
}

// Two by one metres, shining down from a height, turned about its axis and tilted.
AreaLight slantedLight(bool disc) {
  AreaLight light;
  light.center = {0.3f, 1.5f, -0.2f};
  light.axis = normalize(Vec3{0.3f, -1, 0.2f});
  light.right = normalize(cross(light.axis, Vec3{0.2f, 0.1f, 1}));
  light.up = cross(light.right, light.axis) * -1;
  light.disc = disc;
  light.halfWidth = 1, light.halfHeight = disc ? 1 : 0.5f;
  return light;
}

// Irradiance under a polygon of radiance 1, all above the horizon (Lambert 1760, "Photometria"; the edges'
// angles times their planes' slants).
double lambert(const AreaLight& light, Vec3 from, Vec3 normal) {
  const Vec3 x = light.right * light.halfWidth, y = light.up * light.halfHeight;
  const Vec3 corners[] = {light.center - x - y, light.center + x - y, light.center + x + y,
                          light.center - x + y};
  double sum = 0;
  for (int i = 0; i < 4; ++i) {
    const Vec3 a = normalize(corners[i] - from), b = normalize(corners[(i + 1) % 4] - from);
    const double angle = std::acos(static_cast<double>(dot(a, b)));
    sum += angle * static_cast<double>(dot(normalize(cross(a, b)), normal));
  }
  return std::abs(sum) / 2;
}

// Irradiance under a parallel disc of radiance 1, `aside` metres off its axis (Howell, "A Catalog of
// Radiation Heat Transfer Configuration Factors", B-16).
double parallelDisc(double radius, double height, double aside) {
  const double h = height / aside, r = radius / aside, z = 1 + h * h + r * r;
  return piD / 2 * (1 - (z - 2 * r * r) / std::sqrt(z * z - 4 * r * r));
}

struct Estimate {
  double mean = 0, error = 0;
};

Estimate irradiance(const AreaLight& light, Vec3 from, Vec3 normal) {
  constexpr std::uint32_t count = 20000;
  double sum = 0, sum2 = 0;
  for (std::uint32_t i = 0; i < count; ++i) {
    const AreaSample s = sampleArea(light, from, {random(i, 1), random(i, 2)});
    const double v = s.pdf > 0 ? static_cast<double>(std::max(0.0f, dot(s.direction, normal)) / s.pdf) : 0;
    sum += v, sum2 += v * v;
  }
  const double mean = sum / count;
  return {mean, std::sqrt(std::max(0.0, sum2 / count - mean * mean) / count)};
}

TEST(AreaLight, RectanglesHaveLambertsIrradiance) {
  const AreaLight light = slantedLight(false);
  for (const Vec3 from : {Vec3{0.3f, 0, -0.2f}, Vec3{1, 0.2f, 2}, Vec3{0.4f, 1.1f, -0.2f}, Vec3{9, -20, 4}}) {
    const Vec3 normal = normalize(light.center - from);
    const Estimate e = irradiance(light, from, normal);
    const double expected = lambert(light, from, normal);
    EXPECT_NEAR(e.mean, expected, 5 * e.error + 1e-4 * expected) << from.x;
    EXPECT_LT(e.error, 0.01 * expected) << "the cosine alone varies";
  }
}

TEST(AreaLight, DiscsHaveTheTextbooksIrradiance) {
  AreaLight light;
  light.center = {0, 1.5f, 0}, light.axis = {0, -1, 0}, light.right = {1, 0, 0}, light.up = {0, 0, 1};
  light.halfWidth = light.halfHeight = 0.8f;
  light.disc = true;
  for (const float aside : {0.01f, 0.5f, 1.0f, 3.0f}) {
    const Estimate e = irradiance(light, {aside, 0, 0}, {0, 1, 0});
    const double expected = parallelDisc(0.8, 1.5, static_cast<double>(aside));
    EXPECT_NEAR(e.mean, expected, 5 * e.error + 1e-4 * expected) << aside;
    EXPECT_LT(e.error, 0.02 * expected);
  }
}

TEST(AreaLight, SamplesLieOnItAndRaysFindTheSameDensity) {
  for (const bool disc : {false, true}) {
    const AreaLight light = slantedLight(disc);
    for (std::uint32_t i = 0; i < 2000; ++i) {
      const Vec3 from{4 * random(i, 3) - 2, 1.2f - 30 * random(i, 4) * random(i, 5), 4 * random(i, 6) - 2};
      const AreaSample s = sampleArea(light, from, {random(i, 1), random(i, 2)});
      if (!light.shinesTo(from)) {
        EXPECT_EQ(s.pdf, 0);
        continue;
      }
      ASSERT_GT(s.pdf, 0);
      const Vec3 at = from + s.direction * s.distance - light.center;
      const float x = dot(at, light.right) / light.halfWidth, y = dot(at, light.up) / light.halfHeight;
      EXPECT_LT(disc ? x * x + y * y : std::max(std::abs(x), std::abs(y)), 1.001f);
      EXPECT_NEAR(dot(at, light.axis), 0, 1e-4f * (1 + s.distance));
      const AreaSample met = meetArea(light, from, s.direction);
      if (std::max(std::abs(x), std::abs(y)) > 0.99f) continue; // rounding may move it off the edge
      if (disc && x * x + y * y > 0.99f) continue;
      EXPECT_NEAR(met.pdf, s.pdf, 2e-3f * s.pdf) << i;
      EXPECT_NEAR(met.distance, s.distance, 1e-4f * s.distance);
    }
  }
}

TEST(AreaLight, ShinesFromOneSide) {
  for (const bool disc : {false, true}) {
    const AreaLight light = slantedLight(disc);
    const Vec3 behind = light.center - light.axis;
    EXPECT_EQ(sampleArea(light, behind, {0.5f, 0.5f}).pdf, 0);
    EXPECT_EQ(meetArea(light, behind, light.axis).pdf, 0);
    EXPECT_GT(meetArea(light, light.center + light.axis, -light.axis).pdf, 0);
    EXPECT_EQ(meetArea(light, light.center + light.axis, light.axis).pdf, 0) << "away from it";
  }
}

// --- in pictures ---

constexpr float albedo = 0.5f;

SnapshotLight& addArea(Scene& scene, LightKind kind, Vec3 position, Vec3 towards, float intensity) {
  SnapshotLight& light = scene.addLight(kind, position, towards, intensity);
  light.width = 2, light.height = 1;
  return light;
}

// The intensity is that along the axis: radiance times area.
TEST(Irradiance, RectangleLight) {
  for (const Vec3 position : {Vec3{0, 1.5f, 0}, Vec3{2, 1, 1}}) {
    Scene scene = diffusePlane(albedo);
    const SnapshotLight& light = addArea(scene, LightKind::rectangle, position, {0, 0, 0}, 6);
    AreaLight shape;
    shape.center = position, shape.right = Vec3(light.toWorld.v1), shape.up = Vec3(light.toWorld.v2);
    shape.halfWidth = 1, shape.halfHeight = 0.5f;
    const double expected =
        6.0 / 2 * static_cast<double>(albedo) / piD * lambert(shape, {0, 0, 0}, {0, 1, 0});
    EXPECT_NEAR(static_cast<double>(draw(scene, 16, 256).mean().x), expected, 0.01 * expected) << position.x;
  }
}

TEST(Irradiance, DiscLight) {
  Scene scene = diffusePlane(albedo);
  SnapshotLight& light = addArea(scene, LightKind::disc, {0.7f, 1.5f, 0}, {0.7f, 0, 0}, 6);
  light.height = 50; // no effect
  const double expected = 6 / piD * static_cast<double>(albedo) / piD * parallelDisc(1, 1.5, 0.7);
  EXPECT_NEAR(static_cast<double>(draw(scene, 16, 256).mean().x), expected, 0.01 * expected);
}

TEST(Irradiance, AreaLightsBehindTheirBackAndBeyondTheirRangeGiveNothing) {
  for (const LightKind kind : {LightKind::rectangle, LightKind::disc}) {
    Scene scene = diffusePlane(albedo);
    addArea(scene, kind, {0, 1.5f, 0}, {0, 3, 0}, 6);
    addArea(scene, kind, {0, 1.5f, 0}, {0, 0, 0}, 6).range = 1.4f;
    EXPECT_EQ(draw(scene, 8, 16).mean().x, 0);
  }
}

// The same light, as a lamp far smaller than its distance and as a large one seen by its mirror image.
TEST(Irradiance, DistantAreaLightsAreLikeLamps) {
  for (const LightKind kind : {LightKind::rectangle, LightKind::disc}) {
    Scene scene = diffusePlane(albedo);
    addArea(scene, kind, {0, 60, 0}, {0, 0, 0}, 3600);
    EXPECT_NEAR(draw(scene, 16, 64).mean().x, albedo / pi, 0.01f * albedo / pi);
  }
}

// A mirror shows the light's radiance; the camera itself does not see it.
TEST(LightSampling, MirrorsShowAreaLightsAndTheCameraDoesNot) {
  for (const LightKind kind : {LightKind::rectangle, LightKind::disc}) {
    Scene scene;
    scene.materials[0]->metallic = 1;
    scene.materials[0]->roughness = 0;
    scene.add(quad({-5, 0, 5}, {10, 0, 0}, {0, 0, -10}));
    addArea(scene, kind, {0, 2, 0}, {0, 0, 0}, 4);
    scene.lookAt({0, 5, 0}, {0, 0, 0}, true, 0.2f); // through the light's back
    const float radiance = kind == LightKind::disc ? 4 / pi : 2;
    EXPECT_NEAR(draw(scene, 8, 8).mean().x, radiance, 0.01f * radiance);
    scene.lookAt({0, 0.1f, 0}, {0, 2, 0}, true, 0.2f);
    EXPECT_EQ(draw(scene, 8, 8).mean().x, 0);
  }
}

// Flush with a ceiling: half of the rays would end at the ceiling by rounding.
TEST(LightSampling, ASurfaceInTheLightsPlaneDoesNotShadowIt) {
  Scene scene = diffusePlane(albedo);
  addArea(scene, LightKind::rectangle, {0, 1.5f, 0}, {0, 0, 0}, 6);
  auto how = settings(16, 16, 64);
  how.globalIllumination = false;
  const float alone = draw(scene, 16, 16, how).mean().x;
  scene.add(quad({-9, 1.5f, -9}, {18, 0, 0}, {0, 0, 18})).seenByCamera = false;
  EXPECT_NEAR(draw(scene, 16, 16, how).mean().x, alone, 0.01f * alone);
}

TEST(LightSet, AreaLightsShareTheTreeWithLamps) {
  std::vector<SnapshotLight> list;
  for (std::uint32_t i = 0; i < 60; ++i) {
    SnapshotLight light;
    light.kind = i % 3 == 0 ? LightKind::rectangle : i % 3 == 1 ? LightKind::disc : LightKind::point;
    const Frame frame(normalize(Vec3{random(i, 1) - 0.5f, random(i, 2) - 0.5f, random(i, 3) - 0.5f}));
    const auto wide = [](Vec3 v) { return Vector(v.x, v.y, v.z); };
    light.toWorld = Matrix(wide({10 * random(i, 4), 5 + 10 * random(i, 5), 10 * random(i, 6)}), wide(frame.s),
                           wide(frame.t), wide(frame.n));
    light.width = light.height = 0.05f;
    list.push_back(light);
  }
  LightSet set(list, {});
  set.finish();
  const Vec3 position{5, 0, 5}, normal{0, 1, 0};
  double expected = 0; // as points: they are small
  for (const SnapshotLight& l : list) {
    const Vec3 to = Vec3(l.toWorld.off) - position;
    const float d = length(to), slant = l.kind == LightKind::point ? 1 : dot(to, Vec3(l.toWorld.v3)) / d;
    expected += static_cast<double>(std::max(0.0f, slant) * to.y / (d * d * d));
  }
  const LightPick pick = set.pick({position, normal});
  constexpr std::uint32_t count = 20000;
  double sum = 0, sum2 = 0;
  for (std::uint32_t i = 0; i < count; ++i) {
    const auto light = set.sample(pick, random(i, 7), {random(i, 8), random(i, 9)});
    const double v =
        light ? static_cast<double>(light->radiance.y * std::max(0.0f, dot(light->direction, normal))) : 0;
    sum += v, sum2 += v * v;
  }
  const double mean = sum / count, error = std::sqrt((sum2 / count - mean * mean) / count);
  EXPECT_NEAR(mean, expected, 5 * error + 1e-3 * expected);
  EXPECT_LT(error * std::sqrt(count), 0.6 * expected) << "lights that face away have no chance";
}

TEST(SphericalTriangle, HasTheSolidAngleOfItsCorners) {
  const SphericalTriangle octant({2, 0, 0}, {0, 3, 0}, {0, 0, 0.5f});
  EXPECT_NEAR(octant.solidAngle(), pi / 2, 1e-5f);
  // Nearly the whole hemisphere: a large triangle seen from close to its middle.
  EXPECT_NEAR(SphericalTriangle({1000, 0, 0.1f}, {-500, 866, 0.1f}, {-500, -866, 0.1f}).solidAngle(), 2 * pi,
              0.01f);
}

// The samples lie in the triangle and are spread evenly: an integral over directions agrees with one over the
// area.
TEST(SphericalTriangle, SamplesEvenly) {
  const Vec3 a{-0.5f, -0.3f, 0.2f}, b{0.9f, -0.4f, 0.3f}, c{0.1f, 0.8f, 0.25f};
  const SphericalTriangle triangle(a, b, c);
  constexpr int side = 64;
  const Vec3 across = cross(b - a, c - a);
  double byAngle = 0, byArea = 0;
  for (int i = 0; i < side * side; ++i) {
    const Vec2 u{(static_cast<float>(i % side) + 0.5f) / side, (static_cast<float>(i / side) + 0.5f) / side};
    const Vec3 d = triangle.sample(u);
    EXPECT_NEAR(length(d), 1, 1e-4f);
    EXPECT_GE(dot(d, cross(a, b)), -1e-4f);
    EXPECT_GE(dot(d, cross(b, c)), -1e-4f);
    EXPECT_GE(dot(d, cross(c, a)), -1e-4f);
    byAngle += static_cast<double>(triangle.solidAngle() * d.z * d.z);
    const float root = std::sqrt(u.x);
    const Vec3 p = a + (b - a) * (root * (1 - u.y)) + (c - a) * (root * u.y);
    const float distance = length(p);
    byArea += static_cast<double>(p.z * p.z * std::abs(dot(p, across)) / 2 / std::pow(distance, 5.0f));
  }
  EXPECT_NEAR(byAngle, byArea, 0.005 * byArea);
}

} // namespace
