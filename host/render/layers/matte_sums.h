// Coverage of the pixels by objects and materials, for ID mattes. Each pixel is written by one thread at a
// time.
#pragma once

#include <array>
#include <vector>

#include "film.h"
#include "path_tracer.h"
#include "ray_scene.h"

namespace host::render {

/// The numbers in the mattes: of an object's name and of its asset's by its number in the scene, and of a
/// material.
struct MatteNumbers {
  std::vector<float> objects, assets, materials;
};
MatteNumbers matteNumbersOf(const RayScene& scene);

class MatteSums {
 public:
  /// For so many pixels of the region, when the settings ask for mattes.
  MatteSums(const RenderSettings& settings, MatteNumbers numbers, std::size_t pixels);
  bool any() const { return !pixels_.empty(); }

  void add(std::size_t pixel, const PathResult& sample, float weight);
  /// Adds the sums of another pixel.
  void add(std::size_t pixel, const MatteSums& from, std::size_t other);
  /// The most objects and materials that a pixel covers.
  int mostCovers() const;
  /// For a SampleWriter or a SampleReader, with room for so many covers. False when a value is none of this
  /// scene.
  template <class Archive>
  bool archive(Archive& archive, std::size_t pixel, int covers) {
    if (!any()) return true;
    Pixel& one = pixels_[pixel];
    auto count = static_cast<std::int32_t>(one.covers.size());
    archive(one.weight), archive(count);
    if (count > covers) return false;
    one.covers.resize(static_cast<std::size_t>(count));
    bool good = true;
    for (int i = 0; i < covers; ++i) {
      Cover spare{};
      Cover& cover = i < count ? one.covers[static_cast<std::size_t>(i)] : spare;
      archive(cover.object), archive(cover.material), archive(cover.weight);
      good = good && (i >= count || isKnown(cover));
    }
    return good;
  }
  const MatteNumbers& numbers() const { return numbers_; }
  /// Adds the layers to the film that it writes from then on.
  void addLayers(Film& film);
  void put(std::size_t filmPixel, std::size_t pixel);
  /// The texts that name the numbers in a file.
  static void addManifests(Film& film, const Snapshot& snapshot);

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

  bool isKnown(const Cover& cover) const;
  float numberOf(Kind kind, const Cover& cover) const;
  void rank(Kind kind, const Pixel& pixel, std::array<Share, ranks>& out) const;

  void addCover(Pixel& to, std::uint32_t object, std::uint32_t material, float weight);

  std::vector<Pixel> pixels_;
  MatteNumbers numbers_;
  std::array<std::array<FilmLayerPtr, levels>, kindCount> layers_;
};

} // namespace host::render
