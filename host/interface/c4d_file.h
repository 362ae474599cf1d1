// Files and folders. Any thread; one object is used by one thread at a time.
#pragma once

#include "c4d_container.h"
#include "c4d_filename.h"

/// Whether a file exists, or with `isDirectory` whether a directory does.
C4D_API Bool GeFExist(const Filename& name, Bool isDirectory = FALSE);
/// Makes one directory in a parent that exists. True also when it was there.
C4D_API Bool GeFCreateDir(const Filename& name);
/// Makes a directory with all missing parents. True also when it was there.
C4D_API Bool GeFCreateDirRec(const Filename& name);
/// Deletes a file or an empty directory.
C4D_API Bool GeFKill(const Filename& name);
/// Moves a file; an existing target is replaced. Across file systems it is copied whole first.
C4D_API Bool GeFMove(const Filename& source, const Filename& target);
C4D_API Bool GeFCopyFile(const Filename& source, const Filename& target, Bool overwrite);
/// Opens a file with the system's program for it. Does not block.
C4D_API Bool GeExecuteFile(const Filename& file);
/// Opens a web address in the browser. Does not block.
C4D_API Bool GeOpenHTML(const String& address);

/// The folder where the program is installed, the user's folder that it writes to, and the folder of the
/// plug-in that is being called.
C4D_API Filename GeGetStartupPath();
C4D_API Filename GeGetStartupWritePath();
C4D_API Filename GeGetPluginPath();

enum FILEOPEN { FILEOPEN_READ = 0, FILEOPEN_WRITE = 1, FILEOPEN_READWRITE = 2, FILEOPEN_APPEND = 3 };
enum FILEDIALOG { FILEDIALOG_NONE = 0, FILEDIALOG_ANY = 1 };
enum FILESEEK { FILESEEK_START = 0, FILESEEK_RELATIVE = 2 };
enum FILEERROR {
  FILEERROR_NONE = 0,
  FILEERROR_OPEN = -1,
  FILEERROR_READ = -2,
  FILEERROR_WRITE = -3,
  FILEERROR_SEEK = -4
};

/// A file of bytes; numbers are stored lowest byte first.
class C4D_API BaseFile {
 public:
  static BaseFile* Alloc();
  static void Free(BaseFile*& file); // closes it; sets the pointer to null

  /// `type` and `creator` are four-character codes for systems that keep them; others ignore them.
  Bool Open(const Filename& name, FILEOPEN mode = FILEOPEN_READ, FILEDIALOG dialog = FILEDIALOG_ANY,
            LONG type = 0, LONG creator = 0);
  /// False when anything written could not reach the file.
  Bool Close();
  /// Reads up to `count` bytes; gives the number that was read. With `exact`, fewer are an error.
  LLONG ReadBytes(void* bytes, LLONG count, Bool exact = TRUE);
  Bool WriteBytes(const void* bytes, LLONG count);
  Bool ReadLong(LONG* value);
  Bool WriteLong(LONG value);
  Bool ReadReal(Real* value);
  Bool WriteReal(Real value);
  Bool ReadString(String* value); // a length in bytes, then the bytes
  Bool WriteString(const String& value);
  Bool Seek(LLONG position, FILESEEK mode = FILESEEK_RELATIVE);
  LLONG GetPosition() const;
  LLONG GetLength() const;
  FILEERROR GetError() const;

 private:
  BaseFile();
  ~BaseFile();
  BaseFile(const BaseFile&) = delete;
  BaseFile& operator=(const BaseFile&) = delete;
  struct Data;
  Data* data_;
};

/// A local date and time.
struct LocalFileTime {
  UWORD year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
  friend constexpr bool operator==(const LocalFileTime& a, const LocalFileTime& b) noexcept {
    return a.year == b.year && a.month == b.month && a.day == b.day && a.hour == b.hour &&
           a.minute == b.minute && a.second == b.second;
  }
};
// Modes of `GetFileTime`.
inline constexpr LONG GE_FILETIME_CREATED = 0;
inline constexpr LONG GE_FILETIME_MODIFIED = 1;
inline constexpr LONG GE_FILETIME_ACCESS = 2;

/// Lists a directory, sorted by the bytes of the names; "." and ".." are left out. The list is taken at
/// `Init`.
class C4D_API BrowseFiles {
 public:
  static BrowseFiles* Alloc();
  static void Free(BrowseFiles*& browser);

  void Init(const Filename& directory, Bool recursive = FALSE);
  /// Steps to the first, then to each next entry; false past the last.
  Bool GetNext();
  /// The entry's path below the directory.
  Filename GetFilename() const;
  Bool IsDir() const;
  Bool IsHidden() const;
  LLONG GetSize() const;
  void GetFileTime(LONG mode, LocalFileTime* time) const;

 private:
  BrowseFiles();
  ~BrowseFiles();
  BrowseFiles(const BrowseFiles&) = delete;
  BrowseFiles& operator=(const BrowseFiles&) = delete;
  struct Data;
  Data* data_;
};

/// Owns an object made with `Alloc`/`Free` for a scope.
template <class T>
class AutoAlloc {
 public:
  AutoAlloc() : object_(T::Alloc()) {}
  explicit AutoAlloc(T* object) : object_(object) {}
  template <class A, class... More>
  explicit AutoAlloc(const A& first, const More&... more) : object_(T::Alloc(first, more...)) {}
  ~AutoAlloc() { Free(); }
  AutoAlloc(const AutoAlloc&) = delete;
  AutoAlloc& operator=(const AutoAlloc&) = delete;

  explicit operator bool() const noexcept { return object_ != nullptr; }
  operator T*() const noexcept { return object_; }
  T* operator->() const noexcept { return object_; }
  T& operator*() const noexcept { return *object_; }
  T* Release() noexcept {
    T* object = object_;
    object_ = nullptr;
    return object;
  }
  void Free() {
    if (object_) T::Free(object_);
    object_ = nullptr;
  }
  void Assign(T* object) {
    Free();
    object_ = object;
  }

 private:
  T* object_;
};

struct DateTime {
  LONG year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
};
/// The local date and time, from the host's clock.
C4D_API void GetDateTimeNow(DateTime& now);
