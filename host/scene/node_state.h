// The state behind the interface's nodes, with lists and ownership. One thread writes a document's nodes, and
// holds the document's lock (`lockOf`) for every write, so that another thread may clone the document
// meanwhile.
#pragma once

#include <array>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "access.h"
#include "animation.h"
#include "deformation.h"
#include "identity.h"
#include "mesh_placements.h"
#include "snapshot.h"

namespace host {

enum class NodeKind : std::uint8_t { document, object, tag, material, shader, renderData, videoPost, view };

struct DocumentState;
struct NodeState;

/// A list of nodes that it owns.
class NodeList {
 public:
  explicit NodeList(NodeState* owner) noexcept : owner_(owner) {}
  ~NodeList();
  NodeList(const NodeList&) = delete;
  NodeList& operator=(const NodeList&) = delete;

  NodeState* owner() const noexcept { return owner_; }
  NodeState* first() const noexcept { return first_; }
  NodeState* last() const noexcept { return last_; }
  /// Inserts a node that is in no list after `pred` (null: first) and adds it to the owner's document.
  void insertAfter(NodeState& node, NodeState* pred);
  void append(NodeState& node) { insertAfter(node, last_); }
  /// Takes a node out of this list and of the document.
  void remove(NodeState& node);

 private:
  NodeState* owner_;
  NodeState* first_ = nullptr;
  NodeState* last_ = nullptr;
};

struct NodeState {
  NodeState(NodeKind nodeKind, LONG nodeType) : kind(nodeKind), type(nodeType) {}
  virtual ~NodeState() = default;
  NodeState(const NodeState&) = delete;
  NodeState& operator=(const NodeState&) = delete;

  NodeKind kind;
  LONG type;
  LONG bits = 0;
  Identity identity = newIdentity();
  String name;
  BaseContainer data;
  std::shared_ptr<const std::string> foreignExtras; // JSON of other programs, kept with the node

  BaseList2D* node = nullptr; // the interface object, which lives as long as the state
  DocumentState* document = nullptr;
  NodeList* list = nullptr;
  NodeState* next = nullptr;
  NodeState* prev = nullptr;
  NodeList children{this}; // of objects and shaders; of documents the objects
  NodeList shaders{this};  // of materials
};

/// The values of an object that clones and undo steps copy as they are; the large ones are shared.
struct ObjectValues {
  Matrix local;
  std::optional<Pose> pose; // if present, `local` is its matrix
  bool deform = true;
  MeshPtr mesh;             // polygon objects
  PlacementsPtr placements; // of copies of the mesh; null: one, at the object's own place
  DeformationPtr deformation;
  std::vector<float> weights; // of the morph targets, at the document's time
  SkinPtr skin;
  TracksPtr tracks;
};

struct ObjectState : NodeState, ObjectValues {
  explicit ObjectState(LONG nodeType) : NodeState(NodeKind::object, nodeType) {}

  PicturePtr picture; // the sky's
  NodeList tags{this};
};

struct ShaderState : NodeState {
  explicit ShaderState(LONG nodeType) : NodeState(NodeKind::shader, nodeType) {}
  PicturePtr picture; // a bitmap's
};

/// Slots for shaders: the channels, then those without a channel.
inline constexpr int channelCount = 14;
inline constexpr int slotSpecular = 14, slotClearcoat = 15, slotClearcoatRoughness = 16,
                     slotClearcoatNormal = 17, slotThickness = 18, slotSheenColor = 19,
                     slotSheenRoughness = 20, slotAnisotropy = 21, slotIridescence = 22, slotFilm = 23,
                     slotDiffuseTransmission = 24, slotDiffuseTransmissionColor = 25, slotCount = 26;

struct MaterialState : NodeState {
  explicit MaterialState(LONG nodeType) : NodeState(NodeKind::material, nodeType) {}
  using ChannelPtr = std::unique_ptr<BaseChannel, void (*)(BaseChannel*)>;

  std::array<Identity, slotCount> shaderSlots{}; // the top shader of each slot, in `shaders`
  std::vector<ChannelPtr> channels;              // those handed out so far
};

struct RenderDataState : NodeState {
  RenderDataState() : NodeState(NodeKind::renderData, 0) {}
  NodeList posts{this};
};

struct ViewState : NodeState {
  ViewState() : NodeState(NodeKind::view, 0) {}
  ~ViewState() override;

  Identity camera = 0; // 0: the view's own
  ObjectState* editorCamera = nullptr;
  std::array<LONG, 4> area{0, 0, 1280, 720};    // left, top, right, bottom (behind the last pixel)
  std::optional<std::array<LONG, 3>> safeFrame; // from, to, orientation; nothing: the whole frame
};

struct DocumentState : NodeState {
  DocumentState() : NodeState(NodeKind::document, 0) { document = this; }

  NodeList materials{this}, renderData{this}, views{this};
  Identity activeRenderData = 0; // 0: the first
  ViewState* activeView = nullptr;
  ViewState* renderView = nullptr;
  BaseTime time, minTime, maxTime{90, 30}, loopMinTime, loopMaxTime{90, 30};
  LONG fps = 30;
  Real lod = 1;
  String fileName, path;
  bool changed = false;
  std::vector<std::string> animationNames;
  bool posed = false; // the objects stand in the pose of `time`

  mutable std::recursive_mutex mutex;
  mutable std::unordered_map<Identity, NodeState*> index; // of all nodes, while `indexed`
  mutable bool indexed = false;
};

/// Makes a node with its interface object. The caller owns it until it is put into a list.
NodeState* makeNode(NodeKind kind, LONG type);
ObjectState* makeObject(LONG type);
/// Takes a node out of its list and deletes it with all nodes that it owns. Ignores null.
void destroyNode(NodeState* node) noexcept;

/// The node with this identity in the document; null when it is not there.
NodeState* findNode(const DocumentState& document, Identity identity);

/// Locks the node's document; an empty lock for a node outside a document.
std::unique_lock<std::recursive_mutex> lockOf(const NodeState* node);

/// Calls `visit` with every node that `root` owns, parents first, without `root` itself.
template <class Visit>
void forEachOwned(const NodeState& root, const Visit& visit);

/// All lists of a node, whatever its kind; null where the kind has fewer.
std::array<const NodeList*, 6> listsOf(const NodeState& node) noexcept;

template <class Visit>
void forEachOwned(const NodeState& root, const Visit& visit) {
  for (const NodeList* list : listsOf(root)) {
    for (NodeState* child = list ? list->first() : nullptr; child; child = child->next) {
      visit(*child);
      forEachOwned(*child, visit);
    }
  }
  if (root.kind == NodeKind::view) {
    if (auto* camera = static_cast<const ViewState&>(root).editorCamera) {
      visit(*camera);
      forEachOwned(*camera, visit);
    }
  }
}

/// Whether the host knows the type of a node of this kind.
bool isKnownType(NodeKind kind, LONG type) noexcept;

/// The state behind an interface node, as its own kind; null for null.
inline NodeState* stateOf(const BaseList2D* node) noexcept {
  return Access::state(node);
}
inline ObjectState* stateOf(const BaseObject* node) noexcept {
  return static_cast<ObjectState*>(Access::state(node));
}
inline MaterialState* stateOf(const BaseMaterial* node) noexcept {
  return static_cast<MaterialState*>(Access::state(node));
}
inline ShaderState* stateOf(const BaseShader* node) noexcept {
  return static_cast<ShaderState*>(Access::state(node));
}
inline RenderDataState* stateOf(const RenderData* node) noexcept {
  return static_cast<RenderDataState*>(Access::state(node));
}
inline ViewState* stateOf(const BaseDraw* node) noexcept {
  return static_cast<ViewState*>(Access::state(node));
}
inline DocumentState* stateOf(const BaseDocument* node) noexcept {
  return static_cast<DocumentState*>(Access::state(node));
}

/// The interface object of a state; null for null. `Node` must be its kind.
template <class Node>
Node* nodeOf(const NodeState* state) noexcept {
  return state ? static_cast<Node*>(state->node) : nullptr;
}

/// The parent object; null at the top.
ObjectState* parentOf(const ObjectState& object) noexcept;
/// The matrix from an object to the world.
Matrix worldOf(const ObjectState& object);

} // namespace host
