// The main thread's loop: events, core messages, timers, and calls from other threads. A desktop drives it
// from its own loop through `runDue`, `nextDeadline` and the wake hook, a console program through
// `waitAndRun`.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "c4d_container.h"
#include "clock.h"

class C4DThread;

namespace host {

/// Gets core messages, on the main thread, from `MainLoop::add` to `MainLoop::remove`.
class CoreListener {
 public:
  virtual void coreMessage(LONG id, const BaseContainer& message) = 0;

 protected:
  ~CoreListener() = default;
};

/// While a modal box or a mouse drag is open, painting goes on and normal work waits.
enum class Urgency { normal, painting };

/// The kind of a call from another thread: a box is not opened once its thread has been told to end.
enum class CallKind { box, work };

using TimerId = std::uint64_t; // 0: no timer

class MainLoop {
 public:
  using Task = std::function<void()>;

  // From any thread.

  /// A core message for every listener, in the order of the calls.
  void postSpecialEvent(LONG id, ULLONG p1, ULLONG p2);
  /// The core message EVMSG_CHANGE. Calls while one waits add no other.
  void postSceneChanged();
  /// Runs a task on the main thread, in order with the events.
  void post(Task task, Urgency urgency = Urgency::normal);
  /// Runs a task on the main thread and returns when it has run; on the main thread itself, at once. False
  /// when it did not run: the loop is stopped, or the task is a box and the calling thread has been told to
  /// end.
  bool call(const Task& task, CallKind kind);

  // On the main thread.

  void add(CoreListener* listener);
  void remove(CoreListener* listener);

  /// Starts a timer that runs every `period` milliseconds (at least 1), first after one period. A late timer
  /// runs once and counts from then on. While a modal box is open, only timers for painting and timers of the
  /// box's owner run.
  TimerId addTimer(Milliseconds period, Task task, Urgency urgency = Urgency::normal,
                   const void* owner = nullptr);
  void removeTimer(TimerId id); // 0 and unknown IDs are ignored

  /// Runs the calls, tasks and events that wait now, then the timers that are due; tasks that these post wait
  /// for the next call. Returns the number that ran. Their exceptions become lines on the console.
  int runDue();
  /// The time by `clock()` when `runDue` is next needed: now when a task waits; nothing without tasks and
  /// timers.
  std::optional<Milliseconds> nextDeadline() const;
  /// Waits for work until `deadline` (nothing: without end) and runs it. False when the deadline came first.
  bool waitAndRun(std::optional<Milliseconds> deadline);
  /// Called on any thread whenever something new waits. Must be quick and must not call the loop.
  void setWakeHook(Task hook);

  /// A modal box or a mouse drag opens; they nest. The owner's timers go on.
  void beginModal(const void* owner);
  void endModal();
  bool inModal() const;

  /// From now on drops events and refuses calls, also those that wait. Work for painting stays.
  void stop();
  /// Drops all work and timers and lets the loop run again. Listeners stay: they belong to their owners.
  void reset();

  // For threads (c4d_threading.h).

  /// Refuses the boxes that `thread` waits for.
  void refuseBoxes(const C4DThread* thread);
  /// Waits until `done` is true; on the main thread serves calls meanwhile and refuses those of `refused`.
  /// `done` is called with the loop's lock held.
  void waitUntil(const std::function<bool()>& done, const C4DThread* refused);
  /// Runs `change` with the loop's lock held and wakes every `waitUntil` that may wait for its effect.
  void change(const Task& change);

 private:
  struct Item {
    std::uint64_t order = 0;
    Urgency urgency = Urgency::normal;
    bool sceneChanged = false;
    Task task;
  };
  struct Call {
    const Task* task;
    CallKind kind;
    const C4DThread* thread;
    enum class State { waiting, running, done, refused } state;
  };
  struct Timer {
    Milliseconds period, due;
    std::shared_ptr<Task> task;
    Urgency urgency;
    const void* owner;
  };

  struct Listener {
    CoreListener* listener;
    std::uint64_t number; // tells it from a later one at the same address
    friend bool operator==(const Listener&, const Listener&) = default;
  };

  void push(Item item);
  void wake();
  bool takeItem(std::uint64_t last, Item& item);
  bool waits() const; // for work that may run now; with the lock held
  template <class Refuse>
  void refuseCalls(const Refuse& refuse);
  bool serveCall(std::unique_lock<std::mutex>& lock);
  int runTimers();
  bool timerMayRun(const Timer& timer) const;
  void dispatch(LONG id, const BaseContainer& message);

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<Item> items_;
  std::deque<Call*> calls_;
  std::uint64_t order_ = 0;
  bool stopped_ = false;
  std::shared_ptr<Task> wakeHook_;
  std::vector<Listener> listeners_; // main thread
  std::uint64_t lastListener_ = 0;  // main thread
  std::map<TimerId, Timer> timers_; // main thread
  TimerId lastTimer_ = 0;
  std::vector<const void*> modals_; // owners; changed by the main thread, under the lock
};

/// The program's only loop. Any thread.
MainLoop& mainLoop() noexcept;

/// Marks a modal box or a mouse drag for a scope. Main thread.
class ModalScope {
 public:
  explicit ModalScope(const void* owner = nullptr) { mainLoop().beginModal(owner); }
  ~ModalScope() { mainLoop().endModal(); }
  ModalScope(const ModalScope&) = delete;
  ModalScope& operator=(const ModalScope&) = delete;
};

/// Makes the calling thread the main one. Without a call it is the thread that loaded the host.
void setMainThread() noexcept;
bool onMainThread() noexcept;

} // namespace host
