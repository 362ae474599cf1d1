// Objects put on the floor: turned, below moved parents, with children, as one step.
#include <cmath>

#include "session_fixture.h"

namespace {

using namespace host;

class DropEditsTest : public SessionFixture {
 protected:
  DropEditsTest() { openScene(); }

  // The lowest corner of the fixture's triangle on this object.
  Real lowest(const char* name) {
    const Matrix world = worldOf(*object(name));
    Real low = 1e30;
    for (const Vector& corner : {Vector(0, 0, 0), Vector(1, 0, 0), Vector(0, 1, 0)})
      low = std::min(low, (world * corner).y);
    return low;
  }
  bool drop(std::vector<Identity> objects) { return dropObjects(document(), objects); }
};

TEST_F(DropEditsTest, TheLowestVertexLiesAtHeightNought) {
  object("root")->local.off.y += 20;
  const Vector before = worldOf(*object("body")).off;
  EXPECT_GT(std::min(lowest("body"), lowest("arm")), 1);
  ASSERT_TRUE(drop({id("root")}));
  EXPECT_NEAR(std::min(lowest("body"), lowest("arm")), 0, 1e-12);
  const Vector after = worldOf(*object("body")).off;
  EXPECT_EQ(after.x, before.x);
  EXPECT_EQ(after.z, before.z);
  const Vector place = object("root")->local.off;
  drop({id("root")});
  EXPECT_NEAR(object("root")->local.off.y, place.y, 1e-12) << "it lies there";
}

// The arm hangs on a turned, stretched body; both are told to drop, and the arm goes with the body.
TEST_F(DropEditsTest, ChildrenMoveOnTheirOwnOrWithTheirParents) {
  const Real body = lowest("body");
  ASSERT_TRUE(drop({id("arm")}));
  EXPECT_NEAR(lowest("arm"), 0, 1e-12);
  EXPECT_EQ(lowest("body"), body);
  object("root")->local.off.y += 20;
  const Vector local = object("arm")->local.off;
  ASSERT_TRUE(drop({id("arm"), id("body")}));
  EXPECT_EQ(object("arm")->local.off, local);
  EXPECT_NEAR(std::min(lowest("body"), lowest("arm")), 0, 1e-12);
  EXPECT_EQ(object("body")->pose->translation, object("body")->local.off) << "tracks start from there";
}

TEST_F(DropEditsTest, AFloorGivesTheHeight) {
  ObjectState* floor = makeObject(Ofloor);
  floor->name = "floor";
  floor->local.off = {0, -2.5, 0};
  state().children.append(*floor);
  edits().notice("");
  const DocumentPtr before = copy();
  ASSERT_TRUE(edits().apply("Drop", [&](BaseDocument& d) {
    EXPECT_TRUE(dropObjects(d, std::vector{id("body"), id("floor")}));
  }));
  EXPECT_NEAR(std::min(lowest("body"), lowest("arm")), -2.5, 1e-12);
  EXPECT_EQ(object("floor")->local.off.y, -2.5);
  ASSERT_TRUE(edits().undo());
  expectEqual(before, "one step");
}

TEST_F(DropEditsTest, ThingsWithoutMeshesStay) {
  const DocumentPtr before = copy();
  EXPECT_FALSE(drop({id("lamp"), id("camera"), 12345678}));
  EXPECT_FALSE(drop({}));
  expectEqual(before, "nothing moves");
}

} // namespace
