// Scenes with numbers out of range: they are rendered without the objects concerned, and one sentence says
// so.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "host_fixture.h"
#include "scene_file.h"
#include "scene_kit.h"

using namespace host;

namespace {

class HostileTest : public HostFixture {
 protected:
  void SetUp() override {
    startHost();
    loaded = loadDocument(Filename(String(LUMENARA_SOURCE_DIR "/scenes/small.gltf")));
    ASSERT_TRUE(loaded.document) << loaded.error;
    settings = loaded.document->GetActiveRenderData()->GetData();
    settings.SetLong(RDATA_MAXSAMPLES, 2);
  }
  RENDERRESULT render() {
    console.clear();
    const RENDERRESULT result = RenderDocument(loaded.document.get(), settings, nullptr, nullptr,
                                               bitmap.bitmap, RENDERFLAGS_SHOWERRORS, nullptr);
    runAll();
    return result;
  }
  long lines(const char* about) const {
    return std::count_if(console.begin(), console.end(),
                         [about](const std::string& line) { return line.find(about) != std::string::npos; });
  }
  BaseObject* camera() { return loaded.document->GetRenderBaseDraw()->GetSceneCamera(loaded.document.get()); }

  LoadResult loaded;
  BaseContainer settings;
  kit::Bitmap bitmap{32, 24};
};

TEST_F(HostileTest, ACameraBeyondFloats) {
  ASSERT_NE(camera(), nullptr);
  for (const double value : {1e19, 1e38, 1e300, std::numeric_limits<double>::quiet_NaN()}) {
    Matrix m = camera()->GetMg();
    m.off = {value, value, value};
    camera()->SetMg(m);
    EXPECT_EQ(render(), RENDERRESULT_OK) << value;
    EXPECT_EQ(lines("stands where nothing can be computed"), 1) << value;
  }
}

TEST_F(HostileTest, ObjectsBeyondFloats) {
  for (const double scale : {1e12, 1e19, 1e200, std::numeric_limits<double>::infinity()}) {
    for (BaseObject* object = loaded.document->GetFirstObject(); object; object = object->GetNext())
      object->SetMl({Vector(), Vector(scale, 0, 0), Vector(0, scale, 0), Vector(0, 0, scale)});
    EXPECT_EQ(render(), RENDERRESULT_OK) << scale;
    EXPECT_EQ(lines("left out: farther than a million kilometres"), 1) << scale;
  }
}

// Each number of the scene's matrices takes each of these values in turn.
TEST_F(HostileTest, EveryMatrixWithEveryNumber) {
  const double values[] = {0, 1e-30, 1e-12, -1e9, 1e9, 1e18, 1e19, 3e38, 1e39, std::nan(""), 1e308, -1e308};
  std::vector<BaseObject*> objects;
  for (BaseObject* object = loaded.document->GetFirstObject(); object; object = object->GetNext())
    objects.push_back(object);
  for (BaseObject* object : objects) {
    const Matrix before = object->GetMl();
    for (const double value : values) {
      for (Vector Matrix::*part : {&Matrix::off, &Matrix::v1, &Matrix::v3}) {
        Matrix m = before;
        (m.*part).x = value;
        object->SetMl(m);
        EXPECT_EQ(render(), RENDERRESULT_OK);
      }
    }
    object->SetMl(before);
  }
}

// The ray library aborts on rays beyond its range, and a flat instance turns ordinary rays into such.
TEST(HostileRays, AnAlmostFlatInstance) {
  for (const double thickness : {1e-8, 1e-12, 1e-18, 1e-22, 1e-29}) {
    kit::Scene scene;
    scene.sky(1);
    scene.add(kit::ball(1), 0, {Vector(0, 0, 5), Vector(1, 0, 0), Vector(0, 1, 0), Vector(0, 0, thickness)});
    scene.add(kit::quad({-9, -9, -1e6f}, {18, 0, 0}, {0, 18, 0}));
    scene.lookAt({0, 0, 1e8f}, {0, 0, 0}, false, 0.5f);
    const kit::Result result = kit::draw(scene, 8, 1);
    EXPECT_EQ(result.code, RENDERRESULT_OK);
    for (const float value : result.pixels)
      EXPECT_TRUE(std::isfinite(value));
  }
}

} // namespace
