// Opening picture files into the session's list, in the background: a large one takes seconds. Main thread.
#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <string>

#include "lifetime.h"
#include "picture_list.h"

namespace host {

class PictureOpener {
 public:
  /// The outcome: empty on success, else a sentence for the user.
  using Done = std::function<void(const std::string& error)>;

  explicit PictureOpener(PictureList& pictures);
  ~PictureOpener(); // finishes
  PictureOpener(const PictureOpener&) = delete;
  PictureOpener& operator=(const PictureOpener&) = delete;

  /// Reads the file, after those that wait already, and shows it with its layers; the main loop calls `done`
  /// once.
  void open(const Filename& file, Done done = {});
  bool isBusy() const noexcept { return job_ != nullptr; }
  /// Waits until all are open and every `done` has been called.
  void finish();

 private:
  struct Job;
  void start();
  void ended();

  PictureList& pictures_;
  std::deque<std::shared_ptr<Job>> queue_; // those behind the one that is being read
  std::shared_ptr<Job> job_;
  Lifetime<PictureOpener> lifetime_{*this}; // for tasks that wait in the loop
};

} // namespace host
