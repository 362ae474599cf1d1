#include "number_field.h"

#include <cmath>

#include "arithmetic.h"
#include "icons.h"
#include "theme.h"
#include "wheel_rule.h"

namespace host {

namespace {

constexpr int dragStart = 3;     // pixels before a press becomes a drag
constexpr int pixelsPerStep = 2; // of a drag
constexpr int arrowWidth = 15;
const char* const dash = "\xe2\x80\x94";

double clampTo(double value, double min, double max) {
  return std::min(std::max(value, min), max);
}

bool startsNumber(const QString& text) {
  return text.size() == 1 && QStringLiteral("0123456789.,-+(").contains(text);
}

} // namespace

bool wheelBelongsToScrollArea(const QWidget& widget) {
  if (widget.hasFocus()) return false;
  for (const QWidget* at = widget.parentWidget(); at; at = at->isWindow() ? nullptr : at->parentWidget()) {
    const auto* area = qobject_cast<const QAbstractScrollArea*>(at);
    const QScrollBar* bar = area ? area->verticalScrollBar() : nullptr;
    if (bar && bar->minimum() < bar->maximum()) return true;
  }
  return false;
}

NumberField::NumberField(QWidget* parent) : QLineEdit(parent) {
  setFocusPolicy(Qt::StrongFocus);
  setContextMenuPolicy(Qt::DefaultContextMenu);
  connect(this, &QLineEdit::textEdited, this, [this](const QString& text) {
    QString number = text;
    if (!suffix_.isEmpty() && number.endsWith(suffix_.trimmed())) number.chop(suffix_.trimmed().size());
    setComplaint(!evaluate(number.trimmed().toStdString()));
  });
  show_();
  updateCursor();
}

double NumberField::cut(double value) const {
  if (decimals_ == 0) value = std::round(value);
  return clampTo(value, min_, max_);
}

void NumberField::setValue(double value) {
  if (std::isnan(value)) return;
  value_ = cut(value);
  mixed_ = false;
  if (mode_ != Mode::typed) show_();
}

void NumberField::setMixed() {
  mixed_ = true;
  if (mode_ != Mode::typed) show_();
}

void NumberField::setRange(double min, double max) {
  min_ = min;
  max_ = std::max(min, max);
  const double value = cut(value_);
  if (value == value_) return;
  value_ = value;
  if (mode_ != Mode::typed) show_();
}

void NumberField::setStep(double step) {
  if (step > 0) step_ = step;
}

void NumberField::setDecimals(int decimals) {
  decimals_ = std::clamp(decimals, 0, 12);
  if (mode_ != Mode::typed) show_();
}

void NumberField::setSuffix(const QString& suffix) {
  suffix_ = suffix;
  if (mode_ != Mode::typed) show_();
}

QString NumberField::textOf(double value) const {
  QString text;
  if (std::abs(value) < 1e15) {
    text = QString::number(value, 'f', decimals_);
    if (text.contains(QLatin1Char('.'))) {
      while (text.endsWith(QLatin1Char('0')))
        text.chop(1);
      if (text.endsWith(QLatin1Char('.'))) text.chop(1);
    }
    if (text == QLatin1String("-0")) text = QStringLiteral("0");
  } else {
    text = QString::number(value, 'g', 12);
  }
  return text + suffix_;
}

void NumberField::show_() {
  const QString shown = mixed_ ? QString::fromUtf8(dash) : textOf(value_);
  if (text() != shown) setText(shown);
  setModified(false);
  setComplaint(false);
  if (mode_ != Mode::typed) setCursorPosition(0);
}

void NumberField::setComplaint(bool on) {
  if (property("complaint").toBool() == on) return;
  setProperty("complaint", on);
  style()->unpolish(this);
  style()->polish(this);
}

// Sets a value that the user has chosen.
void NumberField::change(double value) {
  value = cut(value);
  const bool changed = mixed_ || value != value_;
  value_ = value;
  mixed_ = false;
  show_();
  if (changed) emit valueChanged(value_);
}

double NumberField::stepOf(Qt::KeyboardModifiers keys) const {
  double step = step_;
  if (keys & Qt::ShiftModifier) step *= 10;
  if (keys & Qt::ControlModifier) step /= 10;
  return std::max(step, std::pow(10.0, -decimals_));
}

// Rounded to the digits shown, so that sums of tenths stay tenths.
void NumberField::stepBy(double steps, Qt::KeyboardModifiers keys) {
  const double grid = std::pow(10.0, decimals_);
  const double value = value_ + steps * stepOf(keys);
  const double rounded = std::round(value * grid) / grid;
  change(std::isfinite(rounded) ? rounded : value);
}

void NumberField::beginTyping() {
  if (mode_ == Mode::typed) return;
  mode_ = Mode::typed;
  setModified(false);
  updateCursor();
}

// Commits the typed text. False when nothing was being typed.
bool NumberField::commit() {
  if (mode_ != Mode::typed) return false;
  mode_ = Mode::shown;
  updateCursor();
  if (!isModified()) {
    show_();
    return false;
  }
  QString typed = text().trimmed();
  const QString unit = suffix_.trimmed();
  if (!unit.isEmpty() && typed.endsWith(unit, Qt::CaseInsensitive)) typed.chop(unit.size());
  if (const auto value = evaluate(typed.trimmed().toStdString()))
    change(*value);
  else
    show_();
  return true;
}

void NumberField::takeBack() {
  mode_ = Mode::shown;
  updateCursor();
  show_();
}

void NumberField::updateCursor() {
  setCursor(mode_ == Mode::typed || !isEnabled() ? Qt::IBeamCursor : Qt::SizeHorCursor);
}

void NumberField::mousePressEvent(QMouseEvent* event) {
  if (mode_ == Mode::typed || event->button() != Qt::LeftButton) {
    QLineEdit::mousePressEvent(event);
    return;
  }
  mode_ = Mode::pressed;
  pressX_ = lastX_ = event->position().toPoint().x();
  event->accept();
}

void NumberField::mouseMoveEvent(QMouseEvent* event) {
  if (mode_ != Mode::pressed && mode_ != Mode::dragged) {
    QLineEdit::mouseMoveEvent(event);
    return;
  }
  const int x = event->position().toPoint().x();
  if (mode_ == Mode::pressed) {
    if (std::abs(x - pressX_) < dragStart) return;
    mode_ = Mode::dragged;
    dragging_ = true;
    before_ = value_;
    wasMixed_ = mixed_;
    lastX_ = pressX_;
    emit dragStarted();
  }
  const int steps = (x - lastX_) / pixelsPerStep;
  if (steps == 0) return;
  lastX_ += steps * pixelsPerStep;
  stepBy(steps, event->modifiers());
}

void NumberField::mouseReleaseEvent(QMouseEvent* event) {
  if (mode_ == Mode::dragged) {
    endDrag(false);
  } else if (mode_ == Mode::pressed) {
    mode_ = Mode::shown;
    setFocus(Qt::MouseFocusReason);
    beginTyping();
    selectAll();
  } else {
    QLineEdit::mouseReleaseEvent(event);
  }
}

void NumberField::mouseDoubleClickEvent(QMouseEvent* event) {
  if (mode_ == Mode::typed)
    selectAll();
  else
    mousePressEvent(event);
}

void NumberField::endDrag(bool cancelled) {
  mode_ = Mode::shown;
  dragging_ = false;
  if (cancelled) {
    change(before_);
    if (wasMixed_) setMixed();
  }
  updateCursor();
  emit dragFinished(cancelled);
}

void NumberField::wheelEvent(QWheelEvent* event) {
  if (!isEnabled() || wheelBelongsToScrollArea(*this)) {
    event->ignore();
    return;
  }
  commit();
  const QPoint angle = event->angleDelta(); // Alt turns it
  wheel_ += angle.y() != 0 ? angle.y() : angle.x();
  const int notches = wheel_ / 120;
  wheel_ -= notches * 120;
  if (notches != 0) stepBy(notches, event->modifiers());
  event->accept();
}

void NumberField::keyPressEvent(QKeyEvent* event) {
  const int key = event->key();
  if (key == Qt::Key_Escape) {
    if (mode_ == Mode::dragged || mode_ == Mode::pressed) {
      if (mode_ == Mode::dragged) endDrag(true);
      mode_ = Mode::shown;
    } else if (mode_ == Mode::typed && isModified()) {
      takeBack();
    } else {
      event->ignore();
    }
  } else if (key == Qt::Key_Return || key == Qt::Key_Enter) {
    if (commit())
      selectAll();
    else
      event->ignore();
  } else if (key == Qt::Key_Up || key == Qt::Key_Down) {
    commit();
    stepBy(key == Qt::Key_Up ? 1 : -1, event->modifiers());
    selectAll();
  } else {
    if (mode_ == Mode::shown && !event->text().isEmpty() && event->text().at(0).isPrint()) {
      beginTyping();
      selectAll();
    }
    if (mode_ == Mode::shown && (key == Qt::Key_Backspace || key == Qt::Key_Delete)) {
      beginTyping();
      selectAll();
    }
    QLineEdit::keyPressEvent(event);
  }
}

void NumberField::focusInEvent(QFocusEvent* event) {
  QLineEdit::focusInEvent(event);
  if (event->reason() == Qt::MouseFocusReason || mode_ != Mode::shown) return;
  if (event->reason() == Qt::TabFocusReason || event->reason() == Qt::BacktabFocusReason ||
      event->reason() == Qt::ShortcutFocusReason) {
    beginTyping();
    selectAll();
  }
}

void NumberField::focusOutEvent(QFocusEvent* event) {
  if (mode_ == Mode::dragged) endDrag(true);
  if (mode_ == Mode::pressed) mode_ = Mode::shown;
  if (event->reason() != Qt::PopupFocusReason) commit();
  QLineEdit::focusOutEvent(event);
  if (event->reason() != Qt::PopupFocusReason) deselect();
}

// Shortcuts of the main window keep working while nothing is being typed, except keys that begin a number.
bool NumberField::event(QEvent* event) {
  if (event->type() == QEvent::ShortcutOverride && mode_ != Mode::typed) {
    auto* key = static_cast<QKeyEvent*>(event);
    const bool steps = key->key() == Qt::Key_Up || key->key() == Qt::Key_Down;
    const bool begins = startsNumber(key->text()) && !(key->modifiers() & Qt::ControlModifier);
    const bool escapes = key->key() == Qt::Key_Escape && mode_ == Mode::dragged;
    if (steps || begins || escapes)
      event->accept();
    else
      event->ignore();
    return true;
  }
  if (event->type() == QEvent::ShortcutOverride) {
    auto* key = static_cast<QKeyEvent*>(event);
    if ((key->key() == Qt::Key_Escape && isModified()) || key->key() == Qt::Key_Up ||
        key->key() == Qt::Key_Down) {
      event->accept();
      return true;
    }
  }
  return QLineEdit::event(event);
}

void NumberField::changeEvent(QEvent* event) {
  QLineEdit::changeEvent(event);
  if (event->type() != QEvent::EnabledChange) return;
  if (!isEnabled() && mode_ == Mode::dragged) endDrag(true);
  updateCursor();
}

void NumberField::contextMenuEvent(QContextMenuEvent* event) {
  if (mode_ != Mode::typed) {
    beginTyping();
    selectAll();
  }
  QLineEdit::contextMenuEvent(event);
}

void NumberField::setArrows(bool shown) {
  if (shown == (up_ != nullptr)) return;
  if (!shown) {
    delete up_;
    delete down_;
    up_ = down_ = nullptr;
    setTextMargins(0, 0, 0, 0);
    return;
  }
  const auto make = [this](const QString& name, int direction) {
    auto* button = new QToolButton(this);
    button->setIcon(icon(name));
    button->setIconSize({10, 10});
    button->setAutoRepeat(true);
    button->setFocusPolicy(Qt::NoFocus);
    button->setCursor(Qt::ArrowCursor);
    button->setAccessibleName(direction > 0 ? tr("Increase") : tr("Decrease"));
    setRole(button, "step");
    connect(button, &QToolButton::clicked, this, [this, direction] {
      commit();
      stepBy(direction, QGuiApplication::keyboardModifiers());
    });
    return button;
  };
  up_ = make(QStringLiteral("chevron-up"), 1);
  down_ = make(QStringLiteral("chevron-down"), -1);
  setTextMargins(0, 0, arrowWidth, 0);
  resizeEvent(nullptr);
}

void NumberField::resizeEvent(QResizeEvent* event) {
  if (event) QLineEdit::resizeEvent(event);
  if (!up_) return;
  const int half = (height() - 2) / 2, x = width() - arrowWidth - 1;
  up_->setGeometry(x, 1, arrowWidth, half);
  down_->setGeometry(x, 1 + half, arrowWidth, height() - 2 - half);
}

QSize NumberField::sizeHint() const {
  return {70, metrics::control};
}

QSize NumberField::minimumSizeHint() const {
  return {44, metrics::control};
}

} // namespace host
