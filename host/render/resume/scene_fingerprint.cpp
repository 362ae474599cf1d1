#include "scene_fingerprint.h"

#include <map>

#include "content_hash64.h"

namespace host::render {
namespace {

/// Pictures and meshes that are used several times count once, afterwards by their number.
class SceneHash {
 public:
  explicit SceneHash(const Snapshot& snapshot) {
    for (const SurfaceMaterialPtr& one : snapshot.materials)
      if (one) material(*one);
    for (const Instance& one : snapshot.instances)
      instance(one);
    for (const SnapshotLight& one : snapshot.lights)
      light(one);
    sky(snapshot.sky);
  }
  std::string text() const { return hash_.text(); }

 private:
  // True for contents that are still to come.
  bool isNew(Identity id) {
    const auto [place, fresh] = known_.try_emplace(id, known_.size());
    hash_.add(place->second);
    return fresh;
  }

  void picture(const PicturePtr& one) {
    hash_.add(one != nullptr);
    if (!one || !isNew(one->id)) return;
    hash_.add(one->bytes != nullptr);
    if (one->bytes) hash_.bytes(one->bytes->data(), one->bytes->size());
  }

  void shade(const ShadePtr& one) {
    hash_.add(one != nullptr);
    if (!one) return;
    const TextureUse& use = one->texture;
    hash_.all(one->kind, one->color, one->bias, use.colors, use.uvSet, use.offset, use.scale, use.rotation,
              use.wrapU, use.wrapV, use.nearest, one->aoDistance, one->aoDark, one->aoBright, one->mix,
              one->amount, one->children.size());
    picture(use.picture);
    for (const ShadePtr& child : one->children)
      shade(child);
  }

  void material(const SurfaceMaterial& m) {
    hash_.all(m.baseColor, m.colorOn, m.reflectionOn, m.metallic, m.roughness, m.occlusionStrength,
              m.emission, m.normalScale, m.bumpStrength, m.alphaMode, m.alphaCutoff, m.transmission, m.ior,
              m.specular, m.specularColor, m.clearcoat, m.clearcoatRoughness, m.clearcoatNormalScale);
    hash_.all(m.thickness, m.attenuationColor, m.attenuationDistance, m.dispersion, m.sheenColor,
              m.sheenRoughness, m.anisotropy, m.anisotropyRotation, m.iridescence, m.iridescenceIor,
              m.filmThin, m.filmThick, m.diffuseTransmission, m.diffuseTransmissionColor, m.doubleSided,
              m.unlit, m.lightGroup);
    for (const ShadePtr& one :
         {m.baseColorShade, m.metallicRoughnessShade, m.occlusionShade, m.emissionShade, m.normalShade,
          m.bumpShade, m.transmissionShade, m.specularShade, m.specularColorShade, m.clearcoatShade,
          m.clearcoatRoughnessShade, m.clearcoatNormalShade, m.sheenColorShade, m.sheenRoughnessShade,
          m.anisotropyShade, m.iridescenceShade, m.filmShade, m.diffuseTransmissionShade,
          m.diffuseTransmissionColorShade})
      shade(one);
  }

  void mesh(const MeshPtr& one) {
    hash_.add(one != nullptr);
    if (!one || !isNew(one->id)) return;
    hash_.all(one->positions, one->normals, one->tangents, one->uv[0], one->uv[1], one->colors,
              one->triangles);
    for (const MeshGroup& group : one->groups)
      hash_.all(group.firstTriangle, group.triangleCount);
  }

  void instance(const Instance& one) {
    mesh(one.mesh);
    hash_.all(one.toWorld, one.materials, one.seenByCamera, one.castsShadows, one.isFloor, one.catchesShadows,
              one.motion.size(), one.shapes.size());
    for (const Matrix& step : one.motion)
      hash_.add(step);
    for (const MeshPtr& shape : one.shapes)
      mesh(shape);
  }

  void light(const SnapshotLight& l) {
    hash_.all(l.kind, l.intensity, l.toWorld, l.innerCone, l.outerCone, l.range, l.radius, l.width, l.height,
              l.shadows, l.group);
  }

  void sky(const SnapshotSky& s) {
    hash_.all(s.kind, s.color, s.horizon, s.ground, s.rotation, s.seenByCamera, s.group);
    picture(s.picture);
  }

  ContentHash64 hash_;
  std::map<Identity, std::size_t> known_; // pictures and meshes
};

} // namespace

std::string sceneFingerprint(const Snapshot& snapshot) {
  return SceneHash(snapshot).text();
}

std::string cameraFingerprint(const SnapshotCamera& camera) {
  ContentHash64 hash;
  hash.all(camera.toWorld, camera.orthographic, camera.yfov, camera.ymag, camera.fitAspect, camera.aperture,
           camera.focusDistance, camera.blades, camera.bladeRotation, camera.shiftX, camera.shiftY,
           camera.znear, camera.zfar, camera.motion.size());
  for (const Matrix& step : camera.motion)
    hash.add(step);
  return hash.text();
}

} // namespace host::render
