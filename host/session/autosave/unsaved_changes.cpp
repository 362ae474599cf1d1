#include "unsaved_changes.h"

#include "node_state.h"
#include "scene_changes.h"

namespace host {

namespace {

KeptScenePtr present(const DocumentHub& hub, const KeptScenePtr& previous) {
  BaseDocument* document = hub.document();
  if (!document) return nullptr;
  const auto lock = lockOf(stateOf(document));
  return keepScene(*stateOf(document), previous);
}

} // namespace

UnsavedChanges::UnsavedChanges(DocumentHub& hub, Edits& edits) : hub_(hub), edits_(edits) {
  editsSubscription_ = edits_.changed.add([this] { look(); });
  replacedSubscription_ = hub_.replaced.add([this](Replacement) { look(); });
  look();
}

void UnsavedChanges::look() {
  if (!edits_.isDirty()) saved_ = present(hub_, saved_);
}

std::vector<std::string> UnsavedChanges::words() const {
  if (!saved_ || !edits_.isDirty()) return {};
  const KeptScenePtr now = present(hub_, saved_);
  return now ? sceneChanges(*saved_, *now) : std::vector<std::string>();
}

} // namespace host
