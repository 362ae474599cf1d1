// The model of the farm's windows, with a script in the place of `lumenara`.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "farm_desk.h"
#include "job_folder.h"
#include "scene_file.h"

using namespace host;
using namespace host::farm;

namespace {

namespace fs = std::filesystem;

class FarmDeskTest : public testing::Test {
 protected:
  FarmDeskTest() { fs::create_directories(folder); }
  ~FarmDeskTest() override { fs::remove_all(folder); }

  std::string path(const char* name) const { return (folder / name).string(); }
  /// Notes its arguments, then goes on with these lines.
  void script(const std::string& lines) {
    std::ofstream(path("lumenara")) << "#!/bin/sh\necho \"$@\" >> \"" << path("calls") << "\"\n"
                                    << lines << "\n";
    fs::permissions(path("lumenara"), fs::perms::owner_all);
  }
  std::string calls() const {
    std::ifstream file(path("calls"));
    return {std::istreambuf_iterator<char>(file), {}};
  }
  static std::string answer(const char* state, int done) {
    return R"(echo '{"folder":"/j","output":"/o.tif","state":")" + std::string(state) +
           R"(","units":4,"done":)" + std::to_string(done) + ",\"slurm_answers\":true}'";
  }
  /// A farm with one job.
  void job(const char* state, int done) {
    script("case \"$2\" in list) printf '41\\tnow\\t" + std::to_string(done) + " of 4\\t/j\\n';; status) " +
           answer(state, done) + ";; esac");
  }
  void look() {
    desk.refresh();
    desk.finish();
  }

  fs::path folder = fs::temp_directory_path() / ("farm-desk-" + uniqueWord());
  FarmDesk desk{path("lumenara"), "/home of it"};
};

TEST_F(FarmDeskTest, AJobThatHasEndedIsAskedOnce) {
  job("running", 1);
  look();
  look();
  const std::string list = "farm list --home=/home of it\n",
                    status = "farm status --home=/home of it /j --json\n";
  EXPECT_EQ(calls(), list + status + list + status);
  ASSERT_EQ(desk.rows().size(), 1u);
  EXPECT_EQ(desk.rows()[0].state, "running");
  EXPECT_EQ(desk.rows()[0].done, 1);
  fs::remove(path("calls"));
  job("done", 4);
  look();
  look();
  EXPECT_EQ(calls(), list + status + list);
  EXPECT_EQ(desk.rows().at(0).state, "done");
}

TEST_F(FarmDeskTest, AStateThatCannotBeReadIsSaid) {
  script("case \"$2\" in list) printf '41\\tnow\\t1 of 4\\t/j\\n';; *) echo 'lumenara: job.json is damaged' "
         ">&2; exit 3;; esac");
  look();
  ASSERT_EQ(desk.rows().size(), 1u);
  EXPECT_EQ(desk.rows()[0].folder, "/j");
  EXPECT_EQ(desk.rows()[0].state, "");
  EXPECT_EQ(desk.rows()[0].problem, "Job.json is damaged.");
  script("echo 'lumenara: no home' >&2; exit 3");
  look();
  EXPECT_EQ(desk.problem(), "No home.");
  EXPECT_EQ(desk.rows().size(), 1u) << "the last list stays";
}

TEST_F(FarmDeskTest, TheSceneIsSubmittedAsItIs) {
  script("[ \"$2\" = submit ] && cp \"$4\" \"" + path("got.glb") + "\"; echo 41");
  FarmOrder order;
  order.output = path("shot.tif");
  order.to = 2;
  std::string error = "not called";
  desk.submit(newDocument(), "robot.glb", order, [&error](const std::string& text) { error = text; });
  EXPECT_TRUE(desk.isSubmitting());
  desk.finish();
  EXPECT_FALSE(desk.isSubmitting());
  EXPECT_EQ(error, "");
  const LoadResult got = loadDocument(Filename(String(path("got.glb"))));
  EXPECT_TRUE(got.document) << got.error;
  EXPECT_NE(calls().find("/robot.glb --output=" + path("shot.tif") + " --quiet --frames=0:2:1\n"),
            std::string::npos)
      << calls();
}

TEST_F(FarmDeskTest, ARefusalIsToldAndASubmissionThatHangsIsCancelled) {
  FarmOrder order;
  order.output = path("shot.tif");
  std::string error;
  const auto done = [&error](const std::string& text) { error = text; };
  script("echo 'lumenara: Slurm refused the job: invalid partition' >&2; exit 5");
  desk.submit(newDocument(), "a.glb", order, done);
  desk.finish();
  EXPECT_EQ(error, "Slurm refused the job: invalid partition.");
  script("[ \"$2\" = submit ] && exec sleep 1000");
  desk.submit(newDocument(), "a.glb", order, done);
  desk.cancelSubmission();
  desk.finish();
  EXPECT_TRUE(error.starts_with("Cancelled")) << error;
  EXPECT_FALSE(desk.isSubmitting());
}

TEST_F(FarmDeskTest, CancelAndRetryAskForTheStateAnew) {
  job("stopped", 1);
  look();
  fs::remove(path("calls"));
  std::string error = "not called";
  desk.retry("/j", [&error](const std::string& text) { error = text; });
  desk.finish();
  EXPECT_EQ(error, "");
  EXPECT_EQ(calls(), "farm retry --home=/home of it /j --quiet\nfarm list --home=/home of it\n"
                     "farm status --home=/home of it /j --json\n");
}

} // namespace
