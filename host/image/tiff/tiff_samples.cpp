#include "tiff_samples.h"

#include <Imath/half.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace host {
namespace {

template <class Number>
Number load(const unsigned char* row, std::size_t i) {
  Number number;
  std::memcpy(&number, row + i * sizeof number, sizeof number);
  return number;
}

/// A number of any width, packed highest bit first.
std::uint32_t loadBits(const unsigned char* row, std::size_t i, unsigned bits) {
  std::uint64_t value = 0;
  const std::size_t first = i * bits, last = first + bits; // in bits
  for (std::size_t byte = first / 8; byte * 8 < last; ++byte)
    value = (value << 8) | row[byte];
  value >>= (8 - last % 8) % 8;
  return static_cast<std::uint32_t>(value & ((std::uint64_t{1} << bits) - 1));
}

/// Every width that is stored as a machine's number, and those that are packed.
template <class Use>
void eachNumber(const unsigned char* row, unsigned bits, std::size_t count, Use use) {
  for (std::size_t i = 0; i < count; ++i)
    if (bits == 8)
      use(i, std::uint32_t{row[i]});
    else if (bits == 16)
      use(i, std::uint32_t{load<std::uint16_t>(row, i)});
    else if (bits == 32)
      use(i, load<std::uint32_t>(row, i));
    else
      use(i, loadBits(row, i, bits));
}

template <class Value>
void unpackIntegers(const unsigned char* row, SampleKind kind, std::vector<Value>& out) {
  constexpr std::uint64_t full = std::numeric_limits<Value>::max();
  const bool isSigned = kind.format == 2;
  const std::uint32_t sign = std::uint32_t{1} << (kind.bits - 1);
  const std::uint64_t most = (std::uint64_t{1} << (isSigned ? std::max(1u, kind.bits - 1) : kind.bits)) - 1;
  eachNumber(row, kind.bits, out.size(), [&](std::size_t i, std::uint32_t number) {
    if (isSigned && (number & sign)) number = 0;
    out[i] = static_cast<Value>((number * full + most / 2) / most);
  });
}

} // namespace

void unpackSamples(const unsigned char* row, SampleKind kind, std::vector<std::uint8_t>& out) {
  if (kind.bits == 8 && kind.format != 2)
    std::copy_n(row, out.size(), out.data());
  else
    unpackIntegers(row, kind, out);
}

void unpackSamples(const unsigned char* row, SampleKind kind, std::vector<std::uint16_t>& out) {
  if (kind.bits == 16 && kind.format != 2)
    std::memcpy(out.data(), row, out.size() * sizeof(std::uint16_t));
  else
    unpackIntegers(row, kind, out);
}

void unpackSamples(const unsigned char* row, SampleKind kind, std::vector<float>& out) {
  for (std::size_t i = 0; i < out.size(); ++i)
    if (kind.bits == 16)
      out[i] = load<Imath::half>(row, i);
    else if (kind.bits == 64)
      out[i] = static_cast<float>(std::clamp(load<double>(row, i), -3.4e38, 3.4e38)); // NaN stays
    else
      out[i] = load<float>(row, i);
}

void unpackIndices(const unsigned char* row, unsigned bits, std::vector<std::uint16_t>& out) {
  eachNumber(row, bits, out.size(),
             [&out](std::size_t i, std::uint32_t number) { out[i] = static_cast<std::uint16_t>(number); });
}

} // namespace host
