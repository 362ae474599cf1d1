// A convolution of the network, run by oneDNN on bands of rows.
#pragma once

#include <map>
#include <oneapi/dnnl/dnnl.hpp>
#include <tuple>

#include "network_library.h"
#include "weights.h"

namespace host::denoise {

/// Rows of a picture whose values lie as [row][column][channel], so a band of rows is one piece of memory.
/// The source of a band has a row more on either side, but none beyond the picture, where it is taken as 0.
struct Band {
  int rows = 0; // of the result
  bool top = false, bottom = false;
  int sourceRows() const noexcept { return rows + (top ? 0 : 1) + (bottom ? 0 : 1); }
};

/// The number rounded up to the channels that the library handles well.
constexpr int wholeChannels(int channels) noexcept {
  return (channels + 15) / 16 * 16;
}

/// One 3 x 3 convolution over rows of one width. The channels of its source may come in several pieces of
/// memory: the results of the pieces are added up.
class BandConvolution {
 public:
  struct Form {
    /// Channels of each piece of the source, in the order of the convolution; perhaps more than it has, which
    /// are not read.
    std::vector<int> pieces;
    int width = 0;
    bool rectify = true;
    Precision source = Precision::float32, result = Precision::float32;
  };
  BandConvolution(const dnnl::engine& engine, const Convolution& convolution, const Form& form);

  /// Channels of the result: those of the convolution, rounded up. The additional ones are 0.
  int channels() const noexcept { return channels_; }
  /// Makes the band's kind ready and gives the bytes of scratch memory that it needs.
  std::size_t prepare(const Band& band);
  /// After `prepare`. A source for each piece. Any thread, each with its own stream and scratch memory.
  void run(const Band& band, const dnnl::stream& stream, const std::vector<const std::byte*>& sources,
           void* result, void* scratch) const;

 private:
  using Forward = dnnl::convolution_forward;
  struct Step { // of a piece
    Forward::primitive_desc description;
    Forward primitive;
    dnnl::memory kernel;
  };
  using Kind = std::vector<Step>;
  using Key = std::tuple<int, bool, bool>;
  Forward::primitive_desc describe(const Band& band, std::size_t piece) const;
  dnnl::memory kernelFor(const dnnl::memory::desc& wanted, std::size_t piece) const;

  dnnl::engine engine_;
  Form form_;
  int channels_;
  std::vector<std::vector<float>> kernels_; // of each piece, with the additional channels
  std::vector<float> bias_;                 // likewise
  std::map<Key, Kind> kinds_;
};

} // namespace host::denoise
