#include "scene_import.h"

#include <algorithm>

#include "part.h"

namespace host {
namespace {

constexpr const char* formats[] = {"obj", "fbx", "ply", "stl", "dae"};

const SceneImporter& importer() {
  static Part part = LUMENARA_PART(import);
  try {
    return part.as<const SceneImporter>();
  } catch (const PartError& error) {
    throw SceneError(error.what(), error.advice);
  }
}

} // namespace

bool canImport(const Filename& file) {
  return std::any_of(std::begin(formats), std::end(formats),
                     [&](const char* suffix) { return file.CheckSuffix(suffix); });
}

NodePtr<DocumentState> importDocument(const Filename& file, std::span<const std::byte> bytes,
                                      LoadContext& context) {
  return importer().import(file, bytes, context);
}

} // namespace host
