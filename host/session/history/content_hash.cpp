#include "content_hash.h"

#include <bit>
#include <cstring>

#ifdef __x86_64__
#include <cpuid.h>
#include <immintrin.h>
#endif

namespace host {

namespace {

constexpr std::array<std::uint32_t, 64> rounds = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2};

using State = std::array<std::uint32_t, 8>;

void addBlock(State& state, const std::uint8_t* block) {
  std::array<std::uint32_t, 64> w;
  for (std::size_t i = 0; i < 16; ++i, block += 4)
    w[i] = std::uint32_t{block[0]} << 24 | std::uint32_t{block[1]} << 16 | std::uint32_t{block[2]} << 8 |
           std::uint32_t{block[3]};
  for (std::size_t i = 16; i < 64; ++i) {
    const std::uint32_t a = w[i - 15], b = w[i - 2];
    w[i] = w[i - 16] + (std::rotr(a, 7) ^ std::rotr(a, 18) ^ (a >> 3)) + w[i - 7] +
           (std::rotr(b, 17) ^ std::rotr(b, 19) ^ (b >> 10));
  }
  auto [a, b, c, d, e, f, g, h] = state;
  for (std::size_t i = 0; i < 64; ++i) {
    const std::uint32_t sum1 = std::rotr(e, 6) ^ std::rotr(e, 11) ^ std::rotr(e, 25);
    const std::uint32_t t1 = h + sum1 + ((e & f) ^ (~e & g)) + rounds[i] + w[i];
    const std::uint32_t sum0 = std::rotr(a, 2) ^ std::rotr(a, 13) ^ std::rotr(a, 22);
    const std::uint32_t t2 = sum0 + ((a & b) ^ (a & c) ^ (b & c));
    h = g, g = f, f = e, e = d + t1, d = c, c = b, b = a, a = t1 + t2;
  }
  const State more = {a, b, c, d, e, f, g, h};
  for (std::size_t i = 0; i < 8; ++i)
    state[i] += more[i];
}

void addBlocks(State& state, const std::uint8_t* blocks, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i)
    addBlock(state, blocks + 64 * i);
}

#ifdef __x86_64__
// After Gulley et al. 2013, "Intel SHA Extensions": two registers hold a, b, e, f and c, d, g, h; an
// instruction does two rounds.
#define LUMENARA_SHA __attribute__((target("sha,sse4.1")))

struct Registers {
  __m128i abef, cdgh;
};

LUMENARA_SHA inline void fourRounds(Registers& to, __m128i words, const std::uint32_t* constants) {
  const __m128i sum = _mm_add_epi32(words, _mm_loadu_si128(reinterpret_cast<const __m128i*>(constants)));
  to.cdgh = _mm_sha256rnds2_epu32(to.cdgh, to.abef, sum);
  to.abef = _mm_sha256rnds2_epu32(to.abef, to.cdgh, _mm_shuffle_epi32(sum, 0x0e));
}

/// The four words that follow sixteen, in place of the first four.
LUMENARA_SHA inline void extend(__m128i& first, __m128i second, __m128i third, __m128i fourth) {
  const __m128i sum = _mm_add_epi32(_mm_sha256msg1_epu32(first, second), _mm_alignr_epi8(fourth, third, 4));
  first = _mm_sha256msg2_epu32(sum, fourth);
}

LUMENARA_SHA inline __m128i wordsAt(const std::uint8_t* block) {
  const __m128i order = _mm_set_epi64x(0x0c0d0e0f08090a0b, 0x0405060700010203);
  return _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(block)), order);
}

LUMENARA_SHA void addBlocksFast(State& state, const std::uint8_t* block, std::size_t count) {
  auto* const low = reinterpret_cast<__m128i*>(state.data());
  auto* const high = reinterpret_cast<__m128i*>(state.data() + 4);
  __m128i first = _mm_shuffle_epi32(_mm_loadu_si128(low), 0xb1);
  __m128i second = _mm_shuffle_epi32(_mm_loadu_si128(high), 0x1b);
  Registers sum{_mm_alignr_epi8(first, second, 8), _mm_blend_epi16(second, first, 0xf0)};
  for (; count > 0; --count, block += 64) {
    Registers now = sum;
    __m128i w0 = wordsAt(block), w1 = wordsAt(block + 16), w2 = wordsAt(block + 32), w3 = wordsAt(block + 48);
    for (std::size_t round = 0;; round += 16) {
      fourRounds(now, w0, &rounds[round]);
      fourRounds(now, w1, &rounds[round + 4]);
      fourRounds(now, w2, &rounds[round + 8]);
      fourRounds(now, w3, &rounds[round + 12]);
      if (round == 48) break;
      extend(w0, w1, w2, w3);
      extend(w1, w2, w3, w0);
      extend(w2, w3, w0, w1);
      extend(w3, w0, w1, w2);
    }
    sum.abef = _mm_add_epi32(sum.abef, now.abef);
    sum.cdgh = _mm_add_epi32(sum.cdgh, now.cdgh);
  }
  first = _mm_shuffle_epi32(sum.abef, 0x1b);
  second = _mm_shuffle_epi32(sum.cdgh, 0xb1);
  _mm_storeu_si128(low, _mm_blend_epi16(first, second, 0xf0));
  _mm_storeu_si128(high, _mm_alignr_epi8(second, first, 8));
}

/// Leaf 7 of the instruction that describes the processor, and SSE4.1 with SSSE3 beside it.
bool hasInstructions() {
  unsigned a = 0, b = 0, c = 0, d = 0;
  constexpr unsigned sha = 1u << 29;
  return __builtin_cpu_supports("sse4.1") && __builtin_cpu_supports("ssse3") &&
         __get_cpuid_count(7, 0, &a, &b, &c, &d) != 0 && (b & sha) != 0;
}
#endif

using AddBlocks = void (*)(State&, const std::uint8_t*, std::size_t);

AddBlocks fastest() {
#ifdef __x86_64__
  if (hasInstructions()) return addBlocksFast;
#endif
  return addBlocks;
}

int digit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

ContentHash hashBy(AddBlocks add, std::span<const std::byte> content) {
  State state = {0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                 0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(content.data());
  std::size_t left = content.size();
  add(state, bytes, left / 64);
  bytes += left / 64 * 64;
  left %= 64;
  // The rest, a bit that ends it, and the length in bits.
  std::array<std::uint8_t, 128> last{};
  if (left > 0) std::memcpy(last.data(), bytes, left);
  last[left] = 0x80;
  const std::size_t size = left < 56 ? 64 : 128;
  const std::uint64_t bits = std::uint64_t{content.size()} * 8;
  for (std::size_t i = 0; i < 8; ++i)
    last[size - 1 - i] = static_cast<std::uint8_t>(bits >> (8 * i));
  add(state, last.data(), size / 64);
  ContentHash hash;
  for (std::size_t i = 0; i < 32; ++i)
    hash.bytes[i] = static_cast<std::uint8_t>(state[i / 4] >> (24 - 8 * (i % 4)));
  return hash;
}

} // namespace

ContentHash hashOf(std::span<const std::byte> content) {
  static const AddBlocks add = fastest();
  return hashBy(add, content);
}

ContentHash portableHashOf(std::span<const std::byte> content) {
  return hashBy(addBlocks, content);
}

std::string ContentHash::text() const {
  std::string text;
  for (const std::uint8_t byte : bytes)
    text += {"0123456789abcdef"[byte >> 4], "0123456789abcdef"[byte & 15]};
  return text;
}

std::optional<ContentHash> ContentHash::fromText(std::string_view text) {
  ContentHash hash;
  if (text.size() != 2 * hash.bytes.size()) return std::nullopt;
  for (std::size_t i = 0; i < hash.bytes.size(); ++i) {
    const int high = digit(text[2 * i]), low = digit(text[2 * i + 1]);
    if (high < 0 || low < 0) return std::nullopt;
    hash.bytes[i] = static_cast<std::uint8_t>(high * 16 + low);
  }
  return hash;
}

} // namespace host
