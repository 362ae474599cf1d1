// PSD pictures as read by ImageMagick and by us.
#include "failures.h"
#include "picture_fixture.h"

using namespace picture_fixture;

namespace {

using Bitmap = AutoAlloc<BaseBitmap>;

void expectSame(const BaseBitmap& bitmap, const BaseBitmap& other, bool alpha) {
  ASSERT_EQ(other.GetBw(), bitmap.GetBw());
  ASSERT_EQ(other.GetBh(), bitmap.GetBh());
  int wrong = 0;
  for (LONG y = 0; y < bitmap.GetBh(); ++y)
    for (LONG x = 0; x < bitmap.GetBw(); ++x) {
      Rgba a = at(bitmap, x, y), b = at(other, x, y);
      if (!alpha) a.a = b.a = 255;
      if (!(a == b) && ++wrong < 5) ADD_FAILURE() << x << ", " << y << ": " << a << " became " << b;
    }
  EXPECT_EQ(wrong, 0);
}

/// The merged picture (0) or a layer (from 1) as ImageMagick reads it, through a PNG.
void readBack(const Filename& psd, int part, const Filename& png, Bitmap& bitmap) {
  const std::string from = psd.GetString().GetUTF8() + "[" + std::to_string(part) + "]";
  ASSERT_EQ(outputOf("convert '" + from + "' 'png32:" + png.GetString().GetUTF8() + "'"), "");
  ASSERT_EQ(bitmap->Init(png), IMAGERESULT_OK);
}

} // namespace

TEST(PsdFilter, AnotherProgramReadsThePixels) {
  if (!hasProgram("convert")) GTEST_SKIP() << "ImageMagick is not installed";
  Folder folder;
  for (const LONG depth : {24, 32})
    for (const LONG width : {1, 97}) {
      Bitmap bitmap, back;
      ASSERT_EQ(bitmap->Init(width, 61, depth), IMAGERESULT_OK);
      fillPattern(*bitmap);
      const Filename name = folder.file("a.psd");
      ASSERT_EQ(bitmap->Save(name, FILTER_PSD, nullptr, SAVEBIT_ALPHA), IMAGERESULT_OK);
      const std::string facts = outputOf("identify '" + name.GetString().GetUTF8() + "[0]'");
      EXPECT_NE(facts.find("PSD " + std::to_string(width) + "x61"), std::string::npos) << facts;
      EXPECT_NE(facts.find("8-bit"), std::string::npos) << facts;
      readBack(name, depth == 32 ? 1 : 0, folder.file("back.png"), back);
      expectSame(*bitmap, *back, depth == 32);
    }
}

void saveTransparent(BaseBitmap& bitmap, const Filename& file) {
  ASSERT_EQ(bitmap.Init(4, 4, 32), IMAGERESULT_OK);
  bitmap.Clear(10, 20, 30);
  for (LONG i = 0; i < 16; ++i)
    bitmap.SetAlpha(i % 4, i / 4, 51);
  ASSERT_EQ(bitmap.Save(file, FILTER_PSD, nullptr, SAVEBIT_ALPHA), IMAGERESULT_OK);
}

TEST(PsdFilter, TheMergedPictureIsOnWhite) {
  if (!hasProgram("convert")) GTEST_SKIP() << "ImageMagick is not installed";
  Folder folder;
  Bitmap bitmap, back;
  saveTransparent(*bitmap, folder.file("a.psd"));
  // The reader removes the white again, which gives other colours when it was not there.
  readBack(folder.file("a.psd"), 0, folder.file("back.png"), back);
  EXPECT_EQ(at(*back, 1, 1), (Rgba{10, 20, 30, 51}));
}

TEST(PsdFilter, OurReaderReadsThePixels) {
  Folder folder;
  Bitmap bitmap, back;
  ASSERT_EQ(bitmap->Init(97, 61), IMAGERESULT_OK);
  fillPattern(*bitmap);
  ASSERT_EQ(bitmap->Save(folder.file("a.psd"), FILTER_PSD), IMAGERESULT_OK);
  ASSERT_EQ(back->Init(folder.file("a.psd")), IMAGERESULT_OK);
  expectSame(*bitmap, *back, false);
}

TEST(PsdFilter, OurReaderReadsTransparentPixels) {
  Folder folder;
  Bitmap bitmap, back;
  saveTransparent(*bitmap, folder.file("a.psd"));
  ASSERT_EQ(back->Init(folder.file("a.psd")), IMAGERESULT_OK);
  expectSame(*bitmap, *back, true);
}

TEST(PsdFilter, AGreyPictureStaysInColors) {
  Folder folder;
  Bitmap bitmap;
  ASSERT_EQ(bitmap->Init(32, 32), IMAGERESULT_OK);
  bitmap->Clear(128, 128, 128);
  ASSERT_EQ(bitmap->Save(folder.file("a.psd"), FILTER_PSD), IMAGERESULT_OK);
  const std::vector<std::byte> bytes = bytesOf(folder.file("a.psd"));
  ASSERT_GT(bytes.size(), 26u);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(bytes.data()), 4), "8BPS");
  EXPECT_EQ(bytes[5], std::byte{1});  // version: PSD, not PSB
  EXPECT_EQ(bytes[13], std::byte{3}); // channels
  EXPECT_EQ(bytes[25], std::byte{3}); // RGB
}

TEST(PsdFilter, LargerThanTheFormatHolds) {
  Folder folder;
  Bitmap bitmap;
  ASSERT_EQ(bitmap->Init(30001, 1), IMAGERESULT_OK);
  host::takeFailures();
  EXPECT_EQ(bitmap->Save(folder.file("a.psd"), FILTER_PSD), IMAGERESULT_MISC_ERROR);
  const std::vector<host::Failure> failures = host::takeFailures();
  ASSERT_EQ(failures.size(), 1u);
  EXPECT_NE(failures[0].sentence.find("30000"), std::string::npos);
  EXPECT_EQ(folder.entries(), 0u);
}
