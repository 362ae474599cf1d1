#include "light_strip.h"

#include "color_field.h"
#include "number_field.h"
#include "screen_color.h"
#include "theme.h"

namespace host {

QToolButton* LightStrip::addSwitch(const QString& text, const QString& tip, bool LightFader::*value) {
  auto* button = new QToolButton(this);
  button->setText(text);
  button->setCheckable(true);
  button->setToolTip(tip);
  button->setAccessibleName(tip);
  button->setFixedSize(metrics::control, metrics::control);
  connect(button, &QToolButton::toggled, this, [this, value](bool on) {
    if (fader_.*value == on) return;
    fader_.*value = on;
    emit changed();
  });
  return button;
}

LightStrip::LightStrip(const std::string& group, QWidget* parent) : QWidget(parent) {
  fader_.group = group;
  const QString name = QString::fromStdString(group);
  setObjectName(QStringLiteral("strip-") + name);
  auto* label = new QLabel(name, this);
  label->setTextFormat(Qt::PlainText);
  label->setToolTip(name);
  label->setMinimumWidth(24);
  label->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
  mute_ = addSwitch(tr("M"), tr("Mute this group"), &LightFader::mute);
  solo_ = addSwitch(tr("S"), tr("Only this group, and others that are solo"), &LightFader::solo);
  color_ = new ColorField(this);
  color_->setFixedWidth(48);
  color_->setToolTip(tr("Colour that the group's light is multiplied by"));
  color_->setName(tr("%1, colour").arg(name));
  connect(color_, &ColorField::chosen, this, [this] {
    const Vector linear = linearColor(color_->color());
    fader_.color = {static_cast<float>(linear.x), static_cast<float>(linear.y), static_cast<float>(linear.z)};
    emit changed();
  });
  stops_ = new SliderField(this);
  stops_->setRange(-LightFader::mostStops, LightFader::mostStops);
  stops_->setSliderRange(-6, 6);
  stops_->setStep(0.1);
  stops_->setDecimals(2);
  stops_->setToolTip(tr("Stops: one more is twice the light"));
  stops_->setName(tr("%1, stops").arg(name));
  connect(stops_, &SliderField::valueChanged, this, [this](double stops) {
    fader_.stops = stops;
    emit changed();
  });
  auto* head = new QHBoxLayout;
  head->setSpacing(metrics::grid);
  head->addWidget(label, 1);
  for (QWidget* part :
       {static_cast<QWidget*>(mute_), static_cast<QWidget*>(solo_), static_cast<QWidget*>(color_)})
    head->addWidget(part);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, metrics::groupSpace);
  layout->setSpacing(metrics::grid);
  layout->addLayout(head);
  layout->addWidget(stops_);
}

void LightStrip::setFader(const LightFader& fader) {
  fader_ = fader;
  mute_->setChecked(fader.mute);
  solo_->setChecked(fader.solo);
  color_->setValue(screenColor({fader.color[0], fader.color[1], fader.color[2]}));
  stops_->setValue(fader.stops);
}

} // namespace host
