#include "gltf_output.h"

namespace host {

int GltfOutput::append(const char* list, Json value) {
  root_[list].push_back(std::move(value));
  return static_cast<int>(root_[list].size()) - 1;
}

int GltfOutput::shared(const char* list, Json value) {
  const std::string key = list + value.dump();
  const auto known = shared_.find(key);
  if (known != shared_.end()) return known->second;
  const int index = append(list, std::move(value));
  shared_.emplace(key, index);
  return index;
}

int GltfOutput::addView(std::span<const std::byte> bytes, int target) {
  data_.resize((data_.size() + 3) & ~std::size_t{3});
  Json view{{"buffer", 0}, {"byteOffset", data_.size()}, {"byteLength", bytes.size()}};
  if (target != 0) view["target"] = target;
  data_.insert(data_.end(), bytes.begin(), bytes.end());
  return append("bufferViews", std::move(view));
}

} // namespace host
