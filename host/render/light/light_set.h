// The lights of a render and their sampling: spheres, points, cones, rectangles, discs, distant discs,
// glowing triangles, and a sky with a picture. Built once a render, read by every worker.
#pragma once

#include <optional>
#include <vector>

#include "area_light.h"
#include "light_tree.h"
#include "render_settings.h"
#include "render_sky.h"
#include "snapshot.h"

namespace host::render {

/// A receiving point, and the chances of the kinds of lights there.
struct LightPick {
  LightReceiver at;
  float near = 0, distant = 0, sky = 0; // sum 1, or 0 without a light to sample
  float distantTotal = 0;               // sum of the distant lights' estimates
  bool any() const { return near + distant + sky > 0; }
};

struct LightSample {
  Vec3 direction;     // unit, towards the light
  float distance = 0; // to the light
  Vec3 radiance;      // over the density: light added for a surface value of 1
  float pdf = 0;      // over solid angle, choice included; 0 when rays cannot find the light
  bool shadow = true;
  int lamp = -1; // index of its light in the snapshot; -1: not a lamp
  int glow = -1; // index of a glowing triangle, whose emission at `spot` is a factor still missing; -1: none
  Vec2 spot;     // barycentric, on that triangle
};

/// A glowing triangle in world space.
struct GlowTriangle {
  Vec3 a, edge1, edge2; // corners a, a + edge1, a + edge2
  std::uint32_t instance = 0, primitive = 0;
  float side = 0;    // it shines towards `side` * (`edge1` x `edge2`); 0: to both sides
  bool even = false; // `radiance` is that of every point
  Vec3 radiance{};
};

class LightSet {
 public:
  LightSet() = default;
  LightSet(const std::vector<SnapshotLight>& lights, const RenderSettings& settings);
  void setSky(const RenderSky* sky) { sky_ = sky; }
  /// Adds a glowing triangle with its estimated radiance, instance by instance and in order.
  void addGlow(const GlowTriangle& triangle, float radiance);
  /// True when the tree had to be built: it is kept over renders.
  bool finish();

  LightPick pick(const LightReceiver& at) const;
  /// Samples a light by `choice` and a point of it by `u`; nothing when it does not reach the point.
  std::optional<LightSample> sample(const LightPick& pick, float choice, Vec2 u) const;

  /// Calls `found(radiance, index in the snapshot)` for the lights of finite size that a ray hits between two
  /// distances from `origin`, the radiance times `weight(pdf)` with the density of `sample`. `pick` is that
  /// of the origin.
  template <class Weight, class Found>
  void along(const LightPick& pick, Vec3 origin, Vec3 direction, float near, float far, Weight&& weight,
             Found&& found) const {
    // A little farther: a surface may lie in the plane of a light.
    tree_.alongRay(origin, direction, near, far * 1.0002f, [&](std::uint32_t leaf) {
      float density = 0;
      const Vec3 radiance = hit(lamps_[leaf], origin, direction, near, far, density);
      if (!isBlack(radiance))
        found(radiance * weight(density * pick.near * chanceOf(leaf, pick.at)), lamps_[leaf].number);
    });
    if (far < 1e29f) return;
    for (const Lamp& lamp : distant_) {
      float density = 0;
      const Vec3 radiance = hitDistant(lamp, direction, density);
      if (!isBlack(radiance)) found(radiance * weight(density * chanceOfDistant(lamp, pick)), lamp.number);
    }
  }
  /// Lamps and glowing triangles with a place.
  std::size_t count() const { return tree_.lightCount(); }
  bool hasFindable() const { return findable_; }

  /// Density of `sample` for a point on the glowing triangle `index`. `facing` is |cosine| at the triangle.
  float glowPdf(const LightPick& pick, int index, float distance, float facing) const;
  float skyPdf(const LightPick& pick, Vec3 direction) const;
  bool samplesSky() const { return sky_ && sky_->sampled(); }
  const GlowTriangle& glow(int index) const { return glows_[static_cast<std::size_t>(index)].triangle; }
  int glowCount() const { return static_cast<int>(glows_.size()); }

 private:
  struct Lamp {
    LightKind kind;
    Vec3 position, axis; // axis: direction of its light
    Vec3 intensity;
    float radius, cosInner, cosOuter, outer, range;
    bool shadow;
    std::uint32_t number;   // among the snapshot's lights
    std::int32_t area = -1; // index into areas_; -1: not an area light
    bool hasSize() const { return radius > 0 || area >= 0; }
    bool findable() const { return hasSize() && shadow; } // by rays
  };
  struct Glow {
    GlowTriangle triangle;
    float area = 0, power = 0;
    Vec3 normal;            // unit, of edge1 x edge2
    std::int32_t leaf = -1; // among the tree's lights; -1: dark
  };

  void addArea(const SnapshotLight& light, Lamp& lamp);
  const AreaLight& areaOf(const Lamp& lamp) const { return areas_[static_cast<std::size_t>(lamp.area)]; }
  LightBounds boundsOf(const Lamp& lamp) const;
  LightBounds boundsOf(const Glow& glow) const;
  float shareOf(std::uint32_t leaf, const LightReceiver& at) const;
  float chanceOf(std::uint32_t leaf, const LightReceiver& at) const;
  float chanceOfDistant(const Lamp& lamp, const LightPick& pick) const;
  Vec3 hitArea(const Lamp& lamp, Vec3 origin, Vec3 direction, float near, float far, float& density) const;
  Vec3 hit(const Lamp& lamp, Vec3 origin, Vec3 direction, float near, float far, float& density) const;
  Vec3 hitDistant(const Lamp& lamp, Vec3 direction, float& density) const;

  bool sampleNear(const LightPick& pick, float choice, Vec2 u, LightSample& out, float& chance) const;
  bool sampleLamp(const Lamp& lamp, Vec3 position, Vec2 u, LightSample& out) const;
  bool sampleAreaLamp(const Lamp& lamp, Vec3 position, Vec2 u, LightSample& out) const;
  bool sampleDistant(const LightPick& pick, float choice, Vec2 u, LightSample& out, float& chance) const;
  static float nearSolidAngle(const Glow& glow, Vec3 position);
  static bool sampleNearGlow(const Glow& glow, float solidAngle, Vec3 position, Vec2 u, LightSample& out);
  bool sampleGlow(std::size_t index, Vec3 position, Vec2 u, LightSample& out) const;
  bool sampleSky(Vec2 u, LightSample& out) const;

  std::vector<Lamp> lamps_, distant_; // with a place; without
  std::vector<AreaLight> areas_;
  std::vector<Glow> glows_;
  std::vector<std::uint32_t> shining_; // glowing triangles of the tree, whose lights are lamps_, then these
  LightTree tree_;
  bool findable_ = false;
  const RenderSky* sky_ = nullptr;
};

} // namespace host::render
