// A video post that records the renders of a test.
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

/// The input of one render.
struct ProbedRender {
  BaseContainer settings;
  std::string statusText;
  BaseTime documentTime;
  std::string cameraName; // of the render view's scene camera; empty for its own camera
  ULLONG cameraIdentity = 0;
  Matrix cameraMatrix;
  Real lod = 0;
  std::map<LONG, ProbedPost> posts; // of the clone, by type; the first of each
};

/// The type of the probe's video post.
inline constexpr LONG PROBE_POST = 1000901;

/// Registers the probe; from then on it records every render of a document with its post.
struct RenderProbe {
  std::vector<ProbedRender> renders;
  /// Called while a render is open, on its thread, after it was recorded.
  std::function<void(BaseDocument& clone, VideoPostStruct& call)> during;
  /// Called when a render's frame closes, with its finished picture, which it may paint over, and the
  /// render's number from 0.
  std::function<void(BaseBitmap& picture, std::size_t number)> finished;
  /// The result that the probe forces on the render.
  RENDERRESULT result = RENDERRESULT_OK;

  RenderProbe();
  ~RenderProbe();
  static RenderProbe* current;
};
