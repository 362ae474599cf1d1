// Stereo in animations: both eyes stand beside the mono camera of the same frame.
#include <gtest/gtest.h>

#include "document.h"
#include "node_state.h"
#include "parameters.h"
#include "scene_file.h"
#include "thread_fixture.h"

namespace {

class StereoAnimationTest : public ThreadFixture {
 protected:
  void SetUp() override {
    ThreadFixture::SetUp();
    ASSERT_EQ(bitmap->Init(8, 6, 24), IMAGERESULT_OK);
    settings.SetValue(LM_STEREO_SEPARATION, SEPARATION);
    settings.SetValue(LM_OPT_ENGINE, 1);
  }

  /// Drives the object along x, one metre a second, and turns it about y by a quarter in ten seconds.
  void drive(BaseObject* object) {
    auto along = std::make_shared<host::Curve>();
    along->width = 3;
    along->times = {0, 100};
    along->values = {0, 0, 0, 100, 0, 0};
    auto turn = std::make_shared<host::Curve>();
    turn->width = 4;
    turn->times = {0, 10};
    turn->values = {0, 0, 0, 1, 0, 0.70710678F, 0, 0.70710678F};
    host::ObjectState& state = *host::stateOf(object);
    state.pose.emplace();
    state.tracks = std::make_shared<host::Tracks>(
        host::Tracks{{host::TrackPath::translation, 0, along}, {host::TrackPath::rotation, 0, turn}});
    host::stateOf(document)->animationNames = {"ride"};
  }
  BaseObject* addHero(BaseObject* parent) {
    BaseObject* camera = addObject(Ocamera, "Hero", parent);
    camera->SetMl(MatrixMove(Vector(0, 1, 4)));
    document->GetRenderBaseDraw()->SetSceneCamera(camera);
    return camera;
  }

  /// The render camera's matrix in each render of an animation.
  std::vector<Matrix> camerasOf(bool stereo) {
    settings.SetValue(LM_STEREO, stereo ? 1 : 0);
    thread.animation = 1;
    thread.format = 6;
    thread.frameFrom = FIRST;
    thread.frameTo = FIRST + 2 * STEP;
    thread.frameStep = STEP;
    thread.outputFile = folder / "ride";
    const std::size_t first = probe->renders.size();
    runJob();
    std::vector<Matrix> cameras;
    for (std::size_t i = first; i < probe->renders.size(); ++i)
      cameras.push_back(probe->renders[i].cameraMatrix);
    return cameras;
  }

  /// Gives the mono cameras. `parallel`: the eyes look the same way as the mono camera.
  std::vector<Matrix> expectEyesBesideTheMonoCamera(bool parallel = true) {
    const std::vector<Matrix> mono = camerasOf(false), eyes = camerasOf(true);
    EXPECT_EQ(mono.size(), 3u);
    EXPECT_EQ(eyes.size(), 6u);
    if (mono.size() != 3 || eyes.size() != 6) return mono;
    for (std::size_t frame = 0; frame < 3; ++frame) {
      SCOPED_TRACE(frame);
      const Matrix &left = eyes[2 * frame], &right = eyes[2 * frame + 1], &middle = mono[frame];
      const Vector side = middle.v1 * (SEPARATION * 0.5);
      expectNear(left.off, middle.off - side);
      expectNear(right.off, middle.off + side);
      if (!parallel) continue;
      for (const Matrix* eye : {&left, &right}) {
        expectNear(eye->v1, middle.v1);
        expectNear(eye->v2, middle.v2);
        expectNear(eye->v3, middle.v3);
      }
    }
    return mono;
  }
  static void expectNear(const Vector& seen, const Vector& expected) {
    EXPECT_NEAR(seen.x, expected.x, 1e-6);
    EXPECT_NEAR(seen.y, expected.y, 1e-6);
    EXPECT_NEAR(seen.z, expected.z, 1e-6);
  }

  static constexpr LONG FIRST = 30, STEP = 40;
  static constexpr Real SEPARATION = 0.2;
};

TEST_F(StereoAnimationTest, UnderAMovingParent) {
  BaseObject* rig = addObject(Onull, "Rig");
  drive(rig);
  addHero(rig);
  document->SetTime(BaseTime(7)); // the document's own time is outside of the animation
  const std::vector<Matrix> mono = expectEyesBesideTheMonoCamera();
  EXPECT_GT(mono[2].off.x - mono[0].off.x, 2.0) << "the camera rides with its parent";
  EXPECT_LT(Dot(mono[2].v3, mono[0].v3), 0.99) << "and turns with it";
}

TEST_F(StereoAnimationTest, WithTracksOfItsOwn) {
  drive(addHero(nullptr));
  document->SetTime(BaseTime(3));
  document->ExecutePasses(nullptr, TRUE, TRUE, FALSE, BUILDFLAGS_0);
  expectEyesBesideTheMonoCamera();
}

// The camera is aimed at the frame's time, then its eyes are put beside it and keep its direction.
TEST_F(StereoAnimationTest, AimedByATargetTagThatIsOffForTheEyes) {
  BaseObject* rig = addObject(Onull, "Rig");
  drive(rig);
  BaseObject* aim = addObject(Onull, "Aim");
  aim->SetMg(MatrixMove(Vector(0, 0, -9)));
  BaseTag* tag = addHero(rig)->MakeTag(Ttargetexpression);
  tag->SetParameter(EXPRESSION_ENABLE, GeData::FromBool(TRUE));
  tag->GetDataInstance()->SetLink(host::param::targetLink, aim);
  settings.SetValue(LM_STEREO_TAG_OFF, 1);
  expectEyesBesideTheMonoCamera();
  settings.SetValue(LM_STEREO_TAG_OFF, 0); // each eye is aimed by itself
  expectEyesBesideTheMonoCamera(false);
}

TEST_F(StereoAnimationTest, BothEyesSeeTheFramesTime) {
  drive(addObject(Onull, "Cart"));
  addHero(nullptr);
  std::vector<Real> carts;
  probe->during = [&](BaseDocument& clone, VideoPostStruct&) {
    carts.push_back(clone.SearchObject("Cart")->GetMg().off.x);
  };
  camerasOf(true);
  ASSERT_EQ(carts.size(), 6u);
  for (std::size_t i = 0; i < 6; ++i)
    EXPECT_NEAR(carts[i], (FIRST + STEP * static_cast<LONG>(i / 2)) / 30.0, 1e-6) << i;
}

// The demo's camera is the child of a turning rig.
TEST_F(StereoAnimationTest, InTheDemo) {
  host::LoadResult demo = host::loadDocument(Filename(LUMENARA_SOURCE_DIR) + "scenes" + "demo.glb");
  ASSERT_TRUE(demo.document) << demo.error;
  document = demo.document.release();
  host::setActiveDocument(document);
  addPost(PROBE_POST);
  document->GetActiveRenderData()->GetDataInstance()->SetLong(RDATA_MAXSAMPLES, 1);
  settings.SetValue(LM_OPT_LOD, 0.0);
  const std::vector<Matrix> mono = expectEyesBesideTheMonoCamera();
  ASSERT_EQ(mono.size(), 3u);
  const Vector way = mono[2].off - mono[0].off;
  EXPECT_GT(Dot(way, way), SEPARATION * SEPARATION / 16) << "the camera moves";
}

} // namespace
