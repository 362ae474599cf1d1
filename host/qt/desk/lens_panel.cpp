#include "lens_panel.h"

#include <utility>

#include "c4d_render.h"
#include "lens_setting.h"
#include "number_field.h"
#include "scene_edits.h"
#include "theme.h"

namespace host {

namespace {

using L = LensSettings;

} // namespace

LensPanel::LensPanel(Session& session, QWidget* parent) : QWidget(parent), session_(session) {
  setObjectName(QStringLiteral("lensPanel"));
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(metrics::groupSpace, metrics::groupSpace, metrics::groupSpace,
                             metrics::groupSpace);
  layout->setSpacing(metrics::groupSpace);
  preview_ = new QCheckBox(tr("Preview"), this);
  preview_->setObjectName(QStringLiteral("lensPreview"));
  preview_->setToolTip(
      tr("Shows the effects here. They go with the scene, and pictures are saved with them."));
  preview_->setChecked(true);
  connect(preview_, &QCheckBox::toggled, this, &LensPanel::lensChanged);
  layout->addWidget(preview_);

  QGridLayout* bright = addGroup(tr("Bright Light"));
  addNumber(*bright, "lensThreshold", tr("Threshold"), tr("Light above it is spread by bloom and glare."),
            &L::threshold, 0, L::mostThreshold, 0.05, 1, {});
  addNumber(*bright, "lensStrength", tr("Strength"), tr("The share of that light that is spread."),
            &L::strength, 0, 1, 0.01, 100, tr(" %"));
  QGridLayout* bloom = addGroup({});
  addSwitch(*bloom, "lensBloom", tr("Bloom"), tr("A round halo around bright light"), &L::bloom);
  addNumber(*bloom, "bloomRadius", tr("Radius"), tr("In percent of the longer side."), &L::radius, 0,
            L::mostRadius, 0.005, 100, tr(" %"));
  QGridLayout* glare = addGroup({});
  addSwitch(*glare, "lensGlare", tr("Glare"), tr("Rays from bright light"), &L::glare);
  addNumber(*glare, "glareStreaks", tr("Rays"), tr("The number of rays."), &L::streaks, L::leastStreaks,
            L::mostStreaks, 1, 1, {});
  addNumber(*glare, "glareLength", tr("Length"), tr("In percent of the longer side."), &L::length, 0,
            L::mostRadius, 0.01, 100, tr(" %"));
  addNumber(*glare, "glareAngle", tr("Angle"), tr("Of the first ray."), &L::angle, -180, 180, 1, 1,
            QString::fromUtf8("\xc2\xb0"));
  QGridLayout* vignette = addGroup({});
  addSwitch(*vignette, "lensVignette", tr("Vignette"), tr("Darker corners"), &L::vignette);
  addNumber(*vignette, "vignetteAmount", tr("Amount"), tr("How dark the corners are."), &L::amount, 0, 1,
            0.01, 100, tr(" %"));
  addNumber(*vignette, "vignetteSize", tr("Size"), tr("100 % reaches the corners."), &L::size, L::leastSize,
            L::mostSize, 0.05, 100, tr(" %"));
  addNumber(*vignette, "vignetteRoundness", tr("Roundness"), tr("From the picture's shape to a circle."),
            &L::roundness, 0, 1, 0.01, 100, tr(" %"));
  layout->addStretch(1);
  subscriptions_.push_back(session_.hub().changed.add([this] { takeDocument(); }));
  subscriptions_.push_back(session_.hub().replaced.add([this](Replacement) { takeDocument(); }));
  takeDocument();
  showFields();
}

QGridLayout* LensPanel::addGroup(const QString& title) {
  auto* grid = new QGridLayout;
  grid->setColumnMinimumWidth(0, 76);
  grid->setColumnStretch(1, 1);
  grid->setHorizontalSpacing(metrics::groupSpace);
  grid->setVerticalSpacing(metrics::grid);
  if (!title.isEmpty()) {
    auto* label = new QLabel(title, this);
    setRole(label, "title");
    grid->addWidget(label, 0, 0, 1, 2);
  }
  static_cast<QVBoxLayout*>(layout())->addLayout(grid);
  return grid;
}

void LensPanel::addSwitch(QGridLayout& grid, const char* name, const QString& text, const QString& tip,
                          bool LensSettings::*value) {
  auto* box = new QCheckBox(text, this);
  box->setObjectName(QLatin1String(name));
  box->setToolTip(tip);
  connect(box, &QCheckBox::clicked, this, [this, value](bool on) {
    lens_.*value = on;
    change(false);
  });
  grid.addWidget(box, 0, 0, 1, 2);
  switches_.emplace_back(box, value);
}

template <class Value>
void LensPanel::addNumber(QGridLayout& grid, const char* name, const QString& label, const QString& tip,
                          Value LensSettings::*value, double least, double most, double step, double factor,
                          const QString& suffix) {
  auto* field = new SliderField(this);
  field->setObjectName(QLatin1String(name));
  field->setDecimals(std::is_integral_v<Value> ? 0 : 2);
  field->setRange(least * factor, most * factor);
  if (most > 1000) field->setSliderRange(0, 10);
  field->setStep(step * factor);
  field->setSuffix(suffix);
  field->setToolTip(tip);
  field->setName(label);
  connect(field, &SliderField::valueChanged, this, [this, value, factor](double shown) {
    lens_.*value = static_cast<Value>(shown / factor);
    change(dragging_);
  });
  connect(field, &SliderField::dragStarted, this, [this] { dragging_ = true; });
  connect(field, &SliderField::dragFinished, this, [this] {
    dragging_ = false;
    change(false);
  });
  const int row = grid.rowCount();
  grid.addWidget(new QLabel(label, this), row, 0);
  grid.addWidget(field, row, 1);
  numbers_.push_back({field, [this, value, factor] { return static_cast<double>(lens_.*value) * factor; }});
}

LensSettings LensPanel::shown() const {
  return preview_->isChecked() ? lens_ : LensSettings();
}

// While a field is dragged the picture alone follows; the document changes once.
void LensPanel::change(bool dragging) {
  emit lensChanged();
  if (dragging || !session_.document()) return;
  session_.edits().apply(
      "Lens Effects", [lens = lens_](BaseDocument& document) { setLensEffects(document, lens); }, "lens");
}

void LensPanel::takeDocument() {
  if (dragging_) return;
  const BaseDocument* document = session_.document();
  const RenderData* settings = document ? document->GetActiveRenderData() : nullptr;
  const LensSettings lens = settings ? render::readLens(settings->GetData()) : LensSettings();
  if (lens == std::exchange(lens_, lens)) return;
  showFields();
  emit lensChanged();
}

void LensPanel::showFields() {
  for (const auto& [box, value] : switches_)
    box->setChecked(lens_.*value);
  for (const Number& number : numbers_)
    number.field->setValue(number.read());
}

} // namespace host
