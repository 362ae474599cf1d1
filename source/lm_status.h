// The render status record.
#pragma once

#include <atomic>

#include "c4d.h"

static_assert(std::atomic<LONG>::is_always_lock_free && std::atomic<Real>::is_always_lock_free);

/// A time that one thread writes and others read: two words, so a reader may meet the old one and the new one
/// mixed for one poll.
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

/// Through it the render thread reports on a job, and the viewer hands over the facts that the frame stamps
/// print. Every field is written by one side only while a job runs: the two texts by the viewer before the
/// thread starts, the words by the thread and by the host's render threads (`progress`), `stampsPending` also
/// by the image view between jobs.
struct LMTHREAD_DATA {
  std::atomic<Real> progress{0.0};    // 0 to 1; 1 when `Main` has ended
  std::atomic<Real> renderTime{0.0};  // seconds
  String documentName;                // the document's file name without its folder
  String cameraName;                  // of the render camera
  std::atomic<LONG> result{0};        // of the last `RenderDocument` call, 0 at start
  std::atomic<LONG> rendering{0};     // 1 while `Main` works
  std::atomic<LONG> stampsPending{0}; // the image view's composed flag
  lmSharedTime frameTime;             // of the frame being rendered
  std::atomic<LONG> fps{0};           // the document's frame rate
};
