// The light of the sky. Immutable once built, any thread.
#pragma once

#include <memory>
#include <vector>

#include "texture.h"

namespace host::render {

/// The brightness of a sky's picture, for sampling it. Kept over renders.
struct SkyTable {
  int columns = 0, rows = 0;
  Vec3 mean;                                  // radiance over the sphere
  std::vector<float> cell, columnCdf, rowCdf; // densities over the unit square, and their sums; empty: even
};

/// A picture is latitude-longitude: the upper edge is +y, the middle column looks along -z, and +x is to the
/// right of the middle. The rotation is about y, counter-clockwise seen from above.
class RenderSky {
 public:
  RenderSky() = default;
  /// `texture` is the decoded picture; without it a picture sky shows its plain colour.
  RenderSky(const SnapshotSky& sky, TexturePtr texture);

  bool present() const { return kind_ != SkyKind::none; }
  bool seenByCamera() const { return seen_; }
  Vec3 radiance(Vec3 direction) const;
  /// The mean over the sphere.
  Vec3 mean() const { return mean_; }

  /// True when directions are sampled by brightness; other skies are even, so rays find them well enough.
  /// Directions no brighter than the mean have density 0.
  bool sampled() const { return table_ && !table_->rowCdf.empty(); }
  struct Sample {
    Vec3 direction;
    float pdf = 0; // over solid angle; 0: none
  };
  /// Samples a direction by brightness.
  Sample sample(Vec2 u) const;
  float pdf(Vec3 direction) const;
  /// Null without a picture.
  const SkyTable* table() const { return table_.get(); }

 private:
  Vec2 toPicture(Vec3 direction) const;

  SkyKind kind_ = SkyKind::none;
  Vec3 color_, horizon_, ground_, mean_;
  TexturePtr texture_;
  float rotation_ = 0;
  bool seen_ = true;
  std::shared_ptr<const SkyTable> table_; // of a picture
};

} // namespace host::render
