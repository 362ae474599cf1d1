// Animation jobs: frames whose render fails.
#include <gtest/gtest.h>

#include "animate_job.h"
#include "failures.h"
#include "thread_fixture.h"

namespace {

class AnimateJob : public ThreadFixture {
 protected:
  void SetUp() override {
    ThreadFixture::SetUp();
    thread.End(TRUE); // the job has a thread of its own
    ASSERT_EQ(bitmap->Init(32, 24, 24), IMAGERESULT_OK);
    document->SetDocumentName("walk.glb");
    out = folder.makeFolder("out");
    host::setClock(nullptr); // the job polls in real time
  }
  void TearDown() override {
    host::setClock(&clock);
    ThreadFixture::TearDown();
  }

  /// A job over frames 0 to `last`, in which the renders of these numbers (from 0) run out of memory.
  batch::AnimationResult runJobs(const char* name, LONG format, LONG last, std::vector<std::size_t> bad) {
    const std::size_t first = probe->renders.size();
    probe->during = [this, first, bad](BaseDocument&, VideoPostStruct& call) {
      const std::size_t number = probe->renders.size() - first - 1;
      if (std::find(bad.begin(), bad.end(), number) != bad.end()) *call.error = RENDERRESULT_OUTOFMEMORY;
    };
    batch::AnimationJob job;
    job.frames = {0, last, 1};
    job.target.file = out + name;
    job.target.format = format;
    batch::Messages messages(true);
    batch::AnimationReport report(false, {});
    return batch::runAnimation(*document, *bitmap, settings, job, {0, last + 1}, messages, report);
  }
  bool isThere(const std::string& name) const { return GeFExist(out + name.c_str()) != 0; }

  Filename out;
};

TEST_F(AnimateJob, AllFramesAreComplete) {
  const batch::AnimationResult job = runJobs("shot.bmp", 6, 4, {});
  EXPECT_TRUE(job.rendered);
  EXPECT_EQ(job.result, RENDERRESULT_OK);
  EXPECT_EQ(job.frame, 4);
  EXPECT_TRUE(job.incomplete.empty() && job.failure.empty() && job.incompleteWhy.empty());
  for (const char* name : {"shot0000.bmp", "shot0002.bmp", "shot0004.bmp"})
    EXPECT_TRUE(isThere(name)) << name;
}

// The last frame's result does not show the failure: the frame is named, its picture deleted, the run ended.
TEST_F(AnimateJob, MemoryThatRunsOutInsideTheRangeEndsIt) {
  const batch::AnimationResult job = runJobs("shot.bmp", 6, 5000, {3});
  ASSERT_EQ(job.incomplete, std::vector<LONG>{3});
  EXPECT_NE(job.incompleteWhy.find("Frame 3 of \"walk.glb\""), std::string::npos) << job.incompleteWhy;
  EXPECT_NE(job.incompleteWhy.find("memory"), std::string::npos) << job.incompleteWhy;
  EXPECT_TRUE(isThere("shot0000.bmp") && isThere("shot0002.bmp"));
  EXPECT_FALSE(isThere("shot0003.bmp"));
  EXPECT_LT(job.frame, 5000);
  EXPECT_FALSE(isThere("shot5000.bmp"));
  EXPECT_TRUE(job.failure.empty()) << job.failure;
}

TEST_F(AnimateJob, EveryFrameThatFailedLosesItsPicture) {
  const batch::AnimationResult job = runJobs("shot.bmp", 6, 2, {0, 1, 2});
  ASSERT_FALSE(job.incomplete.empty());
  EXPECT_EQ(job.incomplete[0], 0);
  for (const char* name : {"shot0000.bmp", "shot0001.bmp", "shot0002.bmp"})
    EXPECT_FALSE(isThere(name)) << name;
}

TEST_F(AnimateJob, TheLastFramesFailureIsNamedToo) {
  const batch::AnimationResult job = runJobs("shot.bmp", 6, 2, {2});
  EXPECT_EQ(job.incomplete, std::vector<LONG>{2});
  EXPECT_EQ(job.result, RENDERRESULT_OUTOFMEMORY);
  EXPECT_TRUE(isThere("shot0001.bmp"));
  EXPECT_FALSE(isThere("shot0002.bmp"));
}

// The thread discards the left eye's result; the record keeps it.
TEST_F(AnimateJob, AnEyeThatFailsIsAFrameThatFails) {
  settings.SetValue(LM_STEREO, 1);
  settings.SetValue(LM_STEREO_SEPARATION, 0.1);
  const batch::AnimationResult job = runJobs("shot.bmp", 6, 2000, {2}); // the left eye of frame 1
  EXPECT_EQ(job.incomplete, std::vector<LONG>{1});
  EXPECT_TRUE(isThere("shot0000.bmp"));
  EXPECT_FALSE(isThere("shot0001.bmp"));
}

TEST_F(AnimateJob, AMovieIsClosedSoonAfterTheFrame) {
  const batch::AnimationResult job = runJobs("film.avi", 5, 5000, {3});
  EXPECT_EQ(job.incomplete, std::vector<LONG>{3});
  EXPECT_TRUE(isThere("film.avi"));
  EXPECT_LT(job.frame, 5000);
  EXPECT_EQ(readText(out + "film.avi").substr(8, 4), "AVI ");
}

TEST_F(AnimateJob, EarlierFailuresAreNotTheJobs) {
  host::recordFailure("walk.glb", "Frame 1 of another job.", 1);
  const batch::AnimationResult job = runJobs("shot.bmp", 6, 2, {});
  EXPECT_TRUE(job.incomplete.empty());
  EXPECT_TRUE(isThere("shot0001.bmp"));
}

} // namespace
