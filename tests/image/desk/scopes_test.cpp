// Histogram, waveform and vectorscope with known counts.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numeric>

#include "film.h"
#include "histogram.h"
#include "vectorscope.h"
#include "waveform.h"

using namespace host;

namespace {

constexpr float infinity = std::numeric_limits<float>::infinity();
const float notANumber = std::nanf("");

ScopePixels shown(int width, int height, std::vector<unsigned char> codes) {
  return {width, height, std::move(codes), {}};
}

ScopePixels light(int width, int height, std::vector<float> values) {
  return {width, height, {}, std::move(values)};
}

std::size_t sum(const Histogram::Channel& channel) {
  return std::accumulate(channel.levels.begin(), channel.levels.end(), std::size_t{0});
}

} // namespace

TEST(Scopes, HistogramOfCodesCountsEveryChannel) {
  const Histogram h = histogramOf(shown(2, 2, {255, 0, 0, 255, 0, 0, 0, 128, 7, 10, 10, 10}));
  EXPECT_EQ(h.pixels, 4u);
  EXPECT_EQ(h.channels[redScope].levels[255], 2u);
  EXPECT_EQ(h.channels[redScope].levels[0], 1u);
  EXPECT_EQ(h.channels[greenScope].levels[0], 2u);
  EXPECT_EQ(h.channels[greenScope].levels[128], 1u);
  EXPECT_EQ(h.channels[blueScope].levels[7], 1u);
  EXPECT_EQ(h.channels[lumaScope].levels[54], 2u) << "0.2126 * 255 = 54.2";
  EXPECT_EQ(h.channels[lumaScope].levels[92], 1u) << "0.7152 * 128 + 0.0722 * 7 = 92.05";
  EXPECT_EQ(h.channels[lumaScope].levels[10], 1u);
  for (const Histogram::Channel& channel : h.channels)
    EXPECT_EQ(sum(channel), 4u);
  EXPECT_EQ(h.most(redScope), 2u);
}

TEST(Scopes, LevelsOfLightAreSixteenthsOfAStop) {
  EXPECT_EQ(levelOfLight(0.18f), 160);
  EXPECT_EQ(levelOfLight(0.36f), 176);
  EXPECT_EQ(levelOfLight(0.18f / 1024), 0);
  EXPECT_EQ(levelOfLight(0.18f * 1.03f), 160) << "2^(1/16) is 1.044";
  EXPECT_EQ(levelOfLight(0.18f * 1.05f), 161);
  EXPECT_EQ(levelOfLight(0.18f * 63.9f), 255);
  EXPECT_EQ(levelOfLight(0.18f * 64.1f), aboveLevels);
  EXPECT_EQ(levelOfLight(0.18f / 1100), belowLevels);
  EXPECT_EQ(levelOfLight(0), belowLevels);
  EXPECT_EQ(levelOfLight(-3), belowLevels);
  EXPECT_EQ(levelOfLight(3e38f), aboveLevels);
  for (int level = 0; level < scopeLevels; ++level)
    EXPECT_EQ(levelOfLight(static_cast<float>(lightOfLevel(level))), level);
}

TEST(Scopes, HistogramOfLightCountsNanAndInfinitiesApart) {
  const Histogram h = histogramOf(light(
      5, 1, {0.18f, 0.36f, 0, notANumber, 1, 1, 1, infinity, 1, infinity, notANumber, 1, 100, -1, 0.18f}));
  EXPECT_EQ(h.pixels, 2u);
  EXPECT_EQ(h.faults, (ScopeFaults{2, 1}));
  EXPECT_EQ(h.channels[redScope].levels[160], 1u);
  EXPECT_EQ(h.channels[redScope].above, 1u);
  EXPECT_EQ(h.channels[greenScope].levels[176], 1u);
  EXPECT_EQ(h.channels[greenScope].below, 1u);
  EXPECT_EQ(h.channels[blueScope].below, 1u);
  EXPECT_EQ(sum(h.channels[redScope]), 1u) << "nothing of the broken pixels";
}

TEST(Scopes, BarsAreLinearOrLogarithmic) {
  EXPECT_DOUBLE_EQ(barHeight(25, 100, false), 0.25);
  EXPECT_DOUBLE_EQ(barHeight(100, 100, true), 1);
  EXPECT_DOUBLE_EQ(barHeight(9, 99, true), 0.5);
  EXPECT_DOUBLE_EQ(barHeight(0, 99, true), 0);
  EXPECT_DOUBLE_EQ(barHeight(0, 0, false), 0);
}

TEST(Scopes, WaveformOfLuma) {
  // Four columns into two; two rows.
  const Waveform w = waveformOf(shown(4, 2, {0, 0, 0, 50, 50, 50, 99, 99, 99, 200, 200, 200, //
                                             0, 0, 0, 50, 50, 50, 99, 99, 99, 255, 255, 255}),
                                2, false);
  ASSERT_EQ(w.columns, 2);
  ASSERT_EQ(w.channels, std::vector<std::size_t>{lumaScope});
  EXPECT_EQ(w.at(0, 0, 0), 2u);
  EXPECT_EQ(w.at(0, 0, 50), 2u);
  EXPECT_EQ(w.at(0, 1, 99), 2u);
  EXPECT_EQ(w.at(0, 1, 200), 1u);
  EXPECT_EQ(w.at(0, 1, 255), 1u);
  EXPECT_EQ(std::accumulate(w.counts.begin(), w.counts.end(), 0u), 8u);
  EXPECT_EQ(w.most, 2u);
}

TEST(Scopes, WaveformAsParadeOfLight) {
  const Waveform w = waveformOf(light(2, 1, {0.18f, 0, 1000, notANumber, 1, 1}), 100, true);
  ASSERT_EQ(w.columns, 2) << "never more than the picture's";
  ASSERT_EQ(w.channels, (std::vector<std::size_t>{redScope, greenScope, blueScope}));
  EXPECT_EQ(w.at(0, 0, 160), 1u);
  EXPECT_EQ(w.at(1, 0, 0), 1u) << "black: the lowest level";
  EXPECT_EQ(w.at(2, 0, 255), 1u) << "beyond the highest level";
  EXPECT_EQ(w.faults, (ScopeFaults{1, 0}));
  EXPECT_EQ(std::accumulate(w.counts.begin(), w.counts.end(), 0u), 3u);
}

TEST(Scopes, VectorscopeOfBt709) {
  EXPECT_EQ(chromaCell(0.5, 0.5, 0.5), (ChromaCell{128, 128}));
  // Red: Cb -0.2126 / 1.8556 = -0.11457, Cr 0.5. Blue: Cb 0.5, Cr -0.0722 / 1.5748 = -0.04585.
  EXPECT_EQ(chromaCell(1, 0, 0), (ChromaCell{128 - 29, 128 + 127}));
  EXPECT_EQ(chromaCell(0, 0, 1), (ChromaCell{128 + 127, 128 - 12}));
  EXPECT_EQ(chromaCell(0, 1, 0), (ChromaCell{128 - 98, 128 - 115}));
  const Vectorscope v = vectorscopeOf(shown(2, 2, {255, 0, 0, 255, 0, 0, 9, 9, 9, 0, 0, 255}));
  EXPECT_EQ(v.at(99, 255), 2u);
  EXPECT_EQ(v.at(128, 128), 1u);
  EXPECT_EQ(v.at(255, 116), 1u);
  EXPECT_EQ(v.most, 2u);
}

TEST(Scopes, VectorscopeOfLightKeepsTheHueOfBrightColours) {
  const Vectorscope v = vectorscopeOf(light(4, 1, {50, 0, 0, 0.5f, -7, 0, notANumber, 0, 0, infinity, 0, 0}));
  EXPECT_EQ(v.at(99, 255), 1u) << "as red of 1";
  const ChromaCell half = chromaCell(0.5, 0, 0);
  EXPECT_EQ(v.at(half.cb, half.cr), 1u) << "negative green counts as 0";
  EXPECT_EQ(v.faults, (ScopeFaults{1, 1}));
  EXPECT_EQ(std::accumulate(v.counts.begin(), v.counts.end(), 0u), 2u);
}

TEST(Scopes, FilmsShowWhatIsDenoised) {
  Film film(2, 1);
  const float noisy[4] = {1, 2, 3, 1}, clean[3] = {4, 5, 6};
  film.setColor(1, 0, noisy);
  EXPECT_EQ(scopePixels(film).light, (std::vector<float>{0, 0, 0, 1, 2, 3}));
  film.addLayer(film_layers::denoised, "RGB")->set(1, clean);
  EXPECT_EQ(scopePixels(film).light, (std::vector<float>{0, 0, 0, 4, 5, 6}));
}
