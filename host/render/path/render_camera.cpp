#include "render_camera.h"

namespace host::render {

RenderCamera::RenderCamera(const SnapshotCamera& camera, int width, int height, int samples)
    : origin_(camera.toWorld.off), scaleX_(2.0f / static_cast<float>(width)),
      scaleY_(2.0f / static_cast<float>(height)), near_(std::max(0.0f, camera.znear)),
      far_(camera.zfar > camera.znear ? camera.zfar : 1e30f), orthographic_(camera.orthographic) {
  const Vec3 right = normalize(Vec3(camera.toWorld.v1)), up = normalize(Vec3(camera.toWorld.v2));
  forward_ = -normalize(Vec3(camera.toWorld.v3));
  const float aspect = static_cast<float>(width) / static_cast<float>(height);
  const float half = halfHeight(camera, aspect);
  lensRight_ = right, lensUp_ = up;
  radius_ = 0.5f * std::max(0.0f, camera.aperture), focus_ = std::max(1e-6f, camera.focusDistance);
  blades_ = camera.blades, bladeRotation_ = camera.bladeRotation;
  right_ = right * (half * aspect);
  up_ = up * half;
  // Samples spread over the pixel and average it; below a quarter of it, textures only get slower and
  // noisier.
  const float share = std::max(0.25f, 1 / std::sqrt(static_cast<float>(std::max(1, samples))));
  (orthographic_ ? cone_.width : cone_.spread) = half * scaleY_ * share;
}

Ray RenderCamera::ray(Vec2 pixel, Vec2 lens) const {
  const Vec3 across = right_ * (pixel.x * scaleX_ - 1) + up_ * (1 - pixel.y * scaleY_);
  Vec3 start = origin_, d = forward_; // d covers a metre along the axis
  (orthographic_ ? start : d) += across;
  if (radius_ > 0) {
    const Vec3 aside = onLens(lens);
    start += aside;
    d = d - aside / focus_; // all rays of a pixel meet at the focus
  }
  if (orthographic_ && !(radius_ > 0)) return {start, forward_, near_, far_};
  const float stretch = length(d); // depths are along the axis, distances along the ray
  return {start, d / stretch, near_ * stretch, std::min(1e30f, far_ * stretch)};
}

// A point of the opening: of a disc, or of a regular polygon, one of its triangles chosen at random.
Vec3 RenderCamera::onLens(Vec2 lens) const {
  Vec2 p = squareToDisc(lens);
  if (blades_ >= 3) {
    const auto count = static_cast<float>(blades_);
    const float sector = std::min(std::floor(lens.x * count), count - 1);
    const float along = lens.x * count - sector, out = std::sqrt(lens.y);
    const auto corner = [&](float k) {
      const float angle = bladeRotation_ + 2 * pi * k / count;
      return Vec2(std::cos(angle), std::sin(angle));
    };
    p = (corner(sector) * (1 - along) + corner(sector + 1) * along) * out;
  }
  return (lensRight_ * p.x + lensUp_ * p.y) * radius_;
}

} // namespace host::render
