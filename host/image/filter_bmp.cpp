#include "filter_encode.h"

namespace host {

FileBytes encodeBmp(const FilterJob& job) {
  return encodeDisplay("bmp", {job.bitmap, false, job.options}, [](OIIO::ImageSpec&) {});
}

} // namespace host
