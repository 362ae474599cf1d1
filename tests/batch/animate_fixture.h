// A folder with a scene whose red square moves, and the program's animate command on it.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <set>

#include <nlohmann/json.hpp>

#include "program_run.h"
#include "tiny_scene.h"

namespace batchtest {

namespace fs = std::filesystem;
using Json = nlohmann::json;
using std::chrono::seconds;

class Animate : public testing::Test {
 protected:
  void SetUp() override {
    fs::create_directory(folder / "out");
    TinyScene moving;
    moving.animated = true;
    scene = writeTinyScene(folder.path(), moving);
  }

  std::string out(const std::string& name) const { return folder / ("out/" + name); }

  Arguments words(const std::string& name, const std::string& frames, const Arguments& more) const {
    Arguments all{"animate", scene, "-o", out(name), "--frames", frames, "--samples", "1"};
    if (std::find(more.begin(), more.end(), "--size") == more.end())
      all.insert(all.end(), {"--size", "64x48"});
    all.insert(all.end(), more.begin(), more.end());
    return all;
  }

  Outcome animate(const std::string& name, const std::string& frames, const Arguments& more = {},
                  int code = 0, Limits limits = {}) const {
    Outcome outcome = run(words(name, frames, more), folder / "home", limits);
    EXPECT_EQ(outcome.code, code) << outcome.err;
    return outcome;
  }

  /// Refused with one sentence that has these words, before anything is written.
  void expectRefusal(const Outcome& outcome, const std::vector<std::string>& parts) const {
    EXPECT_EQ(lineCount(outcome.err), 1) << outcome.err;
    for (const std::string& part : parts)
      EXPECT_NE(outcome.err.find(part), std::string::npos) << "no " << part << " in " << outcome.err;
  }

  /// The names in the folder, in order.
  std::vector<std::string> written() const {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder.path() / "out"))
      names.insert(entry.path().filename().string());
    return {names.begin(), names.end()};
  }

  TempFolder folder;
  std::string scene;
};

using Names = std::vector<std::string>;

inline bool installed(const std::string& program) {
  return std::system((program + " -version > /dev/null 2>&1").c_str()) == 0;
}

/// The video stream as ffprobe sees it, its frames counted by decoding.
inline Json probe(const std::string& movie) {
  const std::string command =
      "ffprobe -v error -count_frames -select_streams v:0 -show_streams -of json '" + movie + "' 2>/dev/null";
  FILE* pipe = popen(command.c_str(), "r");
  if (!pipe) return {};
  std::string text;
  char part[4096];
  for (std::size_t count = fread(part, 1, sizeof part, pipe); count > 0;
       count = fread(part, 1, sizeof part, pipe))
    text.append(part, count);
  if (pclose(pipe) != 0) return {};
  const Json all = Json::parse(text, nullptr, false);
  return all.is_object() && !all["streams"].empty() ? all["streams"][0] : Json();
}

} // namespace batchtest
