#include "filter_encode.h"

namespace host {

FileBytes encodeTiff(const FilterJob& job) {
  OIIO::ImageSpec spec = displaySpec(job);
  spec.attribute("compression", "lzw"); // what every reader of the format knows
  return encodePixels("tiff", spec, pixelBytes(job).data());
}

} // namespace host
