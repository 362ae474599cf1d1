// Icons of a plug-in by file name.
#include <initializer_list>
#include <new>

#include "c4d_bitmap.h"

namespace {

/// A plain file name, not a path that leads out of the resource folder.
bool isPlainName(const std::string& name) {
  return !name.empty() && name != "." && name != ".." && name.find_first_of("/\\") == std::string::npos &&
         name.find('\0') == std::string::npos;
}

BaseBitmap* find(const String& name) {
  if (!isPlainName(name.GetUTF8())) return nullptr;
  const Filename resources = GeGetPluginPath() + Filename("res");
  for (const Filename& folder : {resources, resources + Filename("gui")}) {
    const Filename file = folder + Filename(name);
    if (!GeFExist(file)) continue;
    AutoAlloc<BaseBitmap> bitmap;
    if (bitmap && bitmap->Init(file) == IMAGERESULT_OK) return bitmap.Release();
  }
  return nullptr;
}

} // namespace

BaseBitmap* AutoBitmap(const String& name) {
  try {
    return find(name);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}
