// Variants of materials: KHR_materials_variants.
#include "parameters.h"
#include "scene_builder.h"
#include "snapshot.h"
#include "variants.h"

namespace host {
namespace {

using Json = SceneBuilder::Json;

Json mapping(int material, const Json& variants) {
  return Json{{"material", material}, {"variants", variants}};
}

// A quad of two parts, in "wood"; the first is "stone" in the variants 0 and 2, the second "glass" in 1.
SceneBuilder chair() {
  SceneBuilder scene;
  for (const char* name : {"wood", "stone", "glass"})
    scene.add("materials", Json{{"name", name}});
  scene.root["extensions"]["KHR_materials_variants"]["variants"] = {
      Json{{"name", "day"}}, Json{{"name", "night"}}, Json{{"name", "rain"}}};
  scene.addNode(Json{{"mesh", scene.addQuad(0)}});
  auto& parts = scene.root["meshes"][0]["primitives"];
  parts.push_back(parts[0]);
  parts[0]["extensions"]["KHR_materials_variants"]["mappings"] = {mapping(1, {0, 2})};
  parts[1]["extensions"]["KHR_materials_variants"]["mappings"] = {mapping(2, Json::array({1}))};
  scene.root["extensionsRequired"] = {"KHR_materials_variants"};
  return scene;
}

// The names of the two parts' materials.
std::string shownIn(const DocumentPtr& document) {
  const SnapshotPtr snapshot = takeSnapshot(*document, {});
  std::string names;
  for (const int material : snapshot->instances.at(0).materials)
    names += snapshot->materials.at(static_cast<std::size_t>(material))->name + " ";
  return names;
}

std::string shownIn(const DocumentPtr& document, LONG variant) {
  chooseVariant(*document, variant);
  return shownIn(document);
}

TEST(GltfVariants, chooseMaterials) {
  const DocumentPtr document = load(chair());
  EXPECT_EQ(variantNames(*document), (std::vector<std::string>{"day", "night", "rain"}));
  EXPECT_EQ(chosenVariant(*document), -1);
  EXPECT_EQ(shownIn(document), "wood wood ");
  EXPECT_EQ(shownIn(document, 0), "stone wood ");
  EXPECT_EQ(shownIn(document, 1), "wood glass ");
  EXPECT_EQ(shownIn(document, 2), "stone wood ");
  EXPECT_EQ(shownIn(document, 3), "wood wood ") << "a variant past the last";
  EXPECT_EQ(chosenVariant(*document), -1);
}

TEST(GltfVariants, areSavedAsSuchWithTheChoice) {
  const DocumentPtr document = load(chair());
  chooseVariant(*document, 1);
  const DocumentPtr second = reload(*document);
  EXPECT_EQ(chosenVariant(*second), 1);
  EXPECT_EQ(shownIn(second), "wood glass ");
  const auto bytes = saveDocumentToMemory(*second, false);
  const Json root = Json::parse(std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
  const Json& parts = root["meshes"][0]["primitives"];
  EXPECT_EQ(parts[0]["extensions"]["KHR_materials_variants"]["mappings"], Json::array({mapping(1, {0, 2})}));
  EXPECT_FALSE(root["nodes"][0].contains("extras"));
  EXPECT_EQ(root["extensionsUsed"], Json({"KHR_materials_variants"}));
}

TEST(GltfVariants, tagsOfTheUserAreKeptToo) {
  const DocumentPtr document = load(chair());
  ObjectState& object = *stateOf(document->GetFirstObject());
  NodeState* tag = makeNode(NodeKind::tag, Ttexture); // for all parts, in the variant 2
  tag->data.SetLink(param::textureMaterial, document->SearchMaterial("glass"));
  tag->data.SetLong(param::textureVariant, 2);
  object.tags.append(*tag);
  const DocumentPtr second = reload(*document);
  EXPECT_EQ(shownIn(second, 1), "wood glass ");
  EXPECT_EQ(shownIn(second, 2), "glass glass ");
}

TEST(GltfVariants, aCloneKeepsTheChoice) {
  const DocumentPtr document = load(chair());
  chooseVariant(*document, 0);
  const DocumentPtr clone(static_cast<BaseDocument*>(document->GetClone(COPYFLAGS_NO_ANIMATION)));
  EXPECT_EQ(shownIn(clone), "stone wood ");
}

TEST(GltfVariants, damaged) {
  const auto errorOf = [](const Json& mappings) {
    SceneBuilder scene = chair();
    scene.root["meshes"][0]["primitives"][0]["extensions"]["KHR_materials_variants"]["mappings"] = mappings;
    return loadDocumentFromMemory(scene.glb(), Filename()).error;
  };
  EXPECT_NE(errorOf(Json::array({mapping(3, {0, 1})})).find("material 3"), std::string::npos);
  EXPECT_NE(errorOf(Json::array({mapping(1, {0, 3})})).find("variant"), std::string::npos);
  EXPECT_NE(errorOf(Json::array({mapping(1, {-1, 0})})).find("variant"), std::string::npos);
  EXPECT_EQ(errorOf({mapping(1, {0, 0}), mapping(2, {0, 0})}), "") << "the last one counts";
  for (const Json& odd : {Json(1), Json("x"), Json::array({1}), Json::array({mapping(1, 5)})})
    EXPECT_EQ(errorOf(odd), "") << odd;
  SceneBuilder unnamed = chair();
  unnamed.root["extensions"]["KHR_materials_variants"]["variants"] = {1, Json::object(), Json{{"name", 3}}};
  EXPECT_EQ(variantNames(*reload(*load(unnamed))), (std::vector<std::string>{"", "", ""}));
}

} // namespace
} // namespace host
