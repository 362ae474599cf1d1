// A field for a number: drag it sideways, step it with the wheel and the arrow keys, or type arithmetic.
// Main thread.
#pragma once

#include <QLineEdit>
#include <QSlider>
#include <QString>
#include <QWidget>

class QToolButton;

namespace host {

/// Arrow keys and wheel step by `step`; with Shift ten times, with Ctrl a tenth of it (a whole number by one
/// at least). Dragging steps once every two pixels, with the same keys. The wheel scrolls the panel when
/// the field has no focus and lies in a scroll area that can scroll. Enter commits what was typed, Escape
/// takes it back (also during a drag), leaving the field commits. Text that is not a number is shown in the
/// error colour and taken back. Values are clamped to the range.
class NumberField : public QLineEdit {
  Q_OBJECT
 public:
  explicit NumberField(QWidget* parent = nullptr);

  double value() const { return value_; }
  /// Changes the shown value without a signal; while the user is typing, after the typing has ended.
  void setValue(double value);
  void setRange(double min, double max); // min <= max; the value is clamped to it
  double minimum() const { return min_; }
  double maximum() const { return max_; }
  void setStep(double step); // above 0; default 1
  double step() const { return step_; }
  /// Digits after the point at most, trailing zeros are not shown; 0: whole numbers only. Default 3.
  void setDecimals(int decimals);
  /// Shown behind the number ("%", " m", "°"), and may be typed.
  void setSuffix(const QString& suffix);
  QString suffix() const { return suffix_; }
  /// Shows two arrows at the right end that step.
  void setArrows(bool shown);
  /// Shows a dash for several objects with different values, until the user or `setValue` sets the next
  /// value.
  void setMixed();
  bool isMixed() const { return mixed_; }
  bool isDragging() const { return dragging_; }
  /// Commits the typed text, as Enter does. False when nothing was being typed.
  bool commit();
  /// A number as this field shows it, with suffix.
  QString textOf(double value) const;

  QSize sizeHint() const override;
  QSize minimumSizeHint() const override;

 signals:
  /// The user has changed the value: emitted once a step, a movement of a drag, or a commit.
  void valueChanged(double value);
  /// Emitted around all valueChanged of one drag. After Escape the last valueChanged has the value from
  /// before.
  void dragStarted();
  void dragFinished(bool cancelled);

 protected:
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void focusInEvent(QFocusEvent* event) override;
  void focusOutEvent(QFocusEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void contextMenuEvent(QContextMenuEvent* event) override;
  void changeEvent(QEvent* event) override;
  bool event(QEvent* event) override;

 private:
  enum class Mode { shown, pressed, dragged, typed };
  double cut(double value) const;
  void change(double value);
  void show_();
  void beginTyping();

  void takeBack();
  void stepBy(double steps, Qt::KeyboardModifiers keys);
  double stepOf(Qt::KeyboardModifiers keys) const;
  void endDrag(bool cancelled);
  void setComplaint(bool on);
  void updateCursor();

  double value_ = 0, min_ = -1e308, max_ = 1e308, step_ = 1;
  int decimals_ = 3;
  QString suffix_;
  bool mixed_ = false, dragging_ = false, wasMixed_ = false;
  Mode mode_ = Mode::shown;
  double before_ = 0; // a drag's or a typing's start
  double dragValue_ = 0;
  int pressX_ = 0, lastX_ = 0, wheel_ = 0;
  QToolButton* up_ = nullptr;
  QToolButton* down_ = nullptr;
};

/// A field with a slider at its right. The slider covers the range (cut to `setSliderRange` when the field's
/// is wide), in the field's steps.
class SliderField : public QWidget {
  Q_OBJECT
 public:
  explicit SliderField(QWidget* parent = nullptr);
  NumberField& field() { return *field_; }
  QSlider& slider() { return *slider_; }
  double value() const { return field_->value(); }
  void setValue(double value);
  void setRange(double min, double max);
  void setSliderRange(double min, double max);
  void setStep(double step);
  void setDecimals(int decimals) { field_->setDecimals(decimals); }
  void setSuffix(const QString& suffix) { field_->setSuffix(suffix); }
  void setMixed() { field_->setMixed(); }
  /// For screen readers: of the field and of its slider.
  void setName(const QString& name);
  /// Shows the slider alone, without the field.
  void setFieldShown(bool shown);

 signals:
  void valueChanged(double value);
  void dragStarted();
  void dragFinished(bool cancelled);

 private:
  void showOnSlider();
  void takeFromSlider(int position);
  void updateSteps();

  NumberField* field_;
  QSlider* slider_;
  double sliderMin_ = 0, sliderMax_ = 100;
  bool ownSliderRange_ = false, settling_ = false;
};

} // namespace host
