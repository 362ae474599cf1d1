// Savings of each scene optimization: for every switch, processor time and rays of a render of the demo scene
// with it off, divided by those with everything on, as a Markdown table. Renders go through the plug-in's
// render thread.
//
//   bench_optimizations_bench [SCENE] [--size WxH] [--samples N] [--repeat N]
//
// The table gives the median of pairs of renders.
#include <cstdio>
#include <vector>

#include "render_pairs.h"

namespace {

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
      {LM_OPT_MAT_15026, 0, "materials' colour off"},
      {LM_OPT_MAT_15027, 0, "materials' diffusion off"},
      {LM_OPT_MAT_15028, 0, "materials' luminance off"},
      {LM_OPT_MAT_15029, 0, "materials' transparency off"},
      {LM_OPT_MAT_15030, 0, "materials' reflection off"},
      {LM_OPT_MAT_15031, 0, "materials' environment off"},
      {LM_OPT_MAT_15032, 0, "materials' fog off"},
      {LM_OPT_MAT_15033, 0, "materials' bump off"},
      {LM_OPT_MAT_15034, 0, "materials' normal off"},
      {LM_OPT_MAT_15035, 0, "materials' alpha off"},
      {LM_OPT_MAT_15036, 0, "materials' specular off"},
      {LM_OPT_MAT_15037, 0, "materials' specular colour off"},
      {LM_OPT_MAT_15038, 0, "materials' glow off"},
      {LM_OPT_MAT_15039, 0, "materials' displacement off"},
      {LM_OPT_SHADERS, 0, "ambient-occlusion shaders off"},
      {LM_OPT_LOD, 0, "level of detail 0", true},
      {LM_OPT_ENGINE, 1, "software preview"},
      {LM_OPT_ENGINE, 2, "OpenGL preview"},
  };
  return list;
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

void printRow(const char* what, const bench::Cost& ratio) {
  std::printf("| %s | %.2f | %.2f |\n", what, ratio.seconds, ratio.rays);
  std::fflush(stdout);
}

void measure(const bench::Options& options) {
  lmSettings all;
  setEverythingOn(all);
  bench::render(all, options); // warms the caches
  std::printf("| switch | processor time over all on | rays over all on |\n|---|---|---|\n");
  for (const Switch& s : switches()) {
    lmSettings off;
    setEverythingOn(off);
    if (s.real)
      off.SetValue(s.key, static_cast<Real>(s.value));
    else
      off.SetValue(s.key, s.value);
    bench::render(off, options); // builds what this switch changes, outside the measurement
    const bench::Cost cost = bench::ratio(
        options, [&] { return bench::render(all, options); }, [&] { return bench::render(off, options); });
    printRow(s.what, cost);
  }
  // The divisor takes effect when a job begins: the picture is smaller.
  bench::Options half = options;
  half.width /= 2, half.height /= 2;
  printRow("resolution divisor 2", bench::ratio(
                                       options, [&] { return bench::render(all, options); },
                                       [&] { return bench::render(all, half); }));
}

} // namespace

int main(int argc, char** argv) {
  return bench::run(bench::parse(argc, argv, {.width = 320, .height = 180, .samples = 32, .repeat = 5}),
                    measure);
}
