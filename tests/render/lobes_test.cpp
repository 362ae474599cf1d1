// Sheen, anisotropy, thin films, dispersion, diffuse transmission, coats with normals of their own,
// absorption.
#include <gtest/gtest.h>

#include "bsdf.h"
#include "sampler.h"
#include "scene_kit.h"
#include "thin_film.h"

using namespace kit;
using host::render::Bsdf;
using host::render::BsdfSample;
using host::render::pi;
using host::render::SurfaceAxes;
using host::render::SurfaceLook;
using host::render::Vec2;

namespace {

struct Case {
  const char* name;
  std::function<void(SurfaceLook&, SurfaceAxes&)> set;
  float least = 0.98f; // of a white surface in an even surrounding
};

const Case cases[] = {
    {"rough sheen",
     [](SurfaceLook& l, SurfaceAxes&) {
       l.sheenColor = {1, 1, 1}, l.sheenRoughness = 0.8f;
     }},
    {"fine sheen",
     [](SurfaceLook& l, SurfaceAxes&) {
       l.sheenColor = {1, 1, 1}, l.sheenRoughness = 0.3f;
     },
     0.95f},
    {"brushed metal",
     [](SurfaceLook& l, SurfaceAxes& a) {
       l.metallic = 1, l.roughness = 0.4f, l.anisotropy = 0.7f, a.tangent = {1, 0, 0};
     },
     0.8f},
    {"brushed the other way",
     [](SurfaceLook& l, SurfaceAxes& a) {
       l.metallic = 1, l.roughness = 0.3f, l.anisotropy = 1, a.tangent = {0.6f, 0.8f, 0};
     },
     0.6f},
    {"film over metal",
     [](SurfaceLook& l, SurfaceAxes&) {
       l.metallic = 1, l.roughness = 0.3f, l.iridescence = 1, l.film = 400;
     },
     0.3f},
    {"film over plastic", [](SurfaceLook& l, SurfaceAxes&) { l.iridescence = 0.8f, l.film = 250; }, 0.5f},
    {"translucent",
     [](SurfaceLook& l, SurfaceAxes&) {
       l.diffuseTransmission = 0.7f, l.diffuseTransmissionColor = {1, 1, 1};
     }},
    {"rough sheet", [](SurfaceLook& l, SurfaceAxes&) { l.transmission = 0.8f, l.roughness = 0.5f; }},
    {"coat with a normal of its own",
     [](SurfaceLook& l, SurfaceAxes& a) {
       l.clearcoat = 1, l.clearcoatRoughness = 0.3f, a.coatNormal = {0.28f, 0, 0.96f};
     },
     0.95f},
    {"everything",
     [](SurfaceLook& l, SurfaceAxes& a) {
       l.metallic = 0.3f, l.roughness = 0.5f, l.clearcoat = 0.5f, l.clearcoatRoughness = 0.2f;
       l.sheenColor = {0.5f, 0.5f, 0.5f}, l.sheenRoughness = 0.5f, l.anisotropy = 0.5f, a.tangent = {0, 1, 0};
       l.iridescence = 0.5f, l.film = 300, l.diffuseTransmission = 0.3f, l.transmission = 0.2f;
     },
     0.6f},
};

// `sample` agrees with `evaluate`, and a white surface sends back no more than it gets.
TEST(Lobes, SamplingAgreesWithEvaluationAndKeepsTheEnergy) {
  for (const Case& one : cases)
    for (const float cosine : {0.25f, 0.8f}) {
      SCOPED_TRACE(testing::Message() << one.name << ", cosine " << cosine);
      SurfaceLook look;
      SurfaceAxes axes{{0, 0, 1}, {0, 0, 1}};
      one.set(look, axes);
      const float across = std::sqrt(1 - cosine * cosine);
      const Bsdf bsdf(look, axes, {across * 0.8f, across * 0.6f, cosine}, true, false);
      const LobeSums sums = lobeSums(bsdf, 1 << 14);
      EXPECT_NEAR(sums.sampled, sums.integral, 0.04);
      EXPECT_NEAR(sums.hits, sums.density, 0.04);
      EXPECT_LE(sums.sampled, 1.01);
      EXPECT_GE(sums.sampled, static_cast<double>(one.least));
    }
}

// The frequency of sampled directions in bins follows the density.
TEST(Lobes, SamplesFollowTheirDensity) {
  constexpr int rings = 6, sectors = 8, count = 1 << 15, fine = 8;
  for (const Case& one : cases) {
    SCOPED_TRACE(one.name);
    SurfaceLook look;
    SurfaceAxes axes{{0, 0, 1}, {0, 0, 1}};
    one.set(look, axes);
    const Bsdf bsdf(look, axes, {0.48f, 0.36f, 0.8f}, true, false);
    std::array<double, rings * sectors> found{}, wanted{};
    for (std::uint32_t i = 0; i < count; ++i) {
      render::Sampler s(4, 5, 6, i);
      const BsdfSample b = bsdf.sample(s.next1(), s.next2());
      if (!(b.pdf > 0)) continue;
      const double turn = std::atan2(static_cast<double>(b.wi.y), static_cast<double>(b.wi.x)) /
                              (2 * static_cast<double>(pi)) +
                          0.5;
      const int ring = std::min(rings - 1, static_cast<int>((1 - static_cast<double>(b.wi.z)) / 2 * rings));
      const int sector = std::min(sectors - 1, static_cast<int>(turn * sectors));
      found[static_cast<std::size_t>(ring * sectors + sector)] += 1.0 / count;
    }
    for (int ring = 0; ring < rings * fine; ++ring)
      for (int sector = 0; sector < sectors * fine; ++sector) {
        const float z = 1 - 2 * (static_cast<float>(ring) + 0.5f) / (rings * fine);
        const float angle = 2 * pi * ((static_cast<float>(sector) + 0.5f) / (sectors * fine) - 0.5f);
        const float r = std::sqrt(1 - z * z);
        float pdf = 0;
        bsdf.evaluate({r * std::cos(angle), r * std::sin(angle), z}, &pdf);
        wanted[static_cast<std::size_t>(ring / fine * sectors + sector / fine)] +=
            static_cast<double>(pdf * 4 * pi) / (rings * sectors * fine * fine);
      }
    for (std::size_t bin = 0; bin < found.size(); ++bin)
      EXPECT_NEAR(found[bin], wanted[bin], 0.004 + 0.06 * wanted[bin]) << bin;
  }
}

TEST(Lobes, BrushedMetalSpreadsAlongTheTangent) {
  SurfaceLook look;
  look.metallic = 1, look.roughness = 0.3f, look.anisotropy = 0.8f;
  const Bsdf bsdf(look, {{0, 0, 1}, {0, 0, 1}, {0, 1, 0}}, {0, 0, 1}, true, false);
  float pdf = 0;
  const float along = bsdf.evaluate(render::normalize({0, 0.5f, 1}), &pdf).x;
  const float across = bsdf.evaluate(render::normalize({0.5f, 0, 1}), &pdf).x;
  EXPECT_GT(along, 3 * across);
}

// --- thin films ---

TEST(ThinFilm, WithoutThicknessIsTheSurfaceBelow) {
  for (const float cosine : {0.3f, 1.0f}) {
    const Vec3 base{0.04f, 0.5f, 0.9f}, f = render::filmReflectance(cosine, 1.3f, 0, base);
    EXPECT_NEAR(f.x, render::lerp(base.x, 1, render::schlick(cosine)), 0.002f);
    EXPECT_NEAR(f.y, render::lerp(base.y, 1, render::schlick(cosine)), 0.002f);
    EXPECT_NEAR(f.z, render::lerp(base.z, 1, render::schlick(cosine)), 0.002f);
  }
}

// Airy's sum at one wavelength, amplitudes from the indices (Born and Wolf 1999, section 7.6), at normal
// incidence.
double airy(double film, double below, double nanometres, double wavelength) {
  const double a = (1 - film) / (1 + film), b = (film - below) / (film + below);
  const double turn = std::cos(4 * static_cast<double>(pi) * film * nanometres / wavelength);
  return (a * a + b * b + 2 * a * b * turn) / (1 + a * a * b * b + 2 * a * b * turn);
}

// The luminance over the spectrum, with the Gaussian fit of the curve by Wyman, Sloan and Shirley 2013.
double luminanceOf(double film, double below, double nanometres) {
  double sum = 0, whole = 0;
  for (double wavelength = 390; wavelength < 780; wavelength += 1) {
    const auto bell = [&](double place, double left, double right) {
      const double t = (wavelength - place) / (wavelength < place ? left : right);
      return std::exp(-0.5 * t * t);
    };
    const double eye = 0.821 * bell(568.8, 46.9, 40.5) + 0.286 * bell(530.9, 16.3, 31.1);
    sum += eye * airy(film, below, nanometres, wavelength);
    whole += eye;
  }
  return sum / whole;
}

TEST(ThinFilm, AgreesWithTheSumOverTheSpectrum) {
  const double below = 2.5, base = std::pow((below - 1) / (below + 1), 2);
  for (const double nanometres : {80.0, 105.0, 150.0, 210.0, 260.0, 320.0}) {
    SCOPED_TRACE(nanometres);
    const Vec3 f =
        render::filmReflectance(1, 1.5f, static_cast<float>(nanometres), Vec3(static_cast<float>(base)));
    EXPECT_NEAR(static_cast<double>(render::luminance(f)), luminanceOf(1.5, below, nanometres), 0.02);
  }
}

// --- bodies ---

// The view through a slab of a body, two metres thick, whose index is that of air.
Vec3 throughSlab(const std::function<void(SurfaceMaterial&)>& change) {
  Scene scene;
  SurfaceMaterial& m = *scene.materials[0];
  m.transmission = 1, m.roughness = 0, m.ior = 1, m.thickness = 1;
  change(m);
  int back;
  scene.addMaterial(&back).unlit = true;
  scene.add(quad({-3, -3, 1}, {6, 0, 0}, {0, 6, 0}));
  scene.add(quad({-3, -3, -1}, {0, 6, 0}, {6, 0, 0}));
  scene.add(quad({-3, -3, -2}, {6, 0, 0}, {0, 6, 0}), back);
  scene.lookAt({0, 0, 5}, {0, 0, 0}, true, 0.5f);
  return draw(scene, 4, 16).mean();
}

TEST(Body, AbsorbsByItsDepth) {
  const Vec3 clear = throughSlab([](SurfaceMaterial&) {});
  EXPECT_NEAR(clear.x, 1, 1e-4f);
  const Vec3 c = throughSlab([](SurfaceMaterial& m) {
    m.attenuationColor = {0.25f, 0.5f, 1}, m.attenuationDistance = 4;
  });
  EXPECT_NEAR(c.x, 0.5f, 1e-4f) << "half of the distance: the root of the colour";
  EXPECT_NEAR(c.y, std::sqrt(0.5f), 1e-4f);
  EXPECT_NEAR(c.z, 1, 1e-4f);
}

TEST(Body, ColoursItsShadowByItsDepth) {
  const auto lit = [](float distance) {
    Scene scene;
    SurfaceMaterial& floor = *scene.materials[0];
    floor.reflectionOn = false;
    int body;
    SurfaceMaterial& m = scene.addMaterial(&body);
    m.transmission = 1, m.roughness = 0, m.ior = 1, m.thickness = 1;
    m.attenuationColor = {0.5f, 0.5f, 0.5f}, m.attenuationDistance = distance;
    scene.add(quad({-9, 0, 9}, {18, 0, 0}, {0, 0, -18}));
    scene.add(quad({-9, 2, 9}, {18, 0, 0}, {0, 0, -18}), body).seenByCamera = false;
    scene.add(quad({-9, 1, 9}, {0, 0, -18}, {18, 0, 0}), body).seenByCamera = false;
    scene.addLight(LightKind::distant, {0, 9, 0}, {0, 0, 0}, pi);
    scene.lookAt({0, 0.5f, 0}, {0, 0, 0}, true, 0.1f);
    auto how = settings(4, 4, 16);
    how.globalIllumination = false;
    return draw(scene, 4, 4, how).mean().x;
  };
  EXPECT_NEAR(lit(0), 1, 0.01f);
  EXPECT_NEAR(lit(1), 0.5f, 0.005f);
  EXPECT_NEAR(lit(0.5f), 0.25f, 0.003f);
}

TEST(Body, DispersionPartsColoursAndLosesNothing) {
  // A ball that shows the edge of a bright half space turned around.
  const auto seen = [](float dispersion, bool half) {
    Scene scene;
    SurfaceMaterial& m = *scene.materials[0];
    m.transmission = 1, m.roughness = 0, m.thickness = 1, m.dispersion = dispersion;
    if (half) {
      int back;
      scene.addMaterial(&back).unlit = true;
      scene.add(quad({0, -50, -2}, {50, 0, 0}, {0, 100, 0}), back);
    } else {
      scene.sky(1);
    }
    scene.add(ball(1, 48));
    scene.lookAt({0, 0, 5}, {0, 0, 0}, true, 0.9f);
    auto how = settings(24, 24, 64);
    how.bounces = 32;
    return draw(scene, 24, 24, how);
  };
  const Vec3 even = seen(4, false).mean();
  for (const float v : {even.x, even.y, even.z})
    EXPECT_NEAR(v, 1, 0.03f);
  const auto fringe = [](const Result& r) {
    float sum = 0;
    for (int y = 0; y < 24; ++y)
      for (int x = 0; x < 24; ++x)
        sum += std::abs(r.at(x, y).x - r.at(x, y).z) / (24 * 24);
    return sum;
  };
  EXPECT_LT(fringe(seen(0, true)), 1e-4f);
  EXPECT_GT(fringe(seen(4, true)), 0.01f);
}

// --- coats ---

TEST(Coat, DoesNotFollowTheNormalMapBelow) {
  // A black surface under a mirror-like coat; its map leans far over. A lamp's picture stands where a flat
  // coat mirrors it.
  const auto mirrored = [](bool onCoat) {
    Scene scene;
    SurfaceMaterial& m = *scene.materials[0];
    m.baseColor = {0, 0, 0, 1}, m.specular = 0, m.clearcoat = 1;
    const ShadePtr map = bitmapShade(picture(2, 2, [](int, int) {
      return std::array<int, 4>{218, 128, 218, 255};
    }));
    (onCoat ? m.clearcoatNormalShade : m.normalShade) = map;
    int glow;
    SurfaceMaterial& lamp = scene.addMaterial(&glow);
    lamp.emission = {1, 1, 1};
    scene.add(quad({-1, 0, 1}, {2, 0, 0}, {0, 0, -2}));
    scene.add(quad({-1, 9, -1}, {2, 0, 0}, {0, 0, 2}), glow).seenByCamera = false;
    scene.lookAt({0, 5, 0}, {0, 0, 0}, true, 0.1f);
    return draw(scene, 4, 16).mean().x;
  };
  EXPECT_NEAR(mirrored(false), 0.04f, 0.005f);
  EXPECT_NEAR(mirrored(true), 0, 0.001f);
}

} // namespace
