// Frames as pictures that the host saves itself, and lists of frames.
#include "animate_fixture.h"

namespace batchtest {
namespace {

class FramePictures : public Animate {
 protected:
  /// The picture that `render` makes of the frame.
  Picture rendered(const std::string& suffix, int frame, const Arguments& more = {}) const {
    const std::string file = folder / ("one." + suffix);
    Arguments words{"render", scene,   "-o",        file, "--frame", std::to_string(frame),
                    "--size", "64x48", "--samples", "1",  "--quiet"};
    words.insert(words.end(), more.begin(), more.end());
    EXPECT_EQ(run(words, folder / "home").code, 0);
    return readPicture(file);
  }
};

TEST_F(FramePictures, APatternHasTheFramesNumber) {
  animate("shot.####.exr", "0:4:2", {"--quiet"});
  EXPECT_EQ(written(), (std::vector<std::string>{"shot.0000.exr", "shot.0002.exr", "shot.0004.exr"}));
  const Picture first = readPicture(out("shot.0000.exr")), last = readPicture(out("shot.0004.exr"));
  EXPECT_EQ(first.pixels, rendered("exr", 0).pixels);
  EXPECT_EQ(last.pixels, rendered("exr", 4).pixels);
  EXPECT_NE(first.pixels, last.pixels) << "the square moves";
}

TEST_F(FramePictures, EverySuffixAndPlaceOfTheNumber) {
  animate("a.png", "7", {"--quiet"});
  animate("b_##_end.jpg", "7", {"--quiet", "--quality", "50"});
  animate("#.webp", "12", {"--quiet"});
  animate("c.tif", "3", {"--quiet"});
  EXPECT_EQ(written(), (std::vector<std::string>{"12.webp", "a0007.png", "b_07_end.jpg", "c0003.tif"}));
  EXPECT_EQ(readPicture(out("a0007.png")).pixels, rendered("png", 7).pixels);
}

TEST_F(FramePictures, ExrOptionsCount) {
  animate("a.exr", "1", {"--quiet", "--layers", "depth,normal", "--compression", "none"});
  animate("b.exr", "1", {"--quiet", "--layers", "depth,normal", "--compression", "none", "--half"});
  EXPECT_LT(fs::file_size(out("b0001.exr")), fs::file_size(out("a0001.exr")) - 18000)
      << "three colours of 64 x 48 pixels take two bytes less each; numbers stay";
  const Arguments layers{"--layers", "depth,normal"};
  EXPECT_EQ(readPicture(out("a0001.exr")).pixels, rendered("exr", 1, layers).pixels);
}

TEST_F(FramePictures, ListsAreRenderedOnceAndInOrder) {
  animate("s.bmp", "5,1,3:7:2,1", {"--quiet"});
  EXPECT_EQ(written(), (std::vector<std::string>{"s0001.bmp", "s0003.bmp", "s0005.bmp", "s0007.bmp"}));
  animate("t.png", "9,2,4", {"--quiet"});
  EXPECT_TRUE(fs::exists(out("t0002.png")) && fs::exists(out("t0004.png")) && fs::exists(out("t0009.png")));
  EXPECT_EQ(written().size(), 7u);
}

TEST_F(FramePictures, AllAreTheScenesFrames) {
  const Outcome info = run({"info", scene, "--json"}, folder / "home");
  const Json facts = Json::parse(info.out);
  animate("s.##.png", "all", {"--quiet", "--size", "8x6"});
  const int first = facts["frames"][0], last = facts["frames"][1];
  EXPECT_EQ(written().size(), static_cast<std::size_t>(last - first + 1));
}

TEST_F(FramePictures, KeepRendersWhatIsMissing) {
  animate("s.####.exr", "0:3", {"--quiet"});
  const std::string kept = readFile(out("s.0002.exr"));
  fs::remove(out("s.0001.exr"));
  fs::resize_file(out("s.0003.exr"), fs::file_size(out("s.0003.exr")) / 2);
  writeFile(out(".s.0001.exr.4711-3.tmp"), "of a killed program");
  const auto time = fs::last_write_time(out("s.0002.exr"));
  const Outcome outcome = animate("s.####.exr", "0:3", {"--keep"});
  EXPECT_EQ(linesWith(outcome.err, "2 of 4 frames are still to be rendered"), 1) << outcome.err;
  EXPECT_EQ(fs::last_write_time(out("s.0002.exr")), time);
  EXPECT_EQ(readFile(out("s.0002.exr")), kept);
  EXPECT_EQ(readPicture(out("s.0003.exr")).pixels, rendered("exr", 3).pixels);
  EXPECT_EQ(written().size(), 4u);
}

TEST_F(FramePictures, RefusesInOneLine) {
  expectRefusal(animate("s.####.exr", "0:1", {"--quality", "50"}, 2), {"--quality has no effect"});
  expectRefusal(animate("s.####.png", "0:1", {"--half"}, 2), {"--half has no effect"});
  expectRefusal(animate("s.####.exr", "0:1", {"--bits", "16"}, 2),
                {"--bits 16 has no effect", "holds floats"});
  expectRefusal(animate("s.jpg", "0:1", {"--bits", "16"}, 2), {"--bits 16", "a png"});
  expectRefusal(animate("s.mp4", "0:1", {"--bits", "16"}, 2), {"--bits 16 belongs to a png"});
  expectRefusal(animate("s.####.png", "0:1", {"--bits", "12"}, 2), {"--bits"});
  expectRefusal(animate("s.tif", "0:1", {"--layers", "depth"}, 2), {"belong to an exr"});
  expectRefusal(animate("s.##.exr", "0:1", {"--exposure", "1"}, 2), {"--exposure have no effect"});
  expectRefusal(animate("s.##.mov", "0:1", {}, 2), {"no place for a frame's number"});
  expectRefusal(animate("s.##.png", "0:1", {"--format", "7"}, 2), {"--format has no effect"});
  expectRefusal(animate("s.mov", "0,1,5", {}, 2), {"a movie has frames at one distance", "0:1,5"});
  for (const char* list : {"", ",", "1,", "1,,2", "all,1", "1-3", "3:1,5", "1:2:0", "1000000"})
    EXPECT_EQ(lineCount(animate("s.png", list, {}, 2).err), 1) << list;
  EXPECT_TRUE(written().empty());
}

TEST_F(FramePictures, AFullDiskLeavesNoHalfPicture) {
  Limits small;
  small.fileSize = 4096;
  const Outcome outcome = animate("s.####.exr", "0:3", {"--compression", "none"}, 4, small);
  EXPECT_NE(outcome.err.find("s.0000.exr"), std::string::npos) << outcome.err;
  EXPECT_TRUE(written().empty());
}

} // namespace
} // namespace batchtest
