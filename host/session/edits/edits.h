// Edits of the active document, the only way to change it: each makes an undo step, posts the scene-changed
// event and counts as an unsaved change. Main thread.
//
// A step keeps the values of the nodes that it changed, before and after; geometry, pictures and tracks are
// shared. Undo restores the tree, all values of all nodes, materials, shaders, tags, render settings and the
// document's own container, and deleted nodes under their identities; other nodes keep their addresses. The
// time, the views and the file's name are not part of a step, except that a restored scene brings its time
// and its camera. A change of the selection makes no step, but undo restores the selection at the time of the
// step.
//
// A reload of the file is a step as well: undo restores the scene that it replaced. Each reload holds a whole
// scene, so only the last `mostReloads` can be undone. Opening another scene or a new one clears the history.
//
// Changes that a plug-in makes by itself (it writes the document and posts the scene-changed event) become
// steps too: changes of the document's container with the event, all others with the next edit, undo or
// `notice`.
#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <optional>

#include "document_hub.h"
#include "document_moment.h"

namespace host {

class Edits {
 public:
  using Change = std::function<void(BaseDocument&)>;

  explicit Edits(DocumentHub& hub);
  ~Edits();
  Edits(const Edits&) = delete;
  Edits& operator=(const Edits&) = delete;

  /// Runs `change` on the active document, with its lock held, and keeps it as one step. The user reads the
  /// name behind "Undo". Successive steps with the same non-empty `mergeKey` within a second become one.
  /// Expression tags run afterwards. Within a continuous edit it becomes part of that edit. False, without
  /// step and event, when the document is unchanged. When `change` throws, the document is restored and the
  /// exception goes on to the caller.
  bool apply(const String& name, const Change& change, const String& mergeKey = {});

  /// Runs `change` without a step, for changes that another program makes. The steps before it are dropped,
  /// since undo would bring back what that program has changed. `counts`: as an unsaved change. Does nothing
  /// within an edit.
  void absorb(const Change& change, bool counts);

  // A continuous edit, such as a drag of the mouse or of a slider: one step for all its updates.

  /// False during another continuous edit.
  bool begin(const String& name);
  /// Makes one of its changes and posts a scene-changed event. Does nothing outside a continuous edit.
  void update(const Change& change);
  /// Makes the step. False when the document is as at the beginning.
  bool end();
  /// Restores the document from the beginning and makes no step.
  void cancel();
  bool isContinuous() const noexcept { return continuous_; }

  /// Makes the document what it was in a kept scene, of this document or another one, with the time and the
  /// render view's camera, as one step; undo brings those back as well. Ends a continuous edit first. False,
  /// without a step, when nothing differs.
  bool restore(const String& name, const ImagePtr& scene, const Moment& moment);

  bool canUndo() const noexcept { return position_ > 0; }
  bool canRedo() const noexcept { return position_ < steps_.size(); }
  /// The name of the step that `undo` or `redo` would work on; empty without one.
  String undoName() const;
  String redoName() const;
  /// Ends a continuous edit first. False without a step.
  bool undo();
  bool redo();

  /// Makes a step of changes made outside edits since the last check. Call it when a plug-in's command, drag
  /// or dialog may have changed the document. False when the document is unchanged.
  bool notice(const String& name);

  /// Whether the document differs from its file. A plug-in's SetChanged counts too.
  bool isDirty() const;
  /// The document of this revision is now on disk. Later edits leave it dirty.
  void markSaved(std::size_t revision);
  /// The document differs from its file although nothing was edited: it was recovered.
  void markUnsaved();
  /// A number for the present state of the document, for `markSaved`. Undo restores the earlier number.
  std::size_t revision();

  /// Steps beyond these bounds are dropped, oldest first: a count, and about how many bytes only they hold.
  /// At least one step is kept.
  void setLimits(std::size_t steps, std::size_t bytes);
  std::size_t stepCount() const noexcept { return steps_.size(); }
  std::size_t heldBytes() const noexcept { return bytes_; }

  /// Reloads that can be undone; older ones are dropped with all steps before them.
  static constexpr std::size_t mostReloads = 8;

  /// Drops all steps.
  void forgetAll() { reset(); }

  /// Steps, names or the dirty state have changed. Called from within the calls above.
  Listeners<> changed;

 private:
  struct Step {
    String name, mergeKey;
    Milliseconds time = 0;
    ImagePtr before, after;
    std::size_t revisionBefore = 0, revisionAfter = 0, bytes = 0;
    bool isReload = false;
    std::optional<Moment> momentBefore, momentAfter; // of a restored scene
  };

  void reset();
  void takeReload();
  ImagePtr look();
  void tellHub(const ImagePtr& before, const ImagePtr& after);
  bool finish(const String& name, const String& mergeKey, const ImagePtr& before);
  bool merge(const String& mergeKey, const ImagePtr& after);
  void push(Step step);
  void trim();
  bool holdsTooMuch() const;
  void put(const ImagePtr& image, std::size_t revision);
  void goTo(const std::optional<Moment>& moment);
  Moment moment() const;
  void run(const Change& change);
  void tell();
  void noticeContainer();

  DocumentHub& hub_;
  std::deque<Step> steps_;
  std::size_t position_ = 0; // steps before it are done
  std::size_t revision_ = 0, lastRevision_ = 0, savedRevision_ = 0;
  std::size_t bytes_ = 0, maxSteps_ = 500, maxBytes_ = std::size_t{512} << 20;
  ImagePtr image_; // of the document at the last check
  bool continuous_ = false, inside_ = false;
  String continuousName_;
  ImagePtr continuousBefore_;
  Subscription replacedSubscription_, changedSubscription_;
};

} // namespace host
