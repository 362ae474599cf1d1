// The network as the host sees it. The library that runs its convolutions is a part of the host (part.h),
// loaded with the first picture. Private to host/denoise.
#pragma once

#include <functional>
#include <memory>

#include "weights.h"

/// The part's entry: its host::denoise::NetworkLibrary.
extern "C" void* lumenara_part_onednn();

namespace host::denoise {

/// A U-Net with four levels: 3 x 3 convolutions with rectifiers, maximum pooling, nearest upsampling and skip
/// connections; the last convolution has no rectifier. One thread at a time.
class Network {
 public:
  Network() = default;
  virtual ~Network() = default;
  Network(const Network&) = delete;
  Network& operator=(const Network&) = delete;

  /// `input` and `output` are [channel][row][column], the weights' channels in and three out; both sides are
  /// multiples of 16. `goOn` is asked between convolutions with the share that is done, 0 to 1; false ends
  /// the run, which then returns false. Throws std::bad_alloc.
  virtual bool run(const float* input, int width, int height, float* output,
                   const std::function<bool(double)>& goOn) = 0;
};

/// The part's interface. Any thread.
class NetworkLibrary {
 public:
  /// The weights outlive the network. `threads` is at least 1.
  virtual std::unique_ptr<Network> make(const Weights& weights, int threads) const = 0;

 protected:
  ~NetworkLibrary() = default;
};

/// Loads it at the first call. Throws PartError.
const NetworkLibrary& networkLibrary();

} // namespace host::denoise
