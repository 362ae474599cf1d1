// Scene formats other than glTF. The import library is behind a part of the host (part.h), which is loaded
// with the first such scene.
#pragma once

#include "gltf_load.h"

extern "C" void* lumenara_part_import();

namespace host {

/// Whether the suffix belongs to a format that can be imported.
bool canImport(const Filename& file);

/// Imports a file whose bytes have been read. Throws SceneError, also when the part cannot be loaded.
NodePtr<DocumentState> importDocument(const Filename& file, std::span<const std::byte> bytes,
                                      LoadContext& context);

/// The part's interface. Any thread.
class SceneImporter {
 public:
  /// As `importDocument`.
  virtual NodePtr<DocumentState> import(const Filename& file, std::span<const std::byte> bytes,
                                        LoadContext& context) const = 0;

 protected:
  ~SceneImporter() = default;
};

} // namespace host
