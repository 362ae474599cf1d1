#include "film.h"

#include <algorithm>
#include <cassert>

#include "access.h"
#include "bitmap_data.h"
#include "display_transform.h"

namespace host {
namespace {

void clear(FilmLayer& layer, std::size_t pixels) {
  const std::vector<float> zero(layer.channels().size());
  for (std::size_t pixel = 0; pixel < pixels; ++pixel)
    layer.set(pixel, zero.data());
}

} // namespace

FilmLayer::FilmLayer(std::string name, std::string channels, std::size_t pixels, bool internal)
    : name_(std::move(name)), channels_(std::move(channels)), internal_(internal),
      values_(std::make_unique<std::atomic<float>[]>(pixels * channels_.size())) {
}

void FilmLayer::set(std::size_t pixel, const float* values) noexcept {
  std::atomic<float>* to = values_.get() + pixel * channels_.size();
  for (std::size_t i = 0; i < channels_.size(); ++i)
    to[i].store(values[i], std::memory_order_relaxed);
}

void FilmLayer::get(std::size_t pixel, float* values) const noexcept {
  const std::atomic<float>* from = values_.get() + pixel * channels_.size();
  for (std::size_t i = 0; i < channels_.size(); ++i)
    values[i] = from[i].load(std::memory_order_relaxed);
}

Film::Film(int width, int height)
    : width_(width), height_(height),
      color_(std::make_unique<std::atomic<float>[]>(static_cast<std::size_t>(width) *
                                                    static_cast<std::size_t>(height) * 4)) {
  assert(width > 0 && height > 0);
}

void Film::setColor(int x, int y, const float rgba[4]) noexcept {
  assert(x >= 0 && x < width_ && y >= 0 && y < height_);
  std::atomic<float>* value = color_.get() + pixelAt(x, y) * 4;
  for (int i = 0; i < 4; ++i)
    value[i].store(rgba[i], std::memory_order_relaxed);
}

void Film::getColor(int x, int y, float rgba[4]) const noexcept {
  assert(x >= 0 && x < width_ && y >= 0 && y < height_);
  const std::atomic<float>* value = color_.get() + pixelAt(x, y) * 4;
  for (int i = 0; i < 4; ++i)
    rgba[i] = value[i].load(std::memory_order_relaxed);
}

void Film::getShown(int x, int y, float rgba[4]) const noexcept {
  getColor(x, y, rgba);
  const FilmLayer* denoised = denoised_.load(std::memory_order_acquire);
  if (denoised && showDenoised_.load(std::memory_order_relaxed)) denoised->get(pixelAt(x, y), rgba);
}

void Film::getStraight(int x, int y, float rgba[4]) const noexcept {
  getShown(x, y, rgba);
  if (rgba[3] <= 0 || rgba[3] >= 1) return;
  float behind[3] = {};
  if (const FilmLayer* sky = sky_.load(std::memory_order_acquire)) sky->get(pixelAt(x, y), behind);
  for (int i = 0; i < 3; ++i)
    rgba[i] = std::max(0.0f, rgba[i] - behind[i]) / rgba[3];
}

bool Film::showsDenoised() const noexcept {
  return showDenoised_.load(std::memory_order_relaxed) && denoised_.load(std::memory_order_relaxed);
}

// A removed layer is used again, so that a film does not grow from render to render.
FilmLayerPtr Film::addLayer(std::string_view name, std::string_view channels, bool internal) {
  if (FilmLayerPtr known = findLayer(name)) {
    known->setInternal(internal);
    return known;
  }
  const std::size_t pixels = pixelAt(0, height_);
  const std::lock_guard lock(guard_);
  FilmLayerPtr made;
  const auto removed = std::find_if(removed_.begin(), removed_.end(),
                                    [&](const FilmLayerPtr& layer) { return layer->name() == name; });
  if (removed != removed_.end()) {
    made = *removed;
    removed_.erase(removed);
    clear(*made, pixels);
    made->setInternal(internal);
  } else {
    made = std::make_shared<FilmLayer>(std::string(name), std::string(channels), pixels, internal);
  }
  layers_.push_back(made);
  if (name == film_layers::denoised) denoised_.store(made.get(), std::memory_order_release);
  if (name == film_layers::sky) sky_.store(made.get(), std::memory_order_release);
  return made;
}

FilmLayerPtr Film::findLayer(std::string_view name) const {
  const std::lock_guard lock(guard_);
  const auto found = std::find_if(layers_.begin(), layers_.end(),
                                  [&](const FilmLayerPtr& layer) { return layer->name() == name; });
  return found == layers_.end() ? nullptr : *found;
}

void Film::removeLayer(std::string_view name) {
  const std::lock_guard lock(guard_);
  const auto found = std::find_if(layers_.begin(), layers_.end(),
                                  [&](const FilmLayerPtr& layer) { return layer->name() == name; });
  if (found == layers_.end()) return;
  const bool read = found->get() == denoised_ || found->get() == sky_;
  if (found->get() == denoised_) denoised_ = nullptr;
  if (found->get() == sky_) sky_ = nullptr;
  if (read) removed_.push_back(*found); // another thread may be reading a pixel
  layers_.erase(found);
}

std::vector<FilmLayerPtr> Film::layers() const {
  const std::lock_guard lock(guard_);
  return layers_;
}

void Film::setNote(std::string key, std::string text) {
  const std::lock_guard lock(guard_);
  notes_.insert_or_assign(std::move(key), std::move(text));
}

void Film::clearNotes() {
  const std::lock_guard lock(guard_);
  notes_.clear();
}

std::map<std::string, std::string> Film::notes() const {
  const std::lock_guard lock(guard_);
  return notes_;
}

void Film::setOrigin(PictureOrigin origin) {
  const std::lock_guard lock(guard_);
  origin_ = std::move(origin);
}

PictureOrigin Film::origin() const {
  const std::lock_guard lock(guard_);
  return origin_;
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

bool agrees(const BaseBitmap& bitmap, int x, int y, const float shown[4]) noexcept {
  UWORD r, g, b;
  bitmap.GetPixel(x, y, &r, &g, &b);
  return toDisplay(shown[0]) == r && toDisplay(shown[1]) == g && toDisplay(shown[2]) == b;
}

bool showDenoised(BaseBitmap& bitmap, bool on) {
  const std::shared_ptr<Film> film = filmOf(bitmap);
  const FilmLayerPtr denoised = film ? film->findLayer(film_layers::denoised) : nullptr;
  if (!denoised) return false;
  for (int y = 0; y < film->height(); ++y)
    for (int x = 0; x < film->width(); ++x) {
      float before[4], after[4];
      film->getColor(x, y, before);
      std::copy_n(before, 4, after);
      denoised->get(film->pixelAt(x, y), on ? after : before);
      if (agrees(bitmap, x, y, before))
        bitmap.SetPixel(x, y, toDisplay(after[0]), toDisplay(after[1]), toDisplay(after[2]));
    }
  film->showDenoised(on);
  return true;
}

} // namespace host
