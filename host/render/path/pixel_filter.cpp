#include "pixel_filter.h"

namespace host::render {
namespace {

float radiusOf(Filter kind) {
  switch (kind) {
  case Filter::animation:
    return 1.5f;
  case Filter::blend:
    return 2.0f;
  case Filter::sinc:
    return 2.0f;
  case Filter::area:
    return 0.5f;
  case Filter::cone:
    return 1.0f;
  case Filter::catmull:
    return 2.0f;
  case Filter::video:
    return 1.0f;
  case Filter::still:
    break;
  }
  return 1.5f;
}

float gaussian(float x, float sharpness, float radius) {
  return std::exp(-sharpness * x * x) - std::exp(-sharpness * radius * radius);
}

float sinc(float x) {
  return x < 1e-4f ? 1 : std::sin(pi * x) / (pi * x);
}

// The cubic of Catmull and Rom 1974.
float catmull(float x) {
  if (x < 1) return 1 + x * x * (1.5f * x - 2.5f);
  return 2 - x * (4 - x * (2.5f - 0.5f * x));
}

} // namespace

float PixelFilter::value(Filter kind, float x) {
  const float radius = radiusOf(kind);
  x = std::abs(x);
  if (x >= radius) return 0;
  switch (kind) {
  case Filter::still:
    return gaussian(x, 3.0f, radius); // crisp
  case Filter::animation:
    return gaussian(x, 1.6f, radius); // steady in motion
  case Filter::blend:
    return gaussian(x, 0.9f, radius); // soft
  case Filter::sinc:
    return sinc(x) * sinc(x / radius); // windowed by its own main lobe
  case Filter::area:
    return 1;
  case Filter::cone:
    return 1 - x;
  case Filter::catmull:
    return catmull(x);
  case Filter::video:
    return 0.5f + 0.5f * std::cos(pi * x);
  }
  return 1;
}

PixelFilter::PixelFilter(Filter kind) : radius_(radiusOf(kind)) {
  float total = 0, signedTotal = 0;
  for (int i = 0; i < cells; ++i) {
    const float x = ((static_cast<float>(i) + 0.5f) / cells * 2 - 1) * radius_;
    const float f = value(kind, x);
    total += std::abs(f);
    signedTotal += f;
    cdf_[static_cast<std::size_t>(i + 1)] = total;
    sign_[static_cast<std::size_t>(i)] = f < 0 ? -1.0f : 1.0f;
  }
  for (float& c : cdf_)
    c /= total;
  cdf_[cells] = 1;
  for (std::size_t cell = 0, i = 0; i < cells; ++i) {
    while (cdf_[cell + 1] <= static_cast<float>(i) / cells && cell + 1 < cells)
      ++cell;
    first_[i] = static_cast<std::uint8_t>(cell);
  }
  for (float& s : sign_)
    s *= total / signedTotal;
}

float PixelFilter::sampleAxis(float u, float& weight) const {
  std::size_t cell = first_[static_cast<std::size_t>(u * cells)];
  while (cell + 1 < cells && cdf_[cell + 1] <= u)
    ++cell;
  const float width = cdf_[cell + 1] - cdf_[cell];
  const float inside = width > 0 ? clamp01((u - cdf_[cell]) / width) : 0.5f;
  weight *= sign_[cell];
  return ((static_cast<float>(cell) + inside) / cells * 2 - 1) * radius_;
}

PixelFilter::Sample PixelFilter::sample(Vec2 u) const {
  Sample s{{}, 1};
  s.offset.x = sampleAxis(u.x, s.weight);
  s.offset.y = sampleAxis(u.y, s.weight);
  return s;
}

} // namespace host::render
