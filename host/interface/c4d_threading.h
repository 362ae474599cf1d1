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

/// The host's side of a thread, which host functions ask whether to break. Any thread.
class C4D_API BaseThread {
 public:
  /// True once the thread has been told to end, or its owner's `TestDBreak` says so.
  Bool TestBreak() const;

 private:
  friend class C4DThread;
  explicit BaseThread(C4DThread* owner) : owner_(owner) {}
  C4DThread* owner_;
};

/// A thread of a plug-in. The thread that owns the object calls `Start`, `End` and `Wait`; `Main` runs on the
/// new thread. A derived class ends its thread in its own destructor.
class C4D_API C4DThread {
 public:
  C4DThread();
  virtual ~C4DThread();
  C4DThread(const C4DThread&) = delete;
  C4DThread& operator=(const C4DThread&) = delete;

  /// A further reason to break. Called often, on any thread: it must be quick and take no lock.
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
  // Any thread.
  Bool IsRunning() const;
  Bool TestBreak() const;
  /// This thread for host functions that can be broken off.
  BaseThread* Get() const;

 private:
  friend class BaseThread;
  struct Data;
  Data* data_;
};

/// Milliseconds of the host's clock, from an arbitrary start; wraps from 2147483647 to -2147483648 (2^32 ms
/// are 49.7 days). Any thread.
C4D_API LONG GeGetTimer();
/// Whether the caller runs on the host's main thread.
C4D_API Bool GeIsMainThread();
/// The number of processors that render workers may use. Any thread.
C4D_API LONG GeGetCPUCount();
