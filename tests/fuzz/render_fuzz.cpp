// Renders every scene that loads: builds the ray structures and traces a few pixels, for a picture and for
// the editor view. Every pixel must be finite.
#include <cmath>
#include <vector>

#include "c4d.h"
#include "film.h"
#include "fuzz_support.h"
#include "gltf_mutator.h"
#include "render_snapshot.h"
#include "scene_cache.h"
#include "scene_file.h"
#include "view_tracer.h"
#include "worker_threads.h"

namespace {

constexpr int width = 4, height = 3;

using fuzz::require;

void render(const host::SnapshotPtr& snapshot) {
  host::render::RenderSettings settings;
  settings.region = {0, 0, width - 1, height - 1};
  settings.samples = 1;
  settings.noise = 0;
  settings.bounces = 3;
  settings.caustics = settings.ambientOcclusion = true;
  AutoAlloc<BaseBitmap> bitmap;
  bitmap->Init(width, height, 24);
  host::render::renderSnapshot({snapshot, settings, &*bitmap});
  const auto film = host::filmOf(*bitmap);
  require(film != nullptr, "a render keeps its film");
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      float color[4];
      film->getColor(x, y, color);
      require(std::isfinite(color[0] + color[1] + color[2] + color[3]), "every pixel is finite");
    }
}

void view(const host::SnapshotPtr& snapshot) {
  const auto scene = host::viewTracer().prepare(snapshot, 1, {});
  if (!scene) return;
  std::vector<host::ViewRay> rays;
  for (const float place : {0.0F, -3.0F, 1e9F, 1e12F, 1e19F, std::nanf("")})
    rays.push_back({{place, 0.3F, 5}, {0, 0, -1}, 0, 1e30F});
  std::vector<host::ViewHit> hits(rays.size());
  scene->trace(rays, hits);
}

} // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t mostBytes,
                                               unsigned seed) {
  return fuzz::mutateGltf(data, size, mostBytes, seed);
}

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  host::setWorkerCount(1);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  host::LoadOptions options;
  options.limits.elements = 20'000;
  const host::LoadResult result =
      host::loadDocumentFromMemory(std::as_bytes(std::span(data, size)), Filename(), options);
  if (!result.document) return 0;
  for (const double seconds : {0.0, 0.5}) {
    result.document->SetTime(BaseTime(seconds));
    result.document->ExecutePasses(nullptr, TRUE, TRUE, FALSE, BUILDFLAGS_0);
    host::SnapshotOptions snapshotOptions;
    snapshotOptions.lod = 0.2;
    const host::SnapshotPtr snapshot = host::takeSnapshot(*result.document, snapshotOptions);
    require(snapshot != nullptr, "a snapshot without a break exists");
    render(snapshot);
    if (seconds > 0) view(snapshot);
  }
  host::render::SceneCache::shared().clear();
  return 0;
}
