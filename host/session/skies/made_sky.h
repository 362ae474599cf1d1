// Skies that the program makes: daylight by the sun's place, an overcast sky, and studios of bright panels.
// Any thread.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "c4d_math.h"
#include "snapshot.h"
#include "sun_position.h"

namespace host {

enum class SkyModel : std::uint8_t { daylight, overcast, studio };

/// Everything that a made sky depends on.
struct SkyRecipe {
  SkyModel model = SkyModel::daylight;
  SunTime time;         // of daylight
  double turbidity = 3; // of daylight: 2 very clear, 10 hazy
  int studio = 0;       // index into the studios
  friend bool operator==(const SkyRecipe&, const SkyRecipe&) = default;
};

/// A sky of the list, by its name.
struct SkyPreset {
  std::string group, name;
  SkyRecipe recipe;
};
const std::vector<SkyPreset>& skyPresets();

/// Light from all around, latitude by longitude: the first row is the zenith, the middle column looks along
/// -Z, which is north; east is +X. Linear Rec. 709.
struct MadeSky {
  int width = 0, height = 0;
  std::vector<float> rgb;
  // The sun beside it: none below the horizon and of skies without one.
  bool hasSun = false;
  Vector toSun{0, 1, 0};
  Vector sunColor{1, 1, 1}; // of luminance 1
  double sunLux = 0;        // on a surface that faces it
};

/// The same recipe gives the same numbers. The exposure is that of a camera: whatever the hour, a level white
/// surface gets an irradiance of `levelIrradiance` from sky and sun together. `height` from 16 to 2048; the
/// width is twice that.
///
/// Daylight: the sky of Preetham, Shirley and Smits 1999, "A Practical Analytic Model for Daylight" (zenith
/// and distribution of luminance and chromaticity); the sun's light passes Rayleigh's and Angstroem's
/// scattering of the same paper's appendix. Below the horizon lies a grey ground in that light. Overcast: the
/// CIE's standard overcast sky (Moon and Spencer 1942).
MadeSky makeSky(const SkyRecipe& recipe, int height);
inline constexpr double levelIrradiance = 2.4;

/// The sky as an OpenEXR file of 16-bit floats. Throws std::bad_alloc, or std::runtime_error.
PicturePtr pictureOf(const MadeSky& sky, const std::string& name);

} // namespace host
