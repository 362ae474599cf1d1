// OpenGL without a window: one context for the process, made at first use. OpenGL headers stay in the gl_ and
// hardware_preview files.
#pragma once

#include <functional>
#include <string>

namespace host::render {

/// A turn with the process's OpenGL 3.3 context: current on this thread, and on no other, from the
/// constructor to the destructor. Only for threads without an OpenGL context of their own, such as the render
/// workers.
class GlTurn {
 public:
  /// Waits while another thread has its turn; calls `stopped` (may be empty) every few milliseconds.
  explicit GlTurn(const std::function<bool()>& stopped);
  ~GlTurn();
  GlTurn(const GlTurn&) = delete;
  GlTurn& operator=(const GlTurn&) = delete;

  bool ready() const { return ready_; }
  /// A break ended the wait.
  bool broken() const { return broken_; }
  /// The reason when neither `ready` nor `broken`: part of a sentence.
  const std::string& why() const { return why_; }

  /// Destroys the context at the end of this turn; the next turn makes a new one. Free its objects first.
  void destroyContext() { destroy_ = true; }

 private:
  bool ready_ = false, broken_ = false, taken_ = false, destroy_ = false;
  std::string why_;
};

} // namespace host::render
