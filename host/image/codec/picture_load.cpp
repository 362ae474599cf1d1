#include "picture_load.h"

#include <new>

#include "bitmap_data.h"
#include "read_file.h"

namespace host {
namespace {

LoadedPicture load(const std::string& path) {
  const FileContent file = readFile(Filename(String(path)), mostMemory());
  switch (file.fault) {
  case ReadFault::none:
    return loadPictureBytes(file.bytes, path);
  case ReadFault::missing:
    return {IMAGERESULT_NOTEXISTING, "Picture \"" + path + "\" is not there. Check its name and folder.",
            nullptr};
  case ReadFault::tooLarge:
    return {IMAGERESULT_OUTOFMEMORY, "Picture \"" + path + "\" is larger than the memory.", nullptr};
  case ReadFault::failed:
    return {IMAGERESULT_FILEERROR, "Picture \"" + path + "\" cannot be read. Check your rights to it.",
            nullptr};
  default:
    return {IMAGERESULT_FILEERROR, "\"" + path + "\" is not a file. Choose a picture file.", nullptr};
  }
}

} // namespace

LoadedPicture loadPicture(const std::string& path) noexcept {
  try {
    return load(path);
  } catch (const std::bad_alloc&) {
    return {IMAGERESULT_OUTOFMEMORY, "Not enough memory for a picture. Use a smaller one.", nullptr};
  } catch (...) {
    return {IMAGERESULT_FILEERROR, "A picture cannot be read.", nullptr};
  }
}

} // namespace host
