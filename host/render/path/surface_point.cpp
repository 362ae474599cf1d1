// From a hit to a surface point: normals, texture coordinates, normal and bump maps.
#include "ray_scene.h"

namespace host::render {
namespace {

template <class T>
Vec3 interpolate(const std::vector<T>& list, const std::array<std::uint32_t, 3>& c, float u, float v) {
  return Vec3(list[c[0]]) * (1 - u - v) + Vec3(list[c[1]]) * u + Vec3(list[c[2]]) * v;
}

float cross2(Vec2 a, Vec2 b) {
  return a.x * b.y - a.y * b.x;
}

Vec2 toVec2(const Float2& v) {
  return {v[0], v[1]};
}

/// The shading normal, or where it would mirror the viewer below the surface, whose light is lost, one that
/// leans back towards the surface's own until the mirror image stands above it. That happens along the
/// outlines of coarse meshes and in steep normal maps. All are unit vectors, the viewer above the surface.
Vec3 leanBack(Vec3 normal, Vec3 geometric, Vec3 viewer) {
  const float slant = dot(viewer, geometric), least = std::min(0.9f * slant, 0.01f);
  const auto mirrored = [&](Vec3 n) { return 2 * dot(n, viewer) * dot(n, geometric) - slant; };
  if (mirrored(normal) >= least) return normal;
  Vec3 leaned = geometric;
  float low = 0, high = 1; // how far; the surface's own normal mirrors the viewer to the height that it has
  for (int i = 0; i < 6; ++i) {
    const float middle = 0.5f * (low + high);
    const Vec3 n = normalize(normal * (1 - middle) + geometric * middle);
    if (mirrored(n) >= least)
      leaned = n, high = middle;
    else
      low = middle;
  }
  return leaned;
}

} // namespace

void RayScene::surfaceAt(const Ray& ray, const Hit& hit, float coneWidth, Surface& out) const {
  const Item& item = items_[hit.instance];
  const Mesh& mesh = *item.mesh;
  const auto& c = mesh.triangles[hit.primitive];
  const Vec3 p0 = mesh.positions[c[0]];
  const Vec3 local1 = Vec3(mesh.positions[c[1]]) - p0, local2 = Vec3(mesh.positions[c[2]]) - p0;
  out.edge1 = item.toWorld.vector(local1);
  out.edge2 = item.toWorld.vector(local2);
  out.position = item.toWorld.point(p0 + local1 * hit.u + local2 * hit.v);
  out.geometric = normalize(cross(out.edge1, out.edge2)) * item.side;
  out.front = dot(out.geometric, ray.direction) <= 0;
  if (!out.front) out.geometric = -out.geometric;
  out.normal = out.geometric;
  if (!mesh.normals.empty()) {
    const Vec3 n = normalize(item.toWorld.normal(interpolate(mesh.normals, c, hit.u, hit.v)));
    if (dot(n, n) > 0.5f) out.normal = dot(n, out.geometric) < 0 ? -n : n;
  }
  out.material = &materialOf(item, hit.primitive);
  out.color = Vec3(1.0f);
  out.colorAlpha = 1;
  if (!mesh.colors.empty()) {
    const Float4 &a = mesh.colors[c[0]], &b = mesh.colors[c[1]], &d = mesh.colors[c[2]];
    const float w = 1 - hit.u - hit.v;
    out.color = {a[0] * w + b[0] * hit.u + d[0] * hit.v, a[1] * w + b[1] * hit.u + d[1] * hit.v,
                 a[2] * w + b[2] * hit.u + d[2] * hit.v};
    out.colorAlpha = a[3] * w + b[3] * hit.u + d[3] * hit.v;
  }
  out.point.position = out.position;
  out.point.normal = out.geometric;
  setUv(item, c, hit, coneWidth, std::abs(dot(out.geometric, ray.direction)), out);
}

void RayScene::setUv(const Item& item, const std::array<std::uint32_t, 3>& c, const Hit& hit, float coneWidth,
                     float facing, Surface& out) const {
  for (std::size_t set = 0; set < 2; ++set) {
    const auto& list = item.mesh->uv[set];
    if (list.empty()) {
      out.point.uv[set] = {};
      out.point.footprint[set] = 0;
      continue;
    }
    const Vec2 a = toVec2(list[c[0]]), e1 = toVec2(list[c[1]]) - a, e2 = toVec2(list[c[2]]) - a;
    out.point.uv[set] = a + e1 * hit.u + e2 * hit.v;
    out.point.footprint[set] = 0;
    if (coneWidth <= 0) continue;
    const float world = length(cross(out.edge1, out.edge2));
    // The footprint is longer than wide on a slanted surface: the geometric mean of both.
    if (world > 0)
      out.point.footprint[set] =
          coneWidth * std::sqrt(std::abs(cross2(e1, e2)) / (world * std::max(0.1f, facing)));
  }
}

// The directions in which the texture coordinates grow by one, in the world; false when they stand still.
bool RayScene::tangents(const Hit& hit, const Surface& surface, const TextureUse* use, int set, Vec3& t,
                        Vec3& b) const {
  const Mesh& mesh = *items_[hit.instance].mesh;
  const auto& list = mesh.uv[static_cast<std::size_t>(set)];
  if (list.empty()) return false;
  const auto& c = mesh.triangles[hit.primitive];
  const Vec2 a = toVec2(list[c[0]]);
  Vec2 e1 = toVec2(list[c[1]]) - a, e2 = toVec2(list[c[2]]) - a;
  if (use && (use->rotation != 0 || use->scale != Float2{1, 1})) {
    const Vec2 zero = transformUv(*use, {});
    e1 = transformUv(*use, e1) - zero;
    e2 = transformUv(*use, e2) - zero;
  }
  const float det = cross2(e1, e2);
  if (std::abs(det) < 1e-20f) return false;
  t = (surface.edge1 * e2.y - surface.edge2 * e1.y) / det;
  b = (surface.edge2 * e1.x - surface.edge1 * e2.x) / det;
  return finite(t) && finite(b);
}

void RayScene::applyNormalMaps(const Hit& hit, Vec3 viewer, Surface& s) const {
  const CompiledMaterial& m = *s.material;
  const float side = s.front ? 1.0f : -1.0f; // maps are made for the front
  Vec3 t, b;
  if (m.normal.present() && !m.normal.constant()) {
    const Mesh& mesh = *items_[hit.instance].mesh;
    const int set = m.normal.use().uvSet;
    const Vec3 n = s.normal * side;
    bool known = false;
    if (!mesh.tangents.empty() && set == 0) {
      const auto& c = mesh.triangles[hit.primitive];
      const auto at = [&](std::size_t i) {
        const Float4& v = mesh.tangents[c[i]];
        return Vec3(v[0], v[1], v[2]);
      };
      t = items_[hit.instance].toWorld.vector(at(0) * (1 - hit.u - hit.v) + at(1) * hit.u + at(2) * hit.v);
      t = normalize(t - n * dot(t, n));
      b = cross(n, t) * (mesh.tangents[c[0]][3] * items_[hit.instance].side);
      known = dot(t, t) > 0.5f;
    } else if (tangents(hit, s, nullptr, set, t, b)) {
      // Texture coordinates grow downwards in a picture, the map's green grows upwards.
      const Vec3 across = normalize(t - n * dot(t, n));
      const float turn = dot(cross(n, across), b) < 0 ? -1.0f : 1.0f;
      t = across;
      b = cross(n, across) * -turn;
      known = dot(t, t) > 0.5f;
    }
    if (known) {
      const Rgba v = m.normal.at(s.point);
      const float scale = m.source->normalScale;
      const Vec3 local{(v.r * 2 - 1) * scale, (v.g * 2 - 1) * scale, std::max(0.05f, v.b * 2 - 1)};
      s.normal = normalize(t * local.x + b * local.y + n * local.z) * side;
    }
  }
  if (m.bump.present() && !m.bump.constant() && m.source->bumpStrength != 0) {
    const Texture* texture = m.bump.texture();
    const TextureUse* use = texture ? &m.bump.use() : nullptr;
    const int set = use ? use->uvSet : 0;
    if (tangents(hit, s, nullptr, set, t, b)) {
      // The height's slope along the surface, from a step of about a texel.
      const auto k = static_cast<std::size_t>(set);
      const float span =
          use ? std::max(1e-6f, std::max(std::abs(use->scale[0]), std::abs(use->scale[1]))) : 1;
      const float texel =
          texture ? 1.0f / static_cast<float>(std::max(texture->width(), texture->height())) : 1e-3f;
      const float step = std::max(texel / span, s.point.footprint[k] * 0.5f);
      ShadePoint p = s.point;
      const auto height = [&](float du, float dv) {
        p.uv[k] = s.point.uv[k] + Vec2(du, dv);
        const Rgba v = m.bump.at(p);
        return luminance({v.r, v.g, v.b}) * m.source->bumpStrength;
      };
      const float hu = (height(step, 0) - height(-step, 0)) / (2 * step);
      const float hv = (height(0, step) - height(0, -step)) / (2 * step);
      const Vec3 n = s.normal * side;
      // Reciprocal vectors turn the slopes over texture coordinates into one over the surface.
      const Vec3 g = cross(t, b);
      const float g2 = dot(g, g);
      if (g2 > 0) {
        const Vec3 slope = (cross(b, g) * hu + cross(g, t) * hv) / g2;
        s.normal = normalize(n - slope) * side;
      }
    }
  }
  s.normal = leanBack(s.normal, s.geometric, viewer);
}

} // namespace host::render
