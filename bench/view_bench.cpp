// The editor view: pictures per second while the user orbits, and the load of the main thread. Arguments:
// width, height. A missing scene is skipped with an error line. LUMENARA_VIEW_PICTURE=FILE also writes the
// last, smooth picture.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <vector>

#include "active_document.h"
#include "c4d.h"
#include "editor_view.h"
#include "scene_file.h"
#include "view_tracer.h"

namespace {

using Steady = std::chrono::steady_clock;

Filename spheres() {
  return Filename(LUMENARA_SCENES_DIR) + "MetalRoughSpheresNoTextures/MetalRoughSpheresNoTextures.gltf";
}

Filename demo() {
  return Filename(LUMENARA_SOURCE_DIR) + "scenes/demo.glb";
}

double secondsSince(Steady::time_point start) {
  return std::chrono::duration<double>(Steady::now() - start).count();
}

void writePicture(const host::ViewImage& image) {
  const char* file = std::getenv("LUMENARA_VIEW_PICTURE");
  if (!file) return;
  BaseBitmap* bitmap = BaseBitmap::Alloc();
  if (bitmap && bitmap->Init(image.width, image.height, 24) == IMAGERESULT_OK) {
    for (int y = 0; y < image.height; ++y)
      for (int x = 0; x < image.width; ++x) {
        const std::uint32_t p = image.at(x, y);
        bitmap->SetPixel(x, y, p >> 16 & 255, p >> 8 & 255, p & 255);
      }
    bitmap->Save(Filename(file), FILTER_PNG, nullptr, SAVEBIT_0);
  }
  BaseBitmap::Free(bitmap);
}

/// A view of the active document that records when its pictures appear.
class OrbitedView {
 public:
  OrbitedView(int width, int height) : view_(services()) {
    view_.resize(width, height);
    view_.lookThrough(nullptr);
    view_.finishPicture(60000);
    view_.frameAll();
  }

  host::EditorView& view() { return view_; }

  /// Orbits for two seconds with 125 mouse events per second, whether pictures keep up or not.
  void orbit() {
    shown_ = 0, longest_ = 0;
    const auto start = Steady::now();
    host::ViewMouse mouse{300, 300, host::MouseButton::left, {}, false};
    mouse.keys.alt = true;
    view_.mousePress(mouse);
    for (int event = 1; event <= 250; ++event) {
      const auto next = start + std::chrono::milliseconds(8 * event);
      mouse.x = 300 + event, mouse.y = 300 + 20 * std::sin(event * 0.05);
      view_.mouseMove(mouse);
      for (host::mainLoop().runDue(); Steady::now() < next; host::mainLoop().runDue()) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(next - Steady::now()).count();
        host::mainLoop().waitAndRun(host::clock().now() + std::max<host::Milliseconds>(0, left));
      }
    }
    view_.mouseRelease(mouse);
  }

  double longestGap() const { return longest_; } // seconds between two pictures of the last orbit

 private:
  host::EditorViewServices services() {
    host::EditorViewServices services;
    services.tracer = &host::viewTracer();
    services.present = [this] {
      longest_ = std::max(longest_, shown_ ? secondsSince(last_) : 0);
      ++shown_;
      last_ = Steady::now();
    };
    services.viewChanged = [] { EventAdd(); };
    return services;
  }

  int shown_ = 0;
  double longest_ = 0;
  Steady::time_point last_;
  host::EditorView view_;
};

void selectInTheMiddle(host::EditorView& view) {
  if (BaseObject* object = view.objectAt(view.width() / 2, view.height() / 2)) object->SetBit(BIT_ACTIVE);
  view.repaintSoon();
  view.finishPicture();
}

// A view is the first picture of a new camera; its refinements do not count.
void orbitActive(benchmark::State& state) {
  OrbitedView orbited(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
  host::EditorView& view = orbited.view();
  if (!view.finishPicture(60000)) state.SkipWithError("The first picture did not come within a minute.");
  if (std::getenv("LUMENARA_VIEW_PICTURE")) selectInTheMiddle(view);
  double views = 0, seconds = 0, mainSeconds = 0, slowest = 0;
  for (auto _ : state) {
    const host::EditorView::Stats before = view.stats();
    const auto start = Steady::now();
    orbited.orbit();
    seconds += secondsSince(start);
    views += static_cast<double>(view.stats().views - before.views);
    slowest = std::max(slowest, orbited.longestGap());
    mainSeconds += view.stats().mainSeconds - before.mainSeconds;
  }
  state.counters["views_per_s"] = views / seconds;
  state.counters["worst_gap_ms"] = slowest * 1000;
  state.counters["main_ms_per_view"] = mainSeconds * 1000 / std::max(1.0, views);
  state.counters["main_percent"] = mainSeconds * 100 / seconds;
  const auto smooth = Steady::now();
  view.finishPicture(60000);
  state.counters["smooth_after_ms"] = secondsSince(smooth) * 1000;
  writePicture(view.image());
}

void orbit(benchmark::State& state, Filename (*file)()) {
  host::LoadResult loaded = host::loadDocument(file());
  if (!loaded.document) {
    state.SkipWithError(loaded.error.c_str());
    return;
  }
  host::setActiveDocument(loaded.document.release());
  orbitActive(state);
  host::setActiveDocument(nullptr);
}

// Time of an answer to a click.
void pick(benchmark::State& state, Filename (*file)()) {
  host::LoadResult loaded = host::loadDocument(file());
  if (!loaded.document) {
    state.SkipWithError(loaded.error.c_str());
    return;
  }
  host::setActiveDocument(loaded.document.release());
  {
    host::EditorViewServices services;
    services.tracer = &host::viewTracer();
    host::EditorView view(services);
    view.resize(960, 600);
    view.finishPicture(60000);
    double x = 0;
    for (auto _ : state)
      benchmark::DoNotOptimize(view.objectAt(x = std::fmod(x + 7.3, 960), 300));
  }
  host::setActiveDocument(nullptr);
}

BENCHMARK_CAPTURE(orbit, spheres, spheres)
    ->Args({960, 600})
    ->Args({1920, 1200})
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(orbit, demo, demo)
    ->Args({960, 600})
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(pick, spheres, spheres)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
