// The one way to change the active document: a step for undo, the scene-changed event and the question about
// unsaved changes come with it. Main thread.
//
// A step keeps the values of the nodes that it changed, before and after; geometry, pictures and tracks are
// shared. Undo puts back the tree, all values of all nodes, materials, shaders, tags, render settings and the
// document's own container, and brings deleted nodes back under their identities; nodes that stay keep their
// addresses. The time, the views and the file's name are no edits. Neither is the selection: it makes no
// step, but undo brings back the one that stood when the step was made.
//
// A reload of the file is a step as well: undo brings back the scene that it replaced. Another scene, opened
// or new, leaves no way back.
//
// What a plug-in changes by itself (it writes the document and posts the scene-changed event) becomes a step
// too: changes of the document's container with the event, everything else with the next edit, undo or
// `notice`.
#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <memory>

#include "document_hub.h"
#include "document_image.h"

namespace host {

class Edits {
 public:
  using Change = std::function<void(BaseDocument&)>;

  explicit Edits(DocumentHub& hub);
  ~Edits();
  Edits(const Edits&) = delete;
  Edits& operator=(const Edits&) = delete;

  /// Runs `change` on the active document, with its lock held, and keeps it as one step. The name is what the
  /// user reads behind "Undo". Steps that follow each other within a second with the same `mergeKey` (not
  /// empty) become one. Expression tags run afterwards. Within a continuous edit it becomes part of that one.
  /// False when nothing differs afterwards; then there is no step and no event. When `change` throws, the
  /// document is as before and the exception goes on.
  bool apply(const String& name, const Change& change, const String& mergeKey = {});

  // A continuous edit, as a drag of the mouse or of a slider makes it: one step however many updates.

  /// False while another one goes on.
  bool begin(const String& name);
  /// One of its changes: a scene-changed event each. Outside a continuous edit it does nothing.
  void update(const Change& change);
  /// Makes the step. False when nothing differs from the beginning.
  bool end();
  /// Everything is as at the beginning, and there is no step.
  void cancel();
  bool isContinuous() const noexcept { return continuous_; }

  bool canUndo() const noexcept { return position_ > 0; }
  bool canRedo() const noexcept { return position_ < steps_.size(); }
  /// The step that `undo` takes back, `redo` does again; empty without one.
  String undoName() const;
  String redoName() const;
  /// Ends a continuous edit first. False when there is nothing to do.
  bool undo();
  bool redo();

  /// Makes a step of what has changed outside of edits since the last look, if anything has. Call it when a
  /// plug-in's command, drag or dialog may have changed the document. True when there was something.
  bool notice(const String& name);

  /// Whether the document differs from what was last saved or loaded. A plug-in's SetChanged counts too.
  bool isDirty() const;
  /// The document as it was at this revision is now on disk. An edit that came later leaves it dirty.
  void markSaved(std::size_t revision);
  /// A number that tells the state that the document is in now from those before and after (undo brings the
  /// earlier number back). For `markSaved`.
  std::size_t revision();

  /// Steps beyond these bounds are forgotten, oldest first: how many, and about how many bytes they hold that
  /// nothing else does. At least one step is kept.
  void setLimits(std::size_t steps, std::size_t bytes);
  std::size_t stepCount() const noexcept { return steps_.size(); }
  std::size_t heldBytes() const noexcept { return bytes_; }

  /// Frees all steps; there is no way back then.
  void forgetAll() { reset(); }

  /// Steps, names or the dirty state are different. Called from within the calls above.
  Listeners<> changed;

 private:
  struct Step {
    String name, mergeKey;
    Milliseconds time = 0;
    ImagePtr before, after;
    std::size_t revisionBefore = 0, revisionAfter = 0, bytes = 0;
  };

  void reset();
  void takeReload();
  ImagePtr look();
  void tellHub(const ImagePtr& before, const ImagePtr& after);
  bool finish(const String& name, const String& mergeKey, const ImagePtr& before);
  bool merge(const String& mergeKey, const ImagePtr& after);
  void push(Step step);
  void trim();
  void put(const ImagePtr& image, std::size_t revision);
  void run(const Change& change);
  void tell();
  void noticeContainer();

  DocumentHub& hub_;
  std::deque<Step> steps_;
  std::size_t position_ = 0; // steps before it are done
  std::size_t revision_ = 0, lastRevision_ = 0, savedRevision_ = 0;
  std::size_t bytes_ = 0, maxSteps_ = 500, maxBytes_ = std::size_t{512} << 20;
  ImagePtr image_; // the document at the last look
  bool continuous_ = false, inside_ = false;
  String continuousName_;
  ImagePtr continuousBefore_;
  Subscription replacedSubscription_, changedSubscription_;
};

} // namespace host
