// The network as the host sees it. The library that runs its convolutions is a part of the host (part.h),
// loaded with the first picture. Private to host/denoise.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "weights.h"

/// The part's entry: its host::denoise::NetworkLibrary.
extern "C" void* lumenara_part_onednn();

namespace host::denoise {

/// Threads that a network works on: `run(count, work)` calls `work(0)` to `work(count - 1)` at the same time
/// and returns when all have returned.
struct Workers {
  int count = 1; // at least 1
  std::function<void(int count, const std::function<void(int index)>& work)> run;
};

/// Numbers between the layers; sums are floats. With bfloat16, of eight significant bits, some processors are
/// several times as fast.
enum class Precision : std::uint8_t { float32, bfloat16 };

/// A U-Net with four levels: 3 x 3 convolutions with rectifiers, maximum pooling, nearest upsampling and skip
/// connections; the last convolution has no rectifier. One thread at a time.
class Network {
 public:
  Network() = default;
  virtual ~Network() = default;
  Network(const Network&) = delete;
  Network& operator=(const Network&) = delete;

  /// `input` and `output` are [row][column][channel], the weights' channels in and three out; both sides are
  /// multiples of 16. The result is the same for any number of workers. `goOn` is asked every few
  /// milliseconds, by one thread at a time, with the share that is done, 0 to 1, rising; false ends the run,
  /// which then returns false. Throws std::bad_alloc.
  virtual bool run(const float* input, int width, int height, float* output,
                   const std::function<bool(double)>& goOn) = 0;
};

/// The part's interface. Any thread.
class NetworkLibrary {
 public:
  /// True when the processor has instructions for the numbers.
  virtual bool has(Precision precision) const = 0;
  /// The weights outlive the network.
  virtual std::unique_ptr<Network> make(const Weights& weights, Workers workers,
                                        Precision precision) const = 0;

 protected:
  ~NetworkLibrary() = default;
};

/// Loads it at the first call. Throws PartError.
const NetworkLibrary& networkLibrary();

} // namespace host::denoise
