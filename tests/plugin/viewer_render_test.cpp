// How the viewer's requests become renders: what a job is given, how requests are paced, and how a job ends.
#include <gtest/gtest.h>

#include "gadget.h"
#include "running_state.h"
#include "viewer_fixture.h"

namespace {

constexpr LONG REFRESH = 1109;

class RenderTest : public ViewerFixture {
 protected:
  lmUserArea& view() { return viewer->view; }
  void refresh() { click(REFRESH); }
  /// Starts a render that stays open.
  void startHeldRender() {
    holdRenders();
    refresh();
    waitForHeldRender();
  }
  void openAutomatic() {
    openEnabled();
    setOption(LM_AUTO_REFRESH, 1);
  }
  /// Whether a render was started since the last call, which is brought to its end.
  std::size_t rendersSoFar() {
    finishRender();
    return renderCount();
  }
  void startAnimation(LONG from, LONG to, LONG step = 1) {
    viewer->animationJob.file = folder / "shot.tif";
    viewer->animationJob.format = 7;
    viewer->animationJob.from = from;
    viewer->animationJob.to = to;
    viewer->animationJob.step = step;
    viewer->OnRender(1);
  }
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

// ---- Scene changes and their pacing

TEST_F(RenderTest, SceneChangesNeedAutomaticRefreshAndAnOpenDialog) {
  openEnabled();
  changeScene();
  EXPECT_EQ(rendersSoFar(), 0u);
  setOption(LM_AUTO_REFRESH, 1);
  changeScene();
  EXPECT_EQ(rendersSoFar(), 1u);
  viewer->Close();
  setOption(LM_REGION_SHOWN, 1);
  changeScene();
  EXPECT_EQ(rendersSoFar(), 1u);
}

TEST_F(RenderTest, AChangeDuringARenderIsHeldUntilItHasFinished) {
  openAutomatic();
  holdRenders();
  changeScene();
  waitForHeldRender();
  for (int i = 0; i < 5; ++i)
    changeScene();
  EXPECT_EQ(viewer->pendingRefresh, 1);
  advance(2000); // the timer finds the thread running
  EXPECT_EQ(renderCount(), 1u);
  EXPECT_EQ(viewer->pendingRefresh, 1);
  finishRender();
  advance(499);
  EXPECT_EQ(rendersSoFar(), 1u);
  advance(500);
  EXPECT_EQ(rendersSoFar(), 2u);
  EXPECT_EQ(viewer->pendingRefresh, 0);
  advance(3000);
  EXPECT_EQ(rendersSoFar(), 2u);
}

TEST_F(RenderTest, AMissingPacingSwitchWaits) {
  openAutomatic();
  viewer->settings.GetDataInstance()->RemoveData(LM_REFRESH_WAIT);
  holdRenders();
  changeScene();
  waitForHeldRender();
  changeScene();
  EXPECT_EQ(viewer->pendingRefresh, 1);
}

TEST_F(RenderTest, WithoutWaitingRefreshesKeepTheirDistance) {
  openAutomatic();
  setOption(LM_REFRESH_WAIT, 0);
  advance(1000);
  changeScene(); // at 0
  EXPECT_EQ(rendersSoFar(), 1u);
  const LONG start = GeGetTimer();
  EXPECT_EQ(viewer->lastRefresh, start);
  advance(100);
  changeScene();
  EXPECT_EQ(viewer->pendingRefresh, 1);
  EXPECT_EQ(rendersSoFar(), 1u);
  advance(399); // the timer runs every 500 ms
  EXPECT_EQ(rendersSoFar(), 1u);
  advance(1);
  EXPECT_EQ(rendersSoFar(), 2u);
  EXPECT_EQ(viewer->lastRefresh, start + 500);
  EXPECT_EQ(viewer->pendingRefresh, 0);
}

TEST_F(RenderTest, TheDistanceIsMoreThanTheDelay) {
  openAutomatic();
  setOption(LM_REFRESH_WAIT, 0);
  setOption(LM_REFRESH_DELAY, 300);
  viewer->lastRefresh = GeGetTimer();
  advance(300);
  changeScene();
  EXPECT_EQ(rendersSoFar(), 0u);
  EXPECT_EQ(viewer->pendingRefresh, 1);
  clock.advance(1);
  changeScene();
  EXPECT_EQ(rendersSoFar(), 1u);
  EXPECT_EQ(viewer->pendingRefresh, 0);
}

TEST_F(RenderTest, WithoutWaitingAChangeReplacesTheRunningRender) {
  openAutomatic();
  setOption(LM_REFRESH_WAIT, 0);
  advance(1000);
  holdRenders();
  changeScene();
  waitForHeldRender();
  advance(251);
  changeScene();
  waitForHeldRender();
  EXPECT_EQ(renderCount(), 2u);
}

TEST_F(RenderTest, TheTimerHoldsTheRequestWithinTheDelay) {
  openAutomatic();
  setOption(LM_REFRESH_WAIT, 0);
  setOption(LM_REFRESH_DELAY, 5000);
  advance(5001);
  changeScene();
  EXPECT_EQ(rendersSoFar(), 1u);
  changeScene();
  advance(5000);
  EXPECT_EQ(rendersSoFar(), 1u);
  advance(500);
  EXPECT_EQ(rendersSoFar(), 2u);
}

// The timer's own preset is no delay.
TEST_F(RenderTest, AMissingDelayIsAQuarterOfASecondForChangesAndNoneForTheTimer) {
  openAutomatic();
  setOption(LM_REFRESH_WAIT, 0);
  viewer->settings.GetDataInstance()->RemoveData(LM_REFRESH_DELAY);
  viewer->lastRefresh = GeGetTimer();
  clock.advance(200);
  changeScene();
  EXPECT_EQ(rendersSoFar(), 0u);
  viewer->Timer(BaseContainer());
  EXPECT_EQ(rendersSoFar(), 1u);
}

TEST_F(RenderTest, PacingGoesAcrossTheTimersWrap) {
  openAutomatic();
  setOption(LM_REFRESH_WAIT, 0);
  clock.set(0x7fffff00LL);
  viewer->lastRefresh = GeGetTimer();
  clock.set(0x80000100LL);
  changeScene();
  EXPECT_EQ(rendersSoFar(), 1u);
}

TEST_F(RenderTest, TheTimerRunsOnlyWhatIsPending) {
  openAutomatic();
  viewer->Timer(BaseContainer());
  setOption(LM_REFRESH_WAIT, 0);
  viewer->Timer(BaseContainer());
  EXPECT_EQ(rendersSoFar(), 0u);
}

// ---- Region and optimization changes

// The request is left pending, so the timer renders once more.
TEST_F(RenderTest, ARegionChangeRendersAtOnceAndOnceMore) {
  openEnabled();
  sendEvent(ID_LUMENARA_REGION_CHANGED);
  EXPECT_EQ(rendersSoFar(), 0u);
  setOption(LM_AUTO_REFRESH, 1);
  sendEvent(ID_LUMENARA_REGION_CHANGED);
  EXPECT_EQ(rendersSoFar(), 1u);
  EXPECT_EQ(viewer->pendingRefresh, 1);
  advance(500);
  EXPECT_EQ(rendersSoFar(), 2u);
  EXPECT_EQ(viewer->pendingRefresh, 0);
}

TEST_F(RenderTest, OptimizationValuesAreStoredInTheirScales) {
  openEnabled();
  sendEvent(ID_LUMENARA_OPTIMIZE, 15043, 55);
  sendEvent(ID_LUMENARA_OPTIMIZE, 15045, 625);
  sendEvent(ID_LUMENARA_OPTIMIZE, 15055, 150);
  sendEvent(ID_LUMENARA_OPTIMIZE, 15008, 1);
  const BaseContainer* stored = GetWorldPluginData(ID_LUMENARA);
  EXPECT_DOUBLE_EQ(stored->GetReal(15043), 0.55);
  EXPECT_DOUBLE_EQ(stored->GetReal(15045), 0.0625);
  EXPECT_DOUBLE_EQ(stored->GetReal(15055), 1.5);
  EXPECT_EQ(stored->GetLong(15008), 1);
  EXPECT_EQ(stored->GetType(15043), DA_REAL);
  EXPECT_EQ(stored->GetType(15008), DA_LONG);
  EXPECT_EQ(rendersSoFar(), 0u);
}

TEST_F(RenderTest, ANegativeOptimizationValueKeepsItsSign) {
  openEnabled();
  sendEvent(ID_LUMENARA_OPTIMIZE, 15045, static_cast<ULLONG>(-200));
  EXPECT_DOUBLE_EQ(GetWorldPluginData(ID_LUMENARA)->GetReal(15045), -0.02);
}

TEST_F(RenderTest, KeysOutsideTheOptimizationsAreNotStored) {
  openEnabled();
  for (const LONG key : {15000, 15061, 20004, 10001, -1}) {
    const LONG before = option(key, -77);
    sendEvent(ID_LUMENARA_OPTIMIZE, static_cast<ULLONG>(key), 1234);
    EXPECT_EQ(option(key, -77), before) << key;
  }
  sendEvent(ID_LUMENARA_OPTIMIZE, 15001, 5);
  sendEvent(ID_LUMENARA_OPTIMIZE, 15060, 6);
  EXPECT_EQ(option(15001), 5);
  EXPECT_EQ(option(15060), 6);
}

TEST_F(RenderTest, TwoZerosOnlySave) {
  openAutomatic();
  viewer->settings.SetValue(LM_REFRESH_DELAY, 321);
  sendEvent(ID_LUMENARA_OPTIMIZE, 0, 0);
  EXPECT_EQ(storedOption(LM_REFRESH_DELAY), 321);
  EXPECT_EQ(rendersSoFar(), 0u);
  EXPECT_EQ(viewer->pendingRefresh, 0);
}

TEST_F(RenderTest, AnOptimizationRendersWithAutomaticRefresh) {
  openAutomatic();
  sendEvent(ID_LUMENARA_OPTIMIZE, 15004, 1);
  EXPECT_EQ(rendersSoFar(), 1u);
  EXPECT_EQ(given().GetLong(RDATA_ANTIALIASING), 1);
  EXPECT_EQ(viewer->pendingRefresh, 1);
  advance(500);
  EXPECT_EQ(rendersSoFar(), 2u);
}

// ---- Animations

TEST_F(RenderTest, AnAnimationsParametersReachTheJobByMeaning) {
  openEnabled();
  auto& job = viewer->animationJob;
  job.jpegQuality = 44;
  job.photoshop7 = 1;
  job.stamp = 1;
  startAnimation(3, 9, 2);
  const lmThread& filled = viewer->thread;
  EXPECT_EQ(filled.jpegQuality, 44);
  EXPECT_EQ(filled.photoshop7, 1);
  EXPECT_EQ(filled.stamps, 1);
  EXPECT_EQ(filled.frameStep, 2);
  EXPECT_EQ(filled.format, 7);
  finishRender();
  EXPECT_EQ(filled.frameFrom, 3);
  EXPECT_EQ(filled.frameTo, 9);
  EXPECT_EQ(renderCount(), 4u);
  for (const char* name : {"shot0003.tif", "shot0005.tif", "shot0007.tif", "shot0009.tif"})
    EXPECT_TRUE(GeFExist(folder / name)) << name;
  EXPECT_EQ(viewer->animationRunning, 0);
  EXPECT_EQ(filled.animation, 0);
}

TEST_F(RenderTest, AnAnimationIsRenderedWhateverTheViewersState) {
  openEnabled();
  viewer->settings.SetValue(LM_ENABLED, 0);
  viewer->settings.SetValue(LM_REGION_SHOWN, 0);
  viewer->settings.SetValue(LM_MODE, LM_MODE_COMPARE);
  startAnimation(0, 1);
  EXPECT_EQ(rendersSoFar(), 2u);
}

TEST_F(RenderTest, ARequestDuringAnAnimationAsksToCancelIt) {
  openEnabled();
  holdRenders();
  startAnimation(0, 5);
  waitForHeldRender();
  EXPECT_EQ(viewer->animationRunning, 1);
  ui.answers = {false, true};
  refresh();
  EXPECT_TRUE(viewer->thread.IsRunning());
  refresh();
  EXPECT_FALSE(viewer->thread.IsRunning());
  EXPECT_EQ(ui.questions, (std::vector<std::string>{"Are you sure you want to cancel the animation?",
                                                    "Are you sure you want to cancel the animation?"}));
  EXPECT_EQ(viewer->thread.userCancelled, 1);
  EXPECT_EQ(viewer->animationRunning, 0);
  EXPECT_EQ(renderCount(), 1u);
  refresh(); // there is none any more
  EXPECT_EQ(ui.questions.size(), 2u);
  EXPECT_EQ(rendersSoFar(), 2u);
}

TEST_F(RenderTest, AnAnimationReplacesAViewersRender) {
  openEnabled();
  startHeldRender();
  releaseRender();
  startAnimation(0, 1);
  finishRender();
  EXPECT_TRUE(GeFExist(folder / "shot0001.tif"));
  EXPECT_TRUE(ui.questions.empty());
}

TEST_F(RenderTest, AnAnimationThatCouldNotBeginIsNotInProgress) {
  openEnabled();
  dropRenderData();
  startAnimation(0, 1); // without render settings the thread ends at once
  finishRender();
  EXPECT_EQ(renderCount(), 0u);
  RenderData* renderData = RenderData::Alloc();
  document->InsertRenderDataLast(renderData);
  document->SetActiveRenderData(renderData);
  addPost(PROBE_POST);
  startHeldRender();
  refresh();
  EXPECT_TRUE(ui.questions.empty());
  finishRender();
}

TEST_F(RenderTest, RenderAnimationIsForAViewerThatIsOn) {
  openEnabled();
  viewer->settings.SetValue(LM_ENABLED, 0);
  choose(5000);
  EXPECT_TRUE(ui.openedDialogs.empty() || ui.openedDialogs.back().dialog == viewer.get());
}

TEST_F(RenderTest, RenderAnimationTakesTheDialogsValues) {
  openEnabled();
  document->SetMaxTime(BaseTime(3, 30));
  ui.dialogScripts.push_back([&](GeDialog& dialog) {
    host::enterText(dialog, LM_ANIM_FILE, (folder / "movie").GetString());
    host::chooseEntry(dialog, LM_ANIM_FORMAT, 6);
    host::enterNumber(dialog, LM_ANIM_FROM, 2);
    host::enterNumber(dialog, LM_ANIM_TO, 4);
    host::enterNumber(dialog, LM_ANIM_STEP, 2);
    host::clickGadget(dialog, IDC_OK);
  });
  choose(5000);
  finishRender();
  EXPECT_TRUE(GeFExist(folder / "movie0002.bmp"));
  EXPECT_TRUE(GeFExist(folder / "movie0004.bmp"));
  EXPECT_FALSE(GeFExist(folder / "movie0003.bmp"));
  EXPECT_EQ(viewer->animationJob.jpegQuality, 95);
  EXPECT_EQ(viewer->animationJob.photoshop7, 1);
  EXPECT_EQ(viewer->animationJob.stamp, 0);
  EXPECT_EQ(storedOption(LM_ANIM_LAUNCH), 1);
}

TEST_F(RenderTest, ACancelledAnimationDialogRendersNothing) {
  openEnabled();
  ui.dialogScripts.push_back([](GeDialog& dialog) { host::clickGadget(dialog, IDC_CANCEL); });
  choose(5000);
  EXPECT_EQ(rendersSoFar(), 0u);
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
