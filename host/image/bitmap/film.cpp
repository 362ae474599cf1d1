#include "film.h"

#include <algorithm>
#include <cassert>

#include "access.h"
#include "bitmap_data.h"
#include "view_transform.h"

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

Film::Film(int width, int height, const FilmWindow& window)
    : width_(width), height_(height), window_(window),
      color_(std::make_unique<std::atomic<float>[]>(pixelCount() * 4)) {
  assert(window.left >= 0 && window.top >= 0 && window.width > 0 && window.height > 0);
  assert(window.width <= width - window.left && window.height <= height - window.top);
}

void Film::setColor(int x, int y, const float rgba[4]) noexcept {
  assert(x >= 0 && x < width_ && y >= 0 && y < height_);
  if (!holds(x, y)) return;
  std::atomic<float>* value = color_.get() + pixelAt(x, y) * 4;
  for (int i = 0; i < 4; ++i)
    value[i].store(rgba[i], std::memory_order_relaxed);
}

void Film::getColor(int x, int y, float rgba[4]) const noexcept {
  assert(x >= 0 && x < width_ && y >= 0 && y < height_);
  if (!holds(x, y)) {
    std::fill_n(rgba, 4, 0.0f);
    return;
  }
  const std::atomic<float>* value = color_.get() + pixelAt(x, y) * 4;
  for (int i = 0; i < 4; ++i)
    rgba[i] = value[i].load(std::memory_order_relaxed);
}

void Film::getShown(int x, int y, float rgba[4]) const noexcept {
  getColor(x, y, rgba);
  const FilmLayer* denoised = denoised_.load(std::memory_order_acquire);
  if (denoised && holds(x, y) && showDenoised_.load(std::memory_order_relaxed))
    denoised->get(pixelAt(x, y), rgba);
}

void Film::getShownRow(int y, float* rgb) const noexcept {
  assert(y >= 0 && y < height_);
  std::fill_n(rgb, 3 * static_cast<std::size_t>(width_), 0.0f);
  if (!holds(window_.left, y)) return;
  rgb += 3 * static_cast<std::size_t>(window_.left);
  const std::size_t first = pixelAt(window_.left, y);
  const FilmLayer* denoised = denoised_.load(std::memory_order_acquire);
  if (denoised && showDenoised_.load(std::memory_order_relaxed)) {
    for (int x = 0; x < window_.width; ++x, rgb += 3)
      denoised->get(first + static_cast<std::size_t>(x), rgb);
    return;
  }
  const std::atomic<float>* value = color_.get() + first * 4;
  for (int x = 0; x < window_.width; ++x, rgb += 3, value += 4)
    for (int i = 0; i < 3; ++i)
      rgb[i] = value[i].load(std::memory_order_relaxed);
}

void Film::getStraight(int x, int y, float rgba[4]) const noexcept {
  getShown(x, y, rgba);
  makeStraight(x, y, rgba);
}

void Film::makeStraight(int x, int y, float rgba[4]) const noexcept {
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
  const std::size_t pixels = pixelCount();
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

void Film::removeNote(const std::string& key) {
  const std::lock_guard lock(guard_);
  notes_.erase(key);
}

void Film::clearNotes() {
  const std::lock_guard lock(guard_);
  notes_.clear();
  nodes_.clear();
}

std::map<std::string, std::string> Film::notes() const {
  const std::lock_guard lock(guard_);
  return notes_;
}

void Film::setNodes(const std::string& layer, std::vector<std::uint64_t> nodes) {
  const std::lock_guard lock(guard_);
  nodes_.insert_or_assign(layer, std::move(nodes));
}

std::vector<std::uint64_t> Film::nodes(const std::string& layer) const {
  const std::lock_guard lock(guard_);
  const auto found = nodes_.find(layer);
  return found == nodes_.end() ? std::vector<std::uint64_t>() : found->second;
}

void Film::takeTexts(const Film& other) {
  const std::scoped_lock lock(guard_, other.guard_);
  notes_ = other.notes_;
  nodes_ = other.nodes_;
  origin_ = other.origin_;
}

void Film::setOrigin(PictureOrigin origin) {
  const std::lock_guard lock(guard_);
  origin_ = std::move(origin);
}

PictureOrigin Film::origin() const {
  const std::lock_guard lock(guard_);
  return origin_;
}

void Film::setSamples(FilmSamplesPtr samples) {
  const std::lock_guard lock(guard_);
  samples_.swap(samples); // the old ones go after the lock
}

FilmSamplesPtr Film::samples() const {
  const std::lock_guard lock(guard_);
  return samples_;
}

std::shared_ptr<const ViewTransform> Film::view() const {
  static const auto plain = std::make_shared<const ViewTransform>();
  const std::lock_guard lock(guard_);
  return view_ ? view_ : plain;
}

void Film::setView(std::shared_ptr<const ViewTransform> view) {
  const std::lock_guard lock(guard_);
  view_ = std::move(view);
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

bool agrees(const BaseBitmap& bitmap, const ViewTransform& view, int x, int y,
            const float shown[4]) noexcept {
  UWORD r, g, b;
  bitmap.GetPixel(x, y, &r, &g, &b);
  unsigned char codes[3];
  view.show(shown, codes, 1);
  return codes[0] == r && codes[1] == g && codes[2] == b;
}

void drawFilm(BaseBitmap& bitmap) {
  const std::shared_ptr<Film> film = filmOf(bitmap);
  const std::shared_ptr<const ViewTransform> view = film ? film->view() : nullptr;
  for (int y = 0; film && y < film->height(); ++y)
    for (int x = 0; x < film->width(); ++x) {
      float rgba[4];
      unsigned char codes[3];
      film->getShown(x, y, rgba);
      view->show(rgba, codes, 1);
      bitmap.SetPixel(x, y, codes[0], codes[1], codes[2]);
    }
}

namespace {

// `before` and `after` give the pixel's colour as it is shown now and as it is to be shown.
template <class Before, class After>
void showAnew(BaseBitmap& bitmap, const Film& film, const ViewTransform& from, const ViewTransform& to,
              Before before, After after) {
  for (int y = 0; y < film.height(); ++y)
    for (int x = 0; x < film.width(); ++x) {
      float rgba[4];
      before(x, y, rgba);
      if (!agrees(bitmap, from, x, y, rgba)) continue;
      after(x, y, rgba);
      unsigned char codes[3];
      to.show(rgba, codes, 1);
      bitmap.SetPixel(x, y, codes[0], codes[1], codes[2]);
    }
}

} // namespace

bool showDenoised(BaseBitmap& bitmap, bool on) {
  const std::shared_ptr<Film> film = filmOf(bitmap);
  const FilmLayerPtr denoised = film ? film->findLayer(film_layers::denoised) : nullptr;
  if (!denoised) return false;
  const auto noisy = [&](int x, int y, float* rgba) { film->getColor(x, y, rgba); };
  const auto clean = [&](int x, int y, float* rgba) { denoised->get(film->pixelAt(x, y), rgba); };
  const std::shared_ptr<const ViewTransform> view = film->view();
  on ? showAnew(bitmap, *film, *view, *view, noisy, clean)
     : showAnew(bitmap, *film, *view, *view, clean, noisy);
  film->showDenoised(on);
  return true;
}

void showThrough(BaseBitmap& bitmap, const ViewSettings& view) {
  const std::shared_ptr<Film> film = filmOf(bitmap);
  if (!film || isShownThrough(bitmap, view)) return;
  const auto next = std::make_shared<const ViewTransform>(view);
  const auto shown = [&](int x, int y, float* rgba) { film->getShown(x, y, rgba); };
  showAnew(bitmap, *film, *film->view(), *next, shown, [](int, int, float*) {});
  film->setView(next);
}

bool isShownThrough(const BaseBitmap& bitmap, const ViewSettings& view) {
  const std::shared_ptr<Film> film = filmOf(bitmap);
  return !film || film->view()->settings() == withinRange(view);
}

} // namespace host
