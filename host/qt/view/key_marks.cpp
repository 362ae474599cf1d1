#include "key_marks.h"

#include <algorithm>
#include <cmath>

#include "scene_queries.h"
#include "theme.h"

namespace host {

namespace {

constexpr double markY = 21, markSize = 4.5, markReach = 6; // logical pixels

QPolygonF diamond(double x) {
  return QPolygonF(
      {{x, markY - markSize}, {x + markSize, markY}, {x, markY + markSize}, {x - markSize, markY}});
}

} // namespace

KeyMarks::KeyMarks(Session& session, QWidget& ruler, std::function<double(double)> xOf)
    : session_(session), ruler_(ruler), xOf_(std::move(xOf)) {
}

Identities KeyMarks::selection() const {
  return session_.document() ? selectedObjects(*session_.document()) : Identities();
}

void KeyMarks::paint(QPainter& painter) const {
  if (!session_.document()) return;
  const Tokens& colors = tokens();
  const long current = session_.playback().frame();
  double last = -2 * markSize;
  for (const long frame : keyFrames(*session_.document(), selection())) {
    const double x = std::round(xOf_(static_cast<double>(frame))) + 0.5;
    if (x < 0 || x > ruler_.width() || (x - last < 1 && frame != current)) continue;
    last = x;
    painter.setPen(QPen(colors.field, 1));
    painter.setBrush(frame == current ? colors.accent : colors.text);
    painter.drawPolygon(diamond(x));
  }
}

std::optional<long> KeyMarks::frameAt(const QPointF& at) const {
  if (!session_.document() || std::abs(at.y() - markY) > markReach) return std::nullopt;
  std::optional<long> nearest;
  double least = markReach;
  for (const long frame : keyFrames(*session_.document(), selection()))
    if (const double away = std::abs(xOf_(static_cast<double>(frame)) - at.x()); away <= least)
      nearest = frame, least = away;
  return nearest;
}

void KeyMarks::begin(long frame) {
  held_ = holdTracks(*session_.document(), selection());
  from_ = now_ = frame;
  dragged_ = true;
  ownEdit_ = false;
}

void KeyMarks::dragTo(long frame) {
  if (!dragged_ || frame == now_) return;
  if (!ownEdit_) ownEdit_ = session_.edits().begin("Move Keys");
  if (!ownEdit_) return;
  now_ = frame;
  session_.edits().update([this](BaseDocument& document) { moveKeys(document, held_, from_, now_); });
  ruler_.update();
}

void KeyMarks::end() {
  if (std::exchange(ownEdit_, false)) session_.edits().end();
  dragged_ = false;
  held_.clear();
}

void KeyMarks::showMenu(long frame, const QPoint& globalAt) {
  auto* menu = new QMenu(&ruler_);
  menu->setObjectName(QStringLiteral("menu-keys"));
  menu->setAttribute(Qt::WA_DeleteOnClose);
  const auto shared = interpolationOf(*session_.document(), selection());
  const auto add = [&](const char* name, const QString& text, Interpolation kind) {
    QAction* action = menu->addAction(text);
    action->setObjectName(QLatin1String(name));
    action->setCheckable(true);
    action->setChecked(shared == kind);
    QObject::connect(action, &QAction::triggered, &ruler_, [this, kind] {
      session_.edits().apply("Interpolation", [this, kind](BaseDocument& document) {
        setInterpolation(document, selection(), kind);
      });
    });
  };
  add("keys-linear", QObject::tr("&Linear"), Interpolation::linear);
  add("keys-smooth", QObject::tr("&Smooth"), Interpolation::cubic);
  add("keys-step", QObject::tr("S&tep"), Interpolation::step);
  menu->addSeparator();
  QAction* remove = menu->addAction(QObject::tr("&Delete Key at %1").arg(frame));
  remove->setObjectName(QStringLiteral("keys-delete"));
  QObject::connect(remove, &QAction::triggered, &ruler_, [this, frame] {
    session_.edits().apply(
        "Delete Key", [this, frame](BaseDocument& document) { deleteKeys(document, selection(), frame); });
  });
  menu->popup(globalAt);
}

} // namespace host
