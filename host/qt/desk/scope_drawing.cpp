#include "scope_drawing.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace host {

namespace {

constexpr int bars = 128;
constexpr std::array<QRgb, scopeChannels> inks{qRgb(226, 66, 60), qRgb(74, 190, 84), qRgb(70, 120, 250),
                                               qRgb(216, 216, 220)};

// From a third to all of the ink: single pixels are seen.
int strengthOf(std::uint32_t count, std::uint32_t most) {
  return count == 0 ? 0 : 85 + static_cast<int>(170 * barHeight(count, most, true));
}

QRgb inked(QRgb ink, int strength) {
  return qRgba(qRed(ink), qGreen(ink), qBlue(ink), std::clamp(strength, 0, 255));
}

} // namespace

QImage histogramImage(const Histogram& histogram, bool logarithmic) {
  QImage image(scopeLevels, bars, QImage::Format_ARGB32);
  image.fill(Qt::transparent);
  std::uint32_t most = 0;
  // The ends hold whole backgrounds; a linear scale that shows them whole would show nothing else.
  for (const Histogram::Channel& channel : histogram.channels)
    for (std::size_t level = 1; level + 1 < scopeLevels; ++level)
      most = std::max(most, channel.levels[level]);
  if (most == 0)
    for (std::size_t channel = 0; channel < scopeChannels; ++channel)
      most = std::max(most, histogram.most(channel));
  for (int x = 0; x < scopeLevels; ++x) {
    std::array<int, scopeChannels> tops{};
    for (std::size_t channel = 0; channel < scopeChannels; ++channel)
      tops[channel] = static_cast<int>(
          std::ceil(bars * barHeight(histogram.channels[channel].levels[static_cast<std::size_t>(x)], most,
                                     logarithmic)));
    for (int height = 0; height < bars; ++height) {
      int rgb[3] = {0, 0, 0};
      for (std::size_t channel = redScope; channel <= blueScope; ++channel) {
        if (height >= tops[channel]) continue;
        rgb[0] += qRed(inks[channel]), rgb[1] += qGreen(inks[channel]), rgb[2] += qBlue(inks[channel]);
      }
      const bool line = tops[lumaScope] > 0 && height == tops[lumaScope] - 1;
      if (line) rgb[0] = rgb[1] = rgb[2] = 235;
      const bool empty = rgb[0] + rgb[1] + rgb[2] == 0;
      image.setPixel(x, bars - 1 - height,
                     qRgba(std::min(rgb[0], 255), std::min(rgb[1], 255), std::min(rgb[2], 255),
                           empty  ? 0
                           : line ? 255
                                  : 200));
    }
  }
  return image;
}

QImage waveformImage(const Waveform& waveform) {
  const auto planes = static_cast<int>(waveform.channels.size());
  QImage image(planes * waveform.columns, scopeLevels, QImage::Format_ARGB32);
  for (int plane = 0; plane < planes; ++plane)
    for (int column = 0; column < waveform.columns; ++column)
      for (int level = 0; level < scopeLevels; ++level) {
        const auto at = static_cast<std::size_t>(plane);
        const std::uint32_t count = waveform.at(at, column, level);
        image.setPixel(plane * waveform.columns + column, scopeLevels - 1 - level,
                       inked(inks[waveform.channels[at]], strengthOf(count, waveform.most)));
      }
  return image;
}

QImage vectorscopeImage(const Vectorscope& scope) {
  constexpr int side = Vectorscope::side, middle = Vectorscope::middle;
  QImage image(side, side, QImage::Format_ARGB32);
  for (int cr = 0; cr < side; ++cr)
    for (int cb = 0; cb < side; ++cb) {
      // The colour of this hue at a luma of 0.6.
      const double blue = 1.8556 * (cb - middle) / 254, red = 1.5748 * (cr - middle) / 254;
      const double green = -(0.2126 * red + 0.0722 * blue) / 0.7152;
      const auto code = [](double value) {
        return static_cast<int>(std::clamp(255 * (0.6 + value), 0.0, 255.0));
      };
      image.setPixel(
          cb, side - 1 - cr,
          inked(qRgb(code(red), code(green), code(blue)), strengthOf(scope.at(cb, cr), scope.most)));
    }
  return image;
}

} // namespace host
