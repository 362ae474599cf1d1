// Radiance HDR, through the library for rare formats.
#include "rare_library.h"

namespace host {

RawPicture readHdr(PictureBytes file) {
  return readRare("hdr", file);
}

} // namespace host
