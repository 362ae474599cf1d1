// Failures: messages and exit codes.
#include <gtest/gtest.h>

#include <signal.h>

#include <algorithm>
#include <filesystem>
#include <memory>

#include "program_run.h"
#include "tiny_scene.h"

namespace batchtest {
namespace {

namespace fs = std::filesystem;
using std::chrono::seconds;

class Failure : public testing::Test {
 protected:
  Outcome render(const std::string& scene, const std::string& picture, const Arguments& more = {},
                 Limits limits = {}) {
    Arguments arguments{"render", scene, "-o", picture, "--samples", "1", "--quiet"};
    if (std::find(more.begin(), more.end(), "--size") == more.end()) {
      arguments.insert(arguments.end(), {"--size", "200x200"});
    }
    arguments.insert(arguments.end(), more.begin(), more.end());
    return run(arguments, folder / "home", limits);
  }

  /// Expects this code, one sentence with these words in it, and no picture.
  void expectRefusal(const Outcome& outcome, int code, const std::vector<std::string>& words) {
    EXPECT_EQ(outcome.code, code) << outcome.err;
    EXPECT_EQ(lineCount(outcome.err), 1) << outcome.err;
    for (const std::string& word : words) {
      EXPECT_NE(outcome.err.find(word), std::string::npos) << "no " << word << " in " << outcome.err;
    }
    EXPECT_FALSE(fs::exists(folder / "picture.png"));
  }

  /// Whether another user can start the program, with the test's folder open to them.
  bool runsUnprivileged() {
    fs::permissions(folder.path(), fs::perms::all);
    return run({"--version"}, folder / "home", unprivileged).code == 0;
  }
  const Limits unprivileged{.unprivileged = true};

  void expectUnreadable(const std::string& scene, const std::vector<std::string>& words = {}) {
    std::vector<std::string> all{fs::path(scene).filename().string()};
    all.insert(all.end(), words.begin(), words.end());
    expectRefusal(render(scene, folder / "picture.png"), 3, all);
    const Outcome info = run({"info", scene}, folder / "home");
    EXPECT_EQ(info.code, 3) << info.err;
    EXPECT_EQ(lineCount(info.err), 1) << info.err;
    EXPECT_EQ(info.out, "");
  }

  std::string scene() { return writeTinyScene(folder.path()); }

  TempFolder folder;
};

// ---- Wrong use: 2

TEST_F(Failure, WrongUse) {
  const std::string file = scene(), picture = folder / "picture.png";
  const std::vector<Arguments> wrong{
      {},
      {"paint"},
      {"render"},
      {"render", file},
      {"render", "-o", picture},
      {"render", file, file, "-o", picture},
      {"render", file, "-o", picture, "--size", "0x10"},
      {"render", file, "-o", picture, "--size", "10"},
      {"render", file, "-o", picture, "--size", "10x10x10"},
      {"render", file, "-o", picture, "--size", "32769x10"},
      {"render", file, "-o", picture, "--size", "10x-5"},
      {"render", file, "-o", picture, "--frame", "one"},
      {"render", file, "-o", picture, "--frame", "99999999999"},
      {"render", file, "-o", picture, "--region", "1,2,3"},
      {"render", file, "-o", picture, "--region", "10,10,9,20"},
      {"render", file, "-o", picture, "--region", "-1,0,9,20"},
      {"render", file, "-o", picture, "--region", "5000,5000,5010,5010"},
      {"render", file, "-o", picture, "--region-box", "0.1,0.1"},
      {"render", file, "-o", picture, "--region-box", "0.1,0.1,0.5,"},
      {"render", file, "-o", picture, "--region-box", "0.1;0.1;0.5"},
      {"render", file, "-o", picture, "--region-box", "0.1,0.1,0"},
      {"render", file, "-o", picture, "--region-box", "1.1,0.1,0.5"},
      {"render", file, "-o", picture, "--region-box", "nan,0,0.5"},
      {"render", file, "-o", picture, "--region-box", "0,0,0.5", "--region", "0,0,9,9"},
      {"render", file, "-o", picture, "--set", "LM_NOTHING=1"},
      {"render", file, "-o", picture, "--set", "LM_OPT_15004"},
      {"render", file, "-o", picture, "--set", "LM_OPT_15004=best"},
      {"render", file, "-o", picture, "--set", "=1"},
      {"render", file, "-o", picture, "--samples", "0"},
      {"render", file, "-o", picture, "--samples", "-3"},
      {"render", file, "-o", picture, "--threads", "0"},
      {"render", file, "-o", picture, "--threads", "many"},
      {"render", file, "-o", picture, "--camera"},
      {"render", file, "-o", picture, "--nothing"},
      {"render", file, "-o", folder / "picture"},
      {"render", file, "-o", folder / "picture.gif"},
      {"render", file, "-o", folder / "picture.tga"},
      {"info"},
      {"info", file, file},
      {"info", file, "--yaml"}};
  for (const Arguments& arguments : wrong) {
    std::string text;
    for (const std::string& argument : arguments)
      text += argument + " ";
    const Outcome outcome = run(arguments, folder / "home");
    EXPECT_EQ(outcome.code, 2) << text << "\n" << outcome.err;
    EXPECT_EQ(linesWith(outcome.err, "lumenara: "), 1) << text << "\n" << outcome.err;
    EXPECT_EQ(outcome.out, "") << text;
    EXPECT_FALSE(fs::exists(picture)) << text;
  }
}

TEST_F(Failure, HelpAndVersionSucceed) {
  const Outcome help = run({"--help"}, folder / "home");
  EXPECT_EQ(help.code, 0);
  EXPECT_EQ(help.err, "");
  for (const char* word : {"render", "info", "settings", "130"}) {
    EXPECT_NE(help.out.find(word), std::string::npos) << help.out;
  }
  const Outcome render = run({"render", "--help"}, folder / "home");
  EXPECT_EQ(render.code, 0);
  for (const char* word : {"--size", "--frame", "--camera", "--region", "--region-box", "--set", "--samples",
                           "--threads", "--home", "--stats", "--quiet", "--output"}) {
    EXPECT_NE(render.out.find(word), std::string::npos) << word << "\n" << render.out;
  }
  const Outcome version = run({"--version"}, folder / "home");
  EXPECT_EQ(version.code, 0);
  EXPECT_EQ(version.out, "lumenara " LUMENARA_VERSION "\n");
}

// ---- Scenes that cannot be read: 3

TEST_F(Failure, MissingScene) {
  expectUnreadable(folder / "nothing.glb");
}

TEST_F(Failure, SceneIsEmpty) {
  for (const char* name : {"empty.glb", "empty.gltf", "empty.obj", "empty.ply"}) {
    writeFile(folder / name, "");
    expectUnreadable(folder / name);
  }
}

TEST_F(Failure, SceneIsAFolder) {
  fs::create_directory(folder / "folder.glb");
  expectUnreadable(folder / "folder.glb");
}

TEST_F(Failure, SceneIsGarbage) {
  std::string bytes;
  unsigned state = 12345;
  for (int i = 0; i < 5000; ++i) {
    state = state * 1664525u + 1013904223u;
    bytes.push_back(static_cast<char>(state >> 24));
  }
  for (const char* name : {"garbage.glb", "garbage.gltf", "garbage.fbx", "garbage.stl", "garbage"}) {
    writeFile(folder / name, bytes);
    expectUnreadable(folder / name);
  }
}

TEST_F(Failure, SceneIsCut) {
  const std::string demo = LUMENARA_SOURCE_DIR "/scenes/demo.glb";
  if (!fs::exists(demo)) GTEST_SKIP() << demo << " is not there";
  const std::string whole = readFile(demo);
  for (const std::size_t size : {std::size_t{3}, std::size_t{12}, std::size_t{20}, std::size_t{1000},
                                 whole.size() / 2, whole.size() - 1}) {
    writeFile(folder / "cut.glb", whole.substr(0, size));
    expectUnreadable(folder / "cut.glb");
  }
}

TEST_F(Failure, MissingBuffer) {
  const std::string file = scene();
  fs::remove(folder / "tiny.bin");
  expectUnreadable(file, {"tiny.bin"});
}

TEST_F(Failure, RequiredExtensionIsUnknown) {
  const std::string file = scene();
  std::string text = readFile(file);
  text.insert(1, "\"extensionsRequired\":[\"ACME_magic_geometry\"],");
  writeFile(file, text);
  expectUnreadable(file, {"ACME_magic_geometry"});
}

TEST_F(Failure, SceneMayNotBeRead) {
  const std::string file = scene();
  if (!runsUnprivileged()) GTEST_SKIP() << "the program is out of such a user's reach";
  fs::permissions(file, fs::perms::none);
  expectRefusal(render(file, folder / "picture.png", {}, unprivileged), 3, {"tiny.gltf"});
}

// ---- Output that cannot be written: 4, before anything is rendered

TEST_F(Failure, MissingOutputFolder) {
  expectRefusal(render(scene(), folder / "no/picture.png"), 4, {"no/picture.png", "does not exist"});
}

TEST_F(Failure, OutputIsAFolder) {
  fs::create_directory(folder / "sub.png");
  expectRefusal(render(scene(), folder / "sub.png"), 4, {"sub.png", "folder"});
}

TEST_F(Failure, OutputFolderIsAFile) {
  writeFile(folder / "file", "x");
  expectRefusal(render(scene(), folder / "file/picture.png"), 4, {"file"});
}

TEST_F(Failure, OutputMayNotBeWritten) {
  const std::string file = scene();
  if (!runsUnprivileged()) GTEST_SKIP() << "the program is out of such a user's reach";
  fs::create_directory(folder / "locked");
  fs::permissions(folder / "locked", fs::perms::owner_read | fs::perms::owner_exec);
  expectRefusal(render(file, folder / "locked/picture.png", {}, unprivileged), 4, {"locked/picture.png"});
}

TEST_F(Failure, StatisticsCannotBeWritten) {
  expectRefusal(render(scene(), folder / "picture.png", {"--stats", folder / "no/stats.json"}), 4,
                {"no/stats.json"});
}

// The target is checked before the scene.
TEST_F(Failure, OutputIsCheckedFirst) {
  expectRefusal(render(folder / "nothing.glb", folder / "no/picture.png"), 4, {"no/picture.png"});
}

// A full disk: exit code 4, the old picture stays, and no file is left over.
TEST_F(Failure, DiskIsFull) {
  const std::string file = scene();
  for (const char* name : {"full.bmp", "full.tif", "full.exr"}) {
    const std::string picture = folder / name;
    writeFile(picture, "the old picture");
    const Outcome outcome = render(file, picture, {"--size", "300x300"}, Limits{3000, 0, false});
    EXPECT_EQ(outcome.code, 4) << name << outcome.signal << outcome.err;
    EXPECT_EQ(linesWith(outcome.err, name), 1) << outcome.err;
    EXPECT_TRUE(readFile(picture) == "the old picture") << name << " was changed";
  }
  for (const auto& entry : fs::directory_iterator(folder.path())) {
    const std::string name = entry.path().filename().string();
    EXPECT_TRUE(name == "home" || name.rfind("full.", 0) == 0 || name.rfind("tiny.", 0) == 0)
        << "left over: " << name;
    EXPECT_EQ(std::count(name.begin(), name.end(), '.'), name == "home" ? 0 : 1) << "left over: " << name;
  }
}

TEST_F(Failure, PictureTooLargeForTheMemory) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "sanitizers need the address space themselves";
#endif
  const Outcome outcome =
      render(scene(), folder / "picture.png", {"--size", "32768x32768"}, Limits{0, 2u << 30, false});
  expectRefusal(outcome, 5, {"memory"});
}

// ---- Ctrl-C: 130

class Interrupt : public Failure {
 protected:
  /// A render that takes very long. `what` is the text on the terminal that shows that it has come so far.
  std::unique_ptr<Child> start(const std::string& what) {
    const std::string demo = LUMENARA_SOURCE_DIR "/scenes/demo.glb";
    auto child = std::make_unique<Child>(
        Arguments{"render", demo, "-o", folder / "picture.png", "--size", "1280x720", "--samples", "100000"},
        folder / "home", Limits{}, true);
    EXPECT_TRUE(child->waitForError(what, seconds(60))) << child->errors();
    return child;
  }
};

// The progress line shows the render on a terminal; Ctrl-C ends it soon, and no picture is written.
TEST_F(Interrupt, EndsARenderSoon) {
  const auto child = start("Rendering ");
  const auto asked = std::chrono::steady_clock::now();
  child->send(SIGINT);
  const Outcome outcome = child->wait(seconds(60));
  const auto took = std::chrono::steady_clock::now() - asked;
  EXPECT_EQ(outcome.code, 130) << outcome.err;
  EXPECT_LT(std::chrono::duration<double>(took).count(), 5);
  EXPECT_EQ(linesWith(outcome.err, "cancelled; "), 1) << outcome.err;
  EXPECT_NE(outcome.err.find(" %  0:0"), std::string::npos) << "the progress line: " << outcome.err;
  EXPECT_FALSE(fs::exists(folder / "picture.png"));
}

TEST_F(Interrupt, TerminationIsACancelToo) {
  const auto child = start("Rendering ");
  child->send(SIGTERM);
  EXPECT_EQ(child->wait(seconds(60)).code, 130);
  EXPECT_FALSE(fs::exists(folder / "picture.png"));
}

// It comes before the render has begun.
TEST_F(Interrupt, EndsAStart) {
  const auto child = start("||  Lumenara v");
  child->send(SIGINT);
  const Outcome outcome = child->wait(seconds(60));
  EXPECT_EQ(outcome.code, 130) << outcome.err;
  EXPECT_EQ(linesWith(outcome.err, "cancelled"), 1) << outcome.err;
}

TEST_F(Interrupt, TwiceEndsAtOnce) {
  const auto child = start("Rendering ");
  child->send(SIGINT);
  child->send(SIGTERM);
  EXPECT_EQ(child->wait(seconds(60)).code, 130);
}

// An interrupted run keeps what was stored before.
TEST_F(Interrupt, KeepsTheSettings) {
  ASSERT_EQ(run({"settings", "set", "LM_REFRESH_DELAY", "777"}, folder / "home").code, 0);
  const auto child = start("Rendering ");
  child->send(SIGINT);
  EXPECT_EQ(child->wait(seconds(60)).code, 130);
  EXPECT_EQ(run({"settings", "get", "LM_REFRESH_DELAY"}, folder / "home").out, "777\n");
}

} // namespace
} // namespace batchtest
