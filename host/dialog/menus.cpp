// Menus of dialogs, and popup menus.
#include <algorithm>

#include "access.h"
#include "c4d_dialog.h"
#include "dialog_state.h"
#include "popup_entries.h"
#include "user_interface.h"

using host::MenuEntry;

namespace host {

namespace {

// The entries of the innermost open menu; null when entries cannot be added now.
std::vector<MenuEntry>* menuToFill(DialogState& state) {
  if (!state.menuBuilding) return nullptr;
  std::vector<MenuEntry>* entries = &state.model.menus;
  for (const std::size_t index : state.menuPath)
    entries = &(*entries)[index].children;
  return entries;
}

MenuEntry* findIn(std::vector<MenuEntry>& entries, LONG id) {
  for (MenuEntry& entry : entries) {
    if (entry.id == id) return &entry;
    if (MenuEntry* found = findIn(entry.children, id)) return found;
  }
  return nullptr;
}

MenuEntry* findEntry(DialogState& state, LONG id) {
  return id == 0 ? nullptr : findIn(state.model.menus, id);
}

// Removes "&c&" or "&d&" from the end of the text and returns its letter, or 0.
char takeMark(std::string& text) {
  const std::size_t size = text.size();
  if (size < 3 || text[size - 3] != '&' || text[size - 1] != '&') return 0;
  const char mark = text[size - 2];
  if (mark != 'c' && mark != 'd') return 0;
  text.resize(size - 3);
  return mark;
}

} // namespace

const MenuEntry* findMenuEntry(const GeDialog& dialog, LONG id) {
  return findEntry(*Access::state(dialog), id);
}

std::vector<PopupEntry> popupEntries(const BaseContainer& entries) {
  std::vector<PopupEntry> list;
  for (LONG i = 0; i < entries.GetCount(); ++i) {
    const GeData* data = entries.GetIndexData(i);
    if (!data || data->GetType() != DA_STRING) continue;
    PopupEntry entry{entries.GetIndexId(i), String(), true, false};
    std::string text = data->GetString().GetUTF8();
    while (const char mark = takeMark(text)) {
      if (mark == 'c') entry.checked = true;
      if (mark == 'd') entry.enabled = false;
    }
    if (text.empty()) entry.id = 0;
    if (entry.id == 0)
      entry = PopupEntry();
    else
      entry.text = String(std::string_view(text));
    list.push_back(entry);
  }
  return list;
}

bool canChoose(const std::vector<PopupEntry>& entries, LONG id) {
  return id != 0 && std::any_of(entries.begin(), entries.end(),
                                [id](const PopupEntry& entry) { return entry.id == id && entry.enabled; });
}

} // namespace host

LONG ShowPopupMenu(GeDialog* /*dialog*/, LONG screenX, LONG screenY, const BaseContainer& entries) {
  LONG chosen = 0;
  const auto show = [&] {
    const host::ModalScope modal;
    chosen = host::userInterface().popup(entries, screenX, screenY);
  };
  if (!host::mainLoop().call(show, host::CallKind::box)) return 0;
  return host::canChoose(host::popupEntries(entries), chosen) ? chosen : 0;
}

Bool GeDialog::MenuFlushAll() {
  state_->model.menus.clear();
  state_->menuPath.clear();
  state_->menuBuilding = true;
  return TRUE;
}

Bool GeDialog::MenuSubBegin(const String& title) {
  std::vector<MenuEntry>* entries = host::menuToFill(*state_);
  if (!entries) return FALSE;
  MenuEntry menu;
  menu.text = title;
  entries->push_back(std::move(menu));
  state_->menuPath.push_back(entries->size() - 1);
  return TRUE;
}

Bool GeDialog::MenuSubEnd() {
  if (state_->menuPath.empty()) return FALSE;
  state_->menuPath.pop_back();
  return TRUE;
}

Bool GeDialog::MenuAddString(LONG id, const String& title) {
  std::vector<MenuEntry>* entries = host::menuToFill(*state_);
  if (!entries || id == 0) return FALSE;
  MenuEntry entry;
  entry.id = id;
  entry.text = title;
  entries->push_back(std::move(entry));
  return TRUE;
}

Bool GeDialog::MenuAddSeparator() {
  std::vector<MenuEntry>* entries = host::menuToFill(*state_);
  if (!entries) return FALSE;
  entries->emplace_back();
  return TRUE;
}

Bool GeDialog::MenuFinished() {
  if (!state_->menuBuilding) return FALSE;
  state_->menuBuilding = false;
  state_->menuPath.clear();
  if (state_->view) state_->view->menuChanged();
  return TRUE;
}

Bool GeDialog::MenuInitString(LONG id, Bool enabled, Bool checked) {
  MenuEntry* entry = host::findEntry(*state_, id);
  if (!entry) return FALSE;
  entry->enabled = enabled != FALSE;
  entry->checked = checked != FALSE;
  if (state_->view && !state_->menuBuilding) state_->view->menuChanged();
  return TRUE;
}
