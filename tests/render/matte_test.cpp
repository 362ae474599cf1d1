// ID mattes: numbers of names, coverage of pixels, manifests.
#include <gtest/gtest.h>

#include <bit>

#include "cryptomatte.h"
#include "layer_table.h"
#include "scene_kit.h"

using namespace kit;

namespace {

// Known values of the hash, from its published description.
TEST(Matte, HashOfNames) {
  EXPECT_EQ(murmurHash3(""), 0u);
  EXPECT_EQ(murmurHash3("hello"), 0x248bfa47u);
  EXPECT_EQ(murmurHash3("hello, world"), 0x149bbb7fu);
  EXPECT_EQ(murmurHash3("The quick brown fox jumps over the lazy dog"), 0x2e4ff723u);
}

TEST(Matte, NumbersAreUsableFloats) {
  int corrected = 0;
  for (int i = 0; i < 5000; ++i) {
    const std::string name = "object " + std::to_string(i);
    EXPECT_TRUE(std::isnormal(matteNumber(name))) << name;
    corrected += matteHash(name) != murmurHash3(name);
  }
  EXPECT_GT(corrected, 5); // one in 128
}

Scene twoWalls() {
  Scene scene;
  scene.snapshot->names = {"", "left", "right", "house"};
  scene.materials[0]->name = "Brick";
  scene.materials[0]->unlit = true;
  Instance& left = scene.add(quad({-8, -8, 0}, {8.5f, 0, 0}, {0, 16, 0}));
  left.name = 1, left.asset = 3;
  Instance& right = scene.add(quad({0.5f, -8, 0}, {7.5f, 0, 0}, {0, 8, 0}));
  right.name = 2, right.asset = 3;
  scene.lookAt({0, 0, 5}, {0, 0, 0}, true, 4);
  return scene;
}

TEST(Matte, CoverageOfAPixel) {
  Scene scene = twoWalls();
  auto how = settings(8, 8, 16);
  how.antiAliasing = render::AntiAliasing::none;
  how.layers = cryptomatteLayers;
  const Result r = draw(scene, 8, 8, how);
  const float left = matteNumber("left"), right = matteNumber("right");
  const std::vector<float> inside = r.layer("crypto_object00", 1, 1);
  EXPECT_EQ(inside, (std::vector<float>{left, 1, 0, 0}));
  const std::vector<float> edge = r.layer("crypto_object00", 4, 6);
  ASSERT_EQ(edge.size(), 4u);
  EXPECT_TRUE((edge[0] == left && edge[2] == right) || (edge[0] == right && edge[2] == left));
  EXPECT_FLOAT_EQ(edge[1], 0.5f);
  EXPECT_FLOAT_EQ(edge[3], 0.5f);
  const std::vector<float> open = r.layer("crypto_object00", 4, 1); // half of it is empty
  EXPECT_EQ(open[0], left);
  EXPECT_FLOAT_EQ(open[1], 0.5f);
  EXPECT_EQ(open[3], 0);
  EXPECT_EQ(r.layer("crypto_material00", 4, 6), (std::vector<float>{matteNumber("Brick"), 1, 0, 0}));
  EXPECT_EQ(r.layer("crypto_asset00", 4, 6), (std::vector<float>{matteNumber("house"), 1, 0, 0}));
  EXPECT_EQ(r.layer("crypto_object02", 4, 6), (std::vector<float>{0, 0, 0, 0}));
}

TEST(Matte, ManifestsNameEverything) {
  Scene scene = twoWalls();
  scene.snapshot->names[1] = "le\"ft";
  auto how = settings(8, 8, 1);
  how.layers = cryptomatteLayers | objectLayer | materialLayer;
  const Result r = draw(scene, 8, 8, how);
  const auto notes = r.film->notes();
  std::string key;
  for (const auto& [name, text] : notes)
    if (text == "crypto_object") key = name.substr(0, name.rfind('/'));
  ASSERT_EQ(key.size(), std::string("cryptomatte/").size() + 7);
  EXPECT_EQ(notes.at(key + "/hash"), "MurmurHash3_32");
  EXPECT_EQ(notes.at(key + "/conversion"), "uint32_to_float32");
  char number[16];
  std::snprintf(number, sizeof number, "%08x", std::bit_cast<std::uint32_t>(matteNumber("right")));
  EXPECT_NE(notes.at(key + "/manifest").find("\"right\":\"" + std::string(number) + "\""), std::string::npos);
  EXPECT_NE(notes.at(key + "/manifest").find(R"("le\"ft":")"), std::string::npos);
  EXPECT_EQ(notes.at("object_id/names"), R"({"1":"le\"ft","2":"right"})");
  EXPECT_EQ(notes.at("material_id/names"), R"({"1":"Brick"})");
}

} // namespace
