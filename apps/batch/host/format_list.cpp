#include "format_list.h"

#include "picture_formats.h"

namespace batch {

std::string suffixList(FormatUse use) {
  std::string list;
  for (const host::PictureFileFormat& format : host::pictureFileFormats()) {
    if (use == FormatUse::read ? !format.read : !format.write) continue;
    list += (list.empty() ? "" : ", ") + std::string(format.suffixes[0]);
  }
  return list;
}

} // namespace batch
