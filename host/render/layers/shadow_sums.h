// The shadows on objects that ask for it. Each pixel is written by one thread at a time.
#pragma once

#include <vector>

#include "film.h"
#include "light_parts.h"

namespace host::render {

/// The layer "shadow_catcher": the share of the light from lamps, glowing surfaces and the sky that reaches
/// the surfaces of those objects, 0 to 1. It is 1 elsewhere, and where no light would come without shadows.
class ShadowSums {
 public:
  /// For so many pixels, when there are such objects.
  ShadowSums(bool caught, std::size_t pixels) {
    if (caught) pixels_.resize(pixels);
  }
  bool any() const { return !pixels_.empty(); }

  void add(std::size_t pixel, const LightParts& parts) {
    pixels_[pixel].open += parts.openLight();
    pixels_[pixel].arrived += parts.arrivedLight();
  }
  /// Adds the sums of another pixel.
  void add(std::size_t pixel, const ShadowSums& from, std::size_t other) {
    if (!any()) return;
    pixels_[pixel].open += from.pixels_[other].open;
    pixels_[pixel].arrived += from.pixels_[other].arrived;
  }
  template <class Archive>
  void archive(Archive& archive, std::size_t pixel) {
    if (any()) archive(pixels_[pixel].open), archive(pixels_[pixel].arrived);
  }
  void addLayers(Film& film) {
    if (any()) layer_ = film.addLayer("shadow_catcher", "RGB");
  }
  void put(std::size_t filmPixel, std::size_t pixel) {
    if (!any()) return;
    const auto share = [](float arrived, float open) { return open > 0 ? clamp01(arrived / open) : 1; };
    const auto& [open, arrived] = pixels_[pixel];
    const Vec3 shares(share(arrived.x, open.x), share(arrived.y, open.y), share(arrived.z, open.z));
    layer_->set(filmPixel, &shares.x);
  }

 private:
  struct Sums {
    Vec3 open, arrived;
  };
  std::vector<Sums> pixels_;
  FilmLayerPtr layer_;
};

} // namespace host::render
