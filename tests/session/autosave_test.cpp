// Scenes that are saved by themselves, brought back after a kill, and versions of a file.

#include "autosave.h"
#include "console.h"
#include "file_session_kit.h"
#include "scene_versions.h"

namespace {

using namespace host;
namespace fs = std::filesystem;

class AutosaveTest : public FileSessionTest {
 protected:
  Autosave& autosave() { return session->autosave(); }
  Filename root() { return program().writePath() + Filename("autosave"); }
  void change() {
    edits().apply("Add", [](BaseDocument& to) { newObject(to, Onull); });
  }
  void wait(Milliseconds time) {
    advance(time, Autosave::checkPeriod);
    autosave().finish();
    runAll();
  }
  std::vector<std::string> filesIn(const Filename& place) const {
    std::vector<std::string> names;
    std::error_code none;
    for (const auto& entry : fs::recursive_directory_iterator(toPath(place), none))
      if (entry.is_regular_file()) names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
  }
  /// The folder of a program that was killed after it had saved the open scene.
  void kill() { fs::copy(toPath(onlyFolder()), toPath(root()) / "1-1", fs::copy_options::recursive); }
  Filename onlyFolder() {
    std::vector<fs::path> found;
    for (const auto& entry : fs::directory_iterator(toPath(root())))
      found.push_back(entry.path());
    EXPECT_EQ(found.size(), 1u);
    return toFilename(found.at(0));
  }
  static constexpr Milliseconds minute = 60'000;
};

TEST_F(AutosaveTest, WaitsForItsTimeAndForChanges) {
  EXPECT_EQ(autosave().period(), 2 * minute);
  open(write("robot.glb"));
  wait(5 * minute);
  EXPECT_TRUE(filesIn(root()).empty()) << "nothing was changed";
  change();
  wait(2 * minute - 2000);
  EXPECT_TRUE(filesIn(root()).empty());
  wait(4000);
  EXPECT_EQ(filesIn(root()), (std::vector<std::string>{"1.glb", "lock", "scene.json"}));
  wait(10 * minute);
  EXPECT_EQ(filesIn(root()), (std::vector<std::string>{"1.glb", "lock", "scene.json"})) << "no new change";
  change();
  wait(3 * minute);
  EXPECT_EQ(filesIn(root()), (std::vector<std::string>{"2.glb", "lock", "scene.json"}));
}

TEST_F(AutosaveTest, NothingStaysOfASceneWithoutUnsavedChanges) {
  open(write("robot.glb"));
  change();
  wait(3 * minute);
  EXPECT_EQ(filesIn(root()).size(), 3u);
  EXPECT_TRUE(files().save());
  files().finish();
  EXPECT_TRUE(filesIn(root()).empty()) << "saved";
  change();
  wait(3 * minute);
  EXPECT_EQ(filesIn(root()).size(), 3u);
  unsavedAnswer = UnsavedAnswer::discard;
  EXPECT_TRUE(files().newScene());
  EXPECT_TRUE(filesIn(root()).empty()) << "discarded";
}

TEST_F(AutosaveTest, TheEndOfTheProgramLeavesNothing) {
  open(write("robot.glb"));
  change();
  wait(3 * minute);
  session->shutDown();
  EXPECT_TRUE(filesIn(root()).empty());
}

TEST_F(AutosaveTest, CanBeSwitchedOff) {
  autosave().setPeriod(0);
  open(write("robot.glb"));
  change();
  wait(120 * minute);
  EXPECT_TRUE(filesIn(root()).empty());
  autosave().setPeriod(1000 * minute);
  EXPECT_EQ(autosave().period(), 60 * minute);
  autosave().setPeriod(-5 * minute);
  EXPECT_EQ(autosave().period(), 0);
}

TEST_F(AutosaveTest, ASceneOfARunningProgramIsNotOffered) {
  open(write("robot.glb"));
  change();
  wait(3 * minute);
  EXPECT_TRUE(autosave().abandoned().empty());
  EXPECT_EQ(filesIn(root()).size(), 3u);
}

TEST_F(AutosaveTest, AKilledProgramsSceneComesBack) {
  const Filename original = write("robot.glb");
  open(original);
  edit("found again");
  wait(3 * minute);
  kill();
  unsavedAnswer = UnsavedAnswer::discard;
  EXPECT_TRUE(files().newScene());

  const std::vector<AutosavedScene> found = autosave().abandoned();
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0].original.GetString(), original.GetString());
  EXPECT_EQ(found[0].changes, (std::vector<std::string>{"lamp renamed to found again"}));
  EXPECT_TRUE(autosave().recover(found[0]));
  files().finish();
  runAll();
  EXPECT_EQ(files().file().GetString(), original.GetString());
  EXPECT_TRUE(files().isDirty());
  EXPECT_NE(document().SearchObject("found again"), nullptr);
  EXPECT_TRUE(files().recentFiles().empty() || files().recentFiles()[0].GetString() == original.GetString());

  // It is saved here at once; only then the old folder goes.
  EXPECT_TRUE(fs::exists(toPath(found[0].data)));
  wait(2000);
  EXPECT_FALSE(fs::exists(toPath(found[0].folder)));
  EXPECT_EQ(filesIn(root()).size(), 3u);
  EXPECT_TRUE(files().save());
  files().finish();
  EXPECT_FALSE(files().isDirty());
  EXPECT_TRUE(filesIn(root()).empty());
}

TEST_F(AutosaveTest, ASceneThatWasNeverSavedStaysUntitled) {
  change();
  wait(3 * minute);
  kill();
  unsavedAnswer = UnsavedAnswer::discard;
  EXPECT_TRUE(files().newScene());
  const auto found = autosave().abandoned();
  ASSERT_EQ(found.size(), 1u);
  EXPECT_FALSE(found[0].original.Content());
  EXPECT_TRUE(autosave().recover(found[0]));
  files().finish();
  runAll();
  EXPECT_EQ(files().windowTitle(), String("Untitled *"));
  EXPECT_TRUE(files().recentFiles().empty());
}

TEST_F(AutosaveTest, DiscardRemovesIt) {
  change();
  wait(3 * minute);
  kill();
  const auto found = autosave().abandoned();
  ASSERT_EQ(found.size(), 1u);
  autosave().discard(found[0]);
  EXPECT_TRUE(autosave().abandoned().empty());
  EXPECT_FALSE(fs::exists(toPath(found[0].folder)));
}

TEST_F(AutosaveTest, OnlyOneProgramTakesAScene) {
  change();
  wait(3 * minute);
  kill();
  const auto found = autosave().abandoned();
  ASSERT_EQ(found.size(), 1u);
  {
    const platform::FileLock other(autosaveLock(found[0].folder), 0);
    ASSERT_TRUE(other.held());
    EXPECT_FALSE(autosave().recover(found[0]));
    EXPECT_TRUE(autosave().abandoned().empty());
    autosave().discard(found[0]);
  }
  EXPECT_EQ(autosave().abandoned().size(), 1u) << "still there";
}

TEST_F(AutosaveTest, DamagedFoldersAreNotOffered) {
  change();
  wait(3 * minute);
  kill();
  const Filename killed = autosave().abandoned().at(0).folder;
  const auto describe = [&](const std::string& text) {
    std::ofstream(toPath(killed) / "scene.json", std::ios::binary) << text;
  };
  // A description never leads out of its folder.
  const Filename outside = write("outside.glb");
  AutosavedScene hostile{killed, outside, {}, 1, {}};
  std::string error;
  fs::copy(toPath(killed), toPath(root()) / "2-2", fs::copy_options::recursive);
  ASSERT_TRUE(describeScene(hostile, error)) << error;
  EXPECT_EQ(autosave().abandoned().size(), 1u);
  EXPECT_TRUE(fs::exists(toPath(outside)));
  EXPECT_FALSE(fs::exists(toPath(killed))) << "nothing in it can be brought back";
  fs::create_directories(toPath(killed));
  for (const char* text : {"", "{", "[]", "[[1,\"string\",\"..\"]]", "[[1,\"string\",\"/etc/passwd\"]]"}) {
    fs::create_directories(toPath(killed));
    describe(text);
    EXPECT_EQ(autosave().abandoned().size(), 1u) << text;
  }
}

TEST_F(AutosaveTest, ADamagedSceneIsKeptAndSaysSo) {
  change();
  wait(3 * minute);
  kill();
  const auto found = autosave().abandoned();
  ASSERT_EQ(found.size(), 1u);
  fs::resize_file(toPath(found[0].data), 100);
  unsavedAnswer = UnsavedAnswer::discard;
  EXPECT_TRUE(autosave().recover(found[0]));
  files().finish();
  runAll();
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_EQ(autosave().abandoned().size(), 1u);
}

TEST_F(AutosaveTest, OnlyTheNewestStay) {
  change();
  wait(3 * minute);
  const fs::path own = toPath(onlyFolder());
  for (std::size_t i = 0; i < mostAbandoned + 3; ++i) {
    const fs::path copy = toPath(root()) / ("9-" + std::to_string(i));
    fs::copy(own, copy, fs::copy_options::recursive);
    std::string error;
    const AutosavedScene scene{
        toFilename(copy), toFilename(copy / "1.glb"), {}, static_cast<std::int64_t>(i), {}};
    ASSERT_TRUE(describeScene(scene, error)) << error;
  }
  const auto found = autosave().abandoned();
  ASSERT_EQ(found.size(), mostAbandoned);
  EXPECT_EQ(found.front().seconds, static_cast<std::int64_t>(mostAbandoned + 2));
  EXPECT_EQ(found.back().seconds, 3);
  EXPECT_FALSE(fs::exists(toPath(root()) / "9-2"));
}

TEST_F(AutosaveTest, AFolderThatCannotBeMadeIsOneLine) {
  std::vector<std::string> lines;
  const std::uint64_t listener =
      addConsoleListener([&](const String& line) { lines.push_back(line.GetUTF8()); });
  std::ofstream(toPath(root())) << "in the way";
  change();
  wait(20 * minute);
  removeConsoleListener(listener);
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_NE(lines[0].find("autosave"), std::string::npos) << lines[0];
  // Once there is room, it is saved.
  fs::remove(toPath(root()));
  wait(3 * minute);
  EXPECT_EQ(filesIn(root()).size(), 3u);
}

TEST_F(AutosaveTest, TheQuestionListsTheChanges) {
  open(write("robot.glb"));
  edit("other");
  EXPECT_FALSE(files().newScene());
  EXPECT_EQ(changesAsked, (std::vector<std::string>{"lamp renamed to other"}));
  edits().undo();
  EXPECT_TRUE(files().unsavedChanges().empty());
}

TEST_F(AutosaveTest, NewVersionsTakeTheNextFreeNumber) {
  open(write("robot.glb"));
  EXPECT_TRUE(files().saveNewVersion());
  files().finish();
  EXPECT_EQ(files().title(), String("robot_v002.glb"));
  EXPECT_EQ(files().recentFiles().at(0).GetFileString(), String("robot_v002.glb"));
  write("robot_v007.gltf");
  EXPECT_TRUE(files().saveNewVersion());
  files().finish();
  EXPECT_EQ(files().title(), String("robot_v008.glb"));
  EXPECT_TRUE(fs::exists(toPath(folder / "robot.glb")));
}

TEST_F(AutosaveTest, VersionsKeepTheirDigitsAndMark) {
  const auto next = [&](const char* name) { return nextVersion(folder / name).GetFileString().GetUTF8(); };
  EXPECT_EQ(next("chair.glb"), "chair_v002.glb");
  EXPECT_EQ(next("chair_v9.glb"), "chair_v10.glb");
  EXPECT_EQ(next("chair-v0099.gltf"), "chair-v0100.gltf");
  EXPECT_EQ(next("v2.glb"), "v2_v002.glb");
  EXPECT_EQ(next("mp3.glb"), "mp3_v002.glb");
  EXPECT_EQ(next("chair_v12345678901234567890.glb"), "chair_v12345678901234567890_v002.glb");
}

} // namespace
