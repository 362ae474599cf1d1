// Scenes by others: they load completely and survive a save.
#include <cmath>
#include <cstdlib>

#include "document.h"
#include "scene_builder.h"
#include "scene_file.h"

namespace host {
namespace {

Filename sceneFile(const char* name) {
  const char* folder = std::getenv("LUMENARA_SCENES");
  return Filename(String(folder ? folder : LUMENARA_SCENES_DIR)) + Filename(name) +
         Filename(String(std::string(name) + ".gltf"));
}

struct Expected {
  const char* name;
  std::size_t triangles, meshes, materials, cameras, animations, missing;
};

class SharedScene : public ::testing::TestWithParam<Expected> {
 protected:
  void SetUp() override {
    if (!GeFExist(sceneFile(GetParam().name))) GTEST_SKIP() << "the scene is not here: " << GetParam().name;
  }
};

TEST_P(SharedScene, loadsCompletely) {
  LoadResult result = loadDocument(sceneFile(GetParam().name));
  ASSERT_TRUE(result.document) << result.error;
  const SceneCounts counts = countScene(*result.document);
  EXPECT_EQ(counts.triangles, GetParam().triangles);
  EXPECT_EQ(counts.meshes, GetParam().meshes);
  EXPECT_EQ(counts.materials, GetParam().materials);
  EXPECT_EQ(counts.cameras, GetParam().cameras);
  EXPECT_EQ(counts.animations, GetParam().animations);
  EXPECT_EQ(result.missingFiles.size(), GetParam().missing);
  EXPECT_EQ(result.warnings.size(), GetParam().missing);
  EXPECT_LT(counts.low.x, counts.high.x);
  EXPECT_EQ(result.document->GetFps(), 30);
  EXPECT_EQ(result.document->GetDocumentName().GetString().GetUTF8(), std::string(GetParam().name) + ".gltf");
}

TEST_P(SharedScene, isEqualAfterSavingAndLoading) {
  const LoadResult first = loadDocument(sceneFile(GetParam().name));
  ASSERT_TRUE(first.document) << first.error;
  for (const bool binary : {true, false}) {
    const DocumentPtr second = reload(*first.document, binary);
    ASSERT_TRUE(second);
    SceneCounts a = countScene(*first.document), b = countScene(*second);
    EXPECT_EQ(a.meshes, b.meshes) << "geometry is shared as before";
    EXPECT_EQ(a.pictures, b.pictures);
  }
}

TEST_P(SharedScene, isEqualToItsClone) {
  const LoadResult loaded = loadDocument(sceneFile(GetParam().name));
  ASSERT_TRUE(loaded.document) << loaded.error;
  const DocumentPtr clone(loaded.document->GetClone(COPYFLAGS_0));
  std::string difference;
  EXPECT_TRUE(documentsEqual(*loaded.document, *clone, &difference)) << difference;
}

TEST_P(SharedScene, theViewSeesAllOfIt) {
  const LoadResult loaded = loadDocument(sceneFile(GetParam().name));
  ASSERT_TRUE(loaded.document) << loaded.error;
  BaseDraw* view = loaded.document->GetRenderBaseDraw();
  if (GetParam().cameras > 0) {
    EXPECT_NE(view->GetSceneCamera(nullptr), nullptr);
    return;
  }
  EXPECT_EQ(view->GetSceneCamera(nullptr), nullptr);
  const Matrix toCamera = view->GetEditorCamera()->GetMg().Inverse();
  const SceneCounts counts = countScene(*loaded.document);
  const double tanY = std::tan(0.4), tanX = tanY * 1280 / 720;
  double largest = 0;
  for (int corner = 0; corner < 8; ++corner) {
    const Vector p = toCamera * Vector(corner & 1 ? counts.high.x : counts.low.x,
                                       corner & 2 ? counts.high.y : counts.low.y,
                                       corner & 4 ? counts.high.z : counts.low.z);
    ASSERT_LT(p.z, 0) << "in front of the camera";
    const double across = std::max(std::abs(p.x / -p.z) / tanX, std::abs(p.y / -p.z) / tanY);
    EXPECT_LE(across, 1);
    largest = std::max(largest, across);
  }
  EXPECT_GT(largest, 0.8) << "and it fills the picture";
}

INSTANTIATE_TEST_SUITE_P(scenes, SharedScene,
                         ::testing::Values(Expected{"WaterBottle", 4510, 1, 1, 0, 0, 0},
                                           Expected{"Lantern", 5394, 3, 1, 0, 0, 1},
                                           Expected{"Suzanne", 3936, 1, 1, 0, 0, 0},
                                           Expected{"MetalRoughSpheresNoTextures", 1040409, 5, 98, 0, 0, 0},
                                           Expected{"Cameras", 2, 1, 0, 2, 0, 0},
                                           Expected{"AnimatedMorphCube", 12, 1, 1, 0, 1, 0},
                                           Expected{"BoxAnimated", 254, 2, 2, 0, 1, 0},
                                           Expected{"CesiumMan", 4672, 1, 1, 0, 1, 0}),
                         [](const auto& scene) { return std::string(scene.param.name); });

TEST(SharedScenes, theMissingPictureIsNamedOnce) {
  if (!GeFExist(sceneFile("Lantern"))) GTEST_SKIP() << "the scene is not here: Lantern";
  const LoadResult loaded = loadDocument(sceneFile("Lantern"));
  ASSERT_TRUE(loaded.document) << loaded.error;
  ASSERT_EQ(loaded.missingFiles.size(), 1U);
  EXPECT_NE(loaded.warnings[0].find(loaded.missingFiles[0]), std::string::npos);
  const SnapshotPtr snapshot = takeSnapshot(*loaded.document, {});
  ASSERT_TRUE(snapshot);
  EXPECT_EQ(snapshot->missingAssets, loaded.missingFiles);
}

TEST(SharedScenes, aWalkingManMoves) {
  if (!GeFExist(sceneFile("CesiumMan"))) GTEST_SKIP() << "the scene is not here: CesiumMan";
  const LoadResult loaded = loadDocument(sceneFile("CesiumMan"));
  ASSERT_TRUE(loaded.document) << loaded.error;
  BaseDocument& document = *loaded.document;
  EXPECT_NEAR(document.GetMaxTime().Get(), 2.0, 0.04);
  const auto meshAt = [&](double seconds) {
    document.SetTime(BaseTime(seconds));
    EXPECT_TRUE(document.ExecutePasses(nullptr, TRUE, TRUE, TRUE, BUILDFLAGS_0));
    return takeSnapshot(document, {})->instances.at(0);
  };
  const Instance first = meshAt(0), later = meshAt(0.5), again = meshAt(0);
  EXPECT_NE(first.mesh->id, later.mesh->id);
  EXPECT_EQ(first.mesh->id, again.mesh->id) << "the same pose gives the same mesh";
  EXPECT_NE(first.mesh->positions, later.mesh->positions);
  // About 1.5 m tall, standing upright after the file's own turn to y up.
  Vector low(1e9), high(-1e9);
  for (const Float3& p : first.mesh->positions) {
    const Vector w = first.toWorld * Vector(p[0], p[1], p[2]);
    low.y = std::min(low.y, w.y), high.y = std::max(high.y, w.y);
  }
  EXPECT_NEAR(high.y - low.y, 1.5, 0.15);
}

} // namespace
} // namespace host
