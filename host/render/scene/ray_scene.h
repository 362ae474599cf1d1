// A snapshot prepared for ray tracing: acceleration structures, textures, materials, lights. Immutable once
// built; read by every worker.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "built_scene.h"
#include "light_groups.h"
#include "light_set.h"
#include "placed_mesh.h"
#include "render_camera.h"
#include "render_sky.h"
#include "shading.h"

namespace host::render {

/// Kinds of surfaces that a ray can meet.
enum RayMask : unsigned { cameraMask = 1, anyMask = 2, shadowMask = 4, floorMask = 8 };

struct Hit {
  float distance = 0, u = 0, v = 0;
  std::uint32_t instance = 0, primitive = 0;
  float time = 0; // of the ray
};

/// Decides about the surfaces along a shadow ray that may let light pass. They come in no order, and some
/// come more than once.
class ShadowFilter {
 public:
  /// False: no light passes, and the ray ends.
  virtual bool passes(const Hit& hit) = 0;

 protected:
  ~ShadowFilter() = default;
};

/// Positions count from `origin`, which lies near the camera, so that floats are fine enough there.
class RayScene final : public OcclusionQuery {
 public:
  /// Throws std::bad_alloc.
  static BuiltScene<RayScene> build(SnapshotPtr snapshot, const RenderSettings& settings, int workers,
                                    const Stopped& stopped, BuildCare care = BuildCare::careful);
  /// Replaces quick structures by careful ones; frees the quick ones first. Hits may differ before and after
  /// in the last bits, so no sample of a finished picture comes from a quick structure. False after a break:
  /// the scene has no structures then. Throws std::bad_alloc.
  bool buildCarefully(int workers, const Stopped& stopped);
  /// Whether anything depends on the time of a ray, the camera included.
  bool moves() const { return moves_; }
  bool isQuick() const { return quick_; }

  /// The first hit along a ray among the surfaces of the mask. A ray that is not finite hits nothing.
  /// `coherent`: neighbouring rays are traced one after another.
  std::optional<Hit> intersect(const Ray& ray, unsigned mask, bool coherent) const;
  /// True when a surface that casts shadows is in the way. Those that may let light pass are for the filter.
  bool blocked(const Ray& ray, ShadowFilter& filter) const;
  /// True when the ray meets a surface of the mask that belongs to another object than this one.
  bool meetsAnother(const Ray& ray, unsigned mask, std::uint32_t instance) const;
  float openness(Vec3 position, Vec3 normal, float distance, Vec2 u, float time) const override;

  const PlacedMesh& placed(const Hit& hit) const { return placed_[hit.instance]; }
  std::size_t placedCount() const { return placed_.size(); }
  /// True when the film notes the shadows on an object.
  bool catchesShadows() const { return catches_; }
  const CompiledMaterial& materialOf(const PlacedMesh& placed, std::uint32_t primitive) const;
  /// Index of one of the scene's materials in the snapshot.
  std::uint32_t indexOf(const CompiledMaterial& material) const {
    return static_cast<std::uint32_t>(&material - materials_.data());
  }
  /// Index of a glowing triangle among the lights; -1 for others.
  int glowIndex(const Hit& hit) const;

  const LightSet& lights() const { return lights_; }
  const LightGroups& groups() const { return groups_; }
  const RenderSky& sky() const { return sky_; }
  /// The snapshot, moved to the origin.
  const Snapshot& snapshot() const { return *snapshot_; }
  const Vector& origin() const { return origin_; } // in the world
  float size() const { return size_; }             // length of the bounds' diagonal

 private:
  RayScene() = default;
  std::vector<MeshPtr> placeMeshes();
  bool buildMotion(int workers, const Stopped& stopped);
  bool hidesItsInside(const PlacedMesh& placed) const;
  void addGlows(PlacedMesh& placed, std::uint32_t index);
  bool makeTangents(const Stopped& stopped);
  bool buildTop(int workers, const Stopped& stopped, BuildCounts& counts);
  bool letsLightPass(const Instance& instance) const;
  bool traceable(const Ray& ray) const;

  SnapshotPtr snapshot_;
  Vector origin_;
  std::vector<MeshAccelPtr> accels_; // keep the cache's entries alive
  std::vector<CornerTangentsPtr> tangents_;
  std::vector<PlacedMesh> placed_;
  TopLevelPtr top_;
  std::vector<CompiledMaterial> materials_;
  RenderSky sky_;
  LightSet lights_;
  LightGroups groups_;
  float size_ = 1;
  float room_ = 1e17f; // limit of the coordinates' sum at a ray's origin
  bool filters_ = false;
  bool moves_ = false;
  bool quick_ = false;
  bool catches_ = false;
};

} // namespace host::render
