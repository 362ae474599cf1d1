// The Render Animation dialog, and the dialog of the JPEG and PSD options.
#include <gtest/gtest.h>

#include "active_document.h"
#include "dlg_animation.h"
#include "gadget_actions.h"
#include "lm_keys.h"
#include "plugin_fixture.h"

namespace {

constexpr LONG FRAMES = 14003, CONFIGURE = 14010, BROWSE = 14002;

class AnimationDialogTest : public PluginFixture {
 protected:
  void SetUp() override {
    PluginFixture::SetUp();
    settings.Init(ID_LUMENARA);
    WriteDefaults(settings.GetDataInstance(), LM_DEFAULT_VIEWER);
    document = BaseDocument::Alloc();
    document->SetFps(30);
    document->SetMinTime(BaseTime(0));
    document->SetMaxTime(BaseTime(3));
    document->SetLoopMinTime(BaseTime(1));
    document->SetLoopMaxTime(BaseTime(2));
    host::setActiveDocument(document);
    prepare();
  }
  void TearDown() override { host::setActiveDocument(nullptr); }

  /// As the viewer fills the dialog before it opens it.
  void prepare() {
    dialog.settings = &settings;
    dialog.fileName = Filename();
    dialog.from = dialog.to = dialog.step = 0;
    dialog.format = 8;
    dialog.launch = 1;
    dialog.jpegQuality = 95;
    dialog.photoshop7 = 1;
    dialog.stamp = 0;
  }
  /// Opens it; `act` is the user, who closes it with OK unless he does otherwise.
  bool open(const std::function<void()>& act) {
    bool opened = false;
    ui.whileDialogIsOpen = [&](GeDialog& shown) {
      if (&shown == &dialog) {
        opened = true;
        act();
      } else if (nested) {
        nested(shown);
      }
    };
    const Bool ok = dialog.Open();
    EXPECT_TRUE(opened);
    EXPECT_EQ(ok, dialog.GetResult());
    return ok != FALSE;
  }
  bool click(LONG id) { return host::clickGadget(dialog, id); }
  void ok() { click(IDC_OK); }
  const host::Gadget& gadget(LONG id) {
    const host::Gadget* found = host::findGadget(dialog, id);
    if (!found) ADD_FAILURE() << "no gadget " << id;
    static const host::Gadget none;
    return found ? *found : none;
  }
  LONG number(LONG id) { return static_cast<LONG>(gadget(id).number); }
  std::string text(LONG id) { return gadget(id).text.GetUTF8(); }
  LONG stored(LONG key) {
    const BaseContainer* data = GetWorldPluginData(ID_LUMENARA);
    return data ? data->GetLong(key, -1) : -1;
  }

  lmSettings settings;
  DlgAnimation dialog;
  BaseDocument* document = nullptr;
  std::function<void(GeDialog&)> nested;
};

std::vector<const host::Gadget*> flat(const host::Gadget& root) {
  std::vector<const host::Gadget*> all;
  for (const auto& child : root.children) {
    all.push_back(child.get());
    const auto below = flat(*child);
    all.insert(all.end(), below.begin(), below.end());
  }
  return all;
}

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
    EXPECT_EQ(number(FRAMES), 0);
    EXPECT_EQ(number(14004), 0);
    EXPECT_EQ(number(14005), 0);
    EXPECT_EQ(number(14006), 1);
    EXPECT_EQ(number(14007), 0) << "kept, though no entry shows it";
    EXPECT_EQ(number(14013), 0);
    EXPECT_EQ(number(14009), 1);
    EXPECT_EQ(number(14008), 0);
    EXPECT_EQ(dialog.step, 1) << "the settings replace what the opener gave";
    EXPECT_EQ(dialog.format, 0);
    EXPECT_EQ(dialog.jpegQuality, 95);
    EXPECT_EQ(dialog.photoshop7, 1);
  });
}

TEST_F(AnimationDialogTest, ShowsWhatIsStored) {
  settings.SetValue(14001, Filename("/out/shot.avi"));
  settings.SetValue(14004, 12);
  settings.SetValue(14005, 34);
  settings.SetValue(14006, 3);
  settings.SetValue(14007, 5);
  settings.SetValue(14008, 1);
  settings.SetValue(14009, 0);
  settings.SetValue(14011, 60);
  settings.SetValue(14012, 0);
  settings.SetValue(14013, 1);
  open([&] {
    EXPECT_EQ(text(14001), "/out/shot.avi");
    EXPECT_EQ(number(14004), 12);
    EXPECT_EQ(number(14005), 34);
    EXPECT_EQ(number(14006), 3);
    EXPECT_EQ(number(14007), 5);
    EXPECT_EQ(number(14008), 1);
    EXPECT_EQ(number(14009), 0);
    EXPECT_EQ(number(14013), 1);
    EXPECT_EQ(dialog.jpegQuality, 60);
    EXPECT_EQ(dialog.photoshop7, 0);
    EXPECT_EQ(dialog.launch, 1) << "the opener's; the box alone follows the setting";
  });
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

TEST_F(AnimationDialogTest, ATimeBecomesAFrameByWholeParts) {
  // floor(30 * 7.5) / floor(2.9), cut.
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

TEST_F(AnimationDialogTest, ConfigureIsForFormatsThatHaveOptions) {
  for (LONG format = -1; format <= 12; ++format) {
    settings.SetValue(14007, format);
    open([&] {
      const bool has = format == 4 || format == 5 || format == 8 || format == 9;
      EXPECT_EQ(gadget(CONFIGURE).enabled, has) << format;
    });
  }
  settings.SetValue(14007, 0);
  open([&] {
    host::chooseEntry(dialog, 14007, 8);
    EXPECT_TRUE(gadget(CONFIGURE).enabled);
    host::chooseEntry(dialog, 14007, 10);
    EXPECT_FALSE(gadget(CONFIGURE).enabled);
  });
}

TEST_F(AnimationDialogTest, ConfigureOfFormatsWithoutOptionsFails) {
  nested = [](GeDialog&) { ADD_FAILURE() << "nothing is to open"; };
  for (const LONG format : {-1, 6, 7, 10, 11}) {
    settings.SetValue(14007, format);
    open([&] { EXPECT_FALSE(dialog.Command(CONFIGURE, BaseContainer())) << format; });
  }
}

TEST_F(AnimationDialogTest, ConfigureOfAMovieEditsItsChoices) {
  for (LONG format = 0; format <= 5; ++format) {
    settings.SetValue(14007, format);
    BaseContainer before;
    before.SetLong(10000, 7);
    settings.SetValue(14010, before);
    LONG asked = 0;
    ui.editsMovieOptions = [&](LONG type, BaseContainer& choices) {
      asked = type;
      EXPECT_EQ(choices.GetLong(10000), 7);
      choices.SetLong(10000, 8);
      return true;
    };
    open([&] {
      EXPECT_TRUE(dialog.Command(CONFIGURE, BaseContainer()));
      EXPECT_EQ(asked, format == 2 || format == 3 || format == 5 ? 1122 : 1125) << format;
      EXPECT_EQ(dialog.formatOptions.GetLong(10000), 8);
      ui.editsMovieOptions = [](LONG, BaseContainer& choices) { return choices.SetLong(10000, 9), false; };
      EXPECT_FALSE(dialog.Command(CONFIGURE, BaseContainer())) << "cancelled";
      EXPECT_EQ(dialog.formatOptions.GetLong(10000), 8);
    });
  }
}

TEST_F(AnimationDialogTest, ConfigureOfJpegSetsTheQuality) {
  settings.SetValue(14007, 8);
  int opened = 0;
  nested = [&](GeDialog& shown) {
    ++opened;
    EXPECT_EQ(host::dialogModel(shown).title, String("JPEG Settings"));
    EXPECT_EQ(host::findGadget(shown, 14012), nullptr);
    const host::Gadget* slider = host::findGadget(shown, 14011);
    ASSERT_NE(slider, nullptr);
    EXPECT_EQ(slider->kind, host::GadgetKind::editSlider);
    EXPECT_EQ(slider->initWidth, 40);
    EXPECT_EQ(slider->spec.min, 0);
    EXPECT_EQ(slider->spec.max, 100);
    EXPECT_EQ(slider->spec.step, 1);
    EXPECT_EQ(slider->number, opened == 1 ? 95 : 40);
    host::enterNumber(shown, 14011, opened == 1 ? 40 : 140);
    host::clickGadget(shown, opened == 1 ? IDC_OK : IDC_CANCEL);
  };
  open([&] {
    EXPECT_TRUE(click(CONFIGURE));
    EXPECT_EQ(dialog.jpegQuality, 40);
    EXPECT_TRUE(click(CONFIGURE));
    EXPECT_EQ(dialog.jpegQuality, 40) << "cancelled";
  });
  EXPECT_EQ(opened, 2);
}

TEST_F(AnimationDialogTest, TheJpegDialogNamesBothEndsOfItsSlider) {
  lmDlgJPGPSD_Options still;
  still.jpeg = TRUE;
  ui.whileDialogIsOpen = [](GeDialog& shown) {
    std::vector<std::string> texts;
    std::vector<LONG> columns;
    for (const host::Gadget* one : flat(host::dialogModel(shown).root)) {
      if (one->kind == host::GadgetKind::staticText) texts.push_back(one->text.GetUTF8());
      if (one->kind == host::GadgetKind::group) columns.push_back(one->columns);
    }
    EXPECT_EQ(texts, (std::vector<std::string>{"", "", "Low", "High ", "JPEG Quality", "", "", "Small File",
                                               "Large File "}));
    ASSERT_GE(columns.size(), 4u);
    EXPECT_EQ(std::vector<LONG>(columns.begin(), columns.begin() + 4), (std::vector<LONG>{1, 4, 2, 4}));
  };
  still.Open();
}

TEST_F(AnimationDialogTest, ConfigureOfPsdSetsPhotoshop7) {
  settings.SetValue(14007, 9);
  int opened = 0;
  nested = [&](GeDialog& shown) {
    ++opened;
    EXPECT_EQ(host::dialogModel(shown).title, String("PSD Options"));
    EXPECT_EQ(host::findGadget(shown, 14011), nullptr);
    const host::Gadget* box = host::findGadget(shown, 14012);
    ASSERT_NE(box, nullptr);
    EXPECT_EQ(box->text, String("Photoshop 7"));
    EXPECT_EQ(box->number, opened == 1 ? 1 : 0);
    host::clickGadget(shown, 14012);
    host::clickGadget(shown, opened == 1 ? IDC_OK : IDC_CANCEL);
  };
  open([&] {
    EXPECT_TRUE(click(CONFIGURE));
    EXPECT_EQ(dialog.photoshop7, 0);
    EXPECT_TRUE(click(CONFIGURE));
    EXPECT_EQ(dialog.photoshop7, 0) << "cancelled";
  });
  EXPECT_EQ(opened, 2);
}

TEST_F(AnimationDialogTest, OkWithRememberStoresEverything) {
  const bool closedByOk = open([&] {
    host::enterText(dialog, 14001, "/out/shot");
    host::enterNumber(dialog, 14004, 5);
    host::enterNumber(dialog, 14005, 25);
    host::enterNumber(dialog, 14006, 2);
    host::chooseEntry(dialog, 14007, 9);
    click(14013);
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
  EXPECT_EQ(stored(14004), 5);
  EXPECT_EQ(stored(14005), 25);
  EXPECT_EQ(stored(14006), 2);
  EXPECT_EQ(stored(14007), 9);
  EXPECT_EQ(stored(14008), 1);
  EXPECT_EQ(stored(14009), 1);
  EXPECT_EQ(data->GetContainer(14010).GetLong(10001), 3);
  EXPECT_EQ(stored(14011), 50);
  EXPECT_EQ(stored(14012), 0);
  EXPECT_EQ(stored(14013), 1);
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
    host::enterText(dialog, 14001, "/out/shot");
    host::enterNumber(dialog, 14004, 5);
    host::enterNumber(dialog, 14005, 25);
    host::enterNumber(dialog, 14006, 2);
    host::chooseEntry(dialog, 14007, 5);
    click(14013);
    click(14009);
    dialog.formatOptions.SetLong(10001, 4);
    click(14008);
    ok();
  });
  const BaseContainer* data = GetWorldPluginData(ID_LUMENARA);
  ASSERT_NE(data, nullptr);
  EXPECT_EQ(data->GetType(14001), DA_FILENAME);
  EXPECT_FALSE(data->GetFilename(14001).Content());
  EXPECT_EQ(stored(14004), 0);
  EXPECT_EQ(stored(14005), 0);
  EXPECT_EQ(stored(14006), 1);
  EXPECT_EQ(stored(14007), 0);
  EXPECT_EQ(stored(14008), 0);
  EXPECT_EQ(stored(14009), 1) << "launched whatever the box said";
  EXPECT_EQ(data->GetContainer(14010).GetLong(10001), 3) << "the movie's choices survive as they were";
  EXPECT_EQ(stored(14011), 95);
  EXPECT_EQ(stored(14012), 1);
  EXPECT_EQ(stored(14013), 0);
  // The render of now goes by what was entered.
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
