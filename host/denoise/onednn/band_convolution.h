// A convolution of the network, run by oneDNN on bands of rows.
#pragma once

#include <map>
#include <oneapi/dnnl/dnnl.hpp>
#include <tuple>

#include "weights.h"

namespace host::denoise {

/// Rows of a picture whose values lie as [row][column][channel], so a band of rows is one piece of memory.
/// The source of a band has a row more on either side, but none beyond the picture, where it is taken as 0.
struct Band {
  int rows = 0; // of the result
  bool top = false, bottom = false;
  int sourceRows() const noexcept { return rows + (top ? 0 : 1) + (bottom ? 0 : 1); }
};

/// One 3 x 3 convolution over rows of one width.
class BandConvolution {
 public:
  /// `convolution` outlives it.
  BandConvolution(const dnnl::engine& engine, const Convolution& convolution, int width, bool rectify);

  /// Channels of the result: those of the convolution, rounded up to 16. The additional ones are 0.
  int channels() const noexcept { return channels_; }
  /// Makes the band's kind ready and gives the bytes of scratch memory that it needs.
  std::size_t prepare(const Band& band);
  /// After `prepare`. Any thread, each with its own stream and scratch memory.
  void run(const Band& band, const dnnl::stream& stream, const float* source, float* result,
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
  int inputs_, channels_, width_;
  bool rectify_;
  std::vector<float> kernel_, bias_; // with the additional channels
  std::map<Key, Kind> kinds_;
};

} // namespace host::denoise
