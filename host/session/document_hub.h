// The active document and its notifications. Main thread.
#pragma once

#include "active_document.h"
#include "lifetime.h"
#include "listeners.h"
#include "main_loop.h"

namespace host {

/// The reason for another document.
enum class Replacement { created, opened, reloaded };

/// Sets the active document and announces changes, including those that plug-ins announce with the
/// scene-changed event.
class DocumentHub final : private CoreListener {
 public:
  /// Starts with a new, empty document.
  DocumentHub();
  ~DocumentHub();
  DocumentHub(const DocumentHub&) = delete;
  DocumentHub& operator=(const DocumentHub&) = delete;

  /// The active document; null only after `close`.
  BaseDocument* document() const;
  /// Makes this the active document (null: a new one). The previous one is freed once no thread needs it.
  /// Calls `replaced` before it returns and posts the scene-changed event.
  void replace(DocumentPtr document, Replacement why);
  /// Sets the document's time, without limits, evaluates it there, calls `timeChanged` before it returns and
  /// posts the scene-changed event. The same time again does nothing.
  void setTime(const BaseTime& time);

  /// A picture may show the change: posts the scene-changed event; `changed` follows.
  void tellChanged();
  /// No picture shows the change: `changed` follows, for the program's own windows, without the scene-changed
  /// event, so nothing is rendered again.
  void tellUnseen();
  /// The selection has changed; `selectionChanged` and `changed` follow. Pictures show it only when the
  /// active render settings render selected objects alone; then the scene-changed event is posted too.
  void tellSelection();
  /// Frees the document: the session ends.
  void close();

  /// Values, names, tree, materials or settings have changed: anything but the time. Called from the main
  /// loop, also while a box is open; several changes become one call. Changes by plug-ins are included.
  Listeners<> changed;
  /// Called like `changed`, before it.
  Listeners<> selectionChanged;
  Listeners<> timeChanged;
  /// The document was replaced; earlier node pointers are invalid.
  Listeners<Replacement> replaced;

 private:
  void coreMessage(LONG id, const BaseContainer& message) override;
  void announce();
  void deliver();

  bool selection_ = false, announced_ = false, open_ = true;
  Lifetime<DocumentHub> lifetime_{*this}; // for tasks that wait in the loop
};

} // namespace host
