// Movies that the host writes itself: MP4, and movies and pictures with alpha.
#include <sstream>

#include "animate_fixture.h"

namespace batchtest {
namespace {

class FrameMovies : public Animate {
 protected:
  void SetUp() override {
    Animate::SetUp();
    if (std::system("ffprobe -version >/dev/null 2>&1") != 0) GTEST_SKIP() << "ffmpeg is not installed";
  }

  /// What ffprobe prints of the video stream: "codec_name=h264" and so on, a line each.
  std::string facts(const std::string& name) const {
    const std::string list = folder / "facts.txt";
    const std::string command =
        "ffprobe -v error -count_frames -show_streams -of default=nw=1 'file:" + out(name) + "' > '" + list +
        "' 2>&1";
    EXPECT_EQ(std::system(command.c_str()), 0);
    return readFile(list);
  }
  void expectFacts(const std::string& name, const std::vector<std::string>& wanted) const {
    const std::string found = facts(name);
    for (const std::string& line : wanted)
      EXPECT_NE(found.find(line + "\n"), std::string::npos) << "no " << line << " in " << found;
  }
  /// A frame of a movie as a picture.
  Picture frameOf(const std::string& name, int frame) const {
    const std::string file = folder / "frame.png";
    const std::string command = "ffmpeg -v error -y -i 'file:" + out(name) + "' -vf 'select=eq(n\\," +
                                std::to_string(frame) + ")' -frames:v 1 '" + file + "'";
    EXPECT_EQ(std::system(command.c_str()), 0);
    return readPicture(file);
  }
};

TEST_F(FrameMovies, Mp4HasEachCodec) {
  animate("a.mp4", "0:4", {"--quiet"});
  expectFacts("a.mp4", {"codec_name=h264", "width=64", "height=48", "nb_read_frames=5", "color_space=bt709"});
  animate("b.mp4", "0:4:2", {"--quiet", "--codec", "h265"});
  expectFacts("b.mp4", {"codec_name=hevc", "codec_tag_string=hvc1", "nb_read_frames=3"});
  animate("c.mp4", "2", {"--quiet", "--codec", "av1", "--quality", "90"});
  expectFacts("c.mp4", {"codec_name=av1", "nb_read_frames=1"});
  EXPECT_EQ(written(), (std::vector<std::string>{"a.mp4", "b.mp4", "c.mp4"}));
}

TEST_F(FrameMovies, TheSquareMovesAsInPictures) {
  animate("a.mp4", "0,4", {"--quiet", "--quality", "100"}, 0);
  animate("a.####.png", "0,4", {"--quiet"});
  for (const int frame : {0, 4}) {
    const Picture movie = frameOf("a.mp4", frame / 4);
    const Picture still = readPicture(out("a.000" + std::to_string(frame) + ".png"));
    ASSERT_EQ(movie.pixels.size(), still.pixels.size());
    double error = 0;
    for (std::size_t i = 0; i < movie.pixels.size(); ++i)
      error += std::abs(static_cast<double>(movie.pixels[i]) - static_cast<double>(still.pixels[i]));
    EXPECT_LT(error / static_cast<double>(movie.pixels.size()), 3) << frame;
  }
}

TEST_F(FrameMovies, CodecsOfOtherFormats) {
  animate("a.mov", "0:2", {"--quiet", "--codec", "prores"});
  expectFacts("a.mov", {"codec_name=prores", "nb_read_frames=3"});
  animate("b.mov", "0:2", {"--quiet", "--codec", "prores4444", "--alpha"});
  expectFacts("b.mov", {"codec_name=prores", "pix_fmt=yuva444p12le"});
  animate("c.avi", "0:2", {"--quiet", "--codec", "ffv1", "--alpha"});
  expectFacts("c.avi", {"codec_name=ffv1", "pix_fmt=bgra"});
}

TEST_F(FrameMovies, PicturesHaveAlpha) {
  animate("a.png", "0", {"--quiet", "--alpha"});
  expectFacts("a0000.png", {"pix_fmt=rgba"});
  const std::string still = out("b.png");
  EXPECT_EQ(run({"render", scene, "-o", still, "--size", "64x48", "--samples", "1", "--frame", "0", "--alpha",
                 "--quiet"},
                folder / "home")
                .code,
            0);
  EXPECT_EQ(readFile(still).size(), readFile(out("a0000.png")).size());
  expectFacts("b.png", {"pix_fmt=rgba"});
}

TEST_F(FrameMovies, WrongUseIsOneSentence) {
  expectRefusal(animate("a.png", "0", {"--codec", "h264"}, 2), {"--codec", "a.png", "mp4"});
  expectRefusal(animate("a.mp4", "0", {"--codec", "divx"}, 2), {"divx", "h264"});
  expectRefusal(animate("a.mp4", "0", {"--codec", "prores", "--quiet"}, 4), {"a.mp4", "MP4 has no codec"});
  expectRefusal(animate("a.jpg", "0", {"--alpha"}, 2), {"--alpha", "a.jpg", "png"});
  expectRefusal(animate("a.mp4", "0,3,4", {}, 2), {"one distance"});
  expectRefusal(animate("a.mp4", "0", {"--resume"}, 2), {"--resume", "a.mp4", "movie"});
  expectRefusal(animate("no/a.mp4", "0", {}, 4), {"no", "does not exist"});
  EXPECT_TRUE(written().empty());
}

TEST_F(FrameMovies, AnExistingMovieIsKeptOrReplaced) {
  writeFile(out("a.mp4"), "mine");
  expectRefusal(animate("a.mp4", "0:1", {"--quiet"}, 4), {"a.mp4", "--overwrite"});
  EXPECT_EQ(readFile(out("a.mp4")), "mine");
  animate("a.mp4", "0:1", {"--quiet", "--overwrite"});
  expectFacts("a.mp4", {"nb_read_frames=2"});
}

TEST_F(FrameMovies, AFullDiskIsReported) {
  const Limits full{4000, 0, false};
  expectRefusal(animate("a.mp4", "0:60", {"--quiet", "--size", "160x100", "--quality", "100"}, 4, full),
                {"a.mp4", "free space"});
  EXPECT_TRUE(written().empty());
}

} // namespace
} // namespace batchtest
