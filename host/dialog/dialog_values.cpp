// GeDialog: values, state and places of its gadgets.
#include <algorithm>
#include <cmath>

#include "access.h"
#include "area_state.h"
#include "c4d_dialog.h"
#include "dialog_geometry.h"
#include "dialog_state.h"
#include "typed_name.h"

using host::DialogState;
using host::Gadget;
using host::GadgetKind;
using host::NumberKind;
using host::NumberSpec;

namespace host {

namespace {

bool isNumberField(const Gadget& gadget) {
  return gadget.kind == GadgetKind::editNumber || gadget.kind == GadgetKind::editNumberArrows ||
         gadget.kind == GadgetKind::editSlider || gadget.kind == GadgetKind::slider;
}

bool isChoice(const Gadget& gadget) {
  return gadget.kind == GadgetKind::checkBox || gadget.kind == GadgetKind::comboBox;
}

bool hasText(const Gadget& gadget) {
  switch (gadget.kind) {
  case GadgetKind::group:
  case GadgetKind::button:
  case GadgetKind::staticText:
  case GadgetKind::editText:
  case GadgetKind::checkBox:
    return true;
  default:
    return false;
  }
}

void changed(const DialogState& state, const Gadget& gadget) {
  if (state.view) state.view->gadgetChanged(gadget);
}

// Sets a field's shown number, clamped to its bounds.
void setNumber(Gadget& gadget, Real value, const NumberSpec& spec) {
  gadget.spec = spec;
  gadget.number = value;
  const Real shown = gadget.shownNumber();
  const Real cut = std::isnan(shown) ? std::clamp<Real>(0, spec.min, std::max(spec.min, spec.max))
                                     : std::max(spec.min, std::min(spec.max, shown));
  if (cut != shown) gadget.number = spec.kind == NumberKind::percent ? cut / 100 : cut;
}

Bool setField(DialogState& state, LONG id, Real value, const NumberSpec& spec) {
  Gadget* gadget = findGadget(state, id);
  if (!gadget || !isNumberField(*gadget)) return FALSE;
  setNumber(*gadget, value, spec);
  changed(state, *gadget);
  return TRUE;
}

Bool setChoice(DialogState& state, Gadget& gadget, LONG value) {
  gadget.number = gadget.kind == GadgetKind::checkBox ? (value != 0 ? 1 : 0) : value;
  changed(state, gadget);
  return TRUE;
}

LONG wholeNumber(Real number) {
  return static_cast<LONG>(std::clamp<Real>(std::trunc(number), MINLONGl, MAXLONGl));
}

} // namespace

} // namespace host

Bool GeDialog::Enable(LONG id, Bool enabled) {
  Gadget* gadget = host::findGadget(*state_, id);
  if (!gadget) return FALSE;
  if (gadget->enabled == (enabled != FALSE)) return TRUE;
  gadget->enabled = enabled != FALSE;
  host::changed(*state_, *gadget);
  return TRUE;
}

Bool GeDialog::HideElement(LONG id, Bool hidden) {
  Gadget* gadget = host::findGadget(*state_, id);
  if (!gadget) return FALSE;
  if (gadget->hidden == (hidden != FALSE)) return TRUE;
  gadget->hidden = hidden != FALSE;
  host::changed(*state_, *gadget);
  if (state_->view) state_->view->layoutChanged(*gadget);
  return TRUE;
}

Bool GeDialog::LayoutChanged(LONG id) {
  Gadget* gadget = host::findGadget(*state_, id);
  if (!gadget) return FALSE;
  if (gadget->kind == GadgetKind::userArea) {
    if (gadget->area) host::relayoutArea(*host::Access::state(*gadget->area));
    return TRUE;
  }
  std::vector<GeUserArea*> areas;
  host::forEachGadget(*gadget, [&](Gadget& one) {
    if (one.area) areas.push_back(one.area);
  });
  for (GeUserArea* area : areas)
    host::relayoutArea(*host::Access::state(*area));
  if (state_->view) state_->view->layoutChanged(*gadget);
  return TRUE;
}

Bool GeDialog::SetLong(LONG id, LONG value, LONG min, LONG max, LONG step) {
  Gadget* gadget = host::findGadget(*state_, id);
  if (gadget && host::isChoice(*gadget)) return host::setChoice(*state_, *gadget, value);
  return host::setField(
      *state_, id, value,
      {NumberKind::integer, static_cast<Real>(min), static_cast<Real>(max), static_cast<Real>(step)});
}

Bool GeDialog::SetReal(LONG id, Real value, Real min, Real max, Real step) {
  return host::setField(*state_, id, value, {NumberKind::real, min, max, step});
}

Bool GeDialog::SetPercent(LONG id, Real value, Real min, Real max, Real step) {
  return host::setField(*state_, id, value, {NumberKind::percent, min, max, step});
}

Bool GeDialog::SetMeter(LONG id, Real value, Real min, Real max, Real step) {
  return host::setField(*state_, id, value, {NumberKind::meter, min, max, step});
}

Bool GeDialog::SetBool(LONG id, Bool value) {
  Gadget* gadget = host::findGadget(*state_, id);
  if (!gadget || !host::isChoice(*gadget)) return FALSE;
  return host::setChoice(*state_, *gadget, value ? 1 : 0);
}

Bool GeDialog::SetString(LONG id, const String& text) {
  Gadget* gadget = host::findGadget(*state_, id);
  if (!gadget || !host::hasText(*gadget)) return FALSE;
  gadget->text = text;
  host::changed(*state_, *gadget);
  return TRUE;
}

Bool GeDialog::SetFilename(LONG id, const Filename& name) {
  const Gadget* gadget = host::findGadget(*state_, id);
  return gadget && gadget->kind == GadgetKind::editText ? SetString(id, name.GetString()) : FALSE;
}

Bool GeDialog::SetColorField(LONG id, const Vector& color, Real brightness, Real maxBrightness) {
  Gadget* gadget = host::findGadget(*state_, id);
  if (!gadget || gadget->kind != GadgetKind::colorField) return FALSE;
  const auto cut = [](Real value) { return value >= 0 ? std::min<Real>(value, 1) : 0; };
  const Real brightest = std::max<Real>(maxBrightness, 0);
  gadget->color = Vector(cut(color.x), cut(color.y), cut(color.z));
  gadget->brightness = brightness >= 0 ? std::min(brightness, brightest) : 0;
  gadget->spec = {NumberKind::real, 0, brightest, 0.01};
  host::changed(*state_, *gadget);
  return TRUE;
}

Bool GeDialog::GetLong(LONG id, LONG& value) const {
  const Gadget* gadget = host::findGadget(*state_, id);
  if (!gadget || !(host::isNumberField(*gadget) || host::isChoice(*gadget))) return FALSE;
  value = host::wholeNumber(gadget->number);
  return TRUE;
}

Bool GeDialog::GetReal(LONG id, Real& value) const {
  const Gadget* gadget = host::findGadget(*state_, id);
  if (!gadget || !(host::isNumberField(*gadget) || host::isChoice(*gadget))) return FALSE;
  value = gadget->number;
  return TRUE;
}

Bool GeDialog::GetBool(LONG id, Bool& value) const {
  const Gadget* gadget = host::findGadget(*state_, id);
  if (!gadget || !host::isChoice(*gadget)) return FALSE;
  value = gadget->number != 0 ? TRUE : FALSE;
  return TRUE;
}

Bool GeDialog::GetString(LONG id, String& text) const {
  const Gadget* gadget = host::findGadget(*state_, id);
  if (!gadget || !host::hasText(*gadget)) return FALSE;
  text = gadget->text;
  return TRUE;
}

Bool GeDialog::GetFilename(LONG id, Filename& name) const {
  const Gadget* gadget = host::findGadget(*state_, id);
  if (!gadget || gadget->kind != GadgetKind::editText) return FALSE;
  name = host::typedName(Filename(gadget->text));
  return TRUE;
}

Bool GeDialog::GetColorField(LONG id, Vector& color, Real& brightness) const {
  const Gadget* gadget = host::findGadget(*state_, id);
  if (!gadget || gadget->kind != GadgetKind::colorField) return FALSE;
  color = gadget->color;
  brightness = gadget->brightness;
  return TRUE;
}

// ---- Geometry

Bool GeDialog::GetVisibleArea(LONG id, LONG* left, LONG* top, LONG* right, LONG* bottom) const {
  const Gadget* gadget = host::findGadget(*state_, id);
  if (!state_->open || !gadget || gadget->kind != GadgetKind::scrollGroup) return FALSE;
  LONG l = 0, t = 0, r = 0, b = 0;
  if (!state_->view || !state_->view->visibleArea(*gadget, l, t, r, b)) {
    const auto set = state_->scrollSizes.find(id);
    const host::Place size = set != state_->scrollSizes.end() ? set->second : host::scrollContent(*gadget);
    l = t = 0;
    r = std::max<LONG>(0, size.width - gadget->freeWidth);
    b = std::max<LONG>(0, size.height - gadget->freeHeight);
  }
  if (left) *left = l;
  if (top) *top = t;
  if (right) *right = r;
  if (bottom) *bottom = b;
  return TRUE;
}

Bool GeDialog::GetItemDim(LONG id, LONG* x, LONG* y, LONG* width, LONG* height) const {
  const Gadget* gadget = host::findGadget(*state_, id);
  host::Place place;
  if (!state_->open || !gadget || !host::gadgetPlace(*state_, *gadget, place)) return FALSE;
  if (x) *x = place.x;
  if (y) *y = place.y;
  if (width) *width = place.width;
  if (height) *height = place.height;
  return TRUE;
}

Bool GeDialog::Local2Screen(LONG* x, LONG* y) const {
  LONG left = 0, top = 0;
  if (!state_->open || !host::windowOrigin(*state_, left, top)) return FALSE;
  if (x) *x += left;
  if (y) *y += top;
  return TRUE;
}
