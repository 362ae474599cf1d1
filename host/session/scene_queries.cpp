#include "scene_queries.h"

#include <algorithm>
#include <array>
#include <unordered_map>
#include <unordered_set>

#include "document.h"
#include "parameters.h"
#include "plugin_registry.h"

namespace host {

namespace {

struct Above {
  Identity parent = 0;
  int depth = 0;
  bool hiddenEditor = false, hiddenRender = false;
};

ObjectIcon iconOf(const ObjectState& object) {
  return objectIcon(object.type, object.type == Olight ? param::integer(object, param::lightKind) : 0);
}

std::vector<Identity> materialsOf(const ObjectState& object) {
  std::vector<Identity> materials;
  for (const NodeState* tag = object.tags.first(); tag; tag = tag->next) {
    if (tag->type != Ttexture) continue;
    const Identity material = tag->data.GetBaseLink(param::textureMaterial).GetIdentity();
    if (material && std::find(materials.begin(), materials.end(), material) == materials.end())
      materials.push_back(material);
  }
  return materials;
}

void addRows(const NodeList& list, const Above& above, Identity viewCamera, std::vector<ObjectRow>& rows) {
  for (const NodeState* node = list.first(); node; node = node->next) {
    const auto& object = static_cast<const ObjectState&>(*node);
    ObjectRow row;
    row.identity = object.identity;
    row.parent = above.parent;
    row.name = object.name;
    row.type = object.type;
    row.icon = iconOf(object);
    row.depth = above.depth;
    row.hasChildren = object.children.first() != nullptr;
    row.visibleEditor = param::flag(object, param::objectVisibleEditor);
    row.visibleRender = param::flag(object, param::objectVisibleRender);
    row.hiddenEditor = above.hiddenEditor || !row.visibleEditor;
    row.hiddenRender = above.hiddenRender || !row.visibleRender;
    row.selected = (object.bits & BIT_ACTIVE) != 0;
    row.animated = object.tracks != nullptr;
    row.isViewCamera = object.identity == viewCamera;
    row.materials = materialsOf(object);
    const Above below{row.identity, row.depth + 1, row.hiddenEditor, row.hiddenRender};
    rows.push_back(std::move(row));
    addRows(object.children, below, viewCamera, rows);
  }
}

// By param::lightKind.
constexpr std::array lightIcons{ObjectIcon::light, ObjectIcon::spotLight, ObjectIcon::distantLight,
                                ObjectIcon::areaLight, ObjectIcon::diskLight};

struct KnownPost {
  LONG type;
  const char* name;
};
constexpr std::array<KnownPost, 4> knownPosts{{{VPglobalillumination, "Global Illumination"},
                                               {VPambientocclusion, "Ambient Occlusion"},
                                               {VPcaustics, "Caustics"},
                                               {VPhair, "Hair"}}};

String postName(LONG type) {
  for (const KnownPost& known : knownPosts)
    if (known.type == type) return known.name;
  const PluginRegistry* registry = pluginRegistry();
  const VideoPostEntry* entry = registry ? registry->findVideoPost(type) : nullptr;
  return entry && entry->name.Content() ? entry->name : "Effect " + LongToString(type);
}

} // namespace

ObjectIcon objectIcon(LONG type, LONG lightKind) {
  switch (type) {
  case Opolygon:
    return ObjectIcon::mesh;
  case Olight:
    return lightIcons[static_cast<std::size_t>(std::clamp<LONG>(lightKind, 0, lightIcons.size() - 1))];
  case Ocamera:
    return ObjectIcon::camera;
  case Osky:
    return ObjectIcon::sky;
  case Ofloor:
    return ObjectIcon::floor;
  case Osds:
    return ObjectIcon::subdivision;
  default:
    return ObjectIcon::null;
  }
}

std::vector<ObjectRow> objectRows(const BaseDocument& document) {
  const DocumentState& state = *stateOf(&document);
  std::vector<ObjectRow> rows;
  addRows(state.children, {}, state.renderView ? state.renderView->camera : 0, rows);
  return rows;
}

std::vector<ObjectRow> filterRows(const std::vector<ObjectRow>& rows, const String& text) {
  if (!text.Content()) return rows;
  const String wanted = text.ToLower();
  std::unordered_map<Identity, Identity> parents;
  for (const ObjectRow& row : rows)
    parents.emplace(row.identity, row.parent);
  std::unordered_set<Identity> kept;
  for (const ObjectRow& row : rows) {
    if (!row.name.ToLower().FindFirst(wanted, nullptr)) continue;
    for (Identity up = row.identity; up && kept.insert(up).second;) {
      const auto found = parents.find(up);
      up = found == parents.end() ? 0 : found->second;
    }
  }
  std::vector<ObjectRow> result;
  for (const ObjectRow& row : rows)
    if (kept.contains(row.identity)) result.push_back(row);
  return result;
}

const char* typeName(LONG objectType) {
  switch (objectType) {
  case Opolygon:
    return "Mesh";
  case Olight:
    return "Light";
  case Ocamera:
    return "Camera";
  case Ofloor:
    return "Floor";
  case Osky:
    return "Sky";
  case Onull:
    return "Null";
  case Osds:
    return "Subdivision";
  default:
    return "Object";
  }
}

std::vector<MaterialRow> materialRows(const BaseDocument& document) {
  const DocumentState& state = *stateOf(&document);
  std::unordered_map<Identity, int> users;
  forEachObject(state.children, [&](const ObjectState& object) {
    for (const Identity material : materialsOf(object))
      ++users[material];
  });
  std::vector<MaterialRow> rows;
  for (const NodeState* node = state.materials.first(); node; node = node->next)
    rows.push_back({node->identity, node->name, (node->bits & BIT_ACTIVE) != 0, users[node->identity]});
  return rows;
}

namespace {

std::vector<CameraRow> viewRows(const BaseDocument& document, LONG type) {
  const DocumentState& state = *stateOf(&document);
  const Identity current = state.renderView ? state.renderView->camera : 0;
  std::vector<CameraRow> rows;
  forEachObject(state.children, [&](const ObjectState& object) {
    if (object.type == type) rows.push_back({object.identity, object.name, object.identity == current});
  });
  return rows;
}

} // namespace

std::vector<CameraRow> cameraRows(const BaseDocument& document) {
  std::vector<CameraRow> rows = viewRows(document, Ocamera);
  const auto chosen = [](const CameraRow& row) { return row.current; };
  rows.insert(rows.begin(), {0, "Editor Camera", std::none_of(rows.begin(), rows.end(), chosen)});
  return rows;
}

std::vector<CameraRow> lightViewRows(const BaseDocument& document) {
  return viewRows(document, Olight);
}

std::vector<VideoPostRow> videoPostRows(const BaseDocument& document) {
  std::vector<VideoPostRow> rows;
  const RenderDataState* data = activeRenderData(*stateOf(&document));
  for (const NodeState* post = data ? data->posts.first() : nullptr; post; post = post->next)
    rows.push_back({post->identity, post->type, post->name.Content() ? post->name : postName(post->type),
                    (post->bits & BIT_VPDISABLED) == 0});
  return rows;
}

std::vector<VideoPostRow> addableVideoPosts(const BaseDocument& document) {
  const std::vector<VideoPostRow> present = videoPostRows(document);
  std::vector<VideoPostRow> rows;
  const auto offer = [&](LONG type) {
    const auto is = [type](const VideoPostRow& row) { return row.type == type; };
    if (std::none_of(present.begin(), present.end(), is) && std::none_of(rows.begin(), rows.end(), is))
      rows.push_back({0, type, postName(type), true});
  };
  for (const KnownPost& known : knownPosts)
    offer(known.type);
  if (const PluginRegistry* registry = pluginRegistry())
    for (const VideoPostEntry* entry : registry->videoPosts())
      offer(entry->id);
  return rows;
}

GeData renderValue(const BaseDocument& document, LONG id) {
  const RenderDataState* data = activeRenderData(*stateOf(&document));
  return data ? param::value(*data, id) : param::defaultValue(NodeKind::renderData, 0, id);
}

std::vector<Identity> selectedObjects(const BaseDocument& document) {
  std::vector<Identity> selected;
  forEachObject(stateOf(&document)->children, [&](const ObjectState& object) {
    if (object.bits & BIT_ACTIVE) selected.push_back(object.identity);
  });
  return selected;
}

Identity selectedMaterial(const BaseDocument& document) {
  for (const NodeState* node = stateOf(&document)->materials.first(); node; node = node->next)
    if (node->bits & BIT_ACTIVE) return node->identity;
  return 0;
}

BaseObject* findObject(const BaseDocument& document, Identity identity) {
  NodeState* node = findNode(*stateOf(&document), identity);
  return node && node->kind == NodeKind::object ? nodeOf<BaseObject>(node) : nullptr;
}

BaseMaterial* findMaterial(const BaseDocument& document, Identity identity) {
  NodeState* node = findNode(*stateOf(&document), identity);
  return node && node->kind == NodeKind::material ? nodeOf<BaseMaterial>(node) : nullptr;
}

} // namespace host
