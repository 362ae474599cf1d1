// Compressed meshes: KHR_draco_mesh_compression.
#include <draco/compression/decode.h>

#include <algorithm>
#include <cmath>

#include "gltf_primitives.h"

namespace host {

namespace {

// The numbers of an attribute, `width` for each point.
std::vector<float> numbersOf(const draco::Mesh& mesh, int id, std::size_t width, LoadContext& context) {
  const draco::PointAttribute* attribute =
      id < 0 ? nullptr : mesh.GetAttributeByUniqueId(static_cast<std::uint32_t>(id));
  if (!attribute || static_cast<std::size_t>(attribute->num_components()) != width)
    throw SceneError("a compressed mesh lacks an attribute that it names");
  context.spend(mesh.num_points(), width);
  std::vector<float> values(mesh.num_points() * width);
  for (draco::PointIndex point(0); point < mesh.num_points(); ++point) {
    const draco::AttributeValueIndex at = attribute->mapped_index(point);
    float* out = values.data() + point.value() * width;
    if (at.value() >= attribute->size() ||
        !attribute->ConvertValue<float>(at, static_cast<std::int8_t>(width), out))
      throw SceneError("a compressed mesh has an attribute that cannot be read");
    for (std::size_t i = 0; i < width; ++i)
      if (!std::isfinite(out[i])) out[i] = 0, ++context.notFinite;
  }
  return values;
}

template <std::size_t N>
std::vector<std::array<float, N>> pieces(const std::vector<float>& values) {
  std::vector<std::array<float, N>> result(values.size() / N);
  for (std::size_t i = 0; i < result.size(); ++i)
    std::copy_n(values.begin() + static_cast<std::ptrdiff_t>(i * N), N, result[i].begin());
  return result;
}

std::size_t widthOf(const draco::Mesh& mesh, int id) {
  const draco::PointAttribute* attribute =
      id < 0 ? nullptr : mesh.GetAttributeByUniqueId(static_cast<std::uint32_t>(id));
  return attribute ? static_cast<std::size_t>(attribute->num_components()) : 0;
}

std::uint16_t jointFrom(float number) {
  return static_cast<std::uint16_t>(std::clamp(number, 0.0F, 65535.0F));
}

void readAttribute(const draco::Mesh& mesh, const std::string& name, int id, LoadContext& context,
                   PrimitiveData& data) {
  Mesh& v = data.vertices;
  if (name == "POSITION") v.positions = pieces<3>(numbersOf(mesh, id, 3, context));
  if (name == "NORMAL") v.normals = pieces<3>(numbersOf(mesh, id, 3, context));
  if (name == "TANGENT") v.tangents = pieces<4>(numbersOf(mesh, id, 4, context));
  if (name == "TEXCOORD_0") v.uv[0] = pieces<2>(numbersOf(mesh, id, 2, context));
  if (name == "TEXCOORD_1") v.uv[1] = pieces<2>(numbersOf(mesh, id, 2, context));
  if (name == "COLOR_0" && widthOf(mesh, id) == 4) v.colors = pieces<4>(numbersOf(mesh, id, 4, context));
  if (name == "COLOR_0" && widthOf(mesh, id) == 3)
    for (const Float3& c : pieces<3>(numbersOf(mesh, id, 3, context)))
      v.colors.push_back({c[0], c[1], c[2], 1});
  if (name == "WEIGHTS_0") data.deformation.weights.push_back(pieces<4>(numbersOf(mesh, id, 4, context)));
  if (name == "JOINTS_0") {
    std::vector<std::array<std::uint16_t, 4>> joints;
    for (const Float4& four : pieces<4>(numbersOf(mesh, id, 4, context)))
      joints.push_back({jointFrom(four[0]), jointFrom(four[1]), jointFrom(four[2]), jointFrom(four[3])});
    data.deformation.joints.push_back(std::move(joints));
  }
}

} // namespace

void readDraco(const GltfFile& file, const Json& extension, LoadContext& context, PrimitiveData& data) {
  const auto bytes =
      viewBytes(file, indexIn(extension, "bufferView", file.model.bufferViews.size(), "buffer view"));
  draco::DecoderBuffer buffer;
  buffer.Init(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  draco::Decoder decoder;
  auto decoded = decoder.DecodeMeshFromBuffer(&buffer);
  if (!decoded.ok()) throw SceneError("a compressed mesh cannot be unpacked");
  const draco::Mesh& mesh = *decoded.value();
  for (const auto& [name, id] : member(extension, "attributes").items())
    if (id.is_number_integer()) readAttribute(mesh, name, id.get<int>(), context, data);
  context.spend(mesh.num_faces(), 3);
  data.triangles.reserve(mesh.num_faces());
  for (draco::FaceIndex face(0); face < mesh.num_faces(); ++face) {
    const draco::Mesh::Face& f = mesh.face(face);
    data.triangles.push_back({f[0].value(), f[1].value(), f[2].value()});
  }
}

} // namespace host
