#include "qt_main_loop.h"

#include <atomic>
#include <mutex>

#include "main_loop.h"

namespace host {

namespace {

const QEvent::Type roundEvent = static_cast<QEvent::Type>(QEvent::registerEventType());

} // namespace

// State that other threads touch. It outlives the loop's driver while a thread is about to wake it.
struct QtMainLoop::Waker {
  std::mutex mutex;
  QtMainLoop* target = nullptr;
  std::atomic<bool> armed{true}; // the next task must wake the loop

  void wake() {
    if (!armed.exchange(false)) return;
    const std::lock_guard lock(mutex);
    if (target) QCoreApplication::postEvent(target, new QEvent(roundEvent));
  }
};

QtMainLoop::QtMainLoop(QObject* parent) : QObject(parent), waker_(std::make_shared<Waker>()) {
  waker_->target = this;
  timer_.setSingleShot(true);
  timer_.setTimerType(Qt::PreciseTimer);
  connect(&timer_, &QTimer::timeout, this, &QtMainLoop::run);
  // Timers start without a notification, also within nested loops: check before every wait.
  QAbstractEventDispatcher* dispatcher = QAbstractEventDispatcher::instance();
  connect(dispatcher, &QAbstractEventDispatcher::aboutToBlock, this, &QtMainLoop::arm);
  connect(dispatcher, &QAbstractEventDispatcher::awake, this, &QtMainLoop::arm);
  mainLoop().setWakeHook([waker = waker_] { waker->wake(); });
  arm();
}

QtMainLoop::~QtMainLoop() {
  mainLoop().setWakeHook({});
  const std::lock_guard lock(waker_->mutex);
  waker_->target = nullptr;
}

void QtMainLoop::run() {
  scheduled_.reset();
  waker_->armed = false; // tasks from here on are seen when the round ends
  mainLoop().runDue();
  arm();
}

void QtMainLoop::customEvent(QEvent* event) {
  if (event->type() == roundEvent) run();
}

// Arms before it checks: a task that arrives in between wakes the loop once too often rather than never. A
// task that is due already gets a timer of zero and no event, so that input has its turn.
void QtMainLoop::arm() {
  waker_->armed = true;
  const std::optional<Milliseconds> next = mainLoop().nextDeadline();
  if (!next) {
    timer_.stop();
    scheduled_.reset();
    return;
  }
  if (scheduled_ == next && timer_.isActive()) return;
  constexpr Milliseconds longest = 24 * 60 * 60 * 1000;
  const Milliseconds wait = std::clamp<Milliseconds>(*next - clock().now(), 0, longest);
  if (wait == 0 && timer_.isActive() && timer_.interval() == 0) return;
  scheduled_ = next;
  timer_.start(static_cast<int>(wait));
}

} // namespace host
