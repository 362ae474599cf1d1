// Decodes pictures on threads of its own, so that a stopped render does not wait for a large picture:
// decoding goes on, and the next render uses the result. Any thread.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "texture.h"

namespace host::render {

class TextureLoader {
 public:
  /// One picture in one colour space, read by one rule.
  struct Job {
    PicturePtr picture;
    ColorSpace space;
    const InputColors* colors; // null: as its file says
    bool done = false, outOfMemory = false;
    TexturePtr texture; // null when it does not decode
    std::string error;
  };
  using JobPtr = std::shared_ptr<Job>;

  /// The process's loader.
  static TextureLoader& shared();
  TextureLoader() = default;
  ~TextureLoader(); // waits for pictures being decoded, drops queued ones

  /// The job of a picture, existing or new; up to `threads` threads work on the queue.
  JobPtr start(const PicturePtr& picture, ColorSpace space, const InputColors* colors, int threads);
  /// Waits for a job; calls `stopped` every few milliseconds. False after a break.
  bool wait(const Job& job, const std::function<bool()>& stopped);
  /// Forgets a finished job, once the cache has its texture.
  void forget(const JobPtr& job);
  /// Forgets finished jobs that no render fetched because it was stopped.
  void forgetUnused();

 private:
  static constexpr std::size_t mostKnown = 64;
  void serve();
  void dropUnused();
  static void decode(Job& job);

  std::mutex mutex_;
  std::condition_variable work_, done_;
  std::deque<JobPtr> queue_;
  std::vector<JobPtr> known_; // queued, being decoded, or done and not yet forgotten
  std::vector<std::thread> threads_;
  std::size_t idle_ = 0;
  bool ending_ = false;
};

} // namespace host::render
