#include "filter_encode.h"

namespace host {

FileBytes encodeTiff(const FilterJob& job) {
  return encodeDisplay("tiff", job, [](OIIO::ImageSpec& spec) {
    spec.attribute("compression", "lzw"); // what every reader of the format knows
    // The mark would go into a second directory, for which the library reads back what it wrote: a file in
    // memory cannot serve that. Eight bits without a mark are read as sRGB.
    spec.erase_attribute("oiio:ColorSpace");
  });
}

} // namespace host
