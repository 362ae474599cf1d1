// The render thread's single renders: clone, settings, and the start and end of a job.
#include <gtest/gtest.h>

#include "thread_fixture.h"

namespace {

using ThreadTest = ThreadFixture;

TEST_F(ThreadTest, WithoutABitmapItReturnsAtOnce) {
  thread.bitmap = nullptr;
  status.rendering = 7;
  runJob();
  EXPECT_EQ(status.rendering, 7);
  EXPECT_TRUE(probe->renders.empty());
}

TEST_F(ThreadTest, WithoutADocumentItReturnsAtOnce) {
  clearActiveDocument();
  status.rendering = 7;
  thread.stop = 1;
  runJob();
  EXPECT_EQ(status.rendering, 7);
  EXPECT_EQ(thread.stop, 0);
  EXPECT_TRUE(probe->renders.empty());
}

TEST_F(ThreadTest, WithoutRenderDataItStopsAndLeavesTheRecord) {
  dropRenderData();
  status.rendering = 7;
  runJob();
  EXPECT_EQ(thread.stop, 1);
  EXPECT_EQ(status.rendering, 7);
  EXPECT_TRUE(probe->renders.empty());
}

TEST_F(ThreadTest, WorksWithoutARecord) {
  thread.data = nullptr;
  runJob();
  EXPECT_EQ(probe->renders.size(), 1u);
  EXPECT_FALSE(isBlack());
}

TEST_F(ThreadTest, RendersIntoTheBitmapAndReportsTheEnd) {
  runJob();
  EXPECT_EQ(status.result, RENDERRESULT_OK);
  EXPECT_EQ(status.rendering, 0);
  EXPECT_EQ(status.progress, 1.0);
  EXPECT_FALSE(isBlack());
}

TEST_F(ThreadTest, TheJobsTimeIsInSeconds) {
  probe->during = [&](BaseDocument&, VideoPostStruct&) {
    EXPECT_EQ(status.renderTime, 0.0);
    advanceClock(1500);
  };
  runJob();
  EXPECT_DOUBLE_EQ(status.renderTime, 1.5);
}

TEST_F(ThreadTest, TheRecordIsResetAtTheStart) {
  status.renderTime = 9.0;
  status.progress = 2.0;
  status.result = RENDERRESULT_USERBREAK;
  status.stampsPending = 1;
  probe->during = [&](BaseDocument&, VideoPostStruct&) {
    EXPECT_EQ(status.renderTime, 0.0);
    EXPECT_LE(status.progress, 1.0);
    EXPECT_EQ(status.result, RENDERRESULT_OK);
    EXPECT_EQ(status.rendering, 1);
    EXPECT_EQ(status.stampsPending, 0);
  };
  runJob();
  EXPECT_EQ(probe->renders.size(), 1u);
}

TEST_F(ThreadTest, TheSizeIsTheBitmaps) {
  runJob();
  EXPECT_EQ(given().GetLong(5008), bitmap->GetBw());
  EXPECT_EQ(given().GetLong(5009), bitmap->GetBh());
}

TEST_F(ThreadTest, AFrameShowsItsNumberPlusOneOfOne) {
  document->SetTime(BaseTime(10, 30));
  runJob();
  EXPECT_EQ(probe->renders.at(0).statusText, "Lumenara (11/1)");
  EXPECT_EQ(thread.frameFrom, 10);
  EXPECT_EQ(thread.frameTo, 10);
  EXPECT_EQ(given().GetTime(5017), BaseTime(10, 30));
  EXPECT_EQ(given().GetTime(5018), BaseTime(10, 30));
  EXPECT_EQ(BaseTime(status.frameTime), BaseTime(10, 30));
  EXPECT_EQ(status.fps, 30);
}

TEST_F(ThreadTest, TheStatusBarIsClearedAtTheEnd) {
  runJob();
  EXPECT_EQ(statusText(), "");
}

TEST_F(ThreadTest, AStepBelowOneStillEnds) {
  thread.frameStep = 0;
  runJob();
  EXPECT_EQ(probe->renders.size(), 1u);
  thread.frameStep = -5;
  runJob();
  EXPECT_EQ(probe->renders.size(), 2u);
}

TEST_F(ThreadTest, ARegionIsHandedOnInclusively) {
  thread.region = 1;
  thread.regionLeft = 3;
  thread.regionTop = 2;
  thread.regionRight = 10;
  thread.regionBottom = 8;
  bitmap->Clear(1, 2, 3);
  runJob();
  ASSERT_EQ(probe->renders.size(), 1u);
  EXPECT_TRUE(given().GetBool(7004));
  EXPECT_EQ(given().GetLong(7005), 3);
  EXPECT_EQ(given().GetLong(7006), 2);
  EXPECT_EQ(given().GetLong(7007), 10);
  EXPECT_EQ(given().GetLong(7008), 8);
  EXPECT_EQ(probe->renders[0].statusText, "Lumenara Rendering...");
  expectPixel(*bitmap, 2, 2, 1, 2, 3);
  expectPixel(*bitmap, 11, 8, 1, 2, 3);
  expectPixel(*bitmap, 10, 9, 1, 2, 3);
  EXPECT_FALSE(pixelIs(*bitmap, 3, 2, 1, 2, 3));
  EXPECT_FALSE(pixelIs(*bitmap, 10, 8, 1, 2, 3));
  EXPECT_EQ(status.result, RENDERRESULT_OK);
  EXPECT_EQ(status.rendering, 0);
}

TEST_F(ThreadTest, AWholeRenderHasNoRegion) {
  runJob();
  EXPECT_FALSE(given().GetBool(7004));
}

TEST_F(ThreadTest, ClearsTheBitmapOnlyWhenAsked) {
  bitmap->Clear(1, 2, 3);
  probe->during = [&](BaseDocument&, VideoPostStruct&) { expectPixel(*bitmap, 5, 5, 1, 2, 3); };
  runJob();
  settings.SetValue(LM_CLEAR_BITMAP, 1);
  bitmap->Clear(1, 2, 3);
  thread.region = 1;
  thread.regionLeft = thread.regionTop = thread.regionRight = thread.regionBottom = 0;
  probe->during = nullptr;
  runJob();
  expectPixel(*bitmap, 5, 5, 0, 0, 0);
}

TEST_F(ThreadTest, TheUsersDocumentIsNotTouched) {
  settings.SetValue(LM_OPT_15019, 0);
  settings.SetValue(LM_OPT_15014, 0);
  settings.SetValue(LM_OPT_LOD, 0.25);
  const auto before = snapshotOfDocument();
  probe->during = [&](BaseDocument& clone, VideoPostStruct&) { EXPECT_NE(&clone, document); };
  runJob();
  EXPECT_EQ(snapshotOfDocument(), before);
}

// ---- Render settings

TEST_F(ThreadTest, ForcesTheSettingsOfAPreview) {
  BaseContainer& data = *document->GetActiveRenderData()->GetDataInstance();
  for (const LONG id : {5021, 5076, 5200, 5202})
    data.SetBool(id, TRUE);
  data.SetLong(5016, 3);
  runJob();
  for (const LONG id : {5021, 5076, 5200, 5202})
    EXPECT_FALSE(given().GetBool(id, TRUE)) << id;
  EXPECT_EQ(given().GetLong(5016, -1), 0);
}

TEST_F(ThreadTest, CopiesTheChoicesOfAntiAliasing) {
  settings.SetValue(LM_OPT_15004, 2);
  settings.SetValue(LM_OPT_15006, 4);
  runJob();
  EXPECT_EQ(given().GetLong(5002), 2);
  EXPECT_EQ(given().GetLong(5070), 4);
}

TEST_F(ThreadTest, TheLevelOfDetailGoesToTheDocumentAndTheSettings) {
  settings.SetValue(LM_OPT_LOD, 0.25);
  runJob();
  EXPECT_EQ(given().GetReal(5061), 0.25);
  EXPECT_EQ(probe->renders.at(0).lod, 0.25);
}

struct PairCase {
  LONG key, first, second, choice;
  Bool firstOn, secondOn;
};

TEST_F(ThreadTest, ThreeChoicesSetPairs) {
  const PairCase cases[] = {
      {LM_OPT_15008, 6016, 6017, 0, FALSE, FALSE}, {LM_OPT_15008, 6016, 6017, 1, TRUE, FALSE},
      {LM_OPT_15008, 6016, 6017, 2, TRUE, TRUE},   {LM_OPT_15010, 6018, 6020, 0, FALSE, FALSE},
      {LM_OPT_15010, 6018, 6020, 1, TRUE, TRUE},   {LM_OPT_15010, 6018, 6020, 2, TRUE, FALSE},
      {LM_OPT_15012, 6019, 6021, 0, FALSE, FALSE}, {LM_OPT_15012, 6019, 6021, 1, TRUE, TRUE},
      {LM_OPT_15012, 6019, 6021, 2, TRUE, FALSE},
  };
  for (const PairCase& c : cases) {
    SCOPED_TRACE(std::to_string(c.key) + " = " + std::to_string(c.choice));
    BaseContainer& data = *document->GetActiveRenderData()->GetDataInstance();
    data.SetBool(c.first, !c.firstOn);
    data.SetBool(c.second, !c.secondOn);
    settings.SetValue(c.key, c.choice);
    runJob();
    EXPECT_EQ(given().GetBool(c.first, -1), c.firstOn);
    EXPECT_EQ(given().GetBool(c.second, -1), c.secondOn);
  }
}

TEST_F(ThreadTest, AnotherChoiceLeavesThePairAsTheSceneHasIt) {
  BaseContainer& data = *document->GetActiveRenderData()->GetDataInstance();
  data.SetBool(6016, FALSE);
  data.SetBool(6017, TRUE);
  for (const LONG choice : {3, -1}) {
    settings.SetValue(LM_OPT_15008, choice);
    runJob();
    EXPECT_FALSE(given().GetBool(6016, TRUE));
    EXPECT_TRUE(given().GetBool(6017, FALSE));
  }
}

TEST_F(ThreadTest, TheEngineIsTheScenesOrOneOfTwo) {
  document->GetActiveRenderData()->GetDataInstance()->SetLong(5300, 1);
  const std::pair<LONG, LONG> cases[] = {{0, 1}, {1, 1}, {2, 300001061}, {3, 1}};
  for (const auto& [choice, engine] : cases) {
    settings.SetValue(LM_OPT_ENGINE, choice);
    runJob();
    EXPECT_EQ(given().GetLong(5300), engine) << choice;
  }
}

TEST_F(ThreadTest, SwitchesAtZeroTurnTheirSettingOff) {
  const std::pair<LONG, LONG> cases[] = {
      {15020, 5604}, {15021, 5069}, {15022, 5052}, {15023, 5064}, {15024, 5079}};
  for (const auto& [key, id] : cases) {
    SCOPED_TRACE(key);
    document->GetActiveRenderData()->GetDataInstance()->SetBool(id, TRUE);
    settings.SetValue(key, 1);
    runJob();
    EXPECT_TRUE(given().GetBool(id, FALSE));
    settings.SetValue(key, 0);
    runJob();
    EXPECT_FALSE(given().GetBool(id, TRUE));
    settings.SetValue(key, 1);
  }
}

TEST_F(ThreadTest, WithoutPostEffectsNoPostOfAPluginIsCalled) {
  document->GetActiveRenderData()->GetDataInstance()->SetBool(5401, TRUE);
  runJob();
  ASSERT_EQ(probe->renders.size(), 1u);
  EXPECT_TRUE(given().GetBool(5401));
  settings.SetValue(LM_OPT_15017, 0);
  runJob();
  EXPECT_EQ(probe->renders.size(), 1u);
  EXPECT_EQ(status.result, RENDERRESULT_OK);
}

TEST_F(ThreadTest, ReadsItsOwnPresetsWhereAKeyIsAbsent) {
  settings.GetDataInstance()->FlushAll();
  BaseContainer& data = *document->GetActiveRenderData()->GetDataInstance();
  data.SetBool(5401, TRUE);
  data.SetBool(6016, FALSE);
  runJob();
  EXPECT_TRUE(given().GetBool(5401));
  EXPECT_TRUE(given().GetBool(6016));
  EXPECT_TRUE(given().GetBool(6017));
  EXPECT_EQ(given().GetReal(5061), 1.0);
  EXPECT_EQ(given().GetLong(5002, -1), 0);
}

// ---- Video posts

TEST_F(ThreadTest, EachPostHasItsSwitch) {
  const std::pair<LONG, LONG> cases[] = {
      {15014, 1021096}, {15016, 1000970}, {15042, 1017325}, {15015, 300001045}};
  for (const auto& [key, type] : cases)
    addPost(type);
  runJob();
  for (const auto& [key, type] : cases)
    EXPECT_FALSE(postDisabled(type)) << type;

  for (const auto& [key, type] : cases) {
    SCOPED_TRACE(type);
    settings.SetValue(key, 0);
    runJob();
    for (const auto& [otherKey, other] : cases)
      EXPECT_EQ(postDisabled(other), other == type);
    settings.SetValue(key, 1);
  }
}

TEST_F(ThreadTest, APostThatTheSceneHasOffStaysOff) {
  addPost(1021096)->SetBit(BIT_VPDISABLED);
  runJob();
  EXPECT_TRUE(postDisabled(1021096));
}

TEST_F(ThreadTest, GlobalIlluminationLosesItsParameter) {
  addPost(1021096)->SetParameter(3804, GeData::FromBool(TRUE));
  runJob();
  EXPECT_FALSE(postParameter(1021096, 3804).GetBool());
}

TEST_F(ThreadTest, TheCapturePostIsAlwaysOff) {
  addPost(1021449);
  runJob();
  EXPECT_TRUE(postDisabled(1021449));
}

TEST_F(ThreadTest, TheThirdPartyPostIsSwitchedOnOnlyWhenAsked) {
  addPost(1021830)->SetBit(BIT_VPDISABLED);
  runJob();
  EXPECT_TRUE(postDisabled(1021830));
  settings.SetValue(LM_OPT_15059, 1);
  runJob();
  EXPECT_FALSE(postDisabled(1021830));
  EXPECT_TRUE(postParameter(1021830, 1003).GetBool());
  EXPECT_TRUE(postParameter(1021830, 1004).GetBool());
}

// ---- Camera

TEST_F(ThreadTest, LooksThroughACloneOfTheScenesCamera) {
  BaseObject* camera = addCamera("Side", Vector(3, 0, 0));
  document->GetRenderBaseDraw()->SetSceneCamera(camera);
  runJob();
  const ProbedRender& render = probe->renders.at(0);
  EXPECT_NE(render.cameraIdentity, camera->GetIdentity());
  EXPECT_EQ(render.cameraMatrix, camera->GetMg());
}

TEST_F(ThreadTest, LooksThroughACloneOfTheEditorCamera) {
  BaseObject* editor = document->GetRenderBaseDraw()->GetEditorCamera();
  editor->SetMg(MatrixMove(Vector(1, 2, 9)));
  document->GetRenderBaseDraw()->SetSceneCamera(nullptr);
  runJob();
  const ProbedRender& render = probe->renders.at(0);
  EXPECT_NE(render.cameraIdentity, 0u);
  EXPECT_NE(render.cameraIdentity, editor->GetIdentity());
  EXPECT_EQ(render.cameraMatrix, MatrixMove(Vector(1, 2, 9)));
}

TEST_F(ThreadTest, TheCameraPickedInTheViewerComesFirst) {
  BaseObject* scene = addCamera("Scene", Vector(3, 0, 0));
  BaseObject* picked = addCamera("Picked", Vector(0, 5, 0));
  document->GetRenderBaseDraw()->SetSceneCamera(scene);
  linkCamera(picked);
  runJob();
  EXPECT_EQ(probe->renders.at(0).cameraMatrix.off, Vector(0, 5, 0));
}

TEST_F(ThreadTest, ARegionRenderTakesTheScenesCameraAsItIs) {
  BaseObject* scene = addCamera("Scene", Vector(3, 0, 0));
  document->GetRenderBaseDraw()->SetSceneCamera(scene);
  linkCamera(addCamera("Picked", Vector(0, 5, 0)));
  thread.region = 1;
  thread.regionLeft = thread.regionTop = 0;
  thread.regionRight = thread.regionBottom = 1;
  runJob();
  EXPECT_EQ(probe->renders.at(0).cameraIdentity, scene->GetIdentity());
}

TEST_F(ThreadTest, ALinkToNothingIsIgnored) {
  BaseObject* scene = addCamera("Scene", Vector(3, 0, 0));
  document->GetRenderBaseDraw()->SetSceneCamera(scene);
  BaseObject* gone = addCamera("Gone", Vector(0, 5, 0));
  linkCamera(gone);
  gone->Remove();
  BaseObject::Free(gone);
  runJob();
  EXPECT_EQ(probe->renders.at(0).cameraMatrix.off, Vector(3, 0, 0));
}

// ---- Break and errors

TEST_F(ThreadTest, AUserBreakEndsTheRenderAndPaintsTheBanner) {
  probe->during = [&](BaseDocument&, VideoPostStruct&) { thread.CancelRender(); };
  bitmap->Clear(9, 9, 9);
  runJob();
  EXPECT_EQ(status.result, RENDERRESULT_USERBREAK);
  EXPECT_EQ(status.rendering, 0);
  EXPECT_EQ(status.progress, 1.0);
  EXPECT_TRUE(showsBanner("Render Cancelled"));
}

TEST_F(ThreadTest, ABreakByOthersPaintsNothing) {
  probe->during = [&](BaseDocument&, VideoPostStruct&) { thread.stop = 1; };
  bitmap->Clear(9, 9, 9);
  runJob();
  EXPECT_EQ(status.result, RENDERRESULT_USERBREAK);
  EXPECT_FALSE(showsBanner("Render Cancelled"));
}

TEST_F(ThreadTest, ACancelBeforeTheStartIsLost) {
  thread.CancelRender();
  runJob();
  EXPECT_EQ(status.result, RENDERRESULT_OK);
  EXPECT_EQ(thread.stop, 0);
  EXPECT_EQ(thread.userCancelled, 0);
}

TEST_F(ThreadTest, FailuresPaintTheirBanner) {
  const std::pair<RENDERRESULT, const char*> cases[] = {{RENDERRESULT_OUTOFMEMORY, "Not Enough Memory"},
                                                        {RENDERRESULT_ASSETMISSING, "Asset Missing"}};
  for (const auto& [result, words] : cases) {
    probe->result = result;
    runJob();
    EXPECT_EQ(status.result, result);
    EXPECT_TRUE(showsBanner(words)) << words;
  }
}

TEST_F(ThreadTest, WithoutItsSwitchTheBannerIsNotPainted) {
  probe->result = RENDERRESULT_ASSETMISSING;
  settings.SetValue(LM_ERROR_BANNER, 0);
  runJob();
  EXPECT_FALSE(showsBanner("Asset Missing"));
  settings.GetDataInstance()->RemoveData(LM_ERROR_BANNER); // the reader's own preset is 0
  runJob();
  EXPECT_FALSE(showsBanner("Asset Missing"));
}

TEST_F(ThreadTest, ASuccessPaintsNothing) {
  runJob();
  EXPECT_FALSE(showsBanner("Render Cancelled"));
  EXPECT_FALSE(showsBanner("Asset Missing"));
}

TEST_F(ThreadTest, ABannerFitsASmallBitmap) {
  ASSERT_EQ(bitmap->Init(20, 10, 24), IMAGERESULT_OK);
  probe->result = RENDERRESULT_ASSETMISSING;
  runJob();
  EXPECT_EQ(status.result, RENDERRESULT_ASSETMISSING);
}

TEST_F(ThreadTest, MessagesComeOnlyWhenAsked) {
  probe->result = RENDERRESULT_ASSETMISSING;
  runJob();
  EXPECT_TRUE(messages().empty());

  settings.SetValue(LM_ERROR_DIALOGS, 1);
  runJob();
  EXPECT_EQ(messages(), std::vector<std::string>{"Lumenara Error: Asset Missing"});
  clearMessages();
  probe->result = RENDERRESULT_OUTOFMEMORY;
  runJob();
  EXPECT_EQ(messages(), std::vector<std::string>{"Lumenara Error: Not Enough Memory"});
  clearMessages();
  probe->result = RENDERRESULT_OK;
  runJob();
  EXPECT_TRUE(messages().empty());
}

TEST_F(ThreadTest, DestroyingTheThreadEndsItsJob) {
  auto other = std::make_unique<lmThread>();
  other->settings = &settings;
  other->data = &status;
  other->bitmap = bitmap;
  std::atomic<bool> open{false};
  probe->during = [&](BaseDocument&, VideoPostStruct& call) {
    open = true;
    waitUntil([&] { return call.thread->TestBreak() != 0; });
  };
  ASSERT_TRUE(other->Start());
  waitUntil([&] { return open.load(); });
  other.reset();
  EXPECT_EQ(status.rendering, 0);
  EXPECT_EQ(status.result, RENDERRESULT_USERBREAK);
}

TEST_F(ThreadTest, ItsNameAndBreakTest) {
  EXPECT_STREQ(thread.GetThreadName(), "lmThread");
  EXPECT_FALSE(thread.TestDBreak());
  thread.stop = 1;
  EXPECT_TRUE(thread.TestDBreak());
}

TEST_F(ThreadTest, ProgressGoesToTheRecordAndTheStatusBar) {
  ProgressFunction2(0.25, RENDERPROGRESSTYPE_DURINGRENDERING, nullptr);
  EXPECT_EQ(spinTicks(), 0u);
  ProgressFunction2(0.25, RENDERPROGRESSTYPE_BEFORERENDERING, &status);
  EXPECT_EQ(status.progress, 0.25);
  EXPECT_EQ(spinTicks(), 1u);
}

} // namespace
