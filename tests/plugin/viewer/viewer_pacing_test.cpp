// When scene changes, region changes and optimizations render, and how they are paced.
#include <gtest/gtest.h>

#include "viewer_fixture.h"

namespace {

class PacingTest : public ViewerFixture {};

// ---- Scene changes and their pacing

TEST_F(PacingTest, SceneChangesNeedAutomaticRefreshAndAnOpenDialog) {
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

TEST_F(PacingTest, AChangeDuringARenderIsHeldUntilItHasFinished) {
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

TEST_F(PacingTest, AMissingPacingSwitchWaits) {
  openAutomatic();
  viewer->settings.GetDataInstance()->RemoveData(LM_REFRESH_WAIT);
  holdRenders();
  changeScene();
  waitForHeldRender();
  changeScene();
  EXPECT_EQ(viewer->pendingRefresh, 1);
}

TEST_F(PacingTest, WithoutWaitingRefreshesKeepTheirDistance) {
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

TEST_F(PacingTest, TheDistanceIsMoreThanTheDelay) {
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

TEST_F(PacingTest, WithoutWaitingAChangeReplacesTheRunningRender) {
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

TEST_F(PacingTest, TheTimerHoldsTheRequestWithinTheDelay) {
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

// The timer's own preset is a delay of 0.
TEST_F(PacingTest, AMissingDelayIsAQuarterOfASecondForChangesAndNoneForTheTimer) {
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

TEST_F(PacingTest, PacingGoesAcrossTheTimersWrap) {
  openAutomatic();
  setOption(LM_REFRESH_WAIT, 0);
  clock.set(0x7fffff00LL);
  viewer->lastRefresh = GeGetTimer();
  clock.set(0x80000100LL);
  changeScene();
  EXPECT_EQ(rendersSoFar(), 1u);
}

// The timer's word is negative for half of its 49.7 days.
TEST_F(PacingTest, TheFirstRefreshIsDueHoweverLongTheHostHasRun) {
  openAutomatic();
  setOption(LM_REFRESH_WAIT, 0);
  std::size_t renders = 0;
  for (const LLONG uptime : {1200LL, 0x7fffffffLL, 0x80000001LL, 0xc0000000LL, 0x180000001LL}) {
    SCOPED_TRACE(uptime);
    clock.set(uptime);
    viewer->lastRefresh = 0;
    changeScene();
    EXPECT_EQ(rendersSoFar(), ++renders);
    EXPECT_EQ(viewer->pendingRefresh, 0);
    viewer->lastRefresh = 0;
    viewer->pendingRefresh = 1;
    viewer->Timer(BaseContainer());
    EXPECT_EQ(rendersSoFar(), ++renders);
  }
}

TEST_F(PacingTest, ARefreshIsDueAfterMoreThanHalfOfTheTimersRange) {
  openAutomatic();
  setOption(LM_REFRESH_WAIT, 0);
  std::size_t renders = 0;
  for (const LLONG later : {0x7fffffffLL, 0x80000000LL, 0xf0000000LL}) {
    SCOPED_TRACE(later);
    viewer->lastRefresh = GeGetTimer();
    clock.advance(later);
    changeScene();
    EXPECT_EQ(rendersSoFar(), ++renders);
  }
}

TEST_F(PacingTest, ASwitchOfAnotherValueIsOff) {
  openAutomatic();
  setOption(LM_REFRESH_WAIT, 2); // paced by the delay
  viewer->lastRefresh = GeGetTimer();
  changeScene();
  EXPECT_EQ(viewer->pendingRefresh, 1);
  viewer->Timer(BaseContainer());
  EXPECT_EQ(rendersSoFar(), 0u);
  clock.advance(300);
  viewer->Timer(BaseContainer());
  EXPECT_EQ(rendersSoFar(), 1u);

  setOption(LM_AUTO_REFRESH, 2);
  clock.advance(300);
  changeScene();
  sendEvent(ID_LUMENARA_REGION_CHANGED);
  for (const LONG command : {1115, 1116, 1117})
    choose(command);
  view().Sized(64, 48);
  BaseContainer sized(BFM_SIZED), result;
  viewer->Message(sized, result);
  EXPECT_EQ(rendersSoFar(), 1u);
}

TEST_F(PacingTest, TheTimerRunsOnlyPendingRequests) {
  openAutomatic();
  viewer->Timer(BaseContainer());
  setOption(LM_REFRESH_WAIT, 0);
  viewer->Timer(BaseContainer());
  EXPECT_EQ(rendersSoFar(), 0u);
}

// ---- Region and optimization changes

// The request is left pending, so the timer renders once more.
TEST_F(PacingTest, ARegionChangeRendersAtOnceAndOnceMore) {
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

TEST_F(PacingTest, OptimizationValuesAreStoredInTheirScales) {
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

TEST_F(PacingTest, ANegativeOptimizationValueKeepsItsSign) {
  openEnabled();
  sendEvent(ID_LUMENARA_OPTIMIZE, 15045, static_cast<ULLONG>(-200));
  EXPECT_DOUBLE_EQ(GetWorldPluginData(ID_LUMENARA)->GetReal(15045), -0.02);
}

TEST_F(PacingTest, KeysOutsideTheOptimizationsAreNotStored) {
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

TEST_F(PacingTest, TwoZerosOnlySave) {
  openAutomatic();
  viewer->settings.SetValue(LM_REFRESH_DELAY, 321);
  sendEvent(ID_LUMENARA_OPTIMIZE, 0, 0);
  EXPECT_EQ(storedOption(LM_REFRESH_DELAY), 321);
  EXPECT_EQ(rendersSoFar(), 0u);
  EXPECT_EQ(viewer->pendingRefresh, 0);
}

TEST_F(PacingTest, AnOptimizationRendersWithAutomaticRefresh) {
  openAutomatic();
  sendEvent(ID_LUMENARA_OPTIMIZE, 15004, 1);
  EXPECT_EQ(rendersSoFar(), 1u);
  EXPECT_EQ(given().GetLong(RDATA_ANTIALIASING), 1);
  EXPECT_EQ(viewer->pendingRefresh, 1);
  advance(500);
  EXPECT_EQ(rendersSoFar(), 2u);
}

} // namespace
