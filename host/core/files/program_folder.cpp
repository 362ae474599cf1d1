#include "program_folder.h"

#include "c4d_file.h"
#include "platform.h"

namespace host {

Filename programFolder() {
  const Filename library = platform::libraryPath().GetDirectory();
  return GeFExist(library + "plugins", TRUE) ? library : library.GetDirectory();
}

} // namespace host
