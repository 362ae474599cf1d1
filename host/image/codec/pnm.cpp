// PNM, through the library for rare formats.
#include "rare_library.h"

namespace host {

RawPicture readPnm(PictureBytes file) {
  return readRare("pnm", file);
}

} // namespace host
