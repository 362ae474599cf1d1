// GeUserArea.
#include "access.h"
#include "area_state.h"
#include "c4d_dialog.h"
#include "dialog_geometry.h"
#include "dialog_state.h"
#include "gadget_actions.h"

using host::Access;
using host::AreaState;

namespace host {

namespace {

// The area's upper left corner in the window's content.
bool corner(const AreaState& state, LONG& x, LONG& y) {
  Place place;
  if (!state.dialog || !state.dialog->IsOpen()) return false;
  if (!gadgetPlace(*Access::state(*state.dialog), *state.gadget, place)) return false;
  x = place.x;
  y = place.y;
  return true;
}

Bool move(LONG* x, LONG* y, LONG byX, LONG byY) {
  if (x) *x += byX;
  if (y) *y += byY;
  return TRUE;
}

} // namespace

} // namespace host

GeUserArea::GeUserArea() : state_(new AreaState(*this)) {
}

GeUserArea::~GeUserArea() {
  delete state_;
}

Bool GeUserArea::Init() {
  return TRUE;
}
Bool GeUserArea::InitValues() {
  return TRUE;
}
Bool GeUserArea::GetMinSize(LONG& /*w*/, LONG& /*h*/) {
  return FALSE;
}
void GeUserArea::Sized(LONG /*w*/, LONG /*h*/) {
}
void GeUserArea::Draw(LONG /*x1*/, LONG /*y1*/, LONG /*x2*/, LONG /*y2*/) {
}
void GeUserArea::DrawMsg(LONG x1, LONG y1, LONG x2, LONG y2, const BaseContainer& /*msg*/) {
  Draw(x1, y1, x2, y2);
}
Bool GeUserArea::InputEvent(const BaseContainer& /*msg*/) {
  return FALSE;
}
Bool GeUserArea::CoreMessage(LONG /*id*/, const BaseContainer& /*msg*/) {
  return FALSE;
}
void GeUserArea::Timer(const BaseContainer& /*msg*/) {
}
LONG GeUserArea::Message(const BaseContainer& msg, BaseContainer& /*result*/) {
  if (msg.GetId() != BFM_INPUT) return 0;
  return InputEvent(msg) ? 1 : 0;
}

LONG GeUserArea::GetId() const {
  return state_->gadget ? state_->gadget->id : 0;
}

LONG GeUserArea::GetWidth() const {
  return state_->width;
}

LONG GeUserArea::GetHeight() const {
  return state_->height;
}

GeDialog* GeUserArea::GetDialog() const {
  return state_->dialog;
}

void GeUserArea::Redraw() {
  host::requestPaint(*state_);
}

void GeUserArea::LayoutChanged() {
  host::relayoutArea(*state_);
}

void GeUserArea::SetTimer(LONG milliseconds) {
  host::setAreaTimer(*state_, milliseconds);
}

Bool GeUserArea::Global2Local(LONG* x, LONG* y) const {
  LONG left = 0, top = 0;
  return host::corner(*state_, left, top) ? host::move(x, y, -left, -top) : FALSE;
}

Bool GeUserArea::Local2Global(LONG* x, LONG* y) const {
  LONG left = 0, top = 0;
  return host::corner(*state_, left, top) ? host::move(x, y, left, top) : FALSE;
}

Bool GeUserArea::Local2Screen(LONG* x, LONG* y) const {
  LONG left = 0, top = 0;
  if (!host::corner(*state_, left, top) || !state_->dialog->Local2Screen(&left, &top)) return FALSE;
  return host::move(x, y, left, top);
}

Bool GeUserArea::GetInputState(LONG device, LONG channel, BaseContainer& answer) const {
  LONG left = 0, top = 0;
  if (!state_->dialog || !state_->dialog->Local2Screen(&left, &top)) return FALSE;
  if (!::GetInputState(device, channel, answer)) return FALSE;
  answer.SetReal(BFM_INPUT_X, answer.GetReal(BFM_INPUT_X) - left);
  answer.SetReal(BFM_INPUT_Y, answer.GetReal(BFM_INPUT_Y) - top);
  return TRUE;
}

LONG GeUserArea::SendParentMessage(const BaseContainer& msg) {
  return state_->dialog ? host::sendMessage(*state_->dialog, msg) : 0;
}

// ---- Drawing

Bool GeUserArea::OffScreenOn() {
  return state_->drawing ? TRUE : FALSE;
}

void GeUserArea::DrawSetPen(const Vector& color) {
  state_->pen = color;
}

void GeUserArea::DrawLine(LONG x1, LONG y1, LONG x2, LONG y2) {
  if (state_->drawing) state_->surface.line(x1, y1, x2, y2, host::packColor(state_->pen));
}

void GeUserArea::DrawRectangle(LONG x1, LONG y1, LONG x2, LONG y2) {
  if (state_->drawing) state_->surface.fillRect(x1, y1, x2, y2, host::packColor(state_->pen));
}

void GeUserArea::DrawBitmap(const BaseBitmap* bitmap, LONG wx, LONG wy, LONG ww, LONG wh, LONG x, LONG y,
                            LONG width, LONG height, LONG mode) {
  if (!state_->drawing || !bitmap) return;
  state_->surface.blit(*bitmap, wx, wy, ww, wh, x, y, width, height, (mode & BMP_NORMALSCALED) != 0,
                       (mode & BMP_ALLOWALPHA) != 0);
}
