#include "color_library.h"

#include "part.h"

namespace host {

const ColorLibrary& colorLibrary() {
  static Part part = LUMENARA_PART(ocio);
  return part.as<const ColorLibrary>();
}

} // namespace host
