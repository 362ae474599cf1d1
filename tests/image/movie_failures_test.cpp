// Movies that cannot be written: an error code, one sentence in the record, no partial file.

#include "file_size_limit.h"
#include "movie_fixture.h"
#include "movie_job.h"

using namespace movie_fixture;

namespace {

/// Opens with one invalid argument and expects this result, one sentence, and silent failures after it.
std::string expectRefused(const Filename& name, BaseBitmap* bitmap, LONG fps, LONG format, LONG codec,
                          IMAGERESULT wanted) {
  BaseContainer options;
  options.SetLong(host::movieCodecKey, codec);
  host::takeFailures();
  Saver saver;
  EXPECT_EQ(saver->Open(name, bitmap, fps, format, &options, SAVEBIT_0), wanted);
  const std::string sentence = onlyFailure(name);
  EXPECT_EQ(saver->Write(bitmap), wanted);
  EXPECT_FALSE(saver->Close());
  EXPECT_EQ(host::failureCount(), 0u);
  return sentence;
}

bool mentions(const std::string& sentence, const char* word) {
  return sentence.find(word) != std::string::npos;
}

/// Runs while files may hold `limit` bytes; returns its result.
template <class Work>
int withFilesLimited(std::uintmax_t limit, Work work) {
  const FileSizeLimit full(limit);
  return work();
}

/// Writes noise. 0: success; 7: the expected failure with its codes, one sentence, and early refusals.
int writeNoise(const Filename& name, LONG format, LONG codec) {
  Bitmap bitmap;
  if (bitmap->Init(160, 120) != IMAGERESULT_OK) return 1;
  BaseContainer options;
  options.SetLong(host::movieCodecKey, codec);
  Saver saver;
  host::takeFailures();
  IMAGERESULT result = saver->Open(name, bitmap, 25, format, &options, SAVEBIT_0);
  unsigned seed = 1;
  for (int frame = 0; frame < 30; ++frame) {
    for (LONG y = 0; y < 120; ++y)
      for (LONG x = 0; x < 160; ++x)
        bitmap->SetPixel(x, y, static_cast<LONG>((seed = seed * 1664525u + 1013904223u) >> 24), x, y);
    const IMAGERESULT written = saver->Write(bitmap);
    if (result != IMAGERESULT_OK && written == IMAGERESULT_OK) return 2; // must stay failed
    result = written;
  }
  if (saver->Close()) return result == IMAGERESULT_OK && host::failureCount() == 0 ? 0 : 3;
  const std::vector<host::Failure> failures = host::takeFailures();
  if (failures.size() != 1 || failures[0].file != name) return 4;
  return failures[0].sentence.find("File too large") == std::string::npos ? 5 : 7;
}

} // namespace

TEST(MovieFailures, ImpossibleRequests) {
  Folder folder;
  const Filename name = folder.file("a.mov");
  Bitmap bitmap, empty;
  ASSERT_EQ(bitmap->Init(64, 48), IMAGERESULT_OK);
  for (const LONG fps : {0, -25, 1001, 2147483647})
    EXPECT_TRUE(
        mentions(expectRefused(name, bitmap, fps, FILTER_MOVIE, 0, IMAGERESULT_PARAM_ERROR), "1 to 1000"));
  expectRefused(name, nullptr, 25, FILTER_MOVIE, 0, IMAGERESULT_PARAM_ERROR);
  expectRefused(name, empty, 25, FILTER_MOVIE, 0, IMAGERESULT_PARAM_ERROR);
  expectRefused(Filename(), bitmap, 25, FILTER_MOVIE, 0, IMAGERESULT_PARAM_ERROR);
  expectRefused(name, bitmap, 25, FILTER_PNG, 0, IMAGERESULT_WRONGTYPE);
  expectRefused(name, bitmap, 25, 0, 0, IMAGERESULT_WRONGTYPE);
  EXPECT_EQ(folder.entries(), 0u);
}

TEST(MovieFailures, CodecsOfOtherFormats) {
  Folder folder;
  Bitmap bitmap;
  ASSERT_EQ(bitmap->Init(64, 48), IMAGERESULT_OK);
  const Filename name = folder.file("a");
  EXPECT_TRUE(mentions(expectRefused(name, bitmap, 25, FILTER_MOVIE, 99, IMAGERESULT_WRONGTYPE), "99"));
  expectRefused(name, bitmap, 25, FILTER_MOVIE, -1, IMAGERESULT_WRONGTYPE);
  expectRefused(name, bitmap, 25, FILTER_MOVIE, host::movieCodecFfv1, IMAGERESULT_WRONGTYPE);
  expectRefused(name, bitmap, 25, FILTER_AVI, host::movieCodecProRes422, IMAGERESULT_WRONGTYPE);
  EXPECT_EQ(folder.entries(), 0u);
}

TEST(MovieFailures, AnEncoderThatIsNotInstalled) {
  Folder folder;
  Bitmap bitmap;
  ASSERT_EQ(bitmap->Init(64, 48), IMAGERESULT_OK);
  host::MovieCodec codec = *host::movieLibrary().findCodec(FILTER_MOVIE, host::movieCodecMotionJpeg);
  codec.encoder = "an encoder that nobody has";
  try {
    const host::MovieJob job(folder.file("a.mov"), *bitmap, codec, {}, 25, false);
    FAIL() << "it was opened";
  } catch (const host::MovieError& error) {
    EXPECT_EQ(error.result, IMAGERESULT_WRONGTYPE);
    EXPECT_TRUE(mentions(error.what(), "Motion JPEG")) << error.what();
  }
  EXPECT_EQ(folder.entries(), 0u);
}

TEST(MovieFailures, PicturesTooLargeForTheCodec) {
  Folder folder;
  Bitmap bitmap;
  ASSERT_EQ(bitmap->Init(8200, 16), IMAGERESULT_OK);
  EXPECT_TRUE(mentions(
      expectRefused(folder.file("a.avi"), bitmap, 25, FILTER_AVI, 0, IMAGERESULT_PARAM_ERROR), "8190"));
  ASSERT_EQ(bitmap->Init(16, 17000), IMAGERESULT_OK);
  expectRefused(folder.file("a.mov"), bitmap, 25, FILTER_MOVIE, 0, IMAGERESULT_PARAM_ERROR);
  EXPECT_EQ(folder.entries(), 0u);
}

TEST(MovieFailures, MissingAndReadOnlyFolders) {
  Folder folder;
  Bitmap bitmap;
  ASSERT_EQ(bitmap->Init(64, 48), IMAGERESULT_OK);
  expectRefused(folder.file("none/a.mov"), bitmap, 25, FILTER_MOVIE, 0, IMAGERESULT_FILEERROR);
  fs::create_directory(folder.path() / "a.mov");
  expectRefused(folder.file("a.mov"), bitmap, 25, FILTER_MOVIE, 0, IMAGERESULT_FILEERROR);
  if (fs::exists("/dev/full")) expectRefused("/dev/full", bitmap, 25, FILTER_AVI, 0, IMAGERESULT_FILEERROR);
  fs::permissions(folder.path(), fs::perms(0555));
  const uid_t user = geteuid();
  if (user == 0) { // root may write everywhere: become nobody for a while
    ASSERT_EQ(seteuid(65534), 0);
  }
  expectRefused(folder.file("b.mov"), bitmap, 25, FILTER_MOVIE, 0, IMAGERESULT_FILEERROR);
  ASSERT_EQ(seteuid(user), 0);
}

TEST(MovieFailures, ADiskThatFillsAnywhereInTheMovie) {
  Folder folder;
  for (const auto& [format, codec] : {std::pair{FILTER_MOVIE, host::movieCodecH264},
                                      {FILTER_MOVIE, host::movieCodecRaw},
                                      {FILTER_AVI, host::movieCodecMpeg4},
                                      {FILTER_AVI, host::movieCodecRaw}}) {
    const Filename name = folder.file("movie");
    ASSERT_EQ(writeNoise(name, format, codec), 0);
    const auto again = [&, f = format, c = codec] { return writeNoise(name, f, c); };
    const std::uintmax_t whole = fs::file_size(folder.path() / "movie");
    writeBytes(name, bytesFrom("old"));
    for (const std::uintmax_t limit :
         {std::uintmax_t{10}, std::uintmax_t{3000}, whole / 2, whole - 200, whole - 1}) {
      EXPECT_EQ(withFilesLimited(limit, again), 7)
          << "codec " << codec << ", " << limit << " of " << whole << " bytes";
      EXPECT_EQ(bytesOf(name), bytesFrom("old"));
      EXPECT_EQ(folder.entries(), 1u); // no partial movie beside it
    }
    EXPECT_EQ(withFilesLimited(whole, again), 0);
    EXPECT_EQ(fs::file_size(folder.path() / "movie"), whole);
  }
}

TEST(MovieFailures, FramesOfAnotherSizeAreSkipped) {
  NEEDS_FFMPEG();
  Folder folder;
  const Filename name = folder.file("a.mov");
  Bitmap bitmap, other;
  ASSERT_EQ(bitmap->Init(64, 48), IMAGERESULT_OK);
  ASSERT_EQ(other->Init(64, 49), IMAGERESULT_OK);
  host::takeFailures();
  Saver saver;
  ASSERT_EQ(saver->Open(name, bitmap, 25, FILTER_MOVIE, nullptr, SAVEBIT_0), IMAGERESULT_OK);
  EXPECT_EQ(saver->Write(bitmap), IMAGERESULT_OK);
  EXPECT_EQ(saver->Write(other), IMAGERESULT_PARAM_ERROR);
  EXPECT_EQ(saver->Write(nullptr), IMAGERESULT_PARAM_ERROR);
  EXPECT_EQ(saver->Write(bitmap), IMAGERESULT_OK);
  EXPECT_TRUE(saver->Close());
  onlyFailure(name);
  EXPECT_EQ(probe(name)["nb_read_frames"], "2");
}

TEST(MovieFailures, WithoutOpenNothingIsWritten) {
  Bitmap bitmap;
  ASSERT_EQ(bitmap->Init(64, 48), IMAGERESULT_OK);
  Saver saver;
  host::takeFailures();
  EXPECT_EQ(saver->Write(bitmap), IMAGERESULT_PARAM_ERROR);
  EXPECT_TRUE(saver->Close());
  EXPECT_EQ(host::failureCount(), 0u);
}
