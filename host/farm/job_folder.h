// The folder of a job on the file system that all machines share:
//
//     job.json                 the job, written last: a folder without it is not a job yet
//     contents/12/34...        the packed scene, named by its SHA-256
//     home/                    the settings of the moment of the submission
//     submissions/1.json       the units of each task, and Slurm's numbers of the jobs
//     submissions/1.sh         the script that Slurm runs for each task; 1-closing.sh joins the units
//     state/000012.claim       a program works on unit 12 (unit_states.h); also .done, .fail1 ...
//     log/                     what the tasks printed
//     units/                   the pictures of a movie's frames, the films of parts and tiles
//     work/                    of running programs
//
// Every file is written whole or not at all. Any thread; one object is used by one thread at a time.
#pragma once

#include <optional>
#include <string>

#include "c4d_filename.h"
#include "farm_job.h"
#include "unit_states.h"

namespace host::farm {

class JobFolder {
 public:
  /// An absolute name.
  explicit JobFolder(std::string path) : path_(std::move(path)) {}
  const std::string& path() const { return path_; }
  std::string operator/(const std::string& name) const { return path_ + "/" + name; }

  /// Makes the folder with its sub-folders. False with a clause when it is there already or cannot be made.
  bool make(std::string& error) const;
  bool writeJob(const FarmJob& job, std::string& error) const;
  std::optional<FarmJob> readJob() const;

  /// The highest number of a submission; 0: none.
  int lastSubmission() const;
  /// Takes the next number and writes. 0 with a clause on failure.
  int addSubmission(const Submission& submission, std::string& error) const;
  bool writeSubmission(int number, const Submission& submission, std::string& error) const;
  std::optional<Submission> readSubmission(int number, const FarmJob& job) const;

  std::string sceneFile(const FarmJob& job) const;
  /// A unit's finished picture: in the output's folder, or in this one when units are joined.
  std::string unitFile(const FarmJob& job, int unit) const;
  /// The picture of a frame of an animation, by its index: in the output's folder, or in this one for a
  /// movie.
  std::string frameFile(const FarmJob& job, int index) const;
  /// The number in `states` of the join of a split frame, behind those of the units.
  static int joinUnit(const FarmJob& job, int index) { return job.unitCount() + index; }
  /// The name of a frame's picture, as the render thread gives it: "shot0012.tif". Where the base has a run
  /// of
  /// "#", the number stands there, with as many digits: "shot.####.exr".
  static std::string frameName(const std::string& base, LONG frame);
  UnitStates states() const { return UnitStates(*this / "state"); }

 private:
  std::string path_;
};

/// Moves a whole file to its place, replacing what is there; false with a clause. Across file systems it is
/// copied, and is whole in its new place or not there.
bool publishFile(const std::string& from, const std::string& to, std::string& error);

/// A word of 16 small hexadecimal digits that no other program has chosen.
std::string uniqueWord();

} // namespace host::farm
