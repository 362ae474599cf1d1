// A picture of 1280 x 720 through views, on two workers: a row at a time, as Studio and `lumenara render` do.
#include <benchmark/benchmark.h>

#include <cmath>
#include <memory>
#include <vector>

#include "display_transform.h"
#include "film.h"
#include "layer_rows.h"
#include "viewed_bitmap.h"
#include "worker_threads.h"

namespace {

constexpr LONG width = 1280, height = 720;

/// Smooth light of many colours with some noise, from 2^-9 to 2^2.
const BaseBitmap& picture() {
  static AutoAlloc<BaseBitmap> bitmap;
  if (bitmap->GetBw() == width) return *bitmap;
  bitmap->Init(width, height, 24);
  const auto film = std::make_shared<host::Film>(width, height);
  std::uint32_t noise = 1;
  for (LONG y = 0; y < height; ++y)
    for (LONG x = 0; x < width; ++x) {
      noise = noise * 1664525u + 1013904223u;
      const double light = std::exp2(-3.5 + 5 * std::sin(x * 0.006) * std::cos(y * 0.008)) *
                           (1 + 0.04 * static_cast<double>(noise >> 24) / 256);
      const float rgba[4] = {static_cast<float>(light),
                             static_cast<float>(light * (0.6 + 0.4 * std::sin(x * 0.01))),
                             static_cast<float>(light * (0.6 + 0.4 * std::cos(y * 0.01))), 1};
      film->setColor(x, y, rgba);
      bitmap->SetPixel(x, y, host::toDisplay(rgba[0]), host::toDisplay(rgba[1]), host::toDisplay(rgba[2]));
    }
  host::setFilm(*bitmap, film);
  return *bitmap;
}

/// The picture as it is shown already: its codes are read, not computed.
void showAgain(benchmark::State& state) {
  host::setWorkerCount(2);
  const host::ViewedRows rows(picture());
  const host::ViewTransform view;
  std::vector<unsigned char> codes(static_cast<std::size_t>(width) * height * 3);
  for (auto _ : state) {
    host::eachRow(height,
                  [&](int y) { rows.read(view, y, codes.data() + static_cast<std::size_t>(y) * width * 3); });
    benchmark::DoNotOptimize(codes.data());
  }
  host::setWorkerCount(0);
}

/// A render that goes on, as the Frame Buffer shows it: the film alone, read anew each time.
void showLive(benchmark::State& state) {
  host::setWorkerCount(2);
  const std::shared_ptr<host::Film> film = host::filmOf(picture());
  const host::ViewTransform view({"ACES SDR", 0.5});
  std::vector<unsigned char> codes(static_cast<std::size_t>(width) * height * 3);
  host::LayerRows rows(film, "");
  for (auto _ : state) {
    rows.keep();
    host::eachRow(height,
                  [&](int y) { rows.read(view, y, codes.data() + static_cast<std::size_t>(y) * width * 3); });
    benchmark::DoNotOptimize(codes.data());
  }
  host::setWorkerCount(0);
}

/// `kept`: the light was read before, as in a drag of the exposure.
void showFilm(benchmark::State& state, const char* name, bool kept) {
  host::setWorkerCount(2);
  const BaseBitmap& bitmap = picture();
  const host::ViewTransform warm({name}); // the table is made once in a program
  std::vector<unsigned char> codes(static_cast<std::size_t>(width) * height * 3);
  host::ViewedRows rows(bitmap);
  if (kept) rows.keepLight();
  double exposure = -1;
  for (auto _ : state) {
    exposure = exposure > 1 ? -1 : exposure + 0.01; // a drag
    const host::ViewTransform view({name, exposure});
    host::eachRow(height,
                  [&](int y) { rows.read(view, y, codes.data() + static_cast<std::size_t>(y) * width * 3); });
    benchmark::DoNotOptimize(codes.data());
  }
  host::setWorkerCount(0);
}

} // namespace

#define LUMENARA_VIEW(label, name, kept)                                                                     \
  BENCHMARK_CAPTURE(showFilm, label, name, kept)                                                             \
      ->Unit(benchmark::kMillisecond)                                                                        \
      ->UseRealTime()                                                                                        \
      ->MeasureProcessCPUTime()
LUMENARA_VIEW(sRGB, "sRGB", false);
LUMENARA_VIEW(aces, "ACES SDR", false);
LUMENARA_VIEW(sRGBDragged, "sRGB", true);
LUMENARA_VIEW(acesDragged, "ACES SDR", true);
LUMENARA_VIEW(filmicDragged, "Filmic", true);
BENCHMARK(showLive)->Unit(benchmark::kMillisecond)->UseRealTime()->MeasureProcessCPUTime();
BENCHMARK(showAgain)->Unit(benchmark::kMillisecond)->UseRealTime()->MeasureProcessCPUTime();
