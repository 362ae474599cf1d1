// How linear light is shown on a display.
#pragma once

#include <string>
#include <vector>

namespace host {

/// The name of the view that shows light as it is, in sRGB.
inline constexpr char plainView[] = "sRGB";

struct ViewSettings {
  static constexpr double mostStops = 20, leastGamma = 0.1, mostGamma = 10, leastKelvin = 2000,
                          mostKelvin = 20000, plainKelvin = 6500;

  std::string view = plainView;
  double exposure = 0;         // stops, -20 to 20
  double gamma = 1;            // display values are raised to 1 / gamma; 0.1 to 10
  double kelvin = plainKelvin; // the light of this temperature looks white; 2000 to 20000
  std::string config = {}; // file of an OpenColorIO configuration; empty: the one that $OCIO names, if any

  /// True for the settings that change nothing: the codes are those of `toDisplay`.
  bool isPlain() const;
  bool operator==(const ViewSettings& other) const = default;
};

/// Values out of range, NaN included, become the nearest valid ones; NaN the default.
ViewSettings withinRange(ViewSettings settings);

/// Views without a configuration: sRGB, Rec.709, ACES SDR, Filmic, Neutral, Raw, False Colour. Then those of
/// the configuration of ViewSettings::config, as "Display - View". A configuration is loaded at its first use
/// in the program; one that cannot be used is named by a line on the console, once, and has no views. Any
/// thread.
std::vector<std::string> viewNames(const std::string& config = {});
bool isView(const std::string& name, const std::string& config = {});

} // namespace host
