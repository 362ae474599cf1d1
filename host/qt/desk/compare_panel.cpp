#include "compare_panel.h"

#include <algorithm>
#include <cmath>

#include "film.h"
#include "filmstrip.h"
#include "frame_buffer.h"
#include "frame_commands.h"
#include "key_table.h"
#include "message_box.h"
#include "metrics.h"
#include "number_field.h"
#include "picture_canvas.h"
#include "picture_source.h"
#include "qt_text.h"
#include "quiet_combo.h"
#include "theme.h"
#include "view_bar.h"

namespace host {

struct ComparePanel::Measured {
  std::array<Measurement, 4> values; // by Metric
  bool light = false;
};

namespace {

constexpr double reach = 8; // pixels from the line in which a drag takes it
constexpr double pi = 3.14159265358979323846;

MetricImage metricOf(const QImage& shown) {
  MetricImage image;
  image.width = shown.width(), image.height = shown.height();
  image.rgb.reserve(3 * image.pixels());
  for (int y = 0; y < shown.height(); ++y)
    for (int x = 0; x < shown.width(); ++x) {
      const QRgb pixel = shown.pixel(x, y);
      for (const int code : {qRed(pixel), qGreen(pixel), qBlue(pixel)})
        image.rgb.push_back(static_cast<float>(code) / 255);
    }
  return image;
}

// The light as the desk shows it; NaN and infinities count as black.
MetricImage metricOf(const Film& film, const DeskLook& desk) {
  MetricImage image;
  image.width = film.width(), image.height = film.height(), image.linear = true;
  image.rgb.reserve(3 * image.pixels());
  for (int y = 0; y < film.height(); ++y)
    for (int x = 0; x < film.width(); ++x) {
      float rgba[4];
      film.getShown(x, y, rgba);
      image.rgb.insert(image.rgb.end(), rgba, rgba + 3);
    }
  applyDesk(desk, film, image.rgb);
  std::replace_if(
      image.rgb.begin(), image.rgb.end(), [](float value) { return !std::isfinite(value); }, 0.0f);
  return image;
}

} // namespace

ComparePanel::ComparePanel(Session& session, FrameBuffer& frame)
    : session_(session), frame_(frame), source_(new CompareSource(this)) {
  setObjectName(QStringLiteral("comparePanel"));
  for (std::size_t i = 0; i < pictures_.size(); ++i) {
    pictures_[i] = new PictureSource(this);
    connect(pictures_[i], &CanvasSource::changed, this, [this, i] { takeImage(i); });
  }
  buildFields();
  addCommands();
  connect(source_, &CompareSource::imagesChanged, this, &ComparePanel::measure);
  connect(&frame.viewBar(), &ViewBar::lookChanged, this, &ComparePanel::takeLook);
  setAcceptDrops(true);
  blinking_.setInterval(blinkPeriod);
  connect(&blinking_, &QTimer::timeout, this, &ComparePanel::toggle);
  frame.canvas().installEventFilter(this);
  subscriptions_.push_back(session_.pictures().changed.add([this] { fillLists(); }));
  subscriptions_.push_back(session_.renders().finished.add([this] {
    for (PictureSource* picture : pictures_)
      picture->refresh();
  }));
  fillLists();
  updateState();
}

ComparePanel::~ComparePanel() = default;

QComboBox* ComparePanel::addCombo(QGridLayout& grid, const QString& label, const char* name,
                                  const QString& tip) {
  auto* combo = new QuietCombo(this);
  combo->setObjectName(QLatin1String(name));
  combo->setToolTip(tip);
  combo->setAccessibleName(label);
  combo->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
  const int row = grid.rowCount();
  grid.addWidget(new QLabel(label, this), row, 0);
  grid.addWidget(combo, row, 1);
  return combo;
}

void ComparePanel::buildFields() {
  auto* grid = new QGridLayout(this);
  grid->setContentsMargins(metrics::groupSpace, metrics::groupSpace, metrics::groupSpace,
                           metrics::groupSpace);
  grid->setColumnMinimumWidth(0, 64);
  grid->setColumnStretch(1, 1);
  grid->setSpacing(metrics::groupSpace);
  shown_ = new QCheckBox(tr("Compare"), this);
  shown_->setObjectName(QStringLiteral("compareOn"));
  shown_->setToolTip(tr("Shows the comparison instead of the current picture"));
  connect(shown_, &QCheckBox::toggled, this, &ComparePanel::setOn);
  grid->addWidget(shown_, 0, 0, 1, 2);
  for (std::size_t i = 0; i < choices_.size(); ++i) {
    const QString letter(QLatin1Char(static_cast<char>('A' + i)));
    choices_[i] =
        addCombo(*grid, letter, qPrintable(QStringLiteral("compare") + letter),
                 tr("The picture %1. Files and rows of the filmstrip can be dropped here.").arg(letter));
    connect(choices_[i], &QComboBox::activated, this,
            [this, i] { use(i, choices_[i]->currentData().toULongLong()); });
  }
  mode_ = addCombo(*grid, tr("Mode"), "compareMode", tr("How the pictures are shown"));
  mode_->addItems({tr("Wipe"), tr("Toggle"), tr("Side by Side"), tr("Difference"), tr("Heat Map")});
  connect(mode_, &QComboBox::activated, this, [this](int mode) { setMode(static_cast<CompareMode>(mode)); });
  const auto addSlider = [&](const QString& label, const char* name, const QString& tip) {
    auto* field = new SliderField(this);
    field->setObjectName(QLatin1String(name));
    field->setToolTip(tip);
    field->setName(label);
    grid->addWidget(new QLabel(label, this), grid->rowCount(), 0);
    grid->addWidget(field, grid->rowCount() - 1, 1);
    return field;
  };
  angle_ = addSlider(tr("Angle"), "compareAngle",
                     tr("Of the wipe. Drag the line to move it, with Shift to turn it."));
  angle_->setRange(-180, 180);
  angle_->setStep(1);
  angle_->setDecimals(1); // a turn by hand is no finer, and more digits do not fit the field
  angle_->setSuffix(QString::fromUtf8("\xc2\xb0"));
  connect(angle_, &SliderField::valueChanged, this, [this](double angle) {
    source_->setLine({source_->line().x, source_->line().y, angle});
  });
  gain_ = addSlider(tr("Gain"), "compareGain", tr("The difference times this"));
  gain_->setRange(1, 256);
  gain_->setSliderRange(1, 32);
  gain_->setStep(1);
  gain_->setValue(1);
  connect(gain_, &SliderField::valueChanged, source_, &CompareSource::setGain);
  heat_ = addCombo(*grid, tr("Metric"), "compareMetric", tr("The errors that the heat map shows"));
  for (const MetricKind& kind : metricKinds())
    heat_->addItem(QString::fromLatin1(kind.name).toUpper());
  connect(heat_, &QComboBox::activated, this, &ComparePanel::measure);
  addBlink(*grid);
  addLabels(*grid);
}

void ComparePanel::addBlink(QGridLayout& grid) {
  blink_ = new QCheckBox(tr("Blink"), this);
  blink_->setObjectName(QStringLiteral("compareBlink"));
  blink_->setToolTip(tr("Changes between A and B twice a second"));
  connect(blink_, &QCheckBox::toggled, this, [this](bool on) {
    if (on) setMode(CompareMode::toggle);
    on ? blinking_.start() : blinking_.stop();
  });
  grid.addWidget(blink_, grid.rowCount(), 0, 1, 2);
}

void ComparePanel::addLabels(QGridLayout& grid) {
  for (QLabel** label : {&values_, &note_}) {
    *label = new QLabel(this);
    (*label)->setWordWrap(true);
    grid.addWidget(*label, grid.rowCount(), 0, 1, 2);
  }
  values_->setObjectName(QStringLiteral("compareValues"));
  values_->setFont(fixedFont());
  note_->setObjectName(QStringLiteral("compareNote"));
  setRole(note_, "warning");
  grid.setRowStretch(grid.rowCount(), 1);
}

void ComparePanel::addCommands() {
  const auto key = [](const char* text) { return QKeySequence(QLatin1String(text)); };
  FrameCommands& commands = frame_.commands();
  commands.addSeparator(FrameMenu::picture);
  commands.add(FrameMenu::picture, {"use-a", tr("Use as A"), {key("Shift+A")}, [this] {
                                      use(0, session_.pictures().current());
                                    }});
  commands.add(FrameMenu::picture, {"use-b", tr("Use as B"), {key("Shift+B")}, [this] {
                                      use(1, session_.pictures().current());
                                    }});
  QAction* on = commands.add(FrameMenu::picture,
                             {"compare-on", tr("Compare A and B"), {key("W")}, [this] { setOn(!on_); }});
  setTipWithKeys(*shown_, shown_->toolTip(), {on});
  commands.add(FrameMenu::picture, {"compare-toggle", tr("Toggle A and B"), {key("T")}, [this] {
                                      setMode(CompareMode::toggle);
                                      setOn(true);
                                      toggle();
                                    }});
}

void ComparePanel::fillLists() {
  const std::vector<PictureList::Picture>& all = session_.pictures().pictures();
  for (std::size_t i = 0; i < choices_.size(); ++i) {
    choices_[i]->clear();
    choices_[i]->addItem(tr("None"), qulonglong{0});
    for (auto picture = all.rbegin(); picture != all.rend(); ++picture)
      choices_[i]->addItem(toQt(picture->name), static_cast<qulonglong>(picture->id));
    if (ids_[i]) takePicture(i);
    choices_[i]->setCurrentIndex(std::max(0, choices_[i]->findData(static_cast<qulonglong>(ids_[i]))));
  }
}

CanvasLook ComparePanel::look() const {
  CanvasLook look = frame_.viewBar().look();
  look.desk = desk_;
  return look;
}

void ComparePanel::takeLook() {
  for (PictureSource* picture : pictures_)
    picture->setLook(look());
}

void ComparePanel::setDesk(const DeskLook& desk) {
  const DeskLook wanted = desk.isPlain() ? DeskLook() : desk;
  if (wanted == desk_) return;
  desk_ = wanted;
  takeLook();
}

void ComparePanel::use(std::size_t index, PictureList::Id id) {
  const PictureList::Picture* picture = session_.pictures().find(id);
  ids_[index] = picture ? id : 0;
  choices_[index]->setCurrentIndex(
      std::max(0, choices_[index]->findData(static_cast<qulonglong>(ids_[index]))));
  pictures_[index]->setLook(look());
  pictures_[index]->setBitmap(picture ? picture->bitmap : nullptr, picture && picture->filmOnly);
}

// The viewer's picture gets another bitmap with another size, and samples in the same one.
void ComparePanel::takePicture(std::size_t index) {
  const PictureList::Picture* picture = session_.pictures().find(ids_[index]);
  if (!picture) return use(index, 0);
  if (picture->bitmap != pictures_[index]->bitmap()) return use(index, ids_[index]);
  if (picture->live) pictures_[index]->refresh();
}

void ComparePanel::takeImage(std::size_t index) {
  source_->setImage(index, pictures_[index]->image());
  updateState();
}

void ComparePanel::setOn(bool on) {
  on_ = on;
  shown_->setChecked(on);
  frame_.canvas().setSource(on ? static_cast<CanvasSource*>(source_) : &frame_.picture());
  if (on) measure();
}

void ComparePanel::setMode(CompareMode mode) {
  if (mode != CompareMode::toggle) blink_->setChecked(false);
  mode_->setCurrentIndex(static_cast<int>(mode));
  source_->setMode(mode);
  updateState();
}

void ComparePanel::toggle() {
  source_->showB(!source_->showsB());
}

void ComparePanel::updateState() {
  const CompareMode mode = source_->mode();
  angle_->setEnabled(mode == CompareMode::wipe);
  gain_->setEnabled(mode == CompareMode::difference);
  heat_->setEnabled(mode == CompareMode::heat);
  const QSize a = pictures_[0]->size(), b = pictures_[1]->size();
  const bool differ = !a.isEmpty() && !b.isEmpty() && a != b;
  note_->setVisible(differ);
  note_->setText(differ ? tr("B has %1 x %2 pixels and is fitted into A's %3 x %4.")
                              .arg(b.width())
                              .arg(b.height())
                              .arg(a.width())
                              .arg(a.height())
                        : QString());
}

// Of the light, where both have a film of one size; else of the colours on screen.
void ComparePanel::measure() {
  const SharedBitmap a = pictures_[0]->bitmap(), b = pictures_[1]->bitmap();
  values_->clear();
  job_.drop();
  if (!on_ || !a || !b) return;
  const auto measured = std::make_shared<Measured>();
  const QImage shownA = source_->image(0), shownB = source_->image(1);
  job_.start(
      [a, b, shownA, shownB, desk = desk_, measured] {
        const std::shared_ptr<Film> one = filmOf(*a), other = filmOf(*b);
        measured->light = one && other && one->width() == other->width() && one->height() == other->height();
        const MetricImage first = measured->light ? metricOf(*one, desk) : metricOf(shownA);
        const MetricImage second = measured->light ? metricOf(*other, desk) : metricOf(shownB);
        if (first.pixels() == 0 || first.pixels() != second.pixels()) return;
        for (const MetricKind& kind : metricKinds())
          measured->values[static_cast<std::size_t>(kind.metric)] = host::measure(kind.metric, first, second);
      },
      [this, measured] { showMeasured(*measured); });
}

void ComparePanel::showMeasured(const Measured& measured) {
  QStringList lines;
  for (const MetricKind& kind : metricKinds())
    lines << QStringLiteral("%1 %2")
                 .arg(QString::fromLatin1(kind.name).toUpper(), -5)
                 .arg(measured.values[static_cast<std::size_t>(kind.metric)].value, 0, 'f', 4);
  values_->setText(lines.join(QLatin1Char('\n')));
  values_->setToolTip(measured.light ? tr("Of the light of both films, with mix and lens")
                                     : tr("Of the colours on screen"));
  const auto chosen = static_cast<std::size_t>(heat_->currentIndex());
  source_->setHeat(measured.values[chosen].map);
}

// --- drops ---

std::size_t ComparePanel::slotAt(const QPoint& at) const {
  for (std::size_t i = 0; i < choices_.size(); ++i) {
    const QRect row = choices_[i]->geometry().adjusted(0, -metrics::grid, 0, metrics::grid);
    if (at.y() >= row.top() && at.y() <= row.bottom()) return i;
  }
  return ids_[0] ? 1 : 0;
}

void ComparePanel::dragEnterEvent(QDragEnterEvent* event) {
  if (event->mimeData()->hasUrls()) event->acceptProposedAction();
}

// A row of the filmstrip is used as it is, with its film.
void ComparePanel::dropEvent(QDropEvent* event) {
  const std::size_t index = slotAt(event->position().toPoint());
  event->acceptProposedAction();
  if (event->source() == &frame_.list().list()) return frame_.list().use(static_cast<int>(index));
  for (const QUrl& url : event->mimeData()->urls())
    if (url.isLocalFile()) return openFile(index, url.toLocalFile());
}

void ComparePanel::openFile(std::size_t index, const QString& file) {
  session_.pictureOpener().open(Filename(toHost(file)),
                                [there = QPointer<ComparePanel>(this), index](const std::string& error) {
                                  if (!there) return;
                                  if (!error.empty())
                                    return showError(there, splitBoxText(QString::fromStdString(error)));
                                  there->use(index, there->session_.pictures().current());
                                });
}

// --- the line ---

bool ComparePanel::isNearLine(const QPointF& at) const {
  const QRectF target = frame_.canvas().pictureRect();
  const WipeLine& line = source_->line();
  const double turn = line.angle * pi / 180;
  const QPointF from = at - target.topLeft() - QPointF(line.x * target.width(), line.y * target.height());
  return target.contains(at) && std::abs(from.x() * std::cos(turn) + from.y() * std::sin(turn)) <= reach;
}

void ComparePanel::drag(const QPointF& at, bool turns) {
  const QRectF target = frame_.canvas().pictureRect();
  WipeLine line = source_->line();
  if (turns) {
    const QPointF from = at - target.topLeft() - QPointF(line.x * target.width(), line.y * target.height());
    // The line goes through the pointer.
    line.angle = std::remainder(std::atan2(from.y(), from.x()) * 180 / pi - 90, 360);
    angle_->setValue(line.angle);
  } else {
    line.x = std::clamp((at.x() - target.left()) / target.width(), 0.0, 1.0);
    line.y = std::clamp((at.y() - target.top()) / target.height(), 0.0, 1.0);
  }
  source_->setLine(line);
}

bool ComparePanel::eventFilter(QObject* watched, QEvent* event) {
  const auto type = event->type();
  const bool press = type == QEvent::MouseButtonPress || type == QEvent::MouseButtonDblClick;
  const bool mouse = press || type == QEvent::MouseMove || type == QEvent::MouseButtonRelease;
  if (!on_ || !mouse || source_->mode() != CompareMode::wipe) return QWidget::eventFilter(watched, event);
  const auto& input = *static_cast<QMouseEvent*>(event);
  if (press && input.button() == Qt::LeftButton) dragging_ = isNearLine(input.position());
  const bool taken = dragging_;
  if (taken && type == QEvent::MouseMove) drag(input.position(), input.modifiers() & Qt::ShiftModifier);
  if (type == QEvent::MouseButtonRelease) dragging_ = false;
  return taken || QWidget::eventFilter(watched, event);
}

} // namespace host
