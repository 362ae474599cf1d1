#include "gltf_file.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <set>

#include "file_reference.h"
#include "gltf_meshopt.h"
#include "gltf_pictures.h"
#include "gltf_specular_glossiness.h"
#include "read_file.h"

namespace host {

namespace {

constexpr std::uint32_t magicGltf = 0x46546C67, chunkJson = 0x4E4F534A, chunkBinary = 0x004E4942;

std::uint32_t word(std::span<const std::byte> bytes, std::size_t at) {
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < 4; ++i)
    value |= std::to_integer<std::uint32_t>(bytes[at + i]) << (8 * i);
  return value;
}

// The two chunks of a binary file.
struct Chunks {
  std::string_view json;
  std::span<const std::byte> binary;
  bool hasBinary = false;
};

Chunks splitBinary(std::span<const std::byte> bytes) {
  if (bytes.size() < 20) throw SceneError("it is cut off in its header");
  if (word(bytes, 4) != 2)
    throw SceneError("it is glTF of version " + std::to_string(word(bytes, 4)) +
                         ", and version 2 is supported",
                     "Export it as glTF 2.0.");
  const std::size_t length = word(bytes, 8);
  if (length > bytes.size())
    throw SceneError("it is cut off: " + std::to_string(bytes.size()) + " of " + std::to_string(length) +
                     " bytes are there");
  Chunks chunks;
  std::size_t at = 12;
  for (int i = 0; at + 8 <= length; ++i) {
    const std::size_t size = word(bytes, at);
    const std::uint32_t kind = word(bytes, at + 4);
    at += 8;
    if (size > length - at) throw SceneError("a part of it reaches behind its end");
    const auto part = bytes.subspan(at, size);
    if (i == 0 && kind != chunkJson) throw SceneError("its first part is not JSON");
    if (i == 0) chunks.json = {reinterpret_cast<const char*>(part.data()), part.size()};
    if (i == 1 && kind == chunkBinary) chunks.binary = part, chunks.hasBinary = true;
    at += (size + 3) & ~std::size_t{3};
    if (at > length) break;
  }
  return chunks;
}

// --- the JSON, before the library sees it ---

void checkVersion(const Json& root) {
  if (!root.is_object()) throw SceneError("its JSON holds no glTF document");
  const std::string version = textIn(member(root, "asset"), "version");
  if (version.empty()) throw SceneError("it does not say which version of glTF it is");
  if (version.rfind("2.", 0) != 0)
    throw SceneError("it is glTF " + version.substr(0, 20) + ", and version 2.0 is supported",
                     "Export it as glTF 2.0.");
}

void checkExtensions(const Json& root) {
  static const std::set<std::string, std::less<>> known{"KHR_lights_punctual",
                                                        "KHR_animation_pointer",
                                                        "KHR_texture_transform",
                                                        "KHR_materials_unlit",
                                                        "KHR_materials_emissive_strength",
                                                        "KHR_materials_ior",
                                                        "KHR_materials_transmission",
                                                        "KHR_materials_specular",
                                                        "KHR_materials_clearcoat",
                                                        "KHR_mesh_quantization",
                                                        "KHR_draco_mesh_compression",
                                                        "EXT_texture_webp",
                                                        "KHR_texture_webp",
                                                        "KHR_materials_pbrSpecularGlossiness",
                                                        "KHR_materials_variants",
                                                        "EXT_mesh_gpu_instancing",
                                                        "EXT_meshopt_compression",
                                                        "KHR_materials_volume",
                                                        "KHR_materials_dispersion",
                                                        "KHR_materials_sheen",
                                                        "KHR_materials_anisotropy",
                                                        "KHR_materials_iridescence",
                                                        "KHR_materials_diffuse_transmission"};
  const Json& required = member(root, "extensionsRequired");
  for (std::size_t i = 0; i < countOf(required); ++i) {
    const std::string name = required[i].is_string() ? required[i].get<std::string>() : "?";
    if (!known.contains(name))
      throw SceneError("it requires the extension " + name.substr(0, 80) + ", which is not supported",
                       "Export it without that extension.");
  }
}

// The library drops some primitives and files that the standard allows. These places are simplified for it,
// and read from the JSON directly.
void preparePrimitive(Json& primitive, std::size_t mesh) {
  if (!primitive.is_object() || !member(primitive, "attributes").is_object())
    throw SceneError("mesh " + std::to_string(mesh) + " has a part without attributes");
  for (const auto& [name, accessor] : member(primitive, "attributes").items())
    if (!accessor.is_number_integer())
      throw SceneError("mesh " + std::to_string(mesh) + " has no accessor for \"" + name.substr(0, 40) +
                       "\"");
  const Json& targets = member(primitive, "targets");
  for (std::size_t i = 0; i < countOf(targets); ++i)
    if (!targets[i].is_object())
      throw SceneError("mesh " + std::to_string(mesh) + " has a damaged morph target");
  if (extension(primitive, "KHR_draco_mesh_compression").is_object()) primitive.erase("indices");
  primitive.erase("extensions");
  primitive.erase("extras");
}

std::string textForLibrary(const Json& root) {
  Json plain = Json::object();
  for (const char* key : {"asset", "scene", "scenes", "nodes", "meshes", "accessors", "bufferViews", "skins",
                          "animations", "cameras"})
    if (const Json& part = member(root, key); !part.is_null()) plain[key] = part;
  for (auto& [key, list] : plain.items())
    for (std::size_t i = 0; i < countOf(list); ++i)
      if (list[i].is_object()) list[i].erase("extras"), list[i].erase("extensions");
  if (plain["asset"].is_object()) plain["asset"] = Json{{"version", "2.0"}};
  for (std::size_t m = 0; m < countOf(member(plain, "meshes")); ++m) {
    Json& mesh = plain["meshes"][m];
    if (!mesh.is_object() || !member(mesh, "primitives").is_array())
      throw SceneError("mesh " + std::to_string(m) + " has no parts");
    for (Json& primitive : mesh["primitives"])
      preparePrimitive(primitive, m);
  }
  for (std::size_t s = 0; s < countOf(member(plain, "skins")); ++s)
    if (Json& skin = plain["skins"][s]; skin.is_object() && !skin.contains("inverseBindMatrices"))
      skin["inverseBindMatrices"] = -1;
  return plain.dump(-1, ' ', false, Json::error_handler_t::replace);
}

void parseModel(GltfFile& file) {
  const std::string text = textForLibrary(file.root);
  tinygltf::TinyGLTF reader;
  std::string error, warning;
  bool read = false;
  try {
    read = reader.LoadASCIIFromString(&file.model, &error, &warning, text.data(),
                                      static_cast<unsigned>(text.size()), "", tinygltf::NO_REQUIRE);
  } catch (const std::exception& problem) {
    error = problem.what();
  }
  if (read) return;
  std::replace(error.begin(), error.end(), '\n', ' ');
  error.erase(error.find_last_not_of(" .") + 1);
  throw SceneError("its structure is wrong (" + (error.empty() ? "reason unknown" : error.substr(0, 160)) +
                   ")");
}

// --- buffers ---

// `whole` is the file that the chunks are parts of.
void readBuffers(GltfFile& file, const BytesPtr& whole, const Chunks& chunks, const Filename& folder,
                 LoadContext& context) {
  const Json& list = member(file.root, "buffers");
  for (std::size_t i = 0; i < countOf(list); ++i) {
    const std::string number = "buffer " + std::to_string(i);
    const std::string uri = textIn(list[i], "uri");
    const std::size_t length = sizeIn(list[i], "byteLength");
    BytesPtr bytes;
    if (isFallbackBuffer(list[i])) {
      file.buffers.emplace_back();
      continue;
    }
    if (uri.empty()) {
      if (i != 0 || !chunks.hasBinary) throw SceneError(number + " has no data");
      bytes = whole;
    } else if (isDataUri(uri)) {
      auto data = readDataUri(uri);
      if (!data) throw SceneError(number + " holds no readable data");
      bytes = std::make_shared<Bytes>(std::move(data->bytes));
    } else {
      const auto name = resolveReference(uri, folder, Reach::below);
      if (!name)
        throw SceneError(number + " is the file \"" + uri.substr(0, 200) +
                             "\", which is not below the scene's folder",
                         "Put the file beside the scene and name it by a relative path.");
      context.result.files.push_back(*name);
      bytes = readWholeFile(*name, context.options.limits.fileBytes);
    }
    const std::span<const std::byte> content = uri.empty() ? chunks.binary : std::span(*bytes);
    if (content.size() < length)
      throw SceneError(number + " is cut off: " + std::to_string(content.size()) + " of " +
                       std::to_string(length) + " bytes are there");
    file.buffers.push_back({std::move(bytes), content});
    context.progress(0.05 + 0.25 * static_cast<double>(i + 1) / static_cast<double>(list.size()));
  }
}

} // namespace

void LoadContext::progress(double done) const {
  if (options.progress && !options.progress(done)) throw SceneCancelled();
}

void LoadContext::missing(const std::string& picture) {
  auto& names = result.missingFiles;
  if (std::find(names.begin(), names.end(), picture) != names.end()) return;
  names.push_back(picture);
  warn("The picture \"" + picture +
       "\" is missing or cannot be read; put it beside the scene, or render without it.");
}

void LoadContext::spend(std::size_t count, std::size_t width) {
  if (count > options.limits.elements / std::max<std::size_t>(width, 1) ||
      (elements += count * width) > options.limits.elements)
    throw SceneError("it holds more numbers than can be loaded", "Split the scene into smaller ones.");
}

bool isBinaryGltf(std::span<const std::byte> bytes) noexcept {
  return bytes.size() >= 4 && word(bytes, 0) == magicGltf;
}

bool isTextGltf(std::span<const std::byte> bytes) noexcept {
  std::size_t i = bytes.size() >= 4 && (word(bytes, 0) & 0xFFFFFFU) == 0xBFBBEFU ? 3 : 0; // a byte-order mark
  for (; i < bytes.size(); ++i) {
    const char c = std::to_integer<char>(bytes[i]);
    if (c != ' ' && c != '\n' && c != '\r' && c != '\t') return c == '{';
  }
  return false;
}

BytesPtr readWholeFile(const Filename& file, std::size_t mostBytes) {
  const std::string name = "\"" + file.GetString().GetUTF8() + "\"";
  FileContent content = readFile(file, mostBytes);
  switch (content.fault) {
  case ReadFault::none:
    return std::make_shared<Bytes>(std::move(content.bytes));
  case ReadFault::missing:
    throw SceneError(name + " is not there", "Check the name.");
  case ReadFault::folder:
    throw SceneError(name + " is a folder", "Choose the scene file inside it.");
  case ReadFault::notRegular:
    throw SceneError(name + " is not a file of data", "Choose a scene file.");
  case ReadFault::unreachable:
    throw SceneError(name + " cannot be read: " + content.reason, "Check your rights to the folder.");
  case ReadFault::tooLarge:
    throw SceneError(name + " is too large to load", "Split the scene into smaller ones.");
  case ReadFault::failed:
    break;
  }
  throw SceneError(name + " cannot be read: " + content.reason, "Check your rights to the file.");
}

GltfFile readGltf(BytesPtr bytes, const Filename& folder, LoadContext& context) {
  Chunks chunks;
  if (isBinaryGltf(*bytes))
    chunks = splitBinary(*bytes);
  else
    chunks.json = {reinterpret_cast<const char*>(bytes->data()), bytes->size()};
  if (chunks.json.size() > context.options.limits.jsonBytes)
    throw SceneError("its JSON is too large", "Split the scene into smaller ones.");
  GltfFile file;
  file.root = parseJson(chunks.json);
  checkVersion(file.root);
  checkExtensions(file.root);
  context.progress(0.02);
  parseModel(file);
  context.progress(0.05);
  readBuffers(file, bytes, chunks, folder, context);
  unpackViews(file, context);
  readPictures(file, folder, context);
  convertSpecularGlossiness(file);
  return file;
}

} // namespace host
