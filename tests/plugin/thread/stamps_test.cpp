// Frame stamps: texts, places and the resulting picture.
#include <gtest/gtest.h>

#include <cstdint>
#include <tuple>

#include "font_search.h"
#include "lm_keys.h"
#include "lm_stamps.h"
#include "plugin_fixture.h"

namespace {

std::string text(const String& s) {
  return s.GetUTF8();
}

TEST(GetTimeCode, IsMinutesSecondsFrames) {
  EXPECT_EQ(text(GetTimeCode(BaseTime(61.5, 1), 25)), "01:01:12");
  EXPECT_EQ(text(GetTimeCode(BaseTime(0, 1), 25)), "00:00:00");
  EXPECT_EQ(text(GetTimeCode(BaseTime(59, 30), 30)), "00:01:29");
  EXPECT_EQ(text(GetTimeCode(BaseTime(75 * 60, 1), 30)), "75:00:00");
  EXPECT_EQ(text(GetTimeCode(BaseTime(6000 * 60, 1), 30)), "6000:00:00");
}

TEST(GetTimeCode, TakesZeroForUndefinedValues) {
  EXPECT_EQ(text(GetTimeCode(BaseTime(61.5, 0), 25)), "00:00:00");
  EXPECT_EQ(text(GetTimeCode(BaseTime(61.5, 1), 0)), "01:01:00");
}

TEST(Wrap, SubtractsTheRangeUntilTheValueIsBelow) {
  EXPECT_EQ(Wrap(3, 5), 3);
  EXPECT_EQ(Wrap(5, 5), 0);
  EXPECT_EQ(Wrap(17, 5), 2);
  EXPECT_EQ(Wrap(-3, 5), -3);
}

class StampTest : public PluginFixture {
 protected:
  void SetUp() override {
    PluginFixture::SetUp();
    bitmap.Assign(BaseBitmap::Alloc());
    ASSERT_EQ(bitmap->Init(WIDTH, HEIGHT, 24), IMAGERESULT_OK);
    bitmap->Clear(GROUND, GROUND, GROUND);
    AutoAlloc<GeClipMap> map;
    ASSERT_EQ(map->Init(8, 8, 32), IMAGERESULT_OK);
    th = map->GetTextHeight();
  }

  void on(LONG key, LONG horizontalKey, LONG horizontal, LONG verticalKey, LONG vertical) {
    settings.SetValue(key, 1);
    settings.SetValue(horizontalKey, horizontal);
    settings.SetValue(verticalKey, vertical);
  }
  void custom1(const char* words, LONG horizontal, LONG vertical) {
    settings.SetValue(LM_STAMP_TEXT1, String(words));
    on(LM_STAMP_CUSTOM1, LM_STAMP_CUSTOM1_H, horizontal, LM_STAMP_CUSTOM1_V, vertical);
  }
  void custom2(const char* words, LONG horizontal, LONG vertical) {
    settings.SetValue(LM_STAMP_TEXT2, String(words));
    on(LM_STAMP_CUSTOM2, LM_STAMP_CUSTOM2_H, horizontal, LM_STAMP_CUSTOM2_V, vertical);
  }
  void draw() { DrawStamps(bitmap, &settings, WIDTH, HEIGHT, &status); }

  /// Starts a picture on the same ground, in the stamps' drawing mode.
  static void beginPicture(GeClipMap& map) {
    ASSERT_EQ(map.Init(WIDTH, HEIGHT, 32), IMAGERESULT_OK);
    map.BeginDraw();
    map.SetDrawMode(GE_CM_DRAWMODE_BLEND, 255);
    for (LONG y = 0; y < HEIGHT; ++y) {
      for (LONG x = 0; x < WIDTH; ++x)
        map.SetPixelRGBA(x, y, GROUND, GROUND, GROUND, 255);
    }
  }
  static void saveImage(const Filename& file, LONG width, LONG height) {
    const AutoAlloc<BaseBitmap> logo;
    ASSERT_EQ(logo->Init(width, height, 24), IMAGERESULT_OK);
    logo->Clear(255, 0, 0);
    ASSERT_EQ(logo->Save(file, FILTER_TIF), IMAGERESULT_OK);
  }
  /// The same text drawn alone by the clip map at (x, y) on the same ground.
  bool showsTextAt(const String& words, LONG x, LONG y) {
    AutoAlloc<GeClipMap> map;
    beginPicture(*map);
    DrawShadowText(*map, x, y, words);
    map->EndDraw();
    const LONG w = map->GetTextWidth(words);
    return sameBox(*map, x - 2, y - 2, x + w + 2, y + th + 2);
  }
  bool sameBox(GeClipMap& map, LONG x1, LONG y1, LONG x2, LONG y2) {
    bool changed = false;
    for (LONG y = y1; y <= y2; ++y) {
      for (LONG x = x1; x <= x2; ++x) {
        if (x < 0 || y < 0 || x >= WIDTH || y >= HEIGHT) continue;
        LONG r, g, b, a;
        UWORD br, bg, bb;
        map.GetPixelRGBA(x, y, &r, &g, &b, &a);
        bitmap->GetPixel(x, y, &br, &bg, &bb);
        if (r != br || g != bg || b != bb) return false;
        changed = changed || br != GROUND;
      }
    }
    return changed;
  }
  LONG widthOf(const String& words) {
    AutoAlloc<GeClipMap> map;
    map->Init(8, 8, 32);
    return map->GetTextWidth(words);
  }
  bool untouched() {
    UWORD r, g, b;
    for (LONG y = 0; y < HEIGHT; ++y) {
      for (LONG x = 0; x < WIDTH; ++x) {
        bitmap->GetPixel(x, y, &r, &g, &b);
        if (r != GROUND || g != GROUND || b != GROUND) return false;
      }
    }
    return true;
  }

  static constexpr LONG WIDTH = 640, HEIGHT = 240, GROUND = 90;
  AutoAlloc<BaseBitmap> bitmap{static_cast<BaseBitmap*>(nullptr)};
  lmSettings settings;
  LMTHREAD_DATA status;
  LONG th = 0;
};

TEST_F(StampTest, NothingSwitchedOnChangesNothing) {
  status.documentName = "scene.glb";
  draw();
  EXPECT_TRUE(untouched());
}

TEST_F(StampTest, TheRenderTimeHasThreeDecimals) {
  status.renderTime = 2.5;
  on(LM_STAMP_RENDER_TIME, LM_STAMP_RENDER_TIME_H, 0, LM_STAMP_RENDER_TIME_V, 0);
  draw();
  EXPECT_TRUE(showsTextAt("2.500 seconds", 4, 4));
}

TEST_F(StampTest, TheRenderTimeHasADigitBeforeThePoint) {
  on(LM_STAMP_RENDER_TIME, LM_STAMP_RENDER_TIME_H, 0, LM_STAMP_RENDER_TIME_V, 0);
  const std::pair<Real, const char*> times[] = {
      {0, "0.000 seconds"}, {0.25, "0.250 seconds"}, {123.4567, "123.457 seconds"}};
  for (const auto& [time, words] : times) {
    bitmap->Clear(GROUND, GROUND, GROUND);
    status.renderTime = time;
    draw();
    EXPECT_TRUE(showsTextAt(words, 4, 4)) << words;
  }
}

// An absent position key counts as 0.
TEST_F(StampTest, WithoutAPositionAnItemStandsAtTheTopLeft) {
  status.documentName = "scene.glb";
  settings.SetValue(LM_STAMP_DOCUMENT, 1);
  const Filename file = folder / "logo.tif";
  saveImage(file, 10, 6);
  settings.SetValue(LM_STAMP_IMAGE_FILE, file.GetString());
  draw();
  EXPECT_TRUE(showsTextAt("scene.glb", 4, 4)) << "the image's switch is absent: off";
  settings.SetValue(LM_STAMP_DOCUMENT, 0);
  settings.SetValue(LM_STAMP_IMAGE, 1);
  draw();
  expectPixel(*bitmap, 4, 4, 255, 0, 0);
  expectPixel(*bitmap, 13, 9, 255, 0, 0);
}

TEST_F(StampTest, DateDocumentTimeCodeAndCameraAreTheRecords) {
  status.documentName = "scene.glb";
  status.cameraName = "Hero";
  status.frameTime = BaseTime(61.5, 1);
  status.fps = 25;
  on(LM_STAMP_DATE, LM_STAMP_DATE_H, 0, LM_STAMP_DATE_V, 2);
  on(LM_STAMP_DOCUMENT, LM_STAMP_DOCUMENT_H, 2, LM_STAMP_DOCUMENT_V, 2);
  on(LM_STAMP_TIMECODE, LM_STAMP_TIMECODE_H, 1, LM_STAMP_TIMECODE_V, 0);
  on(LM_STAMP_CAMERA, LM_STAMP_CAMERA_H, 2, LM_STAMP_CAMERA_V, 0);
  draw();
  EXPECT_TRUE(showsTextAt(GetTimeStamp(), 4, HEIGHT - th - 4));
  EXPECT_TRUE(showsTextAt("scene.glb", WIDTH - widthOf("scene.glb") - 4, HEIGHT - th - 4));
  EXPECT_TRUE(showsTextAt("01:01:12", (WIDTH - widthOf("01:01:12")) / 2, 4));
  EXPECT_TRUE(showsTextAt("Hero", WIDTH - widthOf("Hero") - 4, 4));
}

TEST_F(StampTest, TheTimeStampIsTheClocks) {
  setLocalTime(2011, 3, 7, 9, 5, 0);
  EXPECT_EQ(text(GetTimeStamp()), "03/07/2011  09:05:00");
  setLocalTime(2026, 12, 31, 23, 59, 48);
  EXPECT_EQ(text(GetTimeStamp()), "12/31/2026  23:59:48");
}

TEST_F(StampTest, NineCells) {
  const LONG w = widthOf("cell");
  const LONG xs[] = {4, (WIDTH - w) / 2, WIDTH - w - 4};
  const LONG ys[] = {4, (HEIGHT - th) / 2, HEIGHT - th - 4};
  for (LONG v = 0; v < 3; ++v) {
    for (LONG h = 0; h < 3; ++h) {
      SCOPED_TRACE(std::to_string(h) + "," + std::to_string(v));
      bitmap->Clear(GROUND, GROUND, GROUND);
      custom1("cell", h, v);
      draw();
      EXPECT_TRUE(showsTextAt("cell", xs[h], ys[v]));
    }
  }
}

TEST_F(StampTest, ASecondTopItemSitsBelowTheFirst) {
  custom1("first", 0, 0);
  custom2("second", 0, 0);
  draw();
  EXPECT_TRUE(showsTextAt("second", 4, th + 8));
}

TEST_F(StampTest, ASecondBottomItemSitsAboveTheFirst) {
  custom1("first", 2, 2);
  custom2("second", 2, 2);
  draw();
  EXPECT_TRUE(showsTextAt("second", WIDTH - widthOf("second") - 4, HEIGHT - th - 4 - (th + 8)));
}

// A second middle item stands below the lower edge of the picture; it shows where the bitmap is larger.
TEST_F(StampTest, ASecondMiddleItemLandsFarBelow) {
  constexpr LONG width = 300, height = 90;
  status.cameraName = "first";
  on(LM_STAMP_CAMERA, LM_STAMP_CAMERA_H, 1, LM_STAMP_CAMERA_V, 1);
  custom1("second", 1, 1);
  custom2("third", 1, 1);
  DrawStamps(bitmap, &settings, width, height, &status);
  const LONG first = (height - th) / 2;
  const LONG second = first + (first + 4 + th);
  const LONG third = first + (second + 4 + th);
  ASSERT_GE(second, height);
  ASSERT_LT(third + th, HEIGHT);
  EXPECT_TRUE(showsTextAt("first", (width - widthOf("first")) / 2, first));
  EXPECT_TRUE(showsTextAt("second", (width - widthOf("second")) / 2, second));
  EXPECT_TRUE(showsTextAt("third", (width - widthOf("third")) / 2, third));
}

// Everything in one corner: the texts keep their order, and the image keeps its place below them.
TEST_F(StampTest, SevenItemsOfOneCellStandInTheirOrderOverTheImage) {
  setLocalTime(2011, 3, 7, 9, 5, 0);
  status.renderTime = 2.5;
  status.documentName = "scene.glb";
  status.frameTime = BaseTime(61.5, 1);
  status.fps = 25;
  status.cameraName = "Hero";
  const String texts[] = {"2.500 seconds", "03/07/2011  09:05:00", "scene.glb",   "01:01:12",
                          "Hero",          "first words",          "second words"};
  const Filename file = folder / "logo.tif";
  saveImage(file, 60, 90);
  settings.SetValue(LM_STAMP_IMAGE_FILE, file.GetString());
  for (const LONG vertical : {0, 2}) {
    SCOPED_TRACE(vertical);
    on(LM_STAMP_IMAGE, LM_STAMP_IMAGE_H, 0, LM_STAMP_IMAGE_V, vertical);
    on(LM_STAMP_RENDER_TIME, LM_STAMP_RENDER_TIME_H, 0, LM_STAMP_RENDER_TIME_V, vertical);
    on(LM_STAMP_DATE, LM_STAMP_DATE_H, 0, LM_STAMP_DATE_V, vertical);
    on(LM_STAMP_DOCUMENT, LM_STAMP_DOCUMENT_H, 0, LM_STAMP_DOCUMENT_V, vertical);
    on(LM_STAMP_TIMECODE, LM_STAMP_TIMECODE_H, 0, LM_STAMP_TIMECODE_V, vertical);
    on(LM_STAMP_CAMERA, LM_STAMP_CAMERA_H, 0, LM_STAMP_CAMERA_V, vertical);
    custom1("first words", 0, vertical);
    custom2("second words", 0, vertical);
    bitmap->Clear(GROUND, GROUND, GROUND);
    draw();

    const AutoAlloc<GeClipMap> expected;
    beginPicture(*expected);
    const LONG imageTop = vertical == 0 ? 4 : HEIGHT - 90 - 4;
    for (LONG y = imageTop; y < imageTop + 90; ++y) {
      for (LONG x = 4; x < 64; ++x)
        expected->SetPixelRGBA(x, y, 255, 0, 0, 255);
    }
    for (LONG i = 0; i < 7; ++i)
      DrawShadowText(*expected, 4, vertical == 0 ? 4 + i * (th + 4) : HEIGHT + 4 - (i + 1) * (th + 8),
                     texts[i]);
    expected->EndDraw();
    EXPECT_TRUE(sameBox(*expected, 0, 0, WIDTH - 1, HEIGHT - 1));
  }
}

TEST_F(StampTest, DifferentCellsDoNotPushEachOther) {
  custom1("left", 0, 0);
  custom2("right", 2, 0);
  draw();
  EXPECT_TRUE(showsTextAt("left", 4, 4));
  EXPECT_TRUE(showsTextAt("right", WIDTH - widthOf("right") - 4, 4));
}

TEST_F(StampTest, AnotherPositionCodeIsTheCoordinateAndLeavesTheStackAlone) {
  custom1("free", 100, 57);
  custom2("corner", 0, 0);
  draw();
  EXPECT_TRUE(showsTextAt("free", 100, 57));
  EXPECT_TRUE(showsTextAt("corner", 4, 4));
}

TEST_F(StampTest, OneFreeCodeUsesZeroOfTheStackOnTheOtherAxis) {
  on(LM_STAMP_DOCUMENT, LM_STAMP_DOCUMENT_H, 0, LM_STAMP_DOCUMENT_V, 0);
  status.documentName = "document";
  custom1("free", 300, 0);
  custom2("second", 0, 0);
  draw();
  EXPECT_TRUE(showsTextAt("free", 300, 4));
  EXPECT_TRUE(showsTextAt("second", 4, th + 8));
}

TEST_F(StampTest, TheTextIsWhiteWithADarkRim) {
  custom1("HHH", 0, 0);
  draw();
  bool white = false, dark = false;
  UWORD r, g, b;
  for (LONG y = 4; y < 4 + th; ++y) {
    for (LONG x = 4; x < 4 + widthOf("HHH"); ++x) {
      bitmap->GetPixel(x, y, &r, &g, &b);
      white = white || r > 230;
      dark = dark || r < GROUND - 10;
    }
  }
  EXPECT_TRUE(white);
  EXPECT_TRUE(dark);
}

TEST_F(StampTest, TheImageIsPlacedWithMarginsAndDoesNotMoveTexts) {
  const Filename file = folder / "logo.tif";
  saveImage(file, 10, 6);
  settings.SetValue(LM_STAMP_IMAGE_FILE, file.GetString());
  for (const auto& [code, x, y] : {std::tuple<LONG, LONG, LONG>{0, 4, 4},
                                   {1, (WIDTH - 10) / 2, (HEIGHT - 6) / 2},
                                   {2, WIDTH - 14, HEIGHT - 10},
                                   {33, 33, 33}}) {
    SCOPED_TRACE(code);
    bitmap->Clear(GROUND, GROUND, GROUND);
    on(LM_STAMP_IMAGE, LM_STAMP_IMAGE_H, code, LM_STAMP_IMAGE_V, code);
    draw();
    expectPixel(*bitmap, x, y, 255, 0, 0);
    expectPixel(*bitmap, x + 9, y + 5, 255, 0, 0);
    expectPixel(*bitmap, x - 1, y, GROUND, GROUND, GROUND);
    expectPixel(*bitmap, x + 10, y + 5, GROUND, GROUND, GROUND);
  }
  on(LM_STAMP_IMAGE, LM_STAMP_IMAGE_H, 2, LM_STAMP_IMAGE_V, 0);
  custom1("text", 0, 0);
  bitmap->Clear(GROUND, GROUND, GROUND);
  draw();
  EXPECT_TRUE(showsTextAt("text", 4, 4));
}

TEST_F(StampTest, AMissingOrBrokenImageIsSkippedSilently) {
  settings.SetValue(LM_STAMP_IMAGE_FILE, (folder / "nothing.tif").GetString());
  on(LM_STAMP_IMAGE, LM_STAMP_IMAGE_H, 0, LM_STAMP_IMAGE_V, 0);
  draw();
  EXPECT_TRUE(untouched());
  touch(folder / "broken.tif");
  settings.SetValue(LM_STAMP_IMAGE_FILE, (folder / "broken.tif").GetString());
  draw();
  EXPECT_TRUE(untouched());
  EXPECT_TRUE(messages().empty());
}

// A character missing in the stamps' font comes from another installed font.
TEST_F(StampTest, TextsOfAnyScript) {
  const std::pair<std::uint32_t, const char*> candidates[] = {{0x3042, "\xe3\x81\x82"},
                                                              {0x4e00, "\xe4\xb8\x80"},
                                                              {0x905, "\xe0\xa4\x85"},
                                                              {0xe01, "\xe0\xb8\x81"},
                                                              {0x1d49c, "\xf0\x9d\x92\x9c"}};
  const auto drawn = [&](const std::string& words) {
    bitmap->Clear(GROUND, GROUND, GROUND);
    custom1(words.c_str(), 0, 0);
    draw();
    EXPECT_TRUE(showsTextAt(words.c_str(), 4, 4)) << words;
    std::vector<UWORD> reds;
    for (LONG y = 0; y < 40; ++y) {
      for (LONG x = 0; x < 120; ++x) {
        UWORD r, g, b;
        bitmap->GetPixel(x, y, &r, &g, &b);
        reds.push_back(r);
      }
    }
    return reds;
  };
  const auto box = drawn("Take \xcd\xb8"); // a character that no font has
  int tried = 0;
  for (const auto& [codePoint, letter] : candidates) {
    const host::FontFile other = host::fontWith(codePoint);
    if (other.path.empty() || other == host::defaultFont()) continue;
    ++tried;
    EXPECT_NE(drawn(std::string("Take ") + letter), box) << letter << " from " << other.path;
    EXPECT_NE(drawn(std::string("Take ") + letter), drawn("Take ")) << letter;
  }
  if (tried == 0) GTEST_SKIP() << "no installed font has a character that the default font lacks";
}

TEST_F(StampTest, MissingTextsPrintEmpty) {
  settings.SetValue(LM_STAMP_CUSTOM1, 1);
  settings.SetValue(LM_STAMP_CAMERA, 1);
  draw();
  EXPECT_TRUE(untouched());
}

TEST_F(StampTest, AlphaOfADeepBitmapStays) {
  ASSERT_EQ(bitmap->Init(WIDTH, HEIGHT, 32), IMAGERESULT_OK);
  bitmap->Clear(GROUND, GROUND, GROUND);
  bitmap->SetAlpha(5, 5, 17);
  custom1("HHH", 0, 0);
  draw();
  EXPECT_EQ(bitmap->GetAlpha(5, 5), 17);
}

using PrintTest = PluginFixture;

TEST_F(PrintTest, LabelColonValue) {
  Print(LVector(1, 2.5, -3), "v", 1, 2);
  Print(2.5, "r", 3, 1);
  Print(Filename("/a/b.tif"), "f");
  Print(String("words"), "s");
  Print(static_cast<LONG>(-7), "n");
  Print(static_cast<LONG>(7), "");
  EXPECT_EQ(console, (std::vector<std::string>{"v: 1.00, 2.50, -3.00", "r: 002.5", "f: /a/b.tif", "s: words",
                                               "n: -7", "7"}));
}

} // namespace
