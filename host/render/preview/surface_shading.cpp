#include "surface_shading.h"

#include <algorithm>
#include <cmath>

#include "display_transform.h"
#include "sampler.h"
#include "surface_point.h"

namespace host::render {
namespace {

constexpr int mostLayers = 64;        // of surfaces that are passed
constexpr float clayAlbedo = 0.6f;    // of all three channels
constexpr float checkerSquares = 10;  // a unit of texture coordinates
constexpr float overlapReach = 1e-4f; // of the distance: closer surfaces have the same place

Vec3 fromCodes(Vec3 code) {
  const auto light = [](float value) {
    return static_cast<float>(srgbToLinear(static_cast<double>(clamp01(value))));
  };
  return {light(code.x), light(code.y), light(code.z)};
}

// Light from the camera, so that shapes are seen.
float headLight(const Surface& s, Vec3 direction) {
  return 0.25f + 0.75f * std::max(0.0f, -dot(s.normal, direction));
}

Vec3 checker(Vec2 uv) {
  const auto cell = [](float value) { return static_cast<long>(std::floor(value * checkerSquares)); };
  const bool bright = ((cell(uv.x) + cell(uv.y)) & 1) != 0;
  const float level = bright ? 0.9f : 0.35f;
  const Vec2 part{uv.x - std::floor(uv.x), uv.y - std::floor(uv.y)};
  return fromCodes(Vec3{0.25f + 0.75f * part.x, 0.25f + 0.75f * part.y, 0.6f} * level);
}

// The share of a pixel-wide line along the edges of the triangle.
float edgeShare(const Surface& s, const Hit& hit, float pixel) {
  const float area = length(cross(s.edge1, s.edge2));
  const auto toEdge = [&](float barycentric, Vec3 edge) {
    return barycentric * area / std::max(length(edge), 1e-30f);
  };
  const float nearest = std::min(
      {toEdge(hit.u, s.edge2), toEdge(hit.v, s.edge1), toEdge(1 - hit.u - hit.v, s.edge2 - s.edge1)});
  return clamp01(1.5f - nearest / std::max(pixel, 1e-30f));
}

Vec3 objectColor(std::uint32_t instance) {
  const std::uint32_t bits = hash32(instance + 1);
  const auto part = [&](int shift) { return 0.25f + 0.6f * static_cast<float>((bits >> shift) & 255) / 255; };
  return fromCodes({part(0), part(8), part(16)});
}

// Whether another object has a surface at nearly the same depth.
bool overlaps(const RayScene& scene, const Ray& ray, const Hit& hit, const Surface& s) {
  const float reach = overlapReach * hit.distance + 8 * s.error;
  Ray around = ray;
  around.near = std::max(0.0f, hit.distance - reach);
  around.far = hit.distance + reach;
  return scene.meetsAnother(around, cameraMask, hit.instance);
}

Vec3 shade(const RayScene& scene, const RenderSettings& settings, const Ray& ray, const Hit& hit, Surface& s,
           float pixel) {
  const float lit = headLight(s, ray.direction);
  switch (settings.shading) {
  case ShadingMode::albedo:
    return lookAt(*s.material, s.point, s.color, settings).baseColor;
  case ShadingMode::normals:
    applyNormalMaps(scene, hit, -ray.direction, s);
    return fromCodes(s.normal * 0.5f + Vec3{0.5f, 0.5f, 0.5f});
  case ShadingMode::uvChecker:
    return checker(s.point.uv[0]) * lit;
  case ShadingMode::wireframe:
    return lerp(Vec3{0.35f, 0.35f, 0.35f} * lit, Vec3{0.01f, 0.01f, 0.01f}, edgeShare(s, hit, pixel));
  case ShadingMode::facing:
    return (s.front ? Vec3{0.1f, 0.25f, 0.8f} : Vec3{0.8f, 0.08f, 0.06f}) * lit;
  case ShadingMode::overlaps:
    return overlaps(scene, ray, hit, s) ? Vec3{1, 1, 1} : objectColor(hit.instance) * lit;
  default:
    return {};
  }
}

bool isSeen(const Surface& s, ShadingMode mode) {
  if (!s.front && mode != ShadingMode::facing && !s.material->source->doubleSided && !s.material->transmits)
    return false;
  return alphaAt(*s.material, s.point, s.colorAlpha) >= 0.5f;
}

} // namespace

PathResult traceSurface(const RayScene& scene, const RenderSettings& settings, const Ray& camera,
                        RayCone cone) {
  PathResult result;
  Ray ray = camera;
  for (int layer = 0; layer < mostLayers; ++layer) {
    ++result.rays;
    const std::optional<Hit> hit = scene.intersect(ray, cameraMask, true);
    if (!hit) break;
    cone.width = cone.widthAt(hit->distance);
    Surface s = surfaceAt(scene, ray, *hit, cone.width);
    s.point.scene = &scene;
    if (isSeen(s, settings.shading)) {
      result.color = shade(scene, settings, ray, *hit, s, cone.width);
      result.alpha = 1;
      result.object = hit->instance;
      break;
    }
    ray.origin = offsetFrom(s, ray.direction);
    ray.near = 0;
    ray.far -= hit->distance;
  }
  return result;
}

SnapshotPtr claySnapshot(const Snapshot& snapshot) {
  auto clay = std::make_shared<Snapshot>(snapshot);
  for (SurfaceMaterialPtr& material : clay->materials) {
    if (!material) continue;
    auto matt = std::make_shared<SurfaceMaterial>();
    matt->id = material->id;
    matt->name = material->name;
    matt->baseColor = {clayAlbedo, clayAlbedo, clayAlbedo, material->baseColor[3]};
    matt->baseColorShade = material->baseColorShade; // for its alpha
    matt->alphaMode = material->alphaMode;
    matt->alphaCutoff = material->alphaCutoff;
    matt->reflectionOn = false;
    matt->emission = material->emission;
    matt->emissionShade = material->emissionShade;
    matt->doubleSided = material->doubleSided;
    matt->lightGroup = material->lightGroup;
    material = matt;
  }
  return clay;
}

} // namespace host::render
