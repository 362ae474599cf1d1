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

/// One 3 x 3 convolution over rows of one width.
class BandConvolution {
 public:
  struct Form {
    int inputs = 0; // channels of the source: those of the convolution, and perhaps more, which are not read
    int width = 0;
    bool rectify = true;
    Precision source = Precision::float32, result = Precision::float32;
  };
  BandConvolution(const dnnl::engine& engine, const Convolution& convolution, const Form& form);

  /// Channels of the result: those of the convolution, rounded up. The additional ones are 0.
  int channels() const noexcept { return channels_; }
  /// Makes the band's kind ready and gives the bytes of scratch memory that it needs.
  std::size_t prepare(const Band& band);
  /// After `prepare`. Any thread, each with its own stream and scratch memory.
  void run(const Band& band, const dnnl::stream& stream, const void* source, void* result,
           void* scratch) const;

 private:
  using Forward = dnnl::convolution_forward;
  struct Kind {
    Forward::primitive_desc description;
    Forward primitive;
    dnnl::memory kernel;
  };
  using Key = std::tuple<int, bool, bool>;
  Forward::primitive_desc describe(const Band& band) const;
  dnnl::memory kernelFor(const dnnl::memory::desc& wanted) const;

  dnnl::engine engine_;
  Form form_;
  int channels_;
  std::vector<float> kernel_, bias_; // with the additional channels
  std::map<Key, Kind> kinds_;
};

} // namespace host::denoise
