// Animations that the program renders, and how they end early.
#include <gtest/gtest.h>

#include <signal.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <set>
#include <thread>

#include <nlohmann/json.hpp>

#include "program_run.h"
#include "tiny_scene.h"

namespace batchtest {
namespace {

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

bool installed(const std::string& program) {
  return std::system((program + " -version > /dev/null 2>&1").c_str()) == 0;
}

/// The video stream as ffprobe sees it, its frames counted by decoding.
Json probe(const std::string& movie) {
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

// ---- What is written

// The red square of the scene moves to the right by a quarter of the picture in 15 frames.
TEST_F(Animate, WritesTheFramesOfTheRange) {
  animate("shot.tif", "0:30:15", {"--size", "80x80"});
  EXPECT_EQ(written(), (Names{"shot0000.tif", "shot0015.tif", "shot0030.tif"}));
  const Picture first = readPicture(out("shot0000.tif")), last = readPicture(out("shot0030.tif"));
  ASSERT_EQ(first.width, 80);
  EXPECT_TRUE(isRed(first, 20, 20));
  EXPECT_FALSE(isRed(first, 60, 20));
  EXPECT_TRUE(isRed(last, 60, 20));
  EXPECT_FALSE(isRed(last, 20, 20));
  EXPECT_TRUE(isBlue(first, 60, 60) && isBlue(last, 60, 60)) << "what does not move stays";
  const Picture middle = readPicture(out("shot0015.tif"));
  EXPECT_TRUE(isRed(middle, 40, 20));
}

TEST_F(Animate, TheLastFrameNeedNotBeOneOfTheSteps) {
  animate("shot.bmp", "5:9:3");
  EXPECT_EQ(written(), (Names{"shot0005.bmp", "shot0008.bmp"}));
}

TEST_F(Animate, EverySuffixHasItsFormat) {
  const std::pair<const char*, const char*> formats[] = {
      {"bmp", "BM"}, {"tif", "II*"}, {"jpg", "\xff\xd8\xff"}, {"psd", "8BPS"}, {"b3d", "PK"}};
  for (const auto& [suffix, mark] : formats) {
    animate(std::string("f.") + suffix, "3:3", {"--quiet"});
    const std::string bytes = readFile(out(std::string("f0003.") + suffix));
    EXPECT_EQ(bytes.substr(0, std::string(mark).size()), mark) << suffix;
  }
  animate("m.mov", "0:1");
  EXPECT_EQ(readFile(out("m.mov")).substr(4, 4), "ftyp");
  animate("m.avi", "0:1");
  EXPECT_EQ(readFile(out("m.avi")).substr(8, 4), "AVI ");
}

TEST_F(Animate, TheFormatOverridesTheSuffix) {
  animate("shot.mov", "0:0", {"--format", "6"});
  EXPECT_EQ(written(), Names{"shot0000.bmp"});
  animate("film", "0:0", {"--format", "4"});
  animate("old", "0:0", {"--format", "0"});
  EXPECT_EQ(written(), (Names{"film.mov", "old.avi", "shot0000.bmp"}));
}

TEST_F(Animate, MoviesHaveTheirFramesRateAndSize) {
  if (!installed("ffprobe")) GTEST_SKIP() << "ffprobe is not installed";
  for (const char* name : {"film.mov", "film.avi"}) {
    animate(name, "0:20:2", {"--size", "66x50"});
    const Json stream = probe(out(name));
    ASSERT_TRUE(stream.is_object()) << name;
    EXPECT_EQ(stream.value("nb_read_frames", ""), "11") << name;
    EXPECT_EQ(stream.value("r_frame_rate", ""), "30/1") << name;
    EXPECT_EQ(stream.value("width", 0), 66) << name;
    EXPECT_EQ(stream.value("height", 0), 50) << name;
  }
}

TEST_F(Animate, TheQualityCounts) {
  for (const char* name : {"shot.jpg", "film.mov"}) {
    std::size_t sizes[2];
    for (const bool high : {false, true}) {
      animate(name, "0:0", {"--size", "320x240", "--quality", high ? "100" : "5", "--overwrite"});
      sizes[high] = readFile(out(name[0] == 's' ? "shot0000.jpg" : name)).size();
    }
    EXPECT_GT(sizes[1], sizes[0]) << name;
  }
}

TEST_F(Animate, StampsAreDrawnWhenAsked) {
  const Arguments size{"--size", "200x150", "--quiet"};
  animate("plain.bmp", "0:1", size);
  Arguments stamped = size;
  stamped.insert(stamped.end(), {"--stamps", "--set", "LM_STAMP_TIMECODE=1"});
  animate("stamped.bmp", "0:1", stamped);
  Arguments assigned = size;
  assigned.insert(assigned.end(), {"--set", "LM_STAMP_DOCUMENT=1"});
  animate("assigned.bmp", "0:1", assigned);
  EXPECT_NE(readFile(out("plain0001.bmp")), readFile(out("stamped0001.bmp")));
  EXPECT_NE(readFile(out("plain0001.bmp")), readFile(out("assigned0001.bmp")));
  EXPECT_NE(readFile(out("stamped0001.bmp")), readFile(out("assigned0001.bmp")));
}

TEST_F(Animate, TheCameraIsTheChosenOne) {
  animate("back.bmp", "0:0", {"--camera", "Back"});
  animate("front.bmp", "0:0", {"--camera", "Front"});
  EXPECT_NE(readFile(out("back0000.bmp")), readFile(out("front0000.bmp")));
}

// A name alone means the current folder, not a folder of the program's.
TEST_F(Animate, ANameAloneLiesInTheCurrentFolder) {
  const fs::path before = fs::current_path();
  fs::current_path(folder.path() / "out");
  const Outcome outcome =
      run({"animate", scene, "-o", "shot.bmp", "--frames", "0:0", "--size", "16x16", "--samples", "1"},
          folder / "home");
  fs::current_path(before);
  EXPECT_EQ(outcome.code, 0) << outcome.err;
  EXPECT_EQ(written(), Names{"shot0000.bmp"});
}

TEST_F(Animate, QuietPrintsNothing) {
  EXPECT_EQ(animate("shot.tif", "0:1", {"--quiet"}).err, "");
  EXPECT_EQ(linesWith(animate("shot.tif", "0:1").err, "2 frames of "), 1);
}

TEST_F(Animate, WhatIsMissingIsTold) {
  TinyScene bare;
  bare.missingPicture = true;
  scene = writeTinyScene(folder.path(), bare);
  const Outcome outcome = animate("shot.tif", "0:1", {"--quiet"}, 5);
  EXPECT_NE(outcome.err.find("nowhere.png"), std::string::npos) << outcome.err;
  EXPECT_EQ(written(), (Names{"shot0000.tif", "shot0001.tif"}));
}

// ---- Wrong use

TEST_F(Animate, RangesThatAreNoneAreRefused) {
  const std::pair<const char*, const char*> ranges[] = {{"5:2", "backwards"},
                                                        {"0:5:0", "step"},
                                                        {"0:5:-1", "step"},
                                                        {"7", "range"},
                                                        {"", "range"},
                                                        {"a:b", "range"},
                                                        {"0:5:1:2", "range"},
                                                        {"0-5", "range"},
                                                        {"0:2000000000", "999999"},
                                                        {"0:99999999999", "range"}};
  for (const auto& [range, word] : ranges) {
    SCOPED_TRACE(range);
    expectRefusal(animate("shot.tif", range, {}, 2), {"--frames", word});
  }
  animate("shot.tif", "-5:3", {}, 2);
  EXPECT_TRUE(written().empty());
}

TEST_F(Animate, WrongUse) {
  expectRefusal(animate("shot.gif", "0:1", {}, 2),
                {"shot.gif", "mov", "avi", "bmp", "tif", "jpg", "psd", "b3d"});
  expectRefusal(animate("shot", "0:1", {}, 2), {"suffix"});
  for (const Arguments& more : {Arguments{"--format", "11"},
                                {"--format", "-1"},
                                {"--quality", "0"},
                                {"--quality", "101"},
                                {"--set", "LM_NOTHING=1"},
                                {"--region", "0,0,9,9"},
                                {"--samples", "0"}})
    expectRefusal(animate("shot.tif", "0:1", more, 2), {});
  EXPECT_EQ(animate("shot.tif", "0:1", {"--camera", "Nobody", "--quiet"}, 2).err.find("Nobody") ==
                std::string::npos,
            false);
  EXPECT_EQ(run({"animate", scene, "-o", out("shot.tif")}, folder / "home").code, 2);
  EXPECT_TRUE(written().empty());
}

TEST_F(Animate, AMovieIsNotResumed) {
  expectRefusal(animate("film.mov", "0:1", {"--resume"}, 2), {"--resume", "film.mov", "movie"});
  EXPECT_TRUE(written().empty());
}

// ---- Files that are there

TEST_F(Animate, AnExistingMovieIsKeptUnlessToldOtherwise) {
  writeFile(out("film.mov"), "old");
  const Outcome kept = animate("film.mov", "0:1", {"--quiet"}, 4);
  expectRefusal(kept, {"film.mov", "--overwrite"});
  EXPECT_EQ(readFile(out("film.mov")), "old");
  animate("film.mov", "0:1", {"--overwrite"});
  EXPECT_EQ(readFile(out("film.mov")).substr(4, 4), "ftyp");
}

// As in the viewer the question is about the base name, and frames are replaced.
TEST_F(Animate, PicturesAreReplaced) {
  writeFile(out("shot0000.tif"), "old");
  animate("shot.tif", "0:0");
  EXPECT_NE(readFile(out("shot0000.tif")), "old");
  writeFile(out("shot.tif"), "old");
  animate("shot.tif", "0:1", {}, 4);
  EXPECT_EQ(written(), (Names{"shot.tif", "shot0000.tif"}));
}

TEST_F(Animate, OnATerminalTheUserAnswers) {
  for (const std::string answer : {"n", "", "y"}) {
    SCOPED_TRACE("answer " + answer);
    writeFile(out("film.avi"), "old");
    Child child(words("film.avi", "0:0", {}), folder / "home", {}, true);
    ASSERT_TRUE(child.waitForError("[y/N]", seconds(60))) << child.errors();
    child.type(answer + "\n");
    const Outcome outcome = child.wait();
    EXPECT_EQ(outcome.code, answer == "y" ? 0 : 4) << outcome.err;
    EXPECT_EQ(readFile(out("film.avi")) == "old", answer != "y");
  }
}

TEST_F(Animate, CtrlCAtTheQuestionCancels) {
  writeFile(out("film.avi"), "old");
  Child child(words("film.avi", "0:0", {}), folder / "home", {}, true);
  ASSERT_TRUE(child.waitForError("[y/N]", seconds(60))) << child.errors();
  child.send(SIGINT);
  const Outcome outcome = child.wait(seconds(60));
  EXPECT_EQ(outcome.code, 130) << outcome.err;
  EXPECT_NE(outcome.err.find("was kept"), std::string::npos) << outcome.err;
  EXPECT_EQ(readFile(out("film.avi")), "old");
}

// ---- Places that cannot be written

TEST_F(Animate, TheFolderMustBeThere) {
  expectRefusal(animate("no/shot.tif", "0:1", {}, 4), {"no", "does not exist"});
  expectRefusal(animate("no/film.mov", "0:1", {}, 4), {"no", "does not exist"});
  EXPECT_TRUE(written().empty());
}

TEST_F(Animate, TheFolderMustBeWritable) {
  Limits user;
  user.unprivileged = true;
  fs::permissions(folder.path(), fs::perms::all);
  if (run({"--version"}, folder / "home", user).code != 0)
    GTEST_SKIP() << "the program is out of such a user's reach";
  fs::permissions(folder / "out", fs::perms::owner_read | fs::perms::owner_exec);
  expectRefusal(animate("shot.tif", "0:1", {}, 4, user), {"shot0000.tif"});
  expectRefusal(animate("film.mov", "0:1", {}, 4, user), {"film.mov"});
  fs::permissions(folder / "out", fs::perms::all);
}

// The frame that could not be written is named, and no more are rendered.
TEST_F(Animate, AFrameThatCannotBeWrittenEndsTheRun) {
  fs::create_directories(out("shot0002.bmp") + "/inside");
  const Outcome outcome = animate("shot.bmp", "0:400", {"--quiet"}, 4);
  expectRefusal(outcome, {"shot0002.bmp", "--resume"});
  EXPECT_TRUE(fs::exists(out("shot0001.bmp")));
  EXPECT_FALSE(fs::exists(out("shot0400.bmp")));
}

TEST_F(Animate, ADiskThatFillsUpIsTold) {
  const Limits full{4000, 0, false};
  expectRefusal(animate("shot.bmp", "0:3", {"--quiet", "--size", "200x200"}, 4, full), {"shot0000.bmp"});
  EXPECT_TRUE(written().empty());
  for (const char* name : {"film.mov", "film.avi"})
    expectRefusal(animate(name, "0:60", {"--quiet", "--size", "320x200", "--quality", "100"}, 4, full),
                  {name});
  EXPECT_TRUE(written().empty());
}

// ---- Going on

struct Stand {
  std::string bytes;
  fs::file_time_type time;
  bool operator==(const Stand& other) const { return bytes == other.bytes && time == other.time; }
};

class Resume : public Animate, public testing::WithParamInterface<const char*> {
 protected:
  std::map<std::string, Stand> stands() const {
    std::map<std::string, Stand> all;
    for (const std::string& name : written())
      all[name] = {readFile(out(name)), fs::last_write_time(out(name))};
    return all;
  }
};

// Frames that are gone, cut, empty or of another size are rendered again, and nothing else is touched.
TEST_P(Resume, RendersOnlyWhatIsNotWhole) {
  const std::string suffix = GetParam(), name = "shot." + suffix;
  animate(name, "0:12:2", {"--quiet"});
  const auto before = stands();
  ASSERT_EQ(before.size(), 7u);
  const auto frame = [&](const char* number) { return out("shot00" + std::string(number) + "." + suffix); };
  fs::remove(frame("04"));
  fs::resize_file(frame("06"), fs::file_size(frame("06")) * 9 / 10);
  writeFile(frame("10"), "");
  run({"animate", scene, "-o", out(name), "--frames", "12:12", "--samples", "1", "--size", "32x48"},
      folder / "home");

  const Outcome outcome = animate(name, "0:12:2", {"--resume"});
  EXPECT_EQ(linesWith(outcome.err, "4 of 7 frames are still to be rendered"), 1) << outcome.err;
  const auto after = stands();
  ASSERT_EQ(after.size(), 7u);
  for (const auto& [file, stand] : before) {
    const bool kept =
        file.find("00.") != file.npos || file.find("02.") != file.npos || file.find("08.") != file.npos;
    EXPECT_EQ(after.at(file) == stand, kept) << file;
    if (suffix == "bmp" || suffix == "tif") {
      EXPECT_EQ(after.at(file).bytes.size(), stand.bytes.size()) << file;
    }
  }
  EXPECT_EQ(linesWith(animate(name, "0:12:2", {"--resume"}).err, "0 of 7 frames are still"), 1);
  EXPECT_TRUE(stands() == after);
}

INSTANTIATE_TEST_SUITE_P(Formats, Resume, testing::Values("bmp", "tif", "jpg", "psd", "b3d"),
                         [](const auto& test) { return std::string(test.param); });

// ---- Ctrl-C

class AnimateInterrupt : public Animate {
 protected:
  /// A run whose frames take long, stopped once `file` is there.
  Outcome interruptAfter(const std::string& file, const std::string& name) {
    Child child(words(name, "0:5000", {"--size", "400x400", "--quiet"}), folder / "home");
    const auto deadline = std::chrono::steady_clock::now() + seconds(120);
    while (!fs::exists(file) && std::chrono::steady_clock::now() < deadline)
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    child.send(SIGINT);
    return child.wait(seconds(60));
  }
};

TEST_F(AnimateInterrupt, LeavesNoHalfFrame) {
  const Outcome outcome = interruptAfter(out("shot0003.bmp"), "shot.bmp");
  EXPECT_EQ(outcome.code, 130) << outcome.err;
  expectRefusal(outcome, {"cancelled at frame", "--resume"});
  const Names names = written();
  ASSERT_GE(names.size(), 4u);
  ASSERT_LT(names.size(), 5000u);

  // What stays is what a run that nobody stops writes.
  const std::string last = std::to_string(names.size() - 1);
  run({"animate", scene, "-o", out("whole.bmp"), "--frames", last + ":" + last, "--size", "400x400",
       "--samples", "1", "--quiet"},
      folder / "home");
  EXPECT_EQ(readFile(out(names.back())), readFile(out("whole" + names.back().substr(4))));

  const std::string end = std::to_string(names.size() + 1);
  const Outcome rest = animate("shot.bmp", "0:" + end, {"--resume", "--size", "400x400"});
  EXPECT_EQ(linesWith(rest.err, "2 of " + std::to_string(names.size() + 2) + " frames are still"), 1)
      << rest.err;
  EXPECT_EQ(written().size(), names.size() + 3);
}

// The second request ends the program at any point of the first one's work.
TEST_F(AnimateInterrupt, TwiceLeavesNoHalfFrameEither) {
  std::map<std::string, std::string> whole;
  for (const int pause : {0, 5, 15, 30, 60, 100}) {
    SCOPED_TRACE(pause);
    Child child(words("twice.bmp", "0:5000", {"--size", "300x300", "--quiet"}), folder / "home");
    const auto deadline = std::chrono::steady_clock::now() + seconds(120);
    while (!fs::exists(out("twice0001.bmp")) && std::chrono::steady_clock::now() < deadline)
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    child.send(SIGINT);
    std::this_thread::sleep_for(std::chrono::milliseconds(pause));
    child.send(SIGINT);
    EXPECT_EQ(child.wait(seconds(60)).code, 130);
    for (const std::string& name : written()) {
      if (name.rfind("twice", 0) != 0) continue; // a file on its way has another name
      const std::string bytes = readFile(out(name)), number = name.substr(5, 4);
      if (whole[name].empty()) {
        run({"animate", scene, "-o", out("one.bmp"), "--frames", number + ":" + number, "--size", "300x300",
             "--samples", "1", "--quiet"},
            folder / "home");
        whole[name] = readFile(out("one" + number + ".bmp"));
      }
      EXPECT_EQ(bytes == whole[name], true) << name;
      fs::remove(out(name));
    }
  }
}

TEST_F(AnimateInterrupt, AStoppedMovieCanBePlayed) {
  Child child(words("film.avi", "0:9000", {"--size", "200x200"}), folder / "home", {}, true);
  ASSERT_TRUE(child.waitForError("frame 5", seconds(120))) << child.errors();
  child.send(SIGINT);
  const Outcome outcome = child.wait(seconds(60));
  EXPECT_EQ(outcome.code, 130) << outcome.err;
  EXPECT_NE(outcome.err.find("ends with frame"), std::string::npos) << outcome.err;
  if (!installed("ffprobe")) GTEST_SKIP() << "ffprobe is not installed";
  const Json stream = probe(out("film.avi"));
  ASSERT_TRUE(stream.is_object());
  EXPECT_GE(std::stoi(stream.value("nb_read_frames", "0")), 5);
}

} // namespace
} // namespace batchtest
