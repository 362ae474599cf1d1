// Coverage of the pixels by objects and materials, for ID mattes. Each pixel is written by one thread at a
// time.
#pragma once

#include <array>
#include <vector>

#include "film.h"
#include "path_tracer.h"
#include "ray_scene.h"

namespace host::render {

class MatteSums {
 public:
  /// For so many pixels of the region, when the settings ask for mattes.
  MatteSums(const RenderSettings& settings, const RayScene& scene, std::size_t pixels);
  bool any() const { return !pixels_.empty(); }

  void add(std::size_t pixel, const PathResult& sample, float weight);
  /// Adds the layers and their manifests to the film that it writes from then on.
  void addLayers(Film& film);
  void put(std::size_t filmPixel, std::size_t pixel);

 private:
  static constexpr std::size_t levels = 3, ranks = 2 * levels;
  enum Kind : std::uint8_t { ofObjects, ofMaterials, ofAssets, kindCount };
  struct Cover {
    std::uint32_t object, material;
    float weight;
  };
  struct Pixel {
    std::vector<Cover> covers;
    float weight = 0; // of all samples, the sky's too
  };
  struct Share {
    float number, part;
  };

  float numberOf(Kind kind, const Cover& cover) const;
  void rank(Kind kind, const Pixel& pixel, std::array<Share, ranks>& out) const;

  const RayScene& scene_;
  std::vector<Pixel> pixels_;
  std::vector<float> names_, materials_; // numbers by index in the snapshot's lists
  std::array<std::array<FilmLayerPtr, levels>, kindCount> layers_;
};

} // namespace host::render
