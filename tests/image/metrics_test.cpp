// RMSE, PSNR, SSIM and FLIP: exact values of simple pictures, and every pixel of random ones against the
// papers' formulas written out without separable filters.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <functional>
#include <limits>
#include <numbers>
#include <random>

#include "flip.h"
#include "metrics.h"
#include "picture_decode.h"
#include "ssim.h"

namespace {

using host::Metric;
using host::MetricImage;
using Rgb = std::array<double, 3>;

MetricImage plain(int width, int height, const Rgb& color, bool linear = false) {
  MetricImage image{width, height, linear, 0, {}};
  for (std::size_t i = 0; i < image.pixels(); ++i)
    for (const double value : color)
      image.rgb.push_back(static_cast<float>(value));
  return image;
}

MetricImage noise(int width, int height, unsigned seed, float most = 1, bool linear = false) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<float> values(0, most);
  MetricImage image = plain(width, height, {}, linear);
  for (float& value : image.rgb)
    value = values(random);
  return image;
}

double valueOf(Metric metric, const MetricImage& a, const MetricImage& b) {
  return host::measure(metric, a, b).value;
}

// ---- RMSE and PSNR

TEST(Metrics, RootMeanSquareCountsEveryChannel) {
  const MetricImage black = plain(4, 3, {});
  EXPECT_EQ(valueOf(Metric::rmse, black, plain(4, 3, {0.5, 0.5, 0.5})), 0.5);
  EXPECT_EQ(valueOf(Metric::rmse, black, black), 0);
  MetricImage one = black;
  one.rgb[7] = 1; // one of 36 values
  EXPECT_DOUBLE_EQ(valueOf(Metric::rmse, black, one), 1.0 / 6);
  EXPECT_FLOAT_EQ(host::measure(Metric::rmse, black, one).map[2], std::sqrt(1.0f / 3));
}

TEST(Metrics, FloatPicturesHaveTheirLightMeasured) {
  const MetricImage bright = plain(2, 2, {4, 4, 4}, true), dark = plain(2, 2, {1, 1, 1}, true);
  EXPECT_EQ(valueOf(Metric::rmse, bright, dark), 3);
  // On a display both are white; so is the other picture.
  EXPECT_EQ(valueOf(Metric::rmse, bright, plain(2, 2, {1, 1, 1})), 0);
  EXPECT_EQ(valueOf(Metric::psnr, bright, dark), std::numeric_limits<double>::infinity());
}

TEST(Metrics, SignalToNoiseOfOneCodeIsKnown) {
  const MetricImage a = plain(5, 5, {100 / 255.0, 100 / 255.0, 100 / 255.0});
  const MetricImage b = plain(5, 5, {101 / 255.0, 101 / 255.0, 101 / 255.0});
  EXPECT_NEAR(valueOf(Metric::psnr, a, b), 48.1308, 1e-4); // 20 log10(255)
  EXPECT_EQ(valueOf(Metric::psnr, plain(1, 1, {}), plain(1, 1, {1, 1, 1})), 0);
}

// ---- SSIM

TEST(Metrics, StructuralSimilarityOfPlainPicturesIsThatOfTheirMeans) {
  const double c1 = 0.0001, a = 0.25, b = 0.75;
  EXPECT_NEAR(valueOf(Metric::ssim, plain(16, 12, {a, a, a}), plain(16, 12, {b, b, b})),
              (2 * a * b + c1) / (a * a + b * b + c1), 1e-4);
  const MetricImage picture = noise(16, 12, 1);
  EXPECT_EQ(valueOf(Metric::ssim, picture, picture), 1);
  EXPECT_EQ(valueOf(Metric::ssim, noise(3, 2, 1), noise(3, 2, 1)), 1); // smaller than the window
}

/// The mean over all windows inside the picture, in the paper's words.
double directSimilarity(const MetricImage& a, const MetricImage& b) {
  const auto luma = [](const MetricImage& image, int x, int y) {
    const float* p = image.rgb.data() + 3 * (y * image.width + x);
    return 0.299 * p[0] + 0.587 * p[1] + 0.114 * p[2];
  };
  double all = 0;
  int windows = 0;
  for (int y = 5; y < a.height - 5; ++y)
    for (int x = 5; x < a.width - 5; ++x, ++windows) {
      double sum = 0, ma = 0, mb = 0, vaa = 0, vbb = 0, vab = 0;
      const auto each = [&](const std::function<void(double, double, double)>& use) {
        for (int dy = -5; dy <= 5; ++dy)
          for (int dx = -5; dx <= 5; ++dx)
            use(std::exp(-(dx * dx + dy * dy) / 4.5), luma(a, x + dx, y + dy), luma(b, x + dx, y + dy));
      };
      each([&](double w, double u, double v) { sum += w, ma += w * u, mb += w * v; });
      ma /= sum, mb /= sum;
      each([&](double w, double u, double v) {
        vaa += w / sum * (u - ma) * (u - ma), vbb += w / sum * (v - mb) * (v - mb);
        vab += w / sum * (u - ma) * (v - mb);
      });
      all += (2 * ma * mb + 1e-4) * (2 * vab + 9e-4) / ((ma * ma + mb * mb + 1e-4) * (vaa + vbb + 9e-4));
    }
  return all / windows;
}

TEST(Metrics, StructuralSimilarityIsThePapers) {
  const MetricImage a = noise(19, 15, 2);
  MetricImage b = a;
  const MetricImage grain = noise(19, 15, 3);
  for (std::size_t i = 0; i < b.rgb.size(); ++i)
    b.rgb[i] = 0.7f * b.rgb[i] + 0.3f * grain.rgb[i];
  EXPECT_NEAR(valueOf(Metric::ssim, a, b), directSimilarity(a, b), 1e-5);
  EXPECT_NEAR(valueOf(Metric::ssim, a, grain), directSimilarity(a, grain), 1e-5);
}

// ---- FLIP

double decoded(double value) {
  return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
}

constexpr double toXyz[3][3] = {{0.4123907992659595, 0.357584339383878, 0.1804807884018343},
                                {0.2126390058715102, 0.715168678767756, 0.07219231536073371},
                                {0.01933081871559182, 0.11919477979462598, 0.9505321522496607}};

Rgb xyzOverWhite(const Rgb& rgb) {
  Rgb xyz{};
  for (int r = 0; r < 3; ++r) {
    double white = 0;
    for (int c = 0; c < 3; ++c)
      xyz[r] += toXyz[r][c] * rgb[c], white += toXyz[r][c];
    xyz[r] /= white;
  }
  return xyz;
}

Rgb ycxcz(const Rgb& rgb) {
  const Rgb xyz = xyzOverWhite(rgb);
  return {116 * xyz[1] - 16, 500 * (xyz[0] - xyz[1]), 200 * (xyz[1] - xyz[2])};
}

/// Solves for the colour instead of inverting the matrix: Cramer's rule.
Rgb rgbOf(const Rgb& opponent) {
  const double y = (opponent[0] + 16) / 116;
  Rgb xyz{y + opponent[1] / 500, y, y - opponent[2] / 200};
  for (int r = 0; r < 3; ++r)
    xyz[r] *= toXyz[r][0] + toXyz[r][1] + toXyz[r][2];
  const auto determinant = [&](int column) {
    double m[3][3];
    for (int r = 0; r < 3; ++r)
      for (int c = 0; c < 3; ++c)
        m[r][c] = c == column ? xyz[r] : toXyz[r][c];
    return m[0][0] * (m[1][1] * m[2][2] - m[1][2] * m[2][1]) -
           m[0][1] * (m[1][0] * m[2][2] - m[1][2] * m[2][0]) +
           m[0][2] * (m[1][0] * m[2][1] - m[1][1] * m[2][0]);
  };
  Rgb rgb{};
  for (int c = 0; c < 3; ++c)
    rgb[c] = std::clamp(determinant(c) / determinant(-1), 0.0, 1.0);
  return rgb;
}

Rgb huntLab(const Rgb& rgb) {
  const auto f = [](double t) { return t > 216.0 / 24389 ? std::cbrt(t) : t * 841 / 108 + 4.0 / 29; };
  const Rgb xyz = xyzOverWhite(rgb);
  const double l = 116 * f(xyz[1]) - 16;
  return {l, 0.01 * l * 500 * (f(xyz[0]) - f(xyz[1])), 0.01 * l * 200 * (f(xyz[1]) - f(xyz[2]))};
}

double colorDifference(const Rgb& a, const Rgb& b) {
  const auto hyab = [](const Rgb& p, const Rgb& q) {
    return std::abs(p[0] - q[0]) + std::sqrt(std::pow(p[1] - q[1], 2) + std::pow(p[2] - q[2], 2));
  };
  const double most = std::pow(hyab(huntLab({0, 1, 0}), huntLab({0, 0, 1})), 0.7);
  const double power = std::pow(hyab(huntLab(a), huntLab(b)), 0.7);
  return power < 0.4 * most ? 0.95 / (0.4 * most) * power
                            : 0.95 + (power - 0.4 * most) / (most - 0.4 * most) * 0.05;
}

/// FLIP of one pixel with two-dimensional filters.
class DirectFlip {
 public:
  DirectFlip(const MetricImage& a, const MetricImage& b, double pixelsPerDegree)
      : a_(a), b_(b), ppd_(pixelsPerDegree) {}

  double at(int x, int y) const {
    const double color = colorDifference(sensed(a_, x, y), sensed(b_, x, y));
    const double edge = std::abs(feature(a_, x, y, false) - feature(b_, x, y, false));
    const double point = std::abs(feature(a_, x, y, true) - feature(b_, x, y, true));
    return std::pow(color, 1 - std::sqrt(std::max(edge, point) / std::sqrt(2.0)));
  }

 private:
  static Rgb opponentAt(const MetricImage& image, int x, int y) {
    const float* p = image.rgb.data() + 3 * (std::clamp(y, 0, image.height - 1) * image.width +
                                             std::clamp(x, 0, image.width - 1));
    if (image.linear) return ycxcz({p[0], p[1], p[2]});
    return ycxcz({decoded(p[0]), decoded(p[1]), decoded(p[2])});
  }

  Rgb sensed(const MetricImage& image, int x, int y) const {
    constexpr double terms[3][4] = {{1, 0.0047, 0, 1e-5}, {1, 0.0053, 0, 1e-5}, {34.1, 0.04, 13.5, 0.025}};
    constexpr double pi = std::numbers::pi;
    const int radius = static_cast<int>(std::ceil(3 * std::sqrt(0.04 / (2 * pi * pi)) * ppd_));
    Rgb result{}, sum{};
    for (int dy = -radius; dy <= radius; ++dy)
      for (int dx = -radius; dx <= radius; ++dx) {
        const Rgb value = opponentAt(image, x + dx, y + dy);
        const double d2 = (dx * dx + dy * dy) / (ppd_ * ppd_);
        for (std::size_t c = 0; c < 3; ++c) {
          const auto& t = terms[c];
          const double weight = t[0] * std::sqrt(pi / t[1]) * std::exp(-pi * pi * d2 / t[1]) +
                                t[2] * std::sqrt(pi / t[3]) * std::exp(-pi * pi * d2 / t[3]);
          result[c] += weight * value[c], sum[c] += weight;
        }
      }
    for (std::size_t c = 0; c < 3; ++c)
      result[c] /= sum[c];
    return rgbOf(result);
  }

  double feature(const MetricImage& image, int x, int y, bool point) const {
    const double s = 0.5 * 0.082 * ppd_;
    const int radius = static_cast<int>(std::ceil(3 * s));
    double length = 0;
    for (const bool down : {false, true}) {
      double plus = 0, minus = 0, sumPlus = 0, sumMinus = 0;
      for (int dy = -radius; dy <= radius; ++dy)
        for (int dx = -radius; dx <= radius; ++dx) {
          const double at = down ? dy : dx;
          const double weight =
              (point ? at * at / (s * s) - 1 : -at) * std::exp(-(dx * dx + dy * dy) / (2 * s * s));
          const double value = (opponentAt(image, x + dx, y + dy)[0] + 16) / 116;
          (weight > 0 ? plus : minus) += weight * value;
          (weight > 0 ? sumPlus : sumMinus) += std::abs(weight);
        }
      length += std::pow(plus / sumPlus + minus / sumMinus, 2);
    }
    return std::sqrt(length);
  }

  const MetricImage &a_, &b_;
  double ppd_;
};

TEST(Metrics, FlipOfPlainPicturesIsTheirColourDifference) {
  const MetricImage black = plain(8, 8, {}), white = plain(8, 8, {1, 1, 1});
  EXPECT_EQ(valueOf(Metric::flip, black, black), 0);
  EXPECT_NEAR(valueOf(Metric::flip, black, white), colorDifference({0, 0, 0}, {1, 1, 1}), 1e-4);
  EXPECT_NEAR(valueOf(Metric::flip, plain(8, 8, {0, 1, 0}), plain(8, 8, {0, 0, 1})), 1, 1e-5);
  const double grey = decoded(0.5), near = decoded(0.52);
  EXPECT_NEAR(valueOf(Metric::flip, plain(8, 8, {0.5, 0.5, 0.5}), plain(8, 8, {0.52, 0.5, 0.5})),
              colorDifference({grey, grey, grey}, {near, grey, grey}), 1e-4);
}

TEST(Metrics, FlipIsThePapersPixelByPixel) {
  const MetricImage a = noise(13, 9, 4);
  MetricImage b = a;
  const MetricImage other = noise(13, 9, 5);
  for (std::size_t i = 0; i < b.rgb.size(); ++i)
    if (i % 7 < 3) b.rgb[i] = other.rgb[i];
  for (const double ppd : {20.0, 31.5}) {
    const std::vector<float> map = host::flipMap(a, b, ppd);
    const DirectFlip direct(a, b, ppd);
    for (int y = 0; y < 9; y += 2)
      for (int x = 0; x < 13; x += 3)
        ASSERT_NEAR(map[static_cast<std::size_t>(y * 13 + x)], direct.at(x, y), 2e-4) << x << " " << y;
  }
}

TEST(Metrics, FlipSeesAnEdgeThatMoved) {
  MetricImage a = plain(32, 8, {}), b = a;
  for (int y = 0; y < 8; ++y)
    for (int x = 0; x < 32; ++x)
      for (int c = 0; c < 3; ++c) {
        a.rgb[static_cast<std::size_t>(3 * (y * 32 + x) + c)] = x < 16 ? 0.2f : 0.8f;
        b.rgb[static_cast<std::size_t>(3 * (y * 32 + x) + c)] = x < 18 ? 0.2f : 0.8f;
      }
  const std::vector<float> map = host::flipMap(a, b, 20);
  EXPECT_GT(map[17], 0.5f);
  EXPECT_LT(map[2], 0.01f);
  EXPECT_LT(map[30], 0.01f);
}

TEST(Metrics, ExposuresRunFromTheBrightestToTheMedian) {
  MetricImage image = plain(5, 1, {0.25, 0.25, 0.25}, true);
  for (int c = 0; c < 3; ++c)
    image.rgb[static_cast<std::size_t>(c)] = 64; // eight stops above the others
  const std::vector<double> stops = host::flipExposures(image);
  ASSERT_EQ(stops.size(), 8u);
  EXPECT_NEAR(stops.back() - stops.front(), 8, 1e-5);
  // At the first exposure the tone curve gives 0.85 for the brightest.
  const double x = 64 * std::exp2(stops[0]);
  const double curve = (0.36 * 2.51 * x * x + 0.6 * 0.03 * x) / (0.36 * 2.43 * x * x + 0.6 * 0.59 * x + 0.14);
  EXPECT_NEAR(curve, 0.85, 1e-5);
  EXPECT_EQ(host::flipExposures(plain(3, 3, {}, true)), std::vector<double>{0});
  EXPECT_EQ(host::flipExposures(plain(3, 3, {1, 1, 1}, true)).size(), 2u);
}

TEST(Metrics, FlipOfFloatPicturesIsTheLargestOverTheExposures) {
  const MetricImage a = noise(9, 7, 6, 5, true), b = noise(9, 7, 7, 5, true);
  std::vector<double> largest(a.pixels());
  for (const double stops : host::flipExposures(a)) {
    const auto shown = [stops](MetricImage image) {
      for (float& value : image.rgb) {
        const double x = value * std::exp2(stops);
        const double curve =
            (0.36 * 2.51 * x * x + 0.6 * 0.03 * x) / (0.36 * 2.43 * x * x + 0.6 * 0.59 * x + 0.14);
        value = static_cast<float>(std::min(curve, 1.0));
      }
      return image;
    };
    const MetricImage shownA = shown(a), shownB = shown(b);
    const DirectFlip direct(shownA, shownB, 12);
    for (int y = 0; y < 7; ++y)
      for (int x = 0; x < 9; ++x) {
        double& value = largest[static_cast<std::size_t>(y * 9 + x)];
        value = std::max(value, direct.at(x, y));
      }
  }
  const std::vector<float> map = host::flipMap(a, b, 12);
  for (std::size_t i = 0; i < map.size(); ++i)
    ASSERT_NEAR(map[i], largest[i], 3e-4) << i;
}

// ---- The table

TEST(Metrics, LimitsLieOnTheWorseSide) {
  EXPECT_TRUE(host::isWorse(*host::findMetric("flip"), 0.2, 0.1));
  EXPECT_FALSE(host::isWorse(*host::findMetric("rmse"), 0.1, 0.1));
  EXPECT_TRUE(host::isWorse(*host::findMetric("psnr"), 30, 40));
  EXPECT_FALSE(host::isWorse(*host::findMetric("psnr"), std::numeric_limits<double>::infinity(), 40));
  EXPECT_FALSE(host::isWorse(*host::findMetric("ssim"), 0.9, 0.9));
  EXPECT_TRUE(host::isWorse(*host::findMetric("flip"), std::nan(""), 1));
  EXPECT_EQ(host::findMetric("mse"), nullptr);
  for (const host::MetricKind& kind : host::metricKinds())
    EXPECT_EQ(&host::kindOf(kind.metric), &kind);
}

TEST(Metrics, HeatIsDarkForNoneAndBrightForMost) {
  unsigned char rgb[3];
  int last = -1;
  for (int i = 0; i <= 100; ++i) {
    host::heatColor(static_cast<float>(i) / 100, rgb);
    const int sum = 299 * rgb[0] + 587 * rgb[1] + 114 * rgb[2];
    EXPECT_GT(sum, last) << i;
    last = sum;
  }
  host::heatColor(0, rgb);
  EXPECT_EQ(rgb[0] + rgb[1] + rgb[2], 0);
}

TEST(Metrics, PicturesKeepTheirDepth) {
  host::DecodedPicture words{1, 1, false, false, 0, {}, {65535, 32768, 0, 65535}, {}};
  EXPECT_FLOAT_EQ(host::metricImage(words).rgb[1], 32768 / 65535.0f);
  host::DecodedPicture bytes{1, 1, false, false, 0, {255, 51, 0, 255}, {}, {}};
  EXPECT_EQ(host::metricImage(bytes).rgb, (std::vector<float>{1, 0.2f, 0}));
}

} // namespace
