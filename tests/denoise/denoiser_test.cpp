// The network against a plain one, and pictures with their noise.
#include "denoiser.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>
#include <random>

#include "denoise_tiles.h"
#include "network_library.h"
#include "worker_threads.h"

namespace host::denoise {
namespace {

const Filename weightsFolder = Filename(LUMENARA_SOURCE_DIR) + "res" + "denoise";
const auto goOn = [](double) { return true; };

std::string bytesOf(const std::string& name) {
  std::ifstream stream(std::string(LUMENARA_SOURCE_DIR) + "/res/denoise/" + name, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

/// Planes of floats: [channel][row][column].
struct Planes {
  int channels, width, height;
  std::vector<double> values;

  Planes(int c, int w, int h)
      : channels(c), width(w), height(h), values(static_cast<std::size_t>(c * w * h), 0.0) {}
  double& at(int c, int x, int y) { return values[static_cast<std::size_t>((c * height + y) * width + x)]; }
  double get(int c, int x, int y) const {
    if (x < 0 || y < 0 || x >= width || y >= height) return 0;
    return values[static_cast<std::size_t>((c * height + y) * width + x)];
  }
};

/// The same network by its definition, with doubles.
class PlainNetwork {
 public:
  explicit PlainNetwork(const Weights& weights) : weights_(weights) {}

  Planes run(const Planes& in) const {
    const Planes level1 = pool(conv("enc_conv1", conv("enc_conv0", in)));
    const Planes level2 = pool(conv("enc_conv2", level1));
    const Planes level3 = pool(conv("enc_conv3", level2));
    Planes x = pool(conv("enc_conv4", level3));
    x = conv("enc_conv5b", conv("enc_conv5a", x));
    x = conv("dec_conv4b", conv("dec_conv4a", joined(grown(x), level3)));
    x = conv("dec_conv3b", conv("dec_conv3a", joined(grown(x), level2)));
    x = conv("dec_conv2b", conv("dec_conv2a", joined(grown(x), level1)));
    x = conv("dec_conv1b", conv("dec_conv1a", joined(grown(x), in)));
    return conv("dec_conv0", x, false);
  }

 private:
  Planes conv(const char* name, const Planes& in, bool rectify = true) const {
    const Convolution& c = weights_[name];
    Planes out(c.outputs, in.width, in.height);
    for (int o = 0; o < c.outputs; ++o)
      for (int y = 0; y < in.height; ++y)
        for (int x = 0; x < in.width; ++x) {
          double sum = c.bias[static_cast<std::size_t>(o)];
          for (int i = 0; i < c.inputs; ++i)
            for (int k = 0; k < 9; ++k)
              sum += static_cast<double>(c.kernel[static_cast<std::size_t>((o * c.inputs + i) * 9 + k)]) *
                     in.get(i, x + k % 3 - 1, y + k / 3 - 1);
          out.at(o, x, y) = rectify ? std::max(sum, 0.0) : sum;
        }
    return out;
  }
  static Planes pool(const Planes& in) {
    Planes out(in.channels, in.width / 2, in.height / 2);
    for (int c = 0; c < out.channels; ++c)
      for (int y = 0; y < out.height; ++y)
        for (int x = 0; x < out.width; ++x)
          out.at(c, x, y) = std::max({in.get(c, 2 * x, 2 * y), in.get(c, 2 * x + 1, 2 * y),
                                      in.get(c, 2 * x, 2 * y + 1), in.get(c, 2 * x + 1, 2 * y + 1)});
    return out;
  }
  static Planes grown(const Planes& in) {
    Planes out(in.channels, in.width * 2, in.height * 2);
    for (int c = 0; c < out.channels; ++c)
      for (int y = 0; y < out.height; ++y)
        for (int x = 0; x < out.width; ++x)
          out.at(c, x, y) = in.get(c, x / 2, y / 2);
    return out;
  }
  static Planes joined(const Planes& a, const Planes& b) {
    Planes out(a.channels + b.channels, a.width, a.height);
    std::copy(b.values.begin(), b.values.end(),
              std::copy(a.values.begin(), a.values.end(), out.values.begin()));
    return out;
  }

  const Weights& weights_;
};

TEST(Network, AgreesWithItsDefinition) {
  for (const char* name : {"rt_hdr.tza", "rt_hdr_alb_nrm_small.tza", "rt_hdr_alb_nrm.tza"}) {
    const std::string bytes = bytesOf(name);
    const Weights weights(std::as_bytes(std::span(bytes)));
    Planes in(weights.inputs(), 32, 16);
    std::mt19937 random(7);
    std::uniform_real_distribution<float> value(0, 1);
    std::vector<float> input;
    for (int y = 0; y < in.height; ++y)
      for (int x = 0; x < in.width; ++x)
        for (int c = 0; c < in.channels; ++c) {
          input.push_back(value(random));
          in.at(c, x, y) = static_cast<double>(input.back());
        }
    const Planes expected = PlainNetwork(weights).run(in);
    std::vector<float> output(expected.values.size());
    for (const int workers : {1, 2}) {
      const auto network = networkLibrary().make(weights, {workers, runOnWorkers}, Precision::float32);
      ASSERT_TRUE(network->run(input.data(), in.width, in.height, output.data(), goOn));
      const float* next = output.data();
      for (int y = 0; y < in.height; ++y)
        for (int x = 0; x < in.width; ++x)
          for (int c = 0; c < 3; ++c)
            ASSERT_NEAR(static_cast<double>(*next++), expected.get(c, x, y), 1e-4) << name;
    }
  }
}

/// A smooth picture with noise, as a render with few samples has it.
struct NoisyRamp {
  int width, height;
  std::vector<float> clean, noisy, albedo, normal;

  NoisyRamp(int w, int h) : width(w), height(h) {
    std::mt19937 random(11);
    std::exponential_distribution<float> noise(1);
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x)
        for (int i = 0; i < 3; ++i) {
          const float light = 0.05f + 0.9f * static_cast<float>(x) / static_cast<float>(w) +
                              (y > h / 2 && i == 0 ? 0.8f : 0.0f);
          clean.push_back(light);
          noisy.push_back(light * (0.5f + 0.5f * noise(random)));
          albedo.push_back(0.5f);
          normal.push_back(i == 2 ? 1.0f : 0.0f);
        }
  }
  NoisyPicture picture() const { return {width, height, noisy.data(), nullptr, nullptr}; }
  double error(const std::vector<float>& other) const {
    double sum = 0;
    for (std::size_t i = 0; i < clean.size(); ++i)
      sum += std::pow(static_cast<double>(other[i] - clean[i]), 2);
    return std::sqrt(sum / static_cast<double>(clean.size()));
  }
};

TEST(Denoiser, TakesNoiseOut) {
  const NoisyRamp ramp(150, 90);
  const auto color = denoise(ramp.picture(), Effort::final, weightsFolder, goOn);
  ASSERT_TRUE(color);
  EXPECT_LT(ramp.error(*color), ramp.error(ramp.noisy) / 5);

  NoisyPicture layers = ramp.picture();
  layers.albedo = ramp.albedo.data();
  layers.normal = ramp.normal.data();
  for (const Effort effort : {Effort::live, Effort::final}) {
    const auto result = denoise(layers, effort, weightsFolder, goOn);
    ASSERT_TRUE(result);
    EXPECT_LT(ramp.error(*result), ramp.error(ramp.noisy) / 5);
  }
}

TEST(Denoiser, SameResultEveryTime) {
  const NoisyRamp ramp(70, 50);
  const auto first = denoise(ramp.picture(), Effort::final, weightsFolder, goOn);
  setWorkerCount(1);
  const auto alone = denoise(ramp.picture(), Effort::final, weightsFolder, goOn);
  setWorkerCount(0);
  ASSERT_TRUE(first && alone);
  EXPECT_EQ(*first, *alone);
}

// Scaling the light scales the result: the exposure takes the brightness out.
TEST(Denoiser, AnyBrightness) {
  const NoisyRamp ramp(64, 64);
  std::vector<float> bright = ramp.noisy;
  for (float& value : bright)
    value *= 256;
  const auto plain = denoise(ramp.picture(), Effort::final, weightsFolder, goOn);
  const auto scaled = denoise({64, 64, bright.data(), nullptr, nullptr}, Effort::final, weightsFolder, goOn);
  ASSERT_TRUE(plain && scaled);
  for (std::size_t i = 0; i < plain->size(); ++i)
    EXPECT_NEAR((*scaled)[i] / 256, (*plain)[i], 1e-3f);
}

TEST(Denoiser, HostilePictures) {
  const float bad[] = {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(),
                       -1e30f, 1e38f};
  std::vector<float> color;
  for (int i = 0; i < 33 * 7 * 3; ++i)
    color.push_back(bad[i % 4]);
  const auto result =
      denoise({33, 7, color.data(), color.data(), color.data()}, Effort::live, weightsFolder, goOn);
  ASSERT_TRUE(result);
  for (const float value : *result) {
    EXPECT_TRUE(std::isfinite(value));
    EXPECT_GE(value, 0);
  }
  const float one[] = {0.2f, 0.4f, 0.1f};
  EXPECT_TRUE(denoise({1, 1, one, nullptr, nullptr}, Effort::final, weightsFolder, goOn));
}

TEST(Denoiser, StopsAndTells) {
  const NoisyRamp ramp(64, 64);
  double last = -1;
  int calls = 0;
  const auto whole = denoise(ramp.picture(), Effort::final, weightsFolder, [&](double share) {
    EXPECT_GT(share, last);
    EXPECT_LT(share, 1);
    last = share;
    ++calls;
    return true;
  });
  EXPECT_TRUE(whole);
  EXPECT_GE(calls, 16); // at least once a convolution
  calls = 0;
  EXPECT_FALSE(denoise(ramp.picture(), Effort::final, weightsFolder, [&](double) { return ++calls < 3; }));
  EXPECT_EQ(calls, 3);
  EXPECT_EQ(denoise(ramp.picture(), Effort::final, weightsFolder, goOn), whole); // nothing is left of it
}

std::string sentenceOf(const Filename& folder) {
  const NoisyRamp ramp(16, 16);
  try {
    denoise(ramp.picture(), Effort::final, folder, goOn);
  } catch (const DenoiseError& error) {
    return error.what();
  }
  return "denoised";
}

TEST(Denoiser, MissingAndDamagedWeights) {
  namespace fs = std::filesystem;
  const fs::path folder = fs::temp_directory_path() / "lumenara_denoise_test";
  fs::remove_all(folder);
  fs::create_directories(folder);
  const Filename name{String(folder.string().c_str())};
  const std::string file = "the denoiser's file \"" + (folder / "rt_hdr.tza").string() + "\" ";
  const std::string advice = "; install the program again, or render without denoising";
  EXPECT_EQ(sentenceOf(name), file + "cannot be read" + advice);
  std::ofstream(folder / "rt_hdr.tza") << "x";
  EXPECT_EQ(sentenceOf(name), file + "is cut short" + advice);
  std::ofstream(folder / "rt_hdr.tza") << std::string(100, 'x');
  EXPECT_EQ(sentenceOf(name), file + "is not a tensor archive" + advice);
  fs::remove_all(folder);
}

// Numbers of eight significant bits change a picture by less than a step of a display's 255.
TEST(Network, Bfloat16AgreesWithFloats) {
  if (!networkLibrary().has(Precision::bfloat16))
    GTEST_SKIP() << "the processor has no instructions for bfloat16";
  for (const char* name : {"rt_hdr.tza", "rt_hdr_alb_nrm_small.tza", "rt_hdr_alb_nrm.tza"}) {
    const std::string bytes = bytesOf(name);
    const Weights weights(std::as_bytes(std::span(bytes)));
    const NoisyRamp ramp(128, 96);
    std::vector<float> input;
    for (std::size_t i = 0; i < ramp.noisy.size(); i += 3)
      for (const auto* layer : {&ramp.noisy, &ramp.albedo, &ramp.normal})
        if (layer == &ramp.noisy || weights.inputs() == 9)
          for (std::size_t k = i; k < i + 3; ++k)
            input.push_back(std::min(1.0f, 0.5f * (*layer)[k]));
    std::vector<float> exact(ramp.noisy.size()), fast(exact.size()), again(exact.size());
    const auto run = [&](Precision precision, int workers, std::vector<float>& output) {
      const auto network = networkLibrary().make(weights, {workers, runOnWorkers}, precision);
      ASSERT_TRUE(network->run(input.data(), ramp.width, ramp.height, output.data(), goOn));
    };
    run(Precision::float32, 2, exact);
    run(Precision::bfloat16, 2, fast);
    run(Precision::bfloat16, 1, again);
    EXPECT_EQ(fast, again);
    EXPECT_NE(fast, exact);
    double sum = 0;
    for (std::size_t i = 0; i < exact.size(); ++i)
      sum += std::pow(static_cast<double>(fast[i] - exact[i]), 2);
    const double decibels = -10 * std::log10(sum / static_cast<double>(exact.size()));
    EXPECT_GT(decibels, 50) << name;
  }
}

// Tiles give the same pixels as the whole picture.
TEST(Denoiser, TilesHaveNoSeams) {
  const std::string bytes = bytesOf("rt_hdr.tza");
  const Weights weights(std::as_bytes(std::span(bytes)));
  const auto network = networkLibrary().make(weights, {2, runOnWorkers}, Precision::float32);
  constexpr int width = 288, height = 64;
  std::vector<float> whole(3 * width * height), result(whole.size());
  std::mt19937 random(3);
  std::uniform_real_distribution<float> value(0, 1);
  for (float& x : whole)
    x = value(random);
  ASSERT_TRUE(network->run(whole.data(), width, height, result.data(), goOn));

  constexpr int seen = 144 + networkReach; // the left half with its reach
  std::vector<float> part, partResult(3 * seen * height);
  for (int row = 0; row < height; ++row) {
    const auto from = whole.begin() + 3 * row * width;
    part.insert(part.end(), from, from + 3 * seen);
  }
  ASSERT_TRUE(network->run(part.data(), seen, height, partResult.data(), goOn));
  for (int row = 0; row < height; ++row)
    for (int i = 0; i < 3 * 144; ++i)
      ASSERT_NEAR(partResult[static_cast<std::size_t>(row * 3 * seen + i)],
                  result[static_cast<std::size_t>(row * 3 * width + i)], 1e-5f);
}

} // namespace
} // namespace host::denoise
