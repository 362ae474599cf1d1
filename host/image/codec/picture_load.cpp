#include "picture_load.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <new>
#include <vector>

#include "bitmap_data.h"

namespace host {
namespace {

namespace fs = std::filesystem;

LoadedPicture load(const std::string& path) {
  std::error_code trouble;
  const fs::file_status status = fs::status(path, trouble);
  if (status.type() == fs::file_type::not_found)
    return {IMAGERESULT_NOTEXISTING, "Picture \"" + path + "\" is not there. Check its name and folder.",
            nullptr};
  if (status.type() != fs::file_type::regular)
    return {IMAGERESULT_FILEERROR, "\"" + path + "\" is no file. Choose a picture file.", nullptr};
  const std::uintmax_t size = fs::file_size(path, trouble);
  if (!trouble && !fitsMemory(static_cast<std::size_t>(std::min<std::uintmax_t>(size, PTRDIFF_MAX))))
    return {IMAGERESULT_OUTOFMEMORY, "Picture \"" + path + "\" is larger than the memory.", nullptr};
  std::ifstream stream(path, std::ios::binary);
  std::vector<std::byte> bytes(trouble ? 0 : static_cast<std::size_t>(size));
  stream.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  if (trouble || !stream)
    return {IMAGERESULT_FILEERROR, "Picture \"" + path + "\" cannot be read. Check your rights to it.",
            nullptr};
  return loadPictureBytes(bytes, path);
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
