// The capture of the host's own renders.
#include <gtest/gtest.h>

#include <filesystem>

#include "active_document.h"
#include "lm_postdata.h"
#include "running_state.h"
#include "scene_file.h"
#include "test_scenes.h"
#include "viewer_fixture.h"

namespace {

/// Calls a post directly, with the structures of the host.
class FakeRender : public Render {
 public:
  explicit FakeRender(BaseBitmap* picture) { bitmap_ = picture; }
};

class PostDataTest : public ViewerFixture {
 protected:
  void SetUp() override {
    ViewerFixture::SetUp();
    GeFCreateDirRec(dataFolder());
    fillBitmap(*picture, 8, 6, {10, 20, 30});
  }
  RENDERRESULT call(VIDEOPOSTCALL what, Bool open) {
    VideoPostStruct vps;
    vps.vp = what;
    vps.open = open;
    vps.render = &render;
    vps.error = &error;
    vps.thread = breaker.Get();
    return post.Execute(nullptr, &vps);
  }
  void openRender() { EXPECT_EQ(call(VIDEOPOSTCALL_RENDER, TRUE), RENDERRESULT_OK); }
  void closeFrame() { EXPECT_EQ(call(VIDEOPOSTCALL_FRAME, FALSE), RENDERRESULT_OK); }
  Filename file() const { return dataFolder() + "lastRender.tif"; }
  /// Whether something was saved since the last call.
  bool saved() {
    if (!GeFExist(file())) return false;
    GeFKill(file());
    return true;
  }

  class Breaker : public C4DThread {
   public:
    Bool TestDBreak() override { return broken; }
    void Main() override {}
    const CHAR* GetThreadName() override { return "breaker"; }
    Bool broken = FALSE;
  };

  AutoAlloc<BaseBitmap> picture;
  FakeRender render{picture};
  RENDERRESULT error = RENDERRESULT_OK;
  Breaker breaker;
  lmPostData post;
};

TEST_F(PostDataTest, EditorAndExternalRendersAreCaptured) {
  for (const CHECKISRUNNING state : {CHECKISRUNNING_EDITORRENDERING, CHECKISRUNNING_EXTERNALRENDERING}) {
    lmPostData another;
    const host::RunningScope running(state);
    openRender();
    closeFrame();
    AutoAlloc<BaseBitmap> loaded;
    ASSERT_EQ(loaded->Init(file()), IMAGERESULT_OK);
    EXPECT_TRUE(isFilled(*loaded, {10, 20, 30}));
    EXPECT_TRUE(saved());
  }
}

TEST_F(PostDataTest, OtherRendersAreNot) {
  openRender();
  closeFrame();
  EXPECT_FALSE(saved());
  const host::RunningScope running(CHECKISRUNNING_MATERIALPREVIEWRUNNING);
  openRender();
  closeFrame();
  EXPECT_FALSE(saved());
}

TEST_F(PostDataTest, OnceArmedItStaysSoUntilAMaterialPreview) {
  {
    const host::RunningScope running(CHECKISRUNNING_EDITORRENDERING);
    openRender();
  }
  closeFrame();
  EXPECT_TRUE(saved());
  openRender(); // neither runs
  closeFrame();
  EXPECT_TRUE(saved());
  {
    const host::RunningScope both(CHECKISRUNNING_EDITORRENDERING);
    const host::RunningScope running(CHECKISRUNNING_MATERIALPREVIEWRUNNING);
    openRender();
  }
  closeFrame();
  EXPECT_FALSE(saved());
}

TEST_F(PostDataTest, OnlyAnOpeningRenderCallWithoutErrorArms) {
  const host::RunningScope running(CHECKISRUNNING_EDITORRENDERING);
  call(VIDEOPOSTCALL_RENDER, FALSE);
  call(VIDEOPOSTCALL_FRAME, TRUE);
  call(VIDEOPOSTCALL_INNER, TRUE);
  error = RENDERRESULT_OUTOFMEMORY;
  openRender();
  error = RENDERRESULT_OK;
  breaker.broken = TRUE;
  openRender();
  breaker.broken = FALSE;
  closeFrame();
  EXPECT_FALSE(saved());
}

TEST_F(PostDataTest, OnlyAClosingFrameCallWithoutErrorSaves) {
  const host::RunningScope running(CHECKISRUNNING_EDITORRENDERING);
  openRender();
  for (const VIDEOPOSTCALL what : {VIDEOPOSTCALL_FRAMESEQUENCE, VIDEOPOSTCALL_SUBFRAME, VIDEOPOSTCALL_RENDER,
                                   VIDEOPOSTCALL_INNER, VIDEOPOSTCALL_TILE})
    call(what, FALSE);
  call(VIDEOPOSTCALL_FRAME, TRUE);
  EXPECT_FALSE(saved());
  error = RENDERRESULT_USERBREAK;
  closeFrame();
  error = RENDERRESULT_OK;
  breaker.broken = TRUE; // cancelled by the user
  closeFrame();
  EXPECT_FALSE(saved());
  breaker.broken = FALSE;
  closeFrame();
  EXPECT_TRUE(saved());
}

TEST_F(PostDataTest, AMissingFolderGoesUnnoticed) {
  std::filesystem::remove_all(dataFolder().GetString().GetUTF8());
  const host::RunningScope running(CHECKISRUNNING_EDITORRENDERING);
  openRender();
  closeFrame();
  EXPECT_FALSE(GeFExist(dataFolder(), TRUE));
  EXPECT_TRUE(ui.messages.empty()); // the host's console alone tells that the picture was not written
  ASSERT_EQ(console.size(), 1u);
  EXPECT_NE(console[0].find("lastRender.tif"), std::string::npos) << console[0];
}

TEST_F(PostDataTest, IsRegisteredHidden) {
  ASSERT_TRUE(startPlugin());
  const host::VideoPostEntry* entry = program().registry().findVideoPost(1021449);
  ASSERT_NE(entry, nullptr);
  EXPECT_EQ(entry->name, String("lmPostData"));
  EXPECT_EQ(entry->info, 0x20000002);
}

TEST_F(PostDataTest, ThePluginsOwnRendersAreNotCaptured) {
  ASSERT_TRUE(startPlugin());
  addPost(1021449);
  openEnabled();
  const host::RunningScope running(CHECKISRUNNING_EXTERNALRENDERING); // even while the host renders too
  click(1109);
  finishRender();
  ASSERT_EQ(renderCount(), 1u);
  EXPECT_TRUE(postDisabled(1021449));
  EXPECT_FALSE(saved());
}

class HostRenderTest : public PostDataTest {
 protected:
  void SetUp() override {
    PostDataTest::SetUp();
    ASSERT_TRUE(startPlugin());
    addPost(1021449);
  }
  /// A render of the host, of this size and colour.
  RENDERRESULT renderAs(CHECKISRUNNING state, const Rgb& color, BaseThread* breakTest = nullptr) {
    paintRenders(color);
    AutoAlloc<BaseBitmap> target;
    fillBitmap(*target, 20, 10, {0, 0, 0});
    BaseDocument* clone = document->GetClone(COPYFLAGS_0);
    const host::RunningScope running(state);
    const RENDERRESULT result = RenderDocument(clone, clone->GetActiveRenderData()->GetData(), nullptr,
                                               nullptr, target, RENDERFLAGS_EXTERNAL, breakTest);
    BaseDocument::Free(clone);
    return result;
  }
};

TEST_F(HostRenderTest, IsCapturedAndTakenIntoTheHistory) {
  ASSERT_EQ(renderAs(CHECKISRUNNING_EXTERNALRENDERING, {50, 60, 70}), RENDERRESULT_OK);
  openEnabled();
  choose(5015);
  EXPECT_EQ(historyNames(), (std::vector<std::string>{"lastRender[001].tif"}));
  AutoAlloc<BaseBitmap> loaded;
  ASSERT_EQ(loaded->Init(historyFolder() + "lastRender[001].tif"), IMAGERESULT_OK);
  EXPECT_EQ(loaded->GetBw(), 20);
  EXPECT_EQ(loaded->GetBh(), 10);
}

TEST_F(HostRenderTest, EachReplacesTheFileOfTheOneBefore) {
  for (const CHECKISRUNNING state : {CHECKISRUNNING_EDITORRENDERING, CHECKISRUNNING_EXTERNALRENDERING}) {
    ASSERT_EQ(renderAs(state, {50, 60, 70}), RENDERRESULT_OK);
    const std::string first = readText(file());
    ASSERT_FALSE(first.empty());
    ASSERT_EQ(renderAs(state, {70, 60, 50}), RENDERRESULT_OK);
    EXPECT_NE(readText(file()), first);
  }
}

// A render with a missing picture still counts as finished.
TEST_F(HostRenderTest, WithoutAMissingPictureIsCaptured) {
  host::LoadResult scene = host::loadDocument(folder.write("scene.gltf", testscene::WITH_A_MISSING_PICTURE));
  ASSERT_TRUE(scene.document) << scene.error;
  document = scene.document.release();
  host::setActiveDocument(document);
  addPost(PROBE_POST);
  addPost(1021449);
  touch(file()); // of an earlier render
  EXPECT_EQ(renderAs(CHECKISRUNNING_EXTERNALRENDERING, {50, 60, 70}), RENDERRESULT_ASSETMISSING);
  AutoAlloc<BaseBitmap> captured;
  ASSERT_EQ(captured->Init(file()), IMAGERESULT_OK);
  EXPECT_EQ(captured->GetBw(), 20);
}

// The post's data lives with its node: armed by one render, it stays armed for the document's next ones.
TEST_F(HostRenderTest, ArmsTheDocumentsLaterRenders) {
  AutoAlloc<BaseBitmap> target;
  fillBitmap(*target, 20, 10, {0, 0, 0});
  const auto captured = [&] {
    EXPECT_EQ(RenderDocument(document, document->GetActiveRenderData()->GetData(), nullptr, nullptr, target,
                             RENDERFLAGS_EXTERNAL, nullptr),
              RENDERRESULT_OK);
    return saved();
  };
  EXPECT_FALSE(captured());
  {
    const host::RunningScope running(CHECKISRUNNING_EDITORRENDERING);
    EXPECT_TRUE(captured());
  }
  EXPECT_TRUE(captured());
  {
    const host::RunningScope running(CHECKISRUNNING_MATERIALPREVIEWRUNNING);
    EXPECT_FALSE(captured());
  }
  EXPECT_FALSE(captured());
}

TEST_F(HostRenderTest, OfAMaterialIsNotCaptured) {
  ASSERT_EQ(renderAs(CHECKISRUNNING_MATERIALPREVIEWRUNNING, {50, 60, 70}), RENDERRESULT_OK);
  EXPECT_FALSE(saved());
}

TEST_F(HostRenderTest, ThatIsCancelledIsNotCaptured) {
  breaker.broken = TRUE;
  EXPECT_EQ(renderAs(CHECKISRUNNING_EXTERNALRENDERING, {50, 60, 70}, breaker.Get()), RENDERRESULT_USERBREAK);
  EXPECT_FALSE(saved());
}

} // namespace
