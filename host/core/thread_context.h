// The plug-in's thread object and the plug-in that a thread works for.
#pragma once

#include <atomic>
#include <functional>

class C4DThread;

namespace host {

struct PluginUnit;

struct ThreadContext {
  C4DThread* thread = nullptr;                  // the plug-in thread that this one is or works for
  const PluginUnit* plugin = nullptr;           // the plug-in that is being called
  const std::atomic<bool>* toldToEnd = nullptr; // of `thread`
};

/// The calling thread's context.
ThreadContext& threadContext() noexcept;

/// Sets the calling thread's context for a scope.
class ContextScope {
 public:
  explicit ContextScope(const ThreadContext& context) noexcept : previous_(threadContext()) {
    threadContext() = context;
  }
  ~ContextScope() { threadContext() = previous_; }
  ContextScope(const ContextScope&) = delete;
  ContextScope& operator=(const ContextScope&) = delete;

 private:
  ThreadContext previous_;
};

/// The hook is called on the main thread before every call into a plug-in: it ends background work of the
/// host that a plug-in must not meet. Null removes it. Main thread.
void setGiveWayHook(std::function<void()> hook);
/// Calls the hook; on other threads, and from within the hook, it does nothing.
void giveWay() noexcept;

/// Sets for a scope which plug-in is being called, and gives way to it.
class PluginScope {
 public:
  explicit PluginScope(const PluginUnit* plugin) noexcept : previous_(threadContext().plugin) {
    threadContext().plugin = plugin;
    giveWay();
  }
  ~PluginScope() { threadContext().plugin = previous_; }
  PluginScope(const PluginScope&) = delete;
  PluginScope& operator=(const PluginScope&) = delete;

 private:
  const PluginUnit* previous_;
};

/// Whether the calling thread works for a plug-in thread that has been told to end.
inline bool toldToEnd() noexcept {
  const auto* told = threadContext().toldToEnd;
  return told && told->load(std::memory_order_acquire);
}

} // namespace host
