// Small pictures of textures, decoded in the background. Main thread.
#pragma once

#include <deque>
#include <map>
#include <memory>

#include "history_entry.h"
#include "identity.h"
#include "lifetime.h"
#include "listeners.h"
#include "snapshot.h"

namespace host {

class BackgroundJob;

class TextureThumbnails {
 public:
  TextureThumbnails();
  ~TextureThumbnails(); // cancels
  TextureThumbnails(const TextureThumbnails&) = delete;
  TextureThumbnails& operator=(const TextureThumbnails&) = delete;

  /// The picture's thumbnail. Null while it is not ready, which `ready` tells, and for good when the picture
  /// is missing or cannot be decoded.
  ThumbnailPtr thumbnail(const PicturePtr& picture);
  bool isBusy() const noexcept { return !queue_.empty(); }
  /// Waits until all are ready.
  void finish();
  void cancel();

  /// The picture's thumbnail is ready.
  Listeners<Identity> ready;
  /// Thumbnails that are kept; the oldest are dropped.
  static constexpr std::size_t mostKept = 256;

 private:
  struct Job;
  void start();
  void ended();

  std::map<Identity, ThumbnailPtr> kept_;
  std::deque<Identity> order_;             // of `kept_`, oldest first
  std::deque<std::shared_ptr<Job>> queue_; // the first one runs
  Lifetime<TextureThumbnails> lifetime_{*this};
};

} // namespace host
