// The renderer's input: a flat, immutable description of a document at one time. It shares meshes and
// pictures with the document, so taking one copies no vertex and no pixel. World space: right-handed, y up,
// metres.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "c4d_document.h"
#include "mesh.h"

namespace host {

/// A picture file in memory. Immutable, shared.
struct Picture {
  Identity id = newIdentity();
  std::string name; // for the user: the file name, or the image's name
  std::string uri;  // its source; empty when embedded
  Filename file;    // of an outside picture; empty when packed into the scene
  std::string mimeType;
  std::shared_ptr<const std::vector<std::byte>> bytes; // null: the file is missing
  std::shared_ptr<const Picture> fallback; // of a WebP picture: shown by programs that cannot read it
};
using PicturePtr = std::shared_ptr<const Picture>;

enum class Wrap : std::uint8_t { repeat, mirror, clamp };
/// The meaning of a picture's values: by the shader that shows it, or chosen.
enum class TextureColors : std::uint8_t { byRule, colors, data };

/// The placement of a picture on a surface: uv' = offset + rotate(rotation) * (scale * uv), as in
/// KHR_texture_transform.
struct TextureUse {
  PicturePtr picture; // null: no texture
  int uvSet = 0;      // 0 or 1
  Float2 offset{0, 0}, scale{1, 1};
  float rotation = 0; // radians, counter-clockwise
  Wrap wrapU = Wrap::repeat, wrapV = Wrap::repeat;
  bool nearest = false;
  TextureColors colors = TextureColors::byRule;
};

enum class ShadeKind : std::uint8_t { color, bitmap, ambientOcclusion, fusion, layer };
enum class ShadeMix : std::uint8_t { normal, multiply, add, screen };

/// A shader tree that gives a colour at a surface point. Colours are linear.
struct Shade {
  ShadeKind kind = ShadeKind::color;
  Float4 color{1, 1, 1, 1}; // color: the value; bitmap: a factor
  Float4 bias{0, 0, 0, 0};  // bitmap: added after the factor; a weak picture's share without effect
  TextureUse texture;       // bitmap
  float aoDistance = 1;     // ambientOcclusion: rays reach this far, in metres
  Float3 aoDark{0, 0, 0}, aoBright{1, 1, 1};
  ShadeMix mix = ShadeMix::normal; // mixes this node with the ones before it in a fusion or layer
  float amount = 1;                // weight of the mix, 0 to 1
  std::vector<std::shared_ptr<const Shade>> children; // fusion, layer: bottom first
};
using ShadePtr = std::shared_ptr<const Shade>;

enum class AlphaMode : std::uint8_t { opaque, mask, blend };

/// A surface after channel switches: a channel that is off has its neutral value. A null shade is the
/// constant
/// 1. Colour shades are decoded from sRGB, the others are data.
struct SurfaceMaterial {
  Identity id = 0;
  std::string name;
  Float4 baseColor{1, 1, 1, 1}; // colour channel, linear; alpha
  ShadePtr baseColorShade;      // its alpha multiplies too
  bool colorOn = true;          // false: no diffuse reflection; metals keep baseColor
  bool reflectionOn = true;     // false: no reflection, metallic counts as 0
  float metallic = 0, roughness = 1;
  ShadePtr metallicRoughnessShade; // metallic in blue, roughness in green
  float occlusionStrength = 1;
  ShadePtr occlusionShade;  // red; darkens light from the surroundings only
  Float3 emission{0, 0, 0}; // radiance, strength included
  ShadePtr emissionShade;
  float normalScale = 1;
  ShadePtr normalShade;   // tangent space
  float bumpStrength = 0; // metres of height between black and white
  ShadePtr bumpShade;
  AlphaMode alphaMode = AlphaMode::opaque;
  float alphaCutoff = 0.5f;
  float transmission = 0;
  ShadePtr transmissionShade; // red
  float ior = 1.5f;
  float specular = 1;
  ShadePtr specularShade; // alpha
  Float3 specularColor{1, 1, 1};
  ShadePtr specularColorShade;
  float clearcoat = 0, clearcoatRoughness = 0;
  ShadePtr clearcoatShade;          // red
  ShadePtr clearcoatRoughnessShade; // green
  float clearcoatNormalScale = 1;
  ShadePtr clearcoatNormalShade;    // tangent space
  float thickness = 0;              // 0: transmission is that of a thin sheet; else of a solid body
  Float3 attenuationColor{1, 1, 1}; // of white light after the distance inside of a body
  float attenuationDistance = 0;    // metres; 0: without end
  float dispersion = 0;             // 20 over the Abbe number
  Float3 sheenColor{0, 0, 0};
  float sheenRoughness = 0;
  ShadePtr sheenColorShade;
  ShadePtr sheenRoughnessShade;                 // alpha
  float anisotropy = 0, anisotropyRotation = 0; // 0 to 1; radians from the tangent, counter-clockwise
  ShadePtr anisotropyShade;                     // direction in red and green, strength in blue
  float iridescence = 0, iridescenceIor = 1.3f;
  float filmThin = 100, filmThick = 400; // nanometres at 0 and 1 of the shade
  ShadePtr iridescenceShade;             // red
  ShadePtr filmShade;                    // green
  float diffuseTransmission = 0;
  ShadePtr diffuseTransmissionShade; // alpha
  Float3 diffuseTransmissionColor{1, 1, 1};
  ShadePtr diffuseTransmissionColorShade;
  bool doubleSided = true;
  bool unlit = false;     // shows baseColor as it is
  std::string lightGroup; // of its own light; may be empty
};
using SurfaceMaterialPtr = std::shared_ptr<const SurfaceMaterial>;

struct Instance {
  Identity object = 0;
  MeshPtr mesh; // never null
  Matrix toWorld;
  std::vector<int> materials; // indices into Snapshot::materials, one for each group of the mesh
  bool seenByCamera = true, castsShadows = true;
  bool isFloor = false;
  std::vector<Matrix> motion;  // toWorld while the shutter is open, at even steps; empty: it stands still
  std::vector<MeshPtr> shapes; // the mesh at the same steps; empty: it keeps its shape
  bool catchesShadows = false; // the film notes the shadows on it
  std::uint32_t name = 0, asset = 0; // indices into Snapshot::names: of the object, and of its topmost parent
};

enum class LightKind : std::uint8_t { point, spot, distant, rectangle, disc };

struct SnapshotLight {
  Identity object = 0;
  LightKind kind = LightKind::point;
  // Colour times: W/sr for point and spot, along the axis for rectangle and disc; W/m^2 at normal incidence
  // for distant.
  Float3 intensity{1, 1, 1};
  Matrix toWorld;                             // shines along its -Z
  float innerCone = 0, outerCone = 0.785398f; // half angles
  float range = 0;                            // metres; 0: unlimited
  float radius = 0; // of its sphere in metres (point, spot); half angle in radians (distant); 0: hard shadows
  float width = 1, height = 1; // metres, above 0: of a rectangle; of a disc the width is its diameter
  bool shadows = true;
  std::string group; // of lights, for layers of the film; may be empty
};

struct SnapshotCamera {
  Identity object = 0;
  Matrix toWorld; // unit axes, looks along -Z
  bool orthographic = false;
  float yfov = 0.8f;             // whole vertical angle
  float ymag = 1;                // orthographic: half the height
  float fitAspect = 0;           // pictures narrower than this, width over height, keep the width instead
  float aperture = 0;            // diameter of the lens opening in metres; 0: everything is sharp
  float focusDistance = 5;       // metres along the axis
  int blades = 0;                // of the opening, from 3 on; fewer: round
  float bladeRotation = 0;       // radians, counter-clockwise as the camera sees it
  float shiftX = 0, shiftY = 0;  // of the lens, in widths and heights of the picture: to the right and up
  float znear = 0.01f, zfar = 0; // metres; zfar 0: unlimited
  std::vector<Matrix> motion;    // toWorld while the shutter is open, at even steps; empty: it stands still
};

/// The largest shift of a lens.
inline constexpr float farthestShift = 10;

/// Half the height of what the camera sees: at a distance of 1 metre, orthographic in metres. `aspect` is the
/// picture's width over its height.
float halfHeight(const SnapshotCamera& camera, float aspect);

enum class SkyKind : std::uint8_t { none, constant, gradient, picture };

struct SnapshotSky {
  SkyKind kind = SkyKind::none;
  Float3 color{0, 0, 0};   // constant; gradient: at the zenith
  Float3 horizon{0, 0, 0}; // gradient, at the horizon
  Float3 ground{0, 0, 0};  // gradient, at the nadir
  PicturePtr picture;      // latitude-longitude, linear, times color
  float rotation = 0;      // about y, radians
  bool seenByCamera = true;
  std::string group; // of lights; may be empty
};

struct Snapshot {
  std::vector<Instance> instances;
  std::vector<std::string> names{""};        // of objects
  std::vector<SurfaceMaterialPtr> materials; // never empty: 0 is the default material
  std::vector<SnapshotLight> lights;
  SnapshotCamera camera;
  SnapshotSky sky;
  std::vector<std::string> missingAssets; // missing pictures of materials in use
  std::vector<std::string> problems;      // sentences about objects left out or moved (snapshot_range.h)
  Float3 low{}, high{};                   // bounds of all instances
};
using SnapshotPtr = std::shared_ptr<const Snapshot>;

struct SnapshotOptions {
  double lod = 1;               // scales subdivision
  bool activeOnly = false;      // only selected objects and their children
  bool textures = true;         // false: bitmap shaders give their factor
  bool forEditor = false;       // leaves out objects hidden in the editor view instead of in renders
  BaseObject* camera = nullptr; // null: the render view's scene camera, else its editor camera
  BaseThread* thread = nullptr; // asked for a break
};

/// Takes a snapshot of a document that has been evaluated (`ExecutePasses`). Runs the enabled generators and
/// deformers; their results are cached by identity while their sources stay the same. A document without
/// lights, glowing materials and sky gets a default light and a soft sky. Every number is finite and in the
/// range of snapshot_range.h. Null after a break. On the document's thread.
SnapshotPtr takeSnapshot(BaseDocument& document, const SnapshotOptions& options);

} // namespace host
