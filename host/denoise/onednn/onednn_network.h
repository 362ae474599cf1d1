// A U-Net run by oneDNN. Each convolution is cut into bands of rows, which the host's workers take one after
// the other; the library itself uses the calling thread only.
#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <oneapi/dnnl/dnnl.hpp>
#include <string>
#include <vector>

#include "band_convolution.h"
#include "network_library.h"

namespace host::denoise {

class OnednnNetwork final : public Network {
 public:
  OnednnNetwork(const Weights& weights, Workers workers);
  bool run(const float* input, int width, int height, float* output,
           const std::function<bool(double)>& goOn) override;

 private:
  struct Stopped {};
  /// Values as [row][column][channel]; those of another owner, or its own.
  struct Tensor {
    int width, height, channels;
    const float* values;
    std::unique_ptr<float[]> own{};
  };
  /// The picture that a convolution reads: `main`, or `main` at twice its size joined with `skip`.
  struct Source {
    const Tensor& main;
    const Tensor* skip = nullptr;
    int scale() const noexcept { return skip ? 2 : 1; }
    int width() const noexcept { return main.width * scale(); }
    int height() const noexcept { return main.height * scale(); }
  };
  /// Memory of one worker.
  struct Lane {
    std::vector<float> joined, result;
    std::vector<std::byte> scratch;
  };

  Tensor convolve(const char* name, const Source& source);
  Tensor convolveAndPool(const char* name, const Tensor& source);
  void convolveLast(const Tensor& source, float* output);
  /// `finish(row, lane, band)` gets the band's result, which begins at that row, in `lane.result`, unless
  /// `target` takes it.
  template <class Finish>
  void convolveBands(const char* name, const Source& source, float* target, Finish&& finish);
  BandConvolution& convolution(const char* name, int width);
  const float* bandSource(const Source& source, int row, const Band& band, Lane& lane) const;
  template <class Work>
  void eachBand(int count, Work&& work);
  void ask();
  static Tensor makeTensor(int width, int height, int channels);

  const Weights& weights_;
  Workers workers_;
  dnnl::engine engine_;
  std::vector<Lane> lanes_;
  std::map<std::pair<std::string, int>, BandConvolution> convolutions_; // of the last picture's width
  int width_ = 0;
  const std::function<bool(double)>* goOn_ = nullptr;
  std::atomic<bool> stopped_{false};
  int steps_ = 0;
};

} // namespace host::denoise
