#include "utf8.h"

namespace host::utf8 {

namespace {

unsigned byteAt(std::string_view text, std::size_t position) noexcept {
  return position < text.size() ? static_cast<unsigned char>(text[position]) : 0;
}

bool follows(unsigned byte) noexcept {
  return (byte & 0xc0) == 0x80;
}

// The size of a well-formed sequence (Unicode standard, table 3-7); 0 for other bytes.
std::size_t sequence(std::string_view text, std::size_t position) noexcept {
  const unsigned a = byteAt(text, position), b = byteAt(text, position + 1);
  if (a < 0x80) return 1;
  if (a >= 0xc2 && a <= 0xdf) return follows(b) ? 2 : 0;
  const unsigned c = byteAt(text, position + 2), d = byteAt(text, position + 3);
  if (a >= 0xe0 && a <= 0xef) {
    const unsigned low = a == 0xe0 ? 0xa0 : 0x80, high = a == 0xed ? 0x9f : 0xbf;
    return b >= low && b <= high && follows(c) ? 3 : 0;
  }
  if (a >= 0xf0 && a <= 0xf4) {
    const unsigned low = a == 0xf0 ? 0x90 : 0x80, high = a == 0xf4 ? 0x8f : 0xbf;
    return b >= low && b <= high && follows(c) && follows(d) ? 4 : 0;
  }
  return 0;
}

} // namespace

std::size_t characterSize(std::string_view text, std::size_t position, bool* valid) noexcept {
  const std::size_t size = sequence(text, position);
  if (valid) *valid = size != 0;
  return size ? size : 1;
}

std::size_t length(std::string_view text) noexcept {
  std::size_t count = 0;
  for (std::size_t at = 0; at < text.size(); at += characterSize(text, at))
    ++count;
  return count;
}

std::size_t offset(std::string_view text, std::size_t index) noexcept {
  std::size_t at = 0;
  for (; index > 0 && at < text.size(); --index)
    at += characterSize(text, at);
  return at;
}

std::vector<std::size_t> offsets(std::string_view text) {
  std::vector<std::size_t> result;
  for (std::size_t at = 0; at < text.size(); at += characterSize(text, at))
    result.push_back(at);
  result.push_back(text.size());
  return result;
}

bool isValid(std::string_view text) noexcept {
  bool valid = true;
  for (std::size_t at = 0; valid && at < text.size();)
    at += characterSize(text, at, &valid);
  return valid;
}

void append(std::string& text, unsigned long code) {
  if (code > 0x10ffff || (code >= 0xd800 && code <= 0xdfff)) code = 0xfffd;
  const auto put = [&text](unsigned long byte) { text.push_back(static_cast<char>(byte)); };
  if (code < 0x80) {
    put(code);
  } else if (code < 0x800) {
    put(0xc0 | (code >> 6));
    put(0x80 | (code & 0x3f));
  } else if (code < 0x10000) {
    put(0xe0 | (code >> 12));
    put(0x80 | ((code >> 6) & 0x3f));
    put(0x80 | (code & 0x3f));
  } else {
    put(0xf0 | (code >> 18));
    put(0x80 | ((code >> 12) & 0x3f));
    put(0x80 | ((code >> 6) & 0x3f));
    put(0x80 | (code & 0x3f));
  }
}

} // namespace host::utf8
