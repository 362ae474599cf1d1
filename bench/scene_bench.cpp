// Cost of documents: loading, cloning (the first step of every render), snapshots for the renderer, saving.
// Missing scenes are left out.
#include <benchmark/benchmark.h>

#include <filesystem>

#include "generated_scene.h"
#include "platform.h"
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

// A .glb of one mesh; the argument is the number of its triangles. The memory is the most that this run of
// the program has held so far, so run one size alone for it.
void loadGenerated(benchmark::State& state) {
  const GeneratedScene scene(static_cast<std::size_t>(state.range(0)));
  const std::string file = scene.write();
  for (auto _ : state)
    if (!loadOrSkip(state, Filename(String(file)))) return;
  state.counters["triangles"] = static_cast<double>(scene.triangles());
  state.counters["peak_MB"] = static_cast<double>(host::platform::peakMemory()) / 1e6;
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
BENCHMARK(loadGenerated)->RangeMultiplier(10)->Range(10'000, 10'000'000)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(clone, spheres, spheres)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(clone, demo, demo)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(evaluateAndView, spheres, spheres)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(evaluateAndView, demo, demo)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(save, spheres, spheres)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(save, demo, demo)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
