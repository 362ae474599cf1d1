#include "kept_scene.h"

#include <map>

#include "file_reference.h"
#include "read_file.h"
#include "scene_file.h"

namespace host {

namespace {

// Packed pictures whose outside file still has their content, as outside pictures.
class OutsideAgain {
 public:
  explicit OutsideAgain(const Filename& folder) : folder_(folder) {}

  void visit(PicturePtr& picture) {
    if (!picture || !picture->bytes || picture->uri.empty() || picture->file.Content()) return;
    PicturePtr& same = known_[picture.get()];
    if (!same) same = outside(picture);
    picture = same;
  }

 private:
  PicturePtr outside(const PicturePtr& picture) const {
    const auto file = resolveReference(picture->uri, folder_, Reach::anywhere);
    if (!file || readFile(*file, picture->bytes->size()).bytes != *picture->bytes) return picture;
    auto named = std::make_shared<Picture>(*picture);
    named->file = absoluteFile(*file);
    return named;
  }

  const Filename& folder_;
  std::map<const Picture*, PicturePtr> known_;
};

} // namespace

KeptScenePtr keepScene(const DocumentState& document, const KeptScenePtr& previous) {
  auto scene = std::make_shared<KeptScene>();
  scene->image = takeImage(document, previous ? previous->image : nullptr);
  scene->moment = takeMoment(document, previous ? previous->moment.own : nullptr);
  const bool same =
      previous && previous->image == scene->image && previous->moment.time == scene->moment.time &&
      previous->moment.camera == scene->moment.camera && previous->moment.own == scene->moment.own;
  return same ? previous : scene;
}

DocumentPtr documentOf(const KeptScene& scene) {
  DocumentPtr document = newDocument();
  if (!document) return nullptr;
  DocumentState& state = *stateOf(document.get());
  putImage(state, scene.image);
  state.time = scene.moment.time;
  state.posed = true;
  putCamera(state, scene.moment);
  return document;
}

std::vector<std::byte> sceneToBytes(const KeptScene& scene, std::string* error) {
  const DocumentPtr document = documentOf(scene);
  if (document) return saveDocumentToMemory(*document, true, error);
  if (error) *error = "The scene cannot be kept: there is not enough memory. Close other programs.";
  return {};
}

KeptScenePtr sceneFromBytes(std::span<const std::byte> bytes, const Filename& folder) {
  const LoadResult loaded = loadDocumentFromMemory(bytes, Filename());
  if (!loaded.document) return nullptr;
  DocumentState& state = *stateOf(loaded.document.get());
  if (folder.Content()) {
    OutsideAgain again(folder);
    forEachOwned(state, [&](NodeState& node) {
      if (node.kind == NodeKind::object) again.visit(static_cast<ObjectState&>(node).picture);
      if (node.kind == NodeKind::shader) again.visit(static_cast<ShaderState&>(node).picture);
    });
  }
  return keepScene(state, nullptr);
}

} // namespace host
