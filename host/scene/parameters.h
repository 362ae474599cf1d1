// Parameters of the host's own node types: IDs and defaults. docs/scene-format.md describes them. Any thread.
#pragma once

#include "node_state.h"

namespace host::param {

// all objects: shown in the editor view, in renders; FALSE also hides the children
inline constexpr LONG objectVisibleEditor = 901, objectVisibleRender = 902;
// polygon objects and floors: the film notes the shadows on them, and on their children
inline constexpr LONG objectShadowCatcher = 903;
// cameras
inline constexpr LONG cameraProjection = 1001, cameraYfov = 1002, cameraYmag = 1003, cameraXmag = 1004,
                      cameraAspect = 1005, cameraNear = 1006, cameraFar = 1007, cameraFitAspect = 1008,
                      cameraAperture = 1009, cameraFocusDistance = 1010, cameraBlades = 1011,
                      cameraBladeRotation = 1012, cameraShiftX = 1120, cameraShiftY = 1121,
                      cameraLocked = 1122; // moving the view leaves it where it is
// lights
inline constexpr LONG lightKind = 1101, lightColor = 1102, lightIntensity = 1103, lightRange = 1104,
                      lightInnerCone = 1105, lightOuterCone = 1106, lightRadius = 1107, lightShadow = 1108,
                      lightWidth = 1109, lightHeight = 1110, lightGroup = 1111;
// sky, floor, subdivision
inline constexpr LONG skyKind = 1201, skyColor = 1202, skyHorizon = 1203, skyGround = 1204,
                      skyRotation = 1205, skySeen = 1206, skyStrength = 1207, skyGroup = 1208;
inline constexpr LONG floorSize = 1301;
inline constexpr LONG subdivisionLevel = 1401;
// tags
inline constexpr LONG textureMaterial = 1501, textureGroup = 1502, textureVariant = 1503;
inline constexpr LONG compositingSeen = 1511, compositingShadows = 1512;
inline constexpr LONG targetLink = 1521;
inline constexpr LONG phongLimit = 1531, phongAngle = 1532;
inline constexpr LONG alignLink = 1541;
// materials
inline constexpr LONG switchColor = 2000, switchDiffusion = 2001, switchLuminance = 2002,
                      switchTransparency = 2003, switchReflection = 2004, switchEnvironment = 2005,
                      switchFog = 2006, switchBump = 2007, switchAlpha = 2008, switchSpecular = 2009,
                      switchSpecularColor = 2010, switchGlow = 2011, switchDisplacement = 2012,
                      switchNormal = 2013;
inline constexpr LONG baseColor = 2100, baseAlpha = 2101, metallic = 2102, roughness = 2103,
                      occlusionStrength = 2104, emission = 2105, emissionStrength = 2106, normalScale = 2107,
                      alphaMode = 2108, alphaCutoff = 2109, transmission = 2110, ior = 2111, specular = 2112,
                      specularColor = 2113, clearcoat = 2114, clearcoatRoughness = 2115, doubleSided = 2116,
                      unlit = 2117, bumpHeight = 2118, thickness = 2119, attenuationColor = 2120,
                      attenuationDistance = 2121, dispersion = 2122, sheenColor = 2123, sheenRoughness = 2124,
                      anisotropy = 2125, anisotropyRotation = 2126, iridescence = 2127, iridescenceIor = 2128,
                      filmThin = 2129, filmThick = 2130, diffuseTransmission = 2131,
                      diffuseTransmissionColor = 2132, clearcoatNormalScale = 2133, materialLightGroup = 2134;
// shaders
inline constexpr LONG shaderMix = 1601, shaderAmount = 1602;
inline constexpr LONG colorValue = 1611, colorAlpha = 1612;
inline constexpr LONG bitmapUvSet = 1621, bitmapOffset = 1622, bitmapScale = 1623, bitmapRotation = 1624,
                      bitmapWrapU = 1625, bitmapWrapV = 1626, bitmapNearest = 1627, bitmapFactor = 1628,
                      bitmapAlpha = 1629;
// Of bitmaps too: left out of renders; 0 to 1 from no effect to the picture's own; meaning of its values, 0
// by the slot that shows it, 1 colors, 2 data.
inline constexpr LONG bitmapOff = 1140, bitmapStrength = 1141, bitmapColors = 1142;
inline constexpr LONG aoDistance = 1641, aoDark = 1642, aoBright = 1643;

// documents: the chosen variant of materials; the variants' names by index (a container)
inline constexpr LONG documentVariant = 1701, documentVariants = 1702;

/// The default of a parameter of a node type; of type DA_NIL when the type does not have the parameter.
const GeData& defaultValue(NodeKind kind, LONG type, LONG id);

/// The default of a parameter of this node; the sky's colour depends on its kind.
const GeData& defaultValue(const NodeState& node, LONG id);

/// The value of a node's parameter: the container's entry, else the default.
GeData value(const NodeState& node, LONG id);
Real real(const NodeState& node, LONG id);
LONG integer(const NodeState& node, LONG id);
bool flag(const NodeState& node, LONG id);
Vector vector(const NodeState& node, LONG id);
String text(const NodeState& node, LONG id);

} // namespace host::param
