// What a region costs: processor time and rays of the render of a region of a tenth of the picture over those
// of the whole picture, for regions in nine places and on average, as a Markdown table. Renders go through
// the plug-in's render thread.
//
//   bench_region_bench [SCENE] [--size WxH] [--samples N] [--repeat N]
//
// Every pair of renders is made one after the other, so that what else the machine does meets both; the table
// gives the median of the pairs. Rays are counted, not timed: their ratio is the same on every machine.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include "active_document.h"
#include "c4d.h"
#include "lm_keys.h"
#include "lm_thread.h"
#include "main_loop.h"
#include "program.h"
#include "render_stats.h"
#include "scene_file.h"

namespace {

struct Options {
  std::string scene = LUMENARA_SOURCE_DIR "/scenes/demo.glb";
  LONG width = 640, height = 360, samples = 16, repeat = 3;
};

/// Inclusive, in pixels.
struct Rectangle {
  LONG left, top, right, bottom;
};

struct Cost {
  double seconds = 0; // of all processors
  double rays = 0;
};

double processorSeconds() {
  timespec time{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

Cost render(lmSettings& settings, const Options& options, const Rectangle* region) {
  AutoAlloc<BaseBitmap> bitmap;
  bitmap->Init(options.width, options.height, 24);
  LMTHREAD_DATA status;
  lmThread thread;
  thread.settings = &settings;
  thread.data = &status;
  thread.bitmap = bitmap;
  if (region) {
    thread.region = 1;
    thread.regionLeft = region->left, thread.regionTop = region->top;
    thread.regionRight = region->right, thread.regionBottom = region->bottom;
  }
  const double start = processorSeconds();
  thread.Start();
  thread.Wait(TRUE);
  const Cost cost{processorSeconds() - start, static_cast<double>(host::latestRenderStats().rays)};
  if (const LONG result = status.result; result != RENDERRESULT_OK)
    std::fprintf(stderr, "a render ended with %d\n", result);
  return cost;
}

/// A tenth of the picture, of the picture's shape, with its middle at these fractions or as near as it fits.
Rectangle tenthAt(const Options& options, double x, double y) {
  const double side = std::sqrt(0.1);
  const LONG w = static_cast<LONG>(std::lround(options.width * side));
  const LONG h = static_cast<LONG>(std::lround(options.height * side));
  const LONG left = std::clamp<LONG>(static_cast<LONG>(options.width * x) - w / 2, 0, options.width - w);
  const LONG top = std::clamp<LONG>(static_cast<LONG>(options.height * y) - h / 2, 0, options.height - h);
  return {left, top, left + w - 1, top + h - 1};
}

void measure(const Options& options) {
  lmSettings settings;
  WriteDefaults(settings.GetDataInstance(), LM_DEFAULT_VIEWER);
  WriteDefaults(settings.GetDataInstance(), LM_DEFAULT_OPTIMIZE);
  render(settings, options, nullptr); // warms the caches
  std::printf(
      "| region of a tenth | processor time over the whole picture's | rays over the whole picture's |\n"
      "|---|---|---|\n");
  const char* const columns[] = {"left", "middle", "right"};
  const char* const rows[] = {"upper", "middle", "lower"};
  double meanTime = 0, meanRays = 0;
  for (int i = 0; i < 9; ++i) {
    const Rectangle region = tenthAt(options, i % 3 * 0.5, i / 3 * 0.5);
    std::vector<double> ratios;
    double rays = 0;
    for (LONG k = 0; k < options.repeat; ++k) {
      const Cost whole = render(settings, options, nullptr), part = render(settings, options, &region);
      ratios.push_back(part.seconds / whole.seconds);
      rays = part.rays / whole.rays;
    }
    std::sort(ratios.begin(), ratios.end());
    const double time = ratios[ratios.size() / 2];
    meanTime += time / 9, meanRays += rays / 9;
    std::printf("| %s %s | %.3f | %.3f |\n", rows[i / 3], columns[i % 3], time, rays);
    std::fflush(stdout);
  }
  std::printf("| mean | %.3f | %.3f |\n", meanTime, meanRays);
}

Options parse(int argc, char** argv) {
  Options options;
  for (int i = 1; i < argc; ++i) {
    const std::string word = argv[i];
    const char* value = i + 1 < argc ? argv[i + 1] : "";
    if (word == "--size" && std::sscanf(value, "%dx%d", &options.width, &options.height) == 2)
      ++i;
    else if (word == "--samples")
      options.samples = std::max(1, std::atoi(value)), ++i;
    else if (word == "--repeat")
      options.repeat = std::max(1, std::atoi(value)), ++i;
    else
      options.scene = word;
  }
  return options;
}

} // namespace

int main(int argc, char** argv) {
  const Options options = parse(argc, argv);
  host::ProgramOptions program;
  program.loadModules = false;
  host::Program host(program);
  host::LoadResult loaded = host::loadDocument(Filename(options.scene.c_str()));
  if (!loaded.document) {
    std::fprintf(stderr, "%s\n", loaded.error.c_str());
    return 1;
  }
  // Every pixel gets the same number of samples, so that a pixel costs the same in both renders.
  BaseContainer* rdata = loaded.document->GetActiveRenderData()->GetDataInstance();
  rdata->SetLong(RDATA_MAXSAMPLES, options.samples);
  rdata->SetReal(RDATA_NOISETHRESHOLD, 0);
  host::setActiveDocument(loaded.document.release());
  measure(options);
  return 0;
}
