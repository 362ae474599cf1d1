#include "document_image.h"

#include <algorithm>
#include <unordered_set>

#include "document_range.h"
#include "lens_setting.h"
#include "parameters.h"
#include "track_paths.h"

namespace host {

namespace {

struct ObjectPart : ObjectValues {
  bool driven = false; // tracks or expressions move it
};

struct DocumentPart {
  Identity activeRenderData = 0;
  BaseTime time, minTime, maxTime, loopMinTime, loopMaxTime;
  LONG fps = 30;
  Real lod = 1;
  std::vector<std::string> animationNames;
};

using Slots = std::array<Identity, slotCount>;
constexpr std::size_t listCount = 3; // of a document without its views; of others all that they have

} // namespace

struct NodeImage {
  NodeKind kind{};
  LONG type = 0, bits = 0;
  Identity identity = 0;
  String name;
  BaseContainer data;
  std::shared_ptr<const std::string> foreignExtras;
  PicturePtr picture;
  std::unique_ptr<ObjectPart> object;
  std::unique_ptr<Slots> slots;
  std::unique_ptr<DocumentPart> document;
  std::array<std::vector<ImagePtr>, listCount> lists;
};

namespace {

const NodeList* listAt(const NodeState& node, std::size_t index) {
  return listsOf(node)[index];
}

bool isDriven(const ObjectState& object) {
  if (object.tracks) return true;
  for (const NodeState* tag = object.tags.first(); tag; tag = tag->next)
    if (tag->type == Ttargetexpression) return true;
  return false;
}

bool sameTime(const BaseTime& a, const BaseTime& b) {
  return a.GetNumerator() == b.GetNumerator() && a.GetDenominator() == b.GetDenominator();
}

bool sameObject(const ObjectState& a, const ObjectPart& b) {
  return a.local == b.local && a.pose == b.pose && a.deform == b.deform && a.mesh == b.mesh &&
         a.placements == b.placements && a.deformation == b.deformation && a.weights == b.weights &&
         a.skin == b.skin && a.tracks == b.tracks;
}

bool sameDocument(const DocumentState& a, const DocumentPart& b) {
  return a.activeRenderData == b.activeRenderData && sameTime(a.time, b.time) &&
         sameTime(a.minTime, b.minTime) && sameTime(a.maxTime, b.maxTime) &&
         sameTime(a.loopMinTime, b.loopMinTime) && sameTime(a.loopMaxTime, b.loopMaxTime) && a.fps == b.fps &&
         a.lod == b.lod && a.animationNames == b.animationNames;
}

const PicturePtr& pictureOf(const NodeState& node) {
  static const PicturePtr none;
  if (node.kind == NodeKind::object) return static_cast<const ObjectState&>(node).picture;
  return node.kind == NodeKind::shader ? static_cast<const ShaderState&>(node).picture : none;
}

// Whether a node has the values of its image, apart from the nodes it owns.
bool sameValues(const NodeState& node, const NodeImage& image) {
  if (node.bits != image.bits || node.name != image.name || node.foreignExtras != image.foreignExtras ||
      pictureOf(node) != image.picture || !(node.data == image.data))
    return false;
  switch (node.kind) {
  case NodeKind::object:
    return sameObject(static_cast<const ObjectState&>(node), *image.object) &&
           isDriven(static_cast<const ObjectState&>(node)) == image.object->driven;
  case NodeKind::material:
    return static_cast<const MaterialState&>(node).shaderSlots == *image.slots;
  case NodeKind::document:
    return sameDocument(static_cast<const DocumentState&>(node), *image.document);
  default:
    return true;
  }
}

void readObject(const ObjectState& from, ObjectPart& to) {
  static_cast<ObjectValues&>(to) = from;
  to.driven = isDriven(from);
}

void readDocument(const DocumentState& from, DocumentPart& to) {
  to.time = from.time;
  to.animationNames = from.animationNames;
  copyRange(from, to);
}

std::shared_ptr<NodeImage> readValues(const NodeState& node) {
  auto image = std::make_shared<NodeImage>();
  image->kind = node.kind;
  image->type = node.type;
  image->bits = node.bits;
  image->identity = node.identity;
  image->name = node.name;
  image->data = node.data;
  image->foreignExtras = node.foreignExtras;
  image->picture = pictureOf(node);
  if (node.kind == NodeKind::object) {
    image->object = std::make_unique<ObjectPart>();
    readObject(static_cast<const ObjectState&>(node), *image->object);
  } else if (node.kind == NodeKind::material) {
    image->slots = std::make_unique<Slots>(static_cast<const MaterialState&>(node).shaderSlots);
  } else if (node.kind == NodeKind::document) {
    image->document = std::make_unique<DocumentPart>();
    readDocument(static_cast<const DocumentState&>(node), *image->document);
  }
  return image;
}

// The image of a node in an earlier image's list; it is mostly near its old index.
ImagePtr earlier(const std::vector<ImagePtr>* list, std::size_t index, Identity identity) {
  constexpr std::size_t farthest = 4096; // a node that moved further is not shared: that costs memory only
  const std::size_t count = list ? list->size() : 0;
  if (count == 0) return nullptr;
  const auto is = [&](std::size_t at) { return at < count && (*list)[at]->identity == identity; };
  for (std::size_t away = 0; away <= std::min(std::max(index, count), farthest); ++away) {
    if (is(index + away)) return (*list)[index + away];
    if (away <= index && is(index - away)) return (*list)[index - away];
  }
  return nullptr;
}

ImagePtr take(const NodeState& node, const ImagePtr& previous) {
  std::array<std::vector<ImagePtr>, listCount> lists;
  bool same = previous && sameValues(node, *previous);
  for (std::size_t i = 0; i < listCount; ++i) {
    const NodeList* list = listAt(node, i);
    const std::vector<ImagePtr>* before = previous ? &previous->lists[i] : nullptr;
    std::size_t index = 0;
    for (const NodeState* child = list ? list->first() : nullptr; child; child = child->next, ++index)
      lists[i].push_back(take(*child, earlier(before, index, child->identity)));
    same = same && lists[i] == *before;
  }
  if (same) return previous;
  auto image = readValues(node);
  image->lists = std::move(lists);
  return image;
}

// --- comparing ---

struct Difference {
  bool sameMoment;
  bool inPictures = false; // only differences that they may show

  bool objects(const ObjectPart& a, const ObjectPart& b) const {
    if (a.deform != b.deform || a.mesh != b.mesh || a.placements != b.placements ||
        a.deformation != b.deformation || a.skin != b.skin || a.tracks != b.tracks)
      return true;
    if (a.driven && b.driven && !sameMoment) return false;
    return !(a.local == b.local) || a.pose != b.pose || a.weights != b.weights;
  }

  bool documents(const DocumentPart& a, const DocumentPart& b) const {
    if (a.activeRenderData != b.activeRenderData || a.fps != b.fps || a.lod != b.lod ||
        a.animationNames != b.animationNames)
      return true;
    return !inPictures &&
           (!sameTime(a.minTime, b.minTime) || !sameTime(a.maxTime, b.maxTime) ||
            !sameTime(a.loopMinTime, b.loopMinTime) || !sameTime(a.loopMaxTime, b.loopMaxTime));
  }

  // At another time tracks set other values.
  void leaveOutTracks(const NodeImage& node, BaseContainer& first, BaseContainer& second) const {
    if (sameMoment || !node.object || !node.object->tracks) return;
    for (const Track& track : *node.object->tracks)
      if (const LONG id = parameterOf(track.path, node.type); id != 0)
        first.RemoveData(id), second.RemoveData(id);
  }

  bool data(const NodeImage& a, const NodeImage& b) const {
    if (a.data == b.data) return false;
    BaseContainer first = a.data, second = b.data;
    leaveOutTracks(a, first, second);
    if (first == second) return false;
    if (!inPictures || (a.kind != NodeKind::object && a.kind != NodeKind::renderData)) return true;
    for (BaseContainer* values : {&first, &second})
      if (a.kind == NodeKind::object)
        values->RemoveData(param::objectVisibleEditor); // for the editor's view alone
      else
        render::writeLens(*values, {}); // it changes no pixel of a render
    return !(first == second);
  }

  bool values(const NodeImage& a, const NodeImage& b) const {
    const bool selectable = a.kind == NodeKind::object || a.kind == NodeKind::material;
    const LONG bits = selectable ? ~BIT_ACTIVE : -1;
    if (a.identity != b.identity || a.name != b.name || (a.bits & bits) != (b.bits & bits) ||
        a.foreignExtras != b.foreignExtras || a.picture != b.picture || data(a, b))
      return true;
    if (a.object && objects(*a.object, *b.object)) return true;
    if (a.slots && *a.slots != *b.slots) return true;
    return a.document && documents(*a.document, *b.document);
  }

  bool nodes(const ImagePtr& a, const ImagePtr& b) const {
    if (a == b) return false;
    if (values(*a, *b)) return true;
    for (std::size_t i = 0; i < listCount; ++i) {
      if (a->lists[i].size() != b->lists[i].size()) return true;
      for (std::size_t k = 0; k < a->lists[i].size(); ++k)
        if (nodes(a->lists[i][k], b->lists[i][k])) return true;
    }
    return false;
  }
};

// Visits the nodes of an image that another image does not share.
template <class Visit>
void forEachUnshared(const ImagePtr& image, const ImagePtr& other, const Visit& visit) {
  if (image == other) return;
  visit(*image);
  for (std::size_t i = 0; i < listCount; ++i) {
    const std::vector<ImagePtr>* beside = other ? &other->lists[i] : nullptr;
    std::size_t index = 0;
    for (const ImagePtr& child : image->lists[i]) {
      const bool shared = beside && index < beside->size() && (*beside)[index] == child;
      if (!shared) forEachUnshared(child, earlier(beside, index, child->identity), visit);
      ++index;
    }
  }
}

// The selected nodes among those that the other image does not share.
std::vector<Identity> selectionBeside(const ImagePtr& image, const ImagePtr& other) {
  std::vector<Identity> selected;
  forEachUnshared(image, other, [&](const NodeImage& node) {
    if ((node.kind == NodeKind::object || node.kind == NodeKind::material) && (node.bits & BIT_ACTIVE))
      selected.push_back(node.identity);
  });
  std::sort(selected.begin(), selected.end());
  return selected;
}

// --- putting back ---

class Putter {
 public:
  explicit Putter(NodeState& root) : root_(root) {
    forEachOwned(root, [this](NodeState& node) {
      if (node.kind != NodeKind::view && node.list) live_.emplace(node.identity, &node);
    });
  }

  void put(const NodeImage& image) {
    place(root_, image);
    std::vector<NodeState*> gone; // the topmost nodes that the image does not have
    for (const auto& [identity, node] : live_)
      if (!live_.contains(node->list->owner()->identity)) gone.push_back(node);
    for (NodeState* node : gone)
      destroyNode(node);
  }

 private:
  // Parents come before their children, so a node is never put below itself.
  void place(NodeState& node, const NodeImage& image) {
    if (!sameValues(node, image)) assign(node, image);
    for (std::size_t i = 0; i < listCount; ++i) {
      auto* list = const_cast<NodeList*>(listAt(node, i));
      if (!list) continue;
      NodeState* pred = nullptr;
      for (const ImagePtr& child : image.lists[i]) {
        NodeState* state = find(*child);
        if (state->list != list || state->prev != pred) {
          if (state->list) state->list->remove(*state);
          list->insertAfter(*state, pred);
        }
        place(*state, *child);
        pred = state;
      }
    }
  }

  // Finds or makes a wanted node and takes it off the candidates for deletion.
  NodeState* find(const NodeImage& image) {
    const auto found = live_.find(image.identity);
    if (found != live_.end()) {
      NodeState* node = found->second;
      live_.erase(found);
      return node;
    }
    NodeState* node = makeNode(image.kind, image.type);
    node->identity = image.identity;
    return node;
  }

  static void assign(NodeState& node, const NodeImage& image) {
    node.bits = image.bits;
    node.name = image.name;
    if (!(node.data == image.data)) node.data = image.data;
    node.foreignExtras = image.foreignExtras;
    if (node.kind == NodeKind::object)
      assignObject(static_cast<ObjectState&>(node), image);
    else if (node.kind == NodeKind::material)
      static_cast<MaterialState&>(node).shaderSlots = *image.slots;
    else if (node.kind == NodeKind::shader)
      static_cast<ShaderState&>(node).picture = image.picture;
    else if (node.kind == NodeKind::document)
      assignDocument(static_cast<DocumentState&>(node), *image.document);
  }

  static void assignObject(ObjectState& to, const NodeImage& image) {
    static_cast<ObjectValues&>(to) = *image.object;
    to.picture = image.picture;
  }

  static void assignDocument(DocumentState& to, const DocumentPart& from) {
    to.animationNames = from.animationNames;
    copyRange(from, to);
  }

  NodeState& root_;
  std::unordered_map<Identity, NodeState*> live_; // nodes below the root not yet found in the image
};

std::size_t bytesOf(const Mesh& mesh) {
  return mesh.positions.size() * sizeof(Float3) + mesh.normals.size() * sizeof(Float3) +
         mesh.tangents.size() * sizeof(Float4) + (mesh.uv[0].size() + mesh.uv[1].size()) * sizeof(Float2) +
         mesh.colors.size() * sizeof(Float4) + mesh.triangles.size() * 3 * sizeof(std::uint32_t);
}

std::size_t bytesOf(const PicturePtr& picture) {
  return picture && picture->bytes ? picture->bytes->size() : 0;
}

} // namespace

ImagePtr takeImage(const DocumentState& document, const ImagePtr& previous) {
  return take(document, previous && previous->identity == document.identity ? previous : nullptr);
}

ImagePtr takeImage(const NodeState& node, const ImagePtr& previous) {
  return take(node, previous && previous->identity == node.identity ? previous : nullptr);
}

bool sameLook(const ImagePtr& a, const ImagePtr& b) {
  return a == b || (a && b && !Difference{true}.nodes(a, b));
}

bool differs(const ImagePtr& a, const ImagePtr& b) {
  return Difference{sameTime(a->document->time, b->document->time)}.nodes(a, b);
}

bool pictureDiffers(const ImagePtr& a, const ImagePtr& b) {
  return Difference{sameTime(a->document->time, b->document->time), true}.nodes(a, b);
}

bool selectionDiffers(const ImagePtr& a, const ImagePtr& b) {
  return a != b && selectionBeside(a, b) != selectionBeside(b, a);
}

void putImage(DocumentState& document, const ImagePtr& image) {
  const std::lock_guard lock(document.mutex);
  Putter(document).put(*image);
}

void putImage(NodeState& node, const ImagePtr& image) {
  if (node.kind == image->kind && node.type == image->type) Putter(node).put(*image);
}

std::size_t heldBeyond(const ImagePtr& image, const ImagePtr& other) {
  std::unordered_set<const void*> known; // geometry and pictures of the differing nodes
  const auto geometryOf = [](const NodeImage& node) {
    return node.object ? static_cast<const void*>(node.object->mesh.get()) : nullptr;
  };
  forEachUnshared(other, image, [&](const NodeImage& node) {
    known.insert(geometryOf(node));
    known.insert(node.picture.get());
  });
  std::size_t bytes = 0;
  forEachUnshared(image, other, [&](const NodeImage& node) {
    bytes += sizeof(NodeImage) + (node.object ? sizeof(ObjectPart) : 0);
    for (const auto& list : node.lists)
      bytes += list.size() * sizeof(ImagePtr);
    if (geometryOf(node) && known.insert(geometryOf(node)).second) bytes += bytesOf(*node.object->mesh);
    if (node.picture && known.insert(node.picture.get()).second) bytes += bytesOf(node.picture);
  });
  return bytes;
}

BaseTime timeOf(const ImagePtr& image) {
  return image->document->time;
}

const BaseContainer& containerOf(const ImagePtr& image) {
  return image->data;
}

} // namespace host
