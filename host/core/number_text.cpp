#include "number_text.h"

#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <sstream>
#include <vector>

namespace host {

namespace {

// Whether `value` lies exactly between two texts of `decimals` digits. A tie is an odd multiple of
// 1 / (2 * 10^decimals) and a double is a multiple of a power of two, so value * 2^(decimals + 1) is then an
// odd integer.
bool isTie(double value, int decimals) {
  const double scaled = std::ldexp(value, decimals + 1);
  return std::abs(scaled) < 9007199254740992.0 && scaled == std::trunc(scaled) && std::fmod(scaled, 2.0) != 0;
}

bool isZeroText(const std::string& text) {
  return text.find_first_of("123456789") == std::string::npos;
}

std::string dropZeroSign(std::string text) {
  if (!text.empty() && text[0] == '-' && isZeroText(text)) text.erase(0, 1);
  return text;
}

std::string convert(double value, std::chars_format format, int precision) {
  std::vector<char> buffer(static_cast<std::size_t>(precision) + 400);
  const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, format, precision);
  return std::string(buffer.data(), end.ptr);
}

// Adds one to the last digit of "d.ddd"; true when it overflowed into a new digit ("10.00").
bool increment(std::string& digits) {
  for (std::size_t i = digits.size(); i-- > 0;) {
    if (digits[i] == '.') continue;
    if (digits[i] != '9') return ++digits[i], false;
    digits[i] = '0';
  }
  digits.insert(0, "1");
  return true;
}

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

std::size_t skipDigits(std::string_view text, std::size_t at) {
  while (at < text.size() && isDigit(text[at]))
    ++at;
  return at;
}

// The length of the number at the start of `text`.
std::size_t numberLength(std::string_view text) {
  std::size_t at = !text.empty() && (text[0] == '-' || text[0] == '+') ? 1 : 0;
  const std::size_t start = at;
  at = skipDigits(text, at);
  std::size_t digits = at - start;
  if (at < text.size() && text[at] == '.') {
    const std::size_t end = skipDigits(text, at + 1);
    digits += end - at - 1;
    if (digits > 0) at = end;
  }
  if (digits == 0) return 0;
  if (at < text.size() && (text[at] == 'e' || text[at] == 'E')) {
    std::size_t power = at + 1;
    if (power < text.size() && (text[power] == '-' || text[power] == '+')) ++power;
    const std::size_t end = skipDigits(text, power);
    if (end > power) at = end;
  }
  return at;
}

// The value of a number out of range: an infinity, or zero when it is too small.
double outOfRange(std::string_view number) {
  const bool negative = number[0] == '-';
  const std::size_t power = number.find_first_of("eE");
  const bool small = power != std::string_view::npos && number.find('-', power) != std::string_view::npos;
  const double size = small ? 0.0 : std::numeric_limits<double>::infinity();
  return negative ? -size : size;
}

} // namespace

std::string fixedText(double value, int decimals) {
  if (isTie(value, decimals))
    value = std::nextafter(value, std::copysign(std::numeric_limits<double>::infinity(), value));
  return dropZeroSign(convert(value, std::chars_format::fixed, decimals));
}

std::string scientificText(double value, int decimals) {
  // 770 digits hold every double exactly, so the digits that are cut off decide.
  constexpr int exact = 770;
  if (decimals >= exact) return dropZeroSign(convert(value, std::chars_format::scientific, decimals));
  const std::string text = convert(std::abs(value), std::chars_format::scientific, exact);
  const std::size_t e = text.find('e');
  int power = 0;
  const char* first = text.data() + e + 1;
  std::from_chars(*first == '+' ? first + 1 : first, text.data() + text.size(), power);
  const std::size_t kept = static_cast<std::size_t>(decimals) + 2; // "d." and the decimals
  std::string digits = text.substr(0, kept);
  if (text[kept] >= '5' && increment(digits)) {
    ++power;
    digits = decimals > 0 ? "1." + std::string(static_cast<std::size_t>(decimals), '0') : "1.";
  }
  if (decimals == 0) digits.pop_back();
  const std::string size = std::to_string(std::abs(power));
  return (value < 0 ? "-" : "") + digits + (power < 0 ? "e-" : "e+") + (size.size() < 2 ? "0" : "") + size;
}

std::string shortestText(double value) {
  std::array<char, 32> buffer{};
  const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value);
  return std::string(buffer.data(), end.ptr);
}

std::size_t parseReal(std::string_view text, double& value) {
  const std::size_t length = numberLength(text);
  if (length == 0) return 0;
  std::string_view number = text.substr(0, length);
  if (number[0] == '+') number.remove_prefix(1);
#if defined(__cpp_lib_to_chars)
  if (std::from_chars(number.data(), number.data() + number.size(), value).ec ==
      std::errc::result_out_of_range)
    value = outOfRange(number);
#else
  std::istringstream stream{std::string(number)};
  stream.imbue(std::locale::classic());
  if (!(stream >> value)) value = outOfRange(number);
#endif
  return length;
}

} // namespace host
