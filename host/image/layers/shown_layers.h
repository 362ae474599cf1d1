// The layers of a film as a user chooses among them. Any thread.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "film.h"

namespace host {

/// How a layer's values become colours.
enum class LayerKind : std::uint8_t {
  light,  // colours, through the view
  vector, // components from -1 to 1, as colours from 0 to 1
  number, // each channel by its range in the picture, as grey or as red, green, blue
  heat,   // one number as a false colour: black, blue, cyan, green, yellow, red, white
  ids,    // a colour for each number, always the same one; 0 is black
  matte   // colours of ID mattes, mixed by their coverage
};

struct ShownLayer {
  std::string name;  // in the film; of mattes without the two digits; the picture itself: empty
  std::string label; // for users
  std::string group; // a heading for users
  LayerKind kind = LayerKind::light;
};

/// The picture itself first, "beauty" (the colour with its noise) when there is a denoised one, then the
/// film's layers in the order of the layer table, then those that it does not know, by name. Internal layers
/// are left out; the layers of a matte are one.
std::vector<ShownLayer> shownLayers(const Film& film);

inline constexpr char beautyLayer[] = "beauty";

} // namespace host
