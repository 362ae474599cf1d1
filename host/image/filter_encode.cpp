#include "filter_encode.h"

#include <OpenImageIO/filesystem.h>

#include <algorithm>
#include <memory>

#include "image_library.h"

namespace host {
namespace {

[[noreturn]] void fail(std::string reason) {
  while (!reason.empty() && (reason.back() == '\n' || reason.back() == '.'))
    reason.pop_back();
  std::replace(reason.begin(), reason.end(), '\n', ' ');
  throw FilterError("could not be encoded (" + (reason.empty() ? "no reason given" : reason) + ")");
}

} // namespace

FileBytes pixelBytes(const FilterJob& job) {
  const BaseBitmap& bitmap = job.bitmap;
  const LONG width = bitmap.GetBw(), height = bitmap.GetBh();
  FileBytes bytes(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * (job.alpha ? 4 : 3));
  unsigned char* out = bytes.data();
  for (LONG y = 0; y < height; ++y)
    for (LONG x = 0; x < width; ++x) {
      UWORD r, g, b;
      bitmap.GetPixel(x, y, &r, &g, &b);
      *out++ = static_cast<unsigned char>(r);
      *out++ = static_cast<unsigned char>(g);
      *out++ = static_cast<unsigned char>(b);
      if (job.alpha) *out++ = static_cast<unsigned char>(bitmap.GetAlpha(x, y));
    }
  return bytes;
}

FileBytes encodePixels(const char* writer, const FilterJob& job, OIIO::TypeDesc type, const void* pixels,
                       const Describe& describe) {
  const ImageLibraryUse use;
  OIIO::ImageSpec spec(job.bitmap.GetBw(), job.bitmap.GetBh(), job.alpha ? 4 : 3, type);
  spec.attribute("Software", "Lumenara");
  describe(spec);
  FileBytes bytes;
  OIIO::Filesystem::IOVecOutput memory(bytes);
  const std::unique_ptr<OIIO::ImageOutput> output = OIIO::ImageOutput::create(writer);
  if (!output) fail(OIIO::geterror());
  output->threads(1);
  if (!output->set_ioproxy(&memory) || !output->open(std::string("picture.") + writer, spec))
    fail(output->geterror());
  if (!output->write_image(type, pixels)) fail(output->geterror());
  if (!output->close()) fail(output->geterror());
  return bytes;
}

FileBytes encodeDisplay(const char* writer, const FilterJob& job, const Describe& describe) {
  return encodePixels(writer, job, OIIO::TypeDesc::UINT8, pixelBytes(job).data(), [&](OIIO::ImageSpec& spec) {
    spec.attribute("oiio:ColorSpace", "sRGB");
    // Our alpha is straight, and colours above an alpha of 0 count.
    if (job.alpha) spec.attribute("oiio:UnassociatedAlpha", 1);
    describe(spec);
  });
}

} // namespace host
