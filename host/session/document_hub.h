// The one document that the user works on, and who hears what happens to it. Main thread.
#pragma once

#include "active_document.h"
#include "lifetime.h"
#include "listeners.h"
#include "main_loop.h"

namespace host {

/// Why there is another document.
enum class Replacement { created, opened, reloaded };

/// Puts documents in the active place and tells about changes. Changes by plug-ins, which say so with the
/// scene-changed event, are heard too.
class DocumentHub final : private CoreListener {
 public:
  /// Starts with a new, empty document.
  DocumentHub();
  ~DocumentHub();
  DocumentHub(const DocumentHub&) = delete;
  DocumentHub& operator=(const DocumentHub&) = delete;

  /// The active document; null only after `close`.
  BaseDocument* document() const;
  /// Makes this the active document (null: a new one). The one before is freed as soon as no thread needs it.
  /// Calls `replaced` before it returns and posts the scene-changed event.
  void replace(DocumentPtr document, Replacement why);
  /// Sets the document's time, without limits, evaluates it there, calls `timeChanged` before it returns and
  /// posts the scene-changed event. Setting the time that it has does nothing.
  void setTime(const BaseTime& time);

  /// Something that a picture may show is different: posts the scene-changed event; `changed` follows.
  void tellChanged();
  /// Something that no picture shows is different: `changed` follows, for the program's own windows, without
  /// the scene-changed event, so that nothing is rendered again.
  void tellUnseen();
  /// The selection is different; `selectionChanged` and `changed` follow. Pictures show it only when the
  /// active render settings ask for selected objects alone; then the scene-changed event is posted too.
  void tellSelection();
  /// Takes the document away: the session ends.
  void close();

  /// Values, names, tree, materials, settings: anything but the time. Called from the main loop, also while a
  /// box is open; several changes become one call. What a plug-in changed comes here too.
  Listeners<> changed;
  /// Called like `changed`, before it.
  Listeners<> selectionChanged;
  Listeners<> timeChanged;
  /// There is another document; all node pointers from before are dead.
  Listeners<Replacement> replaced;

 private:
  void coreMessage(LONG id, const BaseContainer& message) override;
  void announce();
  void deliver();

  bool selection_ = false, announced_ = false, open_ = true;
  Lifetime<DocumentHub> lifetime_{*this}; // for tasks that wait in the loop
};

} // namespace host
