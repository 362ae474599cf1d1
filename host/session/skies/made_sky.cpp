#include "made_sky.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <span>
#include <stdexcept>

#include "film.h"
#include "host_renders.h"
#include "picture_formats.h"
#include "studio_panels.h"

namespace host {

namespace {

constexpr double pi = 3.14159265358979323846;
constexpr double radians = pi / 180;
constexpr double groundReflectance = 0.2;
constexpr double sunRadius = 0.2665 * radians;

double within(double value, double low, double high, double otherwise) {
  return std::isfinite(value) ? std::clamp(value, low, high) : otherwise;
}

Vector unitVector(double azimuth, double elevation) {
  return {std::sin(azimuth) * std::cos(elevation), std::sin(elevation),
          -std::cos(azimuth) * std::cos(elevation)};
}

Vector rgbOf(double x, double y, double luminance) {
  const double bigX = x / y * luminance, bigZ = (1 - x - y) / y * luminance;
  return {std::max(0.0, 3.2409699 * bigX - 1.5373832 * luminance - 0.4986108 * bigZ),
          std::max(0.0, -0.9692436 * bigX + 1.8759675 * luminance + 0.0415551 * bigZ),
          std::max(0.0, 0.0556301 * bigX - 0.2039770 * luminance + 1.0569715 * bigZ)};
}

double luminanceOf(const Vector& rgb) {
  return 0.2126390 * rgb.x + 0.7151687 * rgb.y + 0.0721923 * rgb.z;
}

// --- daylight ---

/// The five coefficients of Perez et al. 1993 for one quantity, and its value at the zenith.
struct Perez {
  std::array<double, 5> c;
  double zenith;
  double at(double cosTheta, double gamma) const {
    const double cosGamma = std::cos(gamma);
    return (1 + c[0] * std::exp(c[1] / std::max(0.02, cosTheta))) *
           (1 + c[2] * std::exp(c[3] * gamma) + c[4] * cosGamma * cosGamma);
  }
  /// The quantity, where the sun stands at `sun` from the zenith.
  double value(double cosTheta, double gamma, double sun) const {
    return zenith * at(cosTheta, gamma) / at(1, sun);
  }
};

// The zenith's chromaticity: cubic in the sun's angle, quadratic in the turbidity.
double chromaticity(const std::array<std::array<double, 4>, 3>& m, double sun, double t) {
  const std::array<double, 4> s{sun * sun * sun, sun * sun, sun, 1};
  const std::array<double, 3> powers{t * t, t, 1};
  double sum = 0;
  for (std::size_t i = 0; i < 3; ++i)
    for (std::size_t j = 0; j < 4; ++j)
      sum += powers[i] * m[i][j] * s[j];
  return sum;
}

struct Daylight {
  Perez luminance, x, y;
  double sun; // angle from the zenith

  Daylight(double sunAngle, double t) : sun(std::min(sunAngle, pi / 2 - 0.5 * radians)) {
    const double chi = (4.0 / 9 - t / 120) * (pi - 2 * sun);
    luminance = {{0.1787 * t - 1.4630, -0.3554 * t + 0.4275, -0.0227 * t + 5.3251, 0.1206 * t - 2.5771,
                  -0.0670 * t + 0.3703},
                 std::max(0.05, (4.0453 * t - 4.9710) * std::tan(chi) - 0.2155 * t + 2.4192)}; // kcd/m2
    x = {{-0.0193 * t - 0.2592, -0.0665 * t + 0.0008, -0.0004 * t + 0.2125, -0.0641 * t - 0.8989,
          -0.0033 * t + 0.0452},
         chromaticity({{{0.00166, -0.00375, 0.00209, 0},
                        {-0.02903, 0.06377, -0.03202, 0.00394},
                        {0.11693, -0.21196, 0.06052, 0.25886}}},
                      sun, t)};
    y = {{-0.0167 * t - 0.2608, -0.0950 * t + 0.0092, -0.0079 * t + 0.2102, -0.0441 * t - 1.6537,
          -0.0109 * t + 0.0529},
         chromaticity({{{0.00275, -0.00610, 0.00317, 0},
                        {-0.04214, 0.08970, -0.04153, 0.00516},
                        {0.15346, -0.26756, 0.06670, 0.26688}}},
                      sun, t)};
  }

  Vector at(double cosTheta, double gamma) const {
    return rgbOf(x.value(cosTheta, gamma, sun), y.value(cosTheta, gamma, sun),
                 std::max(0.0, luminance.value(cosTheta, gamma, sun)));
  }
};

// Sunlight outside of the atmosphere is 128 klx. It passes scattering by air and by haze at the wavelengths
// of red, green and blue.
Vector sunlight(double elevation, double t) {
  const double degrees = elevation / radians;
  const double mass = 1 / (std::sin(elevation) + 0.15 * std::pow(degrees + 3.885, -1.253));
  const double haze = std::max(0.0, 0.04608 * t - 0.04586);
  const auto part = [&](double micrometres) {
    const double air = std::exp(-mass * 0.008735 * std::pow(micrometres, -4.08));
    return 128 * air * std::exp(-mass * haze * std::pow(micrometres, -1.3));
  };
  return {part(0.68), part(0.55), part(0.44)}; // klx
}

// --- pictures ---

template <class Light>
void fill(MadeSky& sky, const Light& light) {
  for (int row = 0; row < sky.height; ++row) {
    const double elevation = pi / 2 - (row + 0.5) / sky.height * pi;
    for (int column = 0; column < sky.width; ++column) {
      const double azimuth = ((column + 0.5) / sky.width - 0.5) * 2 * pi;
      const Vector c = light(unitVector(azimuth, elevation));
      float* to = &sky.rgb[static_cast<std::size_t>(row * sky.width + column) * 3];
      to[0] = static_cast<float>(c.x), to[1] = static_cast<float>(c.y), to[2] = static_cast<float>(c.z);
    }
  }
}

// Of a level surface that looks up.
Vector irradiance(const MadeSky& sky) {
  Vector sum;
  const double across = 2 * pi / sky.width, down = pi / sky.height;
  for (int row = 0; row < sky.height / 2; ++row) {
    const double theta = (row + 0.5) * down, weight = std::sin(theta) * std::cos(theta) * across * down;
    for (int column = 0; column < sky.width; ++column) {
      const float* c = &sky.rgb[static_cast<std::size_t>(row * sky.width + column) * 3];
      sum += Vector(static_cast<Real>(c[0]), static_cast<Real>(c[1]), static_cast<Real>(c[2])) * weight;
    }
  }
  return sum;
}

void scale(MadeSky& sky, double factor) {
  for (float& value : sky.rgb)
    value *= static_cast<float>(factor);
  sky.sunLux *= factor;
}

// The lower half: a grey ground in this light.
void layGround(MadeSky& sky, const Vector& light) {
  const Vector color = light * (groundReflectance / pi);
  for (int row = sky.height / 2; row < sky.height; ++row)
    for (int column = 0; column < sky.width; ++column) {
      float* to = &sky.rgb[static_cast<std::size_t>(row * sky.width + column) * 3];
      to[0] = static_cast<float>(color.x), to[1] = static_cast<float>(color.y),
      to[2] = static_cast<float>(color.z);
    }
}

void makeDaylight(MadeSky& sky, const SkyRecipe& recipe) {
  const SunPlace place = sunPlaceAt(recipe.time);
  const double turbidity = within(recipe.turbidity, 1.7, 10, 3);
  const double elevation = place.elevation * radians, azimuth = place.azimuth * radians;
  const Daylight daylight(pi / 2 - elevation, turbidity);
  // Below the horizon the sky is that of a sun upon it: the model knows no night.
  const Vector toSun = unitVector(azimuth, std::max(elevation, 0.5 * radians));
  fill(sky, [&](const Vector& d) {
    if (d.y <= 0) return Vector();
    return daylight.at(d.y, std::acos(std::clamp(Dot(d, toSun), -1.0, 1.0)));
  });
  Vector light = irradiance(sky);
  if (elevation > 0) {
    const Vector sun = sunlight(elevation, turbidity);
    const double lux = luminanceOf(sun);
    sky.hasSun = lux > 1e-6;
    sky.toSun = toSun;
    sky.sunColor = sky.hasSun ? sun * (1 / lux) : Vector(1, 1, 1);
    sky.sunLux = lux;
    light += sun * std::sin(elevation);
  }
  layGround(sky, light);
  scale(sky, levelIrradiance / luminanceOf(light));
}

void makeOvercast(MadeSky& sky) {
  fill(sky,
       [](const Vector& d) { return d.y <= 0 ? Vector() : Vector(0.94, 0.98, 1.06) * ((1 + 2 * d.y) / 3); });
  const Vector light = irradiance(sky);
  layGround(sky, light);
  scale(sky, levelIrradiance / luminanceOf(light));
}

} // namespace

MadeSky makeSky(const SkyRecipe& recipe, int height) {
  MadeSky sky;
  sky.height = std::clamp(height, 16, 2048) / 2 * 2;
  sky.width = 2 * sky.height;
  sky.rgb.resize(static_cast<std::size_t>(sky.width) * static_cast<std::size_t>(sky.height) * 3);
  switch (recipe.model) {
  case SkyModel::daylight:
    makeDaylight(sky, recipe);
    break;
  case SkyModel::overcast:
    makeOvercast(sky);
    break;
  case SkyModel::studio: {
    const Studio& studio = studioOf(recipe.studio);
    fill(sky, [&studio](const Vector& d) { return studioLight(studio, d); });
    const double level = luminanceOf(irradiance(sky));
    scale(sky, level > 0 ? levelIrradiance / level : 1);
    break;
  }
  }
  return sky;
}

PicturePtr pictureOf(const MadeSky& sky, const std::string& name) {
  const std::shared_ptr<BaseBitmap> bitmap = makeBitmap(sky.width, sky.height);
  if (!bitmap) throw std::bad_alloc();
  auto film = std::make_shared<Film>(sky.width, sky.height);
  for (int y = 0; y < sky.height; ++y)
    for (int x = 0; x < sky.width; ++x) {
      const float* c = &sky.rgb[static_cast<std::size_t>(y * sky.width + x) * 3];
      const float rgba[4] = {c[0], c[1], c[2], 1};
      film->setColor(x, y, rgba);
    }
  setFilm(*bitmap, film);
  drawFilm(*bitmap);
  BaseContainer options;
  options.SetBool(exrSaverHalf, TRUE);
  const std::vector<unsigned char> file = encodePicture(*bitmap, FILTER_EXR, &options);
  const auto bytes = std::as_bytes(std::span(file));
  auto picture = std::make_shared<Picture>();
  picture->name = name;
  picture->bytes = std::make_shared<const std::vector<std::byte>>(bytes.begin(), bytes.end());
  picture->mimeType = "image/x-exr";
  return picture;
}

} // namespace host
