#include "link_mesh.h"

#include <algorithm>
#include <numeric>

#include "link_blocks.h"
#include "mesh_tools.h"

namespace host {

namespace {

using Triangle = std::array<std::uint32_t, 3>;
constexpr std::uint32_t none = 0xffffffff;

// The corners of all triangles, each with the vertex that it stands on.
struct Corners {
  std::vector<std::uint32_t> vertex;
  std::vector<Triangle> triangles; // of corners; empty: three corners after another
  std::vector<std::uint32_t>
      faceStart; // the first triangle of each face, and the end; empty: faces are triangles

  std::size_t triangleCount() const { return triangles.empty() ? vertex.size() / 3 : triangles.size(); }
  std::uint32_t at(std::size_t triangle, std::size_t k) const {
    return triangles.empty() ? static_cast<std::uint32_t>(3 * triangle + k) : triangles[triangle][k];
  }
};

void checkVertices(const std::vector<std::uint32_t>& list, std::size_t count, const char* block) {
  for (const std::uint32_t vertex : list)
    if (vertex >= count)
      throw LinkError("The block \"" + std::string(block) + "\" names vertex " + std::to_string(vertex) +
                      " of " + std::to_string(count) + ".");
}

Corners readFaces(const LinkBlocks& blocks, const std::vector<Float3>& positions) {
  Corners corners;
  const auto sizes = blocks.read<std::uint32_t>("face_sizes");
  corners.vertex = blocks.read<std::uint32_t>("face_vertices");
  checkVertices(corners.vertex, positions.size(), "face_vertices");
  std::uint64_t sum = 0;
  for (const std::uint32_t size : sizes)
    sum += size;
  if (sum != corners.vertex.size())
    throw LinkError("The sum of \"face_sizes\" is " + std::to_string(sum) + ", but \"face_vertices\" has " +
                    std::to_string(corners.vertex.size()) + " entries.");
  std::uint32_t first = 0;
  std::vector<Float3> points;
  std::vector<Triangle> cut;
  for (const std::uint32_t size : sizes) {
    corners.faceStart.push_back(static_cast<std::uint32_t>(corners.triangles.size()));
    points.clear();
    cut.clear();
    for (std::uint32_t k = 0; k < size; ++k)
      points.push_back(positions[corners.vertex[first + k]]);
    cutPolygon(points, cut);
    for (const Triangle& triangle : cut)
      corners.triangles.push_back({first + triangle[0], first + triangle[1], first + triangle[2]});
    first += size;
  }
  corners.faceStart.push_back(static_cast<std::uint32_t>(corners.triangles.size()));
  if (corners.triangles.empty()) corners.vertex.clear();
  return corners;
}

Corners readCorners(const LinkBlocks& blocks, const std::vector<Float3>& positions) {
  if (!blocks.has("indices")) return readFaces(blocks, positions);
  Corners corners;
  const auto triangles = blocks.read<Triangle>("indices");
  corners.vertex.resize(triangles.size() * 3);
  if (!triangles.empty()) std::memcpy(corners.vertex.data(), triangles.data(), triangles.size() * 12);
  checkVertices(corners.vertex, positions.size(), "indices");
  return corners;
}

// Values of vertices or of corners, which `take` copies from.
struct Attribute {
  const float* values = nullptr;
  std::size_t width = 0;
  bool perCorner = false;
};

template <std::size_t N>
void addAttribute(std::vector<Attribute>& list, const std::vector<std::array<float, N>>& values,
                  const char* name, const Json& perCorner, std::size_t vertices, std::size_t corners) {
  if (values.empty()) return;
  const bool corner = std::find(perCorner.begin(), perCorner.end(), name) != perCorner.end();
  const std::size_t wanted = corner ? corners : vertices;
  if (values.size() != wanted)
    throw LinkError("The block \"" + std::string(name) + "\" has " + std::to_string(values.size()) +
                    " entries; the mesh has " + std::to_string(wanted) +
                    (corner ? " corners." : " vertices."));
  list.push_back({values.front().data(), N, corner});
}

// Gives corners that stand on one vertex but differ in their values vertices of their own.
class Splitter {
 public:
  Splitter(const std::vector<std::uint32_t>& cornerVertex, std::vector<Attribute> attributes,
           std::size_t vertices)
      : cornerVertex_(cornerVertex), attributes_(std::move(attributes)), first_(vertices, none) {
    std::erase_if(attributes_, [](const Attribute& attribute) { return !attribute.perCorner; });
  }

  std::uint32_t vertexOf(std::uint32_t corner) {
    std::uint32_t* link = &first_[cornerVertex_[corner]];
    while (*link != none) {
      if (same(corner_[*link], corner)) return *link;
      link = &next_[*link];
    }
    const auto made = static_cast<std::uint32_t>(corner_.size());
    *link = made;
    corner_.push_back(corner);
    next_.push_back(none);
    return made;
  }

  /// The values of the new vertices.
  template <std::size_t N>
  std::vector<std::array<float, N>> take(const std::vector<std::array<float, N>>& from,
                                         bool perCorner) const {
    std::vector<std::array<float, N>> to;
    if (from.empty()) return to;
    to.reserve(corner_.size());
    for (const std::uint32_t corner : corner_)
      to.push_back(from[perCorner ? corner : cornerVertex_[corner]]);
    return to;
  }

 private:
  bool same(std::uint32_t a, std::uint32_t b) const {
    return std::all_of(attributes_.begin(), attributes_.end(), [&](const Attribute& attribute) {
      const float *x = attribute.values + a * attribute.width, *y = attribute.values + b * attribute.width;
      return std::equal(x, x + attribute.width, y);
    });
  }

  const std::vector<std::uint32_t>& cornerVertex_;
  std::vector<Attribute> attributes_;
  std::vector<std::uint32_t> first_, next_, corner_;
};

void setGroups(Mesh& mesh, const LinkBlocks& blocks, const Corners& corners) {
  const auto ranges = blocks.read<std::array<std::uint32_t, 2>>("groups");
  const std::size_t faces =
      corners.faceStart.empty() ? corners.triangleCount() : corners.faceStart.size() - 1;
  if (ranges.empty()) {
    mesh.groups = {{0, static_cast<std::uint32_t>(mesh.triangles.size())}};
    return;
  }
  std::uint64_t next = 0;
  for (const auto& [first, count] : ranges) {
    if (first != next || first + std::uint64_t{count} > faces)
      throw LinkError("The groups do not cover the faces one after another.",
                      "Sort the faces by material and give each group its first face and count.");
    next += count;
    const std::uint32_t begin = corners.faceStart.empty() ? first : corners.faceStart[first];
    const std::uint32_t end = corners.faceStart.empty() ? first + count : corners.faceStart[first + count];
    mesh.groups.push_back({begin, end - begin});
  }
  if (next != faces) throw LinkError("The groups end before the last face.");
}

struct Source {
  std::vector<Float3> positions, normals;
  std::vector<Float2> uv0, uv1;
  std::vector<Float4> colors;
  bool corner(const Json& list, const char* name) const {
    return std::find(list.begin(), list.end(), name) != list.end();
  }
};

void split(Mesh& mesh, Source&& from, const Corners& corners, const Json& perCorner,
           const std::vector<Attribute>& attributes) {
  Splitter splitter(corners.vertex, attributes, from.positions.size());
  for (std::size_t i = 0; i < corners.triangleCount(); ++i) {
    Triangle triangle;
    for (std::size_t k = 0; k < 3; ++k)
      triangle[k] = splitter.vertexOf(corners.at(i, k));
    mesh.triangles.push_back(triangle);
  }
  mesh.positions = splitter.take(from.positions, false);
  mesh.normals = splitter.take(from.normals, from.corner(perCorner, "normals"));
  mesh.uv[0] = splitter.take(from.uv0, from.corner(perCorner, "uv0"));
  mesh.uv[1] = splitter.take(from.uv1, from.corner(perCorner, "uv1"));
  mesh.colors = splitter.take(from.colors, from.corner(perCorner, "colors"));
}

void takeOver(Mesh& mesh, Source&& from, const Corners& corners) {
  for (std::size_t i = 0; i < corners.triangleCount(); ++i)
    mesh.triangles.push_back({corners.vertex[corners.at(i, 0)], corners.vertex[corners.at(i, 1)],
                              corners.vertex[corners.at(i, 2)]});
  mesh.positions = std::move(from.positions);
  mesh.normals = std::move(from.normals);
  mesh.uv = {std::move(from.uv0), std::move(from.uv1)};
  mesh.colors = std::move(from.colors);
}

} // namespace

MeshPtr readLinkMesh(const LinkFrame& frame) {
  const LinkBlocks blocks(frame);
  Source from;
  from.positions = blocks.read<Float3>("positions");
  from.normals = blocks.read<Float3>("normals");
  from.uv0 = blocks.read<Float2>("uv0");
  from.uv1 = blocks.read<Float2>("uv1");
  from.colors = blocks.read<Float4>("colors");
  for (Float3& normal : from.normals)
    normal = unit(normal, {0, 1, 0});
  const Corners corners = readCorners(blocks, from.positions);
  const Json& named = member(frame.json, "corners");
  static const Json nothing = Json::array();
  const Json& perCorner = named.is_array() ? named : nothing;
  const std::size_t vertices = from.positions.size(), count = corners.vertex.size();
  std::vector<Attribute> attributes;
  addAttribute(attributes, from.normals, "normals", perCorner, vertices, count);
  addAttribute(attributes, from.uv0, "uv0", perCorner, vertices, count);
  addAttribute(attributes, from.uv1, "uv1", perCorner, vertices, count);
  addAttribute(attributes, from.colors, "colors", perCorner, vertices, count);
  const bool splits = std::any_of(attributes.begin(), attributes.end(),
                                  [](const Attribute& attribute) { return attribute.perCorner; });
  auto mesh = std::make_shared<Mesh>();
  mesh->triangles.reserve(corners.triangleCount());
  splits ? split(*mesh, std::move(from), corners, perCorner, attributes)
         : takeOver(*mesh, std::move(from), corners);
  setGroups(*mesh, blocks, corners);
  setBounds(*mesh);
  return mesh;
}

} // namespace host
