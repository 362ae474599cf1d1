// The contents of pictures: orientation, cameras, alpha, textures, normal maps, shaders.
#include <gtest/gtest.h>

#include "scene_kit.h"

using namespace kit;
using host::render::pi;

namespace {

// A picture on an unlit quad that fills the view of an orthographic camera.
Scene poster(PicturePtr shown, float half = 1) {
  Scene scene;
  SurfaceMaterial& m = *scene.materials[0];
  m.unlit = true;
  m.baseColorShade = bitmapShade(std::move(shown));
  // glTF: texture coordinates start at the picture's upper left corner.
  scene.add(quad({-1, 1, 0}, {2, 0, 0}, {0, -2, 0}));
  scene.lookAt({0, 0, 5}, {0, 0, 0}, true, half);
  return scene;
}

TEST(Picture, IsUpright) {
  Scene scene = poster(picture(2, 2, [](int x, int y) {
    return std::array<int, 4>{x == 0 && y == 0 ? 255 : 0, x == 1 && y == 0 ? 255 : 0, y == 1 ? 255 : 0, 255};
  }));
  auto shade = std::make_shared<Shade>(*scene.materials[0]->baseColorShade);
  shade->texture.nearest = true;
  scene.materials[0]->baseColorShade = shade;
  const Result r = draw(scene, 16, 4);
  EXPECT_EQ(r.at(3, 3).x, 1); // red in the upper left
  EXPECT_EQ(r.at(3, 3).y, 0);
  EXPECT_EQ(r.at(12, 3).y, 1); // green in the upper right
  EXPECT_EQ(r.at(3, 12).z, 1); // blue below
  EXPECT_EQ(r.display[3 * 16 + 3], 0xff0000u);
}

TEST(Picture, ColoursAreDecodedAndShownAgain) {
  Scene scene = poster(picture(4, 4, [](int, int) { return std::array<int, 4>{188, 64, 10, 255}; }));
  const Result r = draw(scene, 8, 4);
  EXPECT_NEAR(r.at(4, 4).x, 0.5029f, 0.001f); // sRGB 188
  EXPECT_EQ(r.display[4 * 8 + 4], 0xbc400au);
}

TEST(Picture, SmallTexturesOfLargePicturesAreFiltered) {
  // A checker of single pixels, seen so small that it is even grey.
  Scene scene = poster(picture(512, 512,
                               [](int x, int y) {
                                 const int v = (x + y) & 1 ? 255 : 0;
                                 return std::array<int, 4>{v, v, v, 255};
                               }),
                       8);
  auto how = settings(64, 64, 1);
  how.antiAliasing = render::AntiAliasing::none;
  const Result r = draw(scene, 64, 64, how);
  EXPECT_NEAR(r.at(32, 32).x, 0.5f, 0.02f);
}

TEST(Picture, TextureTransformMovesScalesAndTurns) {
  const auto marker = picture(8, 8, [](int x, int y) {
    const int v = x < 4 && y < 4 ? 255 : 0; // the upper left quarter
    return std::array<int, 4>{v, v, v, 255};
  });
  const auto shown = [&](const std::function<void(TextureUse&)>& change, int x, int y) {
    Scene scene = poster(marker);
    auto shade = std::make_shared<Shade>(*scene.materials[0]->baseColorShade);
    shade->texture.nearest = true;
    change(shade->texture);
    scene.materials[0]->baseColorShade = shade;
    return draw(scene, 16, 4).at(x, y).x;
  };
  EXPECT_EQ(shown([](TextureUse&) {}, 3, 3), 1);
  EXPECT_EQ(shown([](TextureUse& t) { t.offset = {0.5f, 0}; }, 3, 3), 0);
  EXPECT_EQ(shown([](TextureUse& t) { t.offset = {0.5f, 0}; }, 12, 3), 1);
  EXPECT_EQ(shown([](TextureUse& t) { t.scale = {2, 2}; }, 2, 2), 1);
  EXPECT_EQ(shown([](TextureUse& t) { t.scale = {2, 2}; }, 6, 2), 0);
  EXPECT_EQ(shown([](TextureUse& t) { t.scale = {2, 2}; }, 9, 9), 1); // repeated
  EXPECT_EQ(shown([](TextureUse& t) { t.scale = {2, 2}, t.wrapU = t.wrapV = Wrap::clamp; }, 10, 10), 0);
  // A quarter turn: (u, v) becomes (v, -u), so the picture's upper left quarter lies where v < 1/2, u > 1/2.
  EXPECT_EQ(shown([](TextureUse& t) { t.rotation = pi / 2; }, 12, 3), 1);
  EXPECT_EQ(shown([](TextureUse& t) { t.rotation = pi / 2; }, 3, 3), 0);
}

TEST(Picture, OrthographicAndPerspectiveSizes) {
  // A white square of half size 1, two metres and ten away.
  const auto covered = [](bool orthographic, float distance) {
    Scene scene;
    scene.materials[0]->unlit = true;
    scene.add(quad({-1, -1, 0}, {2, 0, 0}, {0, 2, 0}));
    scene.lookAt({0, 0, distance}, {0, 0, 0}, orthographic, orthographic ? 2 : 2 * std::atan(1.0f));
    const Result r = draw(scene, 64, 1);
    return r.mean().x;
  };
  EXPECT_NEAR(covered(true, 2), 0.25f, 0.01f);
  EXPECT_NEAR(covered(true, 10), 0.25f, 0.01f);
  EXPECT_NEAR(covered(false, 2), 0.25f, 0.01f);
  EXPECT_NEAR(covered(false, 10), 0.01f, 0.003f);
}

TEST(Picture, CameraClipsNearAndFar) {
  Scene scene;
  scene.materials[0]->unlit = true;
  scene.add(quad({-1, -1, 0}, {2, 0, 0}, {0, 2, 0}));
  scene.lookAt({0, 0, 5}, {0, 0, 0}, true, 0.5f);
  EXPECT_EQ(draw(scene, 8, 1).mean().x, 1);
  scene.snapshot->camera.zfar = 4;
  EXPECT_EQ(draw(scene, 8, 1).mean().x, 0);
  scene.snapshot->camera.zfar = 0;
  scene.snapshot->camera.znear = 6;
  EXPECT_EQ(draw(scene, 8, 1).mean().x, 0);
}

// Light passes a thin sheet without bending and takes its colour once; a body bends it and takes its colour
// over two surfaces.
TEST(Picture, ThinSheetsAndBodiesOfGlass) {
  const auto seen = [](float thickness, float angle) {
    Scene scene;
    SurfaceMaterial& m = *scene.materials[0];
    m.transmission = 1, m.roughness = 0, m.specular = 0, m.thickness = thickness;
    m.baseColor = {0.25f, 0.25f, 0.25f, 1};
    int back;
    scene.addMaterial(&back).unlit = true;
    // A pane turned by an angle; behind it a bright half plane that begins at x = 0.
    const float c = std::cos(angle), s = std::sin(angle);
    scene.add(quad({-2 * c, -2, 2 * s}, {4 * c, 0, -4 * s}, {0, 4, 0}));
    scene.add(quad({0, -9, -9}, {9, 0, 0}, {0, 18, 0}), back);
    scene.lookAt({0, 0, 5}, {0, 0, 0}, true, 0.5f);
    return draw(scene, 16, 16);
  };
  const Result sheet = seen(0, 0.7f);
  EXPECT_EQ(sheet.at(7, 8).x, 0) << "the edge of the half plane stays in place";
  EXPECT_NEAR(sheet.at(8, 8).x, 0.25f, 1e-5f);
  const Result body = seen(1, 0);
  EXPECT_NEAR(body.mean(9, 1, 14, 14).x, 0.48f, 0.005f) << "one of the two surfaces of a body reflects 4 %";
  EXPECT_GT(std::abs(seen(1, 0.7f).at(8, 8).x - 0.25f) + seen(1, 0.7f).at(7, 8).x, 0.1f);
}

TEST(Picture, LetteringAtAGrazingAngleIsReadable) {
  // Stripes along the view on a floor seen 6 degrees above it, a few pixels wide in the middle of the
  // picture.
  const auto contrast = [](bool filtered) {
    Scene scene;
    SurfaceMaterial& m = *scene.materials[0];
    m.unlit = true;
    auto shade = std::make_shared<Shade>(*bitmapShade(picture(1024, 1024, [](int x, int) {
      const int v = (x / 8) & 1 ? 255 : 0;
      return std::array<int, 4>{v, v, v, 255};
    })));
    shade->texture.nearest = !filtered;
    m.baseColorShade = shade;
    scene.add(quad({-4, 0, 4}, {8, 0, 0}, {0, 0, -8}));
    scene.lookAt({0, 0.4f, 4}, {0, 0, 0}, false, 0.2f);
    const Result r = draw(scene, 48, 48, settings(48, 48, 16));
    double sum = 0, square = 0;
    for (int x = 8; x < 40; ++x) {
      const double v = static_cast<double>(r.at(x, 24).x);
      sum += v, square += v * v;
    }
    return std::sqrt(square / 32 - sum * sum / (32 * 32)) / (sum / 32);
  };
  const double exact = contrast(false);
  ASSERT_GT(exact, 0.4);
  EXPECT_GT(contrast(true), 0.85 * exact);
}

TEST(Picture, NormalMapsFollowSmoothTangents) {
  // A coarse ball whose map leans all normals along u; with tangents of its own or with made ones.
  const auto lit = [](bool tangents) {
    Scene scene;
    SurfaceMaterial& m = *scene.materials[0];
    m.reflectionOn = false;
    m.normalShade = bitmapShade(picture(2, 2, [](int, int) {
      return std::array<int, 4>{218, 128, 218, 255};
    }));
    constexpr int rings = 6, columns = 2 * rings;
    auto mesh = std::make_shared<Mesh>(*ball(1, rings));
    mesh->id = newIdentity();
    for (int i = 0; i <= rings; ++i)
      for (int j = 0; j <= columns; ++j) {
        const float phi = 2 * pi * static_cast<float>(j) / columns;
        mesh->uv[0].push_back({static_cast<float>(j) / columns, static_cast<float>(i) / rings});
        if (tangents) mesh->tangents.push_back({-std::sin(phi), 0, std::cos(phi), 1});
      }
    scene.add(mesh);
    scene.addLight(LightKind::distant, {0.3f, 0.2f, 1}, {0, 0, 0}, pi);
    scene.lookAt({0, 0, 5}, {0, 0, 0}, true, 0.6f);
    return draw(scene, 24, 4);
  };
  const Result own = lit(true), made = lit(false);
  double sum = 0;
  for (std::size_t i = 0; i < own.pixels.size(); ++i)
    sum += std::abs(static_cast<double>(own.pixels[i] - made.pixels[i]));
  EXPECT_LT(sum / static_cast<double>(own.pixels.size()), 0.004);
}

TEST(Picture, AlphaMaskAndBlend) {
  const auto behind = [](AlphaMode mode, float alpha) {
    Scene scene;
    int back;
    SurfaceMaterial& white = scene.addMaterial(&back);
    white.unlit = true;
    SurfaceMaterial& m = *scene.materials[0];
    m.unlit = true;
    m.baseColor = {0, 0, 0, alpha};
    m.alphaMode = mode;
    scene.add(quad({-2, -2, 0}, {4, 0, 0}, {0, 4, 0}));
    scene.add(quad({-2, -2, -1}, {4, 0, 0}, {0, 4, 0}), back);
    scene.lookAt({0, 0, 5}, {0, 0, 0}, true, 1);
    return draw(scene, 16, 64).mean().x;
  };
  EXPECT_EQ(behind(AlphaMode::opaque, 0.2f), 0);
  EXPECT_EQ(behind(AlphaMode::mask, 0.6f), 0);
  EXPECT_EQ(behind(AlphaMode::mask, 0.4f), 1);
  EXPECT_NEAR(behind(AlphaMode::blend, 0.25f), 0.75f, 0.01f);
}

TEST(Picture, AlphaLetsLightThroughToo) {
  Scene scene;
  SurfaceMaterial& floor = *scene.materials[0];
  floor.reflectionOn = false;
  floor.baseColor = {0.5f, 0.5f, 0.5f, 1};
  int pane;
  SurfaceMaterial& m = scene.addMaterial(&pane);
  m.baseColor = {0, 0, 0, 0.25f};
  m.reflectionOn = false;
  m.alphaMode = AlphaMode::blend;
  scene.add(quad({-50, 0, 50}, {100, 0, 0}, {0, 0, -100}));
  scene.add(quad({-5, 1, 5}, {10, 0, 0}, {0, 0, -10}), pane);
  scene.addLight(LightKind::distant, {0, 5, 0}, {0, 0, 0}, pi);
  scene.lookAt({0, 0.5f, 0}, {0, 0, 0}, true, 0.1f);
  auto how = settings(8, 8, 16);
  how.globalIllumination = false;
  EXPECT_NEAR(draw(scene, 8, 8, how).mean().x, 0.5f * 0.75f, 0.005f);
}

TEST(Picture, AlphaOfTheFilmIsCoverage) {
  Scene scene;
  scene.sky(1);
  scene.add(quad({-1, -1, 0}, {1, 0, 0}, {0, 2, 0})); // the left half
  scene.lookAt({0, 0, 5}, {0, 0, 0}, true, 1);
  const Result r = draw(scene, 16, 4);
  EXPECT_EQ(r.alpha(3, 8), 1);
  EXPECT_EQ(r.alpha(12, 8), 0);
  EXPECT_EQ(r.at(12, 8).x, 1); // the sky is visible all the same
}

TEST(Picture, OneSidedSurfacesAreSeenFromTheFrontOnly) {
  Scene scene;
  SurfaceMaterial& m = *scene.materials[0];
  m.unlit = true;
  m.doubleSided = false;
  scene.add(quad({-1, -1, 0}, {2, 0, 0}, {0, 2, 0}));
  scene.lookAt({0, 0, 5}, {0, 0, 0}, true, 0.5f);
  EXPECT_EQ(draw(scene, 8, 1).mean().x, 1);
  scene.lookAt({0, 0, -5}, {0, 0, 0}, true, 0.5f);
  EXPECT_EQ(draw(scene, 8, 1).mean().x, 0);
  m.doubleSided = true;
  EXPECT_EQ(draw(scene, 8, 1).mean().x, 1);
}

TEST(Picture, MirroredInstancesKeepTheirFront) {
  Scene scene;
  SurfaceMaterial& m = *scene.materials[0];
  m.unlit = true;
  m.doubleSided = false;
  Matrix mirror;
  mirror.v1 = Vector(-1, 0, 0);
  scene.add(quad({-1, -1, 0}, {2, 0, 0}, {0, 2, 0}), 0, mirror);
  scene.lookAt({0, 0, 5}, {0, 0, 0}, true, 0.5f);
  EXPECT_EQ(draw(scene, 8, 1).mean().x, 1);
}

TEST(Picture, NormalMapTiltsTheSurface) {
  // A wall lit from the upper right; the map leans its normal by 45 degrees along x, or along y (up).
  const auto lit = [](int r, int g, Vec3 light, bool tangents) {
    Scene scene;
    SurfaceMaterial& m = *scene.materials[0];
    m.reflectionOn = false;
    m.normalShade = bitmapShade(picture(2, 2, [&](int, int) { return std::array<int, 4>{r, g, 218, 255}; }));
    MeshPtr wall = quad({-1, 1, 0}, {2, 0, 0}, {0, -2, 0});
    auto mesh = std::make_shared<Mesh>(*wall);
    mesh->id = newIdentity();
    std::swap(mesh->triangles[0][1], mesh->triangles[0][2]); // front towards +z
    std::swap(mesh->triangles[1][1], mesh->triangles[1][2]);
    if (tangents) mesh->tangents.assign(4, Float4{1, 0, 0, 1});
    if (tangents) mesh->normals.assign(4, Float3{0, 0, 1});
    scene.add(mesh);
    scene.addLight(LightKind::distant, light, {0, 0, 0}, pi);
    scene.lookAt({0, 0, 5}, {0, 0, 0}, true, 0.5f);
    return draw(scene, 8, 4).mean().x;
  };
  for (const bool tangents : {false, true}) {
    SCOPED_TRACE(tangents);
    const float s = std::sqrt(0.5f);
    EXPECT_NEAR(lit(128, 128, {0, 0, 1}, tangents), 1, 0.02f);
    EXPECT_NEAR(lit(218, 128, {s, 0, s}, tangents), 1, 0.02f);  // leans right: faces the light
    EXPECT_NEAR(lit(218, 128, {-s, 0, s}, tangents), 0, 0.02f); // away from it
    EXPECT_NEAR(lit(128, 218, {0, s, s}, tangents), 1, 0.02f);  // green leans up
    EXPECT_NEAR(lit(128, 218, {0, -s, s}, tangents), 0, 0.02f);
  }
}

TEST(Picture, BumpMapTiltsTheSurface) {
  // A ramp: height grows by a metre over two metres along x, so the normal leans to the left.
  Scene scene;
  SurfaceMaterial& m = *scene.materials[0];
  m.reflectionOn = false;
  m.bumpStrength = 1;
  m.bumpShade = bitmapShade(picture(256, 4, [](int x, int) { return std::array<int, 4>{x, x, x, 255}; }));
  scene.add(quad({-1, -1, 0}, {2, 0, 0}, {0, 2, 0}));
  scene.lookAt({0, 0, 5}, {0, 0, 0}, true, 0.3f);
  const float slope = 0.5f, c = 1 / std::sqrt(1 + slope * slope);
  scene.addLight(LightKind::distant, {-slope, 0, 1}, {0, 0, 0}, pi);
  EXPECT_NEAR(draw(scene, 8, 4).mean().x, 1, 0.02f);
  scene.snapshot->lights.clear();
  scene.addLight(LightKind::distant, {0, 0, 1}, {0, 0, 0}, pi);
  EXPECT_NEAR(draw(scene, 8, 4).mean().x, c, 0.02f);
}

TEST(Picture, VertexColoursMultiply) {
  Scene scene;
  SurfaceMaterial& m = *scene.materials[0];
  m.unlit = true;
  m.baseColor = {0.5f, 1, 1, 1};
  auto mesh = std::make_shared<Mesh>(*quad({-1, -1, 0}, {2, 0, 0}, {0, 2, 0}));
  mesh->id = newIdentity();
  mesh->colors.assign(4, Float4{0.5f, 0.25f, 1, 1});
  scene.add(mesh);
  scene.lookAt({0, 0, 5}, {0, 0, 0}, true, 0.5f);
  const Vec3 c = draw(scene, 8, 1).mean();
  EXPECT_NEAR(c.x, 0.25f, 1e-5f);
  EXPECT_NEAR(c.y, 0.25f, 1e-5f);
  EXPECT_NEAR(c.z, 1, 1e-5f);
}

ShadePtr colorShade(float r, float g, float b, ShadeMix mix = ShadeMix::normal, float amount = 1) {
  auto s = std::make_shared<Shade>();
  s->color = {r, g, b, 1};
  s->mix = mix;
  s->amount = amount;
  return s;
}

TEST(Shaders, LayersMixInOrder) {
  const auto shown = [](std::vector<ShadePtr> children) {
    Scene scene;
    auto stack = std::make_shared<Shade>();
    stack->kind = ShadeKind::layer;
    stack->children = std::move(children);
    scene.materials[0]->unlit = true;
    scene.materials[0]->baseColorShade = stack;
    scene.add(quad({-1, -1, 0}, {2, 0, 0}, {0, 2, 0}));
    scene.lookAt({0, 0, 5}, {0, 0, 0}, true, 0.5f);
    return draw(scene, 8, 1).mean();
  };
  const ShadePtr base = colorShade(0.5f, 0.25f, 1);
  EXPECT_NEAR(shown({base}).y, 0.25f, 1e-5f);
  EXPECT_NEAR(shown({base, colorShade(0.5f, 0.5f, 0.5f, ShadeMix::multiply)}).x, 0.25f, 1e-5f);
  EXPECT_NEAR(shown({base, colorShade(0.25f, 0.25f, 0, ShadeMix::add)}).x, 0.75f, 1e-5f);
  EXPECT_NEAR(shown({base, colorShade(0.5f, 0.5f, 0.5f, ShadeMix::screen)}).x, 0.75f, 1e-5f);
  EXPECT_NEAR(shown({base, colorShade(0, 0, 0, ShadeMix::normal, 0.25f)}).x, 0.375f, 1e-5f);
}

TEST(Shaders, AmbientOcclusionDarkensCorners) {
  Scene scene;
  auto shade = std::make_shared<Shade>();
  shade->kind = ShadeKind::ambientOcclusion;
  shade->aoDistance = 1;
  scene.materials[0]->unlit = true;
  scene.materials[0]->baseColorShade = shade;
  scene.add(quad({-3, 0, 3}, {6, 0, 0}, {0, 0, -6}));
  scene.add(quad({-3, 0, -1}, {6, 0, 0}, {0, 3, 0})); // a wall at the back
  scene.lookAt({0, 5, 0}, {0, 0, 0}, true, 1.4f);
  auto how = settings(28, 28, 64);
  const Result r = draw(scene, 28, 28, how);
  // The floor from z = -1 (row 4) to z = 1.4 (row 28).
  EXPECT_LT(r.mean(0, 5, 27, 5).x, 0.85f);
  EXPECT_NEAR(r.mean(0, 24, 27, 27).x, 1, 0.001f);
  EXPECT_GT(r.mean(0, 10, 27, 10).x, r.mean(0, 5, 27, 5).x);
  how.preview = true;
  EXPECT_LT(draw(scene, 28, 28, how).mean(0, 5, 27, 5).x, 0.85f);
}

} // namespace
