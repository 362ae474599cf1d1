// The viewer's requests: the job's input, the pacing of requests, and the end of a job.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "gadget.h"
#include "running_state.h"
#include "viewer_fixture.h"

namespace {

constexpr LONG REFRESH = 1109;

class RenderTest : public ViewerFixture {
 protected:
  void refresh() { click(REFRESH); }
};

// ---- What starts a render

TEST_F(RenderTest, RefreshRendersIntoTheViewsImage) {
  openEnabled(64, 48);
  paintRenders({50, 60, 70});
  refresh();
  finishRender();
  ASSERT_EQ(renderCount(), 1u);
  EXPECT_EQ(given().GetLong(RDATA_XRES), 64);
  EXPECT_EQ(given().GetLong(RDATA_YRES), 48);
  EXPECT_EQ(view().image->GetBw(), 64);
  EXPECT_EQ(view().image->GetBh(), 48);
  EXPECT_EQ(view().image->GetBt(), 24);
  EXPECT_TRUE(isFilled(*view().image, {50, 60, 70}));
  EXPECT_FALSE(viewer->thread.region);
  EXPECT_EQ(viewer->thread.regionLeft, -1);
  EXPECT_EQ(view().regionLeft, -1);
  EXPECT_EQ(view().regionBottom, -1);
  EXPECT_EQ(view().data.rendering, 0);
  EXPECT_EQ(view().data.progress, 1.0);
}

TEST_F(RenderTest, TheRefreshEventIsTheButtonWithoutInput) {
  openEnabled();
  sendEvent(ID_LUMENARA_REFRESH);
  EXPECT_EQ(rendersSoFar(), 1u);
  EXPECT_EQ(option(LM_ENABLED), 1);
}

TEST_F(RenderTest, TheRefreshEventSwitchesTheOpenViewerOn) {
  openViewer();
  ASSERT_EQ(option(LM_ENABLED), 0);
  sendEvent(ID_LUMENARA_REFRESH);
  EXPECT_EQ(option(LM_ENABLED), 1);
  EXPECT_EQ(rendersSoFar(), 1u);
}

// A closed dialog refuses the first request, and every command shows the region.
TEST_F(RenderTest, AClosedViewerRefusesTheFirstRefreshEvent) {
  openEnabled();
  viewer->Close();
  sendEvent(ID_LUMENARA_REFRESH);
  EXPECT_EQ(rendersSoFar(), 0u);
  EXPECT_EQ(option(LM_REGION_SHOWN), 1);
  sendEvent(ID_LUMENARA_REFRESH);
  EXPECT_EQ(rendersSoFar(), 1u);
}

TEST_F(RenderTest, ARequestThatIsRefusedEndsTheRender) {
  openEnabled();
  const auto refused = [&](LONG key, LONG value, LONG before) {
    startHeldRender();
    viewer->settings.SetValue(key, value);
    viewer->OnRender(0);
    EXPECT_FALSE(viewer->thread.IsRunning()) << key;
    EXPECT_EQ(view().data.result, RENDERRESULT_USERBREAK) << key;
    viewer->settings.SetValue(key, before);
  };
  refused(LM_ENABLED, 0, 1);
  refused(LM_REGION_SHOWN, 0, 1);
  refused(LM_MODE, LM_MODE_COMPARE, LM_MODE_NORMAL);
}

TEST_F(RenderTest, EnteringCompareEndsTheRender) {
  openEnabled();
  startHeldRender();
  choose(LM_MODE_COMPARE);
  EXPECT_FALSE(viewer->thread.IsRunning());
}

TEST_F(RenderTest, ABusyHostStopsItsPreviewsInstead) {
  openEnabled();
  {
    const host::RunningScope running(CHECKISRUNNING_MATERIALPREVIEWRUNNING);
    refresh();
    EXPECT_EQ(rendersSoFar(), 0u);
  }
  refresh();
  EXPECT_EQ(rendersSoFar(), 1u);
}

TEST_F(RenderTest, ABusyHostIsAskedToEndItsBackgroundRenders) {
  openEnabled();
  std::atomic<bool> begun{false}, asked{false}, over{false};
  std::thread preview([&] {
    const host::RunningScope running(CHECKISRUNNING_MATERIALPREVIEWRUNNING);
    const host::BackgroundRender render([&] { asked = true; });
    begun = true;
    while (!asked && !over)
      std::this_thread::yield();
  });
  waitUntil([&] { return begun.load(); });
  refresh();
  EXPECT_TRUE(asked);
  over = true;
  preview.join();
  EXPECT_EQ(rendersSoFar(), 0u);
}

TEST_F(RenderTest, ABusyDialogRefusesRequestsAndStartsNoAutomaticOnes) {
  openAutomatic();
  viewer->busy = TRUE;
  refresh();
  sendEvent(ID_LUMENARA_REGION_CHANGED);
  sendEvent(ID_LUMENARA_OPTIMIZE, LM_OPT_15004, 2);
  EXPECT_EQ(rendersSoFar(), 0u);
  EXPECT_EQ(viewer->pendingRefresh, 0);
  EXPECT_EQ(option(LM_OPT_15004), 2);
}

TEST_F(RenderTest, ANewRequestReplacesTheRunningRender) {
  openEnabled();
  startHeldRender();
  refresh();
  waitForHeldRender();
  EXPECT_EQ(renderCount(), 2u);
  finishRender();
  EXPECT_EQ(view().data.result, RENDERRESULT_OK);
}

TEST_F(RenderTest, RecordsWhenItStarted) {
  openEnabled();
  refresh();
  EXPECT_EQ(viewer->renderStart, GeGetTimer());
  finishRender();
}

// ---- Size, bitmap, region

TEST_F(RenderTest, TheDivisorDividesTheSize) {
  openEnabled(65, 49);
  setOption(LM_OPT_RES_DIVISOR, 2);
  refresh();
  finishRender();
  EXPECT_EQ(view().image->GetBw(), 32);
  EXPECT_EQ(view().image->GetBh(), 24);
}

TEST_F(RenderTest, ADivisorBelowOneDividesNothing) {
  openEnabled(64, 48);
  setOption(LM_OPT_RES_DIVISOR, 0);
  refresh();
  finishRender();
  EXPECT_EQ(view().image->GetBw(), 64);
}

// One side that differs keeps the bitmap.
TEST_F(RenderTest, TheBitmapIsMadeAnewOnlyWhenBothSidesDiffer) {
  openEnabled(64, 48);
  refresh();
  finishRender();
  view().width = 80;
  refresh();
  finishRender();
  EXPECT_EQ(view().image->GetBw(), 64);
  EXPECT_EQ(view().image->GetBh(), 48);
  view().width = 64;
  view().height = 30;
  refresh();
  finishRender();
  EXPECT_EQ(view().image->GetBh(), 48);
  view().width = 80;
  refresh();
  finishRender();
  EXPECT_EQ(view().image->GetBw(), 80);
  EXPECT_EQ(view().image->GetBh(), 30);
}

TEST_F(RenderTest, RegionModeRendersItsRectangleOfTheImpliedImage) {
  openEnabled(64, 48);
  setOption(LM_MODE, LM_MODE_REGION);
  setRegion(0.25, 0.25, 0.5);
  LONG width = 0, height = 0;
  viewer->GetRegion(document->GetRenderBaseDraw(), document, &width, &height);
  refresh();
  finishRender();
  ASSERT_EQ(renderCount(), 1u);
  viewer->GetRegion(document->GetRenderBaseDraw(), document, &width, &height);
  EXPECT_TRUE(given().GetBool(RDATA_RENDERREGION));
  EXPECT_EQ(given().GetLong(RDATA_RENDERREGION_LEFT), viewer->x1);
  EXPECT_EQ(given().GetLong(RDATA_RENDERREGION_TOP), viewer->y1);
  EXPECT_EQ(given().GetLong(RDATA_RENDERREGION_RIGHT), viewer->x2);
  EXPECT_EQ(given().GetLong(RDATA_RENDERREGION_BOTTOM), viewer->y2);
  EXPECT_EQ(view().regionLeft, viewer->x1);
  EXPECT_EQ(view().regionTop, viewer->y1);
  EXPECT_EQ(view().regionRight, viewer->x2);
  EXPECT_EQ(view().regionBottom, viewer->y2);
  EXPECT_EQ(view().image->GetBw(), width);
  EXPECT_EQ(view().image->GetBh(), height);
  EXPECT_GT(viewer->x2, viewer->x1);
  EXPECT_TRUE(viewer->thread.region);
}

TEST_F(RenderTest, RegionModeNeedsADocumentAndKeepsTheRunningRender) {
  openEnabled(64, 48);
  startHeldRender();
  setOption(LM_MODE, LM_MODE_REGION);
  clearActiveDocument();
  viewer->OnRender(0);
  EXPECT_TRUE(viewer->thread.IsRunning());
  finishRender();
  EXPECT_EQ(renderCount(), 1u);
}

// ---- Scene facts

TEST_F(RenderTest, TheStatusRecordGetsTheScenesFacts) {
  openEnabled();
  document->SetDocumentName("scene.gltf");
  document->SetTime(BaseTime(7, 30));
  refresh();
  finishRender();
  const LMTHREAD_DATA& data = view().data;
  EXPECT_EQ(data.documentName, String("scene.gltf"));
  EXPECT_EQ(static_cast<BaseTime>(data.frameTime), BaseTime(7, 30));
  EXPECT_EQ(data.fps, 30);
  EXPECT_EQ(data.cameraName, document->GetRenderBaseDraw()->GetEditorCamera()->GetName());
}

TEST_F(RenderTest, TheCameraIsTheLinkedElseTheScenesElseTheEditors) {
  openEnabled();
  BaseObject* scene = addCamera("Scene", {});
  BaseObject* linked = addCamera("Linked", {});
  document->GetRenderBaseDraw()->SetSceneCamera(scene);
  refresh();
  finishRender();
  EXPECT_EQ(view().data.cameraName, String("Scene"));
  linkCamera(linked);
  refresh();
  finishRender();
  EXPECT_EQ(view().data.cameraName, String("Linked"));
  EXPECT_EQ(probe->renders.back().cameraName, "Linked");
}

TEST_F(RenderTest, WithoutADocumentNothingIsRendered) {
  openEnabled();
  clearActiveDocument();
  refresh();
  EXPECT_EQ(rendersSoFar(), 0u);
  EXPECT_EQ(view().data.rendering, 0);
}

// ---- Cancel

TEST_F(RenderTest, TheCancelEventStopsTheRender) {
  openEnabled(320, 120);
  startHeldRender();
  sendEvent(ID_LUMENARA_CANCEL);
  viewer->thread.Wait(TRUE);
  EXPECT_EQ(view().data.result, RENDERRESULT_USERBREAK);
  EXPECT_EQ(viewer->thread.userCancelled, 1);
}

TEST_F(RenderTest, CancelWithoutARenderDoesNothing) {
  openEnabled();
  sendEvent(ID_LUMENARA_CANCEL);
  EXPECT_EQ(viewer->thread.stop, 0);
  EXPECT_EQ(viewer->thread.userCancelled, 0);
}

// ---- Threads

TEST_F(RenderTest, RequestsViewAndThreadGetAlongInAnyOrder) {
  setOption(LM_HISTORY_ADD, 0);
  setOption(LM_HISTORY_SIZE, 3);
  openAutomatic();
  setOption(LM_REFRESH_WAIT, 0);
  setOption(LM_REFRESH_DELAY, 0);
  for (int i = 0; i < 60; ++i) {
    if (i % 7 == 3) choose(i % 2 ? LM_MODE_REGION : LM_MODE_NORMAL);
    if (i % 11 == 5) sendEvent(ID_LUMENARA_CANCEL);
    if (i % 5 == 4) finishRender();
    changeScene();
    advance(100 + i % 3);
  }
  finishRender();
  poll();
  EXPECT_EQ(view().data.rendering, 0);
  EXPECT_EQ(view().data.stampsPending, 1);
}

} // namespace
