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
  OnednnNetwork(const Weights& weights, Workers workers, Precision precision);
  bool run(const float* input, int width, int height, float* output,
           const std::function<bool(double)>& goOn) override;

 private:
  struct Stopped {};
  /// Numbers of the network's precision as [row][column][channel]; those of another owner, or its own.
  struct Tensor {
    int width, height, channels;
    const std::byte* values;
    std::unique_ptr<std::byte[]> own{};
  };
  /// The picture that a convolution reads: `main`, or `main` at twice its size joined with `skip`.
  struct Source {
    const Tensor& main;
    const Tensor* skip = nullptr;
    int scale() const noexcept { return skip ? 2 : 1; }
    int width() const noexcept { return main.width * scale(); }
    int height() const noexcept { return main.height * scale(); }
  };
  /// Channels of a tensor, and whether each of its pixels counts four times.
  struct Part {
    const Tensor* tensor;
    int first, count;
    bool doubled;
  };
  /// Parts that lie beside each other in memory.
  using Piece = std::vector<Part>;
  /// Memory of one worker.
  struct Lane {
    std::vector<std::byte> joined, result, scratch;
  };

  Tensor convolve(const char* name, const Source& source);
  Tensor convolveAndPool(const char* name, const Tensor& source);
  void convolveLast(const Tensor& source, float* output);
  /// `finish(row, lane, band)` gets the band's result, which begins at that row, in `lane.result`, unless
  /// `target` takes it.
  template <class Finish>
  void convolveBands(const char* name, const Source& source, std::byte* target, Finish&& finish);
  BandConvolution& convolution(const char* name, const Source& source);
  std::vector<Piece> piecesOf(const Source& source) const;
  std::vector<const std::byte*> bandSources(const Source& source, int row, const Band& band,
                                            Lane& lane) const;
  static int channelsOf(const Piece& piece) noexcept;
  static bool isWhole(const Piece& piece) noexcept; // it lies in memory as it is
  std::byte* gather(const Piece& piece, int row, int rows, std::byte* to) const;
  template <class Work>
  void eachBand(int count, Work&& work);
  void ask();
  Tensor makeTensor(int width, int height, int channels);
  Tensor tensorOf(const float* input, int width, int height);
  std::size_t bytesOf(int rows, int width, int channels) const noexcept;

  const Weights& weights_;
  Workers workers_;
  Precision precision_;
  dnnl::engine engine_;
  std::vector<Lane> lanes_;
  std::map<std::pair<std::string, int>, BandConvolution> convolutions_; // of the last picture's width
  int width_ = 0;
  const std::function<bool(double)>* goOn_ = nullptr;
  std::atomic<bool> stopped_{false};
  int steps_ = 0;
};

} // namespace host::denoise
