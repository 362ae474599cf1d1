// The sums behind a pixel as floats, exact to the bit. A class lists its members once, for both directions.
#pragma once

#include <bit>
#include <cstdint>
#include <span>
#include <vector>

#include "vecmath.h"

namespace host::render {

class SampleWriter {
 public:
  explicit SampleWriter(std::vector<float>& to) : to_(to) {}
  void operator()(float value) { to_.push_back(value); }
  void operator()(Vec2 value) { (*this)(value.x), (*this)(value.y); }
  void operator()(Vec3 value) { (*this)(value.x), (*this)(value.y), (*this)(value.z); }
  void operator()(std::uint32_t value) {
    (*this)(static_cast<float>(value >> 16)), (*this)(static_cast<float>(value & 0xffff));
  }
  void operator()(std::int32_t value) { (*this)(std::bit_cast<std::uint32_t>(value)); }
  void operator()(std::uint8_t value) { (*this)(static_cast<float>(value)); }
  void operator()(bool value) { (*this)(value ? 1.0f : 0.0f); }

 private:
  std::vector<float>& to_;
};

/// Of values that may come from a stranger's file: check `good` before they are used.
class SampleReader {
 public:
  explicit SampleReader(std::span<const float> from) : from_(from) {}
  /// Every value was there, and a number of its kind.
  bool good() const { return good_; }
  bool atEnd() const { return at_ == from_.size(); }

  void operator()(float& value) { value = next(); }
  void operator()(Vec2& value) { (*this)(value.x), (*this)(value.y); }
  void operator()(Vec3& value) { (*this)(value.x), (*this)(value.y), (*this)(value.z); }
  void operator()(std::uint32_t& value) { value = whole(0xffff) << 16, value |= whole(0xffff); }
  void operator()(std::int32_t& value) {
    std::uint32_t bits = 0;
    (*this)(bits);
    value = std::bit_cast<std::int32_t>(bits);
    good_ = good_ && value >= 0;
  }
  void operator()(std::uint8_t& value) { value = static_cast<std::uint8_t>(whole(0xff)); }
  void operator()(bool& value) { value = whole(1) != 0; }

 private:
  float next() {
    if (at_ < from_.size()) return from_[at_++];
    good_ = false;
    return 0;
  }
  std::uint32_t whole(std::uint32_t most) {
    const float value = next();
    if (value >= 0 && value <= static_cast<float>(most)) return static_cast<std::uint32_t>(value);
    good_ = false;
    return 0;
  }

  std::span<const float> from_;
  std::size_t at_ = 0;
  bool good_ = true;
};

} // namespace host::render
