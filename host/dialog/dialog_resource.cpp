// GeDialog: gadgets made from a description.
#include "access.h"
#include "c4d_dialog.h"
#include "console.h"
#include "dialog_state.h"
#include "plugin_resources.h"

namespace host {

namespace {

// Adds the described gadget to the innermost open group; a described group stays open.
void add(GeDialog& dialog, const GadgetDescription& said) {
  const LONG id = said.id, flags = said.flags, width = said.width, height = said.height;
  switch (said.kind) {
  case GadgetKind::group:
    dialog.GroupBegin(id, flags, said.columns, said.rows, said.text, 0, width, height);
    break;
  case GadgetKind::scrollGroup:
    dialog.ScrollGroupBegin(id, flags, said.scroll, width, height);
    break;
  case GadgetKind::button:
    dialog.AddButton(id, flags, width, height, said.text);
    break;
  case GadgetKind::staticText:
    dialog.AddStaticText(id, flags, width, height, said.text, BORDER_NONE);
    break;
  case GadgetKind::editText:
    dialog.AddEditText(id, flags, width, height);
    break;
  case GadgetKind::editNumber:
    dialog.AddEditNumber(id, flags, width, height);
    break;
  case GadgetKind::editNumberArrows:
    dialog.AddEditNumberArrows(id, flags, width, height);
    break;
  case GadgetKind::editSlider:
    dialog.AddEditSlider(id, flags, width, height);
    break;
  case GadgetKind::slider:
    dialog.AddSlider(id, flags, width, height);
    break;
  case GadgetKind::checkBox:
    dialog.AddCheckbox(id, flags, width, height, said.text);
    break;
  case GadgetKind::comboBox:
    dialog.AddComboBox(id, flags, width, height);
    break;
  case GadgetKind::colorField:
    dialog.AddColorField(id, flags, width, height);
    break;
  case GadgetKind::userArea:
    dialog.AddUserArea(id, flags, width, height);
    break;
  case GadgetKind::separatorH:
    dialog.AddSeparatorH(width, flags);
    break;
  case GadgetKind::separatorV:
    dialog.AddSeparatorV(height, flags);
    break;
  }
}

bool isGroup(const GadgetDescription& said) {
  return said.kind == GadgetKind::group || said.kind == GadgetKind::scrollGroup;
}

void finish(Gadget& gadget, const GadgetDescription& said) {
  gadget.id = said.id;
  gadget.text = said.text;
  gadget.tooltip = said.tooltip;
  gadget.enabled = !said.disabled;
  gadget.hidden = said.hidden;
  gadget.entries = said.entries;
  if (!isGroup(said)) return;
  gadget.columns = said.columns;
  gadget.rows = said.rows;
  gadget.border = said.border;
  gadget.spaceX = said.spaceX;
  gadget.spaceY = said.spaceY;
  gadget.borderLeft = said.borderLeft;
  gadget.borderTop = said.borderTop;
  gadget.borderRight = said.borderRight;
  gadget.borderBottom = said.borderBottom;
}

void build(GeDialog& dialog, DialogState& state, const GadgetDescription& said) {
  Gadget& parent = *state.groups.back();
  if (said.buttons != 0) {
    dialog.AddDlgGroup(said.buttons);
    Gadget& group = *parent.children.back();
    group.flags = said.flags;
    group.enabled = !said.disabled;
    group.hidden = said.hidden;
    return;
  }
  add(dialog, said);
  finish(*parent.children.back(), said);
  if (!isGroup(said)) return;
  for (const GadgetDescription& child : said.children)
    build(dialog, state, child);
  dialog.GroupEnd();
}

} // namespace

} // namespace host

Bool GeDialog::LoadDialogResource(LONG id, GeResource* resource, LONG flags) {
  if (!state_->building) return FALSE;
  const auto resources = host::dialogResources(resource, state_->plugin);
  const host::DialogDescription* description = resources ? resources->find(id) : nullptr;
  if (!description) {
    host::printLine("There is no description of the dialog " + LongToString(id) +
                    " in the plug-in's resources. Install the plug-in again.");
    return FALSE;
  }
  if (description->root.text.Content()) SetTitle(description->root.text);
  host::GadgetDescription root = description->root;
  root.text = String();
  if (flags != 0) root.flags = flags;
  host::build(*this, *state_, root);
  return TRUE;
}
