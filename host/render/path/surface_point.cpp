#include "surface_point.h"

namespace host::render {
namespace {

float cross2(Vec2 a, Vec2 b) {
  return a.x * b.y - a.y * b.x;
}

Vec2 toVec2(const Float2& v) {
  return {v[0], v[1]};
}

/// The shading normal, leaned back towards the geometric one where it would mirror the viewer below the
/// surface and lose that light: along the outlines of coarse meshes and in steep normal maps. All are unit
/// vectors; the viewer is above the surface.
Vec3 leanBack(Vec3 normal, Vec3 geometric, Vec3 viewer) {
  const float slant = dot(viewer, geometric), least = std::min(0.9f * slant, 0.01f);
  const auto mirrored = [&](Vec3 n) { return 2 * dot(n, viewer) * dot(n, geometric) - slant; };
  if (mirrored(normal) >= least) return normal;
  Vec3 leaned = geometric;
  float low = 0,
        high = 1; // of the leaning; 1 is the geometric normal, which mirrors the viewer to its own height
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

using Corners = std::array<std::uint32_t, 3>;

// Bound of the distance between a computed point of a triangle and the triangle that a ray meets, along the
// normal. Both come from sums of products of the vertices and the placement, so each error is a few roundings
// of the largest terms (Higham 2002, "Accuracy and Stability of Numerical Algorithms", section 3.1); `vertex`
// and `normal` are absolute values. The placement's inverse, which rays are moved with, adds its own
// roundings.
float positionError(const Transform& placement, Vec3 vertex, Vec3 normal) {
  constexpr float roundings = 32 * 0x1p-24f, tilt = 0.1f; // tilt: of the triangle by roundings of its normal
  const Vec3 terms = abs(placement.v1) * vertex.x + abs(placement.v2) * vertex.y +
                     abs(placement.v3) * vertex.z + abs(placement.off);
  return roundings * (dot(normal, terms) + tilt * maxComponent(terms)) + 1e-30f;
}

void setUv(const Mesh& mesh, const Corners& c, const Hit& hit, float coneWidth, float facing, Surface& out) {
  for (std::size_t set = 0; set < 2; ++set) {
    const auto& list = mesh.uv[set];
    if (list.empty() || !out.material->readsUv[set]) {
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

void setVertexColor(const Mesh& mesh, const Corners& c, const Hit& hit, Surface& out) {
  if (mesh.colors.empty()) return;
  const Float4 &a = mesh.colors[c[0]], &b = mesh.colors[c[1]], &d = mesh.colors[c[2]];
  const float w = 1 - hit.u - hit.v;
  out.color = {a[0] * w + b[0] * hit.u + d[0] * hit.v, a[1] * w + b[1] * hit.u + d[1] * hit.v,
               a[2] * w + b[2] * hit.u + d[2] * hit.v};
  out.colorAlpha = a[3] * w + b[3] * hit.u + d[3] * hit.v;
}

/// Directions in the world along which the texture coordinates grow by one.
struct Tangents {
  Vec3 t, b;
};

// Nothing where the texture coordinates are constant.
std::optional<Tangents> uvTangents(const PlacedMesh& placed, const Hit& hit, const Surface& surface,
                                   int set) {
  const Mesh& mesh = *placed.mesh;
  const auto& list = mesh.uv[static_cast<std::size_t>(set)];
  if (list.empty()) return std::nullopt;
  const Corners& c = mesh.triangles[hit.primitive];
  const Vec2 a = toVec2(list[c[0]]), e1 = toVec2(list[c[1]]) - a, e2 = toVec2(list[c[2]]) - a;
  const float det = cross2(e1, e2);
  if (std::abs(det) < 1e-20f) return std::nullopt;
  const Tangents out{(surface.edge1 * e2.y - surface.edge2 * e1.y) / det,
                     (surface.edge2 * e1.x - surface.edge1 * e2.x) / det};
  if (!finite(out.t) || !finite(out.b)) return std::nullopt;
  return out;
}

// The axes of a normal map around the front's normal `n`: the mesh's tangents where it has them for the set,
// else from its texture coordinates.
std::optional<Tangents> mapAxes(const PlacedMesh& placed, const Hit& hit, const Surface& s, Vec3 n, int set) {
  const Mesh& mesh = *placed.mesh;
  Tangents axes;
  const CornerTangents* made = placed.tangents[static_cast<std::size_t>(set)];
  if (made || (!mesh.tangents.empty() && set == 0)) {
    const std::vector<Float4>& list = made ? made->values : mesh.tangents;
    const Corners& c = (made ? made->corners : mesh.triangles)[hit.primitive];
    const auto at = [&](std::size_t i) {
      const Float4& v = list[c[i]];
      return Vec3(v[0], v[1], v[2]);
    };
    const Vec3 local = at(0) * (1 - hit.u - hit.v) + at(1) * hit.u + at(2) * hit.v;
    const Vec3 along =
        placed.motion ? placed.toWorldAt(hit.time).vector(local) : placed.toWorld.vector(local);
    axes.t = normalize(along - n * dot(along, n));
    axes.b = cross(n, axes.t) * (list[c[0]][3] * placed.side);
  } else {
    const std::optional<Tangents> uv = uvTangents(placed, hit, s, set);
    if (!uv) return std::nullopt;
    // Texture coordinates grow downwards; the map's green channel points upwards.
    axes.t = normalize(uv->t - n * dot(uv->t, n));
    const float turn = dot(cross(n, axes.t), uv->b) < 0 ? -1.0f : 1.0f;
    axes.b = cross(n, axes.t) * -turn;
  }
  if (!(dot(axes.t, axes.t) > 0.5f)) return std::nullopt;
  return axes;
}

// The normal that a map leans from the shading normal, on the same side.
Vec3 mappedNormal(const CompiledShade& map, float scale, const PlacedMesh& placed, const Hit& hit, float side,
                  const Surface& s) {
  const Vec3 n = s.normal * side;
  const std::optional<Tangents> axes = mapAxes(placed, hit, s, n, map.use().uvSet);
  if (!axes) return s.normal;
  const Rgba v = map.at(s.point);
  const Vec3 local{(v.r * 2 - 1) * scale, (v.g * 2 - 1) * scale, std::max(0.05f, v.b * 2 - 1)};
  return normalize(axes->t * local.x + axes->b * local.y + n * local.z) * side;
}

bool hasMap(const CompiledShade& map) {
  return map.present() && !map.constant();
}

// KHR_materials_anisotropy: a direction in the picture, turned counter-clockwise from the tangent.
void setTangent(const PlacedMesh& placed, const Hit& hit, float side, Surface& s) {
  const CompiledMaterial& m = *s.material;
  const CompiledShade& map = m.anisotropy;
  const std::optional<Tangents> axes =
      mapAxes(placed, hit, s, s.normal * side, hasMap(map) ? map.use().uvSet : 0);
  if (!axes) return;
  Vec2 d{1, 0};
  if (hasMap(map)) {
    const Rgba v = map.at(s.point);
    d = {v.r * 2 - 1, v.g * 2 - 1};
  }
  const float c = std::cos(m.source->anisotropyRotation), sine = std::sin(m.source->anisotropyRotation);
  s.tangent = normalize(axes->t * (c * d.x - sine * d.y) + axes->b * (sine * d.x + c * d.y));
}

void applyBumpMap(const PlacedMesh& placed, const Hit& hit, float side, Surface& s) {
  const CompiledMaterial& m = *s.material;
  const Texture* texture = m.bump.texture();
  const TextureUse* use = texture ? &m.bump.use() : nullptr;
  const int set = use ? use->uvSet : 0;
  const std::optional<Tangents> axes = uvTangents(placed, hit, s, set);
  if (!axes) return;
  // The height's slope along the surface, from a step of about a texel.
  const auto k = static_cast<std::size_t>(set);
  const float span = use ? std::max(1e-6f, std::max(std::abs(use->scale[0]), std::abs(use->scale[1]))) : 1;
  const float texel =
      texture ? 1.0f / static_cast<float>(std::max(texture->width(), texture->height())) : 1e-3f;
  const float step = std::max(texel / span, s.point.footprint[k] * 0.5f);
  ShadePoint p = s.point;
  p.texels = ShadePoint::Texels::filtered;
  const auto height = [&](float du, float dv) {
    p.uv[k] = s.point.uv[k] + Vec2(du, dv);
    const Rgba v = m.bump.at(p);
    return luminance({v.r, v.g, v.b}) * m.source->bumpStrength;
  };
  const float hu = (height(step, 0) - height(-step, 0)) / (2 * step);
  const float hv = (height(0, step) - height(0, -step)) / (2 * step);
  const Vec3 n = s.normal * side;
  // Reciprocal vectors turn the slopes over texture coordinates into one over the surface.
  const Vec3 g = cross(axes->t, axes->b);
  const float g2 = dot(g, g);
  if (!(g2 > 0)) return;
  const Vec3 slope = (cross(axes->b, g) * hu + cross(g, axes->t) * hv) / g2;
  s.normal = normalize(n - slope) * side;
}

} // namespace

namespace {

// The triangle at the time of the hit, in the mesh's space, and the mesh's place.
struct Triangle {
  Vec3 p0, p1, p2;
  Vec3 normal; // of the corners, interpolated; null: flat
};

template <class Vertex, class Normal>
Triangle triangleOf(const PlacedMesh& placed, const Hit& hit, Vertex&& vertex, Normal&& normal) {
  const Corners& c = placed.mesh->triangles[hit.primitive];
  Triangle t{vertex(c[0]), vertex(c[1]), vertex(c[2]), {}};
  if (!placed.mesh->normals.empty())
    t.normal = normal(c[0]) * (1 - hit.u - hit.v) + normal(c[1]) * hit.u + normal(c[2]) * hit.v;
  return t;
}

Triangle triangleAt(const PlacedMesh& placed, const Hit& hit) {
  if (placed.motion)
    return triangleOf(
        placed, hit, [&](std::uint32_t i) { return placed.vertexAt(i, hit.time); },
        [&](std::uint32_t i) { return placed.normalAt(i, hit.time); });
  return triangleOf(
      placed, hit, [&](std::uint32_t i) { return placed.vertex(i); },
      [&](std::uint32_t i) { return Vec3(placed.mesh->normals[i]); });
}

} // namespace

Surface surfaceAt(const RayScene& scene, const Ray& ray, const Hit& hit, float coneWidth) {
  const PlacedMesh& placed = scene.placed(hit);
  const Mesh& mesh = *placed.mesh;
  const Corners& c = mesh.triangles[hit.primitive];
  const Triangle triangle = triangleAt(placed, hit);
  const Vec3 &p0 = triangle.p0, &p1 = triangle.p1, &p2 = triangle.p2;
  Transform moved;
  if (placed.motion) moved = placed.toWorldAt(hit.time);
  const Transform& toWorld = placed.motion ? moved : placed.toWorld;
  const Vec3 local1 = p1 - p0, local2 = p2 - p0;
  Surface out;
  out.edge1 = toWorld.vector(local1);
  out.edge2 = toWorld.vector(local2);
  out.position = toWorld.point(p0 + local1 * hit.u + local2 * hit.v);
  out.geometric = normalize(cross(out.edge1, out.edge2)) * placed.side;
  out.error =
      positionError(toWorld, componentMax(abs(p0), componentMax(abs(p1), abs(p2))), abs(out.geometric));
  out.front = dot(out.geometric, ray.direction) <= 0;
  if (!out.front) out.geometric = -out.geometric;
  out.normal = out.geometric;
  if (!mesh.normals.empty()) {
    const Vec3 n = normalize(toWorld.normal(triangle.normal));
    if (dot(n, n) > 0.5f) out.normal = dot(n, out.geometric) < 0 ? -n : n;
  }
  out.material = &scene.materialOf(placed, hit.primitive);
  setVertexColor(mesh, c, hit, out);
  out.point.position = offsetFrom(out, out.geometric);
  out.point.normal = out.geometric;
  out.point.time = hit.time;
  setUv(mesh, c, hit, coneWidth, std::abs(dot(out.geometric, ray.direction)), out);
  return out;
}

void applyNormalMaps(const RayScene& scene, const Hit& hit, Vec3 viewer, Surface& s) {
  const CompiledMaterial& m = *s.material;
  const float side = s.front ? 1.0f : -1.0f; // maps are made for the front
  const PlacedMesh& placed = scene.placed(hit);
  if (m.source->clearcoat > 0) {
    s.coatNormal = s.normal;
    if (hasMap(m.clearcoatNormal))
      s.coatNormal = mappedNormal(m.clearcoatNormal, m.source->clearcoatNormalScale, placed, hit, side, s);
    s.coatNormal = leanBack(s.coatNormal, s.geometric, viewer);
  }
  if (hasMap(m.normal)) s.normal = mappedNormal(m.normal, m.source->normalScale, placed, hit, side, s);
  if (hasMap(m.bump) && m.source->bumpStrength != 0) applyBumpMap(placed, hit, side, s);
  s.normal = leanBack(s.normal, s.geometric, viewer);
  if (m.source->anisotropy > 0) setTangent(placed, hit, side, s);
}

Vec3 emission(const Surface& s) {
  const CompiledMaterial& material = *s.material;
  if (!material.emits || (!s.front && !material.source->doubleSided)) return {};
  const Rgba e = material.emission.at(s.point);
  return Vec3(material.source->emission) * Vec3(e.r, e.g, e.b);
}

Vec3 glowRadiance(const RayScene& scene, const LightSample& sample) {
  const GlowTriangle& t = scene.lights().glow(sample.glow);
  if (t.even) return t.radiance;
  const Surface s = surfaceAt(scene, {t.a - sample.direction, sample.direction},
                              {1, sample.spot.x, sample.spot.y, t.instance, t.primitive}, 0);
  return emission(s) * alphaAt(*s.material, s.point, s.colorAlpha);
}

Vec3 offsetFrom(const Surface& s, Vec3 direction) {
  return s.position + s.geometric * (dot(direction, s.geometric) > 0 ? s.error : -s.error);
}

} // namespace host::render
