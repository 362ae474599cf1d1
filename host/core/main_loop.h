// The main thread's loop: events, core messages, timers, and calls from other threads. Whoever owns the
// program's real loop drives it: a desktop through `runDue`, `nextDeadline` and the wake hook, a console
// program through `waitAndRun`.
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

/// What goes on while a modal box or a mouse drag is open: painting does, the rest waits.
enum class Urgency { normal, painting };

/// What a call from another thread is: a box is not opened once its thread has been told to end.
enum class CallKind { box, work };

using TimerId = std::uint64_t; // 0 is none

class MainLoop {
 public:
  using Task = std::function<void()>;

  // From any thread.

  /// A core message for every listener, in the order of the calls.
  void postSpecialEvent(LONG id, ULLONG p1, ULLONG p2);
  /// The core message EVMSG_CHANGE; one that waits already stands for this one too.
  void postSceneChanged();
  /// Runs a task on the main thread, in order with the events.
  void post(Task task, Urgency urgency = Urgency::normal);
  /// Runs a task on the main thread and returns when it has run; at once when called there. False when it
  /// did not run: the loop is stopped, or the task is a box and the calling thread has been told to end.
  bool call(const Task& task, CallKind kind);

  // On the main thread.

  void add(CoreListener* listener);
  void remove(CoreListener* listener);

  /// Starts a timer that runs every `period` milliseconds (at least 1), first after one period. A late timer
  /// runs once and counts on from now. While a modal box is open, a timer runs that is for painting or has
  /// the box's owner.
  TimerId addTimer(Milliseconds period, Task task, Urgency urgency = Urgency::normal,
                   const void* owner = nullptr);
  void removeTimer(TimerId id); // unknown ones and 0 are ignored

  /// Runs the calls, tasks and events that wait now, then the timers that are due; what these post waits for
  /// the next time. Gives how many ran. An exception of one is a line on the console.
  int runDue();
  /// When `runDue` has something to do next, by `clock()`: now when something waits; nothing when neither a
  /// task nor a timer does.
  std::optional<Milliseconds> nextDeadline() const;
  /// Waits for something to do until `deadline` (nothing: without end), and runs it. False when the deadline
  /// came first.
  bool waitAndRun(std::optional<Milliseconds> deadline);
  /// Called, from any thread, whenever something new waits. Quick, must not call the loop.
  void setWakeHook(Task hook);

  /// Says that a modal box or a mouse drag is open from now on; they nest. The owner's timers go on.
  void beginModal(const void* owner);
  void endModal();
  bool inModal() const;

  /// From now on events are dropped and calls refused, the waiting ones too. What is for painting stays.
  void stop();
  /// Empties it, timers too, and lets it run again. Listeners stay: they belong to their owners.
  void reset();

  // For threads (c4d_threading.h).

  /// Refuses the boxes that `thread` waits for.
  void refuseBoxes(const C4DThread* thread);
  /// Waits until `done` says so; on the main thread it serves calls meanwhile, refusing those of `refused`.
  /// `done` is called with the loop's lock held.
  void waitUntil(const std::function<bool()>& done, const C4DThread* refused);
  /// Changes something that a `waitUntil` looks at, with the loop's lock held, and wakes it.
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
    std::uint64_t number; // tells it from one that comes to the same address later
    friend bool operator==(const Listener&, const Listener&) = default;
  };

  void push(Item item);
  void wake();
  bool takeItem(std::uint64_t last, Item& item);
  bool waits() const; // something that may run now; with the lock held
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

/// The program's only one. Any thread.
MainLoop& mainLoop() noexcept;

/// A modal box or a mouse drag, for a scope. Main thread.
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
