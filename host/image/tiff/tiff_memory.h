// TIFF files in memory, and the library's errors without its global handlers. Private to host/image.
#pragma once

#include <tiffio.h>

#include <memory>
#include <string>

#include "picture_codec.h"

namespace host {

/// An open TIFF file. Not copied: the library keeps its address.
class TiffMemory {
 public:
  /// Reads these bytes, which stay where they are; throws DamagedPicture.
  explicit TiffMemory(PictureBytes file);
  /// Writes into memory; throws FilterError.
  TiffMemory();
  TiffMemory(const TiffMemory&) = delete;
  TiffMemory& operator=(const TiffMemory&) = delete;

  TIFF* get() const { return tiff_.get(); }
  const std::string& error() const { return error_; }
  /// Closes the file and gives what was written.
  FileBytes finish();

 private:
  struct Close {
    void operator()(TIFF* tiff) const { TIFFClose(tiff); }
  };
  void open(const char* mode);
  static tmsize_t read(thandle_t self, void* to, tmsize_t count);
  static tmsize_t write(thandle_t self, void* from, tmsize_t count);
  static toff_t seek(thandle_t self, toff_t offset, int from);
  static toff_t size(thandle_t self);
  static int map(thandle_t self, void** base, toff_t* count);

  PictureBytes file_;
  FileBytes written_;
  bool writes_ = false, full_ = false;
  std::uint64_t position_ = 0;
  std::string error_; // the first one
  std::unique_ptr<TIFF, Close> tiff_;
};

} // namespace host
