#include "light_tree.h"

#include <array>
#include <numeric>

namespace host::render {
namespace {

// Cosine of a - b; 1 where b is larger. Angles from 0 to pi.
float cosOfRest(float sinA, float cosA, float sinB, float cosB) {
  return cosA > cosB ? 1 : cosA * cosB + sinA * sinB;
}
float sinOfRest(float sinA, float cosA, float sinB, float cosB) {
  return cosA > cosB ? 0 : sinA * cosB - cosA * sinB;
}
float sineOf(float cosine) {
  return std::sqrt(std::max(0.0f, 1 - cosine * cosine));
}

constexpr float leastDistance2 = 1e-12f;
constexpr float mostEstimate = 1e30f;   // sums of two stay finite
constexpr float leastEmission = 0.1f;   // factor of slanted light from the source, which may be no triangle
constexpr float leastReception = 0.05f; // factor of slanted light, which glossy surfaces mirror

/// A cone of directions.
struct Cone {
  Vec3 axis;
  float spread;
};

// The smallest cone around two; the whole sphere has no axis.
Cone unite(Cone a, Cone b) {
  if (isZero(a.axis) || isZero(b.axis)) return {{}, pi};
  if (b.spread > a.spread) std::swap(a, b);
  const float between = std::acos(std::clamp(dot(a.axis, b.axis), -1.0f, 1.0f));
  if (std::min(between + b.spread, pi) <= a.spread) return a;
  const float spread = 0.5f * (a.spread + between + b.spread);
  const Vec3 across = cross(cross(a.axis, b.axis), a.axis);
  if (spread >= pi || !(dot(across, across) > 1e-12f)) return {{}, pi};
  const float turn = spread - a.spread;
  return {normalize(a.axis * std::cos(turn) + normalize(across) * std::sin(turn)), spread};
}

LightBounds unite(const LightBounds& a, const LightBounds& b) {
  const Cone cone = unite(Cone{a.axis, a.spread}, Cone{b.axis, b.spread});
  return {lowest(a.low, b.low),
          highest(a.high, b.high),
          a.power + b.power,
          cone.axis,
          cone.spread,
          std::max(a.reach, b.reach),
          a.findableByRay || b.findableByRay};
}

float at(Vec3 v, int axis) {
  return axis == 0 ? v.x : axis == 1 ? v.y : v.z;
}

/// Lights summed up for the choice of a cut.
struct Sum {
  Vec3 low{1e30f, 1e30f, 1e30f}, high{-1e30f, -1e30f, -1e30f}, axes;
  float power = 0;
  std::size_t count = 0;

  void add(const LightBounds& b) {
    low = lowest(low, b.low), high = highest(high, b.high);
    axes += b.axis * b.power;
    power += b.power;
    ++count;
  }
  void add(const Sum& s) {
    low = lowest(low, s.low), high = highest(high, s.high);
    axes += s.axes;
    power += s.power;
    count += s.count;
  }
  // Power times surface times a measure of the directions: 1 where all are one, 2 where they cancel.
  float cost() const {
    if (count == 0 || !(power > 0)) return 0;
    const Vec3 d = high - low;
    const float surface = d.x * d.y + d.y * d.z + d.z * d.x, largest = maxComponent(d);
    return power * (surface + 0.01f * largest * largest) * (2 - std::min(1.0f, length(axes) / power));
  }
};

constexpr int binCount = 12;

} // namespace

float LightTree::boundOf(const Node& node, const LightReceiver& receiver) {
  const LightBounds& b = node.bounds;
  const Vec3 half = (b.high - b.low) * 0.5f, to = b.low + half - receiver.position;
  const float radius2 = std::max(leastDistance2, dot(half, half)), distance2 = dot(to, to);
  if (distance2 <= radius2) return std::min(mostEstimate, b.power / radius2);
  const Vec3 towards = to * (1 / std::sqrt(distance2));
  // The sphere around the bounds, seen from the point.
  const float sinBall2 = radius2 / distance2;
  const float sinBall = std::sqrt(sinBall2), cosBall = std::sqrt(1 - sinBall2);
  float factor = 1;
  if (!isZero(b.axis)) {
    const float cosine = -dot(b.axis, towards), sine = sineOf(cosine);
    const float beyond = cosOfRest(sine, cosine, node.sinSpread, node.cosSpread);
    const float least =
        cosOfRest(sinOfRest(sine, cosine, node.sinSpread, node.cosSpread), beyond, sinBall, cosBall);
    if (least <= node.cosReach) return 0;
    if (node.cosReach < 1e-4f) factor = std::max(leastEmission, least);
  }
  if (!isZero(receiver.normal)) {
    const float cosine = dot(receiver.normal, towards);
    const float least = cosOfRest(sineOf(cosine), cosine, sinBall, cosBall);
    if (least <= 0) return 0;
    factor *= std::max(leastReception, least);
  }
  return std::min(mostEstimate, b.power * factor / distance2);
}

bool LightTree::meets(const LightBounds& b, Vec3 origin, Vec3 inverse, float near, float far) {
  for (int axis = 0; axis < 3; ++axis) {
    const float one = (at(b.low, axis) - at(origin, axis)) * at(inverse, axis);
    const float two = (at(b.high, axis) - at(origin, axis)) * at(inverse, axis);
    // An undefined product, of a ray inside a face, bounds nothing.
    near = std::max(near, std::min(one, two));
    far = std::min(far, std::max(one, two) * 1.00001f);
  }
  return near <= far;
}

/// Builds a tree from the root down; bounds are united on the way back.
class LightTree::Builder {
 public:
  Builder(LightTree& tree, const std::vector<LightBounds>& lights) : tree_(tree), lights_(lights) {
    order_.resize(lights.size());
    std::iota(order_.begin(), order_.end(), 0u);
    tree_.leafOf_.resize(lights.size());
    tree_.nodes_.reserve(2 * lights.size());
    tree_.nodes_.emplace_back();
    build(0, 0, lights.size(), 0);
  }

 private:
  void build(std::uint32_t node, std::size_t begin, std::size_t end, int level) {
    std::vector<Node>& nodes = tree_.nodes_;
    if (end - begin == 1) {
      nodes[node].light = order_[begin];
      nodes[node].bounds = lights_[order_[begin]];
      tree_.leafOf_[order_[begin]] = node;
    } else {
      const std::size_t middle = cut(begin, end, level);
      const auto child = static_cast<std::uint32_t>(nodes.size());
      nodes.resize(nodes.size() + 2);
      nodes[node].child = child;
      nodes[child].parent = nodes[child + 1].parent = node;
      build(child, begin, middle, level + 1);
      build(child + 1, middle, end, level + 1);
      nodes[node].bounds = unite(nodes[child].bounds, nodes[child + 1].bounds);
    }
    Node& done = nodes[node];
    done.cosSpread = std::cos(done.bounds.spread);
    done.sinSpread = std::sin(done.bounds.spread);
    done.cosReach = std::cos(done.bounds.reach);
  }

  Vec3 centre(std::uint32_t light) const { return (lights_[light].low + lights_[light].high) * 0.5f; }

  // Orders the lights of a node into two parts; the place of the second.
  std::size_t cut(std::size_t begin, std::size_t end, int level) {
    Vec3 low{1e30f, 1e30f, 1e30f}, high{-1e30f, -1e30f, -1e30f};
    for (std::size_t i = begin; i < end; ++i) {
      const Vec3 c = centre(order_[i]);
      low = lowest(low, c), high = highest(high, c);
    }
    const Vec3 extent = high - low;
    int best = -1, bestBin = 0;
    float bestCost = 1e38f;
    constexpr int mostUneven = 40; // levels, before cuts in halves bound the depth
    for (int axis = 0; axis < 3 && level < mostUneven; ++axis) {
      if (!(at(extent, axis) > 0)) continue;
      // Thin nodes are worth less: long boxes make poor bounds.
      const float regular = maxComponent(extent) / at(extent, axis);
      const auto costs = costsOfCuts(begin, end, axis, at(low, axis), at(extent, axis));
      for (int bin = 1; bin < binCount; ++bin) {
        const float cost = regular * costs[static_cast<std::size_t>(bin)];
        if (cost < bestCost) bestCost = cost, best = axis, bestBin = bin;
      }
    }
    const auto first = order_.begin() + static_cast<std::ptrdiff_t>(begin);
    const auto last = order_.begin() + static_cast<std::ptrdiff_t>(end);
    if (best >= 0) {
      const auto middle = std::partition(first, last, [&](std::uint32_t light) {
        return binOf(light, best, at(low, best), at(extent, best)) < bestBin;
      });
      if (middle != first && middle != last) return static_cast<std::size_t>(middle - order_.begin());
    }
    const int axis = extent.x >= extent.y && extent.x >= extent.z ? 0 : extent.y >= extent.z ? 1 : 2;
    const auto middle = first + (last - first) / 2;
    std::nth_element(first, middle, last, [&](std::uint32_t a, std::uint32_t b) {
      return at(centre(a), axis) < at(centre(b), axis);
    });
    return static_cast<std::size_t>(middle - order_.begin());
  }

  int binOf(std::uint32_t light, int axis, float low, float extent) const {
    const float place = (at(centre(light), axis) - low) / extent;
    return std::clamp(static_cast<int>(place * binCount), 0, binCount - 1);
  }

  // The cost of a cut before each bin.
  std::array<float, binCount> costsOfCuts(std::size_t begin, std::size_t end, int axis, float low,
                                          float extent) const {
    std::array<Sum, binCount> bins{};
    for (std::size_t i = begin; i < end; ++i)
      bins[static_cast<std::size_t>(binOf(order_[i], axis, low, extent))].add(lights_[order_[i]]);
    std::array<float, binCount> costs{};
    Sum below, above;
    for (std::size_t bin = 1; bin < binCount; ++bin) {
      below.add(bins[bin - 1]);
      costs[bin] += below.count ? below.cost() : 1e38f;
    }
    for (std::size_t bin = binCount - 1; bin > 0; --bin) {
      above.add(bins[bin]);
      costs[bin] += above.count ? above.cost() : 1e38f;
    }
    return costs;
  }

  LightTree& tree_;
  const std::vector<LightBounds>& lights_;
  std::vector<std::uint32_t> order_;
};

LightTree::LightTree(const std::vector<LightBounds>& lights) {
  if (!lights.empty()) Builder(*this, lights);
}

} // namespace host::render
