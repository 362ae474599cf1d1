// Snapshots: instances, lights, sky, camera.
#include "snapshot.h"

#include <cmath>

#include "generated_mesh.h"
#include "parameters.h"
#include "scene_builder.h"

namespace host {
namespace {

using Json = SceneBuilder::Json;

TEST(SnapshotLights, comeFromTheFileAndItsExtras) {
  SceneBuilder scene;
  scene.root["extensions"]["KHR_lights_punctual"]["lights"] = Json::parse(R"([
    {"type": "spot", "color": [1, 0.5, 0.25], "intensity": 8, "range": 20, "spot": {"innerConeAngle": 0.25, "outerConeAngle": 0.5}},
    {"type": "directional"}, {"type": "point", "intensity": 2}])");
  const auto light = [](int index) { return Json{{"KHR_lights_punctual", {{"light", index}}}}; };
  scene.addNode(Json{{"extensions", light(0)},
                     {"translation", {1, 2, 3}},
                     {"scale", {5, 5, 5}},
                     {"extras", {{"lumenara", {{"container", {{1107, "real", 0.125}}}}}}}});
  scene.addNode(
      Json{{"extensions", light(1)}, {"extras", {{"lumenara", {{"container", {{1108, "long", 0}}}}}}}});
  scene.addNode(Json{{"extensions", light(2)},
                     {"extras", {{"lumenara", {{"container", {{1107, "real", 3}, {1108, "long", 1}}}}}}}});
  const DocumentPtr document = load(scene);
  const auto lights = takeSnapshot(*document, {})->lights;
  ASSERT_EQ(lights.size(), 3U);
  EXPECT_EQ(lights[0].kind, LightKind::spot);
  EXPECT_EQ(lights[0].intensity, (Float3{8, 4, 2}));
  EXPECT_EQ(lights[0].range, 20);
  EXPECT_EQ(lights[0].innerCone, 0.25F);
  EXPECT_EQ(lights[0].outerCone, 0.5F);
  EXPECT_EQ(lights[0].radius, 0.125F);
  EXPECT_EQ(lights[0].toWorld.off, Vector(1, 2, 3));
  EXPECT_EQ(lights[0].toWorld.v1, Vector(1, 0, 0)) << "the scale is left out";
  EXPECT_TRUE(lights[0].shadows);
  EXPECT_EQ(lights[1].kind, LightKind::distant);
  EXPECT_EQ(lights[1].intensity, (Float3{1, 1, 1}));
  EXPECT_FALSE(lights[1].shadows);
  EXPECT_EQ(lights[2].kind, LightKind::point);
  EXPECT_EQ(lights[2].radius, 0) << "a hard shadow has no radius";
  EXPECT_EQ(takeSnapshot(*document, {})->sky.kind, SkyKind::none);
  reload(*document);
}

// Other programs show a spot of a half space.
TEST(SnapshotLights, rectanglesAndDiscsAreSpotsWithExtras) {
  SceneBuilder scene;
  scene.root["extensions"]["KHR_lights_punctual"]["lights"] =
      Json::parse(R"([{"type": "spot", "intensity": 8, "spot": {"outerConeAngle": 1.5707963267948966}}])");
  const auto node = [](Json container) {
    return Json{{"extensions", {{"KHR_lights_punctual", {{"light", 0}}}}},
                {"extras", {{"lumenara", {{"container", std::move(container)}}}}}};
  };
  scene.addNode(node(Json::parse(R"([[1101, "long", 3], [1109, "real", 2], [1110, "real", 0.5]])")));
  scene.addNode(node(Json::parse(R"([[1101, "long", 4], [1109, "real", -3], [1108, "long", 1]])")));
  scene.addNode(node(Json::parse(R"([[1101, "long", 77]])")));
  const DocumentPtr document = load(scene);
  const DocumentPtr again = reload(*document);
  for (const DocumentPtr* each : {&document, &again}) {
    const auto lights = takeSnapshot(**each, {})->lights;
    ASSERT_EQ(lights.size(), 3U);
    EXPECT_EQ(lights[0].kind, LightKind::rectangle);
    EXPECT_EQ(lights[0].intensity[0], 8);
    EXPECT_EQ(lights[0].width, 2);
    EXPECT_EQ(lights[0].height, 0.5F);
    EXPECT_EQ(lights[1].kind, LightKind::disc);
    EXPECT_GT(lights[1].width, 0);
    EXPECT_TRUE(lights[1].shadows);
    EXPECT_EQ(lights[2].kind, LightKind::point);
  }
  std::string error;
  const std::vector<std::byte> bytes = saveDocumentToMemory(*document, false, &error);
  const Json saved = Json::parse(std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
  const Json& light = saved["extensions"]["KHR_lights_punctual"]["lights"][0];
  EXPECT_EQ(light["type"], "spot");
  EXPECT_NEAR(light["spot"]["outerConeAngle"].get<double>(), 1.5707963, 1e-6);
}

TEST(SnapshotLights, nobodyMeetsABlackPicture) {
  SceneBuilder scene;
  scene.addNode(Json{{"mesh", scene.addQuad()}});
  const DocumentPtr document = load(scene);
  SnapshotPtr snapshot = takeSnapshot(*document, {});
  EXPECT_EQ(snapshot->lights.size(), 1U);
  EXPECT_EQ(snapshot->sky.kind, SkyKind::gradient);
  BaseObject* sky = BaseObject::Alloc(Osky);
  document->InsertObject(sky, nullptr, nullptr);
  sky->SetParameter(param::skyColor, GeData(Vector(0.5, 0, 0)));
  snapshot = takeSnapshot(*document, {});
  EXPECT_TRUE(snapshot->lights.empty());
  EXPECT_EQ(snapshot->sky.kind, SkyKind::constant);
  EXPECT_EQ(snapshot->sky.color, (Float3{0.5F, 0, 0}));
}

TEST(SnapshotSkies, ofAPicture) {
  SceneBuilder scene;
  scene.add("images", Json{{"name", "sky"},
                           {"mimeType", "image/vnd.radiance"},
                           {"bufferView", scene.addView(std::vector<char>{'#', '?'})}});
  scene.addNode(Json{{"name", "sky"},
                     {"extras",
                      {{"lumenara",
                        {{"type", 5105},
                         {"image", 0},
                         {"container", {{1201, "long", 3}, {1205, "real", 1.5}, {1206, "bool", false}}}}}}}});
  const DocumentPtr document = load(scene);
  SnapshotSky sky = takeSnapshot(*document, {})->sky;
  EXPECT_EQ(sky.kind, SkyKind::picture);
  ASSERT_TRUE(sky.picture);
  EXPECT_EQ(sky.picture->bytes->size(), 2U);
  EXPECT_EQ(sky.rotation, 1.5F);
  EXPECT_FALSE(sky.seenByCamera);
  reload(*document);
  SnapshotOptions options;
  options.textures = false;
  EXPECT_EQ(takeSnapshot(*document, options)->sky.kind, SkyKind::constant);
}

// --- instances ---

TEST(SnapshotInstances, placesTagsAndActivity) {
  SceneBuilder scene;
  const int mesh = scene.addQuad();
  const int child = scene.addNode(Json{{"name", "child"}, {"mesh", mesh}, {"translation", {0, 1, 0}}}, false);
  scene.addNode(Json{
      {"name", "parent"},
      {"translation", {1, 0, 0}},
      {"children", {child}},
      {"extras", {{"lumenara", {{"tags", {{{"type", 5637}, {"container", {{1512, "bool", false}}}}}}}}}}});
  scene.addNode(Json{
      {"name", "other"},
      {"mesh", mesh},
      {"extras", {{"lumenara", {{"tags", {{{"type", 5637}, {"container", {{1511, "bool", false}}}}}}}}}}});
  const DocumentPtr document = load(scene);
  SnapshotPtr snapshot = takeSnapshot(*document, {});
  ASSERT_EQ(snapshot->instances.size(), 2U);
  EXPECT_EQ(snapshot->instances[0].toWorld.off, Vector(1, 1, 0));
  EXPECT_TRUE(snapshot->instances[0].seenByCamera);
  EXPECT_FALSE(snapshot->instances[0].castsShadows) << "children inherit it";
  EXPECT_FALSE(snapshot->instances[1].seenByCamera);
  EXPECT_EQ(snapshot->instances[0].mesh, snapshot->instances[1].mesh);
  EXPECT_EQ(snapshot->low, (Float3{0, 0, 0}));
  EXPECT_EQ(snapshot->high, (Float3{2, 2, 0}));

  objectNamed(document, "parent")->SetBit(BIT_ACTIVE);
  SnapshotOptions options;
  options.activeOnly = true;
  snapshot = takeSnapshot(*document, options);
  ASSERT_EQ(snapshot->instances.size(), 1U);
  EXPECT_EQ(snapshot->instances[0].object, objectNamed(document, "child")->GetIdentity());
}

TEST(SnapshotInstances, aFloorIsASquare) {
  SceneBuilder scene;
  scene.add("materials", Json{{"name", "ground"}});
  scene.addNode(
      Json{{"name", "floor"},
           {"translation", {0, -1, 0}},
           {"extras",
            {{"lumenara",
              {{"type", 5104},
               {"container", {{1301, "real", 5}}},
               {"tags", {{{"type", 5616}, {"container", {{1501, "link", {{"material", 0}}}}}}}}}}}}});
  const DocumentPtr document = load(scene);
  const SnapshotPtr snapshot = takeSnapshot(*document, {});
  ASSERT_EQ(snapshot->instances.size(), 1U);
  const Instance& floor = snapshot->instances[0];
  EXPECT_TRUE(floor.isFloor);
  EXPECT_EQ(floor.mesh->low, (Float3{-5, 0, -5}));
  EXPECT_EQ(floor.mesh->high, (Float3{5, 0, 5}));
  EXPECT_EQ(floor.toWorld.off.y, -1);
  EXPECT_EQ(snapshot->materials.at(static_cast<std::size_t>(floor.materials.at(0)))->name, "ground");
  EXPECT_EQ(takeSnapshot(*document, {})->instances[0].mesh, floor.mesh) << "made once";
  // Its front faces up.
  const auto& t = floor.mesh->triangles[0];
  const auto& p = floor.mesh->positions;
  const float up = (p[t[1]][2] - p[t[0]][2]) * (p[t[2]][0] - p[t[0]][0]) -
                   (p[t[1]][0] - p[t[0]][0]) * (p[t[2]][2] - p[t[0]][2]);
  EXPECT_GT(up, 0);
  reload(*document);
}

TEST(SnapshotInstances, camerasOfBothKinds) {
  SceneBuilder scene;
  scene.add("cameras", Json{{"type", "orthographic"},
                            {"orthographic", {{"xmag", 2}, {"ymag", 1.5}, {"znear", 0.25}, {"zfar", 50}}}});
  scene.add("cameras", Json{{"type", "perspective"}, {"perspective", {{"yfov", 0.5}, {"znear", 0.125}}}});
  scene.addNode(Json{{"name", "flat"}, {"camera", 0}, {"translation", {0, 0, 9}}, {"scale", {2, 2, 2}}});
  scene.addNode(Json{{"name", "deep"}, {"camera", 1}});
  const DocumentPtr document = load(scene);
  SnapshotCamera camera = takeSnapshot(*document, {})->camera;
  EXPECT_TRUE(camera.orthographic) << "the file's first camera";
  EXPECT_EQ(camera.ymag, 1.5F);
  EXPECT_EQ(camera.znear, 0.25F);
  EXPECT_EQ(camera.zfar, 50);
  EXPECT_EQ(camera.toWorld.off, Vector(0, 0, 9));
  EXPECT_EQ(camera.toWorld.v2, Vector(0, 1, 0));
  SnapshotOptions options;
  options.camera = objectNamed(document, "deep");
  camera = takeSnapshot(*document, options)->camera;
  EXPECT_FALSE(camera.orthographic);
  EXPECT_EQ(camera.yfov, 0.5F);
  EXPECT_EQ(camera.zfar, 0);
  EXPECT_EQ(camera.object, options.camera->GetIdentity());
  EXPECT_EQ(camera.aperture, 0);
  options.camera->SetParameter(param::cameraAperture, GeData(Real(0.25)));
  options.camera->SetParameter(param::cameraFocusDistance, GeData(Real(3)));
  options.camera->SetParameter(param::cameraBlades, GeData(LONG(6)));
  options.camera->SetParameter(param::cameraBladeRotation, GeData(Real(0.5)));
  options.camera->SetParameter(param::cameraShiftX, GeData(Real(0.125)));
  options.camera->SetParameter(param::cameraShiftY, GeData(Real(-11)));
  const DocumentPtr again = reload(*document);
  options.camera = objectNamed(again, "deep");
  camera = takeSnapshot(*again, options)->camera;
  EXPECT_EQ(camera.aperture, 0.25F);
  EXPECT_EQ(camera.focusDistance, 3);
  EXPECT_EQ(camera.blades, 6);
  EXPECT_EQ(camera.bladeRotation, 0.5F);
  EXPECT_EQ(camera.shiftX, 0.125F);
  EXPECT_EQ(camera.shiftY, -10) << "the farthest shift";
}

// A view through a spot shows its cone, one through another light the usual angle.
TEST(SnapshotCameraTest, lightsCanBeLookedThrough) {
  SceneBuilder scene;
  scene.addNode(Json{{"mesh", scene.addQuad()}});
  const DocumentPtr document = load(scene);
  BaseObject* light = BaseObject::Alloc(Olight);
  light->SetMg(MatrixMove({1, 2, 3}));
  document->InsertObject(light, nullptr, nullptr);
  SnapshotOptions options;
  options.camera = light;
  SnapshotCamera camera = takeSnapshot(*document, options)->camera;
  EXPECT_EQ(camera.yfov, 0.8F);
  EXPECT_EQ(camera.toWorld.off, Vector(1, 2, 3));
  EXPECT_FALSE(camera.orthographic);
  light->SetParameter(param::lightKind, GeData(LONG(1)));
  light->SetParameter(param::lightOuterCone, GeData(Real(0.25)));
  EXPECT_EQ(takeSnapshot(*document, options)->camera.yfov, 0.5F);
  light->SetParameter(param::lightOuterCone, GeData(Real(1.5707)));
  EXPECT_EQ(takeSnapshot(*document, options)->camera.yfov, 2.6F) << "a half space has no picture";
}

TEST(SnapshotInstances, anUnchangedSourceGivesTheSameMesh) {
  SceneBuilder scene;
  const int child = scene.addNode(Json{{"name", "n"}, {"mesh", scene.addQuad()}}, false);
  scene.addNode(Json{{"name", "s"}, {"children", {child}}, {"extras", {{"lumenara", {{"type", 1007455}}}}}});
  const DocumentPtr document = load(scene);
  const MeshPtr first = takeSnapshot(*document, {})->instances.at(0).mesh;
  EXPECT_EQ(first->triangles.size(), 32U) << "one quad, two levels";
  const std::uint64_t made = generatedMeshCount();
  objectNamed(document, "n")->SetMl(MatrixMove({1, 0, 0}));
  const DocumentPtr clone(document->GetClone(COPYFLAGS_NO_ANIMATION));
  EXPECT_EQ(takeSnapshot(*clone, {})->instances.at(0).mesh, first);
  EXPECT_EQ(generatedMeshCount(), made);

  SnapshotOptions half;
  half.lod = 0.5;
  EXPECT_EQ(takeSnapshot(*document, half)->instances.at(0).mesh->triangles.size(), 8U);
  half.lod = 0;
  EXPECT_EQ(takeSnapshot(*document, half)->instances.at(0).mesh->triangles.size(), 2U);
  objectNamed(document, "s")->SetDeformMode(FALSE);
  EXPECT_EQ(takeSnapshot(*document, {})->instances.at(0).mesh->triangles.size(), 2U);
  reload(*document);
}

class Stopped : public C4DThread {
 public:
  Bool TestDBreak() override { return TRUE; }
  void Main() override {}
  const CHAR* GetThreadName() override { return reinterpret_cast<const CHAR*>("stopped"); }
};

TEST(SnapshotInstances, aBreakGivesNoSnapshot) {
  SceneBuilder scene;
  scene.addNode(Json{{"mesh", scene.addQuad()}});
  const DocumentPtr document = load(scene);
  Stopped thread;
  SnapshotOptions options;
  options.thread = thread.Get();
  EXPECT_EQ(takeSnapshot(*document, options), nullptr);
  EXPECT_FALSE(document->ExecutePasses(thread.Get(), TRUE, TRUE, TRUE, BUILDFLAGS_0));
}

} // namespace
} // namespace host
