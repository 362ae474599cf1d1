// What the editor view needs of a ray tracer. The scene declares it, the renderer implements it, the program
// brings them together. A tracer and its scenes are used by any thread.
#pragma once

#include <functional>
#include <memory>
#include <span>

#include "snapshot.h"

namespace host {

/// World space; the direction has unit length. Nothing outside [near, far] is met.
struct ViewRay {
  Float3 origin{}, direction{0, 0, -1};
  float near = 0, far = 1e30f;
};

/// The first hit of a ray. `object` is 0 when it met nothing; then `unlit` says that `color` is the sky
/// there, and without it nothing else is set.
struct ViewHit {
  Identity object = 0;
  float distance = 0; // along the ray, metres
  Float3 normal{};    // unit, smooth, on the viewer's side
  Float3 color{};     // what a matt surface reflects, linear 0 to 1; with glow its picture instead
  bool unlit = false; // shown as `color` is: glowing and unlit surfaces
};

/// Whether the view shows the snapshot's sky: not one that cameras do not see, nor the one that stands in,
/// with a lamp of no object, where a document has no light.
inline bool showsSky(const Snapshot& snapshot) {
  const bool standsIn = !snapshot.lights.empty() && snapshot.lights.front().object == 0;
  return snapshot.sky.kind != SkyKind::none && snapshot.sky.seenByCamera && !standsIn;
}

/// A snapshot made ready for rays. Immutable.
class ViewScene {
 public:
  virtual ~ViewScene() = default;
  /// Traces rays that lie side by side; one hit a ray.
  virtual void trace(std::span<const ViewRay> rays, std::span<ViewHit> hits) const = 0;
  virtual const Snapshot& snapshot() const = 0;
};
using ViewScenePtr = std::shared_ptr<const ViewScene>;

class ViewTracer {
 public:
  virtual ~ViewTracer() = default;
  /// Makes a snapshot ready; what was built for a mesh is kept by its identity and used again. Null after a
  /// break (`stopped` is asked from several threads) and when memory is short.
  virtual ViewScenePtr prepare(const SnapshotPtr& snapshot, int workers,
                               const std::function<bool()>& stopped) = 0;
};

} // namespace host
