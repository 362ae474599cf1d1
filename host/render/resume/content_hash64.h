// A hash of contents, equal in every run of the program. It tells scenes apart that differ by accident, not
// by malice.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

#include "c4d_math.h"

namespace host::render {

class ContentHash64 {
 public:
  void bytes(const void* from, std::size_t count) {
    const auto* at = static_cast<const unsigned char*>(from);
    for (std::size_t left = count; left > 0;) {
      std::uint64_t word = 0;
      const std::size_t part = left < sizeof word ? left : sizeof word;
      std::memcpy(&word, at, part);
      mix(word);
      at += part, left -= part;
    }
    mix(count);
  }
  /// Numbers without padding between them.
  template <class T>
  requires(std::is_arithmetic_v<T> || std::is_enum_v<T>) void add(T value) { bytes(&value, sizeof value); }
  template <class T, std::size_t count>
  void add(const std::array<T, count>& values) {
    bytes(values.data(), sizeof values);
  }
  template <class T>
  void add(const std::vector<T>& values) {
    static_assert(std::has_unique_object_representations_v<T> || std::is_trivially_copyable_v<T>);
    bytes(values.data(), values.size() * sizeof(T));
  }
  void add(const std::string& text) { bytes(text.data(), text.size()); }
  void add(const Matrix& m) {
    for (const Vector& v : {m.off, m.v1, m.v2, m.v3})
      add(v.x), add(v.y), add(v.z);
  }
  /// Several values in this order.
  template <class... Values>
  void all(const Values&... values) {
    (add(values), ...);
  }

  std::uint64_t value() const { return state_; }
  /// Sixteen hexadecimal digits.
  std::string text() const {
    constexpr char digits[] = "0123456789abcdef";
    std::string made;
    for (int shift = 60; shift >= 0; shift -= 4)
      made += digits[state_ >> shift & 15];
    return made;
  }

 private:
  void mix(std::uint64_t word) {
    state_ = (state_ ^ word) * 0x9e3779b97f4a7c15u;
    state_ ^= state_ >> 29;
  }
  std::uint64_t state_ = 0x243f6a8885a308d3u;
};

} // namespace host::render
