// The part that reads and writes the formats that few pictures have. Private to host/image.
#pragma once

#include "picture_codec.h"

/// The part's entry: its host::RareLibrary.
extern "C" void* lumenara_part_pictures();

namespace host {

/// The part's interface. The libraries behind it are not safe on several threads: whoever uses it holds the
/// one lock of rare.cpp, while it is loaded too.
class RareLibrary {
 public:
  /// Reads a file with the reader of this name: "bmp", "gif", "hdr", "pnm", "psd" or "targa". Throws
  /// PictureError or std::bad_alloc.
  virtual RawPicture read(const char* format, PictureBytes file) = 0;
  /// Throws FilterError or std::bad_alloc.
  virtual FileBytes writePsd(const FilterJob& job) = 0;

 protected:
  ~RareLibrary() = default;
};

} // namespace host
