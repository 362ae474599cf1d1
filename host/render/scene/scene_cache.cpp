#include "scene_cache.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <new>
#include <set>

#include "hardware_preview.h"
#include "mesh_tools.h"
#include "program.h"
#include "texture_loader.h"
#include "worker_threads.h"

namespace host::render {
namespace {

// Meshes up to this size get structures of high quality: their rays are cheaper, the build takes a few
// milliseconds more.
constexpr std::size_t carefulTriangles = 40000;
// From this size on all workers build a mesh together.
constexpr std::size_t jointTriangles = 20000;

// From this size on a mesh is worth a quick structure for the first picture.
constexpr std::size_t quickTriangles = 200'000;
// From this size on structures are compact: half the memory, and rays that take half as long again.
constexpr std::size_t compactTriangles = 4'000'000;

RTCBuildQuality qualityFor(std::size_t triangles, bool quick) {
  if (quick) return RTC_BUILD_QUALITY_LOW;
  return triangles <= carefulTriangles ? RTC_BUILD_QUALITY_HIGH : RTC_BUILD_QUALITY_MEDIUM;
}

std::shared_ptr<MeshAccel> prepare(const MeshPtr& mesh, bool quick) {
  auto accel = std::make_shared<MeshAccel>();
  const std::size_t triangles = mesh->triangles.size(), vertices = mesh->positions.size();
  accel->mesh = mesh;
  const bool compact = triangles >= compactTriangles;
  const RTCBuildQuality quality = qualityFor(triangles, quick);
  accel->quick = quick;
  accel->scene =
      EmbreeScene(compact ? RTC_SCENE_FLAG_ROBUST | RTC_SCENE_FLAG_COMPACT : RTC_SCENE_FLAG_ROBUST, quality);
  accel->bytes = sizeof(MeshAccel) + triangles * (compact ? 50 : 130) + vertices * 12;
  const RTCGeometry geometry = rtcNewGeometry(embreeDevice(), RTC_GEOMETRY_TYPE_TRIANGLE);
  if (!geometry) throw std::bad_alloc();
  // Embree reads past the last vertex of a shared buffer, so the vertices are copied into a buffer of its
  // own, counted from the centre.
  auto* points = static_cast<Float3*>(rtcSetNewGeometryBuffer(geometry, RTC_BUFFER_TYPE_VERTEX, 0,
                                                              RTC_FORMAT_FLOAT3, sizeof(Float3), vertices));
  rtcSetSharedGeometryBuffer(geometry, RTC_BUFFER_TYPE_INDEX, 0, RTC_FORMAT_UINT3, mesh->triangles.data(), 0,
                             sizeof(mesh->triangles[0]), triangles);
  const Float3 center = farCenter(*mesh);
  if (points)
    std::transform(mesh->positions.begin(), mesh->positions.end(), points,
                   [&](const Float3& p) { return minus(p, center); });
  rtcSetGeometryBuildQuality(geometry, quality);
  rtcCommitGeometry(geometry);
  rtcAttachGeometryByID(accel->scene.get(), geometry, 0);
  rtcReleaseGeometry(geometry);
  if (!points && vertices) throw std::bad_alloc();
  return accel;
}

} // namespace

SceneCache& SceneCache::shared() {
  // The device comes first, so that it outlives the structures in the cache.
  static SceneCache& cache = (embreeDevice(), *new SceneCache);
  return cache;
}

std::shared_ptr<const void> SceneCache::find(const Key& key) {
  const std::lock_guard lock(mutex_);
  const auto it = entries_.find(key);
  if (it == entries_.end()) return nullptr;
  order_.splice(order_.begin(), order_, it->second.use);
  return it->second.value;
}

void SceneCache::put(const Key& key, Entry entry) {
  const std::lock_guard lock(mutex_);
  if (entries_.count(key)) return; // another render put it there first
  order_.push_front(key);
  std::size_t bytes = 0;
  try {
    entry.use = order_.begin();
    bytes = entry.bytes;
    entries_.emplace(key, std::move(entry));
  } catch (...) {
    order_.pop_front();
    throw;
  }
  bytes_ += bytes;
  trim();
}

// Levels keep their meshes in use.
void SceneCache::dropTopsBeside(const std::vector<MeshPtr>& wanted) {
  std::set<Identity> known;
  for (const MeshPtr& mesh : wanted)
    known.insert(mesh->id);
  tops_.dropIf([&](const std::vector<TopPlace>& places) {
    return std::any_of(places.begin(), places.end(),
                       [&](const TopPlace& place) { return known.count(place.accel->mesh->id) == 0; });
  });
}

// Drops entries, the least recently used first; dropping one that a render uses would free nothing.
void SceneCache::trim() {
  auto it = order_.end();
  while (bytes_ > limit_ && it != order_.begin()) {
    --it;
    const auto entry = entries_.find(*it);
    if (entry->second.value.use_count() > 1) continue;
    bytes_ -= entry->second.bytes;
    entries_.erase(entry);
    it = order_.erase(it);
  }
}

// No document, undo step or render can ask for these again.
void SceneCache::dropUnused() {
  const std::lock_guard lock(mutex_);
  for (auto it = entries_.begin(); it != entries_.end();) {
    const Entry& entry = it->second;
    if (entry.value.use_count() > 1 || entry.source.use_count() > entry.ownUses) {
      ++it;
      continue;
    }
    bytes_ -= entry.bytes;
    order_.erase(entry.use);
    it = entries_.erase(it);
  }
}

// Large ones are built by all workers together, small ones by one worker each.
bool SceneCache::build(const PendingMeshes& pending, int workers, const Stopped& stopped) {
  for (const auto& accel : pending.large)
    if (!accel->scene.build(workers, stopped)) return false;
  const auto& small = pending.small;
  if (small.empty()) return true;
  std::atomic<bool> broken{false};
  std::atomic<std::size_t> next{0};
  runOnWorkers(std::min(workers, static_cast<int>(std::min<std::size_t>(small.size(), 1024))), [&](int) {
    for (std::size_t i; !broken && (i = next.fetch_add(1)) < small.size();)
      if (!small[i]->scene.build(1, stopped)) broken = true;
  });
  return !broken;
}

SceneCache::Meshes SceneCache::meshes(const std::vector<MeshPtr>& wanted, int workers, const Stopped& stopped,
                                      BuildCare care) {
  dropTopsBeside(wanted);
  dropUnused();
  Meshes out;
  std::map<Identity, MeshAccelPtr> found;
  PendingMeshes pending;
  for (const MeshPtr& mesh : wanted) {
    const auto [slot, fresh] = found.try_emplace(mesh->id);
    if (!fresh) continue;
    slot->second = std::static_pointer_cast<const MeshAccel>(find(Key::ofMesh(mesh->id)));
    if (slot->second) {
      ++out.reused;
      continue;
    }
    const bool quick = care == BuildCare::quickFirst && mesh->triangles.size() >= quickTriangles;
    out.quick = out.quick || quick;
    auto accel = prepare(mesh, quick);
    slot->second = accel;
    (mesh->triangles.size() < jointTriangles ? pending.small : pending.large).push_back(std::move(accel));
  }
  if (!build(pending, workers, stopped)) return out;
  for (const auto* list : {&pending.small, &pending.large})
    for (const auto& accel : *list) {
      if (!accel->quick) put(Key::ofMesh(accel->mesh->id), {accel, accel->mesh, 1, accel->bytes, {}});
      ++out.built;
    }
  out.accels.reserve(wanted.size());
  for (const MeshPtr& mesh : wanted)
    out.accels.push_back(found.at(mesh->id));
  out.complete = true;
  return out;
}

SceneCache::Top SceneCache::top(std::vector<TopPlace> places, int workers, const Stopped& stopped) {
  if (TopLevelPtr known = tops_.find(places)) return {known, false};
  auto level = std::make_shared<TopLevel>();
  level->scene = EmbreeScene(RTC_SCENE_FLAG_ROBUST, RTC_BUILD_QUALITY_MEDIUM);
  bool quick = false;
  for (std::size_t i = 0; i < places.size(); ++i) {
    if (i % 256 == 0 && stopped && stopped()) return {}; // there may be a hundred thousand
    const TopPlace& place = places[i];
    const RTCGeometry geometry = rtcNewGeometry(embreeDevice(), RTC_GEOMETRY_TYPE_INSTANCE);
    if (!geometry) throw std::bad_alloc();
    rtcSetGeometryInstancedScene(geometry, place.accel->scene.get());
    if (!place.motion.empty())
      rtcSetGeometryTimeStepCount(geometry, static_cast<unsigned>(place.motion.size()));
    for (unsigned step = 0; step < std::max<std::size_t>(1, place.motion.size()); ++step)
      rtcSetGeometryTransform(geometry, step, RTC_FORMAT_FLOAT3X4_COLUMN_MAJOR,
                              (place.motion.empty() ? place.toWorld : place.motion[step]).data());
    rtcSetGeometryMask(geometry, place.mask);
    rtcCommitGeometry(geometry);
    rtcAttachGeometryByID(level->scene.get(), geometry, static_cast<unsigned>(i));
    rtcReleaseGeometry(geometry);
    quick = quick || place.accel->quick;
  }
  if (!level->scene.build(places.size() > 1000 ? workers : 1, stopped)) return {};
  if (!quick) tops_.put(std::move(places), level);
  return {level, true};
}

CornerTangentsPtr SceneCache::tangents(const MeshPtr& mesh, std::size_t set, const Stopped& stopped) {
  const Key key = Key::ofTangents(mesh->id, set);
  if (auto known = std::static_pointer_cast<const CornerTangents>(find(key))) return known;
  auto made = std::make_shared<const CornerTangents>(cornerTangents(*mesh, set, stopped));
  if (made->corners.size() != mesh->triangles.size()) return nullptr;
  const std::size_t bytes = made->values.size() * sizeof(made->values[0]) +
                            made->corners.size() * sizeof(made->corners[0]) + sizeof(*made);
  put(key, {made, mesh, 0, bytes, {}});
  return made;
}

SceneCache::Textures SceneCache::textures(const std::vector<TextureRequest>& wanted, int workers,
                                          const Stopped& stopped) {
  Textures out;
  out.list.assign(wanted.size(), nullptr);
  TextureLoader& loader = TextureLoader::shared();
  const auto keyOf = [&](std::size_t i) {
    return Key::ofTexture(wanted[i].picture->id, wanted[i].space, wanted[i].colors);
  };
  std::vector<std::pair<std::size_t, TextureLoader::JobPtr>> jobs;
  for (std::size_t i = 0; i < wanted.size(); ++i) {
    out.list[i] = std::static_pointer_cast<const Texture>(find(keyOf(i)));
    if (out.list[i])
      ++out.reused;
    else
      jobs.emplace_back(i, loader.start(wanted[i].picture, wanted[i].space, wanted[i].colors, workers));
  }
  for (const auto& [i, job] : jobs) {
    if (!loader.wait(*job, stopped)) return out;
    if (job->texture) put(keyOf(i), {job->texture, wanted[i].picture, 0, job->texture->bytes(), {}});
    loader.forget(job);
    if (job->outOfMemory) throw std::bad_alloc();
    out.list[i] = job->texture;
    if (out.list[i])
      ++out.decoded;
    else
      out.undecoded.push_back(job->error);
  }
  out.complete = true;
  return out;
}

void SceneCache::setLimit(std::size_t bytes) {
  const std::lock_guard lock(mutex_);
  limit_ = bytes;
  trim();
}

std::size_t SceneCache::bytes() const {
  const std::lock_guard lock(mutex_);
  return bytes_;
}

void SceneCache::clear() {
  tops_.dropIf([](const auto&) { return true; });
  const std::lock_guard lock(mutex_);
  const std::size_t limit = std::exchange(limit_, 0);
  trim();
  limit_ = limit;
}

} // namespace host::render

namespace {

// Frees the driver and the structures when the program ends.
const bool freedAtShutdown =
    (host::addShutdownStep(host::ShutdownStage::freeCaches, host::freeRenderCaches), true);

} // namespace

void host::freeRenderCaches() {
  try {
    render::freeHardwarePreview();
    render::TextureLoader::shared().forgetUnused();
    render::SceneCache::shared().clear();
  } catch (const std::exception&) { // a cache that could not be made holds nothing
  }
}
