// Snapshots of materials: their values, switches, textures.
#include "snapshot.h"

#include <cmath>

#include "generated_mesh.h"
#include "parameters.h"
#include "scene_builder.h"

namespace host {
namespace {

using Json = SceneBuilder::Json;

/// A material's extensions with every part of its finish and body.
Json extensions() {
  return Json{
      {"KHR_materials_emissive_strength", {{"emissiveStrength", 4}}},
      {"KHR_materials_transmission", {{"transmissionFactor", 0.5}}},
      {"KHR_materials_ior", {{"ior", 1.25}}},
      {"KHR_materials_specular", {{"specularFactor", 0.5}, {"specularColorFactor", {1, 0, 0}}}},
      {"KHR_materials_clearcoat",
       {{"clearcoatFactor", 0.5},
        {"clearcoatRoughnessFactor", 0.125},
        {"clearcoatNormalTexture", {{"index", 2}, {"scale", 0.25}}}}},
      {"KHR_materials_volume",
       {{"thicknessFactor", 0.5},
        {"attenuationColor", {0.5, 0.25, 1}},
        {"attenuationDistance", 0.75},
        {"thicknessTexture", {{"index", 1}}}}},
      {"KHR_materials_dispersion", {{"dispersion", 0.25}}},
      {"KHR_materials_sheen",
       {{"sheenColorFactor", {0.25, 0.5, 0.75}},
        {"sheenRoughnessFactor", 0.5},
        {"sheenColorTexture", {{"index", 0}}},
        {"sheenRoughnessTexture", {{"index", 1}}}}},
      {"KHR_materials_anisotropy",
       {{"anisotropyStrength", 0.5}, {"anisotropyRotation", 0.25}, {"anisotropyTexture", {{"index", 1}}}}},
      {"KHR_materials_iridescence",
       {{"iridescenceFactor", 0.5},
        {"iridescenceIor", 1.75},
        {"iridescenceThicknessMinimum", 150},
        {"iridescenceThicknessMaximum", 550},
        {"iridescenceTexture", {{"index", 1}}},
        {"iridescenceThicknessTexture", {{"index", 3}}}}},
      {"KHR_materials_diffuse_transmission",
       {{"diffuseTransmissionFactor", 0.25},
        {"diffuseTransmissionColorFactor", {1, 0.5, 0.25}},
        {"diffuseTransmissionTexture", {{"index", 1}}},
        {"diffuseTransmissionColorTexture", {{"index", 0}}}}}};
}

// A quad with a material that uses every channel.
SceneBuilder full() {
  SceneBuilder scene;
  for (const char* name : {"color.png", "mr.png", "normal.png", "occlusion.png", "glow.png"})
    scene.add("images", Json{{"name", name},
                             {"mimeType", "image/png"},
                             {"bufferView", scene.addView(std::vector<char>{'x'})}});
  for (int i = 0; i < 5; ++i)
    scene.add("textures", Json{{"source", i}});
  const int material =
      scene.add("materials", Json{{"name", "all"},
                                  {"pbrMetallicRoughness",
                                   {{"baseColorFactor", {0.5, 0.25, 1, 0.75}},
                                    {"metallicFactor", 0.5},
                                    {"roughnessFactor", 0.25},
                                    {"baseColorTexture", {{"index", 0}}},
                                    {"metallicRoughnessTexture", {{"index", 1}}}}},
                                  {"normalTexture", {{"index", 2}, {"scale", 0.5}}},
                                  {"occlusionTexture", {{"index", 3}, {"strength", 0.75}, {"texCoord", 1}}},
                                  {"emissiveTexture", {{"index", 4}}},
                                  {"emissiveFactor", {1, 0.5, 0}},
                                  {"alphaMode", "MASK"},
                                  {"alphaCutoff", 0.25},
                                  {"doubleSided", true},
                                  {"extensions", extensions()}});
  scene.addNode(Json{{"name", "n"}, {"mesh", scene.addQuad(material)}});
  return scene;
}

SurfaceMaterialPtr surface(const DocumentPtr& document, const SnapshotOptions& options = {}) {
  const SnapshotPtr snapshot = takeSnapshot(*document, options);
  return snapshot->materials.at(static_cast<std::size_t>(snapshot->instances.at(0).materials.at(0)));
}

TEST(SnapshotMaterials, carryEveryValue) {
  const DocumentPtr document = load(full());
  const SurfaceMaterialPtr m = surface(document);
  EXPECT_EQ(m->name, "all");
  EXPECT_EQ(m->id, document->GetFirstMaterial()->GetIdentity());
  EXPECT_EQ(m->baseColor, (Float4{0.5F, 0.25F, 1, 0.75F}));
  EXPECT_EQ(m->metallic, 0.5F);
  EXPECT_EQ(m->roughness, 0.25F);
  EXPECT_EQ(m->emission, (Float3{4, 2, 0}));
  EXPECT_EQ(m->normalScale, 0.5F);
  EXPECT_EQ(m->occlusionStrength, 0.75F);
  EXPECT_EQ(m->alphaMode, AlphaMode::mask);
  EXPECT_EQ(m->alphaCutoff, 0.25F);
  EXPECT_EQ(m->transmission, 0.5F);
  EXPECT_EQ(m->ior, 1.25F);
  EXPECT_EQ(m->specular, 0.5F);
  EXPECT_EQ(m->specularColor, (Float3{1, 0, 0}));
  EXPECT_EQ(m->clearcoat, 0.5F);
  EXPECT_EQ(m->clearcoatRoughness, 0.125F);
  EXPECT_TRUE(m->doubleSided);
  EXPECT_FALSE(m->unlit);
  ASSERT_TRUE(m->baseColorShade);
  EXPECT_EQ(m->baseColorShade->kind, ShadeKind::bitmap);
  EXPECT_EQ(m->baseColorShade->texture.picture->name, "color.png");
  EXPECT_EQ(m->metallicRoughnessShade->texture.picture->name, "mr.png");
  EXPECT_EQ(m->normalShade->texture.picture->name, "normal.png");
  EXPECT_EQ(m->occlusionShade->texture.picture->name, "occlusion.png");
  EXPECT_EQ(m->occlusionShade->texture.uvSet, 1);
  EXPECT_EQ(m->emissionShade->texture.picture->name, "glow.png");
  reload(*document);
}

TEST(SnapshotMaterials, carryTheirFinishAndBody) {
  const DocumentPtr document = load(full());
  const SurfaceMaterialPtr m = surface(document);
  EXPECT_EQ(m->clearcoatNormalScale, 0.25F);
  EXPECT_EQ(m->clearcoatNormalShade->texture.picture->name, "normal.png");
  EXPECT_EQ(m->thickness, 0.5F);
  EXPECT_EQ(m->attenuationColor, (Float3{0.5F, 0.25F, 1}));
  EXPECT_EQ(m->attenuationDistance, 0.75F);
  EXPECT_EQ(m->dispersion, 0.25F);
  EXPECT_EQ(m->sheenColor, (Float3{0.25F, 0.5F, 0.75F}));
  EXPECT_EQ(m->sheenRoughness, 0.5F);
  EXPECT_EQ(m->sheenColorShade->texture.picture->name, "color.png");
  EXPECT_EQ(m->sheenRoughnessShade->texture.picture->name, "mr.png");
  EXPECT_EQ(m->anisotropy, 0.5F);
  EXPECT_EQ(m->anisotropyRotation, 0.25F);
  EXPECT_EQ(m->anisotropyShade->texture.picture->name, "mr.png");
  EXPECT_EQ(m->iridescence, 0.5F);
  EXPECT_EQ(m->iridescenceIor, 1.75F);
  EXPECT_EQ(m->filmThin, 150);
  EXPECT_EQ(m->filmThick, 550);
  EXPECT_EQ(m->iridescenceShade->texture.picture->name, "mr.png");
  EXPECT_EQ(m->filmShade->texture.picture->name, "occlusion.png");
  EXPECT_EQ(m->diffuseTransmission, 0.25F);
  EXPECT_EQ(m->diffuseTransmissionColor, (Float3{1, 0.5F, 0.25F}));
  EXPECT_EQ(m->diffuseTransmissionShade->texture.picture->name, "mr.png");
  EXPECT_EQ(m->diffuseTransmissionColorShade->texture.picture->name, "color.png");
}

// Without an entry a material has no volume and no finish.
TEST(SnapshotMaterials, plainOnesAreThinAndBare) {
  SceneBuilder scene;
  scene.addNode(Json{{"mesh", scene.addQuad(scene.add("materials", Json{{"name", "plain"}}))}});
  const SurfaceMaterialPtr m = surface(load(scene));
  EXPECT_EQ(m->thickness, 0);
  EXPECT_EQ(m->attenuationDistance, 0);
  EXPECT_EQ(m->sheenColor, (Float3{}));
  EXPECT_EQ(m->anisotropy, 0);
  EXPECT_EQ(m->iridescence, 0);
  EXPECT_EQ(m->diffuseTransmission, 0);
}

TEST(SnapshotMaterials, aChannelThatIsOffDropsItsWholeEffect) {
  const DocumentPtr document = load(full());
  const auto without = [&](LONG id) {
    const DocumentPtr clone(document->GetClone(COPYFLAGS_0));
    clone->GetFirstMaterial()->SetParameter(id, GeData(LONG(0)));
    return surface(clone);
  };
  EXPECT_FALSE(without(param::switchColor)->colorOn);
  EXPECT_EQ(without(param::switchDiffusion)->occlusionShade, nullptr);
  EXPECT_EQ(without(param::switchLuminance)->emission, (Float3{}));
  EXPECT_EQ(without(param::switchTransparency)->transmission, 0);
  EXPECT_FALSE(without(param::switchReflection)->reflectionOn);
  EXPECT_EQ(without(param::switchReflection)->metallic, 0);
  EXPECT_EQ(without(param::switchReflection)->clearcoat, 0);
  EXPECT_EQ(without(param::switchAlpha)->alphaMode, AlphaMode::opaque);
  EXPECT_EQ(without(param::switchSpecular)->specular, 0);
  EXPECT_EQ(without(param::switchSpecularColor)->specularColor, (Float3{1, 1, 1}));
  EXPECT_EQ(without(param::switchNormal)->normalShade, nullptr);
  EXPECT_NE(surface(document)->normalShade, nullptr) << "the original is as it was";
}

TEST(SnapshotMaterials, withoutTexturesTheFactorsStay) {
  SnapshotOptions options;
  options.textures = false;
  const DocumentPtr document = load(full());
  const SurfaceMaterialPtr m = surface(document, options);
  ASSERT_TRUE(m->baseColorShade);
  EXPECT_EQ(m->baseColorShade->kind, ShadeKind::color);
  EXPECT_EQ(m->baseColorShade->color, (Float4{1, 1, 1, 1}));
  EXPECT_EQ(m->normalShade, nullptr);
  EXPECT_EQ(m->baseColor, (Float4{0.5F, 0.25F, 1, 0.75F}));
}

TEST(SnapshotMaterials, textureTransformsAndSamplers) {
  SceneBuilder scene = full();
  scene.add("samplers", Json{{"wrapS", 33071}, {"wrapT", 33648}, {"magFilter", 9728}});
  scene.root["textures"][0]["sampler"] = 0;
  scene.root["materials"][0]["pbrMetallicRoughness"]["baseColorTexture"]["extensions"] = {
      {"KHR_texture_transform",
       {{"offset", {0.5, 0.25}}, {"scale", {2, 4}}, {"rotation", 0.75}, {"texCoord", 1}}}};
  const DocumentPtr document = load(scene);
  const TextureUse use = surface(document)->baseColorShade->texture;
  EXPECT_EQ(use.offset, (Float2{0.5F, 0.25F}));
  EXPECT_EQ(use.scale, (Float2{2, 4}));
  EXPECT_EQ(use.rotation, 0.75F);
  EXPECT_EQ(use.uvSet, 1);
  EXPECT_EQ(use.wrapU, Wrap::clamp);
  EXPECT_EQ(use.wrapV, Wrap::mirror);
  EXPECT_TRUE(use.nearest);
  reload(*document);
}

TEST(SnapshotMaterials, aShaderTreeAndTheRemovalOfItsOcclusion) {
  SceneBuilder scene = full();
  scene.root["materials"][0]["extras"]["lumenara"] = Json::parse(R"({
    "shaders": [ {"type": 1011123, "children": [
      {"type": 5833, "image": 4, "container": [[1628, "vector", [0.5, 0.5, 0.5]]]},
      {"type": 1001191, "container": [[1641, "real", 0.25], [1642, "vector", [0.1, 0, 0]], [1601, "long", 1], [1602, "real", 0.5]]},
      {"type": 1011109, "children": [ {"type": 5832, "container": [[1611, "vector", [0, 1, 0]]]} ]} ]},
      {"type": 1001191} ],
    "slots": {"0": 0, "12": 1}})");
  const DocumentPtr document = load(scene);
  SurfaceMaterialPtr m = surface(document);
  ASSERT_TRUE(m->baseColorShade);
  EXPECT_EQ(m->baseColorShade->kind, ShadeKind::layer);
  ASSERT_EQ(m->baseColorShade->children.size(), 3U);
  const auto& [bitmap, occlusion, fusion] = std::tie(
      m->baseColorShade->children[0], m->baseColorShade->children[1], m->baseColorShade->children[2]);
  EXPECT_EQ(bitmap->texture.picture->name, "glow.png");
  EXPECT_EQ(bitmap->color, (Float4{0.5F, 0.5F, 0.5F, 1}));
  EXPECT_EQ(occlusion->kind, ShadeKind::ambientOcclusion);
  EXPECT_EQ(occlusion->aoDistance, 0.25F);
  EXPECT_EQ(occlusion->aoDark, (Float3{0.1F, 0, 0}));
  EXPECT_EQ(occlusion->mix, ShadeMix::multiply);
  EXPECT_EQ(occlusion->amount, 0.5F);
  EXPECT_EQ(fusion->kind, ShadeKind::fusion);
  EXPECT_EQ(fusion->children.at(0)->color, (Float4{0, 1, 0, 1}));
  EXPECT_EQ(m->occlusionShade->kind, ShadeKind::ambientOcclusion);
  EXPECT_EQ(m->metallicRoughnessShade->texture.picture->name, "mr.png")
      << "other slots keep the file's textures";
  reload(*document);

  BaseMaterial* material = document->GetFirstMaterial();
  BaseShader* layer = material->GetChannel(CHANNEL_COLOR)->GetShader();
  ASSERT_EQ(layer->GetType(), Xlayer);
  BaseShader* removed = layer->GetDown()->GetNext();
  removed->Remove();
  BaseShader::Free(removed);
  BaseShader* top = material->GetChannel(CHANNEL_DIFFUSION)->GetShader();
  BaseShader::Free(top);
  m = surface(document);
  EXPECT_EQ(m->baseColorShade->children.size(), 2U);
  EXPECT_EQ(m->occlusionShade, nullptr);
}

TEST(SnapshotMaterials, onlyMaterialsInUseMissTheirPictures) {
  SceneBuilder scene = full();
  scene.root["images"][0] = Json{{"uri", "lost.png"}};
  scene.add("materials", Json{{"name", "unused"}, {"normalTexture", {{"index", 5}}}});
  scene.add("images", Json{{"uri", "lost too.png"}});
  scene.add("textures", Json{{"source", 5}});
  LoadResult details;
  const DocumentPtr document = load(scene, &details);
  EXPECT_EQ(details.missingFiles, (std::vector<std::string>{"lost.png", "lost too.png"}));
  EXPECT_EQ(details.warnings.size(), 2U);
  EXPECT_EQ(takeSnapshot(*document, {})->missingAssets, std::vector<std::string>{"lost.png"});
  EXPECT_EQ(surface(document)->baseColorShade, nullptr) << "shown without it";
  SnapshotOptions options;
  options.textures = false;
  EXPECT_TRUE(takeSnapshot(*document, options)->missingAssets.empty());
  document->GetFirstMaterial()->SetParameter(param::switchColor, GeData(LONG(0)));
}

TEST(SnapshotMaterials, withoutAMaterialTheDefaultOneIsUsed) {
  SceneBuilder scene;
  scene.addNode(Json{{"mesh", scene.addQuad()}});
  const DocumentPtr document = load(scene);
  const SnapshotPtr snapshot = takeSnapshot(*document, {});
  EXPECT_EQ(snapshot->instances.at(0).materials, std::vector<int>{0});
  ASSERT_EQ(snapshot->materials.size(), 1U);
  EXPECT_EQ(snapshot->materials[0]->baseColor, (Float4{0.8F, 0.8F, 0.8F, 1}));
}

// --- lights and sky ---

TEST(SnapshotLights, anEvenGlowLightsAndAGlowingPictureDoesNot) {
  SceneBuilder glow = full();
  DocumentPtr document = load(glow);
  EXPECT_EQ(takeSnapshot(*document, {})->lights.size(), 1U);
  glow.root["materials"][0].erase("emissiveTexture");
  document = load(glow);
  EXPECT_TRUE(takeSnapshot(*document, {})->lights.empty());
  EXPECT_EQ(takeSnapshot(*document, {})->sky.kind, SkyKind::none);
}

} // namespace
} // namespace host
