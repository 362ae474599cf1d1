// Attributes: typed values come back, several nodes show their shared attributes, ranges hold.
#include <cmath>
#include <random>

#include "light_source.h"
#include "session_fixture.h"

namespace {

using namespace host;

class AttributesTest : public SessionFixture {
 protected:
  AttributesTest() { openScene(); }

  bool set(Identity node, AttributeId id, const GeData& value, int part = -1) {
    return setAttribute(document(), std::array{node}, id, value, part);
  }
  GeData get(Identity node, AttributeId id) { return attributeValue(document(), node, id); }
  static const Attribute* find(const std::vector<Attribute>& list, AttributeId id) {
    for (const Attribute& attribute : list)
      if (attribute.id == id) return &attribute;
    return nullptr;
  }
};

TEST_F(AttributesTest, AnglesComeBackExactly) {
  std::mt19937 random(7);
  const auto angle = [&](double low, double high) {
    return std::round((low + (high - low) * static_cast<double>(random()) / 4294967296.0) * 1e4) / 1e4;
  };
  for (int i = 0; i < 20000; ++i) {
    const Vector typed(angle(-180, 180), angle(-89.9, 89.9), angle(-180, 180));
    ASSERT_EQ(anglesOf(rotationOf(typed)), typed) << typed.x << " " << typed.y << " " << typed.z;
  }
  for (const Vector& typed : {Vector(90, 0, 0), Vector(180, 0, 0), Vector(45, 30, 180), Vector(0, 89.9, 0),
                              Vector(0.123456789, -0.987654321, 12.5)})
    EXPECT_EQ(anglesOf(rotationOf(typed)), typed);
  EXPECT_EQ(anglesOf(rotationOf({30, 90, 0})), Vector(30, 90, 0));
  EXPECT_EQ(anglesOf(rotationOf({30, -90, 10})), Vector(40, -90, 0)) << "upright: the heading holds both";
  EXPECT_EQ(anglesOf(rotationOf({190, 0, 0})), Vector(-170, 0, 0));
}

TEST_F(AttributesTest, AnglesTurnAsDocumented) {
  Pose pose;
  pose.rotation = rotationOf({90, 0, 0});
  const auto near = [](const Vector& a, const Vector& b) { return Dot(a - b, a - b) < 1e-24; };
  EXPECT_TRUE(near(matrixOf(pose).TransformVector({0, 0, -1}), {-1, 0, 0})) << "heading turns to the left";
  pose.rotation = rotationOf({0, 30, 0});
  EXPECT_NEAR(matrixOf(pose).TransformVector({0, 0, -1}).y, 0.5, 1e-12) << "pitch looks up";
  // bank first, then pitch, then heading
  Pose h, p, b;
  h.rotation = rotationOf({20, 0, 0});
  p.rotation = rotationOf({0, 30, 0});
  b.rotation = rotationOf({0, 0, 40});
  pose.rotation = rotationOf({20, 30, 40});
  EXPECT_TRUE(
      near(matrixOf(pose) * Vector(1, 2, 3), matrixOf(h) * (matrixOf(p) * (matrixOf(b) * Vector(1, 2, 3)))));
}

TEST_F(AttributesTest, LightsSayTheirUnits) {
  ObjectState* sun = makeObject(Olight);
  sun->data.SetLong(param::lightKind, 2);
  state().children.append(*sun);
  const Identity lamp = id("lamp"), far = sun->identity;
  const auto unitOf = [&](const std::vector<Identity>& lights, AttributeId id) {
    const std::vector<Attribute> list = attributesOf(document(), lights);
    const Attribute* attribute = find(list, id);
    return std::string(attribute ? attribute->unit : "missing");
  };
  EXPECT_EQ(unitOf({lamp}, AttributeId::lightIntensity), "cd");
  EXPECT_EQ(unitOf({far}, AttributeId::lightIntensity), "lx");
  EXPECT_EQ(unitOf({lamp, far}, AttributeId::lightIntensity), "") << "several kinds";
  EXPECT_EQ(unitOf({lamp, far}, AttributeId::lightTemperature), "K");
  EXPECT_EQ(unitOf({lamp}, AttributeId::lightReach), "m");
  EXPECT_EQ(unitOf({far}, AttributeId::lightReach), "missing") << "sunlight has no end";
}

TEST_F(AttributesTest, LightsHaveTemperatureMuteAndSolo) {
  const Identity lamp = id("lamp");
  EXPECT_EQ(get(lamp, AttributeId::lightTemperature).GetReal(), 0);
  EXPECT_TRUE(set(lamp, AttributeId::lightTemperature, GeData(Real(3200))));
  EXPECT_EQ(param::real(*object("lamp"), param::lightTemperature), 3200);
  EXPECT_TRUE(set(lamp, AttributeId::lightTemperature, GeData(Real(1e9))));
  EXPECT_EQ(get(lamp, AttributeId::lightTemperature).GetReal(), mostKelvin);
  for (const AttributeId id : {AttributeId::lightMuted, AttributeId::lightSolo}) {
    EXPECT_EQ(get(lamp, id).GetBool(), FALSE);
    EXPECT_TRUE(set(lamp, id, GeData::FromBool(TRUE)));
    EXPECT_EQ(get(lamp, id).GetBool(), TRUE);
  }
}

TEST_F(AttributesTest, LightGroupsAreTexts) {
  const Identity lamp = id("lamp");
  EXPECT_EQ(get(lamp, AttributeId::lightGroup).GetString(), String());
  EXPECT_TRUE(set(lamp, AttributeId::lightGroup, GeData(String("key"))));
  EXPECT_EQ(get(lamp, AttributeId::lightGroup).GetString(), String("key"));
  EXPECT_EQ(get(lamp, AttributeId::name).GetString(), String("lamp"));
  EXPECT_FALSE(set(lamp, AttributeId::lightGroup, GeData(String("key")))) << "nothing changes";
  EXPECT_TRUE(set(lamp, AttributeId::lightGroup, GeData(String())));
  EXPECT_EQ(get(lamp, AttributeId::lightGroup).GetString(), String()) << "it may be empty";
}

TEST_F(AttributesTest, CoordinatesStayApart) {
  const Identity body = id("body");
  EXPECT_EQ(get(body, AttributeId::rotation).GetVector(), Vector(30, 20, 10));
  EXPECT_TRUE(set(body, AttributeId::rotation, GeData(Real(45)), 1));
  EXPECT_EQ(get(body, AttributeId::rotation).GetVector(), Vector(30, 45, 10));
  EXPECT_EQ(get(body, AttributeId::scale).GetVector(), Vector(1, 2, 3));
  EXPECT_TRUE(set(body, AttributeId::position, GeData(Vector(0.1, 0.2, 0.3))));
  EXPECT_TRUE(set(body, AttributeId::scale, GeData(Vector(-1, 2, 0.5))));
  EXPECT_EQ(get(body, AttributeId::rotation).GetVector(), Vector(30, 45, 10));
  EXPECT_EQ(get(body, AttributeId::scale).GetVector(), Vector(-1, 2, 0.5));
  EXPECT_EQ(get(body, AttributeId::position).GetVector(), Vector(0.1, 0.2, 0.3));
  EXPECT_EQ(object("body")->local, matrixOf(*object("body")->pose));
  EXPECT_FALSE(set(body, AttributeId::position, GeData(Vector(0.1, 0.2, 0.3)))) << "nothing new";
  EXPECT_TRUE(set(body, AttributeId::scale, GeData(Real(0)), 0));
  EXPECT_NE(get(body, AttributeId::scale).GetVector().x, 0)
      << "a scale of nothing could not be undone by hand";
}

TEST_F(AttributesTest, ShearIsKept) {
  const Identity arm = id("arm");
  Matrix sheared;
  sheared.v2 = {0.5, 1, 0};
  setLocalMatrix(document(), arm, sheared);
  const Real between = Dot(sheared.v1, sheared.v2);
  EXPECT_TRUE(set(arm, AttributeId::rotation, GeData(Vector(40, 0, 0))));
  const Matrix& turned = object("arm")->local;
  EXPECT_NEAR(Dot(turned.v1, turned.v2), between, 1e-12);
  EXPECT_EQ(get(arm, AttributeId::rotation).GetVector(), Vector(40, 0, 0));
}

TEST_F(AttributesTest, ValuesAreClippedAndKeptInTheirUnits) {
  const Identity camera = id("camera"), red = material("red"), lamp = id("lamp");
  EXPECT_TRUE(set(camera, AttributeId::cameraFieldOfView, GeData(Real(35))));
  EXPECT_EQ(get(camera, AttributeId::cameraFieldOfView).GetReal(), 35);
  EXPECT_NEAR(param::real(*object("camera"), param::cameraYfov), 35 * 3.14159265358979 / 180, 1e-12);
  set(camera, AttributeId::cameraFieldOfView, GeData(Real(500)));
  EXPECT_EQ(get(camera, AttributeId::cameraFieldOfView).GetReal(), 179);
  set(red, AttributeId::materialRoughness, GeData(Real(-3)));
  EXPECT_EQ(get(red, AttributeId::materialRoughness).GetReal(), 0);
  set(red, AttributeId::materialMetal, GeData(std::nan("")));
  EXPECT_EQ(get(red, AttributeId::materialMetal).GetReal(), 0);
  EXPECT_FALSE(set(lamp, AttributeId::materialMetal, GeData(Real(1)))) << "a lamp has no metal";
  EXPECT_FALSE(set(lamp, AttributeId::name, GeData("")));
  EXPECT_FALSE(set(12345678, AttributeId::name, GeData("x"))) << "an unknown node";
  set(lamp, AttributeId::lightKind, GeData(LONG(9)));
  EXPECT_EQ(get(lamp, AttributeId::lightKind).GetLong(), 4) << "a disk";
  set(lamp, AttributeId::lightWidth, GeData(Real(2.5)));
  EXPECT_EQ(get(lamp, AttributeId::lightHeight).GetType(), DA_NIL) << "a disk has a diameter only";
  set(lamp, AttributeId::lightKind, GeData(LONG(3)));
  EXPECT_EQ(get(lamp, AttributeId::lightWidth).GetReal(), 2.5) << "a rectangle as wide";
  set(lamp, AttributeId::lightHeight, GeData(Real(0)));
  EXPECT_GT(param::real(*object("lamp"), param::lightHeight), 0);
  EXPECT_EQ(get(lamp, AttributeId::lightRadius).GetType(), DA_NIL) << "it is no sphere";
  set(lamp, AttributeId::lightKind, GeData(LONG(2)));
  EXPECT_EQ(get(lamp, AttributeId::lightOuterCone).GetType(), DA_NIL) << "a distant light has no cone";
  set(lamp, AttributeId::lightAngle, GeData(Real(1)));
  EXPECT_NEAR(param::real(*object("lamp"), param::lightRadius), 0.5 * 3.14159265358979 / 180, 1e-12);
}

// Sheen, anisotropy, iridescence, dispersion, diffuse transmission and absorption: each attribute is stored
// under its parameter, in its unit, and within its range.
TEST_F(AttributesTest, FinishAndBodyOfAMaterial) {
  const Identity red = material("red");
  const auto* node = static_cast<const MaterialState*>(findNode(state(), red));
  struct Case {
    AttributeId id;
    LONG parameter;
    Real typed, stored, tooMuch, most;
  };
  constexpr Real degree = 3.14159265358979323846 / 180;
  for (const Case& c :
       {Case{AttributeId::materialSheenRoughness, param::sheenRoughness, 0.3, 0.3, 7, 1},
        Case{AttributeId::materialAnisotropy, param::anisotropy, 0.6, 0.6, 7, 1},
        Case{AttributeId::materialAnisotropyRotation, param::anisotropyRotation, 45, 45 * degree, 1e9, 36000},
        Case{AttributeId::materialIridescence, param::iridescence, 0.8, 0.8, -1, 0},
        Case{AttributeId::materialIridescenceIor, param::iridescenceIor, 1.8, 1.8, 0, 1},
        Case{AttributeId::materialFilmThickness, param::filmThick, 550, 550, -1, 0},
        Case{AttributeId::materialThickness, param::thickness, 0.2, 0.2, -1, 0},
        Case{AttributeId::materialAttenuationDistance, param::attenuationDistance, 2.5, 2.5, -1, 0},
        Case{AttributeId::materialDispersion, param::dispersion, 0.4, 0.4, 99, 20},
        Case{AttributeId::materialDiffuseTransmission, param::diffuseTransmission, 0.25, 0.25, 2, 1}}) {
    SCOPED_TRACE(c.parameter);
    EXPECT_TRUE(set(red, c.id, GeData(c.typed)));
    EXPECT_EQ(get(red, c.id).GetReal(), c.typed);
    EXPECT_NEAR(param::real(*node, c.parameter), c.stored, 1e-12);
    set(red, c.id, GeData(c.tooMuch));
    EXPECT_EQ(get(red, c.id).GetReal(), c.most);
  }
  const Vector teal(0, 0.5, 0.5);
  for (const auto& [id, parameter] :
       {std::pair{AttributeId::materialSheenColor, param::sheenColor},
        {AttributeId::materialAttenuationColor, param::attenuationColor},
        {AttributeId::materialDiffuseTransmissionColor, param::diffuseTransmissionColor}}) {
    EXPECT_TRUE(set(red, id, GeData(teal))) << parameter;
    EXPECT_EQ(param::vector(*node, parameter), teal) << parameter;
  }
}

TEST_F(AttributesTest, ACameraFocusesOnAPoint) {
  const Identity camera = id("camera"), lamp = id("lamp");
  selectObjects(document(), std::array{camera});
  EXPECT_EQ(chosenCamera(document()), camera);
  const ObjectState& eye = *object("camera");
  const Matrix world = worldOf(eye);
  const Vector ahead = world.off - world.v3 * 7 + world.v1 * 2;
  EXPECT_TRUE(focusCamera(document(), camera, ahead));
  EXPECT_NEAR(get(camera, AttributeId::cameraFocusDistance).GetReal(), 7, 1e-9) << "along the axis";
  EXPECT_FALSE(focusCamera(document(), camera, world.off + world.v3)) << "behind it";
  EXPECT_FALSE(focusCamera(document(), lamp, ahead));
  EXPECT_NEAR(get(camera, AttributeId::cameraFocusDistance).GetReal(), 7, 1e-9);
}

TEST_F(AttributesTest, SeveralNodesShowSharedAttributes) {
  const std::array both{id("body"), id("lamp")};
  const std::vector<Attribute> list = attributesOf(document(), both);
  EXPECT_EQ(find(list, AttributeId::lightColor), nullptr);
  ASSERT_NE(find(list, AttributeId::position), nullptr);
  const Attribute& position = *find(list, AttributeId::position);
  EXPECT_TRUE(position.mixed);
  EXPECT_FALSE(position.mixedPart[0]);
  EXPECT_TRUE(position.mixedPart[1]);
  EXPECT_FALSE(position.mixedPart[2]);
  EXPECT_FALSE(find(list, AttributeId::visibleEditor)->mixed);
  EXPECT_TRUE(find(list, AttributeId::name)->mixed);
  EXPECT_TRUE(setAttribute(document(), both, AttributeId::position, GeData(Real(7)), 2));
  EXPECT_EQ(object("body")->local.off, Vector(0, 0, 7));
  EXPECT_EQ(object("lamp")->local.off, Vector(0, 4, 7)) << "only that part";
  const auto mover = attributesOf(document(), std::array{id("mover")});
  EXPECT_TRUE(find(mover, AttributeId::position)->animated);
  EXPECT_FALSE(find(mover, AttributeId::rotation)->animated);
  EXPECT_TRUE(attributesOf(document(), std::vector<Identity>{}).empty());
}

} // namespace
