#include "playback.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace host {

Playback::Playback(DocumentHub& hub) : hub_(hub) {
  replacedSubscription_ = hub_.replaced.add([this](Replacement) { stop(); });
}

Playback::~Playback() {
  mainLoop().removeTimer(timer_);
}

LONG Playback::fps() const {
  const BaseDocument* document = hub_.document();
  return document ? document->GetFps() : 30;
}

LONG Playback::frame() const {
  const BaseDocument* document = hub_.document();
  return document ? document->GetTime().GetFrame(fps()) : 0;
}

LONG Playback::firstFrame() const {
  const BaseDocument* document = hub_.document();
  return document ? document->GetLoopMinTime().GetFrame(fps()) : 0;
}

LONG Playback::lastFrame() const {
  const BaseDocument* document = hub_.document();
  return document ? std::max(document->GetLoopMaxTime().GetFrame(fps()), firstFrame()) : 0;
}

void Playback::play() {
  if (isPlaying() || !hub_.document()) return;
  if (frame() < firstFrame() || frame() >= lastFrame())
    hub_.setTime(BaseTime(static_cast<Real>(firstFrame()), static_cast<Real>(fps())));
  startFrame_ = frame();
  started_ = clock().now();
  running_ = std::make_unique<RunningScope>(CHECKISRUNNING_ANIMATIONRUNNING);
  timer_ = mainLoop().addTimer(std::max<Milliseconds>(500 / fps(), 1), [this] { tick(); });
  changed.call();
}

void Playback::stop() {
  if (!isPlaying()) return;
  mainLoop().removeTimer(std::exchange(timer_, 0));
  running_.reset();
  changed.call();
}

// Goes to the frame of the clock and drops those between.
void Playback::tick() {
  if (!hub_.document()) return stop();
  const LONG first = firstFrame(), count = lastFrame() - first + 1;
  const auto passed = static_cast<std::int64_t>(clock().now() - started_) * fps() / 1000;
  const auto wanted = first + static_cast<LONG>((std::max<LONG>(startFrame_ - first, 0) + passed) % count);
  hub_.setTime(BaseTime(static_cast<Real>(wanted), static_cast<Real>(fps())));
}

void Playback::goTo(const BaseTime& time) {
  stop();
  hub_.setTime(time);
}

void Playback::goTo(LONG frame) {
  goTo(BaseTime(static_cast<Real>(frame), static_cast<Real>(fps())));
}

void Playback::goToFirst() {
  goTo(firstFrame());
}

void Playback::goToLast() {
  goTo(lastFrame());
}

void Playback::step(int frames) {
  goTo(std::clamp<LONG>(frame() + frames, firstFrame(), lastFrame()));
}

} // namespace host
