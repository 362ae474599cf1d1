#include "input_watch.h"

#include <algorithm>

#include "gadget_actions.h"
#include "qt_text.h"

namespace host {

namespace {

void takePointer(InputState& state, const QPoint& at) {
  state.known = true;
  state.mouseX = at.x();
  state.mouseY = at.y();
}

void takeButtons(InputState& state, Qt::MouseButtons buttons) {
  state.left = buttons & Qt::LeftButton;
  state.middle = buttons & Qt::MiddleButton;
  state.right = buttons & Qt::RightButton;
}

void takeKey(InputState& state, const QKeyEvent& event, bool down) {
  const LONG channel = channelOf(event.key());
  if (channel == 0 || event.isAutoRepeat()) return;
  std::erase(state.keys, channel);
  if (down) state.keys.push_back(channel);
}

// Each event reaches the window first; it is read once.
class InputWatch : public QObject {
 public:
  using QObject::QObject;
  bool eventFilter(QObject* watched, QEvent* event) override {
    if (watched->isWindowType()) watchInput(*event);
    return false;
  }
};

} // namespace

void watchInput(const QEvent& event) {
  InputState state = inputState();
  switch (event.type()) {
  case QEvent::MouseMove:
  case QEvent::MouseButtonPress:
  case QEvent::MouseButtonDblClick:
  case QEvent::MouseButtonRelease: {
    const auto& mouse = static_cast<const QMouseEvent&>(event);
    takePointer(state, mouse.globalPosition().toPoint());
    takeButtons(state, mouse.buttons());
    state.qualifiers = qualifiersOf(mouse.modifiers());
    break;
  }
  case QEvent::KeyPress:
  case QEvent::KeyRelease: {
    const auto& key = static_cast<const QKeyEvent&>(event);
    takeKey(state, key, event.type() == QEvent::KeyPress);
    state.qualifiers = qualifiersOf(key.modifiers());
    state.known = true;
    break;
  }
  case QEvent::Leave:
  case QEvent::Enter:
    takePointer(state, QCursor::pos());
    break;
  case QEvent::FocusOut: // releases in other programs are not reported
    state.keys.clear();
    state.qualifiers = 0;
    break;
  default:
    return;
  }
  setInputState(state);
}

void watchPointer() {
  InputState state = inputState();
  takePointer(state, QCursor::pos());
  setInputState(state);
}

void startInputWatch(QObject* owner) {
  qApp->installEventFilter(new InputWatch(owner));
}

} // namespace host
