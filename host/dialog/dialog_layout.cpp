// GeDialog: the calls that build its gadgets.
#include <algorithm>
#include <limits>

#include "access.h"
#include "area_state.h"
#include "c4d_dialog.h"
#include "dialog_state.h"
#include "gadget_actions.h"
#include "surface.h"

using host::DialogState;
using host::Gadget;
using host::GadgetKind;
using host::NumberKind;

namespace host {

namespace {

constexpr LONG largestSize = 32768; // logical pixels

LONG cutSize(LONG size) {
  return std::clamp<LONG>(size, 0, largestSize);
}

// Adds a gadget to the innermost open group; null outside CreateLayout.
Gadget* add(DialogState& state, GadgetKind kind, LONG id, LONG flags, LONG width, LONG height,
            const String& text = String()) {
  if (!state.building || state.groups.empty()) return nullptr;
  auto gadget = std::make_unique<Gadget>();
  gadget->kind = kind;
  gadget->id = id;
  gadget->flags = flags;
  gadget->initWidth = cutSize(width);
  gadget->initHeight = cutSize(height);
  gadget->text = text;
  gadget->parent = state.groups.back();
  Gadget* const added = gadget.get();
  state.groups.back()->children.push_back(std::move(gadget));
  return added;
}

Bool added(DialogState& state, GadgetKind kind, LONG id, LONG flags, LONG width, LONG height,
           const String& text = String()) {
  return add(state, kind, id, flags, width, height, text) ? TRUE : FALSE;
}

// The innermost open group; null outside CreateLayout.
Gadget* group(DialogState& state) {
  return state.building && !state.groups.empty() ? state.groups.back() : nullptr;
}

} // namespace

const Gadget* findGadget(const GeDialog& dialog, LONG id) {
  return findGadget(*Access::state(dialog), id);
}

Gadget* findGadget(DialogState& state, LONG id) {
  if (id == 0) return nullptr;
  Gadget* found = nullptr;
  forEachGadget(state.model.root, [&](Gadget& gadget) {
    if (!found && gadget.id == id) found = &gadget;
  });
  return found;
}

} // namespace host

Bool GeDialog::GroupBegin(LONG id, LONG flags, LONG columns, LONG rows, const String& title,
                          LONG /*groupFlags*/, LONG initWidth, LONG initHeight) {
  Gadget* gadget = host::add(*state_, GadgetKind::group, id, flags, initWidth, initHeight, title);
  if (!gadget) return FALSE;
  gadget->columns = std::max<LONG>(columns, 0);
  gadget->rows = std::max<LONG>(rows, 0);
  state_->groups.push_back(gadget);
  return TRUE;
}

Bool GeDialog::ScrollGroupBegin(LONG id, LONG flags, LONG scrollFlags, LONG initWidth, LONG initHeight) {
  Gadget* gadget = host::add(*state_, GadgetKind::scrollGroup, id, flags, initWidth, initHeight);
  if (!gadget) return FALSE;
  gadget->columns = 1;
  gadget->scroll = scrollFlags & (SCROLLGROUP_VERT | SCROLLGROUP_HORIZ);
  state_->groups.push_back(gadget);
  return TRUE;
}

Bool GeDialog::GroupEnd() {
  if (!state_->building || state_->groups.size() < 2) return FALSE;
  state_->groups.pop_back();
  return TRUE;
}

Bool GeDialog::GroupSpace(LONG x, LONG y) {
  Gadget* gadget = host::group(*state_);
  if (!gadget) return FALSE;
  gadget->spaceX = host::cutSize(x);
  gadget->spaceY = host::cutSize(y);
  return TRUE;
}

Bool GeDialog::GroupBorderSpace(LONG left, LONG top, LONG right, LONG bottom) {
  Gadget* gadget = host::group(*state_);
  if (!gadget) return FALSE;
  gadget->borderLeft = host::cutSize(left);
  gadget->borderTop = host::cutSize(top);
  gadget->borderRight = host::cutSize(right);
  gadget->borderBottom = host::cutSize(bottom);
  return TRUE;
}

Bool GeDialog::GroupBorder(LONG border) {
  Gadget* gadget = host::group(*state_);
  if (!gadget) return FALSE;
  gadget->border = border;
  return TRUE;
}

Bool GeDialog::AddButton(LONG id, LONG flags, LONG initWidth, LONG initHeight, const String& name) {
  return host::added(*state_, GadgetKind::button, id, flags, initWidth, initHeight, name);
}

Bool GeDialog::AddStaticText(LONG id, LONG flags, LONG initWidth, LONG initHeight, const String& name,
                             LONG border) {
  Gadget* gadget = host::add(*state_, GadgetKind::staticText, id, flags, initWidth, initHeight, name);
  if (gadget) gadget->border = border;
  return gadget ? TRUE : FALSE;
}

Bool GeDialog::AddEditText(LONG id, LONG flags, LONG initWidth, LONG initHeight) {
  return host::added(*state_, GadgetKind::editText, id, flags, initWidth, initHeight);
}

Bool GeDialog::AddEditNumber(LONG id, LONG flags, LONG initWidth, LONG initHeight) {
  return host::added(*state_, GadgetKind::editNumber, id, flags, initWidth, initHeight);
}

Bool GeDialog::AddEditNumberArrows(LONG id, LONG flags, LONG initWidth, LONG initHeight) {
  return host::added(*state_, GadgetKind::editNumberArrows, id, flags, initWidth, initHeight);
}

Bool GeDialog::AddEditSlider(LONG id, LONG flags, LONG initWidth, LONG initHeight) {
  return host::added(*state_, GadgetKind::editSlider, id, flags, initWidth, initHeight);
}

Bool GeDialog::AddSlider(LONG id, LONG flags, LONG initWidth, LONG initHeight) {
  return host::added(*state_, GadgetKind::slider, id, flags, initWidth, initHeight);
}

Bool GeDialog::AddCheckbox(LONG id, LONG flags, LONG initWidth, LONG initHeight, const String& name) {
  return host::added(*state_, GadgetKind::checkBox, id, flags, initWidth, initHeight, name);
}

Bool GeDialog::AddComboBox(LONG id, LONG flags, LONG initWidth, LONG initHeight) {
  return host::added(*state_, GadgetKind::comboBox, id, flags, initWidth, initHeight);
}

Bool GeDialog::AddChild(LONG id, LONG value, const String& text) {
  Gadget* gadget = host::findGadget(*state_, id);
  if (!gadget || gadget->kind != GadgetKind::comboBox) return FALSE;
  gadget->entries.push_back({value, text});
  if (state_->view) state_->view->gadgetChanged(*gadget);
  return TRUE;
}

Bool GeDialog::AddColorField(LONG id, LONG flags, LONG initWidth, LONG initHeight) {
  return host::added(*state_, GadgetKind::colorField, id, flags, initWidth, initHeight);
}

Bool GeDialog::AddUserArea(LONG id, LONG flags, LONG initWidth, LONG initHeight) {
  return host::added(*state_, GadgetKind::userArea, id, flags, initWidth, initHeight);
}

Bool GeDialog::AttachUserArea(GeUserArea& area, LONG id, LONG /*flags*/) {
  Gadget* gadget = host::findGadget(*state_, id);
  if (!gadget || gadget->kind != GadgetKind::userArea) return FALSE;
  if (gadget->area == &area) return TRUE;
  host::attachArea(*host::Access::state(area), *this, *gadget);
  return TRUE;
}

Bool GeDialog::AddSeparatorH(LONG initWidth, LONG flags) {
  return host::added(*state_, GadgetKind::separatorH, 0, flags, initWidth, 0);
}

Bool GeDialog::AddSeparatorV(LONG initHeight, LONG flags) {
  return host::added(*state_, GadgetKind::separatorV, 0, flags, 0, initHeight);
}

Bool GeDialog::AddDlgGroup(LONG buttons) {
  if (!GroupBegin(0, BFH_CENTER, 0, 1, String(), 0)) return FALSE;
  if (buttons & DLG_OK) AddButton(IDC_OK, 0, 80, 0, "OK");
  if (buttons & DLG_CANCEL) AddButton(IDC_CANCEL, 0, 80, 0, "Cancel");
  return GroupEnd();
}
