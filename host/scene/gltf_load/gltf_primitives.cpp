#include "gltf_primitives.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "mesh_tools.h"

namespace host {

namespace {

std::vector<Float4> readColors(const GltfFile& file, int accessor, LoadContext& context) {
  if (accessorWidth(file, accessor) == 4) return readPieces<4>(file, accessor, context);
  std::vector<Float4> colors;
  for (const Float3& c : readPieces<3>(file, accessor, context))
    colors.push_back({c[0], c[1], c[2], 1});
  return colors;
}

std::vector<std::array<std::uint16_t, 4>> readJoints(const GltfFile& file, int accessor,
                                                     LoadContext& context) {
  const std::vector<std::uint32_t> numbers = readIntegers(file, accessor, 4, context);
  std::vector<std::array<std::uint16_t, 4>> joints(numbers.size() / 4);
  for (std::size_t i = 0; i < numbers.size(); ++i)
    joints[i / 4][i % 4] = static_cast<std::uint16_t>(std::min<std::uint32_t>(numbers[i], 0xFFFF));
  return joints;
}

int attributeOf(const std::map<std::string, int>& attributes, const char* name) {
  const auto found = attributes.find(name);
  return found == attributes.end() ? -1 : found->second;
}

// Normalises vectors that are not of unit length. The others stay bit for bit, so that a saved scene loads
// equal.
void makeUnit(std::vector<Float3>& normals) {
  for (Float3& n : normals) {
    const float square = n[0] * n[0] + n[1] * n[1] + n[2] * n[2];
    if (!(std::abs(square - 1) < 1e-4F)) n = unit(n, {0, 1, 0});
  }
}

void makeUnit(std::vector<Float4>& tangents) {
  for (Float4& t : tangents) {
    const float square = t[0] * t[0] + t[1] * t[1] + t[2] * t[2];
    if (!(std::abs(square - 1) < 1e-4F)) {
      const Float3 u = unit({t[0], t[1], t[2]}, {1, 0, 0});
      t = {u[0], u[1], u[2], t[3]};
    }
    t[3] = t[3] < 0 ? -1.0F : 1.0F;
  }
}

// An attribute must have an entry for every vertex.
template <class List>
List perVertex(List list, std::size_t vertices, const std::string& where) {
  if (list.size() != vertices) throw SceneError(where + " has attributes of different lengths");
  return list;
}

} // namespace

void PrimitiveReader::readAttributes(const tinygltf::Primitive& primitive, PrimitiveData& data) {
  const auto& a = primitive.attributes;
  Mesh& v = data.vertices;
  const auto given = [&](const char* name) { return attributeOf(a, name); };
  if (given("POSITION") < 0) throw SceneError(where_ + " has no positions");
  v.positions = readPieces<3>(file_, given("POSITION"), context_);
  const auto whole = [&](auto list) { return perVertex(std::move(list), v.positions.size(), where_); };
  if (given("NORMAL") >= 0) v.normals = whole(readPieces<3>(file_, given("NORMAL"), context_));
  if (given("TANGENT") >= 0) v.tangents = whole(readPieces<4>(file_, given("TANGENT"), context_));
  if (given("TEXCOORD_0") >= 0) v.uv[0] = whole(readPieces<2>(file_, given("TEXCOORD_0"), context_));
  if (given("TEXCOORD_1") >= 0) v.uv[1] = whole(readPieces<2>(file_, given("TEXCOORD_1"), context_));
  if (given("COLOR_0") >= 0) v.colors = whole(readColors(file_, given("COLOR_0"), context_));
  for (int set = 0; set < 4; ++set) {
    const int joints = given(("JOINTS_" + std::to_string(set)).c_str());
    const int weights = given(("WEIGHTS_" + std::to_string(set)).c_str());
    if (joints < 0 || weights < 0) break;
    data.deformation.joints.push_back(whole(readJoints(file_, joints, context_)));
    data.deformation.weights.push_back(whole(readPieces<4>(file_, weights, context_)));
  }
}

void PrimitiveReader::readTargets(const tinygltf::Primitive& primitive, PrimitiveData& data) {
  const auto read = [&](int accessor) {
    return perVertex(readPieces<3>(file_, accessor, context_), data.vertices.positions.size(), where_);
  };
  for (const auto& attributes : primitive.targets) {
    MorphTarget target;
    if (const int a = attributeOf(attributes, "POSITION"); a >= 0) target.positions = read(a);
    if (const int a = attributeOf(attributes, "NORMAL"); a >= 0) target.normals = read(a);
    if (const int a = attributeOf(attributes, "TANGENT"); a >= 0) target.tangents = read(a);
    data.deformation.targets.push_back(std::move(target));
  }
}

// A compressed mesh may have joints without weights.
void PrimitiveReader::tidyVertices(PrimitiveData& data) {
  Deformation& d = data.deformation;
  d.joints.resize(std::min(d.joints.size(), d.weights.size()));
  d.weights.resize(d.joints.size());
  makeUnit(data.vertices.normals);
  makeUnit(data.vertices.tangents);
}

void PrimitiveReader::checkTriangles(const std::vector<Triangle>& triangles, std::size_t vertices) const {
  std::uint32_t highest = 0;
  for (const Triangle& t : triangles)
    highest = std::max(highest, std::max(t[0], std::max(t[1], t[2])));
  if (!triangles.empty() && highest >= vertices)
    throw SceneError(where_ + " uses vertex " + std::to_string(highest) + " of " + std::to_string(vertices));
}

namespace {

// The triangles of a strip or fan, or of a list whose last triangle may be cut off.
std::vector<Triangle> trianglesOf(const std::vector<std::uint32_t>& line, int mode) {
  std::vector<Triangle> triangles;
  if (mode == TINYGLTF_MODE_TRIANGLES || line.size() < 3) {
    triangles.resize(line.size() / 3);
    for (std::size_t i = 0; i < triangles.size(); ++i)
      triangles[i] = {line[3 * i], line[3 * i + 1], line[3 * i + 2]};
    return triangles;
  }
  const bool fan = mode == TINYGLTF_MODE_TRIANGLE_FAN;
  for (std::size_t i = 0; i + 2 < line.size(); ++i) {
    const std::size_t odd = fan ? 0 : i % 2;
    triangles.push_back({line[fan ? 0 : i], line[i + 1 + odd], line[i + 2 - odd]});
  }
  return triangles;
}

} // namespace

std::vector<Triangle> PrimitiveReader::readTriangles(const tinygltf::Primitive& primitive,
                                                     std::size_t vertices) {
  std::vector<std::uint32_t> line;
  if (primitive.indices >= 0) {
    const std::size_t count = countIntegers(file_, primitive.indices, 1, context_);
    if (primitive.mode == TINYGLTF_MODE_TRIANGLES && count > 0 && count % 3 == 0) { // no copy in between
      std::vector<Triangle> triangles(count / 3);
      fillIntegers(file_, primitive.indices, 1, {triangles.front().data(), count});
      return triangles;
    }
    line.resize(count);
    fillIntegers(file_, primitive.indices, 1, line);
  } else {
    context_.spend(vertices, 1);
    line.resize(vertices);
    std::iota(line.begin(), line.end(), 0U);
  }
  if (primitive.mode != TINYGLTF_MODE_TRIANGLES) context_.spend(line.size(), 3);
  return trianglesOf(line, primitive.mode);
}

} // namespace host
