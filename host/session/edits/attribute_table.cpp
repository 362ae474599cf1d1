#include "attribute_table.h"

#include <cmath>

#include "light_source.h"
#include "parameters.h"

namespace host {

namespace {

constexpr Real pi = 3.14159265358979323846;
constexpr Real toDegrees = 180 / pi;
constexpr Real most = 1e12;

// Builds the table line by line.
class Table {
 public:
  std::vector<AttributeEntry> take() { return std::move(entries_); }

  Table& of(NodeKind kind, LONG type, const char* group) {
    kind_ = kind;
    type_ = type;
    group_ = group;
    return when(0, 0);
  }
  /// The next attributes exist only while a parameter has this value.
  Table& when(LONG parameter, LONG value) {
    switch_ = parameter;
    value_ = value;
    return *this;
  }
  Table& add(AttributeId id, AttributeKind kind, const char* label, LONG parameter = 0) {
    AttributeEntry entry;
    entry.shape.id = id;
    entry.shape.kind = kind;
    entry.shape.label = label;
    entry.shape.group = group_;
    entry.kind = kind_;
    entry.type = type_;
    entry.parameter = parameter;
    entry.switchId = switch_;
    entry.when = value_;
    entries_.push_back(std::move(entry));
    return kind == AttributeKind::color ? range(0, most, 0, 1, 0.01) : *this;
  }
  Table& range(Real low, Real high, Real softLow, Real softHigh, Real step) {
    Attribute& shape = entries_.back().shape;
    shape.minimum = low;
    shape.maximum = high;
    shape.softMinimum = softLow;
    shape.softMaximum = softHigh;
    shape.step = step;
    return *this;
  }
  Table& unit(const char* text, int decimals = 3) {
    entries_.back().shape.unit = text;
    entries_.back().shape.decimals = decimals;
    return *this;
  }
  Table& degrees(Real factor = toDegrees) { return times(factor).unit("\u00b0", 2); }
  /// Shown value = stored value * factor.
  Table& times(Real factor) {
    entries_.back().factor = factor;
    return *this;
  }
  Table& choices(std::vector<std::string> texts) {
    entries_.back().shape.maximum = static_cast<Real>(texts.size()) - 1;
    entries_.back().shape.minimum = 0;
    entries_.back().shape.choices = std::move(texts);
    return *this;
  }

 private:
  std::vector<AttributeEntry> entries_;
  NodeKind kind_ = NodeKind::object;
  LONG type_ = 0, switch_ = 0, value_ = 0;
  const char* group_ = "";
};

using Id = AttributeId;
using Kind = AttributeKind;

void addObjects(Table& table) {
  table.of(NodeKind::object, 0, "Object")
      .add(Id::name, Kind::text, "Name")
      .add(Id::visibleEditor, Kind::boolean, "Visible in Editor", param::objectVisibleEditor)
      .add(Id::visibleRender, Kind::boolean, "Visible in Renders", param::objectVisibleRender);
  for (const LONG type : {Opolygon, Ofloor, Onull})
    table.of(NodeKind::object, type, "Object")
        .add(Id::shadowCatcher, Kind::boolean, "Shadow Catcher", param::objectShadowCatcher);
  table.of(NodeKind::object, Osds, "Object").add(Id::generator, Kind::boolean, "Generator");
  table.of(NodeKind::object, 0, "Coordinates")
      .add(Id::position, Kind::vector, "Position")
      .range(-most, most, 0, 0, 0.01)
      .unit("m")
      .add(Id::rotation, Kind::vector, "Rotation")
      .range(-36000, 36000, 0, 0, 1)
      .unit("\u00b0", 2)
      .add(Id::scale, Kind::vector, "Scale")
      .range(-1e6, 1e6, 0, 0, 0.01);
}

// Candela, or lux where distance does not count.
void addIntensity(Table& table) {
  for (const LONG kind : {0, 1, 2, 3, 4})
    table.when(param::lightKind, kind)
        .add(Id::lightIntensity, Kind::real, "Intensity", param::lightIntensity)
        .range(0, most, 0, 20, 0.1)
        .unit(kind == 2 ? "lx" : "cd");
  table.when(0, 0);
}

void addReach(Table& table) {
  table.add(Id::lightReach, Kind::real, "Reach", param::lightRange).range(0, most, 0, 0, 0.1).unit("m");
}

void addLightSize(Table& table) {
  const auto length = [&](Id id, const char* label, LONG parameter, Real least, Real usual) {
    table.add(id, Kind::real, label, parameter).range(least, 1e6, 0, usual, 0.01).unit("m");
  };
  table.when(param::lightKind, 0);
  length(Id::lightRadius, "Radius", param::lightRadius, 0, 2);
  addReach(table);
  table.when(param::lightKind, 1);
  length(Id::lightRadius, "Radius", param::lightRadius, 0, 2);
  addReach(table);
  table.add(Id::lightInnerCone, Kind::real, "Inner Angle", param::lightInnerCone)
      .range(0, 180, 0, 180, 1)
      .degrees(2 * toDegrees)
      .add(Id::lightOuterCone, Kind::real, "Outer Angle", param::lightOuterCone)
      .range(0.1, 180, 0, 180, 1)
      .degrees(2 * toDegrees)
      .when(param::lightKind, 2)
      .add(Id::lightAngle, Kind::real, "Angle", param::lightRadius)
      .range(0, 90, 0, 10, 0.1)
      .degrees(2 * toDegrees)
      .when(param::lightKind, 3);
  length(Id::lightWidth, "Width", param::lightWidth, 1e-3, 10);
  length(Id::lightHeight, "Height", param::lightHeight, 1e-3, 10);
  table.when(param::lightKind, 4);
  length(Id::lightWidth, "Diameter", param::lightWidth, 1e-3, 10);
  table.when(0, 0);
}

void addLights(Table& table) {
  table.of(NodeKind::object, Olight, "Light")
      .add(Id::lightKind, Kind::choice, "Kind", param::lightKind)
      .choices({"Point", "Spot", "Distant", "Rectangle", "Disk"})
      .add(Id::lightColor, Kind::color, "Color", param::lightColor)
      .add(Id::lightTemperature, Kind::real, "Temperature", param::lightTemperature)
      .range(0, mostKelvin, 0, 12000, 100)
      .unit("K", 0);
  addIntensity(table);
  addLightSize(table);
  table.add(Id::lightShadow, Kind::choice, "Shadow", param::lightShadow)
      .choices({"None", "Hard", "Soft"})
      .add(Id::lightGroup, Kind::text, "Light Group", param::lightGroup)
      .add(Id::lightMuted, Kind::boolean, "Mute", param::lightMuted)
      .add(Id::lightSolo, Kind::boolean, "Solo", param::lightSolo);
}

void addCameras(Table& table) {
  table.of(NodeKind::object, Ocamera, "Camera")
      .add(Id::cameraProjection, Kind::choice, "Projection", param::cameraProjection)
      .choices({"Perspective", "Parallel"})
      .when(param::cameraProjection, 0)
      .add(Id::cameraFieldOfView, Kind::real, "Field of View", param::cameraYfov)
      .range(0.1, 179, 5, 120, 1)
      .degrees()
      .when(param::cameraProjection, 1)
      .add(Id::cameraHeight, Kind::real, "Height", param::cameraYmag)
      .range(1e-6, 1e9, 0, 0, 0.1)
      .unit("m")
      .times(2)
      .when(0, 0)
      .add(Id::cameraShiftX, Kind::real, "Shift X", param::cameraShiftX)
      .range(-10, 10, -1, 1, 0.01)
      .unit("%")
      .times(100)
      .add(Id::cameraShiftY, Kind::real, "Shift Y", param::cameraShiftY)
      .range(-10, 10, -1, 1, 0.01)
      .unit("%")
      .times(100)
      .add(Id::cameraNear, Kind::real, "Near", param::cameraNear)
      .range(0, 1e9, 0, 0, 0.01)
      .unit("m")
      .add(Id::cameraFar, Kind::real, "Far", param::cameraFar)
      .range(0, 1e12, 0, 0, 1)
      .unit("m");
  table.of(NodeKind::object, Ocamera, "Camera")
      .add(Id::cameraLocked, Kind::boolean, "Locked", param::cameraLocked);
  table.of(NodeKind::object, Ocamera, "Depth of Field")
      .add(Id::cameraAperture, Kind::real, "Aperture", param::cameraAperture)
      .range(0, 1e6, 0, 100, 1)
      .unit("mm")
      .times(1000)
      .add(Id::cameraFocusDistance, Kind::real, "Focus Distance", param::cameraFocusDistance)
      .range(1e-6, 1e9, 0, 0, 0.05)
      .unit("m")
      .add(Id::cameraBlades, Kind::integer, "Blades", param::cameraBlades)
      .range(0, 64, 0, 12, 1)
      .unit("", 0)
      .add(Id::cameraBladeRotation, Kind::real, "Blade Rotation", param::cameraBladeRotation)
      .range(-36000, 36000, -180, 180, 1)
      .degrees();
}

void addSurroundings(Table& table) {
  table.of(NodeKind::object, Osky, "Sky")
      .add(Id::skyKind, Kind::choice, "Kind", param::skyKind)
      .choices({"None", "Constant", "Gradient", "Picture"})
      .when(param::skyKind, 1)
      .add(Id::skyColor, Kind::color, "Color", param::skyColor)
      .when(param::skyKind, 2)
      .add(Id::skyColor, Kind::color, "Zenith", param::skyColor)
      .add(Id::skyHorizon, Kind::color, "Horizon", param::skyHorizon)
      .add(Id::skyGround, Kind::color, "Ground", param::skyGround)
      .when(param::skyKind, 3)
      .add(Id::skyPicture, Kind::file, "Picture")
      .add(Id::skyRotation, Kind::real, "Turn", param::skyRotation)
      .range(-36000, 36000, -180, 180, 1)
      .degrees()
      .add(Id::skyColor, Kind::color, "Tint", param::skyColor)
      .when(0, 0)
      .add(Id::skyStrength, Kind::real, "Strength", param::skyStrength)
      .range(0, most, 0, 4, 0.05)
      .add(Id::skySeen, Kind::boolean, "Seen by Camera", param::skySeen)
      .add(Id::skyGroup, Kind::text, "Light Group", param::skyGroup);
  table.of(NodeKind::object, Ofloor, "Floor")
      .add(Id::floorSize, Kind::real, "Half Size", param::floorSize)
      .range(1e-3, 1e9, 0, 0, 1)
      .unit("m");
  table.of(NodeKind::object, Osds, "Object")
      .add(Id::subdivisionLevel, Kind::integer, "Level", param::subdivisionLevel)
      .range(0, 6, 0, 6, 1)
      .unit("", 0);
}

void addFinish(Table& table) {
  table.of(NodeKind::material, Mmaterial, "Finish")
      .add(Id::materialSheenColor, Kind::color, "Sheen Color", param::sheenColor)
      .range(0, 1, 0, 1, 0.01)
      .add(Id::materialSheenRoughness, Kind::real, "Sheen Roughness", param::sheenRoughness)
      .range(0, 1, 0, 1, 0.01)
      .add(Id::materialAnisotropy, Kind::real, "Anisotropy", param::anisotropy)
      .range(0, 1, 0, 1, 0.01)
      .add(Id::materialAnisotropyRotation, Kind::real, "Anisotropy Rotation", param::anisotropyRotation)
      .range(-36000, 36000, -180, 180, 1)
      .degrees()
      .add(Id::materialIridescence, Kind::real, "Iridescence", param::iridescence)
      .range(0, 1, 0, 1, 0.01)
      .add(Id::materialIridescenceIor, Kind::real, "Film Refraction", param::iridescenceIor)
      .range(1, 10, 1, 3, 0.01)
      .add(Id::materialFilmThickness, Kind::real, "Film Thickness", param::filmThick)
      .range(0, 1e5, 0, 1200, 5)
      .unit("nm");
}

void addBody(Table& table) {
  table.of(NodeKind::material, Mmaterial, "Body")
      .add(Id::materialThickness, Kind::real, "Thickness", param::thickness)
      .range(0, 1e6, 0, 0, 0.01)
      .unit("m")
      .add(Id::materialAttenuationColor, Kind::color, "Absorption Color", param::attenuationColor)
      .range(0, 1, 0, 1, 0.01)
      .add(Id::materialAttenuationDistance, Kind::real, "Absorption Distance", param::attenuationDistance)
      .range(0, 1e9, 0, 0, 0.01)
      .unit("m")
      .add(Id::materialDispersion, Kind::real, "Dispersion", param::dispersion)
      .range(0, 20, 0, 1, 0.01)
      .add(Id::materialDiffuseTransmission, Kind::real, "Translucency", param::diffuseTransmission)
      .range(0, 1, 0, 1, 0.01)
      .add(Id::materialDiffuseTransmissionColor, Kind::color, "Translucency Color",
           param::diffuseTransmissionColor)
      .range(0, 1, 0, 1, 0.01);
}

void addMaterials(Table& table) {
  const auto part = [&](Id id, const char* label, LONG parameter) {
    table.add(id, Kind::real, label, parameter).range(0, 1, 0, 1, 0.01);
  };
  table.of(NodeKind::material, Mmaterial, "Material")
      .add(Id::name, Kind::text, "Name")
      .add(Id::materialColor, Kind::color, "Color", param::baseColor)
      .range(0, 1, 0, 1, 0.01);
  table.add(Id::materialAlphaMode, Kind::choice, "Alpha", param::alphaMode)
      .choices({"Opaque", "Mask", "Blend"});
  table.when(param::alphaMode, 1);
  part(Id::materialAlpha, "Opacity", param::baseAlpha);
  part(Id::materialAlphaCutoff, "Cutoff", param::alphaCutoff);
  table.when(param::alphaMode, 2);
  part(Id::materialAlpha, "Opacity", param::baseAlpha);
  table.when(0, 0);
  part(Id::materialRoughness, "Roughness", param::roughness);
  part(Id::materialMetal, "Metal", param::metallic);
  table.add(Id::materialEmission, Kind::color, "Emission", param::emission)
      .add(Id::materialEmissionStrength, Kind::real, "Emission Strength", param::emissionStrength)
      .range(0, most, 0, 20, 0.1);
  part(Id::materialTransparency, "Transparency", param::transmission);
  table.add(Id::materialRefraction, Kind::real, "Refraction", param::ior).range(1, 4, 1, 3, 0.01);
  part(Id::materialSpecular, "Specular", param::specular);
  part(Id::materialClearcoat, "Clear Coat", param::clearcoat);
  part(Id::materialClearcoatRoughness, "Clear Coat Roughness", param::clearcoatRoughness);
  table.add(Id::materialDoubleSided, Kind::boolean, "Double Sided", param::doubleSided)
      .add(Id::materialLightGroup, Kind::text, "Light Group", param::materialLightGroup);
  addFinish(table);
  addBody(table);
}

void addTextures(Table& table) {
  const auto strength = [&](Id id, LONG parameter, Real highest) {
    table.add(id, Kind::real, "Strength", parameter).range(0, highest, 0, 1, 0.01);
  };
  table.of(NodeKind::shader, Xbitmap, textureGroup).add(Id::textureOn, Kind::boolean, "On", param::bitmapOff);
  strength(Id::textureStrength, param::bitmapStrength, 1);
  table.add(Id::textureTilingU, Kind::real, "Tiling U", param::bitmapScale)
      .range(-1e6, 1e6, 0, 0, 0.1)
      .add(Id::textureTilingV, Kind::real, "Tiling V", param::bitmapScale)
      .range(-1e6, 1e6, 0, 0, 0.1)
      .add(Id::textureColors, Kind::choice, "Values", param::bitmapColors)
      .choices({"By Use", "Color (sRGB)", "Data (Linear)"});
  table.of(NodeKind::material, Mmaterial, textureGroup);
  strength(Id::materialNormalStrength, param::normalScale, 10);
  strength(Id::materialOcclusionStrength, param::occlusionStrength, 1);
  strength(Id::materialCoatNormalStrength, param::clearcoatNormalScale, 10);
}

// The file of a picture; a packed one has only a name.
Filename pictureName(const PicturePtr& picture) {
  if (!picture) return {};
  return picture->file.Content() ? picture->file : Filename(String(picture->name));
}

Pose poseAt(const ObjectState& object) {
  return object.pose ? *object.pose : poseOf(object.local);
}

} // namespace

const std::vector<AttributeEntry>& attributeTable() {
  static const auto& entries = *new std::vector<AttributeEntry>([] {
    Table table;
    addObjects(table);
    addLights(table);
    addCameras(table);
    addSurroundings(table);
    addMaterials(table);
    addTextures(table);
    return table.take();
  }());
  return entries;
}

const AttributeEntry* attributeEntry(const NodeState& node, AttributeId id) {
  for (const AttributeEntry& entry : attributeTable())
    if (entry.shape.id == id && entry.kind == node.kind && (entry.type == 0 || entry.type == node.type) &&
        (entry.switchId == 0 || param::integer(node, entry.switchId) == entry.when))
      return &entry;
  return nullptr;
}

Real roundedDegrees(Real degrees) {
  if (!(std::abs(degrees) < 1e6)) return degrees;
  const Real rounded = std::round(degrees * 1e9) / 1e9;
  return rounded == 0 ? 0 : rounded; // no minus zero
}

bool isSheared(const Matrix& matrix) {
  const Matrix plain = matrixOf(poseOf(matrix));
  const auto far = [](const Vector& a, const Vector& b) {
    const Vector d = a - b;
    return Dot(d, d) > 1e-18 * Dot(b, b);
  };
  return far(plain.v1, matrix.v1) || far(plain.v2, matrix.v2) || far(plain.v3, matrix.v3);
}

GeData readAttribute(const NodeState& node, const AttributeEntry& entry) {
  switch (entry.shape.id) {
  case AttributeId::name:
    return GeData(node.name);
  case AttributeId::generator:
    return GeData::FromBool(static_cast<const ObjectState&>(node).deform ? TRUE : FALSE);
  case AttributeId::position:
    return GeData(static_cast<const ObjectState&>(node).local.off);
  case AttributeId::rotation:
    return GeData(anglesOf(poseAt(static_cast<const ObjectState&>(node)).rotation));
  case AttributeId::scale:
    return GeData(poseAt(static_cast<const ObjectState&>(node)).scale);
  case AttributeId::skyPicture:
    return GeData(pictureName(static_cast<const ObjectState&>(node).picture));
  case AttributeId::textureOn:
    return GeData::FromBool(param::flag(node, entry.parameter) ? FALSE : TRUE);
  case AttributeId::textureTilingU:
    return GeData(param::vector(node, entry.parameter).x);
  case AttributeId::textureTilingV:
    return GeData(param::vector(node, entry.parameter).y);
  default:
    break;
  }
  const LONG id = entry.parameter;
  switch (entry.shape.kind) {
  case AttributeKind::text:
    return GeData(param::text(node, id));
  case AttributeKind::boolean:
    return GeData::FromBool(param::flag(node, id) ? TRUE : FALSE);
  case AttributeKind::integer:
  case AttributeKind::choice:
    return GeData(param::integer(node, id));
  case AttributeKind::real: {
    const Real value = param::real(node, id);
    return GeData(entry.factor == 1 ? value : roundedDegrees(value * entry.factor));
  }
  default:
    return GeData(param::vector(node, id));
  }
}

} // namespace host
