#include "light_set.h"

namespace host::render {
namespace {

// Samples an index from a running sum (the last entry is the total); `u` is rescaled to the place inside the
// index's part.
std::size_t choose(const std::vector<float>& cdf, float& u) {
  const float target = u * cdf.back();
  const auto above = std::upper_bound(cdf.begin(), cdf.end() - 1, target);
  const auto i = static_cast<std::size_t>(above - cdf.begin());
  const float low = i ? cdf[i - 1] : 0, width = cdf[i] - low;
  u = width > 0 ? std::min(clamp01((target - low) / width), 0.99999994f) : 0.5f;
  return i;
}
float partOf(const std::vector<float>& cdf, std::size_t i) {
  return (cdf[i] - (i ? cdf[i - 1] : 0)) / cdf.back();
}

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

} // namespace

LightSet::LightSet(const std::vector<SnapshotLight>& lights, const RenderSettings& settings) {
  for (const SnapshotLight& l : lights) {
    Light light{l.kind,
                Vec3(l.toWorld.off),
                -normalize(Vec3(l.toWorld.v3)),
                Vec3(l.intensity),
                std::max(0.0f, l.radius),
                std::cos(l.innerCone),
                std::cos(l.outerCone),
                l.range,
                l.shadows && settings.shadow && (l.radius > 0 || !settings.limitShadow)};
    if (light.kind == LightKind::distant) light.radius = std::min(light.radius, 1.5f);
    if (isBlack(light.intensity) || !finite(light.intensity) || !finite(light.position)) continue;
    if (light.radius > 0 && light.shadow && findable_.size() < 32) findable_.push_back(lights_.size());
    lights_.push_back(light);
  }
}

void LightSet::addGlow(const GlowTriangle& triangle, float radiance) {
  const float area = 0.5f * length(cross(triangle.edge1, triangle.edge2));
  const float power = std::isfinite(area) ? area * std::max(0.0f, radiance) : 0;
  glowArea_.push_back(area);
  glowCdf_.push_back((glowCdf_.empty() ? 0 : glowCdf_.back()) + power);
  glows_.push_back(triangle);
  if (!(power > 0)) return;
  for (const Vec3 p : {triangle.a, triangle.a + triangle.edge1, triangle.a + triangle.edge2}) {
    glowLow_ = {std::min(glowLow_.x, p.x), std::min(glowLow_.y, p.y), std::min(glowLow_.z, p.z)};
    glowHigh_ = {std::max(glowHigh_.x, p.x), std::max(glowHigh_.y, p.y), std::max(glowHigh_.z, p.z)};
  }
}

void LightSet::finish() {
  glowPower_ = glowCdf_.empty() ? 0 : glowCdf_.back() * pi;
  if (!(glowPower_ > 0) || !std::isfinite(glowPower_)) glowPower_ = 0;
  if (lights_.size() <= static_cast<std::size_t>(LightPick::individual)) return;
  float sum = 0;
  for (const Light& light : lights_)
    lightCdf_.push_back(sum += luminance(light.intensity));
}

Vec3 LightSet::intensityTowards(const Light& light, Vec3 direction, float distance) const {
  float factor = 1;
  if (light.kind == LightKind::spot) {
    const float c = dot(light.axis, direction);
    if (c <= light.cosOuter) return {};
    const float t = clamp01((c - light.cosOuter) / std::max(1e-4f, light.cosInner - light.cosOuter));
    factor = t * t;
  }
  // The window of KHR_lights_punctual brings the light to zero at its range.
  if (light.range > 0) factor *= clamp01(1 - sqr(sqr(distance / light.range)));
  return light.intensity * factor;
}

float LightSet::estimate(const Light& light, Vec3 position) const {
  if (light.kind == LightKind::distant) return luminance(light.intensity);
  const Vec3 d = position - light.position;
  const float d2 = std::max(dot(d, d), std::max(1e-8f, sqr(light.radius)));
  if (light.range > 0 && d2 > sqr(light.range)) return 0;
  if (light.kind == LightKind::spot && dot(light.axis, d) < std::min(0.0f, light.cosOuter) * std::sqrt(d2))
    return 0;
  return luminance(light.intensity) / d2;
}

LightPick LightSet::pick(Vec3 position) const {
  LightPick p;
  if (lightCdf_.empty()) {
    for (std::size_t i = 0; i < lights_.size(); ++i)
      p.total += p.chance[i] = estimate(lights_[i], position);
  } else {
    // Many lights share one chance, without regard to the position.
    p.total += p.chance[0] = 1;
  }
  if (glowPower_ > 0) {
    const Vec3 centre = (glowLow_ + glowHigh_) * 0.5f, half = (glowHigh_ - glowLow_) * 0.5f;
    const Vec3 d = position - centre;
    p.total += p.chance[glowSlot] =
        lightCdf_.empty()
            ? glowPower_ / (4 * pi * std::max(1e-8f, std::max(dot(d, d), 0.25f * dot(half, half))))
            : 0.5f;
  }
  if (samplesSky()) p.total += p.chance[skySlot] = lightCdf_.empty() ? pi * luminance(sky_->mean()) : 0.5f;
  // Every light keeps a chance of at least a hundredth: the estimate may be wrong.
  if (p.total > 0) {
    const float least = 0.01f * p.total;
    float total = 0;
    for (float& c : p.chance) {
      if (c > 0) c = std::max(c, least);
      total += c;
    }
    for (float& c : p.chance)
      c /= total;
  }
  return p;
}

float LightSet::chanceOf(const LightPick& pick, std::size_t index) const {
  return lightCdf_.empty() ? pick.chance[index] : pick.chance[0] * partOf(lightCdf_, index);
}

bool LightSet::sampleLight(const Light& light, Vec3 position, Vec2 u, LightSample& out) const {
  out.shadow = light.shadow;
  if (light.kind == LightKind::distant) return sampleDistant(light, u, out);
  const Vec3 to = light.position - position;
  const float d2 = dot(to, to), d = std::sqrt(d2);
  if (d <= light.radius * 1.0001f || d2 <= 0) return false;
  const Vec3 axis = to / d;
  const Vec3 intensity = intensityTowards(light, -axis, d);
  if (isBlack(intensity)) return false;
  if (light.radius <= 0) {
    out.direction = axis;
    out.distance = d;
    out.radiance = intensity / d2;
    return true;
  }
  const float cap = sphereCap(light.radius, d2);
  out.direction = Frame(axis).toWorld(sampleCone(u, cap));
  const float along = dot(out.direction, to), apart2 = std::max(0.0f, d2 - along * along);
  out.distance = along - std::sqrt(std::max(0.0f, sqr(light.radius) - apart2));
  out.pdf = 1 / (2 * pi * cap);
  out.radiance = intensity / (pi * sqr(light.radius));
  return out.distance > 0;
}

bool LightSet::sampleDistant(const Light& light, Vec2 u, LightSample& out) const {
  out.distance = 1e30f;
  if (light.radius <= 0) {
    out.direction = -light.axis;
    out.radiance = light.intensity;
    return true;
  }
  const float cap = distantCap(light.radius);
  out.direction = Frame(-light.axis).toWorld(sampleCone(u, cap));
  out.pdf = 1 / (2 * pi * cap);
  out.radiance = light.intensity / (pi * sqr(std::sin(light.radius)));
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

bool LightSet::sampleGlow(Vec3 position, float choice, Vec2 u, LightSample& out) const {
  const std::size_t i = choose(glowCdf_, choice);
  const GlowTriangle& t = glows_[i];
  const float root = std::sqrt(u.x);
  out.spot = {root * (1 - u.y), root * u.y};
  const Vec3 to = t.a + t.edge1 * out.spot.x + t.edge2 * out.spot.y - position;
  const float d2 = dot(to, to);
  if (!(d2 > 1e-12f)) return false;
  out.distance = std::sqrt(d2);
  out.direction = to / out.distance;
  const float facing = std::abs(dot(normalize(cross(t.edge1, t.edge2)), out.direction));
  if (facing < 1e-5f) return false;
  out.pdf = partOf(glowCdf_, i) / glowArea_[i] * d2 / facing;
  out.radiance = Vec3(1.0f);
  out.glow = static_cast<int>(i);
  return out.pdf > 0;
}

std::optional<LightSample> LightSet::sample(const LightPick& pick, Vec3 position, float choice,
                                            Vec2 u) const {
  std::size_t slot = 0;
  while (slot + 1 < pick.chance.size() && choice >= pick.chance[slot])
    choice -= pick.chance[slot++];
  const float chance = pick.chance[slot];
  if (!(chance > 0)) return std::nullopt;
  choice = std::min(choice / chance, 0.99999994f);
  LightSample out;
  float share = chance;
  bool found = false;
  if (slot == glowSlot) {
    found = sampleGlow(position, choice, u, out);
  } else if (slot == skySlot) {
    found = sampleSky(u, out);
  } else {
    if (!lightCdf_.empty()) {
      slot = choose(lightCdf_, choice);
      share *= partOf(lightCdf_, slot);
    }
    found = sampleLight(lights_[slot], position, u, out);
  }
  if (!found) return std::nullopt;
  out.radiance *= 1 / (share * (out.pdf > 0 ? out.pdf : 1));
  out.pdf *= share;
  // Rays do not find a light whose shadows are off.
  if (!out.shadow) out.pdf = 0;
  return out;
}

Vec3 LightSet::hit(std::size_t index, Vec3 origin, Vec3 direction, float far, float& density) const {
  const Light& light = lights_[index];
  if (light.kind == LightKind::distant) {
    if (far < 1e29f) return {};
    const float cap = distantCap(light.radius);
    if (1 + dot(direction, light.axis) > cap) return {};
    density = 1 / (2 * pi * cap);
    return light.intensity / (pi * sqr(std::sin(light.radius)));
  }
  const Vec3 to = light.position - origin;
  const float d2 = dot(to, to), along = dot(to, direction), r2 = sqr(light.radius);
  if (along <= 0 || d2 <= r2 * 1.0002f) return {};
  const Vec3 aside = to - direction * along;
  const float apart2 = dot(aside, aside);
  if (apart2 > r2 || along - std::sqrt(r2 - apart2) > far) return {};
  density = 1 / (2 * pi * sphereCap(light.radius, d2));
  const float d = std::sqrt(d2);
  return intensityTowards(light, to * (-1 / d), d) / (pi * r2);
}

float LightSet::glowPdf(const LightPick& pick, int index, float distance, float facing) const {
  const auto i = static_cast<std::size_t>(index);
  if (!(glowPower_ > 0) || !(glowArea_[i] > 0) || facing < 1e-5f) return 0;
  return pick.chance[glowSlot] * partOf(glowCdf_, i) / glowArea_[i] * distance * distance / facing;
}

float LightSet::skyPdf(const LightPick& pick, Vec3 direction) const {
  return samplesSky() ? pick.chance[skySlot] * sky_->pdf(direction) : 0;
}

} // namespace host::render
