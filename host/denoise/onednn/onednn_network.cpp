#include "onednn_network.h"

#include <algorithm>
#include <new>
#include <string_view>

// OpenMP's routines (OpenMP API 5.0, 3.2): their header comes with each compiler's own library.
extern "C" {
int omp_get_max_threads();
void omp_set_num_threads(int count);
}

namespace host::denoise {
namespace {

constexpr int convolutions = 16;
constexpr int bandPixels = 16384; // of a result: some milliseconds of work
constexpr int leastRows = 2;      // pooling takes two at a time

int rowsFor(int width) noexcept {
  return std::max(leastRows, bandPixels / width / leastRows * leastRows);
}

/// Without threads of the library's own. The setting counts for regions that the calling thread begins.
class OwnThreadOnly {
 public:
  OwnThreadOnly() : before_(omp_get_max_threads()) { omp_set_num_threads(1); }
  ~OwnThreadOnly() { omp_set_num_threads(before_); }
  OwnThreadOnly(const OwnThreadOnly&) = delete;
  OwnThreadOnly& operator=(const OwnThreadOnly&) = delete;

 private:
  int before_;
};

std::size_t valuesOf(int rows, int width, int channels) noexcept {
  return static_cast<std::size_t>(rows) * static_cast<std::size_t>(width) *
         static_cast<std::size_t>(channels);
}

} // namespace

OnednnNetwork::OnednnNetwork(const Weights& weights, Workers workers)
    : weights_(weights), workers_(std::move(workers)), engine_(dnnl::engine::kind::cpu, 0),
      lanes_(static_cast<std::size_t>(workers_.count)) {
}

bool OnednnNetwork::run(const float* input, int width, int height, float* output,
                        const std::function<bool(double)>& goOn) {
  const OwnThreadOnly alone;
  if (width != width_) convolutions_.clear();
  width_ = width;
  goOn_ = &goOn;
  stopped_ = false;
  steps_ = 0;
  try {
    const Tensor in{width, height, weights_.inputs(), input};
    Tensor level1 = convolveAndPool("enc_conv1", convolve("enc_conv0", {in}));
    Tensor level2 = convolveAndPool("enc_conv2", level1);
    Tensor level3 = convolveAndPool("enc_conv3", level2);
    Tensor x = convolveAndPool("enc_conv4", level3);
    x = convolve("enc_conv5b", {convolve("enc_conv5a", {x})});
    x = convolve("dec_conv4b", {convolve("dec_conv4a", {x, &level3})});
    level3.own.reset();
    x = convolve("dec_conv3b", {convolve("dec_conv3a", {x, &level2})});
    level2.own.reset();
    x = convolve("dec_conv2b", {convolve("dec_conv2a", {x, &level1})});
    level1.own.reset();
    x = convolve("dec_conv1b", {convolve("dec_conv1a", {x, &in})});
    convolveLast(x, output);
  } catch (const Stopped&) {
    return false;
  } catch (const dnnl::error& error) {
    if (error.status == dnnl_out_of_memory) throw std::bad_alloc();
    throw;
  }
  return true;
}

OnednnNetwork::Tensor OnednnNetwork::makeTensor(int width, int height, int channels) {
  Tensor made{width, height, channels, nullptr,
              std::make_unique_for_overwrite<float[]>(valuesOf(height, width, channels))};
  made.values = made.own.get();
  return made;
}

OnednnNetwork::Tensor OnednnNetwork::convolve(const char* name, const Source& source) {
  Tensor made = makeTensor(source.width(), source.height(), convolution(name, source.width()).channels());
  convolveBands(name, source, made.own.get(), [](int, Lane&, const Band&) {});
  return made;
}

// Each pixel is the largest of four.
OnednnNetwork::Tensor OnednnNetwork::convolveAndPool(const char* name, const Tensor& source) {
  const int channels = convolution(name, source.width).channels();
  Tensor made = makeTensor(source.width / 2, source.height / 2, channels);
  const std::size_t row = valuesOf(1, source.width, channels), pixel = static_cast<std::size_t>(channels);
  convolveBands(name, {source}, nullptr, [&](int first, const Lane& lane, const Band& band) {
    float* to = made.own.get() + valuesOf(first / 2, made.width, channels);
    for (int y = 0; y < band.rows; y += 2)
      for (int x = 0; x < source.width; x += 2, to += pixel) {
        const float* from =
            lane.result.data() + valuesOf(y, source.width, channels) + valuesOf(1, x, channels);
        for (std::size_t c = 0; c < pixel; ++c)
          to[c] =
              std::max(std::max(from[c], from[pixel + c]), std::max(from[row + c], from[row + pixel + c]));
      }
  });
  return made;
}

void OnednnNetwork::convolveLast(const Tensor& source, float* output) {
  const auto channels = static_cast<std::size_t>(convolution("dec_conv0", source.width).channels());
  convolveBands("dec_conv0", {source}, nullptr, [&](int first, const Lane& lane, const Band& band) {
    float* to = output + valuesOf(first, source.width, 3);
    const std::size_t pixels = valuesOf(band.rows, source.width, 1);
    for (std::size_t i = 0; i < pixels; ++i)
      std::copy_n(&lane.result[i * channels], 3, to + i * 3);
  });
}

BandConvolution& OnednnNetwork::convolution(const char* name, int width) {
  const auto known = convolutions_.find({name, width});
  if (known != convolutions_.end()) return known->second;
  const bool rectify = std::string_view(name) != "dec_conv0";
  return convolutions_
      .emplace(std::pair(std::string(name), width), BandConvolution(engine_, weights_[name], width, rectify))
      .first->second;
}

template <class Finish>
void OnednnNetwork::convolveBands(const char* name, const Source& source, float* target, Finish&& finish) {
  ask();
  const int width = source.width(), height = source.height(), rows = rowsFor(width);
  BandConvolution& filter = convolution(name, width);
  const auto bandAt = [&](int row) {
    return Band{std::min(rows, height - row), row == 0, row + rows >= height};
  };
  std::size_t scratch = 0;
  for (int row = 0; row < height; row += rows)
    scratch = std::max(scratch, filter.prepare(bandAt(row)));
  eachBand((height + rows - 1) / rows, [&](int number, Lane& lane, const dnnl::stream& stream) {
    const int row = number * rows;
    const Band band = bandAt(row);
    if (lane.scratch.size() < scratch) lane.scratch.resize(scratch);
    const std::size_t values = valuesOf(rows, width, filter.channels());
    if (!target && lane.result.size() < values) lane.result.resize(values);
    float* result = target ? target + valuesOf(row, width, filter.channels()) : lane.result.data();
    filter.run(band, stream, bandSource(source, row, band, lane), result, lane.scratch.data());
    finish(row, lane, band);
  });
  ++steps_;
}

// A joined source is made band by band, as it is needed.
const float* OnednnNetwork::bandSource(const Source& source, int row, const Band& band, Lane& lane) const {
  const int first = band.top ? row : row - 1;
  const Tensor& main = source.main;
  if (!source.skip) return main.values + valuesOf(first, main.width, main.channels);
  const int width = source.width(), rows = band.sourceRows();
  const auto one = static_cast<std::size_t>(main.channels),
             two = static_cast<std::size_t>(source.skip->channels);
  const std::size_t size = valuesOf(rows, width, main.channels + source.skip->channels);
  if (lane.joined.size() < size) lane.joined.resize(size);
  float* to = lane.joined.data();
  const float* skip = source.skip->values + valuesOf(first, width, source.skip->channels);
  for (int y = first; y < first + rows; ++y) {
    const float* low = main.values + valuesOf(y / 2, main.width, main.channels);
    for (int x = 0; x < width; ++x, skip += two) {
      to = std::copy_n(low + static_cast<std::size_t>(x / 2) * one, one, to);
      to = std::copy_n(skip, two, to);
    }
  }
  return lane.joined.data();
}

template <class Work>
void OnednnNetwork::eachBand(int count, Work&& work) {
  std::atomic<int> next{0};
  workers_.run(std::min(workers_.count, count), [&](int index) {
    const OwnThreadOnly alone;
    const dnnl::stream stream(engine_);
    Lane& lane = lanes_[static_cast<std::size_t>(index)];
    for (int number; !stopped_.load(std::memory_order_relaxed) && (number = next.fetch_add(1)) < count;) {
      if (index == 0 && number > 0 &&
          !(*goOn_)((steps_ + static_cast<double>(number) / count) / convolutions)) {
        stopped_ = true;
        return;
      }
      work(number, lane, stream);
    }
  });
  if (stopped_) throw Stopped();
}

void OnednnNetwork::ask() {
  if (!(*goOn_)(static_cast<double>(steps_) / convolutions)) throw Stopped();
}

} // namespace host::denoise
