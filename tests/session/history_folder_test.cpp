// The history on disk: contents once, damage, full disks, kills.
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <random>
#include <system_error>

#include "history_kit.h"

namespace {

using namespace host;

constexpr std::uint64_t plenty = std::uint64_t{1} << 40;

HistoryEntry entryOf(std::uint64_t id) {
  HistoryEntry entry;
  entry.id = id;
  entry.name = "render " + std::to_string(id);
  return entry;
}

class HistoryFolderTest : public SessionFixture {
 protected:
  HistoryFolderTest() { openScene(); }

  Filename place() const { return folder / "renders"; }
  KeptScenePtr scene() { return keepScene(state(), nullptr); }
  HistoryFolder::Content content(float first = 0, bool withScene = true) {
    return {smallFilm(6, 4, first), nullptr, withScene ? scene() : nullptr, {}};
  }
  /// Keeps an entry and gives it as it is on disk.
  HistoryEntry keep(HistoryFolder& store, std::uint64_t id, float first = 0) {
    const auto kept = store.keep(entryOf(id), content(first), dropped, &error);
    EXPECT_TRUE(kept) << error;
    return kept.value_or(HistoryEntry());
  }

  std::vector<std::uint64_t> dropped;
  std::string error;
};

TEST_F(HistoryFolderTest, FilmAndSceneComeBackAfterARestart) {
  {
    HistoryFolder store(place(), plenty);
    EXPECT_TRUE(store.open().empty());
    EXPECT_TRUE(filesBelow(place()).empty()) << "nothing is made before there is something to keep";
    keep(store, 5);
    keep(store, 3, 1);
  }
  HistoryFolder store(place(), plenty);
  const auto entries = store.open();
  ASSERT_EQ(entries.size(), 2u);
  EXPECT_EQ(entries[0]->id, 3u) << "oldest first";
  EXPECT_EQ(entries[1]->name, "render 5");
  const auto film = store.readFilm(*entries[1]);
  ASSERT_TRUE(film);
  expectSameFilm(*smallFilm(), *film);
  const KeptScenePtr kept = store.readScene(*entries[1]);
  ASSERT_TRUE(kept);
  std::string difference;
  EXPECT_TRUE(documentsEqual(*documentOf(*scene()), *documentOf(*kept), &difference)) << difference;
}

TEST_F(HistoryFolderTest, EqualContentIsKeptOnce) {
  HistoryFolder store(place(), plenty);
  keep(store, 1);
  const std::uint64_t one = store.bytes();
  keep(store, 2);
  EXPECT_EQ(store.bytes(), one);
  object("lamp")->local.off.x = 2;
  keep(store, 3);
  EXPECT_GT(store.bytes(), one);
  store.remove(1);
  store.remove(2);
  store.remove(3);
  EXPECT_EQ(store.bytes(), 0u);
  EXPECT_EQ(filesBelow(place()).size(), 1u) << "the lock";
}

// Kept 50 times with one moved object, a scene may cost 1.1 times its size: a fiftieth of a tenth for each.
TEST_F(HistoryFolderTest, AMovedObjectCostsLittle) {
  std::mt19937 random(1);
  auto mesh = std::make_shared<Mesh>();
  mesh->positions.resize(400'000);
  for (Float3& position : mesh->positions)
    for (float& value : position)
      value = static_cast<float>(random() % 100'000) / 7;
  mesh->triangles = {{0, 1, 2}};
  mesh->groups = {{0, 1}};
  object("body")->mesh = mesh;
  HistoryFolder store(place(), plenty);
  const auto keepScene = [&](std::uint64_t id) {
    HistoryFolder::Content all = content();
    all.film = smallFilm(1, 1);
    EXPECT_TRUE(store.keep(entryOf(id), all, dropped, &error)) << error;
    return static_cast<double>(bytesBelow(place()));
  };
  const double once = keepScene(1);
  ASSERT_GT(once, 4.8e6);
  double all = once;
  for (std::uint64_t i = 2; i <= 5; ++i) {
    object("arm")->local.off = {static_cast<Real>(i) / 3, 0, 5};
    const double more = keepScene(i) - all;
    EXPECT_LT(more, once * 0.1 / 50);
    all += more;
  }
}

TEST_F(HistoryFolderTest, DamagedContentIsNoContentAndIsMended) {
  HistoryFolder store(place(), plenty);
  const HistoryEntry entry = keep(store, 1);
  const std::vector<std::string> names = [&] {
    std::vector<std::string> list;
    for (const auto& [name, size] : filesBelow(place() + Filename("content")))
      list.push_back(name);
    return list;
  }();
  ASSERT_GE(names.size(), 3u); // film, the scene's text, its data, the list of that
  for (const std::string& name : names) {
    const std::string path = ((place() + Filename("content")).GetString().GetUTF8()) + "/" + name;
    const auto size = std::filesystem::file_size(path);
    {
      std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
      file.seekp(static_cast<std::streamoff>(size / 2));
      file.put('#');
    }
    EXPECT_FALSE(store.readFilm(entry) && store.readScene(entry)) << name;
    keep(store, 2);
    EXPECT_TRUE(store.readFilm(entry) && store.readScene(entry)) << name << " was written again";
    std::filesystem::resize_file(path, size - 1);
    EXPECT_FALSE(store.readFilm(entry) && store.readScene(entry)) << name;
    keep(store, 2);
    std::filesystem::remove(path);
    EXPECT_FALSE(store.readFilm(entry) && store.readScene(entry)) << name;
    keep(store, 2);
    EXPECT_TRUE(store.readFilm(entry) && store.readScene(entry)) << name;
  }
}

TEST_F(HistoryFolderTest, DamagedEntriesAndWhatNobodyNamesGoAtTheNextStart) {
  {
    HistoryFolder store(place(), plenty);
    keep(store, 1);
    keep(store, 2, 9);
  }
  const std::string entries = (place() + Filename("entries")).GetString().GetUTF8();
  std::ofstream(entries + "/2.txt") << "cut";
  std::ofstream(entries + "/.3.txt.999999-1.tmp") << "half";
  std::filesystem::copy_file(entries + "/1.txt", entries + "/77.txt"); // another entry's text
  const std::string content = (place() + Filename("content")).GetString().GetUTF8();
  const std::string part = content + "/ab";
  std::filesystem::create_directories(part);
  std::ofstream(part + "/" + std::string(62, 'c')) << "of a program that was killed";
  std::ofstream(part + "/.x.999999-1.tmp") << "half";
  HistoryFolder store(place(), plenty);
  const auto all = store.open();
  ASSERT_EQ(all.size(), 1u);
  EXPECT_EQ(all[0]->id, 1u);
  for (const auto& [name, size] : filesBelow(place()))
    EXPECT_TRUE(name == "entries/1.txt" || name == "lock" || name.starts_with("content/")) << name;
  EXPECT_EQ(store.bytes(), bytesBelow(place() + Filename("content")));
  EXPECT_TRUE(store.readFilm(*all[0]));
  EXPECT_TRUE(store.readScene(*all[0]));
}

TEST_F(HistoryFolderTest, TheBudgetDropsTheOldestButNoStars) {
  HistoryFolder probe(folder / "probe", plenty);
  keep(probe, 1);
  keep(probe, 2, 50);
  HistoryFolder store(place(), probe.bytes() + 100); // room for two films
  HistoryEntry starred = keep(store, 1);
  starred.starred = true;
  ASSERT_TRUE(store.update(starred, &error));
  keep(store, 2, 50);
  EXPECT_TRUE(dropped.empty());
  keep(store, 3, 100);
  EXPECT_EQ(dropped, std::vector<std::uint64_t>{2});
  keep(store, 4, 150);
  EXPECT_EQ(dropped, (std::vector<std::uint64_t>{2, 3}));
  HistoryFolder again(place(), plenty);
  const auto entries = again.open();
  ASSERT_EQ(entries.size(), 2u);
  EXPECT_TRUE(entries[0]->starred);
  EXPECT_EQ(entries[1]->id, 4u);
  EXPECT_TRUE(again.readFilm(*entries[0]));
}

// A disk with room for so many bytes.
BlobStore::WriteFile smallDisk(const Filename& place, std::uintmax_t room) {
  return [=](const Filename& file, std::span<const std::byte> bytes, std::string* error) {
    if (bytesBelow(place) + bytes.size() > room) {
      *error = std::make_error_code(std::errc::no_space_on_device).message();
      return false;
    }
    return replaceFile(file, bytes, error);
  };
}

TEST_F(HistoryFolderTest, AFullDiskDropsTheOldest) {
  HistoryFolder probe(folder / "probe", plenty);
  keep(probe, 1);
  keep(probe, 2, 50);
  const std::uintmax_t room = bytesBelow(folder / "probe") + 50;
  HistoryFolder store(place(), plenty, smallDisk(place(), room));
  keep(store, 1);
  keep(store, 2, 50);
  EXPECT_TRUE(dropped.empty());
  const HistoryEntry third = keep(store, 3, 100);
  EXPECT_EQ(dropped, std::vector<std::uint64_t>{1});
  EXPECT_TRUE(store.readFilm(third));
  EXPECT_TRUE(store.readScene(third)) << "what the dropped entry shared was written again";
}

TEST_F(HistoryFolderTest, ADiskWithoutAnyRoomLeavesNothing) {
  HistoryFolder store(place(), plenty, smallDisk(place(), 500));
  EXPECT_FALSE(store.keep(entryOf(1), content(), dropped, &error));
  EXPECT_EQ(error, "No space left on device");
  EXPECT_EQ(filesBelow(place()).size(), 1u) << "the lock";
}

TEST_F(HistoryFolderTest, AnotherFailureDropsNothing) {
  bool broken = false;
  HistoryFolder store(place(), plenty,
                      [&](const Filename& file, std::span<const std::byte> bytes, std::string* why) {
                        if (broken) *why = "Input/output error";
                        return !broken && replaceFile(file, bytes, why);
                      });
  keep(store, 1);
  broken = true;
  EXPECT_FALSE(store.keep(entryOf(2), content(7), dropped, &error));
  EXPECT_TRUE(dropped.empty());
}

TEST_F(HistoryFolderTest, TwoProgramsShareTheFolder) {
  HistoryFolder first(place(), plenty), second(place(), plenty);
  first.open();
  second.open();
  const HistoryEntry one = keep(first, 1);
  const HistoryEntry two = keep(second, 2, 50);
  first.remove(1);
  EXPECT_TRUE(second.readFilm(two));
  EXPECT_TRUE(second.readScene(two)) << "the scene that both share";
  EXPECT_FALSE(second.readFilm(one));
}

// Killed at any moment: whole entries, and those that were finished are all there.
TEST_F(HistoryFolderTest, KillsLeaveWholeEntries) {
  const KeptScenePtr kept = scene();
  std::uint64_t last = 0;
  for (int round = 0; round < 8; ++round) {
    int pipes[2];
    ASSERT_EQ(pipe(pipes), 0);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      close(pipes[0]);
      HistoryFolder store(place(), plenty);
      store.open();
      for (std::uint64_t id = last + 1;; ++id) {
        std::vector<std::uint64_t> gone;
        std::string why;
        const HistoryFolder::Content all{smallFilm(6, 4, static_cast<float>(id)), nullptr, kept, {}};
        if (!store.keep(entryOf(id), all, gone, &why)) _exit(1);
        if (write(pipes[1], &id, sizeof id) != sizeof id) _exit(2);
      }
    }
    close(pipes[1]);
    std::uint64_t done = 0;
    ASSERT_EQ(read(pipes[0], &done, sizeof done), static_cast<ssize_t>(sizeof done));
    usleep(static_cast<useconds_t>(round * 97 % 3000));
    kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    ASSERT_TRUE(WIFSIGNALED(status)) << WEXITSTATUS(status);
    for (std::uint64_t more = 0; read(pipes[0], &more, sizeof more) == static_cast<ssize_t>(sizeof more);)
      done = more;
    close(pipes[0]);
    HistoryFolder store(place(), plenty);
    const auto entries = store.open();
    ASSERT_GE(entries.size(), done) << "round " << round;
    ASSERT_LE(entries.size(), done + 1);
    for (const HistoryEntryPtr& entry : entries)
      ASSERT_TRUE(store.readFilm(*entry) && store.readScene(*entry)) << "round " << round;
    ASSERT_EQ(bytesBelow(place() + Filename("content")), store.bytes()) << "no leftovers";
    last = entries.size();
  }
}

} // namespace
