#include "gltf_meshes.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "mesh_tools.h"

namespace host {

namespace {

template <std::size_t N>
std::vector<std::array<float, N>> readPieces(const GltfFile& file, int accessor, LoadContext& context) {
  const std::vector<float> numbers = readFloats(file, accessor, N, context);
  std::vector<std::array<float, N>> pieces(numbers.size() / N);
  for (std::size_t i = 0; i < pieces.size(); ++i)
    std::copy_n(numbers.begin() + static_cast<std::ptrdiff_t>(i * N), N, pieces[i].begin());
  return pieces;
}

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

class PrimitiveReader {
 public:
  PrimitiveReader(const GltfFile& file, LoadContext& context, const std::string& where)
      : file_(file), context_(context), where_(where) {}

  void readAttributes(const tinygltf::Primitive& primitive, PrimitiveData& data) {
    const auto& a = primitive.attributes;
    Mesh& v = data.vertices;
    const auto given = [&](const char* name) { return attributeOf(a, name); };
    if (given("POSITION") < 0) throw SceneError(where_ + " has no positions");
    v.positions = readPieces<3>(file_, given("POSITION"), context_);
    const auto whole = [&](auto list) { return this->whole(std::move(list), v.positions.size()); };
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

  void readTargets(const tinygltf::Primitive& primitive, PrimitiveData& data) {
    const auto read = [&](int accessor) {
      return whole(readPieces<3>(file_, accessor, context_), data.vertices.positions.size());
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
  void check(PrimitiveData& data) const {
    const std::size_t count = data.vertices.positions.size();
    Deformation& d = data.deformation;
    d.joints.resize(std::min(d.joints.size(), d.weights.size()));
    d.weights.resize(d.joints.size());
    for (const std::uint32_t index : data.indices)
      if (index >= count)
        throw SceneError(where_ + " uses vertex " + std::to_string(index) + " of " + std::to_string(count));
    makeUnit(data.vertices.normals);
    makeUnit(data.vertices.tangents);
  }

  std::vector<std::uint32_t> readTriangles(const tinygltf::Primitive& primitive, std::size_t vertices) {
    std::vector<std::uint32_t> line;
    if (primitive.indices >= 0) {
      line = readIntegers(file_, primitive.indices, 1, context_);
    } else {
      context_.spend(vertices, 1);
      line.resize(vertices);
      std::iota(line.begin(), line.end(), 0U);
    }
    if (primitive.mode == TINYGLTF_MODE_TRIANGLES || line.size() < 3) {
      line.resize(line.size() / 3 * 3);
      return line;
    }
    context_.spend(line.size(), 3);
    std::vector<std::uint32_t> triangles;
    for (std::size_t i = 0; i + 2 < line.size(); ++i) {
      const bool fan = primitive.mode == TINYGLTF_MODE_TRIANGLE_FAN;
      const std::size_t odd = fan ? 0 : i % 2;
      for (const std::size_t at : {fan ? 0 : i, i + 1 + odd, i + 2 - odd})
        triangles.push_back(line[at]);
    }
    return triangles;
  }

 private:
  // An attribute that is given has one entry a vertex, also when it has none at all.
  template <class List>
  List whole(List list, std::size_t vertices) const {
    if (list.size() != vertices) throw SceneError(where_ + " has attributes of different lengths");
    return list;
  }

  const GltfFile& file_;
  LoadContext& context_;
  std::string where_;
};

// --- putting primitives together ---

template <class T>
void append(std::vector<T>& to, const std::vector<T>& from, std::size_t before, std::size_t count,
            const T& otherwise) {
  if (to.empty() && from.empty()) return;
  to.resize(before, otherwise);
  to.insert(to.end(), from.begin(), from.end());
  to.resize(before + count, otherwise);
}

// A part without normals beside one with normals: each triangle gets its own.
void giveFlatNormals(PrimitiveData& data) {
  PrimitiveData flat;
  const auto spread = [&](const auto& from, auto& to) {
    if (from.empty()) return;
    to.reserve(data.indices.size());
    for (const std::uint32_t index : data.indices)
      to.push_back(from[index]);
  };
  const auto& [v, d] = std::tie(data.vertices, data.deformation);
  spread(v.positions, flat.vertices.positions), spread(v.tangents, flat.vertices.tangents);
  spread(v.uv[0], flat.vertices.uv[0]), spread(v.uv[1], flat.vertices.uv[1]),
      spread(v.colors, flat.vertices.colors);
  flat.deformation.joints.resize(d.joints.size());
  flat.deformation.weights.resize(d.weights.size());
  flat.deformation.targets.resize(d.targets.size());
  for (std::size_t i = 0; i < d.joints.size(); ++i)
    spread(d.joints[i], flat.deformation.joints[i]), spread(d.weights[i], flat.deformation.weights[i]);
  for (std::size_t i = 0; i < d.targets.size(); ++i)
    spread(d.targets[i].positions, flat.deformation.targets[i].positions);
  flat.indices.resize(data.indices.size());
  std::iota(flat.indices.begin(), flat.indices.end(), 0U);
  for (std::size_t i = 0; i + 2 < flat.indices.size(); i += 3) {
    const auto& p = flat.vertices.positions;
    flat.vertices.normals.insert(flat.vertices.normals.end(), 3,
                                 unit(cross(minus(p[i + 1], p[i]), minus(p[i + 2], p[i])), {0, 1, 0}));
  }
  data = std::move(flat);
}

class Assembler {
 public:
  // Adds a part's vertices; gives the number of its first.
  std::uint32_t addVertices(const PrimitiveData& data) {
    const std::size_t before = mesh_->positions.size(), count = data.vertices.positions.size();
    const Mesh& v = data.vertices;
    append(mesh_->positions, v.positions, before, count, {});
    append(mesh_->normals, v.normals, before, count, {0, 1, 0});
    append(mesh_->tangents, v.tangents, before, count, {1, 0, 0, 1});
    for (std::size_t set = 0; set < 2; ++set)
      append(mesh_->uv[set], v.uv[set], before, count, {});
    append(mesh_->colors, v.colors, before, count, {1, 1, 1, 1});
    addDeformation(data.deformation, before, count);
    return static_cast<std::uint32_t>(before);
  }

  void addTriangles(const std::vector<std::uint32_t>& indices, std::uint32_t first) {
    MeshGroup group{static_cast<std::uint32_t>(mesh_->triangles.size()),
                    static_cast<std::uint32_t>(indices.size() / 3)};
    for (std::size_t i = 0; i + 2 < indices.size(); i += 3)
      mesh_->triangles.push_back({indices[i] + first, indices[i + 1] + first, indices[i + 2] + first});
    mesh_->groups.push_back(group);
  }

  std::shared_ptr<Mesh> mesh() {
    setBounds(*mesh_);
    return mesh_;
  }
  DeformationPtr deformation() {
    return deformation_->targets.empty() && deformation_->joints.empty() ? nullptr : deformation_;
  }

 private:
  void addDeformation(const Deformation& d, std::size_t before, std::size_t count) {
    Deformation& to = *deformation_;
    to.joints.resize(std::max(to.joints.size(), d.joints.size()));
    to.weights.resize(to.joints.size());
    static const Deformation none;
    for (std::size_t i = 0; i < to.joints.size(); ++i) {
      const bool given = i < d.joints.size();
      to.joints[i].resize(before), to.weights[i].resize(before);
      append(to.joints[i], given ? d.joints[i] : std::vector<std::array<std::uint16_t, 4>>(count), before,
             count, {});
      append(to.weights[i], given ? d.weights[i] : std::vector<Float4>(count), before, count, {});
    }
    to.targets.resize(std::max(to.targets.size(), d.targets.size()));
    for (std::size_t i = 0; i < to.targets.size(); ++i) {
      const MorphTarget from = i < d.targets.size() ? d.targets[i] : MorphTarget();
      append(to.targets[i].positions, from.positions, before, count, {});
      append(to.targets[i].normals, from.normals, before, count, {});
      append(to.targets[i].tangents, from.tangents, before, count, {});
    }
  }

  std::shared_ptr<Mesh> mesh_ = std::make_shared<Mesh>();
  std::shared_ptr<Deformation> deformation_ = std::make_shared<Deformation>();
};

bool isTriangles(const tinygltf::Primitive& primitive) {
  return primitive.mode == TINYGLTF_MODE_TRIANGLES || primitive.mode == TINYGLTF_MODE_TRIANGLE_STRIP ||
         primitive.mode == TINYGLTF_MODE_TRIANGLE_FAN;
}

// A key of the accessors that a mesh is made of.
std::string shapeKey(const tinygltf::Mesh& mesh, const Json& source) {
  std::string key;
  for (std::size_t i = 0; i < mesh.primitives.size(); ++i) {
    const tinygltf::Primitive& primitive = mesh.primitives[i];
    key += std::to_string(primitive.mode) + "i" + std::to_string(primitive.indices);
    for (const auto& [name, accessor] : primitive.attributes)
      key += name + ":" + std::to_string(accessor) + ",";
    for (const auto& target : primitive.targets) {
      key += "t";
      for (const auto& [name, accessor] : target)
        key += name + ":" + std::to_string(accessor) + ",";
    }
    const Json& draco = extension(element(member(source, "primitives"), i), "KHR_draco_mesh_compression");
    if (draco.is_object()) key += draco.dump(-1, ' ', false, Json::error_handler_t::replace);
    key += ";";
  }
  return key;
}

struct Part {
  const tinygltf::Primitive* primitive;
  const Json* draco;
};

bool shareVertices(const std::vector<Part>& parts) {
  return std::all_of(parts.begin(), parts.end(), [&](const Part& part) {
    return !part.draco->is_object() && part.primitive->attributes == parts.front().primitive->attributes &&
           part.primitive->targets == parts.front().primitive->targets;
  });
}

} // namespace

LoadedMesh MeshReader::read(int index) {
  const tinygltf::Mesh& source = file_.model.meshes[static_cast<std::size_t>(index)];
  const Json& json = element(member(file_.root, "meshes"), static_cast<std::size_t>(index));
  LoadedMesh loaded;
  std::vector<Part> parts;
  for (std::size_t i = 0; i < source.primitives.size(); ++i) {
    const tinygltf::Primitive& primitive = source.primitives[i];
    if (!isTriangles(primitive)) {
      ++context_.otherShapes;
      continue;
    }
    parts.push_back(
        {&primitive, &extension(element(member(json, "primitives"), i), "KHR_draco_mesh_compression")});
    const int material = primitive.material;
    if (material < -1 || material >= static_cast<int>(countOf(member(file_.root, "materials"))))
      throw SceneError("mesh " + std::to_string(index) + " refers to material " + std::to_string(material) +
                       ", which is not in it");
    loaded.materials.push_back(material);
  }

  const std::string key = shapeKey(source, json);
  auto known = shapes_.find(key);
  if (known == shapes_.end()) {
    PrimitiveReader reader(file_, context_, "mesh " + std::to_string(index));
    Assembler assembler;
    if (!parts.empty() && shareVertices(parts)) {
      PrimitiveData data;
      reader.readAttributes(*parts.front().primitive, data);
      reader.readTargets(*parts.front().primitive, data);
      std::vector<std::vector<std::uint32_t>> triangles;
      for (const Part& part : parts) {
        triangles.push_back(reader.readTriangles(*part.primitive, data.vertices.positions.size()));
        data.indices = triangles.back();
        reader.check(data);
      }
      assembler.addVertices(data);
      for (const auto& indices : triangles)
        assembler.addTriangles(indices, 0);
    } else {
      std::vector<PrimitiveData> all(parts.size());
      bool anyNormals = false;
      for (std::size_t i = 0; i < parts.size(); ++i) {
        if (parts[i].draco->is_object()) {
          readDraco(file_, *parts[i].draco, context_, all[i]);
        } else {
          reader.readAttributes(*parts[i].primitive, all[i]);
          all[i].indices = reader.readTriangles(*parts[i].primitive, all[i].vertices.positions.size());
        }
        reader.readTargets(*parts[i].primitive, all[i]);
        reader.check(all[i]);
        anyNormals = anyNormals || !all[i].vertices.normals.empty();
      }
      for (PrimitiveData& data : all) {
        if (anyNormals && data.vertices.normals.empty()) giveFlatNormals(data);
        assembler.addTriangles(data.indices, assembler.addVertices(data));
      }
    }
    MeshPtr mesh = assembler.mesh();
    known = shapes_.emplace(key, Shape{std::move(mesh), assembler.deformation()}).first;
  }
  loaded.mesh = known->second.mesh;
  loaded.deformation = known->second.deformation;
  if (loaded.deformation) loaded.weights.assign(loaded.deformation->targets.size(), 0.0F);
  for (std::size_t i = 0; i < std::min(source.weights.size(), loaded.weights.size()); ++i)
    if (const auto weight = static_cast<float>(source.weights[i]); std::isfinite(weight))
      loaded.weights[i] = weight;
  return loaded;
}

} // namespace host
