#include "scene_facts.h"

#include <algorithm>
#include <set>

#include "document.h"
#include "parameters.h"
#include "snapshot.h"

namespace batch {
namespace {

CameraFacts cameraFacts(const host::ObjectState& object) {
  CameraFacts facts;
  facts.name = object.name.GetUTF8();
  facts.orthographic = host::param::integer(object, host::param::cameraProjection) == 1;
  facts.angle = host::param::real(object, host::param::cameraYfov);
  facts.height = 2 * host::param::real(object, host::param::cameraYmag);
  return facts;
}

LightFacts lightFacts(const host::ObjectState& object) {
  constexpr const char* kinds[] = {"point", "spot", "distant"};
  LightFacts facts;
  facts.name = object.name.GetUTF8();
  facts.kind = kinds[std::clamp<LONG>(host::param::integer(object, host::param::lightKind), 0, 2)];
  facts.color = host::param::vector(object, host::param::lightColor);
  facts.intensity = host::param::real(object, host::param::lightIntensity);
  return facts;
}

void addTracks(const host::ObjectState& object, std::vector<AnimationFacts>& animations) {
  if (!object.tracks) return;
  for (const host::Track& track : *object.tracks) {
    if (track.animation >= animations.size() || !track.curve || track.curve->times.empty()) continue;
    AnimationFacts& animation = animations[track.animation];
    const double from = track.curve->times.front(), to = track.curve->times.back();
    animation.from = animation.tracks == 0 ? from : std::min(animation.from, from);
    animation.to = animation.tracks == 0 ? to : std::max(animation.to, to);
    ++animation.tracks;
  }
}

struct Found {
  std::set<host::Identity> meshes, pictures;
};

void addObject(const host::ObjectState& object, SceneFacts& facts, Found& found) {
  ++facts.objects;
  if (object.mesh) {
    found.meshes.insert(object.mesh->id);
    facts.triangles += object.mesh->triangles.size();
  }
  if (object.picture) found.pictures.insert(object.picture->id);
  if (object.type == Ocamera) facts.cameras.push_back(cameraFacts(object));
  if (object.type == Olight) facts.lights.push_back(lightFacts(object));
  addTracks(object, facts.animations);
}

void addMaterial(const host::NodeState& material, SceneFacts& facts, Found& found) {
  ++facts.materials;
  host::forEachOwned(material, [&](const host::NodeState& node) {
    if (node.kind != host::NodeKind::shader) return;
    const auto& shader = static_cast<const host::ShaderState&>(node);
    if (shader.picture) found.pictures.insert(shader.picture->id);
  });
}

void include(Bounds& bounds, const Vector& point) {
  bounds.low = {std::min(bounds.low.x, point.x), std::min(bounds.low.y, point.y), std::min(bounds.low.z, point.z)};
  bounds.high = {std::max(bounds.high.x, point.x), std::max(bounds.high.y, point.y),
                 std::max(bounds.high.z, point.z)};
}

std::optional<Bounds> boundsOf(BaseDocument& document) {
  document.ExecutePasses(nullptr, TRUE, TRUE, TRUE, BUILDFLAGS_0);
  const host::SnapshotPtr snapshot = host::takeSnapshot(document, host::SnapshotOptions());
  std::optional<Bounds> bounds;
  if (!snapshot) return bounds;
  for (const host::Instance& instance : snapshot->instances) {
    if (instance.isFloor) continue;
    for (const host::Float3& position : instance.mesh->positions) {
      const Vector point = instance.toWorld * Vector(position[0], position[1], position[2]);
      if (!bounds) bounds = Bounds{point, point};
      include(*bounds, point);
    }
  }
  return bounds;
}

} // namespace

SceneFacts factsOf(BaseDocument& document) {
  const host::DocumentState& state = *host::stateOf(&document);
  SceneFacts facts;
  for (const std::string& name : state.animationNames) {
    facts.animations.push_back({name, 0, 0, 0});
  }
  Found found;
  host::forEachObject(state.children, [&](const host::ObjectState& object) { addObject(object, facts, found); });
  for (const host::NodeState* node = state.materials.first(); node; node = node->next) {
    addMaterial(*node, facts, found);
  }
  facts.meshes = static_cast<int>(found.meshes.size());
  facts.textures = static_cast<int>(found.pictures.size());
  facts.fps = document.GetFps();
  facts.firstFrame = document.GetMinTime().GetFrame(facts.fps);
  facts.lastFrame = document.GetMaxTime().GetFrame(facts.fps);
  facts.bounds = boundsOf(document);
  return facts;
}

} // namespace batch
