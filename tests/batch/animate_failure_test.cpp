// Animations that are refused or fail: one sentence, an exit code, no incomplete files.
#include "animate_fixture.h"

namespace batchtest {
namespace {

// ---- Wrong use

TEST_F(Animate, InvalidRangesAreRefused) {
  const std::pair<const char*, const char*> ranges[] = {
      {"5:2", "backwards"},      {"0:5:0", "step"}, {"0:5:-1", "step"},
      {"7:", "range"},           {"", "range"},     {"a:b", "range"},
      {"0:5:1:2", "range"},      {"0-5", "range"},  {"0:2000000000", "999999"},
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

// ---- Places that cannot be written

TEST_F(Animate, TheFolderMustExist) {
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

// The message names the frame that could not be written, and the run ends.
TEST_F(Animate, AFrameThatCannotBeWrittenEndsTheRun) {
  fs::create_directories(out("shot0002.bmp") + "/inside");
  const Outcome outcome = animate("shot.bmp", "0:400", {"--quiet"}, 4);
  expectRefusal(outcome, {"shot0002.bmp", "--resume"});
  EXPECT_TRUE(fs::exists(out("shot0001.bmp")));
  EXPECT_FALSE(fs::exists(out("shot0400.bmp")));
}

TEST_F(Animate, AFullDiskIsReported) {
  const Limits full{4000, 0, false};
  expectRefusal(animate("shot.bmp", "0:3", {"--quiet", "--size", "200x200"}, 4, full), {"shot0000.bmp"});
  EXPECT_TRUE(written().empty());
  for (const char* name : {"film.mov", "film.avi"})
    expectRefusal(animate(name, "0:60", {"--quiet", "--size", "160x100", "--quality", "100"}, 4, full),
                  {name});
  EXPECT_TRUE(written().empty());
}

// The disk fills while frames are encoded and written, not at the first one and not at the end only.
TEST_F(Animate, ADiskThatFillsDuringAMovieIsReported) {
  for (const char* name : {"film.mov", "film.avi"}) {
    SCOPED_TRACE(name);
    const Arguments large{"--quiet", "--size", "160x100", "--quality", "100"};
    animate(name, "0:60", large);
    const std::size_t whole = readFile(out(name)).size();
    fs::remove(out(name));
    for (const std::size_t part : {whole / 3, whole * 3 / 4}) {
      const Outcome outcome = animate(name, "0:60", large, 4, Limits{part, 0, false});
      expectRefusal(outcome, {name, "frame", "free space"});
      EXPECT_TRUE(written().empty()) << "something is left at " << part;
    }
    animate(name, "0:60", large, 0, Limits{whole + 1000, 0, false});
    EXPECT_EQ(readFile(out(name)).size(), whole);
    fs::remove(out(name));
  }
}

TEST_F(Animate, ADiskThatFillsBetweenPicturesKeepsTheCompleteOnes) {
  // Pictures of an earlier run stay when larger ones do not fit.
  animate("shot.jpg", "0:1", {"--quiet"});
  const std::size_t size =
      std::max(readFile(out("shot0000.jpg")).size(), readFile(out("shot0001.jpg")).size());
  const Outcome outcome =
      animate("shot.jpg", "2:4", {"--quiet", "--size", "640x480"}, 4, Limits{size + 200, 0, false});
  expectRefusal(outcome, {"shot0002.jpg", "--resume"});
  EXPECT_EQ(written(), (Names{"shot0000.jpg", "shot0001.jpg"}));
}

// ---- Codecs

class MovieChoices : public Animate {
 protected:
  /// Stores this codec as the viewer does.
  void choose(int codec) const {
    fs::create_directories(folder / "home");
    writeFile(
        folder / "home/preferences.json",
        R"({"format": "Lumenara preferences", "version": 1, "plugins/1021442": [[14010, "container", [[10000, "long", )" +
            std::to_string(codec) + R"(]]]]})");
  }
};

TEST_F(MovieChoices, TheStoredCodecIsUsed) {
  if (!installed("ffprobe")) GTEST_SKIP() << "ffprobe is not installed";
  const struct {
    int codec;
    const char *file, *name;
  } cases[] = {{1, "a.mov", "h264"},  {2, "b.mov", "prores"},   {4, "c.mov", "mjpeg"},
               {5, "d.mov", "png"},   {7, "e.mov", "rawvideo"}, {8, "f.avi", "mpeg4"},
               {4, "g.avi", "mjpeg"}, {9, "h.avi", "ffv1"},     {7, "i.avi", "rawvideo"}};
  for (const auto& [codec, file, name] : cases) {
    SCOPED_TRACE(file);
    choose(codec);
    animate(file, "0:2", {"--quiet"});
    const Json stream = probe(out(file));
    ASSERT_TRUE(stream.is_object());
    EXPECT_EQ(stream.value("codec_name", ""), name);
    EXPECT_EQ(stream.value("nb_read_frames", ""), "3");
    EXPECT_EQ(stream.value("r_frame_rate", ""), "30/1");
  }
}

// Unknown numbers, and codecs that the format lacks, end the run early.
TEST_F(MovieChoices, AMissingCodecIsReported) {
  for (const auto& [codec, file] : {std::pair(99, "a.mov"), {9, "b.mov"}, {2, "c.avi"}, {-5, "d.avi"}}) {
    SCOPED_TRACE(file);
    choose(codec);
    const auto began = std::chrono::steady_clock::now();
    const Outcome outcome = animate(file, "0:9000", {"--quiet", "--size", "320x240"}, 4);
    expectRefusal(outcome, {file, "codec number " + std::to_string(codec), "Choose another codec"});
    EXPECT_LT(std::chrono::steady_clock::now() - began, seconds(60));
  }
  EXPECT_TRUE(written().empty());
}

} // namespace
} // namespace batchtest
