#include "gadget_widgets.h"

#include <cmath>

#include "area_widget.h"
#include "color_field.h"
#include "dialog_window.h"
#include "gadget_actions.h"
#include "grid_box.h"
#include "number_field.h"
#include "qt_text.h"
#include "theme.h"
#include "wheel_rule.h"

namespace host {

namespace {

constexpr int meterWidth = 88; // of a field that shows "-99.999 m"

// Remembers whether a key pressed the button.
class DialogButton : public QPushButton {
 public:
  using QPushButton::QPushButton;
  bool byKey = false;

 protected:
  // Enter presses the focused button, not the dialog's OK.
  void keyPressEvent(QKeyEvent* event) override {
    const bool enter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    key([&] {
      if (enter)
        click();
      else
        QPushButton::keyPressEvent(event);
    });
  }
  void keyReleaseEvent(QKeyEvent* event) override {
    key([&] { QPushButton::keyReleaseEvent(event); });
  }

 private:
  template <class Call>
  void key(const Call& call) {
    const QPointer<DialogButton> there = this;
    byKey = true;
    call();
    if (there) byKey = false;
  }
};

class DialogCheckBox : public QCheckBox {
 public:
  using QCheckBox::QCheckBox;
  bool byKey = false;

 protected:
  void keyReleaseEvent(QKeyEvent* event) override {
    const QPointer<DialogCheckBox> there = this;
    byKey = true;
    QCheckBox::keyReleaseEvent(event);
    if (there) byKey = false;
  }
};

// Enter commits the text; in a modal dialog it also presses the default button.
class DialogEdit : public QLineEdit {
 public:
  DialogEdit(bool modal, QWidget* parent) : QLineEdit(parent), modal_(modal) {}

 protected:
  void keyPressEvent(QKeyEvent* event) override {
    const bool enter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    const QPointer<DialogEdit> there = this;
    QLineEdit::keyPressEvent(event);
    if (there && enter && !modal_) event->accept();
  }

 private:
  bool modal_;
};

class DialogCombo : public QComboBox {
 public:
  using QComboBox::QComboBox;

 protected:
  void wheelEvent(QWheelEvent* event) override {
    if (wheelBelongsToScrollArea(*this))
      event->ignore();
    else
      QComboBox::wheelEvent(event);
  }
};

ActionInput inputNow(bool inDrag = false, bool fromMouse = true) {
  return {qualifiersOf(QGuiApplication::keyboardModifiers()), inDrag, fromMouse};
}

// Calls the dialog, then shows the model's value: the dialog may have refused or clamped the user's choice.
template <class Action>
void act(DialogWindow& window, LONG id, const Action& action) {
  GeDialog* dialog = window.dialog();
  if (!dialog) return;
  const QPointer<DialogWindow> there = &window;
  action(*dialog);
  if (!there || !there->dialog()) return;
  if (const Gadget* gadget = findGadget(*there->dialog(), id)) there->gadgetChanged(*gadget);
}

QWidget* makeGroup(const Gadget& gadget, QWidget* parent) {
  QWidget* widget = nullptr;
  if (gadget.border == BORDER_GROUP_IN) {
    auto* box = new QGroupBox(labelText(gadget.text), parent);
    box->setProperty("titled", gadget.text.Content() != FALSE);
    widget = box;
  } else {
    widget = new QWidget(parent);
  }
  auto* layout = new GridBox(widget);
  layout->setGroup(gadget.columns, gadget.rows, gadget.spaceX, gadget.spaceY);
  layout->setContentsMargins(gadget.borderLeft, gadget.borderTop, gadget.borderRight, gadget.borderBottom);
  widget->setMinimumSize(std::max<LONG>(gadget.initWidth, 0), std::max<LONG>(gadget.initHeight, 0));
  return widget;
}

QWidget* makeButton(DialogWindow& window, const Gadget& gadget, QWidget* parent) {
  auto* button = new DialogButton(parent);
  button->setAutoDefault(false);
  button->setDefault(gadget.id == IDC_OK && window.isModalDialog());
  QObject::connect(button, &QPushButton::clicked, &window, [&window, button, id = gadget.id] {
    const ActionInput input = inputNow(false, !button->byKey);
    act(window, id, [&](GeDialog& dialog) { clickGadget(dialog, id, input); });
  });
  return button;
}

QWidget* makeCheckBox(DialogWindow& window, const Gadget& gadget, QWidget* parent) {
  auto* box = new DialogCheckBox(parent);
  QObject::connect(box, &QCheckBox::clicked, &window, [&window, box, id = gadget.id] {
    const ActionInput input = inputNow(false, !box->byKey);
    act(window, id, [&](GeDialog& dialog) { clickGadget(dialog, id, input); });
  });
  return box;
}

QWidget* makeEditText(DialogWindow& window, const Gadget& gadget, QWidget* parent) {
  auto* edit = new DialogEdit(window.isModalDialog(), parent);
  QObject::connect(edit, &QLineEdit::editingFinished, &window, [&window, edit, id = gadget.id] {
    if (!edit->isModified()) return;
    edit->setModified(false);
    const String text = toHost(edit->text());
    act(window, id, [&](GeDialog& dialog) { enterText(dialog, id, text); });
  });
  return edit;
}

QWidget* makeNumber(DialogWindow& window, const Gadget& gadget, QWidget* parent) {
  auto* field = new NumberField(parent);
  field->setArrows(gadget.kind == GadgetKind::editNumberArrows);
  const auto enter = [&window, field, id = gadget.id](bool inDrag) {
    const double value = field->value();
    act(window, id, [&](GeDialog& dialog) { enterNumber(dialog, id, value, inputNow(inDrag)); });
  };
  QObject::connect(field, &NumberField::valueChanged, &window, [=] { enter(field->isDragging()); });
  QObject::connect(field, &NumberField::dragFinished, &window, [=] { enter(false); });
  return field;
}

QWidget* makeSlider(DialogWindow& window, const Gadget& gadget, QWidget* parent) {
  auto* box = new SliderField(parent);
  box->setFieldShown(gadget.kind == GadgetKind::editSlider);
  const auto enter = [&window, box, id = gadget.id](bool inDrag) {
    const double value = box->value();
    act(window, id, [&](GeDialog& dialog) { enterNumber(dialog, id, value, inputNow(inDrag)); });
  };
  QObject::connect(box, &SliderField::valueChanged, &window,
                   [=] { enter(box->field().isDragging() || box->slider().isSliderDown()); });
  QObject::connect(box, &SliderField::dragFinished, &window, [=] { enter(false); });
  return box;
}

QWidget* makeCombo(DialogWindow& window, const Gadget& gadget, QWidget* parent) {
  auto* combo = new DialogCombo(parent);
  combo->setMaxVisibleItems(24);
  QObject::connect(combo, &QComboBox::activated, &window, [&window, combo, id = gadget.id](int index) {
    const LONG value = combo->itemData(index).toInt();
    act(window, id, [&](GeDialog& dialog) { chooseEntry(dialog, id, value); });
  });
  return combo;
}

QWidget* makeColor(DialogWindow& window, const Gadget& gadget, QWidget* parent) {
  auto* field = new ColorField(parent);
  QObject::connect(field, &ColorField::chosen, &window, [&window, field, id = gadget.id] {
    const QColor color = field->color();
    const double brightness = field->brightness();
    act(window, id, [&](GeDialog& dialog) {
      enterColor(dialog, id, Vector(color.redF(), color.greenF(), color.blueF()), brightness);
    });
  });
  return field;
}

QWidget* makeLine(bool upright, QWidget* parent) {
  auto* line = new QFrame(parent);
  setRole(line, upright ? "line-v" : "line-h");
  return line;
}

QWidget* makeArea(const Gadget& gadget, QWidget* parent) {
  auto* widget = new AreaWidget(parent);
  widget->setArea(gadget.area);
  return widget;
}

// ---- From the model to the widget

// One digit more than the step has, so that values between two steps show as well.
int decimalsOf(const NumberSpec& spec) {
  if (spec.kind == NumberKind::integer) return 0;
  const double step = spec.step > 0 ? spec.step : 1;
  const int ofStep = std::max(0, static_cast<int>(std::ceil(-std::log10(step) - 1e-9)));
  return std::clamp(ofStep + 1, spec.kind == NumberKind::percent ? 1 : 3, 6);
}

QString suffixOf(const NumberSpec& spec) {
  if (spec.kind == NumberKind::percent) return QStringLiteral(" %");
  return spec.kind == NumberKind::meter ? QStringLiteral(" m") : QString();
}

template <class Field>
void showNumber(Field& field, const Gadget& gadget) {
  field.setDecimals(decimalsOf(gadget.spec));
  field.setSuffix(suffixOf(gadget.spec));
  field.setStep(gadget.spec.step > 0 ? gadget.spec.step : 1);
  field.setRange(gadget.spec.min, gadget.spec.max);
  field.setValue(gadget.shownNumber());
}

void disableRow(QComboBox& combo, int row) {
  if (auto* model = qobject_cast<QStandardItemModel*>(combo.model())) model->item(row)->setEnabled(false);
}

void showEntries(QComboBox& combo, const Gadget& gadget) {
  bool same = combo.count() == static_cast<int>(gadget.entries.size());
  for (int i = 0; same && i < combo.count(); ++i) {
    const ComboEntry& entry = gadget.entries[static_cast<std::size_t>(i)];
    same = combo.itemData(i).toInt() == entry.value && combo.itemText(i) == toQt(entry.text);
  }
  const QSignalBlocker quiet(combo);
  if (!same) combo.clear();
  int current = -1;
  for (const ComboEntry& entry : gadget.entries) {
    const int row = static_cast<int>(&entry - gadget.entries.data());
    const bool choosable = entry.value != -1;
    if (!same && !choosable && !entry.text.Content()) {
      combo.insertSeparator(row);
      combo.setItemData(row, -1);
    } else if (!same) {
      combo.addItem(toQt(entry.text), entry.value);
      if (!choosable) disableRow(combo, row);
    }
    if (choosable && current < 0 && static_cast<Real>(entry.value) == gadget.number) current = row;
  }
  combo.setCurrentIndex(current);
}

void showText(QLineEdit& edit, const Gadget& gadget) {
  const QString text = toQt(gadget.text);
  if (edit.text() != text) edit.setText(text);
}

void setButtonText(QAbstractButton& button, const Gadget& gadget) {
  const QString text = labelText(gadget.text);
  if (button.text() != text) button.setText(text);
}

// A size that the plug-in asks for is a minimum; 0 keeps the widget's own.
void askForSize(QWidget& widget, const Gadget& gadget) {
  if (gadget.initWidth > 0) widget.setMinimumWidth(std::max(gadget.initWidth, widget.minimumWidth()));
  if (gadget.initHeight > 0) widget.setMinimumHeight(std::max(gadget.initHeight, widget.minimumHeight()));
}

QWidget* makeBare(DialogWindow& window, const Gadget& gadget, QWidget* parent) {
  switch (gadget.kind) {
  case GadgetKind::group:
    return makeGroup(gadget, parent);
  case GadgetKind::scrollGroup:
    return new ScrollGroup(gadget, parent);
  case GadgetKind::button:
    return makeButton(window, gadget, parent);
  case GadgetKind::staticText:
    return new QLabel(parent);
  case GadgetKind::editText:
    return makeEditText(window, gadget, parent);
  case GadgetKind::editNumber:
  case GadgetKind::editNumberArrows:
    return makeNumber(window, gadget, parent);
  case GadgetKind::editSlider:
  case GadgetKind::slider:
    return makeSlider(window, gadget, parent);
  case GadgetKind::checkBox:
    return makeCheckBox(window, gadget, parent);
  case GadgetKind::comboBox:
    return makeCombo(window, gadget, parent);
  case GadgetKind::colorField:
    return makeColor(window, gadget, parent);
  case GadgetKind::userArea:
    return makeArea(gadget, parent);
  case GadgetKind::separatorH:
  case GadgetKind::separatorV:
    break;
  }
  return makeLine(gadget.kind == GadgetKind::separatorV, parent);
}

} // namespace

QWidget* makeGadgetWidget(DialogWindow& window, const Gadget& gadget, QWidget* parent) {
  QWidget* widget = makeBare(window, gadget, parent);
  if (gadget.id != 0) widget->setObjectName(QStringLiteral("gadget-%1").arg(gadget.id));
  const bool own = gadget.kind == GadgetKind::userArea || gadget.kind == GadgetKind::group ||
                   gadget.kind == GadgetKind::scrollGroup;
  if (!own) askForSize(*widget, gadget);
  showGadget(*widget, gadget);
  return widget;
}

void showGadget(QWidget& widget, const Gadget& gadget) {
  if (auto* button = qobject_cast<QPushButton*>(&widget); button && gadget.kind == GadgetKind::button) {
    setButtonText(*button, gadget);
  } else if (auto* box = qobject_cast<QCheckBox*>(&widget)) {
    setButtonText(*box, gadget);
    const QSignalBlocker quiet(box);
    box->setChecked(gadget.number != 0);
  } else if (auto* label = qobject_cast<QLabel*>(&widget)) {
    label->setTextFormat(Qt::PlainText);
    if (label->text() != toQt(gadget.text)) label->setText(toQt(gadget.text));
  } else if (auto* number = qobject_cast<NumberField*>(&widget)) {
    showNumber(*number, gadget);
  } else if (auto* slider = qobject_cast<SliderField*>(&widget)) {
    showNumber(*slider, gadget);
    if (gadget.spec.kind == NumberKind::meter) slider->field().setMinimumWidth(meterWidth);
  } else if (auto* edit = qobject_cast<QLineEdit*>(&widget)) {
    showText(*edit, gadget);
  } else if (auto* combo = qobject_cast<QComboBox*>(&widget)) {
    showEntries(*combo, gadget);
  } else if (auto* color = qobject_cast<ColorField*>(&widget)) {
    color->setMaxBrightness(gadget.spec.kind == NumberKind::real ? gadget.spec.max : 1);
    color->setValue(QColor::fromRgbF(static_cast<float>(gadget.color.x), static_cast<float>(gadget.color.y),
                                     static_cast<float>(gadget.color.z)),
                    gadget.brightness);
  } else if (auto* frame = qobject_cast<QGroupBox*>(&widget)) {
    frame->setTitle(labelText(gadget.text));
  } else if (auto* area = qobject_cast<AreaWidget*>(&widget)) {
    if (area->area() != gadget.area) area->setArea(gadget.area);
  }
  widget.setEnabled(gadget.enabled);
  widget.setToolTip(toQt(gadget.tooltip));
}

void nameGadget(QWidget& widget, const Gadget& gadget, const QString& name) {
  switch (gadget.kind) {
  case GadgetKind::group:
  case GadgetKind::scrollGroup:
  case GadgetKind::staticText:
  case GadgetKind::separatorH:
  case GadgetKind::separatorV:
    return;
  case GadgetKind::button:
  case GadgetKind::checkBox:
    if (gadget.text.Content()) return;
    break;
  default:
    break;
  }
  if (auto* slider = qobject_cast<SliderField*>(&widget))
    slider->setName(name);
  else if (auto* color = qobject_cast<ColorField*>(&widget))
    color->setName(name);
  else
    widget.setAccessibleName(name);
}

void commitTyping(QWidget& window) {
  QWidget* focus = QApplication::focusWidget();
  if (!focus || !window.isAncestorOf(focus)) return;
  if (auto* number = qobject_cast<NumberField*>(focus))
    number->commit();
  else if (auto* edit = qobject_cast<QLineEdit*>(focus); edit && edit->isModified())
    emit edit->editingFinished();
}

ScrollGroup::ScrollGroup(const Gadget& gadget, QWidget* parent)
    : QScrollArea(parent), asked_(gadget.initWidth, gadget.initHeight) {
  setWidgetResizable(true);
  setFrameShape(QFrame::NoFrame);
  setHorizontalScrollBarPolicy(gadget.scroll & SCROLLGROUP_HORIZ ? Qt::ScrollBarAsNeeded
                                                                 : Qt::ScrollBarAlwaysOff);
  setVerticalScrollBarPolicy(gadget.scroll & SCROLLGROUP_VERT ? Qt::ScrollBarAsNeeded
                                                              : Qt::ScrollBarAlwaysOff);
  auto* content = new QWidget;
  setRole(content, "scrolled");
  auto* layout = new GridBox(content);
  layout->setGroup(gadget.columns > 0 ? gadget.columns : 1, gadget.rows, gadget.spaceX, gadget.spaceY);
  layout->setContentsMargins(gadget.borderLeft, gadget.borderTop, gadget.borderRight, gadget.borderBottom);
  setWidget(content);
}

QSize ScrollGroup::sizeHint() const {
  if (hint_.isValid()) return hint_;
  const QSize content = widget() ? widget()->sizeHint() : QSize(0, 0);
  const auto one = [](int asked, int held, int usual) {
    return asked > 0 ? asked : std::clamp(held, usual / 4, usual * 4);
  };
  const QSize hint(one(asked_.width(), content.width(), 320), one(asked_.height(), content.height(), 240));
  if (isVisible()) hint_ = hint;
  return hint;
}

QSize ScrollGroup::minimumSizeHint() const {
  const QSize content = widget() ? widget()->minimumSizeHint() : QSize(0, 0);
  QSize least(std::max(48, asked_.width() > 0 ? std::min(asked_.width(), 160) : 0),
              std::max(36, asked_.height() > 0 ? std::min(asked_.height(), 120) : 0));
  // Without a scroll bar the whole content must be visible.
  if (horizontalScrollBarPolicy() == Qt::ScrollBarAlwaysOff) least.setWidth(content.width());
  if (verticalScrollBarPolicy() == Qt::ScrollBarAlwaysOff) least.setHeight(content.height());
  return least;
}

// Shows no bar while everything fits. The room that a bar would take does not count: content that follows the
// visible part would never fit again.
QRect ScrollGroup::visiblePart() const {
  const auto asked = [](int size, int usual) { return size > 0 ? size : usual; };
  if (!laidOut_) return {0, 0, asked(asked_.width(), 320), asked(asked_.height(), 240)};
  const QSize whole = maximumViewportSize();
  const QSize content = widget()->minimumSizeHint();
  if (content.width() <= whole.width() && content.height() <= whole.height()) return {QPoint(0, 0), whole};
  return {QPoint(horizontalScrollBar()->value(), verticalScrollBar()->value()), viewport()->size()};
}

void ScrollGroup::keepFree(int width, int height) {
  if (viewportMargins() != QMargins(0, 0, width, height)) setViewportMargins(0, 0, width, height);
}

void ScrollGroup::resizeEvent(QResizeEvent* event) {
  laidOut_ = true;
  emit resized();
  QScrollArea::resizeEvent(event);
}

} // namespace host
