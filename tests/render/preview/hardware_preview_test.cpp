// The hardware preview: its pictures, and its fallback without a driver. Without a driver on this machine the
// tests of pictures are skipped.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <span>
#include <thread>

#include "hardware_preview.h"
#include "host_fixture.h"
#include "scene_cache.h"
#include "scene_kit.h"

using namespace kit;
using host::render::AntiAliasing;
using host::render::hardwareCounters;
using host::render::pi;
using host::render::Region;
using host::render::RenderHooks;
using host::render::RenderSettings;

namespace {

RenderSettings hardware(int width, int height, AntiAliasing kind = AntiAliasing::none) {
  RenderSettings s = settings(width, height, 16);
  s.preview = s.hardware = true;
  s.antiAliasing = kind;
  return s;
}

RenderSettings rays(int width, int height) {
  RenderSettings s = settings(width, height, 64);
  s.globalIllumination = false;
  s.shadow = false;
  return s;
}

// Draws in hardware; nothing when that is not possible.
std::optional<RENDERRESULT> attempt(Scene& scene, BaseBitmap& bitmap, const RenderSettings& how,
                                    const RenderHooks& hooks = {}) {
  const auto report = render::drawHardwarePreview({scene.snapshot, how, &bitmap, hooks});
  if (!report) return std::nullopt;
  return render::interfaceResult(report->outcome);
}

bool hasDriver() {
  static const bool there = [] {
    render::allowHardwarePreview(true);
    Scene scene;
    Bitmap bitmap(4, 4);
    return attempt(scene, *bitmap.bitmap, hardware(4, 4)).has_value();
  }();
  return there;
}

class HardwarePreview : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!hasDriver()) GTEST_SKIP() << "no OpenGL driver on this machine";
  }
};

// A quad of one colour, shown as it is, on black.
Scene plain(Vec3 corner, Vec3 u, Vec3 v, Vec3 color) {
  Scene scene;
  SurfaceMaterial& m = *scene.materials[0];
  m.unlit = true;
  m.baseColor = {color.x, color.y, color.z, 1};
  scene.add(quad(corner, u, v));
  return scene;
}

float difference(const Result& a, const Result& b) {
  double sum = 0;
  for (std::size_t i = 0; i < a.pixels.size(); ++i)
    sum += static_cast<double>(std::abs(std::min(a.pixels[i], 1.0f) - std::min(b.pixels[i], 1.0f)));
  return static_cast<float>(sum / static_cast<double>(a.pixels.size()));
}

TEST_F(HardwarePreview, AQuadCoversExactlyItsPixels) {
  // Orthographic, two pixels a metre from the middle of a 16 x 12 picture: columns 2 to 4, rows 1 to 5.
  Scene scene = plain({-3, 0, 0}, {1.5f, 0, 0}, {0, 2.5f, 0}, {1, 0, 0});
  scene.lookAt({0, 0, 5}, {0, 0, 0}, true, 3);
  const Result r = draw(scene, 16, 12, hardware(16, 12));
  for (int y = 0; y < 12; ++y)
    for (int x = 0; x < 16; ++x) {
      SCOPED_TRACE(std::to_string(x) + ", " + std::to_string(y));
      const bool inside = x >= 2 && x <= 4 && y >= 1 && y <= 5;
      EXPECT_EQ(r.at(x, y).x, inside ? 1 : 0);
      EXPECT_EQ(r.at(x, y).y, 0);
      EXPECT_EQ(r.alpha(x, y), inside ? 1 : 0);
      EXPECT_EQ(r.display[static_cast<std::size_t>(y * 16 + x)], inside ? 0xff0000u : 0u);
    }
  scene.snapshot->camera.shiftX = 0.125f, scene.snapshot->camera.shiftY = 0.25f; // two columns, three rows
  const Result shifted = draw(scene, 16, 12, hardware(16, 12));
  for (int y = 0; y < 12; ++y)
    for (int x = 0; x < 16; ++x)
      EXPECT_EQ(shifted.at(x, y).x, x <= 2 && y >= 4 && y <= 8 ? 1 : 0) << x << ' ' << y;
}

TEST_F(HardwarePreview, PerspectiveAgreesWithRays) {
  Scene scene = plain({-1, -0.5f, -1}, {1.7f, 0.3f, -2}, {0.2f, 1.6f, 0.5f}, {1, 1, 1});
  RenderSettings how = rays(90, 60);
  how.antiAliasing = AntiAliasing::none;
  how.samples = 1;
  for (const bool shifted : {false, true}) {
    scene.lookAt({0.4f, 0.7f, 3}, {0, 0.2f, 0}, false, 0.9f);
    if (shifted) scene.snapshot->camera.shiftX = 0.2f, scene.snapshot->camera.shiftY = -0.15f;
    const Result hard = draw(scene, 90, 60, hardware(90, 60));
    const Result traced = draw(scene, 90, 60, how);
    int apart = 0, covered = 0;
    for (int y = 0; y < 60; ++y)
      for (int x = 0; x < 90; ++x) {
        apart += (hard.at(x, y).x > 0.5f) != (traced.at(x, y).x > 0.5f);
        covered += traced.at(x, y).x > 0;
      }
    EXPECT_GT(covered, 500);
    EXPECT_LE(apart, 4); // pixels whose centre is on the edge
  }
}

TEST_F(HardwarePreview, TexturesAreUpright) {
  Scene scene = plain({-1, 1, 0}, {2, 0, 0}, {0, -2, 0}, {1, 1, 1});
  auto shade = std::make_shared<Shade>();
  shade->kind = ShadeKind::bitmap;
  shade->texture.nearest = true;
  shade->texture.picture = picture(2, 2, [](int x, int y) {
    return std::array<int, 4>{x == 0 && y == 0 ? 255 : 0, x == 1 && y == 0 ? 255 : 0, y == 1 ? 188 : 0, 255};
  });
  scene.materials[0]->baseColorShade = shade;
  scene.lookAt({0, 0, 5}, {0, 0, 0}, true, 1);
  const Result r = draw(scene, 16, 16, hardware(16, 16));
  EXPECT_EQ(r.display[3 * 16 + 3], 0xff0000u);
  EXPECT_EQ(r.display[3 * 16 + 12], 0x00ff00u);
  EXPECT_NEAR(r.at(3, 12).z, 0.5029f, 0.002f); // sRGB 188, decoded
  EXPECT_EQ(r.display[12 * 16 + 3], 0x0000bcu);
}

TEST_F(HardwarePreview, ColoursOfSixteenBitsAreDecoded) {
  Scene scene = plain({-1, 1, 0}, {2, 0, 0}, {0, -2, 0}, {1, 1, 1});
  const std::string file = "P6\n1 1\n65535\n\xbc\xbc\x80\x01\x10\x01"; // 188 and about 128 and 16 of 255
  auto image = std::make_shared<Picture>();
  image->name = "words.ppm";
  const auto bytes = std::as_bytes(std::span(file));
  image->bytes = std::make_shared<const std::vector<std::byte>>(bytes.begin(), bytes.end());
  scene.materials[0]->baseColorShade = bitmapShade(image);
  scene.lookAt({0, 0, 5}, {0, 0, 0}, true, 1);
  const Result r = draw(scene, 8, 8, hardware(8, 8));
  EXPECT_NEAR(r.at(4, 4).x, 0.5029f, 0.002f);
  EXPECT_NEAR(r.at(4, 4).y, 0.2140f, 0.002f); // (32769 / 65535) decoded
  EXPECT_NEAR(r.at(4, 4).z, 0.0052f, 0.001f);
}

TEST_F(HardwarePreview, TextureTransformsAgreeWithRays) {
  Scene scene = plain({-1, 1, 0}, {2, 0, 0}, {0, -2, 0}, {1, 1, 1});
  auto shade = std::make_shared<Shade>();
  shade->kind = ShadeKind::bitmap;
  shade->texture.nearest = true;
  shade->texture.scale = {1.5f, 0.75f};
  shade->texture.offset = {0.2f, 0.3f};
  shade->texture.rotation = 0.6f;
  shade->texture.wrapU = Wrap::mirror;
  shade->texture.picture = picture(4, 4, [](int x, int y) {
    return std::array<int, 4>{60 * x, 60 * y, 30 * (x + y), 255};
  });
  // On a dark layer, at half strength.
  auto ground = std::make_shared<Shade>();
  ground->color = {0.1f, 0.2f, 0.3f, 1};
  shade->amount = 0.5f;
  shade->mix = ShadeMix::add;
  auto layers = std::make_shared<Shade>();
  layers->kind = ShadeKind::layer;
  layers->children = {ground, shade};
  scene.materials[0]->baseColorShade = layers;
  scene.lookAt({0, 0, 5}, {0, 0, 0}, true, 1);
  RenderSettings how = rays(64, 64);
  how.antiAliasing = AntiAliasing::none;
  how.samples = 1;
  EXPECT_LT(difference(draw(scene, 64, 64, hardware(64, 64)), draw(scene, 64, 64, how)), 0.003f);
}

TEST_F(HardwarePreview, LightAgreesWithRays) {
  struct Case {
    const char* name;
    LightKind kind;
    float metallic, roughness;
    bool reflects;
  };
  for (const Case& c : {Case{"plaster, sun", LightKind::distant, 0, 1, false},
                        Case{"plaster, lamp", LightKind::point, 0, 1, false},
                        Case{"lacquer, spot", LightKind::spot, 0, 0.4f, true},
                        Case{"metal, lamp", LightKind::point, 1, 0.5f, true}}) {
    SCOPED_TRACE(c.name);
    Scene scene;
    SurfaceMaterial& m = *scene.materials[0];
    m.baseColor = {0.7f, 0.4f, 0.2f, 1};
    m.metallic = c.metallic, m.roughness = c.roughness, m.reflectionOn = c.reflects;
    scene.add(ball(1, 48));
    SnapshotLight& light =
        scene.addLight(c.kind, {2, 3, 3}, {0, 0, 0}, c.kind == LightKind::distant ? pi : 20 * pi);
    light.innerCone = 0.2f, light.outerCone = 0.35f;
    scene.lookAt({0, 0, 5}, {0, 0, 0}, false, 0.5f);
    const Result hard = draw(scene, 48, 48, hardware(48, 48, AntiAliasing::best));
    const Result traced = draw(scene, 48, 48, rays(48, 48));
    EXPECT_GT(traced.mean().x, 0.05f);
    EXPECT_LT(difference(hard, traced), 0.01f);
    EXPECT_NEAR(hard.mean().x, traced.mean().x, 0.03f * traced.mean().x);
  }
}

TEST_F(HardwarePreview, AnEvenSkyLightsAndIsMirrored) {
  for (const float metallic : {0.0f, 1.0f}) {
    Scene scene;
    SurfaceMaterial& m = *scene.materials[0];
    m.metallic = metallic, m.roughness = 0.4f; // white: invisible in front of the sky
    scene.add(ball(1, 48));
    scene.sky(0.8f);
    scene.lookAt({0, 0, 5}, {0, 0, 0}, false, 0.8f);
    const Result r = draw(scene, 32, 32, hardware(32, 32));
    EXPECT_EQ(r.alpha(16, 16), 1);
    EXPECT_EQ(r.alpha(0, 0), 0);
    EXPECT_NEAR(r.at(0, 0).x, 0.8f, 0.001f);
    EXPECT_NEAR(r.at(16, 16).x, 0.8f, 0.02f);
    EXPECT_NEAR(r.at(10, 16).x, 0.8f, 0.03f);
  }
}

TEST_F(HardwarePreview, SkyPicturesLieAsRaysSeeThem) {
  Scene scene;
  SnapshotSky& sky = scene.snapshot->sky;
  sky.kind = SkyKind::picture;
  sky.color = {1, 1, 1};
  sky.rotation = 0.7f;
  sky.picture = floatPicture(64, 32, [](int x, int y) {
    return Vec3(static_cast<float>(x) / 64, static_cast<float>(y) / 32, x > 40 ? 2.0f : 0.1f);
  });
  scene.lookAt({0, 0, 0}, {1, 0.3f, -1}, false, 1.2f);
  RenderSettings how = rays(64, 48);
  how.antiAliasing = AntiAliasing::none;
  how.samples = 1;
  for (const float shift : {0.0f, 0.4f}) {
    scene.snapshot->camera.shiftX = shift, scene.snapshot->camera.shiftY = -shift;
    const Result traced = draw(scene, 64, 48, how);
    EXPECT_GT(traced.mean().x, 0.05f);
    EXPECT_LT(difference(draw(scene, 64, 48, hardware(64, 48)), traced), 0.01f);
  }
}

TEST_F(HardwarePreview, NormalMapsTiltAsRaysDo) {
  for (const bool tangents : {false, true}) {
    Scene scene;
    SurfaceMaterial& m = *scene.materials[0];
    m.reflectionOn = false;
    m.normalShade = bitmapShade(picture(2, 2, [](int, int) {
      return std::array<int, 4>{200, 170, 220, 255};
    }));
    MeshPtr mesh = quad({-1, 1, 0}, {0, -2, 0}, {2, 0, 0});
    auto own = std::make_shared<Mesh>(*mesh);
    own->id = newIdentity();
    own->uv[0] = {{0, 0}, {0, 1}, {1, 1}, {1, 0}};
    own->normals.assign(4, {0, 0, 1});
    if (tangents) own->tangents.assign(4, {1, 0, 0, 1});
    scene.add(own);
    scene.addLight(LightKind::distant, {2, 1, 2}, {0, 0, 0}, pi);
    scene.lookAt({0, 0, 5}, {0, 0, 0}, true, 1);
    const float hard = draw(scene, 8, 8, hardware(8, 8)).at(4, 4).x;
    const float traced = draw(scene, 8, 8, rays(8, 8)).at(4, 4).x;
    EXPECT_NEAR(hard, traced, 0.01f);
    m.normalShade = nullptr;
    EXPECT_GT(std::abs(hard - draw(scene, 8, 8, hardware(8, 8)).at(4, 4).x), 0.05f);
  }
}

TEST_F(HardwarePreview, MasksCutAndBlendsMixFromTheBack) {
  Scene scene;
  scene.sky(0.5f);
  int red = 0, green = 0, holes = 0;
  const auto make = [&](int* index, Float4 color, AlphaMode mode) {
    SurfaceMaterial& m = scene.addMaterial(index);
    m.unlit = true;
    m.baseColor = color;
    m.alphaMode = mode;
  };
  make(&red, {1, 0, 0, 0.5f}, AlphaMode::blend);
  make(&green, {0, 1, 0, 0.5f}, AlphaMode::blend);
  make(&holes, {1, 1, 1, 0.2f}, AlphaMode::mask);
  // The near one comes first in the scene.
  scene.add(quad({-1, -1, 1}, {2, 0, 0}, {0, 2, 0}), red);
  scene.add(quad({-1, -1, 0}, {2, 0, 0}, {0, 2, 0}), green);
  scene.add(quad({-1, -1, 2}, {2, 0, 0}, {0, 2, 0}), holes);
  scene.lookAt({0, 0, 5}, {0, 0, 0}, true, 2);
  const Result r = draw(scene, 16, 16, hardware(16, 16));
  EXPECT_NEAR(r.at(8, 8).x, 0.5f + 0.125f, 0.002f);
  EXPECT_NEAR(r.at(8, 8).y, 0.25f + 0.125f, 0.002f);
  EXPECT_NEAR(r.at(8, 8).z, 0.125f, 0.002f);
  EXPECT_NEAR(r.alpha(8, 8), 0.75f, 0.002f);
  EXPECT_NEAR(r.at(1, 1).x, 0.5f, 0.002f);
}

TEST_F(HardwarePreview, OneMeshMixesItsOwnTrianglesFromTheBack) {
  // Two quads in one mesh, the near one first in the list.
  auto mesh = std::make_shared<Mesh>(*quad({-1, -1, 1}, {2, 0, 0}, {0, 2, 0}));
  mesh->id = newIdentity();
  const MeshPtr other = quad({-1, -1, 0}, {2, 0, 0}, {0, 2, 0});
  mesh->positions.insert(mesh->positions.end(), other->positions.begin(), other->positions.end());
  mesh->uv[0].resize(8);
  mesh->colors = {{1, 0, 0, 1}, {1, 0, 0, 1}, {1, 0, 0, 1}, {1, 0, 0, 1},
                  {0, 1, 0, 1}, {0, 1, 0, 1}, {0, 1, 0, 1}, {0, 1, 0, 1}};
  mesh->triangles.push_back({4, 5, 6});
  mesh->triangles.push_back({4, 6, 7});
  mesh->groups = {{0, 4}};
  mesh->low = {-1, -1, 0}, mesh->high = {1, 1, 1};
  Scene scene;
  scene.materials[0]->unlit = true;
  scene.materials[0]->baseColor = {1, 1, 1, 0.5f};
  scene.materials[0]->alphaMode = AlphaMode::blend;
  scene.add(mesh);
  for (const float side : {1.0f, -1.0f}) {
    scene.lookAt({0, 0, 5 * side}, {0, 0, 0}, true, 2);
    const Vec3 c = draw(scene, 16, 16, hardware(16, 16)).at(8, 8);
    EXPECT_NEAR(side > 0 ? c.x : c.y, 0.5f, 0.002f);
    EXPECT_NEAR(side > 0 ? c.y : c.x, 0.25f, 0.002f);
  }
}

TEST_F(HardwarePreview, BacksOfOneSidedSurfacesAreOpenMirroredOrNot) {
  for (const double flip : {1.0, -1.0}) {
    Scene scene = plain({-1, -1, 0}, {2, 0, 0}, {0, 2, 0}, {1, 1, 1});
    scene.materials[0]->doubleSided = false;
    scene.snapshot->instances[0].toWorld.v1 = Vector(flip, 0, 0);
    scene.lookAt({0, 0, 5}, {0, 0, 0}, true, 2);
    EXPECT_EQ(draw(scene, 8, 8, hardware(8, 8)).at(4, 4).x, 1);
    scene.lookAt({0, 0, -5}, {0, 0, 0}, true, 2);
    EXPECT_EQ(draw(scene, 8, 8, hardware(8, 8)).at(4, 4).x, 0);
    scene.materials[0]->doubleSided = true;
    EXPECT_EQ(draw(scene, 8, 8, hardware(8, 8)).at(4, 4).x, 1);
  }
}

TEST_F(HardwarePreview, NearHidesFarOverALongDepth) {
  // Two walls a centimetre apart, two hundred metres away, behind something close.
  Scene scene = plain({-500, -500, -200}, {1000, 0, 0}, {0, 1000, 0}, {0, 1, 0});
  int red = 0;
  SurfaceMaterial& m = scene.addMaterial(&red);
  m.unlit = true;
  m.baseColor = {1, 0, 0, 1};
  scene.add(quad({-500, -500, -200.01f}, {1000, 0, 0}, {0, 1000, 0}), red);
  scene.add(quad({-0.01f, -0.01f, -0.05f}, {0.001f, 0, 0}, {0, 0.001f, 0}), red);
  scene.lookAt({0, 0, 0}, {0, 0, -1}, false, 0.8f);
  const Result r = draw(scene, 32, 32, hardware(32, 32));
  EXPECT_EQ(r.mean(16, 0, 31, 31).y, 1);
  EXPECT_EQ(r.mean(16, 0, 31, 31).x, 0);
}

TEST_F(HardwarePreview, AntiAliasingSoftensEdgesOnlyWhenOn) {
  Scene scene = plain({0.03f, -2, 0}, {2, 0.4f, 0}, {0.4f, 4, 0}, {1, 1, 1});
  scene.lookAt({0, 0, 5}, {0, 0, 0}, true, 1);
  const auto between = [&](AntiAliasing kind) {
    const Result r = draw(scene, 32, 32, hardware(32, 32, kind));
    int count = 0;
    for (int i = 0; i < 32 * 32; ++i)
      count += r.at(i % 32, i / 32).x > 0.01f && r.at(i % 32, i / 32).x < 0.99f;
    return count;
  };
  EXPECT_EQ(between(AntiAliasing::none), 0);
  EXPECT_GT(between(AntiAliasing::geometry), 20);
  EXPECT_GT(between(AntiAliasing::best), 20);
}

TEST_F(HardwarePreview, ARegionLeavesTheRestAndAgreesWithTheWhole) {
  Scene scene = plain({-1, -1, 0}, {1.3f, 0.2f, 0}, {0.1f, 1.7f, 0}, {0.3f, 0.6f, 0.9f});
  scene.sky(0.2f);
  const Result whole = draw(scene, 40, 30, hardware(40, 30));
  Bitmap bitmap(40, 30);
  bitmap.bitmap->Clear(10, 20, 30);
  RenderSettings how = hardware(40, 30);
  how.region = {7, 5, 21, 19};
  ASSERT_EQ(attempt(scene, *bitmap.bitmap, how), RENDERRESULT_OK);
  for (int y = 0; y < 30; ++y)
    for (int x = 0; x < 40; ++x) {
      UWORD r, g, b;
      bitmap.bitmap->GetPixel(x, y, &r, &g, &b);
      const auto shown = static_cast<std::uint32_t>(r << 16 | g << 8 | b);
      const bool inside = x >= 7 && x <= 21 && y >= 5 && y <= 19;
      EXPECT_EQ(shown, inside ? whole.display[static_cast<std::size_t>(y * 40 + x)] : 0x0a141eu)
          << x << ", " << y;
    }
}

TEST_F(HardwarePreview, LargePicturesAreMadeOfTilesWithoutSeams) {
  Scene scene = plain({-1, -1, 0}, {2, 0, 0}, {0, 2, 0}, {1, 1, 1});
  scene.materials[0]->baseColorShade = bitmapShade(picture(64, 64, [](int x, int y) {
    return std::array<int, 4>{4 * x, 4 * y, 2 * (x + y), 255};
  }));
  scene.lookAt({0, 0, 5}, {0, 0, 0}, true, 1);
  int tiles = 0;
  std::vector<double> told;
  RenderHooks hooks;
  hooks.beginTile = [&] { ++tiles; };
  hooks.progress = [&](double part) { told.push_back(part); };
  RenderSettings how = hardware(1400, 1100);
  const Result large = draw(scene, 1400, 1100, how, hooks);
  EXPECT_EQ(tiles, 4);
  EXPECT_TRUE(std::is_sorted(told.begin(), told.end()));
  EXPECT_EQ(told.back(), 1);
  // Colours grow evenly to the right, over the seam at 1024 too.
  for (int x = 1000; x < 1050; ++x)
    EXPECT_NEAR(large.at(x + 1, 500).x, large.at(x, 500).x, 0.02f) << x;
  EXPECT_GT(large.at(1050, 500).x, large.at(1000, 500).x);
  for (int y = 1000; y < 1050; ++y)
    EXPECT_NEAR(large.at(700, y + 1).y, large.at(700, y).y, 0.02f) << y;
}

TEST_F(HardwarePreview, RendersReuseUploads) {
  Scene scene = plain({-1, -1, 0}, {2, 0, 0}, {0, 2, 0}, {1, 1, 1});
  scene.materials[0]->baseColorShade = bitmapShade(picture(8, 8, [](int x, int) {
    return std::array<int, 4>{30 * x, 0, 0, 255};
  }));
  const auto before = hardwareCounters();
  EXPECT_EQ(draw(scene, 16, 16, hardware(16, 16)).stats.meshesBuilt, 1u);
  const auto first = hardwareCounters();
  EXPECT_EQ(first.meshUploads, before.meshUploads + 1);
  EXPECT_EQ(first.textureUploads, before.textureUploads + 1);
  for (int i = 0; i < 3; ++i) {
    const Result again = draw(scene, 24, 16, hardware(24, 16));
    EXPECT_EQ(again.stats.meshesBuilt, 0u);
    EXPECT_EQ(again.stats.meshesReused, 1u);
  }
  EXPECT_EQ(hardwareCounters().meshUploads, first.meshUploads);
  EXPECT_EQ(hardwareCounters().textureUploads, first.textureUploads);
  EXPECT_EQ(hardwareCounters().programs, first.programs);
  freeRenderCaches();
  EXPECT_EQ(draw(scene, 16, 16, hardware(16, 16)).stats.meshesBuilt, 1u);
}

TEST_F(HardwarePreview, SeveralThreadsTakeTurns) {
  std::atomic<int> right{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([t, &right] {
      const float level = 0.25f * static_cast<float>(t + 1);
      for (int i = 0; i < 3; ++i) {
        Scene scene = plain({-9, -9, 0}, {18, 0, 0}, {0, 18, 0}, {level, level, level});
        if (std::abs(draw(scene, 40, 40, hardware(40, 40)).mean().x - level) < 0.002f) ++right;
      }
    });
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(right, 12);
}

TEST_F(HardwarePreview, ABreakIsSeenBetweenObjects) {
  Scene scene;
  for (int i = 0; i < 200; ++i)
    scene.add(quad({-1, -1, -0.01f * static_cast<float>(i)}, {2, 0, 0}, {0, 2, 0}));
  scene.sky(1);
  int asked = 0;
  RenderHooks hooks;
  hooks.stopped = [&] { return ++asked > 450; };
  Bitmap bitmap(64, 64);
  EXPECT_EQ(attempt(scene, *bitmap.bitmap, hardware(64, 64), hooks), RENDERRESULT_USERBREAK);
  EXPECT_LT(asked, 460);
  // The next render is not disturbed.
  EXPECT_EQ(attempt(scene, *bitmap.bitmap, hardware(64, 64)), RENDERRESULT_OK);
}

class HardwareFallback : public HostFixture {
 protected:
  ~HardwareFallback() override { render::allowHardwarePreview(true); }
  std::ptrdiff_t lines() {
    runAll();
    return std::count_if(console.begin(), console.end(), [](const std::string& line) {
      return line.find("hardware preview") != std::string::npos;
    });
  }
};

TEST_F(HardwareFallback, TheSoftwarePreviewDrawsAndSaysSoOnce) {
  startHost();
  render::allowHardwarePreview(false);
  Scene scene = plain({-1, -1, 0}, {2, 0, 0}, {0, 2, 0}, {0.2f, 0.4f, 0.8f});
  RenderSettings software = hardware(16, 16);
  software.hardware = false;
  const Result expected = draw(scene, 16, 16, software);
  for (int i = 0; i < 3; ++i)
    EXPECT_EQ(difference(draw(scene, 16, 16, hardware(16, 16)), expected), 0);
  EXPECT_EQ(lines(), 1);
}

TEST_F(HardwareFallback, IsSilentWithADriver) {
  if (!hasDriver()) GTEST_SKIP() << "no OpenGL driver on this machine";
  startHost();
  Scene scene = plain({-1, -1, 0}, {2, 0, 0}, {0, 2, 0}, {0.2f, 0.4f, 0.8f});
  draw(scene, 16, 16, hardware(16, 16));
  EXPECT_EQ(lines(), 0);
}

} // namespace
