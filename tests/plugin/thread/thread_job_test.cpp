// A job's clone: animation, posts, cameras, presets, and the order of the steps.
#include <gtest/gtest.h>

#include "document.h"
#include "node_state.h"
#include "thread_fixture.h"

namespace {

class JobTest : public ThreadFixture {
 protected:
  /// An object that tracks move by one metre a second along x.
  BaseObject* addMoving(const char* name, BaseObject* parent = nullptr) {
    BaseObject* object = addObject(Onull, name, parent);
    auto curve = std::make_shared<host::Curve>();
    curve->width = 3;
    curve->times = {0, 100};
    curve->values = {0, 0, 0, 100, 0, 0};
    host::ObjectState& state = *host::stateOf(object);
    state.pose.emplace();
    state.tracks =
        std::make_shared<host::Tracks>(host::Tracks{{host::TrackPath::translation, 0, std::move(curve)}});
    host::stateOf(document)->animationNames = {"go"};
    return object;
  }
  void setRegion() {
    thread.region = 1;
    thread.regionLeft = thread.regionTop = 0;
    thread.regionRight = thread.regionBottom = 1;
  }
};

// ---- The clone

// A clone with animation moves when its time is changed, one without stands where it was.
TEST_F(JobTest, OnlyAFullRenderThatAsksForItHasAnimation) {
  addMoving("Cart");
  Real moved = -1;
  probe->during = [&](BaseDocument& clone, VideoPostStruct&) {
    clone.SetTime(BaseTime(5));
    clone.ExecutePasses(nullptr, TRUE, TRUE, FALSE, BUILDFLAGS_0);
    moved = clone.SearchObject("Cart")->GetMg().off.x;
  };
  struct Case {
    LONG setting, region;
    Real x;
  };
  for (const Case& c : {Case{0, 0, 0}, {1, 0, 5}, {0, 1, 0}, {1, 1, 0}}) {
    SCOPED_TRACE(c.setting * 2 + c.region);
    settings.SetValue(LM_CLONE_ANIMATION, c.setting);
    thread.region = 0;
    if (c.region) setRegion();
    runJob();
    EXPECT_NEAR(moved, c.x, 1e-6);
  }
}

// The camera itself is cloned without animation; its parent moves it.
TEST_F(JobTest, AnAnimationFollowsTheCamerasParent) {
  BaseObject* dolly = addMoving("Dolly");
  BaseObject* camera = addObject(Ocamera, "Hero", dolly);
  camera->SetMg(MatrixMove(Vector(0, 2, 0)));
  document->GetRenderBaseDraw()->SetSceneCamera(camera);
  thread.animation = 1;
  thread.format = 7;
  thread.outputFile = folder / "ride";
  thread.frameFrom = 0;
  thread.frameTo = 60;
  thread.frameStep = 30;
  std::vector<Real> places;
  probe->during = [&](BaseDocument& clone, VideoPostStruct&) {
    places.push_back(clone.GetRenderBaseDraw()->GetSceneCamera(&clone)->GetMg().off.x);
  };
  runJob();
  ASSERT_EQ(places.size(), 3u);
  for (std::size_t i = 0; i < 3; ++i)
    EXPECT_NEAR(places[i], static_cast<Real>(i), 1e-6);
}

TEST_F(JobTest, ARegionAndAFrameAreRenderedAtTheDocumentsTime) {
  document->SetTime(BaseTime(7, 30));
  setRegion();
  runJob();
  EXPECT_EQ(given().GetTime(5017), BaseTime(7, 30));
  EXPECT_EQ(given().GetTime(5018), BaseTime(7, 30));
  EXPECT_EQ(probe->renders[0].documentTime, BaseTime(7, 30));
}

// ---- Video posts and settings

TEST_F(JobTest, OnlyTheFirstThirdPartyPostIsSwitchedOn) {
  BaseVideoPost* first = addPost(1021830);
  BaseVideoPost* second = BaseVideoPost::Alloc(1021830);
  document->GetActiveRenderData()->InsertVideoPostLast(second);
  for (BaseVideoPost* post : {first, second})
    post->SetBit(BIT_VPDISABLED);
  settings.SetValue(LM_OPT_15059, 1);
  std::vector<Bool> disabled;
  probe->during = [&](BaseDocument& clone, VideoPostStruct&) {
    for (BaseVideoPost* post = clone.GetActiveRenderData()->GetFirstVideoPost(); post;
         post = post->GetNext()) {
      if (post->GetType() == 1021830) disabled.push_back(post->GetBit(BIT_VPDISABLED) != 0);
    }
  };
  runJob();
  EXPECT_EQ(disabled, (std::vector<Bool>{FALSE, TRUE}));
}

TEST_F(JobTest, EveryPostOfATypeIsDisabled) {
  addPost(1000970);
  document->GetActiveRenderData()->InsertVideoPostLast(BaseVideoPost::Alloc(1000970));
  settings.SetValue(LM_OPT_15016, 0);
  LONG disabled = 0;
  probe->during = [&](BaseDocument& clone, VideoPostStruct&) {
    for (BaseVideoPost* post = clone.GetActiveRenderData()->GetFirstVideoPost(); post; post = post->GetNext())
      disabled += post->GetType() == 1000970 && post->GetBit(BIT_VPDISABLED);
  };
  runJob();
  EXPECT_EQ(disabled, 2);
}

TEST_F(JobTest, AnotherChoiceLeavesEveryPair) {
  const LONG cases[][3] = {
      {LM_OPT_15008, 6016, 6017}, {LM_OPT_15010, 6018, 6020}, {LM_OPT_15012, 6019, 6021}};
  for (const auto& [key, first, second] : cases) {
    for (const Bool on : {FALSE, TRUE}) {
      SCOPED_TRACE(std::to_string(key) + (on ? ", first on" : ", second on"));
      BaseContainer& data = *document->GetActiveRenderData()->GetDataInstance();
      data.SetBool(first, on);
      data.SetBool(second, !on);
      settings.SetValue(key, 3);
      runJob();
      EXPECT_EQ(given().GetBool(first, -1), on);
      EXPECT_EQ(given().GetBool(second, -1), !on);
    }
  }
}

// The thread's own presets differ from the stored defaults.
TEST_F(JobTest, PresetsOfAbsentKeys) {
  BaseObject* generator = addObject(Osds, "Smooth");
  BaseMaterial* material = addMaterial("Clay");
  material->SetParameter(2000, GeData::FromBool(TRUE));
  for (const LONG type : {1021096, 1000970, 1017325, 300001045, 1021830})
    addPost(type);
  addPost(1021830)->SetBit(BIT_VPDISABLED);
  BaseContainer& data = *document->GetActiveRenderData()->GetDataInstance();
  data.SetLong(5300, 0);
  for (const LONG id : {5604, 5069, 5052, 5064, 5079})
    data.SetBool(id, TRUE);
  settings.GetDataInstance()->FlushAll();
  bitmap->Clear(1, 2, 3);
  probe->during = [&](BaseDocument& clone, VideoPostStruct&) {
    EXPECT_FALSE(clone.SearchObject("Smooth")->GetDeformMode()); // 15019: 0
    GeData value;
    clone.SearchMaterial("Clay")->GetParameter(2000, value);
    EXPECT_TRUE(value.GetBool());
    expectPixel(*bitmap, 5, 5, 1, 2, 3); // 20049: 0
  };
  runJob();
  EXPECT_TRUE(generator->GetDeformMode());
  for (const LONG type : {1021096, 1000970, 1017325, 300001045})
    EXPECT_FALSE(postDisabled(type)) << type;
  EXPECT_TRUE(postDisabled(1021830));
  for (const auto& [id, on] :
       {std::pair<LONG, Bool>{6016, 1}, {6017, 1}, {6018, 1}, {6020, 0}, {6019, 1}, {6021, 0}})
    EXPECT_EQ(given().GetBool(id, -1), on) << id;
  for (const LONG id : {5604, 5069, 5052, 5064, 5079})
    EXPECT_TRUE(given().GetBool(id)) << id;
  EXPECT_EQ(given().GetLong(5070, -1), 0);
  EXPECT_EQ(given().GetLong(5300, -1), 0);
  EXPECT_EQ(probe->renders.size(), 1u); // no stereo
}

TEST_F(JobTest, TheActiveObjectSwitchChangesNothing) {
  document->GetActiveRenderData()->GetDataInstance()->SetBool(5021, TRUE);
  settings.SetValue(LM_OPT_15058, 1);
  runJob();
  EXPECT_FALSE(given().GetBool(5021, TRUE));
}

// ---- The camera

TEST_F(JobTest, TheCamerasCloneStandsAfterItWithoutItsChildren) {
  BaseObject* camera = addCamera("Side", Vector(3, 0, 0));
  addObject(Onull, "Microphone", camera);
  document->GetRenderBaseDraw()->SetSceneCamera(camera);
  host::DocumentState& state = *host::stateOf(document);
  state.activeView = host::addView(state); // another than the render view
  ASSERT_NE(document->GetActiveBaseDraw(), document->GetRenderBaseDraw());
  probe->during = [&](BaseDocument& clone, VideoPostStruct&) {
    BaseObject* copy = clone.GetRenderBaseDraw()->GetSceneCamera(&clone);
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy, clone.GetActiveBaseDraw()->GetSceneCamera(&clone));
    EXPECT_EQ(copy->GetDown(), nullptr);
    ASSERT_NE(copy->GetPred(), nullptr);
    EXPECT_EQ(copy->GetPred()->GetIdentity(), camera->GetIdentity());
    EXPECT_NE(copy->GetPred()->GetDown(), nullptr);
  };
  runJob();
  EXPECT_EQ(probe->renders.size(), 1u);
}

TEST_F(JobTest, ALinkToAMaterialIsIgnored) {
  BaseObject* scene = addCamera("Scene", Vector(3, 0, 0));
  document->GetRenderBaseDraw()->SetSceneCamera(scene);
  BaseContainer record;
  record.SetLink(LM_REGION_CAMERA, addMaterial("Clay"));
  document->GetDataInstance()->SetContainer(LM_REGION, record);
  runJob();
  EXPECT_EQ(probe->renders.at(0).cameraMatrix.off, Vector(3, 0, 0));
}

// ---- The steps

/// Records the calls of its steps with their arguments, and performs them.
class NotingThread final : public lmThread {
 public:
  void FindObjects(BaseDocument* doc, LONG keepObjects, LONG flag) override {
    steps.push_back("objects " + std::to_string(keepObjects) + " " + std::to_string(flag));
    document = doc;
    lmThread::FindObjects(doc, keepObjects, flag);
  }
  void FixMaterials(BaseDocument* doc) override {
    steps.emplace_back(doc == document ? "materials" : "materials of another document");
    lmThread::FixMaterials(doc);
  }
  void FixShaders(BaseDocument* doc) override {
    steps.emplace_back(doc == document ? "shaders" : "shaders of another document");
    lmThread::FixShaders(doc);
  }
  ~NotingThread() override { End(TRUE); }
  std::vector<std::string> steps;
  BaseDocument* document = nullptr;
};

TEST_F(JobTest, ObjectsThenMaterialsThenShaders) {
  NotingThread noting;
  noting.settings = &settings;
  noting.data = &status;
  noting.bitmap = bitmap;
  for (const LONG keep : {1, 0}) {
    settings.SetValue(LM_OPT_15019, keep);
    noting.steps.clear();
    ASSERT_TRUE(noting.Start());
    noting.Wait(TRUE);
    EXPECT_EQ(noting.steps,
              (std::vector<std::string>{"objects " + std::to_string(keep) + " 1", "materials", "shaders"}));
    EXPECT_NE(noting.document, document);
  }
}

} // namespace
