// A U-Net run by oneDNN.
#pragma once

#include <oneapi/dnnl/dnnl.hpp>

#include "network_library.h"

namespace host::denoise {

class OnednnNetwork final : public Network {
 public:
  OnednnNetwork(const Weights& weights, int threads);
  bool run(const float* input, int width, int height, float* output,
           const std::function<bool(double)>& goOn) override;

 private:
  struct Stopped {};
  /// The part of a convolution that reads one of its sources.
  struct Part {
    dnnl::memory source;
    int firstInput;
    bool first, last;
  };

  dnnl::memory convolve(const char* name, const dnnl::memory& source, const dnnl::memory& skip = {});
  void convolvePart(const Convolution& convolution, const Part& part, bool rectify, dnnl::memory& result);
  dnnl::memory pool(const dnnl::memory& source);
  dnnl::memory upsample(const dnnl::memory& source);
  dnnl::memory reordered(const dnnl::memory& source, const dnnl::memory::desc& wanted);
  void step();

  const Weights& weights_;
  int threads_;
  dnnl::engine engine_;
  dnnl::stream stream_;
  const std::function<bool(double)>* goOn_ = nullptr;
  int steps_ = 0;
};

} // namespace host::denoise
