// Threads with break requests, and the millisecond timer.
#pragma once

#include "c4d_string.h"
#include "c4d_types.h"

class C4DThread;

enum THREADMODE { THREADMODE_SYNCHRONOUS = 0, THREADMODE_ASYNC = 1 };
enum THREADPRIORITY {
  THREADPRIORITY_NORMAL = 0,
  THREADPRIORITY_ABOVE = 1000,
  THREADPRIORITY_BELOW = 1001,
  THREADPRIORITY_LOWEST = 1002
};

/// The host's side of a thread: what host functions poll for a break. Any thread.
class C4D_API BaseThread {
 public:
  /// True once the thread has been told to end, or its owner's `TestDBreak` says so.
  Bool TestBreak() const;

 private:
  friend class C4DThread;
  explicit BaseThread(C4DThread* owner) : owner_(owner) {}
  C4DThread* owner_;
};

/// A thread of a plug-in. `Start`, `End`, `Wait` are called by the thread that owns the object; `Main` and
/// `TestDBreak` run elsewhere. A class that derives from it ends its thread in its own destructor.
class C4D_API C4DThread {
 public:
  C4DThread();
  virtual ~C4DThread();
  C4DThread(const C4DThread&) = delete;
  C4DThread& operator=(const C4DThread&) = delete;

  /// The owner's further reason to break. Called often and from any thread: quick, no locks.
  virtual Bool TestDBreak();
  virtual void Main() = 0;
  virtual const CHAR* GetThreadName() = 0;

  /// Runs `Main` on a new thread (or here, when synchronous). False when it runs already or no thread could
  /// be made.
  Bool Start(THREADMODE mode = THREADMODE_ASYNC, THREADPRIORITY priority = THREADPRIORITY_NORMAL);
  /// Asks the thread to end; with `wait` also joins it. Main thread: serves the thread's calls meanwhile.
  void End(Bool wait = TRUE);
  /// Waits until `Main` has returned. With `checkEvents` serves the thread's calls meanwhile.
  void Wait(Bool checkEvents);
  Bool IsRunning() const;
  Bool TestBreak() const;
  /// What host functions take as the thread that asks.
  BaseThread* Get() const;

 private:
  friend class BaseThread;
  struct Data;
  Data* data_;
};

/// Milliseconds of the host's clock, from an arbitrary start; wraps after 24 days. Any thread.
C4D_API LONG GeGetTimer();
/// Whether the caller runs on the host's main thread.
C4D_API Bool GeIsMainThread();
/// Processors that render workers may use.
C4D_API LONG GeGetCPUCount();
