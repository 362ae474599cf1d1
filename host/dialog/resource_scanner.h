// The words of a resource file. Any thread.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

#include "c4d_string.h"

namespace host {

/// A mistake in a resource file; `what` is a sentence that begins with the file and the line.
class ResourceError : public std::runtime_error {
 public:
  ResourceError(const std::string& file, int line, const std::string& sentence)
      : std::runtime_error("\"" + file + "\", line " + std::to_string(line) + ": " + sentence) {}
};

enum class WordKind { end, name, number, text, sign };

struct Word {
  WordKind kind = WordKind::end;
  std::string text; // of a name, a text (escapes resolved), a sign
  LONG number = 0;
  int line = 1;
  bool is(char sign) const { return kind == WordKind::sign && text[0] == sign; }
};

/// Reads a file's text word by word, one word ahead. Blanks and comments are passed over, with
/// `directives` also lines that begin with "#". Every function throws ResourceError for what it cannot read.
class ResourceScanner {
 public:
  /// Both must live as long as the scanner.
  ResourceScanner(std::string_view text, const std::string& file, bool directives = false);

  const Word& peek() const noexcept { return word_; }
  Word take();
  /// Takes the sign when it comes next.
  bool takeIf(char sign);
  void expect(char sign);
  std::string takeName(const char* what);
  String takeText(const char* what);
  bool atEnd() const noexcept { return word_.kind == WordKind::end; }
  /// Throws at the word that comes next.
  [[noreturn]] void fail(const std::string& sentence) const { failAt(word_.line, sentence); }
  [[noreturn]] void failAt(int line, const std::string& sentence) const {
    throw ResourceError(file_, line, sentence);
  }
  /// What comes next, for a sentence.
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
