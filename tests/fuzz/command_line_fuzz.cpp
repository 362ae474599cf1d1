// Command lines from any bytes, with a zero byte between the arguments: each gives a command within its
// ranges, a text, or one sentence about wrong use.
#include <algorithm>
#include <cmath>
#include <cstdint>

#include "command_line.h"
#include "fuzz_support.h"
#include "layer_table.h"

namespace {

using fuzz::require;

void check(const std::optional<batch::PixelSize>& size) {
  require(!size || (size->width >= 1 && size->width <= 32768 && size->height >= 1 && size->height <= 32768),
          "sizes are those of bitmaps");
}

void check(const batch::Sampling& sampling) {
  require(sampling.samples >= 0 && sampling.samples <= 1000000 && sampling.seconds >= 0,
          "samples and seconds are limited");
  require(!sampling.shutter || (*sampling.shutter >= 0 && *sampling.shutter <= 10), "shutters are short");
  require(!sampling.noise || (*sampling.noise >= 0 && *sampling.noise <= 1), "noise is a fraction");
  require(sampling.spread.empty() || sampling.spread == "noise" || sampling.spread == "even",
          "spreads are named");
}

void check(const batch::FrameList& frames) {
  require(frames.ranges.size() <= 1000, "lists end");
  for (const batch::FrameRange& range : frames.ranges)
    require(range.from >= 0 && range.from <= range.to && range.to <= batch::lastFrameNumber &&
                range.step >= 1,
            "frames go on");
}

struct Check {
  void operator()(const batch::RenderOptions& o) const {
    check(o.size);
    require(!o.region || (o.region->left >= 0 && o.region->top >= 0 && o.region->right >= o.region->left &&
                          o.region->bottom >= o.region->top),
            "regions have pixels");
    require(!o.box || (o.box->x >= 0 && o.box->x <= 1 && o.box->y >= 0 && o.box->y <= 1 && o.box->size > 0 &&
                       o.box->size <= 1),
            "boxes are fractions");
    check(o.sampling);
    require(o.threads >= 0 && o.threads <= 1024, "threads are limited");
    require(!o.tile || (o.tile->number >= 1 && o.tile->number <= o.tile->grid.count() &&
                        o.tile->grid.count() <= 1024),
            "tiles are of the grid");
    require(!o.view.exposure || (*o.view.exposure >= -20 && *o.view.exposure <= 20), "stops are limited");
    require(!o.layers || (*o.layers & ~host::allLayers()) == 0, "layers are known");
    require(!o.compression || (*o.compression >= 0 && *o.compression < 10), "compressions are known");
    for (const auto& setting : o.settings)
      require(!setting.first.empty(), "settings have names");
  }
  void operator()(const batch::AnimateOptions& o) const {
    check(o.size);
    check(o.sampling);
    check(o.frames);
    require(!o.layers || (*o.layers & ~host::allLayers()) == 0, "layers are known");
    require(!o.compression || (*o.compression >= 0 && *o.compression < 10), "compressions are known");
    require(!o.format || (*o.format >= 0 && *o.format <= 10), "formats are known");
    require(o.codec >= 0 && o.codec <= 11, "codecs are known");
    require(!o.quality || (*o.quality >= 1 && *o.quality <= 100), "qualities are percent");
  }
  void operator()(const batch::CompareOptions& o) const {
    check(o.size);
    require(o.slider >= -1 && o.slider <= 1, "the slider has ends");
    require(!o.failAbove || (*o.failAbove >= 0 && *o.failAbove <= 1), "so has the difference");
  }
  void operator()(const batch::MeasureOptions& o) const {
    require(!o.metrics.empty() && o.metrics.size() <= 4, "metrics are named once");
    for (const batch::MetricLimit& limit : o.limits) {
      require(std::count(o.metrics.begin(), o.metrics.end(), limit.metric) == 1, "limits belong to metrics");
      require(std::isfinite(limit.value), "limits are numbers");
    }
  }
  void operator()(const batch::MergeOptions& o) const {
    require(!o.films.empty() && !o.image.empty(), "films become a picture");
    require(!o.compression || (*o.compression >= 0 && *o.compression < 10), "compressions are known");
    require(o.threads >= 0 && o.threads <= 1024, "threads are limited");
  }
  void operator()(const batch::FarmSubmitOptions& o) const {
    check(o.run.sampling);
    check(o.run.frames);
    require(o.frames || o.parts > 0 || o.tiles, "frames, parts or tiles are split");
    require(!o.tiles || (o.parts == 0 && !o.frames), "tiles are of one picture");
    require(!o.tiles || (o.tiles->columns >= 1 && o.tiles->rows >= 1 && o.tiles->count() <= 1024),
            "grids have tiles");
    require(o.chunk >= 0, "tasks have units");
    require(!o.run.layers || (*o.run.layers & ~host::allLayers()) == 0, "layers are known");
  }
  void operator()(const batch::FarmWorkOptions& o) const {
    require(o.submission >= 0 && o.task >= -1, "submissions and tasks have numbers");
  }
  void operator()(const batch::ShowText& text) const { require(!text.text.empty(), "a text says something"); }
  /// Commands whose options have no limits.
  template <class Options>
  void operator()(const Options&) const {}
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::vector<std::string> words{"lumenara"};
  std::string_view text(reinterpret_cast<const char*>(data), size);
  while (!text.empty() && words.size() < 40) {
    const std::size_t end = text.find('\0');
    words.emplace_back(text.substr(0, end));
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  }
  std::vector<const char*> arguments;
  for (const std::string& word : words)
    arguments.push_back(word.c_str());
  arguments.push_back(nullptr);
  try {
    std::visit(Check(), batch::parseCommandLine(static_cast<int>(words.size()), arguments.data()));
  } catch (const batch::Stop& stop) {
    require(stop.code() == batch::ExitCode::wrongUse && *stop.what(), "wrong use is told");
  }
  return 0;
}
