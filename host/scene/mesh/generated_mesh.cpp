#include "generated_mesh.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <list>

#include "mesh_tools.h"
#include "parameters.h"
#include "subdivide.h"

namespace host {

namespace {

constexpr std::size_t mostBytes = std::size_t{512} << 20;

// The source of a mesh and the operation, as bytes.
class Key {
 public:
  template <class T>
  Key& add(const T& value) {
    return add(&value, sizeof(value));
  }
  Key& add(const void* bytes, std::size_t count) {
    text_.append(static_cast<const char*>(bytes), count);
    return *this;
  }
  const std::string& text() const noexcept { return text_; }

 private:
  std::string text_;
};

// Drops the meshes whose source is gone, then the least recently used.
class Store {
 public:
  MeshPtr find(const std::string& key) {
    const std::lock_guard lock(mutex_);
    const auto found = entries_.find(key);
    if (found == entries_.end()) return nullptr;
    recent_.splice(recent_.begin(), recent_, found->second.place);
    return found->second.mesh;
  }

  // Another thread may have been faster; its mesh is used then. Without a source the mesh stays.
  MeshPtr keep(const std::string& key, MeshPtr mesh, const MeshPtr& source) {
    const std::lock_guard lock(mutex_);
    ++made_;
    while (dropOrphans()) {
    }
    const auto [it, isNew] = entries_.try_emplace(key);
    if (!isNew) return it->second.mesh;
    recent_.push_front(&it->first);
    it->second = {std::move(mesh), source, source != nullptr, recent_.begin()};
    MeshPtr kept = it->second.mesh;
    bytes_ += bytesOf(*kept);
    while (bytes_ > mostBytes && recent_.size() > 1)
      dropOldest();
    return kept;
  }

  std::size_t bytes() {
    const std::lock_guard lock(mutex_);
    return bytes_;
  }
  std::uint64_t made() {
    const std::lock_guard lock(mutex_);
    return made_;
  }

 private:
  struct Entry {
    MeshPtr mesh;
    std::weak_ptr<const Mesh> source; // its identity is part of the key and never used again
    bool hasSource = false;
    std::list<const std::string*>::iterator place;
  };
  using Entries = std::unordered_map<std::string, Entry>;

  Entries::iterator drop(Entries::iterator entry) {
    recent_.erase(entry->second.place);
    bytes_ -= bytesOf(*entry->second.mesh);
    return entries_.erase(entry);
  }

  // A dropped mesh may itself be the source of another: true when one was dropped.
  bool dropOrphans() {
    const std::size_t before = entries_.size();
    for (auto it = entries_.begin(); it != entries_.end();)
      it = it->second.hasSource && it->second.source.expired() ? drop(it) : std::next(it);
    return entries_.size() < before;
  }

  void dropOldest() { drop(entries_.find(*recent_.back())); }

  std::mutex mutex_;
  Entries entries_;
  std::list<const std::string*> recent_;
  std::size_t bytes_ = 0;
  std::uint64_t made_ = 0;
};

Store& store() {
  static auto* const one = new Store;
  return *one;
}

// --- deformers ---

void add(Float3& to, const Float3& difference, float weight) {
  for (std::size_t i = 0; i < 3; ++i)
    to[i] += weight * difference[i];
}

void morph(Mesh& mesh, const Deformation& deformation, const std::vector<float>& weights) {
  for (std::size_t t = 0; t < std::min(weights.size(), deformation.targets.size()); ++t) {
    const MorphTarget& target = deformation.targets[t];
    if (weights[t] == 0) continue;
    for (std::size_t v = 0; v < std::min(target.positions.size(), mesh.positions.size()); ++v)
      add(mesh.positions[v], target.positions[v], weights[t]);
    for (std::size_t v = 0; v < std::min(target.normals.size(), mesh.normals.size()); ++v)
      add(mesh.normals[v], target.normals[v], weights[t]);
    for (std::size_t v = 0; v < std::min(target.tangents.size(), mesh.tangents.size()); ++v)
      for (std::size_t i = 0; i < 3; ++i)
        mesh.tangents[v][i] += weights[t] * target.tangents[v][i];
  }
}

// An affine map as twelve floats: axes, then offset.
using Affine = std::array<Float3, 4>;

Float3 floats(const Vector& v) {
  return {static_cast<float>(v.x), static_cast<float>(v.y), static_cast<float>(v.z)};
}

std::vector<Affine> jointMatrices(const DocumentState& document, const ObjectState& object) {
  const Matrix toMesh = worldOf(object).Inverse();
  const Skin& skin = *object.skin;
  std::vector<Affine> joints(skin.joints.size());
  for (std::size_t i = 0; i < joints.size(); ++i) {
    const NodeState* joint = findNode(document, skin.joints[i]);
    Matrix m;
    if (joint && joint->kind == NodeKind::object)
      m = toMesh * worldOf(static_cast<const ObjectState&>(*joint)) * skin.inverseBind[i];
    joints[i] = {floats(m.v1), floats(m.v2), floats(m.v3), floats(m.off)};
  }
  return joints;
}

Float3 direction(const Affine& m, const Float3& d) {
  Float3 result{};
  for (std::size_t i = 0; i < 3; ++i)
    result[i] = m[0][i] * d[0] + m[1][i] * d[1] + m[2][i] * d[2];
  return result;
}

// Normals transform by the cofactors of the axes.
Float3 normalDirection(const Affine& m, const Float3& n) {
  const Affine cofactors{cross(m[1], m[2]), cross(m[2], m[0]), cross(m[0], m[1]), {}};
  return direction(cofactors, n);
}

void skinVertex(Mesh& mesh, std::size_t v, const Affine& m) {
  Float3 p = direction(m, mesh.positions[v]);
  for (std::size_t i = 0; i < 3; ++i)
    p[i] += m[3][i];
  mesh.positions[v] = p;
  if (!mesh.normals.empty()) mesh.normals[v] = normalDirection(m, mesh.normals[v]);
  if (!mesh.tangents.empty()) {
    const Float4& t = mesh.tangents[v];
    const Float3 turned = direction(m, {t[0], t[1], t[2]});
    mesh.tangents[v] = {turned[0], turned[1], turned[2], t[3]};
  }
}

void bend(Mesh& mesh, const Deformation& deformation, const std::vector<Affine>& joints) {
  for (std::size_t v = 0; v < mesh.positions.size(); ++v) {
    Affine mixed{};
    float total = 0;
    for (std::size_t set = 0; set < deformation.joints.size(); ++set) {
      for (std::size_t i = 0; i < 4; ++i) {
        const float weight = deformation.weights[set][v][i];
        const std::size_t joint = deformation.joints[set][v][i];
        if (weight == 0 || joint >= joints.size()) continue;
        total += weight;
        for (std::size_t axis = 0; axis < 4; ++axis)
          add(mixed[axis], joints[joint][axis], weight);
      }
    }
    if (!(total > 0)) continue;
    for (Float3& axis : mixed)
      for (float& number : axis)
        number /= total;
    skinVertex(mesh, v, mixed);
  }
}

void restoreUnits(Mesh& mesh) {
  for (Float3& n : mesh.normals)
    n = unit(n, {0, 1, 0});
  for (Float4& t : mesh.tangents) {
    const Float3 u = unit({t[0], t[1], t[2]}, {1, 0, 0});
    t = {u[0], u[1], u[2], t[3]};
  }
}

bool isBent(const ObjectState& object) {
  if (!object.mesh || !object.deformation) return false;
  const bool morphs =
      std::any_of(object.weights.begin(), object.weights.end(), [](float w) { return w != 0; });
  return (morphs && !object.deformation->targets.empty()) ||
         (object.skin && !object.deformation->joints.empty());
}

// False when a number became too large for a float.
bool isFinite(const Mesh& mesh) {
  return std::all_of(mesh.positions.begin(), mesh.positions.end(), [](const Float3& p) {
    return std::isfinite(p[0]) && std::isfinite(p[1]) && std::isfinite(p[2]);
  });
}

} // namespace

MeshPtr deformedMesh(const DocumentState& document, const ObjectState& object, const BaseThread* thread) {
  if (!isBent(object)) return object.mesh;
  std::vector<Affine> joints;
  if (object.skin && !object.deformation->joints.empty()) joints = jointMatrices(document, object);
  Key key;
  key.add('d').add(object.mesh->id).add(object.deformation->id).add(object.weights.size());
  key.add(object.weights.data(), object.weights.size() * sizeof(float));
  key.add(joints.data(), joints.size() * sizeof(Affine));
  if (MeshPtr known = store().find(key.text())) return known;
  if (thread && thread->TestBreak()) return nullptr;

  auto mesh = std::make_shared<Mesh>(*object.mesh);
  mesh->id = newIdentity();
  morph(*mesh, *object.deformation, object.weights);
  if (!joints.empty()) bend(*mesh, *object.deformation, joints);
  if (!isFinite(*mesh)) return object.mesh;
  restoreUnits(*mesh);
  setBounds(*mesh);
  return store().keep(key.text(), std::move(mesh), object.mesh);
}

MeshPtr subdividedMesh(const MeshPtr& mesh, int level, const BaseThread* thread) {
  if (!mesh || level <= 0) return mesh;
  Key key;
  key.add('s').add(mesh->id).add(level);
  if (MeshPtr known = store().find(key.text())) return known;
  MeshPtr fine = subdivide(mesh, level, thread);
  if (!fine || fine == mesh) return fine;
  if (!isFinite(*fine)) return mesh;
  return store().keep(key.text(), std::move(fine), mesh);
}

MeshPtr floorMesh(double halfSide) {
  if (!(halfSide > 0)) halfSide = 1000;
  const auto h = static_cast<float>(std::min(halfSide, 1e9));
  Key key;
  key.add('f').add(h);
  if (MeshPtr known = store().find(key.text())) return known;
  auto mesh = std::make_shared<Mesh>();
  mesh->positions = {{-h, 0, h}, {h, 0, h}, {h, 0, -h}, {-h, 0, -h}};
  mesh->normals.assign(4, {0, 1, 0});
  mesh->uv[0] = {{-h, h}, {h, h}, {h, -h}, {-h, -h}};
  mesh->triangles = {{0, 1, 2}, {0, 2, 3}};
  mesh->groups = {{0, 2}};
  setBounds(*mesh);
  return store().keep(key.text(), std::move(mesh), nullptr);
}

int levelBelow(const ObjectState& object, int level, double lod) {
  if (object.type != Osds || !object.deform) return level;
  const LONG own = std::clamp<LONG>(param::integer(object, param::subdivisionLevel), 0, 6);
  return static_cast<int>(std::lround(own * std::clamp(lod, 0.0, 1.0)));
}

namespace {

bool prepare(const DocumentState& document, const NodeList& list, int level, double lod,
             const BaseThread* thread) {
  for (NodeState* node = list.first(); node; node = node->next) {
    const auto& object = static_cast<const ObjectState&>(*node);
    if (thread && thread->TestBreak()) return false;
    const int below = levelBelow(object, level, lod);
    if (object.mesh) {
      const MeshPtr mesh = deformedMesh(document, object, thread);
      if (!mesh || !subdividedMesh(mesh, level, thread)) return false;
    }
    if (!prepare(document, object.children, below, lod, thread)) return false;
  }
  return true;
}

} // namespace

bool prepareMeshes(const DocumentState& document, double lod, const BaseThread* thread) {
  return prepare(document, document.children, 0, lod, thread);
}

std::size_t generatedMeshBytes() {
  return store().bytes();
}

std::uint64_t generatedMeshCount() {
  return store().made();
}

} // namespace host
