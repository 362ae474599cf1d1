// The weights of source pixels in resampling, and a fast path for pictures that hardly change their size.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <vector>

#include "c4d_types.h"

namespace host {

/// The source pixels that make one target pixel, neighbours from `first` on; their weights lie from
/// `weights` on in the axis' list and add up to 1.
struct ScaleTaps {
  LONG first = 0;
  std::uint32_t weights = 0, count = 0;
};

struct ScaleAxis {
  std::vector<ScaleTaps> taps; // one for every target pixel
  std::vector<float> weights;

  void begin(LONG first) { taps.push_back({first, static_cast<std::uint32_t>(weights.size()), 0}); }
  void add(double weight) {
    weights.push_back(static_cast<float>(weight));
    ++taps.back().count;
  }
  /// The most source pixels that one target pixel has.
  std::uint32_t mostTaps() const;
};

/// Makes the target's rows, in any order, from at most `mostTaps` source pixels per axis: when neither axis
/// shrinks to less than a third. Works in 256ths of a code: a channel is at most a twentieth of a code off
/// before it is rounded, and a uniform colour does not change. A source row is read once while neighbouring
/// target rows need it.
class FixedScaleRows {
 public:
  static constexpr std::uint32_t mostTaps = 4;
  static bool suits(const ScaleAxis& columns, const ScaleAxis& lines);

  /// `opaque` is set over every source pixel. The axes and the pixels must outlive it.
  FixedScaleRows(const std::atomic<ULONG>* pixels, LONG width, ULONG opaque, const ScaleAxis& columns,
                 const ScaleAxis& lines);
  /// The words of target row `y`; they stay until the next call.
  const ULONG* at(LONG y);

 private:
  using Lanes = std::uint16_t __attribute__((vector_size(16)));

  void addColumn(const ScaleTaps& taps);
  const ULONG* sourceRow(LONG y);
  void mixRows(const ScaleTaps& taps);
  template <int count>
  void mixRows(const ULONG* const* rows, const Lanes* weights);
  template <int pairs>
  void mixColumns();

  const std::atomic<ULONG>* pixels_;
  LONG width_;
  ULONG opaque_;
  const ScaleAxis &columns_, &lines_;
  int pairs_;                  // of taps that a target pixel has in its row
  std::vector<LONG> first_;    // of every target pixel
  std::vector<Lanes> weights_; // its pairs
  std::array<std::vector<ULONG>, mostTaps> source_;
  std::array<LONG, mostTaps> sourceLine_;
  std::vector<std::uint16_t> mixed_; // four channels a source column, codes times 256
  std::uint16_t rounding_;
  std::vector<ULONG> out_;
};

} // namespace host
