// A snapshot prepared for OpenGL: draws, materials, lights. Immutable once built; needs no context.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "built_scene.h"
#include "gl_material.h"
#include "render_camera.h"
#include "render_sky.h"

namespace host::render {

/// One group of an instance.
struct GlDraw {
  const Mesh* mesh = nullptr;
  std::size_t material = 0;
  Transform toEye; // world axes, relative to the eye
  float side = 1;  // -1 when the map mirrors
  std::uint32_t firstTriangle = 0, triangleCount = 0;
  float depth = 0;                   // of its middle, along the view
  std::vector<std::uint32_t> sorted; // corners, far triangles first; for blended materials
};

class GlScene {
 public:
  /// `units`: texture units of the driver.
  static BuiltScene<GlScene> build(SnapshotPtr snapshot, const RenderSettings& settings, int units,
                                   const Stopped& stopped);

  const std::vector<GlDraw>& opaque() const { return opaque_; }   // near ones first
  const std::vector<GlDraw>& blended() const { return blended_; } // far ones first
  const GlMaterial& material(std::size_t i) const { return materials_[i]; }

  /// Column-major: positions relative to the eye to the clip space of a picture's part. The part's -1..1 is
  /// the picture's times `scale` plus `offset`. Depth is reversed: 1 near, 0 far.
  std::array<float, 16> clipMatrix(int width, int height, Vec2 scale, Vec2 offset) const;

  /// Spherical harmonics of the sky's irradiance over pi (Ramamoorthi and Hanrahan 2001).
  const std::array<Vec3, 9>& ambient() const { return ambient_; }
  /// Four vectors a lamp: position (or direction to it) and kind; intensity and range; axis and outer cosine;
  /// inner cosine.
  const std::vector<Float4>& lamps() const { return lamps_; }
  const SnapshotSky& sky() const { return snapshot_->sky; }
  const TexturePtr& skyTexture() const { return skyTexture_; }
  const SnapshotCamera& camera() const { return snapshot_->camera; }
  Vec3 right() const { return right_; } // unit axes
  Vec3 up() const { return up_; }
  Vec3 back() const { return back_; }

 private:
  GlScene() = default;
  bool addDraws(const Stopped& stopped);
  void addInstance(const Instance& instance);
  void addCorners(const GlDraw& draw);
  void setView();
  bool sortTriangles(GlDraw& draw, const Stopped& stopped) const;
  void setLight();
  void setAmbient(const RenderSky& sky);

  SnapshotPtr snapshot_;
  Vector eye_;
  Vec3 right_, up_, back_;
  std::vector<GlMaterial> materials_;
  std::vector<GlDraw> opaque_, blended_;
  std::array<Vec3, 9> ambient_{};
  std::vector<Float4> lamps_;
  TexturePtr skyTexture_;
  float nearest_ = 1e30f, farthest_ = 0; // depths of the drawn instances
};

} // namespace host::render
