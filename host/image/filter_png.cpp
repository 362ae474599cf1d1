#include "filter_encode.h"

namespace host {

FileBytes encodePng(const FilterJob& job) {
  OIIO::ImageSpec spec = displaySpec(job);
  spec.attribute("png:compressionLevel", 6);
  return encodePixels("png", spec, pixelBytes(job).data());
}

} // namespace host
