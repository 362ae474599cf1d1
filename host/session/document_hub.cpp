#include "document_hub.h"

#include "c4d_events.h"
#include "document.h"
#include "node_state.h"
#include "scene_file.h"

namespace host {

DocumentHub::DocumentHub() {
  setActiveDocument(newDocument().release());
  mainLoop().add(this);
}

DocumentHub::~DocumentHub() {
  close();
  lifetime_.end();
  mainLoop().remove(this);
}

BaseDocument* DocumentHub::document() const {
  return open_ ? GetActiveDocument() : nullptr;
}

void DocumentHub::replace(DocumentPtr document, Replacement why) {
  if (!open_) return;
  if (!document) document = newDocument();
  selection_ = false;
  setActiveDocument(document.release());
  replaced.call(why);
  tellChanged();
  tellSelection();
}

void DocumentHub::setTime(const BaseTime& time) {
  BaseDocument* active = document();
  if (!active || active->GetTime() == time) return;
  {
    const DocumentEdit edit(*active);
    active->SetTime(time);
    active->ExecutePasses(nullptr, TRUE, TRUE, FALSE, BUILDFLAGS_0);
  }
  timeChanged.call();
  tellChanged();
}

void DocumentHub::tellChanged() {
  EventAdd();
  announce();
}

void DocumentHub::tellUnseen() {
  announce();
}

void DocumentHub::tellSelection() {
  selection_ = true;
  const BaseDocument* active = document();
  if (active && selectionShows(*active)) EventAdd();
  announce();
}

void DocumentHub::close() {
  if (!open_) return;
  open_ = false;
  setActiveDocument(nullptr);
}

void DocumentHub::coreMessage(LONG id, const BaseContainer& /*message*/) {
  if (id == EVMSG_CHANGE) announce();
}

void DocumentHub::announce() {
  if (announced_ || !open_) return;
  announced_ = true;
  mainLoop().post(
      [self = lifetime_.ref()] {
        if (self) self->deliver();
      },
      Urgency::painting);
}

void DocumentHub::deliver() {
  announced_ = false;
  if (!open_) return;
  if (selection_) {
    selection_ = false;
    selectionChanged.call();
  }
  changed.call();
}

} // namespace host
