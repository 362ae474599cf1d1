// The watch over the open file: reloads, and pictures beside the scene.
#include <atomic>
#include <cstdlib>
#include <thread>

#include "file_session_kit.h"

namespace {

using namespace host;

TEST_F(FileSessionTest, AChangedFileIsLoadedAgainAndTheViewTimeAndSelectionStay) {
  const Filename file = write("a.glb");
  open(file);
  session->hub().setTime(BaseTime(15, 30));
  edits().apply("Select", [&](BaseDocument& d) {
    selectObjects(d, std::array{id("arm"), id("lamp")});
    selectMaterial(d, material("blue"));
  });
  ObjectState* own = state().activeView->editorCamera;
  own->local.off = {7, 8, 9};
  own->data.SetReal(param::cameraYfov, 0.4);
  document().GetActiveBaseDraw()->SetSceneCamera(document().SearchObject("camera"));
  setViewArea(*document().GetActiveBaseDraw(), 0, 0, 333, 222);
  const Identity before = document().GetIdentity();

  write("a.glb", [](BaseDocument& d) {
    d.SearchObject("body")->SetName("trunk"); // the arm is elsewhere now, but it is the only one
    BaseObject* lamp = d.SearchObject("lamp");
    lamp->Remove();
    BaseObject::Free(lamp);
  });
  advance(FileSession::watchPeriod, FileSession::watchPeriod);
  EXPECT_EQ(document().GetIdentity(), before) << "it may still be being written";
  watchIt();
  EXPECT_NE(document().GetIdentity(), before);
  EXPECT_NE(document().SearchObject("trunk"), nullptr);
  EXPECT_EQ(selectedObjects(document()), std::vector{id("arm")});
  EXPECT_EQ(selectedMaterial(document()), material("blue"));
  EXPECT_EQ(document().GetTime(), BaseTime(15, 30));
  EXPECT_EQ(object("mover")->local.off, Vector(5, 0, 0)) << "and the scene stands there";
  EXPECT_EQ(state().activeView->camera, id("camera"));
  EXPECT_EQ(state().activeView->editorCamera->local.off, Vector(7, 8, 9));
  EXPECT_EQ(param::real(*state().activeView->editorCamera, param::cameraYfov), 0.4);
  EXPECT_EQ(state().activeView->area, (std::array<LONG, 4>{0, 0, 333, 222}));
  EXPECT_FALSE(files().isDirty());
  EXPECT_EQ(reloadAsked, 0);
}

TEST_F(FileSessionTest, AViewWithoutItsCameraKeepsItsPlace) {
  const Filename file = write("a.glb");
  open(file);
  document().GetActiveBaseDraw()->SetSceneCamera(document().SearchObject("camera"));
  write("a.glb", [](BaseDocument& d) {
    BaseObject* camera = d.SearchObject("camera");
    BaseObject::Free(camera);
  });
  watchIt();
  EXPECT_EQ(document().SearchObject("camera"), nullptr);
  EXPECT_EQ(state().activeView->camera, 0u);
  EXPECT_EQ(state().activeView->editorCamera->local.off, Vector(0, 1, 8));
}

TEST_F(FileSessionTest, UnsavedEditsAreAskedAboutBeforeAReload) {
  const Filename file = write("a.glb");
  open(file);
  edit();
  write("a.glb", [](BaseDocument& d) { d.SearchObject("lamp")->SetName("theirs"); });
  watchIt();
  EXPECT_EQ(reloadAsked, 1);
  EXPECT_NE(document().SearchObject("edited"), nullptr);
  watchIt();
  EXPECT_EQ(reloadAsked, 1) << "once for a change";
  reloadAnswer = true;
  write("a.glb", [](BaseDocument& d) { d.SearchObject("lamp")->SetName("theirs 2"); });
  watchIt();
  EXPECT_EQ(reloadAsked, 2);
  EXPECT_NE(document().SearchObject("theirs 2"), nullptr);
  EXPECT_FALSE(files().isDirty());
}

TEST_F(FileSessionTest, OurOwnSaveIsNotAChange) {
  const Filename file = write("a.glb");
  open(file);
  edit();
  files().save();
  files().finish();
  const Identity before = document().GetIdentity();
  watchIt();
  watchIt();
  EXPECT_EQ(document().GetIdentity(), before);
  write("a.glb");
  watchIt();
  EXPECT_NE(document().GetIdentity(), before) << "the watch goes on";
}

TEST_F(FileSessionTest, AFileThatIsBeingWrittenIsReadWhenItHoldsStill) {
  const Filename file = write("a.glb");
  open(file);
  const std::string whole =
      readText(write("b.glb", [](BaseDocument& d) { d.SearchObject("lamp")->SetName("new"); }));
  const Identity before = document().GetIdentity();
  for (std::size_t part = 1; part <= 4; ++part) { // a slow writer
    folder.write("a.glb", std::string_view(whole).substr(0, whole.size() * part / 5));
    advance(FileSession::watchPeriod, FileSession::watchPeriod);
    ASSERT_EQ(document().GetIdentity(), before);
  }
  GeFKill(file); // and one that begins anew
  advance(2 * FileSession::watchPeriod, FileSession::watchPeriod);
  EXPECT_EQ(document().GetIdentity(), before);
  folder.write("a.glb", whole);
  watchIt();
  EXPECT_NE(document().SearchObject("new"), nullptr);
  EXPECT_TRUE(errors.empty()) << errors[0].text();
}

TEST_F(FileSessionTest, AFileRewrittenInTheMiddleOfAReadIsReadAgain) {
  const std::string whole = readText(write("b.glb"));
  // Half of the file is there, just now; the other half comes while it is being read.
  folder.write("a.glb", std::string_view(whole).substr(0, whole.size() / 2));
  std::atomic<bool> begun{false};
  std::thread writer([&] {
    while (!begun)
      std::this_thread::yield();
    std::this_thread::sleep_for(std::chrono::milliseconds(60));
    folder.write("a.glb", whole);
  });
  files().open(folder / "a.glb");
  begun = true;
  files().finish();
  writer.join();
  EXPECT_TRUE(errors.empty()) << errors[0].text();
  std::string difference;
  EXPECT_TRUE(documentsEqual(document(), *SessionFixture::scene(), &difference)) << difference;
}

TEST_F(FileSessionTest, ABrokenRewriteKeepsTheSceneAndTheWatch) {
  const Filename file = write("a.glb");
  open(file);
  const DocumentPtr before = copy();
  folder.write("a.glb", "broken");
  age(file, 5);
  watchIt();
  ASSERT_EQ(errors.size(), 1u);
  expectEqual(before, "after the broken rewrite");
  watchIt();
  EXPECT_EQ(errors.size(), 1u) << "told once";
  write("a.glb", [](BaseDocument& d) { d.SearchObject("lamp")->SetName("repaired"); });
  watchIt();
  EXPECT_NE(document().SearchObject("repaired"), nullptr);
}

TEST_F(FileSessionTest, APictureBesideTheSceneIsWatchedToo) {
  folder.write("tex.png", "one");
  folder.write("a.gltf", R"({"asset":{"version":"2.0"},"scene":0,"scenes":[{"nodes":[]}],
    "images":[{"uri":"tex.png"}],"textures":[{"source":0}],
    "materials":[{"name":"m","pbrMetallicRoughness":{"baseColorTexture":{"index":0}}}]})");
  age(folder / "tex.png");
  age(folder / "a.gltf");
  open(folder / "a.gltf");
  ASSERT_TRUE(errors.empty()) << errors[0].text();
  const Identity before = document().GetIdentity();
  folder.write("tex.png", "another");
  age(folder / "tex.png", 5);
  watchIt();
  EXPECT_NE(document().GetIdentity(), before);
}

// A scene with one picture beside it.
class OutsidePictureTest : public FileSessionTest {
 protected:
  OutsidePictureTest() {
    std::filesystem::create_directories(toPath(folder / "tex tures"));
    paint("one");
    folder.write("a.gltf", R"({"asset":{"version":"2.0"},"scene":0,"scenes":[{"nodes":[0]}],
      "nodes":[{"name":"lamp"}],"images":[{"uri":"tex%20tures/%C3%BC%23.png"}],"textures":[{"source":0}],
      "materials":[{"name":"m","pbrMetallicRoughness":{"baseColorTexture":{"index":0}}}]})");
    age(folder / "a.gltf");
    open(folder / "a.gltf");
    EXPECT_TRUE(errors.empty()) << errors[0].text();
  }
  // The picture's file holds this, and looks older than `seconds`.
  void paint(const std::string& bytes, int seconds = 10) {
    folder.write("tex tures/ü#.png", std::string("\x89PNG") + bytes);
    age(folder / "tex tures/ü#.png", seconds);
  }
  std::string painted() {
    const auto& bytes =
        *static_cast<ShaderState*>(state().materials.first()->shaders.first())->picture->bytes;
    return std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size()).substr(4);
  }
  void saveInto(const char* name) {
    EXPECT_TRUE(files().saveAs(folder / name));
    files().finish();
    EXPECT_TRUE(errors.empty()) << errors[0].text();
  }
};

TEST_F(OutsidePictureTest, IsWatchedAfterASaveToo) {
  edit();
  EXPECT_TRUE(files().save());
  files().finish();
  EXPECT_EQ(readText(folder / "a.gltf").find("base64"), std::string::npos);
  watchIt();
  EXPECT_EQ(painted(), "one");
  paint("two", 5);
  watchIt();
  EXPECT_EQ(painted(), "two");
  EXPECT_NE(document().SearchObject("edited"), nullptr) << "with what was saved";
  std::filesystem::create_directories(toPath(folder / "other"));
  saveInto("other/b.glb");
  paint("three", 4);
  watchIt();
  EXPECT_EQ(painted(), "three") << "from the other folder as well";
}

// Another program painted between the load and the save: the loaded picture is older than the file.
TEST_F(OutsidePictureTest, AChangeDuringASaveIsNoticed) {
  paint("two", 5);
  edit();
  EXPECT_TRUE(files().save());
  files().finish();
  watchIt();
  EXPECT_EQ(painted(), "two");
}

TEST_F(OutsidePictureTest, APackedSceneHoldsItAndStaysPacked) {
  EXPECT_TRUE(files().savePacked(folder / "p.gltf")) << "another ending becomes .glb";
  files().finish();
  EXPECT_EQ(files().title(), String("p.glb"));
  paint("two", 5);
  watchIt();
  EXPECT_EQ(painted(), "one") << "nothing depends on the file";
  edit();
  EXPECT_TRUE(files().save());
  files().finish();
  EXPECT_EQ(readText(folder / "p.glb").find("%23.png\",\"mime"), std::string::npos);
  LoadResult loaded = loadDocument(folder / "p.glb");
  EXPECT_TRUE(outsideFiles(*loaded.document).empty()) << "saved again it stays packed";
  saveInto("q.gltf");
  EXPECT_EQ(outsideFiles(*loadDocument(folder / "q.gltf").document).size(), 1u);
}

TEST_F(FileSessionTest, AReloadIsOneStepOfUndo) {
  const Filename file = write("a.glb");
  open(file);
  document().GetActiveBaseDraw()->SetSceneCamera(document().SearchObject("camera"));
  edit("mine");
  const DocumentPtr mine = copy();
  reloadAnswer = true;
  write("a.glb", [](BaseDocument& d) {
    d.SearchObject("lamp")->SetName("theirs");
    stateOf(&d)->animationNames = {"run", "jump"};
  });
  watchIt();
  ASSERT_NE(document().SearchObject("theirs"), nullptr);
  const DocumentPtr theirs = copy();
  EXPECT_FALSE(files().isDirty());
  EXPECT_EQ(edits().undoName(), String("Reload"));
  EXPECT_TRUE(edits().undo());
  runAll();
  expectEqual(mine, "the edits are back");
  EXPECT_EQ(state().activeView->camera, id("camera")) << "and the view looks through the same camera";
  EXPECT_TRUE(files().isDirty()) << "this is not what is on disk";
  EXPECT_TRUE(edits().redo());
  expectEqual(theirs, "the file again");
  EXPECT_EQ(state().activeView->camera, id("camera"));
  EXPECT_FALSE(files().isDirty());
  edits().undo();
  EXPECT_EQ(edits().undoName(), String("Rename")) << "what was before the reload can be undone too";
  edits().undo();
  EXPECT_NE(document().SearchObject("lamp"), nullptr);
  edits().redo();
  EXPECT_TRUE(files().save());
  files().finish();
  EXPECT_NE(loadDocument(file).document->SearchObject("mine"), nullptr);
  EXPECT_FALSE(files().isDirty());
  unsavedAnswer = UnsavedAnswer::discard;
  open(write("b.glb"));
  EXPECT_FALSE(edits().canUndo()) << "another scene has no way back";
}

} // namespace
