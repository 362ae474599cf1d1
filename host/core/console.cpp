#include "console.h"

#include <deque>
#include <map>
#include <mutex>
#include <utility>
#include <vector>

#include "main_loop.h"

namespace host {

namespace {

struct Console {
  std::mutex mutex;
  std::deque<String> waiting;
  bool posted = false;
  // Main thread:
  std::map<std::uint64_t, ConsoleListener> listeners;
  std::uint64_t lastListener = 0;
  std::FILE* echo = stderr;
  bool delivering = false;

  bool take(String& line) {
    const std::lock_guard lock(mutex);
    posted = false;
    if (waiting.empty()) return false;
    line = std::move(waiting.front());
    waiting.pop_front();
    return true;
  }

  void show(const String& line) {
    if (echo) {
      std::fputs((line.GetUTF8() + "\n").c_str(), echo);
      std::fflush(echo);
    }
    const auto present = listeners; // a listener may remove itself
    for (const auto& [id, listener] : present)
      if (listeners.count(id)) listener(line);
  }
};

Console& console() {
  static Console& one = *new Console; // outlives every thread
  return one;
}

} // namespace

void printLine(const String& line) {
  bool post = false;
  {
    const std::lock_guard lock(console().mutex);
    console().waiting.push_back(line);
    if (!onMainThread()) post = !std::exchange(console().posted, true);
  }
  if (onMainThread())
    deliverConsole();
  else if (post)
    mainLoop().post(deliverConsole, Urgency::painting);
}

void deliverConsole() {
  Console& here = console();
  if (here.delivering) return; // a listener prints: its line comes after this one
  here.delivering = true;
  for (String line; here.take(line);) {
    try {
      here.show(line);
    } catch (...) { // a listener's failure must not come back as a line for the listener
    }
  }
  here.delivering = false;
}

std::uint64_t addConsoleListener(ConsoleListener listener) {
  console().listeners[++console().lastListener] = std::move(listener);
  return console().lastListener;
}

void removeConsoleListener(std::uint64_t id) {
  console().listeners.erase(id);
}

void setConsoleEcho(std::FILE* stream) {
  console().echo = stream;
}

} // namespace host
