// The command line as values.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "c4d_types.h"
#include "exit_code.h"
#include "farm_options.h"
#include "link_options.h"
#include "metric_options.h"
#include "render_options.h"

namespace batch {

/// Films of parts of a picture's samples, to be made one.
struct MergeOptions {
  std::vector<std::string> films;
  std::string image;
  std::string scene; // its view and lens effects count for pictures that hold no light; empty: a plain view
  ViewOptions view;  // over the scene's
  std::optional<LONG> quality;     // of JPEG and WebP pictures
  bool half = false;               // OpenEXR: colours as 16-bit floats
  std::optional<LONG> compression; // OpenEXR: index into host::exrCompressions
  LONG bits = 0;                   // PNG: 8 or 16 a channel; 0: 8
  bool resumable = false;          // OpenEXR: the samples go into the file
  int threads = 0;                 // 0: all
  std::string home;
  bool quiet = false;
};

struct InfoOptions {
  std::string scene;
  std::string variant; // of materials; empty: the scene's own
  bool json = false;
};

enum class SettingsAction { list, get, set, preset, reset };

struct SettingsOptions {
  SettingsAction action = SettingsAction::list;
  std::string key, value, home;
  std::string preset;  // of settingPresetNames
  bool names = false;  // list the readable names alone
  bool origin = false; // list where each value comes from
  bool json = false;
};

enum class ComparePlacement { scale, center, corner };

struct CompareOptions {
  std::string a, b;
  std::string image;             // empty: none
  LONG style = 2;                // of the viewer: 0 columns, 1 rows, 2 blend, 9999 difference
  double slider = 0;             // -1 to 1
  std::optional<PixelSize> size; // without it, the first picture's
  ComparePlacement placement = ComparePlacement::scale;
  bool stats = false, quiet = false;
  std::optional<double> failAbove; // mean difference, 0 to 1
  std::string home;
};

/// Pictures measured by metrics instead of composed.
struct MeasureOptions {
  std::string a, b;                  // two pictures or two folders; A is the reference
  std::vector<host::Metric> metrics; // at least one, each once
  std::vector<MetricLimit> limits;   // of these metrics
  std::string json, html;            // reports; empty: none
  std::string home;
  bool quiet = false;
};

enum class HistoryAction { list, add, clear, path };

struct HistoryOptions {
  HistoryAction action = HistoryAction::list;
  std::string file, home;
  bool json = false; // list
};

/// A text for standard output, instead of a command: help or version.
struct ShowText {
  std::string text;
};

using CommandLine = std::variant<RenderOptions, AnimateOptions, InfoOptions, SettingsOptions, CompareOptions,
                                 MeasureOptions, HistoryOptions, MergeOptions, FarmSubmitOptions,
                                 FarmJobOptions, FarmWorkOptions, SendOptions, GrabOptions, ShowText>;

/// Throws `Stop` with `wrongUse` for invalid arguments.
CommandLine parseCommandLine(int argc, const char* const* argv);

} // namespace batch
