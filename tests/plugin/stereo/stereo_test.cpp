// Stereo: the eyes' places, named cameras, tags, and the exact arithmetic of the anaglyph.
#include <gtest/gtest.h>

#include "thread_fixture.h"

namespace {

class StereoTest : public ThreadFixture {
 protected:
  void SetUp() override {
    ThreadFixture::SetUp();
    ASSERT_EQ(bitmap->Init(8, 6, 24), IMAGERESULT_OK);
    settings.SetValue(LM_STEREO, 1);
    settings.SetValue(LM_STEREO_SEPARATION, 0.2);
    camera = addCamera("Hero", Vector(1, 2, 3));
    // Looks along -X: its own X axis is the world's -Z.
    camera->SetMg(Matrix(Vector(1, 2, 3), Vector(0, 0, -1), Vector(0, 1, 0), Vector(1, 0, 0)));
    document->GetRenderBaseDraw()->SetSceneCamera(camera);
  }
  /// The combination of the two eyes' pictures.
  std::vector<LONG> combine(const Vector& left, const Vector& right) {
    const std::size_t first = probe->renders.size();
    probe->finished = [=](BaseBitmap& picture, std::size_t number) {
      const Vector& eye = number == first ? left : right;
      picture.Clear(static_cast<LONG>(eye.x), static_cast<LONG>(eye.y), static_cast<LONG>(eye.z));
    };
    runJob();
    EXPECT_EQ(probe->renders.size(), first + 2);
    UWORD r, g, b;
    bitmap->GetPixel(7, 5, &r, &g, &b);
    return {r, g, b};
  }

  BaseObject* camera = nullptr;
};

using Pixel = std::vector<LONG>;

TEST_F(StereoTest, NeedsItsSwitchAndASeparation) {
  settings.SetValue(LM_STEREO, 0);
  runJob();
  EXPECT_EQ(probe->renders.size(), 1u);
  settings.SetValue(LM_STEREO, 1);
  settings.SetValue(LM_STEREO_SEPARATION, 0.0);
  runJob();
  EXPECT_EQ(probe->renders.size(), 2u);
  settings.SetValue(LM_STEREO_SEPARATION, 0.2);
  settings.SetValue(LM_STEREO_SCALE, 0.0);
  runJob();
  EXPECT_EQ(probe->renders.size(), 3u);
  settings.SetValue(LM_STEREO_SCALE, 1.0);
  runJob();
  EXPECT_EQ(probe->renders.size(), 5u);
}

TEST_F(StereoTest, TheEyesStandHalfTheScaledSeparationAlongTheCamerasXAxis) {
  settings.SetValue(LM_STEREO_SCALE, 3.0);
  runJob();
  ASSERT_EQ(probe->renders.size(), 2u);
  const Vector left = probe->renders[0].cameraMatrix.off, right = probe->renders[1].cameraMatrix.off;
  EXPECT_NEAR(left.x, 1, 1e-12);
  EXPECT_NEAR(left.z, 3 + 0.3, 1e-12);
  EXPECT_NEAR(right.x, 1, 1e-12);
  EXPECT_NEAR(right.z, 3 - 0.3, 1e-12);
  EXPECT_EQ(probe->renders[0].cameraMatrix.v1, camera->GetMg().v1);
}

TEST_F(StereoTest, TheEditorCameraHasEyesToo) {
  document->GetRenderBaseDraw()->SetSceneCamera(nullptr);
  document->GetRenderBaseDraw()->GetEditorCamera()->SetMg(MatrixMove(Vector(0, 0, 5)));
  runJob();
  ASSERT_EQ(probe->renders.size(), 2u);
  EXPECT_NEAR(probe->renders[0].cameraMatrix.off.x, -0.1, 1e-12);
  EXPECT_NEAR(probe->renders[1].cameraMatrix.off.x, 0.1, 1e-12);
}

TEST_F(StereoTest, ARegionHasNoStereo) {
  thread.region = 1;
  thread.regionLeft = thread.regionTop = 0;
  thread.regionRight = thread.regionBottom = 3;
  runJob();
  EXPECT_EQ(probe->renders.size(), 1u);
}

TEST_F(StereoTest, NamedCamerasAreUsedAsTheyStand) {
  addCamera("L", Vector(-7, 0, 0));
  addCamera("R", Vector(8, 0, 0));
  settings.SetValue(LM_STEREO_LEFT_CAMERA, String("L"));
  settings.SetValue(LM_STEREO_RIGHT_CAMERA, String("R"));
  runJob();
  EXPECT_NEAR(probe->renders.at(0).cameraMatrix.off.x, 1, 1e-12); // not asked for
  settings.SetValue(LM_STEREO_NAMED_CAMERAS, 1);
  runJob();
  ASSERT_EQ(probe->renders.size(), 4u);
  EXPECT_EQ(probe->renders[2].cameraMatrix.off, Vector(-7, 0, 0));
  EXPECT_EQ(probe->renders[3].cameraMatrix.off, Vector(8, 0, 0));
}

TEST_F(StereoTest, ANamedPairThatIsNotTwoCamerasIsNotUsed) {
  addCamera("L", Vector(-7, 0, 0));
  addObject(Onull, "R");
  settings.SetValue(LM_STEREO_NAMED_CAMERAS, 1);
  settings.SetValue(LM_STEREO_LEFT_CAMERA, String("L"));
  for (const char* right : {"R", "nobody"}) {
    settings.SetValue(LM_STEREO_RIGHT_CAMERA, String(right));
    runJob();
    EXPECT_NEAR(probe->renders.back().cameraMatrix.off.z, 3 - 0.1, 1e-12) << right;
  }
}

TEST_F(StereoTest, ProtectionGoesAndAlignmentIsSwitchedOff) {
  camera->MakeTag(Tprotection);
  camera->MakeTag(Taligntopath)->SetParameter(EXPRESSION_ENABLE, GeData::FromBool(TRUE));
  camera->MakeTag(Taligntospline)->SetParameter(EXPRESSION_ENABLE, GeData::FromBool(TRUE));
  const auto check = [&](bool stereo) {
    probe->during = [stereo](BaseDocument& clone, VideoPostStruct&) {
      BaseObject* eye = clone.GetRenderBaseDraw()->GetSceneCamera(&clone);
      EXPECT_EQ(eye->GetTag(Tprotection) == nullptr, stereo);
      for (const LONG type : {Taligntopath, Taligntospline}) {
        GeData enabled;
        ASSERT_NE(eye->GetTag(type), nullptr);
        eye->GetTag(type)->GetParameter(EXPRESSION_ENABLE, enabled);
        EXPECT_EQ(enabled.GetBool() == 0, stereo);
      }
    };
    runJob();
  };
  check(true);
  settings.SetValue(LM_STEREO, 0);
  check(false);
  EXPECT_NE(camera->GetTag(Tprotection), nullptr);
}

TEST_F(StereoTest, TheTargetTagIsOffOnlyDuringTheEyesWhenAsked) {
  BaseTag* target = camera->MakeTag(Ttargetexpression);
  target->SetParameter(EXPRESSION_ENABLE, GeData::FromBool(TRUE));
  for (const bool off : {false, true}) {
    settings.SetValue(LM_STEREO_TAG_OFF, off);
    probe->during = [off](BaseDocument& clone, VideoPostStruct&) {
      GeData enabled;
      clone.GetRenderBaseDraw()
          ->GetSceneCamera(&clone)
          ->GetTag(Ttargetexpression)
          ->GetParameter(EXPRESSION_ENABLE, enabled);
      EXPECT_EQ(enabled.GetBool() == 0, off);
    };
    runJob();
  }
  GeData enabled;
  target->GetParameter(EXPRESSION_ENABLE, enabled);
  EXPECT_TRUE(enabled.GetBool());
}

TEST_F(StereoTest, RedAndCyanFromGreys) {
  EXPECT_EQ(combine(Vector(10, 20, 31), Vector(100, 110, 122)), (Pixel{20, 110, 110}));
}

TEST_F(StereoTest, TheGreySourceIsAChannelOrTheTruncatedMean) {
  const std::pair<LONG, Pixel> cases[] = {{0, {20, 110, 110}},
                                          {1, {10, 100, 100}},
                                          {2, {20, 110, 110}},
                                          {3, {32, 122, 122}},
                                          {7, {20, 110, 110}}};
  for (const auto& [source, pixel] : cases) {
    settings.SetValue(LM_STEREO_GREY_SOURCE, source);
    EXPECT_EQ(combine(Vector(10, 20, 32), Vector(100, 110, 122)), pixel) << source; // means 20.67 and 110.67
  }
}

TEST_F(StereoTest, WithoutGreyTheChannelsStay) {
  settings.SetValue(LM_STEREO_GREY, 0);
  EXPECT_EQ(combine(Vector(10, 20, 30), Vector(100, 110, 120)), (Pixel{10, 110, 120}));
}

TEST_F(StereoTest, FactorsAreFlooredAddedAndCut) {
  settings.SetValue(LM_STEREO_GREY, 0);
  settings.SetValue(LM_ANAGLYPH_LEFT, LVector(0.5, 0.33, 1));
  settings.SetValue(LM_ANAGLYPH_RIGHT, LVector(0.5, 0.33, 1));
  // 5.5 and 50.5; 6.6 and 36.63; 200 + 100.
  EXPECT_EQ(combine(Vector(11, 20, 200), Vector(101, 111, 100)), (Pixel{55, 42, 255}));
}

TEST_F(StereoTest, ANegativeFactorWrapsAndCutsTo255) {
  settings.SetValue(LM_STEREO_GREY, 0);
  settings.SetValue(LM_ANAGLYPH_LEFT, LVector(-1, -0.001, 0));
  settings.SetValue(LM_ANAGLYPH_RIGHT, LVector(0, 0, 0));
  EXPECT_EQ(combine(Vector(1, 1, 1), Vector(0, 0, 0)), (Pixel{255, 255, 0}));
  EXPECT_EQ(combine(Vector(0, 0, 0), Vector(0, 0, 0)), (Pixel{0, 0, 0}));
}

TEST_F(StereoTest, TheResultIsTheRightEyes) {
  probe->during = [&](BaseDocument&, VideoPostStruct& call) {
    if (probe->renders.size() == 1) *call.error = RENDERRESULT_ASSETMISSING;
  };
  runJob();
  EXPECT_EQ(status.result, RENDERRESULT_OK);
  probe->during = [&](BaseDocument&, VideoPostStruct& call) {
    if (probe->renders.size() == 4) *call.error = RENDERRESULT_ASSETMISSING;
  };
  runJob();
  EXPECT_EQ(status.result, RENDERRESULT_ASSETMISSING);
}

TEST_F(StereoTest, AnAnimationHasTwoEyesAFrame) {
  thread.animation = 1;
  thread.format = 7;
  thread.frameFrom = 0;
  thread.frameTo = 2;
  thread.outputFile = folder / "eye";
  runJob();
  EXPECT_EQ(probe->renders.size(), 6u);
  EXPECT_TRUE(GeFExist(folder / "eye0002.tif"));
}

// Every frame of an animation is the combination of its own two eyes.
TEST_F(StereoTest, EachFrameIsItsOwnEyes) {
  thread.animation = 1;
  thread.format = 6;
  thread.frameFrom = 3;
  thread.frameTo = 5;
  thread.outputFile = folder / "eye";
  probe->finished = [](BaseBitmap& picture, std::size_t number) {
    const LONG grey = 10 + 20 * static_cast<LONG>(number);
    picture.Clear(grey, grey, grey);
  };
  runJob();
  for (LONG i = 0; i < 3; ++i) {
    AutoAlloc<BaseBitmap> saved;
    ASSERT_EQ(saved->Init(FileFromFrameOut(folder / "eye.bmp", 3 + i, 4)), IMAGERESULT_OK);
    expectPixel(*saved, 7, 5, 10 + 40 * i, 30 + 40 * i, 30 + 40 * i);
  }
}

TEST_F(StereoTest, ADeepBitmapKeepsItsAlpha) {
  ASSERT_EQ(bitmap->Init(8, 6, 32), IMAGERESULT_OK);
  EXPECT_EQ(combine(Vector(10, 20, 31), Vector(100, 110, 122)), (Pixel{20, 110, 110}));
  EXPECT_EQ(bitmap->GetBt(), 32);
}

// The tag's own value is restored after each frame.
TEST_F(StereoTest, TheTargetTagComesBackAfterEveryFrame) {
  for (const Bool own : {TRUE, FALSE}) {
    SCOPED_TRACE(own);
    if (!camera->GetTag(Ttargetexpression)) camera->MakeTag(Ttargetexpression);
    camera->GetTag(Ttargetexpression)->SetParameter(EXPRESSION_ENABLE, GeData::FromBool(own));
    thread.animation = 1;
    thread.format = 7;
    thread.frameFrom = 0;
    thread.frameTo = 1;
    thread.outputFile = folder / "eye";
    settings.SetValue(LM_STEREO_TAG_OFF, 1);
    const std::size_t first = probe->renders.size();
    std::vector<Bool> seen;
    probe->during = [&](BaseDocument& clone, VideoPostStruct&) {
      GeData enabled;
      clone.GetRenderBaseDraw()
          ->GetSceneCamera(&clone)
          ->GetTag(Ttargetexpression)
          ->GetParameter(EXPRESSION_ENABLE, enabled);
      seen.push_back(enabled.GetBool() != 0);
      if (probe->renders.size() == first + 2) settings.SetValue(LM_STEREO_TAG_OFF, 0);
    };
    runJob();
    EXPECT_EQ(seen, (std::vector<Bool>{FALSE, FALSE, own, own}));
  }
}

TEST_F(StereoTest, ANegativeSeparationSwapsTheEyes) {
  settings.SetValue(LM_STEREO_SEPARATION, -0.2);
  runJob();
  ASSERT_EQ(probe->renders.size(), 2u);
  EXPECT_NEAR(probe->renders[0].cameraMatrix.off.z, 3 - 0.1, 1e-12);
  EXPECT_NEAR(probe->renders[1].cameraMatrix.off.z, 3 + 0.1, 1e-12);
}

TEST_F(StereoTest, EveryFrameStartsFromTheKeptMatrix) {
  thread.animation = 1;
  thread.format = 7;
  thread.frameFrom = 0;
  thread.frameTo = 4;
  thread.outputFile = folder / "eye";
  runJob();
  ASSERT_EQ(probe->renders.size(), 10u);
  for (std::size_t i = 0; i < 10; ++i)
    EXPECT_NEAR(probe->renders[i].cameraMatrix.off.z, i % 2 ? 3 - 0.1 : 3 + 0.1, 1e-12) << i;
}

} // namespace
