// The lens effects that go with a document: settings of the host's own in the render data.
#pragma once

#include "c4d_container.h"
#include "lens_settings.h"

namespace host::render {

/// (LONG, bits, 0) Effects that are on: 1 bloom, 2 glare, 4 vignette. The others are the values of
/// LensSettings, with its ranges and defaults. They change 8-bit pictures that Studio shows and that
/// `lumenara render` saves, and neither the film nor the viewer's bitmaps.
inline constexpr LONG lensEffectsSetting = 7130;
inline constexpr LONG lensThresholdSetting = 7131, lensStrengthSetting = 7132, bloomRadiusSetting = 7133,
                      glareStreaksSetting = 7134, glareLengthSetting = 7135, glareAngleSetting = 7136,
                      vignetteAmountSetting = 7137, vignetteSizeSetting = 7138,
                      vignetteRoundnessSetting = 7139;

/// Within range; defaults where the container has no entry.
LensSettings readLens(const BaseContainer& container);
/// An entry for each value.
void writeLens(BaseContainer& container, const LensSettings& settings);

} // namespace host::render
