// The viewer dialog: its window, its menus, and its commands but for regions, cameras, the history and the
// start of a render.
#include <gtest/gtest.h>

#include "viewer_fixture.h"

namespace {

using ViewerTest = ViewerFixture;

constexpr LONG ENABLED = 1106, NORMAL = 1103, REGION = 1104, COMPARE = 1105, REFRESH = 1109;
constexpr LONG ADD_TO_HISTORY = 1119, LOCK = 1128, SLIDER = 1108, AUTO_REFRESH = 1110, CAMERA = 1118;
constexpr LONG VIEWS_NOW = 0x40502;

std::vector<std::string> labels(const host::MenuEntry& menu) {
  std::vector<std::string> all;
  for (const host::MenuEntry& entry : menu.children)
    all.push_back(LongToString(entry.id).GetUTF8() + " " + entry.text.GetUTF8());
  return all;
}

// ---- Window

TEST_F(ViewerTest, TheMenusStandInTheirOrder) {
  openViewer();
  const auto& menus = host::dialogModel(*viewer).menus;
  ASSERT_EQ(menus.size(), 4u);
  EXPECT_EQ(menus[0].text, String("Options"));
  EXPECT_EQ(labels(menus[0]),
            (std::vector<std::string>{"1106 Enabled", "0 ", "1100 Optimizations...", "1101 Options...", "0 ",
                                      "5000 Render Animation...", "0 ", "1102 Save to Picture Viewer", "0 ",
                                      "5014 Reset Lumenara Settings"}));
  EXPECT_EQ(menus[1].text, String("Mode"));
  EXPECT_EQ(labels(menus[1]), (std::vector<std::string>{"1103 Normal", "1104 Region", "1105 Compare"}));
  EXPECT_EQ(menus[2].text, String("Region"));
  EXPECT_EQ(labels(menus[2]), (std::vector<std::string>{"1115 Zoom In", "1116 Zoom Out", "0 ", "1117 Reset",
                                                        "0 ", "1128 Lock"}));
  EXPECT_EQ(menus[3].text, String("History"));
  EXPECT_EQ(labels(menus[3]),
            (std::vector<std::string>{"1119 Add Image to History", "5015 Add Last Render", "0 ",
                                      "1131 Swap A/B Images", "1132 View Difference",
                                      "1130 Open History Folder", "0 ", "1129 Clear History"}));
}

TEST_F(ViewerTest, TheGadgetsStandInTheirPlaces) {
  openViewer();
  EXPECT_EQ(host::dialogModel(*viewer).title, String("Lumenara"));
  const host::Gadget* group = host::findGadget(*viewer, 1122);
  ASSERT_NE(group, nullptr);
  EXPECT_EQ(group->kind, host::GadgetKind::scrollGroup);
  EXPECT_EQ(group->flags, BFH_SCALEFIT | BFV_SCALEFIT);
  EXPECT_EQ(group->parent->borderLeft, 4);
  EXPECT_EQ(group->parent->borderBottom, 4);
  EXPECT_EQ(group->parent->spaceX, 4);
  EXPECT_EQ(group->parent->spaceY, 4);

  const host::Gadget* area = host::findGadget(*viewer, 1123);
  ASSERT_NE(area, nullptr);
  EXPECT_EQ(area->parent, group);
  EXPECT_EQ(area->initWidth, 120);
  EXPECT_EQ(area->initHeight, 90);
  EXPECT_EQ(area->area, &viewer->view);

  const host::Gadget* a = host::findGadget(*viewer, 1120);
  ASSERT_NE(a, nullptr);
  const host::Gadget& bar = *a->parent;
  EXPECT_EQ(bar.columns, 4);
  ASSERT_EQ(bar.children.size(), 4u);
  EXPECT_EQ(bar.children[0]->text, String(" A "));
  EXPECT_EQ(bar.children[1]->text, String("<->"));
  EXPECT_EQ(bar.children[1]->kind, host::GadgetKind::staticText);
  EXPECT_EQ(bar.children[2]->text, String(" B "));
  EXPECT_EQ(bar.children[2]->id, 1121);
  EXPECT_EQ(bar.children[3]->id, SLIDER);
  EXPECT_EQ(bar.children[3]->spec.kind, host::NumberKind::percent);
  EXPECT_EQ(bar.children[3]->spec.min, -100);
  EXPECT_EQ(bar.children[3]->spec.max, 100);

  EXPECT_EQ(host::findGadget(*viewer, AUTO_REFRESH)->kind, host::GadgetKind::checkBox);
  EXPECT_EQ(host::findGadget(*viewer, AUTO_REFRESH)->text, String(" "));
  EXPECT_EQ(host::findGadget(*viewer, REFRESH)->text, String("Refresh"));
  EXPECT_EQ(host::findGadget(*viewer, CAMERA)->text, String("Camera"));
}

TEST_F(ViewerTest, TheMenusShowTheSettings) {
  openViewer();
  EXPECT_FALSE(isChecked(ENABLED));
  EXPECT_TRUE(isChecked(NORMAL));
  EXPECT_FALSE(isChecked(REGION));
  EXPECT_FALSE(isChecked(COMPARE));
  EXPECT_FALSE(isChecked(LOCK));
  EXPECT_TRUE(isEntryEnabled(ADD_TO_HISTORY));
  EXPECT_EQ(host::findGadget(*viewer, AUTO_REFRESH)->number, 0);
  viewer->Close();

  setOption(LM_ENABLED, 1);
  setOption(LM_MODE, COMPARE);
  setOption(LM_LOCK, 1);
  setOption(LM_AUTO_REFRESH, 1);
  openViewer();
  EXPECT_TRUE(isChecked(ENABLED));
  EXPECT_FALSE(isChecked(NORMAL));
  EXPECT_TRUE(isChecked(COMPARE));
  EXPECT_TRUE(isChecked(LOCK));
  EXPECT_FALSE(isEntryEnabled(ADD_TO_HISTORY));
  EXPECT_EQ(host::findGadget(*viewer, AUTO_REFRESH)->number, 1);
}

TEST_F(ViewerTest, AnUnknownModeChecksNoEntryAndIsNotCompare) {
  setOption(LM_MODE, 7);
  openEnabled();
  for (const LONG entry : {NORMAL, REGION, COMPARE})
    EXPECT_FALSE(isChecked(entry)) << entry;
  EXPECT_TRUE(isEntryEnabled(ADD_TO_HISTORY));
  click(REFRESH);
  finishRender();
  EXPECT_EQ(renderCount(), 1u);
}

TEST_F(ViewerTest, AddToHistoryIsForHistoryByHand) {
  setOption(LM_HISTORY_ADD, 0);
  openViewer();
  EXPECT_FALSE(isEntryEnabled(ADD_TO_HISTORY));
}

TEST_F(ViewerTest, OpeningShowsTheRegionAndRedrawsTheViews) {
  setOption(LM_ENABLED, 1);
  openViewer();
  EXPECT_EQ(storedOption(LM_REGION_SHOWN), 1);
  EXPECT_EQ(viewer->view.enabled, 1);
  EXPECT_NE(std::count(ui.drawnViews.begin(), ui.drawnViews.end(), VIEWS_NOW), 0);
}

TEST_F(ViewerTest, ClosingHidesTheRegionAndIsAlwaysAllowed) {
  openEnabled();
  EXPECT_TRUE(host::closeByUser(*viewer));
  EXPECT_EQ(storedOption(LM_REGION_SHOWN), 0);
  EXPECT_NE(std::count(ui.drawnViews.begin(), ui.drawnViews.end(), VIEWS_NOW), 0);
  EXPECT_FALSE(viewer->IsOpen());
}

TEST_F(ViewerTest, ClosingLetsARenderFinish) {
  openEnabled();
  holdRenders();
  click(REFRESH);
  waitForHeldRender();
  EXPECT_TRUE(host::closeByUser(*viewer));
  EXPECT_TRUE(viewer->thread.IsRunning());
  finishRender();
  EXPECT_EQ(viewer->view.data.result, RENDERRESULT_OK);
}

TEST_F(ViewerTest, TheDestructorEndsTheRenderAndHidesTheRegion) {
  openEnabled();
  holdRenders();
  click(REFRESH);
  waitForHeldRender();
  viewer.reset();
  EXPECT_EQ(storedOption(LM_REGION_SHOWN), 0);
}

TEST_F(ViewerTest, TheCloseMessageSavesTheSettings) {
  openEnabled();
  viewer->settings.SetValue(LM_REFRESH_DELAY, 777);
  BaseContainer result;
  viewer->Message(BaseContainer(BFM_CLOSE), result);
  EXPECT_EQ(storedOption(LM_REFRESH_DELAY), 777);
}

TEST_F(ViewerTest, OpensAgainAfterClosing) {
  openEnabled();
  viewer->Close();
  openViewer();
  EXPECT_TRUE(isChecked(ENABLED));
  EXPECT_EQ(storedOption(LM_REGION_SHOWN), 1);
}

// ---- Commands

TEST_F(ViewerTest, EveryCommandShowsTheRegionAndSaves) {
  openEnabled();
  viewer->settings.SetValue(LM_REGION_SHOWN, 0);
  viewer->settings.SetValue(LM_REFRESH_DELAY, 555);
  choose(LOCK);
  EXPECT_EQ(storedOption(LM_REGION_SHOWN), 1);
  EXPECT_EQ(storedOption(LM_REFRESH_DELAY), 555);
}

TEST_F(ViewerTest, EnabledTogglesTheViewer) {
  openEnabled();
  choose(ENABLED);
  EXPECT_EQ(storedOption(LM_ENABLED), 0);
  EXPECT_FALSE(isChecked(ENABLED));
  EXPECT_EQ(viewer->view.enabled, 0);
  EXPECT_EQ(ui.drawnViews, (std::vector<LONG>{VIEWS_NOW}));
  choose(ENABLED);
  EXPECT_EQ(storedOption(LM_ENABLED), 1);
  EXPECT_TRUE(isChecked(ENABLED));
  EXPECT_EQ(viewer->view.enabled, 1);
  EXPECT_EQ(renderCount(), 0u);
}

TEST_F(ViewerTest, AMissingEnabledReadsAsOn) {
  openEnabled();
  viewer->settings.GetDataInstance()->RemoveData(LM_ENABLED);
  choose(ENABLED);
  EXPECT_EQ(option(LM_ENABLED), 0);
}

TEST_F(ViewerTest, SwitchingOnRendersWithAutomaticRefresh) {
  openEnabled();
  setOption(LM_AUTO_REFRESH, 1);
  choose(ENABLED); // off
  finishRender();
  EXPECT_EQ(renderCount(), 0u);
  choose(ENABLED);
  finishRender();
  EXPECT_EQ(renderCount(), 1u);
}

TEST_F(ViewerTest, ModesCheckTheirEntryAndRender) {
  openEnabled();
  choose(REGION);
  finishRender();
  EXPECT_EQ(storedOption(LM_MODE), REGION);
  EXPECT_TRUE(isChecked(REGION));
  EXPECT_FALSE(isChecked(NORMAL));
  EXPECT_EQ(renderCount(), 1u);
  EXPECT_EQ(ui.drawnViews, (std::vector<LONG>{VIEWS_NOW}));
  choose(NORMAL);
  finishRender();
  EXPECT_TRUE(isChecked(NORMAL));
  EXPECT_FALSE(isChecked(REGION));
  EXPECT_EQ(renderCount(), 2u);
}

TEST_F(ViewerTest, EnteringCompareStartsItAnewAndRendersNothing) {
  openEnabled();
  viewer->view.lastCompose = 5;
  choose(COMPARE);
  EXPECT_EQ(viewer->compareValue, -2.0);
  EXPECT_EQ(viewer->view.lastCompose, 0);
  EXPECT_FALSE(isEntryEnabled(ADD_TO_HISTORY));
  finishRender();
  EXPECT_EQ(renderCount(), 0u);
  choose(NORMAL);
  EXPECT_TRUE(isEntryEnabled(ADD_TO_HISTORY));
}

TEST_F(ViewerTest, LeavingCompareKeepsAddToHistoryOffWhenItIsAutomatic) {
  openEnabled();
  setOption(LM_HISTORY_ADD, 0);
  choose(COMPARE);
  choose(NORMAL);
  EXPECT_FALSE(isEntryEnabled(ADD_TO_HISTORY));
  finishRender();
}

TEST_F(ViewerTest, RenderingCommandsSwitchTheViewerOn) {
  openEnabled();
  for (const LONG id : {REFRESH, NORMAL, REGION, COMPARE, AUTO_REFRESH, SLIDER}) {
    setOption(LM_MODE, NORMAL);
    choose(ENABLED); // off
    ASSERT_EQ(option(LM_ENABLED), 0);
    viewer->view.lastCompose = 5;
    viewer->Command(id, BaseContainer());
    EXPECT_EQ(storedOption(LM_ENABLED), 1) << id;
    EXPECT_TRUE(isChecked(ENABLED)) << id;
    EXPECT_EQ(viewer->view.enabled, 1) << id;
    EXPECT_EQ(viewer->view.lastCompose, 0) << id;
    finishRender();
  }
}

TEST_F(ViewerTest, AutoEnableDoesNothingWhenOn) {
  openEnabled();
  viewer->view.lastCompose = 5;
  viewer->AutoEnable();
  EXPECT_EQ(viewer->view.lastCompose, 5);
  EXPECT_TRUE(ui.drawnViews.empty());
}

TEST_F(ViewerTest, TheCheckBoxSetsAutomaticRefreshAndRendersWhenOn) {
  openEnabled();
  click(AUTO_REFRESH);
  EXPECT_EQ(storedOption(LM_AUTO_REFRESH), 1);
  finishRender();
  EXPECT_EQ(renderCount(), 1u);
  click(AUTO_REFRESH);
  EXPECT_EQ(storedOption(LM_AUTO_REFRESH), 0);
  finishRender();
  EXPECT_EQ(renderCount(), 1u);
}

TEST_F(ViewerTest, LockTogglesItsEntry) {
  openEnabled();
  choose(LOCK);
  EXPECT_EQ(storedOption(LM_LOCK), 1);
  EXPECT_TRUE(isChecked(LOCK));
  choose(LOCK);
  EXPECT_EQ(storedOption(LM_LOCK), 0);
  EXPECT_FALSE(isChecked(LOCK));
}

TEST_F(ViewerTest, ShiftOnRefreshSwitchesOffAndRendersNothing) {
  openEnabled();
  click(REFRESH, {.qualifiers = QSHIFT});
  EXPECT_EQ(storedOption(LM_ENABLED), 0);
  EXPECT_FALSE(isChecked(ENABLED));
  finishRender();
  EXPECT_EQ(renderCount(), 0u);
  // It is off now, so the next one switches it on.
  click(REFRESH, {.qualifiers = QSHIFT});
  finishRender();
  EXPECT_EQ(option(LM_ENABLED), 1);
  EXPECT_EQ(renderCount(), 1u);
}

TEST_F(ViewerTest, ShiftCountsOnlyWithItsSettingAndTheMouse) {
  openEnabled();
  click(REFRESH, {.qualifiers = QSHIFT, .fromMouse = false});
  finishRender();
  EXPECT_EQ(renderCount(), 1u);
  click(REFRESH, {.qualifiers = QCTRL});
  finishRender();
  EXPECT_EQ(renderCount(), 2u);
  setOption(LM_SHIFT_DISABLES, 0);
  click(REFRESH, {.qualifiers = QSHIFT});
  finishRender();
  EXPECT_EQ(renderCount(), 3u);
  viewer->settings.GetDataInstance()->RemoveData(LM_SHIFT_DISABLES);
  click(REFRESH, {.qualifiers = QSHIFT});
  finishRender();
  EXPECT_EQ(renderCount(), 4u);
  EXPECT_EQ(option(LM_ENABLED), 1);
}

TEST_F(ViewerTest, TheSliderRedrawsWhenItsValueChanges) {
  openEnabled();
  addHistoryFile("a[001].tif", 1, {200, 0, 0});
  addHistoryFile("a[002].tif", 2, {0, 0, 200});
  viewer->view.AutoloadRecent();
  choose(COMPARE);
  runAll();
  advance(20);
  EXPECT_TRUE(host::enterNumber(*viewer, SLIDER, 100));
  EXPECT_EQ(viewer->compareValue, 1.0);
  advance(20);
  EXPECT_EQ(paintedPixel(viewer->view, 3, 3), (Rgb{0, 0, 200}));
  EXPECT_TRUE(host::enterNumber(*viewer, SLIDER, -100));
  advance(20);
  EXPECT_EQ(paintedPixel(viewer->view, 3, 3), (Rgb{200, 0, 0}));
}

TEST_F(ViewerTest, OptimizationsOpensItsDialogByCommand) {
  openEnabled();
  ASSERT_TRUE(startPlugin());
  const std::size_t before = ui.openedDialogs.size();
  choose(1100);
  ASSERT_EQ(ui.openedDialogs.size(), before + 1);
  EXPECT_EQ(ui.openedDialogs.back().placement.pluginId, 1021446);
}

TEST_F(ViewerTest, SaveToPictureViewerShowsTheViewsPicture) {
  openEnabled(64, 48);
  choose(1102);
  ASSERT_EQ(ui.shownBitmaps.size(), 1u);
  EXPECT_EQ(ui.shownBitmaps[0].width, 64);
  EXPECT_EQ(ui.shownBitmaps[0].height, 48);
  EXPECT_EQ(ui.shownBitmaps[0].depth, 32);
}

TEST_F(ViewerTest, ResetAsksThenLeavesTheMarker) {
  openEnabled();
  ui.answers = {false, true};
  choose(5014);
  EXPECT_FALSE(GeFExist(dataFolder() + "reset.lm"));
  EXPECT_TRUE(ui.messages.empty());
  choose(5014);
  EXPECT_TRUE(GeFExist(dataFolder() + "reset.lm"));
  EXPECT_EQ(readText(dataFolder() + "reset.lm"), "");
  EXPECT_EQ(ui.questions, (std::vector<std::string>{"Are you sure you want to clear Lumenara's settings?",
                                                    "Are you sure you want to clear Lumenara's settings?"}));
  EXPECT_EQ(ui.messages, (std::vector<std::string>{
                             "Your Lumenara settings will be reset the next time you run Cinema 4D."}));
}

// ---- The Options dialog

class ViewerOptionsTest : public ViewerFixture {
 protected:
  void SetUp() override {
    ViewerFixture::SetUp();
    ASSERT_TRUE(PluginMessage(C4DPL_INIT_SYS, nullptr)); // opens the dialogs' descriptions
    openEnabled();
  }
};

TEST_F(ViewerOptionsTest, OptionsClosedWithOkAreTakenOver) {
  ui.dialogScripts.push_back([](GeDialog& dialog) {
    host::clickGadget(dialog, LM_AUTO_REFRESH);
    host::clickGadget(dialog, IDC_OK);
  });
  choose(1101);
  EXPECT_EQ(option(LM_AUTO_REFRESH), 1);
  EXPECT_EQ(host::findGadget(*viewer, AUTO_REFRESH)->number, 1);
  EXPECT_EQ(storedOption(LM_AUTO_REFRESH), 1);
}

TEST_F(ViewerOptionsTest, OptionsRefreshLockAndTheHistoryEntry) {
  const auto closeWithOk = [&](const std::function<void(GeDialog&)>& user) {
    ui.dialogScripts.push_back([=](GeDialog& dialog) {
      user(dialog);
      host::clickGadget(dialog, IDC_OK);
    });
    choose(1101);
  };
  const auto lock = [](GeDialog& dialog) { host::clickGadget(dialog, LM_LOCK); };
  closeWithOk(lock);
  EXPECT_TRUE(isChecked(LOCK));
  closeWithOk(lock);
  EXPECT_FALSE(isChecked(LOCK));

  const auto addAll = [](GeDialog& dialog) { host::chooseEntry(dialog, LM_HISTORY_ADD, 0); };
  const auto addByHand = [](GeDialog& dialog) { host::chooseEntry(dialog, LM_HISTORY_ADD, 1); };
  ASSERT_TRUE(isEntryEnabled(ADD_TO_HISTORY));
  closeWithOk(addAll);
  EXPECT_FALSE(isEntryEnabled(ADD_TO_HISTORY));
  closeWithOk(addByHand);
  EXPECT_TRUE(isEntryEnabled(ADD_TO_HISTORY));

  // In Compare mode the entry stays off.
  choose(COMPARE);
  closeWithOk(addByHand);
  EXPECT_EQ(option(LM_HISTORY_ADD), 1);
  EXPECT_FALSE(isEntryEnabled(ADD_TO_HISTORY));
}

TEST_F(ViewerOptionsTest, OptionsLoadTheNewestPictures) {
  addHistoryFile("a[001].tif", 1, {200, 0, 0});
  addHistoryFile("a[002].tif", 2, {0, 0, 200});
  ui.dialogScripts.push_back([](GeDialog& dialog) { host::clickGadget(dialog, IDC_CANCEL); });
  choose(1101);
  EXPECT_EQ(viewer->view.imageA->GetBw(), 0);
  ui.dialogScripts.push_back([](GeDialog& dialog) { host::clickGadget(dialog, IDC_OK); });
  choose(1101);
  EXPECT_TRUE(isFilled(*viewer->view.imageA, {200, 0, 0}));
  EXPECT_TRUE(isFilled(*viewer->view.imageB, {0, 0, 200}));
}

TEST_F(ViewerOptionsTest, OptionsChangeTheViewsSize) {
  ui.dialogScripts.push_back([](GeDialog& dialog) {
    host::chooseEntry(dialog, LM_VIEW_SIZE, 2);
    host::clickGadget(dialog, IDC_OK);
  });
  choose(1101);
  runAll();
  EXPECT_EQ(viewer->view.width, 320);
  EXPECT_EQ(viewer->view.height, 240);
}

} // namespace
