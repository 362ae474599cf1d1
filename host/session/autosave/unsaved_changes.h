// The changes of the scene since it was opened or saved. Main thread.
#pragma once

#include <string>
#include <vector>

#include "document_hub.h"
#include "edits.h"
#include "kept_scene.h"

namespace host {

class UnsavedChanges {
 public:
  UnsavedChanges(DocumentHub& hub, Edits& edits);

  /// One line for each, as `sceneChanges` words them; empty for a scene without unsaved changes.
  std::vector<std::string> words() const;

 private:
  void look();

  DocumentHub& hub_;
  Edits& edits_;
  KeptScenePtr saved_; // the scene when it had no unsaved changes; shares all with the document
  Subscription editsSubscription_, replacedSubscription_;
};

} // namespace host
