// Materials of old files: KHR_materials_pbrSpecularGlossiness.
#pragma once

#include "gltf_file.h"

namespace host {

/// Rewrites such materials in the words of today's glTF, before they are read. The pictures must have been
/// read.
///
/// Diffuse becomes the base colour of a dielectric; specular becomes its colour at normal incidence, with the
/// index of refraction 0 of KHR_materials_ior, which stands for an infinite one; roughness is 1 - glossiness.
/// The picture's alpha darkens a white roughness in a layer, so no picture is converted. Approximate: the
/// diffuse part is weakened by the reflection at each angle instead of by the specular colour.
/// Unlit materials keep their metallic form. Throws SceneError.
void convertSpecularGlossiness(GltfFile& file);

} // namespace host
