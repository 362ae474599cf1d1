// A snapshot made ready for rays: structures, textures, materials, lights. Immutable once built; every worker
// reads it.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "light_set.h"
#include "render_camera.h"
#include "render_sky.h"
#include "scene_cache.h"
#include "shading.h"

namespace host::render {

/// What a kind of ray can meet.
enum RayMask : unsigned { cameraMask = 1, anyMask = 2, shadowMask = 4, filterMask = 8, floorMask = 16 };

struct Hit {
  float distance = 0, u = 0, v = 0;
  std::uint32_t instance = 0, primitive = 0;
};

/// A point of a surface, as a ray found it. Normals are on the side that the ray came from.
struct Surface {
  Vec3 position, geometric, normal;
  Vec3 edge1, edge2; // of the triangle, in the world
  bool front = true;
  const CompiledMaterial* material = nullptr;
  Vec3 color{1, 1, 1}; // vertex colour
  float colorAlpha = 1;
  ShadePoint point;
};

class RayScene final : public OcclusionQuery {
 public:
  /// Null after a break. Throws std::bad_alloc. Pictures that do not decode give a sentence in `errors`.
  static std::unique_ptr<RayScene> build(SnapshotPtr snapshot, const RenderSettings& settings, int workers,
                                         const Stopped& stopped, RenderStats& stats,
                                         std::vector<std::string>& errors);

  bool intersect(const Ray& ray, unsigned mask, bool coherent, Hit& hit) const;
  bool blocked(const Ray& ray, unsigned mask) const;
  /// The surface at a hit, normal and bump maps not applied. `coneWidth` is the width of what the ray stands
  /// for, at the hit.
  void surfaceAt(const Ray& ray, const Hit& hit, float coneWidth, Surface& out) const;
  /// Turns the shading normal by the material's normal and bump maps; keeps it on the viewer's side.
  void applyNormalMaps(const Hit& hit, Vec3 viewer, Surface& surface) const;
  /// How much light comes through along a ray, coloured.
  Vec3 transmittance(Ray ray, const RenderSettings& settings, std::uint64_t& rays) const;
  float openness(Vec3 position, Vec3 normal, float distance, Vec2 u) const override;

  /// What was hit, as the snapshot has it.
  const Instance& instanceOf(const Hit& hit) const { return *items_[hit.instance].source; }
  /// The radiance that a glowing surface sends towards the viewer.
  Vec3 emission(const Surface& surface) const;
  /// The number of a glowing triangle among the lights; -1 for others.
  int glowIndex(const Hit& hit) const;
  /// A point of a glowing triangle as a surface, seen along `direction`.
  Vec3 glowRadiance(int glow, Vec2 spot, Vec3 direction) const;

  const LightSet& lights() const { return lights_; }
  const RenderSky& sky() const { return sky_; }
  const Snapshot& snapshot() const { return *snapshot_; }
  float size() const { return size_; } // length of the bounds' diagonal

 private:
  struct Item {
    const Mesh* mesh;
    const Instance* source;
    Transform toWorld;
    float side; // -1 when the map mirrors
    int firstGlow = -1;
  };
  RayScene() = default;
  const CompiledMaterial& materialOf(const Item& item, std::uint32_t primitive) const;
  unsigned maskOf(const Instance& instance) const;
  bool traceable(const Ray& ray) const;
  bool buildTop(const std::vector<MeshAccelPtr>& accels, int workers, const Stopped& stopped);
  void addGlows(Item& item, std::uint32_t index);
  void setUv(const Item& item, const std::array<std::uint32_t, 3>& corners, const Hit& hit, float coneWidth,
             float facing, Surface& out) const;
  bool tangents(const Hit& hit, const Surface& surface, const TextureUse* use, int set, Vec3& t,
                Vec3& b) const;

  SnapshotPtr snapshot_;
  std::vector<MeshAccelPtr> accels_; // keeps the cache's entries
  std::vector<Item> items_;
  EmbreeScene top_;
  std::vector<CompiledMaterial> materials_;
  RenderSky sky_;
  LightSet lights_;
  float size_ = 1;
  float room_ = 1e17f;    // rays start no farther from the origin, in the sum of their coordinates
  bool filtered_ = false; // something lets light through
};

/// A ray's origin a little off a surface, on the side of `direction`.
Vec3 offsetFrom(Vec3 position, Vec3 geometric, Vec3 direction);

} // namespace host::render
