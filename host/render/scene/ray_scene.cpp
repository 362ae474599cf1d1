#include "ray_scene.h"

#include <map>
#include <new>

#include "closed_mesh.h"
#include "mesh_tools.h"
#include "snapshot_origin.h"
#include "surface_point.h"

namespace host::render {
namespace {

// Embree asserts that rays stay below this, also after their transformation into an instance's space.
constexpr float largest = 1e18f;

float sumOf(Vec3 v) {
  return std::abs(v.x) + std::abs(v.y) + std::abs(v.z);
}
Real sumOf(const Vector& v) {
  return std::abs(v.x) + std::abs(v.y) + std::abs(v.z);
}

// Largest distance from the origin at which a ray can start and still be transformed into the instance's
// space; 0: the instance is unusable.
Real roomFor(const Instance& instance) {
  const Matrix& m = instance.toWorld;
  const Real det = Dot(m.v1, Cross(m.v2, m.v3));
  const Matrix inverse = m.Inverse();
  const Real stretch = sumOf(inverse.v1) + sumOf(inverse.v2) + sumOf(inverse.v3);
  const bool usable = instance.mesh && !instance.mesh->triangles.empty() && std::isfinite(det) &&
                      std::abs(det) > 1e-30 && stretch < 0.1 * largest && sumOf(inverse.off) < 0.1 * largest;
  return usable ? 0.1 * largest / std::max(stretch, 1.0) : 0;
}

// Bound of the origins of all rays: they start at the camera and on surfaces.
Real startsWithin(const Snapshot& s) {
  const Vector low(s.low[0], s.low[1], s.low[2]), high(s.high[0], s.high[1], s.high[2]);
  const Real sum = sumOf(low) + sumOf(high) + sumOf(s.camera.toWorld.off) + 1;
  return std::isfinite(sum) ? sum : 1;
}

RTCRay toEmbree(const Ray& ray, unsigned mask) {
  RTCRay r{};
  r.org_x = ray.origin.x, r.org_y = ray.origin.y, r.org_z = ray.origin.z;
  r.dir_x = ray.direction.x, r.dir_y = ray.direction.y, r.dir_z = ray.direction.z;
  r.tnear = ray.near, r.tfar = ray.far;
  r.mask = mask;
  r.time = ray.time;
  return r;
}

unsigned maskOf(const Instance& instance) {
  unsigned mask = anyMask;
  if (instance.seenByCamera) mask |= cameraMask;
  if (instance.castsShadows) mask |= shadowMask;
  if (instance.isFloor) mask |= floorMask;
  return mask;
}

/// The context of a shadow ray. Embree hands its first part to `askFilter`.
struct FilterContext {
  RTCIntersectContext embree;
  const std::vector<PlacedMesh>* placed;
  ShadowFilter* filter;
};

// Takes back the hit of a surface that the light passes.
void askFilter(const RTCFilterFunctionNArguments* of) {
  const auto& context = *reinterpret_cast<const FilterContext*>(of->context);
  const Hit hit{RTCRayN_tfar(of->ray, of->N, 0),   RTCHitN_u(of->hit, of->N, 0),
                RTCHitN_v(of->hit, of->N, 0),      RTCHitN_instID(of->hit, of->N, 0, 0),
                RTCHitN_primID(of->hit, of->N, 0), RTCRayN_time(of->ray, of->N, 0)};
  if ((*context.placed)[hit.instance].filters && context.filter->passes(hit)) of->valid[0] = 0;
}

/// The context of a ray that passes one instance. Embree hands its first part to `passOne`.
struct PassContext {
  RTCIntersectContext embree;
  std::uint32_t instance;
};
void passOne(const RTCFilterFunctionNArguments* of) {
  const auto& context = *reinterpret_cast<const PassContext*>(of->context);
  if (RTCHitN_instID(of->hit, of->N, 0, 0) == context.instance) of->valid[0] = 0;
}

std::array<float, 12> columnsOf(const Transform& t) {
  return {t.v1.x, t.v1.y, t.v1.z, t.v2.x, t.v2.y, t.v2.z, t.v3.x, t.v3.y, t.v3.z, t.off.x, t.off.y, t.off.z};
}

// The sets of texture coordinates whose tangents a material needs.
std::vector<int> tangentSets(const CompiledMaterial& material) {
  std::vector<int> sets;
  for (const CompiledShade* map : {&material.normal, &material.clearcoatNormal})
    if (map->present() && !map->constant()) sets.push_back(map->use().uvSet);
  if (material.source && material.source->anisotropy > 0) sets.push_back(material.anisotropy.use().uvSet);
  return sets;
}

std::vector<bool> usedMaterials(const Snapshot& snapshot) {
  std::vector<bool> used(std::max<std::size_t>(1, snapshot.materials.size()));
  used[0] = true;
  for (const Instance& instance : snapshot.instances)
    for (const int m : instance.materials)
      if (m >= 0 && static_cast<std::size_t>(m) < used.size()) used[static_cast<std::size_t>(m)] = true;
  return used;
}

} // namespace

BuiltScene<RayScene> RayScene::build(SnapshotPtr snapshot, const RenderSettings& settings, int workers,
                                     const Stopped& stopped, BuildCare care) {
  BuiltScene<RayScene> built;
  std::unique_ptr<RayScene> scene(new RayScene);
  scene->origin_ = renderOrigin(*snapshot);
  scene->snapshot_ = movedSnapshot(snapshot, scene->origin_);
  const Snapshot& s = *scene->snapshot_;
  const std::vector<MeshPtr> placed = scene->placeMeshes();
  for (const MeshPtr& mesh : placed)
    built.counts.triangles += mesh->triangles.size();

  SceneCache& cache = SceneCache::shared();
  SceneCache::Meshes meshes = cache.meshes(placed, workers, stopped, care);
  built.counts.meshesBuilt = meshes.built;
  built.counts.meshesReused = meshes.reused;
  if (!meshes.complete) return built;
  scene->accels_ = std::move(meshes.accels);
  scene->quick_ = meshes.quick;
  if (!scene->buildMotion(workers, stopped)) return built;

  const std::vector<bool> used = usedMaterials(s);
  MaterialCompiler compiler(s.materials, used, settings.view.config);
  const bool skyPicture = s.sky.kind == SkyKind::picture && s.sky.picture && s.sky.picture->bytes;
  const std::size_t skyPlace = skyPicture ? compiler.request(s.sky.picture, ColorSpace::srgb) : 0;
  SceneCache::Textures textures = cache.textures(compiler.requests(), workers, stopped);
  built.note(textures);
  if (!textures.complete) return built;
  scene->materials_ = compiler.compile(textures.list, settings);
  scene->sky_ = RenderSky(s.sky, skyPicture ? textures.list[skyPlace] : nullptr);

  scene->groups_ = LightGroups(s);
  scene->lights_ = LightSet(s.lights, settings);
  if (scene->sky_.present()) scene->lights_.setSky(&scene->sky_);
  for (std::uint32_t i = 0; i < scene->placed_.size(); ++i)
    scene->addGlows(scene->placed_[i], i);
  built.counts.lightTreesBuilt += scene->lights_.finish();
  if (scene->makeTangents(stopped) && scene->buildTop(workers, stopped, built.counts))
    built.scene = std::move(scene);
  return built;
}

bool RayScene::buildCarefully(int workers, const Stopped& stopped) {
  if (!quick_) return true;
  top_.reset();
  accels_.clear();
  std::vector<MeshPtr> wanted;
  for (const PlacedMesh& placed : placed_)
    wanted.push_back(placed.source->mesh);
  SceneCache::Meshes meshes = SceneCache::shared().meshes(wanted, workers, stopped);
  if (!meshes.complete) return false;
  accels_ = std::move(meshes.accels);
  quick_ = false;
  BuildCounts counts;
  return buildTop(workers, stopped, counts);
}

// Places the usable instances; their meshes in the order of `placed_`.
std::vector<MeshPtr> RayScene::placeMeshes() {
  const Snapshot& s = *snapshot_;
  std::vector<MeshPtr> meshes;
  const Real starts = startsWithin(s);
  for (const Instance& instance : s.instances) {
    const Real room = roomFor(instance);
    if (!(room > starts)) continue;
    room_ = std::min(room_, static_cast<float>(room));
    const Real det = Dot(instance.toWorld.v1, Cross(instance.toWorld.v2, instance.toWorld.v3));
    const Vec3 center = farCenter(*instance.mesh);
    Matrix toWorld = instance.toWorld;
    toWorld.off = toWorld * Vector(center.x, center.y, center.z);
    placed_.push_back({instance.mesh.get(), &instance, center, Transform(toWorld), det < 0 ? -1.0f : 1.0f});
    meshes.push_back(instance.mesh);
    catches_ = catches_ || instance.catchesShadows;
  }
  moves_ = !s.camera.motion.empty();
  const Vec3 diagonal = Vec3(s.high) - Vec3(s.low);
  size_ = finite(diagonal) ? std::max(1e-6f, length(diagonal)) : 1;
  return meshes;
}

// The motion of the instances that move. False after a break.
bool RayScene::buildMotion(int workers, const Stopped& stopped) {
  std::map<std::vector<Identity>, MeshAccelPtr> built; // copies of an object share their shapes
  for (PlacedMesh& placed : placed_) {
    const Instance& source = *placed.source;
    if (source.motion.empty() && source.shapes.empty()) continue;
    const std::shared_ptr<PlacedMotion> motion = motionOf(source, placed.center);
    if (!motion) continue;
    if (!motion->shapes.empty()) {
      std::vector<Identity> key;
      for (const MeshPtr& shape : motion->shapes)
        key.push_back(shape->id);
      MeshAccelPtr& accel = built[key];
      if (!accel) accel = buildShapes(source.mesh, motion->shapes, workers, stopped);
      if (!accel) return false;
      motion->accel = accel;
    }
    placed.motion = motion;
    moves_ = true;
  }
  return true;
}

const CompiledMaterial& RayScene::materialOf(const PlacedMesh& placed, std::uint32_t primitive) const {
  const auto& groups = placed.mesh->groups;
  std::size_t group = 0;
  if (groups.size() > 1) {
    const auto after =
        std::upper_bound(groups.begin(), groups.end(), primitive,
                         [](std::uint32_t p, const MeshGroup& g) { return p < g.firstTriangle; });
    group = static_cast<std::size_t>(std::max<std::ptrdiff_t>(0, after - groups.begin() - 1));
  }
  const auto& list = placed.source->materials;
  const int index = group < list.size() ? list[group] : 0;
  const bool known = index >= 0 && static_cast<std::size_t>(index) < materials_.size();
  return materials_[known ? static_cast<std::size_t>(index) : 0];
}

bool RayScene::letsLightPass(const Instance& instance) const {
  return std::any_of(instance.materials.begin(), instance.materials.end(), [&](int m) {
    if (m < 0 || static_cast<std::size_t>(m) >= materials_.size()) return false;
    const CompiledMaterial& material = materials_[static_cast<std::size_t>(m)];
    return material.hasAlpha || material.transmits;
  });
}

// Tangents of the meshes that have none, where a material's normals follow them. False after a break.
bool RayScene::makeTangents(const Stopped& stopped) {
  for (PlacedMesh& placed : placed_)
    for (const int m : placed.source->materials) {
      const bool known = m >= 0 && static_cast<std::size_t>(m) < materials_.size();
      const std::vector<int> sets =
          known ? tangentSets(materials_[static_cast<std::size_t>(m)]) : std::vector<int>();
      for (const int set : sets) {
        const auto k = static_cast<std::size_t>(set);
        const Mesh& mesh = *placed.mesh;
        const bool own = set == 0 && !mesh.tangents.empty();
        if (placed.tangents[k] || own || mesh.normals.empty() || mesh.uv[k].empty()) continue;
        tangents_.push_back(SceneCache::shared().tangents(placed.source->mesh, k, stopped));
        if (!tangents_.back()) return false;
        placed.tangents[k] = tangents_.back().get();
      }
    }
  return true;
}

bool RayScene::buildTop(int workers, const Stopped& stopped, BuildCounts& counts) {
  std::vector<TopPlace> places(placed_.size());
  for (std::size_t i = 0; i < placed_.size(); ++i) {
    PlacedMesh& placed = placed_[i];
    placed.filters = letsLightPass(*placed.source);
    filters_ = filters_ || placed.filters;
    const PlacedMotion* motion = placed.motion.get();
    places[i] = {motion && motion->accel ? motion->accel : accels_[i],
                 maskOf(*placed.source),
                 columnsOf(placed.toWorld),
                 {}};
    if (!motion) continue;
    for (const Transform& step : motion->steps)
      places[i].motion.push_back(columnsOf(step));
  }
  const SceneCache::Top top = SceneCache::shared().top(std::move(places), workers, stopped);
  top_ = top.level;
  counts.topsBuilt += top.built;
  return top_ != nullptr;
}

// Whether no path is expected inside of a closed mesh: no surface of it lets light pass, and the camera is
// elsewhere. Light of the inside is then left to the rays that meet it.
bool RayScene::hidesItsInside(const PlacedMesh& placed) const {
  const Instance& instance = *placed.source;
  if (!instance.motion.empty() || !instance.shapes.empty()) return false;
  for (const int m : instance.materials) {
    if (m < 0 || static_cast<std::size_t>(m) >= materials_.size()) continue;
    const CompiledMaterial& material = materials_[static_cast<std::size_t>(m)];
    if (material.hasAlpha || material.transmits) return false;
  }
  Vec3 low(1e30f), high(-1e30f);
  for (int corner = 0; corner < 8; ++corner) {
    const auto side = [&](int bit, std::size_t axis) {
      return corner & bit ? placed.mesh->high[axis] : placed.mesh->low[axis];
    };
    const Vec3 at = placed.toWorld.point(Vec3(side(1, 0), side(2, 1), side(4, 2)) - placed.center);
    low = lowest(low, at), high = highest(high, at);
  }
  const Vec3 eye(snapshot_->camera.toWorld.off);
  return eye.x < low.x || eye.y < low.y || eye.z < low.z || eye.x > high.x || eye.y > high.y ||
         eye.z > high.z;
}

void RayScene::addGlows(PlacedMesh& placed, std::uint32_t index) {
  bool any = false;
  for (const int m : placed.source->materials)
    any = any || (m >= 0 && static_cast<std::size_t>(m) < materials_.size() &&
                  materials_[static_cast<std::size_t>(m)].emits);
  if (!any) return;
  placed.firstGlow = lights_.glowCount();
  const Mesh& mesh = *placed.mesh;
  const std::vector<std::int8_t> outside =
      hidesItsInside(placed) ? outwardSides(mesh) : std::vector<std::int8_t>();
  for (std::uint32_t p = 0; p < mesh.triangles.size(); ++p) {
    const CompiledMaterial& material = materialOf(placed, p);
    const float bothSides = outside.empty() ? 0 : static_cast<float>(outside[p]) * placed.side;
    const auto& c = mesh.triangles[p];
    const Vec3 a = placed.toWorld.point(placed.vertex(c[0]));
    const Rgba mean = material.emission.mean();
    const Vec3 light = Vec3(material.source->emission) * Vec3(mean.r, mean.g, mean.b);
    const bool even = material.emission.constant() && !material.hasAlpha;
    // Rays alone find a light that moves: its place is another at each time.
    const float radiance = material.emits && !placed.motion ? luminance(light) : 0;
    lights_.addGlow({a, placed.toWorld.point(placed.vertex(c[1])) - a,
                     placed.toWorld.point(placed.vertex(c[2])) - a, index, p,
                     material.source->doubleSided ? bothSides : placed.side, even, light},
                    radiance);
  }
}

// False for directions that are not finite and for origins beyond the room.
bool RayScene::traceable(const Ray& ray) const {
  return sumOf(ray.origin) <= room_ && sumOf(ray.direction) < 4 && ray.near >= 0;
}

std::optional<Hit> RayScene::intersect(const Ray& ray, unsigned mask, bool coherent) const {
  if (!traceable(ray)) return std::nullopt;
  RTCRayHit r;
  r.ray = toEmbree(ray, mask);
  r.hit.geomID = r.hit.instID[0] = RTC_INVALID_GEOMETRY_ID;
  RTCIntersectContext context;
  rtcInitIntersectContext(&context);
  context.flags = coherent ? RTC_INTERSECT_CONTEXT_FLAG_COHERENT : RTC_INTERSECT_CONTEXT_FLAG_INCOHERENT;
  rtcIntersect1(top_->scene.get(), &context, &r);
  if (r.hit.geomID == RTC_INVALID_GEOMETRY_ID) return std::nullopt;
  return Hit{r.ray.tfar, r.hit.u, r.hit.v, r.hit.instID[0], r.hit.primID, ray.time};
}

bool RayScene::blocked(const Ray& ray, ShadowFilter& filter) const {
  if (!traceable(ray)) return false;
  RTCRay r = toEmbree(ray, shadowMask);
  FilterContext context;
  rtcInitIntersectContext(&context.embree);
  if (filters_) context.embree.filter = askFilter;
  context.placed = &placed_;
  context.filter = &filter;
  rtcOccluded1(top_->scene.get(), &context.embree, &r);
  return r.tfar < 0;
}

bool RayScene::meetsAnother(const Ray& ray, unsigned mask, std::uint32_t instance) const {
  if (!traceable(ray)) return false;
  RTCRay r = toEmbree(ray, mask);
  PassContext context;
  rtcInitIntersectContext(&context.embree);
  context.embree.filter = passOne;
  context.instance = instance;
  rtcOccluded1(top_->scene.get(), &context.embree, &r);
  return r.tfar < 0;
}

float RayScene::openness(Vec3 position, Vec3 normal, float distance, Vec2 u, float time) const {
  const Vec3 direction = Frame(normal).toWorld(squareToCosineHemisphere(u));
  const auto hit = intersect({position, direction, 0, distance, time}, anyMask, false);
  return hit ? hit->distance / distance : 1; // distant surfaces darken less
}

int RayScene::glowIndex(const Hit& hit) const {
  const int first = placed_[hit.instance].firstGlow;
  return first < 0 ? -1 : first + static_cast<int>(hit.primitive);
}

} // namespace host::render
