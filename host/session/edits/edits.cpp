#include "edits.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "node_paths.h"

namespace host {

namespace {

constexpr Milliseconds mergeTime = 1000;
const char* const outsideName = "Change by Plug-in";
const char* const outsideKey = "the document's container";

// The cameras that the views look through, by their paths: after a reload they have other identities.
class ViewCameras {
 public:
  explicit ViewCameras(const DocumentState& document) {
    for (const NodeState* view = document.views.first(); view; view = view->next) {
      const auto* camera =
          static_cast<const ObjectState*>(findNode(document, static_cast<const ViewState*>(view)->camera));
      paths_.push_back(camera && camera->kind == NodeKind::object ? namePathOf(*camera) : NamePath());
    }
  }

  void keep(DocumentState& document) const {
    std::size_t index = 0;
    for (NodeState* node = document.views.first(); node && index < paths_.size();
         node = node->next, ++index) {
      auto& view = static_cast<ViewState&>(*node);
      if (view.camera == 0 || findNode(document, view.camera)) continue;
      const ObjectState* same = objectAt(document, paths_[index]);
      if (same && same->type == Ocamera) view.camera = same->identity;
    }
  }

 private:
  std::vector<NamePath> paths_; // of each view; empty for one that looks through its own
};

void evaluate(BaseDocument& document, bool tracks) {
  document.ExecutePasses(nullptr, tracks ? TRUE : FALSE, TRUE, FALSE, BUILDFLAGS_0);
}

} // namespace

Edits::Edits(DocumentHub& hub) : hub_(hub) {
  replacedSubscription_ = hub_.replaced.add([this](Replacement why) {
    why == Replacement::reloaded ? takeReload() : reset();
    tell();
  });
  changedSubscription_ = hub_.changed.add([this] { noticeContainer(); });
  reset();
}

Edits::~Edits() = default;

// Starts the history of a new document.
void Edits::reset() {
  steps_.clear();
  position_ = bytes_ = 0;
  continuous_ = inside_ = false;
  continuousBefore_.reset();
  image_.reset();
  revision_ = savedRevision_ = ++lastRevision_;
  if (hub_.document()) look();
}

// Makes one step from the scene before the reload to the one on disk.
void Edits::takeReload() {
  continuous_ = inside_ = false;
  continuousBefore_.reset();
  Step step;
  step.name = "Reload";
  step.isReload = true;
  step.time = clock().now();
  step.before = image_;
  step.after = look();
  push(std::move(step));
  savedRevision_ = revision_;
}

ImagePtr Edits::look() {
  image_ = takeImage(*stateOf(hub_.document()), image_);
  return image_;
}

void Edits::tell() {
  if (BaseDocument* document = hub_.document()) {
    const auto lock = lockOf(stateOf(document));
    stateOf(document)->changed = revision_ != savedRevision_;
  }
  changed.call();
}

void Edits::run(const Change& change) {
  BaseDocument& document = *hub_.document();
  const DocumentEdit edit(document);
  inside_ = true;
  try {
    change(document);
  } catch (...) {
    inside_ = false;
    throw;
  }
  inside_ = false;
  evaluate(document, false);
}

bool Edits::apply(const String& name, const Change& change, const String& mergeKey) {
  BaseDocument* document = hub_.document();
  if (!document || !change) return false;
  if (inside_) return change(*document), true;
  if (continuous_) return update(change), true;
  notice(outsideName);
  const ImagePtr before = image_;
  try {
    run(change);
  } catch (...) {
    putImage(*stateOf(document), before);
    throw;
  }
  return finish(name, mergeKey, before);
}

void Edits::absorb(const Change& change, bool counts) {
  if (inside_ || continuous_ || !hub_.document() || !change) return;
  notice(outsideName);
  const bool clean = revision_ == savedRevision_;
  const ImagePtr before = image_;
  try {
    run(change);
  } catch (...) {
    putImage(*stateOf(hub_.document()), before);
    throw;
  }
  const ImagePtr after = look();
  if (after == before) return;
  if (differs(before, after)) {
    steps_.clear();
    position_ = bytes_ = 0;
    revision_ = ++lastRevision_;
    if (clean && !counts) savedRevision_ = revision_;
    tell();
  }
  tellHub(before, after);
}

void Edits::tellHub(const ImagePtr& before, const ImagePtr& after) {
  pictureDiffers(before, after) ? hub_.tellChanged() : hub_.tellUnseen();
  if (selectionDiffers(before, after)) hub_.tellSelection();
}

// Makes a step of the changes since `before` and announces them.
bool Edits::finish(const String& name, const String& mergeKey, const ImagePtr& before) {
  const ImagePtr after = look();
  if (after == before) return false;
  if (differs(before, after)) {
    if (!merge(mergeKey, after)) {
      Step step;
      step.name = name;
      step.mergeKey = mergeKey;
      step.time = clock().now();
      step.before = before;
      step.after = after;
      push(std::move(step));
    }
    tell();
  }
  tellHub(before, after);
  return true;
}

bool Edits::merge(const String& mergeKey, const ImagePtr& after) {
  if (!mergeKey.Content() || position_ == 0 || position_ != steps_.size()) return false;
  Step& last = steps_.back();
  if (last.mergeKey != mergeKey || clock().now() - last.time > mergeTime ||
      last.revisionAfter == savedRevision_)
    return false;
  bytes_ -= last.bytes;
  if (!differs(last.before, after)) { // back where it began
    revision_ = last.revisionBefore;
    steps_.pop_back();
    --position_;
    return true;
  }
  last.after = after;
  last.time = clock().now();
  last.revisionAfter = revision_ = ++lastRevision_;
  last.bytes = heldBeyond(last.before, after) + heldBeyond(after, last.before);
  bytes_ += last.bytes;
  return true;
}

void Edits::push(Step step) {
  while (steps_.size() > position_) {
    bytes_ -= steps_.back().bytes;
    steps_.pop_back();
  }
  step.revisionBefore = revision_;
  step.revisionAfter = revision_ = ++lastRevision_;
  step.bytes = heldBeyond(step.before, step.after) + heldBeyond(step.after, step.before);
  bytes_ += step.bytes;
  steps_.push_back(std::move(step));
  position_ = steps_.size();
  trim();
}

bool Edits::holdsTooMuch() const {
  const auto reloads =
      std::count_if(steps_.begin(), steps_.end(), [](const Step& step) { return step.isReload; });
  return steps_.size() > maxSteps_ || bytes_ > maxBytes_ || static_cast<std::size_t>(reloads) > mostReloads;
}

void Edits::trim() {
  while (steps_.size() > 1 && position_ > 1 && holdsTooMuch()) {
    bytes_ -= steps_.front().bytes;
    steps_.pop_front();
    --position_;
  }
}

void Edits::setLimits(std::size_t steps, std::size_t bytes) {
  maxSteps_ = std::max<std::size_t>(steps, 1);
  maxBytes_ = bytes;
  trim();
  changed.call();
}

bool Edits::begin(const String& name) {
  if (continuous_ || inside_ || !hub_.document()) return false;
  notice(outsideName);
  continuous_ = true;
  continuousName_ = name;
  continuousBefore_ = image_;
  return true;
}

void Edits::update(const Change& change) {
  if (!continuous_ || !change) return;
  if (inside_) return change(*hub_.document());
  try {
    run(change);
  } catch (...) {
    cancel();
    throw;
  }
  hub_.tellChanged();
}

bool Edits::end() {
  if (!continuous_ || inside_) return false;
  continuous_ = false;
  return finish(continuousName_, {}, std::exchange(continuousBefore_, nullptr));
}

void Edits::cancel() {
  if (!continuous_) return;
  continuous_ = false;
  put(std::exchange(continuousBefore_, nullptr), revision_);
}

// Restores the document from the image, evaluates it at its own time and announces the change.
void Edits::put(const ImagePtr& image, std::size_t revision) {
  BaseDocument& document = *hub_.document();
  const ImagePtr before = look();
  {
    const DocumentEdit edit(document);
    const ViewCameras cameras(*stateOf(&document));
    putImage(*stateOf(&document), image);
    cameras.keep(*stateOf(&document));
    if (timeOf(image) != document.GetTime()) evaluate(document, true);
  }
  revision_ = revision;
  const ImagePtr after = look();
  tell();
  tellHub(before, after);
}

bool Edits::undo() {
  if (inside_ || !hub_.document()) return false;
  end();
  notice(outsideName);
  if (position_ == 0) return false;
  const Step& step = steps_[--position_];
  put(step.before, step.revisionBefore);
  goTo(step.momentBefore);
  return true;
}

bool Edits::redo() {
  if (inside_ || !hub_.document()) return false;
  end();
  notice(outsideName);
  if (position_ == steps_.size()) return false;
  const Step& step = steps_[position_++];
  put(step.after, step.revisionAfter);
  goTo(step.momentAfter);
  return true;
}

String Edits::undoName() const {
  return canUndo() ? steps_[position_ - 1].name : String();
}

String Edits::redoName() const {
  return canRedo() ? steps_[position_].name : String();
}

Moment Edits::moment() const {
  return takeMoment(*stateOf(hub_.document()));
}

void Edits::goTo(const std::optional<Moment>& moment) {
  if (!moment) return;
  putCamera(*stateOf(hub_.document()), *moment);
  hub_.setTime(moment->time);
  hub_.tellChanged(); // the camera
  look();
}

bool Edits::restore(const String& name, const ImagePtr& scene, const Moment& moment) {
  if (inside_ || !hub_.document() || !scene) return false;
  end();
  notice(outsideName);
  Step step;
  step.name = name;
  step.time = clock().now();
  step.before = image_;
  step.momentBefore = this->moment();
  put(scene, revision_);
  goTo(moment);
  step.after = look();
  step.momentAfter = this->moment();
  const bool sameView = step.momentBefore->camera == step.momentAfter->camera &&
                        step.momentBefore->time == step.momentAfter->time &&
                        sameLook(step.momentBefore->own, step.momentAfter->own);
  if (sameView && !differs(step.before, step.after)) return false;
  push(std::move(step));
  tell();
  return true;
}

bool Edits::notice(const String& name) {
  if (inside_ || continuous_ || !hub_.document()) return false;
  const ImagePtr before = image_, after = look();
  if (after == before || !differs(before, after)) return false;
  Step step;
  step.name = name;
  step.time = clock().now();
  step.before = before;
  step.after = after;
  push(std::move(step));
  tell();
  return true;
}

// A scene-changed event checks only the document's own container: a check of everything would cost too much
// while an animation plays.
void Edits::noticeContainer() {
  if (inside_ || continuous_ || mainLoop().inModal() || !hub_.document()) return;
  if (stateOf(hub_.document())->data == containerOf(image_)) return;
  const ImagePtr before = image_, after = look();
  if (!differs(before, after)) return;
  if (!merge(outsideKey, after)) {
    Step step;
    step.name = outsideName;
    step.mergeKey = outsideKey;
    step.time = clock().now();
    step.before = before;
    step.after = after;
    push(std::move(step));
  }
  tell();
}

bool Edits::isDirty() const {
  const BaseDocument* document = hub_.document();
  return document && (revision_ != savedRevision_ || document->GetChanged());
}

void Edits::markSaved(std::size_t revision) {
  savedRevision_ = revision;
  tell();
}

void Edits::markUnsaved() {
  savedRevision_ = ++lastRevision_;
  tell();
}

std::size_t Edits::revision() {
  notice(outsideName);
  return revision_;
}

} // namespace host
