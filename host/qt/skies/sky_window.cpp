#include "sky_window.h"

#include <algorithm>

#include "background_job.h"
#include "display_transform.h"
#include "made_sky.h"
#include "message_box.h"
#include "mnemonic_tips.h"
#include "number_field.h"
#include "qt_text.h"
#include "theme.h"

namespace host {

namespace {

constexpr int thumbnailHeight = 64; // of the whole sky; its lower part is cut off

QString compassPoint(double azimuth) {
  const char* const names[]{"north", "north-east", "east", "south-east",
                            "south", "south-west", "west", "north-west"};
  const auto at = static_cast<std::size_t>(std::lround(azimuth / 45)) % 8;
  return QCoreApplication::translate("host::SkyWindow", names[at]);
}

QImage thumbnailOf(const SkyRecipe& recipe) {
  const MadeSky sky = makeSky(recipe, thumbnailHeight);
  const int rows = thumbnailHeight * 5 / 8;
  QImage image(sky.width, rows, QImage::Format_RGB32);
  for (int y = 0; y < rows; ++y)
    for (int x = 0; x < sky.width; ++x) {
      const float* c = &sky.rgb[static_cast<std::size_t>(y * sky.width + x) * 3];
      image.setPixel(x, y, qRgb(toDisplay(c[0]), toDisplay(c[1]), toDisplay(c[2])));
    }
  return image;
}

} // namespace

struct SkyWindow::Thumbnails {
  std::vector<QImage> images;
};

SkyWindow::SkyWindow(Session& session, QWidget* parent)
    : QDialog(parent), session_(session), list_(new QListWidget), sun_(new QLabel), state_(new QLabel),
      apply_(new QPushButton(tr("&Apply"))) {
  setObjectName(QStringLiteral("skies"));
  setWindowTitle(tr("Skies"));
  resize(620, 620);
  build();
  for (const SkyPreset& preset : skyPresets()) {
    auto* item = new QListWidgetItem(QString::fromStdString(preset.name), list_);
    item->setSizeHint(list_->gridSize() - QSize(metrics::grid, metrics::grid));
    item->setTextAlignment(Qt::AlignHCenter | Qt::AlignBottom);
    item->setToolTip(QString::fromStdString(preset.group + ": " + preset.name));
  }
  list_->setCurrentRow(0);
}

SkyWindow::~SkyWindow() {
  lifetime_.end();
}

NumberField* SkyWindow::addField(QFormLayout& form, const QString& label, const char* name, double least,
                                 double most, int decimals, const QString& unit, const QString& tip) {
  auto* field = new NumberField;
  field->setObjectName(QLatin1String(name));
  field->setRange(least, most);
  field->setDecimals(decimals);
  field->setStep(decimals ? 0.5 : 1);
  field->setSuffix(unit);
  field->setToolTip(tip);
  field->setAccessibleName(label);
  form.addRow(label, field);
  connect(field, &NumberField::valueChanged, this, &SkyWindow::showSun);
  return field;
}

QWidget* SkyWindow::buildDaylight() {
  auto* panel = new QWidget;
  auto *left = new QFormLayout, *right = new QFormLayout;
  for (QFormLayout* form : {left, right})
    form->setContentsMargins(0, 0, 0, 0), form->setSpacing(metrics::grid);
  const QString degree = QString(QChar(0xb0));
  latitude_ = addField(*left, tr("Latitude"), "skyLatitude", -90, 90, 3, degree,
                       tr("Degrees, north of the equator positive"));
  longitude_ = addField(*left, tr("Longitude"), "skyLongitude", -180, 180, 3, degree,
                        tr("Degrees, east of Greenwich positive"));
  zone_ = addField(*left, tr("Clock ahead of UTC"), "skyZone", -12, 14, 2, tr(" h"),
                   tr("Hours that the clock at the place is ahead of UTC"));
  turbidity_ = addField(*left, tr("Turbidity"), "skyTurbidity", 1.7, 10, 1, {},
                        tr("2 is a very clear sky, 10 a hazy one"));
  year_ = addField(*right, tr("Year"), "skyYear", 1901, 2099, 0, {}, tr("The year, which counts little"));
  month_ = addField(*right, tr("Month"), "skyMonth", 1, 12, 0, {}, tr("The month, 1 to 12"));
  day_ = addField(*right, tr("Day"), "skyDay", 1, 31, 0, {}, tr("The day of the month"));
  hour_ = addField(*right, tr("Hour"), "skyHour", 0, 24, 2, {},
                   tr("The hour by the clock: 13.5 is half past one"));
  auto* row = new QHBoxLayout(panel);
  row->setContentsMargins(0, 0, 0, 0);
  row->setSpacing(24);
  row->addLayout(left, 1);
  row->addLayout(right, 1);
  return panel;
}

void SkyWindow::build() {
  list_->setObjectName(QStringLiteral("skyList"));
  list_->setAccessibleName(tr("Skies"));
  list_->setToolTip(tr("Double-click a sky to make it that of the scene"));
  list_->setViewMode(QListView::IconMode);
  list_->setMovement(QListView::Static);
  list_->setResizeMode(QListView::Adjust);
  list_->setIconSize(QSize(2 * thumbnailHeight, thumbnailHeight * 5 / 8));
  list_->setGridSize(QSize(2 * thumbnailHeight + 16, thumbnailHeight * 5 / 8 + 32));
  connect(list_, &QListWidget::currentRowChanged, this, &SkyWindow::choose);
  connect(list_, &QListWidget::itemActivated, this, &SkyWindow::apply);
  daylight_ = buildDaylight();
  sun_->setObjectName(QStringLiteral("skySun"));
  state_->setObjectName(QStringLiteral("skyState"));
  state_->setWordWrap(true);
  setRole(state_, "dim");
  apply_->setObjectName(QStringLiteral("skyApply"));
  apply_->setToolTip(tr("Makes this the scene's sky, with the sun as a light (Enter)"));
  apply_->setDefault(true);
  auto* close = new QPushButton(tr("&Close"));
  close->setAutoDefault(false);
  close->setToolTip(tr("Closes the window (Esc)"));
  connect(apply_, &QPushButton::clicked, this, &SkyWindow::apply);
  connect(close, &QPushButton::clicked, this, &QDialog::reject);
  auto* below = new QHBoxLayout;
  below->addWidget(state_, 1);
  below->addWidget(close);
  below->addWidget(apply_);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(12, 12, 12, 12);
  layout->setSpacing(metrics::groupSpace);
  layout->addWidget(list_, 1);
  layout->addWidget(daylight_);
  layout->addWidget(sun_);
  layout->addLayout(below);
  tellMnemonics(*this);
}

// Shows the sky that the scene has, where it is a made one.
void SkyWindow::showEvent(QShowEvent* event) {
  QDialog::showEvent(event);
  if (!event->spontaneous()) showDocument();
  startThumbnails();
}

void SkyWindow::showDocument() {
  const auto recipe = session_.document() ? skyRecipeOf(*session_.document()) : std::nullopt;
  if (!recipe) return;
  const auto& presets = skyPresets();
  const auto same = std::find_if(presets.begin(), presets.end(), [&recipe](const SkyPreset& preset) {
    return preset.recipe.model == recipe->model && preset.recipe.studio == recipe->studio;
  });
  if (same != presets.end()) list_->setCurrentRow(static_cast<int>(same - presets.begin()));
  base_ = *recipe;
  showRecipe(*recipe);
}

void SkyWindow::startThumbnails() {
  if (thumbnails_) return;
  thumbnails_ = std::make_shared<Thumbnails>();
  job_ = std::make_unique<BackgroundJob>(
      "sky thumbnails",
      [made = thumbnails_](BaseThread& thread) {
        for (const SkyPreset& preset : skyPresets()) {
          if (thread.TestBreak()) return;
          made->images.push_back(thumbnailOf(preset.recipe));
        }
      },
      [self = lifetime_.ref()] {
        if (self) self->takeThumbnails();
      });
  if (!job_->Start(THREADMODE_ASYNC, THREADPRIORITY_LOWEST)) job_.reset();
}

void SkyWindow::takeThumbnails() {
  if (!job_) return;
  job_->Wait(TRUE);
  job_.reset();
  for (std::size_t i = 0; i < thumbnails_->images.size(); ++i)
    list_->item(static_cast<int>(i))->setIcon(QIcon(QPixmap::fromImage(thumbnails_->images[i])));
}

void SkyWindow::finishThumbnails() {
  takeThumbnails();
}

void SkyWindow::choose() {
  const int row = list_->currentRow();
  if (row < 0) return;
  base_ = skyPresets()[static_cast<std::size_t>(row)].recipe;
  showRecipe(base_);
}

void SkyWindow::showRecipe(const SkyRecipe& recipe) {
  latitude_->setValue(recipe.time.latitude);
  longitude_->setValue(recipe.time.longitude);
  zone_->setValue(recipe.time.zone);
  year_->setValue(recipe.time.year);
  month_->setValue(recipe.time.month);
  day_->setValue(recipe.time.day);
  hour_->setValue(recipe.time.hour);
  turbidity_->setValue(recipe.turbidity);
  daylight_->setEnabled(recipe.model == SkyModel::daylight);
  showSun();
}

SkyRecipe SkyWindow::recipe() const {
  SkyRecipe recipe = base_;
  if (recipe.model != SkyModel::daylight) return recipe;
  recipe.time.latitude = latitude_->value();
  recipe.time.longitude = longitude_->value();
  recipe.time.zone = zone_->value();
  recipe.time.year = static_cast<int>(year_->value());
  recipe.time.month = static_cast<int>(month_->value());
  recipe.time.day = static_cast<int>(day_->value());
  recipe.time.hour = hour_->value();
  recipe.turbidity = turbidity_->value();
  return recipe;
}

void SkyWindow::showSun() {
  if (base_.model != SkyModel::daylight)
    return sun_->setText(base_.model == SkyModel::overcast ? tr("The sun is behind the clouds.")
                                                           : tr("No sun: a studio."));
  const SunPlace place = sunPlaceAt(recipe().time);
  sun_->setText(
      place.elevation > 0
          ? tr("The sun stands %1\u00b0 high in the %2. North is the scene's -Z, east +X.")
                .arg(QLocale().toString(place.elevation, 'f', 1), compassPoint(place.azimuth))
          : tr("The sun is %1\u00b0 below the horizon: the sky is that of a setting sun, without a light.")
                .arg(QLocale().toString(-place.elevation, 'f', 1)));
}

void SkyWindow::apply() {
  const int row = list_->currentRow();
  if (row < 0 || !session_.document()) return;
  state_->setText(tr("Making the sky..."));
  session_.skyMaker().apply(recipe(), skyPresets()[static_cast<std::size_t>(row)].name,
                            [self = QPointer(this)](const std::string& error) {
                              if (!self) return;
                              self->state_->clear();
                              if (!error.empty())
                                showError(self, {tr("The sky was not made."), toQt(String(error)), {}, {}});
                            });
}

} // namespace host
