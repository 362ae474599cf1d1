// The tree, materials and rows.
#include "session_fixture.h"
#include "snapshot.h"

namespace {

using namespace host;

class SceneEditsTest : public SessionFixture {
 protected:
  SceneEditsTest() { openScene(); }

  std::vector<std::string> tree() {
    std::vector<std::string> lines;
    for (const ObjectRow& row : objectRows(document()))
      lines.push_back(std::string(static_cast<std::size_t>(row.depth), ' ') + row.name.GetUTF8());
    return lines;
  }
  using Lines = std::vector<std::string>;
};

TEST_F(SceneEditsTest, MovedObjectsStayWhereTheyAreSeen) {
  const Matrix world = worldOf(*object("arm"));
  EXPECT_TRUE(moveObjects(document(), std::array{id("arm")}, 0, id("lamp")));
  EXPECT_EQ(tree(), (Lines{"root", " body", "lamp", "arm", "camera", "mover"}));
  const Matrix now = worldOf(*object("arm"));
  EXPECT_LT(Dot(now.off - world.off, now.off - world.off), 1e-20);
  EXPECT_LT(Dot(now.v1 - world.v1, now.v1 - world.v1), 1e-20);
  EXPECT_FALSE(moveObjects(document(), std::array{id("root")}, id("body"), 0)) << "not below itself";
  EXPECT_FALSE(moveObjects(document(), std::array{id("arm")}, 0, id("body"))) << "no such place";
  EXPECT_FALSE(moveObjects(document(), std::array{id("arm")}, 0, id("lamp"))) << "it is there";
}

TEST_F(SceneEditsTest, SeveralMoveInTheirOrder) {
  EXPECT_TRUE(moveObjects(document(), std::array{id("camera"), id("lamp")}, 0, 0));
  EXPECT_EQ(tree(), (Lines{"lamp", "camera", "root", " body", "  arm", "mover"}));
  EXPECT_TRUE(moveObjects(document(), std::array{id("lamp"), id("camera")}, 0, id("camera")) == false)
      << "behind one of themselves: nothing moves";
  EXPECT_TRUE(moveObjects(document(), std::array{id("body"), id("arm"), id("lamp")}, 0, id("mover")));
  EXPECT_EQ(tree(), (Lines{"camera", "root", "mover", "lamp", "body", " arm"}))
      << "the arm hangs on the body";
}

TEST_F(SceneEditsTest, GroupsCopiesAndDeletes) {
  const Identity group = groupObjects(document(), std::array{id("lamp"), id("arm")});
  EXPECT_EQ(tree(), (Lines{"root", " body", "  Group", "   arm", "   lamp", "camera", "mover"}));
  EXPECT_EQ(selectedObjects(document()), std::vector{group});
  EXPECT_LT(std::abs(worldOf(*object("lamp")).off.y - 4), 1e-9);
  const Identities copies = duplicateObjects(document(), std::array{id("body"), id("arm")});
  ASSERT_EQ(copies.size(), 1u);
  EXPECT_EQ(tree(), (Lines{"root", " body", "  Group", "   arm", "   lamp", " body 2", "  Group", "   arm",
                           "   lamp", "camera", "mover"}));
  EXPECT_EQ(selectedObjects(document()), copies);
  EXPECT_TRUE(deleteObjects(document(), std::array{id("root")}));
  EXPECT_EQ(tree(), (Lines{"camera", "mover"}));
  EXPECT_FALSE(deleteObjects(document(), copies)) << "gone already";
}

TEST_F(SceneEditsTest, NewCamerasLookAsTheView) {
  ObjectState* own = state().activeView->editorCamera;
  own->local.off = {3, 4, 5};
  own->data.SetReal(param::cameraYfov, 0.3);
  const Identity camera = newObject(document(), Ocamera, document().GetActiveBaseDraw());
  EXPECT_EQ(object("Camera")->identity, camera);
  EXPECT_EQ(object("Camera")->local, own->local);
  EXPECT_EQ(param::real(*object("Camera"), param::cameraYfov), 0.3);
  EXPECT_NE(newObject(document(), Ocamera), 0u);
  EXPECT_NE(document().SearchObject("Camera 2"), nullptr);
  EXPECT_EQ(newObject(document(), Opolygon), 0u) << "a mesh cannot be made from nothing";
}

TEST_F(SceneEditsTest, MaterialsAreAssignedCountedAndTakenAway) {
  const Identity red = material("red"), blue = material("blue");
  EXPECT_TRUE(assignMaterial(document(), std::array{id("arm"), id("body")}, red));
  EXPECT_FALSE(assignMaterial(document(), std::array{id("arm")}, red)) << "shown already";
  std::vector<MaterialRow> rows = materialRows(document());
  EXPECT_EQ(rows[0].users, 2);
  EXPECT_EQ(rows[1].users, 0);
  EXPECT_TRUE(assignMaterial(document(), std::array{id("arm")}, blue));
  EXPECT_EQ(objectRows(document())[2].materials, std::vector{blue});
  EXPECT_TRUE(deleteMaterial(document(), red));
  EXPECT_TRUE(objectRows(document())[1].materials.empty());
  EXPECT_TRUE(assignMaterial(document(), std::array{id("arm")}, 0));
  EXPECT_EQ(object("arm")->tags.first(), nullptr);
  newMaterial(document(), "blue");
  rows = materialRows(document());
  EXPECT_EQ(rows.back().name, String("blue 2"));
  EXPECT_TRUE(rows.back().selected);
}

TEST_F(SceneEditsTest, HiddenObjectsAreNotRendered) {
  const auto count = [&](bool editor) {
    SnapshotOptions what;
    what.forEditor = editor;
    return takeSnapshot(document(), what)->instances.size();
  };
  EXPECT_EQ(count(false), 2u);
  setAttribute(document(), std::array{id("arm")}, AttributeId::visibleRender, GeData::FromBool(FALSE));
  EXPECT_EQ(count(false), 1u);
  EXPECT_EQ(count(true), 2u);
  setAttribute(document(), std::array{id("root")}, AttributeId::visibleEditor, GeData::FromBool(FALSE));
  EXPECT_EQ(count(true), 0u) << "and all below";
  const std::vector<ObjectRow> rows = objectRows(document());
  EXPECT_TRUE(rows[2].visibleEditor);
  EXPECT_TRUE(rows[2].hiddenEditor);
  EXPECT_FALSE(rows[1].hiddenRender);
  EXPECT_TRUE(rows[2].hiddenRender);
}

TEST_F(SceneEditsTest, FilteredRowsKeepTheirAncestors) {
  std::vector<std::string> names;
  for (const ObjectRow& row : filterRows(objectRows(document()), "AR"))
    names.push_back(row.name.GetUTF8());
  EXPECT_EQ(names, (Lines{"root", "body", "arm"}));
  EXPECT_TRUE(filterRows(objectRows(document()), "nothing has this name").empty());
}

TEST_F(SceneEditsTest, CamerasAndEffectsAreListed) {
  document().GetRenderBaseDraw()->SetSceneCamera(document().SearchObject("camera"));
  const std::vector<CameraRow> cameras = cameraRows(document());
  ASSERT_EQ(cameras.size(), 2u);
  EXPECT_FALSE(cameras[0].current);
  EXPECT_TRUE(cameras[1].current);
  const Identity spot = newLight(document(), 1);
  EXPECT_EQ(lightViewRows(document()).back().identity, spot);
  EXPECT_FALSE(lightViewRows(document()).back().current);
  document().GetRenderBaseDraw()->SetSceneCamera(findObject(document(), spot));
  EXPECT_TRUE(lightViewRows(document()).back().current);
  EXPECT_TRUE(cameraRows(document()).front().current) << "none of the cameras";
  selectObjects(document(), {});
  EXPECT_EQ(chosenCamera(document()), 0u) << "a light has no lens to focus";
  EXPECT_EQ(videoPostRows(document()).size(), 1u);
  EXPECT_EQ(addVideoPost(document(), VPglobalillumination), 0u) << "it is there";
  EXPECT_EQ(addVideoPost(document(), 4711), 0u) << "nobody has registered it";
  EXPECT_NE(addVideoPost(document(), VPcaustics), 0u);
  EXPECT_EQ(videoPostRows(document())[1].name, String("Caustics"));
  for (const VideoPostRow& row : addableVideoPosts(document()))
    EXPECT_NE(row.type, VPcaustics);
  EXPECT_FALSE(setRenderValue(document(), 987654, GeData(LONG(1)))) << "no such setting";
}

} // namespace
