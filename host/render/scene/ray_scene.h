// A snapshot made ready for rays: structures, textures, materials, lights. Immutable once built; every worker
// reads it.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "built_scene.h"
#include "light_set.h"
#include "render_camera.h"
#include "render_sky.h"
#include "scene_cache.h"
#include "shading.h"

namespace host::render {

/// Kinds of surfaces that a ray can meet.
enum RayMask : unsigned { cameraMask = 1, anyMask = 2, shadowMask = 4, filterMask = 8, floorMask = 16 };

struct Hit {
  float distance = 0, u = 0, v = 0;
  std::uint32_t instance = 0, primitive = 0;
};

/// A mesh as it stands in the scene.
struct PlacedMesh {
  const Mesh* mesh;
  const Instance* source;
  Transform toWorld;
  float side;         // -1 when the map mirrors
  int firstGlow = -1; // number of its first triangle among the glowing ones; -1: none glows
};

class RayScene final : public OcclusionQuery {
 public:
  /// Throws std::bad_alloc.
  static BuiltScene<RayScene> build(SnapshotPtr snapshot, const RenderSettings& settings, int workers,
                                    const Stopped& stopped);

  /// The first surface along a ray among those of the mask; nothing too for rays that are not finite.
  /// `coherent`: neighbouring rays are traced one after the other.
  std::optional<Hit> intersect(const Ray& ray, unsigned mask, bool coherent) const;
  bool blocked(const Ray& ray, unsigned mask) const;
  float openness(Vec3 position, Vec3 normal, float distance, Vec2 u) const override;

  const PlacedMesh& placed(const Hit& hit) const { return placed_[hit.instance]; }
  const CompiledMaterial& materialOf(const PlacedMesh& placed, std::uint32_t primitive) const;
  /// The number of a glowing triangle among the lights; -1 for others.
  int glowIndex(const Hit& hit) const;
  /// Whether anything lets light through, by alpha or transmission.
  bool hasFilters() const { return filters_; }

  const LightSet& lights() const { return lights_; }
  const RenderSky& sky() const { return sky_; }
  const Snapshot& snapshot() const { return *snapshot_; }
  float size() const { return size_; } // length of the bounds' diagonal

 private:
  RayScene() = default;
  std::vector<MeshPtr> placeMeshes();
  void addGlows(PlacedMesh& placed, std::uint32_t index);
  bool buildTop(int workers, const Stopped& stopped);
  unsigned maskOf(const Instance& instance) const;
  bool traceable(const Ray& ray) const;

  SnapshotPtr snapshot_;
  std::vector<MeshAccelPtr> accels_; // keeps the cache's entries
  std::vector<PlacedMesh> placed_;
  EmbreeScene top_;
  std::vector<CompiledMaterial> materials_;
  RenderSky sky_;
  LightSet lights_;
  float size_ = 1;
  float room_ = 1e17f; // rays start no farther from the origin, in the sum of their coordinates
  bool filters_ = false;
};

} // namespace host::render
