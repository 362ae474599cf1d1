// Image filters: bitmaps to the bytes of a picture file. One file a format. Private to host/image.
#pragma once

#include <stdexcept>
#include <vector>

#include "c4d_bitmap.h"

namespace host {

struct FilterJob {
  const BaseBitmap& bitmap;
  bool alpha;                   // wanted, and the bitmap has one
  const BaseContainer* options; // null for none
};

using FileBytes = std::vector<unsigned char>;

/// A picture that a filter could not encode; the text is a clause that follows the file's name.
struct FilterError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Each throws FilterError or std::bad_alloc. Any thread.
FileBytes encodeTiff(const FilterJob& job); // LZW; with alpha when wanted, straight
FileBytes encodeBmp(const FilterJob& job);  // no alpha
FileBytes encodeJpeg(const FilterJob& job); // no alpha; JPGSAVER_QUALITY, default 90
FileBytes encodePng(const FilterJob& job);  // with alpha when wanted, straight
/// 32-bit floats, linear. A pixel holds the film's value where the film shows as what the bitmap has; a pixel
/// that was drawn over since (a stamp, a banner), or a bitmap without film, holds the linear light of its
/// codes. With alpha the colours are multiplied by it, as the format's readers expect.
FileBytes encodeExr(const FilterJob& job);
FileBytes encodePsd(const FilterJob& job);        // 8 bits a channel; with alpha when wanted, straight
FileBytes encodeOpenRaster(const FilterJob& job); // a document of one layer; with alpha when wanted

/// A filter by its number; null when there is none that writes.
struct ImageFilter {
  LONG id;
  const char* name;
  FileBytes (*encode)(const FilterJob&);
};
const ImageFilter* findImageFilter(LONG id) noexcept;

} // namespace host
