// Textures of materials: their lists, values in renders, files, and pictures that a scene lacks.
#include "texture_list.h"

#include <cstring>

#include "picture_search.h"
#include "scene_file.h"
#include "session_fixture.h"
#include "shading.h"
#include "snapshot_materials.h"
#include "temporary_folder.h"

namespace {

using namespace host;

// A BMP of one colour, a pixel a side.
std::string bmp(unsigned char red, unsigned char green, unsigned char blue) {
  std::string file(58, '\0');
  const auto put = [&](std::size_t at, std::uint32_t value) { std::memcpy(&file[at], &value, 4); };
  file[0] = 'B', file[1] = 'M';
  put(2, 58), put(10, 54), put(14, 40), put(18, 1), put(22, 1);
  file[26] = 1, file[28] = 24;
  put(34, 4);
  file[54] = static_cast<char>(blue), file[55] = static_cast<char>(green), file[56] = static_cast<char>(red);
  return file;
}

class TexturesTest : public SessionFixture {
 protected:
  TexturesTest() {
    openScene();
    red = material("red");
  }

  PicturePtr lost(const char* name, const char* uri) {
    auto picture = std::make_shared<Picture>();
    picture->name = name;
    picture->uri = uri;
    return picture;
  }

  // A bitmap in a slot of "red", as a file would bring it.
  Identity addTexture(int slot, const PicturePtr& picture) {
    auto* bitmap = static_cast<ShaderState*>(makeNode(NodeKind::shader, Xbitmap));
    bitmap->picture = picture;
    if (picture) bitmap->name = String(picture->name);
    auto* to = static_cast<MaterialState*>(findNode(state(), red));
    to->shaders.append(*bitmap);
    to->shaderSlots[static_cast<std::size_t>(slot)] = bitmap->identity;
    session->edits().notice("Build");
    return bitmap->identity;
  }

  PicturePtr file(const char* name, const std::string& bytes) {
    return readPictureFile(folder.write(name, bytes));
  }

  bool set(Identity node, AttributeId id, const GeData& value) {
    return edits().apply("Set", [&](BaseDocument& to) { setAttribute(to, std::array{node}, id, value); });
  }

  // The value of a shade of "red" as renders see it.
  render::Rgba rendered(render::CompiledShade render::CompiledMaterial::*shade) {
    std::vector<std::string> missing;
    const auto& from = static_cast<const MaterialState&>(*findNode(state(), red));
    const std::vector<SurfaceMaterialPtr> materials{resolveMaterial(from, true, missing)};
    const std::vector<bool> used{true}; // the compiler refers to both
    render::MaterialCompiler compiler(materials, used, {});
    const auto textures = render::SceneCache::shared().textures(compiler.requests(), 1, [] { return false; });
    return (compiler.compile(textures.list, {})[0].*shade).at({});
  }

  TemporaryFolder folder;
  Identity red = 0;
};

constexpr auto baseColor = &render::CompiledMaterial::baseColor;
constexpr auto metallicRoughness = &render::CompiledMaterial::metallicRoughness;

TEST_F(TexturesTest, ListNamesFilesAndUses) {
  const PicturePtr wood = file("wood.bmp", bmp(255, 0, 0));
  addTexture(CHANNEL_NORMAL, lost("bumps.png", "maps/bumps.png"));
  const Identity color = addTexture(CHANNEL_COLOR, wood);
  const std::vector<TextureEntry> list = texturesOf(document(), red);
  ASSERT_EQ(list.size(), 2U);
  EXPECT_EQ(list[0].use, "Color");
  EXPECT_EQ(list[0].shader, color);
  EXPECT_EQ(list[0].name, "wood.bmp");
  EXPECT_EQ(list[0].file, wood->file);
  EXPECT_FALSE(list[0].missing);
  EXPECT_EQ(list[0].strengthNode, color);
  EXPECT_EQ(list[1].use, "Normal");
  EXPECT_TRUE(list[1].missing);
  EXPECT_EQ(list[1].strength, AttributeId::materialNormalStrength);
  EXPECT_EQ(list[1].strengthNode, red);
  EXPECT_TRUE(texturesOf(document(), id("body")).empty()) << "an object is no material";
  EXPECT_EQ(materialsShown(document(), std::array{id("body"), id("root")}), std::vector<Identity>{red});
}

TEST_F(TexturesTest, RendersFollowSwitchStrengthAndValues) {
  const Identity shader = addTexture(CHANNEL_COLOR, file("half.bmp", bmp(188, 188, 0)));
  const float full = rendered(baseColor).r;
  EXPECT_NEAR(full, 0.5029F, 1e-3F) << "decoded from sRGB";
  EXPECT_EQ(rendered(baseColor).b, 0);
  ASSERT_TRUE(set(shader, AttributeId::textureStrength, GeData(0.25)));
  EXPECT_NEAR(rendered(baseColor).r, 0.75F + 0.25F * full, 1e-6F);
  EXPECT_NEAR(rendered(baseColor).b, 0.75F, 1e-6F) << "white where the picture has no effect";
  ASSERT_TRUE(set(shader, AttributeId::textureStrength, GeData(1.0)));
  ASSERT_TRUE(set(shader, AttributeId::textureColors, GeData(LONG{2})));
  EXPECT_NEAR(rendered(baseColor).r, 188 / 255.0F, 1e-3F) << "as stored";
  ASSERT_TRUE(set(shader, AttributeId::textureOn, GeData::FromBool(FALSE)));
  EXPECT_EQ(rendered(baseColor).r, 1);
  EXPECT_EQ(rendered(baseColor).b, 1);
  edits().undo();
  EXPECT_EQ(rendered(baseColor).b, 0) << "undone";

  const Identity data = addTexture(CHANNEL_REFLECTION, file("data.bmp", bmp(0, 188, 0)));
  EXPECT_NEAR(rendered(metallicRoughness).g, 188 / 255.0F, 1e-3F);
  ASSERT_TRUE(set(data, AttributeId::textureColors, GeData(LONG{1})));
  EXPECT_NEAR(rendered(metallicRoughness).g, full, 1e-3F);
}

TEST_F(TexturesTest, TilingSetsOneAxis) {
  const Identity shader = addTexture(CHANNEL_COLOR, file("a.bmp", bmp(1, 2, 3)));
  ASSERT_TRUE(set(shader, AttributeId::textureTilingU, GeData(4.0)));
  ASSERT_TRUE(set(shader, AttributeId::textureTilingV, GeData(0.5)));
  EXPECT_EQ(param::vector(*findNode(state(), shader), param::bitmapScale), Vector(4, 0.5, 1));
  EXPECT_EQ(attributeValue(document(), shader, AttributeId::textureTilingU).GetReal(), 4);
  EXPECT_FALSE(set(shader, AttributeId::textureTilingU, GeData(4.0))) << "no step for the same value";
  EXPECT_FALSE(set(red, AttributeId::textureTilingU, GeData(2.0))) << "materials have no tiling";
}

TEST_F(TexturesTest, SavedWithTheScene) {
  const Identity shader = addTexture(CHANNEL_COLOR, file("a.bmp", bmp(9, 9, 9)));
  const Identity off = addTexture(CHANNEL_LUMINANCE, file("b.bmp", bmp(8, 8, 8)));
  set(shader, AttributeId::textureStrength, GeData(0.25));
  set(shader, AttributeId::textureColors, GeData(LONG{2}));
  set(shader, AttributeId::textureTilingU, GeData(3.0));
  set(off, AttributeId::textureOn, GeData::FromBool(FALSE));
  std::string error;
  const Filename saved = folder / "scene.gltf";
  ASSERT_TRUE(saveDocument(document(), saved, &error)) << error;
  const std::string text = readText(saved);
  EXPECT_NE(text.find("baseColorTexture"), std::string::npos);
  EXPECT_EQ(text.find("emissiveTexture"), std::string::npos) << "off for other programs too";
  const LoadResult loaded = loadDocument(saved);
  ASSERT_TRUE(loaded.document) << loaded.error;
  std::string difference;
  EXPECT_TRUE(documentsEqual(document(), *loaded.document, &difference)) << difference;
}

TEST_F(TexturesTest, RelinkIsOneStepAndRefusesWhatIsNoPicture) {
  const Identity shader = addTexture(CHANNEL_COLOR, lost("a.png", "a.png"));
  PictureLocator::Outcome last;
  int answers = 0;
  const auto done = [&](const PictureLocator::Outcome& outcome) { last = outcome, ++answers; };
  PictureLocator& locator = session->pictureLocator();
  locator.relink(shader, folder / "gone.png", done);
  locator.finish();
  EXPECT_NE(last.error.find("gone.png\" is not there"), std::string::npos) << last.error;
  locator.relink(shader, folder.write("words.png", "no picture"), done);
  locator.finish();
  EXPECT_NE(last.error.find("holds no picture"), std::string::npos) << last.error;
  EXPECT_TRUE(texturesOf(document(), red)[0].missing) << "unchanged";

  const std::size_t steps = edits().stepCount();
  locator.relink(shader, folder.write("new.bmp", bmp(1, 2, 3)), done);
  EXPECT_TRUE(locator.isBusy());
  locator.finish();
  EXPECT_EQ(answers, 3);
  EXPECT_TRUE(last.error.empty());
  EXPECT_EQ(edits().stepCount(), steps + 1);
  EXPECT_EQ(texturesOf(document(), red)[0].name, "new.bmp");
  EXPECT_EQ(findNode(state(), shader)->name.GetUTF8(), "new.bmp");
  edits().undo();
  EXPECT_TRUE(texturesOf(document(), red)[0].missing);
}

TEST_F(TexturesTest, MissingPicturesAreListedOnceWithTheirUsers) {
  const PicturePtr one = lost("shared.png", "maps/shared.png");
  addTexture(CHANNEL_COLOR, one);
  addTexture(CHANNEL_LUMINANCE, one);
  addTexture(CHANNEL_NORMAL, lost("", "C:\\maps\\bumps.png"));
  addTexture(CHANNEL_REFLECTION, file("there.bmp", bmp(1, 1, 1)));
  ObjectState* sky = makeObject(Osky);
  sky->name = "heaven";
  sky->picture = one;
  state().children.append(*sky);
  const std::vector<MissingPicture> missing = missingPictures(document());
  ASSERT_EQ(missing.size(), 2U);
  EXPECT_EQ(missing[0].name, "shared.png");
  EXPECT_EQ(missing[0].reference, "maps/shared.png");
  EXPECT_EQ(missing[0].users, (std::vector<std::string>{"red", "heaven"}));
  EXPECT_EQ(missing[1].name, "bumps.png");
}

TEST_F(TexturesTest, LocateFindsTheOthersBesideAndBelow) {
  addTexture(CHANNEL_COLOR, lost("a.bmp", "old/a.bmp"));
  addTexture(CHANNEL_LUMINANCE, lost("B.bmp", "old/B.bmp"));
  addTexture(CHANNEL_NORMAL, lost("c.bmp", "old/c.bmp"));
  addTexture(CHANNEL_REFLECTION, lost("damaged.bmp", "old/damaged.bmp"));
  folder.write("b.bmp", bmp(2, 2, 2)); // in other letter case
  folder.write("deep/below/c.bmp", bmp(3, 3, 3));
  folder.write("damaged.bmp", "no picture");
  const std::vector<MissingPicture> missing = missingPictures(document());
  ASSERT_EQ(missing.size(), 4U);
  const std::size_t steps = edits().stepCount();
  PictureLocator::Outcome outcome;
  session->pictureLocator().locate(missing[0], missing, folder.write("renamed.bmp", bmp(1, 1, 1)),
                                   [&](const PictureLocator::Outcome& o) { outcome = o; });
  session->pictureLocator().finish();
  EXPECT_EQ(outcome.placed, 3U);
  EXPECT_EQ(outcome.still, std::vector<std::string>{"damaged.bmp"});
  EXPECT_TRUE(outcome.complete);
  EXPECT_EQ(edits().stepCount(), steps + 1) << "one step";
  ASSERT_EQ(missingPictures(document()).size(), 1U);
  EXPECT_EQ(texturesOf(document(), red)[0].name, "renamed.bmp");
  edits().undo();
  EXPECT_EQ(missingPictures(document()).size(), 4U);
}

TEST_F(TexturesTest, SearchIsBounded) {
  folder.write("1/x.bmp"), folder.write("1/2/3/y.bmp"), folder.write("z.bmp"), folder.write("1/z.bmp");
  const auto never = [] { return false; };
  SearchBounds bounds;
  SearchResult result = searchPictures(folder.path(), {"x.bmp", "y.bmp", "z.bmp"}, never, bounds);
  EXPECT_TRUE(result.complete);
  ASSERT_EQ(result.found.size(), 3U);
  EXPECT_EQ(result.found["z.bmp"], folder / "z.bmp") << "the higher one";
  bounds.depth = 1;
  result = searchPictures(folder.path(), {"x.bmp", "y.bmp"}, never, bounds);
  EXPECT_EQ(result.found.size(), 1U);
  bounds = {};
  bounds.files = 1;
  EXPECT_FALSE(searchPictures(folder.path(), {"y.bmp"}, never, bounds).complete);
  EXPECT_FALSE(searchPictures(folder.path(), {"y.bmp"}, [] { return true; }).complete) << "stopped";
  EXPECT_TRUE(searchPictures(folder / "nowhere", {"y.bmp"}, never).found.empty());
}

TEST_F(TexturesTest, ThumbnailsAreMadeInTheBackground) {
  TextureThumbnails& thumbnails = session->textureThumbnails();
  const PicturePtr green = file("green.bmp", bmp(0, 200, 0)), broken = file("broken.bmp", "BM no picture");
  std::vector<Identity> ready;
  const Subscription listens = thumbnails.ready.add([&](Identity picture) { ready.push_back(picture); });
  EXPECT_EQ(thumbnails.thumbnail(green), nullptr);
  EXPECT_EQ(thumbnails.thumbnail(broken), nullptr);
  EXPECT_EQ(thumbnails.thumbnail(lost("a.png", "a.png")), nullptr);
  thumbnails.finish();
  EXPECT_EQ(ready, (std::vector<Identity>{green->id, broken->id}));
  ASSERT_TRUE(thumbnails.thumbnail(green));
  EXPECT_EQ(thumbnails.thumbnail(green)->rgb, (std::vector<unsigned char>{0, 200, 0}));
  EXPECT_EQ(thumbnails.thumbnail(broken), nullptr);
  EXPECT_FALSE(thumbnails.isBusy()) << "a damaged picture is not tried again";
}

} // namespace
