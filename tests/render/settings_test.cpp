// Effects of every render setting that is honoured.
#include <gtest/gtest.h>

#include <array>

#include "pixel_filter.h"
#include "scene_kit.h"

using namespace kit;
using host::render::AntiAliasing;
using host::render::Filter;
using host::render::pi;
using host::render::RenderSettings;

namespace {

// A ball of the first material over a red floor, under an even sky and a hard light.
Scene ballOnFloor(bool softLight = false) {
  Scene scene;
  scene.sky(0.5f);
  int floor;
  SurfaceMaterial& f = scene.addMaterial(&floor);
  f.baseColor = {0.8f, 0.1f, 0.1f, 1};
  f.reflectionOn = false;
  Matrix up;
  up.off = Vector(0, 1, 0);
  scene.add(ball(1, 48), 0, up);
  scene.add(quad({-20, 0, 20}, {40, 0, 0}, {0, 0, -40}), floor);
  scene.addLight(LightKind::point, {3, 4, 1}, {0, 0, 0}, 60).radius = softLight ? 0.4f : 0;
  scene.lookAt({0, 1.5f, 6}, {0, 0.9f, 0}, false, 0.5f);
  return scene;
}

Result shot(Scene& scene, const std::function<void(RenderSettings&)>& change = {}, int samples = 32) {
  auto how = settings(32, 32, samples);
  if (change) change(how);
  return draw(scene, 32, 32, how);
}

float difference(const Result& a, const Result& b) {
  double sum = 0;
  for (std::size_t i = 0; i < a.pixels.size(); ++i)
    sum += static_cast<double>(std::abs(a.pixels[i] - b.pixels[i]));
  return static_cast<float>(sum / static_cast<double>(a.pixels.size()));
}

TEST(Settings, GlobalIlluminationBringsBouncedLight) {
  Scene scene;
  SurfaceMaterial& m = *scene.materials[0];
  m.baseColor = {0.5f, 0.5f, 0.5f, 1};
  m.reflectionOn = false;
  // A wall in the light's shadow that sees a lit floor.
  scene.add(quad({-5, 0, 5}, {10, 0, 0}, {0, 0, -10}));
  scene.add(quad({-5, 0, -2}, {10, 0, 0}, {0, 5, 0}));
  scene.addLight(LightKind::distant, {0, 1, -1}, {0, 0, 0}, pi);
  scene.lookAt({0, 1, 3}, {0, 1, -2}, true, 0.3f);
  scene.snapshot->instances[1].castsShadows = false;
  // With the light behind the wall its near side is dark but for the floor.
  const auto wall = [&](bool on) {
    return shot(scene, [&](RenderSettings& s) { s.globalIllumination = on; }).mean().x;
  };
  EXPECT_EQ(wall(false), 0);
  EXPECT_GT(wall(true), 0.03f);
}

TEST(Settings, WithoutGlobalIlluminationTheSkyStillLights) {
  Scene scene;
  scene.sky(2);
  scene.materials[0]->baseColor = {0.5f, 0.5f, 0.5f, 1};
  scene.materials[0]->reflectionOn = false;
  scene.add(quad({-5, 0, 5}, {10, 0, 0}, {0, 0, -10}));
  scene.lookAt({0, 1, 0}, {0, 0, 0}, true, 0.3f);
  EXPECT_NEAR(shot(scene, [](RenderSettings& s) { s.globalIllumination = false; }).mean().x, 1, 0.01f);
}

TEST(Settings, ReflectionOff) {
  Scene scene = ballOnFloor();
  SurfaceMaterial& m = *scene.materials[0];
  m.metallic = 1, m.roughness = 0;
  const Vec3 on = shot(scene).mean(13, 19, 18, 21);
  EXPECT_GT(on.x, 2 * on.y); // the ball shows the red floor
  const Vec3 off = shot(scene, [](RenderSettings& s) { s.reflection = false; }).mean(15, 9, 16, 11);
  EXPECT_NEAR(off.x, off.y, 0.25f * off.x); // white and diffuse
}

TEST(Settings, LimitedReflectionShowsFloorsAndSkyOnly) {
  Scene scene = ballOnFloor();
  SurfaceMaterial& m = *scene.materials[0];
  m.metallic = 1, m.roughness = 0;
  const auto limit = [](RenderSettings& s) { s.limitReflection = true; };
  const Vec3 hidden = shot(scene, limit).mean(13, 19, 18, 21);
  EXPECT_NEAR(hidden.x, hidden.y, 1e-4f); // only the grey sky
  scene.snapshot->instances[1].isFloor = true;
  const Vec3 shown = shot(scene, limit).mean(13, 19, 18, 21);
  EXPECT_GT(shown.x, 2 * shown.y);
}

TEST(Settings, ShadowOffAndLimited) {
  Scene hard = ballOnFloor(), soft = ballOnFloor(true);
  const auto off = [](RenderSettings& s) { s.shadow = false; };
  const auto limited = [](RenderSettings& s) { s.limitShadow = true; };
  EXPECT_GT(shot(hard, off).mean().x, 1.02f * shot(hard).mean().x);
  EXPECT_NEAR(difference(shot(hard, off), shot(hard, limited)), 0, 1e-6f);   // a hard light's shadow goes
  EXPECT_GT(shot(soft, off).mean().x, 1.02f * shot(soft, limited).mean().x); // a soft one's stays
  EXPECT_NEAR(difference(shot(soft), shot(soft, limited)), 0, 1e-6f);
}

TEST(Settings, TransparencyAndRefraction) {
  Scene scene = ballOnFloor();
  SurfaceMaterial& m = *scene.materials[0];
  m.transmission = 1, m.roughness = 0, m.thickness = 1;
  const Result glass = shot(scene);
  const Result opaque = shot(scene, [](RenderSettings& s) { s.transparency = false; });
  const Result straight = shot(scene, [](RenderSettings& s) { s.refraction = false; });
  EXPECT_GT(difference(glass, opaque), 0.01f);
  EXPECT_GT(difference(glass, straight), 0.01f);
  // Without refraction the lower half of the ball shows the floor behind it; refracted it shows the sky.
  const Vec3 low = straight.mean(15, 18, 16, 20), bent = glass.mean(15, 20, 16, 21);
  EXPECT_GT(low.x, 3 * low.y);
  EXPECT_LT(bent.x, 3 * bent.y);
}

TEST(Settings, BlurrinessOffMakesReflectionsSharp) {
  Scene scene = ballOnFloor();
  SurfaceMaterial& m = *scene.materials[0];
  m.metallic = 1, m.roughness = 0.6f;
  const auto off = [](RenderSettings& s) { s.blurry = false; };
  const Result rough = shot(scene), sharp = shot(scene, off);
  m.roughness = 0;
  const Result mirror = shot(scene);
  EXPECT_GT(difference(rough, sharp), 0.01f);
  EXPECT_EQ(difference(sharp, mirror), 0);
}

TEST(Settings, CausticsBringLightThroughGlass) {
  // A glass ball focuses the light of a glowing square onto the floor.
  Scene scene;
  SurfaceMaterial& m = *scene.materials[0];
  m.transmission = 1, m.roughness = 0, m.thickness = 1;
  int floor, glow;
  SurfaceMaterial& f = scene.addMaterial(&floor);
  f.reflectionOn = false;
  SurfaceMaterial& g = scene.addMaterial(&glow);
  g.emission = {10, 10, 10};
  Matrix up;
  up.off = Vector(0, 1.2, 0);
  scene.add(ball(1, 64), 0, up).seenByCamera = false;
  scene.add(quad({-5, 0, 5}, {10, 0, 0}, {0, 0, -10}), floor);
  scene.add(quad({-0.6f, 4, -0.6f}, {1.2f, 0, 0}, {0, 0, 1.2f}), glow).seenByCamera = false;
  scene.lookAt({0, 3, 0}, {0, 0, 0}, true, 0.2f);
  const auto light = [&](bool on) {
    return shot(
               scene,
               [&](RenderSettings& s) {
                 s.caustics = on;
                 s.clampIndirect = 0;
               },
               256)
        .mean()
        .x;
  };
  const float plain = light(false), focused = light(true);
  EXPECT_GT(focused, 1.5f * plain);
  EXPECT_GT(plain, 0.1f); // a coloured shadow, not a black one
}

TEST(Settings, AmbientOcclusionDarkensContacts) {
  Scene scene = ballOnFloor();
  const Result without = shot(scene);
  const Result with = shot(scene, [](RenderSettings& s) { s.ambientOcclusion = true; });
  EXPECT_LT(with.mean().x, 0.98f * without.mean().x);
  EXPECT_EQ(with.at(1, 1).y, without.at(1, 1).y); // the sky stays
}

TEST(Settings, AntiAliasing) {
  // A white square on black, its edge through the middle of a pixel.
  Scene scene;
  scene.materials[0]->unlit = true;
  scene.add(quad({0.03f, -2, 0}, {2, 0, 0}, {0, 4, 0}));
  scene.lookAt({0, 0, 5}, {0, 0, 0}, true, 1);
  const auto kinds = [&](AntiAliasing kind) {
    const Result r = shot(scene, [&](RenderSettings& s) { s.antiAliasing = kind; });
    int between = 0;
    for (int y = 0; y < 32; ++y)
      for (int x = 0; x < 32; ++x)
        between += r.at(x, y).x > 0.01f && r.at(x, y).x < 0.99f;
    return between;
  };
  EXPECT_EQ(kinds(AntiAliasing::none), 32);
  EXPECT_EQ(kinds(AntiAliasing::geometry), 32);
  EXPECT_EQ(kinds(AntiAliasing::best), 32);
}

TEST(Settings, WithoutAntiAliasingSamplesSpreadOverThePixelAlone) {
  Scene scene;
  scene.materials[0]->unlit = true;
  scene.add(quad({0.03f, -2, 0}, {2, 0, 0}, {0, 4, 0}));
  scene.lookAt({0, 0, 5}, {0, 0, 0}, true, 1);
  const auto row = [&](AntiAliasing kind, int samples) {
    const auto how = [&](RenderSettings& s) { s.antiAliasing = kind, s.filter = Filter::blend; };
    const Result r = shot(scene, how, samples);
    return std::array<float, 3>{r.mean(15, 0, 15, 31).x, r.mean(16, 0, 16, 31).x, r.mean(17, 0, 17, 31).x};
  };
  const auto alone = row(AntiAliasing::none, 64), wide = row(AntiAliasing::best, 64);
  EXPECT_EQ(alone[0], 0) << "nothing of the neighbours";
  EXPECT_NEAR(alone[1], 0.52f, 0.01f) << "the part of the pixel that the square covers";
  EXPECT_EQ(alone[2], 1);
  EXPECT_GT(wide[0], 0.02f);
  EXPECT_LT(wide[2], 0.98f);
  const auto lone = row(AntiAliasing::none, 1);
  EXPECT_EQ(lone[1], 1) << "a single sample lies in the middle";
}

TEST(Settings, GeometryTakesAllSamplesAtEdgesBetweenObjects) {
  // Two equal squares side by side: no noise.
  Scene scene;
  scene.materials[0]->unlit = true;
  scene.add(quad({-2, -2, 0}, {2, 0, 0}, {0, 4, 0}));
  scene.add(quad({0, -2, 0}, {2, 0, 0}, {0, 4, 0}));
  scene.lookAt({0, 0, 5}, {0, 0, 0}, true, 1);
  const auto samples = [&](AntiAliasing kind) {
    const auto how = [&](RenderSettings& s) { s.antiAliasing = kind, s.noise = 0.01f; };
    return shot(scene, how, 64).stats.cameraSamples;
  };
  const auto none = samples(AntiAliasing::none);
  EXPECT_EQ(samples(AntiAliasing::best), none);
  EXPECT_EQ(samples(AntiAliasing::geometry), none + 48u * 2 * 32) << "48 more in the two columns of the edge";
}

TEST(Settings, GeometryUsesTheFilterAtEdgesBetweenObjectsAlone) {
  Scene scene;
  scene.materials[0]->unlit = true;
  auto shade = std::make_shared<Shade>();
  shade->kind = ShadeKind::bitmap;
  shade->texture.nearest = true;
  shade->texture.picture = picture(2, 1, [](int x, int) {
    const int v = x ? 255 : 0;
    return std::array<int, 4>{v, v, v, 255};
  });
  scene.materials[0]->baseColorShade = shade;
  scene.add(quad({-1.97f, -2, 0}, {4, 0, 0}, {0, 4, 0}));
  scene.lookAt({0, 0, 5}, {0, 0, 0}, true, 1);
  // The texture's edge runs through pixel 16.
  const auto leaks = [&](AntiAliasing kind) {
    const auto how = [&](RenderSettings& s) { s.antiAliasing = kind, s.filter = Filter::blend; };
    return shot(scene, how, 64).mean(15, 0, 15, 31).x > 0.02f;
  };
  EXPECT_FALSE(leaks(AntiAliasing::none));
  EXPECT_FALSE(leaks(AntiAliasing::geometry));
  EXPECT_TRUE(leaks(AntiAliasing::best));
}

TEST(Settings, FiltersKeepEvenAreasAndDifferAtEdges) {
  Scene scene;
  scene.materials[0]->unlit = true;
  scene.add(quad({0, -2, 0}, {2, 0, 0}, {0, 4, 0}));
  scene.lookAt({0, 0, 5}, {0, 0, 0}, true, 1);
  std::vector<float> blur;
  for (int kind = 0; kind < 8; ++kind) {
    SCOPED_TRACE(kind);
    const Result r = shot(
        scene, [&](RenderSettings& s) { s.filter = static_cast<Filter>(kind); }, 256);
    EXPECT_NEAR(r.at(25, 16).x, 1, 1e-4f);
    EXPECT_EQ(r.at(5, 16).x, 0);
    EXPECT_NEAR(r.mean(10, 0, 21, 31).x, 0.5f, 0.03f);
    blur.push_back(r.mean(15, 0, 15, 31).x); // light that leaks over the edge
  }
  EXPECT_LT(blur[0], blur[1]); // `still` is crisper than `animation`, and that than `blend`
  EXPECT_LT(blur[1], blur[2]);
  EXPECT_LT(blur[4], 0.01f); // area stays inside the pixel
}

TEST(Settings, FilterSamplesFollowTheFilter) {
  for (int kind = 0; kind < 8; ++kind) {
    SCOPED_TRACE(kind);
    const render::PixelFilter filter(static_cast<Filter>(kind));
    double weight = 0, second = 0, expected = 0, total = 0;
    constexpr int steps = 512;
    for (int i = 0; i < steps; ++i) {
      const auto s = filter.sample({(static_cast<float>(i) + 0.5f) / steps, 0.5f});
      const auto axis = filter.sample({0.5f, 0.5f}).weight; // the other axis at its middle
      weight += static_cast<double>(s.weight / std::sqrt(axis));
      second += static_cast<double>(s.weight / std::sqrt(axis) * s.offset.x * s.offset.x);
      const float x = ((static_cast<float>(i) + 0.5f) / steps * 2 - 1) * filter.radius();
      const float f = render::PixelFilter::value(static_cast<Filter>(kind), x);
      total += static_cast<double>(f);
      expected += static_cast<double>(f * x * x);
    }
    EXPECT_NEAR(weight / steps, 1, 0.02);
    EXPECT_NEAR(second / steps, expected / total, 0.02);
  }
}

TEST(Settings, PreviewHasNoNoiseAndNeedsNoLight) {
  Scene scene;
  scene.materials[0]->baseColor = {0.2f, 0.6f, 0.4f, 1};
  scene.add(ball(1, 48));
  scene.lookAt({0, 0, 5}, {0, 0, 0}, true, 1.2f);
  const auto preview = [](RenderSettings& s) { s.preview = true; };
  const Result a = shot(scene, preview);
  const Result b = shot(scene, [&](RenderSettings& s) {
    preview(s);
    s.seed = 77;
  });
  EXPECT_EQ(difference(a, b), 0);
  EXPECT_GT(a.at(16, 16).y, 0.3f);
  EXPECT_NEAR(a.at(16, 16).y / a.at(16, 16).x, 3, 0.01f);
  EXPECT_LE(a.stats.cameraSamples, 6u * 32 * 32);
}

TEST(Settings, ReadFromTheContainer) {
  BaseContainer c;
  RenderSettings s = render::readSettings(c, 100, 50);
  EXPECT_EQ(s.samples, 64);
  EXPECT_EQ(s.region.right, 99);
  EXPECT_EQ(s.region.bottom, 49);
  EXPECT_TRUE(s.reflection && s.shadow && s.transparency && s.refraction && s.blurry);
  EXPECT_FALSE(s.preview);
  c.SetLong(RDATA_ANTIALIASING, 1);
  c.SetLong(RDATA_AAFILTER, 6);
  c.SetBool(RDATA_RENDERREGION, TRUE);
  c.SetLong(RDATA_RENDERREGION_LEFT, -20);
  c.SetLong(RDATA_RENDERREGION_TOP, 10);
  c.SetLong(RDATA_RENDERREGION_RIGHT, 500);
  c.SetLong(RDATA_RENDERREGION_BOTTOM, 20);
  c.SetLong(RDATA_MAXSAMPLES, -5);
  c.SetReal(RDATA_NOISETHRESHOLD, 0.0);
  c.SetLong(RDATA_RENDERENGINE, RDATA_RENDERENGINE_PREVIEWSOFTWARE);
  c.SetBool(RDATA_OPTION_REFLECTION, FALSE);
  c.SetBool(RDATA_OPTION_LIMITSHADOW, TRUE);
  s = render::readSettings(c, 100, 50);
  EXPECT_EQ(s.antiAliasing, AntiAliasing::geometry);
  EXPECT_EQ(s.filter, Filter::catmull);
  EXPECT_EQ(s.region.left, 0);
  EXPECT_EQ(s.region.top, 10);
  EXPECT_EQ(s.region.right, 99);
  EXPECT_EQ(s.region.bottom, 20);
  EXPECT_EQ(s.samples, 1);
  EXPECT_EQ(s.noise, 0);
  EXPECT_TRUE(s.preview);
  EXPECT_FALSE(s.reflection);
  EXPECT_TRUE(s.limitShadow);
}

} // namespace
