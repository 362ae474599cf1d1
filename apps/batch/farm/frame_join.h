// Split frames: the parts of a frame's samples become its picture.
#pragma once

#include <string>

#include "unit_run.h"

namespace batch {

class FrameJoin {
 public:
  FrameJoin(const host::farm::JobFolder& folder, const host::farm::FarmJob& job, const Granted& granted);

  bool isJoined(int index) const;
  /// Joins the frame when all its parts are done and no other program does it. A failure is noted; the job
  /// that ends the work tries again.
  void joinReady(int index) const;
  /// Joins a frame whose parts are done, whatever happened before. An empty text, or why it failed.
  std::string join(int index) const;
  /// The frame has to be rendered again: its picture was lost.
  void forget(int index) const;

 private:
  bool partsDone(int index) const;
  std::vector<std::string> arguments(int index, const std::string& picture, const std::string& home) const;
  std::string mergeParts(int index) const;

  const host::farm::JobFolder& folder_;
  const host::farm::FarmJob& job_;
  const Granted granted_;
  host::farm::UnitStates states_;
};

} // namespace batch
