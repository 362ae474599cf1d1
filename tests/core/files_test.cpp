// Files, folders, listings, and files that are replaced whole.
#include "c4d_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <filesystem>

#include "atomic_file.h"
#include "console.h"
#include "failures.h"
#include "file_path.h"
#include "file_size_limit.h"
#include "host_fixture.h"
#include "read_file.h"

namespace {

namespace fs = std::filesystem;
using host::toPath;

TEST(Files, Existence) {
  TemporaryFolder folder;
  const Filename file = folder.write("a.txt", "x");
  EXPECT_TRUE(GeFExist(file));
  EXPECT_FALSE(GeFExist(file, TRUE));
  EXPECT_TRUE(GeFExist(folder.path(), TRUE));
  EXPECT_FALSE(GeFExist(folder.path()));
  EXPECT_FALSE(GeFExist(folder / "none"));
  EXPECT_FALSE(GeFExist(Filename()));
}

TEST(ReadFile, GivesTheBytesOrTheFault) {
  TemporaryFolder folder;
  const Filename file = folder.write("a.bin", "abc");
  EXPECT_EQ(host::readFile(file).text(), "abc");
  EXPECT_EQ(host::readFile(file).fault, host::ReadFault::none);
  EXPECT_EQ(host::readFile(file, 3).text(), "abc");
  EXPECT_EQ(host::readFile(file, 2).fault, host::ReadFault::tooLarge);
  EXPECT_EQ(host::readFile(folder.write("empty", "")).fault, host::ReadFault::none);
  EXPECT_EQ(host::readFile(folder / "none").fault, host::ReadFault::missing);
  EXPECT_EQ(host::readFile(file + "below").fault, host::ReadFault::missing);
  EXPECT_EQ(host::readFile(folder.path()).fault, host::ReadFault::folder);
  EXPECT_EQ(host::readFile(Filename("/dev/null")).fault, host::ReadFault::notRegular);
}

TEST(ReadFile, SaysWhyInTheSystemsWords) {
  TemporaryFolder folder;
  const Filename file = folder.write("a.bin", "abc");
  fs::permissions(toPath(file), fs::perms::none);
  if (access(toPath(file).c_str(), R_OK) == 0) GTEST_SKIP() << "this user may read every file";
  const host::FileContent content = host::readFile(file);
  EXPECT_EQ(content.fault, host::ReadFault::failed);
  EXPECT_EQ(content.reason, "Permission denied");
  EXPECT_TRUE(content.bytes.empty());
}

TEST(Files, MakesAndDeletesFolders) {
  TemporaryFolder folder;
  EXPECT_FALSE(GeFCreateDir(folder / "a/b")) << "the parent is missing";
  EXPECT_TRUE(GeFCreateDirRec(folder / "a/b"));
  EXPECT_TRUE(GeFCreateDir(folder / "a/b"));
  EXPECT_TRUE(GeFCreateDir(folder / "a/c"));
  const Filename file = folder.write("plain");
  EXPECT_FALSE(GeFCreateDir(file)) << "a file is in the way";
  EXPECT_FALSE(GeFCreateDirRec(file + "below"));
  EXPECT_FALSE(GeFKill(folder / "a")) << "not empty";
  EXPECT_TRUE(GeFKill(folder / "a/b"));
  EXPECT_TRUE(GeFKill(file));
  EXPECT_FALSE(GeFKill(file));
}

TEST(Files, MovesAndCopies) {
  TemporaryFolder folder;
  const Filename a = folder.write("a", "first"), b = folder.write("b", "second");
  EXPECT_FALSE(GeFCopyFile(a, b, FALSE));
  EXPECT_EQ(readText(b), "second");
  EXPECT_TRUE(GeFCopyFile(a, b, TRUE));
  EXPECT_EQ(readText(b), "first");
  EXPECT_TRUE(GeFCopyFile(a, folder / "c", FALSE));
  EXPECT_FALSE(GeFCopyFile(folder / "none", folder / "d", TRUE));
  EXPECT_FALSE(GeFExist(folder / "d"));
  EXPECT_FALSE(GeFCopyFile(folder.path(), folder / "d", TRUE));
  EXPECT_FALSE(GeFCopyFile(a, folder / "none/d", TRUE));
  EXPECT_TRUE(GeFMove(a, b)) << "the target is replaced";
  EXPECT_FALSE(GeFExist(a));
  EXPECT_FALSE(GeFMove(a, b));
  EXPECT_EQ(readText(b), "first");
  EXPECT_EQ(folder.names(), (std::vector<std::string>{"b", "c"})) << "nothing is left over";
}

TEST(Files, MovesAcrossFileSystems) {
  TemporaryFolder folder;
  const char* other = "/dev/shm";
  struct stat here, there;
  if (stat(other, &there) != 0 || stat(folder.path().GetString().GetUTF8().c_str(), &here) != 0 ||
      here.st_dev == there.st_dev || access(other, W_OK) != 0)
    GTEST_SKIP() << "no second file system to write to";
  const Filename target = Filename(other) + ("lumenara-move-" + std::to_string(getpid())).c_str();
  const Filename file = folder.write("file", "content");
  EXPECT_TRUE(GeFMove(file, target));
  EXPECT_FALSE(GeFExist(file));
  EXPECT_EQ(readText(target), "content");
  GeFKill(target);
  folder.write("dir/sub/inner", "deep");
  EXPECT_TRUE(GeFMove(folder / "dir", target));
  EXPECT_EQ(readText(target + "sub/inner"), "deep");
  EXPECT_FALSE(GeFExist(folder / "dir", TRUE));
  fs::remove_all(toPath(target));
}

TEST(BaseFile, WritesAndReadsNumbersLowestByteFirst) {
  TemporaryFolder folder;
  const Filename name = folder / "data";
  AutoAlloc<BaseFile> file;
  ASSERT_TRUE(file->Open(name, FILEOPEN_WRITE));
  EXPECT_TRUE(file->WriteLong(0x01020304));
  EXPECT_TRUE(file->WriteReal(-2.5));
  EXPECT_TRUE(file->WriteString("gr\xC3\xBC\xFF"));
  EXPECT_TRUE(file->WriteBytes("xyz", 3));
  EXPECT_EQ(file->GetPosition(), 4 + 8 + 4 + 5 + 3);
  EXPECT_TRUE(file->Close());
  EXPECT_EQ(readText(name).substr(0, 4), "\x04\x03\x02\x01");

  ASSERT_TRUE(file->Open(name));
  LONG number = 0;
  Real real = 0;
  String text;
  char bytes[4] = {};
  EXPECT_TRUE(file->ReadLong(&number));
  EXPECT_TRUE(file->ReadReal(&real));
  EXPECT_TRUE(file->ReadString(&text));
  EXPECT_EQ(number, 0x01020304);
  EXPECT_EQ(real, -2.5);
  EXPECT_EQ(text.GetUTF8(), "gr\xC3\xBC\xFF");
  EXPECT_EQ(file->ReadBytes(bytes, 4, FALSE), 3);
  EXPECT_EQ(file->GetError(), FILEERROR_NONE);
  EXPECT_EQ(std::string(bytes), "xyz");
  EXPECT_EQ(file->GetLength(), 24);
  EXPECT_TRUE(file->Seek(-3, FILESEEK_RELATIVE));
  EXPECT_EQ(file->ReadBytes(bytes, 4), 3) << "less than asked";
  EXPECT_EQ(file->GetError(), FILEERROR_READ);
  EXPECT_FALSE(file->WriteLong(1)) << "open for reading";
}

TEST(BaseFile, RefusesALengthBeyondTheFile) {
  TemporaryFolder folder;
  for (const std::string& text : {std::string("\xFF\xFF\xFF\x7F"
                                              "ab"),
                                  std::string("\xFF\xFF\xFF\xFF"
                                              "ab"),
                                  std::string("\x03\0\0\0ab", 6), std::string("\x01\0", 2)}) {
    AutoAlloc<BaseFile> file;
    ASSERT_TRUE(file->Open(folder.write("bad", text)));
    String read("kept");
    EXPECT_FALSE(file->ReadString(&read));
    EXPECT_EQ(read, String("kept"));
  }
}

TEST(BaseFile, OpensInEveryMode) {
  TemporaryFolder folder;
  const Filename name = folder.write("f", "12345");
  AutoAlloc<BaseFile> file;
  ASSERT_TRUE(file->Open(name, FILEOPEN_APPEND));
  EXPECT_TRUE(file->WriteBytes("6", 1));
  EXPECT_TRUE(file->Close());
  EXPECT_EQ(readText(name), "123456");
  ASSERT_TRUE(file->Open(name, FILEOPEN_READWRITE));
  char c = 0;
  EXPECT_EQ(file->ReadBytes(&c, 1), 1);
  EXPECT_TRUE(file->WriteBytes("X", 1));
  EXPECT_EQ(file->ReadBytes(&c, 1), 1);
  EXPECT_EQ(c, '3');
  EXPECT_TRUE(file->Seek(0, FILESEEK_START));
  EXPECT_FALSE(file->Seek(-1, FILESEEK_START));
  file->Close();
  EXPECT_EQ(readText(name), "1X3456");
  ASSERT_TRUE(file->Open(folder / "new", FILEOPEN_READWRITE)) << "made when missing";
  file->Close();
  ASSERT_TRUE(file->Open(name, FILEOPEN_WRITE));
  EXPECT_TRUE(file->Close());
  EXPECT_EQ(readText(name), "");
}

using FileErrors = HostFixture;

TEST_F(FileErrors, ABoxReportsAFailedOpenUnlessUnwanted) {
  startHost();
  AutoAlloc<BaseFile> file;
  EXPECT_FALSE(file->Open(folder / "none/f", FILEOPEN_READ, FILEDIALOG_NONE));
  EXPECT_EQ(file->GetError(), FILEERROR_OPEN);
  EXPECT_TRUE(ui.messages.empty());
  EXPECT_FALSE(file->Open(folder / "none/f"));
  ASSERT_EQ(ui.messages.size(), 1u);
  EXPECT_NE(ui.messages[0].find("none/f"), std::string::npos);
  EXPECT_NE(ui.messages[0].find("No such file"), std::string::npos);
  EXPECT_FALSE(file->Open(folder.path(), FILEOPEN_READ, FILEDIALOG_NONE)) << "a folder cannot be opened";
  EXPECT_FALSE(file->Open(folder.path(), FILEOPEN_WRITE, FILEDIALOG_NONE));
}

TEST_F(FileErrors, OpeningWithOtherProgramsGoesThroughTheUser) {
  EXPECT_FALSE(GeExecuteFile("/a.mov")) << "nobody is there to open it";
  startHost();
  EXPECT_TRUE(GeExecuteFile("/a.mov"));
  EXPECT_TRUE(GeOpenHTML("http://x.org/y"));
  EXPECT_EQ(ui.record, (std::vector<std::string>{"open file: /a.mov", "open address: http://x.org/y"}));
  ui.opensFiles = false;
  EXPECT_FALSE(GeExecuteFile("/a.mov"));
}

std::vector<std::string> browse(const Filename& folder, Bool recursive = FALSE) {
  AutoAlloc<BrowseFiles> browser;
  browser->Init(folder, recursive);
  std::vector<std::string> found;
  while (browser->GetNext())
    found.push_back(browser->GetFilename().GetString().GetUTF8() + (browser->IsDir() ? "/" : ""));
  EXPECT_FALSE(browser->GetNext()) << "past the end it stays";
  return found;
}

TEST(BrowseFiles, ListsByBytes) {
  TemporaryFolder folder;
  for (const char* name : {"b", "a", "B", "a-1", "a1", "\xC3\xA4", "\xFF", ".h", "sub/x", "sub/a", "sub-1"})
    folder.write(name);
  EXPECT_EQ(browse(folder.path()), (std::vector<std::string>{".h", "B", "a", "a-1", "a1", "b", "sub/",
                                                             "sub-1", "\xC3\xA4", "\xFF"}));
  EXPECT_EQ(browse(folder.path(), TRUE),
            (std::vector<std::string>{".h", "B", "a", "a-1", "a1", "b", "sub/", "sub/a", "sub/x", "sub-1",
                                      "\xC3\xA4", "\xFF"}));
  EXPECT_TRUE(browse(folder / "none").empty());
  EXPECT_TRUE(browse(folder / "a").empty()) << "a file is not a folder";
}

TEST(BrowseFiles, DoesNotFollowLinksInCircles) {
  TemporaryFolder folder;
  folder.write("d/f");
  fs::create_directory_symlink(toPath(folder.path()), toPath(folder / "d/up"));
  EXPECT_EQ(browse(folder.path(), TRUE), (std::vector<std::string>{"d/", "d/f", "d/up/"}));
}

TEST(BrowseFiles, TellsSizesTimesAndHiddenOnes) {
  TemporaryFolder folder;
  const Filename file = folder.write("a", "12345");
  folder.write(".b");
  std::tm when{};
  when.tm_year = 121, when.tm_mon = 5, when.tm_mday = 7, when.tm_hour = 8, when.tm_min = 9, when.tm_sec = 10;
  when.tm_isdst = -1;
  const std::time_t changed = std::mktime(&when);
  const timespec times[2] = {{changed - 100, 0}, {changed, 0}};
  ASSERT_EQ(utimensat(AT_FDCWD, file.GetString().GetUTF8().c_str(), times, 0), 0);

  AutoAlloc<BrowseFiles> browser;
  browser->Init(folder.path());
  EXPECT_EQ(browser->GetFilename(), Filename()) << "not begun yet";
  EXPECT_EQ(browser->GetSize(), 0);
  ASSERT_TRUE(browser->GetNext());
  EXPECT_TRUE(browser->IsHidden());
  ASSERT_TRUE(browser->GetNext());
  EXPECT_FALSE(browser->IsHidden());
  EXPECT_EQ(browser->GetSize(), 5);
  LocalFileTime modified, accessed, created;
  browser->GetFileTime(GE_FILETIME_MODIFIED, &modified);
  browser->GetFileTime(GE_FILETIME_ACCESS, &accessed);
  browser->GetFileTime(GE_FILETIME_CREATED, &created);
  EXPECT_TRUE((modified == LocalFileTime{2021, 6, 7, 8, 9, 10}));
  EXPECT_TRUE((accessed == LocalFileTime{2021, 6, 7, 8, 7, 30}));
  EXPECT_GE(created.year, 2021);
}

using HostClock = HostFixture;

TEST_F(HostClock, TellsTheDateAndTheMilliseconds) {
  startHost();
  std::tm when{};
  when.tm_year = 130, when.tm_mon = 1, when.tm_mday = 3, when.tm_hour = 4, when.tm_min = 5, when.tm_sec = 6;
  when.tm_isdst = -1;
  clock.setWall(std::mktime(&when));
  DateTime now;
  GetDateTimeNow(now);
  EXPECT_EQ(now.year, 2030);
  EXPECT_EQ(now.month, 2);
  EXPECT_EQ(now.day, 3);
  EXPECT_EQ(now.hour, 4);
  EXPECT_EQ(now.minute, 5);
  EXPECT_EQ(now.second, 6);
  const LONG before = GeGetTimer();
  clock.advance(1234);
  EXPECT_EQ(GeGetTimer() - before, 1234);
  clock.set((1LL << 31) + 5);
  EXPECT_EQ(GeGetTimer(), static_cast<LONG>(0x80000005u)) << "it wraps";
}

TEST(AtomicFile, ReplacesWholeAndKeepsTheRights) {
  TemporaryFolder folder;
  const Filename target = folder.write("t.txt", "old");
  fs::permissions(toPath(target), fs::perms::owner_read | fs::perms::owner_write);
  {
    host::AtomicFile file(target);
    ASSERT_TRUE(file.open()) << file.error();
    EXPECT_TRUE(file.write("new text"));
    EXPECT_TRUE(file.seek(0));
    EXPECT_TRUE(file.write("N"));
    EXPECT_EQ(readText(target), "old") << "readers see the old file until commit";
    EXPECT_EQ(file.temporary().GetDirectory(), folder.path());
    EXPECT_TRUE(file.temporary().CheckSuffix("tmp"))
        << "leftovers are not listed among files of the target's kind";
    EXPECT_TRUE(file.commit()) << file.error();
  }
  EXPECT_EQ(readText(target), "New text");
  EXPECT_EQ(fs::status(toPath(target)).permissions(), fs::perms::owner_read | fs::perms::owner_write);
  EXPECT_EQ(folder.names(), std::vector<std::string>{"t.txt"});
}

TEST(AtomicFile, UnfinishedFilesOfEndedProgramsGo) {
  const TemporaryFolder folder;
  const pid_t ended = fork();
  if (ended == 0) _exit(0);
  waitpid(ended, nullptr, 0);
  const std::string gone = ".a.b.tif." + std::to_string(ended) + "-1.tmp";
  const std::vector<std::string> kept = {".a.b.tif." + std::to_string(getpid()) + "-1.tmp", "a.tif", ".a.tmp",
                                         ".a.12x-1.tmp"};
  ASSERT_TRUE(host::replaceFile(folder / gone.c_str(), "x"));
  for (const std::string& name : kept)
    ASSERT_TRUE(host::replaceFile(folder / name.c_str(), "x"));
  host::removeLeftovers(folder.path());
  EXPECT_FALSE(GeFExist(folder / gone.c_str()));
  for (const std::string& name : kept)
    EXPECT_TRUE(GeFExist(folder / name.c_str())) << name;
}

TEST(AtomicFile, LeftoversOfOtherTargetsStayOnRequest) {
  const TemporaryFolder folder;
  const pid_t ended = fork();
  if (ended == 0) _exit(0);
  waitpid(ended, nullptr, 0);
  const auto leftover = [&](const char* target) {
    return folder.write(("." + std::string(target) + "." + std::to_string(ended) + "-12.tmp").c_str(), "x");
  };
  const Filename gone = leftover("a.b.tif"), other = leftover("b.tif");
  std::vector<std::string> targets;
  host::removeLeftovers(folder.path(), [&](const std::string& target) {
    targets.push_back(target);
    return target == "a.b.tif";
  });
  std::sort(targets.begin(), targets.end());
  EXPECT_EQ(targets, (std::vector<std::string>{"a.b.tif", "b.tif"}));
  EXPECT_FALSE(GeFExist(gone));
  EXPECT_TRUE(GeFExist(other));
}

TEST(AtomicFile, WithoutCommitNothingStays) {
  TemporaryFolder folder;
  {
    host::AtomicFile file(folder / "t");
    ASSERT_TRUE(file.open());
    file.write("half");
  }
  EXPECT_TRUE(folder.names().empty());
}

TEST(AtomicFile, LetsALibraryWrite) {
  TemporaryFolder folder;
  host::AtomicFile file(folder / "picture.png");
  ASSERT_TRUE(file.open());
  ASSERT_TRUE(file.closeForOthers());
  folder.write(file.temporary().GetFileString().GetUTF8().c_str(), "from a library");
  EXPECT_TRUE(file.commit()) << file.error();
  EXPECT_EQ(readText(folder / "picture.png"), "from a library");
  EXPECT_EQ(folder.names().size(), 1u);
}

TEST(AtomicFile, SaysWhyItCannot) {
  TemporaryFolder folder;
  std::string error;
  EXPECT_FALSE(host::replaceFile(folder / "none/f", std::string_view("x"), &error));
  EXPECT_EQ(error, "No such file or directory");
  EXPECT_FALSE(host::replaceFile(folder.path(), std::string_view("x"), &error));
  EXPECT_EQ(error, "Is a directory");
  EXPECT_FALSE(host::replaceFile(Filename(), std::string_view("x"), &error));
  const Filename file = folder.write("plain");
  EXPECT_FALSE(host::replaceFile(file + "below", std::string_view("x"), &error));
  EXPECT_EQ(error, "Not a directory");
}

TEST(AtomicFile, WritesBehindALinkAndIntoADevice) {
  TemporaryFolder folder;
  const Filename target = folder.write("real/file", "old");
  fs::create_symlink("real/file", toPath(folder / "link"));
  EXPECT_TRUE(host::replaceFile(folder / "link", std::string_view("new")));
  EXPECT_EQ(readText(target), "new");
  EXPECT_TRUE(fs::is_symlink(toPath(folder / "link")));
  EXPECT_TRUE(host::replaceFile("/dev/null", std::string_view("gone")));
  EXPECT_TRUE(fs::is_character_file("/dev/null")) << "a device is not replaced";
}

TEST(AtomicFile, TakesLongNames) {
  TemporaryFolder folder;
  const std::string name(250, 'n');
  EXPECT_TRUE(host::replaceFile(folder / name.c_str(), std::string_view("x")));
  EXPECT_EQ(folder.names(), std::vector<std::string>{name});
}

// Runs `body` in a child process; returns its exit code.
template <class Body>
int inChild(const Body& body) {
  const pid_t child = fork();
  if (child == 0) _exit(body());
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
}

TEST(AtomicFile, AFullDiskLeavesTheOldFile) {
  TemporaryFolder folder;
  const Filename target = folder.write("t", "old");
  const int code = inChild([&] {
    const FileSizeLimit full(1000);
    std::string error;
    if (host::replaceFile(target, std::string_view(std::string(100000, 'x')), &error)) return 1;
    return error == "File too large" ? 0 : 2;
  });
  EXPECT_EQ(code, 0);
  EXPECT_EQ(readText(target), "old");
  EXPECT_EQ(folder.names(), std::vector<std::string>{"t"}) << "nothing is left over";
}

TEST(Failures, AreRecordedAndTaken) {
  host::takeFailures();
  host::recordFailure("/out/a.png", "Cannot write /out/a.png.");
  host::recordFailure("/out/b.png", "Cannot write /out/b.png.");
  EXPECT_EQ(host::failureCount(), 2u);
  EXPECT_EQ(host::failures().size(), 2u);
  const auto taken = host::takeFailures();
  ASSERT_EQ(taken.size(), 2u);
  EXPECT_EQ(taken[1].file, Filename("/out/b.png"));
  EXPECT_EQ(host::failureCount(), 0u);
  for (int i = 0; i < 1500; ++i)
    host::recordFailure("/f", "s");
  EXPECT_EQ(host::failureCount(), 1500u);
  EXPECT_EQ(host::takeFailures().size(), 1000u);
}

TEST(Failures, AreConsoleLinesWhenWanted) {
  std::vector<std::string> lines;
  host::setConsoleEcho(nullptr);
  const auto listener =
      host::addConsoleListener([&lines](const String& line) { lines.push_back(line.GetUTF8()); });
  host::recordFailure("/f", "before");
  host::printFailures(true);
  host::recordFailure("/f", "Cannot write /f.");
  host::printFailures(false);
  host::recordFailure("/f", "after");
  host::removeConsoleListener(listener);
  host::setConsoleEcho(stderr);
  EXPECT_EQ(lines, std::vector<std::string>{"Cannot write /f."});
  EXPECT_EQ(host::takeFailures().size(), 3u);
}

} // namespace
