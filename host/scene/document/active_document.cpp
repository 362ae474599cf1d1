#include "active_document.h"

#include <algorithm>

#include "links.h"
#include "node_state.h"
#include "program.h"

namespace host {

namespace {

using Shared = std::shared_ptr<BaseDocument>;

// The active document. The lock is held only to copy or exchange the handle.
struct Active {
  std::mutex mutex;
  Shared document;

  Shared get() {
    const std::lock_guard lock(mutex);
    return document;
  }
  Shared exchange(Shared next) {
    const std::lock_guard lock(mutex);
    std::swap(document, next);
    return next;
  }
};

Active& active() {
  static auto* const one = new Active; // outlives every thread's pins
  return *one;
}

// The documents that a thread has asked for; they stay until it ends.
std::vector<Shared>& pins() {
  thread_local std::vector<Shared> documents;
  return documents;
}

void pin(const Shared& document) {
  auto& mine = pins();
  if (document && std::find(mine.begin(), mine.end(), document) == mine.end()) mine.push_back(document);
}

ULLONG identityOf(const BaseList2D* node) {
  return stateOf(node)->identity;
}

BaseList2D* resolve(ULLONG identity, const BaseDocument* document) {
  if (!document) document = GetActiveDocument();
  const NodeState* node = document ? findNode(*stateOf(document), identity) : nullptr;
  return node ? node->node : nullptr;
}

[[maybe_unused]] const bool hooksInstalled = [] {
  installLinkHooks({identityOf, resolve});
  return true;
}();

void freeAtProgramEnd() {
  static const bool once = [] {
    addShutdownStep(ShutdownStage::freeDocuments, [] { setActiveDocument(nullptr); });
    return true;
  }();
  (void)once;
}

} // namespace

void setActiveDocument(BaseDocument* document) {
  const Shared current = active().get();
  if (current.get() == document) return;
  if (document) freeAtProgramEnd();
  active().exchange(document ? Shared(document, [](BaseDocument* old) { destroyNode(stateOf(old)); })
                             : Shared());
}

DocumentEdit::DocumentEdit(BaseDocument& document) : document_(document) {
  stateOf(&document_)->mutex.lock();
}

DocumentEdit::~DocumentEdit() {
  stateOf(&document_)->mutex.unlock();
}

} // namespace host

BaseDocument* GetActiveDocument() {
  const host::Shared document = host::active().get();
  if (!GeIsMainThread()) host::pin(document);
  return document.get();
}

void BaseDocument::Free(BaseDocument*& document) {
  if (!document) return;
  if (host::active().get().get() == document)
    host::setActiveDocument(nullptr);
  else
    host::destroyNode(host::stateOf(document));
  document = nullptr;
}
