// Embree behind one wall: its device, its scenes as owned handles, and builds that a break can end.
#pragma once

#include <embree3/rtcore.h>

#include <functional>
#include <memory>
#include <utility>

namespace host::render {

/// The process's device; made at first use, kept to the end. Throws std::bad_alloc when it cannot be made.
RTCDevice embreeDevice();

/// Owns a scene. Moves only.
class EmbreeScene {
 public:
  EmbreeScene() = default;
  explicit EmbreeScene(RTCSceneFlags flags, RTCBuildQuality quality);
  EmbreeScene(EmbreeScene&& other) noexcept : scene_(std::exchange(other.scene_, nullptr)) {}
  EmbreeScene& operator=(EmbreeScene&& other) noexcept {
    std::swap(scene_, other.scene_);
    return *this;
  }
  ~EmbreeScene() {
    if (scene_) rtcReleaseScene(scene_);
  }
  RTCScene get() const noexcept { return scene_; }

  /// Builds it with `workers` threads of our own (one task after the other would do for small scenes: 1 means
  /// the caller alone). False after a break. Throws std::bad_alloc when memory is short.
  bool build(int workers, const std::function<bool()>& stopped);

 private:
  RTCScene scene_ = nullptr;
};

} // namespace host::render
