// Animations rendered by the program: its files and its questions.
#include <signal.h>

#include "animate_fixture.h"

namespace batchtest {
namespace {

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

TEST_F(Animate, OneNumberIsOneFrame) {
  animate("shot.bmp", "7");
  EXPECT_EQ(written(), std::vector<std::string>{"shot0007.bmp"});
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

TEST_F(Animate, MissingAssetsAreReported) {
  TinyScene bare;
  bare.missingPicture = true;
  scene = writeTinyScene(folder.path(), bare);
  const Outcome outcome = animate("shot.tif", "0:1", {"--quiet"}, 5);
  EXPECT_NE(outcome.err.find("nowhere.png"), std::string::npos) << outcome.err;
  EXPECT_EQ(written(), (Names{"shot0000.tif", "shot0001.tif"}));
}

// ---- Files that are there

TEST_F(Animate, AnExistingMovieIsKeptWithoutOverwrite) {
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

} // namespace
} // namespace batchtest
