#include "filter_encode.h"

// Last: it defines macros with names of other people's functions.
#include <Magick++.h>

#include <string>

namespace host {
namespace {

constexpr LONG largestSide = 30000; // Adobe Photoshop File Formats Specification, file header section

void prepareMagick() {
  static const bool done = [] {
    Magick::InitializeMagick(nullptr);
    Magick::ResourceLimits::thread(1); // one picture is worked on by the thread that asks
    return true;
  }();
  static_cast<void>(done);
}

FileBytes encode(const FilterJob& job) {
  const FileBytes pixels = pixelBytes(job);
  Magick::Image image(static_cast<std::size_t>(job.bitmap.GetBw()),
                      static_cast<std::size_t>(job.bitmap.GetBh()), job.alpha ? "RGBA" : "RGB",
                      Magick::CharPixel, pixels.data());
  image.matte(job.alpha);
  image.depth(8);
  image.type(job.alpha ? Magick::TrueColorMatteType
                       : Magick::TrueColorType); // a grey picture stays in colours
  image.compressType(Magick::RLECompression);
  Magick::Blob blob;
  image.write(&blob, "PSD");
  const auto* bytes = static_cast<const unsigned char*>(blob.data());
  return FileBytes(bytes, bytes + blob.length());
}

} // namespace

FileBytes encodePsd(const FilterJob& job) {
  if (job.bitmap.GetBw() > largestSide || job.bitmap.GetBh() > largestSide)
    throw FilterError("was not saved: PSD holds at most 30000 pixels a side");
  prepareMagick();
  try {
    return encode(job);
  } catch (const Magick::Exception& error) {
    throw FilterError("could not be encoded (" + std::string(error.what()) + ")");
  }
}

} // namespace host
