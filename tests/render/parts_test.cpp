// The small values of a render: progress, pixel estimates, sample dimensions, outcomes, counts.
#include <gtest/gtest.h>

#include <vector>

#include "pass_plan.h"
#include "pixel_estimate.h"
#include "progress_steps.h"
#include "scene_kit.h"

using namespace kit;

TEST(ProgressSteps, ReportsThousandthsFromNothingToAll) {
  std::vector<double> reports;
  const std::function<void(double)> report = [&](double part) { reports.push_back(part); };
  render::ProgressSteps progress(report, 10000);
  progress.add(0);
  for (int i = 0; i < 9999; ++i)
    progress.add(1);
  EXPECT_EQ(reports.front(), 0);
  EXPECT_LE(reports.size(), 1001u);
  EXPECT_GE(reports.size(), 900u);
  for (std::size_t i = 1; i < reports.size(); ++i)
    EXPECT_GE(reports[i], reports[i - 1] + 0.001);
  progress.add(1);
  EXPECT_EQ(reports.back(), 1);
  const std::size_t count = reports.size();
  progress.add(1); // more work than announced
  EXPECT_EQ(reports.size(), count);
}

TEST(ProgressSteps, NeedsNoListener) {
  const std::function<void(double)> none;
  render::ProgressSteps progress(none);
  progress.add(1);
}

TEST(PixelEstimate, WeighsSamplesAndKeepsCoverageInRange) {
  render::PixelEstimate pixel;
  pixel.add({{1, 2, 4}, 1}, 1.5f);
  pixel.add({{3, 2, 0}, 1}, -0.5f);
  float rgba[4];
  pixel.mean(rgba);
  EXPECT_EQ(pixel.count(), 2);
  EXPECT_EQ(rgba[0], 0); // (1.5 - 1.5) / 1
  EXPECT_EQ(rgba[1], 2);
  EXPECT_EQ(rgba[2], 6);
  EXPECT_EQ(rgba[3], 1);
}

TEST(PixelEstimate, EqualSamplesHaveNoError) {
  render::PixelEstimate even, noisy;
  for (int i = 0; i < 16; ++i) { // bright ones in the second half
    even.add({{0.25f, 0.25f, 0.25f}, 1}, 1);
    const float v = i >= 8 ? 1.0f : 0.25f;
    noisy.add({{v, v, v}, 1}, 1);
  }
  EXPECT_EQ(even.squaredError(), 0);
  EXPECT_FLOAT_EQ(noisy.squaredError(), 0.0625f); // brightness 0.5 and 1
}

TEST(PassPlan, EndsPassesAtDoublingsAndByTime) {
  render::PassPlan plan(100);
  const double endless = 1e12;
  const auto pass = [&](double sampleMs, double left) {
    const int target = plan.next(left);
    plan.passed(target, sampleMs * (target - plan.done()));
    return target;
  };
  EXPECT_EQ(pass(20, endless), 1);
  EXPECT_EQ(pass(20, endless), 2);
  EXPECT_EQ(pass(20, endless), 4);
  EXPECT_EQ(pass(20, endless), 8);
  EXPECT_EQ(pass(20, endless), 13); // a tenth of a second
  EXPECT_EQ(pass(20, endless), 16);
  EXPECT_EQ(pass(20, endless), 21);
  EXPECT_EQ(pass(20, 45), 23);      // as much as the time that is left allows
  EXPECT_EQ(pass(20, 1), 24);       // but one sample
  EXPECT_EQ(pass(20, endless), 30); // a quarter of 480 ms
  EXPECT_EQ(pass(20, endless), 32);
  while (!plan.finished())
    pass(1, endless);
  EXPECT_EQ(plan.done(), 100);
}

TEST(LiveDenoising, TakesAFifthOfTheTime) {
  render::LiveDenoising live(100'000); // expected to take 50 ms at first
  EXPECT_FALSE(live.isDue(1, 199));
  EXPECT_TRUE(live.isDue(1, 200));
  live.denoised(1, 100);
  EXPECT_FALSE(live.isDue(2, 800));
  EXPECT_TRUE(live.isDue(2, 900));   // two in 1000 ms
  EXPECT_FALSE(live.isDue(1, 5000)); // no new samples
  live.denoised(4, 100);
  EXPECT_FALSE(live.isDue(7, 5000));
  EXPECT_TRUE(live.isDue(8, 5000));
}

// Pictures stay the same from version to version only while these numbers do.
TEST(SampleDimensions, OfAVertexFollowBounceAndPasses) {
  EXPECT_EQ(render::SampleDimensions::ofVertex(0, 0), 8u);
  EXPECT_EQ(render::SampleDimensions::ofVertex(1, 0), 32u);
  EXPECT_EQ(render::SampleDimensions::ofVertex(0, 1), 520u);
  EXPECT_EQ(render::SampleDimensions::ofVertex(12, 3), 8u + 24 * 12 + 512 * 3);
}

TEST(RenderOutcome, HasTheNumbersOfTheInterface) {
  EXPECT_EQ(render::interfaceResult(render::RenderOutcome::finished), RENDERRESULT_OK);
  EXPECT_EQ(render::interfaceResult(render::RenderOutcome::outOfMemory), RENDERRESULT_OUTOFMEMORY);
  EXPECT_EQ(render::interfaceResult(render::RenderOutcome::assetMissing), RENDERRESULT_ASSETMISSING);
  EXPECT_EQ(render::interfaceResult(render::RenderOutcome::stopped), RENDERRESULT_USERBREAK);
}

// Under an empty sky every sample is one camera ray, for the path tracer and for the software preview.
TEST(RenderReport, CountsSamplesAndRays) {
  Scene scene;
  auto how = settings(16, 8, 4);
  const Result traced = draw(scene, 16, 8, how);
  EXPECT_EQ(traced.stats.cameraSamples, 16u * 8 * 4); // those of the coarse passes among them
  EXPECT_EQ(traced.stats.rays, traced.stats.cameraSamples);
  how.preview = true;
  how.antiAliasing = render::AntiAliasing::none;
  const Result preview = draw(scene, 16, 8, how);
  EXPECT_EQ(preview.stats.cameraSamples, 16u * 8);
  EXPECT_EQ(preview.stats.rays, preview.stats.cameraSamples);
}
