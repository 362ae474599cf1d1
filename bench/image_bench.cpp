// Pixels through the interface's calls, text in pictures and resampling, at 1920 x 1080.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdint>
#include <vector>

#include "display_transform.h"
#include "lm_thread.h"

namespace {

constexpr LONG width = 1920, height = 1080;

using Seconds = std::chrono::duration<double>;

double secondsSince(std::chrono::steady_clock::time_point start) {
  return Seconds(std::chrono::steady_clock::now() - start).count();
}

void fill(BaseBitmap& bitmap) {
  bitmap.Init(width, height, 24);
  for (LONG y = 0; y < height; ++y)
    for (LONG x = 0; x < width; ++x)
      bitmap.SetPixel(x, y, x & 255, y & 255, (x + y) & 255);
}

/// The conversion of every pixel before a stamp draws.
void copyThroughCalls(const BaseBitmap& bitmap, GeClipMap& map) {
  UWORD r, g, b;
  for (LONG y = 0; y < height; ++y)
    for (LONG x = 0; x < width; ++x) {
      bitmap.GetPixel(x, y, &r, &g, &b);
      map.SetPixelRGBA(x, y, r, g, b, 255);
    }
}

/// The conversion back, after it has drawn.
void copyBack(const GeClipMap& map, BaseBitmap& bitmap) {
  LONG r, g, b, a;
  for (LONG y = 0; y < height; ++y)
    for (LONG x = 0; x < width; ++x) {
      map.GetPixelRGBA(x, y, &r, &g, &b, &a);
      bitmap.SetPixel(x, y, r, g, b);
    }
}

void copyPlain(const std::vector<std::uint32_t>& from, std::vector<std::uint32_t>& to) {
  for (std::size_t i = 0; i < from.size(); ++i)
    to[i] = from[i] | 0xff000000u;
}

/// Both conversions, compared with the same two copies as plain loops over words; `ratio` is how many times
/// slower they are.
void stampCopy(benchmark::State& state) {
  AutoAlloc<BaseBitmap> bitmap;
  AutoAlloc<GeClipMap> map;
  fill(*bitmap);
  map->Init(width, height);
  map->BeginDraw();
  std::vector<std::uint32_t> from(static_cast<std::size_t>(width) * height), to(from.size());
  double calls = 0, plain = 0;
  for (auto _ : state) {
    const auto start = std::chrono::steady_clock::now();
    copyThroughCalls(*bitmap, *map);
    copyBack(*map, *bitmap);
    calls += secondsSince(start);
    state.PauseTiming();
    const auto again = std::chrono::steady_clock::now();
    copyPlain(from, to);
    benchmark::DoNotOptimize(to.data());
    copyPlain(to, from);
    benchmark::DoNotOptimize(from.data());
    plain += secondsSince(again);
    state.ResumeTiming();
  }
  state.counters["plain_ms"] = plain * 1000 / static_cast<double>(state.iterations());
  state.counters["ratio"] = calls / plain;
}
BENCHMARK(stampCopy)->Unit(benchmark::kMillisecond);

/// One line of text as stamps draw it: 35 passes.
void stampText(benchmark::State& state) {
  AutoAlloc<GeClipMap> map;
  map->Init(width, height);
  map->BeginDraw();
  map->SetDrawMode(GE_CM_DRAWMODE_BLEND, 255);
  const String text("12.345 seconds  03/07/2011  09:05:00");
  for (auto _ : state)
    for (LONG pass = 0; pass < 35; ++pass)
      map->TextAt(4 + pass % 5, 4 + pass / 5, text);
}
BENCHMARK(stampText)->Unit(benchmark::kMicrosecond);

/// The same arithmetic on words: the mean of each eye goes into red, and into green and blue.
void anaglyphPlain(const std::vector<std::uint32_t>& left, const std::vector<std::uint32_t>& right,
                   std::vector<std::uint32_t>& to) {
  const auto mean = [](std::uint32_t w) { return ((w >> 16 & 255) + (w >> 8 & 255) + (w & 255)) / 3; };
  for (std::size_t i = 0; i < to.size(); ++i)
    to[i] = 0xff000000u | mean(left[i]) << 16 | mean(right[i]) * 0x101u;
}

/// Composes the two eyes into one picture; `ratio` is how many times slower it is than plain loops over
/// words. The plain loops have the colours of red-cyan glasses built in, the plug-in takes any.
void anaglyph(benchmark::State& state) {
  AutoAlloc<BaseBitmap> left, right, both;
  fill(*left);
  fill(*right);
  fill(*both);
  std::vector<std::uint32_t> plainLeft(static_cast<std::size_t>(width) * height, 0x102030),
      plainRight(plainLeft), plainBoth(plainLeft);
  double calls = 0, plain = 0;
  for (auto _ : state) {
    const auto start = std::chrono::steady_clock::now();
    CombineEyes(left, right, LVector(1, 0, 0), LVector(0, 1, 1), state.range(0) != 0, 0, both);
    calls += secondsSince(start);
    state.PauseTiming();
    const auto again = std::chrono::steady_clock::now();
    anaglyphPlain(plainLeft, plainRight, plainBoth);
    benchmark::DoNotOptimize(plainBoth.data());
    plain += secondsSince(again);
    state.ResumeTiming();
  }
  state.counters["plain_ms"] = plain * 1000 / static_cast<double>(state.iterations());
  state.counters["ratio"] = calls / plain;
}
BENCHMARK(anaglyph)->ArgName("grey")->Arg(1)->Arg(0)->Unit(benchmark::kMillisecond);

void scaleDown(benchmark::State& state) {
  AutoAlloc<BaseBitmap> bitmap, target;
  fill(*bitmap);
  target->Init(640, 360, 24);
  for (auto _ : state)
    bitmap->ScaleIt(target, 256, state.range(0) != 0, FALSE);
}
BENCHMARK(scaleDown)->ArgName("filter")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

void displayTransform(benchmark::State& state) {
  std::vector<float> values(1u << 16);
  for (std::size_t i = 0; i < values.size(); ++i)
    values[i] = static_cast<float>(i * 2654435761u % 65536) / 60000.0f;
  for (auto _ : state) {
    unsigned sum = 0;
    for (const float value : values)
      sum += host::toDisplay(value);
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(values.size()));
}
BENCHMARK(displayTransform);

} // namespace
