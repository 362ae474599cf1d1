// A snapshot prepared for ray tracing: acceleration structures, textures, materials, lights. Immutable once
// built; read by every worker.
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

/// A mesh placed in the scene.
struct PlacedMesh {
  const Mesh* mesh;
  const Instance* source;
  Transform toWorld;
  float side;         // -1 when the map mirrors
  int firstGlow = -1; // index of its first triangle among the lights' glowing triangles; -1: does not glow
};

class RayScene final : public OcclusionQuery {
 public:
  /// Throws std::bad_alloc.
  static BuiltScene<RayScene> build(SnapshotPtr snapshot, const RenderSettings& settings, int workers,
                                    const Stopped& stopped);

  /// The first hit along a ray among the surfaces of the mask. A ray that is not finite hits nothing.
  /// `coherent`: neighbouring rays are traced one after another.
  std::optional<Hit> intersect(const Ray& ray, unsigned mask, bool coherent) const;
  bool blocked(const Ray& ray, unsigned mask) const;
  float openness(Vec3 position, Vec3 normal, float distance, Vec2 u) const override;

  const PlacedMesh& placed(const Hit& hit) const { return placed_[hit.instance]; }
  const CompiledMaterial& materialOf(const PlacedMesh& placed, std::uint32_t primitive) const;
  /// Index of a glowing triangle among the lights; -1 for others.
  int glowIndex(const Hit& hit) const;
  /// True when a surface lets light through, by alpha or transmission.
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
  std::vector<MeshAccelPtr> accels_; // keep the cache's entries alive
  std::vector<PlacedMesh> placed_;
  EmbreeScene top_;
  std::vector<CompiledMaterial> materials_;
  RenderSky sky_;
  LightSet lights_;
  float size_ = 1;
  float room_ = 1e17f; // limit of the coordinates' sum at a ray's origin
  bool filters_ = false;
};

} // namespace host::render
