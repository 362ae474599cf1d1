// `lumenara farm` without Slurm: what is checked and shown before anything is handed over, and a task by
// hand.
#include <gtest/gtest.h>

#include <stdlib.h>

#include <filesystem>

#include <nlohmann/json.hpp>

#include "program_run.h"
#include "tiny_scene.h"

namespace batchtest {
namespace {

namespace fs = std::filesystem;

class FarmCommand : public testing::Test {
 protected:
  // A programs' folder with a Slurm that takes every job and has none running.
  FarmCommand() {
    fs::create_directory(folder / "bin");
    script("sbatch", "echo \"$@\" >> " + (folder / "sbatch.log") + "; echo 41");
    script("squeue", "exit 0");
    path_ = getenv("PATH");
    setenv("PATH", ((folder / "bin") + ":" + path_).c_str(), 1);
  }
  ~FarmCommand() override { setenv("PATH", path_.c_str(), 1); }
  void script(const std::string& name, const std::string& text) {
    writeFile(folder / ("bin/" + name), "#!/bin/sh\n" + text + "\n");
    fs::permissions(folder / ("bin/" + name), fs::perms::owner_all);
  }
  Outcome farm(const Arguments& more, int code = 0) {
    Arguments arguments{"farm"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    Outcome outcome = run(arguments, folder / "home");
    EXPECT_EQ(outcome.code, code) << outcome.out << outcome.err;
    return outcome;
  }
  Outcome submit(const Arguments& more, int code = 0) {
    Arguments arguments{"submit",    scene, "-o",     folder / "shot.bmp", "--size", "16x12",
                        "--samples", "1",   "--quiet"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return farm(arguments, code);
  }
  nlohmann::json status() { return nlohmann::json::parse(farm({"status", "--json"}).out); }

  TempFolder folder;
  std::string job = folder / "shot.bmp.farm";
  std::string scene = writeTinyScene(folder.path(), {false, true});

 private:
  std::string path_;
};

TEST_F(FarmCommand, ADryRunShowsTheScriptsAndLeavesNothing) {
  const Outcome shown = submit({"--frames", "0:9", "--chunk", "4", "--partition", "night", "--memory", "2G",
                                "--task-time", "1:00:00", "--threads", "3", "--dry-run", "--", "--qos=low"});
  for (const char* line :
       {"#SBATCH --array=0-2", "#SBATCH --partition=\"night\"", "#SBATCH --mem=\"2G\"",
        "#SBATCH --time=\"1:00:00\"", "#SBATCH --cpus-per-task=3", "#SBATCH --qos=low", "'work'", "'finish'"})
    EXPECT_NE(shown.out.find(line), std::string::npos) << line << "\n" << shown.out;
  EXPECT_FALSE(fs::exists(job));
  EXPECT_FALSE(fs::exists(folder / "sbatch.log"));
}

TEST_F(FarmCommand, TasksByHandRenderTheFrames) {
  EXPECT_EQ(submit({"--frames", "0:4", "--chunk", "3"}).out, "41\n");
  EXPECT_EQ(lineCount(readFile(folder / "sbatch.log")), 2) << "the tasks, and the job that joins them";
  EXPECT_EQ(status()["state"], "stopped");
  fs::remove(folder / "tiny.bin"); // the job has all that it needs
  farm({"work", job, "--task", "0"});
  EXPECT_EQ(status()["done"], 3);
  farm({"finish", job}, 5);
  // As another scheduler's script does it.
  setenv("SLURM_ARRAY_TASK_ID", "1", 1);
  farm({"work", job});
  unsetenv("SLURM_ARRAY_TASK_ID");
  farm({"work", job, "--task", "1"}); // nothing is left to do
  farm({"finish", job});
  EXPECT_EQ(status()["state"], "done");
  for (int frame = 0; frame < 5; ++frame)
    EXPECT_EQ(readPicture(folder / ("shot000" + std::to_string(frame) + ".bmp")).width, 16) << frame;
  EXPECT_NE(farm({"list"}).out.find("5 of 5, complete"), std::string::npos);
  const auto listed = nlohmann::json::parse(farm({"list", "--json"}).out);
  ASSERT_EQ(listed.size(), 1u);
  EXPECT_EQ(listed[0]["done"], 5);
  EXPECT_EQ(listed[0]["complete"], true);
}

TEST_F(FarmCommand, ADamagedPictureIsFoundAndRenderedAgain) {
  submit({"--frames", "0:1"});
  farm({"work", job, "--task", "0"});
  farm({"work", job, "--task", "1"});
  const std::string bytes = readFile(folder / "shot0001.bmp");
  writeFile(folder / "shot0001.bmp", bytes.substr(0, bytes.size() / 2));
  EXPECT_NE(farm({"finish", job}, 5).err.find("shot0001.bmp is missing or damaged"), std::string::npos);
  EXPECT_EQ(status()["done"], 1);
  farm({"retry"});
  farm({"work", job, "--task", "0"});
  EXPECT_EQ(readFile(folder / "shot0001.bmp"), bytes);
  farm({"finish", job});
}

TEST_F(FarmCommand, AnotherSchedulerGetsAPreparedJob) {
  EXPECT_EQ(submit({"--frames", "0:1", "--chunk", "2", "--prepare"}).out, job + "\n");
  EXPECT_FALSE(fs::exists(folder / "sbatch.log"));
  farm({"work", job, "--task", "0"});
  farm({"finish", job});
  EXPECT_EQ(status()["state"], "done");
  farm({"work", job, "--task", "1"}, 2);
}

TEST_F(FarmCommand, RefusesInOneLine) {
  const auto refused = [&](const Arguments& more, int code, const std::string& part) {
    const Outcome outcome = submit(more, code);
    EXPECT_EQ(lineCount(outcome.err), 1) << outcome.err;
    EXPECT_NE(outcome.err.find(part), std::string::npos) << outcome.err;
    EXPECT_FALSE(fs::exists(job));
  };
  refused({}, 2, "nothing to split");
  refused({"--frames", "0:4", "--camera", "Absent"}, 2, "Absent");
  refused({"--frames", "4:0"}, 2, "backwards");
  refused({"--frames", "0:4", "--set", "LM_NOTHING=1"}, 2, "LM_NOTHING");
  refused({"--split-samples", "4"}, 2, "parts of samples become an exr");
  TinyScene incomplete;
  incomplete.missingPicture = true;
  scene = writeTinyScene(folder.path(), incomplete);
  refused({"--frames", "0:4"}, 3, "cannot be read");
}

TEST_F(FarmCommand, SlurmsRefusalIsPassedOn) {
  script("sbatch", "echo 'sbatch: error: invalid partition specified: night' >&2; exit 1");
  const Outcome outcome = submit({"--frames", "0:4", "--partition", "night"}, 5);
  EXPECT_NE(outcome.err.find("Slurm refused the job: sbatch: error: invalid partition"), std::string::npos);
  // The folder is there: once Slurm takes jobs, a retry is enough.
  script("sbatch", "echo 42");
  EXPECT_EQ(farm({"retry", job}).out, "42\n");
  EXPECT_EQ(submit({"--frames", "0:4"}, 4).out, "");
}

TEST_F(FarmCommand, UnknownJobsAreNamed) {
  EXPECT_NE(farm({"status"}, 2).err.find("no job was submitted"), std::string::npos);
  EXPECT_NE(farm({"status", "77"}, 2).err.find("77 is no job"), std::string::npos);
  writeFile(folder / "job.json", "{}");
  EXPECT_NE(farm({"status", folder.path().string()}, 3).err.find("cannot be read"), std::string::npos);
}

} // namespace
} // namespace batchtest
