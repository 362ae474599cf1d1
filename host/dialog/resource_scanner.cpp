#include "resource_scanner.h"

#include <charconv>
#include <limits>

namespace host {

namespace {

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

bool isNameStart(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

bool isNamePart(char c) {
  return isNameStart(c) || isDigit(c);
}

constexpr std::size_t longestText = 10000, longestName = 200;

} // namespace

ResourceScanner::ResourceScanner(std::string_view text, const std::string& file, bool directives)
    : text_(text), file_(file), directives_(directives) {
  constexpr std::string_view byteOrderMark = "\xef\xbb\xbf";
  if (text_.substr(0, 3) == byteOrderMark) position_ = 3;
  word_ = read();
}

std::string ResourceScanner::shown() const {
  switch (word_.kind) {
  case WordKind::end:
    return "the file's end";
  case WordKind::number:
    return "the number " + std::to_string(word_.number);
  case WordKind::text:
    return "a text";
  default:
    return "\"" + word_.text + "\"";
  }
}

Word ResourceScanner::take() {
  Word taken = std::move(word_);
  word_ = read();
  return taken;
}

bool ResourceScanner::takeIf(char sign) {
  if (!word_.is(sign)) return false;
  take();
  return true;
}

void ResourceScanner::expect(char sign) {
  if (!takeIf(sign)) fail(std::string("\"") + sign + "\" should stand here, not " + shown() + ".");
}

std::string ResourceScanner::takeName(const char* what) {
  if (word_.kind != WordKind::name) fail(std::string(what) + " should stand here, not " + shown() + ".");
  return take().text;
}

String ResourceScanner::takeText(const char* what) {
  if (word_.kind != WordKind::text) fail(std::string(what) + " should stand here, not " + shown() + ".");
  return String(std::string_view(take().text));
}

void ResourceScanner::skipComment() {
  const int begun = line_;
  position_ += 2;
  while (position_ < text_.size() && !(at() == '*' && at(1) == '/'))
    if (text_[position_++] == '\n') ++line_;
  if (position_ >= text_.size())
    throw ResourceError(file_, begun, "The comment that begins here has no end.");
  position_ += 2;
}

void ResourceScanner::skipBlanks() {
  const auto skipLine = [this] {
    while (position_ < text_.size() && at() != '\n')
      ++position_;
  };
  for (; position_ < text_.size();) {
    const char c = at();
    if (c == '\n') {
      ++line_;
      lineBegins_ = true;
      ++position_;
    } else if (c == ' ' || c == '\t' || c == '\r') {
      ++position_;
    } else if (c == '/' && at(1) == '/') {
      skipLine();
    } else if (c == '/' && at(1) == '*') {
      skipComment();
    } else if (c == '#' && directives_ && lineBegins_) {
      skipLine();
    } else {
      return;
    }
  }
}

Word ResourceScanner::readText() {
  Word word{WordKind::text, {}, 0, line_};
  for (++position_;; ++position_) {
    const char c = at();
    if (position_ >= text_.size() || c == '\n')
      throw ResourceError(file_, word.line, "The text that begins here has no closing quotation mark.");
    if (c == '"') break;
    if (word.text.size() >= longestText) throw ResourceError(file_, word.line, "This text is too long.");
    if (c != '\\') {
      word.text += c;
      continue;
    }
    const char escaped = at(1);
    if (escaped != '"' && escaped != '\\' && escaped != 'n')
      throw ResourceError(file_, line_, "After \"\\\" in a text comes \\, \" or n.");
    word.text += escaped == 'n' ? '\n' : escaped;
    ++position_;
  }
  ++position_;
  return word;
}

Word ResourceScanner::readNumber() {
  const std::size_t begin = position_;
  const bool negative = at() == '-';
  if (negative) ++position_;
  const bool hex = at() == '0' && (at(1) == 'x' || at(1) == 'X');
  if (hex) position_ += 2;
  const std::size_t digits = position_;
  while (isNamePart(at()))
    ++position_;
  const char* const end = text_.data() + position_;
  LLONG value = 0;
  const auto read = std::from_chars(text_.data() + digits, end, value, hex ? 16 : 10);
  if (negative) value = -value;
  const bool fits = value >= std::numeric_limits<LONG>::min() && value <= std::numeric_limits<LONG>::max();
  if (read.ec != std::errc() || read.ptr != end || !fits)
    throw ResourceError(file_, line_,
                        "\"" +
                            std::string(text_.substr(begin, std::min<std::size_t>(position_ - begin, 40))) +
                            "\" is not a whole number of 32 bits.");
  return {WordKind::number, {}, static_cast<LONG>(value), line_};
}

Word ResourceScanner::read() {
  skipBlanks();
  if (position_ >= text_.size()) return {WordKind::end, {}, 0, line_};
  lineBegins_ = false;
  const char c = at();
  if (c == '"') return readText();
  if (isDigit(c) || (c == '-' && isDigit(at(1)))) return readNumber();
  if (isNameStart(c)) {
    const std::size_t begin = position_;
    while (isNamePart(at()))
      ++position_;
    if (position_ - begin > longestName) throw ResourceError(file_, line_, "This name is too long.");
    return {WordKind::name, std::string(text_.substr(begin, position_ - begin)), 0, line_};
  }
  if (std::string_view("{};,=").find(c) == std::string_view::npos)
    throw ResourceError(file_, line_, "There is a character here that has no meaning.");
  ++position_;
  return {WordKind::sign, std::string(1, c), 0, line_};
}

} // namespace host
