// Filename: pieces, suffixes, joins, web addresses.
#include "c4d_filename.h"

#include "host_fixture.h"

namespace {

struct Pieces {
  const char *path, *directory, *file, *suffix, *cleared;
};

void PrintTo(const Pieces& p, std::ostream* out) {
  *out << '"' << p.path << '"';
}

class FilenamePieces : public ::testing::TestWithParam<Pieces> {};

TEST_P(FilenamePieces, ComeApart) {
  const Pieces& expected = GetParam();
  const Filename name(expected.path);
  EXPECT_EQ(name.GetDirectory(), Filename(expected.directory));
  EXPECT_EQ(name.GetFileString(), String(expected.file));
  EXPECT_EQ(name.GetFile(), Filename(expected.file));
  EXPECT_EQ(name.GetSuffix(), String(expected.suffix));
  Filename cleared(name);
  cleared.ClearSuffix();
  EXPECT_EQ(cleared.GetString(), String(expected.cleared));
}

INSTANTIATE_TEST_SUITE_P(
    Paths, FilenamePieces,
    ::testing::Values(Pieces{"", "", "", "", ""}, Pieces{"/", "/", "", "", "/"},
                      Pieces{"/a/b.tif", "/a", "b.tif", "tif", "/a/b"}, Pieces{"b", "", "b", "", "b"},
                      Pieces{"/b.tar.gz", "/", "b.tar.gz", "gz", "/b.tar"},
                      Pieces{"/a.dir/b", "/a.dir", "b", "", "/a.dir/b"},
                      Pieces{"/a/.hidden", "/a", ".hidden", "", "/a/.hidden"},
                      Pieces{"/a/.hidden.png", "/a", ".hidden.png", "png", "/a/.hidden"},
                      Pieces{"a.", "", "a.", "", "a"}, Pieces{"/a/..", "/a", "..", "", "/a/.."},
                      Pieces{"../x.y", "..", "x.y", "y", "../x"}, Pieces{".", "", ".", "", "."},
                      Pieces{"/gr\xC3\xBC\xC3\x9F/\xFF.b", "/gr\xC3\xBC\xC3\x9F", "\xFF.b", "b",
                             "/gr\xC3\xBC\xC3\x9F/\xFF"},
                      Pieces{"http://a.b/c.html", "http://a.b/", "c.html", "html", "http://a.b/c"},
                      Pieces{"http://a.b", "http://a.b", "", "", "http://a.b"}));

TEST(Filename, HoldsOneSeparatorBetweenPieces) {
  EXPECT_EQ(Filename("/a//b/").GetString(), String("/a/b"));
  EXPECT_EQ(Filename("///").GetString(), String("/"));
  EXPECT_EQ(Filename("a/").GetString(), String("a"));
}

TEST(Filename, KeepsAWebAddress) {
  for (const char* address : {"http://x.org//a//", "https://x.org/?q=a//b", "ftp://h/", "file:///a//b"})
    EXPECT_EQ(Filename(address).GetString(), String(address));
  EXPECT_EQ((Filename("http://x.org/a") + "b.png").GetString(), String("http://x.org/a/b.png"));
  EXPECT_EQ((Filename("/a") + "http://x.org/b").GetString(), String("http://x.org/b"));
}

TEST(Filename, Joins) {
  EXPECT_EQ(Filename("/a") + "b", Filename("/a/b"));
  EXPECT_EQ(Filename("/a/") + "b/c", Filename("/a/b/c"));
  EXPECT_EQ(Filename("/") + "b", Filename("/b"));
  EXPECT_EQ(Filename("") + "b", Filename("b"));
  EXPECT_EQ(Filename("/a") + "", Filename("/a"));
  EXPECT_EQ(Filename("/a") + "/b", Filename("/b"));
  Filename name("/a");
  name += "b";
  name += Filename("c.tif");
  EXPECT_EQ(name, Filename("/a/b/c.tif"));
}

TEST(Filename, SetsPieces) {
  Filename name("/a/b.tif");
  name.SetSuffix("png");
  EXPECT_EQ(name, Filename("/a/b.png"));
  name.SetSuffix(".jpg");
  EXPECT_EQ(name, Filename("/a/b.jpg"));
  name.SetSuffix("");
  EXPECT_EQ(name, Filename("/a/b"));
  name.SetSuffix("mov");
  EXPECT_EQ(name, Filename("/a/b.mov"));
  name.SetFile("c");
  EXPECT_EQ(name, Filename("/a/c"));
  name.SetFile("/x/y/d.tif");
  EXPECT_EQ(name, Filename("/a/d.tif"));
  name.SetDirectory("/z");
  EXPECT_EQ(name, Filename("/z/d.tif"));
  Filename none;
  none.SetSuffix("tif");
  EXPECT_FALSE(none.Content()) << "a suffix of nothing";
  Filename root("/");
  root.SetSuffix("tif");
  EXPECT_EQ(root, Filename("/"));
}

TEST(Filename, ChecksTheSuffixInAnyCase) {
  EXPECT_TRUE(Filename("a.TIF").CheckSuffix("tif"));
  EXPECT_TRUE(Filename("a.tif").CheckSuffix("Tif"));
  EXPECT_FALSE(Filename("a.tiff").CheckSuffix("tif"));
  EXPECT_TRUE(Filename("a").CheckSuffix(""));
}

using FileSelection = HostFixture;

TEST_F(FileSelection, AsksTheUserAndTakesTheSuffix) {
  startHost();
  ui.files = {Filename("/out/shot"), Filename("/out/shot.TIF"), Filename()};
  Filename name("/old/name.tif");
  EXPECT_TRUE(name.FileSelect(FILESELECTTYPE_IMAGES, FILESELECT_SAVE, "Save", "tif"));
  EXPECT_EQ(name, Filename("/out/shot.tif"));
  EXPECT_TRUE(name.FileSelect(FILESELECTTYPE_IMAGES, FILESELECT_SAVE, "Save", "tif"));
  EXPECT_EQ(name, Filename("/out/shot.TIF"));
  EXPECT_FALSE(name.FileSelect(FILESELECTTYPE_IMAGES, FILESELECT_SAVE, "Save", "tif"));
  EXPECT_EQ(name, Filename("/out/shot.TIF")) << "cancelled: nothing changes";
  ASSERT_EQ(ui.fileRequests.size(), 3u);
  EXPECT_EQ(ui.fileRequests[0].start, Filename("/old/name.tif"));
  EXPECT_EQ(ui.fileRequests[0].title, String("Save"));
  EXPECT_EQ(ui.fileRequests[0].mode, FILESELECT_SAVE);
  EXPECT_EQ(ui.fileRequests[0].type, FILESELECTTYPE_IMAGES);
}

} // namespace
