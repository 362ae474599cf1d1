// Places a view's own camera, and counts the contents of a document.
#include <algorithm>
#include <cmath>
#include <set>

#include "active_document.h"
#include "c4d_render.h"
#include "document.h"
#include "evaluate.h"
#include "parameters.h"
#include "scene_file.h"

namespace host {

namespace {

struct Box {
  Vector low, high;
  bool empty = true;

  void add(const Vector& p) {
    if (!std::isfinite(p.x) || !std::isfinite(p.y) || !std::isfinite(p.z)) return;
    low = empty ? p : Vector(std::min(low.x, p.x), std::min(low.y, p.y), std::min(low.z, p.z));
    high = empty ? p : Vector(std::max(high.x, p.x), std::max(high.y, p.y), std::max(high.z, p.z));
    empty = false;
  }
};

template <class Visit>
void forEachCorner(const Float3& low, const Float3& high, const Visit& visit) {
  for (int corner = 0; corner < 8; ++corner)
    visit(
        Vector(corner & 1 ? high[0] : low[0], corner & 2 ? high[1] : low[1], corner & 4 ? high[2] : low[2]));
}

Box boxOf(const Snapshot& snapshot) {
  Box box;
  for (const Instance& instance : snapshot.instances)
    if (!instance.isFloor)
      forEachCorner(instance.mesh->low, instance.mesh->high,
                    [&](const Vector& p) { box.add(instance.toWorld * p); });
  return box;
}

// Bounds of the meshes at the document's time, without subdivision.
Box boxOf(BaseDocument& document) {
  SnapshotOptions options;
  options.textures = false;
  options.lod = 0;
  const SnapshotPtr snapshot = takeSnapshot(document, options);
  return snapshot ? boxOf(*snapshot) : Box();
}

Vector unit(const Vector& v) {
  return v * (1 / std::sqrt(Dot(v, v)));
}

} // namespace

Real SceneBounds::radius() const {
  constexpr Real least = 1e-9; // for a scene that is a point
  return std::max(std::sqrt(Dot(high - low, high - low)) / 2, least);
}

std::optional<SceneBounds> sceneBounds(BaseDocument& document) {
  const Box box = boxOf(document);
  return box.empty ? std::nullopt : std::optional(SceneBounds{box.low, box.high});
}

namespace {

// Bounds over the document's frames: the current one, and some of its animation's.
Box boxOfFrames(BaseDocument& document) {
  constexpr int steps = 8;
  Box box = boxOf(document);
  const DocumentState& state = *stateOf(&document);
  if (!(lastKey(state) > 0)) return box;
  const DocumentPtr clone(document.GetClone(COPYFLAGS_0));
  DocumentState& moving = *stateOf(clone.get());
  const Real from = state.minTime.Get(), to = state.maxTime.Get();
  for (int i = 0; i <= steps; ++i) {
    moving.time = BaseTime(from + (to - from) * i / steps);
    applyTracks(moving);
    applyExpressions(moving);
    const Box one = boxOf(*clone);
    if (!one.empty) box.add(one.low), box.add(one.high);
  }
  return box;
}

} // namespace

void frameScene(BaseDocument& document, BaseDraw& view) {
  Box box = boxOfFrames(document);
  if (box.empty) box.add({-1, -1, -1}), box.add({1, 1, 1});

  ObjectState& camera = *stateOf(&view)->editorCamera;
  const RenderDataState* settings = activeRenderData(*stateOf(&document));
  const Real width = settings ? param::integer(*settings, RDATA_XRES) : 16;
  const Real height = settings ? param::integer(*settings, RDATA_YRES) : 9;
  const Real aspect = width > 0 && height > 0 ? width / height : 1;
  const Real tanY = std::tan(param::real(camera, param::cameraYfov) / 2);
  const Real tanX = tanY * aspect;
  const Vector center = (box.low + box.high) * 0.5;
  const Vector z = unit({0.6, 0.35, 1}), x = unit(Cross({0, 1, 0}, z)), y = Cross(z, x);

  // The distance at which every corner lies inside the picture.
  Real distance = 1e-6;
  for (int corner = 0; corner < 8; ++corner) {
    const Vector p = Vector(corner & 1 ? box.high.x : box.low.x, corner & 2 ? box.high.y : box.low.y,
                            corner & 4 ? box.high.z : box.low.z) -
                     center;
    const Real depth = Dot(p, z);
    distance = std::max({distance, depth + std::abs(Dot(p, x)) / tanX, depth + std::abs(Dot(p, y)) / tanY});
  }
  distance *= 1.06;
  const auto lock = lockOf(&camera);
  camera.local = {center + z * distance, x, y, z};
  camera.pose.reset();
  camera.data.SetReal(param::cameraFitAspect, aspect); // narrower pictures show the same width
  if (distance < 1) camera.data.SetReal(param::cameraNear, distance * 0.01);
}

SceneCounts countScene(BaseDocument& document) {
  const DocumentState& state = *stateOf(&document);
  const std::lock_guard lock(state.mutex);
  SceneCounts counts;
  std::set<Identity> meshes, pictures;
  forEachObject(state.children, [&](const ObjectState& object) {
    ++counts.objects;
    if (object.type == Olight) ++counts.lights;
    if (object.type == Ocamera) ++counts.cameras, counts.cameraNames.push_back(object.name.GetUTF8());
    if (object.picture) pictures.insert(object.picture->id);
    if (!object.mesh) return;
    meshes.insert(object.mesh->id);
    counts.triangles += object.mesh->triangles.size() * (object.placements ? object.placements->count : 1);
  });
  for (const NodeState* material = state.materials.first(); material; material = material->next) {
    ++counts.materials;
    forEachOwned(*material, [&](const NodeState& shader) {
      if (shader.kind != NodeKind::shader || shader.type != Xbitmap) return;
      ++counts.textures;
      if (const auto& picture = static_cast<const ShaderState&>(shader).picture) pictures.insert(picture->id);
    });
  }
  counts.meshes = meshes.size();
  counts.pictures = pictures.size();
  counts.animations = state.animationNames.size();
  counts.animationNames = state.animationNames;
  const Box box = boxOf(document);
  counts.low = box.low, counts.high = box.high;
  return counts;
}

} // namespace host
