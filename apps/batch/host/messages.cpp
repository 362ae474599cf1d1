#include "messages.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "console.h"
#include "platform.h"
#include "read_line.h"

namespace batch {

std::string durationText(std::int64_t seconds) {
  const auto twoDigits = [](std::int64_t value) { return (value < 10 ? "0" : "") + std::to_string(value); };
  const std::int64_t hours = seconds / 3600, minutes = seconds / 60 % 60;
  const std::string tail = ":" + twoDigits(seconds % 60);
  return hours > 0 ? std::to_string(hours) + ":" + twoDigits(minutes) + tail : std::to_string(minutes) + tail;
}

std::string progressText(const std::string& what, double part, host::Milliseconds elapsed) {
  part = std::isfinite(part) ? std::clamp(part, 0.0, 1.0) : 0.0;
  const std::string percent = std::to_string(static_cast<int>(part * 100));
  std::string text = what + std::string(4 - std::min<std::size_t>(percent.size(), 3), ' ') + percent +
                     " %  " + durationText(elapsed / 1000);
  if (part >= 0.01 && part < 1 && elapsed >= 1000) {
    const double left = static_cast<double>(elapsed) * (1 - part) / part;
    text += ", about " + durationText(std::llround(left / 1000)) + " left";
  }
  return text;
}

std::string listOf(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) {
    text += (text.empty() ? "" : ", ") + name;
  }
  return text;
}

Messages::Messages(bool quiet) : quiet_(quiet), terminal_(host::platform::isTerminal(stderr)) {
  host::setConsoleEcho(nullptr); // the listener prints instead, without breaking the progress line
  listener_ = host::addConsoleListener([this](const String& line) { note(line.GetUTF8()); });
}

Messages::~Messages() {
  end();
  host::removeConsoleListener(listener_);
}

void Messages::problem(const std::string& sentence) {
  printLine("lumenara: " + sentence);
}

void Messages::note(const std::string& sentence) {
  if (!quiet_) printLine(sentence);
}

bool Messages::confirm(const std::string& question) {
  if (!terminal_ || !host::platform::isTerminal(stdin)) return false;
  clearProgress();
  std::fprintf(stderr, "%s [y/N] ", question.c_str());
  std::fflush(stderr);
  const std::string answer = readLine();
  return answer == "y" || answer == "Y" || answer == "yes";
}

void Messages::printLine(const std::string& text) {
  clearProgress();
  std::fprintf(stderr, "%s\n", text.c_str());
  std::fflush(stderr);
}

void Messages::begin(const std::string& what) {
  end();
  what_ = what;
  started_ = host::clock().now();
  progress(0);
}

void Messages::progress(double part, const std::string& detail) {
  if (quiet_ || !terminal_ || what_.empty()) return;
  std::string text = progressText(what_, part, host::clock().now() - started_);
  if (!detail.empty()) text += ", " + detail;
  if (text == shown_) return;
  // Blanks cover the rest of a longer text.
  const std::size_t cover = shown_.size() > text.size() ? shown_.size() - text.size() : 0;
  std::fprintf(stderr, "\r%s%*s", text.c_str(), static_cast<int>(cover), "");
  std::fflush(stderr);
  shown_ = std::move(text);
}

void Messages::end() {
  clearProgress();
  what_.clear();
}

void Messages::clearProgress() {
  if (shown_.empty()) return;
  std::fprintf(stderr, "\r%*s\r", static_cast<int>(shown_.size()), "");
  std::fflush(stderr);
  shown_.clear();
}

void BatchInterface::message(const String& text) {
  messages_.problem(text.GetUTF8());
}

bool BatchInterface::question(const String& text) {
  messages_.problem(text.GetUTF8() + " Answered with no, because nobody can be asked here.");
  return false;
}

} // namespace batch
