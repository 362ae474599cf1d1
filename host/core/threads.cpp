// C4DThread and BaseThread; the main thread.
#include <atomic>
#include <system_error>
#include <thread>

#include "c4d_threading.h"
#include "console.h"
#include "main_loop.h"
#include "platform.h"
#include "plugin_renders.h"
#include "thread_context.h"
#include "worker_threads.h"

struct C4DThread::Data {
  BaseThread handle;
  const host::PluginUnit* plugin = host::threadContext().plugin;
  std::thread thread;
  std::atomic<bool> end{false};
  std::atomic<bool> running{false}; // changed with the main loop's lock held
  std::atomic<std::thread::id> id{};

  explicit Data(const BaseThread& base) : handle(base) {}

  bool isSelf() const { return running && id.load() == std::this_thread::get_id(); }
  void join() {
    if (thread.joinable()) thread.join();
  }
};

namespace {

int priorityLevel(THREADPRIORITY priority) {
  switch (priority) {
  case THREADPRIORITY_ABOVE:
    return 1;
  case THREADPRIORITY_BELOW:
    return -1;
  case THREADPRIORITY_LOWEST:
    return -2;
  default:
    return 0;
  }
}

void runMain(C4DThread& thread) {
  try {
    thread.Main();
  } catch (const std::exception& error) {
    host::printLine(String("The thread \"") + thread.GetThreadName() +
                    "\" stopped with an error: " + error.what());
  } catch (...) {
    host::printLine(String("The thread \"") + thread.GetThreadName() + "\" stopped with an unknown error.");
  }
}

} // namespace

C4DThread::C4DThread() : data_(new Data(BaseThread(this))) {
}

C4DThread::~C4DThread() {
  End(TRUE);
  delete data_;
}

Bool C4DThread::TestDBreak() {
  return FALSE;
}

Bool C4DThread::Start(THREADMODE mode, THREADPRIORITY priority) {
  if (data_->running) return FALSE;
  data_->join();
  data_->end = false;
  data_->running = true;
  const auto body = [this] {
    data_->id = std::this_thread::get_id();
    {
      const host::ContextScope context({this, data_->plugin, &data_->end});
      runMain(*this);
    }
    host::mainLoop().change([this] { data_->running = false; });
  };
  if (mode == THREADMODE_SYNCHRONOUS) return body(), TRUE;
  try {
    data_->thread = std::thread([this, body, priority] {
      host::platform::setThreadPriority(priorityLevel(priority));
      host::platform::setThreadName(reinterpret_cast<const char*>(GetThreadName()));
      body();
    });
  } catch (const std::system_error&) {
    data_->running = false;
    return FALSE;
  }
  return TRUE;
}

void C4DThread::End(Bool wait) {
  data_->end = true;
  host::mainLoop().refuseBoxes(this);
  if (!wait || data_->isSelf()) return;
  host::mainLoop().waitUntil([this] { return !data_->running; }, this);
  data_->join();
}

void C4DThread::Wait(Bool checkEvents) {
  if (data_->isSelf()) return;
  host::mainLoop().waitUntil([this] { return !data_->running; }, checkEvents ? nullptr : this);
  data_->join();
}

Bool C4DThread::IsRunning() const {
  return data_->running ? TRUE : FALSE;
}

Bool C4DThread::TestBreak() const {
  return data_->end || const_cast<C4DThread*>(this)->TestDBreak() ? TRUE : FALSE;
}

BaseThread* C4DThread::Get() const {
  return &data_->handle;
}

Bool BaseThread::TestBreak() const {
  return owner_->TestBreak();
}

Bool GeIsMainThread() {
  return host::onMainThread() ? TRUE : FALSE;
}

LONG GeGetCPUCount() {
  return host::workerCount();
}

namespace host {

namespace {
std::atomic<unsigned long long> rendersBegun{0};
}

void countPluginRender() noexcept {
  rendersBegun.fetch_add(1, std::memory_order_relaxed);
}

unsigned long long pluginRenders() noexcept {
  return rendersBegun.load(std::memory_order_relaxed);
}

} // namespace host
