#include "interrupt.h"

#include <atomic>
#include <csignal>
#include <cstdlib>

#include "exit_code.h"

namespace batch {
namespace {

std::atomic<int> requests{0};
static_assert(std::atomic<int>::is_always_lock_free, "a signal handler may use it");

} // namespace
} // namespace batch

extern "C" {
static void lumenaraInterrupt(int signal) {
  if (batch::requests.fetch_add(1) > 0) std::_Exit(static_cast<int>(batch::ExitCode::cancelled));
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

} // namespace batch
