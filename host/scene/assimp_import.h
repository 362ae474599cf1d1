// Other scene formats, through the import library.
#pragma once

#include "gltf_load.h"

namespace host {

/// Whether the suffix is of a format that can be imported.
bool canImport(const Filename& file);

/// Imports a file whose bytes have been read. Throws SceneError.
NodePtr<DocumentState> importDocument(const Filename& file, std::span<const std::byte> bytes,
                                      LoadContext& context);

} // namespace host
