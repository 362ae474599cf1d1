// Preferences: stored values survive, whatever happens to the program, the file or the disk.
#include "preferences.h"

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <csignal>
#include <filesystem>
#include <thread>

#include "c4d_file.h"
#include "c4d_plugin.h"
#include "container_json.h"
#include "file_path.h"
#include "file_size_limit.h"
#include "host_fixture.h"

namespace {

using host::Preferences;
constexpr LONG ID = 1021442;

BaseContainer one(LONG key, LONG value) {
  BaseContainer bc;
  bc.SetLong(key, value);
  return bc;
}

class PreferencesTest : public HostFixture {
 protected:
  Filename file() const { return folder / "preferences.json"; }
  std::unique_ptr<Preferences> open() const { return std::make_unique<Preferences>(file()); }
};

TEST_F(PreferencesTest, NothingStoredIsNull) {
  const auto preferences = open();
  EXPECT_EQ(preferences->get(ID), nullptr);
  EXPECT_TRUE(preferences->flush());
  EXPECT_FALSE(GeFExist(file())) << "nothing to write";
  EXPECT_TRUE(console.empty());
}

TEST_F(PreferencesTest, KeepEveryTypeAndOrder) {
  BaseContainer inner(3), data(77);
  inner.SetFilename(2, "/tmp/\xFF.tif");
  data.SetReal(9, 0.1);
  data.SetReal(1, -0.0);
  data.SetString(5, "gr\xC3\xBC\xFF");
  data.SetVector(4, Vector(1.0 / 3, 1e-310, -1e300));
  data.SetLLong(3, -(1LL << 62));
  data.SetBool(2, TRUE);
  data.SetTime(8, BaseTime(7, 30));
  data.SetContainer(7, inner);
  data.SetMemory(6, "\0\1", 2);
  data.SetMatrix(11, MatrixMove({1, 2, 3}));
  data.SetBaseLink(12, BaseLink::FromIdentity(99));
  ASSERT_TRUE(open()->set(ID, data, true));
  const auto again = open();
  ASSERT_NE(again->get(ID), nullptr);
  data.SetId(0); // the stored one is a container of its own
  EXPECT_EQ(host::containerToJson(*again->get(ID)), host::containerToJson(data));
  EXPECT_TRUE(*again->get(ID) == data);
  EXPECT_TRUE(std::signbit(again->get(ID)->GetReal(1)));
}

TEST_F(PreferencesTest, MergeOrReplace) {
  const auto preferences = open();
  preferences->set(ID, one(1, 10), true);
  preferences->set(ID, one(2, 20), true);
  BaseContainer* stored = preferences->get(ID);
  ASSERT_NE(stored, nullptr);
  EXPECT_EQ(stored->GetCount(), 2);
  preferences->set(ID, one(1, 11), true);
  EXPECT_EQ(preferences->get(ID), stored) << "the pointer stays";
  EXPECT_EQ(stored->GetLong(1), 11);
  EXPECT_EQ(stored->GetIndexId(0), 1) << "replaced in place";
  preferences->set(ID, one(3, 30), false);
  EXPECT_EQ(preferences->get(ID), stored);
  EXPECT_EQ(stored->GetCount(), 1);
  preferences->set(ID, BaseContainer(), false);
  ASSERT_EQ(preferences->get(ID), stored);
  EXPECT_EQ(stored->GetCount(), 0);
  EXPECT_EQ(open()->get(ID)->GetCount(), 0) << "stored, and empty";
}

TEST_F(PreferencesTest, AreOnDiskWhenTheCallReturns) {
  const auto preferences = open();
  ASSERT_TRUE(preferences->set(ID, one(1, 10), true));
  EXPECT_EQ(open()->get(ID)->GetLong(1), 10);
  ASSERT_TRUE(preferences->setNamed("recent files", one(1, 5)));
  EXPECT_EQ(open()->getNamed("recent files")->GetLong(1), 5);
  EXPECT_EQ(open()->getNamed("other"), nullptr);
}

TEST_F(PreferencesTest, NothingChangedNothingWritten) {
  const auto preferences = open();
  preferences->set(ID, one(1, 10), true);
  EXPECT_EQ(preferences->writeCount(), 1);
  EXPECT_TRUE(preferences->set(ID, one(1, 10), true));
  EXPECT_TRUE(preferences->flush());
  EXPECT_EQ(preferences->writeCount(), 1);
  preferences->set(ID, one(1, 11), true);
  EXPECT_EQ(preferences->writeCount(), 2);
  const auto second = open();
  EXPECT_TRUE(second->set(ID, one(1, 11), true));
  EXPECT_EQ(second->writeCount(), 0) << "the disk has it already";
}

TEST_F(PreferencesTest, ChangesInPlaceReachTheDiskWithTheNextWrite) {
  const auto preferences = open();
  preferences->set(ID, one(1, 10), true);
  preferences->get(ID)->SetLong(2, 20);
  preferences->get(ID)->RemoveData(1);
  EXPECT_TRUE(preferences->flush());
  const auto again = open();
  EXPECT_EQ(again->get(ID)->GetCount(), 1);
  EXPECT_EQ(again->get(ID)->GetLong(2), 20);
}

TEST_F(PreferencesTest, TwoProgramsMerge) {
  const auto a = open(), b = open();
  a->set(ID, one(1, 10), true);
  b->set(ID, one(2, 20), true);
  EXPECT_EQ(b->get(ID)->GetLong(1), 10) << "a write reads the changes of other programs";
  a->set(5, one(7, 70), true);
  EXPECT_EQ(a->get(ID)->GetLong(2), 20);
  b->set(ID, one(1, 99), true);
  a->set(ID, one(3, 30), true);
  const auto result = open();
  EXPECT_EQ(result->get(ID)->GetLong(1), 99) << "the last writer of a key counts";
  EXPECT_EQ(result->get(ID)->GetLong(2), 20);
  EXPECT_EQ(result->get(ID)->GetLong(3), 30);
  EXPECT_EQ(result->get(5)->GetLong(7), 70);
  b->set(ID, BaseContainer(), false);
  a->set(ID, one(4, 40), true);
  EXPECT_EQ(open()->get(ID)->GetCount(), 1) << "a reset by one is a reset for all";
}

TEST_F(PreferencesTest, StoringUnchangedEntriesKeepsUnseenChanges) {
  BaseContainer all;
  all.SetLong(1, 10);
  all.SetLong(2, 20);
  open()->set(ID, all, true);
  const auto a = open(), b = open();
  b->set(ID, one(1, 11), true);
  all.SetLong(2, 21);
  a->set(ID, all, true); // 1 is as it was when a began
  EXPECT_EQ(open()->get(ID)->GetLong(1), 11);
  EXPECT_EQ(open()->get(ID)->GetLong(2), 21);
  a->set(ID, one(1, 12), true);
  EXPECT_EQ(open()->get(ID)->GetLong(1), 12) << "a change of its own counts";
  a->set(ID, one(1, 10), true);
  EXPECT_EQ(open()->get(ID)->GetLong(1), 10) << "also back to where it began";

  b->set(ID, one(2, 22), true);
  a->set(5, one(1, 1), true); // a reads the file again
  EXPECT_EQ(a->get(ID)->GetLong(2), 22);
  a->set(ID, one(2, 21), true);
  EXPECT_EQ(open()->get(ID)->GetLong(2), 21) << "a known value may be undone";
}

// Runs `body` in a child process.
template <class Body>
pid_t startChild(const Body& body) {
  const pid_t child = fork();
  if (child == 0) {
    body();
    _exit(0);
  }
  return child;
}

int waitFor(pid_t child) {
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
}

TEST_F(PreferencesTest, ManyProgramsAtOnceLoseNothing) {
  constexpr LONG programs = 4, writes = 25;
  std::vector<pid_t> children;
  for (LONG p = 0; p < programs; ++p)
    children.push_back(startChild([&] {
      Preferences preferences(file());
      for (LONG i = 0; i < writes; ++i)
        if (!preferences.set(ID, one(p * 1000 + i, i), true)) _exit(1);
    }));
  for (const pid_t child : children)
    EXPECT_EQ(waitFor(child), 0);
  const auto result = open();
  EXPECT_EQ(result->get(ID)->GetCount(), programs * writes);
}

TEST_F(PreferencesTest, AKilledProgramLeavesAWholeFile) {
  std::vector<LONG> seen;
  for (int round = 0; round < 12; ++round) {
    const pid_t child = startChild([&] {
      Preferences preferences(file());
      BaseContainer big;
      for (LONG i = 0; i < 200; ++i)
        big.SetString(100 + i, String(50, 'x'));
      for (LONG i = 0;; ++i) {
        big.SetLong(1, i);
        preferences.set(ID, big, true);
      }
    });
    for (int tries = 0; !GeFExist(file()) && tries < 10000; ++tries)
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    std::this_thread::sleep_for(std::chrono::microseconds(1300 * (1 + round * round))); // up to 160 ms
    kill(child, SIGKILL);
    EXPECT_EQ(waitFor(child), 1000 + SIGKILL);
    ASSERT_TRUE(GeFExist(file()));
    const auto result = open();
    ASSERT_NE(result->get(ID), nullptr);
    EXPECT_EQ(result->get(ID)->GetCount(), 201);
    seen.push_back(result->get(ID)->GetLong(1));
  }
  EXPECT_EQ(seen.size(), 12u);
  EXPECT_TRUE(console.empty()) << "never damaged";
  for (const std::string& name : folder.names())
    EXPECT_EQ(name.find(".tmp"), std::string::npos) << name << " is left over";
}

TEST_F(PreferencesTest, OnlyLeftoversOfEndedWritersGo) {
  const pid_t ended = startChild([] {});
  waitFor(ended);
  const std::string own = "preferences.json";
  const auto leftover = [&](const std::string& target, pid_t writer) {
    return folder.write(("." + target + "." + std::to_string(writer) + "-1.tmp").c_str(), "half");
  };
  const Filename gone = leftover(own, ended), running = leftover(own, getpid());
  const Filename other = leftover("preferences.json.bak", ended);
  open();
  EXPECT_FALSE(GeFExist(gone));
  EXPECT_TRUE(GeFExist(running)) << "another program writes there now";
  EXPECT_TRUE(GeFExist(other));
}

TEST_F(PreferencesTest, ADamagedFileIsKeptAside) {
  for (const std::string& text :
       {std::string("garbage"), std::string("{\"format\": \"Lumenara preferences\", \"version\": 1, "),
        std::string("{}"), std::string("[]"), std::string(),
        std::string("{\"format\":\"Lumenara preferences\",\"version\":2}"), std::string(5000, '{')}) {
    folder.write("preferences.json", text);
    console.clear();
    const auto preferences = open();
    EXPECT_EQ(preferences->get(ID), nullptr);
    ASSERT_EQ(console.size(), 1u) << text;
    EXPECT_NE(console[0].find(file().GetString().GetUTF8()), std::string::npos);
    EXPECT_NE(console[0].find(".damaged"), std::string::npos);
    EXPECT_EQ(readText(folder / "preferences.json.damaged"), text);
    EXPECT_FALSE(GeFExist(file()));
    EXPECT_TRUE(preferences->set(ID, one(1, 1), true));
    EXPECT_EQ(open()->get(ID)->GetLong(1), 1);
  }
}

TEST_F(PreferencesTest, DamagedEntriesDoNotThrowAwayTheRest) {
  const std::string head =
      R"({"format": "Lumenara preferences", "version": 1, "plugins/1021442": [[1, "long", 10]])";
  for (const std::string& damage : {
           std::string(R"("plugins/5": [[1, "long", "x"]])"),
           std::string(R"("plugins/5": 7)"),
           std::string(R"("plugins/5": {"id": "x", "entries": []})"),
           std::string(R"("program/layout": null)"),
           std::string(R"("program/recentFiles": [[1, "filename", 3]])"),
           std::string(R"("plugins/5": [[1, "no such type", 1]])"),
           std::string(R"("plugins/5": [[1, "container", [[2, "real", "x"]]]])"),
       }) {
    const std::string text = head + ", " + damage + "}";
    folder.write("preferences.json", text);
    console.clear();
    {
      const auto preferences = open();
      ASSERT_NE(preferences->get(ID), nullptr) << damage;
      EXPECT_EQ(preferences->get(ID)->GetLong(1), 10) << damage;
    }
    ASSERT_EQ(console.size(), 1u) << damage;
    EXPECT_NE(console[0].find("damaged in 1 place."), std::string::npos) << console[0];
    EXPECT_EQ(readText(folder / "preferences.json.damaged"), text);
    console.clear();
    EXPECT_EQ(open()->get(ID)->GetLong(1), 10) << "the file is whole again";
    EXPECT_TRUE(console.empty());
  }
}

TEST_F(PreferencesTest, OfADamagedContainerTheOtherEntriesStay) {
  folder.write("preferences.json",
               R"({"format": "Lumenara preferences", "version": 1, "plugins/1021442":
                  [[1, "long", 10], [2, "long"], 3, [4, "container", [[5, "bool", 1], [6, "long", 60]]]]})");
  const auto preferences = open();
  ASSERT_NE(preferences->get(ID), nullptr);
  EXPECT_EQ(preferences->get(ID)->GetCount(), 2);
  EXPECT_EQ(preferences->get(ID)->GetLong(1), 10);
  EXPECT_EQ(preferences->get(ID)->GetContainer(4).GetLong(6), 60);
  ASSERT_EQ(console.size(), 1u);
  EXPECT_NE(console[0].find("damaged in 3 places."), std::string::npos) << console[0];
}

TEST_F(PreferencesTest, DamageOrLossWhileItRunsCostsNothing) {
  const auto preferences = open();
  preferences->set(ID, one(1, 10), true);
  folder.write("preferences.json", "rubbish");
  EXPECT_TRUE(preferences->set(ID, one(2, 20), true));
  EXPECT_EQ(open()->get(ID)->GetLong(1), 10);
  EXPECT_EQ(open()->get(ID)->GetLong(2), 20);
  GeFKill(file());
  EXPECT_TRUE(preferences->set(ID, one(2, 20), true));
  EXPECT_EQ(open()->get(ID)->GetLong(1), 10);
}

TEST_F(PreferencesTest, AFolderThatIsMissingIsMade) {
  Preferences preferences(folder / "deep/er/preferences.json");
  EXPECT_TRUE(preferences.set(ID, one(1, 1), true));
  EXPECT_TRUE(console.empty());
}

TEST_F(PreferencesTest, AnUnwritableHomeIsOneLineAndLosesNothing) {
  const Filename home = folder.write("home", "a file where the folder should be");
  Preferences preferences(home + "preferences.json");
  EXPECT_FALSE(preferences.set(ID, one(1, 10), true));
  EXPECT_FALSE(preferences.set(ID, one(2, 20), true));
  EXPECT_FALSE(preferences.flush());
  ASSERT_EQ(console.size(), 1u);
  EXPECT_NE(console[0].find("cannot be saved"), std::string::npos);
  ASSERT_NE(preferences.get(ID), nullptr);
  EXPECT_EQ(preferences.get(ID)->GetLong(1), 10);
  EXPECT_EQ(preferences.get(ID)->GetLong(2), 20);
  GeFKill(home);
  EXPECT_TRUE(preferences.flush()) << "when the home is well again, all goes there";
  Preferences again(home + "preferences.json");
  EXPECT_EQ(again.get(ID)->GetLong(1), 10);
  EXPECT_EQ(again.get(ID)->GetLong(2), 20);
}

TEST_F(PreferencesTest, AFileThatCannotBeReadIsNotReplaced) {
  folder.makeFolder("preferences.json");
  const auto preferences = open();
  EXPECT_FALSE(preferences->set(ID, one(1, 10), true));
  EXPECT_EQ(preferences->get(ID)->GetLong(1), 10);
  EXPECT_EQ(console.size(), 1u);
  EXPECT_TRUE(GeFExist(file(), TRUE));
}

TEST_F(PreferencesTest, AFullDiskLeavesTheOldFile) {
  open()->set(ID, one(1, 10), true);
  const std::string before = readText(file());
  const pid_t child = startChild([&] {
    const FileSizeLimit full(2000);
    Preferences preferences(file());
    BaseContainer big;
    big.SetString(2, String(10000, 'x'));
    if (preferences.set(ID, big, true)) _exit(1);
    if (!preferences.get(ID) || preferences.get(ID)->GetString(2).GetLength() != 10000) _exit(2);
    if (preferences.get(ID)->GetLong(1) != 10) _exit(3);
    if (!preferences.set(ID, BaseContainer(), false)) _exit(4); // small again: it fits
  });
  EXPECT_EQ(waitFor(child), 0);
  EXPECT_NE(readText(file()), before) << "the last, small write got through";
  EXPECT_EQ(open()->get(ID)->GetCount(), 0);
}

TEST_F(PreferencesTest, AFullDiskWithoutALaterWriteKeepsTheFile) {
  open()->set(ID, one(1, 10), true);
  const std::string before = readText(file());
  const pid_t child = startChild([&] {
    const FileSizeLimit full(2000);
    BaseContainer big;
    big.SetString(2, String(10000, 'x'));
    Preferences preferences(file());
    if (preferences.set(ID, big, true)) _exit(1);
  });
  EXPECT_EQ(waitFor(child), 0);
  EXPECT_EQ(readText(file()), before);
}

TEST_F(PreferencesTest, TheInterfaceReachesThemThroughTheProgram) {
  EXPECT_FALSE(SetWorldPluginData(ID, one(1, 1))) << "no program, no preferences";
  EXPECT_EQ(GetWorldPluginData(ID), nullptr);
  startHost();
  EXPECT_EQ(GetWorldPluginData(ID), nullptr);
  EXPECT_TRUE(SetWorldPluginData(ID, one(1, 1), TRUE));
  EXPECT_TRUE(SetWorldPluginData(ID, one(2, 2)));
  ASSERT_NE(GetWorldPluginData(ID), nullptr);
  EXPECT_EQ(GetWorldPluginData(ID)->GetCount(), 2);
  startHost();
  ASSERT_NE(GetWorldPluginData(ID), nullptr);
  EXPECT_EQ(GetWorldPluginData(ID)->GetLong(2), 2);
  EXPECT_TRUE(GeFExist(home() + "preferences.json"));
}

} // namespace
