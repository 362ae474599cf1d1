// Evaluation: tracks, morph targets, skins, target expressions, clones without animation.
#include <cmath>

#include "document.h"
#include "evaluate.h"
#include "parameters.h"
#include "scene_builder.h"

namespace host {
namespace {

using Json = SceneBuilder::Json;

void evaluate(const DocumentPtr& document, double seconds) {
  document->SetTime(BaseTime(seconds));
  ASSERT_TRUE(document->ExecutePasses(nullptr, TRUE, TRUE, TRUE, BUILDFLAGS_0));
}

// A node moved by keys at 1, 2 and 4 seconds.
SceneBuilder moved(const char* interpolation, const std::vector<float>& values,
                   const char* path = "translation", int width = 3) {
  SceneBuilder scene;
  const int node = scene.addNode(Json{{"name", "n"}, {"mesh", scene.addQuad()}});
  const int input = scene.addFloats({1, 2, 4}, "SCALAR", 1);
  const int output = scene.addFloats(values, width == 4 ? "VEC4" : "VEC3", width);
  scene.add("animations",
            Json{{"name", "go"},
                 {"samplers", {{{"input", input}, {"output", output}, {"interpolation", interpolation}}}},
                 {"channels", {{{"sampler", 0}, {"target", {{"node", node}, {"path", path}}}}}}});
  return scene;
}

double xAt(const DocumentPtr& document, double seconds) {
  evaluate(document, seconds);
  return objectNamed(document, "n")->GetMl().off.x;
}

TEST(Tracks, stepHoldsUntilTheNextKey) {
  const DocumentPtr document = load(moved("STEP", {1, 0, 0, 5, 0, 0, 9, 0, 0}));
  for (const auto& [seconds, x] :
       {std::pair(0.0, 1.0), {1.0, 1.0}, {1.99, 1.0}, {2.0, 5.0}, {3.9, 5.0}, {4.0, 9.0}, {9.0, 9.0}})
    EXPECT_EQ(xAt(document, seconds), x) << seconds;
}

TEST(Tracks, linearBetweenKeys) {
  const DocumentPtr document = load(moved("LINEAR", {1, 0, 0, 5, 0, 0, 9, 0, 0}));
  for (const auto& [seconds, x] :
       {std::pair(0.0, 1.0), {1.5, 3.0}, {2.0, 5.0}, {3.0, 7.0}, {4.0, 9.0}, {9.0, 9.0}})
    EXPECT_DOUBLE_EQ(xAt(document, seconds), x) << seconds;
}

TEST(Tracks, cubicWithTangents) {
  // in-tangent, value, out-tangent of each key; flat tangents, then one of slope 2 at the start of the last
  // span
  const DocumentPtr document = load(moved(
      "CUBICSPLINE", {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 8, 0, 0, 2, 0, 0, 0, 0, 0, 8, 0, 0, 0, 0, 0}));
  EXPECT_DOUBLE_EQ(xAt(document, 1.5), 4);
  EXPECT_DOUBLE_EQ(xAt(document, 1.25), 8 * (3 * 0.0625 - 2 * 0.015625));
  // span 2, out-tangent 2: the bump is (t^3 - 2 t^2 + t) * 2 * 2 at t = 1/2
  EXPECT_DOUBLE_EQ(xAt(document, 3), 8 + 0.125 * 4);
  EXPECT_DOUBLE_EQ(xAt(document, 4), 8);
}

TEST(Tracks, rotationsGoAlongTheArc) {
  const auto half = static_cast<float>(std::sqrt(0.5));
  const DocumentPtr document =
      load(moved("LINEAR", {0, 0, 0, 1, 0, 0, half, half, 0, 0, 1, 0}, "rotation", 4));
  evaluate(document, 1.5); // a quarter turn about z in the first second
  const Matrix m = objectNamed(document, "n")->GetMl();
  EXPECT_NEAR(m.v1.x, std::cos(M_PI / 4), 1e-6);
  EXPECT_NEAR(m.v1.y, std::sin(M_PI / 4), 1e-6);
  EXPECT_NEAR(m.v2.x, -std::sin(M_PI / 4), 1e-6);
}

TEST(Tracks, theDocumentEndsWithTheLastKey) {
  const DocumentPtr document = load(moved("LINEAR", {1, 0, 0, 5, 0, 0, 9, 0, 0}));
  EXPECT_EQ(document->GetMaxTime().GetNumerator(), 120);
  EXPECT_EQ(document->GetMaxTime().GetDenominator(), 30);
  EXPECT_EQ(document->GetMinTime(), BaseTime(0));
  EXPECT_EQ(document->GetFirstObject()->GetMl().off.x, 1) << "loaded in the pose of its time";
}

TEST(Tracks, aCloneWithoutAnimationKeepsThePose) {
  const DocumentPtr document = load(moved("LINEAR", {1, 0, 0, 5, 0, 0, 9, 0, 0}));
  evaluate(document, 3);
  const DocumentPtr still(document->GetClone(COPYFLAGS_NO_ANIMATION)),
      moving(document->GetClone(COPYFLAGS_0));
  EXPECT_EQ(xAt(still, 1.5), 7);
  EXPECT_EQ(xAt(moving, 1.5), 3);
  EXPECT_EQ(objectNamed(document, "n")->GetMl().off.x, 7) << "the original is as it was";
}

TEST(Tracks, onlyRequestedPassesAreEvaluated) {
  const DocumentPtr document = load(moved("LINEAR", {1, 0, 0, 5, 0, 0, 9, 0, 0}));
  document->SetTime(BaseTime(3));
  EXPECT_TRUE(document->ExecutePasses(nullptr, FALSE, TRUE, TRUE, BUILDFLAGS_0));
  EXPECT_EQ(objectNamed(document, "n")->GetMl().off.x, 1);
}

TEST(Tracks, anAnimatedCameraStandsBelowAnAnimatedNull) {
  SceneBuilder scene = moved("LINEAR", {1, 0, 0, 5, 0, 0, 9, 0, 0});
  scene.root["nodes"][0].erase("mesh");
  scene.root["nodes"][0]["name"] = "eye";
  scene.root["nodes"][0]["camera"] =
      scene.add("cameras", Json{{"type", "perspective"}, {"perspective", {{"yfov", 0.5}, {"znear", 0.1}}}});
  const DocumentPtr document = load(scene);
  BaseObject* camera = objectNamed(document, "eye");
  ASSERT_EQ(camera->GetType(), Ocamera);
  ASSERT_NE(camera->GetUp(), nullptr);
  EXPECT_EQ(camera->GetUp()->GetType(), Onull);
  EXPECT_EQ(document->GetRenderBaseDraw()->GetSceneCamera(nullptr), camera);
  // A clone of the camera without animation, put after it, still moves.
  auto* clone =
      static_cast<BaseObject*>(camera->GetClone(COPYFLAGS(COPYFLAGS_NO_HIERARCHY | COPYFLAGS_NO_ANIMATION)));
  clone->InsertAfter(camera);
  evaluate(document, 3);
  EXPECT_DOUBLE_EQ(clone->GetMg().off.x, 7);
  reload(*document);
}

// Two morph targets: the first moves vertex 0 along z by 1, the second (sparse) vertex 2 along x by 2.
SceneBuilder morphing() {
  SceneBuilder scene;
  const int mesh = scene.addQuad();
  const int first = scene.addFloats({0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0}, "VEC3", 3);
  const int places = scene.addView(std::vector<std::uint16_t>{2});
  const int pieces = scene.addView(std::vector<float>{2, 0, 0});
  const int second =
      scene.add("accessors", Json{{"componentType", 5126},
                                  {"count", 4},
                                  {"type", "VEC3"},
                                  {"sparse",
                                   {{"count", 1},
                                    {"indices", {{"bufferView", places}, {"componentType", 5123}}},
                                    {"values", {{"bufferView", pieces}}}}}});
  scene.root["meshes"][0]["primitives"][0]["targets"] = {{{"POSITION", first}}, {{"POSITION", second}}};
  scene.root["meshes"][0]["weights"] = {0.5, 0};
  scene.addNode(Json{{"name", "n"}, {"mesh", mesh}});
  return scene;
}

TEST(Morphs, moveVerticesByTheirWeights) {
  const DocumentPtr document = load(morphing());
  const auto positions = [&] { return takeSnapshot(*document, {})->instances.at(0).mesh->positions; };
  EXPECT_EQ(positions()[0], (Float3{0, 0, 0.5F}));
  ObjectState& object = *stateOf(objectNamed(document, "n"));
  object.weights = {0, 0.25F};
  EXPECT_EQ(positions()[0], (Float3{0, 0, 0}));
  EXPECT_EQ(positions()[2], (Float3{1.5F, 1, 0}));
  EXPECT_EQ(object.mesh->positions[2], (Float3{1, 1, 0})) << "the source stays";
  object.weights = {0, 0};
  EXPECT_EQ(takeSnapshot(*document, {})->instances.at(0).mesh, object.mesh)
      << "nothing bends: the source itself";
}

TEST(Morphs, nodesOverrideTheMeshsWeights) {
  SceneBuilder scene = morphing();
  scene.root["nodes"][0]["weights"] = {0, 1};
  const DocumentPtr document = load(scene);
  EXPECT_EQ(stateOf(objectNamed(document, "n"))->weights, (std::vector<float>{0, 1}));
  reload(*document);
}

TEST(Morphs, weightTracks) {
  SceneBuilder scene = morphing();
  const int input = scene.addFloats({0, 1}, "SCALAR", 1), output = scene.addFloats({0, 0, 1, 2}, "SCALAR", 1);
  scene.add("animations",
            Json{{"samplers", {{{"input", input}, {"output", output}}}},
                 {"channels", {{{"sampler", 0}, {"target", {{"node", 0}, {"path", "weights"}}}}}}});
  const DocumentPtr document = load(scene);
  evaluate(document, 0.5);
  EXPECT_EQ(stateOf(objectNamed(document, "n"))->weights, (std::vector<float>{0.5F, 1}));
  reload(*document);
}

TEST(Skins, verticesFollowTheirJoints) {
  SceneBuilder scene;
  const int mesh = scene.addQuad();
  // vertices 0 and 1 on joint 0, 2 on joint 1, 3 half and half
  const int joints = scene.addShorts({0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0}, "VEC4", 4);
  const int weights = scene.addFloats({1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 0.5F, 0.5F, 0, 0}, "VEC4", 4);
  auto& attributes = scene.root["meshes"][0]["primitives"][0]["attributes"];
  attributes["JOINTS_0"] = joints;
  attributes["WEIGHTS_0"] = weights;
  const int body =
      scene.addNode(Json{{"name", "n"}, {"mesh", mesh}, {"skin", 0}, {"translation", {10, 0, 0}}});
  const int still = scene.addNode(Json{{"name", "still"}});
  const int bone = scene.addNode(Json{{"name", "bone"}, {"translation", {0, 0, 4}}});
  // the second joint rests at z = 3 and has moved by 1
  const int matrices = scene.addFloats(
      {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, -3, 1},
      "MAT4", 16);
  scene.add("skins", Json{{"joints", {still, bone}}, {"inverseBindMatrices", matrices}});
  (void)body;
  const DocumentPtr document = load(scene);
  const auto worldZ = [&](std::size_t vertex) {
    const Instance instance = takeSnapshot(*document, {})->instances.at(0);
    const Float3 p = instance.mesh->positions[vertex];
    return instance.toWorld * Vector(p[0], p[1], p[2]);
  };
  EXPECT_EQ(worldZ(0), Vector(0, 0, 0)) << "the node's own place does not count";
  EXPECT_EQ(worldZ(2), Vector(1, 1, 1));
  EXPECT_EQ(worldZ(3), Vector(0, 1, 0.5));
  objectNamed(document, "bone")->SetMl(MatrixMove({0, 0, 13}));
  EXPECT_EQ(worldZ(2), Vector(1, 1, 10));
  reload(*document);

  // A clone of the whole tree follows its own joints.
  const DocumentPtr clone(document->GetClone(COPYFLAGS_0));
  objectNamed(clone, "bone")->SetMl(MatrixMove({0, 0, 3}));
  EXPECT_EQ(worldZ(2), Vector(1, 1, 10));
  EXPECT_EQ(takeSnapshot(*clone, {})->instances.at(0).mesh->positions[2][2], 0);
}

TEST(TargetExpression, turnsTheAxisToItsTarget) {
  const DocumentPtr document = newDocument();
  BaseObject* camera = BaseObject::Alloc(Ocamera);
  BaseObject* target = BaseObject::Alloc(Onull);
  document->InsertObject(camera, nullptr, nullptr);
  document->InsertObject(target, nullptr, camera);
  camera->SetMl({Vector(0, 0, 0), Vector(2, 0, 0), Vector(0, 2, 0), Vector(0, 0, 2)});
  target->SetMl(MatrixMove({5, 0, 0}));
  BaseTag* tag = camera->MakeTag(Ttargetexpression);
  tag->GetDataInstance()->SetLink(param::targetLink, target);
  evaluate(document, 0);
  const Matrix m = camera->GetMg();
  EXPECT_NEAR(m.v3.x, -2, 1e-12) << "-Z points at the target, the axes keep their length";
  EXPECT_NEAR(m.v2.y, 2, 1e-12);
  EXPECT_NEAR(m.v1.z, 2, 1e-12);

  tag->SetParameter(EXPRESSION_ENABLE, GeData::FromBool(FALSE));
  target->SetMl(MatrixMove({0, 0, -5}));
  evaluate(document, 0);
  EXPECT_NEAR(camera->GetMg().v3.x, -2, 1e-12) << "off: it stays";
  tag->SetParameter(EXPRESSION_ENABLE, GeData(LONG(1)));
  evaluate(document, 0);
  EXPECT_NEAR(camera->GetMg().v3.z, 2, 1e-12);
}

TEST(Poses, partsOfAMatrixGiveItBack) {
  for (const Pose& pose :
       {Pose{{1, 2, 3}, {0, 0, 0, 1}, {1, 1, 1}}, Pose{{0, 0, 0}, {0.5, 0.5, 0.5, 0.5}, {2, 3, 4}},
        Pose{{0, 0, 0}, {0.8, 0, 0, -0.6}, {-2, 1, 0.5}}, Pose{{0, 0, 0}, {0, 1, 0, 0}, {1, 1, 1}}}) {
    const Matrix m = matrixOf(pose), back = matrixOf(poseOf(m));
    for (const auto& [a, b] :
         {std::pair(m.off, back.off), {m.v1, back.v1}, {m.v2, back.v2}, {m.v3, back.v3}}) {
      EXPECT_NEAR(a.x, b.x, 1e-12);
      EXPECT_NEAR(a.y, b.y, 1e-12);
      EXPECT_NEAR(a.z, b.z, 1e-12);
    }
  }
}

} // namespace
} // namespace host
