// The wishes of a person who submits a job, and the arguments of `lumenara farm submit` for them. Values
// only; any thread.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "c4d_types.h"

namespace host::farm {

/// The units that the machines share.
enum class FarmSplit {
  frames,
  samples,     // one picture, in parts of its samples
  tiles,       // one picture, each tile in memory of its own
  frameSamples // frames, each in parts of its samples
};

struct FarmOrder {
  std::string output; // absolute: a movie, the base name of pictures, or the picture of parts
  FarmSplit split = FarmSplit::frames;
  LONG from = 0, to = 0, step = 1;              // of one picture `from` counts
  LONG parts = 1;                               // of the samples
  LONG columns = 1, rows = 1;                   // of tiles
  LONG width = 0, height = 0;                   // pixels; 0: the scene's
  std::string camera;                           // empty: as the scene's view says
  LONG samples = 0;                             // 0: the scene's
  int chunk = 0;                                // frames of a task; 0: chosen
  std::string partition, account, memory, time; // Slurm's; empty: left to it
  std::string others;                           // further options of sbatch, as for a shell
  std::string program;                          // lumenara's path on the farm; empty: as here
  bool overwrite = false, withoutMissing = false;

  bool isStill() const { return split == FarmSplit::samples || split == FarmSplit::tiles; }
  /// The folder that the job gets.
  std::string folder() const { return output + ".farm"; }
};

/// A sentence for the user: why the order cannot be submitted, and what to do. Empty when nothing is known
/// against it. Reads the file system.
std::string problemOf(const FarmOrder& order);

/// Behind the program's name. Words of `others` that are not complete are left out.
std::vector<std::string> submitArguments(const FarmOrder& order, const std::string& scene);

/// The words of a text as a shell takes them apart, with quotation marks and backslashes. Nothing when a
/// quotation mark is not closed.
std::optional<std::vector<std::string>> wordsOf(const std::string& text);

/// The path of a program of PATH; empty: not installed.
std::string installedProgram(const std::string& name);

} // namespace host::farm
