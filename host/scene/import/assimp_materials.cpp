#include "assimp_materials.h"

#include <assimp/GltfMaterial.h>
#include <assimp/material.h>
#include <assimp/scene.h>

#include <algorithm>
#include <cmath>
#include <filesystem>

#include "c4d_document.h"
#include "file_reference.h"
#include "parameters.h"

namespace host {

namespace {

namespace fs = std::filesystem;

std::optional<Vector> color(const aiMaterial& from, const char* key, unsigned type, unsigned index) {
  aiColor4D c;
  if (from.Get(key, type, index, c) != AI_SUCCESS) return std::nullopt;
  const Vector v(c.r, c.g, c.b);
  return std::isfinite(v.x + v.y + v.z) ? std::optional(v) : std::nullopt;
}

std::optional<Real> number(const aiMaterial& from, const char* key, unsigned type, unsigned index) {
  ai_real value = 0;
  if (from.Get(key, type, index, value) != AI_SUCCESS || !std::isfinite(value)) return std::nullopt;
  return value;
}

} // namespace

void AssimpMaterials::makeMaterials(NodeList& materials) {
  for (unsigned i = 0; i < scene_.mNumMaterials; ++i) {
    auto* material = static_cast<MaterialState*>(makeNode(NodeKind::material, Mmaterial));
    fillMaterial(*scene_.mMaterials[i], *material);
    materials.append(*material);
    identities_.push_back(material->identity);
  }
}

void AssimpMaterials::fillMaterial(const aiMaterial& from, MaterialState& to) {
  aiString name;
  if (from.Get(AI_MATKEY_NAME, name) == AI_SUCCESS) to.name = String(name.C_Str());
  BaseContainer& data = to.data;
  auto base = color(from, AI_MATKEY_BASE_COLOR);
  if (!base) base = color(from, AI_MATKEY_COLOR_DIFFUSE);
  data.SetVector(param::baseColor, base.value_or(Vector(0.8, 0.8, 0.8)));
  const Real opacity = std::clamp(number(from, AI_MATKEY_OPACITY).value_or(1), 0.0, 1.0);
  data.SetReal(param::baseAlpha, opacity);
  if (opacity < 1) data.SetLong(param::alphaMode, 2);
  data.SetReal(param::metallic, std::clamp(number(from, AI_MATKEY_METALLIC_FACTOR).value_or(0), 0.0, 1.0));
  // The roughness with a lobe as wide as the Phong exponent's (Blinn's relation).
  const Real shininess = std::max(number(from, AI_MATKEY_SHININESS).value_or(0), 0.0);
  const Real rough = shininess > 0 ? std::pow(2 / (shininess + 2), 0.25) : 0.6;
  data.SetReal(param::roughness,
               std::clamp(number(from, AI_MATKEY_ROUGHNESS_FACTOR).value_or(rough), 0.0, 1.0));
  if (const auto glow = color(from, AI_MATKEY_COLOR_EMISSIVE); glow && *glow != Vector())
    data.SetVector(param::emission, *glow);
  if (const auto ior = number(from, AI_MATKEY_REFRACTI); ior && *ior > 1) data.SetReal(param::ior, *ior);
  fillTextures(from, to);
}

void AssimpMaterials::fillTextures(const aiMaterial& from, MaterialState& to) {
  if (!addTexture(from, aiTextureType_BASE_COLOR, CHANNEL_COLOR, to))
    addTexture(from, aiTextureType_DIFFUSE, CHANNEL_COLOR, to);
  if (!addTexture(from, aiTextureType_NORMALS, CHANNEL_NORMAL, to))
    addTexture(from, aiTextureType_NORMAL_CAMERA, CHANNEL_NORMAL, to);
  addTexture(from, aiTextureType_HEIGHT, CHANNEL_BUMP, to);
  if (addTexture(from, aiTextureType_EMISSIVE, CHANNEL_LUMINANCE, to) &&
      to.data.GetType(param::emission) == DA_NIL)
    to.data.SetVector(param::emission, Vector(1, 1, 1));
}

bool AssimpMaterials::addTexture(const aiMaterial& from, aiTextureType type, int slot, MaterialState& to) {
  aiString path;
  unsigned uv = 0;
  aiTextureMapMode modes[3] = {aiTextureMapMode_Wrap, aiTextureMapMode_Wrap, aiTextureMapMode_Wrap};
  if (from.GetTexture(type, 0, &path, nullptr, &uv, nullptr, nullptr, modes) != AI_SUCCESS) return false;
  auto* bitmap = static_cast<ShaderState*>(makeNode(NodeKind::shader, Xbitmap));
  bitmap->picture = picture(path);
  bitmap->name = String(bitmap->picture->name);
  if (uv == 1) bitmap->data.SetLong(param::bitmapUvSet, 1);
  const auto wrap = [](aiTextureMapMode mode) {
    return mode == aiTextureMapMode_Clamp ? 2 : mode == aiTextureMapMode_Mirror ? 1 : 0;
  };
  if (wrap(modes[0]) != 0) bitmap->data.SetLong(param::bitmapWrapU, wrap(modes[0]));
  if (wrap(modes[1]) != 0) bitmap->data.SetLong(param::bitmapWrapV, wrap(modes[1]));
  to.shaders.append(*bitmap);
  to.shaderSlots[static_cast<std::size_t>(slot)] = bitmap->identity;
  return true;
}

PicturePtr AssimpMaterials::picture(const aiString& path) {
  std::string name = path.C_Str();
  std::replace(name.begin(), name.end(), '\\', '/');
  PicturePtr& known = pictures_[name];
  if (known) return known;
  auto made = std::make_shared<Picture>();
  made->name = name.substr(name.find_last_of('/') + 1);
  if (const aiTexture* embedded = scene_.GetEmbeddedTexture(path.C_Str());
      embedded && embedded->mHeight == 0) {
    const auto* bytes = reinterpret_cast<const std::byte*>(embedded->pcData);
    made->bytes = std::make_shared<Bytes>(bytes, bytes + embedded->mWidth);
  } else {
    made->uri = name;
    made->bytes = pictureFile(name, made->file);
  }
  if (made->bytes) {
    made->mimeType = mimeTypeOf(*made->bytes);
  } else {
    context_.missing(name);
  }
  return known = made;
}

// Tries the file's own name below the folder, then its last piece beside the scene.
BytesPtr AssimpMaterials::pictureFile(const std::string& name, Filename& found) const {
  const fs::path normal = fs::path(name).lexically_normal();
  for (const std::string& piece : {normal.generic_string(), normal.filename().generic_string()}) {
    const fs::path relative(piece);
    if (piece.empty() || relative.is_absolute() || *relative.begin() == "..") continue;
    try {
      const Filename file = folder_ + Filename(String(piece));
      BytesPtr bytes = readWholeFile(file, context_.options.limits.fileBytes);
      found = absoluteFile(file);
      return bytes;
    } catch (const SceneError&) {
      continue;
    }
  }
  return nullptr;
}

} // namespace host
