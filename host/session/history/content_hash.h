// Names for content: SHA-256 (FIPS 180-4, Secure Hash Standard). Any thread.
#pragma once

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace host {

struct ContentHash {
  std::array<std::uint8_t, 32> bytes{};

  /// 64 small hexadecimal digits.
  std::string text() const;
  /// Nothing unless the text has that form.
  static std::optional<ContentHash> fromText(std::string_view text);

  friend auto operator<=>(const ContentHash&, const ContentHash&) = default;
};

/// By the processor's own instructions for it where they are there.
ContentHash hashOf(std::span<const std::byte> content);
/// The same on any processor.
ContentHash portableHashOf(std::span<const std::byte> content);

} // namespace host
