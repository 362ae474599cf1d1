#include "render_settings.h"

#include <algorithm>
#include <cmath>

namespace host::render {
namespace {

Region readRegion(const BaseContainer& container, int width, int height) {
  if (!container.GetBool(RDATA_RENDERREGION)) return {0, 0, width - 1, height - 1};
  return {std::max(0, container.GetLong(RDATA_RENDERREGION_LEFT)),
          std::max(0, container.GetLong(RDATA_RENDERREGION_TOP)),
          std::min(width - 1, container.GetLong(RDATA_RENDERREGION_RIGHT)),
          std::min(height - 1, container.GetLong(RDATA_RENDERREGION_BOTTOM))};
}

bool enabled(const RenderData& data, LONG type) {
  for (BaseVideoPost* post = data.GetFirstVideoPost(); post; post = post->GetNext())
    if (post->GetType() == type && !post->GetBit(BIT_VPDISABLED)) return true;
  return false;
}

} // namespace

RenderSettings readSettings(const BaseContainer& container, int width, int height) {
  RenderSettings s;
  s.antiAliasing = static_cast<AntiAliasing>(std::clamp(container.GetLong(RDATA_ANTIALIASING, 2), 0, 2));
  const LONG filter = container.GetLong(RDATA_AAFILTER, 0);
  s.filter = filter >= 0 && filter <= 7 ? static_cast<Filter>(filter) : Filter::still;
  s.region = readRegion(container, width, height);
  s.samples = std::clamp(container.GetLong(RDATA_MAXSAMPLES, 64), 1, 1 << 20);
  if (container.GetLong(spreadSetting, 0) == 1) s.spread = SampleSpread::evenly;
  const double noise = container.GetReal(RDATA_NOISETHRESHOLD, 0.01);
  s.noise = std::isfinite(noise) ? static_cast<float>(std::clamp(noise, 0.0, 1.0)) : 0.01f;
  s.seed = static_cast<std::uint32_t>(container.GetLong(seedSetting, 0));
  s.keeping = static_cast<SampleKeeping>(std::clamp(container.GetLong(keepSamplesSetting, 0), 0, 2));
  s.firstSample = static_cast<std::uint32_t>(std::max(0, container.GetLong(firstSampleSetting, 0)));
  s.wholeSamples = std::clamp(container.GetLong(wholeSamplesSetting, 0), 0, 1 << 20);
  const LONG denoise = container.GetLong(denoiseSetting, 0);
  s.denoise = denoise == 1 || denoise == 2 ? static_cast<Denoising>(denoise) : Denoising::off;
  const double seconds = container.GetReal(secondsSetting, 0);
  s.seconds = std::isfinite(seconds) ? std::max(0.0, seconds) : 0;
  s.layers = static_cast<unsigned>(container.GetLong(layersSetting, 0)) & allLayers();
  const auto shutter = [&](LONG id, double preset) {
    const double frames = container.GetReal(id, preset);
    return std::isfinite(frames) ? std::clamp(frames, -10.0, 10.0) : preset;
  };
  s.shutterOpen = shutter(shutterOpenSetting, -0.25);
  s.shutterClose = shutter(shutterCloseSetting, 0.25);
  s.motionBlur = container.GetBool(motionBlurSetting, FALSE) && s.shutterClose > s.shutterOpen;
  s.motionSteps = std::clamp(container.GetLong(motionStepsSetting, 2), 1, 16);
  s.cacheSeed = s.seed;
  s.radianceCache = container.GetBool(radianceCacheSetting, TRUE);
  s.preview = container.GetLong(RDATA_RENDERENGINE) != RDATA_RENDERENGINE_STANDARD;
  s.hardware = container.GetLong(RDATA_RENDERENGINE) == RDATA_RENDERENGINE_PREVIEWHARDWARE;
  s.shading = static_cast<ShadingMode>(std::clamp(container.GetLong(shadingSetting, 0), 0, 7));
  if (s.showsSurfaces()) s.preview = true, s.hardware = false;
  s.blurry = container.GetBool(RDATA_ENABLEBLURRY, TRUE);
  s.transparency = container.GetBool(RDATA_OPTION_TRANSPARENCY, TRUE);
  s.refraction = container.GetBool(RDATA_OPTION_REFRACTION, TRUE);
  s.reflection = container.GetBool(RDATA_OPTION_REFLECTION, TRUE);
  s.limitReflection = container.GetBool(RDATA_OPTION_LIMITREFLECTION, FALSE);
  s.shadow = container.GetBool(RDATA_OPTION_SHADOW, TRUE);
  s.limitShadow = container.GetBool(RDATA_OPTION_LIMITSHADOW, FALSE);
  return s;
}

void readVideoPosts(const RenderData* data, RenderSettings& settings) {
  settings.globalIllumination = data && enabled(*data, VPglobalillumination);
  settings.ambientOcclusion = data && enabled(*data, VPambientocclusion);
  settings.caustics = data && enabled(*data, VPcaustics);
}

} // namespace host::render
