// The differences between two scenes, in words.
#include "history_kit.h"
#include "render_settings.h"
#include "scene_changes.h"

namespace {

using namespace host;
using Lines = std::vector<std::string>;

class SceneChangesTest : public SessionFixture {
 protected:
  SceneChangesTest() {
    openScene();
    before = keepScene(state(), nullptr);
  }

  KeptScenePtr now() { return keepScene(state(), before); }
  /// The differences in memory, and the same after a restart, when nodes have other identities.
  Lines changes() {
    const KeptScenePtr after = now();
    const Lines lines = sceneChanges(*before, *after);
    std::string error;
    const auto bytes = sceneToBytes(*before, &error);
    const KeptScenePtr loaded = sceneFromBytes(bytes, {});
    EXPECT_TRUE(loaded) << error;
    EXPECT_EQ(loaded ? sceneChanges(*loaded, *after) : Lines(), lines);
    return lines;
  }

  KeptScenePtr before;
};

TEST_F(SceneChangesTest, EqualScenesHaveNone) {
  EXPECT_EQ(changes(), Lines());
}

TEST_F(SceneChangesTest, ValuesHaveTheLabelsOfTheAttributes) {
  object("lamp")->data.SetReal(param::lightIntensity, 12);
  before = keepScene(state(), nullptr);
  object("lamp")->data.SetReal(param::lightIntensity, 8);
  object("lamp")->data.SetVector(param::lightColor, {1, 0.5, 0});
  object("camera")->data.SetReal(param::cameraAperture, 0.0125);
  stateOf(document().SearchMaterial("red"))->data.SetReal(param::roughness, 0.25);
  EXPECT_EQ(changes(), (Lines{"lamp color (1, 1, 1) -> (1, 0.5, 0)", "lamp intensity 12 cd -> 8 cd",
                              "camera aperture 0 mm -> 12.5 mm", "Material red roughness 0.5 -> 0.25"}));
}

TEST_F(SceneChangesTest, KindsAndSwitchesAreWords) {
  object("lamp")->data.SetLong(param::lightKind, 3);
  object("body")->data.SetBool(param::objectVisibleRender, FALSE);
  EXPECT_EQ(changes(), (Lines{"body visible in renders on -> off", "lamp kind Point -> Rectangle"}));
}

TEST_F(SceneChangesTest, MovesTurnsAndScales) {
  Pose pose;
  pose.translation = {0, 1, 0};
  pose.rotation = rotationOf({31, 20, 10});
  pose.scale = {1, 2, 3};
  object("body")->pose = pose;
  object("body")->local = matrixOf(pose);
  object("camera")->local.off.z = 9;
  EXPECT_EQ(changes(), (Lines{"body moved, turned", "camera moved"}));
}

TEST_F(SceneChangesTest, NodesComeGoAndChangeTheirPlaceAndName) {
  destroyNode(object("lamp"));
  ObjectState* box = makeObject(Onull);
  box->name = "box";
  state().children.append(*box);
  object("camera")->name = "side";
  EXPECT_EQ(sceneChanges(*before, *now()), (Lines{"lamp deleted", "camera renamed to side", "box added"}));
  ObjectState* arm = object("arm");
  arm->list->remove(*arm);
  object("root")->children.append(*arm);
  const Lines lines = sceneChanges(*before, *now());
  EXPECT_EQ(lines.size(), 4u);
  EXPECT_EQ(lines.at(0), "arm moved below root");
}

TEST_F(SceneChangesTest, ShapesMaterialsAndTextures) {
  auto mesh = std::make_shared<Mesh>(*triangleMesh());
  mesh->positions[1] = {2, 0, 0};
  object("arm")->mesh = mesh;
  assignMaterial(document(), std::array{id("body")}, material("blue"));
  stateOf(document().SearchMaterial("red"))->shaders.first()->data.SetVector(param::colorValue, {0, 1, 0});
  EXPECT_EQ(changes(),
            (Lines{"body material red -> blue", "arm shape changed", "Material red textures changed"}));
}

TEST_F(SceneChangesTest, RenderSettingsTimeAndView) {
  NodeState& data = *state().renderData.first();
  data.data.SetLong(RDATA_MAXSAMPLES, 128);
  data.data.SetLong(render::denoiseSetting, 1);
  data.data.SetBool(RDATA_OPTION_SHADOW, FALSE);
  document().SetTime(BaseTime(15, 30));
  document().ExecutePasses(nullptr, TRUE, TRUE, FALSE, BUILDFLAGS_0);
  state().renderView->camera = id("camera");
  const Lines lines = changes();
  EXPECT_EQ(lines,
            (Lines{"Frame 0 -> 15", "The view looks through camera", "Render settings samples 64 -> 128",
                   "Render settings denoise off -> at the end", "Render settings shadows on -> off"}))
      << "the object that its tracks move is where they put it";
}

TEST_F(SceneChangesTest, TheViewsOwnCamera) {
  state().renderView->editorCamera->local.off = {1, 2, 3};
  state().renderView->editorCamera->pose.reset();
  EXPECT_EQ(sceneChanges(*before, *now()), Lines{"View moved"});
}

} // namespace
