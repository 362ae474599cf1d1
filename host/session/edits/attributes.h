// The values of nodes that a user edits, with their types, units and ranges. Main thread.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "animation.h"
#include "c4d_document.h"
#include "identity.h"
#include "node_state.h"

namespace host {

enum class AttributeId {
  none,
  // every object
  name,
  visibleEditor,
  visibleRender,
  position,
  rotation,
  scale,
  generator, // objects that generate
  shadowCatcher,
  // lights
  lightKind,
  lightColor,
  lightIntensity,
  lightRadius,
  lightAngle, // distant lights: how large they look
  lightInnerCone,
  lightOuterCone,
  lightShadow,
  lightGroup,
  // cameras
  cameraProjection,
  cameraFieldOfView,
  cameraHeight,
  cameraNear,
  cameraFar,
  cameraLocked,
  cameraShiftX,
  cameraShiftY,
  cameraAperture,
  cameraFocusDistance,
  cameraBlades,
  cameraBladeRotation,
  // sky, floor, subdivision
  skyKind,
  skyColor,
  skyHorizon,
  skyGround,
  skyPicture,
  skyRotation,
  skyStrength,
  skySeen,
  skyGroup,
  floorSize,
  subdivisionLevel,
  // materials
  materialColor,
  materialAlphaMode,
  materialAlpha, // where the mode makes use of it
  materialAlphaCutoff,
  materialRoughness,
  materialMetal,
  materialEmission,
  materialEmissionStrength,
  materialTransparency,
  materialRefraction,
  materialSpecular,
  materialClearcoat,
  materialClearcoatRoughness,
  materialThickness,
  materialAttenuationColor,
  materialAttenuationDistance,
  materialDispersion,
  materialDiffuseTransmission,
  materialDiffuseTransmissionColor,
  materialSheenColor,
  materialSheenRoughness,
  materialAnisotropy,
  materialAnisotropyRotation,
  materialIridescence,
  materialIridescenceIor,
  materialFilmThickness,
  materialDoubleSided,
  lightWidth,
  lightHeight,
  materialLightGroup,
  lightTemperature, // in kelvin; 0: the colour alone
  lightReach,       // of point and spot lights; 0: without end
  lightMuted,
  lightSolo,
  // textures: bitmap shaders of a material
  textureOn,
  textureStrength,
  textureTilingU,
  textureTilingV,
  textureColors,
  // of the textures whose strength is the material's
  materialNormalStrength,
  materialOcclusionStrength,
  materialCoatNormalStrength,
};

enum class AttributeKind { boolean, integer, real, vector, color, choice, text, file };

/// An attribute of a selection. Angles are in degrees, colours linear.
///
/// `rotation` is a vector of heading, pitch and bank: the object is turned by the bank about its z axis, then
/// by the pitch about x, then by the heading about y, so a camera's positive heading turns it to the left,
/// its positive pitch up. Heading and bank lie above -180 and up to 180, pitch between -90 and 90. Angles in
/// these ranges with up to nine decimals and pitches up to 89.9 come back exactly as they were set; at a
/// pitch of 90 or -90 the bank comes back as 0 and the heading holds both.
struct Attribute {
  AttributeId id = AttributeId::none;
  AttributeKind kind = AttributeKind::real;
  const char* label = "";
  const char* group = ""; // "Object", "Coordinates", "Light", ...
  GeData value;           // of the first node; LONG, Real, Vector, Bool, String, or Filename (empty: none)
  bool mixed = false;     // the nodes have several values
  bool mixedPart[3] = {false, false, false}; // of a vector
  Real minimum = -1e12, maximum = 1e12;      // what may be typed
  Real softMinimum = 0, softMaximum = 0;     // what a slider covers; none when both are 0
  Real step = 0;                             // of wheel and arrow keys
  int decimals = 3;
  const char* unit = "";            // "m", "°", "" ...; "" also when the nodes have several
  std::vector<std::string> choices; // value 0, 1, ... of a choice
  bool animated = false;            // tracks set it: what is typed holds until the time changes
};

/// The group of attributes that stand beside the picture that they belong to, not in a list.
inline constexpr const char* textureGroup = "Texture";

/// The attributes that all of these nodes have (objects, materials, or textures), in the order of display.
std::vector<Attribute> attributesOf(const BaseDocument& document, std::span<const Identity> nodes);

std::vector<Attribute> attributesOf(std::span<const NodeState* const> nodes);

/// One attribute of one node; of type DA_NIL when the node does not have it.
GeData attributeValue(const BaseDocument& document, Identity node, AttributeId attribute);

/// Heading, pitch and bank in degrees, and back; see `Attribute`.
Vector anglesOf(const Quaternion& rotation);
Quaternion rotationOf(const Vector& degrees);

} // namespace host
