// Pictures and textures of a glTF file.
#pragma once

#include "gltf_file.h"

namespace host {

/// Reads the file's pictures; a missing one is a warning. Throws SceneError.
void readPictures(GltfFile& file, const Filename& folder, LoadContext& context);

/// Whether the picture is there and starts like one.
bool isReadable(const Picture& picture) noexcept;

/// The index of the picture that a texture shows, -1 for none: of its WebP picture (EXT_texture_webp) if that
/// one is readable, else of the picture for programs without WebP. Throws SceneError.
int textureSource(const GltfFile& file, const Json& texture);

} // namespace host
