// OpenRaster pictures under the suffix b3d, as a zip program sees them.
#include <cstring>

#include "picture_fixture.h"

using namespace picture_fixture;

namespace {

using Bitmap = AutoAlloc<BaseBitmap>;

void expectPicture(const fs::path& file, const BaseBitmap& bitmap) {
  Bitmap back;
  ASSERT_EQ(back->Init(Filename(file.c_str())), IMAGERESULT_OK) << file;
  ASSERT_EQ(back->GetBw(), bitmap.GetBw());
  ASSERT_EQ(back->GetBh(), bitmap.GetBh());
  for (LONG y = 0; y < bitmap.GetBh(); ++y)
    for (LONG x = 0; x < bitmap.GetBw(); ++x)
      ASSERT_EQ(at(*back, x, y), at(bitmap, x, y)) << x << ", " << y;
}

} // namespace

TEST(OpenRasterFilter, BeginsWithItsKind) {
  Folder folder;
  Bitmap bitmap;
  ASSERT_EQ(bitmap->Init(40, 30), IMAGERESULT_OK);
  ASSERT_EQ(bitmap->Save(folder.file("a.b3d"), FILTER_B3D), IMAGERESULT_OK);
  const std::vector<std::byte> bytes = bytesOf(folder.file("a.b3d"));
  ASSERT_GT(bytes.size(), 100u);
  // A local header of 30 bytes, the name, no extra field, the text: stored, not compressed.
  EXPECT_EQ(std::memcmp(bytes.data(), "PK\3\4", 4), 0);
  EXPECT_EQ(bytes[8], std::byte{0});
  EXPECT_EQ(std::memcmp(bytes.data() + 30, "mimetypeimage/openraster", 24), 0);
  const int day = static_cast<int>(bytes[12]) | static_cast<int>(bytes[13]) << 8;
  EXPECT_EQ(day, 0x21); // the same day always: a picture's bytes do not depend on when it is saved
}

TEST(OpenRasterFilter, AZipProgramFindsTheLayers) {
  if (!hasProgram("unzip")) GTEST_SKIP() << "unzip is not installed";
  for (const LONG depth : {24, 32}) {
    Folder folder;
    Bitmap bitmap;
    ASSERT_EQ(bitmap->Init(600, 300, depth), IMAGERESULT_OK);
    fillPattern(*bitmap);
    const Filename name = folder.file("a.b3d");
    ASSERT_EQ(bitmap->Save(name, FILTER_B3D, nullptr, SAVEBIT_ALPHA), IMAGERESULT_OK);
    const std::string file = "'" + name.GetString().GetUTF8() + "'",
                      into = "'" + folder.path().string() + "'";
    EXPECT_NE(outputOf("unzip -tq " + file).find("No errors"), std::string::npos);
    EXPECT_EQ(outputOf("unzip -Z1 " + file),
              "mimetype\nstack.xml\ndata/layer0.png\nmergedimage.png\nThumbnails/thumbnail.png\n");
    outputOf("unzip -q " + file + " -d " + into);
    expectPicture(folder.path() / "data/layer0.png", *bitmap);
    expectPicture(folder.path() / "mergedimage.png", *bitmap);
    Bitmap small;
    ASSERT_EQ(small->Init(folder.file("Thumbnails/thumbnail.png")), IMAGERESULT_OK);
    EXPECT_EQ(small->GetBw(), 256);
    EXPECT_EQ(small->GetBh(), 128);
    const std::string stack = outputOf("unzip -p " + file + " stack.xml");
    EXPECT_NE(stack.find("w=\"600\" h=\"300\""), std::string::npos) << stack;
    EXPECT_NE(stack.find("src=\"data/layer0.png\""), std::string::npos) << stack;
  }
}

TEST(OpenRasterFilter, LongThinPicturesKeepAThumbnail) {
  Folder folder;
  Bitmap bitmap;
  ASSERT_EQ(bitmap->Init(2000, 1), IMAGERESULT_OK);
  EXPECT_EQ(bitmap->Save(folder.file("a.b3d"), FILTER_B3D), IMAGERESULT_OK);
}
