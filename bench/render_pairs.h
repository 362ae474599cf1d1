// Shared by the benchmarks of single settings: renders of a scene through the plug-in's render thread, one
// after the other, and their costs. The ratio of two consecutive renders hardly depends on the machine's
// other load; rays are counted, and their ratio is the same on every machine.
#pragma once

#include <algorithm>
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
#include "render_settings.h"
#include "render_stats.h"
#include "scene_file.h"

namespace bench {

/// The command line: [SCENE] [--size WxH] [--samples N] [--repeat N].
struct Options {
  std::string scene = LUMENARA_SOURCE_DIR "/scenes/demo.glb";
  LONG width = 0, height = 0, samples = 0; // pixels; camera samples per pixel
  LONG repeat = 0;                         // pairs, whose median counts
};

/// Inclusive, in pixels.
struct Rectangle {
  LONG left, top, right, bottom;
};

struct Cost {
  double seconds = 0; // of all processors
  double rays = 0;
};

inline double processorSeconds() {
  timespec time{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

/// Renders the active document, whole or a region of it.
inline Cost render(lmSettings& settings, const Options& options, const Rectangle* region = nullptr) {
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

/// The cost of `changed` divided by the cost of `whole`, both functions that return a Cost: the median of the
/// seconds of `options.repeat` pairs, and the rays.
template <class Whole, class Changed>
Cost ratio(const Options& options, Whole whole, Changed changed) {
  std::vector<double> seconds;
  double rays = 0;
  for (LONG i = 0; i < options.repeat; ++i) {
    const Cost all = whole(), part = changed();
    seconds.push_back(part.seconds / all.seconds);
    rays = part.rays / all.rays;
  }
  std::sort(seconds.begin(), seconds.end());
  return {seconds[seconds.size() / 2], rays};
}

inline Options parse(int argc, char** argv, Options options) {
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

/// Opens the scene and measures. Every pixel gets the same number of samples, so that both renders of a pair
/// do the same work. Returns the program's exit code.
inline int run(const Options& options, void (*measure)(const Options&)) {
  host::ProgramOptions program;
  program.loadModules = false;
  host::Program host(program);
  host::LoadResult loaded = host::loadDocument(Filename(options.scene.c_str()));
  if (!loaded.document) {
    std::fprintf(stderr, "%s\n", loaded.error.c_str());
    return 1;
  }
  BaseContainer* rdata = loaded.document->GetActiveRenderData()->GetDataInstance();
  rdata->SetLong(RDATA_MAXSAMPLES, options.samples);
  rdata->SetReal(RDATA_NOISETHRESHOLD, 0);
  rdata->SetLong(host::render::spreadSetting, 1); // evenly
  host::setActiveDocument(loaded.document.release());
  measure(options);
  return 0;
}

} // namespace bench
