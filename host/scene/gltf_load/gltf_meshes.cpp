#include "gltf_meshes.h"

#include <algorithm>
#include <cmath>

namespace host {

namespace {

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

} // namespace

bool MeshReader::shareVertices(const std::vector<Part>& parts) {
  return std::all_of(parts.begin(), parts.end(), [&](const Part& part) {
    return !part.draco->is_object() && part.primitive->attributes == parts.front().primitive->attributes &&
           part.primitive->targets == parts.front().primitive->targets;
  });
}

// The parts that are triangles, with their materials.
std::vector<MeshReader::Part> MeshReader::partsOf(int index, LoadedMesh& loaded) {
  const tinygltf::Mesh& source = file_.model.meshes[static_cast<std::size_t>(index)];
  const Json& primitives =
      member(element(member(file_.root, "meshes"), static_cast<std::size_t>(index)), "primitives");
  const int materialCount = static_cast<int>(countOf(member(file_.root, "materials")));
  std::vector<Part> parts;
  for (std::size_t i = 0; i < source.primitives.size(); ++i) {
    const tinygltf::Primitive& primitive = source.primitives[i];
    if (!isTriangles(primitive)) {
      ++context_.otherShapes;
      continue;
    }
    parts.push_back({&primitive, &extension(element(primitives, i), "KHR_draco_mesh_compression")});
    if (primitive.material < -1 || primitive.material >= materialCount)
      throw SceneError("mesh " + std::to_string(index) + " refers to material " +
                       std::to_string(primitive.material) + ", which is not in it");
    readVariants(element(primitives, i), index, static_cast<LONG>(loaded.materials.size()), loaded.variants);
    loaded.materials.push_back(primitive.material);
  }
  return parts;
}

void MeshReader::readVariants(const Json& primitive, int mesh, LONG group,
                              std::vector<VariantMaterial>& variants) {
  const std::size_t materials = countOf(member(file_.root, "materials"));
  const std::size_t count = countOf(member(extension(file_.root, "KHR_materials_variants"), "variants"));
  const Json& mappings = member(extension(primitive, "KHR_materials_variants"), "mappings");
  for (std::size_t i = 0; i < countOf(mappings); ++i) {
    const int material = indexIn(mappings[i], "material", materials, "material");
    const Json& list = member(mappings[i], "variants");
    context_.spend(countOf(list), 4);
    for (std::size_t k = 0; material >= 0 && k < countOf(list); ++k) {
      if (!list[k].is_number_unsigned() || list[k].get<std::uint64_t>() >= count)
        throw SceneError("mesh " + std::to_string(mesh) + " refers to a variant that is not in it");
      variants.push_back({group, list[k].get<LONG>(), material, textIn(mappings[i], "name")});
    }
  }
}

// Parts with the same attributes are groups of triangles over the same vertices.
void MeshReader::readSharedParts(const std::vector<Part>& parts, PrimitiveReader& reader,
                                 MeshBuilder& builder) {
  PrimitiveData data;
  reader.readAttributes(*parts.front().primitive, data);
  reader.readTargets(*parts.front().primitive, data);
  PrimitiveReader::tidyVertices(data);
  const std::size_t vertices = data.vertices.positions.size();
  builder.addVertices(std::move(data));
  for (const Part& part : parts) {
    std::vector<Triangle> triangles = reader.readTriangles(*part.primitive, vertices);
    reader.checkTriangles(triangles, vertices);
    builder.addTriangles(std::move(triangles), 0);
  }
}

void MeshReader::readSeparateParts(const std::vector<Part>& parts, PrimitiveReader& reader,
                                   MeshBuilder& builder) {
  std::vector<PrimitiveData> all(parts.size());
  bool anyNormals = false;
  for (std::size_t i = 0; i < parts.size(); ++i) {
    if (parts[i].draco->is_object()) {
      readDraco(file_, *parts[i].draco, context_, all[i]);
    } else {
      reader.readAttributes(*parts[i].primitive, all[i]);
      all[i].triangles = reader.readTriangles(*parts[i].primitive, all[i].vertices.positions.size());
    }
    reader.readTargets(*parts[i].primitive, all[i]);
    reader.checkTriangles(all[i].triangles, all[i].vertices.positions.size());
    PrimitiveReader::tidyVertices(all[i]);
    anyNormals = anyNormals || !all[i].vertices.normals.empty();
  }
  for (PrimitiveData& data : all) {
    if (anyNormals && data.vertices.normals.empty()) giveFlatNormals(data);
    std::vector<Triangle> triangles = std::move(data.triangles);
    builder.addTriangles(std::move(triangles), builder.addVertices(std::move(data)));
  }
}

const MeshReader::Shape& MeshReader::shapeOf(int index, const std::vector<Part>& parts) {
  const auto place = static_cast<std::size_t>(index);
  const std::string key = shapeKey(file_.model.meshes[place], element(member(file_.root, "meshes"), place));
  if (const auto known = shapes_.find(key); known != shapes_.end()) return known->second;
  PrimitiveReader reader(file_, context_, "mesh " + std::to_string(index));
  MeshBuilder builder;
  if (!parts.empty() && shareVertices(parts))
    readSharedParts(parts, reader, builder);
  else
    readSeparateParts(parts, reader, builder);
  return shapes_.emplace(key, Shape{builder.mesh(), builder.deformation()}).first->second;
}

LoadedMesh MeshReader::read(int index) {
  LoadedMesh loaded;
  const Shape& shape = shapeOf(index, partsOf(index, loaded));
  loaded.mesh = shape.mesh;
  loaded.deformation = shape.deformation;
  if (loaded.deformation) loaded.weights.assign(loaded.deformation->targets.size(), 0.0F);
  const std::vector<double>& weights = file_.model.meshes[static_cast<std::size_t>(index)].weights;
  for (std::size_t i = 0; i < std::min(weights.size(), loaded.weights.size()); ++i)
    if (const auto weight = static_cast<float>(weights[i]); std::isfinite(weight)) loaded.weights[i] = weight;
  return loaded;
}

} // namespace host
