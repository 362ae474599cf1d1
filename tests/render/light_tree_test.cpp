// The choice among many lights: probabilities against frequencies, and light against sums over all lights.
#include <gtest/gtest.h>

#include <cmath>

#include "light_set.h"
#include "sampler.h"

using namespace host;
using namespace host::render;

namespace {

float random(std::uint32_t i, std::uint32_t k) {
  return unitFloat(hashMore(hash32(i), k));
}
Vec3 randomPlace(std::uint32_t i, float size) {
  return (Vec3(random(i, 0), random(i, 1), random(i, 2)) - Vec3(0.5f)) * size;
}
Vec3 randomDirection(std::uint32_t i) {
  const float z = 1 - 2 * random(i, 3), r = std::sqrt(std::max(0.0f, 1 - z * z)), a = 2 * pi * random(i, 4);
  return {r * std::cos(a), r * std::sin(a), z};
}

// Points, spots, lamps with a radius and lamps with a range, in turn.
std::vector<SnapshotLight> lamps(std::uint32_t count) {
  std::vector<SnapshotLight> list;
  for (std::uint32_t i = 0; i < count; ++i) {
    SnapshotLight light;
    const Vec3 place = randomPlace(i, 10);
    const Frame frame(randomDirection(i));
    const auto wide = [](Vec3 v) { return Vector(v.x, v.y, v.z); };
    light.toWorld = Matrix(wide(place), wide(frame.s), wide(frame.t), wide(frame.n));
    light.kind = i % 3 == 1 ? LightKind::spot : LightKind::point;
    light.innerCone = 0.3f, light.outerCone = 0.9f;
    const float strength = 0.1f + random(i, 5);
    light.intensity = {strength, strength, strength};
    light.radius = i % 4 == 2 ? 0.1f : 0;
    light.range = i % 5 == 3 ? 4 : 0;
    list.push_back(light);
  }
  return list;
}

LightBounds pointBounds(std::uint32_t i) {
  LightBounds b;
  b.low = b.high = randomPlace(i, 10);
  b.power = 0.1f + random(i, 5);
  if (i % 2) {
    b.axis = randomDirection(i);
    b.reach = 0.5f + random(i, 6);
  }
  return b;
}

float everywhere(std::uint32_t) {
  return 1;
}

TEST(LightTree, ChoosesAsOftenAsItSays) {
  std::vector<LightBounds> lights;
  for (std::uint32_t i = 0; i < 37; ++i)
    lights.push_back(pointBounds(i));
  const LightTree tree(lights);
  for (std::uint32_t place = 0; place < 8; ++place) {
    const LightReceiver at{randomPlace(1000 + place, 12), place % 2 ? randomDirection(2000 + place) : Vec3()};
    std::vector<int> chosen(lights.size());
    constexpr int count = 1 << 14;
    double lost = 0;
    for (int i = 0; i < count; ++i) {
      const LightTree::Choice c = tree.choose(at, (static_cast<float>(i) + 0.5f) / count, everywhere);
      if (!(c.probability > 0)) {
        lost += 1.0 / count;
        continue;
      }
      ++chosen[c.light];
      EXPECT_NEAR(c.probability, tree.probability(c.light, at, everywhere), 1e-5f * c.probability);
    }
    double sum = 0;
    for (std::uint32_t i = 0; i < lights.size(); ++i) {
      const double p = static_cast<double>(tree.probability(i, at, everywhere));
      EXPECT_NEAR(chosen[i], p * count, 2);
      sum += p;
    }
    EXPECT_NEAR(sum + lost, 1, 1e-3);
  }
}

TEST(LightTree, BoundsNeverExcludeALightThatShines) {
  std::vector<LightBounds> lights;
  for (std::uint32_t i = 0; i < 300; ++i)
    lights.push_back(pointBounds(i));
  const LightTree tree(lights);
  for (std::uint32_t place = 0; place < 50; ++place) {
    const LightReceiver at{randomPlace(1000 + place, 12), randomDirection(2000 + place)};
    for (std::uint32_t i = 0; i < lights.size(); ++i) {
      const Vec3 to = normalize(lights[i].low - at.position);
      const float faces = dot(to, at.normal);
      const float shines =
          isZero(lights[i].axis) ? 1.0f : -dot(to, lights[i].axis) - std::cos(lights[i].reach);
      const float least = std::min(faces, shines), chance = tree.probability(i, at, everywhere);
      if (least > 1e-3f) {
        EXPECT_GT(chance, 0) << place << " " << i;
      }
      if (least < -1e-3f) {
        EXPECT_EQ(chance, 0) << place << " " << i;
      }
    }
  }
}

TEST(LightTree, RaysMeetTheLightsInTheirWay) {
  std::vector<LightBounds> lights;
  for (std::uint32_t i = 0; i < 200; ++i) {
    LightBounds b = pointBounds(i);
    b.low = b.low - Vec3(0.2f), b.high = b.high + Vec3(0.2f);
    b.findableByRay = i % 3 != 0;
    lights.push_back(b);
  }
  const LightTree tree(lights);
  for (std::uint32_t ray = 0; ray < 100; ++ray) {
    const std::uint32_t target = ray * 2;
    const Vec3 origin = randomPlace(5000 + ray, 30),
               to = (lights[target].low + lights[target].high) * 0.5f - origin;
    const float distance = length(to);
    const auto meets = [&](float near, float far) {
      bool met = false;
      tree.alongRay(origin, to / distance, near, far,
                    [&](std::uint32_t light) { met = met || light == target; });
      return met;
    };
    EXPECT_EQ(meets(0, 1e30f), target % 3 != 0);
    EXPECT_FALSE(meets(0, distance - 1));
    EXPECT_FALSE(meets(distance + 1, 1e30f));
  }
}

TEST(LightTree, LightsInOnePlaceMakeAShallowTree) {
  std::vector<LightBounds> lights(5000);
  for (LightBounds& b : lights)
    b.power = 1;
  const LightTree tree(lights);
  const LightReceiver at{{0, 1, 0}, {}};
  for (const std::uint32_t i : {0u, 2500u, 4999u})
    EXPECT_NEAR(tree.probability(i, at, everywhere) * 5000, 1, 0.5f);
}

// The irradiance of all lamps at a point: those with a radius are far above the horizon or wholly below it.
double irradiance(const std::vector<SnapshotLight>& lights, Vec3 position, Vec3 normal) {
  double sum = 0;
  for (const SnapshotLight& l : lights) {
    const Vec3 to = Vec3(l.toWorld.off) - position;
    const float d = length(to), cosine = dot(to, normal) / d;
    if (cosine <= 0) continue;
    float factor = 1;
    if (l.kind == LightKind::spot) {
      const float c = dot(to / d, Vec3(l.toWorld.v3));
      const float t = clamp01((c - std::cos(l.outerCone)) / (std::cos(l.innerCone) - std::cos(l.outerCone)));
      factor = t * t;
    }
    if (l.range > 0) factor *= clamp01(1 - sqr(sqr(d / l.range)));
    sum += static_cast<double>(l.intensity[0] * factor * cosine / (d * d));
  }
  return sum;
}

struct Estimate {
  double mean, error;
};

Estimate sampled(const LightSet& set, Vec3 position, Vec3 normal, std::uint32_t count) {
  const LightPick pick = set.pick({position, normal});
  double sum = 0, sum2 = 0;
  for (std::uint32_t i = 0; i < count; ++i) {
    const auto light = set.sample(pick, random(i, 7), {random(i, 8), random(i, 9)});
    const double v =
        light ? static_cast<double>(light->radiance.y * std::max(0.0f, dot(light->direction, normal))) : 0;
    sum += v, sum2 += v * v;
  }
  const double mean = sum / count;
  return {mean, std::sqrt(std::max(0.0, sum2 / count - mean * mean) / count)};
}

TEST(LightSet, AnyNumberOfLampsGivesTheSumOverAll) {
  for (const std::uint32_t count : {1u, 40u, 80u, 10000u}) {
    SCOPED_TRACE(count);
    const std::vector<SnapshotLight> list = lamps(count);
    LightSet set(list, {});
    set.finish();
    for (std::uint32_t place = 0; place < 4; ++place) {
      // Below all lamps and facing up, so that no lamp is cut by the horizon.
      const Vec3 position{random(place, 20) * 8 - 4, -5.5f, random(place, 21) * 8 - 4};
      const Estimate e = sampled(set, position, {0, 1, 0}, 4096);
      EXPECT_NEAR(e.mean, irradiance(list, position, {0, 1, 0}), 5 * e.error + 1e-5);
    }
  }
}

// Against a choice by power alone: the variance of that is a sum over the lights.
TEST(LightSet, ChoicesAreGoodAmongManyLamps) {
  std::vector<SnapshotLight> list = lamps(1000);
  double power = 0;
  for (SnapshotLight& l : list) {
    l.radius = 0;
    power += static_cast<double>(l.intensity[1]);
  }
  LightSet set(list, {});
  set.finish();
  for (std::uint32_t place = 0; place < 4; ++place) {
    const Vec3 position = randomPlace(300 + place, 8), normal = randomDirection(400 + place);
    constexpr std::uint32_t count = 4096;
    const Estimate e = sampled(set, position, normal, count);
    double mean = 0, flat = 0;
    for (const SnapshotLight& l : list) {
      const double one = irradiance({l}, position, normal);
      mean += one;
      flat += one * one * power / static_cast<double>(l.intensity[1]);
    }
    EXPECT_NEAR(e.mean, mean, 5 * e.error);
    EXPECT_LT(e.error * e.error * count, 0.6 * (flat - mean * mean));
  }
}

TEST(LightSet, SpotsAreNotChosenOutsideTheirCone) {
  std::vector<SnapshotLight> list = lamps(2);
  list[0].kind = LightKind::point, list[0].radius = 0, list[0].range = 0;
  list[1].kind = LightKind::spot, list[1].radius = 0.05f, list[1].range = 0;
  list[0].toWorld.off = Vector(0, 2, 0);
  list[1].toWorld.off = Vector(1, 2, 0); // shines away from the origin
  list[1].toWorld.v3 = Vector(0, -1, 0);
  list[1].intensity = {1000, 1000, 1000};
  LightSet set(list, {});
  set.finish();
  const Estimate e = sampled(set, {0, 0, 0}, {0, 1, 0}, 64);
  EXPECT_EQ(e.error, 0); // every sample goes to the one lamp that shines here
  EXPECT_GT(e.mean, 0);
}

// A closed box: the triangles that face away have no chance.
TEST(LightSet, GlowingTrianglesShineOnTheirSideOnly) {
  for (const float side : {1.0f, -1.0f, 0.0f}) {
    SCOPED_TRACE(side);
    LightSet set;
    const Vec3 place{0, 2, 0};
    set.addGlow({place, {0.1f, 0, 0}, {0, 0, 0.1f}, 0, 0, side}, 5); // faces down
    set.addGlow({place, {0, 0, 0.1f}, {0.1f, 0, 0}, 0, 1, side}, 5); // faces up
    set.finish();
    const LightPick pick = set.pick({{0, 0, 0}, {0, 1, 0}});
    int first = 0, second = 0;
    for (std::uint32_t i = 0; i < 64; ++i) {
      const auto light = set.sample(pick, random(i, 1), {random(i, 2), random(i, 3)});
      ASSERT_TRUE(light.has_value());
      (light->glow == 0 ? first : second) += 1;
      EXPECT_NEAR(light->pdf, set.glowPdf(pick, light->glow, light->distance, std::abs(light->direction.y)),
                  1e-3f * light->pdf);
    }
    EXPECT_EQ(first > 0, side >= 0) << first << " " << second;
    EXPECT_EQ(second > 0, side <= 0) << first << " " << second;
  }
}

} // namespace
