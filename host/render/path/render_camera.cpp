#include "render_camera.h"

namespace host::render {

RenderCamera::RenderCamera(const SnapshotCamera& camera, int width, int height)
    : origin_(camera.toWorld.off), scaleX_(2.0f / static_cast<float>(width)),
      scaleY_(2.0f / static_cast<float>(height)), near_(std::max(0.0f, camera.znear)),
      far_(camera.zfar > camera.znear ? camera.zfar : 1e30f), orthographic_(camera.orthographic) {
  const Vec3 right = normalize(Vec3(camera.toWorld.v1)), up = normalize(Vec3(camera.toWorld.v2));
  forward_ = -normalize(Vec3(camera.toWorld.v3));
  const float half = orthographic_ ? std::max(1e-6f, std::abs(camera.ymag))
                                   : std::tan(std::clamp(camera.yfov, 1e-4f, pi - 1e-3f) / 2);
  const float aspect = static_cast<float>(width) / static_cast<float>(height);
  right_ = right * (half * aspect);
  up_ = up * half;
  (orthographic_ ? cone_.width : cone_.spread) = half * scaleY_;
}

Ray RenderCamera::ray(Vec2 pixel) const {
  const Vec3 across = right_ * (pixel.x * scaleX_ - 1) + up_ * (1 - pixel.y * scaleY_);
  if (orthographic_) return {origin_ + across, forward_, near_, far_};
  const Vec3 d = forward_ + across;
  const float stretch = length(d); // depths are along the axis, distances along the ray
  return {origin_, d / stretch, near_ * stretch, std::min(1e30f, far_ * stretch)};
}

} // namespace host::render
