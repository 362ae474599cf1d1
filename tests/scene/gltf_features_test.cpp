// glTF features and the documents that they become.
#include <draco/compression/encode.h>
#include <draco/mesh/triangle_soup_mesh_builder.h>

#include "document.h"
#include "parameters.h"
#include "scene_builder.h"
#include "snapshot.h"

namespace host {
namespace {

using Json = SceneBuilder::Json;

const Mesh& meshOf(const DocumentPtr& document) {
  return *stateOf(document->GetFirstObject())->mesh;
}

TEST(Gltf, aQuad) {
  SceneBuilder scene;
  scene.addNode(Json{{"mesh", scene.addQuad()}});
  const DocumentPtr document = load(scene);
  const Mesh& mesh = meshOf(document);
  EXPECT_EQ(mesh.positions, (std::vector<Float3>{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}));
  EXPECT_EQ(mesh.uv[0], (std::vector<Float2>{{0, 1}, {1, 1}, {1, 0}, {0, 0}}));
  using Triangles = std::vector<std::array<std::uint32_t, 3>>;
  EXPECT_EQ(mesh.triangles, (Triangles{{0, 1, 2}, {0, 2, 3}}));
  ASSERT_EQ(mesh.groups.size(), 1U);
  EXPECT_EQ(mesh.groups[0].triangleCount, 2U);
  EXPECT_EQ(mesh.low, (Float3{0, 0, 0}));
  EXPECT_EQ(mesh.high, (Float3{1, 1, 0}));
  EXPECT_TRUE(mesh.normals.empty());
}

TEST(Gltf, dataUrisInPlainText) {
  SceneBuilder scene;
  scene.addNode(Json{{"mesh", scene.addQuad()}});
  std::string hex = "data:application/octet-stream,";
  for (const std::byte b : scene.data()) {
    char piece[4];
    std::snprintf(piece, sizeof piece, "%%%02x", std::to_integer<unsigned>(b));
    hex += piece;
  }
  scene.root["buffers"] = {Json{{"byteLength", scene.data().size()}, {"uri", hex}}};
  const LoadResult result = loadDocumentFromMemory(bytesOfText(scene.text()), Filename());
  ASSERT_TRUE(result.document) << result.error;
  EXPECT_EQ(meshOf(result.document).positions.size(), 4U);
}

TEST(Gltf, stripsAndFans) {
  SceneBuilder scene;
  scene.addNode(Json{{"mesh", scene.addQuad()}});
  auto& primitive = scene.root["meshes"][0]["primitives"][0];
  primitive["indices"] = scene.addShorts({0, 1, 3, 2});
  using Triangles = std::vector<std::array<std::uint32_t, 3>>;
  primitive["mode"] = 5;
  EXPECT_EQ(meshOf(load(scene)).triangles, (Triangles{{0, 1, 3}, {1, 2, 3}}));
  primitive["mode"] = 6;
  EXPECT_EQ(meshOf(load(scene)).triangles, (Triangles{{0, 1, 3}, {0, 3, 2}}));
  primitive.erase("indices");
  primitive["mode"] = 4;
  EXPECT_EQ(meshOf(load(scene)).triangles, (Triangles{{0, 1, 2}}));
}

TEST(Gltf, camerasWithoutANameGetNumbers) {
  SceneBuilder scene;
  const int lens =
      scene.add("cameras", Json{{"type", "perspective"}, {"perspective", {{"yfov", 0.5}, {"znear", 0.1}}}});
  const int inner = scene.addNode(Json{{"camera", lens}}, false);
  scene.addNode(Json{{"camera", lens}, {"name", "Camera 2"}});
  scene.addNode(Json{{"name", "rig"}, {"children", {inner}}});
  scene.addNode(Json{{"camera", lens}});
  const std::vector<std::string> names{"Camera 2", "Camera 1", "Camera 3"};
  const DocumentPtr document = load(scene);
  EXPECT_EQ(countScene(*document).cameraNames, names);
  const DocumentPtr second = reload(*document);
  EXPECT_EQ(countScene(*second).cameraNames, names) << "they stay";

  SceneBuilder alone;
  const int other =
      alone.add("cameras", Json{{"type", "perspective"}, {"perspective", {{"yfov", 0.5}, {"znear", 0.1}}}});
  alone.addNode(Json{{"camera", other}});
  EXPECT_EQ(countScene(*load(alone)).cameraNames, std::vector<std::string>{"Camera"});
  alone.addNode(Json{{"camera", other}, {"name", "Camera"}});
  EXPECT_EQ(countScene(*load(alone)).cameraNames, (std::vector<std::string>{"Camera 1", "Camera"}));
}

TEST(Gltf, smallNumbersMeanFractions) {
  SceneBuilder scene;
  scene.addNode(Json{{"mesh", scene.addQuad()}});
  auto& attributes = scene.root["meshes"][0]["primitives"][0]["attributes"];
  const auto accessor = [&](int view, int component, const char* type, bool normalised) {
    return scene.add("accessors", Json{{"bufferView", view},
                                       {"componentType", component},
                                       {"count", 4},
                                       {"type", type},
                                       {"normalized", normalised}});
  };
  const auto strided = [&](int view, int stride) {
    scene.root["bufferViews"][static_cast<std::size_t>(view)]["byteStride"] = stride;
    return view;
  };
  attributes["POSITION"] = accessor(strided(scene.addView(std::vector<std::int16_t>{
                                                0, 0, 0, 99, 300, 0, 0, 99, 300, 300, 0, 99, 0, -300, 0, 99}),
                                            8),
                                    5122, "VEC3", false);
  attributes["NORMAL"] = accessor(strided(scene.addView(std::vector<std::int8_t>{0, 0, 127, 9, 0, 0, -128, 9,
                                                                                 127, 0, 0, 9, 0, 127, 0, 9}),
                                          4),
                                  5120, "VEC3", true);
  attributes["TEXCOORD_0"] = accessor(
      scene.addView(std::vector<std::uint16_t>{0, 65535, 65535, 0, 0, 0, 13107, 0}), 5123, "VEC2", true);
  attributes["COLOR_0"] = accessor(strided(scene.addView(std::vector<std::uint8_t>{
                                               255, 0, 51, 9, 0, 0, 0, 9, 255, 255, 255, 9, 102, 0, 0, 9}),
                                           4),
                                   5121, "VEC3", true);
  scene.root["extensionsRequired"] = {"KHR_mesh_quantization"};
  const DocumentPtr document = load(scene);
  const Mesh& mesh = meshOf(document);
  EXPECT_EQ(mesh.positions[3], (Float3{0, -300, 0}));
  EXPECT_EQ(mesh.normals[0], (Float3{0, 0, 1}));
  EXPECT_EQ(mesh.normals[1], (Float3{0, 0, -1})) << "below -1 is cut";
  EXPECT_EQ(mesh.uv[0][1], (Float2{1, 0}));
  EXPECT_FLOAT_EQ(mesh.uv[0][3][0], 0.2F);
  EXPECT_FLOAT_EQ(mesh.colors[0][2], 0.2F);
  EXPECT_EQ(mesh.colors[0][3], 1);
  reload(*document);
}

TEST(Gltf, partsWithTheSameVerticesShareThem) {
  SceneBuilder scene;
  scene.addNode(Json{{"mesh", scene.addQuad()}});
  auto& primitives = scene.root["meshes"][0]["primitives"];
  scene.root["materials"] = {Json{{"name", "a"}}, Json{{"name", "b"}}};
  primitives.push_back(primitives[0]);
  primitives[0]["material"] = 1;
  primitives[1]["material"] = 0;
  const DocumentPtr document = load(scene);
  EXPECT_EQ(meshOf(document).positions.size(), 4U);
  EXPECT_EQ(meshOf(document).groups.size(), 2U);
  const SnapshotPtr snapshot = takeSnapshot(*document, {});
  const auto name = [&](std::size_t group) {
    return snapshot->materials.at(static_cast<std::size_t>(snapshot->instances.at(0).materials.at(group)))
        ->name;
  };
  EXPECT_EQ(name(0), "b");
  EXPECT_EQ(name(1), "a");
  reload(*document);
}

TEST(Gltf, partsWithVerticesOfTheirOwnAreJoined) {
  SceneBuilder scene;
  const int mesh = scene.addQuad();
  scene.addQuad();
  auto& primitives = scene.root["meshes"][0]["primitives"];
  primitives.push_back(scene.root["meshes"][1]["primitives"][0]);
  primitives[1]["attributes"].erase("TEXCOORD_0");
  primitives[1]["attributes"]["NORMAL"] = scene.addFloats({0, 0, 2, 0, 0, 1, 0, 0, 1, 0, 0, 1}, "VEC3", 3);
  scene.addNode(Json{{"mesh", mesh}});
  const DocumentPtr document = load(scene);
  const Mesh& joined = meshOf(document);
  EXPECT_EQ(joined.positions.size(), 6U + 4U) << "the part without normals gets flat ones";
  EXPECT_EQ(joined.normals[0], (Float3{0, 0, 1}));
  EXPECT_EQ(joined.normals[6], (Float3{0, 0, 1})) << "and all are of unit length";
  EXPECT_EQ(joined.uv[0].size(), 10U);
  EXPECT_EQ(joined.triangles[2], (std::array<std::uint32_t, 3>{6, 7, 8}));
  reload(*document);
}

TEST(Gltf, sameNumbersAreOneGeometry) {
  SceneBuilder scene;
  scene.root["materials"] = {Json{{"name", "a"}}, Json{{"name", "b"}}};
  const int first = scene.addQuad(0);
  scene.root["meshes"].push_back(scene.root["meshes"][0]);
  scene.root["meshes"][1]["primitives"][0]["material"] = 1;
  scene.addNode(Json{{"mesh", first}});
  scene.addNode(Json{{"mesh", first + 1}});
  const DocumentPtr document = load(scene);
  EXPECT_EQ(countScene(*document).meshes, 1U);
  const DocumentPtr second = reload(*document);
  EXPECT_EQ(countScene(*second).meshes, 1U);
}

TEST(Gltf, transforms) {
  SceneBuilder scene;
  scene.addNode(Json{{"name", "m"}, {"matrix", {1, 2, 3, 0, 4, 5, 6, 0, 7, 8, 9, 0, 10, 11, 12, 1}}});
  scene.addNode(Json{{"name", "t"},
                     {"translation", {1, 2, 3}},
                     {"rotation", {0, 0, 0.70710678118654757, 0.70710678118654757}},
                     {"scale", {2, 3, 4}}});
  const DocumentPtr document = load(scene);
  EXPECT_EQ(objectNamed(document, "m")->GetMl(), Matrix({10, 11, 12}, {1, 2, 3}, {4, 5, 6}, {7, 8, 9}));
  const Matrix t = objectNamed(document, "t")->GetMl();
  EXPECT_NEAR(t.v1.y, 2, 1e-12);
  EXPECT_NEAR(t.v2.x, -3, 1e-12);
  EXPECT_NEAR(t.v3.z, 4, 1e-12);
  EXPECT_EQ(t.off, Vector(1, 2, 3));
  reload(*document);
}

TEST(Gltf, aNodeOfManyThings) {
  SceneBuilder scene;
  scene.root["extensions"]["KHR_lights_punctual"]["lights"] = {Json{{"type", "point"}}};
  scene.root["cameras"] = {Json{{"type", "perspective"}, {"perspective", {{"yfov", 0.5}, {"znear", 0.1}}}}};
  scene.addNode(Json{{"name", "n"},
                     {"mesh", scene.addQuad()},
                     {"camera", 0},
                     {"extensions", {{"KHR_lights_punctual", {{"light", 0}}}}}});
  const DocumentPtr document = load(scene);
  BaseObject* object = document->GetFirstObject();
  EXPECT_EQ(object->GetType(), Opolygon);
  ASSERT_NE(object->GetDown(), nullptr);
  EXPECT_EQ(object->GetDown()->GetType(), Ocamera);
  EXPECT_EQ(object->GetDown()->GetNext()->GetType(), Olight);
  reload(*document);
}

TEST(Gltf, onlyTheShownSceneIsLoaded) {
  SceneBuilder scene;
  scene.addNode(Json{{"name", "first"}});
  scene.addNode(Json{{"name", "second"}}, false);
  scene.root["scenes"].push_back(Json{{"nodes", {1}}});
  scene.root["scene"] = 1;
  LoadResult details;
  const DocumentPtr document = load(scene, &details);
  EXPECT_EQ(document->SearchObject("first"), nullptr);
  EXPECT_NE(document->SearchObject("second"), nullptr);
  EXPECT_EQ(details.warnings.size(), 1U);
}

TEST(Gltf, trackKeysOutOfOrderAreLeftOut) {
  SceneBuilder scene;
  scene.addNode(Json{{"name", "n"}});
  const int input = scene.addFloats({1, 0}, "SCALAR", 1),
            output = scene.addFloats({0, 0, 0, 1, 0, 0}, "VEC3", 3);
  scene.add("animations",
            Json{{"samplers", {{{"input", input}, {"output", output}}}},
                 {"channels", {{{"sampler", 0}, {"target", {{"node", 0}, {"path", "translation"}}}}}}});
  LoadResult details;
  const DocumentPtr document = load(scene, &details);
  EXPECT_EQ(details.warnings.size(), 1U);
  EXPECT_EQ(stateOf(document->GetFirstObject())->tracks, nullptr);
}

TEST(Gltf, defaultsOfADocument) {
  SceneBuilder scene;
  scene.addNode(Json{{"name", "n"}});
  const DocumentPtr document = load(scene);
  EXPECT_EQ(document->GetFps(), 30);
  EXPECT_EQ(document->GetMaxTime(), BaseTime(3));
  const BaseContainer settings = document->GetActiveRenderData()->GetData();
  EXPECT_EQ(settings.GetLong(RDATA_XRES), 1280);
  EXPECT_EQ(settings.GetLong(RDATA_YRES), 720);
  EXPECT_EQ(settings.GetLong(RDATA_MAXSAMPLES), 64);
  EXPECT_EQ(settings.GetReal(RDATA_NOISETHRESHOLD), 0.01);
  EXPECT_EQ(document->GetActiveRenderData()->GetFirstVideoPost()->GetType(), VPglobalillumination);
  EXPECT_FALSE(document->GetChanged());
}

// --- compressed meshes ---

SceneBuilder compressed(bool joints = false) {
  draco::TriangleSoupMeshBuilder builder;
  builder.Start(2);
  const int positions = builder.AddAttribute(draco::GeometryAttribute::POSITION, 3, draco::DT_FLOAT32);
  const int uv = builder.AddAttribute(draco::GeometryAttribute::TEX_COORD, 2, draco::DT_FLOAT32);
  const int influence =
      joints ? builder.AddAttribute(draco::GeometryAttribute::GENERIC, 4, draco::DT_UINT16) : -1;
  const std::uint16_t first[4] = {0, 0, 0, 0};
  const float p[4][3] = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}},
              t[4][2] = {{0, 1}, {1, 1}, {1, 0}, {0, 0}};
  const int corner[2][3] = {{0, 1, 2}, {0, 2, 3}};
  for (int face = 0; face < 2; ++face) {
    const int* c = corner[face];
    builder.SetAttributeValuesForFace(positions, draco::FaceIndex(static_cast<std::uint32_t>(face)), p[c[0]],
                                      p[c[1]], p[c[2]]);
    builder.SetAttributeValuesForFace(uv, draco::FaceIndex(static_cast<std::uint32_t>(face)), t[c[0]],
                                      t[c[1]], t[c[2]]);
    if (joints)
      builder.SetAttributeValuesForFace(influence, draco::FaceIndex(static_cast<std::uint32_t>(face)), first,
                                        first, first);
  }
  const auto mesh = builder.Finalize();
  draco::EncoderBuffer buffer;
  draco::Encoder encoder;
  EXPECT_TRUE(encoder.EncodeMeshToBuffer(*mesh, &buffer).ok());
  SceneBuilder scene;
  const int view = scene.addView(std::vector<char>(buffer.data(), buffer.data() + buffer.size()));
  const auto accessor = [&](int component, int count, const char* type) {
    return scene.add("accessors", Json{{"componentType", component}, {"count", count}, {"type", type}});
  };
  Json primitive{
      {"attributes", {{"POSITION", accessor(5126, 4, "VEC3")}, {"TEXCOORD_0", accessor(5126, 4, "VEC2")}}},
      {"indices", accessor(5123, 6, "SCALAR")},
      {"extensions",
       {{"KHR_draco_mesh_compression",
         {{"bufferView", view},
          {"attributes",
           {{"POSITION", mesh->attribute(positions)->unique_id()},
            {"TEXCOORD_0", mesh->attribute(uv)->unique_id()}}}}}}}};
  if (joints)
    primitive["extensions"]["KHR_draco_mesh_compression"]["attributes"]["JOINTS_0"] =
        mesh->attribute(influence)->unique_id();
  scene.add("meshes", Json{{"primitives", Json::array({primitive})}});
  scene.addNode(Json{{"mesh", 0}});
  scene.root["extensionsRequired"] = {"KHR_draco_mesh_compression"};
  return scene;
}

TEST(GltfDraco, aCompressedQuad) {
  const DocumentPtr document = load(compressed());
  const Mesh& mesh = meshOf(document);
  EXPECT_EQ(mesh.positions.size(), 4U);
  EXPECT_EQ(mesh.triangles.size(), 2U);
  EXPECT_EQ(mesh.high, (Float3{1, 1, 0}));
  for (std::size_t v = 0; v < 4; ++v) {
    EXPECT_NEAR(mesh.uv[0][v][0], mesh.positions[v][0], 1e-3F);
    EXPECT_NEAR(mesh.uv[0][v][1], 1 - mesh.positions[v][1], 1e-3F);
  }
  reload(*document);
}

TEST(GltfDraco, jointsWithoutWeightsBendNothing) {
  SceneBuilder scene = compressed(true);
  scene.root["nodes"][0]["skin"] = 0;
  scene.root["skins"] = {Json{{"joints", {scene.addNode(Json{{"translation", {0, 1, 0}}})}}}};
  const DocumentPtr document = load(scene);
  EXPECT_EQ(stateOf(document->GetFirstObject())->deformation, nullptr);
  document->ExecutePasses(nullptr, TRUE, TRUE, TRUE, BUILDFLAGS_0);
  EXPECT_EQ(takeSnapshot(*document, {})->instances.at(0).mesh->high, (Float3{1, 1, 0}));
}

TEST(GltfDraco, damaged) {
  SceneBuilder scene = compressed();
  auto& extension = scene.root["meshes"][0]["primitives"][0]["extensions"]["KHR_draco_mesh_compression"];
  extension["attributes"]["POSITION"] = 17;
  LoadResult result = loadDocumentFromMemory(scene.glb(), Filename());
  EXPECT_NE(result.error.find("lacks an attribute"), std::string::npos) << result.error;
  scene = compressed();
  scene.root["bufferViews"][0]["byteLength"] = 20;
  result = loadDocumentFromMemory(scene.glb(), Filename());
  EXPECT_NE(result.error.find("cannot be unpacked"), std::string::npos) << result.error;
  expectFlippedBitsAreTaken(compressed().glb(), 100, 3);
}

} // namespace
} // namespace host
