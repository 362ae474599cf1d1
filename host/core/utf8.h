// UTF-8 in texts: a byte outside a valid character counts as one character. Any thread.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace host::utf8 {

/// The number of bytes of the character at `position` (below the size): 1 to 4. `valid` is false for an
/// undecodable byte.
std::size_t characterSize(std::string_view text, std::size_t position, bool* valid = nullptr) noexcept;

std::size_t length(std::string_view text) noexcept;

/// The byte offset of character `index`; the size of the text past its end.
std::size_t offset(std::string_view text, std::size_t index) noexcept;

/// The byte offset of every character, and the size of the text as the last.
std::vector<std::size_t> offsets(std::string_view text);

bool isValid(std::string_view text) noexcept;

/// Appends a character; invalid code points become U+FFFD.
void append(std::string& text, unsigned long codePoint);

} // namespace host::utf8
