#include "texture_list.h"

#include <algorithm>
#include <array>

#include "node_state.h"
#include "parameters.h"

namespace host {

namespace {

// By slot.
constexpr std::array<const char*, slotCount> slotNames{"Color",
                                                       "Emission",
                                                       "Transparency",
                                                       "Metal and Roughness",
                                                       "Environment",
                                                       "Fog",
                                                       "Bump",
                                                       "Alpha",
                                                       "Highlight",
                                                       "Specular Color",
                                                       "Glow",
                                                       "Displacement",
                                                       "Occlusion",
                                                       "Normal",
                                                       "Specular",
                                                       "Clear Coat",
                                                       "Clear Coat Roughness",
                                                       "Clear Coat Normal",
                                                       "Thickness",
                                                       "Sheen Color",
                                                       "Sheen Roughness",
                                                       "Anisotropy",
                                                       "Iridescence",
                                                       "Film Thickness",
                                                       "Translucency",
                                                       "Translucency Color"};

std::string lastPiece(const std::string& path) {
  const std::size_t slash = path.find_last_of("/\\");
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::string nameOf(const Picture& picture) {
  if (picture.file.Content()) return picture.file.GetFileString().GetUTF8();
  return lastPiece(picture.name.empty() ? picture.uri : picture.name);
}

std::string referenceOf(const Picture& picture) {
  if (picture.file.Content()) return picture.file.GetString().GetUTF8();
  return picture.uri.empty() ? picture.name : picture.uri;
}

// Some strengths are the material's own values, as glTF has them.
void setStrength(TextureEntry& entry, int slot) {
  entry.strength = slot == CHANNEL_NORMAL        ? AttributeId::materialNormalStrength
                   : slot == CHANNEL_DIFFUSION   ? AttributeId::materialOcclusionStrength
                   : slot == slotClearcoatNormal ? AttributeId::materialCoatNormalStrength
                                                 : AttributeId::textureStrength;
  entry.strengthNode = entry.strength == AttributeId::textureStrength ? entry.shader : entry.material;
}

TextureEntry entryOf(const MaterialState& material, const ShaderState& shader, int slot, bool layered) {
  TextureEntry entry;
  entry.material = material.identity;
  entry.shader = shader.identity;
  entry.use = slotNames[static_cast<std::size_t>(slot)];
  entry.picture = shader.picture;
  entry.on = !param::flag(shader, param::bitmapOff);
  if (shader.picture) {
    entry.name = nameOf(*shader.picture);
    entry.file = shader.picture->file;
    entry.missing = !shader.picture->bytes;
  }
  setStrength(entry, layered ? -1 : slot);
  return entry;
}

void addBitmaps(const MaterialState& material, const NodeState& node, int slot, bool layered,
                std::vector<TextureEntry>& to) {
  if (node.kind == NodeKind::shader && node.type == Xbitmap)
    to.push_back(entryOf(material, static_cast<const ShaderState&>(node), slot, layered));
  for (const NodeState* child = node.children.first(); child; child = child->next)
    addBitmaps(material, *child, slot, true, to);
}

// Calls `visit` with the picture's place and the name of its user.
template <class State, class Visit>
void forEachPicture(State& document, const Visit& visit) {
  for (NodeState* material = document.materials.first(); material; material = material->next)
    forEachOwned(*material, [&](const NodeState& node) {
      auto& shader = const_cast<ShaderState&>(static_cast<const ShaderState&>(node));
      if (node.kind == NodeKind::shader && shader.picture) visit(shader, shader.picture, *material);
    });
  for (NodeState* top = document.children.first(); top; top = top->next) {
    const auto sky = [&](const NodeState& node) {
      auto& object = const_cast<ObjectState&>(static_cast<const ObjectState&>(node));
      if (node.kind == NodeKind::object && object.picture) visit(object, object.picture, object);
    };
    sky(*top);
    forEachOwned(*top, sky);
  }
}

// A texture is named after its picture, as one that a scene brings.
void putPicture(NodeState& node, PicturePtr& place, const PicturePtr& picture) {
  if (node.kind == NodeKind::shader && (!place || node.name.GetUTF8() == place->name))
    node.name = String(picture->name);
  place = picture;
}

} // namespace

std::vector<TextureEntry> texturesOf(const BaseDocument& document, Identity material) {
  std::vector<TextureEntry> entries;
  const NodeState* node = findNode(*stateOf(&document), material);
  if (!node || node->kind != NodeKind::material) return entries;
  const auto& state = static_cast<const MaterialState&>(*node);
  for (int slot = 0; slot < slotCount; ++slot) {
    const Identity wanted = state.shaderSlots[static_cast<std::size_t>(slot)];
    for (const NodeState* shader = wanted ? state.shaders.first() : nullptr; shader; shader = shader->next)
      if (shader->identity == wanted) addBitmaps(state, *shader, slot, false, entries);
  }
  return entries;
}

std::vector<Identity> materialsShown(const BaseDocument& document, std::span<const Identity> objects) {
  std::vector<Identity> materials;
  for (const Identity identity : objects) {
    const NodeState* node = findNode(*stateOf(&document), identity);
    if (!node || node->kind != NodeKind::object) continue;
    for (const NodeState* tag = static_cast<const ObjectState*>(node)->tags.first(); tag; tag = tag->next) {
      if (tag->type != Ttexture) continue;
      const Identity material = tag->data.GetBaseLink(param::textureMaterial).GetIdentity();
      const NodeState* there = material ? findNode(*stateOf(&document), material) : nullptr;
      if (there && there->kind == NodeKind::material &&
          std::find(materials.begin(), materials.end(), material) == materials.end())
        materials.push_back(material);
    }
  }
  return materials;
}

std::vector<MissingPicture> missingPictures(const BaseDocument& document) {
  std::vector<MissingPicture> missing;
  forEachPicture(*stateOf(&document), [&](NodeState&, const PicturePtr& picture, const NodeState& user) {
    if (picture->bytes) return;
    auto place = std::find_if(missing.begin(), missing.end(),
                              [&](const MissingPicture& m) { return m.picture == picture->id; });
    if (place == missing.end())
      place = missing.insert(place, {picture->id, nameOf(*picture), referenceOf(*picture), {}});
    const std::string name = user.name.GetUTF8();
    if (std::find(place->users.begin(), place->users.end(), name) == place->users.end())
      place->users.push_back(name);
  });
  return missing;
}

bool setTexturePicture(BaseDocument& document, Identity shader, const PicturePtr& picture) {
  NodeState* node = findNode(*stateOf(&document), shader);
  if (!picture || !node || node->kind != NodeKind::shader || node->type != Xbitmap) return false;
  putPicture(*node, static_cast<ShaderState&>(*node).picture, picture);
  return true;
}

bool exchangePictures(BaseDocument& document, const PictureExchange& exchange) {
  bool done = false;
  forEachPicture(*stateOf(&document), [&](NodeState& node, PicturePtr& place, const NodeState&) {
    const auto other = exchange.find(place->id);
    if (other == exchange.end() || !other->second) return;
    putPicture(node, place, other->second);
    done = true;
  });
  return done;
}

} // namespace host
