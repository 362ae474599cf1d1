// `lumenara info`.
#include <gtest/gtest.h>

#include <filesystem>

#include <nlohmann/json.hpp>

#include "program_run.h"
#include "tiny_scene.h"

namespace batchtest {
namespace {

using Json = nlohmann::json;

class Info : public testing::Test {
 protected:
  Json info(const std::string& scene) {
    const Outcome outcome = run({"info", scene, "--json"}, folder / "home");
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    return Json::parse(outcome.out, nullptr, false);
  }
  TempFolder folder;
};

TEST_F(Info, CountsTheContentsOfTheScene) {
  TinyScene scene;
  scene.animated = true;
  const std::string file = writeTinyScene(folder.path(), scene);
  const Json facts = info(file);
  EXPECT_EQ(facts["scene"], file);
  EXPECT_EQ(facts["objects"], 4);
  EXPECT_EQ(facts["triangles"], 4);
  EXPECT_EQ(facts["materials"], 2);
  EXPECT_EQ(facts["textures"], 0);
  EXPECT_EQ(facts["fps"], 30);
  EXPECT_EQ(facts["frames"], Json::array({0, 30}));
  EXPECT_EQ(facts["missing"], Json::array());
  ASSERT_EQ(facts["cameras"].size(), 2u);
  EXPECT_EQ(facts["cameras"][0]["name"], "Front");
  EXPECT_EQ(facts["cameras"][0]["projection"], "orthographic");
  EXPECT_EQ(facts["cameras"][0]["height"], 4);
  EXPECT_EQ(facts["cameras"][1]["name"], "Back");
  EXPECT_EQ(facts["lights"], Json::array());
  ASSERT_EQ(facts["animations"].size(), 1u);
  EXPECT_EQ(facts["animations"][0]["name"], "Slide");
  EXPECT_EQ(facts["animations"][0]["from"], 0);
  EXPECT_EQ(facts["animations"][0]["to"], 1);
}

TEST_F(Info, VariantsAreListedAndChosenByName) {
  const std::string file = writeTinyScene(folder.path());
  Json gltf = Json::parse(readFile(file));
  gltf["extensions"]["KHR_materials_variants"]["variants"] =
      Json::array({Json{{"name", "day"}}, Json{{"name", "night"}}});
  writeFile(file, gltf.dump());
  Json facts = info(file);
  EXPECT_EQ(facts["variants"], Json::array({"day", "night"}));
  EXPECT_EQ(facts["variant"], nullptr);
  const Outcome chosen = run({"info", file, "--variant", "night", "--json"}, folder / "home");
  EXPECT_EQ(Json::parse(chosen.out, nullptr, false)["variant"], "night") << chosen.err;
  for (const Arguments& command : {Arguments{"info", file}, Arguments{"render", file, "-o", folder / "a.png"},
                                   Arguments{"animate", file, "-o", folder / "a.mov", "--frames", "0:1"}}) {
    Arguments wrong = command;
    wrong.insert(wrong.end(), {"--variant", "noon"});
    const Outcome outcome = run(wrong, folder / "home");
    EXPECT_EQ(outcome.code, 2) << command[0];
    EXPECT_NE(outcome.err.find("no variant \"noon\"; it has \"day\", \"night\""), std::string::npos)
        << outcome.err;
  }
}

TEST_F(Info, BoundsAreThoseOfTheObjects) {
  const Json bounds = info(writeTinyScene(folder.path()))["bounds"];
  const double low[] = {-1.8, -1.8, 0}, high[] = {1.8, 1.8, 0};
  for (std::size_t axis = 0; axis < 3; ++axis) {
    EXPECT_NEAR(bounds["low"][axis].get<double>(), low[axis], 1e-5);
    EXPECT_NEAR(bounds["high"][axis].get<double>(), high[axis], 1e-5);
  }
}

TEST_F(Info, LightsAndPerspectiveCameras) {
  const std::string file = writeTinyScene(folder.path());
  Json gltf = Json::parse(readFile(file));
  gltf["cameras"][0] = Json{{"type", "perspective"}, {"perspective", Json{{"yfov", 0.7}, {"znear", 0.1}}}};
  gltf["extensionsUsed"].push_back("KHR_lights_punctual");
  gltf["extensions"]["KHR_lights_punctual"]["lights"] =
      Json::array({Json{{"name", "Lamp"},
                        {"type", "spot"},
                        {"intensity", 12.5},
                        {"color", Json::array({1, 0.5, 0.25})},
                        {"spot", Json::object()}}});
  Json lamp{{"name", "Lamp"}};
  lamp["extensions"]["KHR_lights_punctual"]["light"] = 0;
  gltf["nodes"].push_back(lamp);
  gltf["scenes"][0]["nodes"].push_back(4);
  writeFile(file, gltf.dump());
  const Json facts = info(file);
  EXPECT_EQ(facts["cameras"][0]["projection"], "perspective");
  EXPECT_NEAR(facts["cameras"][0]["yfov"].get<double>(), 0.7, 1e-6);
  ASSERT_EQ(facts["lights"].size(), 1u);
  EXPECT_EQ(facts["lights"][0]["name"], "Lamp");
  EXPECT_EQ(facts["lights"][0]["kind"], "spot");
  EXPECT_NEAR(facts["lights"][0]["intensity"].get<double>(), 12.5, 1e-5);
  EXPECT_NEAR(facts["lights"][0]["color"][1].get<double>(), 0.5, 1e-6);
}

TEST_F(Info, MissingFilesAreListed) {
  TinyScene scene;
  scene.missingPicture = true;
  const std::string file = writeTinyScene(folder.path(), scene);
  EXPECT_EQ(info(file)["missing"], Json::array({"nowhere.png"}));
  const Outcome text = run({"info", file}, folder / "home");
  EXPECT_EQ(text.code, 0);
  EXPECT_EQ(linesWith(text.out, "nowhere.png"), 1) << text.out;
}

TEST_F(Info, TextNamesEverything) {
  TinyScene scene;
  scene.animated = true;
  const Outcome outcome = run({"info", writeTinyScene(folder.path(), scene)}, folder / "home");
  ASSERT_EQ(outcome.code, 0) << outcome.err;
  EXPECT_EQ(outcome.err, "");
  for (const char* part :
       {"objects     4\n", "triangles   4\n", "cameras     Front (orthographic, 4.000 m high)\n",
        "Back (orthographic", "lights      none\n", "animations  Slide (0.00 to 1.00 s, 1 track)\n",
        "frames      0 to 30 at 30 a second\n", "missing     none\n"}) {
    EXPECT_NE(outcome.out.find(part), std::string::npos) << part << "\n" << outcome.out;
  }
}

TEST_F(Info, DoesNotTouchTheHome) {
  run({"info", writeTinyScene(folder.path())}, folder / "home");
  EXPECT_FALSE(std::filesystem::exists(folder / "home"));
}

} // namespace
} // namespace batchtest
