// "Configure..." of the Render Animation dialog: the options of movies, of JPEG and of PSD files.
#include "animation_fixture.h"
#include "memory_shortage.h"

namespace {

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

TEST_F(AnimationDialogTest, ConfigureWithoutAMovieSaverFails) {
  settings.SetValue(14007, 4);
  ui.editsMovieOptions = [](LONG, BaseContainer&) { return true; };
  open([&] {
    Bool configured = TRUE;
    {
      const MemoryShortage shortage(ANY_SIZE);
      configured = dialog.Command(CONFIGURE, BaseContainer());
    }
    EXPECT_FALSE(configured);
    EXPECT_TRUE(ui.movieRequests.empty());
    EXPECT_TRUE(dialog.Command(CONFIGURE, BaseContainer()));
    EXPECT_EQ(ui.movieRequests.size(), 1u);
  });
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
    std::vector<LONG> columns, widths;
    for (const host::Gadget* one : flat(host::dialogModel(shown).root)) {
      if (one->kind == host::GadgetKind::staticText) {
        texts.push_back(one->text.GetUTF8());
        widths.push_back(one->initWidth);
      }
      if (one->kind == host::GadgetKind::group) columns.push_back(one->columns);
    }
    EXPECT_EQ(texts, (std::vector<std::string>{"", "", "Low", "High ", "JPEG Quality", "", "", "Small File",
                                               "Large File "}));
    EXPECT_EQ(widths, (std::vector<LONG>{120, 80, 0, 0, 120, 120, 80, 0, 0}));
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

} // namespace
