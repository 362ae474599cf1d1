// The denoiser on pictures of noise: time of the small and of the full network, and the most memory held.
//
//   bench_denoise_bench [--repeat N]
//   bench_denoise_bench --memory WIDTH HEIGHT
//
// The second form denoises one picture with the full network and prints the memory beside its own.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <random>
#include <vector>

#include "denoiser.h"
#include "platform.h"

namespace {

/// Of the whole process: bounds of speed are for an idle machine, and a busy one says nothing in real time.
double processorMilliseconds() {
  return static_cast<double>(std::clock()) * 1e3 / CLOCKS_PER_SEC;
}

double millisecondsFor(const host::denoise::NoisyPicture& picture, host::denoise::Effort effort) {
  const auto start = std::chrono::steady_clock::now();
  host::denoise::denoise(picture, effort, [](double) { return true; });
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

void measure(int width, int height, host::denoise::Effort effort, int repeat) {
  std::mt19937 random(1);
  std::exponential_distribution<float> noise(1);
  std::vector<float> color(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 3);
  for (float& value : color)
    value = noise(random);
  const host::denoise::NoisyPicture picture{width, height, color.data(), color.data(), color.data()};
  std::vector<double> times, processor;
  millisecondsFor(picture, effort); // loads the weights and the library
  for (int i = 0; i < repeat; ++i) {
    const double before = processorMilliseconds();
    times.push_back(millisecondsFor(picture, effort));
    processor.push_back(processorMilliseconds() - before);
  }
  std::sort(times.begin(), times.end());
  std::printf(
      "%4d x %4d, %s network: best %.0f, median %.0f, worst %.0f ms; processors' time at best %.0f ms\n",
      width, height, effort == host::denoise::Effort::live ? "small" : "full", times.front(),
      times[times.size() / 2], times.back(), *std::min_element(processor.begin(), processor.end()));
}

void measureMemory(int width, int height) {
  const std::vector<float> color(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 3,
                                 0.5f);
  const host::denoise::NoisyPicture picture{width, height, color.data(), color.data(), color.data()};
  millisecondsFor(picture, host::denoise::Effort::final);
  const double own = 2.0 * static_cast<double>(color.size() * sizeof(float)); // the picture and the result
  std::printf("%d x %d: %.0f MB beside the picture's %.0f MB\n", width, height,
              (static_cast<double>(host::platform::peakMemory()) - own) / 1e6, own / 1e6);
}

} // namespace

int main(int count, char** arguments) {
  if (count == 4 && !std::strcmp(arguments[1], "--memory")) {
    measureMemory(std::max(1, std::atoi(arguments[2])), std::max(1, std::atoi(arguments[3])));
    return 0;
  }
  const int repeat =
      count == 3 && !std::strcmp(arguments[1], "--repeat") ? std::max(1, std::atoi(arguments[2])) : 5;
  using host::denoise::Effort;
  measure(640, 480, Effort::live, repeat);
  measure(640, 480, Effort::final, repeat);
  measure(1920, 1080, Effort::final, repeat);
  std::printf("most memory held: %.0f MB\n", static_cast<double>(host::platform::peakMemory()) / 1e6);
}
