#include "timeline_widget.h"

#include <cmath>

#include "icons.h"
#include "key_table.h"
#include "number_field.h"
#include "scene_edits.h"
#include "scene_queries.h"
#include "theme.h"

namespace host {

namespace {

constexpr double margin = 10; // of the ruler, so that the ends can be gripped
constexpr double gripReach = 6;

struct Range {
  LONG first = 0, last = 0;
};

Range rangeOf(const BaseDocument* document) {
  if (!document) return {0, 1};
  const LONG fps = document->GetFps();
  return {document->GetMinTime().GetFrame(fps), document->GetMaxTime().GetFrame(fps)};
}

Range previewOf(const BaseDocument* document) {
  if (!document) return {0, 1};
  const LONG fps = document->GetFps();
  return {document->GetLoopMinTime().GetFrame(fps), document->GetLoopMaxTime().GetFrame(fps)};
}

QToolButton* transport(const char* name, const QString& text, const QString& picture) {
  auto* button = new QToolButton;
  button->setObjectName(QLatin1String(name));
  button->setAccessibleName(text);
  button->setToolTip(text);
  button->setIcon(icon(picture));
  button->setAutoRaise(true);
  button->setFocusPolicy(Qt::NoFocus);
  return button;
}

NumberField* frameField(const char* name, const QString& text, int width) {
  auto* field = new NumberField;
  field->setObjectName(QLatin1String(name));
  field->setAccessibleName(text);
  field->setToolTip(text);
  field->setDecimals(0);
  field->setRange(-1e6, 1e6);
  field->setFixedWidth(width);
  return field;
}

void setSelectedKeys(Session& session) {
  session.edits().apply("Set Key",
                        [](BaseDocument& document) { setKeys(document, selectedObjects(document)); });
}

int leastWidth(const QWidget& part) {
  return std::max(part.minimumWidth(), std::min(part.sizeHint().width(), part.maximumWidth()));
}

} // namespace

int labelStep(double pixelsPerFrame, double least) {
  if (!(pixelsPerFrame > 0)) return 1;
  for (double power = 1; power < 1e9; power *= 10)
    for (const double step : {1.0, 2.0, 5.0})
      if (step * power * pixelsPerFrame >= least) return static_cast<int>(step * power);
  return 1000000000;
}

TimeRuler::TimeRuler(Session& session, QWidget* parent)
    : QWidget(parent), session_(session), keys_(session, *this, [this](double frame) { return xOf(frame); }) {
  setObjectName(QStringLiteral("time-ruler"));
  setAccessibleName(tr("Time"));
  setMinimumWidth(80);
  setMouseTracking(true);
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

QSize TimeRuler::sizeHint() const {
  return {400, 32};
}

double TimeRuler::xOf(double frame) const {
  const Range range = rangeOf(session_.document());
  const double frames = std::max<double>(1, range.last - range.first);
  return margin + (frame - range.first) / frames * (width() - 2 * margin);
}

int TimeRuler::frameAt(double x) const {
  const Range range = rangeOf(session_.document());
  const double frames = std::max<double>(1, range.last - range.first);
  const double frame = range.first + (x - margin) / std::max(1.0, width() - 2 * margin) * frames;
  return static_cast<int>(std::lround(std::clamp<double>(frame, range.first, range.last)));
}

void TimeRuler::paintTicks(QPainter& painter) const {
  const Tokens& colors = tokens();
  const Range range = rangeOf(session_.document());
  const double perFrame = xOf(1) - xOf(0);
  const int labels = labelStep(perFrame, 48), ticks = std::max(1, labelStep(perFrame, 6));
  painter.setFont(interfaceFont(metrics::smallFontPixels - 1));
  const auto down = [](int a, int b) { return a >= 0 ? a / b * b : -((-a + b - 1) / b * b); };
  for (int frame = down(range.first, ticks); frame <= range.last; frame += ticks) {
    if (frame < range.first) continue;
    const double x = std::round(xOf(frame)) + 0.5;
    const bool labelled = frame % labels == 0;
    painter.setPen(QPen(labelled ? colors.dim : colors.line, 1));
    painter.drawLine(QPointF(x, height() - (labelled ? 10 : 5)), QPointF(x, height() - 1));
    if (!labelled) continue;
    painter.setPen(colors.dim);
    painter.drawText(QRectF(x - 30, 2, 60, 14), Qt::AlignCenter, QString::number(frame));
  }
}

void TimeRuler::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  const Tokens& colors = tokens();
  painter.fillRect(rect(), colors.field);
  if (!session_.document()) return;

  const Range preview = previewOf(session_.document());
  const double from = xOf(preview.first), to = xOf(preview.last);
  painter.fillRect(QRectF(from, height() - 4, to - from, 4), colors.raised);
  paintTicks(painter);
  painter.setPen(Qt::NoPen);
  painter.setBrush(colors.dim);
  const double y = height();
  painter.drawPolygon(QPolygonF({{from, y - 8}, {from, y}, {from + 6, y}}));
  painter.drawPolygon(QPolygonF({{to, y - 8}, {to, y}, {to - 6, y}}));

  const LONG frame = session_.playback().frame();
  const double x = std::round(xOf(frame)) + 0.5;
  const QString text = QString::number(frame);
  painter.setFont(interfaceFont(metrics::smallFontPixels - 1));
  const double wide = painter.fontMetrics().horizontalAdvance(text) + 8;
  painter.setPen(QPen(colors.accent, 1.5));
  painter.drawLine(QPointF(x, 16), QPointF(x, height()));
  QRectF label(x - wide / 2, 2, wide, 14);
  label.moveLeft(std::clamp(label.left(), 0.0, std::max(0.0, width() - wide)));
  painter.setPen(Qt::NoPen);
  painter.setBrush(colors.accent);
  painter.drawRoundedRect(label, 3, 3);
  painter.setPen(colors.onAccent);
  painter.drawText(label, Qt::AlignCenter, text);
  keys_.paint(painter);
}

TimeRuler::Grip TimeRuler::gripAt(const QPointF& at) const {
  if (keys_.frameAt(at)) return Grip::key;
  if (at.y() < height() - 10) return Grip::time;
  const Range preview = previewOf(session_.document());
  const double first = std::abs(at.x() - xOf(preview.first)), last = std::abs(at.x() - xOf(preview.last));
  if (std::min(first, last) > gripReach) return Grip::time;
  if (first == last) return at.x() < xOf(preview.first) ? Grip::first : Grip::last;
  return first < last ? Grip::first : Grip::last;
}

void TimeRuler::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton || !session_.document()) return;
  grip_ = gripAt(event->position());
  if (grip_ == Grip::time || grip_ == Grip::key)
    session_.playback().stop();
  else
    ownEdit_ = session_.edits().begin("Preview Range");
  if (grip_ == Grip::key) return keys_.begin(*keys_.frameAt(event->position()));
  dragTo(event->position().x());
}

void TimeRuler::mouseMoveEvent(QMouseEvent* event) {
  if (grip_ != Grip::none) return dragTo(event->position().x());
  const Grip grip = session_.document() ? gripAt(event->position()) : Grip::none;
  setCursor(grip != Grip::none && grip != Grip::time ? Qt::SizeHorCursor : Qt::ArrowCursor);
}

void TimeRuler::mouseReleaseEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return;
  if (grip_ == Grip::key) keys_.end();
  grip_ = Grip::none;
  if (std::exchange(ownEdit_, false)) session_.edits().end();
}

void TimeRuler::contextMenuEvent(QContextMenuEvent* event) {
  if (keys_.isDragged()) return;
  if (const auto frame = keys_.frameAt(QPointF(event->pos()))) keys_.showMenu(*frame, event->globalPos());
}

bool TimeRuler::event(QEvent* event) {
  if (event->type() == QEvent::ToolTip) {
    const auto* help = static_cast<QHelpEvent*>(event);
    const auto frame = session_.document() ? keys_.frameAt(QPointF(help->pos())) : std::nullopt;
    setToolTip(frame ? tr("Key at frame %1: drag to move, right-click for interpolation").arg(*frame)
                     : tr("Drag to change the time"));
  }
  return QWidget::event(event);
}

void TimeRuler::dragTo(double x) {
  const int frame = frameAt(x);
  if (grip_ == Grip::key) return keys_.dragTo(frame);
  if (grip_ == Grip::time) {
    if (frame != session_.playback().frame()) session_.playback().goTo(static_cast<LONG>(frame));
    return;
  }
  if (!ownEdit_) return;
  const bool first = grip_ == Grip::first;
  session_.edits().update([frame, first](BaseDocument& document) {
    const LONG fps = document.GetFps();
    const Range preview = previewOf(&document);
    if (first)
      document.SetLoopMinTime(BaseTime(std::min<LONG>(frame, preview.last), fps));
    else
      document.SetLoopMaxTime(BaseTime(std::max<LONG>(frame, preview.first), fps));
  });
  update();
}

TimelineWidget::TimelineWidget(Session& session, QWidget* parent)
    : QWidget(parent), session_(session), ruler_(new TimeRuler(session)),
      first_(frameField("time-first", tr("First frame"), 56)),
      last_(frameField("time-last", tr("Last frame"), 56)),
      frame_(frameField("time-frame", tr("Current frame"), 56)),
      fps_(frameField("time-fps", tr("Frames per second"), 64)),
      start_(transport("time-start", tr("First frame"), QStringLiteral("first"))),
      previous_(transport("time-previous", tr("Previous frame"), QStringLiteral("previous"))),
      play_(transport("time-play", tr("Play"), QStringLiteral("play"))),
      next_(transport("time-next", tr("Next frame"), QStringLiteral("next"))),
      end_(transport("time-end", tr("Last frame"), QStringLiteral("last"))),
      key_(transport("key-set", tr("Set key for the selected objects"), QStringLiteral("key"))) {
  setObjectName(QStringLiteral("timeline"));
  fps_->setRange(1, 1000);
  fps_->setSuffix(QStringLiteral(" fps"));
  Playback& playback = session.playback();
  connect(start_, &QToolButton::clicked, this, [&playback] { playback.goToFirst(); });
  connect(previous_, &QToolButton::clicked, this, [&playback] { playback.step(-1); });
  connect(play_, &QToolButton::clicked, this, [&playback] { playback.toggle(); });
  connect(next_, &QToolButton::clicked, this, [&playback] { playback.step(1); });
  connect(end_, &QToolButton::clicked, this, [&playback] { playback.goToLast(); });
  connect(key_, &QToolButton::clicked, this, [&session] { setSelectedKeys(session); });
  connect(frame_, &NumberField::valueChanged, this,
          [&playback](double frame) { playback.goTo(static_cast<LONG>(std::lround(frame))); });
  connect(fps_, &NumberField::valueChanged, this, [this](double fps) {
    const Range range = rangeOf(session_.document());
    setRange(static_cast<LONG>(std::lround(fps)), range.first, range.last);
  });
  const auto rangeTyped = [this] {
    if (!session_.document()) return;
    const auto first = static_cast<LONG>(std::lround(first_->value()));
    setRange(session_.document()->GetFps(), first,
             std::max(first, static_cast<LONG>(std::lround(last_->value()))));
  };
  connect(first_, &NumberField::valueChanged, this, rangeTyped);
  connect(last_, &NumberField::valueChanged, this, rangeTyped);

  auto* layout = new QHBoxLayout(this);
  layout->setContentsMargins(metrics::grid, metrics::grid, metrics::grid, metrics::grid);
  layout->setSpacing(metrics::grid);
  layout->addWidget(first_);
  layout->addWidget(ruler_, 1);
  layout->addWidget(last_);
  layout->addSpacing(metrics::groupSpace);
  for (QToolButton* button : {start_, previous_, play_, next_, end_, key_})
    layout->addWidget(button);
  layout->addSpacing(metrics::groupSpace);
  layout->addWidget(frame_);
  layout->addWidget(fps_);
  spare_ = {{fps_}, {start_, end_, key_}, {first_, last_}};

  time_ = session.hub().timeChanged.add([this] { refresh(); });
  changed_ = session.hub().changed.add([this] { refresh(); });
  replaced_ = session.hub().replaced.add([this](Replacement) { refresh(); });
  playing_ = playback.changed.add([this] { refresh(); });
  connect(&ThemeNotifier::instance(), &ThemeNotifier::changed, ruler_, qOverload<>(&QWidget::update));
  refresh();
}

// The main window's commands exist once the timeline stands in it.
void TimelineWidget::showKeys() {
  const struct {
    QToolButton* button;
    const char* command;
  } pairs[] = {{start_, "time.first"}, {previous_, "time.previous"}, {play_, "time.play"},
               {next_, "time.next"},   {end_, "time.last"},          {key_, "key.set"}};
  for (const auto& pair : pairs)
    if (QAction* action = commandAction(*this, pair.command))
      setTipWithKeys(*pair.button, pair.button->accessibleName(), {action});
}

QSize TimelineWidget::minimumSizeHint() const {
  int width = layout()->minimumSize().width();
  for (const std::vector<QWidget*>& parts : spare_)
    for (const QWidget* part : parts)
      if (!part->isHidden()) width -= leastWidth(*part) + metrics::grid;
  return {width, layout()->minimumSize().height()};
}

void TimelineWidget::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  int needed = minimumSizeHint().width();
  for (const std::vector<QWidget*>& parts : spare_)
    for (const QWidget* part : parts)
      needed += leastWidth(*part) + metrics::grid;
  for (const std::vector<QWidget*>& parts : spare_) {
    const bool fits = needed <= width();
    for (QWidget* part : parts) {
      part->setVisible(fits);
      if (!fits) needed -= leastWidth(*part) + metrics::grid;
    }
  }
}

void TimelineWidget::refresh() {
  const BaseDocument* document = session_.document();
  setEnabled(document != nullptr);
  if (!document) return;
  key_->setEnabled(!selectedObjects(*document).empty());
  const Range range = rangeOf(document);
  first_->setValue(range.first);
  last_->setValue(range.last);
  frame_->setValue(session_.playback().frame());
  fps_->setValue(document->GetFps());
  const bool playing = session_.playback().isPlaying();
  if (playing != play_->property("playing").toBool()) {
    play_->setProperty("playing", playing);
    play_->setIcon(icon(playing ? QStringLiteral("pause") : QStringLiteral("play")));
    play_->setAccessibleName(playing ? tr("Stop") : tr("Play"));
    play_->setToolTip(play_->accessibleName());
    showKeys();
  }
  ruler_->update();
}

void TimelineWidget::setRange(LONG fps, LONG first, LONG last) {
  session_.edits().apply(
      "Time Range", [fps, first, last](BaseDocument& document) { setTimeRange(document, fps, first, last); },
      "time-range");
  refresh();
}

} // namespace host
