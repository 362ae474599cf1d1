// What Slurm's programs are given and print.
#include <gtest/gtest.h>

#include "command_run.h"
#include "slurm.h"

using namespace host::farm;

namespace {

TEST(SlurmScript, AsksForWhatWasWished) {
  SlurmScript script;
  script.name = "lumenara shot.tif";
  script.folder = "/farm/it's here";
  script.tasks = 25;
  script.log = "/farm/log/1-%a.txt";
  script.arguments = {"/usr/bin/lumenara", "farm", "work", "/farm/it's here"};
  script.wishes.memory = "8G";
  script.wishes.cpus = 4;
  script.wishes.others = {"--qos=low", "--nice\n=3"};
  EXPECT_EQ(textOf(script), "#!/bin/sh\n"
                            "#SBATCH --job-name=\"lumenara shot.tif\"\n"
                            "#SBATCH --array=0-24\n"
                            "#SBATCH --output=\"/farm/log/1-%a.txt\"\n"
                            "#SBATCH --chdir=\"/farm/it's here\"\n"
                            "#SBATCH --ntasks=1\n#SBATCH --requeue\n#SBATCH --open-mode=append\n"
                            "#SBATCH --mem=\"8G\"\n"
                            "#SBATCH --cpus-per-task=4\n"
                            "#SBATCH --qos=low\n#SBATCH --nice =3\n"
                            "exec '/usr/bin/lumenara' 'farm' 'work' '/farm/it'\\''s here'\n");
}

TEST(SlurmText, NumbersOfSubmittedJobs) {
  EXPECT_EQ(submittedJob("17\n"), "17");
  EXPECT_EQ(submittedJob("17;cluster2\n"), "17");
  EXPECT_EQ(submittedJob("sbatch: warning: slow\n18\n"), "18");
  EXPECT_EQ(submittedJob(""), std::nullopt);
  EXPECT_EQ(submittedJob("Submitted\n"), std::nullopt);
}

TEST(SlurmText, IndicesOfTasks) {
  EXPECT_EQ(taskIndices("4"), std::vector<int>{4});
  EXPECT_EQ(taskIndices("[0-3,7%2]"), (std::vector<int>{0, 1, 2, 3, 7}));
  EXPECT_EQ(taskIndices("[0-10:5]"), (std::vector<int>{0, 5, 10}));
  for (const char* other : {"", "[]", "x", "[3-1]", "[1-]", "[0-4:0]", "[0-999999999]", "-1"})
    EXPECT_EQ(taskIndices(other), std::nullopt) << other;
}

TEST(SlurmText, EndedTasksOfTheAccounting) {
  const auto jobs =
      sacctTasks("17_0|COMPLETED|12|\n17_0.batch|COMPLETED|12|2048K\n17_0.extern|COMPLETED|12|9K\n"
                 "17_1|OUT_OF_MEMORY|35|\n17_1.batch|OUT_OF_MEMORY|35|1.5G\n"
                 "17_2|CANCELLED by 0|7|\n17_3|RUNNING|5|\n17_[4-9]|PENDING|0|\n"
                 "18|TIMEOUT|3600|\ngarbage\n|FAILED|1|\n19|\n20.batch|FAILED|1|5K\n");
  ASSERT_TRUE(jobs.contains("17") && jobs.contains("18"));
  const auto& tasks = jobs.at("17");
  ASSERT_EQ(tasks.size(), 3u);
  EXPECT_EQ(tasks[0].memory, 2048u * 1024);
  EXPECT_EQ(tasks[1].memory, 1536u << 20);
  EXPECT_EQ(tasks[1].seconds, 35);
  EXPECT_EQ(whyEnded(tasks[1]), "ran out of memory (--memory)");
  EXPECT_EQ(tasks[2].state, "CANCELLED");
  EXPECT_EQ(tasks[2].index, 2);
  EXPECT_EQ(whyEnded(tasks[0]), "");
  EXPECT_EQ(whyEnded(jobs.at("18")[0]), "reached its time limit (--task-time)");
  EXPECT_EQ(jobs.at("18")[0].index, -1);
  for (const char* memory : {"-5K", "1e99G", "K", "5KK", "nan", "9999999999999999999"})
    EXPECT_EQ(sacctTasks(std::string("1|FAILED|1|") + memory).at("1")[0].memory, 0u) << memory;
}

TEST(SlurmText, TasksOfAQueue) {
  const auto jobs = squeueTasks("17_4|RUNNING|None\n17_[5-6]|PENDING|Resources\n18|PENDING|Dependency\n"
                                "garbage\n|RUNNING|None\n19_x|RUNNING|None\n20_1|\n");
  ASSERT_EQ(jobs.size(), 2u);
  ASSERT_EQ(jobs.at("17").size(), 3u);
  EXPECT_EQ(jobs.at("17")[0].index, 4);
  EXPECT_EQ(jobs.at("17")[0].state, "RUNNING");
  EXPECT_EQ(jobs.at("17")[2].index, 6);
  EXPECT_EQ(jobs.at("17")[2].reason, "Resources");
  EXPECT_EQ(jobs.at("18")[0].index, -1);
}

TEST(FarmCommand, GivesBackWhatAProgramPrinted) {
  const CommandOutput output = runCommand({"sh", "-c", "echo out; echo first >&2; echo last >&2; exit 3"});
  EXPECT_EQ(output.code, 3);
  EXPECT_EQ(output.out, "out\n");
  EXPECT_EQ(output.why(), "last");
  EXPECT_FALSE(output.worked());
  EXPECT_TRUE(runCommand({"true"}).worked());
}

TEST(FarmCommand, SaysWhyAProgramDidNotRun) {
  const CommandOutput absent = runCommand({"/no/such/program"});
  EXPECT_NE(absent.why().find("/no/such/program cannot be started: No such file"), std::string::npos)
      << absent.why();
  EXPECT_EQ(runCommand({"sleep", "1000"}, 60, [] { return true; }).why(), "cancelled");
  EXPECT_NE(runCommand({"sleep", "1000"}, 0).why().find("did not answer"), std::string::npos);
}

TEST(FarmCommand, TheLastLineHasText) {
  EXPECT_EQ(lastLine("a\nb\n\n"), "b");
  EXPECT_EQ(lastLine("a"), "a");
  EXPECT_EQ(lastLine("\n \n"), "");
}

} // namespace
