// Text in clip maps.
#include "font_search.h"
#include "picture_fixture.h"

using namespace picture_fixture;

namespace {

using ClipMap = AutoAlloc<GeClipMap>;

/// Coverage of a text at (x, y) on a map: white on opaque black.
struct Drawn {
  ClipMap map;
  LONG left = INT32_MAX, top = INT32_MAX, right = -1, bottom = -1;
  int inked = 0, full = 0;

  Drawn(const String& text, LONG pixels, LONG width, LONG height, LONG x = 0, LONG y = 0) {
    EXPECT_EQ(map->Init(width, height), IMAGERESULT_OK);
    map->BeginDraw();
    map->SetColor(0, 0, 0);
    map->FillRect(0, 0, width, height);
    map->SetDrawMode(GE_CM_DRAWMODE_BLEND, 255);
    map->SetColor(255, 255, 255);
    map->SetFontSize(pixels);
    map->TextAt(x, y, text);
    map->EndDraw();
    for (LONG row = 0; row < height; ++row)
      for (LONG column = 0; column < width; ++column)
        count(column, row, at(*map, column, row).r);
  }
  void count(LONG x, LONG y, int value) {
    if (value == 0) return;
    left = std::min(left, x);
    top = std::min(top, y);
    right = std::max(right, x);
    bottom = std::max(bottom, y);
    ++inked;
    full += value == 255;
  }
  bool sameAs(const Drawn& other) const {
    for (LONG y = 0; y < map->GetBh(); ++y)
      for (LONG x = 0; x < map->GetBw(); ++x)
        if (!(at(*map, x, y) == at(*other.map, x, y))) return false;
    return true;
  }
};

LONG widthOf(const String& text, LONG pixels = 16) {
  ClipMap map;
  map->SetFontSize(pixels);
  return map->GetTextWidth(text);
}

class Text : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_FALSE(host::defaultFont().path.empty()) << "no font is installed: install fonts-dejavu-core";
  }
};

const char* const pangram = "Sphinx of black quartz, judge my vow 0123456789 (j) {Qg}";

} // namespace

TEST_F(Text, TheDefaultFontIsDejaVu) {
  EXPECT_NE(host::defaultFont().path.find("DejaVuSans.ttf"), std::string::npos) << host::defaultFont().path;
}

TEST_F(Text, HeightIsOneValue) {
  ClipMap map;
  EXPECT_EQ(map->GetTextHeight(), 16);
  EXPECT_GT(map->GetTextAscent(), 8);
  EXPECT_LT(map->GetTextAscent(), 16);
  for (const LONG pixels : {1, 8, 17, 200}) {
    map->SetFontSize(pixels);
    EXPECT_EQ(map->GetTextHeight(), pixels);
  }
  map->SetFontSize(0);
  EXPECT_EQ(map->GetTextHeight(), 1);
  map->SetFontSize(INT32_MAX);
  EXPECT_EQ(map->GetTextHeight(), 4096);
}

TEST_F(Text, WidthGrowsWithTheText) {
  EXPECT_EQ(widthOf(""), 0);
  String text;
  LONG last = 0;
  for (int i = 0; i < 30; ++i) {
    text += "n";
    EXPECT_GT(widthOf(text), last);
    last = widthOf(text);
  }
  EXPECT_NEAR(widthOf("nnnnnnnnnn", 160), 10 * widthOf("nnnnnnnnnn", 16), 12);
  EXPECT_GT(widthOf("W"), widthOf("i"));
  EXPECT_GT(widthOf("a b"), widthOf("ab")); // a blank takes room
}

TEST_F(Text, EveryInkedPixelIsInsideTheBox) {
  for (const LONG pixels : {8, 11, 16, 40, 200}) {
    const LONG width = widthOf(pangram, pixels);
    const Drawn drawn(pangram, pixels, width + 60, pixels + 60, 30, 30);
    EXPECT_GT(drawn.inked, 0);
    EXPECT_GE(drawn.left, 30);
    EXPECT_LT(drawn.right, 30 + width);
    EXPECT_GE(drawn.top, 30);
    EXPECT_LT(drawn.bottom, 30 + pixels);
    EXPECT_GT(drawn.right, 30 + width - 3 - pixels / 4); // and the box is not too wide
    EXPECT_GE(drawn.bottom - drawn.top + 1, pixels * 3 / 4);
  }
}

TEST_F(Text, LettersOfOneLineShareTheBaseline) {
  ClipMap map;
  map->SetFontSize(100);
  const LONG ascent = map->GetTextAscent();
  for (const char* letter : {"H", "x", "E", "z"})
    EXPECT_NEAR(Drawn(letter, 100, 150, 150).bottom, ascent - 1, 1) << letter;
  EXPECT_GT(Drawn("g", 100, 150, 150).bottom, ascent + 10);
}

TEST_F(Text, IsSharpAtAnySize) {
  // Large: strokes are full, and only their edges are grey.
  const Drawn large("HELTIF", 200, 900, 240);
  EXPECT_GT(large.full, large.inked * 17 / 20);
  // A scaled-up small picture would have grey ramps of many pixels; a stem's edge takes at most one.
  const Drawn stem("l", 200, 120, 240);
  const LONG middle = (stem.top + stem.bottom) / 2;
  int grey = 0, white = 0;
  for (LONG x = 0; x < 120; ++x) {
    const int value = at(*stem.map, x, middle).r;
    grey += value > 0 && value < 255;
    white += value == 255;
  }
  EXPECT_LE(grey, 2);
  EXPECT_GT(white, 8);
  // Small: horizontal strokes fill whole rows of pixels.
  const Drawn small("E", 8, 20, 20);
  int strong = 0;
  for (LONG y = small.top; y <= small.bottom; ++y)
    strong += at(*small.map, small.left + 2, y).r > 150;
  EXPECT_GE(strong, 2);
  EXPECT_LE(small.bottom - small.top, 7);
  EXPECT_GE(small.bottom - small.top, 4);
}

TEST_F(Text, SizesAreExactNotScaledPictures) {
  for (LONG pixels = 8; pixels < 64; ++pixels) {
    const Drawn drawn("H", pixels, 100, 100);
    // Capitals are 1493 of 2384 units high; hinting may move each of their edges by most of a pixel.
    EXPECT_NEAR(drawn.bottom - drawn.top + 1, pixels * 0.626, 1.5) << pixels;
  }
}

TEST_F(Text, ControlCharactersDrawNothing) {
  const Drawn plain("abc", 16, 80, 40);
  const Drawn controls("a\tb\nc\r\x01\x1b\x7f", 16, 80, 40);
  EXPECT_TRUE(plain.sameAs(controls));
  EXPECT_EQ(widthOf("a\tb\nc\r"), widthOf("abc"));
  EXPECT_EQ(widthOf("\n\n\t"), 0);
  EXPECT_EQ(Drawn("\xe2\x80\xa8\xc2\x85", 16, 40, 40).inked, 0); // line separator, next line
}

TEST_F(Text, UndecodableBytesShowAsReplacement) {
  const Drawn bad("a\xff", 16, 60, 40), replacement("a\xef\xbf\xbd", 16, 60, 40);
  EXPECT_TRUE(bad.sameAs(replacement));
  EXPECT_GT(bad.inked, Drawn("a", 16, 60, 40).inked);
}

TEST_F(Text, OtherScriptsAreDrawn) {
  // The box for a character without a glyph in any font (an unassigned one).
  const Drawn box("\xcd\xb8", 40, 100, 60);
  for (const char* text :
       {"\xce\xa9", "\xd0\x96", "\xd7\x90", "\xd8\xb4", "\xc3\x85"}) { // Greek, Cyrillic, Hebrew, Arabic, Å
    const Drawn drawn(text, 40, 100, 60);
    EXPECT_GT(drawn.inked, 20) << text;
    EXPECT_FALSE(drawn.sameAs(box)) << text;
  }
}

TEST_F(Text, MissingCharactersComeFromAnotherFont) {
  // Script A of mathematics, hiragana A, Devanagari A, Han "one", Thai ko kai.
  const std::pair<std::uint32_t, const char*> candidates[] = {{0x1d49c, "\xf0\x9d\x92\x9c"},
                                                              {0x3042, "\xe3\x81\x82"},
                                                              {0x905, "\xe0\xa4\x85"},
                                                              {0x4e00, "\xe4\xb8\x80"},
                                                              {0xe01, "\xe0\xb8\x81"}};
  const Drawn box("\xcd\xb8", 40, 100, 60);
  int tried = 0;
  for (const auto& [codePoint, text] : candidates) {
    const host::FontFile other = host::fontWith(codePoint);
    if (other.path.empty() || other == host::defaultFont()) continue;
    ++tried;
    EXPECT_FALSE(Drawn(text, 40, 100, 60).sameAs(box)) << text << " from " << other.path;
    EXPECT_GT(Drawn(text, 40, 100, 60).inked, 20) << text;
    EXPECT_GT(widthOf(String("a") + text + "b"), widthOf("ab")) << text;
  }
  if (tried == 0) GTEST_SKIP() << "no installed font has a character that the default font lacks";
}

TEST_F(Text, AMissingCharacterShowsABox) {
  EXPECT_GT(Drawn("\xcd\xb8", 40, 100, 60).inked, 20);
}

TEST_F(Text, MarksSitOnTheirLetter) {
  EXPECT_EQ(widthOf("e\xcc\x81", 40),
            widthOf("\xc3\xa9", 40)); // e with an acute accent, in two characters and in one
  EXPECT_TRUE(Drawn("e\xcc\x81", 40, 60, 60).sameAs(Drawn("\xc3\xa9", 40, 60, 60)));
}

TEST_F(Text, RightToLeftTextIsOrdered) {
  // Alef, bet: the first letter stands on the right, so the left part of the pair is bet.
  const String alef("\xd7\x90"), bet("\xd7\x91");
  const Drawn pair(alef + bet, 40, 120, 60), first(bet, 40, 120, 60);
  const LONG split = widthOf(bet, 40) - 2;
  for (LONG y = 0; y < 60; ++y)
    for (LONG x = 0; x < split; ++x)
      ASSERT_NEAR(at(*pair.map, x, y).r, at(*first.map, x, y).r, 90) << x << ", " << y;
  // A number inside keeps its digits' order, and Latin text around it its place.
  const Drawn mixed(String("ab ") + alef + bet + " cd", 40, 300, 60), latin("ab ", 40, 300, 60);
  for (LONG y = 0; y < 60; ++y)
    for (LONG x = 0; x < widthOf("ab", 40); ++x)
      ASSERT_EQ(at(*mixed.map, x, y), at(*latin.map, x, y));
}

TEST_F(Text, CoverageIsMultipliedByTheColorsAlpha) {
  const Drawn white("Hg", 40, 80, 60);
  ClipMap map;
  ASSERT_EQ(map->Init(80, 60), IMAGERESULT_OK);
  map->BeginDraw();
  map->SetColor(0, 0, 0);
  map->FillRect(0, 0, 79, 59);
  map->SetDrawMode(GE_CM_DRAWMODE_BLEND, 255);
  map->SetColor(255, 255, 255, 16);
  map->SetFontSize(40);
  map->TextAt(0, 0, "Hg");
  for (LONG y = 0; y < 60; ++y)
    for (LONG x = 0; x < 80; ++x)
      ASSERT_EQ(at(*map, x, y).r, (at(*white.map, x, y).r * 16 + 127) / 255);
}

TEST_F(Text, OverlappingGlyphsAreOneShape) {
  // Joined Arabic letters overlap; drawn with half opacity nothing may be darker than half.
  ClipMap map;
  ASSERT_EQ(map->Init(200, 80), IMAGERESULT_OK);
  map->BeginDraw();
  map->SetColor(0, 0, 0);
  map->FillRect(0, 0, 199, 79);
  map->SetDrawMode(GE_CM_DRAWMODE_BLEND, 255);
  map->SetColor(255, 255, 255, 128);
  map->SetFontSize(60);
  map->TextAt(0, 0, "\xd8\xb3\xd9\x84\xd8\xa7\xd9\x85");
  int most = 0;
  for (LONG y = 0; y < 80; ++y)
    for (LONG x = 0; x < 200; ++x)
      most = std::max(most, at(*map, x, y).r);
  EXPECT_EQ(most, 128);
}

TEST_F(Text, IsClippedAtTheMapsBorders) {
  const Drawn whole("Wgj", 40, 200, 100, 50, 30);
  const Drawn cut("Wgj", 40, 70, 50, -10, -5);
  for (LONG y = 0; y < 50; ++y)
    for (LONG x = 0; x < 70; ++x)
      ASSERT_EQ(at(*cut.map, x, y), at(*whole.map, x + 60, y + 35));
  EXPECT_EQ(Drawn("Wgj", 40, 30, 30, INT32_MAX, INT32_MIN).inked, 0);
  EXPECT_EQ(Drawn("Wgj", 40, 30, 30, INT32_MIN, 0).inked, 0);
}

TEST_F(Text, LongAndLargeTextsAreDrawn) {
  const String much(std::string(30000, 'm'));
  EXPECT_GT(widthOf(much), 100000);
  EXPECT_GT(Drawn(much, 16, 200, 30, -50000, 0).inked, 500);
  const Drawn large("Og", 4096, 300, 300, -600, -900);
  EXPECT_GT(large.inked, 0);
}

TEST_F(Text, DrawingTwiceGivesTheSame) {
  const Drawn first("Frame 0001 \xe2\x80\x93 2.500 seconds", 16, 300, 40, 5, 7);
  for (int i = 0; i < 50; ++i) // pushes the line out of the cache
    widthOf(String("other ") + LongToString(i));
  EXPECT_TRUE(first.sameAs(Drawn("Frame 0001 \xe2\x80\x93 2.500 seconds", 16, 300, 40, 5, 7)));
}
