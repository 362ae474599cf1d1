#include "waveform.h"

#include <algorithm>

namespace host {

Waveform waveformOf(const ScopePixels& pixels, int columns, bool parade) {
  Waveform form;
  form.columns = std::max(1, std::min(columns, pixels.width));
  if (parade)
    form.channels = {redScope, greenScope, blueScope};
  else
    form.channels = {lumaScope};
  form.counts.resize(form.channels.size() * static_cast<std::size_t>(form.columns) * scopeLevels);
  std::size_t pixel = 0;
  for (int y = 0; y < pixels.height; ++y)
    for (int x = 0; x < pixels.width; ++x, ++pixel) {
      if (!form.faults.pass(scopeState(pixels, pixel))) continue;
      const ScopeValues values = scopeValues(pixels, pixel);
      const auto column =
          static_cast<std::size_t>(static_cast<std::int64_t>(x) * form.columns / pixels.width);
      for (std::size_t plane = 0; plane < form.channels.size(); ++plane) {
        const int level = std::clamp(values[form.channels[plane]], 0, scopeLevels - 1);
        std::uint32_t& count =
            form.counts[(plane * static_cast<std::size_t>(form.columns) + column) * scopeLevels +
                        static_cast<std::size_t>(level)];
        form.most = std::max(form.most, ++count);
      }
    }
  return form;
}

} // namespace host
