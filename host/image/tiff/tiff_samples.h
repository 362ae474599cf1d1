// Samples of TIFF rows as values of one type. Private to the TIFF reader.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace host {

/// The storage of a file's samples: unsigned (1), signed (2) or floating-point (3) numbers of `bits`; see the
/// format's SampleFormat.
struct SampleKind {
  unsigned bits = 8, format = 1;
};

/// Unpacks `out.size()` samples of a row that the library decoded, in the machine's byte order. Numbers up to
/// 8 bits go to 8 bits, more to 16 (rounded), floating-point ones stay, all over their full range; negative
/// integers are 0.
void unpackSamples(const unsigned char* row, SampleKind kind, std::vector<std::uint8_t>& out);
void unpackSamples(const unsigned char* row, SampleKind kind, std::vector<std::uint16_t>& out);
void unpackSamples(const unsigned char* row, SampleKind kind, std::vector<float>& out);

/// The same numbers as they are, for the entries of a palette; at most 16 bits.
void unpackIndices(const unsigned char* row, unsigned bits, std::vector<std::uint16_t>& out);

} // namespace host
