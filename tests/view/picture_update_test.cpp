// Repaints of a view, and cancelled pictures.
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>

#include "picture_kit.h"

namespace {

using host::ViewDetail;
using host::ViewHit;
using host::ViewImage;
using host::ViewRay;

// A tracer that counts and can be blocked.
class GatedTracer final : public host::ViewTracer {
 public:
  struct Scene final : host::ViewScene {
    GatedTracer* owner;
    host::SnapshotPtr kept;
    Scene(GatedTracer* tracer, host::SnapshotPtr snapshot) : owner(tracer), kept(std::move(snapshot)) {}
    const host::Snapshot& snapshot() const override { return *kept; }
    void trace(std::span<const ViewRay> rays, std::span<ViewHit> hits) const override {
      owner->pass(static_cast<long>(rays.size()));
      std::fill(hits.begin(), hits.end(), ViewHit());
    }
  };

  host::ViewScenePtr prepare(const host::SnapshotPtr& snapshot, int, const std::function<bool()>&) override {
    ++prepared;
    return std::make_shared<Scene>(this, snapshot);
  }

  /// Lets this many rays through from now on; the others wait.
  void open(long count) {
    const std::lock_guard lock(mutex_);
    allowed_ = count;
    changed_.notify_all();
  }
  bool waitUntilBlocked() {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::seconds(20), [this] { return blocked_ > 0; });
  }

  std::atomic<int> prepared{0};
  std::atomic<long> rays{0};

 private:
  void pass(long count) {
    rays += count;
    std::unique_lock lock(mutex_);
    ++blocked_;
    if (allowed_ < count) changed_.notify_all();
    changed_.wait(lock, [&] { return allowed_ >= count; });
    --blocked_;
    allowed_ -= count;
  }
  std::mutex mutex_;
  std::condition_variable changed_;
  long allowed_ = 1L << 40;
  int blocked_ = 0;
};

using PictureUpdateTest = PictureTest;

TEST_F(PictureUpdateTest, AnOrbitBuildsNothingAndAnEditDoes) {
  GatedTracer tracer;
  services.tracer = &tracer;
  services.viewChanged = [] { EventAdd(); };
  BaseObject* box = addBox("box", {0, 0, 0});
  open(64, 48);
  finish();
  EXPECT_EQ(tracer.prepared, 1);
  view->mousePress(altMouse(10, 10));
  for (int i = 0; i < 20; ++i) {
    view->mouseMove(altMouse(10 + i, 12));
    runAll();
    finish();
  }
  view->mouseRelease(altMouse(29, 12));
  finish();
  EXPECT_EQ(tracer.prepared, 1) << "only the camera moved";
  box->SetMg(MatrixMove({1, 0, 0}));
  EventAdd();
  runAll();
  finish();
  EXPECT_EQ(tracer.prepared, 2);
  view.reset();
}

TEST_F(PictureUpdateTest, AnUnchangedPictureIsNotPaintedAgain) {
  GatedTracer tracer;
  services.tracer = &tracer;
  addBox("box", {0, 0, 0});
  open(64, 48);
  finish();
  const long pictures = view->stats().pictures, rays = tracer.rays;
  for (int i = 0; i < 5; ++i) {
    EventAdd();
    runAll();
    finish();
  }
  EXPECT_EQ(view->stats().pictures, pictures);
  EXPECT_EQ(tracer.rays, rays);
  document->GetFirstObject()->SetBit(BIT_ACTIVE);
  view->repaintSoon();
  finish();
  EXPECT_EQ(view->stats().pictures, pictures + 1) << "a new outline on the old pixels";
  EXPECT_EQ(tracer.rays, rays);
  view.reset();
}

TEST_F(PictureUpdateTest, ANewerCameraCancelsTheOlderPictureAfterItsFirstLevel) {
  GatedTracer tracer;
  services.tracer = &tracer;
  addBox("box", {0, 0, 0});
  constexpr int width = 900, height = 800; // enough for several levels
  tracer.open(width * height / 4);         // of which the first level needs a sixteenth
  open(width, height);
  runAll();
  ASSERT_TRUE(tracer.waitUntilBlocked());
  // Held up in a later level; what is there already is shown.
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (view->image().empty() && std::chrono::steady_clock::now() < deadline)
    host::mainLoop().waitAndRun(std::nullopt);
  EXPECT_EQ(view->detail(), ViewDetail::coarse);
  EXPECT_EQ(view->image().width, width);
  const long before = view->stats().finished;
  placeCamera({0, 1, 9});
  view->repaintSoon();
  runAll();
  tracer.open(1L << 40);
  finish();
  EXPECT_GE(view->stats().cancelled, 1);
  EXPECT_EQ(view->stats().finished, before + 1) << "the old one was never finished";
  EXPECT_EQ(view->detail(), ViewDetail::smooth);
  view.reset();
}

TEST_F(PictureUpdateTest, GoesAwayInTheMiddleOfAPicture) {
  GatedTracer tracer;
  services.tracer = &tracer;
  addBox("box", {0, 0, 0});
  tracer.open(900 * 800 / 4);
  open(900, 800);
  runAll();
  ASSERT_TRUE(tracer.waitUntilBlocked()); // the first level has been delivered, or waits to be
  const int before = presented;
  tracer.open(1L << 40);
  view.reset();
  runAll();
  EXPECT_EQ(presented, before) << "a late delivery finds nobody";
  EXPECT_EQ(GetActiveDocument(), document);
}

TEST_F(PictureUpdateTest, OfAClosedDocumentIsNotShown) {
  GatedTracer tracer;
  services.tracer = &tracer;
  addBox("box", {0, 0, 0});
  placeCamera({0, 1, 9}); // sees the ground; a new document's camera stands on it
  open(64, 48);
  finish();
  tracer.open(0);
  placeCamera({0, 2, 9});
  view->repaintSoon();
  runAll();
  ASSERT_TRUE(tracer.waitUntilBlocked()); // a picture is being painted
  const auto shown = view->image().pixels;
  presented = 0;
  newDocument();
  tracer.open(1L << 40);
  host::mainLoop().waitAndRun(std::nullopt); // it arrives
  EXPECT_EQ(presented, 0);
  EXPECT_TRUE(view->image().pixels == shown);
  finish();
  EXPECT_GT(presented, 0);
  EXPECT_TRUE(view->image().pixels != shown);
  view.reset();
}

TEST_F(PictureUpdateTest, WithoutATracerShowsTheGround) {
  services.tracer = nullptr;
  addBox("box", {0, 0, 0}, 2);
  placeCamera({0, 1, 9});
  open(64, 48);
  EXPECT_GT(colorsIn(finish()), 10u);
  EXPECT_EQ(view->objectAt(32, 24), nullptr);
}

} // namespace
