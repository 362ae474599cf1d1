// Samples dealt out to pixels.
#include <gtest/gtest.h>

#include <numeric>

#include "sample_goals.h"

using host::render::PixelDemand;
using host::render::SampleGoals;

namespace {

// Demands of pixels whose samples cost the same.
std::vector<PixelDemand> demands(const std::vector<float>& deviations) {
  std::vector<PixelDemand> out;
  for (const float deviation : deviations)
    out.push_back({deviation, 2});
  return out;
}

std::int64_t total(const SampleGoals& goals, std::size_t pixels, int level) {
  std::int64_t sum = 0;
  for (std::size_t i = 0; i < pixels; ++i)
    sum += goals.at(i, level);
  return sum;
}

TEST(SampleGoals, EvenOnesAreTheLevel) {
  for (const bool even : {true, false}) {
    const SampleGoals goals(3, even ? 64 : 7, even); // few samples are even ones
    for (const int level : {1, 4, 7}) {
      EXPECT_FALSE(goals.wantsDeal(level));
      EXPECT_EQ(goals.at(2, level), level);
    }
  }
}

TEST(SampleGoals, FollowTheWeightsAndKeepTheMean) {
  const std::vector<float> weights{1, 2, 3, 2, 0.5f, 3.5f};
  SampleGoals goals(weights.size(), 64, false);
  EXPECT_FALSE(goals.wantsDeal(8));
  EXPECT_TRUE(goals.wantsDeal(16));
  goals.deal(16, demands(weights));
  EXPECT_FALSE(goals.wantsDeal(24));
  EXPECT_TRUE(goals.wantsDeal(32));
  EXPECT_NEAR(static_cast<double>(total(goals, weights.size(), 32)), 6 * 32, 1);
  goals.deal(32, demands(weights));
  EXPECT_FALSE(goals.wantsDeal(64));
  EXPECT_NEAR(static_cast<double>(total(goals, weights.size(), 64)), 6 * 64, 1);
  for (std::size_t i = 0; i < weights.size(); ++i)
    EXPECT_NEAR(goals.at(i, 64), 32 * static_cast<double>(weights[i]), 1.01) << i;
}

// A level costs what it costs with even samples; dear samples go where they help more.
TEST(SampleGoals, CountCosts) {
  SampleGoals goals(4, 32, false);
  const std::vector<PixelDemand> wanted{{1, 1}, {1, 4}, {2, 4}, {1, 1}};
  for (const int level : {4, 8, 16})
    goals.deal(level, wanted);
  double cost = 0;
  for (std::size_t i = 0; i < 4; ++i)
    cost += goals.at(i, 32) * static_cast<double>(wanted[i].cost);
  EXPECT_NEAR(cost, 10 * 32, 4);
  EXPECT_NEAR(goals.at(0, 32), 2 * goals.at(1, 32), 2) << "four times the cost, half the samples";
  EXPECT_NEAR(goals.at(2, 32), 2 * goals.at(1, 32), 2) << "twice the deviation, twice the samples";
}

TEST(SampleGoals, NoPixelHasLessThanAQuarterOrMoreThanEightTimesTheMean) {
  std::vector<float> weights(1000, 0.0f);
  weights[7] = 1;
  SampleGoals goals(weights.size(), 256, false);
  for (const int level : {16, 32, 64, 128})
    goals.deal(level, demands(weights));
  EXPECT_EQ(goals.at(7, 256), 8 * 256);
  for (std::size_t i = 0; i < weights.size(); ++i)
    EXPECT_GE(goals.at(i, 256), 64);
  EXPECT_NEAR(static_cast<double>(total(goals, 1000, 256)), 256e3, 10);
}

TEST(SampleGoals, AQuietPictureIsEven) {
  const std::vector<float> weights(10, 0.0f);
  SampleGoals goals(10, 16, false);
  goals.deal(4, demands(weights));
  goals.deal(8, demands(weights));
  for (std::size_t i = 0; i < 10; ++i)
    EXPECT_NEAR(goals.at(i, 16), 16, 1);
}

// Passes end anywhere in a round: pixels grow steadily, and the round's end is the same.
TEST(SampleGoals, GrowSteadilyWithinARound) {
  const std::vector<float> weights{0.1f, 5, 1, 1};
  SampleGoals goals(4, 100, false);
  for (const int from : {16, 32, 64}) {
    goals.deal(from, demands(weights));
    const int to = std::min(100, 2 * from);
    for (std::size_t i = 0; i < 4; ++i) {
      EXPECT_EQ(goals.at(i, to) - goals.at(i, from), goals.ofRound(i));
      for (int level = from; level < to; ++level)
        EXPECT_LE(goals.at(i, level), goals.at(i, level + 1));
    }
  }
}

// A pixel that once looked noisy keeps its samples.
TEST(SampleGoals, TakeNothingBack) {
  SampleGoals goals(4, 64, false);
  goals.deal(16, demands({10, 1, 1, 1}));
  const int had = goals.at(0, 32);
  EXPECT_GT(had, 64);
  goals.deal(32, demands({0, 1, 1, 1}));
  EXPECT_EQ(goals.at(0, 64), had);
  EXPECT_NEAR(static_cast<double>(total(goals, 4, 64)), 4 * 64, 1);
}

} // namespace
