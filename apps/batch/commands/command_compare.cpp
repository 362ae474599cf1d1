#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

#include <nlohmann/json.hpp>

#include "commands.h"
#include "lm_keys.h"
#include "lm_userarea.h"
#include "output_file.h"
#include "picture_file.h"
#include "picture_host.h"

namespace batch {
namespace {

void requireNumber(double value, const char* option) {
  if (std::isfinite(value)) return;
  throw Stop(ExitCode::wrongUse, std::string(option) + " needs a number, such as 0.5");
}

/// Creates the view's picture, and checks that a composition has enough memory: without it the picture would
/// stay black.
void setSize(lmUserArea& view, const PixelSize& size) {
  view.Sized(size.width, size.height);
  AutoAlloc<BaseBitmap> a, b;
  const auto fits = [&](BaseBitmap* work) {
    return work && work->Init(size.width, size.height, 24) == IMAGERESULT_OK;
  };
  if (view.display && view.display->GetBw() == size.width && fits(a) && fits(b)) return;
  throw Stop(ExitCode::renderFailed, "there is not enough memory for " + std::to_string(size.width) + " x " +
                                         std::to_string(size.height) + " pixels; choose a smaller --size");
}

/// The difference of two pictures over all pixels and the three channels, 0 to 1.
struct Difference {
  double mean = 0, largest = 0, square = 0;

  /// In decibels; infinite for equal pictures.
  double peakSignalToNoise() const { return 10 * std::log10(1 / square); }
};

/// Measures a picture of absolute differences.
Difference measure(const BaseBitmap& differences) {
  std::array<std::uint64_t, 256> counts{};
  UWORD r = 0, g = 0, b = 0;
  for (LONG y = 0; y < differences.GetBh(); ++y) {
    for (LONG x = 0; x < differences.GetBw(); ++x) {
      differences.GetPixel(x, y, &r, &g, &b);
      ++counts[r];
      ++counts[g];
      ++counts[b];
    }
  }
  // Integers as long as possible, so that a limit that is met exactly counts as met.
  std::uint64_t sum = 0, squares = 0, all = 0, largest = 0;
  for (std::uint64_t value = 0; value < counts.size(); ++value) {
    const std::uint64_t count = counts[value];
    sum += value * count;
    squares += value * value * count;
    all += count;
    if (count > 0) largest = value;
  }
  const auto parts = static_cast<double>(all) * 255;
  return {static_cast<double>(sum) / parts, static_cast<double>(largest) / 255,
          static_cast<double>(squares) / (parts * 255)};
}

std::string statsText(const Difference& difference, const BaseBitmap& picture) {
  nlohmann::ordered_json json;
  json["width"] = picture.GetBw();
  json["height"] = picture.GetBh();
  json["mean_difference"] = difference.mean;
  json["largest_difference"] = difference.largest;
  if (difference.square > 0) {
    json["psnr_db"] = difference.peakSignalToNoise();
  } else {
    json["psnr_db"] = nullptr;
  }
  return json.dump(2) + "\n";
}

void place(lmSettings& settings, ComparePlacement placement) {
  settings.SetValue(LM_COMPARE_SCALE, placement == ComparePlacement::scale ? 1 : 0);
  settings.SetValue(LM_COMPARE_CENTER, placement == ComparePlacement::center ? 1 : 0);
}

} // namespace

ExitCode runCompare(const CompareOptions& options) {
  requireNumber(options.slider, "--slider");
  if (!options.image.empty()) {
    checkPictureFile(options.image);
    requirePictureTarget(options.image);
  }
  PictureHost host(options.home, options.quiet);

  lmSettings settings;
  place(settings, options.placement);
  lmUserArea view(nullptr, &settings);
  loadPicture(*view.imageA, options.a);
  loadPicture(*view.imageB, options.b);
  setSize(view, options.size.value_or(PixelSize{view.imageA->GetBw(), view.imageA->GetBh()}));

  if (!options.image.empty()) {
    view.HistoryPrepare(options.slider, options.style);
    savePicture(*view.display, options.image);
  }
  if (!options.stats && !options.failAbove) return ExitCode::done;

  view.HistoryPrepare(0.0, lmUserArea::COMPARE_DIFFERENCE);
  const Difference difference = measure(*view.display);
  if (options.stats) std::fputs(statsText(difference, *view.display).c_str(), stdout);
  if (!options.failAbove || difference.mean <= *options.failAbove) return ExitCode::done;
  char numbers[80];
  std::snprintf(numbers, sizeof numbers, "%.6g on average, more than %.6g", difference.mean,
                *options.failAbove);
  host.messages().problem(options.a + " and " + options.b + " differ by " + numbers);
  return ExitCode::tooDifferent;
}

} // namespace batch
