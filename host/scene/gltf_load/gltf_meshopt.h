// Compressed buffer views: EXT_meshopt_compression.
#pragma once

#include "gltf_file.h"

namespace host {

/// Whether a buffer only takes the place of compressed data, for programs without the extension.
bool isFallbackBuffer(const Json& buffer);

/// Unpacks the compressed buffer views. The buffers must have been read. Throws SceneError.
void unpackViews(GltfFile& file, LoadContext& context);

} // namespace host
