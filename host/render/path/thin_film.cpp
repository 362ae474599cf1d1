#include "thin_film.h"

#include "ggx.h"

namespace host::render {
namespace {

float reflectanceBetween(float indexBehind, float indexBefore) {
  return sqr((indexBehind - indexBefore) / (indexBehind + indexBefore));
}

float indexOf(float reflectance) {
  const float r = std::sqrt(std::min(reflectance, 0.9999f));
  return (1 + r) / (1 - r);
}

float towardsOne(float f0, float cosine) {
  return lerp(f0, 1, schlick(cosine));
}

/// Integral over the spectrum of the eye's sensitivity times a cosine of the path difference (metres), in
/// linear sRGB: the paper's fit of the CIE curves by Gaussians. `shift` is the phase for each channel.
Vec3 sensitivity(float difference, Vec3 shift) {
  const float phase = 2 * pi * difference, phase2 = phase * phase;
  const auto bump = [&](float value, float place, float variance, float s) {
    return value * std::sqrt(2 * pi * variance) * std::cos(place * phase + s) * std::exp(-phase2 * variance);
  };
  constexpr float whole = 1.0685e-7f;
  const float x =
      (bump(5.4856e-13f, 1.6810e6f, 4.3278e9f, shift.x) + bump(9.7470e-14f, 2.2399e6f, 4.5282e9f, shift.x)) /
      whole;
  const float y = bump(4.4201e-13f, 1.7953e6f, 9.3046e9f, shift.y) / whole;
  const float z = bump(5.2481e-13f, 2.2084e6f, 6.6121e9f, shift.z) / whole;
  return {3.2404542f * x - 1.5371385f * y - 0.4985314f * z, -0.9692660f * x + 1.8760108f * y + 0.0415560f * z,
          0.0556434f * x - 0.2040259f * y + 1.0572252f * z};
}

} // namespace

Vec3 filmReflectance(float cosine, float filmIor, float nanometres, Vec3 base) {
  // The film fades in over its first 30 nanometres: a film without thickness has no effect.
  const float t = clamp01(nanometres / 30);
  const float index = lerp(1, filmIor, t * t * (3 - 2 * t));
  const float sin2 = (1 - cosine * cosine) / (index * index);
  if (sin2 >= 1) return Vec3(1.0f);
  const float inside = std::sqrt(1 - sin2);
  const float outer = fresnel(std::max(1e-4f, cosine), index); // off the film
  const float through = sqr(1 - outer);
  const auto inner = [&](float f0) { // off the surface below
    const float below = indexOf(f0);
    return Vec2(towardsOne(reflectanceBetween(below, index), inside), below < index ? pi : 0);
  };
  const Vec2 r = inner(base.x), g = inner(base.y), b = inner(base.z);
  const Vec3 below{r.x, g.x, b.x};
  const Vec3 shift = Vec3(r.y, g.y, b.y) + Vec3(index < 1 ? 0 : pi);
  const auto clampPair = [](float v) { return std::clamp(v, 0.0f, 0.9999f); };
  const Vec3 pair{clampPair(outer * below.x), clampPair(outer * below.y), clampPair(outer * below.z)};
  const Vec3 bounces{through * below.x / (1 - pair.x), through * below.y / (1 - pair.y),
                     through * below.z / (1 - pair.z)};
  const Vec3 step{std::sqrt(pair.x), std::sqrt(pair.y), std::sqrt(pair.z)};
  const float difference = 2 * index * nanometres * 1e-9f * inside;
  Vec3 sum = Vec3(outer) + bounces;
  Vec3 order = bounces - Vec3(1 - outer);
  for (int m = 1; m <= 2; ++m) {
    order *= step;
    sum += order * sensitivity(static_cast<float>(m) * difference, shift * static_cast<float>(m)) * 2;
  }
  return {clamp01(sum.x), clamp01(sum.y), clamp01(sum.z)};
}

Vec3 filmF0(float cosine, float filmIor, float nanometres, Vec3 base) {
  const Vec3 f = filmReflectance(cosine, filmIor, nanometres, base);
  const float s = std::min(schlick(cosine), 0.9999f);
  const auto part = [s](float v) { return clamp01((v - s) / (1 - s)); };
  return {part(f.x), part(f.y), part(f.z)};
}

} // namespace host::render
