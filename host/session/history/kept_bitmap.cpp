#include "kept_bitmap.h"

#include <algorithm>
#include <vector>

#include "view_transform.h"

namespace host {

SharedBitmap bitmapOf(const std::shared_ptr<Film>& film) {
  const SharedBitmap bitmap = makeBitmap(film->width(), film->height());
  if (!bitmap) return nullptr;
  const ViewTransform display;
  const auto width = static_cast<std::size_t>(film->width());
  std::vector<float> light(width * 3);
  std::vector<unsigned char> codes(width * 3);
  for (int y = 0; y < film->height(); ++y) {
    for (std::size_t x = 0; x < width; ++x) {
      float rgba[4];
      film->getShown(static_cast<int>(x), y, rgba);
      std::copy_n(rgba, 3, light.data() + 3 * x);
    }
    display.show(light.data(), codes.data(), width);
    for (std::size_t x = 0; x < width; ++x)
      bitmap->SetPixel(static_cast<LONG>(x), y, codes[3 * x], codes[3 * x + 1], codes[3 * x + 2]);
  }
  setFilm(*bitmap, film);
  return bitmap;
}

SharedBitmap bitmapOf(const Filename& file) {
  SharedBitmap bitmap(BaseBitmap::Alloc(), BitmapDeleter());
  return bitmap && bitmap->Init(file) == IMAGERESULT_OK ? bitmap : nullptr;
}

} // namespace host
