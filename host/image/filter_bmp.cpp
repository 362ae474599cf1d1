#include "filter_encode.h"

namespace host {

FileBytes encodeBmp(const FilterJob& job) {
  const FilterJob opaque{job.bitmap, false, job.options};
  return encodePixels("bmp", displaySpec(opaque), pixelBytes(opaque).data());
}

} // namespace host
