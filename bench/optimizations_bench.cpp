// What each scene optimization saves: for every switch, the processor time and the rays of a render of the
// demo scene with it off over those with everything on, as a Markdown table. Renders go through the plug-in's
// render thread.
//
//   bench_optimizations_bench [SCENE] [--size WxH] [--samples N] [--repeat N]
//
// Every pair of renders is made one after the other, so that what else the machine does meets both; the table
// gives the median of the pairs. Rays are counted, not timed: their ratio is the same on every machine.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
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
  LONG width = 320, height = 180, samples = 32, repeat = 5;
};

struct Switch {
  LONG key;
  LONG value;
  const char* what;
  bool real = false; // the value is a real number
};

const std::vector<Switch>& switches() {
  static const std::vector<Switch> list = {
      {LM_OPT_15004, 0, "anti-aliasing none"},
      {LM_OPT_15004, 1, "anti-aliasing geometry"},
      {LM_OPT_15008, 1, "refraction off"},
      {LM_OPT_15008, 0, "transparency off"},
      {LM_OPT_15010, 1, "reflection limited"},
      {LM_OPT_15010, 0, "reflection off"},
      {LM_OPT_15012, 1, "shadow limited to soft"},
      {LM_OPT_15012, 0, "shadow off"},
      {LM_OPT_15014, 0, "global illumination off"},
      {LM_OPT_15015, 0, "ambient occlusion off"},
      {LM_OPT_15016, 0, "caustics off"},
      {LM_OPT_15017, 0, "post effects off"},
      {LM_OPT_15019, 0, "subdivision off"},
      {LM_OPT_15020, 0, "sub-polygon displacement off"},
      {LM_OPT_15021, 0, "blurriness off"},
      {LM_OPT_15022, 0, "volumetric lighting off"},
      {LM_OPT_15023, 0, "textures off"},
      {LM_OPT_15024, 0, "subsurface scattering off"},
      {LM_OPT_MAT_15026, 0, "material switch 15026 off"},
      {LM_OPT_MAT_15027, 0, "material switch 15027 off"},
      {LM_OPT_MAT_15028, 0, "material switch 15028 off"},
      {LM_OPT_MAT_15029, 0, "material switch 15029 off"},
      {LM_OPT_MAT_15030, 0, "material switch 15030 off"},
      {LM_OPT_MAT_15031, 0, "material switch 15031 off"},
      {LM_OPT_MAT_15032, 0, "material switch 15032 off"},
      {LM_OPT_MAT_15033, 0, "material switch 15033 off"},
      {LM_OPT_MAT_15034, 0, "material switch 15034 off"},
      {LM_OPT_MAT_15035, 0, "material switch 15035 off"},
      {LM_OPT_MAT_15036, 0, "material switch 15036 off"},
      {LM_OPT_MAT_15037, 0, "material switch 15037 off"},
      {LM_OPT_MAT_15038, 0, "material switch 15038 off"},
      {LM_OPT_MAT_15039, 0, "material switch 15039 off"},
      {LM_OPT_SHADERS, 0, "ambient-occlusion shaders off"},
      {LM_OPT_LOD, 0, "level of detail 0", true},
      {LM_OPT_ENGINE, 1, "software preview"},
      {LM_OPT_ENGINE, 2, "OpenGL preview"},
  };
  return list;
}

struct Cost {
  double seconds = 0; // of all processors
  double rays = 0;
};

double processorSeconds() {
  timespec time{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

Cost renderWith(lmSettings& settings, const Options& options) {
  AutoAlloc<BaseBitmap> bitmap;
  bitmap->Init(options.width, options.height, 24);
  LMTHREAD_DATA status;
  lmThread thread;
  thread.settings = &settings;
  thread.data = &status;
  thread.bitmap = bitmap;
  const double start = processorSeconds();
  thread.Start();
  thread.Wait(TRUE);
  const Cost cost{processorSeconds() - start, static_cast<double>(host::latestRenderStats().rays)};
  if (const LONG result = status.result; result != RENDERRESULT_OK)
    std::fprintf(stderr, "a render ended with %d\n", result);
  return cost;
}

void setEverythingOn(lmSettings& settings) {
  WriteDefaults(settings.GetDataInstance(), LM_DEFAULT_VIEWER);
  WriteDefaults(settings.GetDataInstance(), LM_DEFAULT_OPTIMIZE);
  for (const Switch& s : switches())
    if (s.key != LM_OPT_ENGINE && !s.real)
      settings.SetValue(s.key, static_cast<LONG>(s.key <= LM_OPT_15012 ? 2 : 1));
  settings.SetValue(LM_OPT_LOD, 1.0);
  settings.SetValue(LM_OPT_ENGINE, static_cast<LONG>(0));
}

void measure(const Options& options) {
  lmSettings all;
  setEverythingOn(all);
  renderWith(all, options); // warms the caches
  std::printf("| switch | processor time over all on | rays over all on |\n|---|---|---|\n");
  for (const Switch& s : switches()) {
    lmSettings off;
    setEverythingOn(off);
    if (s.real)
      off.SetValue(s.key, static_cast<Real>(s.value));
    else
      off.SetValue(s.key, s.value);
    renderWith(off, options); // what this switch changes is built once, outside the measurement
    std::vector<double> ratios;
    double rays = 0;
    for (LONG i = 0; i < options.repeat; ++i) {
      const Cost on = renderWith(all, options), without = renderWith(off, options);
      ratios.push_back(without.seconds / on.seconds);
      rays = without.rays / on.rays;
    }
    std::sort(ratios.begin(), ratios.end());
    std::printf("| %s | %.2f | %.2f |\n", s.what, ratios[ratios.size() / 2], rays);
    std::fflush(stdout);
  }
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
  // Every pixel gets the same number of samples, so that pairs do the same work.
  BaseContainer* rdata = loaded.document->GetActiveRenderData()->GetDataInstance();
  rdata->SetLong(RDATA_MAXSAMPLES, options.samples);
  rdata->SetReal(RDATA_NOISETHRESHOLD, 0);
  host::setActiveDocument(loaded.document.release());
  measure(options);
  return 0;
}
