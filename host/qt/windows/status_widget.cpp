#include "status_widget.h"

#include <cmath>

#include "document.h"
#include "icons.h"
#include "node_state.h"
#include "theme.h"

namespace host {

namespace {

std::size_t trianglesOf(BaseDocument* document) {
  std::size_t count = 0;
  if (document)
    forEachObject(stateOf(document)->children, [&](const ObjectState& object) {
      if (object.mesh) count += object.mesh->triangles.size();
    });
  return count;
}

// Below 0 while it cannot be told.
Milliseconds leftOf(Milliseconds since, double done, double missing) {
  if (done <= 0 || since <= 500) return -1;
  return static_cast<Milliseconds>(static_cast<double>(since) * missing / done);
}

QString samplesText(const ViewerProgress& progress) {
  if (progress.samples == 0) return {};
  const QString samples = StatusWidget::tr("%1 of %2 samples").arg(progress.done).arg(progress.samples);
  if (progress.noise < 0) return samples;
  return StatusWidget::tr("%1, noise %2").arg(samples, QLocale().toString(progress.noise, 'f', 3));
}

QLabel* dimLabel(const char* name) {
  auto* label = new QLabel;
  label->setObjectName(QLatin1String(name));
  setRole(label, "dim");
  return label;
}

} // namespace

QString durationText(Milliseconds duration) {
  const auto seconds =
      static_cast<long long>(std::ceil(static_cast<double>(std::max<Milliseconds>(0, duration)) / 1000));
  if (seconds < 60) return StatusWidget::tr("%1 s").arg(seconds);
  if (seconds < 3600) return StatusWidget::tr("%1 min %2 s").arg(seconds / 60).arg(seconds % 60);
  return StatusWidget::tr("%1 h %2 min").arg(seconds / 3600).arg(seconds % 3600 / 60);
}

QString countText(std::size_t count) {
  const auto value = static_cast<double>(count);
  if (count < 1000) return QString::number(count);
  if (value < 999.95e3) return QString::number(value / 1e3, 'f', 1) + QStringLiteral(" k");
  return QString::number(value / 1e6, 'f', 2) + QStringLiteral(" M");
}

StatusWidget::StatusWidget(Session& session, QWidget* parent)
    : QWidget(parent), session_(session), file_(new QLabel), count_(dimLabel("status-triangles")),
      text_(new QLabel), detail_(dimLabel("status-detail")), left_(dimLabel("status-left")),
      bar_(new QProgressBar), stop_(new QToolButton) {
  setObjectName(QStringLiteral("status"));
  file_->setObjectName(QStringLiteral("status-file"));
  text_->setObjectName(QStringLiteral("status-text"));
  detail_->setMinimumWidth(1); // gives way in a narrow window
  detail_->setToolTip(tr("Samples of each pixel so far, and the noise: the standard error of a pixel's "
                         "brightness, where white is 1"));
  left_->setToolTip(tr("Time left"));
  bar_->setObjectName(QStringLiteral("status-bar"));
  bar_->setAccessibleName(tr("Progress"));
  bar_->setTextVisible(false);
  bar_->setFixedSize(160, 8);
  bar_->setRange(0, 1000);
  stop_->setObjectName(QStringLiteral("status-stop"));
  stop_->setAccessibleName(tr("Stop"));
  stop_->setToolTip(tr("Stop"));
  stop_->setIcon(icon(QStringLiteral("stop")));
  stop_->setAutoRaise(true);
  stop_->setFocusPolicy(Qt::NoFocus);
  connect(stop_, &QToolButton::clicked, this, &StatusWidget::stop);

  auto* layout = new QHBoxLayout(this);
  layout->setContentsMargins(metrics::groupSpace, 0, metrics::groupSpace, 0);
  layout->setSpacing(metrics::groupSpace);
  layout->addWidget(file_);
  layout->addSpacing(metrics::groupSpace);
  layout->addWidget(count_);
  layout->addStretch(1);
  layout->addWidget(text_);
  layout->addWidget(detail_);
  layout->addWidget(bar_);
  layout->addWidget(left_);
  layout->addWidget(stop_);
  setFixedHeight(metrics::control + metrics::grid);

  for (QTimer* timer : {&late_, &sceneSoon_, &forget_})
    timer->setSingleShot(true);
  connect(&late_, &QTimer::timeout, this, &StatusWidget::look);
  connect(&sceneSoon_, &QTimer::timeout, this, &StatusWidget::showScene);
  connect(&forget_, &QTimer::timeout, this, [this] { said_.clear(), look(); });
  fileChanged_ = session.files().changed.add([this] { showScene(), look(); });
  renderChanged_ = session.renders().changed.add([this] { look(); });
  renderFinished_ = session.renders().finished.add([this] { look(); });
  const auto countSoon = [this] {
    if (!sceneSoon_.isActive()) sceneSoon_.start(200);
  };
  hubChanged_ = session.hub().changed.add(countSoon);
  hubReplaced_ = session.hub().replaced.add([this](Replacement) { showScene(); });
  poll_.setInterval(250);
  connect(&poll_, &QTimer::timeout, this, &StatusWidget::lookAtViewer);
  rendered_ = session.viewerFilm().rendered.add([this](const FilmNews& news) { watchViewer(news); });
  setStatusListener([this](const StatusState& state) { pluginStatus(state); });
  plugin_ = statusState();
  showScene();
  show_({});
}

StatusWidget::~StatusWidget() {
  setStatusListener(nullptr);
}

void StatusWidget::say(const QString& sentence) {
  said_ = sentence;
  forget_.start(6000);
  look();
}

void StatusWidget::stop() {
  switch (shown_.source) {
  case BusyState::Source::file:
    session_.files().cancelLoading();
    break;
  case BusyState::Source::render:
    session_.renders().cancel();
    break;
  case BusyState::Source::plugin:
    if (stopPlugins_) stopPlugins_();
    break;
  case BusyState::Source::none:
    break;
  }
}

BusyState StatusWidget::wanted() const {
  using Source = BusyState::Source;
  const FileSession::Activity& file = session_.files().activity();
  if (file.kind != FileSession::Activity::Kind::none)
    return {Source::file, QString::fromStdString(file.text.GetUTF8()), file.progress, -1, file.canCancel};
  const RenderState& render = session_.renders().state();
  if (render.running) return {Source::render, tr("Rendering"), render.progress, render.left, true};
  if (plugin_.percent < 0 && !plugin_.spinning && !plugin_.text.Content()) return {};

  BusyState state{Source::plugin, QString::fromStdString(plugin_.text.GetUTF8()), -1, -1, false};
  const bool works = plugin_.percent >= 0 || plugin_.spinning;
  state.canStop = works && stopPlugins_ != nullptr;
  if (works) state.detail = samplesText(viewer_);
  if (works && plugin_.percent < 0 && viewer_.samples > 0) takeViewer(state);
  if (plugin_.percent < 0) return state;
  state.progress = plugin_.percent / 100.0;
  const double done = state.progress - pluginFrom_;
  if (done > 0.02) state.left = leftOf(clock().now() - pluginSince_, done, 1 - state.progress);
  return state;
}

// "Name (3/10)" is one of ten pictures: how long all of them take is not known.
void StatusWidget::takeViewer(BusyState& state) const {
  static const QRegularExpression ofSeveral(QStringLiteral("\\(\\d+/(\\d{1,6})\\)"));
  if (ofSeveral.match(state.text).captured(1).toInt() > 1) return;
  state.progress = static_cast<double>(viewer_.done) / viewer_.samples;
  state.left =
      leftOf(clock().now() - viewerSince_, viewer_.done - viewerFrom_, viewer_.samples - viewer_.done);
}

// Short work does not flash a bar; text alone may show at once.
void StatusWidget::look() {
  const BusyState state = wanted();
  if (state.source == BusyState::Source::none) {
    busySince_.reset();
    late_.stop();
    return show_(state);
  }
  const Milliseconds now = clock().now();
  if (!busySince_) busySince_ = now;
  if (now - *busySince_ >= delay) return show_(state);
  if (!late_.isActive()) late_.start(static_cast<int>(delay - (now - *busySince_)));
}

void StatusWidget::show_(const BusyState& state) {
  shown_ = state;
  const bool works = state.source != BusyState::Source::none &&
                     (state.progress >= 0 || state.canStop || state.source != BusyState::Source::plugin);
  text_->setText(state.source == BusyState::Source::none ? said_ : state.text);
  bar_->setVisible(works);
  stop_->setVisible(works);
  stop_->setEnabled(state.canStop);
  if (state.progress < 0)
    bar_->setRange(0, 0);
  else
    bar_->setRange(0, 1000),
        bar_->setValue(static_cast<int>(std::lround(std::min(1.0, state.progress) * 1000)));
  detail_->setVisible(works && !state.detail.isEmpty());
  detail_->setText(state.detail);
  left_->setVisible(works && state.left >= 0);
  left_->setText(state.left >= 0 ? durationText(state.left) : QString());
}

void StatusWidget::pluginStatus(const StatusState& state) {
  const double before = plugin_.percent / 100.0;
  const double now = state.percent / 100.0;
  if (state.percent >= 0 && (plugin_.percent < 0 || now < before)) {
    pluginSince_ = clock().now();
    pluginFrom_ = now;
  }
  plugin_ = state;
  look();
}

// The plug-in's status says nothing between its changes.
void StatusWidget::watchViewer(const FilmNews& news) {
  if (!news.byPlugin) return;
  if (news.stage == FilmNews::Stage::ended) {
    poll_.stop();
    viewer_ = {};
  } else if (!poll_.isActive()) {
    poll_.start();
  }
  look();
}

void StatusWidget::lookAtViewer() {
  const ViewerProgress now = session_.viewerFilm().progress();
  if (now == viewer_) return;
  if (now.render != viewer_.render || viewer_.samples == 0) {
    viewerSince_ = clock().now();
    viewerFrom_ = now.done;
  }
  viewer_ = now;
  look();
}

void StatusWidget::showScene() {
  file_->setText(QString::fromStdString(session_.files().windowTitle().GetUTF8()));
  file_->setToolTip(QString::fromStdString(session_.files().file().GetString().GetUTF8()));
  const std::size_t count = trianglesOf(session_.document());
  count_->setText(count == 1 ? tr("1 triangle") : tr("%1 triangles").arg(countText(count)));
}

} // namespace host
