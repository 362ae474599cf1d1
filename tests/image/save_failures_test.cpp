// Saves that fail: the caller gets a code, the record a sentence, and the old file stays.
#include <unistd.h>

#include "failures.h"
#include "file_size_limit.h"
#include "picture_fixture.h"

using namespace picture_fixture;

namespace {

using Bitmap = AutoAlloc<BaseBitmap>;

/// Saves and expects this result with one new entry in the record of failures.
void expectFailure(const BaseBitmap& bitmap, const Filename& name, LONG format, IMAGERESULT wanted) {
  host::takeFailures();
  EXPECT_EQ(bitmap.Save(name, format), wanted);
  const std::vector<host::Failure> failures = host::takeFailures();
  ASSERT_EQ(failures.size(), 1u);
  EXPECT_EQ(failures[0].file, name);
  EXPECT_NE(failures[0].sentence.find(name.GetString().GetUTF8()), std::string::npos) << failures[0].sentence;
  EXPECT_EQ(failures[0].sentence.back(), '.');
}

void makeBitmap(Bitmap& bitmap, LONG width, LONG height) {
  ASSERT_EQ(bitmap->Init(width, height, 24), IMAGERESULT_OK);
  fillPattern(*bitmap);
}

} // namespace

TEST(SaveFailures, SuccessLeavesNoEntry) {
  Folder folder;
  Bitmap bitmap;
  makeBitmap(bitmap, 8, 8);
  host::takeFailures();
  EXPECT_EQ(bitmap->Save(folder.file("a.png"), FILTER_PNG), IMAGERESULT_OK);
  EXPECT_EQ(host::failureCount(), 0u);
}

TEST(SaveFailures, FormatsWithoutAWriter) {
  Folder folder;
  Bitmap bitmap;
  makeBitmap(bitmap, 8, 8);
  for (const LONG format : {FILTER_AVI, FILTER_MOVIE, 0, -1, 4711})
    expectFailure(*bitmap, folder.file("a.avi"), format, IMAGERESULT_WRONGTYPE);
  EXPECT_EQ(folder.entries(), 0u);
}

TEST(SaveFailures, EmptyPicturesAndNames) {
  Folder folder;
  Bitmap bitmap;
  expectFailure(*bitmap, folder.file("a.png"), FILTER_PNG, IMAGERESULT_PARAM_ERROR);
  makeBitmap(bitmap, 8, 8);
  expectFailure(*bitmap, Filename(), FILTER_PNG, IMAGERESULT_PARAM_ERROR);
}

TEST(SaveFailures, MissingAndReadOnlyFolders) {
  Folder folder;
  Bitmap bitmap;
  makeBitmap(bitmap, 8, 8);
  expectFailure(*bitmap, folder.file("none/a.png"), FILTER_PNG, IMAGERESULT_FILEERROR);
  fs::create_directory(folder.path() / "a.png"); // a folder has the name
  expectFailure(*bitmap, folder.file("a.png"), FILTER_PNG, IMAGERESULT_FILEERROR);
  std::ofstream(folder.path() / "file") << "x"; // a file stands where a folder should be
  expectFailure(*bitmap, folder.file("file/a.png"), FILTER_PNG, IMAGERESULT_FILEERROR);
}

TEST(SaveFailures, FoldersWithoutRights) {
  Folder folder;
  Bitmap bitmap;
  makeBitmap(bitmap, 8, 8);
  fs::permissions(folder.path(), fs::perms(0555));
  const uid_t user = geteuid();
  if (user == 0) { // root may write everywhere: become nobody for a while
    ASSERT_EQ(seteuid(65534), 0);
  }
  expectFailure(*bitmap, folder.file("a.png"), FILTER_PNG, IMAGERESULT_FILEERROR);
  ASSERT_EQ(seteuid(user), 0);
}

TEST(SaveFailures, ADeviceThatIsFull) {
  if (!fs::exists("/dev/full")) GTEST_SKIP() << "there is no /dev/full";
  Bitmap bitmap;
  makeBitmap(bitmap, 300, 300);
  expectFailure(*bitmap, Filename("/dev/full"), FILTER_BMP, IMAGERESULT_FILEERROR);
}

TEST(SaveFailures, AFullDiskKeepsTheOldFile) {
  Folder folder;
  Bitmap bitmap;
  for (const LONG format : {FILTER_TIF, FILTER_BMP, FILTER_JPG, FILTER_PNG, FILTER_EXR}) {
    const Filename name = folder.file("picture");
    makeBitmap(bitmap, 6, 6);
    ASSERT_EQ(bitmap->Save(name, format), IMAGERESULT_OK);
    const std::vector<std::byte> before = bytesOf(name);
    makeBitmap(bitmap, 400, 300);
    host::takeFailures();
    IMAGERESULT saved;
    {
      const FileSizeLimit limit(2048);
      saved = bitmap->Save(name, format);
    }
    EXPECT_EQ(saved, IMAGERESULT_FILEERROR) << format;
    EXPECT_EQ(host::failureCount(), 1u) << format;
    EXPECT_EQ(bytesOf(name), before) << format;
    EXPECT_EQ(folder.entries(), 1u) << format; // no partial file beside it
  }
}
