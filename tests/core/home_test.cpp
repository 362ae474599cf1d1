// The home: code and settings of other users are never used.
#include "home.h"

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <optional>
#include <vector>

#include "c4d_file.h"
#include "host_fixture.h"
#include "platform.h"

namespace {

constexpr uid_t someoneElse = 65534;

const char* path(const Filename& file) {
  return file.GetString().GetUTF8().c_str();
}

mode_t modeOf(const Filename& file) {
  struct stat info = {};
  return stat(path(file), &info) == 0 ? info.st_mode & 07777 : 0;
}

// Environment variables for the duration of a test.
class Environment {
 public:
  void set(const char* name, const char* value) {
    const char* before = std::getenv(name);
    before_.try_emplace(name, before ? std::optional<std::string>(before) : std::nullopt);
    value ? setenv(name, value, 1) : unsetenv(name);
  }
  ~Environment() {
    for (const auto& [name, value] : before_)
      value ? setenv(name.c_str(), value->c_str(), 1) : unsetenv(name.c_str());
  }

 private:
  std::map<std::string, std::optional<std::string>> before_;
};

class HomeTest : public HostFixture {
 protected:
  HomeTest() { environment.set("LUMENARA_HOME", nullptr); }

  void expectTemporary(const char* about) {
    ASSERT_EQ(console.size(), 1U) << about;
    EXPECT_NE(console[0].find(about), std::string::npos) << console[0];
    EXPECT_FALSE(program().homeIsKept());
    const Filename used = program().writePath();
    EXPECT_EQ(modeOf(used), 0700U);
    EXPECT_FALSE(used == home());
    EXPECT_TRUE(SetWorldPluginData(1021442, BaseContainer(), TRUE)) << "settings work in this run";
    stopHost();
    EXPECT_FALSE(GeFExist(used, TRUE)) << "it goes with the program";
    console.clear();
  }

  Environment environment;
};

TEST_F(HomeTest, isMadeForItsUserAlone) {
  options.home = folder / "deep/er";
  startHost();
  EXPECT_TRUE(console.empty());
  EXPECT_TRUE(program().homeIsKept());
  EXPECT_EQ(program().writePath(), folder / "deep/er");
  EXPECT_EQ(modeOf(folder / "deep/er"), 0700U);
  stopHost();
  EXPECT_TRUE(GeFExist(folder / "deep/er", TRUE));
}

TEST_F(HomeTest, withoutOneThereIsAPrivateTemporaryFolder) {
  environment.set("TMPDIR", path(folder.makeFolder("shared")));
  environment.set("HOME", nullptr);
  environment.set("XDG_DATA_HOME", nullptr);
  folder.write("shared/Lumenara Studio/plugins/theirs/theirs.so", "the code of another user");
  options.home = Filename();
  options.loadModules = true;
  startHost();
  EXPECT_EQ(program().writePath().GetDirectory(), folder / "shared");
  EXPECT_FALSE(program().writePath() == folder / "shared/Lumenara Studio");
  expectTemporary("HOME is not set");
  environment.set("HOME", "");
  startHost();
  expectTemporary("HOME is not set");
  environment.set("TMPDIR", path(folder / "not there"));
  startHost();
  EXPECT_EQ(program().writePath(), "/dev/null/lumenara");
}

// A process that has a temporary home from `start` to `end`.
class HomeOwner {
 public:
  void start() {
    int ready[2] = {-1, -1};
    ASSERT_EQ(pipe(ready), 0);
    process_ = fork();
    if (process_ == 0) {
      const host::Home home{Filename()};
      const bool told = write(ready[1], "r", 1) == 1;
      while (told)
        pause();
      _exit(1);
    }
    close(ready[1]);
    char byte = 0;
    EXPECT_EQ(read(ready[0], &byte, 1), 1);
    close(ready[0]);
  }
  void end() {
    if (process_ <= 0) return;
    ::kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
    process_ = 0;
  }
  ~HomeOwner() { end(); }

 private:
  pid_t process_ = 0;
};

TEST_F(HomeTest, theTemporaryOneOfAKilledProgramGoesWithTheNextStart) {
  const Filename shared = folder.makeFolder("shared");
  environment.set("TMPDIR", path(shared));
  environment.set("HOME", nullptr);
  environment.set("XDG_DATA_HOME", nullptr);
  HomeOwner owner;
  owner.start();
  std::error_code ignored;
  Filename left;
  for (const auto& entry : std::filesystem::directory_iterator(path(shared), ignored))
    left = Filename(entry.path().c_str());
  ASSERT_EQ(modeOf(left), 0700U);
  folder.write("precious", "kept");
  ASSERT_TRUE(GeFCreateDirRec(left + "plugins"));
  ASSERT_EQ(symlink(path(folder.path()), path(left + "link")), 0);

  startHost();
  EXPECT_TRUE(GeFExist(left, TRUE)) << "its program runs";
  stopHost();
  owner.end();
  startHost();
  EXPECT_FALSE(GeFExist(left, TRUE));
  EXPECT_EQ(readText(folder / "precious"), "kept");
}

TEST_F(HomeTest, otherFoldersAmongTheTemporaryFilesStay) {
  const Filename shared = folder.makeFolder("shared"), outside = folder.makeFolder("outside");
  environment.set("TMPDIR", path(shared));
  ASSERT_EQ(chmod(path(outside), 0700), 0);
  folder.write("outside/precious", "kept");
  const Filename link = folder / "shared/lumenara-home-link00", open = folder / "shared/lumenara-home-open00";
  ASSERT_EQ(symlink(path(outside), path(link)), 0);
  ASSERT_EQ(chmod(path(folder.makeFolder("shared/lumenara-home-open00")), 0755), 0);
  ASSERT_EQ(chmod(path(folder.makeFolder("shared/lumenara-other0")), 0700), 0);
  folder.write("shared/lumenara-home-file00", "a file");
  std::vector<Filename> kept = {link, open, folder / "shared/lumenara-other0"};
  if (geteuid() == 0) {
    kept.push_back(folder.makeFolder("shared/lumenara-home-theirs"));
    ASSERT_EQ(chmod(path(kept.back()), 0700), 0);
    ASSERT_EQ(chown(path(kept.back()), someoneElse, someoneElse), 0);
  }
  const Filename gone = folder.makeFolder("shared/lumenara-home-gone00");
  ASSERT_EQ(chmod(path(gone), 0700), 0);
  startHost();
  EXPECT_FALSE(GeFExist(gone, TRUE)) << "also by a program that has a home";
  for (const Filename& one : kept)
    EXPECT_TRUE(GeFExist(one, TRUE)) << path(one);
  EXPECT_EQ(readText(folder / "shared/lumenara-home-file00"), "a file");
  EXPECT_EQ(readText(outside + "precious"), "kept");
}

TEST_F(HomeTest, oneThatOthersCanWriteToIsRefused) {
  for (const mode_t mode : {0777U, 0775U, 0770U, 01777U, 0702U}) {
    ASSERT_EQ(chmod(path(folder.makeFolder("home")), mode), 0);
    startHost();
    expectTemporary("other users can write to it");
  }
  ASSERT_EQ(chmod(path(home()), 0755), 0);
  startHost();
  EXPECT_TRUE(console.empty());
  EXPECT_EQ(program().writePath(), home());
}

TEST_F(HomeTest, theEnvironmentsHomeIsLookedAtTheSameWay) {
  const Filename open = folder.makeFolder("open");
  ASSERT_EQ(chmod(path(open), 0777), 0);
  options.home = Filename();
  environment.set("LUMENARA_HOME", path(open));
  startHost();
  expectTemporary("other users can write to it");
  environment.set("LUMENARA_HOME", nullptr);
  environment.set("XDG_DATA_HOME", path(folder / "data"));
  ASSERT_EQ(chmod(path(folder.makeFolder("data/Lumenara Studio")), 0777), 0);
  startHost();
  expectTemporary("other users can write to it");
}

TEST_F(HomeTest, aLinkCountsAsItsTarget) {
  const Filename open = folder.makeFolder("open");
  ASSERT_EQ(chmod(path(open), 0777), 0);
  ASSERT_EQ(symlink(path(open), path(home())), 0);
  startHost();
  expectTemporary("other users can write to it");
}

TEST_F(HomeTest, anotherUsersIsRefused) {
  if (geteuid() != 0) GTEST_SKIP() << "only the super-user can give a folder away";
  ASSERT_EQ(chown(path(folder.makeFolder("home")), someoneElse, someoneElse), 0);
  startHost();
  expectTemporary("belongs to another user");
}

#ifdef LUMENARA_TEST_MODULES
class HomeModuleTest : public HomeTest {
 protected:
  HomeModuleTest() { options.loadModules = true; }
  void SetUp() override {
    const Filename target = folder.makeFolder("home/plugins/mine");
    const std::string file = std::string("good.") + host::platform::moduleSuffix();
    module = target + file.c_str();
    ASSERT_TRUE(GeFCopyFile(Filename(LUMENARA_TEST_MODULES) + file.c_str(), module, TRUE));
    chmod(path(module), 0644);
  }
  void expectRefused(const char* about) {
    console.clear();
    startHost();
    ASSERT_EQ(console.size(), 1U) << about;
    EXPECT_NE(console[0].find("was not loaded: "), std::string::npos) << console[0];
    EXPECT_NE(console[0].find(about), std::string::npos) << console[0];
    EXPECT_TRUE(program().loader().units().empty());
    stopHost();
  }
  void expectLoaded() {
    console.clear();
    startHost();
    EXPECT_EQ(program().loader().units().size(), 1U);
    stopHost();
  }
  Filename module;
};

TEST_F(HomeModuleTest, othersMayWriteToNothingOnTheWay) {
  expectLoaded();
  for (const Filename& place : {module, folder / "home/plugins/mine", folder / "home/plugins"}) {
    const mode_t before = modeOf(place);
    for (const mode_t mode : {before | 0002U, before | 0020U}) {
      ASSERT_EQ(chmod(path(place), mode), 0);
      expectRefused("other users can write to");
    }
    ASSERT_EQ(chmod(path(place), before), 0);
  }
  expectLoaded();
}

TEST_F(HomeModuleTest, aLinkThatLeavesTheHomeIsFollowed) {
  const Filename outside = folder.makeFolder("outside");
  ASSERT_TRUE(GeFMove(module, outside + module.GetFileString()));
  ASSERT_EQ(symlink(path(outside + module.GetFileString()), path(module)), 0);
  ASSERT_EQ(chmod(path(outside), 0777), 0);
  expectRefused("other users can write to");
}

TEST_F(HomeModuleTest, nothingOnTheWayBelongsToAnotherUser) {
  if (geteuid() != 0) GTEST_SKIP() << "only the super-user can give a file away";
  for (const Filename& place : {module, folder / "home/plugins/mine", folder / "home/plugins"}) {
    ASSERT_EQ(chown(path(place), someoneElse, someoneElse), 0);
    expectRefused("belongs to another user");
    ASSERT_EQ(chown(path(place), 0, 0), 0);
  }
}

TEST_F(HomeModuleTest, noneOfARefusedHomeIsLoaded) {
  ASSERT_EQ(chmod(path(home()), 0777), 0);
  console.clear();
  startHost();
  EXPECT_EQ(console.size(), 1U);
  EXPECT_TRUE(program().loader().units().empty());
}

TEST_F(HomeModuleTest, theInstalledOnesAreLoadedAllTheSame) {
  const Filename target = folder.makeFolder("program/plugins/installed");
  ASSERT_TRUE(GeFMove(module, target + module.GetFileString()));
  ASSERT_EQ(chmod(path(home()), 0777), 0);
  console.clear();
  startHost();
  EXPECT_EQ(program().loader().units().size(), 1U);
}
#endif

} // namespace
