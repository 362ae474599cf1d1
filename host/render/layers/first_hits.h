// The first hits of a picture's pixels, summed up. Each pixel is written by one thread at a time.
#pragma once

#include <vector>

#include "path_tracer.h"

namespace host::render {

class FirstHits {
 public:
  /// Keeps what these layers and the denoiser need for so many pixels.
  FirstHits(const RenderSettings& settings, std::size_t pixels) {
    if (!settings.firstHits()) return;
    const unsigned wanted = settings.wantedLayers();
    if (settings.denoises() || (wanted & (albedoLayer | normalLayer))) looks_.resize(pixels);
    if (wanted & (depthLayer | positionLayer | uvLayer | objectLayer | materialLayer)) places_.resize(pixels);
  }

  void add(std::size_t pixel, const PathResult& sample) {
    if (!looks_.empty()) looks_[pixel].add(sample.first);
    if (!places_.empty()) places_[pixel].add(sample);
  }

  /// Adds the sums of another pixel, whose samples come after this one's.
  void add(std::size_t pixel, const FirstHits& from, std::size_t other) {
    if (!looks_.empty()) looks_[pixel].add(from.looks_[other]);
    if (!places_.empty()) places_[pixel].add(from.places_[other]);
  }

  /// For a SampleWriter or a SampleReader. `looks`: the archive has them, of use here or not.
  template <class Archive>
  void archive(Archive& archive, std::size_t pixel, bool looks) {
    Look spare;
    Look& look = looks_.empty() ? spare : looks_[pixel];
    if (looks) archive(look.albedo), archive(look.normal), archive(look.count);
    if (places_.empty()) return;
    Place& place = places_[pixel];
    archive(place.depth), archive(place.hits), archive(place.begun), archive(place.object);
    archive(place.material), archive(place.position), archive(place.uv);
  }

  bool hasLooks() const { return !looks_.empty(); }
  /// Means; 0 without samples.
  Vec3 albedo(std::size_t pixel) const { return looks_[pixel].albedo * looks_[pixel].share(); }
  Vec3 normal(std::size_t pixel) const { return looks_[pixel].normal * looks_[pixel].share(); }
  /// The mean of the samples that met a surface, metres; 0 when none did.
  float depth(std::size_t pixel) const {
    const Place& place = places_[pixel];
    return place.hits > 0 ? place.depth / static_cast<float>(place.hits) : 0;
  }
  /// Likewise, in the world. `origin`: the scene's.
  Vec3 position(std::size_t pixel, const Vector& origin) const {
    const Place& place = places_[pixel];
    if (place.hits == 0) return {};
    const Vec3 mean = place.position / static_cast<float>(place.hits);
    return Vec3(Vector(mean.x, mean.y, mean.z) + origin);
  }
  /// Of the first sample; 0 when it met no surface.
  Vec2 uv(std::size_t pixel) const { return places_[pixel].uv; }
  /// Of the first sample, counted from 1; 0 when it met no surface.
  std::uint32_t object(std::size_t pixel) const { return places_[pixel].object; }
  std::uint32_t material(std::size_t pixel) const { return places_[pixel].material; }

 private:
  struct Look {
    Vec3 albedo, normal;
    std::int32_t count = 0;
    void add(const FirstHit& hit) {
      albedo += hit.albedo;
      normal += hit.normal;
      ++count;
    }
    void add(const Look& more) {
      albedo += more.albedo;
      normal += more.normal;
      count += more.count;
    }
    float share() const { return count > 0 ? 1 / static_cast<float>(count) : 0; }
  };
  struct Place {
    float depth = 0;
    std::int32_t hits = 0;
    bool begun = false;
    std::uint32_t object = 0, material = 0;
    Vec3 position;
    Vec2 uv;
    void add(const PathResult& sample) {
      if (!begun) {
        begun = true;
        object = sample.object + 1; // ~0 becomes 0
        material = sample.first.material + 1;
        uv = sample.first.uv;
      }
      if (sample.alpha <= 0) return;
      depth += sample.first.depth;
      position += sample.first.position;
      ++hits;
    }
    void add(const Place& more) {
      if (!begun && more.begun) {
        begun = true;
        object = more.object;
        material = more.material;
        uv = more.uv;
      }
      depth += more.depth;
      position += more.position;
      hits += more.hits;
    }
  };

  std::vector<Look> looks_;
  std::vector<Place> places_;
};

} // namespace host::render
