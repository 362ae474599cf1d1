// A movie that is being written: its file beside the target, its encoder, and the thread that encodes while
// the caller renders the next frame. Private to host/image.
#pragma once

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

#include "atomic_file.h"
#include "movie_library.h"

namespace host {

/// Used by one thread at a time. A failure of the encoding thread enters the host's record at once, frees
/// what was written and comes back as `failure`.
class MovieJob {
 public:
  /// Makes the file beside the target and opens the encoder. `codec` lives as long as the job. Throws
  /// MovieError, PartError, std::bad_alloc or std::system_error; these have not entered the record.
  MovieJob(const Filename& target, const BaseBitmap& shape, const MovieCodec& codec,
           const MovieOptions& options, LONG fps, bool alpha);
  /// A movie that was not closed leaves no file.
  ~MovieJob();
  MovieJob(const MovieJob&) = delete;
  MovieJob& operator=(const MovieJob&) = delete;

  bool fits(const BaseBitmap& bitmap) const noexcept {
    return bitmap.GetBw() == columns_ && bitmap.GetBh() == rows_;
  }
  /// Queues a copy of the bitmap; waits while the queue is full. `IMAGERESULT_OK`, or the failure of an
  /// earlier frame. Throws std::bad_alloc.
  IMAGERESULT add(const BaseBitmap& bitmap);
  /// Waits for the encoder and puts the movie in the target's place; without a frame the target stays as it
  /// was.
  IMAGERESULT close();

 private:
  void work() noexcept;
  void encodeAll();
  bool take(MovieFrame& frame);
  MovieFrame emptyFrame();
  void fail(IMAGERESULT result, const std::string& clause) noexcept;
  void giveUp() noexcept;
  void end() noexcept;

  const Filename target_;
  const LONG columns_, rows_;
  const bool bottomUp_;
  const int width_, height_; // as encoded
  std::size_t most_;         // frames in the queue

  std::mutex guard_;
  std::condition_variable changed_;
  std::deque<MovieFrame> waiting_;
  std::vector<MovieFrame> spare_; // memory of frames that have been encoded
  bool ended_ = false, abandoned_ = false;
  IMAGERESULT failure_ = IMAGERESULT_OK;

  bool any_ = false; // the caller's: a frame was handed over
  AtomicFile file_;  // the caller's until the thread starts, the thread's, the caller's when it has ended
  std::unique_ptr<MovieEncoder> encoder_; // likewise
  std::thread thread_;
};

/// Enters a movie's failure into the host's record.
void recordMovieFailure(const Filename& movie, const std::string& clause);

} // namespace host
