#include "new_objects.h"

#include <algorithm>
#include <array>

#include "attributes.h"
#include "node_lookup.h"
#include "object_edits.h"
#include "parameters.h"
#include "scene_file.h"
#include "scene_queries.h"

namespace host {

namespace {

// Bounds of all meshes; an empty scene counts as a room two metres high.
SceneBounds roomOf(BaseDocument& document) {
  return sceneBounds(document).value_or(SceneBounds{{-1, 0, -1}, {1, 2, 1}});
}

// Just so far below everything that a ground of the scene does not flicker through it, and wide enough that
// its end is near the horizon.
void fitFloor(BaseDocument& document, ObjectState& floor) {
  constexpr Real below = 1e-4, wide = 100; // of the scene's radius
  const SceneBounds room = roomOf(document);
  const Vector center = room.center();
  setPose(floor, {{center.x, room.low.y - below * room.radius(), center.z}, {}, {1, 1, 1}});
  floor.data.SetReal(param::floorSize, std::clamp(wide * room.radius(), 1e-3, 1e9));
}

// Outside the scene, aimed at its middle and equally bright there at any distance: a lamp's light falls with
// its square. A spot's cone holds the whole scene.
void fitLight(BaseDocument& document, ObjectState& light, LONG kind) {
  constexpr Real irradiance = 2; // at the scene's middle
  constexpr Real away = 3;       // scene radii
  constexpr Real toRadians = 3.14159265358979323846 / 180;
  const SceneBounds room = roomOf(document);
  const Real distance = away * room.radius();
  Pose pose;
  pose.rotation = rotationOf({40, -50, 0});
  pose.translation = room.center() + matrixOf(pose).v3 * distance;
  setPose(light, pose);
  light.data.SetReal(param::lightIntensity, kind == 2 ? irradiance : irradiance * distance * distance);
  if (kind >= 3) {
    light.data.SetReal(param::lightWidth, std::clamp(room.radius(), 1e-3, 1e6));
    light.data.SetReal(param::lightHeight, std::clamp(0.5 * room.radius(), 1e-3, 1e6));
  }
  if (kind != 1) return;
  light.data.SetReal(param::lightInnerCone, 20 * toRadians);
  light.data.SetReal(param::lightOuterCone, 25 * toRadians);
}

} // namespace

Identity newObject(BaseDocument& document, LONG type, const BaseDraw* view) {
  if (type == Opolygon || !isKnownType(NodeKind::object, type)) return 0;
  DocumentState& state = stateIn(document);
  ObjectState* object = makeObject(type);
  object->name = freeObjectName(state, typeName(type));
  if (type == Ocamera && view) {
    const BaseObject* seen = view->GetSceneCamera(&document);
    const ObjectState* from = stateOf(seen ? seen : view->GetEditorCamera());
    object->local = worldOf(*from);
    object->data = from->data;
  }
  if (type == Ofloor) fitFloor(document, *object);
  if (type == Osky) object->data.SetLong(param::skyKind, 2);
  state.children.append(*object);
  selectObjects(document, std::array{object->identity});
  return object->identity;
}

Identity newLight(BaseDocument& document, LONG kind) {
  const Identity identity = newObject(document, Olight);
  ObjectState* light = objectIn(stateIn(document), identity);
  kind = std::clamp<LONG>(kind, 0, 4);
  light->data.SetLong(param::lightKind, kind);
  fitLight(document, *light, kind);
  return identity;
}

bool setSkyPicture(BaseDocument& document, std::span<const Identity> skies, const PicturePtr& picture) {
  Identities wanted(skies.begin(), skies.end());
  forEachObject(stateIn(document).children, [&](const ObjectState& object) {
    if (wanted.empty() && object.type == Osky) wanted.push_back(object.identity);
  });
  if (wanted.empty()) wanted.push_back(newObject(document, Osky));
  bool done = false;
  for (const Identity identity : wanted) {
    ObjectState* sky = objectIn(stateIn(document), identity);
    if (!sky || sky->type != Osky) continue;
    if (param::integer(*sky, param::skyKind) != 3) sky->data.RemoveData(param::skyColor);
    sky->data.SetLong(param::skyKind, 3);
    sky->picture = picture;
    done = true;
  }
  return done;
}

} // namespace host
