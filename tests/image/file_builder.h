// Picture files made number by number.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <iterator>
#include <string>
#include <string_view>

#include "picture_decode.h"
#include "picture_files.h"

namespace file_builder {

using picture_files::Bytes;
using picture_files::Values;

/// Builds a file number by number.
class File {
 public:
  File& text(std::string_view text) { return add(text.begin(), text.end()); }
  File& values(const Values& values) { return add(values.begin(), values.end()); }
  File& bytes(const Bytes& more) {
    bytes_.insert(bytes_.end(), more.begin(), more.end());
    return *this;
  }
  /// Numbers of `count` bytes, lowest first.
  File& low(std::size_t count, std::initializer_list<std::uint32_t> numbers) {
    for (const std::uint32_t number : numbers)
      for (std::size_t i = 0; i < count; ++i)
        bytes_.push_back(static_cast<std::byte>(number >> (8 * i)));
    return *this;
  }
  /// Highest first.
  File& high(std::size_t count, std::initializer_list<std::uint32_t> numbers) {
    for (const std::uint32_t number : numbers)
      for (std::size_t i = count; i-- > 0;)
        bytes_.push_back(static_cast<std::byte>(number >> (8 * i)));
    return *this;
  }
  const Bytes& done() const { return bytes_; }

 private:
  template <class Iterator>
  File& add(Iterator begin, Iterator end) {
    std::transform(begin, end, std::back_inserter(bytes_),
                   [](auto value) { return static_cast<std::byte>(value); });
    return *this;
  }
  Bytes bytes_;
};

inline Values decode(const Bytes& file, const std::string& name = "test") {
  std::string error;
  const auto picture = host::decodePicture(file, name, &error);
  EXPECT_EQ(error, "");
  return picture ? picture->bytes : Values();
}

inline std::string refusal(const Bytes& file, const std::string& name = "test") {
  std::string error;
  EXPECT_FALSE(host::decodePicture(file, name, &error));
  return error;
}

} // namespace file_builder
