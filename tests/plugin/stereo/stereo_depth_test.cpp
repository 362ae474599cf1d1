// Depth in a rendered anaglyph: the left eye's picture is red, the right eye's cyan, and near objects appear
// in front of far ones.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "mesh_tools.h"
#include "parameters.h"
#include "thread_fixture.h"

namespace {

/// The position of a channel's pixels that differ from the ground, in some rows.
struct Blob {
  double centre = 0; // of gravity, in pixels from the left edge
  int pixels = 0;
};

class StereoDepthTest : public ThreadFixture {
 protected:
  void SetUp() override {
    ThreadFixture::SetUp();
    ASSERT_EQ(bitmap->Init(WIDTH, HEIGHT, 24), IMAGERESULT_OK);
    camera = addCamera("Hero", Vector(0, 0, 0)); // looks along -z
    document->GetRenderBaseDraw()->SetSceneCamera(camera);
    settings.SetValue(LM_OPT_ENGINE, 1); // plain colours, no noise
    settings.SetValue(LM_STEREO, 1);
    settings.SetValue(LM_STEREO_SEPARATION, SEPARATION);
    BaseObject* sky = addObject(Osky, "Night");
    sky->SetParameter(host::param::skyKind, GeData(static_cast<LONG>(1)));
    sky->SetParameter(host::param::skyColor, GeData(Vector(0, 0, 0)));
    // Both look alike from the middle: a square straight ahead, the near one above the far one.
    addSquare("Near", 2, 0.15);
    addSquare("Far", 8, -0.15);
  }

  /// A square of a twentieth of its distance, at this slope above the line of sight.
  void addSquare(const char* name, float distance, float slope) {
    auto mesh = std::make_shared<host::Mesh>();
    const float y = slope * distance, half = distance / 40, z = -distance;
    mesh->positions = {{-half, y - half, z}, {half, y - half, z}, {half, y + half, z}, {-half, y + half, z}};
    mesh->triangles = {{0, 1, 2}, {0, 2, 3}};
    mesh->groups = {{0, 2}};
    host::setBounds(*mesh);
    host::stateOf(addObject(Opolygon, name))->mesh = std::move(mesh);
  }

  Blob find(int channel, LONG top, LONG bottom) const {
    Blob blob;
    const auto valueAt = [&](LONG x, LONG y) {
      UWORD rgb[3];
      bitmap->GetPixel(x, y, &rgb[0], &rgb[1], &rgb[2]);
      return static_cast<int>(rgb[channel]);
    };
    const int ground = valueAt(0, top);
    for (LONG y = top; y < bottom; ++y) {
      for (LONG x = 0; x < WIDTH; ++x) {
        if (std::abs(valueAt(x, y) - ground) < 30) continue;
        blob.centre += x + 0.5;
        ++blob.pixels;
      }
    }
    blob.centre /= std::max(1, blob.pixels);
    return blob;
  }

  /// Pixels between the eyes' pictures of something at this distance: the eyes look in parallel.
  double disparity(double distance) const {
    const double yfov = host::param::real(*host::stateOf(camera), host::param::cameraYfov);
    return SEPARATION * HEIGHT / 2 / std::tan(yfov / 2) / distance;
  }

  static constexpr LONG WIDTH = 400, HEIGHT = 300;
  static constexpr double SEPARATION = 0.1;
  BaseObject* camera = nullptr;
};

TEST_F(StereoDepthTest, NearThingsComeForwardThroughRedAndCyan) {
  runJob();
  const struct {
    double distance;
    LONG top, bottom;
  } squares[] = {{2, 0, HEIGHT / 2}, {8, HEIGHT / 2, HEIGHT}};
  for (const auto& [distance, top, bottom] : squares) {
    SCOPED_TRACE(distance);
    const Blob red = find(0, top, bottom), green = find(1, top, bottom), blue = find(2, top, bottom);
    ASSERT_GT(red.pixels, 100);
    ASSERT_LT(red.pixels, 2000);
    // The left eye's picture (red) lies to the right of the right eye's (cyan): the lines of sight cross in
    // front of the picture, and the nearer the object, the farther in front.
    const double half = disparity(distance) / 2;
    EXPECT_NEAR(red.centre, WIDTH / 2.0 + half, 0.6);
    EXPECT_NEAR(green.centre, WIDTH / 2.0 - half, 0.6);
    EXPECT_EQ(green.centre, blue.centre);
    EXPECT_EQ(green.pixels, blue.pixels);
    EXPECT_GT(red.centre - green.centre, 1);
  }
}

TEST_F(StereoDepthTest, ThroughNamedCamerasToo) {
  addCamera("L", Vector(-SEPARATION, 0, 0));
  addCamera("R", Vector(SEPARATION, 0, 0));
  settings.SetValue(LM_STEREO_NAMED_CAMERAS, 1);
  settings.SetValue(LM_STEREO_LEFT_CAMERA, String("L"));
  settings.SetValue(LM_STEREO_RIGHT_CAMERA, String("R"));
  runJob();
  const Blob red = find(0, 0, HEIGHT / 2), green = find(1, 0, HEIGHT / 2);
  EXPECT_NEAR(red.centre - green.centre, 2 * disparity(2), 1.2); // the named ones stand twice as far apart
}

} // namespace
