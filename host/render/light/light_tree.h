// A tree over lights of finite place, for choosing one by its estimated light at a point (Conty Estevez and
// Kulla 2018, "Importance Sampling of Many Lights with Adaptive Tree Splitting"; without the splitting).
// Built once a render, read by every worker.
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "vecmath.h"

namespace host::render {

/// A surface point that receives light. The normal is a unit vector, or zero where light counts from both
/// sides.
struct LightReceiver {
  Vec3 position, normal;
};

/// Where lights are, how strong they are, and the directions in which they shine: within `reach` of a
/// direction that is within `spread` of the axis. With a reach of a right angle or more the light falls with
/// the cosine.
struct LightBounds {
  Vec3 low{}, high{};
  float power = 0;           // light at a metre's distance, luminance
  Vec3 axis{};               // unit; zero: in all directions
  float spread = 0;          // radians; without effect when the axis is zero
  float reach = 0.5f * pi;   // radians
  bool findableByRay = true; // `alongRay` visits it

  friend bool operator==(const LightBounds& a, const LightBounds& b) {
    return isZero(a.low - b.low) && isZero(a.high - b.high) && a.power == b.power &&
           isZero(a.axis - b.axis) && a.spread == b.spread && a.reach == b.reach &&
           a.findableByRay == b.findableByRay;
  }
};

class LightTree {
 public:
  LightTree() = default;
  /// Lights with a power above 0.
  explicit LightTree(const std::vector<LightBounds>& lights);

  bool empty() const { return nodes_.empty(); }
  std::size_t lightCount() const { return leafOf_.size(); }

  struct Choice {
    std::uint32_t light = 0;
    float probability = 0; // 0: no light reaches the point
  };
  /// Chooses a light by `u`, in [0, 1). `leaf(light)` is a factor of the estimate that only the light itself
  /// knows; 0 where it sends none.
  template <class Leaf>
  Choice choose(const LightReceiver& at, float u, Leaf&& leaf) const {
    Choice choice{0, nodes_.empty() ? 0.0f : 1.0f};
    std::uint32_t i = 0;
    while (choice.probability > 0 && !nodes_[i].isLeaf()) {
      const std::uint32_t left = nodes_[i].child;
      const float first = estimate(left, at, leaf), second = estimate(left + 1, at, leaf);
      const float part = share(first, second);
      if (u < part) {
        u /= part;
        choice.probability *= part;
        i = left;
      } else {
        u = (u - part) / (1 - part);
        choice.probability *= share(second, first);
        i = left + 1;
      }
      u = std::min(u, 0.99999994f);
    }
    if (choice.probability <= 0) return choice;
    choice.light = nodes_[i].light;
    if (i == 0 && !(estimate(0, at, leaf) > 0)) choice.probability = 0;
    return choice;
  }

  /// Probability of `choose` for a light.
  template <class Leaf>
  float probability(std::uint32_t light, const LightReceiver& at, Leaf&& leaf) const {
    std::uint32_t i = leafOf_[light];
    if (i == 0) return estimate(0, at, leaf) > 0 ? 1.0f : 0.0f;
    float product = 1, own = estimate(i, at, leaf);
    while (i != 0 && own > 0) {
      const std::uint32_t sibling = ((i - 1) ^ 1) + 1; // siblings are neighbours, the first with an odd index
      product *= share(own, estimate(sibling, at, leaf));
      i = nodes_[i].parent;
      if (i != 0) own = estimate(i, at, leaf);
    }
    return own > 0 ? product : 0;
  }

  /// The light of all lights together at a point, roughly.
  template <class Leaf>
  float total(const LightReceiver& at, Leaf&& leaf, std::uint32_t node = 0, int levels = 1) const {
    if (nodes_.empty()) return 0;
    const float whole = estimate(node, at, leaf);
    if (levels == 0 || nodes_[node].isLeaf() || !(whole > 0)) return whole;
    return total(at, leaf, nodes_[node].child, levels - 1) +
           total(at, leaf, nodes_[node].child + 1, levels - 1);
  }

  /// Calls `visit(light)` for the findable lights whose bounds a ray meets between two distances.
  template <class Visit>
  void alongRay(Vec3 origin, Vec3 direction, float near, float far, Visit&& visit) const {
    if (nodes_.empty() || !nodes_[0].bounds.findableByRay) return;
    const Vec3 inverse{1 / direction.x, 1 / direction.y, 1 / direction.z};
    std::uint32_t stack[mostLevels], depth = 0;
    stack[depth++] = 0;
    while (depth > 0) {
      const Node& node = nodes_[stack[--depth]];
      if (!meets(node.bounds, origin, inverse, near, far)) continue;
      if (node.isLeaf()) {
        visit(node.light);
        continue;
      }
      for (const std::uint32_t child : {node.child, node.child + 1})
        if (nodes_[child].bounds.findableByRay) stack[depth++] = child;
    }
  }

 private:
  static constexpr int mostLevels = 80;
  struct Node {
    LightBounds bounds;
    float cosSpread = 1, sinSpread = 0, cosReach = 0;
    std::uint32_t child = 0; // the first of two neighbours; 0: a leaf
    std::uint32_t parent = 0, light = 0;
    bool isLeaf() const { return child == 0; }
  };
  class Builder;

  // Share of the first of two siblings. Without an estimate both are equal.
  static float share(float own, float other) {
    return own > 0 ? (other > 0 ? own / (own + other) : 1.0f) : 0.0f;
  }
  template <class Leaf>
  float estimate(std::uint32_t i, const LightReceiver& at, Leaf&& leaf) const {
    const Node& node = nodes_[i];
    const float bound = boundOf(node, at);
    return node.isLeaf() && bound > 0 ? bound * leaf(node.light) : bound;
  }
  // The light of a node's lights at a point, roughly, and 0 only when they send none.
  static float boundOf(const Node& node, const LightReceiver& at);
  static bool meets(const LightBounds& bounds, Vec3 origin, Vec3 inverse, float near, float far);

  std::vector<Node> nodes_; // the root first
  std::vector<std::uint32_t> leafOf_;
};

} // namespace host::render
