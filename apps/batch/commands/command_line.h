// The command line as values.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "c4d_types.h"
#include "exit_code.h"
#include "frame_ranges.h"
#include "metric_options.h"

namespace batch {

struct PixelSize {
  LONG width = 0, height = 0;
};

/// Inclusive bounds, in pixels from the upper left corner.
struct PixelRegion {
  LONG left = 0, top = 0, right = 0, bottom = 0;
};

/// A region as the viewer keeps it: left edge, top edge and size as fractions of the whole picture. It has
/// the picture's aspect ratio.
struct RegionBox {
  double x = 0, y = 0, size = 0.5;
};

/// The end of a render, over the scene's render settings.
struct Sampling {
  int samples = 0;               // of a pixel; 0: the scene's, or with one of the next two more than any
                                 // picture needs
  double seconds = 0;            // a picture ends after them; 0: no limit
  std::optional<double> noise;   // a pixel ends at this standard error, 0 to 1; 0: never
  std::optional<double> shutter; // frames that it is open around each frame's time; 0: no motion blur
  std::string spread;            // of the samples: "noise", "even", or empty: as the scene says
  std::string radianceCache;     // "on", "off", or empty: as the scene says
  std::string denoise;           // "off", "end", "live", or empty: as the scene says
};

/// The view of a saved picture, over the document's.
struct ViewOptions {
  std::string shading; // a name of host::render::shadingModes; empty: as the scene says
  std::optional<std::string> view;
  std::optional<double> exposure; // stops, -20 to 20
  std::optional<bool> lens;       // effects on or off; without it, as the scene says
  bool given() const { return view || exposure || lens.value_or(false); }
};

struct RenderOptions {
  std::string scene, image;
  std::optional<PixelSize> size;
  std::optional<LONG> frame;
  std::string camera;  // empty: the scene's own
  std::string variant; // of materials; empty: the scene's own
  std::optional<PixelRegion> region;
  std::optional<RegionBox> box;                              // at most one of the two
  std::vector<std::pair<std::string, std::string>> settings; // key and value, as they were typed
  Sampling sampling;
  ViewOptions view;
  int threads = 0;                 // 0: all
  std::optional<LONG> quality;     // 1 to 100, of JPEG and WebP pictures
  std::optional<unsigned> layers;  // of the film, bits of host::LayerBit; without it, the scene's
  bool half = false;               // OpenEXR: colours as 16-bit floats
  std::optional<LONG> compression; // OpenEXR: index into host::exrCompressions
  bool resumable = false;          // OpenEXR: the samples go into the file
  std::string resume;              // the OpenEXR file to go on from; empty: none
  std::string home, stats;
  bool quiet = false;
};

struct AnimateOptions {
  std::string scene, output;
  FrameRange frames;
  std::optional<LONG> format;  // 0 to 10; without it, by the output's suffix
  std::optional<LONG> quality; // 1 to 100, of JPEG pictures and of movies
  std::optional<PixelSize> size;
  std::string camera;                                        // empty: the scene's own
  std::string variant;                                       // of materials; empty: the scene's own
  std::vector<std::pair<std::string, std::string>> settings; // key and value, as they were typed
  Sampling sampling;                                         // of each frame
  ViewOptions view;
  int threads = 0; // 0: all
  std::string home;
  bool stamps = false, overwrite = false, resume = false, quiet = false;
};

struct InfoOptions {
  std::string scene;
  std::string variant; // of materials; empty: the scene's own
  bool json = false;
};

enum class SettingsAction { list, get, set, reset };

struct SettingsOptions {
  SettingsAction action = SettingsAction::list;
  std::string key, value, home;
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
};

/// A text for standard output, instead of a command: help or version.
struct ShowText {
  std::string text;
};

using CommandLine = std::variant<RenderOptions, AnimateOptions, InfoOptions, SettingsOptions, CompareOptions,
                                 MeasureOptions, HistoryOptions, ShowText>;

/// Throws `Stop` with `wrongUse` for invalid arguments.
CommandLine parseCommandLine(int argc, const char* const* argv);

} // namespace batch
