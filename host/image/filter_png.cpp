#include "filter_encode.h"

namespace host {

FileBytes encodePng(const FilterJob& job) {
  return encodeDisplay("png", job, [](OIIO::ImageSpec& spec) { spec.attribute("png:compressionLevel", 6); });
}

} // namespace host
