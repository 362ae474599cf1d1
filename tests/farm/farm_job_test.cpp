// Jobs, submissions and plans of tasks as values.
#include <gtest/gtest.h>

#include "farm_job.h"
#include "job_folder.h"

using namespace host;
using namespace host::farm;

namespace {

FarmJob frames() {
  FarmJob job;
  job.kind = JobKind::movie;
  job.id = "0123abcd";
  job.scene = "/scenes/a \"quoted\" name.glb";
  job.content = std::string(64, 'a');
  job.bytes = 1234;
  job.output = "/out/film.mov";
  job.format = 4;
  job.from = 10, job.to = 21, job.step = 5;
  job.width = 640, job.height = 360, job.fps = 25, job.quality = 80;
  job.options = {"--size=640x360", "--set=LM_STAMP_DATE=1"};
  job.wishes.partition = "night", job.wishes.cpus = 4;
  job.wishes.others = {"--qos=low"};
  job.program = "/usr/bin/lumenara";
  job.chunk = 7;
  return job;
}

std::vector<int> numbers(int count) {
  std::vector<int> units;
  for (int i = 0; i < count; ++i)
    units.push_back(i);
  return units;
}

TEST(FarmJob, ComesBackFromItsText) {
  const FarmJob job = frames();
  const auto read = farmJobOf(textOf(job));
  ASSERT_TRUE(read);
  EXPECT_EQ(textOf(*read), textOf(job));
  EXPECT_EQ(read->scene, job.scene);
  EXPECT_EQ(read->options, job.options);
  EXPECT_EQ(read->wishes.others, job.wishes.others);
  EXPECT_EQ(read->bytes, 1234u);
}

TEST(FarmJob, UnitsAreFramesOrParts) {
  FarmJob job = frames();
  EXPECT_EQ(job.unitCount(), 3); // 10, 15, 20
  EXPECT_EQ(job.numberOf(2), 20);
  EXPECT_EQ(job.unitOf(15), 1);
  EXPECT_EQ(job.unitOf(16), std::nullopt);
  EXPECT_EQ(job.unitOf(25), std::nullopt);
  EXPECT_EQ(job.nameOf(1), "frame 15");
  job.kind = JobKind::parts, job.parts = 4;
  EXPECT_EQ(job.unitCount(), 4);
  EXPECT_EQ(job.nameOf(0), "part 1 of 4");
  EXPECT_EQ(job.unitOf(4), 3);
  EXPECT_EQ(job.unitOf(0), std::nullopt);
}

TEST(FarmJob, ListsOfFramesAndTheirParts) {
  FarmJob job = frames();
  job.frames = {3, 4, 10};
  EXPECT_EQ(job.unitCount(), 3);
  EXPECT_EQ(job.numberOf(2), 10);
  EXPECT_EQ(job.unitOf(4), 1);
  EXPECT_EQ(job.unitOf(5), std::nullopt);
  job.parts = 2;
  EXPECT_EQ(job.unitCount(), 6);
  EXPECT_EQ(job.frameIndexOf(3), 1);
  EXPECT_EQ(job.nameOf(3), "frame 4, part 2 of 2");
  EXPECT_EQ(job.unitOf(4), 2) << "the first part";
  EXPECT_EQ(job.unitOf(11), std::nullopt);
  EXPECT_EQ(farmJobOf(textOf(job))->frames, job.frames);
  job.kind = JobKind::tiles, job.columns = 3, job.rows = 2;
  EXPECT_EQ(job.unitCount(), 6);
  EXPECT_EQ(job.nameOf(5), "tile 6 of 6");
  EXPECT_EQ(farmJobOf(textOf(job))->rows, 2);
}

TEST(FarmJob, NamesOfFrames) {
  EXPECT_EQ(JobFolder::frameName("/a/shot.tif", 12), "shot0012.tif");
  EXPECT_EQ(JobFolder::frameName("/a/shot.####.exr", 12), "shot.0012.exr");
  EXPECT_EQ(JobFolder::frameName("/a/#.png", 123456), "123456.png");
  EXPECT_EQ(JobFolder::frameName("/a/s_##_b.png", 7), "s_07_b.png");
  EXPECT_EQ(JobFolder::frameName("/a/#_##.png", 7), "#_07.png") << "the last run";
  EXPECT_EQ(JobFolder::frameName("/a/" + std::string(40, '#') + ".png", 7), std::string(15, '0') + "7.png");
}

TEST(FarmJob, OtherTextsAreRefused) {
  const std::string text = textOf(frames());
  EXPECT_FALSE(farmJobOf(""));
  EXPECT_FALSE(farmJobOf("[1, 2]"));
  EXPECT_FALSE(farmJobOf(text.substr(0, text.size() / 2)));
  const auto with = [&](void (*change)(FarmJob&)) {
    FarmJob job = frames();
    change(job);
    return farmJobOf(textOf(job)).has_value();
  };
  EXPECT_FALSE(with([](FarmJob& job) { job.step = 0; }));
  EXPECT_FALSE(with([](FarmJob& job) { job.from = -1; }));
  EXPECT_FALSE(with([](FarmJob& job) { job.to = 9; }));
  EXPECT_FALSE(with([](FarmJob& job) { job.frames = {4, 4}; }));
  EXPECT_FALSE(with([](FarmJob& job) { job.frames = {-1, 4}; }));
  EXPECT_FALSE(with([](FarmJob& job) { job.frames = {4, 1'000'000}; }));
  EXPECT_FALSE(with([](FarmJob& job) { job.to = 999'999, job.step = 1, job.parts = 1000; }));
  EXPECT_FALSE(with([](FarmJob& job) { job.parts = -1; }));
  EXPECT_FALSE(with([](FarmJob& job) { job.kind = JobKind::tiles; })) << "without a grid";
  EXPECT_FALSE(with([](FarmJob& job) {
    job.kind = JobKind::tiles, job.columns = 2'000'000'000, job.rows = 2'000'000'000;
  }));
  EXPECT_FALSE(with([](FarmJob& job) { job.output = "film.mov"; }));
  EXPECT_FALSE(with([](FarmJob& job) { job.id = "../x"; }));
  EXPECT_FALSE(with([](FarmJob& job) { job.kind = JobKind::parts; })) << "without parts";
  std::string later = text;
  later.replace(later.find("\"lumenara_farm\": 1"), 18, "\"lumenara_farm\": 2");
  EXPECT_FALSE(farmJobOf(later));
}

TEST(FarmSubmission, HasUnitsOfItsJobOnly) {
  const FarmJob job = frames();
  const Submission submission{{{0, 1}, {2}}, "17", "18", "now"};
  const auto read = submissionOf(textOf(submission), job);
  ASSERT_TRUE(read);
  EXPECT_EQ(read->tasks, submission.tasks);
  EXPECT_EQ(read->array, "17");
  EXPECT_EQ(read->closing, "18");
  EXPECT_FALSE(submissionOf(textOf(Submission{{{3}}, {}, {}, {}}), job));
  EXPECT_FALSE(submissionOf(textOf(Submission{{{-1}}, {}, {}, {}}), job));
  EXPECT_FALSE(submissionOf("{\"tasks\": 4}", job));
}

TEST(FarmPlan, ChunksHaveTheSizeAskedFor) {
  const auto tasks = planTasks(numbers(10), 4);
  ASSERT_EQ(tasks.size(), 3u);
  EXPECT_EQ(tasks[0], (std::vector<int>{0, 1, 2, 3}));
  EXPECT_EQ(tasks[2], (std::vector<int>{8, 9}));
  EXPECT_TRUE(planTasks({}, 4).empty());
}

TEST(FarmPlan, ChosenChunksKeepToSlurmsLimit) {
  EXPECT_EQ(planTasks(numbers(100), 0).size(), 100u);
  EXPECT_EQ(planTasks(numbers(500), 0).size(), 50u);
  for (const int count : {101, 9999, 10000, 10001, 123456}) {
    const auto tasks = planTasks(numbers(count), 0);
    std::size_t units = 0;
    for (const auto& task : tasks)
      units += task.size();
    EXPECT_LE(tasks.size(), 1000u) << count;
    EXPECT_EQ(units, static_cast<std::size_t>(count));
  }
  EXPECT_EQ(planTasks(numbers(100), 0, 60).size(), 10u) << "tasks of ten minutes";
}

} // namespace
