// String, and numbers as text.
#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

#include "c4d_string.h"
#include "number_text.h"
#include "utf8.h"

namespace utf8 = host::utf8;

namespace {

char upper(char c) {
  return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

char lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool isBlank(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

std::size_t skipBlanks(std::string_view text, std::size_t at = 0) {
  while (at < text.size() && isBlank(text[at]))
    ++at;
  return at;
}

LONG toLong(std::size_t count) {
  return static_cast<LONG>(std::min<std::size_t>(count, std::numeric_limits<LONG>::max()));
}

// The bytes of `count` characters from `start` on, cut to the text.
struct ByteRange {
  std::size_t first, size;
};
ByteRange byteRange(const std::string& text, LONG start, LONG count) {
  const LLONG from = std::max<LLONG>(start, 0);
  const LLONG to = std::max<LLONG>(static_cast<LLONG>(start) + std::max<LONG>(count, 0), from);
  const std::size_t first = utf8::offset(text, static_cast<std::size_t>(from));
  const std::string_view rest = std::string_view(text).substr(first);
  return {first, utf8::offset(rest, static_cast<std::size_t>(to - from))};
}

// Whether `what` is at character `index` and ends at the end of a character.
bool standsAt(const std::string& text, const std::vector<std::size_t>& offsets, std::size_t index,
              const std::string& what) {
  const std::size_t first = offsets[index];
  return text.compare(first, what.size(), what) == 0 &&
         std::binary_search(offsets.begin(), offsets.end(), first + what.size());
}

} // namespace

String::String() = default;
String::String(const char* utf8Text) : text_(utf8Text ? utf8Text : "") {
}
String::String(std::string_view utf8Text) : text_(utf8Text) {
}
String::String(LONG count, UWORD fill) {
  std::string one;
  utf8::append(one, fill);
  for (LONG i = 0; i < count; ++i)
    text_ += one;
}
String::String(const String&) = default;
String::String(String&&) noexcept = default;
String& String::operator=(const String&) = default;
String& String::operator=(String&&) noexcept = default;
String::~String() = default;

LONG String::GetLength() const {
  return toLong(utf8::length(text_));
}

String& String::operator+=(const String& other) {
  text_ += other.text_;
  return *this;
}

String operator+(const String& a, const String& b) {
  String sum(a);
  sum += b;
  return sum;
}

Bool String::FindFirst(const String& what, LONG* position, LONG start) const {
  const std::vector<std::size_t> offsets = utf8::offsets(text_);
  for (std::size_t i = static_cast<std::size_t>(std::max<LONG>(start, 0)); i < offsets.size(); ++i) {
    if (!standsAt(text_, offsets, i, what.text_)) continue;
    if (position) *position = toLong(i);
    return TRUE;
  }
  return FALSE;
}

Bool String::FindLast(const String& what, LONG* position, LONG start) const {
  const std::vector<std::size_t> offsets = utf8::offsets(text_);
  std::size_t i = offsets.size();
  if (start >= 0) i = std::min(i, static_cast<std::size_t>(start) + 1);
  while (i-- > 0) {
    if (!standsAt(text_, offsets, i, what.text_)) continue;
    if (position) *position = toLong(i);
    return TRUE;
  }
  return FALSE;
}

String String::SubStr(LONG start, LONG count) const {
  const ByteRange range = byteRange(text_, start, count);
  return String(std::string_view(text_).substr(range.first, range.size));
}

String String::Left(LONG count) const {
  return SubStr(0, count);
}

String String::Right(LONG count) const {
  const LONG length = GetLength(), taken = std::clamp<LONG>(count, 0, length);
  return SubStr(length - taken, taken);
}

String String::ToUpper() const {
  String result(*this);
  std::transform(text_.begin(), text_.end(), result.text_.begin(), upper);
  return result;
}

String String::ToLower() const {
  String result(*this);
  std::transform(text_.begin(), text_.end(), result.text_.begin(), lower);
  return result;
}

void String::Insert(LONG position, const String& what) {
  const std::string inserted = what.text_; // `what` may be this text
  text_.insert(utf8::offset(text_, static_cast<std::size_t>(std::max<LONG>(position, 0))), inserted);
}

void String::Delete(LONG position, LONG count) {
  const ByteRange range = byteRange(text_, position, count);
  text_.erase(range.first, range.size);
}

LONG String::ToLong(Bool* error) const {
  std::size_t first = skipBlanks(text_);
  if (first < text_.size() && text_[first] == '+' && first + 1 < text_.size() && text_[first + 1] != '-')
    ++first;
  LONG value = 0;
  const char* end = text_.data() + text_.size();
  const auto read = std::from_chars(text_.data() + first, end, value);
  if (read.ec == std::errc::result_out_of_range)
    value = text_[first] == '-' ? std::numeric_limits<LONG>::min() : std::numeric_limits<LONG>::max();
  const auto used = static_cast<std::size_t>(read.ptr - text_.data());
  if (error) *error = read.ec != std::errc() || skipBlanks(text_, used) < text_.size();
  return value;
}

Real String::ToReal(Bool* error) const {
  const std::size_t first = skipBlanks(text_);
  Real value = 0;
  const std::size_t used = host::parseReal(std::string_view(text_).substr(first), value);
  if (error) *error = used == 0 || skipBlanks(text_, first + used) < text_.size();
  return value;
}

LONG String::Compare(const String& other) const noexcept {
  const int order = text_.compare(other.text_);
  return order < 0 ? -1 : order > 0 ? 1 : 0;
}

LONG String::LexCompare(const String& other) const {
  return ToLower().Compare(other.ToLower());
}

String LongToString(LONG value) {
  return String(std::string_view(std::to_string(value)));
}

String LLongToString(LLONG value) {
  return String(std::string_view(std::to_string(value)));
}

namespace {

// As many decimals as needed, at most six.
std::string neededDecimals(std::string text) {
  const std::size_t point = text.find('.');
  if (point == std::string::npos) return text;
  std::size_t end = std::min(text.find('e'), text.size());
  const std::string power = text.substr(end);
  while (text[end - 1] == '0')
    --end;
  if (end - 1 == point) --end;
  return text.substr(0, end) + power;
}

// Zeros go between the sign and the number, anything else in front.
std::string padded(const std::string& text, LONG digits, UWORD pad) {
  const LONG before = toLong(std::min(text.find_first_of(".e"), text.size()));
  if (digits <= before) return text;
  const std::string filling = String(digits - before, pad).GetUTF8();
  if (pad == '0' && text[0] == '-') return "-" + filling + text.substr(1);
  return filling + text;
}

} // namespace

String RealToString(Real value, LONG digits, LONG decimals, Bool exponent, UWORD pad) {
  if (std::isnan(value)) return "nan";
  if (std::isinf(value)) return value < 0 ? "-inf" : "inf";
  const int places = decimals < 0 ? 6 : std::min<LONG>(decimals, 1000);
  std::string text = exponent ? host::scientificText(value, places) : host::fixedText(value, places);
  if (decimals < 0) text = neededDecimals(text);
  return String(std::string_view(padded(text, std::min<LONG>(digits, 10000), pad)));
}
