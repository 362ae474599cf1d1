// Files: open, save, questions, outputs, recent files.
#include <algorithm>
#include <fstream>
#include <set>
#include <thread>

#include "file_session_kit.h"
#include "typed_name.h"

namespace {

using namespace host;

TEST_F(FileSessionTest, OpensInTheBackgroundAndLeavesNothingUnsaved) {
  const Filename file = write("a.glb");
  Identity before = document().GetIdentity();
  EXPECT_TRUE(files().open(file));
  EXPECT_EQ(files().activity().kind, FileSession::Activity::Kind::loading);
  EXPECT_EQ(files().activity().text, String("Loading a.glb"));
  EXPECT_EQ(document().GetIdentity(), before) << "the old scene stays meanwhile";
  files().finish();
  EXPECT_EQ(files().activity().kind, FileSession::Activity::Kind::none);
  std::string difference;
  EXPECT_TRUE(documentsEqual(document(), *SessionFixture::scene(), &difference)) << difference;
  EXPECT_EQ(files().windowTitle(), String("a.glb"));
  EXPECT_FALSE(files().isDirty());
  EXPECT_FALSE(edits().canUndo());
  edit();
  EXPECT_EQ(files().windowTitle(), String("a.glb *"));
}

TEST_F(FileSessionTest, ABrokenFileLeavesTheSceneAndSaysWhyOnce) {
  open(write("a.glb"));
  edit();
  unsavedAnswer = UnsavedAnswer::discard;
  const DocumentPtr before = copy();
  const Filename broken = folder.write("broken.glb", "glTF but not really a scene file");
  age(broken);
  open(broken);
  expectEqual(before, "after the failure");
  EXPECT_EQ(files().title(), String("a.glb"));
  EXPECT_TRUE(edits().canUndo());
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_EQ(errors[0].sentence, "The scene could not be opened.");
  EXPECT_NE(errors[0].reason.find("broken.glb"), std::string::npos);
  EXPECT_FALSE(errors[0].advice.empty());
  open(folder / "nowhere.glb");
  ASSERT_EQ(errors.size(), 2u);
  EXPECT_NE(errors[1].reason.find("is not there"), std::string::npos) << errors[1].reason;
  expectEqual(before, "after the second failure");
}

TEST_F(FileSessionTest, ACancelledLoadChangesNothing) {
  const Filename file = write("a.glb");
  const DocumentPtr before = copy();
  files().open(file);
  files().cancelLoading();
  EXPECT_EQ(files().activity().kind, FileSession::Activity::Kind::none);
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (std::chrono::steady_clock::now() < deadline && mainLoop().runDue() == 0)
    std::this_thread::yield();
  expectEqual(before, "after the cancelled load");
  EXPECT_TRUE(errors.empty());
}

TEST_F(FileSessionTest, UnsavedChangesAreAskedAbout) {
  const Filename a = write("a.glb"),
                 b = write("b.glb", [](BaseDocument&d) { d.SearchObject("lamp")->SetName("b"); });
  open(a);
  EXPECT_TRUE(files().newScene());
  open(a);
  EXPECT_TRUE(unsavedAsked.empty()) << "nothing is unsaved";
  edit();
  EXPECT_FALSE(files().open(b));
  EXPECT_FALSE(files().newScene());
  EXPECT_FALSE(files().mayClose());
  EXPECT_EQ(unsavedAsked, (std::vector<std::string>(3, "a.glb")));
  unsavedAnswer = UnsavedAnswer::save;
  EXPECT_TRUE(files().open(b));
  files().finish();
  EXPECT_NE(document().SearchObject("b"), nullptr);
  EXPECT_NE(loadDocument(a).document->SearchObject("edited"), nullptr) << "saved first";
  edits().apply("Rename", [&](BaseDocument& d) { renameNode(d, id("b"), "c"); });
  unsavedAnswer = UnsavedAnswer::discard;
  EXPECT_TRUE(files().mayClose());
  EXPECT_EQ(loadDocument(b).document->SearchObject("c"), nullptr);
}

TEST_F(FileSessionTest, SavesTheSceneOfTheMomentInTheBackground) {
  saveTo = folder / "new scene"; // gets its suffix
  openScene();
  edit("one");
  EXPECT_TRUE(files().save());
  EXPECT_EQ(proposals, std::vector<std::string>{"Untitled.glb"});
  EXPECT_EQ(files().activity().kind, FileSession::Activity::Kind::saving);
  edits().apply("Rename", [&](BaseDocument& d) { renameNode(d, id("one"), "two"); });
  files().finish();
  EXPECT_TRUE(files().isDirty()) << "edited after it was asked for";
  EXPECT_NE(loadDocument(folder / "new scene.glb").document->SearchObject("one"), nullptr);
  EXPECT_EQ(files().title(), String("new scene.glb"));
  EXPECT_TRUE(files().save());
  files().finish();
  EXPECT_FALSE(files().isDirty());
  EXPECT_EQ(proposals.size(), 1u) << "it has a name now";
  std::string difference;
  EXPECT_TRUE(documentsEqual(*loadDocument(folder / "new scene.glb").document, document(), &difference))
      << difference;
  edits().undo();
  EXPECT_TRUE(files().isDirty());
  edits().redo();
  EXPECT_FALSE(files().isDirty());
}

TEST_F(FileSessionTest, SavingReportsItsProgress) {
  const DocumentPtr scene = SessionFixture::scene();
  auto large = std::make_shared<Mesh>();
  large->positions.resize(600000, {1, 2, 3});
  large->triangles = {{0, 1, 2}};
  large->groups = {{0, 1}};
  for (const char* name : {"large.glb", "large.gltf", "empty.glb"}) {
    const DocumentPtr empty = newDocument();
    const bool isEmpty = std::string(name) == "empty.glb";
    stateOf(scene->SearchObject("arm"))->mesh = large;
    std::vector<double> parts;
    std::string error;
    ASSERT_TRUE(saveDocument(isEmpty ? *empty : *scene, folder / name, &error, [&](double part) {
      parts.push_back(part);
    })) << error;
    ASSERT_FALSE(parts.empty());
    EXPECT_TRUE(std::is_sorted(parts.begin(), parts.end())) << name;
    EXPECT_GE(parts.front(), 0);
    EXPECT_EQ(parts.back(), 1);
    EXPECT_GE(std::set<double>(parts.begin(), parts.end()).size(), isEmpty ? 3u : 6u) << name;
  }
  std::vector<double> parts;
  EXPECT_FALSE(
      saveDocument(*scene, folder / "none/large.glb", nullptr, [&](double part) { parts.push_back(part); }));
  EXPECT_LT(parts.back(), 1) << "never whole";
}

TEST_F(FileSessionTest, ASaveHasAPercentage) {
  openScene();
  auto large = std::make_shared<Mesh>();
  large->positions.resize(3000000, {1, 2, 3});
  large->triangles = {{0, 1, 2}};
  large->groups = {{0, 1}};
  edits().apply("Mesh", [&](BaseDocument& d) { stateOf(d.SearchObject("arm"))->mesh = large; });
  std::vector<Real> parts;
  const Subscription looked = files().changed.add([&] {
    if (files().activity().kind == FileSession::Activity::Kind::saving)
      parts.push_back(files().activity().progress);
  });
  ASSERT_TRUE(files().saveAs(folder / "large.gltf"));
  EXPECT_EQ(files().activity().progress, 0);
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(300);
  while (files().activity().kind == FileSession::Activity::Kind::saving &&
         std::chrono::steady_clock::now() < deadline) {
    clock.advance(100);
    runAll();
  }
  EXPECT_EQ(files().activity().kind, FileSession::Activity::Kind::none);
  ASSERT_TRUE(errors.empty()) << errors[0].text();
  EXPECT_TRUE(std::is_sorted(parts.begin(), parts.end()));
  EXPECT_GT(parts.back(), 0) << "it moved on";
}

TEST_F(FileSessionTest, AnImportedSceneAsksWhereToSave) {
  const Filename obj = folder.write("cube.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
  age(obj);
  open(obj);
  ASSERT_TRUE(errors.empty()) << errors[0].text();
  EXPECT_FALSE(files().save());
  ASSERT_EQ(proposals.size(), 1u);
  EXPECT_EQ(proposals[0], (folder / "cube.glb").GetString().GetUTF8());
}

TEST_F(FileSessionTest, AFileThatCannotBeWrittenIsOneErrorAndStaysDirty) {
  openScene();
  edit();
  EXPECT_TRUE(files().saveAs(folder / "missing folder" + "a.glb"));
  files().finish();
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_EQ(errors[0].sentence, "The scene could not be saved.");
  EXPECT_NE(errors[0].reason.find("missing folder"), std::string::npos);
  EXPECT_TRUE(files().isDirty());
  EXPECT_EQ(files().title(), String("Untitled"));
  unsavedAnswer = UnsavedAnswer::save;
  saveTo = folder / "missing folder" + "a.glb";
  EXPECT_FALSE(files().mayClose()) << "not saved: the program must not end";
}

TEST_F(FileSessionTest, APictureBecomesTheSky) {
  open(write("a.glb"));
  const Filename noon = folder.write("noon.hdr", "#?RADIANCE\n"),
                 dusk = folder.write("dusk.EXR", "\x76\x2f\x31\x01");
  const DocumentPtr before = copy();
  unsavedAnswer = UnsavedAnswer::cancel;
  EXPECT_TRUE(files().open(noon)) << "as a dropped file";
  runAll();
  EXPECT_EQ(files().title(), String("a.glb")) << "the scene stays";
  EXPECT_TRUE(errors.empty()) << errors[0].text();
  const ObjectState* sky = object("Sky");
  EXPECT_EQ(param::integer(*sky, param::skyKind), 3);
  EXPECT_EQ(sky->picture->name, "noon.hdr");
  EXPECT_EQ(attributeValue(document(), sky->identity, AttributeId::skyPicture).GetFilename(), noon);
  EXPECT_EQ(edits().undoName(), String("Set Sky Picture"));
  edits().undo();
  expectEqual(before, "undone");
  edits().redo();
  setAttribute(document(), std::array{id("Sky")}, AttributeId::skyRotation, GeData(Real(90)));
  setAttribute(document(), std::array{id("Sky")}, AttributeId::skyStrength, GeData(Real(2)));
  EXPECT_TRUE(files().open(dusk)) << "with unsaved edits too: nothing is lost";
  EXPECT_TRUE(unsavedAsked.empty());
  EXPECT_EQ(object("Sky")->picture->name, "dusk.EXR");
  EXPECT_EQ(document().SearchObject("Sky 2"), nullptr) << "the sky that is there changes";
  EXPECT_TRUE(files().save());
  files().finish();
  const DocumentPtr loaded = std::move(loadDocument(folder / "a.glb").document);
  const ObjectState* again = stateOf(loaded->SearchObject("Sky"));
  ASSERT_TRUE(again && again->picture);
  EXPECT_EQ(again->picture->uri, "dusk.EXR") << "relative, outside";
  EXPECT_EQ(again->picture->file, dusk);
  EXPECT_NEAR(param::real(*again, param::skyRotation), 1.5707963, 1e-6);
  EXPECT_EQ(param::real(*again, param::skyStrength), 2);
}

TEST_F(FileSessionTest, AnUnreadablePictureChangesNoSky) {
  openScene();
  const DocumentPtr before = copy();
  EXPECT_FALSE(files().open(folder / "nowhere.hdr"));
  EXPECT_FALSE(files().open(folder.write("text.exr", "no picture")));
  ASSERT_EQ(errors.size(), 2u);
  for (const FileError& error : errors)
    EXPECT_EQ(error.sentence, "The picture for the sky could not be loaded.");
  EXPECT_NE(errors[0].reason.find("not there"), std::string::npos);
  EXPECT_NE(errors[1].reason.find("no picture"), std::string::npos);
  expectEqual(before, "afterwards");
}

TEST_F(FileSessionTest, TheSkysPictureIsAnAttribute) {
  const Filename noon = folder.write("noon.hdr", "#?RADIANCE\n");
  open(write("a.glb"));
  const std::array sky{newObject(document(), Osky)};
  EXPECT_EQ(attributeValue(document(), sky[0], AttributeId::skyPicture).GetType(), DA_NIL);
  setAttribute(document(), sky, AttributeId::skyKind, GeData(LONG(3)));
  EXPECT_FALSE(attributeValue(document(), sky[0], AttributeId::skyPicture).GetFilename().Content());
  EXPECT_TRUE(files().setSkyPicture(Filename("noon.hdr"), {sky[0]})) << "relative to the scene";
  EXPECT_EQ(attributeValue(document(), sky[0], AttributeId::skyPicture).GetFilename(), noon);
  EXPECT_FALSE(setAttribute(document(), sky, AttributeId::skyPicture, GeData(folder / "no.hdr")));
  EXPECT_TRUE(setAttribute(document(), sky, AttributeId::skyPicture, GeData(Filename())));
  EXPECT_FALSE(object("Sky")->picture);
}

class NameDialog final : public GeDialog {
 public:
  Bool CreateLayout() override {
    AddEditText(1, BFH_SCALEFIT);
    return TRUE;
  }
};

TEST_F(FileSessionTest, ADialogsFileNameCountsFromTheScene) {
  open(write("a.glb"));
  NameDialog dialog;
  ASSERT_TRUE(dialog.Open(DLG_TYPE_ASYNC, 1));
  dialog.SetString(1, "shot.mov");
  Filename name;
  EXPECT_TRUE(dialog.GetFilename(1, name));
  EXPECT_EQ(name, folder / "shot.mov");
  dialog.SetString(1, "/elsewhere/shot.mov");
  EXPECT_TRUE(dialog.GetFilename(1, name));
  EXPECT_EQ(name, Filename("/elsewhere/shot.mov"));
  session.reset();
  dialog.SetString(1, "shot.mov");
  EXPECT_TRUE(dialog.GetFilename(1, name));
  EXPECT_EQ(name, Filename("shot.mov")) << "without a session as typed";
}

TEST_F(FileSessionTest, ARelativeOutputCountsFromTheScene) {
  const std::string home = folder.path().GetString().GetUTF8() + "/home";
  std::filesystem::create_directories(home);
  const EnvironmentValue user("HOME", home.c_str()), config("XDG_CONFIG_HOME", nullptr);
  const auto meant = [](const char* typed) { return typedName(Filename(typed)).GetString().GetUTF8(); };
  const std::string here = folder.path().GetString().GetUTF8();
  EXPECT_EQ(meant("/tmp/shot.mov"), "/tmp/shot.mov");
  EXPECT_EQ(meant(""), "");
  EXPECT_EQ(meant("shot.mov"), home + "/Videos/shot.mov") << "a scene without a file";
  EXPECT_TRUE(std::filesystem::is_directory(home + "/Videos"));
  std::filesystem::create_directories(home + "/.config");
  std::ofstream(home + "/.config/user-dirs.dirs") << "# folders\nXDG_VIDEOS_DIR=\"$HOME/My Films\"\n";
  EXPECT_EQ(meant("shot.mov"), home + "/My Films/shot.mov");
  open(write("a.glb"));
  EXPECT_EQ(meant("shot.mov"), here + "/shot.mov");
  EXPECT_EQ(meant("frames/shot.tif"), here + "/frames/shot.tif");
  EXPECT_TRUE(std::filesystem::is_directory(here + "/frames")) << "else it would land elsewhere";
  EXPECT_EQ(meant("../shot.mov"), here.substr(0, here.rfind('/')) + "/shot.mov");
}

TEST_F(FileSessionTest, EditsMadeWhileAFileLoadsAreAskedAbout) {
  const Filename file = write("a.glb");
  openScene();
  files().open(file);
  edit();
  files().finish();
  EXPECT_EQ(unsavedAsked.size(), 1u);
  EXPECT_NE(document().SearchObject("edited"), nullptr) << "cancelled: what was edited stays";
}

TEST_F(FileSessionTest, RecentFilesAreKeptAndMissingOnesDropped) {
  for (int i = 0; i < 12; ++i)
    open(write(("s" + std::to_string(i) + ".glb").c_str()));
  open(folder / "s5.glb");
  std::vector<Filename> recent = files().recentFiles();
  ASSERT_EQ(recent.size(), 10u);
  EXPECT_EQ(recent[0].GetFileString(), String("s5.glb"));
  EXPECT_EQ(recent[1].GetFileString(), String("s11.glb"));
  EXPECT_EQ(std::count_if(recent.begin(), recent.end(),
                          [](const Filename& file) { return file.GetFileString() == String("s5.glb"); }),
            1);
  GeFKill(folder / "s11.glb");
  EXPECT_FALSE(files().openRecent(recent[1]));
  EXPECT_EQ(files().recentFiles().size(), 9u);
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_TRUE(files().openRecent(recent[2]));
  files().finish();
  session.reset();
  startHost(); // the next start of the program
  session = std::make_unique<Session>();
  EXPECT_EQ(files().recentFiles().size(), 9u);
  EXPECT_EQ(files().recentFiles()[0].GetFileString(), recent[2].GetFileString());
  files().clearRecent();
  EXPECT_TRUE(files().recentFiles().empty());
}

} // namespace
