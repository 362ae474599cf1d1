#include "animation_report.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include <nlohmann/json.hpp>

#include "picture_formats.h"

namespace batch {

AnimationReport::AnimationReport(bool json, const std::string& preview)
    : json_(json), preview_(String(preview)) {
}

void AnimationReport::begin(std::size_t frames, std::size_t kept, const Filename& output) {
  frames_ = frames;
  if (!json_) return;
  nlohmann::ordered_json line;
  line["event"] = "begin";
  line["frames"] = frames;
  line["kept"] = kept;
  line["output"] = output.GetString().GetUTF8();
  print(line.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace));
}

void AnimationReport::progress(double part, LONG frame, const BaseBitmap& bitmap) {
  const host::Milliseconds now = host::clock().now();
  const bool another = !begun_ || frame != frame_;
  begun_ = true, frame_ = frame;
  if (json_ && (another || now >= nextLine_)) {
    nextLine_ = now + linePeriod;
    part = std::isfinite(part) ? std::clamp(part, 0.0, 1.0) : 0.0;
    nlohmann::ordered_json line;
    line["event"] = "progress";
    line["part"] = std::round(part * 1e6) / 1e6;
    line["frame"] = frame;
    print(line.dump());
  }
  if (!preview_.Content() || now < nextPreview_) return;
  nextPreview_ = now + previewPeriod;
  savePreview(bitmap);
}

void AnimationReport::finished(const BaseBitmap& bitmap, bool last) {
  const host::Milliseconds now = host::clock().now();
  if (!preview_.Content() || (!last && now < nextPreview_ - previewPeriod + finishedPeriod)) return;
  nextPreview_ = now + previewPeriod;
  savePreview(bitmap);
}

void AnimationReport::end(double seconds) {
  if (!json_) return;
  nlohmann::ordered_json line;
  line["event"] = "end";
  line["frames"] = frames_;
  line["seconds"] = std::round(seconds * 1e3) / 1e3;
  print(line.dump());
}

void AnimationReport::print(const std::string& line) const {
  std::fprintf(stdout, "%s\n", line.c_str());
  std::fflush(stdout);
}

void AnimationReport::savePreview(const BaseBitmap& bitmap) const {
  const LONG width = bitmap.GetBw(), height = bitmap.GetBh(), longer = std::max(width, height);
  const host::PictureFileFormat* format = host::formatOfSuffix(preview_.GetSuffix().GetUTF8());
  if (longer < 1 || !format) return;
  const double scale = std::min(1.0, static_cast<double>(previewSize) / longer);
  const auto scaled = [scale](LONG size) {
    return std::max<LONG>(1, static_cast<LONG>(std::lround(size * scale)));
  };
  AutoAlloc<BaseBitmap> small;
  if (!small || small->Init(scaled(width), scaled(height)) != IMAGERESULT_OK) return;
  bitmap.ScaleIt(small, 256, TRUE, FALSE);
  small->Save(preview_, format->filter, nullptr, SAVEBIT_0);
}

} // namespace batch
