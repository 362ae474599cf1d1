#include "path_tracer.h"

#include "bsdf.h"
#include "cached_surface.h"
#include "path_state.h"
#include "shadow_ray.h"
#include "surface_exit.h"
#include "surface_point.h"

namespace host::render {
namespace {

constexpr float wideRoughness = 0.2f;   // from this on a lobe spreads light like a diffuse one
constexpr float narrowRoughness = 0.1f; // below, it focuses light like a mirror
constexpr float clearShare = 0.9f;      // of a mirror or of glass in a surface that shows what lies beyond
constexpr float skyCaustic = 4;         // limit of the sky in a mirror with caustics off, in means of the sky
constexpr float creviceReach = 0.1f;    // of ambient occlusion, in sizes of the scene
constexpr int mostSegments = 256;       // surfaces passed straight through included
constexpr int sureBounces = 3;          // before Russian roulette may end a path
constexpr std::size_t manyLights = 32;  // from here on, the first surface takes two light samples

Vec3 atMost(Vec3 c, float limit) {
  const float m = maxComponent(c);
  return limit > 0 && m > limit ? c * (limit / m) : c;
}

/// The integrator: path tracing with next event estimation, weighed by the power heuristic.
class PathTracer {
 public:
  PathTracer(const RayScene& scene, const RenderSettings& settings)
      : scene_(scene), settings_(settings), lights_(scene.lights()) {}

  PathResult trace(Path path) const {
    path.seeking = settings_.firstHits();
    if (path.parts) path.parts->begin();
    if (path.caches.recorder) path.caches.recorder->begin();
    for (int segment = 0; segment < mostSegments; ++segment) {
      const std::optional<Hit> hit = intersect(path);
      addLampsAlong(path, hit);
      if (!hit) {
        addSky(path);
        break;
      }
      Surface surface = surfaceOf(path, *hit);
      absorb(path, surface, *hit);
      if (letsPathThrough(path, surface)) {
        passStraight(path, surface, *hit);
        continue;
      }
      noteFirstSurface(path, surface, *hit);
      addEmission(path, surface, *hit);
      if (surface.material->source->unlit) {
        noteUnlit(path, surface);
        break;
      }
      if (path.last || path.bounces >= settings_.bounces) break;

      SurfaceLook look = lookAt(*surface.material, surface.point, surface.color, settings_);
      if (endsInCache(path, surface, look, *hit)) break;
      record(path, surface, look);

      const Exit exit = exitOf(scene_, *hit, surface, -path.ray.direction);
      applyNormalMaps(scene_, *hit, -path.ray.direction, surface);
      disperse(path, surface, look);
      if (passesGlass(path, surface, look)) {
        passStraight(path, surface, *hit);
        continue;
      }
      noteLook(path, surface, look);
      darkenCrevices(path, surface);
      const Bsdf bsdf = bsdfOf(path, surface, exit, look);
      sampleDirectLight(path, surface, exit, bsdf);
      if (!sampleLobe(path, surface, exit, bsdf, *hit) || !survivesRoulette(path)) break;
    }
    if (!finite(path.result.color)) drop(path);
    if (settings_.firstHits()) keepFinite(path.result);
    return path.result;
  }

 private:
  // --- The ray and the surface that it meets ---

  std::optional<Hit> intersect(Path& path) const {
    ++path.result.rays;
    return scene_.intersect(path.ray, path.atCamera() ? cameraMask : path.mask, path.atCamera());
  }

  Surface surfaceOf(Path& path, const Hit& hit) const {
    path.sampler.startVertex(path.bounces, path.passes);
    Surface surface = surfaceAt(scene_, path.ray, hit, path.cone.widthAt(hit.distance));
    surface.point.scene = &scene_, surface.point.sampler = &path.sampler;
    chooseTexels(*surface.material, surface.point, settings_.plannedSamples(), path.bounces,
                 path.wideScatters);
    return surface;
  }

  // Alpha, or the back of a one-sided surface. Only the camera sees through backs: light falls on both sides.
  bool letsPathThrough(Path& path, const Surface& s) const {
    if (s.material->hasAlpha) {
      const float alpha = alphaAt(*s.material, s.point, s.colorAlpha);
      if (alpha < 1 && path.sampler.next1() >= alpha) return true;
    }
    return path.atCamera() && !s.front && !s.material->source->doubleSided && !s.material->transmits;
  }

  // Straight transmission is chosen at random; otherwise the surface's other lobes are weighed up.
  bool passesGlass(Path& path, const Surface& s, SurfaceLook& look) const {
    if (look.transmission <= 0) return false;
    look.straight = look.straight || (!settings_.caustics && path.straightGlass);
    if (!look.straight) return false;
    const StraightPass pass = straightPass(look, dot(s.normal, -path.ray.direction));
    if (path.sampler.next1() < pass.share) {
      path.throughput *= pass.tint;
      if (path.parts && path.atCamera()) path.parts->passGlass();
      goThrough(path, s);
      path.tint *= pass.tint;
      return true;
    }
    path.throughput *= 1 / std::max(1e-6f, 1 - pass.share);
    return false;
  }

  // Light on its way inside of a body. A ray that meets a body's back from inside has come through it.
  static void absorb(Path& path, const Surface& s, const Hit& hit) {
    const CompiledMaterial* body = path.inside ? path.inside : (s.front ? nullptr : s.material);
    if (body && body->absorbs) path.throughput *= passedThrough(*body, hit.distance);
  }

  static void goThrough(Path& path, const Surface& s) {
    path.inside = s.front && s.material->absorbs ? s.material : nullptr;
  }

  // A path that dispersing glass bends goes on with one of the three colours.
  static void disperse(Path& path, const Surface& s, SurfaceLook& look) {
    if (!s.material->disperses || look.transmission <= 0 || look.straight) return;
    if (path.channel < 0) {
      path.channel = std::min(2, static_cast<int>(3 * path.sampler.next1()));
      const Vec3 all = path.throughput * 3;
      path.throughput = {path.channel == 0 ? all.x : 0, path.channel == 1 ? all.y : 0,
                         path.channel == 2 ? all.z : 0};
    }
    setChannel(look, *s.material, path.channel);
  }

  static void passStraight(Path& path, const Surface& s, const Hit& hit) {
    ++path.passes;
    path.travelled += hit.distance;
    path.cone.width = path.cone.widthAt(hit.distance);
    path.ray.origin = offsetFrom(s, path.ray.direction);
    path.ray.near = 0;
    path.ray.far = std::max(0.0f, path.ray.far - hit.distance);
  }

  void noteFirstSurface(Path& path, const Surface& s, const Hit& hit) const {
    if (!path.atCamera() || path.result.alpha > 0) return;
    path.result.alpha = 1;
    path.result.object = hit.instance;
    path.catches = path.parts && scene_.placed(hit).source->catchesShadows;
    if (!settings_.firstHits()) return;
    path.result.first.depth = path.travelled + hit.distance;
    path.result.first.position = s.position;
    path.result.first.uv = s.point.uv[0];
    path.result.first.material = scene_.indexOf(*s.material);
  }

  // --- The first hit, for layers of the film ---

  static bool isClear(const SurfaceLook& look) {
    const bool mirror = look.metallic > clearShare && look.reflectionOn;
    return (mirror || look.transmission > clearShare) && look.roughness < narrowRoughness;
  }

  static void noteLook(Path& path, const Surface& s, const SurfaceLook& look) {
    if (!path.seeking || isClear(look)) return;
    const bool coloured = look.diffuseOn || look.metallic > 0 || look.transmission > 0;
    path.result.first.albedo = path.tint * (coloured ? look.baseColor : Vec3{});
    path.result.first.normal = s.normal;
    path.seeking = false;
  }

  void noteUnlit(Path& path, const Surface& s) const {
    if (!path.seeking) return;
    path.result.first.albedo = path.tint * atMost(unlitColor(s), 1);
    path.result.first.normal = s.normal;
    path.seeking = false;
  }

  static void noteSky(Path& path, Vec3 radiance) {
    if (!path.seeking) return;
    path.result.first.albedo = path.tint * atMost(radiance, 1);
    path.seeking = false;
  }

  static void keepFinite(PathResult& result) {
    FirstHit& first = result.first;
    const bool good = finite(first.albedo) && finite(first.normal) && finite(first.position) &&
                      std::isfinite(first.depth) && std::isfinite(first.uv.x) && std::isfinite(first.uv.y);
    if (good) return;
    const std::uint32_t material = first.material;
    first = {};
    first.material = material;
    result.faulty = true;
  }

  // --- Light that the path hits ---

  // Gives what was added.
  Vec3 add(Path& path, Vec3 radiance, bool indirect) const {
    const Vec3 c = path.throughput * radiance;
    if (!finite(c)) {
      path.result.faulty = true;
      return {};
    }
    const Vec3 added = indirect ? atMost(c, settings_.clampIndirect) : c;
    path.result.color += added;
    return added;
  }

  // Light that the path met, of one group.
  void addMet(Path& path, Vec3 radiance, LightWay visible, std::uint32_t group) const {
    const Vec3 added = add(path, radiance, path.indirect());
    if (!path.parts) return;
    path.parts->met(added, path.bounces, visible);
    if (path.parts->hasGroups()) path.parts->addToGroup(group, added);
  }

  static void drop(Path& path) {
    path.result.color = path.result.sky = {};
    path.result.faulty = true;
    if (path.parts) path.parts->begin();
  }

  // Weight of light that the path hits, against a light sample with density `lightPdf`. With a density of 0
  // only one of the two can find the light.
  float hitWeight(const Path& path, float lightPdf) const {
    lightPdf *= path.lightSamples;
    if (path.pdf <= 0 || lightPdf <= 0) return 1;
    if (settings_.lightSampling == LightSampling::lightsOnly) return 0;
    if (settings_.lightSampling == LightSampling::surfacesOnly) return 1;
    return powerHeuristic(path.pdf, lightPdf);
  }

  void addLampsAlong(Path& path, const std::optional<Hit>& hit) const {
    if (path.atCamera() || path.caustic || !lights_.hasFindable()) return;
    const bool grouped = path.parts && path.parts->hasGroups();
    const float far = hit ? path.travelled + hit->distance : 1e30f;
    const Vec3 found = lampsAlong(path, far, [&](Vec3 light, std::uint32_t lamp) {
      if (grouped) path.parts->noteLamp(scene_.groups().ofLight(lamp), light);
    });
    if (isBlack(found)) return;
    const Vec3 added = add(path, found, path.indirect());
    if (!path.parts) return;
    if (path.catches && path.bounces == 1) path.parts->catchArrived(path.throughput * found);
    path.parts->met(added, path.bounces, LightWay::emission);
    if (grouped) path.parts->addLamps(ratio(added, found));
  }

  template <class Found>
  Vec3 lampsAlong(const Path& path, float far, Found&& found) const {
    Vec3 sum;
    lights_.along(
        path.pick, path.vertex, path.ray.direction, path.travelled, far,
        [&](float pdf) { return hitWeight(path, pdf); },
        [&](Vec3 light, std::uint32_t lamp) {
          sum += light;
          found(light, lamp);
        });
    return sum;
  }

  static Vec3 ratio(Vec3 a, Vec3 b) {
    const auto one = [](float x, float y) { return y > 0 ? x / y : 0; };
    return {one(a.x, b.x), one(a.y, b.y), one(a.z, b.z)};
  }

  void addSky(Path& path) const {
    const RenderSky& sky = scene_.sky();
    if (!sky.present() || (path.atCamera() && !sky.seenByCamera())) return;
    Vec3 radiance = sky.radiance(path.ray.direction);
    if (path.caustic) radiance = atMost(radiance, skyCaustic * maxComponent(sky.mean()));
    const float weight = skyWeight(path);
    if (path.catches && path.bounces == 1) path.parts->catchArrived(path.throughput * radiance * weight);
    addMet(path, radiance * weight, LightWay::sky, scene_.groups().ofSky());
    if (path.result.alpha == 0) path.result.sky = path.result.color;
    noteSky(path, radiance);
  }

  float skyWeight(const Path& path) const {
    return lights_.samplesSky() && path.pdf > 0
               ? hitWeight(path, lights_.skyPdf(path.pick, path.ray.direction))
               : 1;
  }

  static Vec3 unlitColor(const Surface& s) {
    const SurfaceMaterial& source = *s.material->source;
    const Rgba c = s.material->baseColor.at(s.point);
    return Vec3(source.baseColor[0], source.baseColor[1], source.baseColor[2]) * s.color *
           Vec3(c.r, c.g, c.b);
  }

  void addEmission(Path& path, const Surface& s, const Hit& hit) const {
    const SurfaceMaterial& source = *s.material->source;
    if (source.unlit) {
      addMet(path, unlitColor(s), LightWay::emission, groupOf(s));
      return;
    }
    if (!s.material->emits || path.caustic) return;
    const Vec3 radiance = emission(s);
    if (isBlack(radiance)) return;
    float weight = 1;
    const int glow = scene_.glowIndex(hit);
    if (path.pdf > 0 && glow >= 0) {
      const float facing = std::abs(dot(s.geometric, path.ray.direction));
      weight = hitWeight(path, lights_.glowPdf(path.pick, glow, path.travelled + hit.distance, facing));
    }
    addMet(path, radiance * weight, LightWay::emission, groupOf(s));
  }

  std::uint32_t groupOf(const Surface& s) const {
    return scene_.groups().ofMaterial(scene_.indexOf(*s.material));
  }
  std::uint32_t groupOf(const LightSample& light) const {
    const LightGroups& groups = scene_.groups();
    if (light.glow >= 0) {
      const GlowTriangle& t = lights_.glow(light.glow);
      const PlacedMesh& placed = scene_.placed({0, 0, 0, t.instance, t.primitive});
      return groups.ofMaterial(scene_.indexOf(scene_.materialOf(placed, t.primitive)));
    }
    return light.lamp >= 0 ? groups.ofLight(static_cast<std::uint32_t>(light.lamp)) : groups.ofSky();
  }

  // Light from beyond the scene along a ray that left a shadow catcher, as if nothing were in its way.
  void catchOpenLight(Path& path) const {
    if (!path.catches || path.bounces != 1) return;
    Vec3 light = lampsAlong(path, 1e30f, [](Vec3, std::uint32_t) {});
    const RenderSky& sky = scene_.sky();
    if (sky.present()) light += sky.radiance(path.ray.direction) * skyWeight(path);
    path.parts->catchOpen(path.throughput * light);
  }

  // --- The radiance cache ---

  static bool isCached(const Path& path, const SurfaceLook& look) {
    return !path.inside && path.channel < 0 && looksAlikeFromAllSides(look);
  }
  bool endsInCache(Path& path, const Surface& s, const SurfaceLook& look, const Hit& hit) const {
    if (!path.caches.radiance || path.wideScatters == 0 || !isCached(path, look)) return false;
    RadianceCache::Mean mean;
    if (!path.caches.radiance->find(s.position, s.normal, path.travelled + hit.distance, mean)) return false;
    const Vec3 found = mean.light * reflectanceOf(look), added = add(path, found, true);
    if (!path.parts) return true;
    path.parts->sampled(added, path.bounces, {});
    if (!path.parts->hasGroups()) return true;
    const Vec3 factor = ratio(added, mean.light) / mean.count;
    for (std::size_t group = 0; group < path.parts->groups().size(); ++group)
      path.parts->addToGroup(group, mean.groups[group] * factor);
    return true;
  }

  static void record(const Path& path, const Surface& s, const SurfaceLook& look) {
    if (!path.caches.recorder || path.bounces > recordedBounces || !isCached(path, look)) return;
    path.caches.recorder->vertex(s.position, s.normal, reflectanceOf(look), path.throughput,
                                 path.result.color);
  }

  // --- Scattering ---

  void darkenCrevices(Path& path, const Surface& s) const {
    if (!path.atCamera() || !settings_.ambientOcclusion) return;
    ++path.result.rays;
    path.throughput *= scene_.openness(s.point.position, s.normal, creviceReach * scene_.size(),
                                       path.sampler.next2(), path.ray.time);
  }

  Bsdf bsdfOf(const Path& path, const Surface& s, const Exit& exit, const SurfaceLook& look) const {
    const bool separate = !settings_.globalIllumination || settings_.limitReflection;
    return Bsdf(look, {s.normal, exit.normal, s.tangent, s.coatNormal}, -path.ray.direction, s.front,
                separate);
  }

  // Only light above the shading normal counts: nothing passes, and no coat has a normal of its own.
  static bool oneSided(const Surface& s) {
    const SurfaceMaterial& source = *s.material->source;
    return !s.material->transmits && source.diffuseTransmission <= 0 && source.clearcoat <= 0;
  }

  // Next event estimation: a light, chosen by its estimated share, and a shadow ray to a point of it.
  void sampleDirectLight(Path& path, const Surface& s, const Exit& exit, const Bsdf& bsdf) const {
    if (!bsdf.hasSmoothPart()) return;
    path.pick = lights_.pick({exit.position, oneSided(s) ? s.normal : Vec3()});
    if (!path.pick.any()) return;
    const int count = samplesOfLights(path);
    path.lightSamples = static_cast<float>(count);
    for (int i = 0; i < count; ++i)
      addLightSample(path, s, exit, bsdf, i);
  }

  int samplesOfLights(const Path& path) const {
    return path.atCamera() && lights_.count() >= manyLights ? 2 : 1;
  }

  // The choices are spread evenly over the lights.
  void addLightSample(Path& path, const Surface& s, const Exit& exit, const Bsdf& bsdf, int number) const {
    const float choice = (static_cast<float>(number) + path.sampler.next1()) / path.lightSamples;
    std::optional<LightSample> light =
        lights_.sample(path.pick, std::min(choice, 0.99999994f), path.sampler.next2());
    if (!light) return;
    light->pdf *= path.lightSamples;
    light->radiance *= 1 / path.lightSamples;
    if (settings_.lightSampling == LightSampling::surfacesOnly && light->pdf > 0) return;
    const float pdf = settings_.lightSampling == LightSampling::lightsOnly ? 0 : light->pdf;
    Vec3 value = bsdf.towardsLight(light->direction, pdf) * light->radiance;
    if (isBlack(value)) return;
    if (light->glow >= 0) {
      value *= glowRadiance(scene_, *light);
      if (isBlack(value)) return;
    }
    const bool caught = path.catches && path.bounces == 0;
    if (caught) path.parts->catchOpen(path.throughput * value);
    if (light->shadow) {
      value *= passedLight(path, s, exit, *light);
      if (isBlack(value)) return;
    }
    if (caught) path.parts->catchArrived(path.throughput * value);
    const Vec3 added = add(path, value, path.wideScatters >= 1);
    if (path.parts) noteSampled(path, added, *light, bsdf, pdf);
  }

  void noteSampled(Path& path, Vec3 added, const LightSample& light, const Bsdf& bsdf, float pdf) const {
    LightParts& parts = *path.parts;
    parts.sampled(added, path.bounces,
                  parts.wantsShares(path.bounces) ? bsdf.shares(light.direction, pdf) : LobeShares());
    if (parts.hasGroups()) parts.addToGroup(groupOf(light), added);
  }

  Vec3 passedLight(Path& path, const Surface& s, const Exit& exit, const LightSample& light) const {
    const float nearly = light.glow >= 0 ? 0.9999f : 1.0f; // a glowing surface does not shadow itself
    const Ray ray{exit.origin(s, light.direction), light.direction, 0, light.distance * nearly,
                  path.ray.time};
    ++path.result.rays;
    return traceShadow(scene_, settings_, ray);
  }

  // Samples a lobe and the next direction. False: the surface absorbs the path.
  bool sampleLobe(Path& path, const Surface& s, const Exit& exit, const Bsdf& bsdf, const Hit& hit) const {
    const float choice = path.sampler.next1();
    const BsdfSample next =
        bsdf.sample(choice, path.atCamera() ? path.sampler.besidePlace() : path.sampler.next2());
    if (isBlack(next.weight)) return false;
    if (path.parts && path.parts->wantsShares(path.bounces)) path.parts->scatter(bsdf.shares(next));
    path.throughput *= next.weight;
    if (path.seeking) path.tint *= atMost(next.weight, 1);
    if (next.lobe == glassLobe && !exit.leavesAbove(next.wi)) goThrough(path, s);
    if (next.lobe == throughLobe || next.lobe == sheenLobe) path.last = !settings_.globalIllumination;
    if (next.lobe == diffuseLobe) {
      const SurfaceMaterial& source = *s.material->source;
      if (s.material->occlusion.present())
        path.throughput *= lerp(1, s.material->occlusion.at(s.point).r, clamp01(source.occlusionStrength));
      path.last = !settings_.globalIllumination;
    }
    const bool reflects = next.lobe == specularLobe || next.lobe == coatLobe;
    path.mask = settings_.limitReflection && reflects ? floorMask : anyMask;
    const bool wide = !next.delta && next.roughness >= narrowRoughness;
    path.caustic = !settings_.caustics && !wide && path.wideScatters > 0;
    path.wideScatters += wide;
    path.straightGlass = !next.delta && next.roughness > wideRoughness;
    path.pdf = next.delta ? 0 : next.pdf;
    path.cone = {path.cone.widthAt(hit.distance),
                 std::max(path.cone.spread, next.delta ? 0 : 0.25f * next.roughness)};
    path.travelled = 0;
    path.vertex = exit.leavesAbove(next.wi) ? exit.position : s.position;
    path.ray = {exit.origin(s, next.wi), next.wi, 0, 1e30f, path.ray.time};
    ++path.bounces;
    catchOpenLight(path);
    return true;
  }

  static bool survivesRoulette(Path& path) {
    if (path.bounces < sureBounces) return true;
    const float keep = std::min(0.95f, maxComponent(path.throughput));
    if (!(keep > 0) || path.sampler.next1() >= keep) return false;
    path.throughput *= 1 / keep;
    return true;
  }

  const RayScene& scene_;
  const RenderSettings& settings_;
  const LightSet& lights_;
};

} // namespace

PathResult tracePath(const RayScene& scene, const RenderSettings& settings, const Ray& camera, RayCone cone,
                     const Sampler& sampler, LightParts* parts, const PathCaches& caches) {
  return PathTracer(scene, settings).trace({camera, cone, sampler, parts, caches});
}

} // namespace host::render
