// The viewer's animations: from the dialog to the job, and requests during an animation.
#include <gtest/gtest.h>

#include "viewer_fixture.h"

namespace {

constexpr LONG REFRESH = 1109;

class ViewerAnimationTest : public ViewerFixture {
 protected:
  void refresh() { click(REFRESH); }
  void startAnimation(LONG from, LONG to, LONG step = 1) {
    viewer->animationJob.file = folder / "shot.tif";
    viewer->animationJob.format = 7;
    viewer->animationJob.from = from;
    viewer->animationJob.to = to;
    viewer->animationJob.step = step;
    viewer->OnRender(1);
  }
};

// ---- Animations

TEST_F(ViewerAnimationTest, AnAnimationsParametersReachTheJobByMeaning) {
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

TEST_F(ViewerAnimationTest, AnAnimationIsRenderedWhateverTheViewersState) {
  openEnabled();
  viewer->settings.SetValue(LM_ENABLED, 0);
  viewer->settings.SetValue(LM_REGION_SHOWN, 0);
  viewer->settings.SetValue(LM_MODE, LM_MODE_COMPARE);
  startAnimation(0, 1);
  EXPECT_EQ(rendersSoFar(), 2u);
}

TEST_F(ViewerAnimationTest, ARequestDuringAnAnimationAsksToCancelIt) {
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
  refresh(); // the animation has ended
  EXPECT_EQ(ui.questions.size(), 2u);
  EXPECT_EQ(rendersSoFar(), 2u);
}

TEST_F(ViewerAnimationTest, AnAnimationReplacesAViewersRender) {
  openEnabled();
  startHeldRender();
  releaseRender();
  startAnimation(0, 1);
  finishRender();
  EXPECT_TRUE(GeFExist(folder / "shot0001.tif"));
  EXPECT_TRUE(ui.questions.empty());
}

TEST_F(ViewerAnimationTest, AnAnimationThatCouldNotBeginIsNotInProgress) {
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

// The view takes the last frame for a finished render: it is composed, stamped and added once.
TEST_F(ViewerAnimationTest, TheLastFrameIsComposedStampedAndAdded) {
  setOption(LM_HISTORY_ADD, 0);
  openEnabled(120, 60);
  setOption(LM_STAMP_CUSTOM1, 1);
  setOption(LM_STAMP_TEXT1, String("TAKE"));
  probe->finished = [](BaseBitmap& picture, std::size_t number) {
    picture.Clear(10 + 20 * static_cast<LONG>(number), 0, 90);
  };
  startAnimation(4, 6);
  finishRender();
  poll(5);
  EXPECT_EQ(viewer->view.data.stampsPending, 1);
  EXPECT_EQ(viewer->view.data.progress, 2.0);
  const Rgb last{50, 0, 90};
  const BaseBitmap& display = *viewer->view.display;
  LONG stamped = 0;
  for (LONG y = 0; y < 60; ++y) {
    for (LONG x = 0; x < 120; ++x)
      stamped += !(pixelOf(display, x, y) == last);
  }
  EXPECT_GT(stamped, 20);
  EXPECT_LT(stamped, 120 * 60 / 2);
  ASSERT_EQ(historyNames(), (std::vector<std::string>{"[001].tif"}));
  AutoAlloc<BaseBitmap> added, frame;
  ASSERT_EQ(added->Init(historyFolder() + "[001].tif"), IMAGERESULT_OK);
  for (LONG y = 0; y < 60; ++y) {
    for (LONG x = 0; x < 120; ++x)
      ASSERT_EQ(pixelOf(*added, x, y), pixelOf(display, x, y)) << x << ", " << y;
  }
  ASSERT_EQ(frame->Init(folder / "shot0006.tif"), IMAGERESULT_OK);
  EXPECT_TRUE(isFilled(*frame, last)) << "frames are stamped by their own switch alone";
}

TEST_F(ViewerAnimationTest, RenderAnimationIsForAViewerThatIsOn) {
  openEnabled();
  viewer->settings.SetValue(LM_ENABLED, 0);
  choose(5000);
  EXPECT_TRUE(ui.openedDialogs.empty() || ui.openedDialogs.back().dialog == viewer.get());
}

TEST_F(ViewerAnimationTest, RenderAnimationTakesTheDialogsValues) {
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

TEST_F(ViewerAnimationTest, ACancelledAnimationDialogRendersNothing) {
  openEnabled();
  ui.dialogScripts.push_back([](GeDialog& dialog) { host::clickGadget(dialog, IDC_CANCEL); });
  choose(5000);
  EXPECT_EQ(rendersSoFar(), 0u);
}

} // namespace
