// The ray tracer that the editor view needs. The scene declares it, the renderer implements it, the program
// connects them. Any thread.
#pragma once

#include <functional>
#include <memory>
#include <span>

#include "snapshot.h"

namespace host {

/// In world space; the direction has unit length. Hits are inside [near, far] only.
struct ViewRay {
  Float3 origin{}, direction{0, 0, -1};
  float near = 0, far = 1e30f;
};

/// The first hit of a ray. Without a hit `object` is 0; then `unlit` says that `color` is the sky, else
/// nothing is set.
struct ViewHit {
  Identity object = 0;
  float distance = 0; // along the ray, metres
  Float3 normal{};    // unit, smooth, on the viewer's side
  Float3 color{};     // what a matt surface reflects, linear 0 to 1; with glow its picture instead
  bool unlit = false; // glowing and unlit surfaces: `color` is shown unchanged
};

/// Whether the view shows the snapshot's sky: it does not show a sky hidden from cameras, nor the default sky
/// of a document without light (which comes with a light of no object).
inline bool showsSky(const Snapshot& snapshot) {
  const bool standsIn = !snapshot.lights.empty() && snapshot.lights.front().object == 0;
  return snapshot.sky.kind != SkyKind::none && snapshot.sky.seenByCamera && !standsIn;
}

/// A snapshot prepared for tracing. Immutable.
class ViewScene {
 public:
  virtual ~ViewScene() = default;
  /// Traces a bundle of neighbouring rays; gives one hit for each.
  virtual void trace(std::span<const ViewRay> rays, std::span<ViewHit> hits) const = 0;
  virtual const Snapshot& snapshot() const = 0;
};
using ViewScenePtr = std::shared_ptr<const ViewScene>;

class ViewTracer {
 public:
  virtual ~ViewTracer() = default;
  /// Prepares a snapshot; structures built for a mesh are cached by its identity. Null after a break
  /// (`stopped` is called on several threads) and when memory is short.
  virtual ViewScenePtr prepare(const SnapshotPtr& snapshot, int workers,
                               const std::function<bool()>& stopped) = 0;
};

} // namespace host
