// A video post that looks at the renders of a test: what they were given, and what the host shows meanwhile.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "c4d.h"

struct ProbedPost {
  bool disabled = false;
  BaseContainer data;
};

/// What one render was given.
struct ProbedRender {
  BaseContainer settings;
  std::string statusText;
  BaseTime documentTime;
  std::string cameraName; // of the camera that the render view looks through; empty for its own
  ULLONG cameraIdentity = 0;
  Matrix cameraMatrix;
  Real lod = 0;
  std::map<LONG, ProbedPost> posts; // of the clone, by type; the first of each
};

/// The type of the probe's video post.
inline constexpr LONG PROBE_POST = 1000901;

/// Registers the probe; from then on it sees every render of a document that has its post.
struct RenderProbe {
  std::vector<ProbedRender> renders;
  /// Called while a render is open, on its thread, after it was recorded.
  std::function<void(BaseDocument& clone, VideoPostStruct& call)> during;
  /// Called when a render's frame closes, with its finished picture, which it may paint over, and the
  /// render's number from 0.
  std::function<void(BaseBitmap& picture, std::size_t number)> finished;
  /// What the render is made to result in.
  RENDERRESULT result = RENDERRESULT_OK;

  RenderProbe();
  ~RenderProbe();
  static RenderProbe* current;
};
