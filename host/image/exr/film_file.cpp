#include "film_file.h"

#include <new>

#include "bitmap_data.h"
#include "exr_input.h"
#include "picture_load.h"
#include "read_file.h"

namespace host {
namespace {

bool isExr(std::span<const std::byte> bytes) {
  constexpr unsigned char magic[] = {0x76, 0x2f, 0x31, 0x01};
  return bytes.size() >= sizeof magic && std::memcmp(bytes.data(), magic, sizeof magic) == 0;
}

FilmFile load(const std::string& path) {
  const FileContent file = readFile(Filename(String(path)), mostMemory());
  const LoadedPicture loaded =
      file.fault == ReadFault::none ? loadPictureBytes(file.bytes, path) : loadPicture(path);
  if (!loaded.picture) return {nullptr, false, loaded.error};
  const DecodedPicture& picture = *loaded.picture;
  FilmFile made{nullptr, picture.hasAlpha, {}};
  if (picture.floats.empty()) return made;
  made.film = std::make_shared<Film>(picture.width, picture.height);
  const float* rgba = picture.floats.data();
  for (int y = 0; y < picture.height; ++y)
    for (int x = 0; x < picture.width; ++x, rgba += 4)
      made.film->setColor(x, y, rgba);
  if (isExr(file.bytes)) readExrLayers(file.bytes, *made.film), takeSamples(*made.film);
  return made;
}

} // namespace

FilmFile loadFilm(const std::string& path) noexcept {
  try {
    return load(path);
  } catch (const std::bad_alloc&) {
    return {nullptr, false, "Picture \"" + path + "\" does not fit into memory. Use one with fewer layers."};
  } catch (const std::exception&) {
    return {nullptr, false, "Picture \"" + path + "\" is damaged. Save it again or use another one."};
  }
}

} // namespace host
