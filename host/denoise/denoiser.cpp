#include "denoiser.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <new>

#include "denoise_tiles.h"
#include "hdr_transfer.h"
#include "network_library.h"
#include "part.h"
#include "portable_results.h"
#include "program_folder.h"
#include "read_file.h"
#include "worker_threads.h"

namespace host::denoise {
namespace {

constexpr const char* advice = "; install the program again, or render without denoising";

constexpr std::uintmax_t mostWeightBytes = std::uintmax_t{64} << 20;

Weights readWeights(const Filename& file) {
  const std::string path = file.GetString().GetUTF8();
  const FileContent content = readFile(file, mostWeightBytes);
  if (content.fault != ReadFault::none)
    throw DenoiseError("the denoiser's file \"" + path + "\" cannot be read" + advice);
  try {
    return Weights(content.bytes);
  } catch (const WeightsError& error) {
    throw DenoiseError("the denoiser's file \"" + path + "\" " + error.what() + advice);
  }
}

/// One network with its weights, kept for the next picture. One picture at a time.
struct LoadedNetwork {
  Filename file;
  int threads = 0;
  std::unique_ptr<Weights> weights;
  std::unique_ptr<Network> network;

  void load(const Filename& wanted, int wantedThreads) {
    if (network && file == wanted && threads == wantedThreads) return;
    network.reset();
    weights = std::make_unique<Weights>(readWeights(wanted));
    const NetworkLibrary& library = networkLibrary();
    const bool fast = !wantsPortableResults() && library.has(Precision::bfloat16);
    network = library.make(*weights, {wantedThreads, runOnWorkers},
                           fast ? Precision::bfloat16 : Precision::float32);
    file = wanted;
    threads = wantedThreads;
  }
};

/// A picture's values as the network takes them, and back.
class Translation {
 public:
  explicit Translation(const NoisyPicture& picture)
      : picture_(picture),
        exposure_(autoExposure({picture.color, pixels() * 3}, picture.width, picture.height)) {}

  bool hasLayers() const noexcept { return picture_.albedo && picture_.normal; }

  /// The values of a tile. Beyond the picture its last column and row are repeated.
  void fill(const DenoiseTile& tile, std::vector<float>& values) const {
    const std::size_t channels = hasLayers() ? 9 : 3, width = static_cast<std::size_t>(tile.seenWidth);
    values.resize(width * static_cast<std::size_t>(tile.seenHeight) * channels);
    eachRow(tile.seenHeight, [&](int y) {
      float* to = &values[static_cast<std::size_t>(y) * width * channels];
      const int row = std::min(tile.seenTop + y, picture_.height - 1);
      for (int x = 0; x < tile.seenWidth; ++x, to += channels)
        fillPixel(index(std::min(tile.seenLeft + x, picture_.width - 1), row), to);
    });
  }

  void take(const DenoiseTile& tile, const std::vector<float>& values, std::vector<float>& result) const {
    eachRow(tile.bottom - tile.top, [&](int row) {
      const int y = tile.top + row;
      const std::size_t from =
          static_cast<std::size_t>(y - tile.seenTop) * static_cast<std::size_t>(tile.seenWidth) +
          static_cast<std::size_t>(tile.left - tile.seenLeft);
      const float* value = &values[from * 3];
      const std::size_t first = index(tile.left, y),
                        end = first + static_cast<std::size_t>(tile.right - tile.left) * 3;
      for (std::size_t i = first; i < end; ++i)
        result[i] = fromNetwork(*value++) / exposure_;
    });
  }

  std::size_t pixels() const noexcept {
    return static_cast<std::size_t>(picture_.width) * static_cast<std::size_t>(picture_.height);
  }

 private:
  void fillPixel(std::size_t from, float* to) const noexcept {
    for (std::size_t i = 0; i < 3; ++i) {
      to[i] = toNetwork(picture_.color[from + i] * exposure_);
      if (!hasLayers()) continue;
      to[3 + i] = within(picture_.albedo[from + i], 0, 1);
      to[6 + i] = within(picture_.normal[from + i], -1, 1) * 0.5f + 0.5f;
    }
  }
  static float within(float value, float low, float high) noexcept {
    return std::isnan(value) ? 0 : std::clamp(value, low, high);
  }
  std::size_t index(int x, int y) const noexcept {
    return (static_cast<std::size_t>(y) * static_cast<std::size_t>(picture_.width) +
            static_cast<std::size_t>(x)) *
           3;
  }

  const NoisyPicture& picture_;
  const float exposure_;
};

const char* fileFor(bool layers, Effort effort) noexcept {
  if (!layers) return "rt_hdr.tza";
  return effort == Effort::live ? "rt_hdr_alb_nrm_small.tza" : "rt_hdr_alb_nrm.tza";
}

std::optional<std::vector<float>> run(const NoisyPicture& picture, Network& network,
                                      const Translation& translation,
                                      const std::function<bool(double)>& goOn) {
  const std::vector<DenoiseTile> tiles = planTiles(picture.width, picture.height);
  std::vector<float> input, output, result(translation.pixels() * 3);
  double done = 0;
  for (const DenoiseTile& tile : tiles) {
    translation.fill(tile, input);
    output.resize(static_cast<std::size_t>(tile.seenWidth) * static_cast<std::size_t>(tile.seenHeight) * 3);
    const double share = 1.0 / static_cast<double>(tiles.size());
    const auto within = [&](double part) { return goOn(done + part * share); };
    if (!network.run(input.data(), tile.seenWidth, tile.seenHeight, output.data(), within))
      return std::nullopt;
    translation.take(tile, output, result);
    done += share;
  }
  return result;
}

Filename defaultWeights() {
  return programFolder() + "denoise";
}

} // namespace

std::optional<std::vector<float>> denoise(const NoisyPicture& picture, Effort effort, const Filename& weights,
                                          const std::function<bool(double)>& goOn) {
  static std::mutex oneAtATime;
  static LoadedNetwork loaded[2]; // the small network, and one of the full ones
  const std::lock_guard lock(oneAtATime);
  try {
    const Translation translation(picture);
    LoadedNetwork& network = loaded[translation.hasLayers() && effort == Effort::live ? 0 : 1];
    network.load(weights + fileFor(translation.hasLayers(), effort), workerCount());
    return run(picture, *network.network, translation, goOn);
  } catch (const PartError& error) {
    throw DenoiseError(std::string(error.what()) + advice);
  } catch (const std::bad_alloc&) {
    throw DenoiseError("there is not enough memory to denoise the picture; close other programs");
  }
}

std::optional<std::vector<float>> denoise(const NoisyPicture& picture, Effort effort,
                                          const std::function<bool(double)>& goOn) {
  return denoise(picture, effort, defaultWeights(), goOn);
}

} // namespace host::denoise
