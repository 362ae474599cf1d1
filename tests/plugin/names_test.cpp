// Frame file names and padded numbers.
#include <gtest/gtest.h>

#include <cmath>

#include "lm_numbers.h"
#include "lm_thread.h"

namespace {

std::string text(const String& s) {
  return s.GetUTF8();
}

TEST(StrPad, PutsThePadInFrontUntilTheTextIsLongEnough) {
  EXPECT_EQ(text(StrPad(7, 4, "0")), "0007");
  EXPECT_EQ(text(StrPad(0, 1, "0")), "0");
  EXPECT_EQ(text(StrPad(12345, 4, "0")), "12345");
  EXPECT_EQ(text(StrPad(7, 0, "0")), "7");
}

TEST(StrPad, KeepsAMinusSignInsideThePadding) {
  EXPECT_EQ(text(StrPad(-5, 3, "0")), "0-5");
}

TEST(StrPad, MayGoPastTheWidthWithALongPad) {
  EXPECT_EQ(text(StrPad(7, 4, "abc")), "abc7");
  EXPECT_EQ(text(StrPad(7, 5, "abc")), "abcabc7");
}

TEST(GetExtension, IsTheEndOfThePathFromThePointOn) {
  EXPECT_EQ(text(GetExtension("/out/shot.tif")), ".tif");
  EXPECT_EQ(text(GetExtension("/out/shot.v2.tif")), ".tif");
  EXPECT_EQ(text(GetExtension("/out.d/shot")), "");
  EXPECT_EQ(text(GetExtension("")), "");
}

TEST(FileFromFrameOut, PutsTheNumberBetweenNameAndSuffix) {
  EXPECT_EQ(text(FileFromFrameOut("/out/shot.tif", 7, 4).GetString()), "/out/shot0007.tif");
  EXPECT_EQ(text(FileFromFrameOut("/out/shot.tif", 12345, 4).GetString()), "/out/shot12345.tif");
  EXPECT_EQ(text(FileFromFrameOut("/out/shot", 0, 4).GetString()), "/out/shot0000");
  EXPECT_EQ(text(FileFromFrameOut("shot.tif", 1, 4).GetString()), "shot0001.tif");
}

TEST(FrameFromTime, FloorsTheProductAndTheDenominatorAndTruncatesTheQuotient) {
  EXPECT_EQ(FrameFromTime(BaseTime(10, 30), 30), 10);
  EXPECT_EQ(FrameFromTime(BaseTime(61.5, 1), 25), 1537);
  EXPECT_EQ(FrameFromTime(BaseTime(0.5, 1), 25), 12);
  EXPECT_EQ(FrameFromTime(BaseTime(5, 2), 25), 62);
  EXPECT_EQ(FrameFromTime(BaseTime(5, 2.9), 25), 62);
  EXPECT_EQ(FrameFromTime(BaseTime(-1, 2), 25), -12); // floor(-25) / 2, towards zero
}

TEST(FrameFromTime, IsZeroForInvalidTimes) {
  EXPECT_EQ(FrameFromTime(BaseTime(5, 0), 25), 0);
  EXPECT_EQ(FrameFromTime(BaseTime(5, 0.5), 25), 0);
  EXPECT_EQ(FrameFromTime(BaseTime(1e300, 1), 25), 0);
  EXPECT_EQ(FrameFromTime(BaseTime(std::nan(""), 1), 25), 0);
}

} // namespace
