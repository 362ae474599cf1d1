#include "film.h"

#include <cassert>

#include "access.h"
#include "bitmap_data.h"

namespace host {
namespace {

std::size_t offset(int width, int x, int y) noexcept {
  return (static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)) * 4;
}

} // namespace

Film::Film(int width, int height)
    : width_(width), height_(height),
      color_(std::make_unique<std::atomic<float>[]>(offset(width, 0, height))) {
  assert(width > 0 && height > 0);
}

void Film::setColor(int x, int y, const float rgba[4]) noexcept {
  assert(x >= 0 && x < width_ && y >= 0 && y < height_);
  std::atomic<float>* value = color_.get() + offset(width_, x, y);
  for (int i = 0; i < 4; ++i)
    value[i].store(rgba[i], std::memory_order_relaxed);
}

void Film::getColor(int x, int y, float rgba[4]) const noexcept {
  assert(x >= 0 && x < width_ && y >= 0 && y < height_);
  const std::atomic<float>* value = color_.get() + offset(width_, x, y);
  for (int i = 0; i < 4; ++i)
    rgba[i] = value[i].load(std::memory_order_relaxed);
}

std::shared_ptr<Film> filmOf(const BaseBitmap& bitmap) {
  const BitmapData& data = *Access::data(bitmap);
  const std::lock_guard lock(data.guard);
  if (data.film && (data.film->width() != bitmap.GetBw() || data.film->height() != bitmap.GetBh()))
    return nullptr;
  return data.film;
}

void setFilm(BaseBitmap& bitmap, std::shared_ptr<Film> film) {
  BitmapData& data = *Access::data(bitmap);
  const std::lock_guard lock(data.guard);
  data.film.swap(film); // the old one goes after the lock
}

} // namespace host
