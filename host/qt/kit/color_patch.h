// A small square of one colour.
#pragma once

#include <QPainter>
#include <QWidget>

#include "theme.h"

namespace host {

class ColorPatch : public QWidget {
 public:
  using QWidget::QWidget;
  /// An invalid colour shows the frame alone.
  void show(const QColor& color) {
    color_ = color;
    update();
  }

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter painter(this);
    painter.setPen(tokens().line);
    painter.setBrush(color_.isValid() ? QBrush(color_) : QBrush(Qt::NoBrush));
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
  }

 private:
  QColor color_;
};

} // namespace host
