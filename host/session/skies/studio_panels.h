// Studios of bright panels around the scene. Any thread.
#pragma once

#include <vector>

#include "c4d_math.h"

namespace host {

/// A bright panel as the scene sees it. Angles in degrees.
struct StudioPanel {
  double azimuth = 0, elevation = 45; // of its middle, from the front (-Z) over the right (+X)
  double halfWidth = 15, halfHeight = 15;
  double radiance = 1; // in the middle
  Vector color{1, 1, 1};
  double softness = 0.2; // part of the half sides over which the edge fades out
  bool round = false;
};

struct Studio {
  const char* name;
  Vector ambient; // everywhere
  std::vector<StudioPanel> panels;
};

/// The program's studios. `index` is brought into range.
const std::vector<Studio>& studios();
const Studio& studioOf(int index);

/// The light from a direction.
Vector studioLight(const Studio& studio, const Vector& direction);

} // namespace host
