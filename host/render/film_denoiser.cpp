#include "film_denoiser.h"

#include "denoiser.h"
#include "film_writer.h"

namespace host::render {

bool denoiseFilm(const RenderRequest& request) {
  const Region& region = request.settings.region;
  const std::shared_ptr<Film> film = filmOf(*request.bitmap);
  if (!film) return true;

  std::vector<float> color;
  color.reserve(static_cast<std::size_t>(region.width()) * static_cast<std::size_t>(region.height()) * 3);
  float rgba[4];
  for (int y = region.top; y <= region.bottom; ++y)
    for (int x = region.left; x <= region.right; ++x) {
      film->getColor(x, y, rgba);
      color.insert(color.end(), rgba, rgba + 3);
    }
  const auto clean = denoise::denoise(
      {region.width(), region.height(), color.data(), nullptr, nullptr}, denoise::Effort::final,
      [&](double) { return !request.hooks.stopped || !request.hooks.stopped(); });
  if (!clean) return false;

  FilmWriter writer(*request.bitmap);
  const float* next = clean->data();
  for (int y = region.top; y <= region.bottom; ++y)
    for (int x = region.left; x <= region.right; ++x, next += 3) {
      film->getColor(x, y, rgba);
      const float pixel[4] = {next[0], next[1], next[2], rgba[3]};
      writer.put(x, y, pixel);
    }
  return true;
}

} // namespace host::render
