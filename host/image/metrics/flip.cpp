#include "flip.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

#include "flip_color.h"
#include "plane_filter.h"
#include "worker_threads.h"

namespace host {
namespace {

// Constants of the 2020 paper: exponents and break of the colour difference, exponent of the features, width
// of the features in degrees.
constexpr float colorExponent = 0.7f, breakIn = 0.4f, breakOut = 0.95f, featureExponent = 0.5f;
constexpr double featureWidth = 0.082;

using Planes = std::array<Plane, 3>;

float cut(float value) noexcept {
  return std::clamp(value, 0.0f, 1.0f);
}

Planes opponentPlanes(const MetricImage& linear) {
  Planes planes;
  planes.fill(Plane(linear.width, linear.height));
  eachRow(linear.height, [&](int y) {
    const float* p =
        linear.rgb.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(linear.width) * 3;
    for (int x = 0; x < linear.width; ++x, p += 3) {
      const Triple made = toOpponent({p[0], p[1], p[2]});
      planes[0].row(y)[x] = made.x;
      planes[1].row(y)[x] = made.y;
      planes[2].row(y)[x] = made.z;
    }
  });
  return planes;
}

/// A term a sqrt(pi / b) exp(-pi^2 x^2 / b) of a contrast sensitivity, x in degrees.
struct Term {
  double a, b;
};

/// The sensitivity's filter: a sum of Gaussians, each separable, that adds up to 1 over the square.
Plane sensed(const Plane& plane, int radius, double pixelsPerDegree, std::initializer_list<Term> terms) {
  constexpr double pi = std::numbers::pi;
  const auto shape = [&](double b) {
    return [=](double at) { return std::exp(-pi * pi * at * at / (pixelsPerDegree * pixelsPerDegree * b)); };
  };
  const auto share = [&](const Term& term) {
    double sum = 0;
    for (int at = -radius; at <= radius; ++at)
      sum += shape(term.b)(at);
    return term.a * std::sqrt(pi / term.b) * sum * sum;
  };
  double all = 0;
  for (const Term& term : terms)
    all += share(term);
  Plane result(plane.width, plane.height);
  for (const Term& term : terms) {
    const Kernel kernel = kernelOf(radius, shape(term.b));
    const Plane part = filtered(plane, kernel, kernel);
    const auto weight = static_cast<float>(share(term) / all);
    for (std::size_t i = 0; i < part.values.size(); ++i)
      result.values[i] += weight * part.values[i];
  }
  return result;
}

/// The picture as the eye resolves it at this distance.
Planes sensedPlanes(const Planes& opponent, double pixelsPerDegree) {
  const double widest = std::sqrt(0.04 / (2 * std::numbers::pi * std::numbers::pi));
  const int radius = static_cast<int>(std::ceil(3 * widest * pixelsPerDegree));
  return {sensed(opponent[0], radius, pixelsPerDegree, {{1, 0.0047}}),
          sensed(opponent[1], radius, pixelsPerDegree, {{1, 0.0053}}),
          sensed(opponent[2], radius, pixelsPerDegree, {{34.1, 0.04}, {13.5, 0.025}})};
}

Triple huntLabAt(const Planes& opponent, std::size_t i) {
  const Triple rgb = fromOpponent({opponent[0].values[i], opponent[1].values[i], opponent[2].values[i]});
  return toHuntLab({cut(rgb.x), cut(rgb.y), cut(rgb.z)});
}

/// Maps a distance to 0 to 1: small ones take most of the range.
float redistributed(float distance) {
  static const float most = std::pow(hyab(toHuntLab({0, 1, 0}), toHuntLab({0, 0, 1})), colorExponent);
  const float power = std::pow(distance, colorExponent), limit = breakIn * most;
  if (power < limit) return breakOut / limit * power;
  return breakOut + (power - limit) / (most - limit) * (1 - breakOut);
}

/// Lengths of the gradients of edges and of points.
struct Features {
  Plane edges, points;
};

Plane lengths(const Plane& luminance, const Kernel& derivative, const Kernel& smooth) {
  Plane result = filtered(luminance, derivative, smooth);
  const Plane down = filtered(luminance, smooth, derivative);
  for (std::size_t i = 0; i < result.values.size(); ++i)
    result.values[i] = std::hypot(result.values[i], down.values[i]);
  return result;
}

Features featuresOf(const Plane& achromatic, double pixelsPerDegree) {
  Plane luminance = achromatic;
  for (float& value : luminance.values)
    value = (value + 16) / 116;
  const double deviation = 0.5 * featureWidth * pixelsPerDegree;
  const int radius = static_cast<int>(std::ceil(3 * deviation));
  const auto bell = [=](double at) { return std::exp(-at * at / (2 * deviation * deviation)); };
  const Kernel smooth = kernelOf(radius, bell);
  const Kernel first = kernelOf(radius, [&](double at) { return -at * bell(at); });
  const Kernel second =
      kernelOf(radius, [&](double at) { return (at * at / (deviation * deviation) - 1) * bell(at); });
  return {lengths(luminance, first, smooth), lengths(luminance, second, smooth)};
}

/// FLIP of two linear pictures within 0 to 1.
std::vector<float> limitedFlip(const MetricImage& reference, const MetricImage& test,
                               double pixelsPerDegree) {
  const Planes a = opponentPlanes(reference), b = opponentPlanes(test);
  const Features featuresA = featuresOf(a[0], pixelsPerDegree), featuresB = featuresOf(b[0], pixelsPerDegree);
  const Planes sensedA = sensedPlanes(a, pixelsPerDegree), sensedB = sensedPlanes(b, pixelsPerDegree);
  std::vector<float> map(reference.pixels());
  eachRow(reference.height, [&](int y) {
    const auto width = static_cast<std::size_t>(reference.width), from = static_cast<std::size_t>(y) * width;
    for (std::size_t i = from; i < from + width; ++i) {
      const float color = redistributed(hyab(huntLabAt(sensedA, i), huntLabAt(sensedB, i)));
      const float edge = std::abs(featuresA.edges.values[i] - featuresB.edges.values[i]);
      const float point = std::abs(featuresA.points.values[i] - featuresB.points.values[i]);
      const float feature = std::pow(std::max(edge, point) / std::numbers::sqrt2_v<float>, featureExponent);
      map[i] = std::pow(color, 1 - cut(feature));
    }
  });
  return map;
}

/// The tone curve of the 2021 paper, a fit of the ACES curve (Narkowicz 2016):
/// (k0 x^2 + k1 x) / (k3 x^2 + k4 x + k5).
constexpr double k0 = 0.6 * 0.6 * 2.51, k1 = 0.6 * 0.03, k3 = 0.6 * 0.6 * 2.43, k4 = 0.6 * 0.59, k5 = 0.14;

float toneMapped(float value) {
  const double x = std::max(0.0, static_cast<double>(value));
  return cut(static_cast<float>((k0 * x * x + k1 * x) / (k3 * x * x + k4 * x + k5)));
}

/// The light that the curve shows as 0.85, the paper's "just below white".
double nearlyWhite() {
  constexpr double t = 0.85;
  const double a = k0 - t * k3, b = k1 - t * k4, c = -t * k5;
  return (-b + std::sqrt(b * b - 4 * a * c)) / (2 * a);
}

MetricImage exposed(const MetricImage& image, double stops) {
  MetricImage result = image;
  const auto scale = static_cast<float>(std::exp2(stops));
  std::transform(image.rgb.begin(), image.rgb.end(), result.rgb.begin(),
                 [scale](float value) { return toneMapped(value * scale); });
  return result;
}

} // namespace

std::vector<double> flipExposures(const MetricImage& reference) {
  std::vector<float> luminances(reference.pixels());
  for (std::size_t i = 0; i < luminances.size(); ++i) {
    const float* p = reference.rgb.data() + 3 * i;
    luminances[i] = (toOpponent({p[0], p[1], p[2]}).x + 16) / 116;
  }
  const auto middle = luminances.begin() + static_cast<std::ptrdiff_t>(luminances.size() / 2);
  std::nth_element(luminances.begin(), middle, luminances.end());
  const double brightest = static_cast<double>(*std::max_element(middle, luminances.end()));
  if (!(brightest > 0)) return {0};
  const double median = std::max(static_cast<double>(*middle), std::ldexp(brightest, -14));
  const double first = std::log2(nearlyWhite() / brightest), last = std::log2(nearlyWhite() / median);
  const int count = std::max(2, static_cast<int>(std::ceil(last - first)));
  std::vector<double> stops;
  for (int i = 0; i < count; ++i)
    stops.push_back(first + i * (last - first) / (count - 1));
  return stops;
}

std::vector<float> flipMap(const MetricImage& reference, const MetricImage& test, double pixelsPerDegree) {
  if (!reference.linear || !test.linear)
    return limitedFlip(asLinear(asDisplay(reference)), asLinear(asDisplay(test)), pixelsPerDegree);
  std::vector<float> largest(reference.pixels());
  for (const double stops : flipExposures(reference)) {
    const std::vector<float> map =
        limitedFlip(exposed(reference, stops), exposed(test, stops), pixelsPerDegree);
    std::transform(map.begin(), map.end(), largest.begin(), largest.begin(),
                   [](float a, float b) { return std::max(a, b); });
  }
  return largest;
}

} // namespace host
