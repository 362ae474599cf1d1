// A shared file system that shows files late.
#include <gtest/gtest.h>

#include "job_folder.h"
#include "patience.h"
#include "temporary_folder.h"

using namespace host::farm;

namespace {

/// A clock of its own that each pause moves by a second.
struct Waiting {
  double time = 0;
  int pauses = 0;
  std::function<void(int)> happens = [](int) {}; // in each pause, counted from 1

  Patience patience(double seconds) {
    Patience made;
    made.seconds = seconds;
    made.now = [this] { return time; };
    made.pause = [this] { ++time, happens(++pauses); };
    return made;
  }
};

TEST(Patience, AJobThatAppearsAfterAWhileIsFound) {
  const TemporaryFolder temporary;
  const JobFolder folder((temporary.path() + "job").GetString().GetUTF8());
  FarmJob job;
  job.id = "a1", job.output = "/shots/shot.tif", job.to = 9;
  std::string error;
  Waiting waiting;
  waiting.happens = [&](int pause) {
    EXPECT_TRUE(pause != 3 || folder.make(error)) << error;
    EXPECT_TRUE(pause != 5 || folder.writeJob(job, error)) << error;
  };
  const auto found = lookPatiently(waiting.patience(60), [&] { return folder.readJob(); });
  ASSERT_TRUE(found);
  EXPECT_EQ(found->unitCount(), 10);
  EXPECT_EQ(waiting.pauses, 5);
}

TEST(Patience, EndsWithItsTimeOrWhenItIsStopped) {
  Waiting waiting;
  const auto nothing = [] { return std::optional<int>(); };
  EXPECT_FALSE(lookPatiently(waiting.patience(60), nothing));
  EXPECT_EQ(waiting.pauses, 61);
  Waiting other;
  Patience patience = other.patience(60);
  patience.stopped = [&] { return other.pauses == 2; };
  EXPECT_FALSE(lookPatiently(patience, nothing));
  EXPECT_EQ(other.pauses, 2);
}

TEST(Patience, AFileThatIsThereIsNotWaitedFor) {
  Waiting waiting;
  EXPECT_EQ(lookPatiently(waiting.patience(0), [] { return std::optional(7); }), 7);
  EXPECT_EQ(waiting.pauses, 0);
}

} // namespace
