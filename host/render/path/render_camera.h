// Rays, their cones, and the camera that makes them.
#pragma once

#include <vector>

#include "animation.h"
#include "snapshot.h"
#include "vecmath.h"

namespace host::render {

struct Ray {
  Vec3 origin, direction; // unit direction
  float near = 0, far = 1e30f;
  float time = 0; // 0 when the shutter opens to 1 when it closes
};

/// Width of the area covered by a ray: at its origin, and its growth per metre.
struct RayCone {
  float width = 0, spread = 0;
  float widthAt(float distance) const { return width + spread * distance; }
};

/// The camera of a snapshot for a bitmap. Pixel coordinates start at the upper left corner of the picture; x
/// grows to the right, y downwards.
class RenderCamera {
 public:
  /// `samples` a pixel: many of them average textures themselves, so each reads finer details.
  RenderCamera(const SnapshotCamera& camera, int width, int height, int samples);
  /// `lens` in the unit square: the place on the lens opening. Without an opening it has no effect.
  /// `time` of the ray, 0 to 1 while the shutter is open; a camera that stands still is everywhere the same.
  Ray ray(Vec2 pixel, Vec2 lens = {0.5f, 0.5f}, float time = 0) const;
  /// True when the picture depends on the place on the lens.
  bool hasOpening() const { return radius_ > 0; }
  /// The cone of one of a pixel's rays.
  RayCone cone() const { return cone_; }
  Vec3 origin() const { return still_.origin; }
  Vec3 forward() const { return still_.forward; }

 private:
  /// Place and unit axes.
  struct View {
    Vec3 origin, right, up, forward;
  };
  static View viewOf(const Matrix& toWorld);
  View viewAt(float time) const;
  Ray rayOf(const View& view, Vec2 pixel, Vec2 lens) const;
  Vec2 onLens(Vec2 lens) const;

  View still_;
  std::vector<Pose> motion_;     // at even steps while the shutter is open; empty: it stands still
  float halfWidth_, halfHeight_; // of the picture, a metre away; orthographic: in metres
  float scaleX_, scaleY_;        // pixels to -1..1
  float middleX_, middleY_;      // of the picture, in its halves beside the axis
  float near_, far_;
  RayCone cone_;
  float radius_ = 0, focus_ = 1, bladeRotation_ = 0;
  int blades_ = 0;
  bool orthographic_;
};

} // namespace host::render
