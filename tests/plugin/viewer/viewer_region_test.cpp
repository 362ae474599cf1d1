// The viewer's commands for the region and its camera.
#include <gtest/gtest.h>

#include "viewer_fixture.h"

namespace {

class ViewerRegionTest : public ViewerFixture {};

constexpr LONG NORMAL = 1103, COMPARE = 1105, CAMERA = 1118;
constexpr LONG VIEWS_NOW = 0x40502;

// ---- Region commands

TEST_F(ViewerRegionTest, ZoomInShrinksToATenth) {
  openEnabled();
  setRegion(0.2, 0.3, 0.15);
  choose(1115);
  EXPECT_DOUBLE_EQ(region().GetReal(LM_REGION_SIZE), 0.1);
  EXPECT_DOUBLE_EQ(region().GetReal(LM_REGION_X), 0.2);
  EXPECT_DOUBLE_EQ(region().GetReal(LM_REGION_Y), 0.3);
  EXPECT_EQ(ui.drawnViews, (std::vector<LONG>{VIEWS_NOW}));
  EXPECT_TRUE(document->GetChanged());
  finishRender();
  EXPECT_EQ(renderCount(), 0u);
}

TEST_F(ViewerRegionTest, ZoomOutGrowsToOne) {
  openEnabled();
  setRegion(0, 0, 0.95);
  choose(1116);
  EXPECT_DOUBLE_EQ(region().GetReal(LM_REGION_SIZE), 1.0);
}

TEST_F(ViewerRegionTest, ZoomStartsAtAHalfAndTakesItsStep) {
  openEnabled();
  choose(1115);
  EXPECT_DOUBLE_EQ(region().GetReal(LM_REGION_SIZE), 0.4);
  setOption(LM_ZOOM_STEP, 0.2);
  choose(1116);
  EXPECT_DOUBLE_EQ(region().GetReal(LM_REGION_SIZE), 0.4 + 0.2);
}

TEST_F(ViewerRegionTest, RegionCommandsKeepTheCamera) {
  openEnabled();
  BaseObject* camera = addCamera("Side", {1, 2, 3});
  linkCamera(camera);
  choose(1115);
  choose(1117);
  EXPECT_EQ(region().GetLink(LM_REGION_CAMERA, document), camera);
}

TEST_F(ViewerRegionTest, ResetPutsTheRegionBack) {
  openEnabled();
  setRegion(0.7, 0.6, 0.2);
  choose(1117);
  EXPECT_EQ(region().GetReal(LM_REGION_X, -1), 0.0);
  EXPECT_EQ(region().GetReal(LM_REGION_Y, -1), 0.0);
  EXPECT_EQ(region().GetReal(LM_REGION_SIZE, -1), 0.5);
  EXPECT_TRUE(document->GetChanged());
  EXPECT_EQ(ui.drawnViews, (std::vector<LONG>{VIEWS_NOW}));
}

TEST_F(ViewerRegionTest, LockedRegionCommandsDoNothing) {
  openEnabled();
  setOption(LM_LOCK, 1);
  setOption(LM_AUTO_REFRESH, 1);
  setRegion(0.1, 0.1, 0.3);
  for (const LONG id : {1115, 1116, 1117})
    choose(id);
  EXPECT_EQ(region().GetReal(LM_REGION_SIZE), 0.3);
  EXPECT_TRUE(ui.drawnViews.empty());
  finishRender();
  EXPECT_EQ(renderCount(), 0u);
}

TEST_F(ViewerRegionTest, RegionCommandsNeedADocument) {
  openEnabled();
  setOption(LM_AUTO_REFRESH, 1);
  clearActiveDocument();
  for (const LONG id : {1115, 1116, 1117})
    choose(id);
  EXPECT_TRUE(ui.drawnViews.empty());
  EXPECT_FALSE(viewer->thread.IsRunning());
}

TEST_F(ViewerRegionTest, RegionCommandsRenderWithAutomaticRefresh) {
  openEnabled();
  setOption(LM_AUTO_REFRESH, 1);
  std::size_t expected = 0;
  for (const LONG id : {1115, 1116, 1117}) {
    choose(id);
    finishRender();
    EXPECT_EQ(renderCount(), ++expected) << id;
  }
}

TEST_F(ViewerRegionTest, PlusAndMinusZoom) {
  openEnabled();
  EXPECT_TRUE(host::pressKey(*viewer, '+', "+"));
  EXPECT_DOUBLE_EQ(region().GetReal(LM_REGION_SIZE), 0.4);
  EXPECT_TRUE(host::pressKey(*viewer, '-', "-"));
  EXPECT_DOUBLE_EQ(region().GetReal(LM_REGION_SIZE), 0.5);
  EXPECT_FALSE(host::pressKey(*viewer, 'X', "x"));
}

TEST_F(ViewerRegionTest, TypedSignsOfOtherDevicesDoNotZoom) {
  openEnabled();
  BaseContainer message(BFM_INPUT), result;
  message.SetLong(BFM_INPUT_DEVICE, BFM_INPUT_MOUSE);
  message.SetString(BFM_INPUT_ASC, "+");
  viewer->Message(message, result);
  EXPECT_EQ(region().GetCount(), 0);
}

// ---- Cameras

TEST_F(ViewerRegionTest, TheCameraPopupListsTheTreesCamerasInOrder) {
  openEnabled();
  BaseObject* last = addCamera("Last", {});
  BaseObject* group = addObject(Onull, "Group");
  BaseObject* inner = addObject(Ocamera, "Inner", group);
  BaseObject* deep = addObject(Ocamera, "Deep", inner);
  // Each is put first: Group (Inner (Deep)), Last.
  linkCamera(deep);
  click(CAMERA);
  ASSERT_EQ(ui.popups.size(), 1u);
  const BaseContainer& popup = ui.popups[0].entries;
  EXPECT_EQ(popup.GetString(900000), String("Default Camera"));
  EXPECT_EQ(popup.GetString(900001), String("Inner"));
  EXPECT_EQ(popup.GetString(900002), String("Deep&c&"));
  EXPECT_EQ(popup.GetString(900003), String("Last"));
  EXPECT_EQ(popup.FindIndex(0), 1);
  EXPECT_EQ(popup.GetLink(910001, document), inner);
  EXPECT_EQ(popup.GetLink(910003, document), last);
  EXPECT_EQ(popup.FindIndex(910000), -1);
}

TEST_F(ViewerRegionTest, WithoutCamerasThePopupSaysSo) {
  openEnabled();
  click(CAMERA);
  ASSERT_EQ(ui.popups.size(), 1u);
  EXPECT_EQ(ui.popups[0].entries.GetString(900000), String("Default Camera&c&"));
  EXPECT_EQ(ui.popups[0].entries.GetString(910000), String("(No Cameras)&d&"));
}

TEST_F(ViewerRegionTest, ThePopupOpensAtTheButton) {
  openEnabled();
  click(CAMERA);
  LONG x = 0, y = 0, w = 0, h = 0;
  ASSERT_TRUE(viewer->GetItemDim(CAMERA, &x, &y, &w, &h));
  ASSERT_TRUE(viewer->Local2Screen(&x, &y));
  EXPECT_EQ(ui.popups[0].x, x);
  EXPECT_EQ(ui.popups[0].y, y);
}

TEST_F(ViewerRegionTest, AChosenCameraIsLinkedAndTheDefaultClearsIt) {
  openEnabled();
  setRegion(0.1, 0.2, 0.3);
  BaseObject* camera = addCamera("Side", {});
  ui.choices = {900001};
  click(CAMERA);
  EXPECT_EQ(region().GetLink(LM_REGION_CAMERA, document), camera);
  EXPECT_EQ(region().GetReal(LM_REGION_SIZE), 0.3);
  ui.choices = {0};
  click(CAMERA);
  EXPECT_EQ(region().GetLink(LM_REGION_CAMERA, document), camera);
  ui.choices = {900000};
  click(CAMERA);
  EXPECT_EQ(region().FindIndex(LM_REGION_CAMERA), -1);
  finishRender();
  EXPECT_EQ(renderCount(), 0u);
}

TEST_F(ViewerRegionTest, TheChosenCameraRendersWithAutomaticRefresh) {
  openEnabled();
  setOption(LM_AUTO_REFRESH, 1);
  addCamera("Side", {4, 5, 6});
  ui.choices = {900001};
  click(CAMERA);
  finishRender();
  ASSERT_EQ(renderCount(), 1u);
  EXPECT_EQ(probe->renders[0].cameraName, "Side");
  EXPECT_EQ(viewer->view.data.cameraName, String("Side"));
}

TEST_F(ViewerRegionTest, AnyChoiceStoresTheRecordAndRenders) {
  openEnabled();
  setOption(LM_AUTO_REFRESH, 1);
  ui.choices = {900000};
  click(CAMERA);
  EXPECT_NE(document->GetData().FindIndex(LM_REGION), -1);
  EXPECT_EQ(region().FindIndex(LM_REGION_CAMERA), -1);
  finishRender();
  EXPECT_EQ(renderCount(), 1u);
}

TEST_F(ViewerRegionTest, CamerasNeedADocumentAndAreNotForCompare) {
  openEnabled();
  choose(COMPARE);
  click(CAMERA);
  EXPECT_TRUE(ui.popups.empty());
  choose(NORMAL);
  finishRender();
  clearActiveDocument();
  click(CAMERA);
  EXPECT_TRUE(ui.popups.empty());
}

} // namespace
