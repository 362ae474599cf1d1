// Damaged and malicious files give one clear sentence, or a scene with warnings; never a crash, a hang or an
// exception.
#include <filesystem>
#include <random>

#include "scene_builder.h"
#include "temporary_folder.h"

namespace host {
namespace {

using Json = SceneBuilder::Json;

LoadResult loadBytes(std::span<const std::byte> bytes) {
  return loadDocumentFromMemory(bytes, Filename());
}

// The sentence has the problem and the advice.
void expectError(const LoadResult& result, const std::string& about) {
  EXPECT_FALSE(result.document);
  EXPECT_NE(result.error.find(about), std::string::npos) << "wanted \"" << about << "\" in: " << result.error;
  EXPECT_EQ(result.error.find('\n'), std::string::npos);
  EXPECT_EQ(result.error.back(), '.');
  EXPECT_GE(std::count(result.error.begin(), result.error.end(), '.'), 2) << result.error;
}

void expectError(const SceneBuilder& scene, const std::string& about) {
  expectError(loadBytes(scene.glb()), about);
}

SceneBuilder quad() {
  SceneBuilder scene;
  scene.addNode(Json{{"mesh", scene.addQuad()}});
  return scene;
}

// A small file that uses every feature, for mutations.
SceneBuilder rich() {
  SceneBuilder scene = quad();
  auto& root = scene.root;
  root["images"] = {Json{{"uri", "data:image/png;base64,AAAA"}}};
  root["textures"] = {Json{{"source", 0}, {"sampler", 0}}};
  root["samplers"] = {Json{{"wrapS", 33071}}};
  root["materials"] = {Json{
      {"normalTexture", {{"index", 0}}},
      {"extras",
       Json::parse(
           R"({"lumenara": {"shaders": [{"type": 1011123, "children": [{"type": 5833, "image": 0}]}], "slots": {"0": 0}}})")}}};
  root["meshes"][0]["primitives"][0]["material"] = 0;
  const int target = scene.addFloats({0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0}, "VEC3", 3);
  root["meshes"][0]["primitives"][0]["targets"] = {Json{{"POSITION", target}}};
  const int joints = scene.addShorts(std::vector<std::uint16_t>(16, 0), "VEC4", 4);
  const int weights = scene.addFloats({1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0}, "VEC4", 4);
  root["meshes"][0]["primitives"][0]["attributes"]["JOINTS_0"] = joints;
  root["meshes"][0]["primitives"][0]["attributes"]["WEIGHTS_0"] = weights;
  root["skins"] = {Json{{"joints", {1}}}};
  root["nodes"][0]["skin"] = 0;
  const int child = scene.addNode(Json{{"camera", 0}}, false);
  scene.addNode(Json{
      {"children", {child}},
      {"extras",
       Json::parse(
           R"({"lumenara": {"type": 1007455, "tags": [{"type": 5676, "ref": "t", "container": [[1521, "link", {"node": 1}]]}]}})")}});
  root["skins"][0]["joints"] = {child};
  root["cameras"] = {Json{{"type", "perspective"}, {"perspective", {{"yfov", 0.5}, {"znear", 0.1}}}}};
  const int input = scene.addFloats({0, 1}, "SCALAR", 1),
            output = scene.addFloats({0, 0, 0, 1, 0, 0}, "VEC3", 3);
  root["animations"] = {
      Json{{"samplers", {{{"input", input}, {"output", output}}}},
           {"channels", {{{"sampler", 0}, {"target", {{"node", 0}, {"path", "translation"}}}}}}}};
  root["extensions"]["KHR_lights_punctual"]["lights"] = {Json{{"type", "point"}}};
  scene.addNode(Json{{"extensions", {{"KHR_lights_punctual", {{"light", 0}}}}}});
  root["extras"] = Json::parse(
      R"({"lumenara": {"fps": 25, "container": [[1, "container", [[2, "link", {"ref": "t"}]]]], "renderData": [{"videoPosts": [{"type": 1}]}], "views": [{"camera": {"node": 1}}]}})");
  return scene;
}

TEST(Hostile, theStartOfTheMutationsLoads) {
  const LoadResult result = loadBytes(rich().glb());
  ASSERT_TRUE(result.document) << result.error;
  EXPECT_TRUE(result.warnings.empty());
}

// --- files other than scenes ---

TEST(Hostile, filesThatAreNotScenes) {
  expectError(loadBytes({}), "nothing in it");
  expectError(loadBytes(bytesOfText("hello")), "JSON");
  expectError(loadBytes(bytesOfText("[1, 2]")), "no glTF document");
  expectError(loadBytes(bytesOfText("{}")), "which version");
  expectError(loadBytes(bytesOfText(R"({"asset": {"version": "1.0"}})")), "glTF 1.0");
  expectError(loadBytes(bytesOfText("glTF")), "cut off");
  expectError(loadBytes(bytesOfText(std::string(100'000, '['))), "nested too deeply");
  expectError(loadBytes(bytesOfText(R"({"asset": {"version": "2.0"}, "x": )" + std::string(5000, '[') +
                                    std::string(5000, ']') + "}")),
              "nested too deeply");
}

TEST(Hostile, filesThatCannotBeRead) {
  const TemporaryFolder folder;
  expectError(loadDocument(folder / "none.glb"), "none.glb\" cannot be loaded: it is not there");
  expectError(loadDocument(folder.path()), "it is a folder");
  expectError(loadDocument(folder.write("empty.glb")), "empty");
  expectError(loadDocument(folder.write("text.txt", "hello")), "its kind is unknown");
  expectError(loadDocument("/dev/zero"), "not a file of data");
  expectError(loadDocument(Filename()), "it is not there");
  LoadOptions small;
  small.limits.fileBytes = 10;
  expectError(loadDocument(folder.write("large.glb", "12345678901"), small), "too large");
  const Filename locked = folder.write("locked.glb", "x");
  std::filesystem::permissions(locked.GetString().GetUTF8(), std::filesystem::perms::none);
  const LoadResult result = loadDocument(locked); // the super-user may read it all the same
  EXPECT_FALSE(result.document);
  EXPECT_NE(result.error.find("locked.glb"), std::string::npos);
}

TEST(Hostile, theErrorNamesTheFile) {
  const TemporaryFolder folder;
  const LoadResult result = loadDocument(folder.write("damaged.gltf", "{"));
  expectError(result, "damaged.gltf");
  EXPECT_TRUE(result.warnings.empty());
}

TEST(Hostile, aRequiredExtensionIsNamed) {
  SceneBuilder scene = quad();
  scene.root["extensionsUsed"] = {"EXT_other"};
  EXPECT_TRUE(loadBytes(scene.glb()).document);
  scene.root["extensionsRequired"] = {"KHR_texture_transform", "EXT_lights_image_based"};
  expectError(scene, "EXT_lights_image_based");
  scene.root["extensionsRequired"] = {"KHR_lights_punctual",    "KHR_texture_transform",
                                      "KHR_materials_unlit",    "KHR_materials_emissive_strength",
                                      "KHR_materials_ior",      "KHR_materials_transmission",
                                      "KHR_materials_specular", "KHR_materials_clearcoat",
                                      "KHR_mesh_quantization",  "KHR_draco_mesh_compression"};
  EXPECT_TRUE(loadBytes(scene.glb()).document);
}

// --- buffers ---

TEST(Hostile, buffers) {
  SceneBuilder scene = quad();
  scene.root["buffers"] = {Json{{"byteLength", scene.data().size()}, {"uri", "missing.bin"}}};
  const TemporaryFolder folder;
  const std::string text = scene.text();
  expectError(loadDocument(folder.write("a.gltf", text)), "missing.bin");
  folder.write("missing.bin", "short");
  expectError(loadDocument(folder / "a.gltf"), "buffer 0 is cut off");
  folder.write("missing.bin",
               std::string_view(reinterpret_cast<const char*>(scene.data().data()), scene.data().size()));
  EXPECT_TRUE(loadDocument(folder / "a.gltf").document);
  EXPECT_FALSE(loadDocumentFromMemory(bytesOfText(text), Filename()).document) << "no folder, no files";
  scene.root["buffers"][0].erase("uri");
  expectError(loadBytes(bytesOfText(scene.text())), "buffer 0 has no data");
  scene.root["buffers"][0]["uri"] = "data:application/octet-stream;base64,A?B";
  expectError(loadBytes(bytesOfText(scene.text())), "no readable data");
  scene.root["buffers"][0]["byteLength"] = -1;
  expectError(loadBytes(bytesOfText(scene.text())), "not a size");
}

TEST(Hostile, filesOutsideTheFolderAreNotRead) {
  const TemporaryFolder folder;
  folder.makeFolder("inside");
  folder.write("secret.bin", std::string(200, 'x'));
  for (const char* uri : {"../secret.bin", "a/../../secret.bin", "%2e%2e/secret.bin", "/etc/hostname",
                          "file:///etc/hostname", "http://example.com/x.bin", "..\\secret.bin"}) {
    SceneBuilder scene = quad();
    scene.root["buffers"] = {Json{{"byteLength", 100}, {"uri", uri}}};
    expectError(loadDocument(folder.write("inside/a.gltf", scene.text())), "not below the scene's folder");
    SceneBuilder pictured = quad();
    pictured.root["images"] = {Json{{"uri", uri}}};
    const auto bytes = pictured.glb();
    const LoadResult result = loadDocument(folder.write(
        "inside/b.glb", std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size())));
    ASSERT_TRUE(result.document) << result.error;
    EXPECT_EQ(result.missingFiles, std::vector<std::string>{uri});
  }
}

TEST(Hostile, filesThatAreNotPictures) {
  SceneBuilder scene = quad();
  scene.root["images"] = {Json{{"uri", "data:image/png;base64,!!!"}}, Json{{"uri", ""}}, Json::object()};
  const LoadResult result = loadBytes(scene.glb());
  ASSERT_TRUE(result.document) << result.error;
  EXPECT_EQ(result.missingFiles.size(), 3U);
  scene.root["images"] = {Json{{"bufferView", 99}}};
  expectError(scene, "buffer view 99");
}

// --- indices, offsets, counts ---

TEST(Hostile, placesOutOfRange) {
  const auto broken = [](const char* about, auto damage) {
    SceneBuilder scene = rich();
    damage(scene.root);
    expectError(scene, about);
  };
  broken("buffer view 0 reaches behind", [](Json& r) { r["bufferViews"][0]["byteOffset"] = 1 << 20; });
  broken("buffer view 0 reaches behind", [](Json& r) { r["bufferViews"][0]["byteLength"] = 4000000000U; });
  broken("refers to a buffer", [](Json& r) { r["bufferViews"][0]["buffer"] = 5; });
  broken("accessor 0 reaches behind", [](Json& r) { r["accessors"][0]["byteOffset"] = 8; });
  broken("accessor 0 reaches behind", [](Json& r) { r["accessors"][0]["byteOffset"] = 4294967295U; });
  broken("accessor 0 reaches behind", [](Json& r) { r["accessors"][0]["count"] = 5; });
  broken("more numbers than can be loaded", [](Json& r) { r["accessors"][0]["count"] = 4294967295U; });
  broken("more numbers than can be loaded", [](Json& r) {
    r["accessors"][0].erase("bufferView");
    r["accessors"][0]["count"] = 2000000000;
  });
  broken("pieces that overlap", [](Json& r) { r["bufferViews"][0]["byteStride"] = 4; });
  broken("buffer view 77", [](Json& r) { r["accessors"][0]["bufferView"] = 77; });
  broken("accessor 77", [](Json& r) { r["meshes"][0]["primitives"][0]["attributes"]["POSITION"] = 77; });
  broken("has no positions",
         [](Json& r) { r["meshes"][0]["primitives"][0]["attributes"].erase("POSITION"); });
  broken("2 numbers a piece where 3",
         [](Json& r) { r["meshes"][0]["primitives"][0]["attributes"]["POSITION"] = 1; });
  broken("different lengths", [](Json& r) { r["accessors"][1]["count"] = 3; });
  broken("uses vertex", [](Json& r) {
    r["meshes"][0]["primitives"][0]["attributes"] = Json{{"POSITION", 0}};
    r["accessors"][0]["count"] = 3;
    r["meshes"][0]["primitives"][0].erase("targets");
  });
  broken("must hold whole numbers", [](Json& r) { r["meshes"][0]["primitives"][0]["indices"] = 0; });
  broken("material 9", [](Json& r) { r["meshes"][0]["primitives"][0]["material"] = 9; });
  broken("mesh 9", [](Json& r) { r["nodes"][0]["mesh"] = 9; });
  broken("camera 9", [](Json& r) { r["nodes"][1]["camera"] = 9; });
  broken("light 9", [](Json& r) { r["nodes"][3]["extensions"]["KHR_lights_punctual"]["light"] = 9; });
  broken("skin 9", [](Json& r) { r["nodes"][0]["skin"] = 9; });
  broken("a joint that is not in it", [](Json& r) { r["skins"][0]["joints"] = {99}; });
  broken("too few matrices", [](Json& r) {
    r["skins"][0]["inverseBindMatrices"] = r["accessors"].size();
    r["accessors"].push_back(Json{{"componentType", 5126}, {"count", 0}, {"type", "MAT4"}});
  });
  broken("texture 9", [](Json& r) { r["materials"][0]["normalTexture"]["index"] = 9; });
  broken("picture 9", [](Json& r) { r["textures"][0]["source"] = 9; });
  broken("sampler 9", [](Json& r) { r["textures"][0]["sampler"] = 9; });
  broken("scene 3", [](Json& r) { r["scene"] = 3; });
  broken("node 99", [](Json& r) { r["scenes"][0]["nodes"] = {99}; });
  broken("node 99", [](Json& r) { r["nodes"][0]["children"] = {99}; });
  broken("node -1", [](Json& r) { r["nodes"][0]["children"] = {-1}; });
  broken("moves a node", [](Json& r) { r["animations"][0]["channels"][0]["target"]["node"] = 99; });
  broken("keys that are not in it", [](Json& r) { r["animations"][0]["channels"][0]["sampler"] = 4; });
  broken("accessor 99", [](Json& r) { r["animations"][0]["samplers"][0]["output"] = 99; });
  broken("without attributes", [](Json& r) { r["meshes"][0]["primitives"][0].erase("attributes"); });
  broken("no parts", [](Json& r) { r["meshes"][0] = 5; });
  broken("structure is wrong", [](Json& r) { r["nodes"][0] = 5; });
  broken("picture 9",
         [](Json& r) { r["materials"][0]["extras"]["lumenara"]["shaders"][0]["children"][0]["image"] = 9; });
  broken("shader 9", [](Json& r) { r["materials"][0]["extras"]["lumenara"]["slots"]["0"] = 9; });
}

TEST(Hostile, sparsePlacesOutOfRange) {
  const auto broken = [](const char* about, int count, std::uint16_t place) {
    SceneBuilder scene = quad();
    const int places = scene.addView(std::vector<std::uint16_t>{place}),
              pieces = scene.addView(std::vector<float>{1, 2, 3});
    scene.root["accessors"][0]["sparse"] = {{"count", count},
                                            {"indices", {{"bufferView", places}, {"componentType", 5123}}},
                                            {"values", {{"bufferView", pieces}}}};
    const LoadResult result = loadBytes(scene.glb());
    if (!*about) {
      ASSERT_TRUE(result.document) << result.error;
      EXPECT_EQ(stateOf(result.document->GetFirstObject())->mesh->positions[place], (Float3{1, 2, 3}));
    } else {
      expectError(result, about);
    }
  };
  broken("", 1, 3);
  broken("replaces what it does not have", 1, 4);
  broken("replaces more than it has", 5, 0);
  broken("replaces more than it has", -1, 0);
  broken("reaches behind", 3, 0);
}

TEST(Hostile, loopsOfNodes) {
  SceneBuilder loop = quad();
  loop.root["nodes"] = {Json{{"children", {1}}}, Json{{"children", {0}}}};
  expectError(loop, "below itself");
  loop.root["nodes"] = {Json{{"children", {0}}}};
  expectError(loop, "below itself");
  loop.root["nodes"] = {Json{{"children", {2}}}, Json{{"children", {2}}}, Json::object()};
  expectError(loop, "below two others");
  loop.root["nodes"] = {Json{{"children", {1, 1}}}, Json::object()};
  expectError(loop, "below two others");
  loop.root["nodes"] = {Json{{"children", {1}}}, Json::object()};
  loop.root["scenes"][0]["nodes"] = {0, 1};
  expectError(loop, "two places");
  loop.root["scenes"][0]["nodes"] = {0, 0};
  expectError(loop, "twice");
  Json chain = Json::array();
  for (int i = 0; i < 5000; ++i)
    chain.push_back(Json{{"children", {i + 1}}});
  chain.push_back(Json::object());
  loop.root["nodes"] = chain;
  loop.root["scenes"][0]["nodes"] = {0};
  expectError(loop, "nested more than 512 deep");
}

TEST(Hostile, numbersThatAreNotFiniteBecomeZero) {
  SceneBuilder scene;
  const float nan = std::numeric_limits<float>::quiet_NaN(),
              infinity = std::numeric_limits<float>::infinity();
  const int positions = scene.addFloats({0, 0, 0, nan, 0, 0, 0, infinity, 0}, "VEC3", 3);
  const int mesh = scene.add("meshes", Json{{"primitives", {{{"attributes", {{"POSITION", positions}}}}}}});
  scene.addNode(Json{{"mesh", mesh}});
  LoadResult details;
  const DocumentPtr document = load(scene, &details);
  ASSERT_EQ(details.warnings.size(), 1U);
  EXPECT_NE(details.warnings[0].find("2 numbers"), std::string::npos);
  for (const Float3& p : stateOf(document->GetFirstObject())->mesh->positions)
    EXPECT_EQ(p, (Float3{0, 0, 0}));
  SceneBuilder huge = quad();
  const std::string text = huge.text();
  std::string overflowing = text;
  overflowing.replace(overflowing.find("\"mesh\":0"), 8, "\"mesh\":0,\"translation\":[1e999,0,0]");
  expectError(loadBytes(SceneBuilder::pack(overflowing, huge.data())), "JSON");
}

TEST(Hostile, pointsAndLinesAreLeftOut) {
  SceneBuilder scene = quad();
  scene.root["meshes"][0]["primitives"].push_back(scene.root["meshes"][0]["primitives"][0]);
  scene.root["meshes"][0]["primitives"][0]["mode"] = 1;
  LoadResult details;
  const DocumentPtr document = load(scene, &details);
  EXPECT_EQ(details.warnings.size(), 1U);
  EXPECT_EQ(stateOf(document->GetFirstObject())->mesh->groups.size(), 1U);
}

TEST(Hostile, limitsOfLoading) {
  LoadOptions options;
  options.limits.elements = 20;
  expectError(loadDocumentFromMemory(quad().glb(), Filename(), options), "more numbers than can be loaded");
  options.limits.elements = 100;
  EXPECT_TRUE(loadDocumentFromMemory(quad().glb(), Filename(), options).document);
  options.limits.jsonBytes = 10;
  expectError(loadDocumentFromMemory(quad().glb(), Filename(), options), "JSON is too large");
}

TEST(Hostile, loadingCanBeCancelled) {
  LoadOptions options;
  double last = -1;
  options.progress = [&](double done) {
    EXPECT_GE(done, last) << "it only grows";
    last = done;
    return true;
  };
  EXPECT_TRUE(loadDocumentFromMemory(rich().glb(), Filename(), options).document);
  EXPECT_EQ(last, 1);
  for (const double stop : {0.0, 0.3, 0.9}) {
    options.progress = [stop](double done) { return done < stop; };
    const LoadResult result = loadDocumentFromMemory(rich().glb(), Filename(), options);
    EXPECT_TRUE(result.cancelled);
    EXPECT_FALSE(result.document);
  }
}

// --- mutations ---

// Loads, then takes a snapshot and saves.
void exercise(std::span<const std::byte> bytes) {
  LoadOptions options;
  options.limits.elements = 1'000'000;
  LoadResult result = loadDocumentFromMemory(bytes, Filename(), options);
  if (!result.document) {
    EXPECT_FALSE(result.error.empty());
    return;
  }
  result.document->SetTime(BaseTime(0.5));
  result.document->ExecutePasses(nullptr, TRUE, TRUE, FALSE, BUILDFLAGS_0);
  SnapshotOptions view;
  view.lod = 0.5;
  const SnapshotPtr snapshot = takeSnapshot(*result.document, view);
  ASSERT_TRUE(snapshot);
  for (const Instance& instance : snapshot->instances) {
    ASSERT_EQ(instance.materials.size(), instance.mesh->groups.size());
    for (const int material : instance.materials)
      ASSERT_LT(static_cast<std::size_t>(material), snapshot->materials.size());
    for (const auto& triangle : instance.mesh->triangles)
      for (const std::uint32_t vertex : triangle)
        ASSERT_LT(vertex, instance.mesh->positions.size());
  }
  std::string error;
  const auto saved = saveDocumentToMemory(*result.document, true, &error);
  EXPECT_FALSE(saved.empty()) << error;
  const LoadResult again = loadDocumentFromMemory(saved, Filename());
  EXPECT_TRUE(again.document) << again.error;
}

TEST(Mutations, cutOffAnywhere) {
  const auto file = rich().glb();
  for (std::size_t length = 0; length < file.size(); length += 7) {
    const auto part = std::span(file).first(length);
    EXPECT_FALSE(loadBytes(part).document) << length;
  }
}

TEST(Mutations, flippedBits) {
  const auto file = rich().glb();
  std::mt19937 random(12345);
  for (int round = 0; round < 3000; ++round) {
    auto damaged = file;
    const int count = 1 + static_cast<int>(random() % 4);
    for (int i = 0; i < count; ++i)
      damaged[random() % damaged.size()] ^= static_cast<std::byte>(1U << (random() % 8));
    exercise(damaged);
    if (HasFatalFailure()) FAIL() << "round " << round;
  }
}

TEST(Mutations, numbersReplaced) {
  const SceneBuilder scene = rich();
  const std::string text = scene.text();
  static const char* const values[] = {"-1",    "0",          "1",          "2",     "255",
                                       "65536", "2147483647", "4294967295", "1e300", "-0.5",
                                       "null",  "[]",         "{}",         "\"x\"", "true"};
  std::mt19937 random(777);
  for (int round = 0; round < 2000; ++round) {
    std::string damaged = text;
    for (int i = 0; i < 2; ++i) {
      std::size_t at = random() % damaged.size();
      while (at < damaged.size() && !std::isdigit(static_cast<unsigned char>(damaged[at])))
        ++at;
      std::size_t end = at;
      while (end < damaged.size() && std::isdigit(static_cast<unsigned char>(damaged[end])))
        ++end;
      if (at < end) damaged.replace(at, end - at, values[random() % std::size(values)]);
    }
    exercise(SceneBuilder::pack(damaged, scene.data()));
    if (HasFatalFailure()) FAIL() << "round " << round << ": " << damaged;
  }
}

} // namespace
} // namespace host
