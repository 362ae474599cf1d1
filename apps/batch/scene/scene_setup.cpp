#include "scene_setup.h"

#include <algorithm>
#include <map>

#include "c4d_render.h"
#include "layer_table.h"
#include "lens_setting.h"
#include "lm_keys.h"
#include "render_settings.h"
#include "variants.h"
#include "view_setting.h"

namespace batch {
namespace {

constexpr LONG largestSide = 32768;    // of a bitmap
constexpr LONG endlessSamples = 16384; // with a limit of time or noise; more are beyond what a display shows

void collectCameras(BaseObject* first, std::vector<NamedCamera>& cameras, std::map<std::string, int>& uses) {
  for (BaseObject* object = first; object; object = object->GetNext()) {
    if (object->IsInstanceOf(Ocamera)) {
      const std::string name = object->GetName().GetUTF8();
      const int use = ++uses[name];
      cameras.push_back({object, use == 1 ? name : name + "#" + std::to_string(use)});
    }
    collectCameras(object->GetDown(), cameras, uses);
  }
}

std::string nameList(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) {
    text += (text.empty() ? "\"" : ", \"") + name + "\"";
  }
  return text;
}

std::vector<std::string> namesOf(const std::vector<NamedCamera>& cameras) {
  std::vector<std::string> names;
  for (const NamedCamera& camera : cameras) {
    names.push_back(camera.name);
  }
  return names;
}

/// Removes the camera that the viewer keeps in the document: it would win over the view's.
void forgetViewersCamera(BaseDocument& document) {
  BaseContainer* data = document.GetDataInstance();
  if (BaseContainer* record = data->GetContainerInstance(LM_REGION)) record->RemoveData(LM_REGION_CAMERA);
}

} // namespace

std::vector<NamedCamera> camerasOf(const BaseDocument& document) {
  std::vector<NamedCamera> cameras;
  std::map<std::string, int> uses;
  collectCameras(document.GetFirstObject(), cameras, uses);
  return cameras;
}

void chooseCamera(BaseDocument& document, const std::string& name) {
  const std::vector<NamedCamera> cameras = camerasOf(document);
  for (const NamedCamera& camera : cameras) {
    if (camera.name != name) continue;
    forgetViewersCamera(document);
    if (BaseDraw* view = document.GetRenderBaseDraw()) view->SetSceneCamera(camera.object);
    if (BaseDraw* view = document.GetActiveBaseDraw()) view->SetSceneCamera(camera.object);
    return;
  }
  throw Stop(ExitCode::wrongUse, "the scene has no camera \"" + name + "\"; " +
                                     (cameras.empty() ? "it has none at all, leave --camera out"
                                                      : "it has " + nameList(namesOf(cameras))));
}

void chooseVariant(BaseDocument& document, const std::string& name) {
  const std::vector<std::string> names = host::variantNames(document);
  const auto found = std::find(names.begin(), names.end(), name);
  if (found != names.end()) return host::chooseVariant(document, static_cast<LONG>(found - names.begin()));
  throw Stop(ExitCode::wrongUse,
             "the scene has no variant \"" + name + "\"; " +
                 (names.empty() ? "it has none at all, leave --variant out" : "it has " + nameList(names)));
}

void goToFrame(BaseDocument& document, LONG frame) {
  document.SetTime(BaseTime(static_cast<Real>(frame), document.GetFps()));
  document.ExecutePasses(nullptr, TRUE, TRUE, FALSE, BUILDFLAGS_0);
}

void setSampling(BaseDocument& document, const Sampling& sampling) {
  RenderData* data = document.GetActiveRenderData();
  if (!data) return;
  using host::render::Denoising;
  BaseContainer& values = *data->GetDataInstance();
  const bool open = sampling.seconds > 0 || sampling.noise.value_or(0) > 0;
  if (sampling.samples > 0 || open)
    values.SetLong(RDATA_MAXSAMPLES, sampling.samples > 0 ? sampling.samples : endlessSamples);
  if (sampling.seconds > 0) values.SetReal(host::render::secondsSetting, sampling.seconds);
  if (sampling.noise) values.SetReal(RDATA_NOISETHRESHOLD, *sampling.noise);
  if (!sampling.spread.empty()) {
    using host::render::SampleSpread;
    const auto spread = sampling.spread == "even" ? SampleSpread::evenly : SampleSpread::byNoise;
    values.SetLong(host::render::spreadSetting, static_cast<LONG>(spread));
  }
  if (!sampling.radianceCache.empty())
    values.SetBool(host::render::radianceCacheSetting, sampling.radianceCache == "on");
  if (sampling.shutter) {
    values.SetBool(host::render::motionBlurSetting, *sampling.shutter > 0);
    values.SetReal(host::render::shutterOpenSetting, -0.5 * *sampling.shutter);
    values.SetReal(host::render::shutterCloseSetting, 0.5 * *sampling.shutter);
  }
  const std::map<std::string, Denoising> modes{
      {"off", Denoising::off}, {"end", Denoising::end}, {"live", Denoising::live}};
  if (const auto mode = modes.find(sampling.denoise); mode != modes.end())
    values.SetLong(host::render::denoiseSetting, static_cast<LONG>(mode->second));
}

void setView(BaseDocument& document, const ViewOptions& options) {
  RenderData* data = document.GetActiveRenderData();
  if (!data) return;
  BaseContainer& values = *data->GetDataInstance();
  const std::string config = host::render::readView(values, &document).config;
  if (options.view && !host::isView(*options.view, config))
    throw Stop(ExitCode::wrongUse,
               "there is no view \"" + *options.view + "\"; there are " + nameList(host::viewNames(config)));
  if (const auto mode = host::render::shadingModeOf(options.shading))
    values.SetLong(host::render::shadingSetting, static_cast<LONG>(*mode));
  if (options.view) values.SetString(host::render::viewSetting, String(*options.view));
  if (options.exposure) values.SetReal(host::render::exposureSetting, *options.exposure);
}

host::LensSettings chooseLens(const BaseDocument& document, const ViewOptions& options) {
  host::LensSettings lens;
  if (const RenderData* data = document.GetActiveRenderData()) lens = host::render::readLens(data->GetData());
  if (!options.lens || *options.lens == lens.any()) return lens;
  lens.bloom = lens.glare = lens.vignette = *options.lens;
  return lens;
}

bool blursMotion(const BaseDocument& document) {
  const RenderData* data = document.GetActiveRenderData();
  return data && data->GetData().GetBool(host::render::motionBlurSetting);
}

void setLayers(BaseDocument& document, unsigned layers) {
  if (RenderData* data = document.GetActiveRenderData())
    data->GetDataInstance()->SetLong(host::render::layersSetting, static_cast<LONG>(layers));
}

void setKeeping(BaseDocument& document, host::render::SampleKeeping keeping) {
  if (RenderData* data = document.GetActiveRenderData())
    data->GetDataInstance()->SetLong(host::render::keepSamplesSetting, static_cast<LONG>(keeping));
}

void setPart(BaseDocument& document, const SamplePart& part) {
  RenderData* data = document.GetActiveRenderData();
  if (!data) return;
  BaseContainer& values = *data->GetDataInstance();
  const LONG samples = std::clamp<LONG>(values.GetLong(RDATA_MAXSAMPLES, 64), 1, 1 << 20);
  if (samples < part.count)
    throw Stop(ExitCode::wrongUse, "there are only " + std::to_string(samples) + " samples for " +
                                       std::to_string(part.count) +
                                       " parts; use fewer parts, or more --samples");
  const auto begin = [&](LONG number) {
    return static_cast<LONG>(static_cast<std::int64_t>(samples) * number / part.count);
  };
  values.SetLong(host::render::firstSampleSetting, begin(part.number - 1));
  values.SetLong(RDATA_MAXSAMPLES, begin(part.number) - begin(part.number - 1));
  values.SetLong(host::render::wholeSamplesSetting, samples);
  values.SetReal(RDATA_NOISETHRESHOLD, 0);
  values.SetLong(host::render::spreadSetting, static_cast<LONG>(host::render::SampleSpread::evenly));
  setKeeping(document, host::render::SampleKeeping::keep);
}

host::render::TileFacts setTile(BaseDocument& document, const PictureTile& tile, PixelSize size) {
  const TileGrid& grid = tile.grid;
  if (grid.columns > size.width || grid.rows > size.height)
    throw Stop(ExitCode::wrongUse, "a picture of " + std::to_string(size.width) + " x " +
                                       std::to_string(size.height) + " pixels has no " +
                                       std::to_string(grid.columns) + " x " + std::to_string(grid.rows) +
                                       " tiles; use fewer");
  const auto begin = [](LONG index, LONG count, LONG side) {
    return static_cast<int>(static_cast<std::int64_t>(side) * index / count);
  };
  const LONG column = (tile.number - 1) % grid.columns, row = (tile.number - 1) / grid.columns;
  host::render::TileFacts facts;
  facts.tile = {begin(column, grid.columns, size.width), begin(row, grid.rows, size.height),
                begin(column + 1, grid.columns, size.width) - 1, begin(row + 1, grid.rows, size.height) - 1};
  facts.width = size.width, facts.height = size.height;
  RenderData* data = document.GetActiveRenderData();
  if (!data) return facts;
  BaseContainer& values = *data->GetDataInstance();
  facts.layers = static_cast<unsigned>(values.GetLong(host::render::layersSetting, 0)) & host::allLayers();
  facts.denoise = static_cast<host::render::Denoising>(
      std::clamp<LONG>(values.GetLong(host::render::denoiseSetting, 0), 0, 2));
  const host::render::Region region = host::render::withMargin(facts.tile, size.width, size.height);
  values.SetBool(RDATA_RENDERREGION, TRUE);
  values.SetLong(RDATA_RENDERREGION_LEFT, region.left);
  values.SetLong(RDATA_RENDERREGION_TOP, region.top);
  values.SetLong(RDATA_RENDERREGION_RIGHT, region.right);
  values.SetLong(RDATA_RENDERREGION_BOTTOM, region.bottom);
  values.SetReal(RDATA_NOISETHRESHOLD, 0);
  values.SetLong(host::render::spreadSetting, static_cast<LONG>(host::render::SampleSpread::evenly));
  values.SetLong(host::render::denoiseSetting, 0);
  setLayers(document, facts.renderedLayers());
  return facts;
}

PixelSize renderSize(const BaseDocument& document) {
  const RenderData* data = document.GetActiveRenderData();
  if (!data) return {1280, 720};
  const BaseContainer settings = data->GetData();
  const PixelSize size{settings.GetLong(RDATA_XRES, 1280), settings.GetLong(RDATA_YRES, 720)};
  const bool usable =
      size.width >= 1 && size.height >= 1 && size.width <= largestSide && size.height <= largestSide;
  return usable ? size : PixelSize{1280, 720};
}

FrameRange sceneFrames(const BaseDocument& document) {
  const LONG fps = document.GetFps();
  const LONG from =
      std::clamp<LONG>(document.GetMinTime().GetFrame(static_cast<Real>(fps)), 0, lastFrameNumber);
  const LONG to = document.GetMaxTime().GetFrame(static_cast<Real>(fps));
  return {from, std::clamp<LONG>(to, from, lastFrameNumber), 1};
}

PixelSize pictureSize(const std::optional<PixelSize>& wanted, const BaseDocument& document,
                      const lmSettings& settings) {
  const PixelSize full = wanted ? *wanted : renderSize(document);
  const LONG divisor = std::max<LONG>(1, settings.GetValue(LM_OPT_RES_DIVISOR, static_cast<LONG>(1)));
  return {std::max<LONG>(1, full.width / divisor), std::max<LONG>(1, full.height / divisor)};
}

void makeBitmap(BaseBitmap& bitmap, PixelSize size, bool alpha) {
  if (bitmap.Init(size.width, size.height, alpha ? 32 : 24) == IMAGERESULT_OK) return;
  throw Stop(ExitCode::renderFailed, "there is not enough memory for a picture of " +
                                         std::to_string(size.width) + " x " + std::to_string(size.height) +
                                         " pixels; choose a smaller --size");
}

BaseObject* renderCamera(BaseDocument& document) {
  const BaseContainer record = document.GetData().GetContainer(LM_REGION);
  BaseList2D* link = record.GetLink(LM_REGION_CAMERA, &document);
  if (link && link->IsInstanceOf(Obase)) return static_cast<BaseObject*>(link);
  const BaseDraw* view = document.GetRenderBaseDraw();
  if (!view) return nullptr;
  BaseObject* camera = view->GetSceneCamera(&document);
  return camera ? camera : view->GetEditorCamera();
}

} // namespace batch
