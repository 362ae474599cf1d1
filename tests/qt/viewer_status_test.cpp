// The status line during a render of the viewer: samples, noise, time left.
#include <QElapsedTimer>
#include <QLabel>
#include <QProgressBar>
#include <mutex>

#include "c4d_events.h"
#include "c4d_render.h"
#include "main_kit.h"
#include "render_notices.h"
#include "status_widget.h"

namespace {

class ViewerStatus : public StudioTest {
 protected:
  ViewerStatus() {
    startStudio();
    window().show();
    notice_.id = host::render::newRenderId();
    notice_.byPlugin = true;
    notice_.document = &document();
    notice_.settings = &settings_;
    notice_.bitmap = bitmap_;
  }
  ~ViewerStatus() override {
    host::render::tellRenderEnded(notice_);
    StatusClear();
    settle(); // what is posted must not wait for the next test
  }
  void begin(const char* text) {
    host::render::tellRenderStarted(notice_);
    StatusSetText(text);
    StatusSetSpin();
  }
  void progress(double part, double noise) {
    host::render::tellRenderProgressed({notice_.id, true, part, 64, noise});
  }
  void end() { host::render::tellRenderEnded(notice_); }
  QLabel& detail() { return *window().status().findChild<QLabel*>("status-detail"); }
  bool shows(const char* text) {
    return waitFor([&] { return detail().isVisible() && detail().text() == QLatin1String(text); });
  }

  BaseContainer settings_;
  AutoAlloc<BaseBitmap> bitmap_;
  host::render::RenderNotice notice_;
};

TEST_F(ViewerStatus, SaysSamplesNoiseAndTimeLeft) {
  begin("Rendering...");
  progress(0.125, -1);
  EXPECT_TRUE(shows("8 of 64 samples")) << detail().text().toStdString();
  EXPECT_NEAR(window().status().shown().progress, 0.125, 1e-9);
  progress(0.5, 0.0124);
  EXPECT_TRUE(shows("32 of 64 samples, noise 0.012")) << detail().text().toStdString();
  QElapsedTimer time;
  time.start();
  EXPECT_TRUE(waitFor([&] { // half a second must pass
    progress(std::min(0.9, 0.5 + static_cast<double>(time.elapsed()) / 12500), 0.0124);
    return window().status().shown().left >= 0;
  }));
  EXPECT_GT(window().findChild<QProgressBar*>("status-bar")->value(), 500);
  end();
  StatusClear();
  EXPECT_TRUE(waitFor([&] { return detail().isHidden(); }));
}

class Watcher final : public host::render::RenderWatcher {
 public:
  Watcher() { host::render::addRenderWatcher(this); }
  ~Watcher() { host::render::removeRenderWatcher(this); }
  void renderStarted(const host::render::RenderNotice&) override {}
  void renderEnded(const host::render::RenderNotice&) override {}
  void renderProgressed(const host::render::RenderProgress& progress) override {
    const std::lock_guard lock(mutex);
    if (progress.samples == samples) all.push_back(progress); // not of thumbnails
  }
  static constexpr LONG samples = 48; // of no other render
  std::mutex mutex;
  std::vector<host::render::RenderProgress> all;
};

TEST_F(ViewerStatus, ARenderMeasuresItsNoise) {
  openScene(smallScene());
  Watcher watcher;
  AutoAlloc<BaseBitmap> bitmap;
  ASSERT_EQ(bitmap->Init(48, 30), IMAGERESULT_OK);
  BaseContainer settings = document().GetActiveRenderData()->GetData();
  settings.SetLong(RDATA_MAXSAMPLES, Watcher::samples);
  settings.SetReal(RDATA_NOISETHRESHOLD, 0);
  ASSERT_EQ(RenderDocument(&document(), settings, nullptr, nullptr, bitmap, RENDERFLAGS_EXTERNAL, nullptr),
            RENDERRESULT_OK);
  const std::lock_guard lock(watcher.mutex);
  ASSERT_FALSE(watcher.all.empty());
  EXPECT_LT(watcher.all.front().noise, 0) << "not yet";
  EXPECT_EQ(watcher.all.back().part, 1);
  double first = -1;
  for (const host::render::RenderProgress& one : watcher.all)
    if (first < 0 && one.noise >= 0) first = one.noise;
  EXPECT_GT(first, 0);
  EXPECT_LT(watcher.all.back().noise, first) << "more samples, less noise";
}

TEST_F(ViewerStatus, AnimationsHaveNoTimeOfOnePicture) {
  begin("Name (3/10)");
  progress(0.5, -1);
  EXPECT_TRUE(shows("32 of 64 samples"));
  EXPECT_LT(window().status().shown().progress, 0);
  EXPECT_LT(window().status().shown().left, 0);
}

TEST_F(ViewerStatus, OwnRendersOfAPluginStatusStay) {
  begin("Working");
  StatusSetBar(40);
  progress(0.5, -1);
  EXPECT_TRUE(shows("32 of 64 samples"));
  EXPECT_NEAR(window().status().shown().progress, 0.4, 1e-9);
}

} // namespace
