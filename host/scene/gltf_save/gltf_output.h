// The JSON and the binary data of a glTF file that is being written.
#pragma once

#include <tiny_gltf.h>

#include <array>
#include <string>
#include <unordered_map>
#include <vector>

#include "gltf_json.h"

namespace host {

class GltfOutput {
 public:
  Json& operator[](const char* key) { return root_[key]; }
  Json& root() noexcept { return root_; }
  Bytes& data() noexcept { return data_; }

  /// Appends to one of the root's lists; gives the index.
  int append(const char* list, Json value);
  /// The same, but equal values of a list share one index.
  int shared(const char* list, Json value);
  /// A buffer view with these bytes; `target` is glTF's hint for graphics cards, 0 for none.
  int addView(std::span<const std::byte> bytes, int target = 0);
  /// An accessor of `count` elements of glTF's type and component type.
  template <class T>
  int addAccessor(const std::vector<T>& values, int component, const char* type, std::size_t count,
                  int target = 0) {
    Json accessor{{"componentType", component}, {"count", count}, {"type", type}};
    if (count > 0) accessor["bufferView"] = addView(std::as_bytes(std::span(values)), target);
    return append("accessors", std::move(accessor));
  }
  template <std::size_t N>
  int addVectors(const std::vector<std::array<float, N>>& values) {
    static constexpr const char* types[] = {"", "SCALAR", "VEC2", "VEC3", "VEC4"};
    return addAccessor(values, TINYGLTF_COMPONENT_TYPE_FLOAT, types[N], values.size(),
                       TINYGLTF_TARGET_ARRAY_BUFFER);
  }

 private:
  Json root_ = Json::object();
  Bytes data_;
  std::unordered_map<std::string, int> shared_;
};

} // namespace host
