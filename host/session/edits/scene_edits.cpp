// Edits of nodes' values and of the object tree.
#include "scene_edits.h"

#include <algorithm>
#include <cmath>
#include <unordered_set>

#include "attribute_table.h"
#include "clone.h"
#include "document.h"
#include "parameters.h"
#include "scene_file.h"
#include "scene_queries.h"
#include "unique_name.h"

namespace host {

namespace {

constexpr Real leastScale = 1e-6;

DocumentState& stateIn(BaseDocument& document) {
  return *stateOf(&document);
}

ObjectState* objectIn(const DocumentState& document, Identity identity) {
  NodeState* node = findNode(document, identity);
  return node && node->kind == NodeKind::object && node->list ? static_cast<ObjectState*>(node) : nullptr;
}

Vector withPart(Vector all, int component, Real value) {
  (component == 0 ? all.x : component == 1 ? all.y : all.z) = value;
  return all;
}

Real clipped(const Attribute& shape, Real value) {
  return std::isfinite(value) ? std::clamp(value, shape.minimum, shape.maximum) : shape.minimum;
}

Vector clipped(const Attribute& shape, const Vector& value) {
  return {clipped(shape, value.x), clipped(shape, value.y), clipped(shape, value.z)};
}

void setPose(ObjectState& object, const Pose& pose) {
  object.pose = pose;
  object.local = matrixOf(pose);
}

void setPosition(ObjectState& object, const Vector& position) {
  object.local.off = position;
  if (object.pose) object.pose->translation = position;
}

// A matrix with shear keeps it: its axes are turned from the old rotation to the new one.
void setRotation(ObjectState& object, const Vector& degrees) {
  Pose pose = object.pose ? *object.pose : poseOf(object.local);
  if (object.pose || !isSheared(object.local)) {
    pose.rotation = rotationOf(degrees);
    return setPose(object, pose);
  }
  Pose before, after;
  before.rotation = pose.rotation;
  after.rotation = rotationOf(degrees);
  const Matrix turn = matrixOf(after) * matrixOf(before).Inverse();
  Matrix& m = object.local;
  m = {m.off, turn.TransformVector(m.v1), turn.TransformVector(m.v2), turn.TransformVector(m.v3)};
}

void setScale(ObjectState& object, Vector scale) {
  for (Real* part : {&scale.x, &scale.y, &scale.z})
    if (std::abs(*part) < leastScale) *part = *part < 0 ? -leastScale : leastScale;
  Pose pose = object.pose ? *object.pose : poseOf(object.local);
  if (object.pose || !isSheared(object.local)) {
    pose.scale = scale;
    return setPose(object, pose);
  }
  const auto ratio = [](Real to, Real from) { return from != 0 ? to / from : 1; };
  object.local.v1 *= ratio(scale.x, pose.scale.x);
  object.local.v2 *= ratio(scale.y, pose.scale.y);
  object.local.v3 *= ratio(scale.z, pose.scale.z);
}

bool setCoordinates(ObjectState& object, AttributeId id, const Vector& value) {
  if (id == AttributeId::position) return setPosition(object, value), true;
  if (id == AttributeId::rotation) return setRotation(object, value), true;
  if (id == AttributeId::scale) return setScale(object, value), true;
  return false;
}

bool writeVector(NodeState& node, const AttributeEntry& entry, const GeData& value, int component) {
  const Vector before = readAttribute(node, entry).GetVector();
  const Vector wanted = component < 0 ? clipped(entry.shape, value.GetVector())
                                      : withPart(before, component, clipped(entry.shape, value.GetReal()));
  if (wanted == before) return false;
  if (entry.parameter == 0) return setCoordinates(static_cast<ObjectState&>(node), entry.shape.id, wanted);
  node.data.SetVector(entry.parameter, wanted);
  return true;
}

bool writeText(NodeState& node, const String& text) {
  if (!text.Content() || node.name == text) return false;
  node.name = text;
  return true;
}

bool writeFlag(NodeState& node, const AttributeEntry& entry, bool on) {
  if (entry.parameter == 0)
    static_cast<ObjectState&>(node).deform = on;
  else
    node.data.SetBool(entry.parameter, on ? TRUE : FALSE);
  return true;
}

// An empty name takes the picture away.
bool writePicture(ObjectState& object, const Filename& file) {
  const PicturePtr picture = file.Content() ? readPictureFile(file) : nullptr;
  if ((picture && !picture->bytes) || (!picture && !object.picture)) return false;
  object.picture = picture;
  return true;
}

bool writeAttribute(NodeState& node, const AttributeEntry& entry, const GeData& value, int component) {
  const Attribute& shape = entry.shape;
  switch (shape.kind) {
  case AttributeKind::text:
    return writeText(node, value.GetString());
  case AttributeKind::file:
    return writePicture(static_cast<ObjectState&>(node), value.GetFilename());
  case AttributeKind::boolean:
    if ((readAttribute(node, entry).GetBool() != FALSE) == (value.GetBool() != FALSE)) return false;
    return writeFlag(node, entry, value.GetBool() != FALSE);
  case AttributeKind::integer:
  case AttributeKind::choice: {
    const auto wanted = static_cast<LONG>(clipped(shape, value.GetReal()));
    if (readAttribute(node, entry).GetLong() == wanted) return false;
    node.data.SetLong(entry.parameter, wanted);
    return true;
  }
  case AttributeKind::real: {
    const Real wanted = clipped(shape, value.GetReal());
    if (readAttribute(node, entry).GetReal() == wanted) return false;
    node.data.SetReal(entry.parameter, wanted / entry.factor);
    return true;
  }
  default:
    return writeVector(node, entry, value, component);
  }
}

bool setBit(NodeState& node, LONG bit, bool on) {
  const LONG before = node.bits;
  node.bits = on ? before | bit : before & ~bit;
  return node.bits != before;
}

bool isUnder(const NodeState& node, const NodeState& other) {
  for (const NodeState* up = &node; up; up = up->list ? up->list->owner() : nullptr)
    if (up == &other) return true;
  return false;
}

Matrix worldOfList(const NodeList& list) {
  const NodeState* owner = list.owner();
  return owner->kind == NodeKind::object ? worldOf(static_cast<const ObjectState&>(*owner)) : Matrix();
}

// Puts an object somewhere else so that it is seen where it was.
void moveTo(ObjectState& object, NodeList& list, NodeState* pred) {
  const Matrix above = object.list ? worldOfList(*object.list) : Matrix();
  const Matrix below = worldOfList(list);
  if (object.list) object.list->remove(object);
  list.insertAfter(object, pred);
  if (above == below) return;
  object.local = below.Inverse() * (above * object.local);
  object.pose.reset();
}

void selectOnly(DocumentState& document, const Identities& objects) {
  const std::unordered_set<Identity> wanted(objects.begin(), objects.end());
  forEachObject(document.children,
                [&](ObjectState& object) { setBit(object, BIT_ACTIVE, wanted.contains(object.identity)); });
}

String freeName(const DocumentState& document, const String& wanted) {
  std::unordered_set<std::string> names;
  forEachObject(document.children, [&](const ObjectState& object) { names.insert(object.name.GetUTF8()); });
  return uniqueName(wanted, [&](const String& name) { return names.contains(name.GetUTF8()); });
}

// --- new objects, measured by the scene ---

// Around all meshes; an empty scene counts as a room two metres high.
SceneBounds roomOf(BaseDocument& document) {
  return sceneBounds(document).value_or(SceneBounds{{-1, 0, -1}, {1, 2, 1}});
}

// Below everything, by so little that a ground which the scene has already does not flicker through it, and
// wide enough that its end is near the horizon.
void fitFloor(BaseDocument& document, ObjectState& floor) {
  constexpr Real below = 1e-4, wide = 100; // of the scene's radius
  const SceneBounds room = roomOf(document);
  const Vector center = room.center();
  setPose(floor, {{center.x, room.low.y - below * room.radius(), center.z}, {}, {1, 1, 1}});
  floor.data.SetReal(param::floorSize, std::clamp(wide * room.radius(), 1e-3, 1e9));
}

// Outside the scene, aimed at its middle, as bright there whatever the distance: a lamp's light falls with
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
  if (kind != 1) return;
  light.data.SetReal(param::lightInnerCone, 20 * toRadians);
  light.data.SetReal(param::lightOuterCone, 25 * toRadians);
}

} // namespace

bool renameNode(BaseDocument& document, Identity node, const String& name) {
  NodeState* state = findNode(stateIn(document), node);
  return state && writeText(*state, name);
}

bool setAttribute(BaseDocument& document, std::span<const Identity> nodes, AttributeId attribute,
                  const GeData& value, int component) {
  bool done = false;
  for (const Identity identity : nodes) {
    NodeState* node = findNode(stateIn(document), identity);
    const AttributeEntry* entry = node ? attributeEntry(*node, attribute) : nullptr;
    if (entry && writeAttribute(*node, *entry, value, component)) done = true;
  }
  return done;
}

bool selectObjects(BaseDocument& document, std::span<const Identity> objects, SelectMode mode) {
  const std::unordered_set<Identity> given(objects.begin(), objects.end());
  bool done = false;
  forEachObject(stateIn(document).children, [&](ObjectState& object) {
    const bool is = (object.bits & BIT_ACTIVE) != 0, named = given.contains(object.identity);
    const bool wanted = mode == SelectMode::replace  ? named
                        : mode == SelectMode::toggle ? is != named
                                                     : is || named;
    if (setBit(object, BIT_ACTIVE, wanted)) done = true;
  });
  return done;
}

bool selectMaterial(BaseDocument& document, Identity material) {
  bool done = false;
  for (NodeState* node = stateIn(document).materials.first(); node; node = node->next)
    if (setBit(*node, BIT_ACTIVE, node->identity == material)) done = true;
  return done;
}

bool setLocalMatrix(BaseDocument& document, Identity object, const Matrix& local) {
  ObjectState* state = objectIn(stateIn(document), object);
  if (!state || state->local == local) return false;
  state->local = local;
  state->pose.reset();
  return true;
}

bool setWorldMatrix(BaseDocument& document, Identity object, const Matrix& world) {
  const ObjectState* state = objectIn(stateIn(document), object);
  const ObjectState* parent = state ? parentOf(*state) : nullptr;
  return state && setLocalMatrix(document, object, parent ? worldOf(*parent).Inverse() * world : world);
}

Identity newObject(BaseDocument& document, LONG type, const BaseDraw* view) {
  if (type == Opolygon || !isKnownType(NodeKind::object, type)) return 0;
  DocumentState& state = stateIn(document);
  ObjectState* object = makeObject(type);
  object->name = freeName(state, typeName(type));
  if (type == Ocamera && view) {
    const BaseObject* seen = view->GetSceneCamera(&document);
    const ObjectState* from = stateOf(seen ? seen : view->GetEditorCamera());
    object->local = worldOf(*from);
    object->data = from->data;
  }
  if (type == Ofloor) fitFloor(document, *object);
  if (type == Osky) object->data.SetLong(param::skyKind, 2);
  state.children.append(*object);
  selectOnly(state, {object->identity});
  return object->identity;
}

Identity newLight(BaseDocument& document, LONG kind) {
  const Identity identity = newObject(document, Olight);
  ObjectState* light = objectIn(stateIn(document), identity);
  kind = std::clamp<LONG>(kind, 0, 2);
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

Identities topmost(const BaseDocument& document, std::span<const Identity> objects) {
  const std::unordered_set<Identity> given(objects.begin(), objects.end());
  Identities result;
  forEachObject(stateOf(&document)->children, [&](const ObjectState& object) {
    if (!given.contains(object.identity)) return;
    for (const ObjectState* up = parentOf(object); up; up = parentOf(*up))
      if (given.contains(up->identity)) return;
    result.push_back(object.identity);
  });
  return result;
}

bool deleteObjects(BaseDocument& document, std::span<const Identity> objects) {
  const Identities gone = topmost(document, objects);
  for (const Identity identity : gone)
    destroyNode(objectIn(stateIn(document), identity));
  return !gone.empty();
}

Identities duplicateObjects(BaseDocument& document, std::span<const Identity> objects) {
  DocumentState& state = stateIn(document);
  Identities copies;
  for (const Identity identity : topmost(document, objects)) {
    ObjectState* object = objectIn(state, identity);
    NodeState* copy = cloneNode(*object, COPYFLAGS_0);
    copy->name = freeName(state, object->name);
    object->list->insertAfter(*copy, object);
    copies.push_back(copy->identity);
  }
  if (!copies.empty()) selectOnly(state, copies);
  return copies;
}

Identity groupObjects(BaseDocument& document, std::span<const Identity> objects) {
  DocumentState& state = stateIn(document);
  const Identities members = topmost(document, objects);
  if (members.empty()) return 0;
  ObjectState* first = objectIn(state, members.front());
  ObjectState* group = makeObject(Onull);
  group->name = freeName(state, "Group");
  first->list->insertAfter(*group, first->prev);
  for (const Identity identity : members)
    moveTo(*objectIn(state, identity), group->children, group->children.last());
  selectOnly(state, {group->identity});
  return group->identity;
}

bool moveObjects(BaseDocument& document, std::span<const Identity> objects, Identity parent, Identity pred) {
  DocumentState& state = stateIn(document);
  ObjectState* above = parent ? objectIn(state, parent) : nullptr;
  if (parent && !above) return false;
  NodeList& list = above ? above->children : state.children;
  NodeState* place = pred ? objectIn(state, pred) : nullptr;
  if (place && place->list != &list) return false;
  const Identities moved = topmost(document, objects);
  // What is moved cannot be the place: the one before it is.
  const std::unordered_set<Identity> given(moved.begin(), moved.end());
  while (place && given.contains(place->identity))
    place = place->prev;
  bool done = false;
  for (const Identity identity : moved) {
    ObjectState* object = objectIn(state, identity);
    if (above && isUnder(*above, *object)) continue;
    if (object->list != &list || object->prev != place) {
      moveTo(*object, list, place);
      done = true;
    }
    place = object;
  }
  return done;
}

} // namespace host
