#include "gltf_writer.h"

#include <algorithm>
#include <cmath>
#include <set>

#include "gltf_derive.h"
#include "parameters.h"
#include "track_paths.h"

namespace host {

namespace {

bool needsType(const ObjectState& object) {
  switch (object.type) {
  case Onull:
  case Olight:
    return false;
  case Opolygon:
    return !object.mesh;
  case Ocamera:
    return object.tracks != nullptr;
  default:
    return true;
  }
}

Json weightsJson(const std::vector<float>& weights) {
  Json numbers = Json::array();
  for (const float weight : weights)
    numbers.push_back(std::isfinite(weight) ? static_cast<double>(weight) : 0.0);
  return numbers;
}

void writeTransform(const ObjectState& object, Json& json) {
  if (object.pose) {
    const Pose& p = *object.pose;
    json["translation"] = {p.translation.x, p.translation.y, p.translation.z};
    json["rotation"] = {p.rotation.x, p.rotation.y, p.rotation.z, p.rotation.w};
    json["scale"] = {p.scale.x, p.scale.y, p.scale.z};
  } else if (object.local != Matrix()) {
    const Matrix& m = object.local;
    json["matrix"] = {m.v1.x, m.v1.y, m.v1.z, 0.0, m.v2.x,  m.v2.y,  m.v2.z,  0.0,
                      m.v3.x, m.v3.y, m.v3.z, 0.0, m.off.x, m.off.y, m.off.z, 1.0};
  }
}

} // namespace

Json GltfWriter::write() {
  output_["asset"] = Json{{"version", "2.0"}, {"generator", "Lumenara"}};
  output_["scene"] = 0;
  output_["scenes"] = Json::array({Json::object()});
  variants_ = countOf(member(variantsJson(document_), "variants"));
  materials_.writeMaterials(document_.materials);
  writeObjects();
  meshes_.writeSkins(extras_);
  writeAnimations();
  writeDocument();
  finish();
  return std::move(output_.root());
}

void GltfWriter::writeObjects() {
  for (const NodeState* node = document_.children.first(); node; node = node->next)
    output_["scenes"][0]["nodes"].push_back(*extras_.nodeIndex(node->identity));
  const auto weightOf = [](const ObjectState& object) {
    return 1.0 + (object.mesh ? static_cast<double>(object.mesh->triangles.size()) : 0.0);
  };
  double all = 0, done = 0;
  for (const ObjectState* object : extras_.objects())
    all += weightOf(*object);
  for (const ObjectState* object : extras_.objects()) {
    writeObject(*object);
    done += weightOf(*object);
    if (progress_) progress_(done / all);
  }
}

void GltfWriter::writeObject(const ObjectState& object) {
  Json json = Json::object(), extras = Json::object();
  putName(object, json, extras);
  if (needsType(object)) extras["type"] = object.type;
  writeTransform(object, json);
  BaseContainer derived;
  if (object.type == Ocamera) {
    const Json camera = cameraJson(object);
    derived = cameraParameters(camera);
    const auto index = output_.append("cameras", camera);
    json["camera"] = index;
    contents_[object.identity] = static_cast<std::size_t>(index);
  } else if (object.type == Olight) {
    const Json light = lightJson(object);
    derived = lightParameters(light);
    contents_[object.identity] = lights_.size();
    lights_.push_back(light);
    json["extensions"]["KHR_lights_punctual"]["light"] = lights_.size() - 1;
  } else if (object.mesh) {
    const MeshTags tags = meshTagsOf(object);
    json["mesh"] = meshes_.meshIndex(object, tags.materials, tags.mappings);
    if (object.placements)
      json["extensions"]["EXT_mesh_gpu_instancing"]["attributes"] =
          meshes_.placementAttributes(*object.placements);
    if (!object.weights.empty()) json["weights"] = weightsJson(object.weights);
    if (object.skin) json["skin"] = meshes_.skinIndex(object.skin);
  }
  extras_.writeCommon(object, derived, extras);
  if (!object.deform) extras["deform"] = false;
  if (object.picture) extras["image"] = materials_.pictureIndex(object.picture);
  writeTags(object, extras);
  for (const NodeState* child = object.children.first(); child; child = child->next)
    json["children"].push_back(*extras_.nodeIndex(child->identity));
  putExtras(object, std::move(extras), json);
  output_.append("nodes", std::move(json));
}

// The material of a texture tag that loading the mesh would make just so, in a variant or without; -1 for
// other tags.
int GltfWriter::plainMaterial(const NodeState& tag, std::size_t groups, bool ofVariant) const {
  const LONG entries = ofVariant ? 3 : 2;
  if (tag.type != Ttexture || tag.bits != 0 || tag.data.GetCount() != entries || tag.foreignExtras) return -1;
  if (ofVariant ? !isUtf8(tag.name.GetUTF8()) : tag.name.Content()) return -1;
  const LONG ids[] = {param::textureMaterial, param::textureGroup, param::textureVariant};
  for (LONG i = 0; i < entries; ++i)
    if (tag.data.GetIndexId(i) != ids[i] || (i > 0 && tag.data.GetType(ids[i]) != DA_LONG)) return -1;
  const LONG group = param::integer(tag, param::textureGroup);
  if (group < 0 || static_cast<std::size_t>(group) >= groups) return -1;
  const LONG variant = param::integer(tag, param::textureVariant);
  if (ofVariant && (variant < 0 || static_cast<std::size_t>(variant) >= variants_)) return -1;
  return extras_.materialIndex(tag.data.GetBaseLink(param::textureMaterial).GetIdentity()).value_or(-1);
}

// Loading a mesh makes a tag for each primitive with a material, in order, at the front of the list, then
// those of the variants.
GltfWriter::MeshTags GltfWriter::meshTagsOf(const ObjectState& object) const {
  const std::size_t groups = object.mesh->groups.size();
  MeshTags tags{std::vector<int>(groups, -1), std::vector<Json>(groups), object.tags.first()};
  LONG last = -1;
  for (; tags.other; tags.other = tags.other->next) {
    const int material = plainMaterial(*tags.other, groups, false);
    const LONG group = param::integer(*tags.other, param::textureGroup);
    if (material < 0 || group <= last) break;
    tags.materials[static_cast<std::size_t>(group)] = material;
    last = group;
  }
  for (last = -1; tags.other; tags.other = tags.other->next) {
    const int material = plainMaterial(*tags.other, groups, true);
    const LONG group = param::integer(*tags.other, param::textureGroup);
    if (material < 0 || group < last) break;
    addMapping(tags.mappings[static_cast<std::size_t>(group)], *tags.other, material);
    last = group;
  }
  return tags;
}

// Tags of the same material one after another share a mapping.
void GltfWriter::addMapping(Json& mappings, const NodeState& tag, int material) {
  const std::string& name = tag.name.GetUTF8();
  Json mapping{{"material", material}, {"variants", Json::array()}};
  if (!name.empty()) mapping["name"] = name;
  if (mappings.is_null()) mappings = Json::array();
  const bool another =
      mappings.empty() || mappings.back()["material"] != material || textIn(mappings.back(), "name") != name;
  if (another) mappings.push_back(std::move(mapping));
  mappings.back()["variants"].push_back(param::integer(tag, param::textureVariant));
}

void GltfWriter::writeTags(const ObjectState& object, Json& extras) {
  const bool bringsTags = object.mesh && object.type == Opolygon;
  for (const NodeState* tag = bringsTags ? meshTagsOf(object).other : object.tags.first(); tag;
       tag = tag->next)
    extras["tags"].push_back(extras_.entry(*tag));
}

void GltfWriter::writeAnimations() {
  if (document_.animationNames.empty()) return;
  std::vector<Json> animations;
  for (const std::string& name : document_.animationNames) {
    Json animation{{"channels", Json::array()}, {"samplers", Json::array()}};
    if (isUtf8(name) && !name.empty()) animation["name"] = name;
    animations.push_back(std::move(animation));
  }
  for (const ObjectState* object : extras_.objects()) {
    if (!object->tracks) continue;
    for (const Track& track : *object->tracks)
      if (track.animation < animations.size()) writeTrack(*object, track, animations[track.animation]);
  }
  output_["animations"] = std::move(animations);
}

// A null value when the object has no such property.
Json GltfWriter::targetOf(const ObjectState& object, TrackPath path) {
  static constexpr const char* paths[] = {"translation", "rotation", "scale", "weights"};
  if (path <= TrackPath::weights)
    return Json{{"node", *extras_.nodeIndex(object.identity)}, {"path", paths[static_cast<int>(path)]}};
  const auto found = contents_.find(object.identity);
  if (found == contents_.end() || parameterOf(path, object.type) == 0) return nullptr;
  const std::string index = std::to_string(found->second);
  const std::string light = "/extensions/KHR_lights_punctual/lights/" + index;
  const std::string pointer = path == trackLightColor       ? light + "/color"
                              : path == trackLightIntensity ? light + "/intensity"
                                                            : "/cameras/" + index + "/perspective/yfov";
  pointers_ = true;
  return Json{{"path", "pointer"}, {"extensions", {{"KHR_animation_pointer", {{"pointer", pointer}}}}}};
}

void GltfWriter::writeTrack(const ObjectState& object, const Track& track, Json& animation) {
  const Json target = targetOf(object, track.path);
  if (target.is_null()) return;
  static constexpr const char* kinds[] = {"STEP", "LINEAR", "CUBICSPLINE"};
  const auto& [input, output] = meshes_.curveAccessors(track);
  Json sampler{{"input", input},
               {"output", output},
               {"interpolation", kinds[static_cast<int>(track.curve->interpolation)]}};
  animation["channels"].push_back(Json{{"sampler", animation["samplers"].size()}, {"target", target}});
  animation["samplers"].push_back(std::move(sampler));
}

void GltfWriter::writeDocument() {
  const DocumentState& d = document_;
  Json extras{{"version", 1}};
  if (d.name.Content()) extras["name"] = textJson(d.name.GetUTF8());
  extras["fps"] = d.fps;
  extras["time"] = timeJson(d.time), extras["minTime"] = timeJson(d.minTime),
  extras["maxTime"] = timeJson(d.maxTime);
  extras["loopMinTime"] = timeJson(d.loopMinTime), extras["loopMaxTime"] = timeJson(d.loopMaxTime);
  extras["lod"] = d.lod;
  extras["posed"] = true;
  if (Json variants = variantsJson(d); !variants.is_null())
    output_["extensions"]["KHR_materials_variants"] = std::move(variants);
  extras_.writeCommon(d, variantParameters(output_.root()), extras);
  extras["renderData"] = Json::array();
  for (const NodeState* data = d.renderData.first(); data; data = data->next) {
    if (data->identity == d.activeRenderData) extras["activeRenderData"] = extras["renderData"].size();
    Json json = extras_.entry(*data, false);
    for (const NodeState* post = static_cast<const RenderDataState*>(data)->posts.first(); post;
         post = post->next)
      json["videoPosts"].push_back(extras_.entry(*post));
    extras["renderData"].push_back(std::move(json));
  }
  writeViews(extras);
  putExtras(d, std::move(extras), output_.root());
}

void GltfWriter::writeViews(Json& extras) {
  int index = 0;
  for (const NodeState* node = document_.views.first(); node; node = node->next, ++index) {
    const auto& view = static_cast<const ViewState&>(*node);
    Json json = extras_.entry(view, false);
    if (view.camera != 0) json["camera"] = extras_.link(view.camera);
    json["frame"] = view.area;
    Json camera = extras_.entry(*view.editorCamera, false);
    camera["matrix"] = matrixJson(view.editorCamera->local);
    for (const NodeState* tag = view.editorCamera->tags.first(); tag; tag = tag->next)
      camera["tags"].push_back(extras_.entry(*tag));
    json["editorCamera"] = std::move(camera);
    if (&view == document_.activeView) extras["activeView"] = index;
    if (&view == document_.renderView) extras["renderView"] = index;
    extras["views"].push_back(std::move(json));
  }
}

void GltfWriter::finish() {
  extras_.dropUnusedRefs(output_.root());
  if (!lights_.empty()) output_["extensions"]["KHR_lights_punctual"]["lights"] = lights_;
  if (!output_.data().empty())
    output_["buffers"] = Json::array({Json{{"byteLength", output_.data().size()}}});
  nameExtensions();
}

// Lists the extensions in use. Those without which the scene cannot be shown are required: a texture whose
// only picture is a WebP one.
void GltfWriter::nameExtensions() {
  std::set<std::string> used, required;
  const auto name = [&](const Json& item) {
    for (const auto& [extension, part] : member(item, "extensions").items())
      used.insert(extension);
  };
  for (const char* list : {"nodes", "materials", "textures", "meshes"}) {
    if (!output_.root().contains(list)) continue;
    for (const Json& item : output_[list]) {
      name(item);
      if (extension(item, "EXT_texture_webp").is_object() && !item.contains("source"))
        required.insert("EXT_texture_webp");
      const Json& primitives = member(item, "primitives");
      for (std::size_t i = 0; i < countOf(primitives); ++i)
        name(primitives[i]);
    }
  }
  name(output_.root());
  if (output_.root().contains("materials") &&
      output_["materials"].dump().find("KHR_texture_transform") != std::string::npos)
    used.emplace("KHR_texture_transform");
  if (pointers_) used.emplace("KHR_animation_pointer");
  if (!used.empty()) output_["extensionsUsed"] = used;
  if (!required.empty()) output_["extensionsRequired"] = required;
}

} // namespace host
