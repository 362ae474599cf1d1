// RenderDocument: documents, progress, breaks, video posts, errors.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <mutex>
#include <utility>

#include "hardware_preview.h"
#include "host_fixture.h"
#include "running_state.h"
#include "scene_file.h"
#include "scene_kit.h"
#include "test_scenes.h"

using namespace host;

namespace {

struct Call {
  LONG vp;
  bool open;
  RENDERRESULT error;
};
std::mutex callsMutex;
std::vector<Call> calls;
int instances = 0, living = 0;
RENDERRESULT refusal = RENDERRESULT_OK;
BaseBitmap* seenBuffer = nullptr;

class RecordingPost : public VideoPostData {
 public:
  RecordingPost() { ++instances, ++living; }
  ~RecordingPost() override { --living; }
  static NodeData* Make() { return new RecordingPost; }
  RENDERRESULT Execute(BaseVideoPost*, VideoPostStruct* vps) override {
    const std::lock_guard lock(callsMutex);
    calls.push_back({vps->vp, vps->open != FALSE, *vps->error});
    seenBuffer = vps->render->GetBuffer(VPBUFFER_RGBA, -1);
    return vps->vp == VIDEOPOSTCALL_INNER && vps->open ? refusal : RENDERRESULT_OK;
  }
};

constexpr LONG postId = 1030001;

class DocumentTest : public HostFixture {
 protected:
  void SetUp() override {
    startHost();
    calls.clear();
    instances = living = 0;
    refusal = RENDERRESULT_OK;
    loaded = loadDocument(Filename(String(LUMENARA_SOURCE_DIR "/scenes/small.gltf")));
    ASSERT_TRUE(loaded.document) << loaded.error;
    settings = loaded.document->GetActiveRenderData()->GetData();
    settings.SetLong(RDATA_MAXSAMPLES, 2);
    bitmap.bitmap->Clear(0, 0, 0);
  }
  RENDERRESULT render(ProgressHook* hook = nullptr, void* data = nullptr, BaseThread* thread = nullptr) {
    return RenderDocument(loaded.document.get(), settings, hook, data, bitmap.bitmap, RENDERFLAGS_SHOWERRORS,
                          thread);
  }
  void addPost(LONG id, bool disabled = false) { addPostTo(*loaded.document, id, disabled); }
  static void addPostTo(BaseDocument& document, LONG id, bool disabled = false) {
    BaseVideoPost* post = BaseVideoPost::Alloc(id);
    ASSERT_NE(post, nullptr);
    if (disabled) post->SetBit(BIT_VPDISABLED);
    document.GetActiveRenderData()->InsertVideoPostLast(post);
  }

  LoadResult loaded;
  BaseContainer settings;
  kit::Bitmap bitmap{80, 60};
};

int litPixels(const BaseBitmap& bitmap) {
  int lit = 0;
  for (LONG y = 0; y < bitmap.GetBh(); ++y)
    for (LONG x = 0; x < bitmap.GetBw(); ++x) {
      UWORD r, g, b;
      bitmap.GetPixel(x, y, &r, &g, &b);
      lit += r + g + b > 0;
    }
  return lit;
}

TEST_F(DocumentTest, RendersAndCounts) {
  EXPECT_EQ(render(), RENDERRESULT_OK);
  EXPECT_GT(litPixels(*bitmap.bitmap), 80 * 60 / 2);
  const RenderStats stats = lastRenderStats();
  EXPECT_GE(stats.cameraSamples, 2u * 80 * 60);
  EXPECT_GE(stats.rays, stats.cameraSamples);
  EXPECT_GT(stats.triangles, 0u);
  EXPECT_GT(stats.firstPixelsMs, 0);
  EXPECT_GE(stats.renderMs, stats.firstPixelsMs);
}

TEST_F(DocumentTest, ACloneWithAMovedObjectBuildsNoMesh) {
  EXPECT_EQ(render(), RENDERRESULT_OK);
  DocumentPtr clone(loaded.document->GetClone(COPYFLAGS_NO_ANIMATION));
  BaseObject* object = clone->GetFirstObject();
  Matrix m = object->GetMl();
  m.off.x += 0.1;
  object->SetMl(m);
  EXPECT_EQ(RenderDocument(clone.get(), settings, nullptr, nullptr, bitmap.bitmap, RENDERFLAGS_0, nullptr),
            RENDERRESULT_OK);
  EXPECT_EQ(lastRenderStats().meshesBuilt, 0u);
  EXPECT_EQ(lastRenderStats().texturesDecoded, 0u);
}

TEST_F(DocumentTest, SetsTheTimeOfTheFrame) {
  settings.SetTime(RDATA_FRAMEFROM, BaseTime(12, 30));
  render();
  EXPECT_EQ(loaded.document->GetTime(), BaseTime(12, 30));
}

TEST_F(DocumentTest, FramesOfAStillSceneHaveNoiseOfTheirOwn) {
  DocumentPtr still(loaded.document->GetClone(COPYFLAGS_NO_ANIMATION));
  const auto pixelsAt = [&](int frame) {
    settings.SetTime(RDATA_FRAMEFROM, BaseTime(frame, loaded.document->GetFps()));
    EXPECT_EQ(RenderDocument(still.get(), settings, nullptr, nullptr, bitmap.bitmap, RENDERFLAGS_0, nullptr),
              RENDERRESULT_OK);
    std::vector<UWORD> pixels;
    for (LONG y = 0; y < bitmap.bitmap->GetBh(); ++y)
      for (LONG x = 0; x < bitmap.bitmap->GetBw(); ++x) {
        UWORD r, g, b;
        bitmap.bitmap->GetPixel(x, y, &r, &g, &b);
        pixels.push_back(r);
      }
    return pixels;
  };
  const std::vector<UWORD> first = pixelsAt(0), second = pixelsAt(1);
  EXPECT_NE(first, second);
  EXPECT_EQ(second, pixelsAt(1));
  EXPECT_EQ(first, pixelsAt(0));
}

TEST_F(DocumentTest, AnUnusableBitmapIsRefused) {
  EXPECT_EQ(RenderDocument(loaded.document.get(), settings, nullptr, nullptr, nullptr, RENDERFLAGS_SHOWERRORS,
                           nullptr),
            RENDERRESULT_OUTOFMEMORY);
  BaseBitmap* empty = BaseBitmap::Alloc();
  EXPECT_EQ(RenderDocument(loaded.document.get(), settings, nullptr, nullptr, empty, RENDERFLAGS_SHOWERRORS,
                           nullptr),
            RENDERRESULT_OUTOFMEMORY);
  BaseBitmap::Free(empty);
  EXPECT_EQ(
      RenderDocument(nullptr, settings, nullptr, nullptr, bitmap.bitmap, RENDERFLAGS_SHOWERRORS, nullptr),
      RENDERRESULT_OUTOFMEMORY);
  runAll();
  EXPECT_EQ(console.size(), 3u);
}

TEST_F(DocumentTest, AnEmptyRegionIsDoneAtOnce) {
  settings.SetBool(RDATA_RENDERREGION, TRUE);
  settings.SetLong(RDATA_RENDERREGION_LEFT, 500);
  settings.SetLong(RDATA_RENDERREGION_RIGHT, 600);
  settings.SetLong(RDATA_RENDERREGION_BOTTOM, 10);
  EXPECT_EQ(render(), RENDERRESULT_OK);
  EXPECT_EQ(litPixels(*bitmap.bitmap), 0);
}

struct Heard {
  std::vector<double> parts;
  std::vector<int> types;
  std::atomic<int> inside{0};
  bool overlapped = false;
  static void hook(Real part, RENDERPROGRESSTYPE type, void* self) {
    auto& h = *static_cast<Heard*>(self);
    h.overlapped = h.overlapped || ++h.inside > 1;
    h.parts.push_back(part);
    h.types.push_back(type);
    --h.inside;
  }
};

TEST_F(DocumentTest, ReportsProgress) {
  Heard heard;
  render(Heard::hook, &heard);
  ASSERT_GE(heard.parts.size(), 3u);
  EXPECT_EQ(heard.parts.front(), 0);
  EXPECT_EQ(heard.parts.back(), 1);
  EXPECT_TRUE(std::is_sorted(heard.parts.begin(), heard.parts.end()));
  EXPECT_TRUE(std::is_sorted(heard.types.begin(), heard.types.end()));
  EXPECT_EQ(heard.types.back(), RENDERPROGRESSTYPE_AFTERRENDERING);
  EXPECT_FALSE(heard.overlapped);
}

class StoppingThread : public C4DThread {
 public:
  ~StoppingThread() override { End(TRUE); }
  std::function<RENDERRESULT(BaseThread*)> work;
  RENDERRESULT result = RENDERRESULT_OK;
  std::atomic<bool> ask{false};
  void Main() override { result = work(Get()); }
  Bool TestDBreak() override { return ask; }
  const CHAR* GetThreadName() override { return reinterpret_cast<const CHAR*>("test"); }
};

TEST_F(DocumentTest, ABreakReturnsUserBreak) {
  settings.SetLong(RDATA_MAXSAMPLES, 100000);
  settings.SetReal(RDATA_NOISETHRESHOLD, 0);
  addPost(postId, false);
  ASSERT_TRUE(RegisterVideoPostPlugin(postId, "recorder", 0, RecordingPost::Make, "", 0, 0));
  StoppingThread thread;
  thread.work = [&](BaseThread* t) {
    return render(
        [](Real part, RENDERPROGRESSTYPE, void* self) { static_cast<StoppingThread*>(self)->ask = part > 0; },
        &thread, t);
  };
  ASSERT_TRUE(thread.Start());
  thread.Wait(TRUE);
  EXPECT_EQ(thread.result, RENDERRESULT_USERBREAK);
  ASSERT_FALSE(calls.empty());
  EXPECT_EQ(calls.back().vp, VIDEOPOSTCALL_FRAMESEQUENCE);
  EXPECT_FALSE(calls.back().open);
  EXPECT_EQ(calls.back().error, RENDERRESULT_USERBREAK);
}

TEST_F(DocumentTest, VideoPostsAreCalledInNestedOrder) {
  ASSERT_TRUE(RegisterVideoPostPlugin(postId, "recorder", 0, RecordingPost::Make, "", 0, 0));
  addPost(postId);
  EXPECT_EQ(render(), RENDERRESULT_OK);
  EXPECT_EQ(instances, 1);
  EXPECT_EQ(seenBuffer, bitmap.bitmap);
  std::vector<LONG> open;
  std::array<int, 7> count{};
  for (const Call& call : calls) {
    EXPECT_EQ(call.error, RENDERRESULT_OK);
    if (call.open) {
      EXPECT_EQ(call.vp, open.empty() ? 1 : open.back() + 1);
      open.push_back(call.vp);
      ++count[static_cast<std::size_t>(call.vp)];
    } else {
      ASSERT_FALSE(open.empty());
      EXPECT_EQ(call.vp, open.back());
      open.pop_back();
    }
  }
  EXPECT_TRUE(open.empty());
  for (std::size_t vp = 1; vp <= 5; ++vp)
    EXPECT_EQ(count[vp], 1) << vp;
  EXPECT_GE(count[6], 2);
}

// The memory of a post lasts as long as its node.
TEST_F(DocumentTest, APostsDataLivesWithItsNode) {
  ASSERT_TRUE(RegisterVideoPostPlugin(postId, "recorder", 0, RecordingPost::Make, "", 0, 0));
  addPost(postId);
  for (LONG frame = 0; frame < 3; ++frame) {
    settings.SetTime(RDATA_FRAMEFROM, BaseTime(frame, loaded.document->GetFps()));
    EXPECT_EQ(render(), RENDERRESULT_OK);
  }
  EXPECT_EQ(instances, 1);
  EXPECT_EQ(living, 1);
  const LoadResult first = std::exchange(loaded, {});
  {
    DocumentPtr clone(first.document->GetClone(COPYFLAGS_0));
    RenderDocument(clone.get(), settings, nullptr, nullptr, bitmap.bitmap, RENDERFLAGS_0, nullptr);
    EXPECT_EQ(instances, 2) << "a clone's node has its own";
    EXPECT_EQ(living, 2);
  }
  EXPECT_EQ(living, 1);
  addPostTo(*first.document, postId); // a second node
  RenderDocument(first.document.get(), settings, nullptr, nullptr, bitmap.bitmap, RENDERFLAGS_0, nullptr);
  EXPECT_EQ(instances, 3);
  BaseVideoPost* node = first.document->GetActiveRenderData()->GetFirstVideoPost();
  while (node->GetType() != postId)
    node = node->GetNext();
  node->Remove();
  BaseVideoPost::Free(node);
  EXPECT_EQ(living, 1);
}

// A completed render is not an error to a post, missing pictures or not.
TEST_F(DocumentTest, PostsSeeNoErrorForAMissingPicture) {
  folder.write("scene.gltf", testscene::WITH_A_MISSING_PICTURE);
  loaded = loadDocument(folder / "scene.gltf");
  ASSERT_TRUE(loaded.document) << loaded.error;
  ASSERT_TRUE(RegisterVideoPostPlugin(postId, "recorder", 0, RecordingPost::Make, "", 0, 0));
  addPost(postId);
  EXPECT_EQ(render(), RENDERRESULT_ASSETMISSING);
  ASSERT_FALSE(calls.empty());
  for (const Call& call : calls)
    EXPECT_EQ(call.error, RENDERRESULT_OK) << call.vp;
  refusal = RENDERRESULT_OUTOFMEMORY;
  EXPECT_EQ(render(), RENDERRESULT_OUTOFMEMORY);
}

std::vector<UWORD> pixelsOf(const BaseBitmap& bitmap) {
  std::vector<UWORD> pixels;
  for (LONG y = 0; y < bitmap.GetBh(); ++y)
    for (LONG x = 0; x < bitmap.GetBw(); ++x) {
      UWORD r, g, b;
      bitmap.GetPixel(x, y, &r, &g, &b);
      pixels.insert(pixels.end(), {r, g, b});
    }
  return pixels;
}

// Numbers that are kept without effect on the picture; the documentation names each.
TEST_F(DocumentTest, NumbersWithoutEffect) {
  const std::string text = readText(Filename(LUMENARA_SOURCE_DIR) + "docs" + "rendering.md");
  const std::size_t first = text.find("## Numbers without effect");
  ASSERT_NE(first, std::string::npos);
  const std::string list = text.substr(first, text.find("\n## ", first + 1) - first);
  for (const char* number :
       {"5016", "5018", "5052", "5076", "5079", "5200", "5202", "5604", "1017325", "1021830", "1003",
        "1004", "3804", "5612", "5629", "5699", "5700", "2005", "2006", "2011",    "2012"})
    EXPECT_NE(list.find(number), std::string::npos) << number;

  ASSERT_EQ(render(), RENDERRESULT_OK);
  const std::vector<UWORD> before = pixelsOf(*bitmap.bitmap);
  for (const LONG id : {5052, 5076, 5079, 5200, 5202, 5604})
    settings.SetBool(id, !settings.GetBool(id));
  settings.SetLong(RDATA_FRAMESEQUENCE, 1);
  settings.SetTime(RDATA_FRAMETO, BaseTime(77, 30));
  RenderData& data = *loaded.document->GetActiveRenderData();
  for (BaseVideoPost* post = data.GetFirstVideoPost(); post; post = post->GetNext())
    if (post->GetType() == VPglobalillumination) post->SetParameter(3804, GeData::FromBool(TRUE));
  addPost(VPhair);
  addPost(1021830);
  for (BaseVideoPost* post = data.GetFirstVideoPost(); post; post = post->GetNext())
    if (post->GetType() == 1021830)
      for (const LONG id : {1003, 1004})
        post->SetParameter(id, GeData::FromBool(TRUE));
  for (BaseObject* object = loaded.document->GetFirstObject(); object; object = object->GetNext())
    for (const LONG tag : {Tphong, Tprotection, Taligntopath, Taligntospline})
      object->MakeTag(tag);
  for (BaseMaterial* material = loaded.document->GetFirstMaterial(); material; material = material->GetNext())
    for (const LONG id : {2005, 2006, 2011, 2012})
      material->SetParameter(id, GeData::FromBool(TRUE));
  ASSERT_EQ(render(), RENDERRESULT_OK);
  EXPECT_EQ(pixelsOf(*bitmap.bitmap), before);
}

TEST_F(DocumentTest, DisabledPostsAndSwitchedOffEffectsAreNotCalled) {
  ASSERT_TRUE(RegisterVideoPostPlugin(postId, "recorder", 0, RecordingPost::Make, "", 0, 0));
  addPost(postId, true);
  render();
  EXPECT_TRUE(calls.empty());
  addPost(postId);
  settings.SetBool(RDATA_POSTEFFECTS_ENABLE, FALSE);
  render();
  EXPECT_TRUE(calls.empty());
}

TEST_F(DocumentTest, APostCanStopARender) {
  ASSERT_TRUE(RegisterVideoPostPlugin(postId, "recorder", 0, RecordingPost::Make, "", 0, 0));
  addPost(postId);
  refusal = RENDERRESULT_OUTOFMEMORY;
  EXPECT_EQ(render(), RENDERRESULT_OUTOFMEMORY);
  EXPECT_EQ(litPixels(*bitmap.bitmap), 0);
}

TEST_F(DocumentTest, IsNotARenderOfTheHost) {
  struct Seen {
    bool any = false;
  } seen;
  render(
      [](Real, RENDERPROGRESSTYPE, void* self) {
        for (const auto what : {CHECKISRUNNING_EDITORRENDERING, CHECKISRUNNING_EXTERNALRENDERING})
          static_cast<Seen*>(self)->any = static_cast<Seen*>(self)->any || CheckIsRunning(what);
      },
      &seen);
  EXPECT_FALSE(seen.any);
}

TEST_F(DocumentTest, TheHardwarePreviewFallsBack) {
  settings.SetLong(RDATA_RENDERENGINE, RDATA_RENDERENGINE_PREVIEWHARDWARE);
  render::allowHardwarePreview(false);
  EXPECT_EQ(render(), RENDERRESULT_OK);
  EXPECT_EQ(render(), RENDERRESULT_OK);
  render::allowHardwarePreview(true);
  runAll();
  EXPECT_EQ(std::count_if(console.begin(), console.end(),
                          [](const std::string& line) { return line.find("preview") != std::string::npos; }),
            1);
  EXPECT_GT(litPixels(*bitmap.bitmap), 0);
}

TEST_F(DocumentTest, AMissingPictureIsReported) {
  const std::string file = std::string(LUMENARA_SCENES_DIR) + "/Lantern/Lantern.gltf";
  if (!std::filesystem::exists(file)) GTEST_SKIP() << "the shared scenes are missing";
  LoadResult lantern = loadDocument(Filename(String(file.c_str())));
  ASSERT_TRUE(lantern.document);
  EXPECT_EQ(RenderDocument(lantern.document.get(), settings, nullptr, nullptr, bitmap.bitmap,
                           RENDERFLAGS_SHOWERRORS, nullptr),
            RENDERRESULT_ASSETMISSING);
  EXPECT_GT(litPixels(*bitmap.bitmap), 0);
  runAll();
  EXPECT_FALSE(console.empty());
}

TEST(Running, ScopesDeclareActivities) {
  EXPECT_FALSE(CheckIsRunning(CHECKISRUNNING_MATERIALPREVIEWRUNNING));
  {
    const RunningScope outer(CHECKISRUNNING_MATERIALPREVIEWRUNNING),
        inner(CHECKISRUNNING_MATERIALPREVIEWRUNNING);
    EXPECT_TRUE(CheckIsRunning(CHECKISRUNNING_MATERIALPREVIEWRUNNING));
    EXPECT_FALSE(CheckIsRunning(CHECKISRUNNING_EDITORRENDERING));
  }
  EXPECT_FALSE(CheckIsRunning(CHECKISRUNNING_MATERIALPREVIEWRUNNING));
  EXPECT_FALSE(CheckIsRunning(static_cast<CHECKISRUNNING>(99)));
}

TEST(Running, BackgroundRendersAreStoppedWithinTheTime) {
  EXPECT_TRUE(GeStopBackgroundThreads(0, 4));
  std::atomic<bool> asked{false}, begun{false};
  std::thread renders([&] {
    const BackgroundRender render([&] { asked = true; });
    begun = true;
    while (!asked)
      std::this_thread::yield();
  });
  while (!begun)
    std::this_thread::yield();
  EXPECT_TRUE(GeStopBackgroundThreads(5000, 4));
  EXPECT_TRUE(asked);
  renders.join();
  const BackgroundRender deaf([] {});
  EXPECT_FALSE(GeStopBackgroundThreads(20, 4));
}

} // namespace
