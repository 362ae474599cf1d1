// String: code points, positions, numbers.
#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <limits>

#include "c4d_string.h"
#include "number_text.h"
#include "utf8.h"

namespace {

TEST(String, CountsCodePoints) {
  EXPECT_EQ(String("").GetLength(), 0);
  EXPECT_EQ(String("abc").GetLength(), 3);
  EXPECT_EQ(String("gr\xC3\xBC\xC3\x9F").GetLength(), 4);
  EXPECT_EQ(String("\xE2\x82\xAC").GetLength(), 1);
  EXPECT_EQ(String("\xF0\x9F\x98\x80!").GetLength(), 2);
  EXPECT_EQ(String(static_cast<const char*>(nullptr)).GetLength(), 0);
}

TEST(String, AnUndecodableByteIsKeptAndCountsAsOne) {
  EXPECT_EQ(String("a\xFF"
                   "b")
                .GetLength(),
            3);
  EXPECT_EQ(String("\xE2\x82").GetLength(), 2) << "a cut sequence is two bytes";
  EXPECT_EQ(String("\xE2\x82"
                   "x")
                .GetLength(),
            3);
  EXPECT_EQ(String("\xC0\xAF").GetLength(), 2) << "an overlong form";
  EXPECT_EQ(String("\xED\xA0\x80").GetLength(), 3) << "a surrogate";
  EXPECT_EQ(String("\xF4\x90\x80\x80").GetLength(), 4) << "past the last code point";
  const String text("a\xFF"
                    "b");
  EXPECT_EQ(text.SubStr(1, 1).GetUTF8(), "\xFF");
  EXPECT_EQ((text.Left(2) + text.Right(1)).GetUTF8(), "a\xFF"
                                                      "b");
}

TEST(String, RepeatsACharacter) {
  EXPECT_EQ(String(3, 'x'), String("xxx"));
  EXPECT_EQ(String(2, 0x20AC), String("\xE2\x82\xAC\xE2\x82\xAC"));
  EXPECT_EQ(String(-1, 'x'), String());
  EXPECT_EQ(String(1, 0xD800), String("\xEF\xBF\xBD")) << "half a surrogate pair is not a character";
}

TEST(String, CutsRangesToTheText) {
  const String text("\xC3\xA4"
                    "bcd");
  EXPECT_EQ(text.SubStr(1, 2), String("bc"));
  EXPECT_EQ(text.SubStr(0, 1), String("\xC3\xA4"));
  EXPECT_EQ(text.SubStr(3, 100), String("d"));
  EXPECT_EQ(text.SubStr(4, 1), String());
  EXPECT_EQ(text.SubStr(100, 1), String());
  EXPECT_EQ(text.SubStr(-1, 2), String("\xC3\xA4")) << "the part before the text is cut off";
  EXPECT_EQ(text.SubStr(1, -1), String());
  EXPECT_EQ(text.SubStr(0x7fffffff, 0x7fffffff), String());
  EXPECT_EQ(text.Left(2), String("\xC3\xA4"
                                 "b"));
  EXPECT_EQ(text.Left(-5), String());
  EXPECT_EQ(text.Right(2), String("cd"));
  EXPECT_EQ(text.Right(9), text);
}

TEST(String, FindsInCodePoints) {
  const String text("\xC3\xA4"
                    "bcbc");
  LONG at = -7;
  EXPECT_TRUE(text.FindFirst("bc", &at));
  EXPECT_EQ(at, 1);
  EXPECT_TRUE(text.FindFirst("bc", &at, 2));
  EXPECT_EQ(at, 3);
  EXPECT_FALSE(text.FindFirst("bc", &at, 4));
  EXPECT_EQ(at, 3) << "left alone when nothing is found";
  EXPECT_TRUE(text.FindLast("bc", &at));
  EXPECT_EQ(at, 3);
  EXPECT_TRUE(text.FindLast("bc", &at, 2));
  EXPECT_EQ(at, 1);
  EXPECT_FALSE(text.FindLast("bc", &at, 0));
  EXPECT_TRUE(text.FindFirst("\xC3\xA4", nullptr));
  EXPECT_FALSE(text.FindFirst("\xA4", &at)) << "half a character is not found inside one";
  EXPECT_FALSE(String().FindFirst("x", &at));
  EXPECT_FALSE(text.FindFirst("x", &at, 1000));
}

TEST(String, InsertsAndDeletes) {
  String text("\xC3\xA4"
              "bc");
  text.Insert(1, "--");
  EXPECT_EQ(text, String("\xC3\xA4--bc"));
  text.Insert(100, "!");
  EXPECT_EQ(text, String("\xC3\xA4--bc!"));
  text.Insert(-3, "<");
  EXPECT_EQ(text, String("<\xC3\xA4--bc!"));
  text.Delete(1, 3);
  EXPECT_EQ(text, String("<bc!"));
  text.Delete(3, 50);
  EXPECT_EQ(text, String("<bc"));
  text.Insert(1, text);
  EXPECT_EQ(text, String("<<bcbc"));
}

TEST(String, ComparesBytesAndIgnoresCaseOfAsciiOnly) {
  EXPECT_LT(String("a").Compare("b"), 0);
  EXPECT_GT(String("b").Compare("a"), 0);
  EXPECT_EQ(String("a").Compare("a"), 0);
  EXPECT_GT(String("\xC3\xA4").Compare("z"), 0);
  EXPECT_EQ(String("AbC").LexCompare("aBc"), 0);
  EXPECT_NE(String("\xC3\x84").LexCompare("\xC3\xA4"), 0);
  EXPECT_EQ(String("a\xC3\xA4Z").ToUpper(), String("A\xC3\xA4Z"));
  EXPECT_EQ(String("A\xC3\x84Z").ToLower(), String("a\xC3\x84z"));
  EXPECT_TRUE(String("a") < String("b"));
}

TEST(String, ReadsWholeNumbers) {
  Bool error = TRUE;
  EXPECT_EQ(String(" \t-12").ToLong(&error), -12);
  EXPECT_FALSE(error);
  EXPECT_EQ(String("+7").ToLong(&error), 7);
  EXPECT_FALSE(error);
  EXPECT_EQ(String("12px").ToLong(&error), 12);
  EXPECT_TRUE(error);
  EXPECT_EQ(String("").ToLong(&error), 0);
  EXPECT_TRUE(error);
  EXPECT_EQ(String("+-3").ToLong(&error), 0);
  EXPECT_TRUE(error);
  EXPECT_EQ(String("99999999999").ToLong(&error), std::numeric_limits<LONG>::max());
  EXPECT_TRUE(error);
  EXPECT_EQ(String("-99999999999").ToLong(&error), std::numeric_limits<LONG>::min());
  EXPECT_TRUE(error);
  EXPECT_EQ(String("8 ").ToLong(&error), 8);
  EXPECT_FALSE(error);
  EXPECT_EQ(String("5").ToLong(), 5);
}

TEST(String, ReadsReals) {
  Bool error = TRUE;
  EXPECT_EQ(String("2.5").ToReal(&error), 2.5);
  EXPECT_FALSE(error);
  EXPECT_EQ(String("  -.25e2 ").ToReal(&error), -25);
  EXPECT_FALSE(error);
  EXPECT_EQ(String("+1.").ToReal(&error), 1);
  EXPECT_FALSE(error);
  EXPECT_EQ(String("1e").ToReal(&error), 1);
  EXPECT_TRUE(error);
  EXPECT_EQ(String(".").ToReal(&error), 0);
  EXPECT_TRUE(error);
  EXPECT_EQ(String("nan").ToReal(&error), 0);
  EXPECT_TRUE(error);
  EXPECT_EQ(String("1e999").ToReal(&error), std::numeric_limits<Real>::infinity());
  EXPECT_EQ(String("-1e-999").ToReal(&error), 0);
}

TEST(Numbers, WholeNumbersAsText) {
  EXPECT_EQ(LongToString(0), String("0"));
  EXPECT_EQ(LongToString(std::numeric_limits<LONG>::min()), String("-2147483648"));
  EXPECT_EQ(LLongToString(-9007199254740993), String("-9007199254740993"));
}

TEST(Numbers, RealsWithDigitsAndDecimals) {
  EXPECT_EQ(RealToString(2.5, 1, 3), String("2.500"));
  EXPECT_EQ(RealToString(2.5, 4, 1), String("0002.5"));
  EXPECT_EQ(RealToString(2.5, 4, 1, FALSE, ' '), String("   2.5"));
  EXPECT_EQ(RealToString(-2.5, 4, 1), String("-002.5"));
  EXPECT_EQ(RealToString(-2.5, 4, 1, FALSE, ' '), String("  -2.5"));
  EXPECT_EQ(RealToString(12345.678, 2, 2), String("12345.68"));
  EXPECT_EQ(RealToString(7, 3, 0), String("007"));
  EXPECT_EQ(RealToString(0), String("0"));
  EXPECT_EQ(RealToString(0.1), String("0.1"));
  EXPECT_EQ(RealToString(1.0 / 3), String("0.333333"));
  EXPECT_EQ(RealToString(1e20), String("100000000000000000000"));
  EXPECT_EQ(RealToString(1e-9), String("0"));
  EXPECT_EQ(RealToString(1e300, -1, 2).GetLength(), 301 + 3);
}

TEST(Numbers, TiesGoAwayFromZero) {
  EXPECT_EQ(RealToString(0.5, -1, 0), String("1"));
  EXPECT_EQ(RealToString(1.5, -1, 0), String("2"));
  EXPECT_EQ(RealToString(2.5, -1, 0), String("3"));
  EXPECT_EQ(RealToString(-2.5, -1, 0), String("-3"));
  EXPECT_EQ(RealToString(0.125, -1, 2), String("0.13"));
  EXPECT_EQ(RealToString(0.375, -1, 2), String("0.38"));
  EXPECT_EQ(RealToString(9.5, -1, 0), String("10"));
  EXPECT_EQ(RealToString(2.675, -1, 2), String("2.67")) << "the double lies below the tie";
  EXPECT_EQ(RealToString(-0.001, -1, 1), String("0.0")) << "no sign on zero";
  EXPECT_EQ(RealToString(4503599627370495.5, -1, 0), String("4503599627370496"));
}

TEST(Numbers, ExponentsAndInvalidNumbers) {
  EXPECT_EQ(RealToString(12500000, -1, 2, TRUE), String("1.25e+07"));
  EXPECT_EQ(RealToString(12500000, -1, 1, TRUE), String("1.3e+07"));
  EXPECT_EQ(RealToString(-0.00015, -1, -1, TRUE), String("-1.5e-04"));
  EXPECT_EQ(RealToString(9.75, -1, 0, TRUE), String("1e+01"));
  EXPECT_EQ(RealToString(0, -1, 1, TRUE), String("0.0e+00"));
  EXPECT_EQ(RealToString(1e-300, -1, 0, TRUE), String("1e-300"));
  EXPECT_EQ(RealToString(std::numeric_limits<Real>::infinity()), String("inf"));
  EXPECT_EQ(RealToString(-std::numeric_limits<Real>::infinity(), 9, 2), String("-inf"));
  EXPECT_EQ(RealToString(std::nan("")), String("nan"));
}

TEST(Numbers, AreTheSameInEveryLocale) {
  const char* set = std::setlocale(LC_ALL, "de_DE.UTF-8");
  if (!set) GTEST_SKIP() << "the locale de_DE.UTF-8 is not installed";
  EXPECT_EQ(RealToString(2.5, 1, 1), String("2.5"));
  EXPECT_EQ(String("2.5").ToReal(), 2.5);
  std::setlocale(LC_ALL, "C");
}

TEST(Numbers, ShortestTextReadsBack) {
  for (const double value : {0.1, 1.0 / 3, 1e23, 5e-324, 1.7976931348623157e308, -123456.789}) {
    double back = 0;
    const std::string text = host::shortestText(value);
    EXPECT_EQ(host::parseReal(text, back), text.size());
    EXPECT_EQ(back, value) << text;
  }
}

} // namespace
