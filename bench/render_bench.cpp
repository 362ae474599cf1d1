// Cost of a render: the first coarse picture, a break, a changed scene, samples and rays per second, and
// plain queries of the same rays for comparison. Prints tables. Without arguments it renders the demo scene
// and the shared scenes.
//
//   bench_render_bench [SCENE...] [--samples N] [--picture FILE.png]
//   bench_render_bench --generated TRIANGLES
//
// The second form makes a scene of one mesh and measures its loading, its first pictures and the memory.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "access.h"
#include "c4d.h"
#include "film.h"
#include "generated_scene.h"
#include "platform.h"
#include "program.h"
#include "ray_scene.h"
#include "render_settings.h"
#include "render_stats.h"
#include "sampler.h"
#include "scene_file.h"
#include "stopwatch.h"
#include "surface_point.h"
#include "worker_threads.h"

namespace {

using namespace host;
constexpr int width = 640, height = 480;

/// Seconds of processor time of all threads so far.
double processorSeconds() {
  return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values.empty() ? 0 : values[values.size() / 2];
}

/// A render on a thread of its own, as in the plug-in.
class RenderThread : public C4DThread {
 public:
  ~RenderThread() override { End(TRUE); }
  BaseDocument* document = nullptr;
  BaseContainer settings;
  BaseBitmap* bitmap = nullptr;
  RENDERRESULT result = RENDERRESULT_OK;
  RenderStats stats;
  std::atomic<bool> begun{false};

  void Main() override {
    result = RenderDocument(document, settings, progress, this, bitmap, RENDERFLAGS_SHOWERRORS, Get());
    stats = lastRenderStats();
  }
  const CHAR* GetThreadName() override { return reinterpret_cast<const CHAR*>("render bench"); }

 private:
  static void progress(Real, RENDERPROGRESSTYPE type, void* self) {
    if (type == RENDERPROGRESSTYPE_DURINGRENDERING) static_cast<RenderThread*>(self)->begun = true;
  }
};

RenderStats renderOnce(BaseDocument& document, const BaseContainer& settings, BaseBitmap& bitmap) {
  RenderThread thread;
  thread.document = &document;
  thread.settings = settings;
  thread.bitmap = &bitmap;
  thread.Start();
  thread.Wait(TRUE);
  return thread.stats;
}

/// Milliseconds from the request to end until the thread has ended. The request comes `delayMs` after the
/// start.
double breakAfter(BaseDocument& document, const BaseContainer& settings, BaseBitmap& bitmap, int delayMs) {
  RenderThread thread;
  thread.document = &document;
  thread.settings = settings;
  thread.bitmap = &bitmap;
  thread.Start();
  std::this_thread::sleep_for(std::chrono::milliseconds(delayMs));
  const Stopwatch sinceAsked;
  thread.End(TRUE);
  return sinceAsked.milliseconds();
}

struct RayList {
  std::vector<render::Ray> camera, scattered;
};

/// The camera's rays, with one diffuse bounce each.
RayList collectRays(const render::RayScene& scene, const render::RenderCamera& camera) {
  RayList list;
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      render::Sampler sampler(static_cast<unsigned>(x), static_cast<unsigned>(y), 0, 0);
      const render::Ray ray = camera.ray({static_cast<float>(x) + 0.5f, static_cast<float>(y) + 0.5f});
      list.camera.push_back(ray);
      const auto hit = scene.intersect(ray, render::anyMask, true);
      if (!hit) continue;
      const render::Surface s = render::surfaceAt(scene, ray, *hit, 0);
      const render::Vec3 d =
          render::Frame(s.normal).toWorld(render::squareToCosineHemisphere(sampler.next2()));
      list.scattered.push_back({render::offsetFrom(s, d), d});
    }
  return list;
}

/// Millions of rays per second in plain queries on all workers.
double plainRate(const render::RayScene& scene, const std::vector<render::Ray>& rays, bool coherent) {
  if (rays.empty()) return 0;
  std::atomic<std::size_t> next{0}, hits{0};
  const int rounds = 3;
  const Stopwatch watch;
  runOnWorkers(workerCount(), [&](int) {
    std::size_t found = 0;
    for (std::size_t block; (block = next.fetch_add(1024)) < rays.size() * rounds;)
      for (std::size_t i = block; i < std::min(block + 1024, rays.size() * rounds); ++i)
        found += scene.intersect(rays[i % rays.size()], render::anyMask, coherent).has_value();
    hits += found;
  });
  return static_cast<double>(rays.size()) * rounds / watch.milliseconds() / 1e3;
}

BaseObject* firstWithMesh(BaseObject* object) {
  for (; object; object = object->GetNext()) {
    if (object->GetType() == Opolygon) return object;
    if (BaseObject* found = firstWithMesh(object->GetDown())) return found;
  }
  return nullptr;
}

/// The measurements of one scene, each printed as a line.
class SceneBench {
 public:
  SceneBench(BaseDocument& document, int samples)
      : samples_(samples), settings_(document.GetActiveRenderData()->GetData()),
        bitmap_(BaseBitmap::Alloc()) {
    settings_.SetLong(RDATA_MAXSAMPLES, samples);
    settings_.SetReal(RDATA_NOISETHRESHOLD, 0);
    settings_.SetLong(host::render::spreadSetting, 1); // evenly
    quick_ = settings_;
    quick_.SetLong(RDATA_MAXSAMPLES, 1);
    bitmap_->Init(width, height);
    const Stopwatch cloning;
    clone_ = document.GetClone(COPYFLAGS_NO_ANIMATION);
    std::printf("  document clone %.2f ms\n", cloning.milliseconds());
  }
  ~SceneBench() {
    BaseBitmap::Free(bitmap_);
    BaseDocument::Free(clone_);
  }
  SceneBench(const SceneBench&) = delete;
  SceneBench& operator=(const SceneBench&) = delete;

  void firstPictures() {
    const double start = processorSeconds();
    const RenderStats cold = renderOnce(*clone_, quick_, *bitmap_);
    std::printf("  cold render of one sample: %.2f s of processor time\n", processorSeconds() - start);
    std::vector<double> first, build;
    for (int i = 0; i < 9; ++i) {
      const RenderStats s = renderOnce(*clone_, quick_, *bitmap_);
      first.push_back(s.firstPixelsMs);
      build.push_back(s.buildMs);
    }
    std::printf("  triangles %llu\n", static_cast<unsigned long long>(cold.triangles));
    std::printf("  first coarse picture: cold %.0f ms (build %.0f), warm median %.1f ms (build %.1f)\n",
                cold.firstPixelsMs, cold.buildMs, median(first), median(build));
  }

  void breaks() {
    double warm = 0, cold = 0;
    for (const int delay : {2, 10, 30, 60, 120, 200, 300})
      warm = std::max(warm, breakAfter(*clone_, settings_, *bitmap_, delay));
    freeRenderCaches();
    for (const int delay : {5, 40, 120, 250}) {
      cold = std::max(cold, breakAfter(*clone_, settings_, *bitmap_, delay));
      freeRenderCaches();
    }
    std::printf("  break to thread end: worst of 7 warm %.1f ms, worst of 4 cold %.1f ms\n", warm, cold);
  }

  void movedObject() {
    renderOnce(*clone_, quick_, *bitmap_);
    BaseObject* object = firstWithMesh(clone_->GetFirstObject());
    if (!object) return;
    Matrix m = object->GetMl();
    m.off.x += 0.001;
    object->SetMl(m);
    const RenderStats moved = renderOnce(*clone_, quick_, *bitmap_);
    std::printf("  one object moved: %u meshes built, %u reused, first coarse picture %.1f ms\n",
                moved.meshesBuilt, moved.meshesReused, moved.firstPixelsMs);
  }

  void fullPicture() {
    const Stopwatch watch;
    const std::clock_t cpuStart = std::clock();
    const RenderStats full = renderOnce(*clone_, settings_, *bitmap_);
    const double seconds = watch.milliseconds() / 1e3,
                 millions = static_cast<double>(full.cameraSamples) / 1e6;
    const double tracing = (full.renderMs - full.buildMs) / 1e3;
    // Processor time is more reliable than the wall clock on a busy machine.
    const double cpu = static_cast<double>(std::clock() - cpuStart) / CLOCKS_PER_SEC;
    std::printf(
        "  %d samples: %.2f s, %.3f s per million camera samples (%.3f by processor time), %.1f rays a "
        "sample\n",
        samples_, seconds, tracing / millions, cpu / workerCount() / millions,
        static_cast<double>(full.rays) / static_cast<double>(full.cameraSamples));
    plainQueries(static_cast<double>(full.rays) / tracing / 1e6);
  }

  void save(const std::string& picture) { bitmap_->Save(Filename(String(picture.c_str())), FILTER_PNG); }

 private:
  void plainQueries(double rate) const {
    const SnapshotPtr snapshot = takeSnapshot(*clone_, {});
    const auto scene = render::RayScene::build(snapshot, render::RenderSettings{}, workerCount(), {}).scene;
    const RayList rays =
        collectRays(*scene, render::RenderCamera(scene->snapshot().camera, width, height, 1));
    const double coherent = plainRate(*scene, rays.camera, true);
    const double scattered = plainRate(*scene, rays.scattered, false);
    std::printf(
        "  million rays a second: rendering %.2f; plain queries: camera %.2f, scattered %.2f; ratio to "
        "scattered %.2f\n",
        rate, coherent, scattered, scattered > 0 ? rate / scattered : 0);
  }

  const int samples_;
  BaseContainer settings_, quick_; // quick_: one sample a pixel
  BaseBitmap* bitmap_;
  BaseDocument* clone_ = nullptr;
};

void measure(const std::string& file, int samples, const std::string& picture) {
  const LoadResult loaded = loadDocument(Filename(String(file.c_str())));
  if (!loaded.document) {
    std::printf("%s: %s\n", file.c_str(), loaded.error.c_str());
    return;
  }
  std::printf("%s\n", std::filesystem::path(file).filename().c_str());
  SceneBench bench(*loaded.document, samples);
  bench.firstPictures();
  bench.breaks();
  bench.movedObject();
  bench.fullPicture();
  if (!picture.empty()) bench.save(picture);
  std::fflush(stdout);
}

void measureGenerated(std::size_t triangles) {
  const std::string file = GeneratedScene(triangles).write();
  const double start = processorSeconds();
  const LoadResult loaded = loadDocument(Filename(String(file.c_str())));
  std::printf("%s\n  loaded in %.3f s of processor time %s\n", file.c_str(), processorSeconds() - start,
              loaded.error.c_str());
  if (loaded.document) SceneBench(*loaded.document, 1).firstPictures();
  std::printf("  peak memory %.0f MB\n", static_cast<double>(platform::peakMemory()) / 1e6);
}

} // namespace

int main(int argc, char** argv) {
  std::vector<std::string> scenes;
  std::string picture;
  int samples = 16;
  std::size_t generated = 0;
  for (int i = 1; i < argc; ++i) {
    if (!std::strcmp(argv[i], "--samples") && i + 1 < argc)
      samples = std::max(1, std::atoi(argv[++i]));
    else if (!std::strcmp(argv[i], "--picture") && i + 1 < argc)
      picture = argv[++i];
    else if (!std::strcmp(argv[i], "--generated") && i + 1 < argc)
      generated = std::strtoull(argv[++i], nullptr, 10);
    else
      scenes.emplace_back(argv[i]);
  }
  if (scenes.empty() && generated == 0) {
    scenes.push_back(LUMENARA_SOURCE_DIR "/scenes/demo.glb");
    for (const char* name : {"WaterBottle", "MetalRoughSpheresNoTextures", "Lantern", "Suzanne"})
      scenes.push_back(std::string(LUMENARA_SCENES_DIR "/") + name + "/" + name + ".gltf");
  }
  ProgramOptions options;
  options.home = Filename(String((std::filesystem::temp_directory_path() / "lumenara-bench").c_str()));
  options.loadModules = false;
  Program program(options);
  for (const std::string& scene : scenes)
    measure(scene, samples, picture);
  if (generated > 0) measureGenerated(generated);
  return 0;
}
