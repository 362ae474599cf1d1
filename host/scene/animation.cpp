#include "animation.h"

#include <algorithm>
#include <cmath>

namespace host {

namespace {

constexpr Quaternion normalised(const Quaternion& q, Real length) {
  return {q.x / length, q.y / length, q.z / length, q.w / length};
}

Quaternion normalised(const Quaternion& q) {
  const Real length = std::sqrt(q.x * q.x + q.y * q.y + q.z * q.z + q.w * q.w);
  return length > 0 && std::isfinite(length) ? normalised(q, length) : Quaternion{};
}

Vector normalised(const Vector& v, const Vector& otherwise) {
  const Real length = std::sqrt(Dot(v, v));
  return length > 0 && std::isfinite(length) ? v * (1 / length) : otherwise;
}

// The rotation with these unit axes as columns (Shepperd's method: divide by the largest component).
Quaternion rotationOf(const Vector& x, const Vector& y, const Vector& z) {
  const Real trace = x.x + y.y + z.z;
  Quaternion q;
  if (trace > 0) {
    q = {y.z - z.y, z.x - x.z, x.y - y.x, trace + 1};
  } else if (x.x >= y.y && x.x >= z.z) {
    q = {1 + x.x - y.y - z.z, x.y + y.x, z.x + x.z, y.z - z.y};
  } else if (y.y >= z.z) {
    q = {x.y + y.x, 1 + y.y - x.x - z.z, y.z + z.y, z.x - x.z};
  } else {
    q = {z.x + x.z, y.z + z.y, 1 + z.z - x.x - y.y, x.y - y.x};
  }
  return normalised(q);
}

// Interpolates along the shorter arc between two unit quaternions.
void slerp(const float* a, const float* b, double t, double* out) {
  double dot = 0;
  for (int i = 0; i < 4; ++i)
    dot += static_cast<double>(a[i]) * b[i];
  const double sign = dot < 0 ? -1 : 1;
  dot = std::min(std::abs(dot), 1.0);
  double wa = 1 - t, wb = t;
  if (dot < 0.9995) {
    const double angle = std::acos(dot), s = std::sin(angle);
    wa = std::sin((1 - t) * angle) / s;
    wb = std::sin(t * angle) / s;
  }
  for (int i = 0; i < 4; ++i)
    out[i] = wa * a[i] + sign * wb * b[i];
}

// A cubic Hermite segment of length `span` (glTF 2.0, appendix C).
double hermite(double v0, double out0, double v1, double in1, double t, double span) {
  const double t2 = t * t, t3 = t2 * t;
  return (2 * t3 - 3 * t2 + 1) * v0 + (t3 - 2 * t2 + t) * span * out0 + (3 * t2 - 2 * t3) * v1 +
         (t3 - t2) * span * in1;
}

} // namespace

Matrix matrixOf(const Pose& pose) {
  const auto& [x, y, z, w] = normalised(pose.rotation);
  const Vector& s = pose.scale;
  return {pose.translation, Vector(1 - 2 * (y * y + z * z), 2 * (x * y + z * w), 2 * (x * z - y * w)) * s.x,
          Vector(2 * (x * y - z * w), 1 - 2 * (x * x + z * z), 2 * (y * z + x * w)) * s.y,
          Vector(2 * (x * z + y * w), 2 * (y * z - x * w), 1 - 2 * (x * x + y * y)) * s.z};
}

Pose poseOf(const Matrix& m) {
  Pose pose;
  pose.translation = m.off;
  pose.scale = {std::sqrt(Dot(m.v1, m.v1)), std::sqrt(Dot(m.v2, m.v2)), std::sqrt(Dot(m.v3, m.v3))};
  if (Dot(Cross(m.v1, m.v2), m.v3) < 0) pose.scale.x = -pose.scale.x;
  const Vector x = normalised(m.v1, {1, 0, 0}) * (pose.scale.x < 0 ? -1.0 : 1.0);
  const Vector y = normalised(m.v2 - x * Dot(x, m.v2), {0, 1, 0});
  pose.rotation = rotationOf(x, y, Cross(x, y));
  return pose;
}

std::vector<double> sampleCurve(const Curve& curve, double seconds, bool rotation) {
  const std::size_t width = curve.width, keys = curve.times.size();
  const bool cubic = curve.interpolation == Interpolation::cubic;
  const std::size_t stride = cubic ? 3 * width : width, middle = cubic ? width : 0;
  std::vector<double> result(width, 0.0);
  if (keys == 0 || curve.values.size() < keys * stride) return result;
  const auto held = [&](std::size_t key) {
    const float* v = curve.values.data() + key * stride + middle;
    std::copy(v, v + width, result.begin());
  };

  const auto after = std::upper_bound(curve.times.begin(), curve.times.end(), static_cast<float>(seconds));
  const auto next = static_cast<std::size_t>(after - curve.times.begin());
  if (next == 0 || next == keys || curve.interpolation == Interpolation::step) {
    held(next == 0 ? 0 : next - 1);
  } else {
    const double start = curve.times[next - 1], span = curve.times[next] - start;
    const double t = std::clamp((seconds - start) / span, 0.0, 1.0);
    const float* a = curve.values.data() + (next - 1) * stride + middle;
    const float* b = curve.values.data() + next * stride + middle;
    if (!cubic && rotation && width == 4) {
      slerp(a, b, t, result.data());
    } else {
      for (std::size_t i = 0; i < width; ++i)
        result[i] = cubic ? hermite(a[i], a[i + width], b[i], *(b + i - width), t, span)
                          : a[i] + (static_cast<double>(b[i]) - a[i]) * t;
    }
  }
  if (rotation && width == 4) {
    const Quaternion q = normalised(Quaternion{result[0], result[1], result[2], result[3]});
    result = {q.x, q.y, q.z, q.w};
  }
  return result;
}

} // namespace host
