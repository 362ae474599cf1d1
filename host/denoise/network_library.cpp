#include "network_library.h"

#include "part.h"

namespace host::denoise {

const NetworkLibrary& networkLibrary() {
  static Part part = LUMENARA_PART(onednn);
  return part.as<const NetworkLibrary>();
}

} // namespace host::denoise
