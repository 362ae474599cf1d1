// A document with every feature is the same after a save and a load.
#include <cmath>
#include <limits>

#include "c4d_render.h"
#include "document.h"
#include "parameters.h"
#include "scene_builder.h"
#include "temporary_folder.h"

namespace host {
namespace {

using Json = SceneBuilder::Json;

// Every type of value, and numbers that decimal text must not change.
BaseContainer everyValue(BaseList2D* link) {
  BaseContainer c;
  c.SetReal(7, 0.1);
  c.SetReal(3, std::nextafter(1.0, 2.0));
  c.SetReal(4, -0.0);
  c.SetReal(5, std::numeric_limits<double>::denorm_min());
  c.SetReal(6, std::numeric_limits<double>::infinity());
  c.SetLong(1, -2147483647 - 1);
  c.SetBool(2, TRUE);
  c.SetLLong(8, 9007199254740993LL);
  c.SetTime(9, BaseTime(1, 3));
  c.SetVector(10, {0.1, 1e300, -1e-300});
  c.SetMatrix(11, {Vector(1, 2, 3), Vector(0.1, 0, 0), Vector(0, 0.2, 0), Vector(0, 0, 0.3)});
  c.SetString(12, "\xC3\xA4 \"quoted\" \\ \n");
  c.SetString(13, String(std::string_view("\xFF\xFE not utf-8", 12)));
  c.SetFilename(14, Filename("/a/b c.png"));
  c.SetMemory(15, "\0\1\2\xFF", 4);
  c.SetMemory(16, "", 0);
  c.SetLink(17, link);
  c.SetBaseLink(18, BaseLink());
  BaseContainer inner(42);
  inner.SetReal(1111, 0.3);
  inner.SetLink(1114, link);
  BaseContainer innermost;
  innermost.SetString(1, "");
  inner.SetContainer(5, innermost);
  c.SetContainer(19, inner);
  return c;
}

BaseObject* insert(BaseDocument& document, LONG type, const char* name, BaseObject* parent = nullptr) {
  BaseObject* object = BaseObject::Alloc(type);
  object->SetName(name);
  document.InsertObject(object, parent, nullptr);
  return object;
}

MeshPtr twoGroups() {
  auto mesh = std::make_shared<Mesh>();
  mesh->positions = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0.1F}};
  mesh->normals.assign(4, {0, 0, 1});
  mesh->tangents.assign(4, {1, 0, 0, -1});
  mesh->uv[0] = {{0, 0}, {1, 0}, {0, 1}, {1, 1}};
  mesh->uv[1] = {{0.5F, 0}, {1, 0}, {0, 1}, {1, 0.25F}};
  mesh->colors.assign(4, {1, 0.5F, 0.25F, 0.125F});
  mesh->triangles = {{0, 1, 2}, {1, 3, 2}};
  mesh->groups = {{0, 1}, {1, 1}};
  mesh->high = {1, 1, 0.1F};
  return mesh;
}

PicturePtr picture(const char* name, const char* uri, const char* bytes) {
  auto made = std::make_shared<Picture>();
  made->name = name;
  made->uri = uri;
  made->mimeType = "image/png";
  if (bytes) made->bytes = std::make_shared<std::vector<std::byte>>(4, static_cast<std::byte>(bytes[0]));
  return made;
}

BaseMaterial* layered(BaseDocument& document) {
  BaseMaterial* material = BaseMaterial::Alloc(Mmaterial);
  material->SetName("layered");
  document.InsertMaterial(material);
  material->SetParameter(param::baseColor, GeData(Vector(0.1, 0.2, 0.3)));
  material->SetParameter(param::switchFog, GeData(LONG(1)));
  material->SetParameter(param::bumpHeight, GeData(0.02));
  BaseShader* layer = BaseShader::Alloc(Xlayer);
  layer->SetName("top");
  BaseShader* bitmap = BaseShader::Alloc(Xbitmap);
  stateOf(bitmap)->picture = picture("wood.png", "maps/wood.png", "w");
  bitmap->SetParameter(param::bitmapScale, GeData(Vector(2, 3, 1)));
  BaseShader* occlusion = BaseShader::Alloc(Xambientocclusion);
  occlusion->SetParameter(param::aoDistance, GeData(0.5));
  occlusion->SetBit(BIT_ACTIVE);
  material->InsertShader(layer);
  layer->InsertShader(bitmap);
  layer->InsertShader(occlusion, bitmap);
  BaseShader* loose = BaseShader::Alloc(Xcolor);
  material->InsertShader(loose, layer);
  BaseShader* fusion = BaseShader::Alloc(Xfusion);
  material->InsertShader(fusion, loose);
  material->GetChannel(CHANNEL_COLOR)->SetShader(layer);
  material->GetChannel(CHANNEL_BUMP)->SetShader(fusion);
  material->GetDataInstance()->SetLink(500, loose); // a link to a shader
  return material;
}

BaseMaterial* textured(BaseDocument& document) {
  BaseMaterial* material = BaseMaterial::Alloc(Mmaterial);
  material->SetName("plain");
  document.InsertMaterial(material);
  material->SetParameter(param::normalScale, GeData(0.7));
  for (const LONG channel : {CHANNEL_NORMAL, CHANNEL_COLOR}) {
    BaseShader* bitmap = BaseShader::Alloc(Xbitmap);
    bitmap->SetName("lost.png");
    stateOf(bitmap)->picture = picture("lost.png", "lost.png", nullptr);
    material->InsertShader(bitmap);
    material->GetChannel(channel)->SetShader(bitmap);
  }
  return material;
}

void addAnimation(BaseDocument& document, BaseObject* object) {
  stateOf(&document)->animationNames = {"first", ""};
  auto curve = std::make_shared<Curve>();
  curve->width = 3;
  curve->times = {0, 0.5F, 2};
  curve->values = {0, 0, 0, 1, 0, 0, 1, 2, 0};
  auto turn = std::make_shared<Curve>();
  turn->interpolation = Interpolation::step;
  turn->width = 4;
  turn->times = {0.25F};
  turn->values = {0, 0, 0, 1};
  stateOf(object)->tracks = std::make_shared<Tracks>(Tracks{
      {TrackPath::translation, 0, curve}, {TrackPath::rotation, 1, turn}, {TrackPath::scale, 1, curve}});
}

// A polygon object with a texture tag for each material; gives its phong tag.
BaseTag* addMesh(BaseDocument& d, BaseMaterial* first, BaseMaterial* second) {
  BaseObject* group = insert(d, Onull, "group \xC3\xA4");
  group->SetMl({Vector(0.1, 0.2, 0.3), Vector(1, 0.1, 0), Vector(0, 2, 0), Vector(0, 0, 3)});
  group->SetBit(BIT_ACTIVE);
  BaseObject* smooth = insert(d, Osds, "smooth", group);
  smooth->SetParameter(param::subdivisionLevel, GeData(LONG(3)));
  smooth->SetDeformMode(FALSE);
  BaseObject* mesh = insert(d, Opolygon, "mesh", smooth);
  stateOf(mesh)->mesh = twoGroups();
  stateOf(mesh)->pose = Pose{{1, 2, 3}, {0.1, 0.2, 0.3, 0.9}, {1, 1, 1}};
  stateOf(mesh)->local = matrixOf(*stateOf(mesh)->pose);
  for (const auto& [material, index] : {std::pair(first, 0), {second, 1}}) {
    BaseTag* tag = BaseTag::Alloc(Ttexture);
    tag->GetDataInstance()->SetLink(param::textureMaterial, material);
    tag->GetDataInstance()->SetLong(param::textureGroup, index);
    mesh->InsertTag(tag, mesh->GetFirstTag());
  }
  BaseTag* phong = mesh->MakeTag(Tphong, mesh->GetTag(Ttexture, 1));
  phong->SetName("phong");
  mesh->MakeTag(Tprotection, phong)->SetParameter(77, GeData("own"));
  insert(d, Opolygon, "empty");
  return phong;
}

// A perspective camera that looks at the target, and an orthographic one; gives the first.
BaseObject* addCameras(BaseDocument& d, BaseTag* lookedAt) {
  BaseObject* camera = insert(d, Ocamera, "camera");
  addAnimation(d, camera); // on the camera itself
  camera->SetParameter(param::cameraYfov, GeData(0.7));
  BaseTag* target = camera->MakeTag(Ttargetexpression);
  target->GetDataInstance()->SetLink(param::targetLink, lookedAt); // a link to a tag
  target->SetParameter(EXPRESSION_ENABLE, GeData(LONG(0)));
  BaseObject* flat = insert(d, Ocamera, "");
  flat->SetParameter(param::cameraProjection, GeData(LONG(1)));
  flat->SetParameter(param::cameraYmag, GeData(2.5));
  return camera;
}

void addSurroundings(BaseDocument& d, BaseMaterial* floorMaterial) {
  BaseObject* light = insert(d, Olight, "light");
  light->SetParameter(param::lightKind, GeData(LONG(1)));
  light->SetParameter(param::lightRadius, GeData(0.25));
  light->SetParameter(param::lightShadow, GeData(LONG(1)));
  light->SetParameter(param::lightGroup, GeData(String("key")));
  BaseObject* window = insert(d, Olight, "window");
  window->SetParameter(param::lightKind, GeData(LONG(3)));
  window->SetParameter(param::lightWidth, GeData(2.5));
  window->SetParameter(param::lightHeight, GeData(0.75));
  insert(d, Olight, "disk")->SetParameter(param::lightKind, GeData(LONG(4)));
  BaseObject* sky = insert(d, Osky, "sky");
  stateOf(sky)->picture = picture("sky.hdr", "", "s");
  sky->SetParameter(param::skyGroup, GeData(String("dome")));
  BaseObject* floor = insert(d, Ofloor, "floor");
  floor->SetParameter(param::objectShadowCatcher, GeData::FromBool(TRUE));
  floor->MakeTag(Ttexture)->GetDataInstance()->SetLink(param::textureMaterial, floorMaterial);
}

void setTimes(BaseDocument& d) {
  d.SetFps(25);
  d.SetTime(BaseTime(7, 25));
  d.SetMinTime(BaseTime(1, 25));
  d.SetMaxTime(BaseTime(99, 25));
  d.SetLoopMinTime(BaseTime(2, 25));
  d.SetLoopMaxTime(BaseTime(50, 25));
  d.SetLOD(0.4);
}

void addRenderData(BaseDocument& d) {
  RenderData* second = RenderData::Alloc();
  second->SetName("second");
  second->GetDataInstance()->SetLong(RDATA_XRES, 640);
  second->GetDataInstance()->SetReal(RDATA_LOD, 0.3);
  BaseVideoPost* post = BaseVideoPost::Alloc(1021830);
  post->SetBit(BIT_VPDISABLED);
  post->SetParameter(1003, GeData::FromBool(TRUE));
  second->InsertVideoPost(post);
  second->InsertVideoPostLast(BaseVideoPost::Alloc(VPhair));
  d.InsertRenderDataLast(second);
  d.SetActiveRenderData(second);
}

void setViews(BaseDocument& d, BaseObject* camera) {
  BaseDraw* view = d.GetRenderBaseDraw();
  view->SetSceneCamera(camera);
  setViewArea(*view, 1, 2, 801, 602);
  view->GetEditorCamera()->SetMl(MatrixMove({9, 8, 7}));
  view->GetEditorCamera()->SetParameter(param::cameraYfov, GeData(0.55));
  stateOf(&d)->activeView = addView(*stateOf(&d));
}

DocumentPtr everything() {
  DocumentPtr document = newDocument();
  BaseDocument& d = *document;
  d.SetName("the document");
  BaseMaterial* plain = textured(d);
  BaseMaterial* rich = layered(d);
  BaseTag* phong = addMesh(d, rich, plain);
  BaseObject* camera = addCameras(d, phong);
  addSurroundings(d, plain);
  d.GetDataInstance()->SetContainer(10005, everyValue(camera));
  d.GetDataInstance()->MergeContainer(everyValue(rich));
  setTimes(d);
  addRenderData(d);
  setViews(d, camera);
  return document;
}

TEST(SaveAndLoad, aDocumentWithEverything) {
  const DocumentPtr document = everything();
  for (const bool binary : {true, false}) {
    const DocumentPtr second = reload(*document, binary);
    ASSERT_TRUE(second);
    const DocumentPtr third = reload(*second, binary);
    std::string difference;
    EXPECT_TRUE(documentsEqual(*document, *third, &difference)) << difference;
  }
}

TEST(SaveAndLoad, savingTwiceGivesTheSameBytes) {
  const DocumentPtr document = reload(*everything());
  const DocumentPtr second = reload(*document);
  EXPECT_TRUE(saveDocumentToMemory(*document, true) == saveDocumentToMemory(*second, true));
}

TEST(SaveAndLoad, linksLeadToTheSamePlaces) {
  const DocumentPtr second = reload(*everything());
  const BaseContainer* record = second->GetDataInstance()->GetContainerInstance(10005);
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(record->GetLink(17, second.get()), second->SearchObject("camera"));
  BaseObject* camera = second->SearchObject("camera");
  EXPECT_EQ(camera->GetType(), Ocamera);
  EXPECT_EQ(camera->GetUp(), nullptr) << "saved as it stood, without a null above";
  EXPECT_EQ(camera->GetFirstTag()->GetDataInstance()->GetLink(param::targetLink, second.get()),
            second->SearchObject("mesh")->GetTag(Tphong));
  EXPECT_EQ(second->SearchMaterial("layered")->GetDataInstance()->GetLink(500, second.get())->GetType(),
            Xcolor);
  EXPECT_EQ(second->GetActiveRenderData()->GetName(), String("second"));
  EXPECT_NE(second->GetActiveBaseDraw(), second->GetRenderBaseDraw());
}

TEST(SaveAndLoad, theComparisonSeesEveryKindOfChange) {
  const DocumentPtr document = everything();
  const auto differs = [&](auto change) {
    const DocumentPtr clone(document->GetClone(COPYFLAGS_0));
    std::string difference;
    EXPECT_TRUE(documentsEqual(*document, *clone, &difference)) << difference;
    change(*clone);
    EXPECT_FALSE(documentsEqual(*document, *clone, &difference));
    EXPECT_FALSE(difference.empty());
  };
  differs([](BaseDocument& d) { d.SetFps(24); });
  differs([](BaseDocument& d) { d.SetTime(BaseTime(14, 50)); }); // the same moment, another fraction
  differs([](BaseDocument& d) { d.SetLoopMaxTime(BaseTime(51, 25)); });
  differs([](BaseDocument& d) { d.SearchObject("mesh")->SetName("mash"); });
  differs([](BaseDocument& d) { d.SearchObject("mesh")->SetMl(Matrix()); });
  differs([](BaseDocument& d) { d.SearchObject("mesh")->SetBit(1); });
  differs([](BaseDocument& d) { d.SearchObject("smooth")->SetDeformMode(TRUE); });
  differs([](BaseDocument& d) { stateOf(d.SearchObject("camera"))->tracks = nullptr; });
  differs([](BaseDocument& d) { stateOf(d.SearchObject("sky"))->picture = picture("sky.hdr", "", "t"); });
  differs([](BaseDocument& d) {
    auto mesh = std::make_shared<Mesh>(*stateOf(d.SearchObject("mesh"))->mesh);
    mesh->uv[1][2][0] = 0.01F;
    stateOf(d.SearchObject("mesh"))->mesh = mesh;
  });
  differs([](BaseDocument& d) {
    d.GetDataInstance()->GetContainerInstance(10005)->SetLink(17, d.SearchObject("mesh"));
  });
  differs([](BaseDocument& d) { d.GetDataInstance()->SetLong(7, 0); });
  differs([](BaseDocument& d) { d.SearchMaterial("layered")->GetChannel(0)->SetShader(nullptr); });
  differs([](BaseDocument& d) { d.GetActiveRenderData()->GetFirstVideoPost()->DelBit(BIT_VPDISABLED); });
  differs([](BaseDocument& d) { d.GetRenderBaseDraw()->SetSceneCamera(nullptr); });
  differs([](BaseDocument& d) { setViewArea(*d.GetRenderBaseDraw(), 0, 0, 1, 1); });
  differs([](BaseDocument& d) { d.GetRenderBaseDraw()->GetEditorCamera()->SetMl(Matrix()); });
  differs([](BaseDocument& d) {
    BaseObject* object = d.SearchObject("floor");
    BaseObject::Free(object);
  });
}

TEST(SaveAndLoad, otherProgramsExtrasStay) {
  SceneBuilder scene;
  scene.addNode(
      Json{{"name", "n"}, {"extras", {{"theirs", {1, 2.5, nullptr, "x"}}, {"lumenara", {{"bits", 2}}}}}});
  scene.add("materials", Json{{"extras", "just a text"}});
  const DocumentPtr document = load(scene);
  const DocumentPtr second = reload(*document);
  const auto bytes = saveDocumentToMemory(*second, false);
  const Json root = Json::parse(std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
  EXPECT_EQ(root["nodes"][0]["extras"]["theirs"], Json::parse(R"([1, 2.5, null, "x"])"));
  EXPECT_EQ(root["nodes"][0]["extras"]["lumenara"]["bits"], 2);
  EXPECT_EQ(root["materials"][0]["extras"], "just a text");
}

TEST(SaveAndLoad, picturesKeepTheirBytes) {
  const std::vector<char> bytes{'\x89', 'P', 'N', 'G', 0, 1, 2};
  SceneBuilder scene;
  scene.add("images", Json{{"name", "p"}, {"bufferView", scene.addView(bytes)}});
  scene.add("textures", Json{{"source", 0}});
  scene.add("materials", Json{{"normalTexture", {{"index", 0}}}});
  const DocumentPtr second = reload(*load(scene));
  const auto* shader = static_cast<ShaderState*>(stateOf(second->GetFirstMaterial())->shaders.first());
  EXPECT_EQ(shader->picture->mimeType, "image/png") << "seen from the bytes";
  ASSERT_EQ(shader->picture->bytes->size(), bytes.size());
  EXPECT_EQ(std::memcmp(shader->picture->bytes->data(), bytes.data(), bytes.size()), 0);
}

TEST(SaveAndLoad, whatIsWrittenIsPlainGltf) {
  const auto bytes = saveDocumentToMemory(*everything(), false);
  const Json root = Json::parse(std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
  EXPECT_EQ(root["asset"]["version"], "2.0");
  EXPECT_EQ(root["extensionsUsed"], (Json{"KHR_lights_punctual"}));
  EXPECT_FALSE(root.contains("extensionsRequired"));
  bool found = false;
  for (const Json& node : root["nodes"]) {
    if (!node.contains("mesh")) continue;
    found = true;
    const Json& primitives = root["meshes"][node["mesh"].get<std::size_t>()]["primitives"];
    ASSERT_EQ(primitives.size(), 2U);
    EXPECT_EQ(primitives[0]["attributes"], primitives[1]["attributes"]) << "parts share their vertices";
    const Json& positions = root["accessors"][primitives[0]["attributes"]["POSITION"].get<std::size_t>()];
    EXPECT_EQ(positions["count"], 4);
    EXPECT_TRUE(positions.contains("min"));
  }
  EXPECT_TRUE(found);
  // A camera with parameters that glTF can hold has nothing in extras but the marks of our own nodes.
  for (const Json& node : root["nodes"])
    EXPECT_FALSE(node.value("name", "") == "camera" && node["extras"]["lumenara"].contains("order"));
}

TEST(SaveAndLoad, filesOnDisk) {
  const TemporaryFolder folder;
  const DocumentPtr document = everything();
  std::string error, difference;
  for (const char* name : {"scene.glb", "scene.gltf"}) {
    ASSERT_TRUE(saveDocument(*document, folder / name, &error)) << error;
    const LoadResult loaded = loadDocument(folder / name);
    ASSERT_TRUE(loaded.document) << loaded.error;
    EXPECT_TRUE(documentsEqual(*document, *loaded.document, &difference)) << difference;
    EXPECT_EQ(loaded.document->GetDocumentName(), Filename(name));
    EXPECT_EQ(loaded.document->GetDocumentPath(), folder.path());
    EXPECT_EQ(loaded.missingFiles, std::vector<std::string>{"lost.png"});
  }
  EXPECT_EQ(folder.names().size(), 2U) << "nothing else is left";
  EXPECT_FALSE(saveDocument(*document, folder / "scene.obj", &error));
  EXPECT_NE(error.find(".glb"), std::string::npos);
  EXPECT_FALSE(saveDocument(*document, folder / "no/such/folder.glb", &error));
  EXPECT_NE(error.find("no/such/folder.glb"), std::string::npos);
}

} // namespace
} // namespace host
