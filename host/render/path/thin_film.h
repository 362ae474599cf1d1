// Reflectance of a thin film over a surface: Belcour and Barla 2017, "A Practical Extension to Microfacet
// Theory for the Modeling of Varying Iridescence", with the parameters of KHR_materials_iridescence. Any
// thread.
#pragma once

#include "vecmath.h"

namespace host::render {

/// Reflectance in linear sRGB at `cosine`. `filmIor` is the film's index in air, `nanometres` its thickness,
/// `base` the reflectance of the surface below it at normal incidence in air.
Vec3 filmReflectance(float cosine, float filmIor, float nanometres, Vec3 base);

/// The reflectance at normal incidence with which Schlick's term gives the film's reflectance at `cosine`.
Vec3 filmF0(float cosine, float filmIor, float nanometres, Vec3 base);

} // namespace host::render
