#include "content_chunks.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace host {

namespace {

// One number a byte, of the generator by Steele, Lea and Flood 2014 (SplitMix64) with seed 0.
std::array<std::uint64_t, 256> makeGear() {
  std::array<std::uint64_t, 256> gear;
  std::uint64_t state = 0;
  for (std::uint64_t& value : gear) {
    std::uint64_t z = (state += 0x9e3779b97f4a7c15);
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9;
    z = (z ^ (z >> 27)) * 0x94d049bb133111eb;
    value = z ^ (z >> 31);
  }
  return gear;
}

// The end of the chunk that starts at 0.
std::size_t firstEnd(std::span<const std::byte> content, std::size_t usual) {
  static const std::array<std::uint64_t, 256> gear = makeGear();
  const std::size_t last = std::min(content.size(), 4 * usual);
  // The upper bits depend on the 64 bytes before.
  int bits = 0;
  while ((std::size_t{1} << bits) < usual)
    ++bits;
  const std::uint64_t mask = ~std::uint64_t{0} << (64 - bits);
  std::uint64_t hash = 0;
  const std::size_t least = usual / 4;
  for (std::size_t i = least > 64 ? least - 64 : 0; i < last; ++i) {
    hash = (hash << 1) + gear[std::to_integer<std::size_t>(content[i])];
    if (i + 1 >= least && (hash & mask) == 0) return i + 1;
  }
  return last;
}

} // namespace

std::vector<std::span<const std::byte>> chunksOf(std::span<const std::byte> content, std::size_t usual) {
  std::vector<std::span<const std::byte>> chunks;
  while (!content.empty()) {
    chunks.push_back(content.first(firstEnd(content, usual)));
    content = content.subspan(chunks.back().size());
  }
  return chunks;
}

} // namespace host
