#include "view_tracer.h"

#include <new>

#include "console.h"
#include "ray_scene.h"
#include "surface_point.h"

namespace host {
namespace render {
namespace {

// A surface as the view shows it: base colour, alpha and, where it glows evenly, its light. Other channels
// are left out, so their textures are not decoded.
SurfaceMaterialPtr plainLook(const SurfaceMaterial& full) {
  auto plain = std::make_shared<SurfaceMaterial>();
  plain->id = full.id;
  plain->name = full.name;
  plain->baseColor = full.baseColor;
  plain->baseColorShade = full.baseColorShade;
  plain->alphaMode = full.alphaMode;
  plain->alphaCutoff = full.alphaCutoff;
  plain->doubleSided = full.doubleSided;
  plain->unlit = full.unlit;
  // Without the colour channel, dielectrics have no diffuse reflection.
  if (!full.colorOn && full.metallic < 0.5f)
    for (std::size_t i = 0; i < 3; ++i)
      plain->baseColor[i] = 0;
  if (luminance(Vec3(full.emission)) > 0.02f && !full.emissionShade) {
    plain->unlit = true;
    plain->baseColorShade = nullptr;
    for (std::size_t i = 0; i < 3; ++i)
      plain->baseColor[i] = clamp01(0.2f * full.baseColor[i] + full.emission[i]);
  }
  return plain;
}

SnapshotPtr plainLook(const Snapshot& full) {
  auto plain = std::make_shared<Snapshot>();
  plain->instances = full.instances;
  plain->low = full.low;
  plain->high = full.high;
  if (showsSky(full)) plain->sky = full.sky;
  for (const SurfaceMaterialPtr& material : full.materials)
    plain->materials.push_back(plainLook(*material));
  return plain;
}

class TracedScene final : public ViewScene {
 public:
  TracedScene(SnapshotPtr snapshot, std::unique_ptr<const RayScene> rays)
      : snapshot_(std::move(snapshot)), rays_(std::move(rays)) {}

  const Snapshot& snapshot() const override { return *snapshot_; }

  void trace(std::span<const ViewRay> rays, std::span<ViewHit> hits) const override {
    for (std::size_t i = 0; i < rays.size(); ++i)
      hits[i] = traceOne(rays[i]);
  }

 private:
  ViewHit traceOne(const ViewRay& from) const {
    Ray ray{Vec3(from.origin) - Vec3(rays_->origin()), Vec3(from.direction), from.near, from.far};
    for (int layer = 0; layer < 16; ++layer) {
      const std::optional<Hit> hit = rays_->intersect(ray, cameraMask, true);
      if (!hit) return beyond(ray.direction);
      const Surface surface = surfaceAt(*rays_, ray, *hit, hit->distance * pixelAngle);
      if (shows(surface)) return shown(*hit, surface);
      ray.near = hit->distance + 1e-5f * hit->distance + 1e-6f;
    }
    return {};
  }

  ViewHit beyond(Vec3 direction) const {
    ViewHit out;
    if (!rays_->sky().present()) return out;
    const Vec3 light = rays_->sky().radiance(direction);
    out.color = {light.x, light.y, light.z};
    out.unlit = true;
    return out;
  }

  static bool shows(const Surface& surface) {
    const CompiledMaterial& material = *surface.material;
    if (!surface.front && !material.source->doubleSided) return false;
    return !material.hasAlpha || alphaAt(material, surface.point, surface.colorAlpha) >= 0.5f;
  }

  ViewHit shown(const Hit& hit, const Surface& surface) const {
    const SurfaceMaterial& material = *surface.material->source;
    const Rgba shade = surface.material->baseColor.at(surface.point);
    ViewHit out;
    out.object = rays_->placed(hit).source->object;
    out.distance = hit.distance;
    out.normal = {surface.normal.x, surface.normal.y, surface.normal.z};
    out.color = {clamp01(material.baseColor[0] * shade.r * surface.color.x),
                 clamp01(material.baseColor[1] * shade.g * surface.color.y),
                 clamp01(material.baseColor[2] * shade.b * surface.color.z)};
    out.unlit = material.unlit;
    return out;
  }

  // Rough angle of a pixel; it only chooses the level of textures.
  static constexpr float pixelAngle = 0.0012f;

  SnapshotPtr snapshot_;
  std::unique_ptr<const RayScene> rays_;
};

class Tracer final : public ViewTracer {
 public:
  ViewScenePtr prepare(const SnapshotPtr& snapshot, int workers,
                       const std::function<bool()>& stopped) override {
    try {
      // A picture that does not decode is reported by renders; the view shows the material without it.
      auto rays = RayScene::build(plainLook(*snapshot), {}, workers, stopped).scene;
      return rays ? std::make_shared<TracedScene>(snapshot, std::move(rays)) : nullptr;
    } catch (const std::bad_alloc&) {
      printLine("There is not enough memory to show this scene in the editor view. Close other documents or "
                "programs, then move the view.");
      return nullptr;
    }
  }
};

} // namespace
} // namespace render

ViewTracer& viewTracer() {
  static render::Tracer tracer;
  return tracer;
}

} // namespace host
