#include "light_groups.h"

#include <algorithm>

namespace host::render {
namespace {

constexpr std::size_t mostGroups = 64, mostBytes = 64;

bool glows(const SurfaceMaterial& material) {
  return material.unlit || material.emission != Float3{};
}

} // namespace

// Points separate the parts of a channel's name, and control characters have no place in one.
std::string lightGroupName(const std::string& name, const char* otherwise) {
  if (name.empty()) return otherwise;
  std::string text = name.substr(0, mostBytes);
  while (!text.empty() && text.size() < name.size() && (name[text.size()] & 0xc0) == 0x80)
    text.pop_back(); // not within a character
  for (char& c : text)
    if (c == '.' || static_cast<unsigned char>(c) < ' ' || c == 0x7f) c = '_';
  return text;
}

LightGroups::LightGroups(const Snapshot& snapshot) {
  for (const SnapshotLight& light : snapshot.lights)
    lights_.push_back(add(light.group, unnamedLights));
  for (const SurfaceMaterialPtr& material : snapshot.materials)
    materials_.push_back(glows(*material) ? add(material->lightGroup, unnamedLights) : 0);
  if (snapshot.sky.kind != SkyKind::none) sky_ = add(snapshot.sky.group, unnamedSky);
  if (names_.empty()) names_.emplace_back(unnamedLights);
}

std::uint32_t LightGroups::add(const std::string& name, const char* otherwise) {
  const std::string wanted = lightGroupName(name, otherwise);
  auto found = std::find(names_.begin(), names_.end(), wanted);
  if (found == names_.end() && names_.size() >= mostGroups)
    found = std::find(names_.begin(), names_.end(), unnamedLights);
  if (found == names_.end())
    found = names_.insert(found, names_.size() < mostGroups ? wanted : unnamedLights);
  return static_cast<std::uint32_t>(found - names_.begin());
}

} // namespace host::render
