#include "subdivide.h"

#include <opensubdiv/far/primvarRefiner.h>
#include <opensubdiv/far/topologyDescriptor.h>
#include <opensubdiv/far/topologyRefinerFactory.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <unordered_map>

#include "mesh_tools.h"

namespace host {

namespace {

namespace Far = OpenSubdiv::Far;
namespace Sdc = OpenSubdiv::Sdc;

constexpr std::size_t mostTriangles = 32'000'000;

template <std::size_t N>
struct ArrayHash {
  std::size_t operator()(const std::array<std::uint32_t, N>& key) const noexcept {
    std::uint64_t hash = 0xcbf29ce484222325ULL;
    for (const std::uint32_t word : key)
      hash = (hash ^ word) * 0x100000001b3ULL;
    return static_cast<std::size_t>(hash ^ (hash >> 29));
  }
};

std::uint32_t bitsOf(float value) {
  return std::bit_cast<std::uint32_t>(value == 0 ? 0.0F : value); // both zeros are the same place
}

// A face of the cage: three or four corners, as vertices of the mesh.
struct Face {
  std::array<std::uint32_t, 4> corner{};
  int count = 3;
  std::uint32_t group = 0;
};

// The control mesh: `point` and `attribute` number the places and seam values of the vertices.
struct Cage {
  std::vector<Face> faces;
  std::vector<std::uint32_t> point, attribute;
  std::vector<std::uint32_t> pointVertex, attributeVertex; // one vertex for each number
};

template <std::size_t N, class KeyOf>
void weld(std::size_t count, const KeyOf& keyOf, std::vector<std::uint32_t>& number,
          std::vector<std::uint32_t>& example) {
  std::unordered_map<std::array<std::uint32_t, N>, std::uint32_t, ArrayHash<N>> seen;
  seen.reserve(count);
  number.resize(count);
  for (std::uint32_t vertex = 0; vertex < count; ++vertex) {
    const auto [it, isNew] = seen.try_emplace(keyOf(vertex), static_cast<std::uint32_t>(example.size()));
    if (isNew) example.push_back(vertex);
    number[vertex] = it->second;
  }
}

void weldVertices(const Mesh& mesh, Cage& cage) {
  const std::size_t count = mesh.positions.size();
  weld<3>(
      count,
      [&](std::uint32_t v) {
        const Float3& p = mesh.positions[v];
        return std::array<std::uint32_t, 3>{bitsOf(p[0]), bitsOf(p[1]), bitsOf(p[2])};
      },
      cage.point, cage.pointVertex);
  weld<9>(
      count,
      [&](std::uint32_t v) {
        std::array<std::uint32_t, 9> key{cage.point[v]};
        for (std::size_t set = 0; set < 2; ++set)
          if (!mesh.uv[set].empty())
            key[1 + 2 * set] = bitsOf(mesh.uv[set][v][0]), key[2 + 2 * set] = bitsOf(mesh.uv[set][v][1]);
        for (std::size_t i = 0; i < 4 && !mesh.colors.empty(); ++i)
          key[5 + i] = bitsOf(mesh.colors[v][i]);
        return key;
      },
      cage.attribute, cage.attributeVertex);
}

float dot(const Float3& a, const Float3& b) {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

// Two consecutive triangles that share an edge and bend little are the halves of a quad.
bool joinQuad(const Mesh& mesh, const std::array<std::uint32_t, 3>& a, const std::array<std::uint32_t, 3>& b,
              Face& quad) {
  for (std::size_t i = 0; i < 3; ++i) {
    for (std::size_t j = 0; j < 3; ++j) {
      // the edge i, i+1 of a runs backwards in b
      if (a[i] != b[(j + 1) % 3] || a[(i + 1) % 3] != b[j]) continue;
      const std::uint32_t first = a[(i + 2) % 3], second = b[(j + 2) % 3];
      if (first == second) return false;
      quad.corner = {a[i], second, a[(i + 1) % 3], first};
      quad.count = 4;
      const auto corner = [&](std::size_t k) { return mesh.positions[quad.corner[k % 4]]; };
      Float3 turn[4];
      for (std::size_t k = 0; k < 4; ++k)
        turn[k] = unit(cross(minus(corner(k + 1), corner(k)), minus(corner(k + 3), corner(k))), {0, 0, 0});
      for (std::size_t k = 0; k < 4; ++k)
        if (dot(turn[k], turn[(k + 1) % 4]) < 0.5F || dot(turn[k], turn[(k + 2) % 4]) < 0.5F) return false;
      return true;
    }
  }
  return false;
}

bool isDegenerate(const Cage& cage, const std::array<std::uint32_t, 3>& t) {
  const auto [a, b, c] = std::array{cage.point[t[0]], cage.point[t[1]], cage.point[t[2]]};
  return a == b || b == c || a == c;
}

Cage buildCage(const Mesh& mesh) {
  Cage cage;
  weldVertices(mesh, cage);
  for (std::uint32_t group = 0; group < mesh.groups.size(); ++group) {
    const std::size_t end = mesh.groups[group].firstTriangle + mesh.groups[group].triangleCount;
    for (std::size_t t = mesh.groups[group].firstTriangle; t < end; ++t) {
      const auto& triangle = mesh.triangles[t];
      if (isDegenerate(cage, triangle)) continue;
      Face face;
      if (t + 1 < end && !isDegenerate(cage, mesh.triangles[t + 1]) &&
          joinQuad(mesh, triangle, mesh.triangles[t + 1], face)) {
        ++t;
      } else {
        face.corner = {triangle[0], triangle[1], triangle[2], 0};
        face.count = 3;
      }
      face.group = group;
      cage.faces.push_back(face);
    }
  }
  return cage;
}

std::unique_ptr<Far::TopologyRefiner> buildRefiner(const Cage& cage) {
  std::vector<int> counts, points, attributes;
  for (const Face& face : cage.faces) {
    counts.push_back(face.count);
    for (int i = 0; i < face.count; ++i) {
      points.push_back(static_cast<int>(cage.point[face.corner[static_cast<std::size_t>(i)]]));
      attributes.push_back(static_cast<int>(cage.attribute[face.corner[static_cast<std::size_t>(i)]]));
    }
  }
  using Descriptor = Far::TopologyDescriptor;
  Descriptor::FVarChannel channel;
  channel.numValues = static_cast<int>(cage.attributeVertex.size());
  channel.valueIndices = attributes.data();
  Descriptor descriptor;
  descriptor.numVertices = static_cast<int>(cage.pointVertex.size());
  descriptor.numFaces = static_cast<int>(cage.faces.size());
  descriptor.numVertsPerFace = counts.data();
  descriptor.vertIndicesPerFace = points.data();
  descriptor.numFVarChannels = 1;
  descriptor.fvarChannels = &channel;
  Sdc::Options options;
  options.SetVtxBoundaryInterpolation(Sdc::Options::VTX_BOUNDARY_EDGE_ONLY);
  options.SetFVarLinearInterpolation(Sdc::Options::FVAR_LINEAR_CORNERS_ONLY);
  using Factory = Far::TopologyRefinerFactory<Descriptor>;
  return std::unique_ptr<Far::TopologyRefiner>(
      Factory::Create(descriptor, Factory::Options(Sdc::SCHEME_CATMARK, options)));
}

// Numbers that the refiner interpolates.
template <std::size_t N>
struct Mixed {
  std::array<float, N> value{};
  void Clear(void* = nullptr) { value.fill(0); }
  void AddWithWeight(const Mixed& source, float weight) {
    for (std::size_t i = 0; i < N; ++i)
      value[i] += weight * source.value[i];
  }
};
using Place = Mixed<3>;
using Attribute = Mixed<8>; // two coordinates, two coordinates, colour

std::vector<Place> cagePlaces(const Mesh& mesh, const Cage& cage) {
  std::vector<Place> places(cage.pointVertex.size());
  for (std::size_t i = 0; i < places.size(); ++i)
    places[i].value = mesh.positions[cage.pointVertex[i]];
  return places;
}

std::vector<Attribute> cageAttributes(const Mesh& mesh, const Cage& cage) {
  std::vector<Attribute> attributes(cage.attributeVertex.size());
  for (std::size_t i = 0; i < attributes.size(); ++i) {
    const std::uint32_t v = cage.attributeVertex[i];
    auto& value = attributes[i].value;
    for (std::size_t set = 0; set < 2; ++set)
      if (!mesh.uv[set].empty())
        std::copy_n(mesh.uv[set][v].begin(), 2, value.begin() + static_cast<long>(2 * set));
    if (!mesh.colors.empty()) std::copy_n(mesh.colors[v].begin(), 4, value.begin() + 4);
  }
  return attributes;
}

struct Refined {
  std::vector<Place> places;
  std::vector<Attribute> attributes;
  std::vector<std::uint32_t> groups; // of each face of the last level
};

// Refines level by level; false after a break.
bool refine(Far::TopologyRefiner& refiner, int levels, Refined& data, const BaseThread* thread) {
  const Far::PrimvarRefiner mixer(refiner);
  for (int level = 1; level <= levels; ++level) {
    if (thread && thread->TestBreak()) return false;
    const Far::TopologyLevel& now = refiner.GetLevel(level);
    std::vector<Place> places(static_cast<std::size_t>(now.GetNumVertices()));
    mixer.Interpolate(level, data.places, places);
    data.places.swap(places);
    std::vector<Attribute> attributes(static_cast<std::size_t>(now.GetNumFVarValues(0)));
    mixer.InterpolateFaceVarying(level, data.attributes, attributes, 0);
    data.attributes.swap(attributes);
    std::vector<std::uint32_t> groups(static_cast<std::size_t>(now.GetNumFaces()));
    for (int face = 0; face < now.GetNumFaces(); ++face)
      groups[static_cast<std::size_t>(face)] =
          data.groups[static_cast<std::size_t>(now.GetFaceParentFace(face))];
    data.groups.swap(groups);
  }
  return true;
}

// Writes the last level's quads as triangles, group by group.
class Writer {
 public:
  Writer(const Mesh& source, const Refined& data, const Far::TopologyLevel& level)
      : source_(source), data_(data), level_(level), mesh_(std::make_shared<Mesh>()) {}

  MeshPtr write() {
    const auto faces = static_cast<std::size_t>(level_.GetNumFaces());
    mesh_->triangles.reserve(2 * faces);
    for (std::uint32_t group = 0; group < source_.groups.size(); ++group) {
      MeshGroup run{static_cast<std::uint32_t>(mesh_->triangles.size()), 0};
      for (std::size_t face = 0; face < faces; ++face)
        if (data_.groups[face] == group) addFace(static_cast<int>(face));
      run.triangleCount = static_cast<std::uint32_t>(mesh_->triangles.size()) - run.firstTriangle;
      mesh_->groups.push_back(run);
    }
    mesh_->normals = smoothNormals(*mesh_, &point_);
    setBounds(*mesh_);
    return mesh_;
  }

 private:
  void addFace(int face) {
    const auto points = level_.GetFaceVertices(face);
    const auto values = level_.GetFaceFVarValues(face, 0);
    std::array<std::uint32_t, 4> corner{};
    for (int i = 0; i < 4; ++i)
      corner[static_cast<std::size_t>(i)] = vertex(points[i], values[i]);
    mesh_->triangles.push_back({corner[0], corner[1], corner[2]});
    mesh_->triangles.push_back({corner[0], corner[2], corner[3]});
  }

  std::uint32_t vertex(int point, int value) {
    const std::array<std::uint32_t, 2> key{static_cast<std::uint32_t>(point),
                                           static_cast<std::uint32_t>(value)};
    const auto next = static_cast<std::uint32_t>(mesh_->positions.size());
    const auto [it, isNew] = vertices_.try_emplace(key, next);
    if (!isNew) return it->second;
    mesh_->positions.push_back(data_.places[static_cast<std::size_t>(point)].value);
    const auto& a = data_.attributes[static_cast<std::size_t>(value)].value;
    for (std::size_t set = 0; set < 2; ++set)
      if (!source_.uv[set].empty()) mesh_->uv[set].push_back({a[2 * set], a[2 * set + 1]});
    if (!source_.colors.empty()) mesh_->colors.push_back({a[4], a[5], a[6], a[7]});
    // The first vertex at a point represents it.
    point_.push_back(first_.try_emplace(key[0], next).first->second);
    return next;
  }

  const Mesh& source_;
  const Refined& data_;
  const Far::TopologyLevel& level_;
  std::shared_ptr<Mesh> mesh_;
  std::vector<std::uint32_t> point_;
  std::unordered_map<std::array<std::uint32_t, 2>, std::uint32_t, ArrayHash<2>> vertices_;
  std::unordered_map<std::uint32_t, std::uint32_t> first_;
};

int affordable(std::size_t faces, int level) {
  while (level > 0 && faces * 4 * 2 > (mostTriangles >> (2 * (level - 1))))
    --level;
  return level;
}

} // namespace

MeshPtr subdivide(const MeshPtr& mesh, int level, const BaseThread* thread) {
  if (level <= 0 || mesh->triangles.empty()) return mesh;
  const Cage cage = buildCage(*mesh);
  level = affordable(cage.faces.size(), std::min(level, 6));
  if (level == 0 || cage.faces.empty()) return mesh;
  if (thread && thread->TestBreak()) return nullptr;
  const auto refiner = buildRefiner(cage);
  if (!refiner) return mesh;
  Far::TopologyRefiner::UniformOptions options(level);
  options.fullTopologyInLastLevel = false;
  refiner->RefineUniform(options);

  Refined data;
  data.places = cagePlaces(*mesh, cage);
  data.attributes = cageAttributes(*mesh, cage);
  for (const Face& face : cage.faces)
    data.groups.push_back(face.group);
  if (!refine(*refiner, level, data, thread)) return nullptr;
  return Writer(*mesh, data, refiner->GetLevel(level)).write();
}

} // namespace host
