// Extensions of textures and materials that change which picture, which model or which material is read.
#include "parameters.h"
#include "scene_builder.h"
#include "snapshot.h"

namespace host {
namespace {

using Json = SceneBuilder::Json;

constexpr const char* png = "data:image/png;base64,iVBORw0KGgo=";
constexpr const char* webp = "data:image/webp;base64,UklGRgAAAABXRUJQ";
constexpr const char* damaged = "data:image/webp;base64,AAAA";

// A quad with a material whose base colour has this texture.
SceneBuilder textured(Json texture, std::vector<std::string> pictures) {
  SceneBuilder scene;
  for (const std::string& uri : pictures)
    scene.add("images", Json{{"uri", uri}, {"name", uri.substr(5, 10)}});
  scene.add("textures", std::move(texture));
  scene.add("materials", Json{{"pbrMetallicRoughness", {{"baseColorTexture", {{"index", 0}}}}}});
  scene.addNode(Json{{"mesh", scene.addQuad(0)}});
  return scene;
}

Json webpTexture(int source, int fallback, const char* name = "EXT_texture_webp") {
  Json texture{{"extensions", {{name, {{"source", source}}}}}};
  if (fallback >= 0) texture["source"] = fallback;
  return texture;
}

const Picture& pictureOf(const DocumentPtr& document) {
  const auto& material = static_cast<const MaterialState&>(*stateOf(document->GetFirstMaterial()));
  return *static_cast<const ShaderState&>(*material.shaders.first()).picture;
}

TEST(GltfWebp, theWebpPictureIsShownAndTheOtherKept) {
  for (const char* name : {"EXT_texture_webp", "KHR_texture_webp"}) {
    SceneBuilder scene = textured(webpTexture(1, 0, name), {png, webp});
    scene.root["extensionsRequired"] = {name};
    const DocumentPtr document = reload(*load(scene));
    EXPECT_EQ(pictureOf(document).mimeType, "image/webp");
    ASSERT_TRUE(pictureOf(document).fallback);
    EXPECT_EQ(pictureOf(document).fallback->mimeType, "image/png");
  }
}

TEST(GltfWebp, theOtherPictureIsShownWhereTheWebpOneIsDamaged) {
  const DocumentPtr document = load(textured(webpTexture(1, 0), {png, damaged}));
  EXPECT_EQ(pictureOf(document).mimeType, "image/png");
  reload(*document);
  EXPECT_EQ(pictureOf(load(textured(webpTexture(1, 0), {damaged, damaged}))).mimeType, "image/webp");
}

TEST(GltfWebp, theSavedFileNamesBothPicturesAndTheExtension) {
  const auto saved = [](const SceneBuilder& scene) {
    const auto bytes = saveDocumentToMemory(*load(scene), false);
    return Json::parse(std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
  };
  Json root = saved(textured(webpTexture(1, 0), {png, webp}));
  const Json& texture =
      root["textures"]
          [root["materials"][0]["pbrMetallicRoughness"]["baseColorTexture"]["index"].get<std::size_t>()];
  EXPECT_EQ(root["images"][texture["source"].get<std::size_t>()]["mimeType"], "image/png");
  const Json& source = texture["extensions"]["EXT_texture_webp"]["source"];
  EXPECT_EQ(root["images"][source.get<std::size_t>()]["mimeType"], "image/webp");
  EXPECT_EQ(root["extensionsUsed"], Json({"EXT_texture_webp"}));
  EXPECT_FALSE(root.contains("extensionsRequired"));
  root = saved(textured(webpTexture(0, -1), {webp}));
  EXPECT_EQ(root["extensionsRequired"], Json({"EXT_texture_webp"}));
}

TEST(GltfWebp, aPictureInALayerKeepsItsFallback) {
  SceneBuilder scene = textured(webpTexture(1, 0), {png, webp});
  scene.root["materials"][0]["extras"] = Json::parse(
      R"({"lumenara": {"shaders": [{"type": 1011123, "children": [{"type": 5833, "image": 1}]}], "slots": {"0": 0}}})");
  reload(*load(scene));
  scene = textured(webpTexture(1, 0), {png, damaged});
  scene.root["materials"][0]["extras"] =
      Json::parse(R"({"lumenara": {"shaders": [{"type": 5833, "image": 1}], "slots": {"0": 0}}})");
  reload(*load(scene));
}

TEST(GltfWebp, damagedNames) {
  for (const Json& texture : {webpTexture(2, 0), webpTexture(0, 7), webpTexture(-4, 0)}) {
    const LoadResult result = loadDocumentFromMemory(textured(texture, {png, webp}).glb(), Filename());
    EXPECT_NE(result.error.find("picture"), std::string::npos) << result.error;
  }
  // Each picture as the other's fallback: neither keeps the other.
  SceneBuilder scene = textured(webpTexture(1, 0), {png, webp});
  scene.add("textures", webpTexture(0, 1));
  EXPECT_FALSE(pictureOf(reload(*load(scene))).fallback);
}

// --- specular and glossiness ---

Json old(Json parts) {
  return Json{{"name", "old"}, {"extensions", {{"KHR_materials_pbrSpecularGlossiness", std::move(parts)}}}};
}

SceneBuilder sceneOf(Json material) {
  SceneBuilder scene;
  scene.add("images", Json{{"uri", png}, {"name", "p"}});
  scene.add("samplers", Json{{"wrapS", 33071}});
  scene.add("textures", Json{{"source", 0}, {"sampler", 0}});
  scene.add("materials", std::move(material));
  scene.root["extensionsRequired"] = {"KHR_materials_pbrSpecularGlossiness"};
  scene.addNode(Json{{"mesh", scene.addQuad(0)}});
  return scene;
}

SurfaceMaterialPtr surfaceOf(const DocumentPtr& document) {
  const SnapshotPtr snapshot = takeSnapshot(*document, {});
  return snapshot->materials.at(static_cast<std::size_t>(snapshot->instances.at(0).materials.at(0)));
}

TEST(GltfSpecularGlossiness, becomesADielectricWithThisReflection) {
  const DocumentPtr document = load(sceneOf(old(Json{{"diffuseFactor", {0.1, 0.2, 0.3, 0.4}},
                                                     {"specularFactor", {0.5, 0.6, 0.7}},
                                                     {"glossinessFactor", 0.75}})));
  const SurfaceMaterialPtr surface = surfaceOf(document);
  EXPECT_EQ(surface->baseColor, (Float4{0.1F, 0.2F, 0.3F, 0.4F}));
  EXPECT_EQ(surface->metallic, 0);
  EXPECT_FLOAT_EQ(surface->roughness, 0.25F);
  const float r = (surface->ior - 1) / (surface->ior + 1);
  EXPECT_NEAR(surface->specularColor[1] * r * r * surface->specular, 0.6F, 1e-5F);
  reload(*document);
}

TEST(GltfSpecularGlossiness, defaultsAreWhiteAndSmooth) {
  const SurfaceMaterialPtr surface = surfaceOf(load(sceneOf(old(Json::object()))));
  EXPECT_EQ(surface->baseColor, (Float4{1, 1, 1, 1}));
  EXPECT_EQ(surface->roughness, 0);
  EXPECT_EQ(surface->specularColor, (Float3{1, 1, 1}));
}

// White, with a black picture over it that is as opaque as the picture's alpha times the glossiness: the
// green is 1 - glossiness * alpha.
TEST(GltfSpecularGlossiness, theAlphaOfThePictureDarkensTheRoughness) {
  const DocumentPtr document = load(sceneOf(old(Json{{"diffuseTexture", {{"index", 0}, {"texCoord", 1}}},
                                                     {"specularGlossinessTexture", {{"index", 0}}},
                                                     {"glossinessFactor", 0.5}})));
  const SurfaceMaterialPtr surface = surfaceOf(document);
  EXPECT_EQ(surface->roughness, 1);
  ASSERT_TRUE(surface->metallicRoughnessShade);
  ASSERT_EQ(surface->metallicRoughnessShade->children.size(), 2U);
  const Shade &white = *surface->metallicRoughnessShade->children[0],
              &picture = *surface->metallicRoughnessShade->children[1];
  EXPECT_EQ(white.color, (Float4{1, 1, 1, 1}));
  EXPECT_EQ(picture.color, (Float4{0, 0, 0, 0.5F}));
  EXPECT_EQ(picture.mix, ShadeMix::normal);
  EXPECT_EQ(picture.texture.wrapU, Wrap::clamp);
  ASSERT_TRUE(surface->specularColorShade && surface->baseColorShade);
  EXPECT_EQ(surface->specularColorShade->texture.picture, picture.texture.picture) << "one picture, shared";
  EXPECT_EQ(surface->baseColorShade->texture.uvSet, 1);
  reload(*document);
}

TEST(GltfSpecularGlossiness, damaged) {
  LoadResult result = loadDocumentFromMemory(
      sceneOf(old(Json{{"specularGlossinessTexture", {{"index", 5}}}})).glb(), Filename());
  EXPECT_NE(result.error.find("texture 5"), std::string::npos) << result.error;
  Json odd = old(Json{{"diffuseFactor", "red"},
                      {"specularFactor", {1}},
                      {"glossinessFactor", nullptr},
                      {"specularGlossinessTexture", {{"index", 0}}}});
  odd["extras"] = 3;
  reload(*load(sceneOf(odd)));
  odd["extras"] = Json::parse(R"({"lumenara": {"shaders": 1, "slots": []}})");
  reload(*load(sceneOf(odd)));
  odd["extras"] = Json::parse(R"({"lumenara": {"shaders": [{"type": 5832}], "slots": {"3": 0}}})");
  EXPECT_EQ(surfaceOf(load(sceneOf(odd)))->metallicRoughnessShade->kind, ShadeKind::color) << "ours wins";
  SceneBuilder plain = sceneOf(old(Json{{"diffuseFactor", {1, 0, 0, 1}}}));
  plain.root["materials"][0]["extensions"]["KHR_materials_unlit"] = Json::object();
  EXPECT_EQ(surfaceOf(load(plain))->baseColor, (Float4{1, 1, 1, 1})) << "unlit ones keep their metallic form";
}

} // namespace
} // namespace host
