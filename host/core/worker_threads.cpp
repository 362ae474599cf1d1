#include "worker_threads.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "platform.h"
#include "thread_context.h"

namespace host {

namespace {

// One call of `runOnWorkers`.
struct Job {
  const std::function<void(int)>& work;
  ThreadContext context;
  int left;
  std::exception_ptr error;
  std::condition_variable finished;
};

class Pool {
 public:
  ~Pool() {
    {
      const std::lock_guard lock(mutex_);
      ending_ = true;
    }
    work_.notify_all();
    for (std::thread& thread : threads_)
      thread.join();
  }

  void run(int count, const std::function<void(int)>& work) {
    Job job{work, threadContext(), count, {}, {}};
    std::unique_lock lock(mutex_);
    for (; free_ < count; ++free_)
      threads_.emplace_back([this] { serve(); });
    free_ -= count;
    for (int i = 0; i < count; ++i)
      queue_.push_back({&job, i});
    work_.notify_all();
    job.finished.wait(lock, [&job] { return job.left == 0; });
    if (job.error) std::rethrow_exception(std::exchange(job.error, nullptr));
  }

 private:
  struct Part {
    Job* job;
    int index;
  };

  void serve() {
    platform::setThreadPriority(-1);
    platform::setThreadName("render worker");
    std::unique_lock lock(mutex_);
    for (;;) {
      work_.wait(lock, [this] { return ending_ || !queue_.empty(); });
      if (queue_.empty()) return;
      const Part part = queue_.front();
      queue_.pop_front();
      lock.unlock();
      std::exception_ptr error = perform(part);
      lock.lock();
      if (error && !part.job->error) part.job->error = std::move(error);
      error = nullptr;
      ++free_;
      if (--part.job->left == 0) part.job->finished.notify_all();
    }
  }

  static std::exception_ptr perform(const Part& part) {
    const ContextScope context(part.job->context);
    try {
      part.job->work(part.index);
    } catch (...) {
      return std::current_exception();
    }
    return nullptr;
  }

  std::mutex mutex_;
  std::condition_variable work_;
  std::deque<Part> queue_;
  std::vector<std::thread> threads_;
  int free_ = 0; // threads without work, waiting or about to wait
  bool ending_ = false;
};

std::atomic<int> chosenCount{0};

} // namespace

void runOnWorkers(int count, const std::function<void(int)>& work) {
  static Pool pool;
  if (count > 0) pool.run(count, work);
}

int workerCount() noexcept {
  const int chosen = chosenCount.load(std::memory_order_relaxed);
  return chosen > 0 ? chosen : std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
}

void setWorkerCount(int count) noexcept {
  chosenCount.store(std::max(count, 0), std::memory_order_relaxed);
}

} // namespace host
