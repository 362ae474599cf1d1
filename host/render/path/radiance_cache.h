// A radiance cache: the light that surfaces send on, as means over small pieces of them. Paths that have
// scattered widely end in it, so their many further bounces cost nothing and add little noise.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "vecmath.h"

namespace host::render {

/// Light at a point of a surface, over the surface's reflectance.
struct RadianceRecord {
  Vec3 position, normal; // from the scene's origin, metres; unit, on the viewer's side
  Vec3 light;
};
/// Records of one worker, and the light of each group of lights, `groups` entries a record.
struct RadianceRecords {
  std::vector<RadianceRecord> points;
  std::vector<Vec3> groups;
};

/// Cubes in space, for each of the six main directions of normals. Their size grows with the distance from
/// the camera and takes powers of two; every size up to `sizes` steps above the smallest has a table. Each
/// table is filled by one thread; then any worker reads.
class RadianceCache {
 public:
  static constexpr int sizes = 4;

  /// A mean of records. Valid as long as the cache.
  struct Mean {
    Vec3 light;
    const Vec3* groups = nullptr; // sums over `count` records, one for each group of lights
    float count = 0;
  };

  /// `nearest`: distances from the camera below it count as it, metres. `groups` of lights; 0: not kept.
  RadianceCache(Vec3 camera, float nearest, std::size_t groups)
      : camera_(camera), nearest_(nearest), groups_(groups) {}

  /// Fills the table of one size, 0 to `sizes` - 1. The order of the records decides about the last bits.
  void fill(int size, const std::vector<RadianceRecords>& records);

  /// The mean around a point, from the smallest cube with enough records; false where too little is known.
  /// `reach`: length of the ray that met the point; from too near, the edges of the cubes would show.
  bool find(Vec3 position, Vec3 normal, float reach, Mean& mean) const;

 private:
  struct Cell {
    Vec3 sum;
    std::uint32_t count = 0;
  };
  /// Cells by their keys: an open hash table of places in `cells`.
  struct Table {
    struct Slot {
      std::uint64_t key = 0; // 0: free
      std::uint32_t cell = 0;
    };
    std::vector<Slot> slots;
    std::vector<Cell> cells;
    std::vector<Vec3> groups; // sums

    std::size_t placeOf(std::uint64_t key) const;
    std::uint32_t cellOf(std::uint64_t key);
    void grow();
  };
  int exponentAt(Vec3 position) const;
  std::uint64_t keyOf(Vec3 position, Vec3 normal, int exponent) const;

  Vec3 camera_;
  float nearest_;
  std::size_t groups_;
  std::array<Table, sizes> tables_;
};

} // namespace host::render
