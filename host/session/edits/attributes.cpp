#include "attributes.h"

#include <cmath>
#include <string_view>

#include "attribute_table.h"
#include "track_paths.h"

namespace host {

namespace {

constexpr Real toRadians = 3.14159265358979323846 / 180;

bool isMoved(const NodeState& node) {
  return node.kind == NodeKind::object && static_cast<const ObjectState&>(node).tracks != nullptr;
}

bool movesWith(const NodeState& node, AttributeId id) {
  if (!isMoved(node)) return false;
  for (const Track& track : *static_cast<const ObjectState&>(node).tracks)
    if ((track.path == TrackPath::translation && id == AttributeId::position) ||
        (track.path == TrackPath::rotation && id == AttributeId::rotation) ||
        (track.path == TrackPath::scale && id == AttributeId::scale) ||
        (track.path == trackLightColor && id == AttributeId::lightColor) ||
        (track.path == trackLightIntensity && id == AttributeId::lightIntensity) ||
        (track.path == trackCameraYfov && id == AttributeId::cameraFieldOfView))
      return true;
  return false;
}

void compare(Attribute& attribute, const GeData& other) {
  if (attribute.kind != AttributeKind::vector && attribute.kind != AttributeKind::color) {
    attribute.mixed = attribute.mixed || attribute.value != other;
    return;
  }
  const Vector a = attribute.value.GetVector(), b = other.GetVector();
  attribute.mixedPart[0] = attribute.mixedPart[0] || a.x != b.x;
  attribute.mixedPart[1] = attribute.mixedPart[1] || a.y != b.y;
  attribute.mixedPart[2] = attribute.mixedPart[2] || a.z != b.z;
  attribute.mixed = attribute.mixedPart[0] || attribute.mixedPart[1] || attribute.mixedPart[2];
}

} // namespace

std::vector<Attribute> attributesOf(const BaseDocument& document, std::span<const Identity> nodes) {
  std::vector<const NodeState*> states;
  for (const Identity identity : nodes)
    if (const NodeState* node = findNode(*stateOf(&document), identity)) states.push_back(node);
  return attributesOf(states);
}

std::vector<Attribute> attributesOf(std::span<const NodeState* const> states) {
  std::vector<Attribute> attributes;
  if (states.empty()) return attributes;
  for (const AttributeEntry& entry : attributeTable()) {
    if (attributeEntry(*states.front(), entry.shape.id) != &entry) continue;
    Attribute attribute = entry.shape;
    attribute.value = readAttribute(*states.front(), entry);
    bool everywhere = true;
    for (const NodeState* node : states) {
      const AttributeEntry* its = attributeEntry(*node, attribute.id);
      if (!its || its->shape.kind != attribute.kind) {
        everywhere = false;
        break;
      }
      compare(attribute, readAttribute(*node, *its));
      if (std::string_view(attribute.unit) != its->shape.unit) attribute.unit = "";
      attribute.animated = attribute.animated || movesWith(*node, attribute.id);
    }
    if (everywhere) attributes.push_back(std::move(attribute));
  }
  return attributes;
}

GeData attributeValue(const BaseDocument& document, Identity node, AttributeId attribute) {
  const NodeState* state = findNode(*stateOf(&document), node);
  const AttributeEntry* entry = state ? attributeEntry(*state, attribute) : nullptr;
  return entry ? readAttribute(*state, *entry) : GeData();
}

// With R = Ry(heading) * Rx(pitch) * Rz(bank): its third column is (sh cp, -sp, ch cp), its second row
// (cp sb, cp cb, -sp).
Vector anglesOf(const Quaternion& rotation) {
  Pose pose;
  pose.rotation = rotation;
  const Matrix m = matrixOf(pose);
  const Real level = std::hypot(m.v1.y, m.v2.y);
  const Real pitch = std::atan2(-m.v3.y, level);
  const bool upright = level < 1e-9; // looking straight up or down
  const Real heading = upright ? std::atan2(-m.v1.z, m.v1.x) : std::atan2(m.v3.x, m.v3.z);
  const Real bank = upright ? 0 : std::atan2(m.v1.y, m.v2.y);
  const auto degrees = [](Real radians) {
    const Real value = roundedDegrees(radians / toRadians);
    return value == -180 ? 180 : value;
  };
  return {degrees(heading), degrees(pitch), degrees(bank)};
}

Quaternion rotationOf(const Vector& degrees) {
  const Real h = degrees.x * toRadians / 2, p = degrees.y * toRadians / 2, b = degrees.z * toRadians / 2;
  const Real ch = std::cos(h), sh = std::sin(h), cp = std::cos(p), sp = std::sin(p), cb = std::cos(b),
             sb = std::sin(b);
  return {ch * sp * cb + sh * cp * sb, sh * cp * cb - ch * sp * sb, ch * cp * sb - sh * sp * cb,
          ch * cp * cb + sh * sp * sb};
}

} // namespace host
