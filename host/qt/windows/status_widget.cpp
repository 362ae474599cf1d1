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
      text_(new QLabel), left_(dimLabel("status-left")), bar_(new QProgressBar), stop_(new QToolButton) {
  setObjectName(QStringLiteral("status"));
  file_->setObjectName(QStringLiteral("status-file"));
  text_->setObjectName(QStringLiteral("status-text"));
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
  if (plugin_.percent < 0) return state;
  state.progress = plugin_.percent / 100.0;
  const double done = state.progress - pluginFrom_;
  const Milliseconds since = clock().now() - pluginSince_;
  if (done > 0.02 && since > 500)
    state.left = static_cast<Milliseconds>(static_cast<double>(since) * (1 - state.progress) / done);
  return state;
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

void StatusWidget::showScene() {
  file_->setText(QString::fromStdString(session_.files().windowTitle().GetUTF8()));
  file_->setToolTip(QString::fromStdString(session_.files().file().GetString().GetUTF8()));
  const std::size_t count = trianglesOf(session_.document());
  count_->setText(count == 1 ? tr("1 triangle") : tr("%1 triangles").arg(countText(count)));
}

} // namespace host
