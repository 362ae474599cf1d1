// Camera rays.
#pragma once

#include "snapshot.h"
#include "vecmath.h"

namespace host::render {

struct Ray {
  Vec3 origin, direction; // unit direction
  float near = 0, far = 1e30f;
};

/// The camera of a snapshot over a bitmap: (0, 0) is the picture's upper left corner, x grows to the right
/// and y downwards, in pixels.
class RenderCamera {
 public:
  RenderCamera(const SnapshotCamera& camera, int width, int height);
  Ray ray(Vec2 pixel) const;
  /// A pixel's width at the ray's origin, and what it grows by a metre along the ray.
  float pixelWidth() const { return pixelWidth_; }
  float pixelSpread() const { return pixelSpread_; }
  Vec3 origin() const { return origin_; }
  Vec3 forward() const { return forward_; }

 private:
  Vec3 origin_, right_, up_, forward_; // right and up span half the picture
  float scaleX_, scaleY_;              // pixels to -1..1
  float near_, far_, pixelWidth_ = 0, pixelSpread_ = 0;
  bool orthographic_;
};

} // namespace host::render
