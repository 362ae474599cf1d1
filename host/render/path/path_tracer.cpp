#include "path_tracer.h"

namespace host::render {
namespace {

constexpr float wideRoughness = 0.2f;   // from here on a lobe spreads light like a diffuse one
constexpr float narrowRoughness = 0.1f; // below, it focuses light like a mirror
constexpr float skyCaustic = 4;         // with caustics off, the most of a sky's mean that a mirror throws on
constexpr int mostLayers = 256;         // of surfaces that a path passes straight through

float balance(float own, float other) { // power heuristic
  if (!(own < 1e15f)) return 1;
  return own * own / (own * own + other * other);
}

Vec3 atMost(Vec3 c, float limit) {
  const float m = maxComponent(c);
  return limit > 0 && m > limit ? c * (limit / m) : c;
}

class Path {
 public:
  Path(const RayScene& scene, const RenderSettings& settings, Sampler& sampler, std::uint64_t& rays)
      : scene_(scene), settings_(settings), lights_(scene.lights()), sampler_(sampler), rays_(rays) {}

  PathResult trace(Ray ray, float width, float spread) {
    ray_ = ray, coneWidth_ = width, coneSpread_ = spread;
    for (int layers = 0; layers < mostLayers; ++layers)
      if (!step()) break;
    if (!finite(result_.color)) result_.color = {};
    return result_;
  }

 private:
  // One segment of the path; false at its end.
  bool step() {
    const bool camera = bounce_ == 0;
    Hit hit;
    ++rays_;
    const bool found = scene_.intersect(ray_, camera ? cameraMask : mask_, camera, hit);
    if (!camera && lights_.hasFindable()) addFoundLights(found ? hit.distance : 1e30f);
    if (!found) {
      addSky();
      return false;
    }
    sampler_.skipTo(static_cast<std::uint32_t>(8 + 24 * bounce_ + 512 * passes_));
    Surface s;
    const float cone = coneWidth_ + coneSpread_ * hit.distance;
    scene_.surfaceAt(ray_, hit, cone, s);
    s.point.scene = &scene_;
    s.point.sampler = &sampler_;
    s.point.blendLevels = camera;
    if (passesThrough(s)) return goOn(s, hit);
    if (camera) {
      result_.alpha = 1;
      result_.object = hit.instance;
    }
    const SurfaceMaterial& source = *s.material->source;
    if (source.unlit) {
      const Rgba c = s.material->baseColor.at(s.point);
      add(Vec3(source.baseColor[0], source.baseColor[1], source.baseColor[2]) * s.color * Vec3(c.r, c.g, c.b),
          wideScatters_ >= 2);
      return false;
    }
    if (s.material->emits) addGlow(s, hit);
    if (last_ || bounce_ >= settings_.bounces) return false;
    return scatter(s, hit, cone);
  }

  // Whether alpha, or the back of a one-sided surface, lets the path through.
  bool passesThrough(const Surface& s) {
    if (s.material->hasAlpha) {
      const float alpha = alphaAt(*s.material, s.point, s.colorAlpha);
      if (alpha < 1 && sampler_.next1() >= alpha) return true;
    }
    // Only the camera looks through backs: to light a surface has both its sides.
    return bounce_ == 0 && !s.front && !s.material->source->doubleSided && !s.material->transmits;
  }

  bool goOn(const Surface& s, const Hit& hit) {
    ++passes_;
    travelled_ += hit.distance;
    coneWidth_ += coneSpread_ * hit.distance;
    ray_.origin = offsetFrom(s.position, s.geometric, ray_.direction);
    ray_.near = 0;
    ray_.far = std::max(0.0f, ray_.far - hit.distance);
    return true;
  }

  void add(Vec3 radiance, bool indirect) {
    const Vec3 c = throughput_ * radiance;
    if (finite(c)) result_.color += indirect ? atMost(c, settings_.clampIndirect) : c;
  }

  // The weight of light that was found by chance against looking for it with density `lightPdf`.
  float foundWeight(float lightPdf) const {
    if (pdf_ <= 0 || lightPdf <= 0) return 1; // a mirror, the camera, or a light that nobody looks for
    if (settings_.lightSampling == LightSampling::lightsOnly) return 0;
    if (settings_.lightSampling == LightSampling::surfacesOnly) return 1;
    return balance(pdf_, lightPdf);
  }

  void addFoundLights(float distance) {
    if (caustic_) return;
    const Vec3 found = lights_.along(pick_, ray_.origin, ray_.direction, distance,
                                     [this](float pdf) { return foundWeight(pdf); });
    if (!isBlack(found)) add(found, wideScatters_ >= 2);
  }

  void addSky() {
    const RenderSky& sky = scene_.sky();
    if (!sky.present() || (bounce_ == 0 && !sky.seenByCamera())) return;
    Vec3 radiance = sky.radiance(ray_.direction);
    if (caustic_) radiance = atMost(radiance, skyCaustic * maxComponent(sky.mean()));
    const float weight =
        lights_.samplesSky() && pdf_ > 0 ? foundWeight(lights_.skyPdf(pick_, ray_.direction)) : 1;
    add(radiance * weight, wideScatters_ >= 2);
  }

  void addGlow(const Surface& s, const Hit& hit) {
    if (caustic_) return;
    const Vec3 radiance = scene_.emission(s);
    if (isBlack(radiance)) return;
    float weight = 1;
    const int glow = scene_.glowIndex(hit);
    if (pdf_ > 0 && glow >= 0)
      weight = foundWeight(lights_.glowPdf(pick_, glow, travelled_ + hit.distance,
                                           std::abs(dot(s.geometric, ray_.direction))));
    add(radiance * weight, wideScatters_ >= 2);
  }

  bool scatter(Surface& s, const Hit& hit, float cone) {
    const Vec3 viewer = -ray_.direction;
    scene_.applyNormalMaps(hit, viewer, s);
    SurfaceLook look = lookAt(*s.material, s.point, s.color, settings_);
    if (look.transmission > 0) {
      look.straight = look.straight || (!settings_.caustics && straightGlass_);
      if (look.straight && passesGlass(look, dot(s.normal, viewer))) return goOn(s, hit);
    }
    if (bounce_ == 0 && settings_.ambientOcclusion) darkenCrevices(s);
    const bool separate = !settings_.globalIllumination || settings_.limitReflection;
    const Bsdf bsdf(look, s.normal, s.geometric, viewer, s.front, separate);
    const bool smooth = bsdf.hasSmoothPart();
    if (smooth) {
      pick_ = lights_.pick(s.position);
      if (pick_.total > 0) lookForLight(s, bsdf);
    }
    return sampleNext(s, bsdf, cone);
  }

  // Transmission that goes straight on: taken by chance, else the rest of the surface stands for itself.
  bool passesGlass(const SurfaceLook& look, float cosine) {
    Vec3 tint;
    const float share = straightPass(look, cosine, &tint);
    if (sampler_.next1() < share) {
      throughput_ *= tint;
      return true;
    }
    throughput_ *= 1 / std::max(1e-6f, 1 - share);
    return false;
  }

  void darkenCrevices(const Surface& s) {
    constexpr float reach = 0.1f; // of the scene's size
    ++rays_;
    throughput_ *= scene_.openness(s.position, s.normal, reach * scene_.size(), sampler_.next2());
  }

  void lookForLight(const Surface& s, const Bsdf& bsdf) {
    const float choice = sampler_.next1();
    const Vec2 u = sampler_.next2();
    LightSample light;
    int glow = -1;
    Vec2 spot;
    if (!lights_.sample(pick_, s.position, choice, u, light, glow, spot)) return;
    if (settings_.lightSampling == LightSampling::surfacesOnly && light.pdf > 0) return;
    const float pdf = settings_.lightSampling == LightSampling::lightsOnly ? 0 : light.pdf;
    Vec3 value = bsdf.towardsLight(light.direction, pdf) * light.radiance;
    if (isBlack(value)) return;
    if (glow >= 0) {
      value *= scene_.glowRadiance(glow, spot, light.direction);
      if (isBlack(value)) return;
    }
    if (light.shadow) {
      const Ray shadow{offsetFrom(s.position, s.geometric, light.direction), light.direction, 0,
                       light.distance * (glow >= 0 ? 0.9999f : 1.0f)};
      value *= scene_.transmittance(shadow, settings_, rays_);
      if (isBlack(value)) return;
    }
    add(value, wideScatters_ >= 1);
  }

  bool sampleNext(const Surface& s, const Bsdf& bsdf, float cone) {
    const float choice = sampler_.next1();
    const BsdfSample next = bsdf.sample(choice, sampler_.next2());
    if (isBlack(next.weight)) return false;
    throughput_ *= next.weight;
    if (next.lobe == diffuseLobe) {
      const SurfaceMaterial& source = *s.material->source;
      if (s.material->occlusion.present())
        throughput_ *= lerp(1, s.material->occlusion.at(s.point).r, clamp01(source.occlusionStrength));
      last_ = !settings_.globalIllumination;
    }
    const bool reflects = next.lobe == specularLobe || next.lobe == coatLobe;
    mask_ = settings_.limitReflection && reflects ? floorMask : anyMask;
    const bool wide = !next.delta && next.roughness >= narrowRoughness;
    caustic_ = !settings_.caustics && !wide && wideScatters_ > 0;
    wideScatters_ += wide;
    straightGlass_ = !next.delta && next.roughness > wideRoughness;
    pdf_ = next.delta ? 0 : next.pdf;
    coneWidth_ = cone;
    coneSpread_ = std::max(coneSpread_, next.delta ? 0 : 0.25f * next.roughness);
    travelled_ = 0;
    ray_ = {offsetFrom(s.position, s.geometric, next.wi), next.wi};
    ++bounce_;
    return survives();
  }

  bool survives() {
    if (bounce_ < 3) return true;
    const float keep = std::min(0.95f, maxComponent(throughput_));
    if (!(keep > 0) || sampler_.next1() >= keep) return false;
    throughput_ *= 1 / keep;
    return true;
  }

  const RayScene& scene_;
  const RenderSettings& settings_;
  const LightSet& lights_;
  Sampler& sampler_;
  std::uint64_t& rays_;

  PathResult result_;
  Ray ray_;
  Vec3 throughput_{1, 1, 1};
  LightPick pick_;      // at the last vertex where lights were looked for
  float pdf_ = 0;       // of the last direction; 0 where no light could have been looked for
  float travelled_ = 0; // since the last vertex, over surfaces passed through
  float coneWidth_ = 0, coneSpread_ = 0;
  unsigned mask_ = anyMask;
  int bounce_ = 0, passes_ = 0, wideScatters_ = 0;
  bool last_ = false;          // only light itself still counts
  bool caustic_ = false;       // a mirror after a wide scatter, with caustics off
  bool straightGlass_ = false; // after a wide scatter, with caustics off
};

} // namespace

PathResult tracePath(const RayScene& scene, const RenderSettings& settings, const Ray& camera, float width,
                     float spread, Sampler& sampler, std::uint64_t& rays) {
  return Path(scene, settings, sampler, rays).trace(camera, width, spread);
}

PathResult tracePreview(const RayScene& scene, const RenderSettings& settings, const Ray& camera, float width,
                        float spread, std::uint64_t& rays) {
  PathResult result;
  Ray ray = camera;
  float left = 1; // what is still seen through the surfaces so far
  for (int layer = 0; layer < 64 && left > 0.004f; ++layer) {
    Hit hit;
    ++rays;
    if (!scene.intersect(ray, cameraMask, true, hit)) break;
    Surface s;
    width += spread * hit.distance;
    scene.surfaceAt(ray, hit, width, s);
    s.point.scene = &scene;
    float alpha = alphaAt(*s.material, s.point, s.colorAlpha);
    const SurfaceMaterial& source = *s.material->source;
    if (!s.front && !source.doubleSided && !s.material->transmits) alpha = 0;
    if (alpha > 0) {
      scene.applyNormalMaps(hit, -ray.direction, s);
      const SurfaceLook look = lookAt(*s.material, s.point, s.color, settings);
      const float shown = alpha * (1 - 0.8f * look.transmission * (1 - look.metallic));
      const float head = std::max(0.0f, -dot(s.normal, ray.direction));
      const float above = 0.5f + 0.5f * s.normal.y;
      const Vec3 lit =
          source.unlit ? look.baseColor : look.baseColor * (0.6f * head + 0.4f * above) + scene.emission(s);
      result.color += lit * (left * shown);
      result.alpha += left * shown;
      if (result.object == ~0u) result.object = hit.instance;
      left *= 1 - shown;
    }
    ray.origin = offsetFrom(s.position, s.geometric, ray.direction);
    ray.near = 0;
    ray.far -= hit.distance;
  }
  const RenderSky& sky = scene.sky();
  if (left > 0.004f && sky.present() && sky.seenByCamera())
    result.color += sky.radiance(camera.direction) * left;
  if (left <= 0.004f) result.alpha = 1;
  return result;
}

} // namespace host::render
