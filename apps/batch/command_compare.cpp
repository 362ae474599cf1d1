#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

#include <nlohmann/json.hpp>

#include "c4d_bitmap.h"
#include "commands.h"
#include "failures.h"
#include "lm_keys.h"
#include "lm_userarea.h"
#include "messages.h"
#include "output_file.h"
#include "program.h"

namespace batch {
namespace {

constexpr LONG jpegQuality = 95;

host::ProgramOptions programOptions(const std::string& home, host::UserInterface& ui) {
  host::ProgramOptions options;
  options.home = Filename(String(home));
  options.ui = &ui;
  options.loadModules = false;
  options.consoleEcho = nullptr; // the messages show it
  options.printFailures = false; // the command tells its own
  return options;
}

void load(BaseBitmap& bitmap, const std::string& file) {
  switch (bitmap.Init(Filename(String(file)))) {
  case IMAGERESULT_OK:
    return;
  case IMAGERESULT_OUTOFMEMORY:
    throw Stop(ExitCode::sceneUnreadable, "the picture " + file + " is too large; make it smaller first");
  case IMAGERESULT_WRONGTYPE:
    throw Stop(ExitCode::sceneUnreadable,
               file + " is no picture that can be read; convert it to png, tif, jpg, exr, hdr, psd, bmp or "
                      "tga");
  case IMAGERESULT_FILESTRUCTURE:
    throw Stop(ExitCode::sceneUnreadable, "the picture " + file + " is damaged; make it again");
  default:
    throw Stop(ExitCode::sceneUnreadable,
               "the picture " + file + " cannot be read; check its name and rights");
  }
}

/// How two pictures differ over all pixels and the three channels, 0 to 1.
struct Difference {
  double mean = 0, largest = 0, square = 0;

  /// In decibels; infinite when nothing differs.
  double peakSignalToNoise() const { return -10 * std::log10(square); }
};

/// From a picture that holds the absolute differences.
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
  Difference result;
  double sum = 0, squares = 0, all = 0;
  for (std::size_t value = 0; value < counts.size(); ++value) {
    const double part = static_cast<double>(value) / 255, count = static_cast<double>(counts[value]);
    sum += part * count;
    squares += part * part * count;
    all += count;
    if (counts[value] > 0) result.largest = part;
  }
  result.mean = sum / all;
  result.square = squares / all;
  return result;
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

void save(const BaseBitmap& bitmap, const std::string& image) {
  const Filename file{String(image)};
  BaseContainer settings;
  settings.SetLong(JPGSAVER_QUALITY, jpegQuality);
  host::takeFailures();
  if (bitmap.Save(file, pictureFilter(file), &settings) == IMAGERESULT_OK) return;
  const auto failures = host::takeFailures();
  throw Stop(ExitCode::outputNotWritable,
             failures.empty() ? "the picture " + image + " was not written; choose another place"
                              : failures.front().sentence);
}

void place(lmSettings& settings, ComparePlacement placement) {
  settings.SetValue(LM_COMPARE_SCALE, placement == ComparePlacement::scale ? 1 : 0);
  settings.SetValue(LM_COMPARE_CENTER, placement == ComparePlacement::center ? 1 : 0);
}

} // namespace

ExitCode runCompare(const CompareOptions& options) {
  if (!options.image.empty()) {
    pictureFilter(Filename(String(options.image)));
    requireWritable(Filename(String(options.image)), "the picture");
  }
  Messages messages(options.quiet);
  BatchInterface ui(messages);
  host::Program program(programOptions(options.home, ui));

  lmSettings settings;
  place(settings, options.placement);
  lmUserArea view(nullptr, &settings);
  load(*view.imageA, options.a);
  load(*view.imageB, options.b);
  const PixelSize size = options.size.value_or(PixelSize{view.imageA->GetBw(), view.imageA->GetBh()});
  view.Sized(size.width, size.height);
  if (view.display->GetBw() != size.width) {
    throw Stop(ExitCode::renderFailed, "there is not enough memory for " + std::to_string(size.width) +
                                           " x " + std::to_string(size.height) +
                                           " pixels; choose a smaller --size");
  }

  if (!options.image.empty()) {
    view.HistoryPrepare(options.slider, options.style);
    save(*view.display, options.image);
  }
  if (!options.stats && !options.failAbove) return ExitCode::done;

  view.HistoryPrepare(0.0, lmUserArea::COMPARE_DIFFERENCE);
  const Difference difference = measure(*view.display);
  if (options.stats) std::fputs(statsText(difference, *view.display).c_str(), stdout);
  if (!options.failAbove || difference.mean <= *options.failAbove) return ExitCode::done;
  char numbers[80];
  std::snprintf(numbers, sizeof numbers, "%.6g on average, more than %.6g", difference.mean,
                *options.failAbove);
  messages.problem(options.a + " and " + options.b + " differ by " + numbers);
  return ExitCode::tooDifferent;
}

} // namespace batch
