#include "film_writer.h"

#include "display_transform.h"
#include "vecmath.h"

namespace host::render {
namespace {

std::shared_ptr<Film> filmFor(BaseBitmap& bitmap) {
  if (auto film = filmOf(bitmap)) return film;
  auto film = std::make_shared<Film>(bitmap.GetBw(), bitmap.GetBh());
  const auto linear = [](UWORD code) { return fromDisplay(static_cast<unsigned char>(code)); };
  for (LONG y = 0; y < bitmap.GetBh(); ++y)
    for (LONG x = 0; x < bitmap.GetBw(); ++x) {
      UWORD r, g, b;
      bitmap.GetPixel(x, y, &r, &g, &b);
      const float rgba[4] = {linear(r), linear(g), linear(b),
                             static_cast<float>(bitmap.GetAlpha(x, y)) / 255};
      film->setColor(x, y, rgba);
    }
  setFilm(bitmap, film);
  return film;
}

} // namespace

FilmWriter::FilmWriter(BaseBitmap& bitmap) : bitmap_(bitmap), film_(filmFor(bitmap)) {
}

void FilmWriter::put(int x, int y, const float rgba[4]) {
  film_->setColor(x, y, rgba);
  bitmap_.SetPixel(x, y, toDisplay(rgba[0]), toDisplay(rgba[1]), toDisplay(rgba[2]));
  bitmap_.SetAlpha(x, y, static_cast<LONG>(clamp01(rgba[3]) * 255 + 0.5f));
}

} // namespace host::render
