// Light sources: colours of temperatures, mute and solo in the snapshot, and what a file keeps.
#include "light_source.h"

#include <cmath>
#include <limits>

#include "parameters.h"
#include "scene_builder.h"
#include "snapshot.h"

namespace host {
namespace {

using Json = SceneBuilder::Json;

Real luminance(const Vector& c) {
  return 0.2126390 * c.x + 0.7151687 * c.y + 0.0721923 * c.z;
}

struct Chromaticity {
  Real x, y;
};

// Of linear Rec. 709, by its matrix to CIE 1931 XYZ.
Chromaticity chromaticityOf(const Vector& c) {
  const Real x = 0.4123908 * c.x + 0.3575843 * c.y + 0.1804808 * c.z;
  const Real z = 0.0193308 * c.x + 0.1191948 * c.y + 0.9505322 * c.z;
  const Real sum = x + luminance(c) + z;
  return {x / sum, luminance(c) / sum};
}

// Of black bodies, by integrating Planck's law with the observer of 1931.
TEST(LightTemperature, ColoursLieOnThePlanckianLocus) {
  const struct {
    Real kelvin;
    Chromaticity expected;
  } bodies[] = {{2000, {0.5267, 0.4133}},
                {2856, {0.4476, 0.4074}},
                {4000, {0.3805, 0.3768}},
                {6500, {0.3135, 0.3237}},
                {10000, {0.2807, 0.2884}}};
  for (const auto& body : bodies) {
    const Vector color = blackBodyColor(body.kelvin);
    EXPECT_NEAR(chromaticityOf(color).x, body.expected.x, 0.001) << body.kelvin;
    EXPECT_NEAR(chromaticityOf(color).y, body.expected.y, 0.001) << body.kelvin;
    EXPECT_NEAR(luminance(color), 1, 1e-12) << body.kelvin;
  }
}

TEST(LightTemperature, StaysInItsRange) {
  EXPECT_EQ(blackBodyColor(1), blackBodyColor(leastKelvin));
  EXPECT_EQ(blackBodyColor(1e300), blackBodyColor(mostKelvin));
  EXPECT_EQ(blackBodyColor(std::numeric_limits<Real>::quiet_NaN()), blackBodyColor(leastKelvin));
  const Vector candle = blackBodyColor(leastKelvin);
  EXPECT_EQ(candle.z, 0) << "outside of the gamut";
  EXPECT_GT(candle.x, candle.y);
}

Json lightNode(int light, Json container) {
  return Json{{"extensions", {{"KHR_lights_punctual", {{"light", light}}}}},
              {"extras", {{"lumenara", {{"container", std::move(container)}}}}}};
}

SceneBuilder lampScene() {
  SceneBuilder scene;
  scene.root["extensions"]["KHR_lights_punctual"]["lights"] = Json::parse(
      R"([{"type": "point", "intensity": 8}, {"type": "point", "color": [1, 0.5, 0.25], "intensity": 2}])");
  return scene;
}

TEST(LightTemperature, MultipliesTheLightsColour) {
  SceneBuilder scene = lampScene();
  scene.addNode(lightNode(1, Json::parse(R"([[1112, "real", 3000]])")));
  scene.addNode(lightNode(1, Json::parse(R"([[1112, "real", -5]])")));
  const auto lights = takeSnapshot(*load(scene), {})->lights;
  ASSERT_EQ(lights.size(), 2U);
  const Vector warm = blackBodyColor(3000);
  EXPECT_FLOAT_EQ(lights[0].intensity[0], static_cast<float>(2 * warm.x));
  EXPECT_FLOAT_EQ(lights[0].intensity[1], static_cast<float>(warm.y));
  EXPECT_FLOAT_EQ(lights[0].intensity[2], static_cast<float>(0.5 * warm.z));
  EXPECT_EQ(lights[1].intensity, (Float3{2, 1, 0.5F})) << "no temperature";
}

// The file has the colour for programs that know no temperature, and comes back as it was.
TEST(LightTemperature, IsKeptInTheFileBesideTheColourItMakes) {
  SceneBuilder scene = lampScene();
  scene.addNode(lightNode(0, Json::parse(R"([[1112, "real", 3000], [1113, "bool", 1], [1114, "bool", 1]])")));
  const DocumentPtr document = load(scene);
  const DocumentPtr again = reload(*document);
  const NodeState& light = *stateOf(again.get())->children.first();
  EXPECT_EQ(param::real(light, param::lightTemperature), 3000);
  EXPECT_EQ(param::real(light, param::lightIntensity), 8);
  EXPECT_EQ(param::vector(light, param::lightColor), Vector(1, 1, 1));
  EXPECT_TRUE(param::flag(light, param::lightMuted));
  EXPECT_TRUE(param::flag(light, param::lightSolo));
  std::string error;
  const std::vector<std::byte> bytes = saveDocumentToMemory(*document, false, &error);
  const Json saved = Json::parse(std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
  const Json& shown = saved["extensions"]["KHR_lights_punctual"]["lights"][0];
  const Vector warm = blackBodyColor(3000);
  EXPECT_EQ(shown["color"][0].get<double>(), 1) << "no part above 1";
  EXPECT_NEAR(shown["color"][2].get<double>(), warm.z / warm.x, 1e-12);
  EXPECT_NEAR(shown["intensity"].get<double>(), 8 * warm.x, 1e-12);
}

struct Shown {
  std::vector<float> lights; // red
  SkyKind sky;
};

Shown shown(const char* first, const char* second, bool sky) {
  SceneBuilder scene = lampScene();
  scene.addNode(lightNode(0, Json::parse(first)));
  scene.addNode(lightNode(1, Json::parse(second)));
  const DocumentPtr document = load(scene);
  if (sky) stateOf(document.get())->children.append(*makeObject(Osky));
  const SnapshotPtr snapshot = takeSnapshot(*document, {});
  Shown result{{}, snapshot->sky.kind};
  for (const SnapshotLight& light : snapshot->lights)
    result.lights.push_back(light.intensity[0]);
  return result;
}

TEST(LightSwitches, MutedLightsDoNotShine) {
  const Shown one = shown(R"([[1113, "bool", 1]])", "[]", true);
  EXPECT_EQ(one.lights, std::vector<float>{2});
  EXPECT_EQ(one.sky, SkyKind::constant);
  const Shown none = shown(R"([[1113, "bool", 1]])", R"([[1113, "bool", 1]])", false);
  EXPECT_TRUE(none.lights.empty()) << "nor does the light of scenes without any";
  EXPECT_EQ(none.sky, SkyKind::none);
}

TEST(LightSwitches, SoloLightsShineAlone) {
  const Shown one = shown("[]", R"([[1114, "bool", 1]])", true);
  EXPECT_EQ(one.lights, std::vector<float>{2});
  EXPECT_EQ(one.sky, SkyKind::none);
  const Shown both = shown(R"([[1114, "bool", 1]])", R"([[1114, "bool", 1]])", true);
  EXPECT_EQ(both.lights, (std::vector<float>{8, 2}));
  const Shown muted = shown(R"([[1113, "bool", 1], [1114, "bool", 1]])", "[]", true);
  EXPECT_EQ(muted.lights, std::vector<float>{2}) << "a muted light puts out no other";
  EXPECT_EQ(muted.sky, SkyKind::constant);
}

} // namespace
} // namespace host
