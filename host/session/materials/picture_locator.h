// Pictures read from files that the user names, in the background, and put into the document as one step of
// undo. Main thread.
#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "edits.h"
#include "lifetime.h"
#include "texture_list.h"

namespace host {

class PictureLocator {
 public:
  struct Outcome {
    std::string error;              // a sentence for the user; empty on success
    std::size_t placed = 0;         // pictures that were found and put in
    std::vector<std::string> still; // names of those that were looked for in vain
    bool complete = true;           // false: the folder holds more files than were looked at
  };
  /// Called once by the main loop.
  using Done = std::function<void(const Outcome& outcome)>;

  explicit PictureLocator(Edits& edits) : edits_(edits) {}
  ~PictureLocator(); // cancels
  PictureLocator(const PictureLocator&) = delete;
  PictureLocator& operator=(const PictureLocator&) = delete;

  /// Shows the file's picture in one texture.
  void relink(Identity shader, const Filename& file, Done done = {});
  /// Puts the file in the place of `chosen`, and looks for the other missing pictures by their names, in the
  /// file's folder and below.
  void locate(const MissingPicture& chosen, std::vector<MissingPicture> others, const Filename& file,
              Done done = {});

  bool isBusy() const noexcept { return !queue_.empty(); }
  /// Waits until all is done and every `done` has been called.
  void finish();
  /// Gives up what has not ended; its `done` is not called.
  void cancel();

 private:
  struct Job;
  void add(std::shared_ptr<Job> job);
  void start();
  void ended();

  Edits& edits_;
  std::deque<std::shared_ptr<Job>> queue_; // the first one runs
  Lifetime<PictureLocator> lifetime_{*this};
};

} // namespace host
