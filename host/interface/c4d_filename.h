// File names. Any thread; one object is used by one thread at a time.
#pragma once

#include "c4d_string.h"

enum FILESELECTTYPE { FILESELECTTYPE_ANYTHING = 0, FILESELECTTYPE_IMAGES = 1, FILESELECTTYPE_SCENES = 2 };
enum FILESELECT { FILESELECT_LOAD = 0, FILESELECT_SAVE = 1, FILESELECT_DIRECTORY = 2 };

/// A path, held as text with "/" between its pieces. A web address ("http://...") is kept as it is.
/// The suffix follows the last point of the last piece, unless that point starts the piece.
class C4D_API Filename {
 public:
  Filename();
  Filename(const char* path);
  Filename(const String& path);
  Filename(const Filename&);
  Filename(Filename&&) noexcept;
  Filename& operator=(const Filename&);
  Filename& operator=(Filename&&) noexcept;
  ~Filename();

  Bool Content() const noexcept { return path_.Content(); }
  const String& GetString() const noexcept { return path_; }
  void SetString(const String& path);

  Filename GetDirectory() const;
  void SetDirectory(const Filename& directory);
  Filename GetFile() const;
  String GetFileString() const;
  void SetFile(const Filename& file);

  /// Without the point; empty without a suffix.
  String GetSuffix() const;
  /// Replaces the suffix, or adds it. The text comes without the point; a point in front is dropped.
  void SetSuffix(const String& suffix);
  void ClearSuffix();
  /// Ignores case; the text comes without the point.
  Bool CheckSuffix(const String& suffix) const;

  /// Joins a directory and a piece with one separator. An empty side gives the other; an absolute piece
  /// replaces.
  Filename& operator+=(const Filename& piece);
  friend C4D_API Filename operator+(const Filename& directory, const Filename& piece);
  friend bool operator==(const Filename& a, const Filename& b) noexcept { return a.path_ == b.path_; }
  friend bool operator!=(const Filename& a, const Filename& b) noexcept { return a.path_ != b.path_; }

  /// Asks the user for a file, starting from this one. False when cancelled: the name stays. Main thread.
  Bool FileSelect(FILESELECTTYPE type, FILESELECT flags, const String& title,
                  const String& forceSuffix = String());

 private:
  String path_;
};
