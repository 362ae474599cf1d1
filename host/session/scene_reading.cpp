#include "scene_reading.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <system_error>
#include <thread>
#include <utility>

#include "file_path.h"
#include "node_state.h"

namespace host {

namespace {

constexpr int mostReads = 10; // of a file that is written all the time
constexpr auto settleTime = std::chrono::milliseconds(500);
constexpr auto settleStep = std::chrono::milliseconds(20);

using FileTime = std::filesystem::file_time_type;

// Whether a file was written after this moment. The clock of file times is some milliseconds behind.
bool writtenSince(const Filename& file, FileTime moment) {
  std::error_code error;
  const FileTime time = std::filesystem::last_write_time(toPath(file), error);
  return !error && time > moment - std::chrono::milliseconds(20);
}

// Waits until the files stop changing. False when asked to stop.
bool waitUntilStill(const std::vector<Filename>& files, BaseThread& thread) {
  auto since = std::chrono::steady_clock::now();
  for (std::vector<FileStamp> last = stampsOf(files);
       std::chrono::steady_clock::now() - since < settleTime;) {
    if (thread.TestBreak()) return false;
    std::this_thread::sleep_for(settleStep);
    if (std::vector<FileStamp> now = stampsOf(files); now != last) {
      last = std::move(now);
      since = std::chrono::steady_clock::now();
    }
  }
  return true;
}

// True when the result is final.
bool readOnce(const Filename& file, std::atomic<double>& progress, BaseThread& thread,
              SceneReading& reading) {
  const FileTime begin = FileTime::clock::now();
  const FileStamp before = stampOf(file);
  LoadOptions options;
  options.progress = [&](double part) {
    progress = part;
    return !thread.TestBreak();
  };
  LoadResult& result = reading.result;
  result = loadDocument(file, options);
  reading.stamps = stampsOf(result.files);
  const bool moved = reading.stamps.empty() || !(reading.stamps.front() == before) ||
                     std::any_of(result.files.begin() + 1, result.files.end(),
                                 [&](const Filename& part) { return writtenSince(part, begin); });
  if (moved) return false;
  const bool fresh = std::any_of(result.files.begin(), result.files.end(), [&](const Filename& part) {
    return writtenSince(part, begin - settleTime);
  });
  return result.document != nullptr || !fresh || !before.exists;
}

} // namespace

SceneReading readScene(const Filename& file, const SceneContent& known, std::atomic<double>& progress,
                       BaseThread& thread) {
  SceneReading reading;
  for (int i = 0; i < mostReads; ++i)
    if (readOnce(file, progress, thread, reading) || reading.result.cancelled ||
        !waitUntilStill(reading.result.files, thread))
      break;
  if (reading.result.document) shareContent(*stateOf(reading.result.document.get()), known);
  return reading;
}

FileError loadError(const Filename& file, const LoadResult& result, bool reload) {
  FileError error;
  error.sentence = reload ? "The scene was changed by another program and could not be loaded again."
                          : "The scene could not be opened.";
  error.reason = "\"" + file.GetString().GetUTF8() + "\": " + result.reason + ".";
  error.advice = result.advice;
  error.details = result.error;
  if (reload) error.advice += " The scene stays as it was.";
  return error;
}

Filename absolute(const Filename& file) {
  std::error_code error;
  const std::filesystem::path path = std::filesystem::absolute(toPath(file), error);
  return error ? file : toFilename(path.lexically_normal());
}

} // namespace host
