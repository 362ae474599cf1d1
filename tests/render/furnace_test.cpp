// White surfaces under an even sky return all light: energy is neither lost nor created.
#include <gtest/gtest.h>

#include "bsdf.h"
#include "sampler.h"
#include "scene_kit.h"

using namespace kit;
using host::render::Bsdf;
using host::render::BsdfSample;
using host::render::SurfaceLook;
using host::render::Vec2;

namespace {

// A plane that fills the view, seen at an angle, under a sky of radiance 1.
Vec3 furnace(const std::function<void(SurfaceMaterial&)>& change, float cosine, int samples = 64) {
  Scene scene;
  scene.sky(1);
  change(*scene.materials[0]);
  scene.add(quad({-50, 0, 50}, {100, 0, 0}, {0, 0, -100}));
  const float sine = std::sqrt(1 - cosine * cosine);
  scene.lookAt(Vec3(sine, cosine, 0) * 10, {0, 0, 0}, true, 0.5f);
  return draw(scene, 24, samples).mean();
}

struct Look {
  const char* name;
  std::function<void(SurfaceMaterial&, float)> set;
};

const Look looks[] = {
    {"diffuse and dielectric", [](SurfaceMaterial& m, float r) { m.roughness = r; }},
    {"metal", [](SurfaceMaterial& m, float r) { m.metallic = 1, m.roughness = r; }},
    {"half metal", [](SurfaceMaterial& m, float r) { m.metallic = 0.5f, m.roughness = r; }},
    {"clear coat over metal",
     [](SurfaceMaterial& m, float r) {
       m.metallic = 1, m.roughness = r, m.clearcoat = 1, m.clearcoatRoughness = r;
     }},
    {"clear coat over diffuse",
     [](SurfaceMaterial& m, float r) { m.roughness = 1, m.clearcoat = 1, m.clearcoatRoughness = r; }},
    {"high index", [](SurfaceMaterial& m, float r) { m.roughness = r, m.ior = 2.4f; }},
};

TEST(Furnace, WhiteSurfacesReturnEverything) {
  for (const Look& look : looks)
    for (const float roughness : {0.0f, 0.1f, 0.3f, 0.6f, 1.0f})
      for (const float cosine : {0.2f, 0.6f, 1.0f}) {
        SCOPED_TRACE(testing::Message() << look.name << ", roughness " << roughness << ", cosine " << cosine);
        const Vec3 c = furnace([&](SurfaceMaterial& m) { look.set(m, roughness); }, cosine);
        // Half metals lose a little in the blend of two compensated reflections.
        EXPECT_NEAR(c.x, 1, 0.02);
        EXPECT_LE(c.x, 1.015);
      }
}

// The smooth normals of a coarse mesh lean far over along its outline.
TEST(Furnace, CoarseMeshesHaveNoDarkOutline) {
  for (const bool metal : {false, true}) {
    SCOPED_TRACE(metal);
    Scene scene;
    scene.sky(1);
    SurfaceMaterial& m = *scene.materials[0];
    m.metallic = metal, m.roughness = 0.05f;
    scene.add(ball(1, 10));
    scene.lookAt({0, 0, 5}, {0, 0, 0}, true, 1.1f);
    const Result picture = draw(scene, 96, 64);
    float darkest = 1;
    for (int y = 0; y < 96; ++y)
      for (int x = 0; x < 96; ++x)
        darkest = std::min(darkest, picture.at(x, y).x);
    EXPECT_GT(darkest, 0.85);
  }
}

TEST(Furnace, GreySurfacesReturnTheirShare) {
  const Vec3 c = furnace(
      [](SurfaceMaterial& m) {
        m.baseColor = {0.5f, 0.25f, 0.75f, 1};
        m.reflectionOn = false;
      },
      1);
  EXPECT_NEAR(c.x, 0.5, 0.004);
  EXPECT_NEAR(c.y, 0.25, 0.003);
  EXPECT_NEAR(c.z, 0.75, 0.006);
}

TEST(Furnace, GlassLosesNothing) {
  for (const float roughness : {0.0f, 0.2f, 0.5f, 0.9f})
    for (const float ior : {1.1f, 1.5f, 2.0f}) {
      SCOPED_TRACE(testing::Message() << "roughness " << roughness << ", index " << ior);
      Scene scene;
      scene.sky(1);
      SurfaceMaterial& m = *scene.materials[0];
      m.transmission = 1, m.roughness = roughness, m.ior = ior, m.thickness = 1;
      scene.add(ball(1));
      scene.lookAt({0, 0, 5}, {0, 0, 0}, true, 0.6f);
      auto how = settings(24, 24, 128);
      how.bounces = 64; // light bounces inside
      const Vec3 c = draw(scene, 24, 24, how).mean();
      EXPECT_NEAR(c.x, 1, 0.03);
    }
}

TEST(Furnace, ThinSheetsLoseNothing) {
  for (const float roughness : {0.0f, 0.1f, 0.4f, 0.9f})
    for (const float cosine : {0.2f, 0.6f, 1.0f}) {
      SCOPED_TRACE(testing::Message() << "roughness " << roughness << ", cosine " << cosine);
      const Vec3 c =
          furnace([&](SurfaceMaterial& m) { m.transmission = 1, m.roughness = roughness; }, cosine);
      EXPECT_NEAR(c.x, 1, 0.02);
      EXPECT_LE(c.x, 1.01);
    }
}

TEST(Furnace, EnergyIsNeverAboveTheInput) {
  for (int i = 0; i < 40; ++i) {
    const auto at = [&](std::uint32_t k) {
      return render::unitFloat(render::hash32(static_cast<std::uint32_t>(i) * 64 + k));
    };
    SCOPED_TRACE(i);
    Scene scene;
    scene.sky(1);
    SurfaceMaterial& m = *scene.materials[0];
    m.baseColor = {at(0), at(1), at(2), 1};
    m.metallic = at(3), m.roughness = at(4), m.clearcoat = at(5), m.clearcoatRoughness = at(6);
    m.transmission = at(7) < 0.5f ? 0 : at(8);
    m.thickness = at(13) < 0.5f ? 0.0f : 1.0f;
    m.ior = 1 + at(9);
    m.specularColor = {at(10), at(11), at(12)};
    scene.add(ball(1));
    scene.lookAt({0, 0, 5}, {0, 0, 0}, true, 1.1f);
    const Result r = draw(scene, 16, 64);
    const Vec3 c = r.mean();
    EXPECT_LE(render::maxComponent(c), 1.01f);
    EXPECT_GT(render::maxComponent(c), 0.0f);
  }
}

// `sample` agrees with `evaluate`: the mean of its weights is the integral of the values, and its density
// integrates to the share of valid samples.
TEST(Bsdf, SamplingAgreesWithEvaluation) {
  const render::Vec3 n{0, 0, 1};
  for (const float roughness : {0.15f, 0.4f, 0.8f})
    for (const float transmission : {0.0f, 0.6f})
      for (const bool entering : {true, false})
        for (const float cosine : {0.3f, 0.9f}) {
          SCOPED_TRACE(testing::Message()
                       << roughness << " " << transmission << " " << entering << " " << cosine);
          SurfaceLook look;
          look.baseColor = {0.8f, 0.6f, 0.4f};
          look.roughness = roughness;
          look.metallic = 0.25f;
          look.transmission = transmission;
          look.clearcoat = 0.5f;
          look.clearcoatRoughness = 0.3f;
          look.thin = false;
          const auto front = render::glassAlbedo(look.ior), back = render::glassAlbedo(1 / look.ior);
          look.glassFront = front.get();
          look.glassBack = back.get();
          const Vec3 wo{std::sqrt(1 - cosine * cosine), 0, cosine};
          const Bsdf bsdf(look, {n, n}, wo, entering, false);
          const LobeSums sums = lobeSums(bsdf, 1 << 17);
          EXPECT_NEAR(sums.sampled, sums.integral, 0.02);
          EXPECT_NEAR(sums.hits, sums.density, 0.02);
        }
}

} // namespace
