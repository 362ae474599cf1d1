#include "scene_facts.h"

#include <algorithm>

#include "document.h"
#include "parameters.h"
#include "scene_setup.h"
#include "variants.h"

namespace batch {
namespace {

CameraFacts cameraFacts(const NamedCamera& camera) {
  const host::ObjectState& object = *host::stateOf(camera.object);
  CameraFacts facts;
  facts.name = camera.name;
  facts.orthographic = host::param::integer(object, host::param::cameraProjection) == 1;
  facts.angle = host::param::real(object, host::param::cameraYfov);
  facts.height = 2 * host::param::real(object, host::param::cameraYmag);
  return facts;
}

LightFacts lightFacts(const host::ObjectState& object) {
  constexpr const char* kinds[] = {"point", "spot", "distant", "rectangle", "disk"};
  LightFacts facts;
  facts.name = object.name.GetUTF8();
  facts.kind = kinds[std::clamp<LONG>(host::param::integer(object, host::param::lightKind), 0, 4)];
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

void addObject(const host::ObjectState& object, SceneFacts& facts) {
  if (object.type == Olight) facts.lights.push_back(lightFacts(object));
  addTracks(object, facts.animations);
}

} // namespace

SceneFacts factsOf(BaseDocument& document) {
  const host::DocumentState& state = *host::stateOf(&document);
  SceneFacts facts;
  for (const std::string& name : state.animationNames) {
    facts.animations.push_back({name, 0, 0, 0});
  }
  host::forEachObject(state.children, [&](const host::ObjectState& object) { addObject(object, facts); });
  for (const NamedCamera& camera : camerasOf(document)) {
    facts.cameras.push_back(cameraFacts(camera));
  }
  facts.variants = host::variantNames(document);
  facts.variant = host::chosenVariant(document);
  facts.counts = host::countScene(document);
  facts.fps = document.GetFps();
  facts.firstFrame = document.GetMinTime().GetFrame(facts.fps);
  facts.lastFrame = document.GetMaxTime().GetFrame(facts.fps);
  return facts;
}

} // namespace batch
