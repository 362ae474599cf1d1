#include "rare_library.h"

#include <mutex>

#include "part.h"

namespace host {
namespace {

/// Calls `use` with the library while no other thread uses it.
template <class Use>
auto inTurn(Use use) {
  static std::mutex turns;
  static Part part = LUMENARA_PART(pictures);
  const std::lock_guard lock(turns);
  return use(part.as<RareLibrary>());
}

} // namespace

RawPicture readRare(const char* format, PictureBytes file) {
  try {
    return inTurn([&](RareLibrary& library) { return library.read(format, file); });
  } catch (const PartError& error) {
    throw PictureError(IMAGERESULT_MISC_ERROR, std::string("cannot be read: ") + error.what());
  }
}

FileBytes writeRarePsd(const FilterJob& job) {
  try {
    return inTurn([&](RareLibrary& library) { return library.writePsd(job); });
  } catch (const PartError& error) {
    std::string reason = error.what();
    if (reason.ends_with('.')) reason.pop_back(); // the sentence goes on
    throw FilterError("was not saved: " + reason);
  }
}

} // namespace host
