// All that a render sums up for the film's layers, and the writing of it. Each pixel is written by one thread
// at a time.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "first_hits.h"
#include "kept_render.h"
#include "light_sums.h"
#include "matte_sums.h"
#include "ray_scene.h"
#include "shadow_sums.h"

namespace host::render {

/// The facts of a scene that the layers need.
struct LayerFacts {
  Vector origin; // the scene's, in the world
  bool catchesShadows = false;
  std::vector<std::string> groups; // of lights
  MatteNumbers mattes;
};
/// Those that a render with these settings uses.
LayerFacts layerFactsOf(const RayScene& scene, const RenderSettings& settings);
/// As one line of text, and back. Nothing for another text.
std::string textOf(const LayerFacts& facts);
std::optional<LayerFacts> layerFactsOf(const std::string& text);

class LayerSums {
 public:
  /// For so many pixels of the region. Only what the settings ask for takes memory and time.
  LayerSums(const RenderSettings& settings, const LayerFacts& facts, std::size_t pixels);

  const FirstHits& hits() const { return hits_; }
  /// Whether paths are traced with parts.
  bool wantsParts() const { return lights_.any() || shadows_.any(); }
  LightParts makeParts() const { return lights_.makeParts(); }

  /// `parts` are those of the sample, with `wantsParts`.
  void add(std::size_t pixel, const PathResult& sample, const LightParts* parts, float weight) {
    hits_.add(pixel, sample);
    if (lights_.any()) lights_.add(pixel, *parts, weight);
    if (shadows_.any()) shadows_.add(pixel, *parts);
    if (mattes_.any()) mattes_.add(pixel, sample, weight);
  }

  /// Adds the sums of a pixel whose samples come after this one's.
  void add(std::size_t pixel, const LayerSums& from, std::size_t other) {
    hits_.add(pixel, from.hits_, other);
    lights_.add(pixel, from.lights_, other);
    shadows_.add(pixel, from.shadows_, other);
    mattes_.add(pixel, from.mattes_, other);
  }

  bool hasLooks() const { return hits_.hasLooks(); }
  int mostCovers() const { return mattes_.mostCovers(); }
  /// The sums of a pixel, for a SampleWriter or a SampleReader. False when a value does not belong to this
  /// scene.
  template <class Archive>
  bool archive(Archive& archive, std::size_t pixel, const SampleLayout& layout) {
    hits_.archive(archive, pixel, layout.looks);
    lights_.archive(archive, pixel);
    shadows_.archive(archive, pixel);
    return mattes_.archive(archive, pixel, layout.covers);
  }

  /// Adds the layers to the film.
  void addLayers(Film& film);
  /// Adds the texts that name the numbers in layers.
  void addNames(Film& film, const RayScene& scene) const;
  /// Writes a pixel with samples into the film.
  void put(std::size_t filmPixel, std::size_t pixel, const PixelEstimate& estimate);
  /// The standard error of a pixel, when the picture is finished.
  void putNoise(std::size_t filmPixel, float error);
  bool wantsNoise() const { return noise_ != nullptr; }

 private:
  unsigned wanted_;
  Vector origin_;
  FirstHits hits_;
  LightSums lights_;
  MatteSums mattes_;
  ShadowSums shadows_;
  FilmLayerPtr albedo_, normal_, depth_, position_, uv_, object_, material_, samples_, noise_;
};

} // namespace host::render
