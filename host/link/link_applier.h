// Puts the scenes of the live link into the session's document. Main thread.
#pragma once

#include <unordered_map>

#include "link_scene.h"
#include "session.h"

namespace host {

class LinkApplier {
 public:
  explicit LinkApplier(Session& session);

  /// Makes the document show the scene: one change, which touches only the nodes whose values differ from
  /// the last scene. False when the user keeps the open scene.
  bool apply(const LinkScenePtr& scene);

 private:
  bool prepare(const LinkScene& scene);
  void change(DocumentState& document, const LinkScene& scene);
  void putMaterials(DocumentState& document, const LinkScene& scene);
  void putObjects(DocumentState& document, const LinkScene& scene);
  void putObject(DocumentState& document, const LinkObjectPtr& object);
  void removeOthers(DocumentState& document, const LinkScene& scene);
  void putSky(DocumentState& document, const LinkScene& scene);
  void putSettings(DocumentState& document, const LinkScene& scene);
  void putTime(const LinkScene& scene);

  Session& session_;
  LinkScenePtr shown_; // the last scene; null when the document is not the link's
  bool owns_ = false;  // the document was made for the link
  bool replacing_ = false;
  std::unordered_map<Identity, LinkObjectPtr> objects_;
  std::unordered_map<Identity, LinkMaterialPtr> materials_;
  Subscription replaced_;
};

} // namespace host
