// Messages of the live link as values of the document.
#include "link_apply_kit.h"

using namespace host;
using namespace linkkit;

using LinkMappingTest = LinkApplyTest;

TEST_F(LinkMappingTest, InstancesArePlacementsOfOneMesh) {
  Message copies(Json{{"type", "object"}, {"key", "i"}, {"name", "i"}, {"kind", "instances"}, {"mesh", "m"}});
  copies.block<F3>("translations", "f32x3", {{1, 2, 3}, {4, 5, 6}});
  copies.block<F3>("scales", "f32x3", {{1, 1, 1}, {2, 2, 2}});
  apply({begin(), square(), thing("a", "m"), copies, end(), commit(1)});
  const PlacementsPtr placements = object("i")->placements;
  ASSERT_NE(placements, nullptr);
  EXPECT_EQ(object("i")->mesh, object("a")->mesh);
  EXPECT_EQ(object("a")->placements, nullptr);
  EXPECT_EQ(placements->count, 2U);
  EXPECT_TRUE(placements->rotations.empty());
  EXPECT_EQ(matrixOf(*placements, 1).off, Vector(4, 5, 6));
  EXPECT_EQ(matrixOf(*placements, 1).v1, Vector(2, 0, 0));
  // They stay the same object when the object they belong to moves.
  apply({move("i", 3), commit(2)});
  EXPECT_EQ(object("i")->placements, placements);
  copies.block<std::array<float, 4>>("rotations", "f32x4", {{0, 0, 0, 1}});
  EXPECT_THROW(stage.take(copies), LinkError); // two places and one rotation
}

TEST_F(LinkMappingTest, AMeshThatIsSentOnceMoreStaysTheSame) {
  apply({begin(), square(), thing("a", "m"), end(), commit(1)});
  const MeshPtr mesh = object("a")->mesh;
  apply({begin(), square(), thing("a", "m"), end(), commit(2)});
  EXPECT_EQ(object("a")->mesh, mesh) << "so nothing is built again";
  Message higher = square();
  higher.block<F3>("positions", "f32x3", {{0, 0, 0}, {1, 0, 0}, {1, 9, 0}, {0, 9, 0}});
  apply({higher, commit(3)});
  EXPECT_NE(object("a")->mesh, mesh);
}

TEST_F(LinkMappingTest, ParentsChangeAndTheTreeFollows) {
  apply({begin(), thing("a", nullptr), thing("b", nullptr), thing("c", nullptr, "a"), end(), commit(1)});
  const ObjectState* const moved = object("c");
  apply({Message(Json{{"type", "parent"}, {"keys", {"c"}}, {"parents", {"b"}}}), commit(2)});
  EXPECT_EQ(object("c"), moved);
  EXPECT_EQ(parentOf(*object("c")), object("b"));
  EXPECT_EQ(object("a")->children.first(), nullptr);
  EXPECT_THROW(stage.take(Message(Json{{"type", "parent"}, {"keys", {"c"}}, {"parents", Json::array()}})),
               LinkError);
}

TEST_F(LinkMappingTest, VisibilityIsOfTheViewAndOfTheRender) {
  Message hidden = thing("a", "m");
  hidden.frame().json["visible"] = {{"editor", true}, {"render", false}};
  apply({begin(), square(), hidden, thing("b", "m"), end(), commit(1)});
  const auto seen = [&](const char* name) {
    const ObjectState& state = *object(name);
    return std::pair(param::integer(state, param::objectVisibleEditor) != 0,
                     param::integer(state, param::objectVisibleRender) != 0);
  };
  EXPECT_EQ(seen("a"), std::pair(true, false));
  EXPECT_EQ(seen("b"), std::pair(true, true));
  apply({Message(Json{{"type", "visibility"},
                      {"keys", {"a", "b"}},
                      {"editor", {true, false}},
                      {"render", {true, true}}}),
         commit(2)});
  EXPECT_EQ(seen("a"), std::pair(true, true));
  EXPECT_EQ(seen("b"), std::pair(false, true));
}

TEST_F(LinkMappingTest, TheTimeAndItsRangeAreTakenOver) {
  apply({begin(), end(),
         Message(Json{{"type", "time"}, {"seconds", 1.5}, {"fps", 24}, {"from", 1}, {"to", 4}}), commit(1)});
  EXPECT_EQ(state().fps, 24);
  EXPECT_EQ(document().GetTime().Get(), 1.5);
  EXPECT_EQ(state().minTime.Get(), 1);
  EXPECT_EQ(state().maxTime.Get(), 4);
  for (const Json& wrong : {Json{{"type", "time"}, {"from", 2}, {"to", 1}},
                            Json{{"type", "time"}, {"fps", 0}}, Json{{"type", "time"}, {"seconds", 1e9}}})
    EXPECT_THROW(stage.take(Message(wrong)), LinkError) << wrong;
}

TEST_F(LinkMappingTest, TheSkyHasItsColoursAndItsPicture) {
  apply({begin(), end(),
         Message(Json{{"type", "sky"},
                      {"kind", "gradient"},
                      {"color", {0.1, 0.2, 0.3}},
                      {"horizon", {0.4, 0.5, 0.6}},
                      {"ground", {0.7, 0.8, 0.9}},
                      {"strength", 2.5}}),
         commit(1)});
  ASSERT_NE(object("Sky"), nullptr);
  EXPECT_EQ(param::integer(*object("Sky"), param::skyKind), 2);
  EXPECT_EQ(param::vector(*object("Sky"), param::skyColor), Vector(0.1, 0.2, 0.3));
  EXPECT_EQ(param::vector(*object("Sky"), param::skyHorizon), Vector(0.4, 0.5, 0.6));
  EXPECT_EQ(param::vector(*object("Sky"), param::skyGround), Vector(0.7, 0.8, 0.9));
  EXPECT_EQ(param::real(*object("Sky"), param::skyStrength), 2.5);
  Message picture(Json{{"type", "picture"}, {"key", "p"}, {"name", "p"}, {"width", 2}, {"height", 1}});
  picture.block<std::array<float, 4>>("pixels", "f32x4", {{1, 2, 3, 1}, {4, 5, 6, 1}});
  apply({picture, Message(Json{{"type", "sky"}, {"kind", "picture"}, {"picture", "p"}}), commit(2)});
  EXPECT_EQ(param::integer(*object("Sky"), param::skyKind), 3);
  ASSERT_NE(object("Sky")->picture, nullptr);
  EXPECT_NE(object("Sky")->picture->bytes, nullptr);
  apply({Message(Json{{"type", "sky"}, {"kind", "none"}}), commit(3)});
  EXPECT_EQ(object("Sky"), nullptr);
}

TEST_F(LinkMappingTest, PicturesOfTheWrongSizeAreRefused) {
  Message picture(Json{{"type", "picture"}, {"key", "p"}, {"name", "p"}, {"width", 3}, {"height", 1}});
  picture.block<std::array<float, 4>>("pixels", "f32x4", {{1, 2, 3, 1}, {4, 5, 6, 1}});
  EXPECT_THROW(stage.take(picture), LinkError);
  EXPECT_THROW(stage.take(Message(Json{{"type", "picture"}, {"key", "p"}})), LinkError);
}
