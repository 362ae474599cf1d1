// Compare mode and the history: operations that block the viewer's window.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdint>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <memory>
#include <vector>

#include "lm_keys.h"
#include "lm_userarea.h"
#include "program.h"
#include "user_interface.h"

namespace fs = std::filesystem;

namespace {

constexpr LONG width = 1280, height = 720;

/// A user interface that chooses nothing and discards what is shown.
class Quiet final : public host::UserInterface {
 public:
  LONG popup(const BaseContainer& entries, LONG, LONG) override {
    benchmark::DoNotOptimize(entries.GetCount());
    return 0;
  }
  bool showBitmap(const BaseBitmap&) override { return true; }
};

/// A host in a folder of its own, and a view.
class Bench {
 public:
  Bench() {
    fs::remove_all(folder_);
    host::ProgramOptions options;
    options.home = Filename(folder_.c_str());
    options.ui = &ui_;
    options.loadModules = false;
    options.consoleEcho = nullptr;
    program_ = std::make_unique<host::Program>(options);
    program_->startPlugins();
    WriteDefaults(settings.GetDataInstance(), LM_DEFAULT_VIEWER);
    view = std::make_unique<lmUserArea>(&dialog_, &settings);
    view->Sized(width, height);
  }
  ~Bench() {
    view.reset();
    program_.reset();
    fs::remove_all(folder_);
  }

  lmSettings settings;
  std::unique_ptr<lmUserArea> view;

 private:
  fs::path folder_ = fs::temp_directory_path() / "lumenara_compare_bench";
  Quiet ui_;
  std::unique_ptr<host::Program> program_;
  GeDialog dialog_;
};

void fill(BaseBitmap& bitmap, LONG w, LONG h, LONG seed) {
  bitmap.Init(w, h, 24);
  for (LONG y = 0; y < h; ++y) {
    for (LONG x = 0; x < w; ++x)
      bitmap.SetPixel(x, y, (x * seed) & 255, (y + seed) & 255, (x ^ y) & 255);
  }
}

/// The blend of two arrays of words.
void plainBlend(const std::vector<std::uint32_t>& a, const std::vector<std::uint32_t>& b, double t,
                std::vector<std::uint32_t>& out) {
  for (std::size_t i = 0; i < a.size(); ++i) {
    std::uint32_t word = 0;
    for (int shift = 0; shift < 24; shift += 8) {
      const int from = static_cast<int>(a[i] >> shift & 255), to = static_cast<int>(b[i] >> shift & 255);
      word |= static_cast<std::uint32_t>(static_cast<int>((to - from) * t + from)) << shift;
    }
    out[i] = word;
  }
}

/// One composition: `style`, the width of the two pictures, and whether they are scaled to the view.
/// `plain_ms` is the processor time of one blend of arrays of that size.
void compose(benchmark::State& state) {
  Bench bench;
  const auto style = static_cast<LONG>(state.range(0));
  const auto pictureWidth = static_cast<LONG>(state.range(1));
  fill(*bench.view->imageA, pictureWidth, pictureWidth * 9 / 16, 3);
  fill(*bench.view->imageB, pictureWidth, pictureWidth * 9 / 16, 5);
  bench.settings.SetValue(LM_COMPARE_SCALE, static_cast<LONG>(state.range(2)));

  const std::vector<std::uint32_t> a(width * height, 0x123456), b(width * height, 0xfedcba);
  std::vector<std::uint32_t> out(width * height);
  double plain = 0;
  Real slider = -1.0;
  for (auto _ : state) {
    slider = slider > 0.99 ? -1.0 : slider + 0.01;
    bench.view->HistoryPrepare(slider, style);
    state.PauseTiming();
    const std::clock_t start = std::clock();
    plainBlend(a, b, (slider + 1) / 2, out);
    plain += static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
    benchmark::DoNotOptimize(out.data());
    state.ResumeTiming();
  }
  state.counters["plain_ms"] = benchmark::Counter(plain * 1000, benchmark::Counter::kAvgIterations);
}

/// Time for which "Add Image to History" blocks the window, including loading the two newest pictures.
void addToHistory(benchmark::State& state) {
  Bench bench;
  fill(*bench.view->image, width, height, 3);
  bench.settings.SetValue(LM_HISTORY_AUTOLOAD, static_cast<LONG>(state.range(0)));
  bench.view->image->ScaleIt(bench.view->display, 256, FALSE, FALSE);
  for (auto _ : state)
    bench.view->AddToHistory();
}

void makeFiles(const Bench& bench, LONG count) {
  const fs::path folder = bench.view->historyFolder.GetString().GetUTF8();
  fs::create_directories(folder);
  for (LONG i = 0; i < count; ++i) {
    const fs::path file = folder / ("scene[" + std::to_string(i + 1) + "].tif");
    std::ofstream(file).put('x');
    fs::last_write_time(file, fs::file_time_type::clock::now() - std::chrono::seconds(i * 7919 % count));
  }
}

void listHistory(benchmark::State& state) {
  Bench bench;
  makeFiles(bench, static_cast<LONG>(state.range(0)));
  for (auto _ : state)
    benchmark::DoNotOptimize(bench.view->ListHistory().size());
}

void popup(benchmark::State& state) {
  Bench bench;
  makeFiles(bench, static_cast<LONG>(state.range(0)));
  for (auto _ : state)
    bench.view->SelectImagePopup(0, 0, TRUE);
}

void styles(benchmark::internal::Benchmark* bench) {
  bench->ArgNames({"style", "width", "scale"});
  for (const LONG style : {0, 1, 2, 9999})
    bench->Args({style, width, 1});
  bench->Args({2, 1920, 1})->Args({2, 640, 1})->Args({2, width, 0});
}

BENCHMARK(compose)->Apply(styles)->Unit(benchmark::kMillisecond);
BENCHMARK(addToHistory)->ArgName("autoload")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(listHistory)->Arg(10000)->Unit(benchmark::kMillisecond);
BENCHMARK(popup)->Arg(900)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
