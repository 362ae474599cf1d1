#include "attribute_edits.h"

#include <algorithm>
#include <cmath>

#include "animation.h"
#include "attribute_table.h"
#include "node_lookup.h"
#include "parameters.h"
#include "scene_file.h"

namespace host {

namespace {

constexpr Real leastScale = 1e-6;

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

bool writeName(NodeState& node, const String& text) {
  if (!text.Content() || node.name == text) return false;
  node.name = text;
  return true;
}

bool writeText(NodeState& node, const AttributeEntry& entry, const String& text) {
  if (entry.parameter == 0) return writeName(node, text);
  if (param::text(node, entry.parameter) == text) return false;
  node.data.SetString(entry.parameter, text);
  return true;
}

bool writeFlag(NodeState& node, const AttributeEntry& entry, bool on) {
  if (entry.parameter == 0)
    static_cast<ObjectState&>(node).deform = on;
  else if (entry.shape.id == AttributeId::textureOn)
    node.data.SetBool(entry.parameter, on ? FALSE : TRUE);
  else
    node.data.SetBool(entry.parameter, on ? TRUE : FALSE);
  return true;
}

void writeReal(NodeState& node, const AttributeEntry& entry, Real wanted) {
  const bool v = entry.shape.id == AttributeId::textureTilingV;
  if (v || entry.shape.id == AttributeId::textureTilingU)
    node.data.SetVector(entry.parameter, withPart(param::vector(node, entry.parameter), v ? 1 : 0, wanted));
  else
    node.data.SetReal(entry.parameter, wanted / entry.factor);
}

// An empty name removes the picture.
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
    return writeText(node, entry, value.GetString());
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
    writeReal(node, entry, wanted);
    return true;
  }
  default:
    return writeVector(node, entry, value, component);
  }
}

} // namespace

bool renameNode(BaseDocument& document, Identity node, const String& name) {
  NodeState* state = findNode(stateIn(document), node);
  return state && writeName(*state, name);
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

} // namespace host
