// A field for a colour. Main thread.
#pragma once

#include <QAbstractButton>
#include <QColor>
#include <QPointer>
#include <QWidget>

namespace host {

class ColorPicker;
class NumberField;

/// A swatch that opens the colour picker, and a field for the brightness where it may exceed 1.
class ColorField : public QWidget {
  Q_OBJECT
 public:
  explicit ColorField(QWidget* parent = nullptr);
  QColor color() const { return color_; }
  double brightness() const;
  void setValue(const QColor& color, double brightness = 1); // no signal
  void setMaxBrightness(double most);
  /// Shows that several objects have different colours, until the next value.
  void setMixed();
  bool isMixed() const { return mixed_; }
  /// For screen readers: of the swatch and of the brightness.
  void setName(const QString& name);
  /// The button with the swatch.
  QAbstractButton& button() { return *swatch_; }

 signals:
  /// The user has chosen a colour, or typed a brightness. Of a drag in the picker, its end alone.
  void chosen();

 private:
  void choose();

  QPointer<ColorPicker> picker_;
  QAbstractButton* swatch_;
  NumberField* brightness_;
  QColor color_ = Qt::white;
  bool mixed_ = false, dragging_ = false;
};

} // namespace host
