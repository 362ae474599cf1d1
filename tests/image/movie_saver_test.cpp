// Writing movies: order of frames, cancel, names, options, threads.
#include <algorithm>
#include <thread>

#include "movie_fixture.h"
#include "user_interface.h"

using namespace movie_fixture;

namespace {

void paintNoise(BaseBitmap& bitmap, unsigned seed) {
  for (LONG y = 0; y < bitmap.GetBh(); ++y)
    for (LONG x = 0; x < bitmap.GetBw(); ++x) {
      seed = seed * 1664525u + 1013904223u;
      bitmap.SetPixel(x, y, static_cast<LONG>(seed >> 24), static_cast<LONG>((seed >> 16) & 255),
                      static_cast<LONG>((seed >> 8) & 255));
    }
}

std::uintmax_t noisySize(const Filename& name, MovieRequest request) {
  Bitmap bitmap;
  EXPECT_EQ(bitmap->Init(request.width, request.height), IMAGERESULT_OK);
  const BaseContainer options = optionsOf(request);
  Saver saver;
  EXPECT_EQ(saver->Open(name, bitmap, 25, request.format, &options, SAVEBIT_0), IMAGERESULT_OK);
  for (int frame = 0; frame < request.frames; ++frame) {
    paintNoise(*bitmap, static_cast<unsigned>(frame));
    EXPECT_EQ(saver->Write(bitmap), IMAGERESULT_OK);
  }
  EXPECT_TRUE(saver->Close());
  return fs::file_size(name.GetString().GetUTF8());
}

int keyFrames(const Filename& name) {
  const std::string flags =
      outputOf("ffprobe -v error -show_entries packet=flags -of csv=p=0 " + quoted(name));
  return static_cast<int>(std::count(flags.begin(), flags.end(), 'K'));
}

} // namespace

TEST(MovieSaver, KeepsManyFramesInOrder) {
  NEEDS_FFMPEG();
  Folder folder;
  for (const LONG format : {FILTER_MOVIE, FILTER_AVI}) {
    const Filename name = folder.file("many");
    Bitmap bitmap;
    ASSERT_EQ(bitmap->Init(64, 64), IMAGERESULT_OK);
    Saver saver;
    ASSERT_EQ(saver->Open(name, bitmap, 30, format, nullptr, SAVEBIT_0), IMAGERESULT_OK);
    for (int frame = 0; frame < 120; ++frame) {
      bitmap->Clear(2 * frame, 2 * frame, 2 * frame); // painted over while earlier frames wait
      ASSERT_EQ(saver->Write(bitmap), IMAGERESULT_OK);
    }
    ASSERT_TRUE(saver->Close());
    const auto frames = decode(name, 64, 64);
    ASSERT_EQ(frames.size(), 120u);
    for (std::size_t frame = 0; frame < frames.size(); ++frame)
      ASSERT_NEAR(frames[frame][4 * 64 * 32], static_cast<double>(2 * frame), 2) << frame;
  }
}

TEST(MovieSaver, CancelAfterTwoFramesLeavesAMovieOfTwo) {
  NEEDS_FFMPEG();
  Folder folder;
  for (const LONG format : {FILTER_MOVIE, FILTER_AVI}) {
    MovieRequest request;
    request.format = format;
    request.frames = 2;
    writeMovie(folder.file("cut"), request);
    std::map<std::string, std::string> facts = probe(folder.file("cut"));
    EXPECT_EQ(facts["nb_read_frames"], "2");
    EXPECT_NEAR(std::atof(facts["duration"].c_str()), 0.08, 1e-4);
  }
}

TEST(MovieSaver, AppearsWholeAtClose) {
  Folder folder;
  const Filename name = folder.file("a.mov");
  writeBytes(name, bytesFrom("old"));
  Bitmap bitmap;
  ASSERT_EQ(bitmap->Init(64, 48), IMAGERESULT_OK);
  Saver saver;
  ASSERT_EQ(saver->Open(name, bitmap, 25, FILTER_MOVIE, nullptr, SAVEBIT_0), IMAGERESULT_OK);
  ASSERT_EQ(saver->Write(bitmap), IMAGERESULT_OK);
  EXPECT_EQ(bytesOf(name), bytesFrom("old"));
  EXPECT_TRUE(saver->Close());
  EXPECT_GT(bytesOf(name).size(), 500u);
  EXPECT_EQ(folder.entries(), 1u);
}

TEST(MovieSaver, WithoutFramesTheOldFileStays) {
  Folder folder;
  const Filename name = folder.file("a.mov");
  writeBytes(name, bytesFrom("old"));
  Bitmap bitmap;
  ASSERT_EQ(bitmap->Init(64, 48), IMAGERESULT_OK);
  host::takeFailures();
  for (const LONG format : {FILTER_MOVIE, FILTER_AVI}) {
    Saver saver;
    ASSERT_EQ(saver->Open(name, bitmap, 25, format, nullptr, SAVEBIT_0), IMAGERESULT_OK);
    EXPECT_TRUE(saver->Close());
    EXPECT_EQ(bytesOf(name), bytesFrom("old"));
    ASSERT_EQ(saver->Open(folder.file("new"), bitmap, 25, format, nullptr, SAVEBIT_0), IMAGERESULT_OK);
  }
  EXPECT_EQ(folder.entries(), 1u);
  EXPECT_EQ(host::failureCount(), 0u);
}

TEST(MovieSaver, FreeClosesAndOneSaverWritesSeveralMovies) {
  Folder folder;
  Bitmap bitmap;
  ASSERT_EQ(bitmap->Init(64, 48), IMAGERESULT_OK);
  MovieSaver* saver = MovieSaver::Alloc();
  for (const char* name : {"a.mov", "b.mov", "c.mov"}) {
    ASSERT_EQ(saver->Open(folder.file(name), bitmap, 25, FILTER_MOVIE, nullptr, SAVEBIT_0), IMAGERESULT_OK);
    ASSERT_EQ(saver->Write(bitmap), IMAGERESULT_OK);
  }
  MovieSaver::Free(saver);
  EXPECT_EQ(saver, nullptr);
  for (const char* name : {"a.mov", "b.mov", "c.mov"})
    EXPECT_GT(bytesOf(folder.file(name)).size(), 500u) << name;
}

TEST(MovieSaver, UnusualFileNames) {
  Folder folder;
  for (const char* name : {"a:b.mov", "frame%04d.mov", "Größe 東.mov", "no suffix", "-x.mov"}) {
    writeMovie(folder.file(name), {});
    EXPECT_TRUE(fs::exists(folder.path() / name)) << name;
  }
  EXPECT_EQ(folder.entries(), 5u);
}

TEST(MovieSaver, ChoicesChangeTheFile) {
  Folder folder;
  const Filename name = folder.file("a");
  for (const auto& [format, codec] : {std::pair{FILTER_MOVIE, host::movieCodecH264},
                                      {FILTER_MOVIE, host::movieCodecProRes422},
                                      {FILTER_MOVIE, host::movieCodecMotionJpeg},
                                      {FILTER_AVI, host::movieCodecMpeg4}}) {
    SCOPED_TRACE(codec);
    MovieRequest request{.format = format, .codec = codec, .width = 160, .height = 120, .frames = 8};
    request.options = {{host::movieQualityKey, 20}};
    const std::uintmax_t low = noisySize(name, request);
    request.options = {{host::movieQualityKey, 95}};
    const std::uintmax_t high = noisySize(name, request);
    EXPECT_GT(high, low * 5 / 4);
    request.options = {};
    const std::uintmax_t absent = noisySize(name, request);
    request.options = {
        {host::movieQualityKey, 0}, {host::movieBitRateKey, 0}, {host::movieKeyDistanceKey, 0}};
    EXPECT_EQ(noisySize(name, request), absent); // 0 means the default
  }
}

TEST(MovieSaver, BitRateIsKept) {
  Folder folder;
  for (const auto& [format, codec] :
       {std::pair{FILTER_MOVIE, host::movieCodecH264}, {FILTER_AVI, host::movieCodecMpeg4}}) {
    MovieRequest request{.format = format, .codec = codec, .width = 320, .height = 240, .frames = 25};
    request.options = {{host::movieBitRateKey, 4000}};
    const std::uintmax_t some = noisySize(folder.file("a"), request);
    request.options = {{host::movieBitRateKey, 16000}};
    const std::uintmax_t more = noisySize(folder.file("a"), request);
    EXPECT_GT(more, some * 3 / 2) << codec;
    EXPECT_LT(some, 2 * 4000000u / 8) << codec; // one second
  }
}

TEST(MovieSaver, KeyFrameDistanceIsKept) {
  NEEDS_FFMPEG();
  Folder folder;
  for (const auto& [format, codec] :
       {std::pair{FILTER_MOVIE, host::movieCodecH264}, {FILTER_AVI, host::movieCodecMpeg4}}) {
    MovieRequest request{.format = format, .codec = codec};
    request.frames = 12;
    request.still = true; // a change of the scene makes a key frame too
    request.options = {{host::movieKeyDistanceKey, 1}};
    writeMovie(folder.file("a"), request);
    EXPECT_EQ(keyFrames(folder.file("a")), 12) << codec;
    request.options = {{host::movieKeyDistanceKey, 4}};
    writeMovie(folder.file("a"), request);
    EXPECT_EQ(keyFrames(folder.file("a")), 3) << codec;
  }
}

TEST(MovieSaver, TwoAtATime) {
  NEEDS_FFMPEG();
  Folder folder;
  std::vector<std::thread> threads;
  for (const LONG format : {FILTER_MOVIE, FILTER_AVI})
    threads.emplace_back([&folder, format] {
      MovieRequest request;
      request.format = format;
      request.frames = 10;
      writeMovie(folder.file(std::to_string(format)), request);
    });
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(probe(folder.file(std::to_string(FILTER_MOVIE)))["nb_read_frames"], "10");
  EXPECT_EQ(probe(folder.file(std::to_string(FILTER_AVI)))["nb_read_frames"], "10");
}

TEST(MovieOptions, AreBroughtIntoTheirRanges) {
  BaseContainer options;
  EXPECT_EQ(host::readMovieOptions(nullptr).quality, 80);
  EXPECT_EQ(host::readMovieOptions(&options).quality, 80);
  options.SetLong(host::movieQualityKey, 1000);
  options.SetLong(host::movieBitRateKey, -5);
  options.SetLong(host::movieKeyDistanceKey, 1000000);
  const host::MovieOptions read = host::readMovieOptions(&options);
  EXPECT_EQ(read.quality, 100);
  EXPECT_EQ(read.bitRate, 0);
  EXPECT_EQ(read.keyDistance, 1000);
  EXPECT_EQ(read.codec, host::movieCodecDefault);
  EXPECT_FALSE(read.alpha);
}

TEST(MovieOptions, InstalledCodecsBeginWithTheDefault) {
  const std::vector<host::MovieCodecInfo> mov = host::movieCodecs(FILTER_MOVIE),
                                          avi = host::movieCodecs(FILTER_AVI);
  ASSERT_FALSE(mov.empty());
  ASSERT_FALSE(avi.empty());
  EXPECT_EQ(avi[0].id, host::movieCodecMpeg4);
  EXPECT_TRUE(host::movieCodecs(FILTER_PNG).empty());
  for (const LONG format : {FILTER_MOVIE, FILTER_AVI}) // each can be opened
    for (const host::MovieCodecInfo& codec : host::movieCodecs(format)) {
      Folder folder;
      MovieRequest request;
      request.format = format;
      request.codec = codec.id;
      writeMovie(folder.file("a"), request);
    }
}

TEST(MovieOptions, AreChosenByTheUser) {
  struct Chooser : host::UserInterface {
    bool editMovieOptions(LONG format, BaseContainer& options) override {
      asked = format;
      options.SetLong(host::movieQualityKey, 33);
      return answer;
    }
    LONG asked = 0;
    bool answer = true;
  } chooser;
  Saver saver;
  BaseContainer options;
  EXPECT_FALSE(saver->Choose(FILTER_AVI, options)); // no user interface
  host::setUserInterface(&chooser);
  EXPECT_TRUE(saver->Choose(FILTER_AVI, options));
  EXPECT_EQ(chooser.asked, FILTER_AVI);
  EXPECT_EQ(options.GetLong(host::movieQualityKey), 33);
  chooser.answer = false;
  BaseContainer kept;
  kept.SetLong(host::movieQualityKey, 50);
  EXPECT_FALSE(saver->Choose(FILTER_MOVIE, kept));
  EXPECT_EQ(kept.GetLong(host::movieQualityKey), 50); // cancelled: edits are dropped
  chooser.asked = 0;
  EXPECT_FALSE(saver->Choose(FILTER_PNG, options)); // nothing to choose
  EXPECT_EQ(chooser.asked, 0);
  host::setUserInterface(nullptr);
}
