// The render status record.
#pragma once

#include <atomic>

#include "c4d.h"

static_assert(std::atomic<LONG>::is_always_lock_free && std::atomic<Real>::is_always_lock_free);

/// A time that one thread writes and others read. It has two words, so a reader can see a mix of the old and
/// the new time for one poll.
class lmSharedTime {
 public:
  lmSharedTime& operator=(const BaseTime& time) {
    numerator.store(time.GetNumerator());
    denominator.store(time.GetDenominator());
    return *this;
  }
  operator BaseTime() const { return BaseTime(numerator.load(), denominator.load()); }

 private:
  std::atomic<Real> numerator{0.0};
  std::atomic<Real> denominator{1.0};
};

/// The render thread's report on a job, with the viewer's facts for the frame stamps. The viewer writes the
/// two texts before the thread starts. During a job the render thread writes the words, and the host's render
/// threads `progress`; between jobs the image view writes `stampsPending` and `progress`.
struct LMTHREAD_DATA {
  std::atomic<Real> progress{0.0};    // 0 to 1; 1 when `Main` has ended
  std::atomic<Real> renderTime{0.0};  // seconds
  String documentName;                // file name of the document, without folder
  String cameraName;                  // of the render camera
  std::atomic<LONG> result{0};        // of the last `RenderDocument` call; 0 at the start
  std::atomic<LONG> rendering{0};     // 1 while `Main` works
  std::atomic<LONG> stampsPending{0}; // the image view's composed flag
  lmSharedTime frameTime;             // of the frame being rendered
  std::atomic<LONG> fps{0};           // the document's frame rate
};
