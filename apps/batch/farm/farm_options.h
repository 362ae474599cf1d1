// Options of `farm`, as values.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "render_options.h"
#include "slurm.h"

namespace batch {

struct FarmSubmitOptions {
  AnimateOptions run; // scene, output and all that decides about the look; frames only when `frames` is set
  bool frames = false;
  LONG parts = 0;                // of the samples of one picture, or of each frame; 0: not split so
  std::optional<TileGrid> tiles; // of one picture
  std::optional<LONG> frame;
  std::vector<std::string> units;   // options for the program that renders a unit
  std::vector<std::string> closing; // for the one that joins them
  int chunk = 0;                    // units of a task; 0: chosen
  host::farm::SlurmWishes wishes;
  std::string folder;  // of the job; empty: beside the output
  std::string program; // on the farm's machines; empty: this one's path
  bool dryRun = false, prepare = false, withoutMissing = false;

  /// One picture is split, else an animation.
  bool isStill() const { return !frames; }
};

enum class FarmAction : std::uint8_t { status, cancel, retry, log, list };

struct FarmJobOptions {
  FarmAction action = FarmAction::status;
  std::string job; // a folder, a number of Slurm, or empty: the newest
  std::string frame;
  bool watch = false, json = false, quiet = false;
  std::string home;
};

/// The hidden commands that tasks run.
struct FarmWorkOptions {
  std::string folder;
  int submission = 0; // 0: the last
  int task = -1;      // -1: by the scheduler
  bool closing = false;
};

} // namespace batch
