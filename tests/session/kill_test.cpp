// A program killed at any moment loses no stored setting.
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "c4d_file.h"
#include "c4d_plugin.h"
#include "preferences.h"
#include "session_fixture.h"

namespace {

using namespace host;

constexpr LONG settingsId = 1021442;

// A program that stores a setting with every command and reports the end of each.
[[noreturn]] void runCommands(const Filename& home, LONG first, int told) {
  ProgramOptions options;
  options.home = home;
  options.loadModules = false;
  options.consoleEcho = nullptr;
  Program program(options);
  for (LONG i = first;; ++i) {
    BaseContainer settings;
    settings.SetLong(1, i);
    settings.SetLong(1000 + i % 50, i);
    if (!SetWorldPluginData(settingsId, settings)) _exit(1);
    if (write(told, &i, sizeof i) != sizeof i) _exit(2);
  }
}

TEST(KillTest, AHundredKillsLoseNoStoredValue) {
  const TemporaryFolder folder;
  const Filename home = folder / "home";
  LONG last = 0;
  for (int round = 0; round < 100; ++round) {
    int pipes[2];
    ASSERT_EQ(pipe(pipes), 0);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      close(pipes[0]);
      runCommands(home, last + 1, pipes[1]);
    }
    close(pipes[1]);
    // Killed after some commands, at another point of the next one each time.
    LONG done = last;
    for (int i = 0; i < 1 + round % 4; ++i)
      ASSERT_EQ(read(pipes[0], &done, sizeof done), static_cast<ssize_t>(sizeof done));
    usleep(static_cast<useconds_t>(round * 37 % 900));
    kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    ASSERT_TRUE(WIFSIGNALED(status)) << "round " << round << ", exit " << WEXITSTATUS(status);
    for (LONG more = 0; read(pipes[0], &more, sizeof more) == static_cast<ssize_t>(sizeof more);)
      done = more;
    close(pipes[0]);

    Preferences kept(home + "preferences.json");
    const BaseContainer* settings = kept.get(settingsId);
    ASSERT_NE(settings, nullptr) << "round " << round;
    const LONG stored = settings->GetLong(1);
    ASSERT_GE(stored, done) << "round " << round << ": a finished command was lost";
    ASSERT_LE(stored, done + 1);
    ASSERT_EQ(settings->GetLong(1000 + stored % 50), stored) << "stored whole or not at all";
    last = stored;
  }
  EXPECT_FALSE(GeFExist(home + "preferences.json.damaged"));
}

} // namespace
