// A scene that another program has written again: contents that stayed the same are kept.
#include "file_session_kit.h"
#include "render_stats.h"
#include "scene_content.h"

namespace {

using namespace host;

// The small scene with a third mesh, and a picture on the material of the body.
class SceneSharingTest : public FileSessionTest {
 protected:
  Filename writeScene(float tip = 2, int red = 200, const char* lamp = "lamp") {
    const PicturePtr picture = paintedPicture(red);
    return write("a.glb", [&](BaseDocument& d) {
      auto tall = std::make_shared<Mesh>(*triangleMesh());
      tall->positions[2][1] = tall->high[1] = tip;
      tall->uv[0] = {{0, 0}, {1, 0}, {0, 1}};
      DocumentState& state = *stateOf(&d);
      ObjectState* extra = testscene::add(state.children, Opolygon, "extra");
      extra->mesh = tall;
      NodeState* material = state.materials.first();
      NodeState* shader = makeNode(NodeKind::shader, Xbitmap);
      static_cast<ShaderState*>(shader)->picture = picture;
      material->shaders.append(*shader);
      static_cast<MaterialState*>(material)->shaderSlots[CHANNEL_COLOR] = shader->identity;
      assignMaterial(d, std::array{extra->identity}, material->identity);
      d.SearchObject("lamp")->SetName(lamp);
    });
  }

  PicturePtr paintedPicture(int red) {
    BaseBitmap* bitmap = BaseBitmap::Alloc();
    EXPECT_EQ(bitmap->Init(4, 4, 24), IMAGERESULT_OK);
    for (LONG y = 0; y < 4; ++y)
      for (LONG x = 0; x < 4; ++x)
        bitmap->SetPixel(x, y, red, 10 * x, 10 * y);
    const Filename file = folder / "paint.png";
    EXPECT_EQ(bitmap->Save(file, FILTER_PNG, nullptr, SAVEBIT_0), IMAGERESULT_OK);
    BaseBitmap::Free(bitmap);
    auto picture = std::make_shared<Picture>(*readPictureFile(file));
    picture->file = Filename(); // packed into the scene
    picture->uri.clear();
    return picture;
  }

  // Renders the open document; the work that was done.
  RenderStats render() {
    BaseContainer settings = *document().GetActiveRenderData()->GetDataInstance();
    settings.SetLong(RDATA_XRES, 16);
    settings.SetLong(RDATA_YRES, 12);
    settings.SetLong(RDATA_MAXSAMPLES, 1);
    BaseBitmap* picture = BaseBitmap::Alloc();
    EXPECT_EQ(picture->Init(16, 12, 24), IMAGERESULT_OK);
    EXPECT_EQ(RenderDocument(&document(), settings, nullptr, nullptr, picture, RENDERFLAGS_0, nullptr),
              RENDERRESULT_OK);
    BaseBitmap::Free(picture);
    return lastRenderStats();
  }
};

TEST_F(SceneSharingTest, AReloadOfTheSameBytesBuildsAndDecodesNothing) {
  open(writeScene());
  ASSERT_TRUE(errors.empty()) << errors[0].text();
  const RenderStats first = render();
  EXPECT_EQ(first.meshesBuilt, 2u) << "body and arm share one";
  EXPECT_EQ(first.texturesDecoded, 1u);
  const Identity before = document().GetIdentity();
  const MeshPtr body = object("body")->mesh, extra = object("extra")->mesh;

  writeScene(2, 200, "lantern"); // other bytes of the file, the same of meshes and picture
  watchIt();
  ASSERT_NE(document().GetIdentity(), before);
  ASSERT_NE(document().SearchObject("lantern"), nullptr);
  EXPECT_EQ(object("body")->mesh, body);
  EXPECT_EQ(object("extra")->mesh, extra);
  const RenderStats again = render();
  EXPECT_EQ(again.meshesBuilt, 0u);
  EXPECT_EQ(again.meshesReused, 2u);
  EXPECT_EQ(again.texturesDecoded, 0u);
  EXPECT_EQ(again.texturesReused, 1u);
  EXPECT_EQ(again.topsBuilt, 0u) << "all stand where they stood";
}

TEST_F(SceneSharingTest, OnlyTheChangedMeshIsBuilt) {
  open(writeScene());
  render();
  const MeshPtr body = object("body")->mesh, extra = object("extra")->mesh;
  writeScene(3);
  watchIt();
  EXPECT_EQ(object("body")->mesh, body);
  EXPECT_NE(object("extra")->mesh, extra);
  EXPECT_EQ(object("extra")->mesh->positions[2][1], 3);
  const RenderStats again = render();
  EXPECT_EQ(again.meshesBuilt, 1u);
  EXPECT_EQ(again.texturesDecoded, 0u);
}

TEST_F(SceneSharingTest, OnlyTheChangedPictureIsDecoded) {
  open(writeScene());
  render();
  writeScene(2, 100);
  watchIt();
  const RenderStats again = render();
  EXPECT_EQ(again.meshesBuilt, 0u);
  EXPECT_EQ(again.texturesDecoded, 1u);
}

// Another scene that is opened shares with the open one, too.
TEST_F(SceneSharingTest, AnotherVersionOfTheSceneSharesItsMeshes) {
  open(writeScene());
  const MeshPtr extra = object("extra")->mesh;
  std::filesystem::copy_file(toPath(folder / "a.glb"), toPath(folder / "b.glb"));
  age(folder / "b.glb");
  open(folder / "b.glb");
  EXPECT_EQ(files().title(), String("b.glb"));
  EXPECT_EQ(object("extra")->mesh, extra);
}

TEST_F(SceneSharingTest, AContentIsTheSameOnlyBitForBit) {
  const MeshPtr mesh = triangleMesh();
  const auto differsAfter = [&](const auto& change) {
    auto other = std::make_shared<Mesh>(*mesh);
    change(*other);
    return !sameMesh(mesh, other);
  };
  EXPECT_FALSE(differsAfter([](Mesh& m) { m.id = newIdentity(); }));
  EXPECT_TRUE(differsAfter([](Mesh& m) { m.positions[1][2] = -0.0F; }));
  EXPECT_TRUE(differsAfter([](Mesh& m) { m.normals.assign(3, {0, 0, 1}); }));
  EXPECT_TRUE(differsAfter([](Mesh& m) { m.tangents.assign(3, {1, 0, 0, 1}); }));
  EXPECT_TRUE(differsAfter([](Mesh& m) { m.uv[0].assign(3, {0, 0}); }));
  EXPECT_TRUE(differsAfter([](Mesh& m) { m.uv[1].assign(3, {0, 0}); }));
  EXPECT_TRUE(differsAfter([](Mesh& m) { m.colors.assign(3, {1, 1, 1, 1}); }));
  EXPECT_TRUE(differsAfter([](Mesh& m) { m.triangles[0] = {1, 2, 0}; }));
  EXPECT_TRUE(differsAfter([](Mesh& m) { m.groups = {{0, 1}, {1, 0}}; }));
  EXPECT_FALSE(sameMesh(mesh, nullptr));
  EXPECT_TRUE(sameMesh(nullptr, nullptr));
  const auto uvMoved = [&](std::size_t set) {
    auto other = std::make_shared<Mesh>(*mesh);
    other->uv[set].assign(3, {0, 0});
    return MeshPtr(other);
  };
  EXPECT_FALSE(sameMesh(uvMoved(0), uvMoved(1))) << "the same bytes in another list";

  const PicturePtr picture = paintedPicture(50);
  auto renamed = std::make_shared<Picture>(*picture);
  renamed->id = newIdentity();
  EXPECT_TRUE(samePicture(picture, renamed));
  renamed->name = "other";
  EXPECT_FALSE(samePicture(picture, renamed)) << "a save would write the wrong name";
  auto missing = std::make_shared<Picture>(*picture);
  missing->bytes = nullptr;
  EXPECT_FALSE(samePicture(picture, missing));
  auto fallen = std::make_shared<Picture>(*picture);
  fallen->fallback = picture;
  EXPECT_FALSE(samePicture(picture, fallen));
}

TEST_F(SceneSharingTest, DeformersAreKeptWithTheirMeshes) {
  const auto bent = [](float lift) {
    DocumentPtr scene = SessionFixture::scene();
    auto deformation = std::make_shared<Deformation>();
    deformation->targets = {{{{0, 0, 0}, {0, lift, 0}, {0, 0, 0}}, {}, {}}};
    ObjectState* body = stateOf(scene->SearchObject("body"));
    body->deformation = deformation;
    body->weights = {0.5F};
    return scene;
  };
  const DocumentPtr old = bent(1), same = bent(1), other = bent(2);
  const auto deformationIn = [](const DocumentPtr& d) {
    return stateOf(d->SearchObject("body"))->deformation;
  };
  const SceneContent known = contentOf(*stateOf(old.get()));
  EXPECT_EQ(known.meshes.size(), 1u);
  SharedCounts counts = shareContent(*stateOf(same.get()), known);
  EXPECT_EQ(counts.meshes, 1u);
  EXPECT_EQ(counts.deformations, 1u);
  EXPECT_EQ(deformationIn(same), deformationIn(old));
  counts = shareContent(*stateOf(other.get()), known);
  EXPECT_EQ(counts.meshes, 1u);
  EXPECT_EQ(counts.deformations, 0u);
  EXPECT_NE(deformationIn(other), deformationIn(old));
}

} // namespace
