// Comparing documents node by node and value by value.
#include "gltf_json.h"
#include "node_state.h"
#include "scene_file.h"

namespace host {

namespace {

// The place of a node in its document, to compare links.
using Places = std::unordered_map<Identity, std::string>;

class Comparison {
 public:
  Comparison(const DocumentState& a, const DocumentState& b) : a_(a), b_(b) {
    collect(a, "", placesA_);
    collect(b, "", placesB_);
  }

  bool run() { return node(a_, b_, "document") && document(); }
  const std::string& difference() const noexcept { return difference_; }

 private:
  static void collect(const NodeState& root, const std::string& path, Places& places) {
    int listNumber = 0;
    for (const NodeList* list : listsOf(root)) {
      int index = 0;
      for (const NodeState* child = list ? list->first() : nullptr; child; child = child->next, ++index) {
        const std::string here = path + "/" + std::to_string(listNumber) + "." + std::to_string(index);
        places.emplace(child->identity, here);
        collect(*child, here, places);
      }
      ++listNumber;
    }
    if (root.kind == NodeKind::view) {
      const auto* camera = static_cast<const ViewState&>(root).editorCamera;
      places.emplace(camera->identity, path + "/camera");
      collect(*camera, path + "/camera", places);
    }
  }

  bool differ(const std::string& where, const std::string& what) {
    if (difference_.empty()) difference_ = where + ": " + what + " differs";
    return false;
  }
  bool same(bool equal, const std::string& where, const char* what) { return equal || differ(where, what); }

  // Links are equal when they lead to the same place, or both nowhere.
  bool link(Identity a, Identity b) const {
    const auto inA = placesA_.find(a), inB = placesB_.find(b);
    if (inA == placesA_.end() || inB == placesB_.end()) return inA == placesA_.end() && inB == placesB_.end();
    return inA->second == inB->second;
  }

  bool container(const BaseContainer& a, const BaseContainer& b, const std::string& where) {
    if (a.GetCount() != b.GetCount()) return differ(where, "the number of container entries");
    for (LONG i = 0; i < a.GetCount(); ++i) {
      const LONG id = a.GetIndexId(i);
      const std::string entry = where + ", entry " + std::to_string(id);
      if (id != b.GetIndexId(i)) return differ(entry, "the place of the entry");
      const GeData &x = *a.GetIndexData(i), &y = *b.GetIndexData(i);
      if (x.GetType() != y.GetType()) return differ(entry, "the type");
      if (x.GetType() == DA_ALIASLINK) {
        if (!link(x.GetBaseLink().GetIdentity(), y.GetBaseLink().GetIdentity()))
          return differ(entry, "the link");
      } else if (x.GetType() == DA_CONTAINER) {
        if (x.GetContainer().GetId() != y.GetContainer().GetId()) return differ(entry, "the container's ID");
        if (!container(x.GetContainer(), y.GetContainer(), entry)) return false;
      } else if (x.GetType() == DA_TIME) {
        if (!time(x.GetTime(), y.GetTime())) return differ(entry, "the time");
      } else if (x != y) {
        return differ(entry, "the value");
      }
    }
    return true;
  }

  static bool time(const BaseTime& a, const BaseTime& b) {
    return a.GetNumerator() == b.GetNumerator() && a.GetDenominator() == b.GetDenominator();
  }

  bool node(const NodeState& a, const NodeState& b, const std::string& where) {
    return same(a.type == b.type, where, "the type") && same(a.name == b.name, where, "the name") &&
           same(a.bits == b.bits, where, "the bits") &&
           same(foreign(a, b), where, "what other programs left there") && container(a.data, b.data, where) &&
           kind(a, b, where) && lists(a, b, where);
  }

  static bool foreign(const NodeState& a, const NodeState& b) {
    if (!a.foreignExtras || !b.foreignExtras) return !a.foreignExtras && !b.foreignExtras;
    return *a.foreignExtras == *b.foreignExtras;
  }

  bool lists(const NodeState& a, const NodeState& b, const std::string& where) {
    const auto listsA = listsOf(a), listsB = listsOf(b);
    for (std::size_t i = 0; i < listsA.size(); ++i) {
      const NodeState* x = listsA[i] ? listsA[i]->first() : nullptr;
      const NodeState* y = listsB[i] ? listsB[i]->first() : nullptr;
      for (; x && y; x = x->next, y = y->next)
        if (!node(*x, *y, where + " / " + (x->name.Content() ? x->name.GetUTF8() : std::to_string(x->type))))
          return false;
      if (x || y) return differ(where, "the number of nodes below");
    }
    return true;
  }

  bool kind(const NodeState& a, const NodeState& b, const std::string& where) {
    switch (a.kind) {
    case NodeKind::object:
      return object(static_cast<const ObjectState&>(a), static_cast<const ObjectState&>(b), where);
    case NodeKind::shader:
      return picture(static_cast<const ShaderState&>(a).picture, static_cast<const ShaderState&>(b).picture,
                     where);
    case NodeKind::material: {
      const auto &x = static_cast<const MaterialState&>(a).shaderSlots,
                 &y = static_cast<const MaterialState&>(b).shaderSlots;
      for (std::size_t i = 0; i < x.size(); ++i)
        if (!link(x[i], y[i])) return differ(where, "the shader of slot " + std::to_string(i));
      return true;
    }
    case NodeKind::view:
      return view(static_cast<const ViewState&>(a), static_cast<const ViewState&>(b), where);
    default:
      return true;
    }
  }

  bool object(const ObjectState& a, const ObjectState& b, const std::string& where) {
    return same(a.local == b.local, where, "the matrix") && same(a.pose == b.pose, where, "the pose") &&
           same(a.deform == b.deform, where, "the generator's switch") &&
           same(a.weights == b.weights, where, "the morph weights") && mesh(a.mesh, b.mesh, where) &&
           same(samePlacements(a.placements, b.placements), where, "the copies of the mesh") &&
           deformation(a.deformation, b.deformation, where) && skin(a.skin, b.skin, where) &&
           tracks(a.tracks, b.tracks, where) && picture(a.picture, b.picture, where);
  }

  template <class Ptr>
  static bool bothOrNone(const Ptr& a, const Ptr& b) {
    return (a == nullptr) == (b == nullptr);
  }

  bool mesh(const MeshPtr& a, const MeshPtr& b, const std::string& where) {
    if (a == b) return true;
    if (!bothOrNone(a, b)) return differ(where, "whether there is a mesh");
    const bool groups =
        std::equal(a->groups.begin(), a->groups.end(), b->groups.begin(), b->groups.end(),
                   [](const MeshGroup& x, const MeshGroup& y) {
                     return x.firstTriangle == y.firstTriangle && x.triangleCount == y.triangleCount;
                   });
    return same(a->positions == b->positions, where, "the positions") &&
           same(a->normals == b->normals, where, "the normals") &&
           same(a->tangents == b->tangents, where, "the tangents") &&
           same(a->uv == b->uv, where, "the texture coordinates") &&
           same(a->colors == b->colors, where, "the vertex colours") &&
           same(a->triangles == b->triangles, where, "the triangles") && same(groups, where, "the groups") &&
           same(a->low == b->low && a->high == b->high, where, "the bounds");
  }

  bool deformation(const DeformationPtr& a, const DeformationPtr& b, const std::string& where) {
    if (a == b) return true;
    if (!bothOrNone(a, b)) return differ(where, "whether something bends the mesh");
    const bool targets =
        std::equal(a->targets.begin(), a->targets.end(), b->targets.begin(), b->targets.end(),
                   [](const MorphTarget& x, const MorphTarget& y) {
                     return x.positions == y.positions && x.normals == y.normals && x.tangents == y.tangents;
                   });
    return same(targets, where, "the morph targets") &&
           same(a->joints == b->joints && a->weights == b->weights, where, "the joints' influence");
  }

  bool skin(const SkinPtr& a, const SkinPtr& b, const std::string& where) {
    if (!bothOrNone(a, b)) return differ(where, "whether there is a skin");
    if (!a) return true;
    if (a->joints.size() != b->joints.size() || a->inverseBind != b->inverseBind)
      return differ(where, "the skin");
    for (std::size_t i = 0; i < a->joints.size(); ++i)
      if (!link(a->joints[i], b->joints[i])) return differ(where, "joint " + std::to_string(i));
    return true;
  }

  bool tracks(const TracksPtr& a, const TracksPtr& b, const std::string& where) {
    if (a == b) return true;
    if (!bothOrNone(a, b)) return differ(where, "whether there are tracks");
    const bool equal =
        std::equal(a->begin(), a->end(), b->begin(), b->end(), [](const Track& x, const Track& y) {
          return x.path == y.path && x.animation == y.animation &&
                 x.curve->interpolation == y.curve->interpolation && x.curve->width == y.curve->width &&
                 x.curve->times == y.curve->times && x.curve->values == y.curve->values;
        });
    return same(equal, where, "the tracks");
  }

  bool picture(const PicturePtr& a, const PicturePtr& b, const std::string& where) {
    if (a == b) return true;
    if (!bothOrNone(a, b)) return differ(where, "whether there is a picture");
    const bool bytes = a->bytes == b->bytes || (a->bytes && b->bytes && *a->bytes == *b->bytes);
    // The file of an outside picture depends on the scene's folder.
    const bool outside = a->file.Content() && b->file.Content();
    return same(a->name == b->name && (outside || a->uri == b->uri) && a->mimeType == b->mimeType, where,
                "the picture's name") &&
           same(bytes, where, "the picture's bytes") && picture(a->fallback, b->fallback, where);
  }

  bool view(const ViewState& a, const ViewState& b, const std::string& where) {
    return same(a.area == b.area, where, "the area") && same(link(a.camera, b.camera), where, "the camera") &&
           node(*a.editorCamera, *b.editorCamera, where + " / editor camera");
  }

  bool document() {
    const DocumentState &a = a_, &b = b_;
    const std::string where = "document";
    const auto identity = [](const NodeState* node) { return node ? node->identity : 0; };
    return same(a.fps == b.fps, where, "the frame rate") && same(time(a.time, b.time), where, "the time") &&
           same(time(a.minTime, b.minTime) && time(a.maxTime, b.maxTime), where, "the time range") &&
           same(time(a.loopMinTime, b.loopMinTime) && time(a.loopMaxTime, b.loopMaxTime), where,
                "the preview range") &&
           same(a.lod == b.lod, where, "the level of detail") &&
           same(a.animationNames == b.animationNames, where, "the animations") &&
           same(link(a.activeRenderData, b.activeRenderData), where, "the active render settings") &&
           same(link(identity(a.activeView), identity(b.activeView)), where, "the active view") &&
           same(link(identity(a.renderView), identity(b.renderView)), where, "the render view");
  }

  const DocumentState &a_, &b_;
  Places placesA_, placesB_;
  std::string difference_;
};

} // namespace

bool documentsEqual(const BaseDocument& a, const BaseDocument& b, std::string* difference) {
  Comparison comparison(*stateOf(&a), *stateOf(&b));
  const bool equal = comparison.run();
  if (!equal && difference) *difference = comparison.difference();
  return equal;
}

} // namespace host
