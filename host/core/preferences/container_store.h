// The immutable storage behind values and containers. Only the host includes it.
#pragma once

#include <cstddef>
#include <memory>
#include <variant>
#include <vector>

#include "access.h"

namespace host {

/// A value. Immutable, except a container that was handed out to be written in place (`instance`): it belongs
/// to a single BaseContainer, so a copy of the value gets a container of its own.
struct GeDataStore {
  using Value = std::variant<LONG, LLONG, Real, Vector, Matrix, String, Filename, BaseTime, BaseContainer,
                             BaseLink, std::vector<std::byte>>;
  LONG type = DA_NIL;
  bool instance = false;
  Value value;
};
using GeDataStorePtr = std::shared_ptr<const GeDataStore>;

struct ContainerEntry {
  LONG id = 0;
  GeData data;
};

struct ContainerStore {
  std::vector<ContainerEntry> entries;
  bool hasInstances = false; // some entry's data is an instance

  /// -1 when absent.
  int find(LONG id) const noexcept {
    for (std::size_t i = 0; i < entries.size(); ++i)
      if (entries[i].id == id) return static_cast<int>(i);
    return -1;
  }
};
using ContainerStorePtr = std::shared_ptr<const ContainerStore>;

/// The same value behind another handle: unlike a copy it shares an instance.
inline GeData shared(const GeData& data) {
  GeData handle;
  Access::store(handle) = Access::store(data);
  return handle;
}

} // namespace host
