// Changes of a film's light on its way to a display: the mix of its lights, then the lens. Any thread.
#pragma once

#include <vector>

#include "lens_settings.h"
#include "light_mix.h"

namespace host {

struct DeskLook {
  LightMix mix;
  LensSettings lens;

  /// True when the light stays as it is.
  bool isPlain() const { return mix.isNeutral() && !lens.any(); }
  bool operator==(const DeskLook& other) const = default;
};

/// Changes the light that the film shows, in place: red, green and blue of each pixel, rows from the top.
/// Uses the workers. Throws std::bad_alloc.
void applyDesk(const DeskLook& look, const Film& film, std::vector<float>& light);

} // namespace host
