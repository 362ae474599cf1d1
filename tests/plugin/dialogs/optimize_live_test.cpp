// The Optimizations dialog beside the open viewer: a change is stored by the viewer and rendered at once.
#include "dlg_optimize.h"
#include "lm_keys.h"
#include "viewer_fixture.h"

namespace {

class LiveOptimizeTest : public ViewerFixture {
 protected:
  void SetUp() override {
    ViewerFixture::SetUp();
    callAsPlugin([&] {
      ASSERT_TRUE(PluginMessage(C4DPL_INIT_SYS, nullptr));
      dialog = std::make_unique<DlgOptimize>();
      ASSERT_TRUE(dialog->Open(DLG_TYPE_ASYNC, ID_LUMENARA_OPTIMIZE));
    });
    runAll();
    openEnabled();
  }
  void TearDown() override {
    dialog->Close();
    dialog.reset();
    ViewerFixture::TearDown();
  }
  /// The number of renders that a user's action starts.
  std::size_t rendersOf(const std::function<void()>& user) {
    const std::size_t before = renderCount();
    user();
    runAll();
    finishRender();
    return renderCount() - before;
  }

  std::unique_ptr<DlgOptimize> dialog;
};

TEST_F(LiveOptimizeTest, AChangeRendersAtOnceWithAutomaticRefresh) {
  setOption(LM_AUTO_REFRESH, 1);
  EXPECT_EQ(rendersOf([&] { host::clickGadget(*dialog, 15014); }), 1u);
  EXPECT_EQ(storedOption(15014), 0);
  EXPECT_EQ(rendersOf([&] { host::chooseEntry(*dialog, 15008, 0); }), 1u);
  EXPECT_EQ(storedOption(15008), 0);
}

TEST_F(LiveOptimizeTest, WithoutItAChangeIsStoredOnly) {
  setOption(LM_AUTO_REFRESH, 0);
  EXPECT_EQ(rendersOf([&] { host::clickGadget(*dialog, 15014); }), 0u);
  EXPECT_EQ(storedOption(15014), 0);
}

TEST_F(LiveOptimizeTest, FractionsArriveInTheirScales) {
  setOption(LM_STEREO, 1);
  dialog->Close();
  callAsPlugin([&] { ASSERT_TRUE(dialog->Open(DLG_TYPE_ASYNC, ID_LUMENARA_OPTIMIZE)); });
  host::enterNumber(*dialog, 15043, 37);
  host::enterNumber(*dialog, 15045, -12.3);
  host::enterNumber(*dialog, 15055, 0.25);
  host::enterNumber(*dialog, 15040, 21);
  runAll();
  EXPECT_NEAR(viewer->settings.GetValue(15043, -1.0), 0.37, 1e-12);
  EXPECT_NEAR(viewer->settings.GetValue(15045, -1.0), -12.3, 1e-12);
  EXPECT_NEAR(viewer->settings.GetValue(15055, -1.0), 0.25, 1e-12);
  EXPECT_EQ(option(15040), 20);
}

TEST_F(LiveOptimizeTest, TheViewersValuesOutliveBothDialogs) {
  host::clickGadget(*dialog, 15048);
  host::clickGadget(*dialog, 15060);
  runAll();
  // The program's end: the dialog that was registered last goes first, with what it loaded at its opening.
  dialog->Close();
  dialog.reset();
  viewer->Close();
  viewer.reset();
  EXPECT_EQ(GetWorldPluginData(ID_LUMENARA)->GetLong(15048), 1);
  EXPECT_EQ(GetWorldPluginData(ID_LUMENARA)->GetLong(15060), 1);
  callAsPlugin([&] { dialog = std::make_unique<DlgOptimize>(); });
}

} // namespace
