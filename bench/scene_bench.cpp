// Cost of documents: loading, cloning (the first step of every render), snapshots for the renderer, saving.
// Missing scenes are left out.
#include <benchmark/benchmark.h>

#include <filesystem>

#include "scene_file.h"
#include "snapshot.h"

namespace {

using host::DocumentPtr;

Filename spheres() {
  return Filename(LUMENARA_SCENES_DIR) + "MetalRoughSpheresNoTextures/MetalRoughSpheresNoTextures.gltf";
}

Filename demo() {
  return Filename(LUMENARA_SOURCE_DIR) + "scenes/demo.glb";
}

DocumentPtr loadOrSkip(benchmark::State& state, const Filename& file) {
  host::LoadResult result = host::loadDocument(file);
  if (!result.document) state.SkipWithError(result.error.c_str());
  return std::move(result.document);
}

void load(benchmark::State& state, Filename (*file)()) {
  for (auto _ : state)
    if (!loadOrSkip(state, file())) return;
}

void clone(benchmark::State& state, Filename (*file)()) {
  const DocumentPtr document = loadOrSkip(state, file());
  if (!document) return;
  for (auto _ : state)
    DocumentPtr(document->GetClone(COPYFLAGS_NO_ANIMATION));
  state.counters["objects"] = static_cast<double>(host::countScene(*document).objects);
}

void evaluateAndView(benchmark::State& state, Filename (*file)()) {
  const DocumentPtr document = loadOrSkip(state, file());
  if (!document) return;
  double seconds = 0;
  for (auto _ : state) {
    document->SetTime(BaseTime(seconds += 0.001));
    document->ExecutePasses(nullptr, TRUE, TRUE, FALSE, BUILDFLAGS_0);
    benchmark::DoNotOptimize(host::takeSnapshot(*document, {}));
  }
}

void save(benchmark::State& state, Filename (*file)()) {
  const DocumentPtr document = loadOrSkip(state, file());
  if (!document) return;
  for (auto _ : state)
    benchmark::DoNotOptimize(host::saveDocumentToMemory(*document, true));
}

BENCHMARK_CAPTURE(load, spheres, spheres)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(load, demo, demo)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(clone, spheres, spheres)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(clone, demo, demo)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(evaluateAndView, spheres, spheres)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(evaluateAndView, demo, demo)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(save, spheres, spheres)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(save, demo, demo)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
