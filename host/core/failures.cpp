#include "failures.h"

#include <atomic>
#include <mutex>
#include <utility>

#include "console.h"

namespace host {

namespace {

struct Record {
  std::mutex mutex;
  std::vector<Failure> kept;
  std::size_t count = 0;
  std::atomic<bool> print{false};
};

Record& record() {
  static Record& one = *new Record; // outlives every thread
  return one;
}

} // namespace

void recordFailure(const Filename& file, std::string sentence, LONG frame) {
  const bool print = record().print.load();
  const String line = print ? String(sentence) : String();
  {
    const std::lock_guard lock(record().mutex);
    ++record().count;
    if (record().kept.size() < 1000) record().kept.push_back({file, std::move(sentence), frame});
  }
  if (print) printLine(line);
}

std::vector<Failure> failures() {
  const std::lock_guard lock(record().mutex);
  return record().kept;
}

std::size_t failureCount() {
  const std::lock_guard lock(record().mutex);
  return record().count;
}

std::vector<Failure> takeFailures() {
  const std::lock_guard lock(record().mutex);
  record().count = 0;
  return std::exchange(record().kept, {});
}

void printFailures(bool print) {
  record().print.store(print);
}

} // namespace host
