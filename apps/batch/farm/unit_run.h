// One program that renders units of a job, watched from outside: it may fail, hang on a file, or be killed.
#pragma once

#include <cstdint>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "job_folder.h"
#include "unit_states.h"

namespace batch {

/// Resources that the scheduler has granted to this task.
struct Granted {
  int threads = 0;          // 0: all of the machine
  std::uint64_t memory = 0; // bytes; 0: not limited
  host::farm::Claimant me;
};

/// By the variables of Slurm: the processors and the memory of the task, its number and how often it was
/// started.
Granted grantedHere();

/// Renders units that this program has claimed.
class UnitRun {
 public:
  UnitRun(const host::farm::JobFolder& folder, const host::farm::FarmJob& job, const Granted& granted);
  /// Removes its folder.
  ~UnitRun();
  UnitRun(const UnitRun&) = delete;
  UnitRun& operator=(const UnitRun&) = delete;

  /// Renders the units, which rise and have the same distance, by one program. Each finished one is put in
  /// its place and noted as done; the unit at which the program ended early gets a failure with its reason.
  /// Claims of units that were done or failed are given back. Ends soon after a request to end.
  void render(const std::vector<int>& units);
  /// Units of the last call that failed.
  const std::set<int>& failed() const { return failed_; }

 private:
  std::vector<std::string> arguments(const std::vector<int>& units) const;
  std::string workFile(int unit) const;
  void publishFinished(const std::vector<int>& units, bool ended, bool killed);
  void publish(int unit);
  void fail(int unit, const std::string& reason);
  std::string reasonOf(int code) const;

  const host::farm::JobFolder& folder_;
  const host::farm::FarmJob& job_;
  const Granted& granted_;
  host::farm::UnitStates states_;
  std::string place_; // its folder
  std::set<int> settled_, failed_;
  std::uint64_t memory_ = 0;              // the most that a program took, bytes
  std::filesystem::file_time_type since_; // the end of the unit before
};

} // namespace batch
