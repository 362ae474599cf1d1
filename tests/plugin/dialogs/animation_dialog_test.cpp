// The Render Animation dialog.
#include "animation_fixture.h"

namespace {

TEST_F(AnimationDialogTest, HasItsGadgetsInTheirOrder) {
  open([&] {
    EXPECT_EQ(host::dialogModel(dialog).title, String("Render Animation"));
    struct Expected {
      host::GadgetKind kind;
      LONG id;
      const char* text;
      LONG width;
    };
    using K = host::GadgetKind;
    const Expected expected[] = {{K::staticText, 0, "File Name", 100},
                                 {K::editText, 14001, "", -1},
                                 {K::button, BROWSE, "...", -1},
                                 {K::staticText, 0, "Frame", 100},
                                 {K::comboBox, FRAMES, "", 150},
                                 {K::editNumberArrows, 14004, "", 50},
                                 {K::staticText, 0, " to ", -1},
                                 {K::editNumberArrows, 14005, "", 50},
                                 {K::staticText, 0, "Frame Step", 100},
                                 {K::editNumberArrows, 14006, "", 70},
                                 {K::staticText, 0, "Format", 100},
                                 {K::comboBox, 14007, "", 150},
                                 {K::button, CONFIGURE, "Configure...", -1},
                                 {K::staticText, 0, " ", 100},
                                 {K::checkBox, 14013, "Stamp Frames", -1},
                                 {K::staticText, 0, " ", 100},
                                 {K::checkBox, 14009, "Launch Animation", -1},
                                 {K::staticText, 0, " ", 100},
                                 {K::checkBox, 14008, "Remember Settings", -1},
                                 {K::separatorH, 0, "", -1},
                                 {K::button, IDC_OK, nullptr, -1},
                                 {K::button, IDC_CANCEL, nullptr, -1}};
    std::vector<const host::Gadget*> shown;
    for (const host::Gadget* one : flat(host::dialogModel(dialog).root)) {
      if (one->kind != K::group) shown.push_back(one);
    }
    ASSERT_EQ(shown.size(), std::size(expected));
    for (std::size_t i = 0; i < shown.size(); ++i) {
      EXPECT_EQ(shown[i]->kind, expected[i].kind) << i;
      EXPECT_EQ(shown[i]->id, expected[i].id) << i;
      if (expected[i].text && expected[i].id != 14001) {
        EXPECT_EQ(shown[i]->text, String(expected[i].text)) << i;
      }
      if (expected[i].width >= 0) {
        EXPECT_EQ(shown[i]->initWidth, expected[i].width) << i;
      }
    }
    const host::Gadget& outer = *host::dialogModel(dialog).root.children.at(0);
    EXPECT_EQ(outer.columns, 1);
    EXPECT_EQ(outer.borderLeft, 4);
    EXPECT_EQ(outer.borderTop, 4);
    EXPECT_EQ(outer.borderRight, 4);
    EXPECT_EQ(outer.borderBottom, 4);
    EXPECT_EQ(outer.spaceX, 4);
    EXPECT_EQ(outer.spaceY, 4);
    EXPECT_EQ(outer.children.at(0)->columns, 2);
    EXPECT_EQ(gadget(14001).flags & BFH_SCALEFIT, BFH_SCALEFIT);
  });
}

TEST_F(AnimationDialogTest, HasTheFormatsInTheirOrder) {
  open([&] {
    const std::pair<LONG, const char*> expected[] = {{6, "BMP"},
                                                     {7, "TIFF"},
                                                     {8, "JPEG"},
                                                     {9, "Photoshop (PSD)"},
                                                     {10, "BodyPaint 3D (B3D)"},
                                                     {-1, ""},
                                                     {4, "QuickTime Movie"},
                                                     {-1, ""},
                                                     {5, "AVI Movie"}};
    const auto& entries = gadget(14007).entries;
    ASSERT_EQ(entries.size(), std::size(expected));
    for (std::size_t i = 0; i < entries.size(); ++i) {
      EXPECT_EQ(entries[i].value, expected[i].first);
      EXPECT_EQ(entries[i].text, String(expected[i].second));
    }
    const auto& frames = gadget(FRAMES).entries;
    ASSERT_EQ(frames.size(), 3u);
    EXPECT_EQ(frames[0].text, String("Manual"));
    EXPECT_EQ(frames[1].text, String("All Frames"));
    EXPECT_EQ(frames[2].text, String("Preview Range"));
    for (LONG i = 0; i < 3; ++i)
      EXPECT_EQ(frames[static_cast<std::size_t>(i)].value, i);
  });
}

TEST_F(AnimationDialogTest, ShowsTheDefaultsAtFirst) {
  open([&] {
    EXPECT_EQ(text(14001), "");
    expectShown({{FRAMES, 0}, {14004, 0}, {14005, 0}, {14006, 1}, {14013, 0}, {14009, 1}, {14008, 0}});
    EXPECT_EQ(number(14007), 0) << "kept, though no entry shows it";
    EXPECT_EQ(dialog.step, 1) << "the settings replace what the opener gave";
    EXPECT_EQ(dialog.format, 0);
    EXPECT_EQ(dialog.jpegQuality, 95);
    EXPECT_EQ(dialog.photoshop7, 1);
  });
}

TEST_F(AnimationDialogTest, ShowsTheSameWithoutStoredKeys) {
  settings.GetDataInstance()->FlushAll();
  open([&] {
    EXPECT_EQ(text(14001), "");
    expectShown(
        {{FRAMES, 0}, {14004, 0}, {14005, 0}, {14006, 1}, {14007, 0}, {14013, 0}, {14009, 1}, {14008, 0}});
    EXPECT_EQ(dialog.step, 1);
    EXPECT_EQ(dialog.jpegQuality, 95);
    EXPECT_EQ(dialog.photoshop7, 1);
    EXPECT_EQ(dialog.stamp, 0);
    EXPECT_EQ(dialog.formatOptions.GetCount(), 0);
  });
}

TEST_F(AnimationDialogTest, ShowsWhatIsStored) {
  settings.SetValue(14001, Filename("/out/shot.avi"));
  const Numbers shown = {{14004, 12}, {14005, 34}, {14006, 3}, {14007, 5},
                         {14008, 1},  {14009, 0},  {14013, 1}};
  for (const auto& [key, value] : shown)
    settings.SetValue(key, value);
  settings.SetValue(14011, 60);
  settings.SetValue(14012, 0);
  open([&] {
    EXPECT_EQ(text(14001), "/out/shot.avi");
    expectShown(shown);
    EXPECT_EQ(dialog.jpegQuality, 60);
    EXPECT_EQ(dialog.photoshop7, 0);
    EXPECT_EQ(dialog.launch, 1) << "the opener's; the box alone follows the setting";
  });
}

// Fields clamp the shown number; the value itself changes only when the user changes it.
TEST_F(AnimationDialogTest, StoredValuesOutsideOfTheRangesAreShownCutAndKept) {
  settings.SetValue(14004, -20);
  settings.SetValue(14005, 12345);
  settings.SetValue(14006, 5000);
  settings.SetValue(14008, 1);
  open([&] {
    expectShown({{14004, 0}, {14005, 9999}, {14006, 999}});
    EXPECT_EQ(dialog.from, -20);
    EXPECT_EQ(dialog.to, 12345);
    EXPECT_EQ(dialog.step, 5000);
    ok();
  });
  expectStored({{14004, -20}, {14005, 12345}, {14006, 5000}});
  EXPECT_EQ(dialog.to, 12345) << "for the render too";

  settings.SetValue(14006, 0);
  open([&] {
    EXPECT_EQ(number(14006), 1);
    EXPECT_EQ(dialog.step, 0);
    host::enterNumber(dialog, 14005, 7);
    ok();
  });
  expectStored({{14004, -20}, {14005, 7}, {14006, 0}});
}

TEST_F(AnimationDialogTest, FramesAndStepHaveLimits) {
  open([&] {
    host::enterNumber(dialog, 14004, -5);
    EXPECT_EQ(number(14004), 0);
    host::enterNumber(dialog, 14004, 12345);
    EXPECT_EQ(number(14004), 9999);
    EXPECT_EQ(dialog.from, 9999);
    host::enterNumber(dialog, 14005, 20000);
    EXPECT_EQ(dialog.to, 9999);
    host::enterNumber(dialog, 14006, 0);
    EXPECT_EQ(dialog.step, 1);
    host::enterNumber(dialog, 14006, 5000);
    EXPECT_EQ(dialog.step, 999);
  });
}

TEST_F(AnimationDialogTest, AllFramesTakesTheDocumentsRange) {
  open([&] {
    host::chooseEntry(dialog, FRAMES, 1);
    EXPECT_EQ(number(14004), 0);
    EXPECT_EQ(number(14005), 90);
    EXPECT_EQ(dialog.from, 0);
    EXPECT_EQ(dialog.to, 90);
    EXPECT_EQ(number(FRAMES), 1);
    host::enterNumber(dialog, 14005, 50);
    EXPECT_EQ(number(FRAMES), 0) << "typed: manual again";
    EXPECT_EQ(dialog.to, 50);
    host::chooseEntry(dialog, FRAMES, 1);
    host::enterNumber(dialog, 14004, 7);
    EXPECT_EQ(number(FRAMES), 0);
    EXPECT_EQ(dialog.from, 7);
  });
}

TEST_F(AnimationDialogTest, PreviewRangeTakesTheLoop) {
  open([&] {
    host::chooseEntry(dialog, FRAMES, 2);
    EXPECT_EQ(dialog.from, 30);
    EXPECT_EQ(dialog.to, 60);
    host::chooseEntry(dialog, FRAMES, 0);
    EXPECT_EQ(dialog.from, 30) << "manual changes nothing";
    EXPECT_EQ(dialog.to, 60);
  });
}

TEST_F(AnimationDialogTest, ARangeLiftsTheLimits) {
  document->SetMinTime(BaseTime(-2));
  document->SetMaxTime(BaseTime(1000));
  open([&] {
    host::chooseEntry(dialog, FRAMES, 1);
    EXPECT_EQ(number(14004), -60);
    EXPECT_EQ(number(14005), 30000);
    host::enterNumber(dialog, 14004, -500);
    EXPECT_EQ(dialog.from, -500);
    host::enterNumber(dialog, 14005, 123456);
    EXPECT_EQ(dialog.to, 123456);
  });
}

TEST_F(AnimationDialogTest, ATimeBecomesAFrameByIntegerParts) {
  // floor(30 * 7.5) / floor(2.9), truncated.
  document->SetMinTime(BaseTime(7.5, 2.9));
  document->SetMaxTime(BaseTime(-0.1, 1));
  document->SetLoopMinTime(BaseTime(1, 0.5));
  open([&] {
    host::chooseEntry(dialog, FRAMES, 1);
    EXPECT_EQ(dialog.from, 112);
    EXPECT_EQ(dialog.to, -3);
    host::chooseEntry(dialog, FRAMES, 2);
    EXPECT_EQ(dialog.from, 0) << "a denominator below 1 has no frame";
  });
}

TEST_F(AnimationDialogTest, WithoutADocumentARangeChangesNothing) {
  host::setActiveDocument(nullptr);
  open([&] {
    host::enterNumber(dialog, 14005, 50);
    host::chooseEntry(dialog, FRAMES, 1);
    EXPECT_EQ(dialog.to, 50);
  });
}

TEST_F(AnimationDialogTest, TheFormatGivesTheNameItsSuffix) {
  open([&] {
    host::enterText(dialog, 14001, "/out/shot");
    host::chooseEntry(dialog, 14007, 8);
    EXPECT_EQ(text(14001), "/out/shot.jpg");
    host::chooseEntry(dialog, 14007, 8);
    EXPECT_EQ(text(14001), "/out/shot.jpg");
    const std::pair<LONG, const char*> suffixes[] = {{6, "bmp"},  {7, "tif"}, {9, "psd"},
                                                     {10, "b3d"}, {4, "mov"}, {5, "avi"}};
    for (const auto& [format, suffix] : suffixes) {
      host::chooseEntry(dialog, 14007, format);
      EXPECT_EQ(text(14001), std::string("/out/shot.") + suffix);
      EXPECT_EQ(dialog.fileName.GetString().GetUTF8(), std::string("/out/shot.") + suffix);
    }
    host::enterText(dialog, 14001, "/out/SHOT.AVI");
    host::chooseEntry(dialog, 14007, 5);
    EXPECT_EQ(text(14001), "/out/SHOT.AVI") << "the letters' case does not matter";
  });
}

TEST_F(AnimationDialogTest, HiddenFormatsHaveSuffixesToo) {
  const std::pair<LONG, const char*> suffixes[] = {{0, "mov"}, {1, "mov"}, {2, "avi"},
                                                   {3, "avi"}, {11, ""},   {-1, ""}};
  for (const auto& [format, suffix] : suffixes) {
    settings.SetValue(14007, format);
    open([&, format = format, suffix = suffix] {
      host::enterText(dialog, 14001, "shot");
      dialog.CheckFormat();
      EXPECT_EQ(text(14001), *suffix ? std::string("shot.") + suffix : "shot") << format;
    });
  }
}

TEST_F(AnimationDialogTest, AnEmptyNameStaysEmpty) {
  open([&] {
    host::chooseEntry(dialog, 14007, 8);
    EXPECT_EQ(text(14001), "");
    EXPECT_FALSE(dialog.fileName.Content());
    host::enterText(dialog, 14001, "a");
    host::chooseEntry(dialog, 14007, 7);
    host::enterText(dialog, 14001, "");
    ok();
  });
  EXPECT_FALSE(dialog.fileName.Content());
}

TEST_F(AnimationDialogTest, TheFileSelectorSaves) {
  open([&] {
    host::enterText(dialog, 14001, "/out/a");
    host::chooseEntry(dialog, 14007, 8);
    ui.files.push_back(Filename());
    click(BROWSE);
    EXPECT_EQ(text(14001), "/out/a.jpg") << "cancelled";
    ui.files.push_back(Filename("/other/b"));
    click(BROWSE);
    EXPECT_EQ(text(14001), "/other/b.jpg");
    EXPECT_EQ(dialog.fileName, Filename("/other/b.jpg"));
  });
  ASSERT_EQ(ui.fileRequests.size(), 2u);
  EXPECT_EQ(ui.fileRequests[0].title, String("Save Animation"));
  EXPECT_EQ(ui.fileRequests[0].mode, FILESELECT_SAVE);
  EXPECT_EQ(ui.fileRequests[0].start, Filename("/out/a.jpg"));
}

TEST_F(AnimationDialogTest, TheFileSelectorStartsFromTheTypedName) {
  settings.SetValue(14001, Filename("/out/stored.avi"));
  open([&] {
    host::enterText(dialog, 14001, "/typed/name");
    ui.files.push_back(Filename());
    click(BROWSE);
    EXPECT_EQ(text(14001), "/typed/name");
    host::enterText(dialog, 14001, "");
    ui.files.push_back(Filename());
    click(BROWSE);
  });
  ASSERT_EQ(ui.fileRequests.size(), 2u);
  EXPECT_EQ(ui.fileRequests[0].start, Filename("/typed/name"));
  EXPECT_EQ(ui.fileRequests[1].start, Filename());
}

TEST_F(AnimationDialogTest, OkWithRememberStoresEverything) {
  const bool closedByOk = open([&] {
    fillIn(9);
    click(14008);
    dialog.formatOptions.SetLong(10001, 3);
    dialog.jpegQuality = 50;
    dialog.photoshop7 = 0;
    ok();
  });
  EXPECT_TRUE(closedByOk);
  const BaseContainer* data = GetWorldPluginData(ID_LUMENARA);
  ASSERT_NE(data, nullptr);
  EXPECT_EQ(data->GetType(14001), DA_FILENAME);
  EXPECT_EQ(data->GetFilename(14001), Filename("/out/shot.psd"));
  EXPECT_EQ(data->GetContainer(14010).GetLong(10001), 3);
  expectStored({{14004, 5},
                {14005, 25},
                {14006, 2},
                {14007, 9},
                {14008, 1},
                {14009, 1},
                {14011, 50},
                {14012, 0},
                {14013, 1}});
  EXPECT_EQ(dialog.fileName, Filename("/out/shot.psd"));
  EXPECT_EQ(dialog.from, 5);
  EXPECT_EQ(dialog.stamp, 1);
}

TEST_F(AnimationDialogTest, OkWithoutRememberStoresTheDefaults) {
  BaseContainer movie;
  movie.SetLong(10001, 3);
  settings.SetValue(14010, movie);
  settings.SetValue(14008, 1);
  settings.SetValue(14011, 20);
  open([&] {
    fillIn(5);
    click(14009);
    dialog.formatOptions.SetLong(10001, 4);
    click(14008);
    ok();
  });
  const BaseContainer* data = GetWorldPluginData(ID_LUMENARA);
  ASSERT_NE(data, nullptr);
  EXPECT_EQ(data->GetType(14001), DA_FILENAME);
  EXPECT_FALSE(data->GetFilename(14001).Content());
  EXPECT_EQ(stored(14009), 1) << "launched whatever the box said";
  EXPECT_EQ(data->GetContainer(14010).GetLong(10001), 3) << "the movie's choices survive as they were";
  expectStored(
      {{14004, 0}, {14005, 0}, {14006, 1}, {14007, 0}, {14008, 0}, {14011, 95}, {14012, 1}, {14013, 0}});
  // The current render uses the entered values.
  EXPECT_EQ(dialog.fileName, Filename("/out/shot.avi"));
  EXPECT_EQ(dialog.from, 5);
  EXPECT_EQ(dialog.to, 25);
  EXPECT_EQ(dialog.step, 2);
  EXPECT_EQ(dialog.format, 5);
  EXPECT_EQ(dialog.stamp, 1);
}

TEST_F(AnimationDialogTest, LaunchIsTheOpenersUntilItsBoxIsUsed) {
  settings.SetValue(14008, 1);
  settings.SetValue(14009, 0);
  open([&] {
    EXPECT_EQ(number(14009), 0);
    ok();
  });
  EXPECT_EQ(stored(14009), 1) << "the box was not touched";
  prepare();
  open([&] {
    EXPECT_EQ(number(14009), 1);
    click(14009);
    ok();
  });
  EXPECT_EQ(stored(14009), 0);
}

TEST_F(AnimationDialogTest, TheNameOfTheFieldIsTakenAtOk) {
  settings.SetValue(14007, 4);
  open([&] {
    host::enterText(dialog, 14001, "film.mp4");
    ok();
  });
  EXPECT_EQ(dialog.fileName, Filename("film.mov"));
}

TEST_F(AnimationDialogTest, CancelStoresNothing) {
  const bool closedByOk = open([&] {
    host::enterNumber(dialog, 14004, 5);
    click(14008);
    click(IDC_CANCEL);
  });
  EXPECT_FALSE(closedByOk);
  EXPECT_EQ(GetWorldPluginData(ID_LUMENARA), nullptr);
  EXPECT_FALSE(open([&] { host::closeByUser(dialog); }));
  EXPECT_EQ(GetWorldPluginData(ID_LUMENARA), nullptr);
}

TEST_F(AnimationDialogTest, OpensAgainWithTheDefaultsWhenNotRemembered) {
  open([&] {
    host::enterNumber(dialog, 14004, 5);
    host::enterText(dialog, 14001, "a");
    ok();
  });
  prepare();
  open([&] {
    EXPECT_EQ(number(14004), 0);
    EXPECT_EQ(text(14001), "");
    EXPECT_EQ(number(14007), 0);
  });
}

} // namespace
