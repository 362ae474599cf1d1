// A colour to choose. Main thread.
#pragma once

#include <QAbstractButton>
#include <QColor>
#include <QWidget>

namespace host {

class NumberField;

/// A swatch that opens a colour chooser, and a field for the brightness where that may be above 1.
class ColorField : public QWidget {
  Q_OBJECT
 public:
  explicit ColorField(QWidget* parent = nullptr);
  QColor color() const { return color_; }
  double brightness() const;
  void setValue(const QColor& color, double brightness = 1); // no signal
  void setMaxBrightness(double most);
  /// Several objects with different colours, until the next value.
  void setMixed();
  bool isMixed() const { return mixed_; }
  /// The button with the swatch.
  QAbstractButton& button() { return *swatch_; }

 signals:
  /// The user has chosen a colour, or typed a brightness.
  void chosen();

 private:
  void choose();

  QAbstractButton* swatch_;
  NumberField* brightness_;
  QColor color_ = Qt::white;
  bool mixed_ = false;
};

} // namespace host
