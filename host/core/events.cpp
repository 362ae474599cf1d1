// Events, questions and the picture viewer: the interface's functions over the loop and the user interface.
#include "c4d_events.h"

#include "c4d_bitmap.h"
#include "c4d_document.h"
#include "console.h"
#include "main_loop.h"
#include "plugin_registry.h"
#include "user_interface.h"

void SpecialEventAdd(LONG messageId, ULLONG p1, ULLONG p2) {
  host::mainLoop().postSpecialEvent(messageId, p1, p2);
}

void EventAdd(EVENT /*eventFlag*/) {
  host::mainLoop().postSceneChanged();
}

void CallCommand(LONG id) {
  if (!host::onMainThread()) return host::mainLoop().post([id] { CallCommand(id); });
  if (host::PluginRegistry* registry = host::pluginRegistry()) registry->execute(id, GetActiveDocument());
}

Bool DrawViews(LONG flags) {
  if (host::onMainThread()) return host::userInterface().drawViews(flags) ? TRUE : FALSE;
  host::mainLoop().post([flags] { host::userInterface().drawViews(flags); }, host::Urgency::painting);
  return TRUE;
}

void GePrint(const String& text) {
  host::printLine(text);
}

void MessageDialog(const String& text) {
  host::mainLoop().call(
      [&text] {
        const host::ModalScope modal;
        host::userInterface().message(text);
      },
      host::CallKind::box);
}

Bool QuestionDialog(const String& text) {
  bool yes = false;
  host::mainLoop().call(
      [&text, &yes] {
        const host::ModalScope modal;
        yes = host::userInterface().question(text);
      },
      host::CallKind::box);
  return yes ? TRUE : FALSE;
}

Bool ShowBitmap(BaseBitmap* bitmap) {
  return bitmap && host::userInterface().showBitmap(*bitmap) ? TRUE : FALSE;
}
