// Picture files read into memory, with the interface's result codes. Private to host/image.
#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>

#include "c4d_bitmap.h"
#include "picture_decode.h"

namespace host {

struct LoadedPicture {
  IMAGERESULT result = IMAGERESULT_OK;
  std::string error;                             // a sentence for the user; empty when all is well
  std::shared_ptr<const DecodedPicture> picture; // null after a failure
};

/// Decodes bytes; see decodePicture. Results: WRONGTYPE no picture we read, FILESTRUCTURE damaged,
/// OUTOFMEMORY too large. Any thread; nothing is thrown.
LoadedPicture loadPictureBytes(std::span<const std::byte> file, const std::string& name) noexcept;

/// Reads and decodes a file. Also: NOTEXISTING, and FILEERROR when it is there but cannot be read. Any
/// thread.
LoadedPicture loadPicture(const std::string& path) noexcept;

/// The pixel at `index` as 0xAARRGGBB, floats through the display transform.
ULONG pixelWord(const DecodedPicture& picture, std::size_t index) noexcept;

} // namespace host
