// The document's time: play, stop, single frames. Playback follows the host's clock and drops frames on a
// slow machine, so that a second of the scene lasts a second. Main thread.
#pragma once

#include <memory>

#include "document_hub.h"
#include "running_state.h"

namespace host {

class Playback {
 public:
  explicit Playback(DocumentHub& hub);
  ~Playback();
  Playback(const Playback&) = delete;
  Playback& operator=(const Playback&) = delete;

  /// Plays in a loop from the current time, or from the range's start when the time is at its end.
  void play();
  void stop();
  void toggle() { isPlaying() ? stop() : play(); }
  bool isPlaying() const noexcept { return timer_ != 0; }

  // These stop playing. Frames are those of the document's frame rate; a time between frames counts as the
  // frame that holds it.
  void goToFirst();
  void goToLast();
  void step(int frames); // stays within the range
  /// Any frame, also outside the range.
  void goTo(LONG frame);
  void goTo(const BaseTime& time);

  LONG frame() const;
  LONG firstFrame() const; // of the preview range
  LONG lastFrame() const;
  LONG fps() const;

  /// Playing has started or stopped. `DocumentHub::timeChanged` announces the time.
  Listeners<> changed;

 private:
  void tick();

  DocumentHub& hub_;
  TimerId timer_ = 0;
  Milliseconds started_ = 0;
  LONG startFrame_ = 0;
  std::unique_ptr<RunningScope> running_;
  Subscription replacedSubscription_;
};

} // namespace host
