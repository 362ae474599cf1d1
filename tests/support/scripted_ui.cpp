#include "scripted_ui.h"

#include "gadget_actions.h"

namespace {

template <class T>
T next(std::deque<T>& script, T otherwise) {
  if (script.empty()) return otherwise;
  T first = script.front();
  script.pop_front();
  return first;
}

} // namespace

void ScriptedUi::note(const char* what, const String& text) {
  record.push_back(std::string(what) + ": " + text.GetUTF8());
}

void ScriptedUi::message(const String& text) {
  messages.push_back(text.GetUTF8());
  note("message", text);
  if (whileBoxIsOpen) whileBoxIsOpen();
}

bool ScriptedUi::question(const String& text) {
  questions.push_back(text.GetUTF8());
  note("question", text);
  if (whileBoxIsOpen) whileBoxIsOpen();
  return next(answers, defaultAnswer);
}

bool ScriptedUi::selectFile(const host::FileRequest& request, Filename& chosen) {
  fileRequests.push_back(request);
  note("select file", request.title);
  chosen = next(files, Filename());
  return chosen.Content();
}

LONG ScriptedUi::popup(const BaseContainer& entries, LONG x, LONG y) {
  popups.push_back({entries, x, y});
  popupsShown.push_back(entries.GetCount());
  note("popup", LongToString(entries.GetCount()));
  return next(choices, LONG{0});
}

bool ScriptedUi::editMovieOptions(LONG format, BaseContainer& options) {
  movieRequests.push_back(format);
  note("movie options", LongToString(format));
  return editsMovieOptions && editsMovieOptions(format, options);
}

bool ScriptedUi::showBitmap(const BaseBitmap& bitmap) {
  shownBitmaps.push_back({bitmap.GetBw(), bitmap.GetBh(), bitmap.GetBt()});
  note("show bitmap", LongToString(bitmap.GetBw()) + "x" + LongToString(bitmap.GetBh()));
  return showsBitmaps;
}

bool ScriptedUi::openFile(const Filename& file) {
  openedFiles.push_back(file.GetString().GetUTF8());
  note("open file", file.GetString());
  return opensFiles;
}

bool ScriptedUi::openAddress(const String& address) {
  openedAddresses.push_back(address.GetUTF8());
  note("open address", address);
  return opensFiles;
}

bool ScriptedUi::drawViews(LONG flags) {
  drawnViews.push_back(flags);
  if (whenViewsAreDrawn) whenViewsAreDrawn();
  note("draw views", LongToString(flags));
  return true;
}

bool ScriptedUi::openDialog(GeDialog& dialog, const host::DialogPlacement& placement) {
  openedDialogs.push_back({&dialog, placement});
  note("open dialog", LongToString(placement.pluginId));
  if (!hasDisplay) return false;
  host::layoutWithoutView(dialog);
  if (placement.type != DLG_TYPE_MODAL) return true;
  if (const auto script = next(dialogScripts, whileDialogIsOpen)) script(dialog);
  host::closeByUser(dialog);
  return true;
}

bool ScriptedUi::restoredPlacement(LONG pluginId, LONG subId, void* /*secret*/,
                                   host::DialogPlacement& placement) {
  for (const host::DialogPlacement& known : remembered) {
    if (known.pluginId != pluginId || known.subId != subId) continue;
    placement = known;
    return true;
  }
  return false;
}

void ScriptedUi::closeDialog(GeDialog& dialog) {
  closedDialogs.push_back(&dialog);
  note("close dialog", String());
}
