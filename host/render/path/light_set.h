// The lights of a render and their sampling: spheres, points, cones, distant discs, glowing triangles, and a
// sky with a picture. Built once a render, read by every worker.
#pragma once

#include <array>
#include <optional>
#include <vector>

#include "render_settings.h"
#include "render_sky.h"
#include "shading.h"
#include "snapshot.h"

namespace host::render {

/// Probabilities of the lights at one point.
struct LightPick {
  static constexpr int individual = 14; // up to this number every light has its own chance
  std::array<float, individual + 2> chance{};
  float total = 0; // 0: no light to sample
};

struct LightSample {
  Vec3 direction;     // unit, towards the light
  float distance = 0; // to the light
  Vec3 radiance;      // over the density: light added for a surface value of 1
  float pdf = 0;      // over solid angle, choice included; 0 when rays cannot find the light
  bool shadow = true;
  int glow = -1; // index of a glowing triangle, whose emission at `spot` is a factor still missing; -1: none
  Vec2 spot;     // barycentric, on that triangle
};

/// A glowing triangle in world space.
struct GlowTriangle {
  Vec3 a, edge1, edge2; // corners a, a + edge1, a + edge2
  std::uint32_t instance = 0, primitive = 0;
};

class LightSet {
 public:
  LightSet() = default;
  LightSet(const std::vector<SnapshotLight>& lights, const RenderSettings& settings);
  void setSky(const RenderSky* sky) { sky_ = sky; }
  /// Adds a glowing triangle with its estimated radiance, instance by instance and in order.
  void addGlow(const GlowTriangle& triangle, float radiance);
  void finish();

  LightPick pick(Vec3 position) const;
  /// Samples a light by `choice` and a point of it by `u`; nothing when it does not reach the position.
  std::optional<LightSample> sample(const LightPick& pick, Vec3 position, float choice, Vec2 u) const;

  /// Radiance of the lights of finite size that a ray hits before `far`, each times `weight(pdf)` with the
  /// density of `sample` at the ray's origin.
  template <class Weight>
  Vec3 along(const LightPick& pick, Vec3 origin, Vec3 direction, float far, Weight&& weight) const {
    Vec3 sum;
    for (const std::size_t index : findable_) {
      float density = 0;
      const Vec3 radiance = hit(index, origin, direction, far, density);
      if (!isBlack(radiance)) sum += radiance * weight(density * chanceOf(pick, index));
    }
    return sum;
  }
  bool hasFindable() const { return !findable_.empty(); }

  /// Density of `sample` for a point on the glowing triangle `index`. `facing` is |cosine| at the triangle.
  float glowPdf(const LightPick& pick, int index, float distance, float facing) const;
  float skyPdf(const LightPick& pick, Vec3 direction) const;
  bool samplesSky() const { return sky_ && sky_->sampled(); }
  const GlowTriangle& glow(int index) const { return glows_[static_cast<std::size_t>(index)]; }
  int glowCount() const { return static_cast<int>(glows_.size()); }

 private:
  struct Light {
    LightKind kind;
    Vec3 position, axis; // axis: direction of its light
    Vec3 intensity;
    float radius, cosInner, cosOuter, range;
    bool shadow;
  };
  static constexpr std::size_t glowSlot = LightPick::individual, skySlot = LightPick::individual + 1;
  Vec3 intensityTowards(const Light& light, Vec3 direction, float distance) const;
  float estimate(const Light& light, Vec3 position) const;
  float chanceOf(const LightPick& pick, std::size_t index) const;
  Vec3 hit(std::size_t index, Vec3 origin, Vec3 direction, float far, float& density) const;
  bool sampleLight(const Light& light, Vec3 position, Vec2 u, LightSample& out) const;
  bool sampleDistant(const Light& light, Vec2 u, LightSample& out) const;
  bool sampleGlow(Vec3 position, float choice, Vec2 u, LightSample& out) const;
  bool sampleSky(Vec2 u, LightSample& out) const;

  std::vector<Light> lights_;
  std::vector<std::size_t> findable_; // lights of finite size that cast shadows
  std::vector<float> lightCdf_;       // by power, when there are many
  std::vector<GlowTriangle> glows_;
  std::vector<float> glowCdf_, glowArea_;
  Vec3 glowLow_{1e30f, 1e30f, 1e30f}, glowHigh_{-1e30f, -1e30f, -1e30f}; // of those that glow
  float glowPower_ = 0;
  const RenderSky* sky_ = nullptr;
};

} // namespace host::render
