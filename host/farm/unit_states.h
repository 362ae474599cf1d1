// The state of a job's units, told by files alone, so that machines without any other connection agree on it:
// a unit is claimed by making a file that must not be there yet. Any thread; one object is used by one thread
// at a time.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace host::farm {

/// Failures after which a unit is left alone.
inline constexpr int mostAttempts = 3;

/// A program that works on units.
struct Claimant {
  std::string word; // its own, see uniqueWord
  std::string host; // the machine
  long process = 0; // its number there
  std::string task; // of the scheduler, such as "17_4"; empty: none
  int restart = 0;  // times that the scheduler has started the task again
};

struct DoneUnit {
  double seconds = 0;       // its render
  std::uint64_t memory = 0; // bytes, the peak; 0: unknown
  std::string host;
};

struct UnitReport {
  bool done = false;
  int failures = 0;
  bool claimed = false;
  bool gaveUp() const { return !done && failures >= mostAttempts; }
};

class UnitStates {
 public:
  explicit UnitStates(std::string folder) : folder_(std::move(folder)) {}

  /// False when another program has the unit. A claim of a program that is known to have ended, on this
  /// machine or as an earlier run of the same task, is broken and counts as a failure of the unit that it
  /// had begun.
  bool claim(int unit, const Claimant& me) const;
  /// Notes that the work on a claimed unit begins.
  void begin(int unit, const Claimant& me) const;
  /// Whether the claim is still this program's.
  bool holds(int unit, const Claimant& me) const;
  void release(int unit, const Claimant& me) const;
  /// Removes a claim of anybody: after it is known that no program works on the unit. Not a failure.
  void breakClaim(int unit) const;

  bool isDone(int unit) const;
  /// False with a clause when it cannot be written.
  bool setDone(int unit, const DoneUnit& how, std::string& error) const;
  /// Forgets that the unit was done, as after its picture was lost.
  void clearDone(int unit) const;
  /// Counts a failure with its reason, one line. The number of failures so far.
  int addFailure(int unit, const std::string& reason) const;
  int failures(int unit) const;
  /// Of the last failure; empty without one.
  std::string lastReason(int unit) const;
  void clearFailures(int unit) const;

  /// All units that have a state, by one look at the folder.
  std::map<int, UnitReport> scan() const;
  /// Empty fields when the unit is not done.
  DoneUnit doneUnit(int unit) const;
  /// Who works on it; an empty word: nobody.
  Claimant claimantOf(int unit) const;

 private:
  std::string file(int unit, const std::string& kind) const;
  bool isLeft(const Claimant& other, const Claimant& me) const;

  std::string folder_;
};

} // namespace host::farm
