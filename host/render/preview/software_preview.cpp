#include "software_preview.h"

#include "surface_point.h"

namespace host::render {
namespace {

constexpr int mostLayers = 64;       // of transparent surfaces
constexpr float leastShare = 0.004f; // of the picture; fainter layers are left out
constexpr float glassClarity = 0.8f; // transparency of a surface at full transmission

// The surface under the two lights, or by itself when it is unlit.
Vec3 litColor(const Surface& s, const SurfaceLook& look, Vec3 direction) {
  if (s.material->source->unlit) return look.baseColor;
  const float head = std::max(0.0f, -dot(s.normal, direction));
  const float above = 0.5f + 0.5f * s.normal.y;
  return look.baseColor * (0.6f * head + 0.4f * above) + emission(s);
}

float alphaSeen(const Surface& s) {
  if (!s.front && !s.material->source->doubleSided && !s.material->transmits) return 0;
  return alphaAt(*s.material, s.point, s.colorAlpha);
}

} // namespace

PathResult tracePreview(const RayScene& scene, const RenderSettings& settings, const Ray& camera,
                        RayCone cone) {
  PathResult result;
  Ray ray = camera;
  float left = 1; // share still visible through the surfaces so far
  for (int layer = 0; layer < mostLayers && left > leastShare; ++layer) {
    ++result.rays;
    const std::optional<Hit> hit = scene.intersect(ray, cameraMask, true);
    if (!hit) break;
    cone.width = cone.widthAt(hit->distance);
    Surface s = surfaceAt(scene, ray, *hit, cone.width);
    s.point.scene = &scene;
    const float alpha = alphaSeen(s);
    if (alpha > 0) {
      applyNormalMaps(scene, *hit, -ray.direction, s);
      const SurfaceLook look = lookAt(*s.material, s.point, s.color, settings);
      const float shown = alpha * (1 - glassClarity * look.transmission * (1 - look.metallic));
      result.color += litColor(s, look, ray.direction) * (left * shown);
      result.alpha += left * shown;
      if (result.object == ~0u) result.object = hit->instance;
      left *= 1 - shown;
    }
    ray.origin = offsetFrom(s, ray.direction);
    ray.near = 0;
    ray.far -= hit->distance;
  }
  const RenderSky& sky = scene.sky();
  if (left > leastShare && sky.present() && sky.seenByCamera())
    result.sky = sky.radiance(camera.direction) * left;
  result.color += result.sky;
  if (left <= leastShare) result.alpha = 1;
  return result;
}

} // namespace host::render
