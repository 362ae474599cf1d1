// Tokens of a resource file. Any thread.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

#include "c4d_string.h"

namespace host {

/// An error in a resource file; the message begins with the file and the line.
class ResourceError : public std::runtime_error {
 public:
  ResourceError(const std::string& file, int line, const std::string& sentence)
      : std::runtime_error("\"" + file + "\", line " + std::to_string(line) + ": " + sentence) {}
};

enum class WordKind { end, name, number, text, sign };

struct Word {
  WordKind kind = WordKind::end;
  std::string text; // of a name, a text (escapes resolved) or a sign
  LONG number = 0;
  int line = 1;
  bool is(char sign) const { return kind == WordKind::sign && text[0] == sign; }
};

/// Reads a file's tokens, one token ahead. Skips blanks and comments, with `directives` also lines that begin
/// with "#". Every function throws ResourceError on a syntax error.
class ResourceScanner {
 public:
  /// Both must outlive the scanner.
  ResourceScanner(std::string_view text, const std::string& file, bool directives = false);

  const Word& peek() const noexcept { return word_; }
  Word take();
  /// Consumes the sign if it is the next token.
  bool takeIf(char sign);
  void expect(char sign);
  std::string takeName(const char* what);
  String takeText(const char* what);
  bool atEnd() const noexcept { return word_.kind == WordKind::end; }
  /// Throws with the line of the next token.
  [[noreturn]] void fail(const std::string& sentence) const { failAt(word_.line, sentence); }
  [[noreturn]] void failAt(int line, const std::string& sentence) const {
    throw ResourceError(file_, line, sentence);
  }
  /// The next token, for a message.
  std::string shown() const;

 private:
  void skipBlanks();
  void skipComment();
  Word read();
  Word readText();
  Word readNumber();
  char at(std::size_t ahead = 0) const noexcept {
    return position_ + ahead < text_.size() ? text_[position_ + ahead] : '\0';
  }

  std::string_view text_;
  const std::string& file_;
  bool directives_;
  std::size_t position_ = 0;
  int line_ = 1;
  bool lineBegins_ = true;
  Word word_;
};

} // namespace host
