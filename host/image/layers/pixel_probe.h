// The values of a film's layers at a pixel or in a rectangle, with names. Any thread.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "shown_layers.h"

namespace host {

struct ProbeRow {
  std::string layer; // its name in the film; of mattes without digits; of the colour: empty, "beauty"
  std::string label, group;
  std::string channels;           // a letter for each value
  std::vector<float> values;      // of the pixel; of a rectangle the means of its finite values
  std::vector<float> least, most; // of a rectangle; else empty
  // Of the objects or materials there, largest share first; of a light group, its share of the brightness of
  // all groups, "42 %"; may be empty.
  std::string names;
};

/// The names that a film's notes give to the numbers in its layers. Made once a film: long texts are read.
class FilmNames {
 public:
  FilmNames() = default;
  explicit FilmNames(const Film& film);
  /// The name of a number in a layer of numbers or mattes; empty for unknown numbers.
  std::string nameOf(const std::string& layer, float number) const;

 private:
  std::map<std::string, std::map<std::uint32_t, std::string>> names_; // by the numbers' bits
};

/// A row for each layer that can be shown. The pixel lies inside.
std::vector<ProbeRow> probePixel(const Film& film, const FilmNames& names, int x, int y);

struct PixelRect {
  int left = 0, top = 0, width = 0, height = 0;
};
/// A row for each layer of numbers or colours; values that are not finite do not count. The rectangle is cut
/// to the film; empty when nothing is left.
std::vector<ProbeRow> probeRect(const Film& film, PixelRect rect);

/// The pairs of a flat JSON object of texts, such as {"1":"Box"}; what does not fit is left out.
std::map<std::string, std::string> flatJson(std::string_view text);

} // namespace host
