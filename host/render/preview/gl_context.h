// OpenGL without a window: one context for the process, made when it is first wanted. Its headers stay in the
// gl_ and hardware_preview files.
#pragma once

#include <functional>
#include <string>

namespace host::render {

/// A turn with the process's OpenGL 3.3 context: current on this thread from the constructor to the
/// destructor, and on no other thread meanwhile. Only for threads that have no OpenGL context of their own,
/// such as the render workers.
class GlTurn {
 public:
  /// Waits while another thread has its turn, asking `stopped` (may be empty) every few milliseconds.
  explicit GlTurn(const std::function<bool()>& stopped);
  ~GlTurn();
  GlTurn(const GlTurn&) = delete;
  GlTurn& operator=(const GlTurn&) = delete;

  bool ready() const { return ready_; }
  /// A break came while it waited.
  bool broken() const { return broken_; }
  /// Why there is no context when neither is true: a part of a sentence.
  const std::string& why() const { return why_; }

  /// Destroys the context at the end of this turn; the next turn makes a new one. What was made in it must
  /// have been freed.
  void destroyContext() { destroy_ = true; }

 private:
  bool ready_ = false, broken_ = false, taken_ = false, destroy_ = false;
  std::string why_;
};

} // namespace host::render
