#include "onednn_network.h"

#include <algorithm>
#include <bit>
#include <new>
#include <numeric>
#include <string_view>

// OpenMP's routines (OpenMP API 5.0, 3.2): their header comes with each compiler's own library.
extern "C" {
int omp_get_max_threads();
void omp_set_num_threads(int count);
}

namespace host::denoise {
namespace {

constexpr int convolutions = 16;
constexpr const char* last = "dec_conv0";
constexpr int bandPixels = 16384; // of a result: some milliseconds of work
// Of floats: the kernel of 32 channels to 32 just fits the first cache. More make each product take three
// times as long, measured with AVX2.
constexpr int mostFloats = 32;
constexpr int leastRows = 2; // pooling takes two at a time

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

// The nearest bfloat16 of a finite number: the upper half of its bits, rounded to even.
std::uint16_t toBfloat16(float value) noexcept {
  const auto bits = std::bit_cast<std::uint32_t>(value);
  return static_cast<std::uint16_t>((bits + 0x7fff + ((bits >> 16) & 1)) >> 16);
}

// Each pixel is the largest of four. `Value` is float, or int16_t for bfloat16: rectified numbers are in the
// order of their bits, and -0 comes before 0.
template <class Value>
void pool(const std::byte* source, int rows, int width, int channels, std::byte* result) {
  const auto* from = reinterpret_cast<const Value*>(source);
  auto* to = reinterpret_cast<Value*>(result);
  const auto pixel = static_cast<std::size_t>(channels), row = valuesOf(1, width, channels);
  for (int y = 0; y < rows; y += 2, from += row)
    for (int x = 0; x < width; x += 2, from += 2 * pixel, to += pixel)
      for (std::size_t c = 0; c < pixel; ++c)
        to[c] = std::max(std::max(from[c], from[pixel + c]), std::max(from[row + c], from[row + pixel + c]));
}

} // namespace

OnednnNetwork::OnednnNetwork(const Weights& weights, Workers workers, Precision precision)
    : weights_(weights), workers_(std::move(workers)), precision_(precision),
      engine_(dnnl::engine::kind::cpu, 0), lanes_(static_cast<std::size_t>(workers_.count)) {
}

std::size_t OnednnNetwork::bytesOf(int rows, int width, int channels) const noexcept {
  return valuesOf(rows, width, channels) * (precision_ == Precision::bfloat16 ? 2 : 4);
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
    const Tensor in = tensorOf(input, width, height);
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
              std::make_unique_for_overwrite<std::byte[]>(bytesOf(height, width, channels))};
  made.values = made.own.get();
  return made;
}

// Floats stay where they are; other numbers are made, with channels added that the library handles well.
OnednnNetwork::Tensor OnednnNetwork::tensorOf(const float* input, int width, int height) {
  const int channels = weights_.inputs();
  if (precision_ == Precision::float32)
    return {width, height, channels, reinterpret_cast<const std::byte*>(input)};
  Tensor made = makeTensor(width, height, wholeChannels(channels));
  const auto known = static_cast<std::size_t>(channels), all = static_cast<std::size_t>(made.channels);
  const int rows = rowsFor(width);
  eachBand((height + rows - 1) / rows, [&](int number, Lane&, const dnnl::stream&) {
    const int first = number * rows;
    const float* from = input + valuesOf(first, width, channels);
    auto* to = reinterpret_cast<std::uint16_t*>(made.own.get() + bytesOf(first, width, made.channels));
    const std::size_t pixels = valuesOf(std::min(rows, height - first), width, 1);
    for (std::size_t i = 0; i < pixels; ++i, from += known, to += all) {
      std::transform(from, from + known, to, toBfloat16);
      std::fill(to + known, to + all, std::uint16_t{0});
    }
  });
  return made;
}

OnednnNetwork::Tensor OnednnNetwork::convolve(const char* name, const Source& source) {
  Tensor made = makeTensor(source.width(), source.height(), convolution(name, source).channels());
  convolveBands(name, source, made.own.get(), [](int, Lane&, const Band&) {});
  return made;
}

OnednnNetwork::Tensor OnednnNetwork::convolveAndPool(const char* name, const Tensor& source) {
  const int channels = convolution(name, {source}).channels();
  Tensor made = makeTensor(source.width / 2, source.height / 2, channels);
  const auto pooled = precision_ == Precision::bfloat16 ? pool<std::int16_t> : pool<float>;
  convolveBands(name, {source}, nullptr, [&](int first, const Lane& lane, const Band& band) {
    pooled(lane.result.data(), band.rows, source.width, channels,
           made.own.get() + bytesOf(first / 2, made.width, channels));
  });
  return made;
}

// Its result is floats.
void OnednnNetwork::convolveLast(const Tensor& source, float* output) {
  const auto channels = static_cast<std::size_t>(convolution(last, {source}).channels());
  convolveBands(last, {source}, nullptr, [&](int first, const Lane& lane, const Band& band) {
    const auto* from = reinterpret_cast<const float*>(lane.result.data());
    float* to = output + valuesOf(first, source.width, 3);
    const std::size_t pixels = valuesOf(band.rows, source.width, 1);
    for (std::size_t i = 0; i < pixels; ++i)
      std::copy_n(from + i * channels, 3, to + i * 3);
  });
}

BandConvolution& OnednnNetwork::convolution(const char* name, const Source& source) {
  const auto known = convolutions_.find({name, source.width()});
  if (known != convolutions_.end()) return known->second;
  const bool ends = std::string_view(name) == last;
  std::vector<int> channels;
  for (const Piece& piece : piecesOf(source))
    channels.push_back(channelsOf(piece));
  const BandConvolution::Form form{channels, source.width(), !ends, precision_,
                                   ends ? Precision::float32 : precision_};
  return convolutions_
      .emplace(std::pair(std::string(name), source.width()), BandConvolution(engine_, weights_[name], form))
      .first->second;
}

template <class Finish>
void OnednnNetwork::convolveBands(const char* name, const Source& source, std::byte* target,
                                  Finish&& finish) {
  ask();
  const int width = source.width(), height = source.height(), rows = rowsFor(width);
  BandConvolution& filter = convolution(name, source);
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
    const std::size_t most = valuesOf(rows, width, filter.channels()) * sizeof(float);
    if (!target && lane.result.size() < most) lane.result.resize(most);
    std::byte* result = target ? target + bytesOf(row, width, filter.channels()) : lane.result.data();
    filter.run(band, stream, bandSources(source, row, band, lane), result, lane.scratch.data());
    finish(row, lane, band);
  });
  ++steps_;
}

std::vector<OnednnNetwork::Piece> OnednnNetwork::piecesOf(const Source& source) const {
  Piece parts{{&source.main, 0, source.main.channels, source.skip != nullptr}};
  if (source.skip) parts.push_back({source.skip, 0, source.skip->channels, false});
  if (precision_ == Precision::bfloat16) return {parts};
  std::vector<Piece> pieces;
  for (const Part& part : parts)
    for (int first = 0; first < part.count; first += mostFloats)
      pieces.push_back({{part.tensor, first, std::min(mostFloats, part.count - first), part.doubled}});
  return pieces;
}

// Copies rows of a piece, pixel by pixel; `row` is the first. Returns the end of the copy.
std::byte* OnednnNetwork::gather(const Piece& piece, int row, int rows, std::byte* to) const {
  const int width = piece.front().tensor->width * (piece.front().doubled ? 2 : 1);
  for (int y = row; y < row + rows; ++y)
    for (int x = 0; x < width; ++x)
      for (const auto& [tensor, first, count, doubled] : piece) {
        const int scale = doubled ? 2 : 1;
        const std::byte* from = tensor->values + bytesOf(y / scale, tensor->width, tensor->channels) +
                                bytesOf(1, x / scale, tensor->channels) + bytesOf(1, 1, first);
        to = std::copy_n(from, bytesOf(1, 1, count), to);
      }
  return to;
}

// Pieces that do not lie in memory as they are wanted are made band by band, as they are needed.
std::vector<const std::byte*> OnednnNetwork::bandSources(const Source& source, int row, const Band& band,
                                                         Lane& lane) const {
  const int first = band.top ? row : row - 1, rows = band.sourceRows();
  const std::vector<Piece> pieces = piecesOf(source);
  std::size_t size = 0;
  for (const Piece& piece : pieces)
    size += isWhole(piece) ? 0 : bytesOf(rows, source.width(), channelsOf(piece));
  if (lane.joined.size() < size) lane.joined.resize(size);
  std::byte* to = lane.joined.data();
  std::vector<const std::byte*> sources;
  for (const Piece& piece : pieces) {
    const Tensor& tensor = *piece.front().tensor;
    const bool whole = isWhole(piece);
    sources.push_back(whole ? tensor.values + bytesOf(first, tensor.width, tensor.channels) : to);
    if (!whole) to = gather(piece, first, rows, to);
  }
  return sources;
}

int OnednnNetwork::channelsOf(const Piece& piece) noexcept {
  return std::accumulate(piece.begin(), piece.end(), 0,
                         [](int sum, const Part& part) { return sum + part.count; });
}

bool OnednnNetwork::isWhole(const Piece& piece) noexcept {
  return piece.size() == 1 && !piece[0].doubled && piece[0].count == piece[0].tensor->channels;
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
