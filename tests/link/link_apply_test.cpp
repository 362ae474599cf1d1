#include "link_apply_kit.h"

using namespace host;
using namespace linkkit;

TEST_F(LinkApplyTest, ASceneReplacesTheDocument) {
  apply({begin(), square(), thing("parent", nullptr), thing("child", "m", "parent"), end(), commit(1)});
  ASSERT_NE(object("child"), nullptr);
  EXPECT_EQ(parentOf(*object("child")), object("parent"));
  EXPECT_EQ(object("child")->mesh->triangles.size(), 2U);
  EXPECT_FALSE(edits().canUndo());
  EXPECT_FALSE(edits().isDirty());
}

TEST_F(LinkApplyTest, ATransformKeepsTheMeshAndTellsOnce) {
  apply({begin(), square(), thing("a", "m"), thing("b", "m"), end(), commit(1)});
  const MeshPtr mesh = object("a")->mesh;
  ObjectState* const before = object("a");
  int told = 0;
  const Subscription counted = session->hub().changed.add([&] { ++told; });
  apply({move("a", 2.5), commit(2)});
  EXPECT_EQ(told, 1);
  EXPECT_EQ(object("a"), before);
  EXPECT_EQ(object("a")->mesh, mesh);
  EXPECT_EQ(object("b")->mesh, mesh);
  EXPECT_EQ(object("a")->local.off, Vector(2.5, 0, 0));
}

TEST_F(LinkApplyTest, WhatIsNotSentAgainIsRemoved) {
  apply({begin(), square(), thing("a", "m"), thing("b", "m"), end(), commit(1)});
  const Identity kept = id("a");
  apply({begin(), square(), thing("a", "m"), end(), commit(2)});
  EXPECT_EQ(object("b"), nullptr);
  EXPECT_EQ(id("a"), kept);
}

TEST_F(LinkApplyTest, ChildrenGoWithARemovedObject) {
  apply({begin(), thing("a", nullptr), thing("b", nullptr, "a"), thing("c", nullptr), end(), commit(1)});
  apply({Message(Json{{"type", "remove"}, {"keys", {"a"}}}), commit(2)});
  EXPECT_EQ(object("a"), nullptr);
  EXPECT_EQ(object("b"), nullptr);
  EXPECT_NE(object("c"), nullptr);
}

TEST_F(LinkApplyTest, ACycleIsCutWithANote) {
  for (const Message& message : {begin(), thing("a", nullptr, "b"), thing("b", nullptr, "a"), end()})
    stage.take(message);
  const LinkScenePtr scene = stage.take(commit(1));
  EXPECT_EQ(scene->notes.size(), 1U);
  EXPECT_TRUE(applier->apply(scene));
  EXPECT_TRUE(object("a") && object("b"));
}

TEST_F(LinkApplyTest, LightsMaterialsAndCamerasHaveTheirValues) {
  const Json gltf{
      {"pbrMetallicRoughness", {{"baseColorFactor", {0.1, 0.2, 0.3, 1.0}}, {"roughnessFactor", 0.25}}}};
  Message shape = thing("a", "m");
  shape.frame().json["materials"] = {"red"};
  const Message lamp(
      Json{{"type", "object"},
           {"key", "l"},
           {"name", "l"},
           {"kind", "light"},
           {"light", {{"kind", "rectangle"}, {"intensity", 12.5}, {"width", 2.0}, {"shadow", false}}}});
  const Message camera(Json{{"type", "object"},
                            {"key", "c"},
                            {"name", "c"},
                            {"kind", "camera"},
                            {"camera", {{"yfov", 0.5}, {"aperture", 0.01}, {"shift", {0.25, -1e9}}}}});
  const Message view(Json{{"type", "settings"}, {"width", 320}, {"camera", "c"}, {"noise", 0.125}});
  apply({begin(), square(),
         Message(Json{{"type", "material"}, {"key", "red"}, {"name", "Red"}, {"gltf", gltf}}), shape, lamp,
         camera, view, end(), commit(1)});
  const NodeState* material = stateOf(document().SearchMaterial("Red"));
  ASSERT_NE(material, nullptr);
  EXPECT_EQ(param::vector(*material, param::baseColor), Vector(0.1, 0.2, 0.3));
  EXPECT_EQ(param::real(*material, param::roughness), 0.25);
  const NodeState* tag = object("a")->tags.first();
  ASSERT_NE(tag, nullptr);
  EXPECT_EQ(param::integer(*object("l"), param::lightKind), 3);
  EXPECT_EQ(param::real(*object("l"), param::lightIntensity), 12.5);
  EXPECT_EQ(param::integer(*object("l"), param::lightShadow), 0);
  EXPECT_EQ(param::real(*object("c"), param::cameraYfov), 0.5);
  EXPECT_EQ(param::real(*object("c"), param::cameraShiftX), 0.25);
  EXPECT_EQ(param::real(*object("c"), param::cameraShiftY), -10);
  EXPECT_EQ(state().renderView->camera, id("c"));
  EXPECT_EQ(activeRenderData(state())->data.GetLong(RDATA_XRES), 320);
  EXPECT_EQ(activeRenderData(state())->data.GetReal(RDATA_NOISETHRESHOLD), 0.125);
}

TEST_F(LinkApplyTest, UnsavedChangesStay) {
  edits().apply("Change", [](BaseDocument& changed) { newLight(changed, 0); });
  for (const Message& message : {begin(), end()})
    stage.take(message);
  EXPECT_FALSE(applier->apply(stage.take(commit(1)))); // nobody answers the question
  EXPECT_TRUE(edits().canUndo());
}

TEST_F(LinkApplyTest, BadMessagesChangeNothing) {
  const auto refused = [&](Json json) { EXPECT_THROW(stage.take(Message(json)), LinkError) << json.dump(); };
  refused({{"type", "object"}, {"key", "a"}, {"kind", "mesh"}, {"mesh", "unknown"}});
  refused({{"type", "object"}, {"key", "a"}, {"kind", "camera"}, {"camera", {{"yfov", -1}}}});
  refused({{"type", "object"}, {"key", std::string(257, 'k')}, {"kind", "null"}});
  refused({{"type", "object"}, {"key", "a"}, {"kind", "null"}, {"matrix", {1, 2}}});
  refused({{"type", "remove"}, {"keys", 3}});
  refused({{"type", "rename"}, {"key", "unknown"}, {"name", "n"}});
  refused({{"type", "settings"}, {"width", 1000000}});
  refused({{"type", "settings"}, {"noise", 1.5}});
  refused({{"type", "sky"}, {"kind", "picture"}, {"picture", "unknown"}});
  refused({{"type", "scene_end"}});
  EXPECT_TRUE(stage.take(commit(1))->objects->empty());
}
