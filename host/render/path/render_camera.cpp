#include "render_camera.h"

#include "motion_steps.h"

namespace host::render {

RenderCamera::RenderCamera(const SnapshotCamera& camera, int width, int height, int samples)
    : still_(viewOf(camera.toWorld)), scaleX_(2.0f / static_cast<float>(width)),
      scaleY_(2.0f / static_cast<float>(height)), middleX_(2 * camera.shiftX), middleY_(2 * camera.shiftY),
      near_(std::max(0.0f, camera.znear)), far_(camera.zfar > camera.znear ? camera.zfar : 1e30f),
      orthographic_(camera.orthographic) {
  const float aspect = static_cast<float>(width) / static_cast<float>(height);
  halfHeight_ = halfHeight(camera, aspect);
  halfWidth_ = halfHeight_ * aspect;
  if (camera.motion.size() > 1)
    for (const Matrix& step : camera.motion)
      motion_.push_back(poseOf(step));
  radius_ = 0.5f * std::max(0.0f, camera.aperture), focus_ = std::max(1e-6f, camera.focusDistance);
  blades_ = camera.blades, bladeRotation_ = camera.bladeRotation;
  // Samples spread over the pixel and average it; below a quarter of it, textures only get slower and
  // noisier.
  const float share = std::max(0.25f, 1 / std::sqrt(static_cast<float>(std::max(1, samples))));
  (orthographic_ ? cone_.width : cone_.spread) = halfHeight_ * scaleY_ * share;
}

RenderCamera::View RenderCamera::viewOf(const Matrix& toWorld) {
  return {Vec3(toWorld.off), normalize(Vec3(toWorld.v1)), normalize(Vec3(toWorld.v2)),
          -normalize(Vec3(toWorld.v3))};
}

// Steps are short, so the mean of two quaternions turns evenly enough.
RenderCamera::View RenderCamera::viewAt(float time) const {
  if (motion_.empty()) return still_;
  const StepPair s = stepsAround(time, motion_.size());
  const Pose &a = motion_[s.first], &b = motion_[s.second];
  const Quaternion &p = a.rotation, &q = b.rotation;
  const Real part = static_cast<Real>(s.part), rest = 1 - part;
  const Real other = p.x * q.x + p.y * q.y + p.z * q.z + p.w * q.w < 0 ? -part : part;
  Pose pose;
  pose.translation = a.translation * rest + b.translation * part;
  pose.rotation = {p.x * rest + q.x * other, p.y * rest + q.y * other, p.z * rest + q.z * other,
                   p.w * rest + q.w * other};
  return viewOf(matrixOf(pose));
}

Ray RenderCamera::ray(Vec2 pixel, Vec2 lens, float time) const {
  Ray ray = motion_.empty() ? rayOf(still_, pixel, lens) : rayOf(viewAt(time), pixel, lens);
  ray.time = time;
  return ray;
}

Ray RenderCamera::rayOf(const View& view, Vec2 pixel, Vec2 lens) const {
  const Vec3 across = view.right * (halfWidth_ * (pixel.x * scaleX_ - 1 + middleX_)) +
                      view.up * (halfHeight_ * (1 - pixel.y * scaleY_ + middleY_));
  Vec3 start = view.origin, d = view.forward; // d covers a metre along the axis
  (orthographic_ ? start : d) += across;
  if (radius_ > 0) {
    const Vec2 at = onLens(lens);
    const Vec3 aside = (view.right * at.x + view.up * at.y) * radius_;
    start += aside;
    d = d - aside / focus_; // all rays of a pixel meet at the focus
  }
  if (orthographic_ && !(radius_ > 0)) return {start, view.forward, near_, far_};
  const float stretch = length(d); // depths are along the axis, distances along the ray
  return {start, d / stretch, near_ * stretch, std::min(1e30f, far_ * stretch)};
}

// A point of the opening: of a disc, or of a regular polygon, one of its triangles chosen at random.
Vec2 RenderCamera::onLens(Vec2 lens) const {
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
  return p;
}

} // namespace host::render
