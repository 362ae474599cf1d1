// Work on a finished picture of 1920 x 1080, on two workers: the wipe, the light mix, the lens, scopes.
#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

#include "compare_view.h"
#include "desk_look.h"
#include "histogram.h"
#include "lens_effects.h"
#include "worker_threads.h"

namespace {

constexpr int width = 1920, height = 1080;

std::vector<float> someLight() {
  std::vector<float> light;
  for (int i = 0; i < 3 * width * height; ++i)
    light.push_back(static_cast<float>(1 + 0.9 * std::sin(0.001 * i)) * (i % 9001 == 0 ? 50.0f : 1.0f));
  return light;
}

void wipe(benchmark::State& state) {
  const host::PicturePixels a(width, height), b(width, height);
  host::PicturePixels out(width, height);
  double angle = 0;
  for (auto _ : state) {
    host::wipe(a.view(), b.view(), {0.5, 0.5, angle += 1}, out.target());
    benchmark::DoNotOptimize(out.pixels.data());
  }
}

void difference(benchmark::State& state) {
  host::setWorkerCount(2);
  const host::PicturePixels a(width, height), b(width, height);
  host::PicturePixels out(width, height);
  for (auto _ : state)
    host::difference(a.view(), b.view(), 4, out.target());
  host::setWorkerCount(0);
}

void mix(benchmark::State& state) {
  host::setWorkerCount(2);
  host::Film film(width, height);
  host::DeskLook look;
  for (const char* name : {"key", "rim", "fill", "sky"}) {
    film.addLayer(std::string("lightgroup_") + name, "RGB");
    look.mix.faders.push_back({name, 0.5});
  }
  std::vector<float> light = someLight();
  for (auto _ : state)
    host::applyDesk(look, film, light);
  host::setWorkerCount(0);
}

void lens(benchmark::State& state, bool bloom, bool glare) {
  host::setWorkerCount(2);
  host::LensSettings settings;
  settings.bloom = bloom;
  settings.glare = glare;
  std::vector<float> light = someLight();
  for (auto _ : state)
    host::applyLens(settings, width, height, light);
  host::setWorkerCount(0);
}

void histogram(benchmark::State& state, bool film) {
  host::ScopePixels pixels{width, height, {}, {}};
  if (film)
    pixels.light = someLight();
  else
    pixels.codes.resize(3 * pixels.count(), 77);
  for (auto _ : state)
    benchmark::DoNotOptimize(host::histogramOf(pixels).pixels);
}

} // namespace

BENCHMARK(wipe)->Unit(benchmark::kMillisecond);
BENCHMARK(difference)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime();
BENCHMARK(mix)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime();
BENCHMARK_CAPTURE(lens, bloom, true, false)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime();
BENCHMARK_CAPTURE(lens, glare, false, true)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime();
BENCHMARK_CAPTURE(histogram, view, false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(histogram, film, true)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
