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
  writeFile(fs::path(job) / "job.json", "{\"ki");
  EXPECT_EQ(farm({"list"}).out, "-\t-\tunreadable\t" + job + "\n");
  EXPECT_EQ(nlohmann::json::parse(farm({"list", "--json"}).out)[0]["problem"], "job.json cannot be read");
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

TEST_F(FarmCommand, TilesBecomeThePictureOfOneRender) {
  const std::string still = folder / "still.exr";
  const Arguments look{"--size", "33x21", "--samples", "4", "--quiet", "--layers", "albedo", "--denoise"};
  Arguments line{"submit", scene, "-o", still, "--split-tiles", "6", "--half"};
  line.insert(line.end(), look.begin(), look.end());
  EXPECT_EQ(farm(line).out, "41\n");
  const std::string tiles = still + ".farm";
  for (int task = 5; task >= 0; --task)
    farm({"work", tiles, "--task", std::to_string(task)});
  farm({"finish", tiles});
  Arguments whole{"render",  scene, "-o",    folder / "whole.exr", "--sampling", "even",
                  "--noise", "0",   "--half"};
  whole.insert(whole.end(), look.begin(), look.end());
  ASSERT_EQ(run(whole, folder / "home").code, 0);
  EXPECT_EQ(readPicture(still).pixels, readPicture(folder / "whole.exr").pixels);
  EXPECT_GT(readPicture(still).spread(), 0);
  EXPECT_NE(farm({"status", tiles}).out.find("6 tiles of 6 done"), std::string::npos);
}

TEST_F(FarmCommand, FramesAreSplitAndJoinedWhenTheirPartsAreDone) {
  const std::string shot = folder / "shot.####.png";
  job = folder / "shot.frames.png.farm";
  farm({"submit", scene, "-o", shot, "--frames", "1,4", "--split-samples", "2", "--chunk", "1", "--size",
        "24x16", "--samples", "5", "--exposure", "1", "--quiet"});
  const std::string first = folder / "shot.0001.png", second = folder / "shot.0004.png";
  farm({"work", job, "--task", "0"});
  EXPECT_FALSE(fs::exists(first)) << "one part is missing";
  farm({"work", job, "--task", "1"});
  EXPECT_TRUE(fs::exists(first)) << "the task of the last part joins the frame";
  farm({"finish", job}, 5);
  for (const char* task : {"2", "3"})
    farm({"work", job, "--task", task});
  farm({"finish", job});
  EXPECT_EQ(fs::exists(fs::path(job) / "units/frame000001-part0001.exr"), false) << "films are removed";
  for (const char* part : {"1", "2"})
    ASSERT_EQ(run({"render", scene, "-o", folder / (std::string(part) + ".exr"), "--frame", "4", "--part",
                   std::string(part) + "/2", "--size", "24x16", "--samples", "5", "--quiet"},
                  folder / "home")
                  .code,
              0);
  ASSERT_EQ(run({"merge", folder / "1.exr", folder / "2.exr", "-o", folder / "4.png", "--scene", scene,
                 "--exposure", "1", "--quiet"},
                folder / "home")
                .code,
            0);
  EXPECT_EQ(readPicture(second).pixels, readPicture(folder / "4.png").pixels);
  ASSERT_EQ(run({"render", scene, "-o", folder / "whole.png", "--frame", "4", "--size", "24x16", "--samples",
                 "5", "--sampling", "even", "--noise", "0", "--exposure", "1", "--quiet"},
                folder / "home")
                .code,
            0);
  const Picture split = readPicture(second), whole = readPicture(folder / "whole.png");
  for (std::size_t i = 0; i < whole.pixels.size(); ++i)
    ASSERT_NEAR(split.pixels[i], whole.pixels[i], 1.5f / 255) << i;
  EXPECT_GT(whole.spread(), 0);
  // A lost picture is rendered again, and nothing else.
  fs::remove(second);
  farm({"retry", job});
  const auto time = fs::last_write_time(first);
  for (const char* task : {"0", "1"})
    farm({"work", job, "--task", task});
  farm({"work", job, "--task", "2"}, 2);
  farm({"finish", job});
  EXPECT_EQ(readPicture(second).pixels, split.pixels);
  EXPECT_EQ(fs::last_write_time(first), time);
}

TEST_F(FarmCommand, AMovieOfSplitFrames) {
  const std::string movie = folder / "film.avi";
  farm({"submit", scene, "-o", movie, "--frames", "0:2", "--split-samples", "2", "--size", "16x16",
        "--samples", "2", "--quality", "90", "--quiet"});
  for (int task = 0; task < 6; ++task)
    farm({"work", movie + ".farm", "--task", std::to_string(task)});
  farm({"finish", movie + ".farm"});
  EXPECT_GT(fs::file_size(movie), 1000u);
}

TEST_F(FarmCommand, ListsAndExrOptions) {
  const std::string shot = folder / "s.##.exr";
  job = folder / "s.frames.exr.farm";
  farm({"submit", scene, "-o", shot, "--frames", "7,1:3:2", "--layers", "depth", "--half", "--size", "16x12",
        "--samples", "1", "--chunk", "2", "--quiet"});
  for (const char* task : {"0", "1"})
    farm({"work", job, "--task", task});
  farm({"finish", job});
  for (const char* frame : {"01", "03", "07"})
    EXPECT_EQ(readPicture(folder / ("s." + std::string(frame) + ".exr")).width, 16) << frame;
  EXPECT_NE(farm({"log", "--frame", "2", job}, 2).err.find("does not belong"), std::string::npos);
}

// A full disk: a picture is whole or absent, and a later task renders it.
TEST_F(FarmCommand, AFullDiskFailsFramesWithTheirReason) {
  farm({"submit", scene, "-o", folder / "shot.bmp", "--frames", "0:1", "--chunk", "2", "--size", "160x120",
        "--samples", "1", "--quiet"});
  Limits small;
  small.fileSize = 16 << 10; // a picture has 57 KB
  const Outcome outcome = run({"farm", "work", job, "--task", "0"}, folder / "home", small);
  EXPECT_EQ(outcome.code, 5) << outcome.err;
  EXPECT_NE(outcome.err.find("frame 0 is not done"), std::string::npos) << outcome.err;
  EXPECT_FALSE(fs::exists(folder / "shot0000.bmp"));
  const auto failed = nlohmann::json::parse(farm({"status", "--json"}, 5).out);
  EXPECT_EQ(failed["failed"], 2);
  EXPECT_EQ(failed["done"], 0);
  EXPECT_NE(failed["failures"][0]["reason"].get<std::string>().find("shot0000.bmp"), std::string::npos)
      << failed.dump();
  for (const auto& entry : fs::recursive_directory_iterator(folder.path()))
    EXPECT_EQ(entry.path().string().find(".tmp"), std::string::npos) << entry.path();
  farm({"retry"});
  farm({"work", job, "--task", "0"});
  farm({"finish", job});
  EXPECT_EQ(readPicture(folder / "shot0001.bmp").width, 160);
}

TEST_F(FarmCommand, TheAccountingSaysWhyTasksEnded) {
  submit({"--frames", "0:3", "--chunk", "2"});
  farm({"work", job, "--task", "1"});
  script("sacct",
         "echo '41_0|OUT_OF_MEMORY|75|'; echo '41_0.batch|OUT_OF_MEMORY|75|3G'; echo '41_1|COMPLETED|2|'");
  const auto state = status();
  EXPECT_EQ(state["accounting_answers"], true);
  ASSERT_EQ(state["ended"].size(), 2u) << state.dump();
  EXPECT_EQ(state["ended"][1]["number"], 1);
  EXPECT_EQ(state["ended"][1]["reason"], "ran out of memory (--memory)");
  EXPECT_EQ(state["ended"][1]["seconds"], 75);
  EXPECT_EQ(state["memory_bytes"], std::uint64_t{3} << 30);
  const std::string text = farm({"status"}).out;
  EXPECT_NE(text.find("frame 0: its task 41_0 ran out of memory (--memory) after"), std::string::npos)
      << text;
  script("sacct", "echo 'Slurm accounting storage is disabled' >&2; exit 1");
  EXPECT_EQ(status()["accounting_answers"], false);
  EXPECT_EQ(status()["done"], 2);
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
  refused({"--frames", "0:1", "--split-samples", "2", "--stamps"}, 2, "--stamps has no effect");
  refused({"--split-samples", "4", "--half"}, 2, "--half has no effect");
  refused({"--split-samples", "4", "--resumable"}, 2, "--resumable has no effect");
  refused({"--split-tiles", "0"}, 2, "out of range");
  refused({"--split-tiles", "4x"}, 2, "is not a grid");
  refused({"--split-tiles", "4", "--split-samples", "4"}, 2, "--split-tiles");
  refused({"--split-tiles", "4", "--frames", "0:1"}, 2, "--split-tiles");
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
