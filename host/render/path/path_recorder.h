// The vertices of one path, for the radiance cache. Used by one thread, path after path.
#pragma once

#include <algorithm>

#include "light_parts.h"
#include "radiance_cache.h"

namespace host::render {

class PathRecorder {
 public:
  /// `parts`, unless null, are those of the paths, with groups of lights.
  explicit PathRecorder(const LightParts* parts) : parts_(parts) {}

  void begin() {
    vertices_.clear();
    groups_.clear();
  }
  /// A vertex before its lobes are sampled: the path's throughput and colour there.
  void vertex(Vec3 position, Vec3 normal, Vec3 reflectance, Vec3 throughput, Vec3 color) {
    vertices_.push_back({position, normal, throughput * reflectance, color});
    if (parts_) groups_.insert(groups_.end(), parts_->groups().begin(), parts_->groups().end());
  }
  /// Adds a record for each vertex: the light that the path found from there on. Vertices that pass next to
  /// no light of some channel tell nothing about it and are left out.
  void end(Vec3 color, RadianceRecords& records) const {
    for (std::size_t i = 0; i < vertices_.size(); ++i) {
      const Vertex& v = vertices_[i];
      if (!(std::min(v.factor.x, std::min(v.factor.y, v.factor.z)) > leastShare * maxComponent(v.factor)))
        continue;
      records.points.push_back({v.position, v.normal, over(color - v.color, v.factor)});
      if (!parts_) continue;
      const std::size_t count = parts_->groups().size();
      for (std::size_t g = 0; g < count; ++g)
        records.groups.push_back(over(parts_->groups()[g] - groups_[i * count + g], v.factor));
    }
  }

 private:
  static constexpr float leastShare = 1e-3f;
  struct Vertex {
    Vec3 position, normal, factor, color;
  };
  static Vec3 over(Vec3 a, Vec3 b) { return {a.x / b.x, a.y / b.y, a.z / b.z}; }

  const LightParts* parts_;
  std::vector<Vertex> vertices_;
  std::vector<Vec3> groups_; // of the path at each vertex
};

} // namespace host::render
