#include "snapshot.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>

#include "document.h"
#include "generated_mesh.h"
#include "light_source.h"
#include "parameters.h"
#include "snapshot_materials.h"
#include "snapshot_range.h"
#include "variants.h"

namespace host {

namespace {

Float3 floats(const Vector& v) {
  return {static_cast<float>(v.x), static_cast<float>(v.y), static_cast<float>(v.z)};
}

float number(const NodeState& node, LONG id) {
  const Real value = param::real(node, id);
  return std::isfinite(value) ? static_cast<float>(std::clamp(value, -1e30, 1e30)) : 0.0F;
}

Float3 inRange(const Vector& v) {
  const auto part = [](Real value) {
    return std::isfinite(value) ? static_cast<float>(std::clamp(value, 0.0, 1e30)) : 0.0F;
  };
  return {part(v.x), part(v.y), part(v.z)};
}

Float3 color(const NodeState& node, LONG id, Real factor = 1) {
  return inRange(param::vector(node, id) * factor);
}

Vector unitVector(const Vector& v, const Vector& otherwise) {
  const Real length = std::sqrt(Dot(v, v));
  return length > 0 && std::isfinite(length) ? v * (1 / length) : otherwise;
}

// Makes the axes orthonormal; -Z keeps its direction.
Matrix withoutScale(const Matrix& m) {
  const Vector z = unitVector(m.v3, {0, 0, 1});
  Vector y = unitVector(m.v2 - z * Dot(z, m.v2), Vector());
  if (y == Vector())
    y = unitVector(Cross(z, std::abs(z.y) < 0.9 ? Cross({0, 1, 0}, z) : Vector(1, 0, 0)), {0, 1, 0});
  return {m.off, Cross(y, z), y, z};
}

// Settings that children inherit.
struct Inherited {
  Matrix world;
  int level = 0; // of subdivision
  bool seen = true, shadows = true, catches = false;
  bool active = false;
  std::uint32_t asset = 0;            // the topmost parent's name
  const NodeState* texture = nullptr; // the tag for surfaces without a tag of their own
};

class Taker {
 public:
  Taker(const DocumentState& document, const SnapshotOptions& options)
      : document_(document), options_(options), variant_(chosenVariant(*nodeOf<BaseDocument>(&document))),
        snapshot_(std::make_shared<Snapshot>()) {}

  SnapshotPtr take() {
    snapshot_->materials.push_back(defaultMaterial());
    if (!walk(document_.children, Inherited{})) return nullptr;
    takeCamera();
    leaveSoloLights();
    keepInRange(*snapshot_, document_);
    if (snapshot_->lights.empty() && snapshot_->sky.kind == SkyKind::none && !glows_ && !silenced_)
      addDefaultLight();
    measure();
    std::sort(missing_.begin(), missing_.end());
    missing_.erase(std::unique(missing_.begin(), missing_.end()), missing_.end());
    snapshot_->missingAssets = std::move(missing_);
    return snapshot_;
  }

 private:
  bool walk(const NodeList& list, const Inherited& above);
  bool takeObject(const ObjectState& object, const Inherited& here);
  void addInstance(const ObjectState& object, MeshPtr mesh, const Inherited& here);
  int materialIndex(const NodeState* tag);
  std::uint32_t nameIndex(const NodeState& node);
  void takeLight(const ObjectState& object, const Matrix& world);
  void leaveSoloLights();
  void takeSky(const ObjectState& object);
  void takeCamera();
  void takeLens(const ObjectState& camera);
  void addDefaultLight();
  void measure();

  const DocumentState& document_;
  const SnapshotOptions& options_;
  const LONG variant_; // of materials
  std::shared_ptr<Snapshot> snapshot_;
  std::unordered_map<Identity, int> materials_;
  std::unordered_map<std::string, std::uint32_t> names_;
  std::vector<std::string> missing_;
  std::vector<SnapshotLight> solo_;
  bool glows_ = false;
  bool silenced_ = false; // by mute or solo: the scene has light of its own
};

Inherited inherit(const ObjectState& object, const Inherited& above, LONG variant) {
  Inherited here = above;
  here.world = above.world * object.local;
  here.active = above.active || (object.bits & BIT_ACTIVE) != 0;
  here.catches = above.catches || param::flag(object, param::objectShadowCatcher);
  for (const NodeState* tag = object.tags.first(); tag; tag = tag->next) {
    if (tag->type == Tcompositing) {
      here.seen = here.seen && param::flag(*tag, param::compositingSeen);
      here.shadows = here.shadows && param::flag(*tag, param::compositingShadows);
    } else if (tag->type == Ttexture && param::integer(*tag, param::textureGroup) < 0 &&
               belongsTo(*tag, variant)) {
      here.texture = tag;
    }
  }
  return here;
}

bool Taker::walk(const NodeList& list, const Inherited& above) {
  for (NodeState* node = list.first(); node; node = node->next) {
    if (options_.thread && options_.thread->TestBreak()) return false;
    const auto& object = static_cast<const ObjectState&>(*node);
    if (!param::flag(object, options_.forEditor ? param::objectVisibleEditor : param::objectVisibleRender))
      continue;
    Inherited here = inherit(object, above, variant_);
    if (&list == &document_.children) here.asset = nameIndex(object);
    if (!takeObject(object, here)) return false;
    Inherited below = here;
    below.level = levelBelow(object, above.level, options_.lod);
    if (!walk(object.children, below)) return false;
  }
  return true;
}

bool Taker::takeObject(const ObjectState& object, const Inherited& here) {
  switch (object.type) {
  case Opolygon: {
    if (!object.mesh || (options_.activeOnly && !here.active)) return true;
    MeshPtr mesh = deformedMesh(document_, object, options_.thread);
    if (mesh) mesh = subdividedMesh(mesh, here.level, options_.thread);
    if (!mesh) return false;
    if (!mesh->triangles.empty()) addInstance(object, std::move(mesh), here);
    return true;
  }
  case Ofloor:
    if (!options_.activeOnly || here.active)
      addInstance(object, floorMesh(param::real(object, param::floorSize)), here);
    return true;
  case Olight:
    takeLight(object, here.world);
    return true;
  case Osky:
    takeSky(object);
    return true;
  default:
    return true;
  }
}

void Taker::addInstance(const ObjectState& object, MeshPtr mesh, const Inherited& here) {
  Instance instance;
  instance.object = object.identity;
  instance.toWorld = here.world;
  instance.seenByCamera = here.seen;
  instance.castsShadows = here.shadows;
  instance.isFloor = object.type == Ofloor;
  instance.catchesShadows = here.catches;
  instance.name = nameIndex(object);
  instance.asset = here.asset;
  for (std::size_t group = 0; group < mesh->groups.size(); ++group) {
    const NodeState* chosen = nullptr; // the last tag that covers the group
    for (const NodeState* tag = object.tags.first(); tag; tag = tag->next) {
      const bool counts = tag->type == Ttexture && belongsTo(*tag, variant_);
      const LONG covers = counts ? param::integer(*tag, param::textureGroup) : -2;
      if (covers == -1 || (covers >= 0 && static_cast<std::size_t>(covers) == group)) chosen = tag;
    }
    instance.materials.push_back(materialIndex(chosen ? chosen : here.texture));
  }
  instance.mesh = std::move(mesh);
  if (!object.placements) {
    snapshot_->instances.push_back(std::move(instance));
    return;
  }
  for (std::size_t copy = 0; copy < object.placements->count; ++copy) {
    instance.toWorld = here.world * matrixOf(*object.placements, copy);
    snapshot_->instances.push_back(instance);
  }
}

std::uint32_t Taker::nameIndex(const NodeState& node) {
  const auto next = static_cast<std::uint32_t>(snapshot_->names.size());
  const auto [it, isNew] = names_.try_emplace(node.name.GetUTF8(), next);
  if (isNew) snapshot_->names.push_back(it->first);
  return it->second;
}

int Taker::materialIndex(const NodeState* tag) {
  const NodeState* node =
      tag ? findNode(document_, tag->data.GetBaseLink(param::textureMaterial).GetIdentity()) : nullptr;
  if (!node || node->kind != NodeKind::material) return 0;
  const auto [it, isNew] =
      materials_.try_emplace(node->identity, static_cast<int>(snapshot_->materials.size()));
  if (isNew) {
    const auto& material = static_cast<const MaterialState&>(*node);
    snapshot_->materials.push_back(resolveMaterial(material, options_.textures, missing_));
    const SurfaceMaterial& surface = *snapshot_->materials.back();
    // Only evenly glowing materials count as light: a picture may show just small lamps.
    if (surface.emission != Float3{} && !shaderIn(material, CHANNEL_LUMINANCE)) glows_ = true;
  }
  return it->second;
}

void Taker::takeLight(const ObjectState& object, const Matrix& world) {
  if (param::flag(object, param::lightMuted)) {
    silenced_ = true;
    return;
  }
  SnapshotLight light;
  light.object = object.identity;
  constexpr std::array kinds{LightKind::point, LightKind::spot, LightKind::distant, LightKind::rectangle,
                             LightKind::disc};
  const LONG kind = param::integer(object, param::lightKind);
  light.kind = kind >= 0 && kind < LONG(kinds.size()) ? kinds[static_cast<std::size_t>(kind)] : kinds[0];
  light.intensity = inRange(lightColorOf(object) * param::real(object, param::lightIntensity));
  light.toWorld = withoutScale(world);
  light.innerCone = std::clamp(number(object, param::lightInnerCone), 0.0F, 1.570796F);
  light.outerCone = std::clamp(number(object, param::lightOuterCone), light.innerCone, 1.570797F);
  light.range = std::max(number(object, param::lightRange), 0.0F);
  light.width = std::max(number(object, param::lightWidth), 1e-6F);
  light.height = std::max(number(object, param::lightHeight), 1e-6F);
  const LONG shadow = param::integer(object, param::lightShadow);
  light.shadows = shadow != 0;
  light.radius = shadow == 1 ? 0 : std::max(number(object, param::lightRadius), 0.0F);
  light.group = param::text(object, param::lightGroup).GetUTF8();
  snapshot_->lights.push_back(light);
  if (param::flag(object, param::lightSolo)) solo_.push_back(std::move(light));
}

// The sky counts as a light that is not alone; glowing surfaces stay, for they are what the picture shows.
void Taker::leaveSoloLights() {
  if (solo_.empty()) return;
  snapshot_->lights = std::move(solo_);
  snapshot_->sky = {};
}

// Only the first sky counts.
void Taker::takeSky(const ObjectState& object) {
  SnapshotSky& sky = snapshot_->sky;
  if (sky.kind != SkyKind::none) return;
  const LONG kind = param::integer(object, param::skyKind);
  if (kind == 0) return;
  sky.kind = kind == 2 ? SkyKind::gradient : kind == 3 ? SkyKind::picture : SkyKind::constant;
  const Real strength = param::real(object, param::skyStrength);
  sky.color = color(object, param::skyColor, strength);
  sky.horizon = color(object, param::skyHorizon, strength);
  sky.ground = color(object, param::skyGround, strength);
  sky.rotation = number(object, param::skyRotation);
  sky.seenByCamera = param::flag(object, param::skySeen);
  sky.group = param::text(object, param::skyGroup).GetUTF8();
  if (sky.kind != SkyKind::picture) return;
  if (options_.textures && object.picture && object.picture->bytes) {
    sky.picture = object.picture;
  } else {
    if (options_.textures && object.picture) missing_.push_back(object.picture->name);
    sky.kind = SkyKind::constant;
  }
}

void Taker::takeCamera() {
  const ObjectState* camera = stateOf(options_.camera);
  const ViewState* view = document_.renderView;
  if (!camera && view) {
    const auto* found = static_cast<const ObjectState*>(findNode(document_, view->camera));
    camera = found && found->kind == NodeKind::object && found->list ? found : view->editorCamera;
  }
  if (!camera) return;
  SnapshotCamera& to = snapshot_->camera;
  to.object = camera->identity;
  to.toWorld = withoutScale(worldOf(*camera));
  to.orthographic = param::integer(*camera, param::cameraProjection) == 1;
  to.yfov = static_cast<float>(viewAngleOf(*camera));
  to.ymag = std::max(std::abs(number(*camera, param::cameraYmag)), 1e-9F);
  to.znear = std::max(number(*camera, param::cameraNear), 0.0F);
  to.zfar = std::max(number(*camera, param::cameraFar), 0.0F);
  to.fitAspect = std::clamp(number(*camera, param::cameraFitAspect), 0.0F, 1000.0F);
  takeLens(*camera);
}

void Taker::takeLens(const ObjectState& camera) {
  SnapshotCamera& to = snapshot_->camera;
  to.aperture = std::clamp(number(camera, param::cameraAperture), 0.0F, 1e6F);
  to.focusDistance = std::clamp(number(camera, param::cameraFocusDistance), 1e-6F, 1e9F);
  to.blades = static_cast<int>(std::clamp<LONG>(param::integer(camera, param::cameraBlades), 0, 64));
  to.bladeRotation = number(camera, param::cameraBladeRotation);
  to.shiftX = std::clamp(number(camera, param::cameraShiftX), -farthestShift, farthestShift);
  to.shiftY = std::clamp(number(camera, param::cameraShiftY), -farthestShift, farthestShift);
}

// A light behind the viewer's left shoulder and a soft sky, which together expose a white wall well.
void Taker::addDefaultLight() {
  const Matrix& eye = snapshot_->camera.toWorld;
  const Vector toLight = unitVector(eye.v3 * 1.0 - eye.v1 * 0.5 + Vector(0, 0.9, 0), {0, 1, 0});
  SnapshotLight light;
  light.kind = LightKind::distant;
  light.intensity = {1.9F, 1.85F, 1.75F};
  light.toWorld = withoutScale({Vector(), Vector(), Vector(0, 1, 0), toLight});
  light.radius = 0.03F;
  snapshot_->lights.push_back(light);
  SnapshotSky& sky = snapshot_->sky;
  sky.kind = SkyKind::gradient;
  sky.color = {0.36F, 0.42F, 0.52F};
  sky.horizon = {0.52F, 0.53F, 0.54F};
  sky.ground = {0.20F, 0.19F, 0.18F};
}

void grow(Snapshot& snapshot, const Vector& point, bool& first) {
  const Float3 p = floats(point);
  for (std::size_t axis = 0; axis < 3; ++axis) {
    snapshot.low[axis] = first ? p[axis] : std::min(snapshot.low[axis], p[axis]);
    snapshot.high[axis] = first ? p[axis] : std::max(snapshot.high[axis], p[axis]);
  }
  first = false;
}

void Taker::measure() {
  bool first = true;
  for (const Instance& instance : snapshot_->instances) {
    const Mesh& mesh = *instance.mesh;
    for (int corner = 0; corner < 8; ++corner)
      grow(*snapshot_,
           instance.toWorld * Vector(corner & 1 ? mesh.high[0] : mesh.low[0],
                                     corner & 2 ? mesh.high[1] : mesh.low[1],
                                     corner & 4 ? mesh.high[2] : mesh.low[2]),
           first);
  }
}

} // namespace

float halfHeight(const SnapshotCamera& camera, float aspect) {
  if (camera.orthographic) return std::max(1e-6F, std::abs(camera.ymag));
  const float half = std::tan(std::clamp(camera.yfov, 1e-4F, 3.1406F) / 2);
  return aspect > 0 && aspect < camera.fitAspect ? half * camera.fitAspect / aspect : half;
}

SnapshotPtr takeSnapshot(BaseDocument& document, const SnapshotOptions& options) {
  const DocumentState& state = *stateOf(&document);
  const std::lock_guard lock(state.mutex);
  return Taker(state, options).take();
}

} // namespace host
