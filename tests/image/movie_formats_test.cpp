// Every codec of every movie format, as another program reads it.
#include <algorithm>
#include <cstring>
#include <tuple>

#include "movie_fixture.h"

using namespace movie_fixture;

// x265 3.5 never frees one of its parameter sets: 1168 bytes for each encoder, with any program. Its frames
// have no pointers, so that the function that allocates is the last one known.
extern "C" const char* __lsan_default_suppressions(); // NOLINT(bugprone-reserved-identifier)
extern "C" const char* __lsan_default_suppressions() {
  return "leak:x265_malloc\n";
}

namespace {

struct Case {
  const char* title;
  LONG format, codec;
  const char *name, *pixels;
  const char *primaries, *transfer, *matrix, *range; // ffprobe's names; "" where the file has no tag
  double tolerance;                                  // of mean colours, in codes
  bool evenWidth, evenHeight;
};

void PrintTo(const Case& c, std::ostream* out) {
  *out << c.title;
}

const Case cases[] = {
    {"MovH264", FILTER_MOVIE, host::movieCodecH264, "h264", "yuv420p", "bt709", "bt709", "bt709", "tv", 3,
     true, true},
    {"MovProRes422", FILTER_MOVIE, host::movieCodecProRes422, "prores", "yuv422p10le", "bt709", "bt709",
     "bt709", "tv", 2, true, false},
    {"MovProRes4444", FILTER_MOVIE, host::movieCodecProRes4444, "prores", "yuv444p12le", "bt709", "bt709",
     "bt709", "tv", 2, false, false},
    {"MovJpeg", FILTER_MOVIE, host::movieCodecMotionJpeg, "mjpeg", "yuvj422p", "bt709", "iec61966-2-1",
     "bt470bg", "pc", 3, true, false},
    {"MovPng", FILTER_MOVIE, host::movieCodecPng, "png", "rgb24", "bt709", "iec61966-2-1", "gbr", "pc", 0,
     false, false},
    {"MovAnimation", FILTER_MOVIE, host::movieCodecAnimation, "qtrle", "rgb24", "bt709", "iec61966-2-1",
     "gbr", "", 0, false, false},
    {"MovRaw", FILTER_MOVIE, host::movieCodecRaw, "rawvideo", "rgb24", "bt709", "iec61966-2-1", "gbr", "", 0,
     true, false},
    {"Mp4H264", host::movieFormatMp4, host::movieCodecH264, "h264", "yuv420p", "bt709", "bt709", "bt709",
     "tv", 3, true, true},
    {"Mp4H265", host::movieFormatMp4, host::movieCodecH265, "hevc", "yuv420p", "bt709", "bt709", "bt709",
     "tv", 3, true, true},
    {"Mp4Av1", host::movieFormatMp4, host::movieCodecAv1, "av1", "yuv420p", "bt709", "bt709", "bt709", "tv",
     4, true, true},
    {"AviMpeg4", FILTER_AVI, host::movieCodecMpeg4, "mpeg4", "yuv420p", "bt709", "bt709", "smpte170m", "tv",
     4, true, true},
    {"AviJpeg", FILTER_AVI, host::movieCodecMotionJpeg, "mjpeg", "yuvj422p", "", "", "bt470bg", "pc", 3, true,
     false},
    {"AviFfv1", FILTER_AVI, host::movieCodecFfv1, "ffv1", "bgr0", "", "", "", "", 0, false, false},
    {"AviPng", FILTER_AVI, host::movieCodecPng, "png", "rgb24", "", "", "", "pc", 0, false, false},
    {"AviRaw", FILTER_AVI, host::movieCodecRaw, "rawvideo", "bgr24", "", "", "", "", 0, false, false},
};

/// ffprobe's name; empty where it has none.
std::string tagOf(std::map<std::string, std::string>& facts, const char* name) {
  return facts[name] == "unknown" || facts[name] == "N/A" ? "" : facts[name];
}

int evenIf(bool even, int side) {
  return even ? side + side % 2 : side;
}

class MovieFormats : public testing::TestWithParam<Case> {
 protected:
  MovieRequest request() const {
    MovieRequest request;
    request.format = GetParam().format;
    request.codec = GetParam().codec;
    return request;
  }
  Filename file() const {
    return folder_.file(GetParam().format == FILTER_AVI             ? "a.avi"
                        : GetParam().format == host::movieFormatMp4 ? "a.mp4"
                                                                    : "a.mov");
  }

  Folder folder_;
};

} // namespace

TEST_P(MovieFormats, CodecSizeLengthAndColors) {
  NEEDS_FFMPEG();
  const MovieRequest wanted = request();
  writeMovie(file(), wanted);
  std::map<std::string, std::string> facts = probe(file());
  EXPECT_EQ(facts["trouble"], "");
  EXPECT_EQ(facts["codec_name"], GetParam().name);
  EXPECT_EQ(facts["pix_fmt"], GetParam().pixels);
  EXPECT_EQ(facts["width"], "64");
  EXPECT_EQ(facts["height"], "48");
  EXPECT_EQ(facts["nb_read_frames"], "5");
  EXPECT_EQ(facts["r_frame_rate"], "25/1");
  EXPECT_EQ(facts["avg_frame_rate"], "25/1");
  EXPECT_NEAR(std::atof(facts["duration"].c_str()), 0.2, 1e-4);
  EXPECT_EQ(tagOf(facts, "color_primaries"), GetParam().primaries);
  EXPECT_EQ(tagOf(facts, "color_transfer"), GetParam().transfer);
  EXPECT_EQ(tagOf(facts, "color_space"), GetParam().matrix);
  EXPECT_EQ(tagOf(facts, "color_range"), GetParam().range);
  const auto frames = decode(file(), 64, 48);
  ASSERT_EQ(frames.size(), 5u);
  for (int frame = 0; frame < 5; ++frame)
    expectFrame(frames[static_cast<std::size_t>(frame)], 64, 48, frame, GetParam().tolerance);
}

TEST_P(MovieFormats, OddSizes) {
  NEEDS_FFMPEG();
  MovieRequest wanted = request();
  wanted.width = 67;
  wanted.height = 45;
  wanted.frames = 2;
  writeMovie(file(), wanted);
  const int width = evenIf(GetParam().evenWidth, 67), height = evenIf(GetParam().evenHeight, 45);
  std::map<std::string, std::string> facts = probe(file());
  EXPECT_EQ(facts["width"], std::to_string(width));
  EXPECT_EQ(facts["height"], std::to_string(height));
  EXPECT_EQ(facts["nb_read_frames"], "2");
  const auto frames = decode(file(), width, height);
  ASSERT_EQ(frames.size(), 2u);
  expectFrame(frames[1], width, height, 1, GetParam().tolerance);
  // The added column and row repeat the picture's edge; they are not black.
  const std::size_t last = (static_cast<std::size_t>(width) * static_cast<std::size_t>(height) - 1) * 4;
  const Rgba corner = quarters(1)[3];
  EXPECT_NEAR(frames[1][last], corner.r, GetParam().tolerance + 4);
  EXPECT_NEAR(frames[1][last + 2], corner.b, GetParam().tolerance + 4);
}

TEST_P(MovieFormats, OnePixelAndOneFrame) {
  NEEDS_FFMPEG();
  MovieRequest wanted = request();
  // H.265 has no blocks below 16 pixels.
  wanted.width = wanted.height = GetParam().codec == host::movieCodecH265 ? 16 : 1;
  wanted.frames = 1;
  writeMovie(file(), wanted);
  EXPECT_EQ(probe(file())["nb_read_frames"], "1");
}

TEST_P(MovieFormats, FrameRates) {
  NEEDS_FFMPEG();
  for (const LONG fps : {1, 24, 30, 60, 1000}) {
    MovieRequest wanted = request();
    wanted.fps = fps;
    wanted.frames = 3;
    writeMovie(file(), wanted);
    std::map<std::string, std::string> facts = probe(file());
    EXPECT_EQ(facts["r_frame_rate"], std::to_string(fps) + "/1");
    EXPECT_NEAR(std::atof(facts["duration"].c_str()), 3.0 / fps, 1e-4) << fps;
    EXPECT_EQ(facts["nb_read_frames"], "3") << fps;
  }
}

INSTANTIATE_TEST_SUITE_P(All, MovieFormats, testing::ValuesIn(cases),
                         [](const auto& c) { return std::string(c.param.title); });

TEST(MovieDefaults, PlayEverywhere) {
  NEEDS_FFMPEG();
  Folder folder;
  const Filename mov = folder.file("a.mov"), avi = folder.file("a.avi");
  MovieRequest request;
  writeMovie(mov, request);
  request.format = FILTER_AVI;
  writeMovie(avi, request);
  std::map<std::string, std::string> facts = probe(mov);
  EXPECT_EQ(facts["codec_name"], "h264");
  EXPECT_EQ(facts["profile"], "High");
  EXPECT_EQ(facts["pix_fmt"], "yuv420p");
  EXPECT_EQ(facts["color_primaries"], "bt709");
  EXPECT_EQ(facts["color_transfer"], "bt709");
  facts = probe(avi);
  EXPECT_EQ(facts["codec_name"], "mpeg4");
  EXPECT_EQ(facts["codec_tag_string"], "XVID");
}

TEST(MovieDefaults, TheIndexOfH264ComesBeforeTheFrames) {
  Folder folder;
  writeMovie(folder.file("a.mov"), {});
  const std::vector<std::byte> bytes = bytesOf(folder.file("a.mov"));
  const std::string text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  ASSERT_NE(text.find("moov"), std::string::npos);
  EXPECT_LT(text.find("moov"), text.find("mdat"));
}

// Players that ignore the tag go by the size; the tag says the same.
TEST(MovieDefaults, TheMatrixOfMpeg4IsTaggedAndTheOneThatPlayersAssume) {
  NEEDS_FFMPEG();
  Folder folder;
  MovieRequest request;
  request.format = FILTER_AVI;
  request.frames = 1;
  for (const auto& [width, height, matrix] :
       {std::tuple(1280, 720, "bt709"), {720, 578, "bt709"}, {720, 576, "smpte170m"}}) {
    SCOPED_TRACE(height);
    request.width = width;
    request.height = height;
    writeMovie(folder.file("a.avi"), request);
    EXPECT_EQ(probe(folder.file("a.avi"))["color_space"], matrix);
    const auto frames = decode(folder.file("a.avi"), width, height);
    ASSERT_EQ(frames.size(), 1u);
    expectFrame(frames[0], width, height, 0, 4);
  }
}

// Every key frame has the tag, so that a player may begin anywhere; the container takes the longer
// frames.
TEST(MovieDefaults, EveryKeyFrameOfMpeg4IsTagged) {
  NEEDS_FFMPEG();
  Folder folder;
  MovieRequest request;
  request.format = FILTER_AVI;
  request.frames = 12;
  request.options[host::movieKeyDistanceKey] = 4;
  writeMovie(folder.file("a.avi"), request);
  const std::vector<std::byte> bytes = bytesOf(folder.file("a.avi"));
  // The header of a visual object: video, unspecified format, limited range, Rec. 709, Rec. 709, SMPTE 170M.
  constexpr unsigned char wanted[] = {0, 0, 1, 0xB5, 0x89, 0x1D, 0x40, 0x40, 0x41, 0x9F};
  int tagged = 0, headers = 0;
  for (std::size_t at = 0; at + sizeof wanted <= bytes.size(); ++at) {
    if (std::memcmp(&bytes[at], wanted, 4) == 0) ++headers;
    if (std::memcmp(&bytes[at], wanted, 4) == 0 && std::memcmp(&bytes[at + 5], wanted + 5, 5) == 0) ++tagged;
  }
  const std::string flags =
      outputOf("ffprobe -v error -show_entries packet=flags -of csv=p=0 " + quoted(folder.file("a.avi")));
  EXPECT_GE(headers, 3);
  EXPECT_EQ(headers, std::count(flags.begin(), flags.end(), 'K'));
  EXPECT_EQ(tagged, headers);
  EXPECT_EQ(decode(folder.file("a.avi"), 64, 48).size(), 12u);
}

TEST(MovieAlpha, WhereTheCodecHasOne) {
  NEEDS_FFMPEG();
  struct Alpha {
    LONG format, codec;
    double tolerance;
  };
  for (const Alpha& c : {Alpha{FILTER_MOVIE, host::movieCodecProRes4444, 2},
                         {FILTER_MOVIE, host::movieCodecPng, 0},
                         {FILTER_MOVIE, host::movieCodecAnimation, 0},
                         {FILTER_MOVIE, host::movieCodecRaw, 0},
                         {FILTER_AVI, host::movieCodecPng, 0},
                         {FILTER_AVI, host::movieCodecFfv1, 0}}) {
    SCOPED_TRACE("codec " + std::to_string(c.codec) + " in " + std::to_string(c.format));
    Folder folder;
    MovieRequest request;
    request.format = c.format;
    request.codec = c.codec;
    request.depth = 32;
    writeMovie(folder.file("plain"), request); // not asked for: opaque
    request.options[host::movieAlphaKey] = 1;
    writeMovie(folder.file("alpha"), request);
    const auto plain = decode(folder.file("plain"), 64, 48), alpha = decode(folder.file("alpha"), 64, 48);
    ASSERT_EQ(plain.size(), 5u);
    ASSERT_EQ(alpha.size(), 5u);
    expectFrame(plain[4], 64, 48, 4, c.tolerance);
    expectFrame(alpha[4], 64, 48, 4, c.tolerance, true);
  }
}

TEST(MovieAlpha, IsLeftOutForOtherCodecs) {
  NEEDS_FFMPEG();
  Folder folder;
  MovieRequest request;
  request.options[host::movieAlphaKey] = 1;
  writeMovie(folder.file("depth24.mov"), request);
  request.depth = 32;
  writeMovie(folder.file("h264.mov"), request);
  EXPECT_EQ(probe(folder.file("depth24.mov"))["pix_fmt"], "yuv420p");
  EXPECT_EQ(probe(folder.file("h264.mov"))["pix_fmt"], "yuv420p");
}
