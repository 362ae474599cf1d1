#include "lens_setting.h"

namespace host::render {
namespace {

constexpr LONG bloomBit = 1, glareBit = 2, vignetteBit = 4;

struct RealSetting {
  LONG id;
  double LensSettings::*value;
};
constexpr RealSetting reals[] = {
    {lensThresholdSetting, &LensSettings::threshold}, {lensStrengthSetting, &LensSettings::strength},
    {bloomRadiusSetting, &LensSettings::radius},      {glareLengthSetting, &LensSettings::length},
    {glareAngleSetting, &LensSettings::angle},        {vignetteAmountSetting, &LensSettings::amount},
    {vignetteSizeSetting, &LensSettings::size},       {vignetteRoundnessSetting, &LensSettings::roundness}};

} // namespace

LensSettings readLens(const BaseContainer& container) {
  LensSettings settings;
  const LONG effects = container.GetLong(lensEffectsSetting, 0);
  settings.bloom = effects & bloomBit;
  settings.glare = effects & glareBit;
  settings.vignette = effects & vignetteBit;
  for (const RealSetting& real : reals)
    settings.*real.value = container.GetReal(real.id, settings.*real.value);
  settings.streaks = container.GetLong(glareStreaksSetting, settings.streaks);
  return lensWithinRange(settings);
}

void writeLens(BaseContainer& container, const LensSettings& settings) {
  container.SetLong(lensEffectsSetting, (settings.bloom ? bloomBit : 0) | (settings.glare ? glareBit : 0) |
                                            (settings.vignette ? vignetteBit : 0));
  for (const RealSetting& real : reals)
    container.SetReal(real.id, settings.*real.value);
  container.SetLong(glareStreaksSetting, settings.streaks);
}

} // namespace host::render
