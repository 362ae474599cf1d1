#include "shadow_ray.h"

#include <array>

#include "surface_point.h"

namespace host::render {
namespace {

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

/// Light on its way through the transparent surfaces along a ray.
class Passage final : public ShadowFilter {
 public:
  Passage(const RayScene& scene, const RenderSettings& settings, const Ray& ray)
      : scene_(scene), settings_(settings), ray_(ray) {}

  bool passes(const Hit& hit) override {
    for (std::size_t i = 0; i < count_; ++i)
      if (layers_[i].primitive == hit.primitive && layers_[i].instance == hit.instance) return true;
    if (count_ == layers_.size()) return false;
    const Surface s = surfaceAt(scene_, ray_, hit, 0);
    passed_ *= passedBy(s, settings_, ray_.direction);
    const bool leaves = !s.front && s.material->absorbs;
    layers_[count_++] = {hit.distance, hit.instance, hit.primitive, leaves ? s.material : nullptr};
    absorbs_ = absorbs_ || leaves;
    return maxComponent(passed_) >= opaque;
  }

  Vec3 passed() {
    if (absorbs_) absorb();
    return maxComponent(passed_) >= opaque ? passed_ : Vec3();
  }

 private:
  struct Layer {
    float distance;
    std::uint32_t instance, primitive;
    const CompiledMaterial* body; // that the light leaves there; null: none that absorbs
  };

  // A body reaches from the surface before to the one where the light leaves it.
  void absorb() {
    const auto end = layers_.begin() + static_cast<std::ptrdiff_t>(count_);
    std::sort(layers_.begin(), end, [](const Layer& a, const Layer& b) { return a.distance < b.distance; });
    float before = 0;
    for (auto layer = layers_.begin(); layer != end; ++layer) {
      if (layer->body) passed_ *= passedThrough(*layer->body, layer->distance - before);
      before = layer->distance;
    }
  }

  const RayScene& scene_;
  const RenderSettings& settings_;
  const Ray& ray_;
  Vec3 passed_{1, 1, 1};
  std::array<Layer, 64> layers_; // no light passes more
  std::size_t count_ = 0;
  bool absorbs_ = false;
};

} // namespace

Vec3 traceShadow(const RayScene& scene, const RenderSettings& settings, const Ray& ray) {
  Passage passage(scene, settings, ray);
  return scene.blocked(ray, passage) ? Vec3() : passage.passed();
}

} // namespace host::render
