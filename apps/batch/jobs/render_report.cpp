#include "render_report.h"

#include <chrono>

#include <nlohmann/json.hpp>

#include "active_document.h"
#include "lm_keys.h"
#include "platform.h"
#include "render_code.h"
#include "render_stats.h"

namespace batch {

double measureClone(const BaseDocument& document, const lmSettings& settings, bool region) {
  const bool animation = settings.GetValue(LM_CLONE_ANIMATION, static_cast<LONG>(0)) && !region;
  const auto start = std::chrono::steady_clock::now();
  const host::DocumentPtr clone(document.GetClone(animation ? COPYFLAGS_0 : COPYFLAGS_NO_ANIMATION));
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

std::string statsText(const RunTimes& times, PixelSize size, LONG result) {
  const host::RenderStats stats = host::latestRenderStats();
  nlohmann::ordered_json json;
  json["load_ms"] = times.loadMs;
  json["clone_ms"] = times.cloneMs;
  json["build_ms"] = stats.buildMs;
  json["first_pixels_ms"] = stats.firstPixelsMs;
  json["render_ms"] = stats.renderMs;
  json["camera_samples"] = stats.cameraSamples;
  json["rays"] = stats.rays;
  json["triangles"] = stats.triangles;
  json["peak_rss_bytes"] = host::platform::peakMemory();
  json["code"] = host::renderCode();
  json["width"] = size.width;
  json["height"] = size.height;
  json["result"] = result;
  return json.dump(2) + "\n";
}

} // namespace batch
