#include "frame_status.h"

#include <algorithm>

#include "color_patch.h"
#include "film.h"
#include "icons.h"
#include "layer_rows.h"
#include "qt_text.h"
#include "status_widget.h"
#include "theme.h"

namespace host {

namespace {

constexpr int saidFor = 4000; // milliseconds

} // namespace

FrameStatus::FrameStatus(Session& session, QWidget* parent) : QWidget(parent), session_(session) {
  auto* row = new QHBoxLayout(this);
  row->setContentsMargins(metrics::groupSpace, metrics::grid, metrics::groupSpace, metrics::grid);
  row->setSpacing(metrics::groupSpace);
  addPixel();
  row->addStretch(1);
  addProgress();
  faults_ = addLabel("pictureFaults");
  faults_->setToolTip(tr("Pixels with values that are not numbers are magenta, infinite ones cyan"));
  setRole(faults_, "warning");
  faults_->hide();
  size_ = addLabel("pictureSize");
  addZoom();
  subscriptions_.push_back(session_.renders().changed.add([this] { showWork(); }));
  subscriptions_.push_back(session_.renders().finished.add([this] { showWork(); }));
  subscriptions_.push_back(session_.pictureSaver().changed.add([this] { showSaving(); }));
  for (QTimer* timer : {&late_, &forget_})
    timer->setSingleShot(true);
  connect(&late_, &QTimer::timeout, this, &FrameStatus::showWork);
  connect(&forget_, &QTimer::timeout, this, [this] { said_.clear(), showWork(); });
  showPixel(nullptr, {}, {});
  showWork();
}

QLabel* FrameStatus::addLabel(const char* name) {
  auto* made = new QLabel(this);
  made->setObjectName(QLatin1String(name));
  made->setFont(interfaceFont(metrics::smallFontPixels));
  layout()->addWidget(made);
  return made;
}

void FrameStatus::addPixel() {
  swatch_ = new ColorPatch(this);
  swatch_->setFixedSize(metrics::icon, metrics::icon);
  layout()->addWidget(swatch_);
  pixel_ = addLabel("pixelPlace");
  values_ = addLabel("pixelValues");
  floats_ = addLabel("pixelFloats");
  floats_->setToolTip(tr("Linear light"));
  for (QLabel* made : {pixel_, values_, floats_})
    made->setFont(fixedFont());
}

void FrameStatus::addProgress() {
  progressText_ = addLabel("renderProgress");
  progress_ = new QProgressBar(this);
  progress_->setRange(0, 1000);
  progress_->setTextVisible(false);
  progress_->setFixedWidth(140);
  layout()->addWidget(progress_);
  stop_ = new QToolButton(this);
  stop_->setObjectName(QStringLiteral("renderStop"));
  stop_->setIcon(icon(QStringLiteral("stop")));
  stop_->setToolTip(tr("Stop the render"));
  stop_->setAccessibleName(tr("Stop the render"));
  stop_->setFixedSize(metrics::control, metrics::control);
  layout()->addWidget(stop_);
  connect(stop_, &QToolButton::clicked, this, [this] { session_.renders().cancel(); });
}

void FrameStatus::addZoom() {
  zoom_ = new QToolButton(this);
  zoom_->setObjectName(QStringLiteral("zoomButton"));
  zoom_->setToolTip(tr("Zoom"));
  zoom_->setPopupMode(QToolButton::InstantPopup);
  zoom_->setFixedHeight(metrics::control);
  zoom_->setMinimumWidth(72);
  layout()->addWidget(zoom_);
  auto* menu = new QMenu(zoom_);
  menu->addAction(tr("Whole Picture"), this, [this] { emit zoomWanted(0); });
  menu->addSeparator();
  for (const int percent : {25, 50, 100, 200, 400, 800, 1600, 3200, 6400})
    menu->addAction(tr("%1 %").arg(percent), this, [this, percent] { emit zoomWanted(percent / 100.0); });
  zoom_->setMenu(menu);
}

void FrameStatus::showPixel(const BaseBitmap* bitmap, const QPoint& pixel, const QColor& seen) {
  swatch_->setVisible(bitmap);
  for (QLabel* label : {pixel_, values_, floats_})
    label->setVisible(bitmap);
  if (!bitmap) return swatch_->show({});
  const int r = seen.red(), g = seen.green(), b = seen.blue();
  swatch_->show(QColor(r, g, b));
  pixel_->setText(QStringLiteral("x %1  y %2").arg(pixel.x(), 4).arg(pixel.y(), 4));
  QString values = QStringLiteral("R %1  G %2  B %3").arg(r, 3).arg(g, 3).arg(b, 3);
  if (bitmap->GetBt() == 32)
    values += QStringLiteral("  A %1").arg(bitmap->GetAlpha(pixel.x(), pixel.y()), 3);
  values_->setText(values);
  const std::shared_ptr<Film> film = filmOf(*bitmap);
  QString floats;
  if (film && pixel.x() < film->width() && pixel.y() < film->height()) {
    float rgba[4] = {};
    film->getShown(pixel.x(), pixel.y(), rgba);
    for (int i = 0; i < 3; ++i)
      floats += QStringLiteral("%1  ").arg(static_cast<double>(rgba[i]), 0, 'f', 4);
  }
  floats_->setText(floats.trimmed());
}

void FrameStatus::say(const QString& sentence) {
  said_ = sentence;
  forget_.start(saidFor);
  showWork();
}

void FrameStatus::showFaults(const FaultCount& faults) {
  QStringList parts;
  if (faults.nan > 0) parts << tr("%1 NaN").arg(faults.nan);
  if (faults.infinite > 0) parts << tr("%1 infinite").arg(faults.infinite);
  faults_->setText(parts.join(QStringLiteral(", ")));
  faults_->setVisible(faults.any());
}

void FrameStatus::showSize(const BaseBitmap* bitmap) {
  size_->setText(bitmap ? tr("%1 x %2").arg(bitmap->GetBw()).arg(bitmap->GetBh()) : QString());
  zoom_->setVisible(bitmap);
}

void FrameStatus::showZoom(double zoom) {
  zoom_->setText(tr("%1 %").arg(QLocale::c().toString(zoom * 100, 'g', 4)));
}

void FrameStatus::showWork() {
  const RenderState& state = session_.renders().state();
  const bool running = session_.renders().isRunning() && state.kind == RenderKind::picture;
  const bool saving = !running && session_.pictureSaver().isBusy() && !late_.isActive();
  progress_->setVisible(running || saving);
  progressText_->setVisible(running || saving || !said_.isEmpty());
  stop_->setVisible(running);
  if (running) {
    progress_->setRange(0, 1000);
    progress_->setValue(static_cast<int>(std::clamp(state.progress, 0.0, 1.0) * 1000));
    const QString percent = tr("%1 %").arg(static_cast<int>(std::clamp(state.progress, 0.0, 1.0) * 100));
    progressText_->setText(state.left < 0 ? percent
                                          : tr("%1, %2 left").arg(percent, durationText(state.left)));
  } else if (saving) {
    progress_->setRange(0, 0);
    progressText_->setText(tr("Saving %1").arg(toQt(session_.pictureSaver().file().GetFileString())));
  } else {
    progressText_->setText(said_);
  }
}

// Short work does not flash a bar.
void FrameStatus::showSaving() {
  if (session_.pictureSaver().isBusy())
    late_.start(static_cast<int>(StatusWidget::delay));
  else
    late_.stop();
  showWork();
}

} // namespace host
