// Objects that a user adds fit the scene: floors lie under it, lights light it, skies show, whatever its
// size.
#include <algorithm>
#include <cmath>

#include "render_settings.h"
#include "scene_file.h"
#include "session_fixture.h"
#include "snapshot.h"

namespace {

using namespace host;

constexpr Real pi = 3.14159265358979323846;

Real lengthOf(const Vector& v) {
  return std::sqrt(Dot(v, v));
}

MeshPtr cubeMesh(float half) {
  auto mesh = std::make_shared<Mesh>();
  const std::array<std::array<int, 4>, 6> sides{
      {{0, 4, 6, 2}, {1, 3, 7, 5}, {0, 1, 5, 4}, {2, 6, 7, 3}, {0, 2, 3, 1}, {4, 5, 7, 6}}};
  for (const auto& side : sides) {
    const auto first = static_cast<std::uint32_t>(mesh->positions.size());
    for (const int corner : side)
      mesh->positions.push_back(
          {corner & 1 ? half : -half, corner & 2 ? half : -half, corner & 4 ? half : -half});
    mesh->triangles.push_back({first, first + 1, first + 2});
    mesh->triangles.push_back({first, first + 2, first + 3});
  }
  mesh->groups = {{0, 12}};
  mesh->low = {-half, -half, -half};
  mesh->high = {half, half, half};
  return mesh;
}

struct Shown {
  Real mean = 0, largest = 0;
};

class NewObjectsTest : public SessionFixture {
 protected:
  // A cube of this side, away from the origin, seen as a new scene is.
  void openCube(Real side) {
    DocumentPtr scene = newDocument();
    ObjectState* cube = makeObject(Opolygon);
    cube->name = "cube";
    cube->mesh = cubeMesh(static_cast<float>(side / 2));
    cube->local.off = Vector(3, 5, -2) * side;
    stateOf(scene.get())->children.append(*cube);
    frameScene(*scene, *scene->GetRenderBaseDraw());
    session->hub().replace(std::move(scene), Replacement::opened);
    runAll();
    middle = Vector(3, 5, -2) * side;
    radius = side * std::sqrt(3.0) / 2;
  }

  ObjectState* added(Identity identity) { return static_cast<ObjectState*>(findNode(state(), identity)); }

  AutoAlloc<BaseBitmap> picture;
  void render() {
    BaseContainer settings = document().GetActiveRenderData()->GetDataInstance()
                                 ? *document().GetActiveRenderData()->GetDataInstance()
                                 : BaseContainer();
    settings.SetLong(RDATA_XRES, 64);
    settings.SetLong(RDATA_YRES, 48);
    settings.SetLong(RDATA_MAXSAMPLES, 16);
    ASSERT_EQ(picture->Init(64, 48), IMAGERESULT_OK);
    ASSERT_EQ(RenderDocument(&document(), settings, nullptr, nullptr, picture, RENDERFLAGS_0, nullptr),
              RENDERRESULT_OK);
  }
  Vector pixel(LONG x, LONG y) {
    UWORD r = 0, g = 0, b = 0;
    picture->GetPixel(x, y, &r, &g, &b);
    return {Real(r), Real(g), Real(b)};
  }
  Real meanOf(LONG left, LONG top, LONG right, LONG bottom) {
    Real sum = 0;
    for (LONG y = top; y < bottom; ++y)
      for (LONG x = left; x < right; ++x)
        sum += (pixel(x, y).x + pixel(x, y).y + pixel(x, y).z) / 3;
    return sum / ((right - left) * (bottom - top));
  }

  Vector middle;
  Real radius = 0;
};

constexpr std::array<Real, 6> sides{1e-5, 0.01, 1, 37, 1000, 2e5};

TEST_F(NewObjectsTest, AFloorLiesUnderTheSceneAndReachesBeyondIt) {
  for (const Real side : sides) {
    openCube(side);
    const ObjectState& floor = *added(newObject(document(), Ofloor));
    EXPECT_NEAR(floor.local.off.y, 4.5 * side, 1e-3 * side) << side;
    EXPECT_LT(floor.local.off.y, 4.5 * side) << "below the cube's own face";
    EXPECT_NEAR(floor.local.off.x, middle.x, 1e-5 * side);
    EXPECT_NEAR(floor.local.off.z, middle.z, 1e-5 * side);
    const Real half = param::real(floor, param::floorSize);
    EXPECT_GE(half, 10 * side) << side;
    EXPECT_LE(half, std::max(100 * side, 1e-3)) << side;
    const SnapshotPtr snapshot = takeSnapshot(document(), {});
    EXPECT_NEAR(snapshot->instances.back().mesh->high[0], half, 1e-6 * half) << "rendered at that size";
  }
}

TEST_F(NewObjectsTest, LightsStandOutsideAndLightASceneOfAnySizeAlike) {
  for (const Real side : sides)
    for (const LONG kind : {0, 1, 2, 3, 4}) {
      openCube(side);
      const ObjectState& light = *added(newLight(document(), kind));
      const Vector away = light.local.off - middle;
      const Real distance = lengthOf(away), intensity = param::real(light, param::lightIntensity);
      EXPECT_GT(distance, 1.5 * radius) << side;
      EXPECT_LT(distance, 6 * radius) << side;
      EXPECT_GT(away.y, 0.3 * distance) << "from above";
      EXPECT_NEAR(lengthOf(light.local.v3 * distance - away), 0, 1e-5 * distance) << "aimed at the middle";
      EXPECT_NEAR(kind == 2 ? intensity : intensity / (distance * distance), 2, 1e-4) << side;
      if (kind != 1) continue;
      EXPECT_GT(param::real(light, param::lightInnerCone), std::asin(radius / distance)) << "all of it";
      EXPECT_GT(param::real(light, param::lightOuterCone), param::real(light, param::lightInnerCone));
      EXPECT_LT(param::real(light, param::lightOuterCone), pi / 6);
    }
}

TEST_F(NewObjectsTest, AnEmptySceneHasRoomForThem) {
  const ObjectState& floor = *added(newObject(document(), Ofloor));
  EXPECT_NEAR(floor.local.off.y, 0, 1e-3);
  const ObjectState& light = *added(newLight(document(), 1));
  EXPECT_GT(light.local.off.y, 2);
  EXPECT_TRUE(std::isfinite(param::real(light, param::lightIntensity)));
}

TEST_F(NewObjectsTest, PicturesOfTinyAndHugeScenesAreEquallyBright) {
  for (const LONG kind : {0, 1, 2, 3, 4}) {
    std::vector<Real> cube, ground;
    for (const Real side : {0.01, 1.0, 1000.0}) {
      openCube(side);
      newObject(document(), Ofloor);
      newLight(document(), kind);
      render();
      cube.push_back(meanOf(24, 16, 40, 32));
      ground.push_back(meanOf(40, 36, 64, 48));
    }
    for (const auto& means : {cube, ground}) {
      EXPECT_GT(means[1], 40) << kind;
      EXPECT_LT(means[1], 230) << kind;
      EXPECT_NEAR(means[0], means[1], 4) << kind;
      EXPECT_NEAR(means[2], means[1], 4) << kind;
    }
  }
}

TEST_F(NewObjectsTest, ANewSkyIsAVisibleGradient) {
  openCube(1);
  const Identity sky = newObject(document(), Osky);
  const SnapshotSky seen = takeSnapshot(document(), {})->sky;
  EXPECT_EQ(seen.kind, SkyKind::gradient);
  EXPECT_GT(seen.color[2], 1.5F * seen.color[0]) << "blue above";
  EXPECT_GT(seen.horizon[0], 2 * seen.color[0]) << "bright at the horizon";
  EXPECT_LT(seen.ground[0], 0.5F * seen.horizon[0]) << "dark below";
  ObjectState* camera = state().renderView->editorCamera;
  camera->local = Matrix();
  camera->data.SetReal(param::cameraYfov, 2);
  setAttribute(document(), std::array{id("cube")}, AttributeId::visibleRender, GeData::FromBool(FALSE));
  render();
  const Vector top = pixel(32, 1), horizon = pixel(32, 23), bottom = pixel(32, 46);
  EXPECT_GT(top.z, top.x + 25);
  EXPECT_GT(horizon.x, top.x + 40);
  EXPECT_LT(horizon.x, 253) << "not burnt out";
  EXPECT_LT(bottom.z, horizon.z - 40);
  EXPECT_EQ(attributeValue(document(), sky, AttributeId::skyKind).GetLong(), 2);
}

TEST_F(NewObjectsTest, TheColorsThatNobodyChoseFollowTheKindOfSky) {
  const std::array sky{newObject(document(), Osky)};
  const auto set = [&](LONG kind) {
    EXPECT_TRUE(setAttribute(document(), sky, AttributeId::skyKind, GeData(kind)));
  };
  const auto color = [&] { return attributeValue(document(), sky[0], AttributeId::skyColor).GetVector(); };
  const Vector zenith = color();
  EXPECT_NE(zenith, Vector(1, 1, 1));
  set(1);
  EXPECT_EQ(color(), Vector(1, 1, 1));
  set(2);
  EXPECT_EQ(color(), zenith);
  EXPECT_TRUE(setAttribute(document(), sky, AttributeId::skyColor, GeData(Vector(1, 0, 0))));
  set(1);
  EXPECT_EQ(color(), Vector(1, 0, 0)) << "a chosen one stays";
}

TEST_F(NewObjectsTest, ASkyHasAStrengthAndKindNoneHidesIt) {
  const std::array sky{newObject(document(), Osky)};
  const Float3 before = takeSnapshot(document(), {})->sky.horizon;
  EXPECT_TRUE(setAttribute(document(), sky, AttributeId::skyStrength, GeData(Real(3))));
  EXPECT_NEAR(takeSnapshot(document(), {})->sky.horizon[0], 3 * before[0], 1e-5);
  openCube(1);
  const std::array none{newObject(document(), Osky)};
  setAttribute(document(), none, AttributeId::skyKind, GeData(LONG(0)));
  const SnapshotPtr snapshot = takeSnapshot(document(), {});
  ASSERT_EQ(snapshot->lights.size(), 1u) << "as without a sky: the lamp that stands in";
}

// An object half seen through, in glTF's three ways.
TEST_F(NewObjectsTest, TheOpacityOfAMaterialWorksByItsAlphaMode) {
  openCube(1);
  newLight(document(), 2);
  const std::array glass{newMaterial(document())};
  assignMaterial(document(), std::array{id("cube")}, glass[0]);
  const auto set = [&](AttributeId attribute, const GeData& value) {
    EXPECT_TRUE(setAttribute(document(), glass, attribute, value));
  };
  const auto has = [&](AttributeId attribute) {
    return attributeValue(document(), glass[0], attribute).GetType() != DA_NIL;
  };
  const auto shown = [&] {
    render();
    return meanOf(28, 20, 36, 28);
  };
  EXPECT_EQ(attributeValue(document(), glass[0], AttributeId::materialAlphaMode).GetLong(), 0);
  EXPECT_FALSE(has(AttributeId::materialAlpha)) << "an opaque material has nothing to set";
  EXPECT_FALSE(has(AttributeId::materialAlphaCutoff));
  const Real opaque = shown();
  EXPECT_GT(opaque, 60);
  set(AttributeId::materialAlphaMode, GeData(LONG(2)));
  set(AttributeId::materialAlpha, GeData(Real(0.25)));
  EXPECT_FALSE(has(AttributeId::materialAlphaCutoff));
  const Real blended = shown();
  EXPECT_LT(blended, opaque - 20);
  EXPECT_GT(blended, 10);
  set(AttributeId::materialAlphaMode, GeData(LONG(1)));
  EXPECT_EQ(attributeValue(document(), glass[0], AttributeId::materialAlphaCutoff).GetReal(), 0.5);
  EXPECT_LT(shown(), 3) << "below the cutoff nothing is left";
  set(AttributeId::materialAlphaCutoff, GeData(Real(0.2)));
  EXPECT_NEAR(shown(), opaque, 3) << "above it all of it is";
}

TEST_F(NewObjectsTest, TheAlphaModeIsUndoneSavedAndLoaded) {
  openCube(1);
  const std::array glass{newMaterial(document())};
  edits().notice("New Material");
  const DocumentPtr before = copy();
  edits().apply("Change Alpha", [&](BaseDocument& d) {
    setAttribute(d, glass, AttributeId::materialAlphaMode, GeData(LONG(1)));
    setAttribute(d, glass, AttributeId::materialAlpha, GeData(Real(0.75)));
    setAttribute(d, glass, AttributeId::materialAlphaCutoff, GeData(Real(0.25)));
  });
  const DocumentPtr after = copy();
  edits().undo();
  expectEqual(before, "undone");
  edits().redo();
  expectEqual(after, "done again");
  const std::vector<std::byte> bytes = saveDocumentToMemory(document(), true);
  const std::string text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  EXPECT_NE(text.find("\"alphaMode\":\"MASK\""), std::string::npos);
  EXPECT_NE(text.find("\"alphaCutoff\":0.25"), std::string::npos);
  const LoadResult loaded = loadDocumentFromMemory(bytes, Filename());
  ASSERT_TRUE(loaded.document) << loaded.error;
  std::string difference;
  EXPECT_TRUE(documentsEqual(*after, *loaded.document, &difference)) << difference;
}

} // namespace
