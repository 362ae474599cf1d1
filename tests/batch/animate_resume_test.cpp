// Resumed animations, and animations that end early.
#include <signal.h>

#include <map>
#include <thread>

#include "animate_fixture.h"

namespace batchtest {
namespace {

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

// Missing, truncated and empty frames and those of another size are rendered again; the others stay.
TEST_P(Resume, RendersOnlyIncompletePictures) {
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

// A killed program leaves complete frames. An unfinished file has a hidden name beside them, and --resume
// deletes it.
TEST_F(Animate, AKilledRunLeavesCompleteFramesAndResumes) {
  const Arguments large{"--size", "200x200", "--quiet"};
  animate("whole.bmp", "0:19", large);
  std::map<std::string, std::string> whole;
  for (const std::string& name : written()) {
    whole["shot" + name.substr(5)] = readFile(out(name));
    fs::remove(out(name));
  }
  for (const int pause : {0, 3, 7, 12, 20}) {
    SCOPED_TRACE(pause);
    Child child(words("shot.bmp", "0:19", large), folder / "home");
    const auto deadline = std::chrono::steady_clock::now() + seconds(120);
    while (!fs::exists(out("shot0002.bmp")) && std::chrono::steady_clock::now() < deadline)
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    std::this_thread::sleep_for(std::chrono::milliseconds(pause));
    child.send(SIGKILL);
    EXPECT_EQ(child.wait(seconds(60)).signal, SIGKILL);

    std::size_t there = 0;
    for (const std::string& name : written()) {
      if (name[0] == '.') continue;
      ++there;
      EXPECT_TRUE(readFile(out(name)) == whole[name]) << name;
    }
    EXPECT_GE(there, 3u);
    EXPECT_LT(there, 20u) << "it was killed too late";
    writeFile(out(".shot0004.bmp.999999999-7.tmp"), "half a frame");   // of an ended program
    writeFile(out(".shot0005.bmp.1-7.tmp"), "another's");              // of a running program
    writeFile(out(".shotgun0004.bmp.999999999-7.tmp"), "not a frame"); // of another animation

    const Outcome rest = animate("shot.bmp", "0:19", {"--size", "200x200", "--resume"});
    EXPECT_EQ(linesWith(rest.err, std::to_string(20 - there) + " of 20 frames are still to be rendered"), 1)
        << rest.err;
    EXPECT_TRUE(fs::remove(out(".shot0005.bmp.1-7.tmp")));
    EXPECT_TRUE(fs::remove(out(".shotgun0004.bmp.999999999-7.tmp")));
    EXPECT_EQ(written().size(), 20u);
    for (const std::string& name : written()) {
      EXPECT_TRUE(readFile(out(name)) == whole[name]) << name;
      fs::remove(out(name));
    }
  }
}

// ---- Ctrl-C

class AnimateInterrupt : public Animate {
 protected:
  /// A run with slow frames, stopped once `file` exists.
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

  // The remaining frames equal those of an undisturbed run.
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
      if (name.rfind("twice", 0) != 0) continue; // an unfinished file has another name
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
