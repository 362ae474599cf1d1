// A combo box on a page that scrolls. Main thread.
#pragma once

#include <QComboBox>
#include <QWheelEvent>

#include "wheel_rule.h"

namespace host {

/// Leaves the wheel to the page (wheel_rule.h).
class QuietCombo : public QComboBox {
 public:
  explicit QuietCombo(QWidget* parent) : QComboBox(parent) { setFocusPolicy(Qt::StrongFocus); }

 protected:
  void wheelEvent(QWheelEvent* event) override {
    if (hasFocus() && !wheelBelongsToScrollArea(*this)) return QComboBox::wheelEvent(event);
    event->ignore();
  }
};

} // namespace host
