// Animations of lights, cameras and nodes through KHR_animation_pointer, and pointers that lead nowhere.
#include <gmock/gmock.h>

#include <limits>

#include "document.h"
#include "parameters.h"
#include "scene_builder.h"

namespace {

using namespace host;
using Json = SceneBuilder::Json;

// A light and a camera; `pointer` leads from 1 at 0 s to 3 at 1 s.
SceneBuilder pointed(const std::string& pointer, const std::vector<float>& values = {1, 3},
                     const std::vector<float>& times = {0, 1}) {
  SceneBuilder scene;
  scene.root["extensionsUsed"] = {"KHR_lights_punctual", "KHR_animation_pointer"};
  scene.root["extensions"]["KHR_lights_punctual"]["lights"] =
      Json::array({Json{{"type", "point"}, {"intensity", 7}}});
  scene.add("cameras", Json{{"type", "perspective"}, {"perspective", {{"yfov", 0.7}, {"znear", 0.1}}}});
  scene.addNode(Json{{"name", "lamp"}, {"extensions", {{"KHR_lights_punctual", {{"light", 0}}}}}});
  scene.addNode(Json{{"name", "eye"}, {"camera", 0}});
  const int input = scene.addFloats(times, "SCALAR", 1), output = scene.addFloats(values, "SCALAR", 1);
  const Json target{{"path", "pointer"}, {"extensions", {{"KHR_animation_pointer", {{"pointer", pointer}}}}}};
  scene.add("animations", Json{{"channels", Json::array({Json{{"sampler", 0}, {"target", target}}})},
                               {"samplers", Json::array({Json{{"input", input}, {"output", output}}})}});
  return scene;
}

LoadResult read(const SceneBuilder& scene) {
  return loadDocumentFromMemory(scene.glb(), Filename());
}

const ObjectState& at(const LoadResult& loaded, const char* name, double seconds) {
  loaded.document->SetTime(BaseTime(seconds));
  loaded.document->ExecutePasses(nullptr, TRUE, TRUE, FALSE, BUILDFLAGS_0);
  return *stateOf(loaded.document->SearchObject(name));
}

TEST(AnimationPointers, lightsAndCamerasFollowThem) {
  const LoadResult light = read(pointed("/extensions/KHR_lights_punctual/lights/0/intensity"));
  ASSERT_TRUE(light.document);
  EXPECT_THAT(light.warnings, testing::IsEmpty());
  EXPECT_DOUBLE_EQ(param::real(at(light, "lamp", 0.5), param::lightIntensity), 2);
  const LoadResult camera = read(pointed("/cameras/0/perspective/yfov", {0.5F, 1}));
  ASSERT_TRUE(camera.document);
  EXPECT_EQ(at(camera, "eye", 0).type, Ocamera);
  EXPECT_DOUBLE_EQ(param::real(at(camera, "eye", 0.5), param::cameraYfov), 0.75);
}

TEST(AnimationPointers, thoseThatLeadNowhereAreLeftOut) {
  for (const char* pointer :
       {"/extensions/KHR_lights_punctual/lights/1/intensity",
        "/extensions/KHR_lights_punctual/lights/-1/color",
        "/extensions/KHR_lights_punctual/lights/99999999999999999999/color", "/cameras/1/perspective/yfov",
        "/cameras/0/perspective/znear", "/cameras//perspective/yfov", "/nodes/2/translation", "/nodes/0",
        "/materials/0/emissiveFactor", "", "/", "/cameras/0"}) {
    const LoadResult loaded = read(pointed(pointer));
    ASSERT_TRUE(loaded.document) << pointer;
    EXPECT_THAT(loaded.warnings, testing::ElementsAre(testing::HasSubstr("(1 tracks)"))) << pointer;
    EXPECT_DOUBLE_EQ(param::real(at(loaded, "lamp", 1), param::lightIntensity), 7) << pointer;
  }
}

TEST(AnimationPointers, damagedKeysAreLeftOutOrBrought) {
  const std::string intensity = "/extensions/KHR_lights_punctual/lights/0/intensity";
  for (const SceneBuilder& scene : {pointed(intensity, {1, 2, 3}), pointed(intensity, {1, 3}, {1, 0})}) {
    const LoadResult loaded = read(scene);
    ASSERT_TRUE(loaded.document) << loaded.error;
    EXPECT_DOUBLE_EQ(param::real(at(loaded, "lamp", 1), param::lightIntensity), 7);
  }
  const LoadResult loaded = read(pointed(intensity, {std::numeric_limits<float>::quiet_NaN(), -4}));
  ASSERT_TRUE(loaded.document);
  for (const double seconds : {0.0, 0.5, 1.0})
    EXPECT_DOUBLE_EQ(param::real(at(loaded, "lamp", seconds), param::lightIntensity), 0);

  SceneBuilder wrong = pointed(intensity);
  wrong.root["animations"][0]["channels"][0]["sampler"] = 4;
  EXPECT_FALSE(read(wrong).document);
}

} // namespace
