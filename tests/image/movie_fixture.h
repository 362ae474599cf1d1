// Shared by the tests of movies: frames with known colours, and other programs' view of a file.
#pragma once

#include <cstdint>
#include <map>
#include <sstream>

#include "failures.h"
#include "movie_options.h"
#include "picture_fixture.h"

namespace movie_fixture {

using namespace picture_fixture;
using Bitmap = AutoAlloc<BaseBitmap>;
using Saver = AutoAlloc<MovieSaver>;

/// The colours of a frame's quarters, in reading order. They change with the frame.
inline std::array<Rgba, 4> quarters(int frame) {
  const int f = frame * 10;
  return {Rgba{200 - f, 40, 30, 255}, Rgba{30, 180 - f, 60, 192}, Rgba{40, 50 + f, 190, 128},
          Rgba{120, 120, 120 + f, 64}};
}

inline int quarterAt(int x, int y, int width, int height) {
  return (y < height / 2 ? 0 : 2) + (x < width / 2 ? 0 : 1);
}

inline void paintFrame(BaseBitmap& bitmap, int frame) {
  const std::array<Rgba, 4> colors = quarters(frame);
  for (LONG y = 0; y < bitmap.GetBh(); ++y)
    for (LONG x = 0; x < bitmap.GetBw(); ++x)
      put(bitmap, x, y, colors[static_cast<std::size_t>(quarterAt(x, y, bitmap.GetBw(), bitmap.GetBh()))]);
}

struct MovieRequest {
  LONG format = FILTER_MOVIE, codec = host::movieCodecDefault;
  LONG width = 64, height = 48, depth = 24, fps = 25;
  int frames = 5;
  bool still = false; // all frames alike
  std::map<LONG, LONG> options = {};
};

inline BaseContainer optionsOf(const MovieRequest& request) {
  BaseContainer options;
  options.SetLong(host::movieCodecKey, request.codec);
  for (const auto& [key, value] : request.options)
    options.SetLong(key, value);
  return options;
}

/// Writes a movie of painted frames; every call must succeed.
inline void writeMovie(const Filename& name, const MovieRequest& request) {
  Bitmap bitmap;
  ASSERT_EQ(bitmap->Init(request.width, request.height, request.depth), IMAGERESULT_OK);
  const BaseContainer options = optionsOf(request);
  host::takeFailures(); // of earlier tests in this process
  Saver saver;
  ASSERT_EQ(saver->Open(name, bitmap, request.fps, request.format, &options, SAVEBIT_0), IMAGERESULT_OK);
  for (int frame = 0; frame < request.frames; ++frame) {
    paintFrame(*bitmap, request.still ? 0 : frame);
    ASSERT_EQ(saver->Write(bitmap), IMAGERESULT_OK);
  }
  const bool closed = saver->Close();
  for (const host::Failure& failure : host::takeFailures())
    ADD_FAILURE() << failure.sentence;
  ASSERT_TRUE(closed);
}

inline std::string quoted(const Filename& name) {
  return "'file:" + name.GetString().GetUTF8() + "'";
}

/// ffprobe's description of the video stream, with frames counted by decoding them.
inline std::map<std::string, std::string> probe(const Filename& name) {
  std::istringstream lines(
      outputOf("ffprobe -v error -count_frames -show_streams -of default=nw=1 " + quoted(name)));
  std::map<std::string, std::string> facts;
  for (std::string line; std::getline(lines, line);)
    if (const std::size_t at = line.find('='); at != std::string::npos)
      facts.emplace(line.substr(0, at), line.substr(at + 1));
    else
      facts["trouble"] += line + "\n";
  return facts;
}

/// Without these the program's own conversion to RGB is two codes too dark.
inline constexpr const char* accurate = "scale=flags=accurate_rnd+full_chroma_int+full_chroma_inp";

/// The movie's frames, decoded by ffmpeg into red, green, blue, alpha.
inline std::vector<std::vector<std::uint8_t>> decode(const Filename& name, int width, int height,
                                                     const std::string& filter = accurate) {
  const std::string command = "ffmpeg -v error -i " + quoted(name) + " -vf " + filter +
                              " -vsync passthrough -f rawvideo -pix_fmt rgba - 2>/dev/null";
  const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
  std::vector<std::vector<std::uint8_t>> frames;
  for (;;) {
    std::vector<std::uint8_t> frame(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4);
    if (!pipe || fread(frame.data(), 1, frame.size(), pipe.get()) != frame.size()) return frames;
    frames.push_back(std::move(frame));
  }
}

/// The mean colour of a quarter, without the pixels beside its edges.
inline std::array<double, 4> meanOf(const std::vector<std::uint8_t>& frame, int width, int height,
                                    int quarter) {
  std::array<double, 4> sum{};
  const int left = quarter % 2 ? width / 2 : 0, top = quarter / 2 ? height / 2 : 0;
  int count = 0;
  for (int y = top + 5; y < top + height / 2 - 5; ++y)
    for (int x = left + 5; x < left + width / 2 - 5; ++x, ++count)
      for (std::size_t c = 0; c < 4; ++c)
        sum[c] += frame[static_cast<std::size_t>(y * width + x) * 4 + c];
  for (double& s : sum)
    s /= count;
  return sum;
}

/// Expects a decoded frame to show `quarters(index)`; with alpha too when `alpha`.
inline void expectFrame(const std::vector<std::uint8_t>& frame, int width, int height, int index,
                        double tolerance, bool alpha = false) {
  for (int quarter = 0; quarter < 4; ++quarter) {
    const std::array<double, 4> mean = meanOf(frame, width, height, quarter);
    const Rgba wanted = quarters(index)[static_cast<std::size_t>(quarter)];
    SCOPED_TRACE("frame " + std::to_string(index) + ", quarter " + std::to_string(quarter));
    EXPECT_NEAR(mean[0], wanted.r, tolerance);
    EXPECT_NEAR(mean[1], wanted.g, tolerance);
    EXPECT_NEAR(mean[2], wanted.b, tolerance);
    EXPECT_NEAR(mean[3], alpha ? wanted.a : 255, tolerance);
  }
}

/// Skips a test that needs ffmpeg where it is not installed.
#define NEEDS_FFMPEG()                                                                                       \
  if (!hasProgram("ffprobe") || !hasProgram("ffmpeg")) GTEST_SKIP() << "ffmpeg is not installed"

/// Expects one new failure, about this file; returns its sentence.
inline std::string onlyFailure(const Filename& name) {
  const std::vector<host::Failure> failures = host::takeFailures();
  EXPECT_EQ(failures.size(), 1u);
  if (failures.empty()) return {};
  EXPECT_EQ(failures[0].file, name);
  EXPECT_NE(failures[0].sentence.find(name.GetString().GetUTF8()), std::string::npos) << failures[0].sentence;
  EXPECT_EQ(failures[0].sentence.back(), '.') << failures[0].sentence;
  return failures[0].sentence;
}

} // namespace movie_fixture
