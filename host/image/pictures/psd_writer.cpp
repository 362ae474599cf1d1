// PSD through Magick++.
#include "rare_files.h"

// Last: it defines macros with the names of other libraries' functions.
#include <Magick++.h>

#include <string>

namespace host {
namespace {

Magick::Image imageOf(const FilterJob& job, const FileBytes& pixels) {
  Magick::Image image(static_cast<std::size_t>(job.bitmap.GetBw()),
                      static_cast<std::size_t>(job.bitmap.GetBh()), job.alpha ? "RGBA" : "RGB",
                      Magick::CharPixel, pixels.data());
  image.matte(job.alpha);
  image.depth(8);
  image.compressType(Magick::RLECompression);
  image.attribute("colorspace:auto-grayscale", "false"); // a grey picture keeps three channels
  return image;
}

// Blends the colours onto white, as the merged picture beside the layers has them.
void blendOnWhite(FileBytes& pixels) {
  for (std::size_t i = 0; i + 3 < pixels.size(); i += 4)
    for (std::size_t c = 0; c < 3; ++c) {
      const int alpha = pixels[i + 3], sum = pixels[i + c] * alpha + 255 * (255 - alpha);
      pixels[i + c] = static_cast<unsigned char>((sum + 127) / 255);
    }
}

FileBytes encode(const FilterJob& job) {
  FileBytes pixels = pixelBytes(job);
  std::vector<Magick::Image> images;
  if (job.alpha) { // the merged picture comes first, then the layer with its straight colours
    images.push_back(imageOf(job, pixels));
    blendOnWhite(pixels);
  }
  images.insert(images.begin(), imageOf(job, pixels));
  Magick::Blob blob;
  images.front().magick("PSD");
  Magick::writeImages(images.begin(), images.end(), &blob, true);
  const auto* bytes = static_cast<const unsigned char*>(blob.data());
  return FileBytes(bytes, bytes + blob.length());
}

} // namespace

void setUpPsdWriter() {
  Magick::InitializeMagick(nullptr);
  Magick::ResourceLimits::thread(1); // the calling thread does all the work
}

FileBytes writePsdFile(const FilterJob& job) {
  try {
    return encode(job);
  } catch (const Magick::Exception& error) {
    throw FilterError("could not be encoded (" + std::string(error.what()) + ")");
  }
}

} // namespace host
