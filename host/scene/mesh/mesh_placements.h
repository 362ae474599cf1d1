// Places of many copies of one mesh: immutable and shared between documents and their clones. Any thread.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "animation.h"
#include "mesh.h"

namespace host {

/// Numbers of the copies that have no meaning here, as the file holds them.
struct KeptNumbers {
  std::string name;
  int component = 0; // glTF's code
  std::string type;  // "SCALAR", "VEC3" ...
  bool normalised = false;
  std::vector<std::byte> bytes; // without gaps
  friend bool operator==(const KeptNumbers&, const KeptNumbers&) = default;
};

/// Each list is empty or has one entry a copy; every value is finite.
struct Placements {
  Identity id = newIdentity();
  std::size_t count = 0;
  std::vector<Float3> translations; // empty: none is moved
  std::vector<Float4> rotations;    // quaternions x, y, z, w; empty: none is turned
  std::vector<Float3> scales;       // empty: all have the mesh's size
  std::vector<KeptNumbers> others;
};
using PlacementsPtr = std::shared_ptr<const Placements>;

/// From a copy's space to the object's. `index` is below the count.
Matrix matrixOf(const Placements& placements, std::size_t index);
/// Whether two lists hold the same numbers; null equals null.
bool samePlacements(const PlacementsPtr& a, const PlacementsPtr& b);

} // namespace host
