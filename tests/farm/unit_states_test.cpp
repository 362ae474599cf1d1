// The states of units, told by files.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "job_folder.h"
#include "platform.h"
#include "temporary_folder.h"
#include "unit_states.h"

using namespace host;
using namespace host::farm;

namespace {

std::string nameOf(const Filename& file) {
  return file.GetString().GetUTF8();
}

Claimant claimant(const std::string& word, const std::string& task = {}, int restart = 0) {
  return {word, "otherhost", 1, task, restart};
}

class FarmStates : public testing::Test {
 protected:
  TemporaryFolder folder;
  UnitStates states{nameOf(folder.path())};
};

TEST_F(FarmStates, AUnitBelongsToOneProgram) {
  const Claimant a = claimant("a"), b = claimant("b");
  EXPECT_TRUE(states.claim(7, a));
  EXPECT_FALSE(states.claim(7, b));
  EXPECT_FALSE(states.claim(7, a)) << "also not twice";
  EXPECT_TRUE(states.holds(7, a));
  states.release(7, b);
  EXPECT_TRUE(states.holds(7, a)) << "a claim is given back by its program alone";
  states.release(7, a);
  EXPECT_TRUE(states.claim(7, b));
}

TEST_F(FarmStates, OfManyProgramsOneGetsAUnit) {
  constexpr int programs = 8, units = 50;
  std::atomic<int> claimed{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < programs; ++i)
    threads.emplace_back([&, i] {
      const UnitStates own(nameOf(folder.path()));
      for (int unit = 0; unit < units; ++unit)
        if (own.claim(unit, claimant("w" + std::to_string(i)))) ++claimed;
    });
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(claimed, units);
}

TEST_F(FarmStates, OfManyHeirsOneGetsAnEndedTasksUnit) {
  constexpr int programs = 8, units = 50;
  for (int unit = 0; unit < units; ++unit)
    ASSERT_TRUE(states.claim(unit, claimant("dead", "17_0")));
  std::atomic<int> claimed{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < programs; ++i)
    threads.emplace_back([&, i] {
      const UnitStates own(nameOf(folder.path()));
      for (int unit = 0; unit < units; ++unit)
        if (own.claim(unit, claimant("w" + std::to_string(i), "17_0", 1))) ++claimed;
    });
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(claimed, units);
}

TEST_F(FarmStates, ARestartedTaskTakesItsUnitsBack) {
  ASSERT_TRUE(states.claim(0, claimant("first", "17_4")));
  ASSERT_TRUE(states.claim(1, claimant("first", "17_4")));
  states.begin(0, claimant("first", "17_4"));
  EXPECT_FALSE(states.claim(0, claimant("other", "17_5", 1))) << "another task";
  EXPECT_TRUE(states.claim(0, claimant("second", "17_4", 1)));
  EXPECT_TRUE(states.claim(1, claimant("second", "17_4", 1)));
  EXPECT_EQ(states.failures(0), 1) << "it ended in the middle of this one";
  EXPECT_NE(states.lastReason(0).find("otherhost"), std::string::npos);
  EXPECT_EQ(states.failures(1), 0) << "and had not begun this one";
}

TEST_F(FarmStates, AnEndedProgramOfThisMachineLosesItsClaim) {
  Claimant dead = claimant("dead"), live = claimant("live"), me = claimant("me");
  dead.host = live.host = me.host = "here";
  dead.process = 0x3ffffffe; // above every process number
  ASSERT_TRUE(platform::hasEnded(dead.process));
  live.process = platform::processNumber();
  ASSERT_TRUE(states.claim(0, dead));
  ASSERT_TRUE(states.claim(1, live));
  EXPECT_TRUE(states.claim(0, me));
  EXPECT_FALSE(states.claim(1, me));
}

TEST_F(FarmStates, ADamagedClaimIsNobodysButStays) {
  folder.write("000003.claim", "{\"word\": 7");
  EXPECT_FALSE(states.claim(3, claimant("a")));
  states.breakClaim(3);
  EXPECT_TRUE(states.claim(3, claimant("a")));
}

TEST_F(FarmStates, FailuresAreCountedWithTheirReasons) {
  EXPECT_EQ(states.addFailure(2, "no memory"), 1);
  EXPECT_EQ(states.addFailure(2, "no disk"), 2);
  EXPECT_EQ(states.lastReason(2), "no disk");
  EXPECT_FALSE(states.scan()[2].gaveUp());
  states.addFailure(2, "no light");
  EXPECT_TRUE(states.scan()[2].gaveUp());
  states.clearFailures(2);
  EXPECT_EQ(states.failures(2), 0);
}

TEST_F(FarmStates, OneLookShowsAll) {
  std::string error;
  ASSERT_TRUE(states.setDone(0, {2.5, 1000, "node3"}, error)) << error;
  ASSERT_TRUE(states.claim(1, claimant("a")));
  states.addFailure(4, "x");
  folder.write("notes.txt", "of somebody else");
  const auto all = states.scan();
  ASSERT_EQ(all.size(), 3u);
  EXPECT_TRUE(all.at(0).done);
  EXPECT_TRUE(all.at(1).claimed);
  EXPECT_EQ(all.at(4).failures, 1);
  EXPECT_EQ(states.doneUnit(0).seconds, 2.5);
  EXPECT_EQ(states.doneUnit(0).memory, 1000u);
  EXPECT_EQ(states.doneUnit(0).host, "node3");
  states.clearDone(0);
  EXPECT_FALSE(states.isDone(0));
}

TEST_F(FarmStates, AFolderThatCannotBeWrittenGivesAReason) {
  const UnitStates nowhere(nameOf(folder / "absent"));
  std::string error;
  EXPECT_FALSE(nowhere.setDone(0, {}, error));
  EXPECT_NE(error.find("000000.done cannot be written"), std::string::npos) << error;
  EXPECT_FALSE(nowhere.claim(0, claimant("a")));
}

TEST(FarmFolder, IsMadeOnceAndKeepsSubmissions) {
  const TemporaryFolder place;
  const JobFolder folder(nameOf(place / "a.farm"));
  std::string error;
  ASSERT_TRUE(folder.make(error)) << error;
  EXPECT_FALSE(folder.make(error));
  EXPECT_NE(error.find("is there already"), std::string::npos) << error;
  EXPECT_FALSE(folder.readJob());
  FarmJob job;
  job.id = "a1", job.output = "/out/shot.tif", job.to = 3;
  ASSERT_TRUE(folder.writeJob(job, error)) << error;
  ASSERT_TRUE(folder.readJob());
  EXPECT_EQ(folder.lastSubmission(), 0);
  EXPECT_EQ(folder.addSubmission({{{0}, {1}}, {}, {}, {}}, error), 1);
  EXPECT_EQ(folder.addSubmission({{{2}}, {}, {}, {}}, error), 2);
  EXPECT_EQ(folder.lastSubmission(), 2);
  ASSERT_TRUE(folder.readSubmission(1, job));
  EXPECT_EQ(folder.readSubmission(1, job)->tasks.size(), 2u);
  EXPECT_FALSE(folder.readSubmission(3, job));
  EXPECT_EQ(folder.unitFile(job, 2), "/out/shot0002.tif");
}

TEST(FarmFolder, PublishesWholeFiles) {
  const TemporaryFolder place;
  const std::string from = nameOf(place.write("from", "new")), to = nameOf(place.write("to", "old"));
  std::string error;
  ASSERT_TRUE(publishFile(from, to, error)) << error;
  EXPECT_EQ(place.names(), std::vector<std::string>{"to"});
  EXPECT_EQ(readText(place / "to"), "new");
  EXPECT_FALSE(publishFile(from, to, error));
  EXPECT_NE(error.find("cannot be written"), std::string::npos) << error;
}

} // namespace
