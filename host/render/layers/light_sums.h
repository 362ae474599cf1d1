// Sums of the light's parts for the pixels of a picture. Each pixel is written by one thread at a time.
#pragma once

#include <string>
#include <vector>

#include "film.h"
#include "layer_table.h"
#include "light_parts.h"
#include "pixel_estimate.h"

namespace host::render {

class LightSums {
 public:
  /// Keeps what the settings ask for, for so many pixels of the region.
  LightSums(const RenderSettings& settings, const std::vector<std::string>& groups, std::size_t pixels) {
    // The colour's own sums have the sky's part.
    for (std::size_t way = 0; way < static_cast<std::size_t>(LightWay::sky); ++way)
      if (settings.wantedLayers() & (diffuseDirectLayer << way)) ways_.push_back(way);
    if (settings.wantedLayers() & lightGroupLayers) groups_ = groups;
    sums_.resize(pixels * values());
  }

  bool any() const { return values() > 0; }
  /// A path's parts, to be traced with.
  LightParts makeParts() const { return LightParts(groups_.size()); }

  void add(std::size_t pixel, const LightParts& parts, float weight) {
    Vec3* sum = sums_.data() + pixel * values();
    for (const std::size_t way : ways_)
      *sum++ += weight * parts.ways()[way];
    for (const Vec3& light : parts.groups())
      *sum++ += weight * light;
  }

  /// Adds the sums of another pixel.
  void add(std::size_t pixel, const LightSums& from, std::size_t other) {
    for (std::size_t i = 0; i < values(); ++i)
      sums_[pixel * values() + i] += from.sums_[other * values() + i];
  }

  template <class Archive>
  void archive(Archive& archive, std::size_t pixel) {
    for (std::size_t i = 0; i < values(); ++i)
      archive(sums_[pixel * values() + i]);
  }

  /// Adds the layers to the film that it writes from then on.
  void addLayers(Film& film) {
    for (const std::size_t way : ways_) {
      const LayerInfo& layer = layerInfo(static_cast<LayerBit>(diffuseDirectLayer << way));
      layers_.push_back(film.addLayer(layer.name, layer.channels));
    }
    for (const std::string& group : groups_)
      layers_.push_back(film.addLayer(lightGroupPrefix + group, "RGB"));
  }
  void put(std::size_t filmPixel, std::size_t pixel, const PixelEstimate& estimate) {
    const Vec3* sum = sums_.data() + pixel * values();
    for (const FilmLayerPtr& layer : layers_) {
      const Vec3 mean = estimate.partOfMean(*sum++);
      layer->set(filmPixel, &mean.x);
    }
  }

 private:
  std::size_t values() const { return ways_.size() + groups_.size(); } // a pixel

  std::vector<std::size_t> ways_; // in the order of LightWay
  std::vector<std::string> groups_;
  std::vector<Vec3> sums_;
  std::vector<FilmLayerPtr> layers_; // of ways, then of groups
};

} // namespace host::render
