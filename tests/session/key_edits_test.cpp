// Keys of objects: curves, edits, undo, playback, files.
#include "key_curves.h"
#include "key_edits.h"
#include "scene_file.h"
#include "session_fixture.h"
#include "track_paths.h"

namespace {

using namespace host;

using Frames = std::set<long>;

Curve curveWith(std::initializer_list<std::pair<long, float>> keys,
                Interpolation interpolation = Interpolation::linear) {
  Curve curve;
  curve.interpolation = interpolation;
  for (const auto& [frame, value] : keys)
    curve = withKey(curve, frame, 30, std::array{value}, false);
  return curve;
}

double at(const Curve& curve, double frame) {
  return sampleCurve(curve, frame / 30, false).front();
}

TEST(KeyCurves, keysStandInOrderAndReplace) {
  const Curve curve = curveWith({{30, 6}, {0, 0}, {15, 1}, {15, 2}});
  EXPECT_EQ(keyFrames(curve, 30), (Frames{0, 15, 30}));
  EXPECT_EQ(curve.values, (std::vector<float>{0, 2, 6}));
  EXPECT_DOUBLE_EQ(at(curve, 7.5), 1);
  EXPECT_DOUBLE_EQ(at(curve, 90), 6);
  EXPECT_TRUE(withoutKeys(curveWith({{4, 1}}), 4, 30).times.empty());
  EXPECT_EQ(keyFrames(withoutKeys(curve, 15, 30), 30), (Frames{0, 30}));
  EXPECT_EQ(withoutKeys(curve, 14, 30).values, curve.values);
}

TEST(KeyCurves, movedKeysReplaceOnlyWhereTheyStop) {
  const Curve curve = curveWith({{0, 0}, {10, 1}, {20, 2}});
  EXPECT_EQ(keyFrames(withMovedKeys(curve, 0, 15, 30), 30), (Frames{10, 15, 20}));
  EXPECT_EQ(withMovedKeys(curve, 0, 15, 30).values, (std::vector<float>{1, 0, 2}));
  EXPECT_EQ(withMovedKeys(curve, 0, 10, 30).values, (std::vector<float>{0, 2}));
  EXPECT_EQ(withMovedKeys(curve, 5, 10, 30).values, curve.values) << "no key there";
}

TEST(KeyCurves, smoothCurvesPassTheirKeysWithTheSlopeOfTheNeighbours) {
  const Curve linear = curveWith({{0, 0}, {30, 1}, {60, 4}});
  const Curve smooth = withInterpolation(linear, Interpolation::cubic);
  ASSERT_EQ(smooth.values.size(), 9u);
  EXPECT_FLOAT_EQ(smooth.values[3], 2) << "4 in two seconds";
  EXPECT_FLOAT_EQ(smooth.values[5], 2);
  EXPECT_FLOAT_EQ(smooth.values[2], 0) << "flat at the ends";
  EXPECT_DOUBLE_EQ(at(smooth, 30), 1);
  EXPECT_DOUBLE_EQ(at(smooth, 15), 0.5 - 2 / 8.0); // the Hermite spline in the middle
  EXPECT_EQ(withInterpolation(smooth, Interpolation::linear).values, linear.values);
  const Curve peak = curveWith({{0, 0}, {30, 1}, {60, 0}}, Interpolation::cubic);
  EXPECT_LE(at(peak, 20), 1);
  EXPECT_DOUBLE_EQ(at(withInterpolation(linear, Interpolation::step), 29), 0);
}

TEST(KeyCurves, rotationsStayOnOneSide) {
  Curve curve;
  curve.width = 4;
  curve = withKey(curve, 0, 30, std::array{0.0F, 0.0F, 0.0F, 1.0F}, true);
  curve = withKey(curve, 30, 30, std::array{0.0F, -0.6F, 0.0F, -0.8F}, true);
  EXPECT_EQ(curve.values, (std::vector<float>{0, 0, 0, 1, 0, 0.6F, 0, 0.8F}));
}

class KeyEditsTest : public SessionFixture {
 protected:
  KeyEditsTest() { openScene(); }

  void key(const char* name) {
    EXPECT_TRUE(edits().apply("Set Key", [&](BaseDocument& d) { setKeys(d, std::array{id(name)}); }));
  }
  void place(const char* name, double x) {
    edits().apply("Move", [&](BaseDocument& d) {
      Matrix m;
      m.off = {x, 0, 0};
      setLocalMatrix(d, id(name), m);
    });
  }
  double x(const char* name) { return object(name)->local.off.x; }
  void goTo(long frame) {
    session->playback().goTo(static_cast<LONG>(frame));
    runAll();
  }
  Frames frames(const char* name) { return keyFrames(document(), std::array{id(name)}); }
  // "arm" goes from 0 to 10 in the first 20 frames.
  void animateArm() {
    goTo(0);
    place("arm", 0);
    key("arm");
    goTo(20);
    place("arm", 10);
    key("arm");
  }
};

TEST_F(KeyEditsTest, TwoKeysMoveAnObject) {
  animateArm();
  EXPECT_EQ(frames("arm"), (Frames{0, 20}));
  goTo(10);
  EXPECT_NEAR(x("arm"), 5, 1e-6);
  EXPECT_EQ(keyBeside(frames("arm"), 10, true), 20);
  EXPECT_EQ(keyBeside(frames("arm"), 10, false), 0);
  EXPECT_EQ(keyBeside(frames("arm"), 20, true), std::nullopt);
  EXPECT_EQ(keyBeside(frames("arm"), 0, false), std::nullopt);
  EXPECT_FALSE(edits().notice("Nothing")) << "another time is not an edit";
}

TEST_F(KeyEditsTest, DragsAndDeletesAreSingleSteps) {
  animateArm();
  goTo(10);
  const std::size_t steps = edits().stepCount();
  const HeldTracks held = holdTracks(document(), std::array{id("arm")});
  ASSERT_TRUE(edits().begin("Move Keys"));
  for (const long to : {19L, 0L, 10L})
    edits().update([&](BaseDocument& d) { moveKeys(d, held, 20, to); });
  EXPECT_TRUE(edits().end());
  EXPECT_EQ(edits().stepCount(), steps + 1);
  EXPECT_EQ(frames("arm"), (Frames{0, 10})) << "the first key was passed, not lost";
  EXPECT_NEAR(x("arm"), 10, 1e-6);
  EXPECT_TRUE(edits().undo());
  EXPECT_EQ(frames("arm"), (Frames{0, 20}));
  EXPECT_NEAR(x("arm"), 5, 1e-6);
  EXPECT_TRUE(edits().apply("Delete", [&](BaseDocument& d) { deleteKeys(d, std::array{id("arm")}, 0); }));
  EXPECT_NEAR(x("arm"), 10, 1e-6);
  EXPECT_TRUE(edits().apply("Delete", [&](BaseDocument& d) { deleteKeys(d, std::array{id("arm")}, 20); }));
  EXPECT_EQ(object("arm")->tracks, nullptr);
  EXPECT_FALSE(edits().apply("Delete", [&](BaseDocument& d) { deleteKeys(d, std::array{id("arm")}, 20); }));
}

TEST_F(KeyEditsTest, InterpolationIsSetAndRead) {
  animateArm();
  const std::array arm{id("arm")};
  EXPECT_EQ(interpolationOf(document(), arm), Interpolation::linear);
  edits().apply("Interpolation", [&](BaseDocument& d) { setInterpolation(d, arm, Interpolation::cubic); });
  EXPECT_EQ(interpolationOf(document(), arm), Interpolation::cubic);
  goTo(5);
  EXPECT_NEAR(x("arm"), 10 * (3 * 0.0625 - 2 * 0.015625), 1e-5) << "a quarter of a smooth step";
  EXPECT_EQ(interpolationOf(document(), std::array{id("camera")}), std::nullopt);
}

TEST_F(KeyEditsTest, LightsAndCamerasMoveAndAreSaved) {
  const auto set = [&](double intensity, double yfov) {
    edits().apply("Values", [&](BaseDocument&) {
      object("lamp")->data.SetReal(param::lightIntensity, intensity);
      object("lamp")->data.SetVector(param::lightColor, {intensity / 10, 0.5, 1});
      object("camera")->data.SetReal(param::cameraYfov, yfov);
    });
  };
  goTo(0);
  set(2, 0.5);
  key("lamp"), key("camera");
  goTo(10);
  set(6, 1);
  key("lamp"), key("camera");
  goTo(5);
  EXPECT_NEAR(param::real(*object("lamp"), param::lightIntensity), 4, 1e-6);
  EXPECT_NEAR(param::vector(*object("lamp"), param::lightColor).x, 0.4, 1e-6);
  EXPECT_NEAR(param::real(*object("camera"), param::cameraYfov), 0.75, 1e-6);
  EXPECT_FALSE(edits().notice("Nothing")) << "another time is not an edit";

  std::set<std::string> animated; // what the attributes mark
  for (const char* name : {"lamp", "camera"})
    for (const Attribute& attribute : attributesOf(document(), std::array{id(name)}))
      if (attribute.animated) animated.insert(attribute.label);
  EXPECT_EQ(animated,
            (std::set<std::string>{"Color", "Field of View", "Intensity", "Position", "Rotation", "Scale"}));

  for (const bool binary : {true, false}) {
    const DocumentPtr copy =
        loadDocumentFromMemory(saveDocumentToMemory(document(), binary), Filename(), LoadOptions{}).document;
    std::string difference;
    EXPECT_TRUE(documentsEqual(*copy, document(), &difference)) << difference;
    copy->SetTime(BaseTime(10, 30));
    copy->ExecutePasses(nullptr, TRUE, TRUE, FALSE, BUILDFLAGS_0);
    EXPECT_NEAR(param::real(*stateOf(copy->SearchObject("lamp")), param::lightIntensity), 6, 1e-6);
    EXPECT_NEAR(param::real(*stateOf(copy->SearchObject("camera")), param::cameraYfov), 1, 1e-6);
  }
}

} // namespace
