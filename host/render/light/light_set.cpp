#include "light_set.h"

#include "recent_products.h"
#include "spherical_triangle.h"

namespace host::render {
namespace {

// The least chance of a kind of light that reaches a point: estimates know nothing of shadows.
constexpr float leastChance = 0.05f;

// A direction in the cone around +z with 1 - cosine `cap` at its edge; density 1 / (2 pi cap).
Vec3 sampleCone(Vec2 u, float cap) {
  const float down = u.x * cap, sine = std::sqrt(std::max(0.0f, down * (2 - down))), angle = 2 * pi * u.y;
  return {sine * std::cos(angle), sine * std::sin(angle), 1 - down};
}
// 1 - cosine of the cone that a sphere subtends, without cancellation.
float sphereCap(float radius, float distance2) {
  const float s2 = radius * radius / distance2;
  return s2 / (1 + std::sqrt(std::max(0.0f, 1 - s2)));
}
float distantCap(float halfAngle) {
  return 2 * sqr(std::sin(halfAngle / 2));
}

// A lamp's light towards a direction at a distance, over its intensity.
template <class Lamp>
float shareTowards(const Lamp& lamp, Vec3 direction, float distance) {
  float factor = 1;
  if (lamp.kind == LightKind::spot) {
    const float c = dot(lamp.axis, direction);
    if (c <= lamp.cosOuter) return 0;
    const float t = clamp01((c - lamp.cosOuter) / std::max(1e-4f, lamp.cosInner - lamp.cosOuter));
    factor = t * t;
  }
  // The window of KHR_lights_punctual brings the light to zero at its range.
  if (lamp.range > 0) factor *= clamp01(1 - sqr(sqr(distance / lamp.range)));
  return factor;
}

} // namespace

LightSet::LightSet(const std::vector<SnapshotLight>& lights, const RenderSettings& settings) {
  for (std::uint32_t number = 0; number < lights.size(); ++number) {
    const SnapshotLight& l = lights[number];
    const bool area = l.kind == LightKind::rectangle || l.kind == LightKind::disc;
    Lamp lamp{l.kind,
              Vec3(l.toWorld.off),
              -normalize(Vec3(l.toWorld.v3)),
              Vec3(l.intensity),
              std::max(0.0f, l.radius),
              std::cos(l.innerCone),
              std::cos(l.outerCone),
              l.outerCone,
              l.range,
              l.shadows && settings.shadow && (area || l.radius > 0 || !settings.limitShadow),
              number};
    if (isBlack(lamp.intensity) || !finite(lamp.intensity) || !finite(lamp.position)) continue;
    if (area) addArea(l, lamp);
    findable_ = findable_ || lamp.findable();
    if (lamp.kind == LightKind::distant) {
      lamp.radius = std::min(lamp.radius, 1.5f);
      distant_.push_back(lamp);
    } else {
      lamps_.push_back(lamp);
    }
  }
}

// The intensity is that along the axis, so the radiance is even over the area.
void LightSet::addArea(const SnapshotLight& light, Lamp& lamp) {
  AreaLight area;
  area.center = lamp.position, area.axis = lamp.axis;
  area.right = normalize(Vec3(light.toWorld.v1)), area.up = normalize(Vec3(light.toWorld.v2));
  area.disc = light.kind == LightKind::disc;
  area.halfWidth = 0.5f * light.width, area.halfHeight = 0.5f * (area.disc ? light.width : light.height);
  lamp.radius = 0;
  lamp.area = static_cast<std::int32_t>(areas_.size());
  areas_.push_back(area);
}

void LightSet::addGlow(const GlowTriangle& triangle, float radiance) {
  const Vec3 across = cross(triangle.edge1, triangle.edge2);
  Glow glow{triangle, 0.5f * length(across), 0, normalize(across), -1};
  glow.power = std::isfinite(glow.area) ? glow.area * std::max(0.0f, radiance) : 0;
  if (!std::isfinite(glow.power)) glow.power = 0;
  glows_.push_back(glow);
}

LightBounds LightSet::boundsOf(const Lamp& lamp) const {
  LightBounds b{lamp.position - Vec3(lamp.radius), lamp.position + Vec3(lamp.radius),
                std::max(1e-30f, luminance(lamp.intensity))};
  b.findableByRay = lamp.findable();
  if (lamp.area >= 0) {
    const Vec3 extent = areaOf(lamp).extent();
    b.low = lamp.position - extent, b.high = lamp.position + extent;
    b.axis = lamp.axis; // the light falls with the cosine
  }
  if (lamp.kind == LightKind::spot) {
    b.axis = lamp.axis;
    b.reach = std::clamp(lamp.outer, 0.0f, pi);
  }
  return b;
}

LightBounds LightSet::boundsOf(const Glow& glow) const {
  const GlowTriangle& t = glow.triangle;
  const Vec3 b = t.a + t.edge1, c = t.a + t.edge2;
  LightBounds bounds{lowest(t.a, lowest(b, c)), highest(t.a, highest(b, c)), glow.power};
  bounds.findableByRay = false; // rays find the surface itself
  if (t.side != 0) bounds.axis = glow.normal * t.side;
  return bounds;
}

namespace {

// The tree over lights, kept while they stay the same.
LightTree keptTree(const std::vector<LightBounds>& bounds, bool& built) {
  static RecentProducts<std::vector<LightBounds>, LightTree> trees(2);
  auto tree = trees.find(bounds);
  built = !tree;
  if (built) {
    tree = std::make_shared<const LightTree>(bounds);
    trees.put(bounds, tree);
  }
  return *tree;
}

} // namespace

bool LightSet::finish() {
  std::vector<LightBounds> bounds;
  for (const Lamp& lamp : lamps_)
    bounds.push_back(boundsOf(lamp));
  for (std::uint32_t i = 0; i < glows_.size(); ++i) {
    if (!(glows_[i].power > 0)) continue;
    glows_[i].leaf = static_cast<std::int32_t>(bounds.size());
    bounds.push_back(boundsOf(glows_[i]));
    shining_.push_back(i);
  }
  bool built = false;
  tree_ = keptTree(bounds, built);
  return built;
}

// Factor of a light's estimate: exactly 0 outside a spot's cone, beyond a range and behind a surface.
float LightSet::shareOf(std::uint32_t leaf, const LightReceiver& at) const {
  if (leaf < lamps_.size()) {
    const Lamp& lamp = lamps_[leaf];
    if (lamp.area >= 0 && !areaOf(lamp).shinesTo(at.position)) return 0;
    if (lamp.kind != LightKind::spot && lamp.range <= 0) return 1;
    const Vec3 from = at.position - lamp.position;
    const float distance = length(from);
    return distance > 0 ? shareTowards(lamp, from / distance, distance) : 1;
  }
  const Glow& glow = glows_[shining_[leaf - lamps_.size()]];
  const GlowTriangle& t = glow.triangle;
  return t.side == 0 || t.side * dot(glow.normal, at.position - t.a) > 0 ? 1.0f : 0.0f;
}

float LightSet::chanceOf(std::uint32_t leaf, const LightReceiver& at) const {
  return tree_.probability(leaf, at, [&](std::uint32_t light) { return shareOf(light, at); });
}

namespace {

// The cosine of light from a distant disc, at most.
template <class Lamp>
float estimateDistant(const Lamp& lamp, const LightReceiver& at) {
  const float cosine = isZero(at.normal) ? 1.0f : -dot(at.normal, lamp.axis) + std::sin(lamp.radius);
  return cosine > 0 ? luminance(lamp.intensity) * std::clamp(cosine, 0.05f, 1.0f) : 0;
}

} // namespace

LightPick LightSet::pick(const LightReceiver& at) const {
  LightPick p{at};
  for (const Lamp& lamp : distant_)
    p.distantTotal += estimateDistant(lamp, at);
  p.distant = p.distantTotal;
  if (samplesSky()) p.sky = pi * luminance(sky_->mean());
  const auto leaf = [&](std::uint32_t light) { return shareOf(light, at); };
  if (p.distant + p.sky > 0)
    p.near = tree_.total(at, leaf);
  else
    p.near = tree_.empty() ? 0 : 1;
  const float sum = p.near + p.distant + p.sky;
  if (!(sum > 0)) return p;
  float total = 0;
  for (float* chance : {&p.near, &p.distant, &p.sky}) {
    if (*chance > 0) *chance = std::max(leastChance, *chance / sum);
    total += *chance;
  }
  for (float* chance : {&p.near, &p.distant, &p.sky})
    *chance /= total;
  return p;
}

float LightSet::chanceOfDistant(const Lamp& lamp, const LightPick& pick) const {
  return pick.distantTotal > 0 ? pick.distant * estimateDistant(lamp, pick.at) / pick.distantTotal : 0;
}

namespace {

// Surfaces in the plane of an area light neither hide nor shadow it.
constexpr float planeGap = 0.9999f;

// The radiance of an area light towards a point at a distance from its middle.
template <class Lamp>
Vec3 radianceOf(const Lamp& lamp, const AreaLight& area, Vec3 position) {
  const float distance = length(position - area.center);
  return lamp.intensity * (shareTowards(lamp, lamp.axis, distance) / area.area());
}

} // namespace

bool LightSet::sampleAreaLamp(const Lamp& lamp, Vec3 position, Vec2 u, LightSample& out) const {
  const AreaLight& area = areaOf(lamp);
  const AreaSample sample = sampleArea(area, position, u);
  out.direction = sample.direction;
  out.distance = sample.distance * planeGap;
  out.pdf = sample.pdf;
  out.radiance = radianceOf(lamp, area, position);
  return out.pdf > 0;
}

bool LightSet::sampleLamp(const Lamp& lamp, Vec3 position, Vec2 u, LightSample& out) const {
  out.shadow = lamp.shadow;
  out.lamp = static_cast<int>(lamp.number);
  if (lamp.area >= 0) return sampleAreaLamp(lamp, position, u, out);
  const Vec3 to = lamp.position - position;
  const float d2 = dot(to, to), d = std::sqrt(d2);
  if (d <= lamp.radius * 1.0001f || d2 <= 0) return false;
  const Vec3 axis = to / d;
  const Vec3 intensity = lamp.intensity * shareTowards(lamp, -axis, d);
  if (isBlack(intensity)) return false;
  if (lamp.radius <= 0) {
    out.direction = axis;
    out.distance = d;
    out.radiance = intensity / d2;
    return true;
  }
  const float cap = sphereCap(lamp.radius, d2);
  out.direction = Frame(axis).toWorld(sampleCone(u, cap));
  const float along = dot(out.direction, to), apart2 = std::max(0.0f, d2 - along * along);
  out.distance = along - std::sqrt(std::max(0.0f, sqr(lamp.radius) - apart2));
  out.pdf = 1 / (2 * pi * cap);
  out.radiance = intensity / (pi * sqr(lamp.radius));
  return out.distance > 0;
}

bool LightSet::sampleDistant(const LightPick& pick, float choice, Vec2 u, LightSample& out,
                             float& chance) const {
  choice *= pick.distantTotal;
  std::size_t chosen = distant_.size();
  for (std::size_t i = 0; i < distant_.size() && choice >= 0; ++i) {
    const float part = estimateDistant(distant_[i], pick.at);
    if (part > 0) chosen = i; // rounding may leave a rest behind the last one
    choice -= part;
  }
  if (chosen == distant_.size()) return false;
  const Lamp& lamp = distant_[chosen];
  chance = chanceOfDistant(lamp, pick);
  out.shadow = lamp.shadow;
  out.lamp = static_cast<int>(lamp.number);
  out.distance = 1e30f;
  if (lamp.radius <= 0) {
    out.direction = -lamp.axis;
    out.radiance = lamp.intensity;
    return true;
  }
  const float cap = distantCap(lamp.radius);
  out.direction = Frame(-lamp.axis).toWorld(sampleCone(u, cap));
  out.pdf = 1 / (2 * pi * cap);
  out.radiance = lamp.intensity / (pi * sqr(std::sin(lamp.radius)));
  return true;
}

bool LightSet::sampleSky(Vec2 u, LightSample& out) const {
  const RenderSky::Sample sky = sky_->sample(u);
  out.direction = sky.direction;
  out.pdf = sky.pdf;
  out.distance = 1e30f;
  out.radiance = sky_->radiance(out.direction);
  return out.pdf > 0;
}

namespace {

// Triangles whose area is a larger part of the squared distance are sampled over their solid angle.
constexpr float nearPart = 0.1f;
constexpr float leastSolidAngle = 1e-3f;

SphericalTriangle seenFrom(const GlowTriangle& t, Vec3 position) {
  const Vec3 a = t.a - position;
  return {a, a + t.edge1, a + t.edge2};
}

} // namespace

// 0 for triangles that are sampled over their area.
float LightSet::nearSolidAngle(const Glow& glow, Vec3 position) {
  const GlowTriangle& t = glow.triangle;
  const Vec3 to = t.a + (t.edge1 + t.edge2) * (1.0f / 3) - position;
  if (!(glow.area > nearPart * dot(to, to))) return 0;
  const float angle = seenFrom(t, position).solidAngle();
  return angle > leastSolidAngle ? angle : 0;
}

bool LightSet::sampleNearGlow(const Glow& glow, float solidAngle, Vec3 position, Vec2 u, LightSample& out) {
  const GlowTriangle& t = glow.triangle;
  out.direction = normalize(seenFrom(t, position).sample(u));
  out.distance = dot(t.a - position, glow.normal) / dot(out.direction, glow.normal);
  if (!(out.distance > 0) || !std::isfinite(out.distance)) return false;
  const Vec3 at = position + out.direction * out.distance - t.a;
  const float whole = 2 * glow.area;
  out.spot = {clamp01(dot(cross(at, t.edge2), glow.normal) / whole),
              clamp01(dot(cross(t.edge1, at), glow.normal) / whole)};
  out.pdf = 1 / solidAngle;
  return true;
}

bool LightSet::sampleGlow(std::size_t index, Vec3 position, Vec2 u, LightSample& out) const {
  const Glow& glow = glows_[index];
  const GlowTriangle& t = glow.triangle;
  out.radiance = Vec3(1.0f);
  out.glow = static_cast<int>(index);
  if (const float angle = nearSolidAngle(glow, position); angle > 0)
    return sampleNearGlow(glow, angle, position, u, out);
  const float root = std::sqrt(u.x);
  out.spot = {root * (1 - u.y), root * u.y};
  const Vec3 to = t.a + t.edge1 * out.spot.x + t.edge2 * out.spot.y - position;
  const float d2 = dot(to, to);
  if (!(d2 > 1e-12f)) return false;
  out.distance = std::sqrt(d2);
  out.direction = to / out.distance;
  const float facing = std::abs(dot(glow.normal, out.direction));
  if (facing < 1e-5f) return false;
  out.pdf = d2 / (glow.area * facing);
  return out.pdf > 0;
}

bool LightSet::sampleNear(const LightPick& pick, float choice, Vec2 u, LightSample& out,
                          float& chance) const {
  const LightTree::Choice chosen =
      tree_.choose(pick.at, choice, [&](std::uint32_t light) { return shareOf(light, pick.at); });
  if (!(chosen.probability > 0)) return false;
  chance = pick.near * chosen.probability;
  if (chosen.light < lamps_.size()) return sampleLamp(lamps_[chosen.light], pick.at.position, u, out);
  return sampleGlow(shining_[chosen.light - lamps_.size()], pick.at.position, u, out);
}

std::optional<LightSample> LightSet::sample(const LightPick& pick, float choice, Vec2 u) const {
  constexpr float below = 0.99999994f; // 1
  LightSample out;
  float chance = 0;
  bool found = false;
  if (choice < pick.near) {
    found = sampleNear(pick, std::min(choice / pick.near, below), u, out, chance);
  } else if (choice -= pick.near; choice < pick.distant) {
    found = sampleDistant(pick, std::min(choice / pick.distant, below), u, out, chance);
  } else if (pick.sky > 0) {
    chance = pick.sky;
    found = sampleSky(u, out);
  }
  if (!found || !(chance > 0)) return std::nullopt;
  out.radiance *= 1 / (chance * (out.pdf > 0 ? out.pdf : 1));
  out.pdf *= chance;
  // Rays do not find a light whose shadows are off.
  if (!out.shadow) out.pdf = 0;
  return out;
}

Vec3 LightSet::hitDistant(const Lamp& lamp, Vec3 direction, float& density) const {
  if (!lamp.findable()) return {};
  const float cap = distantCap(lamp.radius);
  if (1 + dot(direction, lamp.axis) > cap) return {};
  density = 1 / (2 * pi * cap);
  return lamp.intensity / (pi * sqr(std::sin(lamp.radius)));
}

Vec3 LightSet::hitArea(const Lamp& lamp, Vec3 origin, Vec3 direction, float near, float far,
                       float& density) const {
  const AreaLight& area = areaOf(lamp);
  const AreaSample met = meetArea(area, origin, direction);
  if (!(met.pdf > 0) || met.distance <= near || met.distance * planeGap > far) return {};
  density = met.pdf;
  return radianceOf(lamp, area, origin);
}

Vec3 LightSet::hit(const Lamp& lamp, Vec3 origin, Vec3 direction, float near, float far,
                   float& density) const {
  if (lamp.area >= 0) return hitArea(lamp, origin, direction, near, far, density);
  const Vec3 to = lamp.position - origin;
  const float d2 = dot(to, to), along = dot(to, direction), r2 = sqr(lamp.radius);
  if (along <= 0 || d2 <= r2 * 1.0002f) return {};
  const Vec3 aside = to - direction * along;
  const float apart2 = dot(aside, aside);
  if (apart2 > r2) return {};
  const float distance = along - std::sqrt(r2 - apart2);
  if (distance <= near || distance > far) return {};
  density = 1 / (2 * pi * sphereCap(lamp.radius, d2));
  const float d = std::sqrt(d2);
  return lamp.intensity * (shareTowards(lamp, to * (-1 / d), d) / (pi * r2));
}

float LightSet::glowPdf(const LightPick& pick, int index, float distance, float facing) const {
  const Glow& glow = glows_[static_cast<std::size_t>(index)];
  if (glow.leaf < 0 || !(pick.near > 0) || facing < 1e-5f) return 0;
  const float chance = pick.near * chanceOf(static_cast<std::uint32_t>(glow.leaf), pick.at);
  if (const float angle = nearSolidAngle(glow, pick.at.position); angle > 0) return chance / angle;
  return chance * distance * distance / (glow.area * facing);
}

float LightSet::skyPdf(const LightPick& pick, Vec3 direction) const {
  return samplesSky() ? pick.sky * sky_->pdf(direction) : 0;
}

} // namespace host::render
