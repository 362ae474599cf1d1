// The only owner of Embree handles: device, scenes, and builds that a break can end.
#pragma once

#include <embree3/rtcore.h>

#include <functional>
#include <memory>
#include <utility>

namespace host::render {

/// The process's device, made at first use and kept. Throws std::bad_alloc when it cannot be made.
RTCDevice embreeDevice();

/// Owns a scene, whose rays may bring a filter of their own. Move-only.
class EmbreeScene {
 public:
  EmbreeScene() = default;
  explicit EmbreeScene(RTCSceneFlags flags, RTCBuildQuality quality);
  EmbreeScene(EmbreeScene&& other) noexcept : scene_(std::exchange(other.scene_, nullptr)) {}
  EmbreeScene& operator=(EmbreeScene&& other) noexcept {
    std::swap(scene_, other.scene_);
    return *this;
  }
  ~EmbreeScene();
  RTCScene get() const noexcept { return scene_; }

  /// Builds the scene with `workers` threads of the host; with 1 the caller builds alone, which suffices for
  /// small scenes. False after a break. Throws std::bad_alloc.
  bool build(int workers, const std::function<bool()>& stopped);

 private:
  RTCScene scene_ = nullptr;
};

} // namespace host::render
