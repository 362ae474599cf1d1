#include "interrupt.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include "exit_code.h"

namespace batch {
namespace {

std::atomic<int> requests{0};
// Read by the signal handler, only while the flag is set.
std::array<char, 4096> unfinished{};
std::atomic<bool> unfinishedSet{false};

static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler may use it");
static_assert(std::atomic<int>::is_always_lock_free, "a signal handler may use it");

} // namespace
} // namespace batch

extern "C" {
static void lumenaraInterrupt(int signal) {
  if (batch::requests.fetch_add(1) > 0) {
    if (batch::unfinishedSet.load())
      std::remove(batch::unfinished.data()); // a bare system call, safe in a handler
    std::_Exit(static_cast<int>(batch::ExitCode::cancelled));
  }
  std::signal(signal, lumenaraInterrupt);
}
}

namespace batch {

void catchInterrupts() noexcept {
  std::signal(SIGINT, lumenaraInterrupt);
  std::signal(SIGTERM, lumenaraInterrupt);
}

bool interrupted() noexcept {
  return requests.load() > 0;
}

void setUnfinishedFile(const std::string& path) noexcept {
  unfinishedSet = false;
  if (path.empty() || path.size() >= unfinished.size()) return;
  *std::copy(path.begin(), path.end(), unfinished.begin()) = 0;
  unfinishedSet = true;
}

} // namespace batch
