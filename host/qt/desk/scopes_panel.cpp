#include "scopes_panel.h"

#include <utility>

#include "film.h"
#include "quiet_combo.h"
#include "scope_drawing.h"
#include "theme.h"

namespace host {

struct ScopesPanel::Wish {
  ScopeSource source;
  ScopeKind kind;
  bool film, logarithmic, parade;
};

struct ScopesPanel::Outcome {
  ScopeKind kind = ScopeKind::histogram;
  QImage image;
  ScopeFaults faults;
  bool light = false;
};

namespace {

constexpr int columns = 320; // of a waveform

ScopePixels pixelsOf(const QImage& shown) {
  ScopePixels pixels{shown.width(), shown.height(), {}, {}};
  pixels.codes.resize(3 * pixels.count());
  unsigned char* to = pixels.codes.data();
  for (int y = 0; y < shown.height(); ++y) {
    const auto* line = reinterpret_cast<const QRgb*>(shown.constScanLine(y));
    for (int x = 0; x < shown.width(); ++x) {
      *to++ = static_cast<unsigned char>(qRed(line[x]));
      *to++ = static_cast<unsigned char>(qGreen(line[x]));
      *to++ = static_cast<unsigned char>(qBlue(line[x]));
    }
  }
  return pixels;
}

} // namespace

ScopesPanel::ScopesPanel(std::function<ScopeSource()> source, QWidget* parent)
    : QWidget(parent), source_(std::move(source)), kind_(new QuietCombo(this)), of_(new QuietCombo(this)),
      logarithmic_(new QCheckBox(tr("Logarithmic"), this)), parade_(new QCheckBox(tr("RGB parade"), this)),
      plot_(new ScopePlot(this)), faults_(new QLabel(this)) {
  setObjectName(QStringLiteral("scopesPanel"));
  kind_->setObjectName(QStringLiteral("scopeKind"));
  kind_->addItems({tr("Histogram"), tr("Waveform"), tr("Vectorscope")});
  kind_->setToolTip(tr("What is measured"));
  of_->setObjectName(QStringLiteral("scopeOf"));
  of_->addItems({tr("View"), tr("Film")});
  of_->setToolTip(tr("View: the colours on screen, in percent. Film: light, in stops from middle grey."));
  logarithmic_->setObjectName(QStringLiteral("scopeLogarithmic"));
  logarithmic_->setToolTip(tr("Bars by the logarithm of the count: rare levels are seen."));
  parade_->setObjectName(QStringLiteral("scopeParade"));
  parade_->setToolTip(tr("Red, green and blue beside each other instead of luma."));
  faults_->setObjectName(QStringLiteral("scopeFaults"));
  setRole(faults_, "warning");
  auto* row = new QHBoxLayout;
  row->setSpacing(metrics::groupSpace);
  for (QWidget* part : {static_cast<QWidget*>(kind_), static_cast<QWidget*>(of_),
                        static_cast<QWidget*>(logarithmic_), static_cast<QWidget*>(parade_)})
    row->addWidget(part);
  row->addStretch(1);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(metrics::groupSpace, metrics::groupSpace, metrics::groupSpace,
                             metrics::groupSpace);
  layout->setSpacing(metrics::groupSpace);
  layout->addLayout(row);
  layout->addWidget(plot_, 1);
  layout->addWidget(faults_);
  const auto change = [this] { updateFields(), refresh(); };
  for (QComboBox* combo : {kind_, of_})
    connect(combo, &QComboBox::currentIndexChanged, this, change);
  for (QCheckBox* box : {logarithmic_, parade_})
    connect(box, &QCheckBox::toggled, this, change);
  pause_.setSingleShot(true);
  connect(&pause_, &QTimer::timeout, this, [this] {
    if (std::exchange(wanted_, false)) refresh();
  });
  updateFields();
}

void ScopesPanel::updateFields() {
  const auto kind = static_cast<ScopeKind>(kind_->currentIndex());
  logarithmic_->setVisible(kind == ScopeKind::histogram);
  parade_->setVisible(kind == ScopeKind::waveform);
}

void ScopesPanel::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  refresh();
}

// Wishes that come too early are met when the pause ends.
void ScopesPanel::refresh() {
  if (!isVisible()) return;
  if (job_.isBusy() || pause_.isActive()) {
    wanted_ = true;
    return;
  }
  measure();
}

void ScopesPanel::measure() {
  const auto wish =
      std::make_shared<Wish>(Wish{source_(), static_cast<ScopeKind>(kind_->currentIndex()),
                                  of_->currentIndex() == 1, logarithmic_->isChecked(), parade_->isChecked()});
  const auto outcome = std::make_shared<Outcome>();
  const auto work = [wish, outcome] {
    outcome->kind = wish->kind;
    if (!wish->source.bitmap || wish->source.shown.isNull()) return;
    const std::shared_ptr<Film> film = wish->film ? filmOf(*wish->source.bitmap) : nullptr;
    const ScopePixels pixels =
        film ? scopePixels(*film) : pixelsOf(wish->source.shown.convertToFormat(QImage::Format_RGB32));
    outcome->light = pixels.isLight();
    if (wish->kind == ScopeKind::histogram) {
      const Histogram histogram = histogramOf(pixels);
      outcome->image = histogramImage(histogram, wish->logarithmic);
      outcome->faults = histogram.faults;
    } else if (wish->kind == ScopeKind::waveform) {
      const Waveform waveform = waveformOf(pixels, columns, wish->parade);
      outcome->image = waveformImage(waveform);
      outcome->faults = waveform.faults;
    } else {
      const Vectorscope scope = vectorscopeOf(pixels);
      outcome->image = vectorscopeImage(scope);
      outcome->faults = scope.faults;
    }
  };
  job_.start(work, [this, outcome] {
    showOutcome(*outcome);
    pause_.start(period);
  });
}

void ScopesPanel::showOutcome(const Outcome& outcome) {
  plot_->show(outcome.kind, outcome.image, outcome.light);
  const ScopeFaults& faults = outcome.faults;
  const bool any = faults.nan + faults.infinite > 0;
  faults_->setVisible(any);
  faults_->setText(any ? tr("%1 pixels are not a number, %2 are infinite; they are left out.")
                             .arg(faults.nan)
                             .arg(faults.infinite)
                       : QString());
  faults_->setWordWrap(true);
}

} // namespace host
