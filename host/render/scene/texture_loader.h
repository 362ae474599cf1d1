// Decodes pictures on threads of its own, so that a render that is told to stop need not wait for a large
// picture: what was begun goes on, and the next render finds it done. Any thread.
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
  /// One picture in one colour space.
  struct Job {
    PicturePtr picture;
    ColorSpace space;
    bool done = false, outOfMemory = false;
    TexturePtr texture; // null when it does not decode
    std::string error;
  };
  using JobPtr = std::shared_ptr<Job>;

  /// The process's.
  static TextureLoader& shared();
  TextureLoader() = default;
  ~TextureLoader(); // waits for what is being decoded, drops the rest

  /// The job for a picture: one that is already there, or a new one, worked on by up to `threads` threads.
  JobPtr start(const PicturePtr& picture, ColorSpace space, int threads);
  /// Waits for a job, asking `stopped` every few milliseconds. False after a break.
  bool wait(const Job& job, const std::function<bool()>& stopped);
  /// Forgets a job that is done; its texture lives in the cache from then on.
  void forget(const JobPtr& job);
  /// Forgets what is done and was never fetched, because its render was stopped.
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
