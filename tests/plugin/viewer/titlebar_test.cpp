// The title bar: its pieces, stretching, hover pictures, clicks.
#include <gtest/gtest.h>

#include <filesystem>

#include "gadget_actions.h"
#include "lm_version.h"
#include "off_screen.h"
#include "plugin_fixture.h"
#include "titlebar.h"

namespace {

constexpr LONG GADGET = 20001;
constexpr LONG HEIGHT = 24;

struct Picture {
  const char* file;
  LONG width;
  LONG gray; // every column has a colour of its own: red the column, green and blue this
};

// In the order in which they are loaded.
const Picture PICTURES[] = {{"t_cntr.tif", 4, 10},  {"t_caps.tif", 10, 20}, {"name_a.tif", 60, 30},
                            {"name_b.tif", 60, 40}, {"t_left.tif", 12, 50}, {"help_a.tif", 30, 60},
                            {"help_b.tif", 30, 70}, {"home_a.tif", 40, 80}, {"home_b.tif", 40, 90},
                            {"t_rght.tif", 14, 100}};

class CountingBar : public titlebarUA {
 public:
  void Timer(const BaseContainer& msg) override {
    ++timers;
    titlebarUA::Timer(msg);
  }
  void DrawMsg(LONG x1, LONG y1, LONG x2, LONG y2, const BaseContainer& msg) override {
    ++drawings;
    titlebarUA::DrawMsg(x1, y1, x2, y2, msg);
  }
  LONG timers = 0, drawings = 0;
};

class BarDialog : public GeDialog {
 public:
  Bool CreateLayout() override {
    AddUserArea(GADGET, BFH_SCALEFIT);
    return AttachUserArea(bar, GADGET);
  }
  LONG Message(const BaseContainer& msg, BaseContainer& result) override {
    if (msg.GetId() == BFM_ACTION) actions.push_back(msg);
    return GeDialog::Message(msg, result);
  }
  CountingBar bar;
  std::vector<BaseContainer> actions;
};

class TitlebarTest : public PluginFixture {
 protected:
  void SetUp() override {
    PluginFixture::SetUp();
    removeResources();
    folder.makeFolder("plugin/res");
    folder.makeFolder("plugin/res/gui");
    for (const Picture& picture : PICTURES)
      write(picture);
  }
  void TearDown() override {
    if (dialog) dialog->Close();
    dialog.reset();
  }

  Filename guiFolder() const { return pluginFolder() + "res" + "gui"; }
  void write(const Picture& picture, LONG height = HEIGHT) {
    const AutoAlloc<BaseBitmap> bitmap;
    ASSERT_EQ(bitmap->Init(picture.width, height, 24), IMAGERESULT_OK);
    for (LONG x = 0; x < picture.width; ++x) {
      for (LONG y = 0; y < height; ++y)
        bitmap->SetPixel(x, y, x, picture.gray, y);
    }
    ASSERT_EQ(bitmap->Save(guiFolder() + picture.file, FILTER_TIF), IMAGERESULT_OK);
  }
  void writeManual() {
    folder.makeFolder("plugin/docs");
    touch(pluginFolder() + "docs" + "lm_manual.pdf");
  }

  void open(LONG width = 400) {
    callAsPlugin([&] {
      dialog = std::make_unique<BarDialog>();
      dialog->Open(DLG_TYPE_ASYNC, 1);
    });
    host::sizeArea(bar(), width, HEIGHT);
    runAll();
  }
  CountingBar& bar() { return dialog->bar; }

  /// The shown picture at a position: its gray and its column.
  std::pair<LONG, LONG> shown(int x, int y = 10) {
    const std::uint32_t pixel = host::areaSurface(bar()).at(x, y);
    EXPECT_EQ(pixel & 255, static_cast<std::uint32_t>(y)) << "the row at " << x;
    return {static_cast<LONG>((pixel >> 8) & 255), static_cast<LONG>((pixel >> 16) & 255)};
  }
  LONG grayAt(int x) { return shown(x).first; }
  void paint() {
    advance(20);
    host::paintArea(bar());
  }
  void click(LONG x, LONG y) { host::pressMouse(bar(), BFM_INPUT_MOUSELEFT, x, y); }
  void hover(LONG x, LONG y) {
    host::hoverMouse(bar(), x, y);
    paint();
  }
  void pointerAt(LONG x, LONG y) {
    bar().Local2Screen(&x, &y);
    host::InputState state;
    state.known = true;
    state.mouseX = x;
    state.mouseY = y;
    host::setInputState(state);
  }

  std::unique_ptr<BarDialog> dialog;
};

TEST_F(TitlebarTest, IsAtLeast240By24) {
  open();
  LONG w = 0, h = 0;
  host::areaMinSize(bar(), w, h);
  EXPECT_EQ(w, 240);
  EXPECT_EQ(h, 24);
}

TEST_F(TitlebarTest, ShowsItsNinePieces) {
  writeManual();
  open(400);
  EXPECT_EQ(shown(0), (std::pair<LONG, LONG>(20, 0))) << "the left cap's first pixel";
  EXPECT_EQ(shown(1), (std::pair<LONG, LONG>(30, 0))) << "the name lies over the cap";
  EXPECT_EQ(shown(60), (std::pair<LONG, LONG>(30, 59)));
  EXPECT_EQ(shown(61), (std::pair<LONG, LONG>(50, 0))) << "what follows the name";
  EXPECT_EQ(shown(72), (std::pair<LONG, LONG>(50, 11)));
  EXPECT_EQ(grayAt(73), 10) << "the centre";
  // From the right edge: cap 390, help 360, cap 350, home 310, 296.
  EXPECT_EQ(grayAt(295), 10);
  EXPECT_EQ(shown(296), (std::pair<LONG, LONG>(100, 0)));
  EXPECT_EQ(shown(309), (std::pair<LONG, LONG>(100, 13)));
  EXPECT_EQ(shown(310), (std::pair<LONG, LONG>(80, 0)));
  EXPECT_EQ(shown(349), (std::pair<LONG, LONG>(80, 39)));
  EXPECT_EQ(shown(350), (std::pair<LONG, LONG>(20, 0)));
  EXPECT_EQ(shown(359), (std::pair<LONG, LONG>(20, 9)));
  EXPECT_EQ(shown(360), (std::pair<LONG, LONG>(60, 0)));
  EXPECT_EQ(shown(389), (std::pair<LONG, LONG>(60, 29)));
  EXPECT_EQ(shown(390), (std::pair<LONG, LONG>(20, 0)));
  EXPECT_EQ(shown(399), (std::pair<LONG, LONG>(20, 9)));
  EXPECT_EQ(shown(399, 0).first, 20);
  EXPECT_EQ(shown(399, 23).first, 20);
}

TEST_F(TitlebarTest, EveryDrawingBeginsOffScreen) {
  open();
  const int before = offScreenDrawings(bar()), drawings = bar().drawings;
  bar().Redraw();
  paint();
  EXPECT_EQ(bar().drawings, drawings + 1);
  EXPECT_EQ(offScreenDrawings(bar()), before + 1);
}

TEST_F(TitlebarTest, TheCentreIsStretchedPastTheRightEdge) {
  open(400);
  // Four columns over 400 pixels, from 73 on.
  EXPECT_EQ(shown(73).second, 0);
  EXPECT_EQ(shown(172).second, 0);
  EXPECT_EQ(shown(173).second, 1);
  EXPECT_EQ(shown(273).second, 2);
}

TEST_F(TitlebarTest, ATallerPictureShowsItsUpperRows) {
  for (const Picture& picture : PICTURES)
    write(picture, 2 * HEIGHT);
  open(400);
  for (const int x : {0, 1, 61, 200, 296, 310, 350, 360, 390}) {
    for (const int y : {0, 12, 23})
      shown(x, y); // which looks at the row
  }
}

TEST_F(TitlebarTest, ANewSizeOfTheDialogIsARedraw) {
  open();
  advance(300); // what the opening posts
  const auto drawings = [&](LONG id) {
    bar().drawings = 0;
    BaseContainer result;
    bar().Message(BaseContainer(id), result);
    paint();
    return bar().drawings;
  };
  EXPECT_EQ(drawings(FourCC("bISI")), 1);
  EXPECT_EQ(drawings(FourCC("xxxx")), 0);
}

TEST_F(TitlebarTest, TheRightGroupStaysAtTheRightEdge) {
  open(400);
  host::sizeArea(bar(), 600, HEIGHT);
  EXPECT_EQ(grayAt(389), 10);
  EXPECT_EQ(shown(590), (std::pair<LONG, LONG>(20, 0)));
  EXPECT_EQ(shown(560), (std::pair<LONG, LONG>(60, 0)));
  EXPECT_EQ(shown(510), (std::pair<LONG, LONG>(80, 0)));
  EXPECT_EQ(shown(1), (std::pair<LONG, LONG>(30, 0)));
  host::sizeArea(bar(), 300, HEIGHT);
  EXPECT_EQ(shown(290), (std::pair<LONG, LONG>(20, 0)));
  EXPECT_EQ(shown(210), (std::pair<LONG, LONG>(80, 0)));
}

TEST_F(TitlebarTest, APictureThatDoesNotLoadFailsIt) {
  std::filesystem::remove((guiFolder() + "home_b.tif").GetString().GetUTF8());
  titlebarUA area;
  callAsPlugin([&] { EXPECT_FALSE(area.Init()); });
  write(PICTURES[8]);
  callAsPlugin([&] { EXPECT_TRUE(area.Init()); });
  touch(guiFolder() + "t_cntr.tif");
  callAsPlugin([&] { EXPECT_FALSE(area.Init()) << "no picture"; });
}

TEST_F(TitlebarTest, TheNameShowsTheVersion) {
  open();
  click(30, 10);
  EXPECT_EQ(messages(), (std::vector<std::string>{"Lumenara v" + GetVersionString().GetUTF8()}));
  EXPECT_TRUE(ui.openedFiles.empty());
  EXPECT_TRUE(ui.openedAddresses.empty());
}

TEST_F(TitlebarTest, HelpOpensTheManual) {
  writeManual();
  open();
  click(370, 10);
  runAll();
  EXPECT_EQ(ui.openedFiles,
            (std::vector<std::string>{(pluginFolder() + "docs" + "lm_manual.pdf").GetString().GetUTF8()}));
}

TEST_F(TitlebarTest, WithoutTheManualHelpIsInactive) {
  open();
  click(370, 10);
  hover(370, 10);
  runAll();
  EXPECT_TRUE(ui.openedFiles.empty());
  EXPECT_TRUE(messages().empty());
  EXPECT_EQ(grayAt(370), 60);
}

TEST_F(TitlebarTest, HomeOpensTheProductPageAsAFile) {
  open();
  click(330, 10);
  runAll();
  EXPECT_EQ(ui.openedFiles,
            (std::vector<std::string>{(pluginFolder() + "docs" + "lumenara.html").GetString().GetUTF8()}));
  EXPECT_TRUE(ui.openedAddresses.empty());
}

TEST_F(TitlebarTest, ClicksCountBetweenTheEdges) {
  open();
  const auto clicks = [&](LONG x, LONG y) {
    ui.openedFiles.clear();
    click(x, y);
    runAll();
    return !ui.openedFiles.empty();
  };
  EXPECT_FALSE(clicks(330, 0));
  EXPECT_TRUE(clicks(330, 1));
  EXPECT_TRUE(clicks(330, 23));
  EXPECT_FALSE(clicks(330, 24));
  EXPECT_FALSE(clicks(310, 10)) << "exactly on the left edge";
  EXPECT_TRUE(clicks(311, 10));
  EXPECT_TRUE(clicks(349, 10));
  EXPECT_FALSE(clicks(350, 10));
  EXPECT_FALSE(clicks(200, 10));
  EXPECT_TRUE(messages().empty());
}

TEST_F(TitlebarTest, ClicksSendAnActionToTheDialog) {
  open();
  click(200, 10);
  ASSERT_EQ(dialog->actions.size(), 1u) << "also those that hit nothing";
  EXPECT_EQ(dialog->actions[0].GetId(), FourCC("bACT"));
  EXPECT_EQ(dialog->actions[0].GetLong(FourCC("meid"), -1), GADGET);
  EXPECT_EQ(dialog->actions[0].GetLong(FourCC("meva"), -1), 0);
  EXPECT_EQ(dialog->actions[0].GetLong(FourCC("medr"), -1), 0);
}

TEST_F(TitlebarTest, OtherInputIsIgnored) {
  open();
  EXPECT_TRUE(host::pressMouse(bar(), BFM_INPUT_MOUSERIGHT, 30, 10)) << "the mouse is its own";
  BaseContainer key(BFM_INPUT);
  key.SetLong(BFM_INPUT_DEVICE, BFM_INPUT_KEYBOARD);
  key.SetLong(BFM_INPUT_CHANNEL, BFM_INPUT_MOUSELEFT);
  EXPECT_FALSE(bar().InputEvent(key));
  EXPECT_TRUE(messages().empty());
  EXPECT_TRUE(dialog->actions.empty());
}

TEST_F(TitlebarTest, HoverShowsTheOtherPicture) {
  writeManual();
  open();
  hover(30, 10);
  EXPECT_EQ(grayAt(30), 40);
  EXPECT_EQ(grayAt(330), 80);
  hover(330, 10);
  EXPECT_EQ(grayAt(30), 30);
  EXPECT_EQ(shown(330), (std::pair<LONG, LONG>(90, 20)));
  hover(370, 10);
  EXPECT_EQ(grayAt(330), 80);
  EXPECT_EQ(grayAt(370), 70);
  hover(200, 10);
  EXPECT_EQ(grayAt(370), 60);
}

TEST_F(TitlebarTest, HoverCountsBetweenTheEdges) {
  open();
  const auto hovers = [&](LONG x, LONG y) {
    hover(200, 10);
    hover(x, y);
    return grayAt(330) == 90;
  };
  EXPECT_FALSE(hovers(310, 10));
  EXPECT_TRUE(hovers(311, 10));
  EXPECT_TRUE(hovers(349, 10));
  EXPECT_FALSE(hovers(350, 10));
  EXPECT_FALSE(hovers(330, 0));
  EXPECT_TRUE(hovers(330, 1));
  EXPECT_TRUE(hovers(330, 23));
  EXPECT_FALSE(hovers(330, 24));
}

TEST_F(TitlebarTest, TheHoverPictureGoesWhenThePointerHasLeft) {
  open();
  pointerAt(330, 10);
  hover(330, 10);
  ASSERT_EQ(grayAt(330), 90);
  advance(300);
  paint();
  EXPECT_EQ(grayAt(330), 90) << "still there";
  pointerAt(330, 100);
  advance(90);
  paint();
  advance(20);
  paint();
  EXPECT_EQ(grayAt(330), 80);
}

TEST_F(TitlebarTest, TheTimerRunsOnlyWhileThePointerIsInside) {
  open();
  advance(1000);
  EXPECT_EQ(bar().timers, 0);
  for (int visit = 0; visit < 2; ++visit) {
    SCOPED_TRACE(visit);
    bar().timers = 0;
    pointerAt(200, 10); // on no button
    hover(200, 10);
    advance(50);
    hover(210, 10); // the same timer goes on
    advance(930);
    EXPECT_EQ(bar().timers, 10);
    pointerAt(200, 100);
    advance(100);
    EXPECT_EQ(bar().timers, 11) << "it sees that the pointer has left";
    advance(1000);
    EXPECT_EQ(bar().timers, 11) << "and stops";
  }
}

TEST_F(TitlebarTest, TheTimerStartsBetweenTheEdges) {
  const auto starts = [&](LONG x, LONG y) {
    open();
    pointerAt(x, y);
    hover(x, y);
    pointerAt(200, 10); // inside, so that it goes on
    bar().timers = 0;
    advance(500);
    return bar().timers > 0;
  };
  EXPECT_TRUE(starts(1, 1));
  EXPECT_TRUE(starts(399, 23));
  EXPECT_FALSE(starts(0, 10));
  EXPECT_FALSE(starts(400, 10));
  EXPECT_FALSE(starts(200, 0));
  EXPECT_FALSE(starts(200, 24));
}

TEST_F(TitlebarTest, LeavingIsSeenOnlyBehindTheLowerAndRightEdges) {
  open();
  const auto stays = [&](LONG x, LONG y) {
    pointerAt(330, 10);
    hover(330, 10);
    EXPECT_EQ(grayAt(330), 90);
    pointerAt(x, y);
    advance(250);
    paint();
    return grayAt(330) == 90;
  };
  EXPECT_TRUE(stays(400, 10)) << "the width itself is inside";
  EXPECT_FALSE(stays(401, 10));
  EXPECT_TRUE(stays(330, 24));
  EXPECT_FALSE(stays(330, 25));
  EXPECT_TRUE(stays(0, 0));
  EXPECT_FALSE(stays(-1, 10));
  EXPECT_FALSE(stays(330, -1));
}

TEST_F(TitlebarTest, AUnknownPointerLeavesEverythingAsItIs) {
  open();
  pointerAt(330, 10);
  hover(330, 10);
  ASSERT_EQ(grayAt(330), 90);
  host::setInputState({});
  advance(300);
  paint();
  EXPECT_EQ(grayAt(330), 90);
}

TEST_F(TitlebarTest, ANewOpeningForgetsTheHover) {
  open();
  hover(330, 10);
  ASSERT_EQ(grayAt(330), 90);
  dialog->Close();
  callAsPlugin([&] { dialog->Open(DLG_TYPE_ASYNC, 1); });
  host::sizeArea(bar(), 400, HEIGHT);
  runAll();
  EXPECT_EQ(grayAt(330), 80);
}

TEST_F(TitlebarTest, ANewOpeningStartsTheTimerAnew) {
  open();
  pointerAt(330, 10);
  hover(330, 10);
  dialog->Close();
  callAsPlugin([&] { dialog->Open(DLG_TYPE_ASYNC, 1); });
  host::sizeArea(bar(), 400, HEIGHT);
  runAll();
  bar().SetTimer(0); // whatever was left of the old one
  bar().timers = 0;
  pointerAt(200, 10);
  hover(200, 10);
  advance(500);
  EXPECT_GT(bar().timers, 0);
}

} // namespace
