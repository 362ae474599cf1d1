// The part that reads and writes the formats that few pictures have, loaded at its first use. Private to
// host/image.
#pragma once

#include "picture_codec.h"

/// The part's entry: its host::RareLibrary.
extern "C" void* lumenara_part_pictures();

namespace host {

/// The part's interface. The libraries behind it are not safe on several threads: one lock is held while one
/// of these functions runs, and while the part is loaded.
class RareLibrary {
 public:
  /// Reads a file with the reader of this name: "bmp", "gif", "hdr", "pnm" or "targa". Throws
  /// PictureError or std::bad_alloc.
  virtual RawPicture read(const char* format, PictureBytes file) = 0;
  /// Throws FilterError or std::bad_alloc.
  virtual FileBytes writePsd(const FilterJob& job) = 0;

 protected:
  ~RareLibrary() = default;
};

/// The part's functions, under that lock. They throw as above, and likewise when the part cannot be loaded.
/// Any thread.
RawPicture readRare(const char* format, PictureBytes file);
FileBytes writeRarePsd(const FilterJob& job);

} // namespace host
