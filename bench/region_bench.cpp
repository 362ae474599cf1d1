// Cost of a region: processor time and rays of rendering a tenth of the picture, divided by those of the
// whole picture, for nine places and on average, as a Markdown table. Renders go through the plug-in's render
// thread.
//
//   bench_region_bench [SCENE] [--size WxH] [--samples N] [--repeat N]
//
// The table gives the median of pairs of renders.
#include <algorithm>
#include <cmath>
#include <cstdio>

#include "render_pairs.h"

namespace {

/// A tenth of the picture, in the picture's shape, centred on these fractions or as near as it fits.
bench::Rectangle tenthAt(const bench::Options& options, double x, double y) {
  const double side = std::sqrt(0.1);
  const LONG w = static_cast<LONG>(std::lround(options.width * side));
  const LONG h = static_cast<LONG>(std::lround(options.height * side));
  const LONG left = std::clamp<LONG>(static_cast<LONG>(options.width * x) - w / 2, 0, options.width - w);
  const LONG top = std::clamp<LONG>(static_cast<LONG>(options.height * y) - h / 2, 0, options.height - h);
  return {left, top, left + w - 1, top + h - 1};
}

void measure(const bench::Options& options) {
  lmSettings settings;
  WriteDefaults(settings.GetDataInstance(), LM_DEFAULT_VIEWER);
  WriteDefaults(settings.GetDataInstance(), LM_DEFAULT_OPTIMIZE);
  bench::render(settings, options); // warms the caches
  std::printf(
      "| region of a tenth | processor time over the whole picture's | rays over the whole picture's |\n"
      "|---|---|---|\n");
  const char* const columns[] = {"left", "middle", "right"};
  const char* const rows[] = {"upper", "middle", "lower"};
  bench::Cost mean;
  for (int i = 0; i < 9; ++i) {
    const bench::Rectangle region = tenthAt(options, i % 3 * 0.5, i / 3 * 0.5);
    const bench::Cost cost = bench::ratio(
        options, [&] { return bench::render(settings, options); },
        [&] { return bench::render(settings, options, &region); });
    mean.seconds += cost.seconds / 9, mean.rays += cost.rays / 9;
    std::printf("| %s %s | %.3f | %.3f |\n", rows[i / 3], columns[i % 3], cost.seconds, cost.rays);
    std::fflush(stdout);
  }
  std::printf("| mean | %.3f | %.3f |\n", mean.seconds, mean.rays);
}

} // namespace

int main(int argc, char** argv) {
  return bench::run(bench::parse(argc, argv, {.width = 640, .height = 360, .samples = 16, .repeat = 3}),
                    measure);
}
