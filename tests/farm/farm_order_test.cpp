// The wishes of a submission as arguments, and the answers of the farm's commands as rows.
#include <gtest/gtest.h>

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <functional>

#include "farm_answers.h"
#include "farm_order.h"
#include "job_folder.h"

using namespace host::farm;

namespace {

namespace fs = std::filesystem;

using Words = std::vector<std::string>;

TEST(FarmOrder, FramesBecomeArguments) {
  FarmOrder order;
  order.output = "/out/shot.tif";
  order.from = -2, order.to = 9, order.step = 3;
  order.width = 64, order.height = 48, order.samples = 5, order.chunk = 4;
  order.camera = "-side", order.partition = "night", order.memory = "2G", order.time = "1:00:00";
  order.others = "--qos=low --comment='two words'";
  order.overwrite = true;
  EXPECT_EQ(
      submitArguments(order, "/tmp/a.glb"),
      (Words{"farm", "submit", "/tmp/a.glb", "--output=/out/shot.tif", "--quiet", "--frames=-2:9:3",
             "--chunk=4", "--size=64x48", "--camera=-side", "--samples=5", "--partition=night", "--memory=2G",
             "--task-time=1:00:00", "--overwrite", "--", "--qos=low", "--comment=two words"}));
}

TEST(FarmOrder, PartsOfAPictureHaveAFrameAndNoChunk) {
  FarmOrder order;
  order.output = "/out/still.exr";
  order.split = FarmSplit::samples;
  order.from = 7, order.to = 9, order.parts = 8, order.chunk = 4;
  order.withoutMissing = true;
  EXPECT_EQ(submitArguments(order, "/a.glb"),
            (Words{"farm", "submit", "/a.glb", "--output=/out/still.exr", "--quiet", "--split-samples=8",
                   "--frame=7", "--without-missing"}));
}

TEST(FarmOrder, TilesAndFramesInParts) {
  FarmOrder order;
  order.output = "/out/a.exr";
  order.from = 7, order.to = 9, order.parts = 8, order.columns = 3, order.rows = 2;
  order.split = FarmSplit::tiles;
  EXPECT_EQ(submitArguments(order, "/a.glb"), (Words{"farm", "submit", "/a.glb", "--output=/out/a.exr",
                                                     "--quiet", "--split-tiles=3x2", "--frame=7"}));
  order.split = FarmSplit::frameSamples;
  EXPECT_EQ(submitArguments(order, "/a.glb"), (Words{"farm", "submit", "/a.glb", "--output=/out/a.exr",
                                                     "--quiet", "--split-samples=8", "--frames=7:9:1"}));
}

TEST(FarmOrder, WordsAreTakenApartAsAShellDoes) {
  EXPECT_EQ(wordsOf("  a 'b c' \"d \\\" e\" f\\ g '' "), (Words{"a", "b c", "d \" e", "f g", ""}));
  EXPECT_EQ(wordsOf(""), Words());
  EXPECT_EQ(wordsOf("a 'b"), std::nullopt);
}

class FarmOrderProblem : public testing::Test {
 protected:
  FarmOrderProblem() : path_(getenv("PATH")) {
    fs::create_directories(folder / "bin");
    for (const char* name : {"sbatch", "squeue", "scancel"}) {
      std::ofstream(folder / "bin" / name) << "#!/bin/sh\n";
      fs::permissions(folder / "bin" / name, fs::perms::owner_all);
    }
    setenv("PATH", (folder / "bin").c_str(), 1);
    order.output = folder / "shot.tif";
    order.to = 9;
  }
  ~FarmOrderProblem() override {
    setenv("PATH", path_.c_str(), 1);
    fs::remove_all(folder);
  }

  fs::path folder = fs::temp_directory_path() / ("farm-order-" + uniqueWord());
  FarmOrder order;

 private:
  std::string path_;
};

TEST_F(FarmOrderProblem, AGoodOrderHasNone) {
  EXPECT_EQ(problemOf(order), "");
}

TEST_F(FarmOrderProblem, EachIsNamed) {
  const auto problem = [this](const std::function<void(FarmOrder&)>& change) {
    FarmOrder changed = order;
    change(changed);
    return problemOf(changed);
  };
  EXPECT_EQ(problem([](FarmOrder& o) { o.output.clear(); }), "Choose a file for the output.");
  EXPECT_EQ(problem([](FarmOrder& o) { o.output = "/no/such/place/a.tif"; }),
            "The folder \"/no/such/place\" does not exist. Make it, or choose another place for the output.");
  EXPECT_EQ(problem([](FarmOrder& o) { o.from = 10; }), "The last frame is before the first. Swap them.");
  EXPECT_EQ(problem([](FarmOrder& o) { o.to = 2'000'000; }),
            "A job has at most a million frames. Submit several jobs.");
  EXPECT_EQ(problem([this](FarmOrder& o) { o.split = FarmSplit::tiles, o.output = folder / "a.mov"; }),
            "One picture cannot be a movie. Let the output end in the suffix of pictures, such as \".exr\".");
  EXPECT_EQ(problem([](FarmOrder& o) { o.split = FarmSplit::samples, o.from = 10; }), "");
  EXPECT_EQ(problem([](FarmOrder& o) { o.split = FarmSplit::frameSamples, o.to = 999, o.parts = 1001; }),
            "A job has at most a million parts. Submit fewer frames or parts.");
  EXPECT_EQ(problem([](FarmOrder& o) { o.others = "\"a"; }),
            "A quotation mark in the further options is not closed. Close it.");
  fs::create_directory(order.folder());
  EXPECT_EQ(problemOf(order), "\"" + order.folder() +
                                  "\" exists already: a job has this output. Retry that job, choose another "
                                  "name, or delete the folder.");
}

TEST_F(FarmOrderProblem, ProgramsOfSlurmThatAreMissingAreNamed) {
  fs::remove(folder / "bin" / "squeue");
  fs::permissions(folder / "bin" / "scancel", fs::perms::owner_read);
  EXPECT_EQ(problemOf(order), "Slurm's programs are not on this machine (squeue, scancel). Install them "
                              "(slurm-client), or submit from a machine that has them.");
}

TEST(FarmAnswers, AStatusBecomesARow) {
  const auto row = farmRowOf(R"({"folder":"/out/a.tif.farm","scene":"/a.glb","output":"/out/a.tif",
    "submitted":"2026-01-02 03:04:05","state":"running","units":10,"done":3,"running":2,"failed":1,
    "slurm_answers":true,"tasks_running":2,"tasks_waiting":4,"waiting_for":["Resources"],"seconds_left":12.5,
    "failures":[{"number":7,"attempts":3,"reason":"a disk is full"}]})");
  ASSERT_TRUE(row);
  EXPECT_EQ(row->folder, "/out/a.tif.farm");
  EXPECT_EQ(row->output, "/out/a.tif");
  EXPECT_EQ(row->state, "running");
  EXPECT_TRUE(row->isLive());
  EXPECT_TRUE(row->slurm);
  EXPECT_EQ((std::vector{row->units, row->done, row->running, row->failed}), (std::vector{10, 3, 2, 1}));
  EXPECT_EQ((std::vector{row->tasksRunning, row->tasksWaiting}), (std::vector{2, 4}));
  EXPECT_EQ(row->secondsLeft, 12.5);
  EXPECT_EQ(row->waiting, Words{"Resources"});
  ASSERT_EQ(row->failures.size(), 1u);
  EXPECT_EQ(row->failures[0].number, 7);
  EXPECT_EQ(row->failures[0].attempts, 3);
  EXPECT_EQ(row->failures[0].reason, "a disk is full");
}

TEST(FarmAnswers, OtherTextsAreNoRows) {
  for (const char* text : {"", "{", "[]", "3", "{}", R"({"folder":"/a"})", R"({"folder":3,"state":4})"})
    EXPECT_FALSE(farmRowOf(text)) << text;
  const auto row = farmRowOf(
      R"({"folder":"/a","state":"done","units":"x","done":1e300,"failures":[3,{}],"waiting_for":{}})");
  ASSERT_TRUE(row);
  EXPECT_EQ(row->units, 0);
  EXPECT_EQ(row->failures.size(), 1u);
}

TEST(FarmAnswers, AListIsReadAndDamagedLinesAreLeftOut) {
  const auto rows = listedRows("41\t2026-01-02\t3 of 10\t/out/a\tb.farm\n"
                               "nonsense\n\n42\tt\tx of 2\t/out/b\n-\tt\t2 of 2, complete\t/out/c.farm\n"
                               "-\t-\tunreadable\t/out/d.farm\n");
  ASSERT_EQ(rows.size(), 3u);
  EXPECT_EQ(rows[0].folder, "/out/a\tb.farm");
  EXPECT_EQ(rows[0].submitted, "2026-01-02");
  EXPECT_EQ((std::vector{rows[0].done, rows[0].units}), (std::vector{3, 10}));
  EXPECT_EQ(rows[1].folder, "/out/c.farm");
  EXPECT_EQ(rows[2].folder, "/out/d.farm");
  EXPECT_EQ(rows[2].units, 0);
}

TEST(FarmAnswers, ErrorsNameTheDialogsFields) {
  EXPECT_EQ(sentenceOf("lumenara: a needs b.png, which cannot be read; put it in its place, or add "
                       "--without-missing"),
            "A needs b.png, which cannot be read; put it in its place, or switch on \"Submit although files "
            "are missing\".");
  EXPECT_EQ(sentenceOf(""), "");
}

} // namespace
