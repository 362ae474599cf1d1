#include "scale_rows.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace host {

namespace {

using Lanes = std::uint16_t __attribute__((vector_size(16)));
using Bytes = std::uint8_t __attribute__((vector_size(16)));
using HalfBytes = std::uint8_t __attribute__((vector_size(8)));

/// The upper 16 bits of every product.
inline Lanes multiplyHigh(Lanes a, Lanes b) {
#ifdef __SSE2__
  return reinterpret_cast<Lanes>(_mm_mulhi_epu16(reinterpret_cast<__m128i>(a), reinterpret_cast<__m128i>(b)));
#else
  Lanes product;
  for (int i = 0; i < 8; ++i)
    product[i] = static_cast<std::uint16_t>((static_cast<std::uint32_t>(a[i]) * b[i]) >> 16);
  return product;
#endif
}

/// Weights as 65536ths that add up to 65536; a single one is 65535.
void fixWeights(const ScaleAxis& axis, const ScaleTaps& taps, std::uint16_t* fixed) {
  const float* weights = axis.weights.data() + taps.weights;
  LONG left = 65536;
  std::uint32_t largest = 0;
  std::array<LONG, FixedScaleRows::mostTaps> whole{};
  for (std::uint32_t i = 0; i < taps.count; ++i) {
    whole[i] = static_cast<LONG>(std::lround(weights[i] * 65536.0));
    left -= whole[i];
    if (weights[i] > weights[largest]) largest = i;
  }
  whole[largest] += left;
  for (std::uint32_t i = 0; i < taps.count; ++i)
    fixed[i] = static_cast<std::uint16_t>(std::clamp(whole[i], 0, 65535));
}

Lanes everywhere(std::uint16_t value) {
  return Lanes{} + value;
}

std::size_t sizeOf(LONG count) {
  return static_cast<std::size_t>(count);
}

} // namespace

std::uint32_t ScaleAxis::mostTaps() const {
  std::uint32_t most = 0;
  for (const ScaleTaps& one : taps)
    most = std::max(most, one.count);
  return most;
}

bool FixedScaleRows::suits(const ScaleAxis& columns, const ScaleAxis& lines) {
  return columns.mostTaps() <= mostTaps && lines.mostTaps() <= mostTaps;
}

// Buffers that are read and written in groups have room after their end.
FixedScaleRows::FixedScaleRows(const std::atomic<ULONG>* pixels, LONG width, ULONG opaque,
                               const ScaleAxis& columns, const ScaleAxis& lines)
    : pixels_(pixels), width_(width), opaque_(opaque), columns_(columns), lines_(lines),
      pairs_(columns.mostTaps() > 2 ? 2 : 1) {
  for (std::vector<ULONG>& row : source_)
    row.resize(sizeOf(width) + 4);
  sourceLine_.fill(-1);
  mixed_.resize((sizeOf(width) + 8) * 4);
  for (const ScaleTaps& taps : columns.taps)
    addColumn(taps);
  if (first_.size() % 2) addColumn({});
  out_.resize(first_.size());
  // A half, plus the average loss of the products.
  rounding_ = static_cast<std::uint16_t>(128 + (columns.mostTaps() + lines.mostTaps()) / 2);
}

void FixedScaleRows::addColumn(const ScaleTaps& taps) {
  std::array<std::uint16_t, mostTaps> fixed{};
  if (taps.count > 0) fixWeights(columns_, taps, fixed.data());
  first_.push_back(taps.first);
  for (std::size_t i = 0; i < 2 * sizeOf(pairs_); i += 2) {
    const std::uint16_t a = fixed[i], b = fixed[i + 1];
    weights_.push_back(Lanes{a, a, a, a, b, b, b, b});
  }
}

const ULONG* FixedScaleRows::sourceRow(LONG y) {
  const std::size_t slot = sizeOf(y) % mostTaps;
  std::vector<ULONG>& row = source_[slot];
  if (sourceLine_[slot] != y) {
    sourceLine_[slot] = y;
    const std::atomic<ULONG>* line = pixels_ + sizeOf(y) * sizeOf(width_);
    ULONG* out = row.data();
    const ULONG opaque = opaque_; // a member would be read again after every store
    const LONG width = width_;
    for (LONG x = 0; x < width; ++x)
      out[x] = line[x].load(std::memory_order_relaxed) | opaque;
  }
  return row.data();
}

// Four pixels at once.
template <int count>
void FixedScaleRows::mixRows(const ULONG* const* rows, const Lanes* weights) {
  std::uint16_t* out = mixed_.data();
  for (LONG x = 0; x < width_; x += 4, out += 16) {
    Lanes low{}, high{};
    for (int i = 0; i < count; ++i) {
      Bytes codes;
      std::memcpy(&codes, rows[i] + x, sizeof codes);
      const auto left = reinterpret_cast<Lanes>(
          __builtin_shufflevector(Bytes{}, codes, 0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23));
      const auto right = reinterpret_cast<Lanes>(__builtin_shufflevector(
          Bytes{}, codes, 8, 24, 9, 25, 10, 26, 11, 27, 12, 28, 13, 29, 14, 30, 15, 31));
      low += count == 1 ? left : multiplyHigh(left, weights[i]);
      high += count == 1 ? right : multiplyHigh(right, weights[i]);
    }
    std::memcpy(out, &low, sizeof low);
    std::memcpy(out + 8, &high, sizeof high);
  }
}

void FixedScaleRows::mixRows(const ScaleTaps& taps) {
  std::array<std::uint16_t, mostTaps> fixed{};
  fixWeights(lines_, taps, fixed.data());
  std::array<const ULONG*, mostTaps> rows{};
  std::array<Lanes, mostTaps> weights{};
  for (std::uint32_t i = 0; i < taps.count; ++i) {
    rows[i] = sourceRow(taps.first + static_cast<LONG>(i));
    weights[i] = everywhere(fixed[i]);
  }
  switch (taps.count) {
  case 1:
    return mixRows<1>(rows.data(), weights.data());
  case 2:
    return mixRows<2>(rows.data(), weights.data());
  case 3:
    return mixRows<3>(rows.data(), weights.data());
  default:
    return mixRows<4>(rows.data(), weights.data());
  }
}

// Two target pixels at once; a pair of taps is one product.
template <int pairs>
void FixedScaleRows::mixColumns() {
  const Lanes rounding = everywhere(rounding_);
  const Lanes* weights = weights_.data();
  const auto sum = [&](LONG first) {
    Lanes total{};
    for (int i = 0; i < pairs; ++i) {
      Lanes values;
      std::memcpy(&values, mixed_.data() + 4 * (sizeOf(first) + 2 * sizeOf(i)), sizeof values);
      total += multiplyHigh(values, *weights++);
    }
    return total;
  };
  for (std::size_t x = 0; x < first_.size(); x += 2) {
    const Lanes a = sum(first_[x]), b = sum(first_[x + 1]);
    const Lanes both = __builtin_shufflevector(a, b, 0, 1, 2, 3, 8, 9, 10, 11) +
                       __builtin_shufflevector(a, b, 4, 5, 6, 7, 12, 13, 14, 15) + rounding;
    const HalfBytes codes = __builtin_convertvector(both >> 8, HalfBytes);
    std::memcpy(out_.data() + x, &codes, sizeof codes);
  }
}

const ULONG* FixedScaleRows::at(LONG y) {
  mixRows(lines_.taps[sizeOf(y)]);
  pairs_ == 1 ? mixColumns<1>() : mixColumns<2>();
  return out_.data();
}

} // namespace host
