#include "same_look.h"

#include <algorithm>

#include "view_rays.h"

namespace host {

namespace {

bool same(const TextureUse& a, const TextureUse& b) {
  const auto id = [](const TextureUse& use) { return use.picture ? use.picture->id : 0; };
  return id(a) == id(b) && a.uvSet == b.uvSet && a.offset == b.offset && a.scale == b.scale &&
         a.rotation == b.rotation && a.wrapU == b.wrapU && a.wrapV == b.wrapV && a.nearest == b.nearest &&
         a.colors == b.colors;
}

bool same(const ShadePtr& a, const ShadePtr& b) {
  if (a == b) return true;
  if (!a || !b || a->children.size() != b->children.size()) return false;
  return a->kind == b->kind && a->color == b->color && a->bias == b->bias && same(a->texture, b->texture) &&
         a->aoDistance == b->aoDistance && a->aoDark == b->aoDark && a->aoBright == b->aoBright &&
         a->mix == b->mix && a->amount == b->amount &&
         std::equal(a->children.begin(), a->children.end(), b->children.begin(),
                    [](const ShadePtr& x, const ShadePtr& y) { return same(x, y); });
}

bool same(const SurfaceMaterial& a, const SurfaceMaterial& b) {
  return a.baseColor == b.baseColor && same(a.baseColorShade, b.baseColorShade) && a.colorOn == b.colorOn &&
         a.metallic == b.metallic && a.emission == b.emission && same(a.emissionShade, b.emissionShade) &&
         a.alphaMode == b.alphaMode && a.alphaCutoff == b.alphaCutoff && a.doubleSided == b.doubleSided &&
         a.unlit == b.unlit;
}

bool same(const Instance& a, const Instance& b) {
  return a.object == b.object && a.mesh == b.mesh && a.toWorld == b.toWorld && a.materials == b.materials &&
         a.seenByCamera == b.seenByCamera && a.isFloor == b.isFloor;
}

bool sameSky(const Snapshot& x, const Snapshot& y) {
  if (!showsSky(x) || !showsSky(y)) return showsSky(x) == showsSky(y);
  const SnapshotSky &a = x.sky, &b = y.sky;
  return a.kind == b.kind && a.color == b.color && a.horizon == b.horizon && a.ground == b.ground &&
         a.picture == b.picture && a.rotation == b.rotation;
}

} // namespace

bool sameLook(const Snapshot& a, const Snapshot& b) {
  return std::equal(a.instances.begin(), a.instances.end(), b.instances.begin(), b.instances.end(),
                    [](const Instance& x, const Instance& y) { return same(x, y); }) &&
         std::equal(a.materials.begin(), a.materials.end(), b.materials.begin(), b.materials.end(),
                    [](const auto& x, const auto& y) { return x == y || same(*x, *y); }) &&
         sameSky(a, b);
}

} // namespace host
