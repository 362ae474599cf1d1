#include "gizmo_paint.h"

#include "theme.h"

namespace host {

namespace {

// The axes' colours are those of the tripod, a little brighter.
QColor colorOf(GizmoPart part) {
  switch (part) {
  case GizmoPart::x:
  case GizmoPart::acrossX:
    return {228, 92, 92};
  case GizmoPart::y:
  case GizmoPart::acrossY:
    return {128, 196, 100};
  case GizmoPart::z:
  case GizmoPart::acrossZ:
    return {100, 146, 236};
  default:
    return {224, 224, 228};
  }
}

QPolygonF polygonOf(const GizmoHandle& handle) {
  QPolygonF polygon;
  for (const GizmoPoint& point : handle.line)
    polygon << QPointF(point.x, point.y);
  return polygon;
}

} // namespace

void paintGizmo(QPainter& painter, const std::vector<GizmoHandle>& handles, GizmoPart marked) {
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing);
  for (const GizmoHandle& handle : handles) {
    QColor color = handle.part == marked ? tokens().accent : colorOf(handle.part);
    if (handle.faint) color.setAlpha(handle.part == marked ? 160 : 70);
    const QPolygonF line = polygonOf(handle);
    // A dark edge keeps the line apart from any picture.
    painter.setBrush(Qt::NoBrush);
    painter.setPen(
        QPen(QColor(20, 20, 22, handle.faint ? 40 : 150), 4, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPolyline(line);
    painter.setPen(QPen(color, 2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    if (handle.filled) {
      QColor inside = color;
      inside.setAlpha(150);
      painter.setBrush(inside);
      painter.drawPolygon(line);
    } else {
      painter.drawPolyline(line);
    }
  }
  painter.restore();
}

void paintGizmoText(QPainter& painter, const QPointF& pointer, const QString& text) {
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setFont(interfaceFont(metrics::smallFontPixels));
  QRectF box = painter.fontMetrics().boundingRect(text);
  box.adjust(-6, -3, 6, 3);
  box.moveTopLeft(pointer + QPointF(18, 14));
  painter.setPen(Qt::NoPen);
  painter.setBrush(QColor(20, 20, 22, 200));
  painter.drawRoundedRect(box, metrics::radius, metrics::radius);
  painter.setPen(QColor(236, 236, 240));
  painter.drawText(box, Qt::AlignCenter, text);
  painter.restore();
}

} // namespace host
