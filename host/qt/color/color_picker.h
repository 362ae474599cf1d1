// The colour picker: a small window that stays open beside the work. Main thread.
#pragma once

#include <QColor>
#include <QDialog>
#include <QPointer>
#include <array>

#include "color_values.h"

class QGridLayout;
class QLayout;
class QLineEdit;

namespace host {

class ColorPatch;
class HueStrip;
class NumberField;
class SaturationPlane;

/// Picks a colour in linear light: by saturation, value and hue, by numbers (linear, HSV, kelvin, "#rrggbb"),
/// or from the screen. One picker at most is open: opening it for another field closes the one before. It
/// never waits, and opens where it hides no picture. It goes when its field is hidden or deleted.
class ColorPicker : public QDialog {
  Q_OBJECT
 public:
  /// `field`: the control that the colour belongs to. `brightest`: the largest part, 1 or more.
  static ColorPicker* open(QWidget& field, const QString& title, const Vector& color, double brightest);

  const Vector& color() const { return color_; }
  /// The colour has changed elsewhere: no signal, and nothing while the user drags.
  void setColor(const Vector& linear);

 signals:
  /// Emitted around all `changed` of one drag. A `changed` outside of a drag is a change of its own.
  void dragStarted();
  void changed(const Vector& linear);
  void dragFinished(bool cancelled);

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;
  void showEvent(QShowEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void hideEvent(QHideEvent* event) override;

 private:
  ColorPicker(QWidget& field, const QString& title, const Vector& color, double brightest);
  QLayout* makePatches();
  QLayout* makeNumbers();
  NumberField* addNumber(QGridLayout& grid, int row, int column, const QString& name, double most,
                         int decimals, const QString& suffix);
  void watch(NumberField& number);
  void adopt(const Vector& linear);
  void take(const Vector& linear); // the user's
  void takeHsv(const Hsv& hsv);
  void takeCode();
  void show_();
  void startPicking();
  void endPicking();

  QPointer<QWidget> field_;
  Vector color_, first_;
  Hsv hsv_;          // of the colour over `scale_`; keeps the hue of a grey
  double scale_ = 1; // the brightness of the plane's upper right corner
  double brightest_; // allowed
  bool picking_ = false;
  SaturationPlane* plane_;
  HueStrip* strip_;
  ColorPatch *before_, *now_;
  QLineEdit* code_;
  std::array<NumberField*, 3> linear_{}, parts_{};
  NumberField *kelvin_ = nullptr, *brightness_ = nullptr;
};

} // namespace host
