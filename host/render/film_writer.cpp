#include "film_writer.h"

#include "display_transform.h"
#include "vecmath.h"
#include "view_transform.h"

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

bool isWhole(const Region& region, const BaseBitmap& bitmap) {
  return region.width() == bitmap.GetBw() && region.height() == bitmap.GetBh();
}

} // namespace

FilmWriter::FilmWriter(BaseBitmap& bitmap)
    : bitmap_(bitmap), film_(filmFor(bitmap)), sky_(film_->findLayer(film_layers::sky)),
      denoised_(film_->findLayer(film_layers::denoised)), view_(film_->view()) {
}

FilmWriter::FilmWriter(BaseBitmap& bitmap, const RenderSettings& settings, bool sky) : FilmWriter(bitmap) {
  film_->setSamples(nullptr);
  if (isWhole(settings.region, bitmap)) {
    for (const FilmLayerPtr& layer : film_->layers())
      film_->removeLayer(layer->name());
    film_->clearNotes();
    sky_ = denoised_ = nullptr;
    film_->showDenoised(settings.denoise != Denoising::off);
  }
  showThrough(bitmap, settings.view);
  view_ = film_->view();
  const bool wanted = (settings.wantedLayers() & skyLayer) != 0;
  if (sky || wanted) sky_ = film_->addLayer(film_layers::sky, "RGB", !wanted);
}

void FilmWriter::put(int x, int y, const float rgba[4], const float* sky) {
  constexpr float dark[3] = {};
  if (!film_->holds(x, y)) return;
  film_->setColor(x, y, rgba);
  if (sky_) sky_->set(film_->pixelAt(x, y), sky ? sky : dark);
  bitmap_.SetAlpha(x, y, static_cast<LONG>(clamp01(rgba[3]) * 255 + 0.5f));
  if (holds_) return;
  if (denoised_) denoised_->set(film_->pixelAt(x, y), rgba);
  show(x, y);
}

void FilmWriter::put(int x, int y, const PixelEstimate& pixel) {
  float rgba[4];
  pixel.mean(rgba);
  const Vec3 sky = pixel.meanSky();
  put(x, y, rgba, &sky.x);
}

void FilmWriter::addDenoised() {
  if (denoised_) return;
  denoised_ = film_->addLayer(film_layers::denoised, "RGB");
  for (int y = 0; y < film_->height(); ++y)
    for (int x = 0; x < film_->width(); ++x) {
      float rgba[4];
      if (!film_->holds(x, y)) continue;
      film_->getColor(x, y, rgba);
      denoised_->set(film_->pixelAt(x, y), rgba);
    }
}

void FilmWriter::putDenoised(int x, int y, const float rgb[3]) {
  if (!film_->holds(x, y)) return;
  denoised_->set(film_->pixelAt(x, y), rgb);
  show(x, y);
}

void FilmWriter::show(int x, int y) {
  float rgba[4];
  unsigned char codes[3];
  film_->getShown(x, y, rgba);
  view_->show(rgba, codes, 1);
  bitmap_.SetPixel(x, y, codes[0], codes[1], codes[2]);
}

} // namespace host::render
