// Rays, their cones, and the camera that makes them.
#pragma once

#include "snapshot.h"
#include "vecmath.h"

namespace host::render {

struct Ray {
  Vec3 origin, direction; // unit direction
  float near = 0, far = 1e30f;
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
  Ray ray(Vec2 pixel, Vec2 lens = {0.5f, 0.5f}) const;
  /// True when the picture depends on the place on the lens.
  bool hasOpening() const { return radius_ > 0; }
  /// The cone of one of a pixel's rays.
  RayCone cone() const { return cone_; }
  Vec3 origin() const { return origin_; }
  Vec3 forward() const { return forward_; }

 private:
  Vec3 onLens(Vec2 lens) const;
  Vec3 origin_, right_, up_, forward_; // right and up span half the picture
  float scaleX_, scaleY_;              // pixels to -1..1
  float near_, far_;
  RayCone cone_;
  Vec3 lensRight_, lensUp_; // unit
  float radius_ = 0, focus_ = 1, bladeRotation_ = 0;
  int blades_ = 0;
  bool orthographic_;
};

} // namespace host::render
