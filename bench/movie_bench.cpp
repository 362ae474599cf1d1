// Time and bytes per animation frame of 1920 x 1080 in each format, and the share of the encoding that
// overlaps the rendering of the next frame.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <ctime>
#include <filesystem>
#include <string>
#include <vector>

#include "c4d_bitmap.h"
#include "movie_options.h"
#include "platform.h"

namespace {

constexpr LONG width = 1920, height = 1080, frameCount = 24, overlapRounds = 8;

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

// A ball that moves over a softly lit floor, with the noise of a render of few samples.
void paint(BaseBitmap& bitmap, int frame) {
  const double centreX = 300 + 60 * frame, centreY = 540, radius = 220;
  unsigned seed = 77u + static_cast<unsigned>(frame);
  for (LONG y = 0; y < height; ++y)
    for (LONG x = 0; x < width; ++x) {
      seed = seed * 1664525u + 1013904223u;
      const double grain = static_cast<double>(seed >> 24) / 64 - 2;
      const double distance = std::hypot(x - centreX, y - centreY) / radius;
      const double floor = 90 + 60 * std::sin(0.004 * y) + (((x / 120) ^ (y / 120)) & 1 ? 25 : 0);
      const double light = distance < 1 ? 60 + 180 * std::sqrt(1 - distance * distance) : floor;
      const auto code = [&](double tint) {
        return static_cast<LONG>(std::clamp(light * tint + grain, 0.0, 255.0));
      };
      bitmap.SetPixel(x, y, code(1), code(distance < 1 ? 0.5 : 0.95), code(distance < 1 ? 0.3 : 0.85));
    }
}

// Painted once. The bitmaps live until the program ends.
std::vector<BaseBitmap*>& frames() {
  static std::vector<BaseBitmap*> painted = [] {
    std::vector<BaseBitmap*> made;
    for (int frame = 0; frame < frameCount; ++frame) {
      made.push_back(BaseBitmap::Alloc());
      made.back()->Init(width, height);
      paint(*made.back(), frame);
    }
    return made;
  }();
  return painted;
}

std::string scratchFile() {
  return (std::filesystem::temp_directory_path() /
          ("movie_bench." + std::to_string(host::platform::processNumber())))
      .string();
}

// Simulates a renderer that keeps one processor busy.
void renderFor(double seconds) {
  for (const Clock::time_point start = Clock::now(); secondsSince(start) < seconds;)
    benchmark::ClobberMemory();
}

/// Writes a movie that shows the frames `rounds` times. Returns its seconds; `waited` receives the seconds
/// that the caller spent in the saver.
double writeMovie(LONG format, LONG codec, int rounds, double rendering, double& waited,
                  benchmark::State& state) {
  BaseContainer options;
  options.SetLong(host::movieCodecKey, codec);
  AutoAlloc<MovieSaver> saver;
  const Clock::time_point start = Clock::now();
  bool good =
      saver->Open(scratchFile().c_str(), frames()[0], 25, format, &options, SAVEBIT_0) == IMAGERESULT_OK;
  waited = 0;
  for (int i = 0; i < rounds * frameCount; ++i) {
    renderFor(rendering);
    const Clock::time_point call = Clock::now();
    good = saver->Write(frames()[static_cast<std::size_t>(i % frameCount)]) == IMAGERESULT_OK && good;
    waited += secondsSince(call);
  }
  const Clock::time_point call = Clock::now();
  if (!saver->Close() || !good) state.SkipWithError("the movie was not written");
  waited += secondsSince(call);
  return secondsSince(start);
}

void movie(benchmark::State& state, LONG format, LONG codec) {
  frames();
  double total = 0, waited = 0;
  const std::clock_t before = std::clock(); // of all threads
  for (auto _ : state) {
    const double seconds = writeMovie(format, codec, 1, 0, waited, state);
    state.SetIterationTime(seconds);
    total += seconds;
  }
  const double scale = 1000 / static_cast<double>(state.iterations()) / frameCount;
  state.counters["ms_per_frame"] = total * scale;
  state.counters["cpu_ms_per_frame"] = static_cast<double>(std::clock() - before) / CLOCKS_PER_SEC * scale;
  state.counters["kB_per_frame"] =
      static_cast<double>(std::filesystem::file_size(scratchFile())) / 1000 / frameCount;
  std::filesystem::remove(scratchFile());
}

/// Frames that take 100 ms to render: the extra time per frame, and the time of encoding alone. Where the
/// first is well below the second, encoding overlaps rendering. The movie is longer than the look-ahead of
/// the encoders, whose frames are encoded at the end only.
void overlap(benchmark::State& state, LONG format, LONG codec) {
  frames();
  double waited = 0, alone = 0, beside = 0;
  for (auto _ : state) {
    alone += writeMovie(format, codec, overlapRounds, 0, waited, state);
    const double seconds = writeMovie(format, codec, overlapRounds, 0.1, waited, state);
    beside += seconds;
    state.SetIterationTime(seconds);
  }
  const double scale = 1000 / static_cast<double>(state.iterations()) / (overlapRounds * frameCount);
  state.counters["encode_ms"] = alone * scale;
  state.counters["added_ms"] = beside * scale - 100;
  std::filesystem::remove(scratchFile());
}

void still(benchmark::State& state, LONG filter) {
  frames();
  std::size_t next = 0;
  for (auto _ : state)
    if (frames()[next++ % frameCount]->Save(scratchFile().c_str(), filter) != IMAGERESULT_OK)
      state.SkipWithError("the picture was not written");
  state.counters["kB_per_frame"] = static_cast<double>(std::filesystem::file_size(scratchFile())) / 1000;
  std::filesystem::remove(scratchFile());
}

[[maybe_unused]] const bool registered = [] {
  using benchmark::RegisterBenchmark;
  for (const LONG format : {FILTER_MOVIE, FILTER_AVI}) {
    const std::string container = format == FILTER_AVI ? "AVI " : "QuickTime ";
    for (const host::MovieCodecInfo& codec : host::movieCodecs(format))
      RegisterBenchmark(("movie/" + container + codec.name).c_str(), movie, format, codec.id)
          ->UseManualTime()
          ->Iterations(1)
          ->Unit(benchmark::kMillisecond);
    RegisterBenchmark(("overlap/" + container + "default").c_str(), overlap, format, 0)
        ->UseManualTime()
        ->Iterations(1)
        ->Unit(benchmark::kMillisecond);
  }
  const std::pair<const char*, LONG> filters[] = {
      {"BMP", FILTER_BMP}, {"TIFF", FILTER_TIF}, {"JPEG", FILTER_JPG}, {"PNG", FILTER_PNG},
      {"PSD", FILTER_PSD}, {"B3D", FILTER_B3D},  {"EXR", FILTER_EXR}};
  for (const auto& [name, filter] : filters)
    RegisterBenchmark((std::string("still/") + name).c_str(), still, filter)
        ->Iterations(5)
        ->Unit(benchmark::kMillisecond);
  return true;
}();

} // namespace
