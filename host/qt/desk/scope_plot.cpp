#include "scope_plot.h"

#include <algorithm>

#include "scope_pixels.h"
#include "theme.h"
#include "vectorscope.h"

namespace host {

namespace {

constexpr int labelRoom = 18;

struct Mark {
  double at; // 0 to 1 of the levels
  QString text;
};

QList<Mark> marksOf(bool light) {
  QList<Mark> marks;
  if (!light) {
    for (const int percent : {0, 25, 50, 75, 100})
      marks << Mark{percent / 100.0, QString::number(percent)};
    return marks;
  }
  constexpr int least = -middleLevel / levelsPerStop, most = (scopeLevels - middleLevel) / levelsPerStop;
  for (int stop = least; stop <= most; stop += 2)
    marks << Mark{static_cast<double>(stop - least) / (most - least), QString::asprintf("%+d", stop)};
  return marks;
}

} // namespace

ScopePlot::ScopePlot(QWidget* parent) : QWidget(parent) {
  setObjectName(QStringLiteral("scopePlot"));
  setAccessibleName(tr("Scope"));
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

void ScopePlot::show(ScopeKind kind, const QImage& image, bool light) {
  kind_ = kind;
  image_ = image;
  light_ = light;
  update();
}

void ScopePlot::paintLevels(QPainter& painter, const QRectF& area, bool upright) const {
  const Tokens& t = tokens();
  for (const Mark& mark : marksOf(light_)) {
    const double at =
        upright ? area.bottom() - mark.at * area.height() : area.left() + mark.at * area.width();
    painter.setPen(light_ && mark.text == QLatin1String("+0") ? t.dim : t.line);
    if (upright)
      painter.drawLine(QPointF(area.left(), at), QPointF(area.right(), at));
    else
      painter.drawLine(QPointF(at, area.top()), QPointF(at, area.bottom()));
    painter.setPen(t.dim);
    const QString text = mark.text == QLatin1String("+0") ? QStringLiteral("0") : mark.text;
    if (upright) {
      const double top = std::clamp(at - 8, area.top() - 4, area.bottom() - 12);
      painter.drawText(QRectF(0, top, area.left() - 6, 16), Qt::AlignRight | Qt::AlignVCenter, text);
    } else {
      const double left = std::clamp(at - 16, 0.0, width() - 32.0);
      painter.drawText(QRectF(left, area.bottom() + 2, 32, labelRoom - 2), Qt::AlignCenter, text);
    }
  }
}

// The places of the six pure colours, and a cross for grey.
void ScopePlot::paintGraticule(QPainter& painter, const QRectF& area) const {
  const Tokens& t = tokens();
  painter.setPen(t.line);
  painter.drawEllipse(area);
  painter.drawLine(QPointF(area.left(), area.center().y()), QPointF(area.right(), area.center().y()));
  painter.drawLine(QPointF(area.center().x(), area.top()), QPointF(area.center().x(), area.bottom()));
  const struct {
    const char* name;
    double r, g, b;
  } colors[] = {{"R", 1, 0, 0},  {"Yl", 1, 1, 0}, {"G", 0, 1, 0},
                {"Cy", 0, 1, 1}, {"B", 0, 0, 1},  {"Mg", 1, 0, 1}};
  for (const auto& color : colors) {
    // Of three quarters, as on a colour bar.
    const ChromaCell cell = chromaCell(0.75 * color.r, 0.75 * color.g, 0.75 * color.b);
    const QPointF at(area.left() + cell.cb * area.width() / Vectorscope::side,
                     area.bottom() - cell.cr * area.height() / Vectorscope::side);
    painter.setPen(t.dim);
    painter.drawRect(QRectF(at.x() - 5, at.y() - 5, 10, 10));
    painter.drawText(QRectF(at.x() + 8, at.y() - 8, 24, 16), Qt::AlignLeft | Qt::AlignVCenter,
                     QLatin1String(color.name));
  }
}

void ScopePlot::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  const Tokens& t = tokens();
  painter.fillRect(rect(), t.field);
  painter.setFont(interfaceFont(11));
  if (image_.isNull()) {
    painter.setPen(t.dim);
    painter.drawText(rect(), Qt::AlignCenter, tr("No picture."));
    return;
  }
  QRectF area = QRectF(rect()).adjusted(8, 8, -8, -8);
  if (kind_ == ScopeKind::histogram) area.adjust(0, 0, 0, -labelRoom);
  if (kind_ == ScopeKind::waveform) area.adjust(24, 0, 0, 0);
  if (kind_ == ScopeKind::vectorscope) {
    const double side = std::min(area.width(), area.height());
    area = QRectF(area.center() - QPointF(side, side) / 2, QSizeF(side, side));
    paintGraticule(painter, area);
  } else {
    paintLevels(painter, area, kind_ == ScopeKind::waveform);
  }
  painter.setRenderHint(QPainter::SmoothPixmapTransform, kind_ == ScopeKind::waveform);
  painter.drawImage(area, image_);
}

} // namespace host
