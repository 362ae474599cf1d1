// A job of a render farm: a scene, and units of work that programs on many machines do, each once. Values
// only; any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "c4d_types.h"

namespace host::farm {

/// pictures: a frame of an animation is a unit, and its picture is the result. movie: likewise, and the
/// pictures become a movie. parts: a part of a picture's samples is a unit; their films are merged. tiles: a
/// section of a picture is a unit; they are joined.
enum class JobKind : std::uint8_t { pictures, movie, parts, tiles };

/// The wishes of a job, as `sbatch` takes them; empty ones are left to Slurm.
struct SlurmWishes {
  std::string partition, account, time, memory;
  int cpus = 0;                    // of a task
  std::vector<std::string> others; // further options, as they were typed
};

struct FarmJob {
  JobKind kind = JobKind::pictures;
  std::string id;                   // of letters and digits
  std::string created;              // local time, for people
  std::string scene;                // the file that was submitted, for people
  std::string content;              // the packed scene, its SHA-256
  std::uint64_t bytes = 0;          // its size
  std::string output;               // absolute: a picture, a movie, or the base name of the frames' pictures
  LONG format = 0;                  // of frames: a number of the render thread
  LONG from = 0, to = 0, step = 1;  // frames
  std::vector<LONG> frames;         // those that are no such range, rising; empty: the range
  LONG parts = 0;                   // of the samples, of the picture or of each frame
  LONG columns = 0, rows = 0;       // of tiles
  LONG width = 0, height = 0;       // pixels
  LONG fps = 30;                    // of a movie
  LONG quality = 0;                 // of a movie; 0: as the settings say
  std::vector<std::string> options; // of each unit's program
  std::vector<std::string> closing; // of the program that joins the units
  SlurmWishes wishes;
  std::string program; // its path on the farm's machines
  int chunk = 0;       // units of a task; 0: chosen

  /// Whether the units become one picture.
  bool isStill() const { return kind == JobKind::parts || kind == JobKind::tiles; }
  /// A unit, for people: "frame", "part", "tile".
  const char* unitWord() const;
  /// Whether each frame of the animation is split into parts of its samples.
  bool splitsFrames() const { return !isStill() && parts > 1; }
  /// Of an animation, at least 1.
  int frameCount() const;
  LONG frameAt(int index) const;
  /// The index of the frame that the unit is, or is a part of.
  int frameIndexOf(int unit) const { return splitsFrames() ? unit / parts : unit; }
  /// From 1: of the samples.
  LONG partOf(int unit) const { return kind == JobKind::parts ? unit + 1 : unit % parts + 1; }
  /// Units are numbered from 0.
  int unitCount() const;
  /// The frame, or the number of the part or tile from 1.
  LONG numberOf(int unit) const;
  /// Nothing for a number that is not the job's; the first part of a split frame.
  std::optional<int> unitOf(LONG number) const;
  /// "frame 12", "part 2 of 8", "tile 2 of 12", "frame 12, part 2 of 8".
  std::string nameOf(int unit) const;
};

std::string textOf(const FarmJob& job);
/// Nothing for a text without a job that this program can work on.
std::optional<FarmJob> farmJobOf(const std::string& text);

/// The units of each task of an array of Slurm: one submission.
struct Submission {
  std::vector<std::vector<int>> tasks;
  std::string array;   // Slurm's number of the tasks' job; empty: not told yet
  std::string closing; // of the job that joins them
  std::string time;    // local, for people
};
std::string textOf(const Submission& submission);
/// Nothing when the text is no submission of this job.
std::optional<Submission> submissionOf(const std::string& text, const FarmJob& job);

/// The units in tasks of `chunk` units, in order. 0: as many as make at most 1000 tasks and at least 1 unit a
/// task, or, when the seconds of a unit are known, tasks of about ten minutes.
std::vector<std::vector<int>> planTasks(const std::vector<int>& units, int chunk, double unitSeconds = 0);

} // namespace host::farm
