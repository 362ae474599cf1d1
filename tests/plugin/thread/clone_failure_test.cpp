// Jobs that lack the memory for a clone, of the document or of the camera.
#include <gtest/gtest.h>

#include "memory_shortage.h"
#include "node_state.h"
#include "thread_fixture.h"

namespace {

using CloneFailureTest = ThreadFixture;

TEST_F(CloneFailureTest, WithoutAClonedDocumentItStopsAndLeavesTheRecord) {
  for (const LONG animation : {0, 1}) {
    SCOPED_TRACE(animation);
    status.rendering = 7;
    status.result = 3;
    status.stampsPending = 5;
    thread.stop = 0;
    thread.animation = animation;
    bitmap->Clear(1, 2, 3);
    {
      const MemoryShortage shortage(sizeof(host::DocumentState));
      runJob();
      EXPECT_TRUE(MemoryShortage::hasFailed());
    }
    EXPECT_EQ(thread.stop, 1);
    EXPECT_EQ(status.rendering, 7);
    EXPECT_EQ(status.result, 3);
    EXPECT_EQ(status.stampsPending, 5);
    EXPECT_TRUE(probe->renders.empty());
    EXPECT_TRUE(messages().empty());
    expectPixel(*bitmap, 5, 5, 1, 2, 3);
  }
  thread.animation = 0;
  runJob();
  EXPECT_EQ(status.rendering, 0) << "the next job is as ever";
  EXPECT_EQ(probe->renders.size(), 1u);
}

/// Fails the allocation of the next object after the clone was simplified.
class ShortThread : public lmThread {
 public:
  ~ShortThread() override { End(TRUE); }
  void FixShaders(BaseDocument* doc) override {
    lmThread::FixShaders(doc);
    shortage = std::make_unique<MemoryShortage>(sizeof(host::ObjectState));
  }
  std::unique_ptr<MemoryShortage> shortage;
};

TEST_F(CloneFailureTest, WithoutAClonedCameraTheCameraItselfIsUsed) {
  BaseObject* camera = addCamera("Hero", Vector(1, 2, 3));
  document->GetRenderBaseDraw()->SetSceneCamera(camera);
  ShortThread job;
  job.settings = &settings;
  job.data = &status;
  job.bitmap = bitmap;
  const auto run = [&] {
    ASSERT_TRUE(job.Start());
    job.Wait(TRUE);
    EXPECT_TRUE(MemoryShortage::hasFailed());
    job.shortage.reset();
  };
  run();
  ASSERT_EQ(probe->renders.size(), 1u);
  EXPECT_EQ(probe->renders[0].cameraIdentity, camera->GetIdentity());
  EXPECT_EQ(status.result, RENDERRESULT_OK);
  EXPECT_EQ(status.rendering, 0);

  // In stereo it is the one that is moved, still in the clone of the document only.
  settings.SetValue(LM_STEREO, 1);
  settings.SetValue(LM_STEREO_SEPARATION, 0.2);
  run();
  ASSERT_EQ(probe->renders.size(), 3u);
  EXPECT_EQ(probe->renders[1].cameraIdentity, camera->GetIdentity());
  EXPECT_NEAR(probe->renders[1].cameraMatrix.off.x, 0.9, 1e-12);
  EXPECT_NEAR(probe->renders[2].cameraMatrix.off.x, 1.1, 1e-12);
  EXPECT_EQ(camera->GetMg().off, Vector(1, 2, 3));
}

// Wherever memory runs out during a clone, the clone is null and nothing leaks.
TEST_F(CloneFailureTest, AnyAllocationOfACloneMayFail) {
  BaseObject* parent = addObject(Onull, "parent");
  addObject(Ocamera, "child", parent)->MakeTag(Ttargetexpression);
  BaseMaterial* material = addMaterial("material");
  addShader(material, 0, Xfusion);
  linkCamera(parent);
  const auto failures = [](const auto& clone) {
    int count = 0;
    for (bool failed = true; failed; ++count) {
      decltype(clone()) copy = nullptr;
      {
        const MemoryShortage shortage(ANY_SIZE, count);
        copy = clone();
        failed = MemoryShortage::hasFailed();
      }
      EXPECT_EQ(copy == nullptr, failed) << count;
      if (copy) std::remove_pointer_t<decltype(copy)>::Free(copy);
    }
    return count;
  };
  EXPECT_GT(failures([&] { return document->GetClone(COPYFLAGS_0); }), 20);
  EXPECT_GT(failures([&] { return static_cast<BaseObject*>(parent->GetClone()); }), 5);
}

} // namespace
