// Facts about a scene, as values.
#pragma once

#include <string>
#include <vector>

#include "c4d_document.h"
#include "scene_file.h"

namespace batch {

struct CameraFacts {
  std::string name; // for --camera
  bool orthographic = false;
  double angle = 0;  // perspective: full vertical angle in radians
  double height = 0; // orthographic: visible height in metres
};

struct LightFacts {
  std::string name, kind; // "point", "spot", "distant"
  Vector color;
  double intensity = 0;
};

struct AnimationFacts {
  std::string name;
  int tracks = 0;
  double from = 0, to = 0; // seconds
};

struct SceneFacts {
  host::SceneCounts counts; // bounds at the document's time, in metres
  std::vector<CameraFacts> cameras;
  std::vector<LightFacts> lights;
  std::vector<AnimationFacts> animations;
  std::vector<std::string> variants; // of materials
  LONG variant = -1;                 // the chosen one; -1: none
  LONG fps = 0, firstFrame = 0, lastFrame = 0;
};

/// Main thread.
SceneFacts factsOf(BaseDocument& document);

} // namespace batch
