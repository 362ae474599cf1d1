// Formats that few pictures have: a part of the host that is loaded at its first use.
#include <mutex>

#include "part.h"
#include "rare_library.h"

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

RawPicture readRare(const char* format, PictureBytes file) {
  try {
    return inTurn([&](RareLibrary& library) { return library.read(format, file); });
  } catch (const PartError& error) {
    throw PictureError(IMAGERESULT_MISC_ERROR, std::string("cannot be read: ") + error.what());
  }
}

} // namespace

RawPicture readBmp(PictureBytes file) {
  return readRare("bmp", file);
}
RawPicture readPsd(PictureBytes file) {
  return readRare("psd", file);
}
RawPicture readHdr(PictureBytes file) {
  return readRare("hdr", file);
}
RawPicture readGif(PictureBytes file) {
  return readRare("gif", file);
}
RawPicture readPnm(PictureBytes file) {
  return readRare("pnm", file);
}
RawPicture readTga(PictureBytes file) {
  return readRare("targa", file);
}

FileBytes encodePsd(const FilterJob& job) {
  constexpr LONG largestSide = 30000; // the limit that the format's public documentation gives for its header
  if (job.bitmap.GetBw() > largestSide || job.bitmap.GetBh() > largestSide)
    throw FilterError("was not saved: PSD holds at most 30000 pixels a side");
  try {
    return inTurn([&](RareLibrary& library) { return library.writePsd(job); });
  } catch (const PartError& error) {
    std::string reason = error.what();
    if (reason.ends_with('.')) reason.pop_back(); // the sentence goes on
    throw FilterError("was not saved: " + reason);
  }
}

} // namespace host
