// Files of light as films with all layers, from any bytes: OpenEXR, Radiance, float TIFF.
#include <fstream>

#include "film_file.h"
#include "fuzz_support.h"
#include "picture_codec.h"

namespace {

using fuzz::require;

/// A small input may claim a picture of gigabytes, whose cost says nothing about the reader.
constexpr std::uintmax_t mostPixels = 1 << 16;

void readAll(const host::Film& film) {
  const std::size_t pixels = film.pixelAt(0, film.height());
  if (pixels > mostPixels) return;
  for (const host::FilmLayerPtr& layer : film.layers()) {
    require(!layer->channels().empty(), "a layer has channels");
    require(film.findLayer(layer->name()) == layer, "a layer is found by its name");
    std::vector<float> values(layer->channels().size());
    layer->get(pixels - 1, values.data());
  }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const std::string path = (fuzz::temporaryFolder() / "film").string();
  std::ofstream(path, std::ios::binary | std::ios::trunc)
      .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  const host::FilmFile file = host::loadFilm(path);
  require(!file.film || file.error.empty(), "a film or an error");
  if (file.film) readAll(*file.film);
  return 0;
}
