#include "shadow_ray.h"

#include "surface_point.h"

namespace host::render {
namespace {

constexpr int mostLayers = 64;  // of transparent surfaces; no light passes more
constexpr float opaque = 1e-4f; // transmittance below this counts as 0

// The share of light that one surface lets pass.
Vec3 passedBy(const Surface& s, const RenderSettings& settings, Vec3 direction) {
  const float alpha = alphaAt(*s.material, s.point, s.colorAlpha);
  Vec3 passed(1 - alpha);
  if (alpha > 0 && s.material->transmits) {
    const SurfaceLook look = lookAt(*s.material, s.point, s.color, settings);
    if (settings.caustics && !look.straight) return passed;
    const StraightPass pass = straightPass(look, std::abs(dot(s.normal, direction)));
    passed += pass.tint * (alpha * pass.share);
  }
  return passed;
}

} // namespace

ShadowResult traceShadow(const RayScene& scene, const RenderSettings& settings, Ray ray) {
  ShadowResult result{Vec3(), 1};
  if (scene.blocked(ray, shadowMask)) return result;
  Vec3 passed(1.0f);
  if (!scene.hasFilters()) return {passed, 1};
  for (int layer = 0; layer < mostLayers; ++layer) {
    ++result.rays;
    const std::optional<Hit> hit = scene.intersect(ray, filterMask, false);
    if (!hit) return {passed, result.rays};
    const Surface s = surfaceAt(scene, ray, *hit, 0);
    if (!s.front && s.material->absorbs) passed *= passedThrough(*s.material, hit->distance);
    passed *= passedBy(s, settings, ray.direction);
    if (maxComponent(passed) < opaque) return result;
    ray.far -= hit->distance;
    ray.origin = offsetFrom(s, ray.direction);
    if (ray.far <= 0) return {passed, result.rays};
  }
  return result;
}

} // namespace host::render
