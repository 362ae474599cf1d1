#include "view_bar.h"

#include <QAction>
#include <QHBoxLayout>
#include <QLabel>
#include <QToolBar>
#include <QToolButton>

#include "icons.h"
#include "key_table.h"
#include "number_field.h"
#include "qt_text.h"
#include "quiet_combo.h"
#include "theme.h"

namespace host {

namespace {

constexpr double keyStep = 0.5; // stops

// The label goes with its field where the bar is too narrow for both.
void addLabelled(QToolBar& bar, const QString& text, QWidget& field) {
  auto* both = new QWidget(&bar);
  auto* layout = new QHBoxLayout(both);
  layout->setContentsMargins(metrics::groupSpace, 0, 0, 0);
  layout->setSpacing(metrics::grid);
  layout->addWidget(new QLabel(text));
  layout->addWidget(&field);
  both->setSizePolicy(QSizePolicy::Fixed,
                      QSizePolicy::Preferred); // a wide bar must not draw label and field apart
  bar.addWidget(both);
}

NumberField* addNumber(QToolBar& bar, const QString& name, const QString& tip, double least, double most,
                       int decimals, double step, const QString& suffix) {
  auto* field = new NumberField(&bar);
  field->setRange(least, most);
  field->setDecimals(decimals);
  field->setStep(step);
  field->setSuffix(suffix);
  field->setToolTip(tip);
  field->setAccessibleName(name);
  field->setFixedWidth(72);
  addLabelled(bar, name, *field);
  return field;
}

} // namespace

ViewBar::ViewBar(QWidget* parent) : QWidget(parent) {
  setObjectName(QStringLiteral("viewBar"));
  auto* bar = new QToolBar(this);
  bar->setIconSize({metrics::icon, metrics::icon});
  if (auto* more = bar->findChild<QToolButton*>(QStringLiteral("qt_toolbar_ext_button"))) {
    more->setIcon(icon(QStringLiteral("chevron-right"))); // the style's own is black
    more->setToolTip(tr("More of this bar"));
  }
  addFields(*bar);
  bar->addSeparator();
  addChannels(*bar);
  bar->addSeparator();
  addButtons(*bar);
  auto* layout = new QHBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(bar);
  bar_ = bar;
  show(look_.view);
}

void ViewBar::insertFront(QWidget& widget) {
  bar_->insertWidget(bar_->actions().value(0), &widget);
}

void ViewBar::addFields(QToolBar& bar) {
  views_ = new QuietCombo(&bar);
  views_->setObjectName(QStringLiteral("viewChoice"));
  views_->setAccessibleName(tr("View"));
  views_->setToolTip(tr("How light becomes colours. The picture's light does not change."));
  listViews();
  bar.addWidget(views_);
  exposure_ = new SliderField(&bar);
  exposure_->setObjectName(QStringLiteral("viewExposure"));
  exposure_->setRange(-ViewSettings::mostStops, ViewSettings::mostStops);
  exposure_->setSliderRange(-6, 6);
  exposure_->setStep(0.1);
  exposure_->setName(tr("Exposure"));
  exposure_->setDecimals(2);
  exposure_->setFixedWidth(190);
  addLabelled(bar, tr("Exposure"), *exposure_);
  gamma_ = addNumber(bar, tr("Gamma"), tr("Above 1 brightens the middle tones of the display."),
                     ViewSettings::leastGamma, ViewSettings::mostGamma, 2, 0.05, {});
  gamma_->setObjectName(QStringLiteral("viewGamma"));
  kelvin_ = addNumber(bar, tr("White"), tr("Light of this temperature looks white."),
                      ViewSettings::leastKelvin, ViewSettings::mostKelvin, 0, 50, tr(" K"));
  kelvin_->setObjectName(QStringLiteral("viewWhite"));
  const auto edit = [this](auto member) {
    return [this, member](auto value) {
      CanvasLook look = look_;
      look.view.*member = value;
      change(look);
    };
  };
  connect(views_, &QComboBox::activated, this, [this] {
    CanvasLook look = look_;
    look.view.view = views_->currentText().toStdString();
    change(look);
  });
  connect(exposure_, &SliderField::valueChanged, this, edit(&ViewSettings::exposure));
  connect(gamma_, &NumberField::valueChanged, this, edit(&ViewSettings::gamma));
  connect(kelvin_, &NumberField::valueChanged, this, edit(&ViewSettings::kelvin));
}

QAction* ViewBar::addKey(QToolBar& bar, const QString& text, const QString& tip, const char* key) {
  QAction* action = bar.addAction(tip);
  action->setObjectName(QStringLiteral("view-key-") + QLatin1String(key));
  action->setIconText(text);
  action->setShortcut(QKeySequence(QLatin1String(key)));
  action->setShortcutContext(Qt::WindowShortcut);
  addAction(action); // the key works while the bar is too narrow for the button
  return action;
}

void ViewBar::addChannels(QToolBar& bar) {
  const struct {
    const char* key;
    QString tip;
  } channels[] = {{"R", tr("Red alone")},
                  {"G", tr("Green alone")},
                  {"B", tr("Blue alone")},
                  {"A", tr("Alpha alone")},
                  {"L", tr("Luminance alone")}};
  for (std::size_t i = 0; i < channels_.size(); ++i) {
    channels_[i] = addKey(bar, QLatin1String(channels[i].key), channels[i].tip, channels[i].key);
    channels_[i]->setCheckable(true);
    const auto channel = static_cast<CanvasChannel>(i + 1);
    connect(channels_[i], &QAction::triggered, this, [this, channel] { toggleChannel(channel); });
  }
  clipping_ =
      addKey(bar, tr("Clip"), tr("Marks pixels with a channel at 255 in red, black ones in blue"), "C");
  clipping_->setCheckable(true);
  connect(clipping_, &QAction::triggered, this, [this](bool on) {
    CanvasLook look = look_;
    look.clipping = on;
    change(look);
  });
}

void ViewBar::addButtons(QToolBar& bar) {
  reset_ = bar.addAction(tr("Reset"), this, [this] { setView({.config = config_}); });
  reset_->setToolTip(tr("Back to sRGB without a change of exposure, gamma and white"));
  keep_ = bar.addAction(tr("Keep in Scene"), this, &ViewBar::keepWanted);
  keep_->setToolTip(tr("Stores the view in the scene's render settings"));
  QList<QAction*> steps;
  for (const double step : {keyStep, -keyStep}) {
    auto* key = new QAction(step > 0 ? tr("Half a stop brighter") : tr("Half a stop darker"), this);
    key->setObjectName(step > 0 ? QStringLiteral("view-brighter") : QStringLiteral("view-darker"));
    key->setShortcut(QKeySequence(QLatin1String(step > 0 ? "E" : "Shift+E")));
    key->setShortcutContext(Qt::WindowShortcut);
    connect(key, &QAction::triggered, this, [this, step] {
      ViewSettings view = look_.view;
      view.exposure += step;
      if (exposure_->isEnabled()) setView(view);
    });
    addAction(key);
    steps.push_back(key);
  }
  setTipWithKeys(*exposure_, tr("Exposure in stops: one more is twice the light"), steps);
}

void ViewBar::setView(const ViewSettings& view) {
  CanvasLook look = look_;
  look.view = withinRange(view);
  show(look.view);
  change(look);
}

void ViewBar::listViews() {
  views_->clear();
  for (const std::string& name : viewNames(config_))
    views_->addItem(QString::fromStdString(name));
}

// A view that is not in the list, of a configuration that is missing here, stays chosen.
void ViewBar::show(const ViewSettings& view) {
  if (std::exchange(config_, view.config) != view.config) listViews();
  const QString name = QString::fromStdString(view.view);
  if (views_->findText(name) < 0) views_->addItem(name);
  views_->setCurrentIndex(views_->findText(name));
  exposure_->setValue(view.exposure);
  gamma_->setValue(view.gamma);
  kelvin_->setValue(view.kelvin);
}

void ViewBar::setHasLight(bool has) {
  for (QWidget* field : {static_cast<QWidget*>(views_), static_cast<QWidget*>(exposure_),
                         static_cast<QWidget*>(gamma_), static_cast<QWidget*>(kelvin_)})
    field->setEnabled(has);
  reset_->setEnabled(has);
}

void ViewBar::toggleChannel(CanvasChannel channel) {
  CanvasLook look = look_;
  look.channel = look.channel == channel ? CanvasChannel::all : channel;
  for (std::size_t i = 0; i < channels_.size(); ++i)
    channels_[i]->setChecked(static_cast<CanvasChannel>(i + 1) == look.channel);
  change(look);
}

void ViewBar::change(const CanvasLook& look) {
  if (look == look_) return;
  look_ = look;
  emit lookChanged();
}

} // namespace host
