// Text. Any thread; one object is used by one thread at a time.
#pragma once

#include <string>
#include <string_view>

#include "c4d_types.h"

/// UTF-8 text. Lengths and positions count code points; a byte that is not UTF-8 is kept and counts as one.
class C4D_API String {
 public:
  String();
  String(const char* utf8); // null is the empty text
  explicit String(std::string_view utf8);
  explicit String(LONG count, UWORD fill); // `count` times the character `fill`
  String(const String&);
  String(String&&) noexcept;
  String& operator=(const String&);
  String& operator=(String&&) noexcept;
  ~String();

  const std::string& GetUTF8() const noexcept { return text_; }
  LONG GetLength() const;
  Bool Content() const noexcept { return !text_.empty(); }

  String& operator+=(const String& other);
  friend C4D_API String operator+(const String& a, const String& b);

  /// Position of the first/last occurrence at or after (before) `start`, in code points.
  Bool FindFirst(const String& what, LONG* position, LONG start = 0) const;
  Bool FindLast(const String& what, LONG* position, LONG start = -1) const;

  /// Ranges are cut to the text.
  String SubStr(LONG start, LONG count) const;
  String Left(LONG count) const;
  String Right(LONG count) const;
  String ToUpper() const; // ASCII letters only
  String ToLower() const;
  void Insert(LONG position, const String& what);
  void Delete(LONG position, LONG count);

  /// The number at the start of the text, after blanks; `error` tells that it is missing or more text
  /// follows.
  LONG ToLong(Bool* error = nullptr) const;
  Real ToReal(Bool* error = nullptr) const;

  /// Byte order.
  LONG Compare(const String& other) const noexcept;
  LONG LexCompare(const String& other) const; // ignores the case of ASCII letters
  friend bool operator==(const String& a, const String& b) noexcept { return a.text_ == b.text_; }
  friend bool operator!=(const String& a, const String& b) noexcept { return a.text_ != b.text_; }
  friend bool operator<(const String& a, const String& b) noexcept { return a.text_ < b.text_; }

 private:
  std::string text_;
};

/// Decimal text.
C4D_API String LongToString(LONG value);
C4D_API String LLongToString(LLONG value);

/// `value` with at least `digits` characters before the decimal point (padded with `pad`; -1 as many as
/// needed) and exactly `decimals` after it (-1 as many as needed, at most 6; 0 writes no point). Rounds half
/// away from zero. The minus sign counts as a character before the point; padding with zeros goes after it. A
/// result of zero has no sign. Non-finite values read "inf", "-inf", "nan".
C4D_API String RealToString(Real value, LONG digits = -1, LONG decimals = -1, Bool exponent = FALSE,
                            UWORD pad = '0');
