// The jobs of a farm as a desktop shows them. Every question goes to the program `lumenara` ("lumenara farm
// ..."), which runs beside this one: a scheduler that hangs stops neither the main thread nor the program,
// and both have the same rules. Main thread.
#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "active_document.h"
#include "farm_answers.h"
#include "farm_order.h"
#include "history_entry.h"
#include "job_queue.h"
#include "listeners.h"

namespace host::farm {

/// A finished picture of a job.
struct FarmFrame {
  LONG number = 0; // of the frame or the part
  std::string file;
  ThumbnailPtr thumbnail; // null: the file cannot be read
};

class FarmDesk {
 public:
  /// Empty on success, else a sentence for the user.
  using Done = std::function<void(const std::string& error)>;
  using Printed = std::function<void(const std::string& error, const std::string& text)>;

  /// `program` is the path of `lumenara`, `home` the folder of the settings.
  FarmDesk(std::string program, std::string home);
  ~FarmDesk(); // ends what runs
  FarmDesk(const FarmDesk&) = delete;
  FarmDesk& operator=(const FarmDesk&) = delete;

  /// Packs the scene (with its pictures) and submits it; one submission at a time. `name` is the scene's for
  /// people. The order must be without a known problem.
  void submit(DocumentPtr scene, const std::string& name, const FarmOrder& order, Done done);
  bool isSubmitting() const noexcept { return submitting_; }
  /// Ends the submission soon; `done` is called with a sentence.
  void cancelSubmission() noexcept;

  void cancel(const std::string& folder, Done done);
  void retry(const std::string& folder, Done done);
  /// The output of the tasks that had a frame (or part); without one, the failures and the log of the end.
  void log(const std::string& folder, std::optional<LONG> number, Printed done);

  /// Asks for the state of all jobs in the background; those that have ended are asked once. Nothing while it
  /// runs already.
  void refresh();
  /// Refreshes every `period` while it is on.
  void watch(bool on);
  /// The job whose pictures `frames` has; empty: none.
  void choose(const std::string& folder);

  /// Newest first.
  const std::vector<FarmRow>& rows() const noexcept { return rows_; }
  /// The last finished ones, at most `mostFrames`, in order.
  const std::vector<FarmFrame>& frames() const noexcept { return frames_; }
  /// Why the list cannot be read; empty: it can.
  const std::string& problem() const noexcept { return problem_; }
  /// Rows, frames or the problem were read anew, or a submission has begun or ended.
  Listeners<> changed;
  /// Waits for all work and runs what follows it.
  void finish();

  static constexpr Milliseconds period = 2000;
  static constexpr std::size_t mostFrames = 12, mostRows = 100;

 private:
  struct Look;
  std::vector<std::string> command(std::vector<std::string> arguments) const;
  void act(const char* what, const std::string& folder, Done done);
  void looked(const Look& look);

  std::string program_, home_, chosen_;
  std::vector<FarmRow> rows_;
  std::vector<FarmFrame> frames_;
  std::string problem_;
  bool submitting_ = false, again_ = false;
  std::shared_ptr<std::atomic<bool>> ending_ = std::make_shared<std::atomic<bool>>(false);
  std::shared_ptr<std::atomic<bool>> stopSubmit_ = std::make_shared<std::atomic<bool>>(false);
  std::vector<std::string> ask_; // folders whose state may have changed though they had ended
  TimerId timer_ = 0;
  JobQueue orders_{"farm orders"}, looks_{"farm state"};
  Lifetime<FarmDesk> lifetime_{*this};
};

} // namespace host::farm
