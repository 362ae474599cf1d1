// Numbers and text in the bytes of a file. Private to host/image.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace host {

inline std::string_view textOf(std::span<const std::byte> file) noexcept {
  return {reinterpret_cast<const char*>(file.data()), file.size()};
}

/// The number in `count` bytes, 1 to 4, from `offset`; 0 where the file ends before them.
inline std::uint32_t numberAt(std::span<const std::byte> file, std::size_t offset, std::size_t count,
                              std::endian order) noexcept {
  if (offset > file.size() || count > file.size() - offset) return 0;
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t at = order == std::endian::little ? offset + count - 1 - i : offset + i;
    value = (value << 8) | std::to_integer<std::uint32_t>(file[at]);
  }
  return value;
}

} // namespace host
