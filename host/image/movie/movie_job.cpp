#include "movie_job.h"

#include <algorithm>
#include <filesystem>
#include <new>

#include "bitmap_data.h"
#include "failures.h"

namespace host {
namespace {

// Frames that wait for the encoder: a few, so that an uneven encoder does not stop the renderer, within this
// much memory.
constexpr std::size_t mostWaiting = 4, mostWaitingBytes = std::size_t{256} << 20;

[[noreturn]] void failFile(const AtomicFile& file) {
  throw MovieError(IMAGERESULT_FILEERROR, "was not written: " + file.error() +
                                              ". Check the folder, your rights to it and the free space.");
}

// A trailer and an index are written by going back in the file.
void refuseDevices(const Filename& target) {
  std::error_code ignored;
  const std::filesystem::file_status status = std::filesystem::status(target.GetString().GetUTF8(), ignored);
  if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status))
    throw MovieError(IMAGERESULT_FILEERROR, "was not written: it is not a file. Choose another file name.");
}

} // namespace

void recordMovieFailure(const Filename& movie, const std::string& clause) {
  recordFailure(movie, "Movie \"" + movie.GetString().GetUTF8() + "\" " + clause);
}

MovieJob::MovieJob(const Filename& target, const BaseBitmap& shape, const MovieCodec& codec,
                   const MovieOptions& options, LONG fps, bool alpha)
    : target_(target), columns_(shape.GetBw()), rows_(shape.GetBh()), bottomUp_(codec.bottomUp),
      width_(movieLibrary().encodedWidth(codec, columns_)),
      height_(movieLibrary().encodedHeight(codec, rows_)), file_(target) {
  const std::size_t bytes = static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_) * 4;
  most_ = std::clamp<std::size_t>(mostWaitingBytes / bytes, 1, mostWaiting);
  if (!fitsMemory(bytes * (most_ + 3))) throw std::bad_alloc(); // with those in hand and the encoder's
  refuseDevices(target);
  if (!file_.open() || !file_.closeForOthers()) failFile(file_);
  encoder_ = movieLibrary().open(file_.temporary().GetString().GetUTF8(),
                                 MovieSetup{codec, options, width_, height_, fps, alpha});
  thread_ = std::thread(&MovieJob::work, this);
}

MovieJob::~MovieJob() {
  {
    const std::lock_guard lock(guard_);
    abandoned_ = true;
  }
  end();
}

IMAGERESULT MovieJob::add(const BaseBitmap& bitmap) {
  try {
    MovieFrame frame = emptyFrame();
    copyToFrame(bitmap, bottomUp_, frame);
    std::unique_lock lock(guard_);
    changed_.wait(lock, [&] { return waiting_.size() < most_ || failure_ != IMAGERESULT_OK; });
    if (failure_ != IMAGERESULT_OK) return failure_;
    waiting_.push_back(std::move(frame));
    any_ = true;
  } catch (const std::bad_alloc&) {
    giveUp(); // without this frame the later ones would show too early
    throw;
  }
  changed_.notify_all();
  return IMAGERESULT_OK;
}

// The caller's own failure: the thread stops where it is.
void MovieJob::giveUp() noexcept {
  const std::lock_guard lock(guard_);
  if (failure_ == IMAGERESULT_OK) failure_ = IMAGERESULT_OUTOFMEMORY;
  abandoned_ = ended_ = true;
  changed_.notify_all();
}

IMAGERESULT MovieJob::close() {
  end();
  if (failure_ != IMAGERESULT_OK || !any_) return failure_; // the thread has ended: no lock
  if (!file_.commit())
    fail(IMAGERESULT_FILEERROR,
         "was not written: " + file_.error() + ". Check the folder, your rights to it and the free space.");
  return failure_;
}

void MovieJob::end() noexcept {
  {
    const std::lock_guard lock(guard_);
    ended_ = true;
  }
  changed_.notify_all();
  if (thread_.joinable()) thread_.join();
  encoder_.reset();
}

MovieFrame MovieJob::emptyFrame() {
  MovieFrame frame;
  {
    const std::lock_guard lock(guard_);
    if (!spare_.empty()) {
      frame = std::move(spare_.back());
      spare_.pop_back();
    }
  }
  frame.width = width_;
  frame.height = height_;
  return frame;
}

// The next frame, in exchange for the memory of the last; false after the last frame.
bool MovieJob::take(MovieFrame& frame) {
  std::unique_lock lock(guard_);
  if (!frame.words.empty()) spare_.push_back(std::move(frame));
  changed_.wait(lock, [&] { return !waiting_.empty() || ended_; });
  if (waiting_.empty() || abandoned_) return false;
  frame = std::move(waiting_.front());
  waiting_.pop_front();
  lock.unlock();
  changed_.notify_all();
  return true;
}

void MovieJob::encodeAll() {
  MovieFrame frame;
  bool any = false;
  while (take(frame)) {
    encoder_->add(frame);
    any = true;
  }
  if (any && !abandoned_) encoder_->finish(); // `abandoned_` does not change after `take` has seen the end
}

// The encoding thread.
void MovieJob::work() noexcept {
  try {
    encodeAll();
  } catch (const MovieError& error) {
    fail(error.result, error.what());
  } catch (const std::bad_alloc&) {
    fail(IMAGERESULT_OUTOFMEMORY, "was not written: not enough memory. Use a smaller picture.");
  } catch (const std::exception& error) {
    fail(IMAGERESULT_MISC_ERROR,
         "was not written (" + std::string(error.what()) + "). Choose another codec or another file.");
  }
}

void MovieJob::fail(IMAGERESULT result, const std::string& clause) noexcept {
  encoder_.reset();
  std::error_code ignored; // frees the disk at once
  std::filesystem::remove(file_.temporary().GetString().GetUTF8(), ignored);
  try {
    recordMovieFailure(target_, clause);
  } catch (const std::bad_alloc&) { // not enough memory for the sentence: the result stays
  }
  const std::lock_guard lock(guard_);
  failure_ = result;
  waiting_.clear();
  changed_.notify_all();
}

} // namespace host
