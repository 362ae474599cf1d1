#include "main_loop.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <exception>
#include <thread>

#include "c4d_events.h"
#include "console.h"
#include "thread_context.h"

namespace host {

namespace {

std::atomic<std::thread::id> mainThread{std::this_thread::get_id()};

// An exception of a task must not end the loop.
void runSafely(const std::function<void()>& task) {
  try {
    task();
  } catch (const std::exception& error) {
    printLine(String("An action stopped with an error: ") + error.what());
  } catch (...) {
    printLine("An action stopped with an unknown error.");
  }
}

} // namespace

void setMainThread() noexcept {
  mainThread.store(std::this_thread::get_id());
}

bool onMainThread() noexcept {
  return mainThread.load() == std::this_thread::get_id();
}

MainLoop& mainLoop() noexcept {
  static MainLoop& loop = *new MainLoop; // outlives every thread
  return loop;
}

ThreadContext& threadContext() noexcept {
  thread_local ThreadContext context;
  return context;
}

namespace {

std::function<void()>& giveWayHook() {
  static auto& hook = *new std::function<void()>;
  return hook;
}

} // namespace

void setGiveWayHook(std::function<void()> hook) {
  giveWayHook() = std::move(hook);
}

void giveWay() noexcept {
  static bool inside = false; // main thread
  if (!onMainThread() || inside || !giveWayHook()) return;
  inside = true;
  runSafely(giveWayHook());
  inside = false;
}

void MainLoop::wake() {
  changed_.notify_all();
  std::shared_ptr<Task> hook;
  {
    const std::lock_guard lock(mutex_);
    hook = wakeHook_;
  }
  if (hook && *hook) (*hook)();
}

void MainLoop::setWakeHook(Task hook) {
  auto shared = std::make_shared<Task>(std::move(hook));
  const std::lock_guard lock(mutex_);
  wakeHook_ = std::move(shared);
}

void MainLoop::push(Item item) {
  {
    const std::lock_guard lock(mutex_);
    if (stopped_ && item.urgency == Urgency::normal) return;
    const auto waits = [](const Item& other) { return other.sceneChanged; };
    if (item.sceneChanged && std::any_of(items_.begin(), items_.end(), waits)) return;
    item.order = ++order_;
    items_.push_back(std::move(item));
  }
  wake();
}

void MainLoop::postSpecialEvent(LONG id, ULLONG p1, ULLONG p2) {
  BaseContainer message(id);
  message.SetLong(BFM_CORE_ID, id);
  message.SetLLong(BFM_CORE_PAR1, static_cast<LLONG>(p1));
  message.SetLLong(BFM_CORE_PAR2, static_cast<LLONG>(p2));
  push({0, Urgency::normal, false, [this, id, message] { dispatch(id, message); }});
}

void MainLoop::postSceneChanged() {
  push({0, Urgency::normal, true, [this] { dispatch(EVMSG_CHANGE, BaseContainer(EVMSG_CHANGE)); }});
}

void MainLoop::post(Task task, Urgency urgency) {
  push({0, urgency, false, std::move(task)});
}

void MainLoop::add(CoreListener* listener) {
  listeners_.push_back({listener, ++lastListener_});
}

void MainLoop::remove(CoreListener* listener) {
  const auto is = [listener](const Listener& one) { return one.listener == listener; };
  listeners_.erase(std::remove_if(listeners_.begin(), listeners_.end(), is), listeners_.end());
}

// Skips listeners that are removed or added meanwhile.
void MainLoop::dispatch(LONG id, const BaseContainer& message) {
  const std::vector<Listener> present = listeners_;
  for (const Listener& one : present)
    if (std::find(listeners_.begin(), listeners_.end(), one) != listeners_.end())
      runSafely([&] { one.listener->coreMessage(id, message); });
}

TimerId MainLoop::addTimer(Milliseconds period, Task task, Urgency urgency, const void* owner) {
  period = std::max<Milliseconds>(period, 1);
  timers_[++lastTimer_] = {period, clock().now() + period, std::make_shared<Task>(std::move(task)), urgency,
                           owner};
  return lastTimer_;
}

void MainLoop::removeTimer(TimerId id) {
  timers_.erase(id);
}

bool MainLoop::timerMayRun(const Timer& timer) const {
  if (modals_.empty() || timer.urgency == Urgency::painting) return true;
  return timer.owner && timer.owner == modals_.back();
}

int MainLoop::runTimers() {
  const Milliseconds now = clock().now();
  std::vector<std::pair<Milliseconds, TimerId>> due;
  for (const auto& [id, timer] : timers_)
    if (timer.due <= now) due.emplace_back(timer.due, id);
  std::sort(due.begin(), due.end());
  int count = 0;
  for (const auto& [time, id] : due) {
    const auto found = timers_.find(id);
    if (found == timers_.end() || found->second.due > now || !timerMayRun(found->second)) continue;
    Timer& timer = found->second;
    timer.due += timer.period;
    if (timer.due <= now) timer.due = now + timer.period;
    const std::shared_ptr<Task> task = timer.task; // the timer may remove itself
    runSafely(*task);
    ++count;
  }
  return count;
}

// The first item that may run and was there when the round began.
bool MainLoop::takeItem(std::uint64_t last, Item& item) {
  const std::lock_guard lock(mutex_);
  const auto mayRun = [&](const Item& waiting) {
    return modals_.empty() || waiting.urgency == Urgency::painting;
  };
  const auto found = std::find_if(items_.begin(), items_.end(), mayRun);
  if (found == items_.end() || found->order > last) return false;
  item = std::move(*found);
  items_.erase(found);
  return true;
}

bool MainLoop::serveCall(std::unique_lock<std::mutex>& lock) {
  if (calls_.empty()) return false;
  Call* call = calls_.front();
  calls_.pop_front();
  call->state = Call::State::running;
  lock.unlock();
  runSafely(*call->task);
  lock.lock();
  call->state = Call::State::done;
  changed_.notify_all();
  return true;
}

int MainLoop::runDue() {
  int count = 0;
  std::uint64_t last = 0;
  {
    std::unique_lock lock(mutex_);
    last = order_;
    for (std::size_t waiting = calls_.size(); waiting > 0 && modals_.empty() && serveCall(lock); --waiting)
      ++count;
  }
  for (Item item; takeItem(last, item); ++count)
    runSafely(item.task);
  return count + runTimers();
}

bool MainLoop::waits() const {
  if (modals_.empty()) return !calls_.empty() || !items_.empty();
  return std::any_of(items_.begin(), items_.end(),
                     [](const Item& item) { return item.urgency == Urgency::painting; });
}

std::optional<Milliseconds> MainLoop::nextDeadline() const {
  const Milliseconds now = clock().now();
  {
    const std::lock_guard lock(mutex_);
    if (waits()) return now;
  }
  std::optional<Milliseconds> next;
  for (const auto& [id, timer] : timers_)
    if (timerMayRun(timer)) next = std::min(next.value_or(timer.due), timer.due);
  if (next) next = std::max(*next, now);
  return next;
}

bool MainLoop::waitAndRun(std::optional<Milliseconds> deadline) {
  while (runDue() == 0) {
    const Milliseconds now = clock().now();
    if (deadline && now >= *deadline) return false;
    std::optional<Milliseconds> until = nextDeadline();
    if (deadline) until = std::min(until.value_or(*deadline), *deadline);
    std::unique_lock lock(mutex_);
    if (waits()) continue;
    // A test's clock does not run during the wait, so look again soon.
    constexpr Milliseconds slice = 2, long_time = 1000 * 60 * 60;
    const Milliseconds most = clock().runs() ? long_time : slice;
    const Milliseconds sleep = until ? std::clamp<Milliseconds>(*until - now, 0, most) : most;
    changed_.wait_for(lock, std::chrono::milliseconds(sleep));
  }
  return true;
}

void MainLoop::beginModal(const void* owner) {
  const std::lock_guard lock(mutex_);
  modals_.push_back(owner);
}

void MainLoop::endModal() {
  {
    const std::lock_guard lock(mutex_);
    if (!modals_.empty()) modals_.pop_back();
  }
  wake(); // waiting work may go on
}

bool MainLoop::inModal() const {
  return !modals_.empty();
}

bool MainLoop::call(const Task& task, CallKind kind) {
  const bool box = kind == CallKind::box;
  if (onMainThread()) {
    if (box && toldToEnd()) return false;
    runSafely(task);
    return true;
  }
  Call call{&task, kind, threadContext().thread, Call::State::waiting};
  {
    const std::lock_guard lock(mutex_);
    if (stopped_ || (box && toldToEnd())) return false;
    calls_.push_back(&call);
  }
  wake();
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return call.state == Call::State::done || call.state == Call::State::refused; });
  return call.state == Call::State::done;
}

// Removes the calls that `refuse` accepts from the queue. With the lock held.
template <class Refuse>
void MainLoop::refuseCalls(const Refuse& refuse) {
  bool any = false;
  for (auto at = calls_.begin(); at != calls_.end();) {
    if (!refuse(**at)) {
      ++at;
      continue;
    }
    (*at)->state = Call::State::refused;
    at = calls_.erase(at);
    any = true;
  }
  if (any) changed_.notify_all();
}

void MainLoop::refuseBoxes(const C4DThread* thread) {
  const std::lock_guard lock(mutex_);
  refuseCalls([thread](const Call& call) { return call.kind == CallKind::box && call.thread == thread; });
}

void MainLoop::stop() {
  const std::lock_guard lock(mutex_);
  stopped_ = true;
  const auto drop = [](const Item& item) { return item.urgency == Urgency::normal; };
  items_.erase(std::remove_if(items_.begin(), items_.end(), drop), items_.end());
  refuseCalls([](const Call&) { return true; });
}

void MainLoop::reset() {
  const std::lock_guard lock(mutex_);
  stopped_ = false;
  timers_.clear();
  items_.clear();
  modals_.clear();
  refuseCalls([](const Call&) { return true; });
}

void MainLoop::waitUntil(const std::function<bool()>& done, const C4DThread* refused) {
  std::unique_lock lock(mutex_);
  if (!onMainThread()) {
    changed_.wait(lock, done);
    return;
  }
  while (!done()) {
    if (refused)
      refuseCalls(
          [refused](const Call& call) { return call.kind == CallKind::box && call.thread == refused; });
    if (serveCall(lock)) continue;
    changed_.wait(lock);
  }
}

void MainLoop::change(const Task& change) {
  const std::lock_guard lock(mutex_);
  change();
  changed_.notify_all();
}

} // namespace host
