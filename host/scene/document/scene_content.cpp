#include "scene_content.h"

#include <functional>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include "node_state.h"

namespace host {

namespace {

using Pieces = std::vector<std::string_view>;

// All entries are of floats or integers, so no byte lies between them.
template <class T>
std::string_view bytesIn(const std::vector<T>& list) {
  static_assert(std::is_trivially_copyable_v<T>);
  return {reinterpret_cast<const char*>(list.data()), list.size() * sizeof(T)};
}

Pieces piecesOf(const Mesh& mesh) {
  return {bytesIn(mesh.positions), bytesIn(mesh.normals), bytesIn(mesh.tangents),  bytesIn(mesh.uv[0]),
          bytesIn(mesh.uv[1]),     bytesIn(mesh.colors),  bytesIn(mesh.triangles), bytesIn(mesh.groups)};
}

Pieces piecesOf(const Deformation& deformation) {
  Pieces pieces;
  for (const MorphTarget& target : deformation.targets)
    pieces.insert(pieces.end(),
                  {bytesIn(target.positions), bytesIn(target.normals), bytesIn(target.tangents)});
  for (const auto& set : deformation.joints)
    pieces.push_back(bytesIn(set));
  for (const auto& set : deformation.weights)
    pieces.push_back(bytesIn(set));
  return pieces;
}

Pieces piecesOf(const Picture& picture) {
  return {picture.name, picture.uri, picture.mimeType,
          picture.bytes ? bytesIn(*picture.bytes) : std::string_view()};
}

bool sameRest(const Mesh&, const Mesh&) {
  return true;
}
bool sameRest(const Deformation& a, const Deformation& b) {
  return a.targets.size() == b.targets.size() && a.joints.size() == b.joints.size();
}
bool sameRest(const Picture& a, const Picture& b) {
  return (a.bytes == nullptr) == (b.bytes == nullptr) && a.file.GetString() == b.file.GetString() &&
         samePicture(a.fallback, b.fallback);
}

template <class Pointer>
bool same(const Pointer& a, const Pointer& b) {
  if (a == b) return true;
  return a && b && sameRest(*a, *b) && piecesOf(*a) == piecesOf(*b);
}

std::size_t hashOf(const Pieces& pieces) {
  std::size_t hash = 0;
  for (const std::string_view piece : pieces)
    hash = hash * 0x9E3779B97F4A7C15U + std::hash<std::string_view>()(piece);
  return hash;
}

// Contents of one kind, found by their bytes.
template <class Pointer>
class KnownContents {
 public:
  explicit KnownContents(const std::vector<Pointer>& known) {
    for (const Pointer& content : known)
      byHash_.emplace(hashOf(piecesOf(*content)), content);
  }

  // Puts the known content that equals this one in its place.
  void replace(Pointer& content) {
    if (!content || byHash_.empty()) return;
    const auto [found, fresh] = answers_.try_emplace(content, content);
    if (fresh) {
      const auto [first, last] = byHash_.equal_range(hashOf(piecesOf(*content)));
      for (auto it = first; it != last && found->second == content; ++it)
        if (same(it->second, content)) found->second = it->second;
      if (found->second != content) ++replaced_;
    }
    content = found->second;
  }
  std::size_t replaced() const noexcept { return replaced_; }

 private:
  std::unordered_multimap<std::size_t, Pointer> byHash_;
  std::unordered_map<Pointer, Pointer> answers_; // of contents that were looked up
  std::size_t replaced_ = 0;
};

template <class Pointer>
class Gathered {
 public:
  explicit Gathered(std::vector<Pointer>& list) : list_(list) {}
  void add(const Pointer& content) {
    if (content && seen_.insert(content.get()).second) list_.push_back(content);
  }

 private:
  std::vector<Pointer>& list_;
  std::unordered_set<const void*> seen_;
};

} // namespace

bool sameMesh(const MeshPtr& a, const MeshPtr& b) {
  return same(a, b);
}
bool samePicture(const PicturePtr& a, const PicturePtr& b) {
  return same(a, b);
}

SceneContent contentOf(const DocumentState& document) {
  SceneContent content;
  Gathered meshes(content.meshes);
  Gathered deformations(content.deformations);
  Gathered pictures(content.pictures);
  forEachOwned(document, [&](const NodeState& node) {
    if (node.kind == NodeKind::shader) pictures.add(static_cast<const ShaderState&>(node).picture);
    if (node.kind != NodeKind::object) return;
    const auto& object = static_cast<const ObjectState&>(node);
    meshes.add(object.mesh);
    deformations.add(object.deformation);
    pictures.add(object.picture);
  });
  return content;
}

SharedCounts shareContent(DocumentState& document, const SceneContent& known) {
  KnownContents meshes(known.meshes);
  KnownContents deformations(known.deformations);
  KnownContents pictures(known.pictures);
  forEachOwned(document, [&](NodeState& node) {
    if (node.kind == NodeKind::shader) pictures.replace(static_cast<ShaderState&>(node).picture);
    if (node.kind != NodeKind::object) return;
    auto& object = static_cast<ObjectState&>(node);
    meshes.replace(object.mesh);
    deformations.replace(object.deformation);
    pictures.replace(object.picture);
  });
  return {meshes.replaced(), deformations.replaced(), pictures.replaced()};
}

} // namespace host
