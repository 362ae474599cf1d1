#include "tour.h"

#include "mnemonic_tips.h"
#include "preferences.h"
#include "theme.h"

namespace host {

namespace {

constexpr const char* stored = "tour";
constexpr LONG closedEntry = 1;
constexpr int arrow = 8, distance = 4, inset = 16, wide = 320;

void store(LONG closed) {
  BaseContainer state;
  state.SetLong(closedEntry, closed);
  if (Preferences* kept = preferences()) kept->setNamed(stored, state);
}

QPushButton* button(const char* name, const QString& text, const QString& tip) {
  auto* button = new QPushButton(text);
  button->setObjectName(QLatin1String(name));
  button->setToolTip(tip);
  button->setAutoDefault(true); // Enter presses the focused one
  return button;
}

} // namespace

Tour::Tour(std::vector<TourStep> steps, QWidget& window)
    : QFrame(&window), window_(window), steps_(std::move(steps)), title_(new QLabel), text_(new QLabel),
      count_(new QLabel), back_(button("tour-back", tr("&Back"), tr("The step before (Alt+B)"))),
      next_(button("tour-next", tr("&Next"), tr("The next step (Enter)"))),
      skip_(button("tour-close", tr("&Close"), tr("Ends the tour for good (Esc)"))) {
  setObjectName(QStringLiteral("tour"));
  setAttribute(Qt::WA_DeleteOnClose);
  setCursor(Qt::ArrowCursor);
  setFixedWidth(wide);
  title_->setObjectName(QStringLiteral("tour-title"));
  text_->setObjectName(QStringLiteral("tour-text"));
  setRole(title_, "sentence");
  setRole(count_, "dim");
  setRole(skip_, "flat");
  text_->setWordWrap(true);
  title_->setWordWrap(true);
  connect(back_, &QPushButton::clicked, this, [this] { go(step_ - 1); });
  connect(next_, &QPushButton::clicked, this, [this] { go(step_ + 1); });
  connect(skip_, &QPushButton::clicked, this, &Tour::finish);

  auto* buttons = new QHBoxLayout;
  buttons->setSpacing(metrics::groupSpace);
  buttons->addWidget(count_);
  buttons->addStretch(1);
  buttons->addWidget(skip_);
  buttons->addWidget(back_);
  buttons->addWidget(next_);
  auto* layout = new QVBoxLayout(this);
  const int edge = arrow + 12;
  layout->setContentsMargins(edge, edge, edge, edge);
  layout->setSpacing(metrics::groupSpace);
  layout->addWidget(title_);
  layout->addWidget(text_);
  layout->addLayout(buttons);
  setTabOrder(next_, skip_);
  setTabOrder(skip_, back_);
  window_.installEventFilter(this);
  for (const TourStep& step : steps_)
    if (step.target) step.target->installEventFilter(this);
}

bool Tour::isPending() {
  const Preferences* kept = preferences();
  const BaseContainer* state = kept ? kept->getNamed(stored) : nullptr;
  return state && state->GetLong(closedEntry, 1) == 0;
}

void Tour::begin() {
  store(0);
}

void Tour::present() {
  go(0);
  show();
  raise();
  next_->setFocus(Qt::OtherFocusReason);
}

void Tour::go(int step) {
  if (step < 0) return;
  if (step >= static_cast<int>(steps_.size())) return finish();
  step_ = step;
  const TourStep& now = steps_[static_cast<std::size_t>(step)];
  const bool last = step + 1 == static_cast<int>(steps_.size());
  title_->setText(now.title);
  text_->setText(now.text);
  count_->setText(tr("%1 of %2").arg(step + 1).arg(steps_.size()));
  setAccessibleName(tr("Tour, %1: %2. %3").arg(count_->text(), now.title, now.text));
  back_->setVisible(step > 0);
  skip_->setVisible(!last);
  next_->setText(last ? tr("&Done") : tr("&Next"));
  next_->setToolTip(last ? tr("Ends the tour for good (Enter)") : tr("The next step (Enter)"));
  tellMnemonics(*this);
  next_->setFocus(Qt::OtherFocusReason);
  place();
}

// Left of the target, in a large one, right of it or below it, where there is room; else over its middle.
void Tour::place() {
  layout()->activate();
  const QSize size(wide,
                   layout()->hasHeightForWidth() ? layout()->heightForWidth(wide) : sizeHint().height());
  resize(size);
  const QWidget* target = steps_[static_cast<std::size_t>(step_)].target;
  const bool there = target && target->isVisible() && window_.isAncestorOf(target);
  const QRect room = window_.rect();
  const QRect spot = there ? QRect(target->mapTo(&window_, QPoint(0, 0)), target->size()) : room;
  const int middle =
      std::clamp(spot.top() + spot.height() / 4, 0, std::max(0, room.height() - size.height()));
  QPoint corner = spot.center() - QPoint(size.width() / 2, size.height() / 2);
  tip_ = QPoint(-1, -1);
  if (there && spot.left() - distance >= size.width()) {
    corner = QPoint(spot.left() - distance - size.width(), middle);
    tip_ = QPoint(size.width() - 1, std::min(size.height() / 2, 48));
  } else if (there && spot.width() > wide * 3 / 2 && spot.height() > size.height() * 2) {
    corner = spot.bottomLeft() + QPoint(inset, -inset - size.height()); // within the part itself
  } else if (there && room.right() - spot.right() - distance >= size.width()) {
    corner = QPoint(spot.right() + distance, middle);
    tip_ = QPoint(0, std::min(size.height() / 2, 48));
  } else if (there && spot.height() < 64 && room.bottom() - spot.bottom() >= size.height()) {
    corner = QPoint(spot.left() + 24, spot.bottom());
    tip_ = QPoint(40, 0);
  }
  corner.setX(std::clamp(corner.x(), 0, std::max(0, room.width() - size.width())));
  corner.setY(std::clamp(corner.y(), 0, std::max(0, room.height() - size.height())));
  move(corner);
  update();
}

void Tour::finish() {
  store(1);
  close();
}

bool Tour::eventFilter(QObject* watched, QEvent* event) {
  const QEvent::Type type = event->type();
  if (isVisible() && (type == QEvent::Resize || type == QEvent::Move || type == QEvent::Show ||
                      type == QEvent::Hide || type == QEvent::LayoutRequest)) {
    place();
    raise();
  }
  return QFrame::eventFilter(watched, event);
}

void Tour::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Escape) return finish();
  QFrame::keyPressEvent(event);
}

void Tour::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  const QRectF box = QRectF(rect()).adjusted(arrow, arrow, -arrow, -arrow);
  QPainterPath shape;
  shape.addRoundedRect(box, metrics::radius * 1.5, metrics::radius * 1.5);
  if (tip_.x() >= 0) {
    const QPointF tip(tip_);
    const bool above = tip_.y() == 0;
    const qreal side = tip_.x() == 0 ? box.left() + 1 : box.right() - 1;
    QPainterPath pointer;
    pointer.moveTo(tip);
    pointer.lineTo(above ? QPointF(tip.x() - arrow, box.top() + 1) : QPointF(side, tip.y() - arrow));
    pointer.lineTo(above ? QPointF(tip.x() + arrow, box.top() + 1) : QPointF(side, tip.y() + arrow));
    pointer.closeSubpath();
    shape = shape.united(pointer);
  }
  painter.setPen(QPen(tokens().dim, 1));
  painter.setBrush(tokens().raised);
  painter.drawPath(shape);
}

} // namespace host
