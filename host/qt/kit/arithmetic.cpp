#include "arithmetic.h"

#include <charconv>
#include <cmath>
#include <numbers>
#include <string>

namespace host {

namespace {

// Recursive descent. Rules, weakest binding first:
//   sum = product { (+|-) product }     product = sign { (*|/) sign }
//   sign = { +|- } power                power = atom [ ^ sign ]
class Reader {
 public:
  explicit Reader(std::string_view text) : text_(text) {}

  std::optional<double> read() {
    const double value = sum();
    skipBlanks();
    if (failed_ || at_ != text_.size() || !std::isfinite(value)) return {};
    return value;
  }

 private:
  static constexpr int deepest = 64;

  void skipBlanks() {
    while (at_ < text_.size() && (text_[at_] == ' ' || text_[at_] == '\t'))
      ++at_;
  }
  bool take(char sign) {
    skipBlanks();
    if (at_ >= text_.size() || text_[at_] != sign) return false;
    ++at_;
    return true;
  }
  double fail() {
    failed_ = true;
    return 0;
  }

  double sum() {
    double value = product();
    while (!failed_) {
      if (take('+'))
        value += product();
      else if (take('-'))
        value -= product();
      else
        break;
    }
    return value;
  }
  double product() {
    double value = sign();
    while (!failed_) {
      if (take('*')) {
        value *= sign();
      } else if (take('/')) {
        const double by = sign();
        if (by == 0) return fail();
        value /= by;
      } else {
        break;
      }
    }
    return value;
  }
  double sign() {
    bool negative = false;
    for (;;) {
      if (take('-'))
        negative = !negative;
      else if (!take('+'))
        break;
    }
    const double value = power();
    return negative ? -value : value;
  }
  double power() {
    if (++depth_ > deepest) return fail();
    double value = atom();
    if (!failed_ && take('^')) value = std::pow(value, sign());
    --depth_;
    return value;
  }
  double atom() {
    if (failed_) return 0;
    if (take('(')) {
      const double value = sum();
      return take(')') ? value : fail();
    }
    if (text_.substr(at_, 2) == "pi") {
      at_ += 2;
      return std::numbers::pi;
    }
    return number();
  }
  // A comma is a point.
  double number() {
    std::string digits(text_.substr(at_, 64));
    for (char& c : digits)
      if (c == ',') c = '.';
    if (digits.empty() || (digits[0] != '.' && (digits[0] < '0' || digits[0] > '9'))) return fail();
    double value = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (error != std::errc()) return fail();
    at_ += static_cast<std::size_t>(end - digits.data());
    return value;
  }

  std::string_view text_;
  std::size_t at_ = 0;
  int depth_ = 0;
  bool failed_ = false;
};

} // namespace

std::optional<double> evaluate(std::string_view text) {
  if (text.size() > 4096) return {};
  return Reader(text).read();
}

} // namespace host
