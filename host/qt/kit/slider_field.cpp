#include <cmath>

#include "number_field.h"
#include "theme.h"
#include "wheel_rule.h"

namespace host {

namespace {

constexpr int mostPositions = 20000;

// A press anywhere moves the handle there.
class JumpSlider : public QSlider {
 public:
  using QSlider::QSlider;

 protected:
  void mousePressEvent(QMouseEvent* event) override {
    if (event->button() == Qt::LeftButton) {
      QStyleOptionSlider option;
      initStyleOption(&option);
      const QRect handle = style()->subControlRect(QStyle::CC_Slider, &option, QStyle::SC_SliderHandle, this);
      const int x = event->position().toPoint().x();
      if (!handle.contains(event->position().toPoint())) {
        setSliderDown(true);
        setSliderPosition(QStyle::sliderValueFromPosition(minimum(), maximum(), x - handle.width() / 2,
                                                          width() - handle.width()));
      }
    }
    QSlider::mousePressEvent(event);
  }
  void wheelEvent(QWheelEvent* event) override {
    if (wheelBelongsToScrollArea(*this))
      event->ignore();
    else
      QSlider::wheelEvent(event);
  }
};

} // namespace

SliderField::SliderField(QWidget* parent)
    : QWidget(parent), field_(new NumberField(this)), slider_(new JumpSlider(Qt::Horizontal, this)) {
  auto* layout = new QHBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(6);
  layout->addWidget(field_);
  layout->addWidget(slider_, 1);
  field_->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
  field_->setMinimumWidth(86); // "25.031 cd"
  setFocusProxy(field_);
  slider_->setMinimumWidth(48);
  connect(field_, &NumberField::valueChanged, this, [this](double value) {
    showOnSlider();
    emit valueChanged(value);
  });
  connect(field_, &NumberField::dragStarted, this, &SliderField::dragStarted);
  connect(field_, &NumberField::dragFinished, this, &SliderField::dragFinished);
  connect(slider_, &QSlider::sliderPressed, this, &SliderField::dragStarted);
  connect(slider_, &QSlider::sliderReleased, this, [this] { emit dragFinished(false); });
  connect(slider_, &QSlider::valueChanged, this, [this](int position) {
    if (!settling_) takeFromSlider(position);
  });
  updateSteps();
}

void SliderField::setValue(double value) {
  field_->setValue(value);
  showOnSlider();
}

void SliderField::setRange(double min, double max) {
  field_->setRange(min, max);
  if (!ownSliderRange_ && max - min < 1e9) {
    sliderMin_ = min;
    sliderMax_ = max;
  }
  updateSteps();
}

void SliderField::setSliderRange(double min, double max) {
  ownSliderRange_ = true;
  sliderMin_ = min;
  sliderMax_ = std::max(min, max);
  updateSteps();
}

void SliderField::setStep(double step) {
  field_->setStep(step);
  updateSteps();
}

void SliderField::setName(const QString& name) {
  field_->setAccessibleName(name);
  slider_->setAccessibleName(tr("%1, slider").arg(name));
}

void SliderField::setFieldShown(bool shown) {
  field_->setVisible(shown);
  setFocusProxy(shown ? static_cast<QWidget*>(field_) : slider_);
}

// One position a step, unless that makes too many.
void SliderField::updateSteps() {
  const double count = std::round((sliderMax_ - sliderMin_) / field_->step());
  const int positions = static_cast<int>(std::clamp(count, 1.0, static_cast<double>(mostPositions)));
  settling_ = true;
  slider_->setRange(0, positions);
  slider_->setSingleStep(
      std::max(1, qRound(positions * field_->step() / (sliderMax_ - sliderMin_ + 1e-300))));
  slider_->setPageStep(std::max(1, positions / 10));
  settling_ = false;
  showOnSlider();
}

void SliderField::showOnSlider() {
  const double range = sliderMax_ - sliderMin_;
  const double share = range > 0 ? std::clamp((field_->value() - sliderMin_) / range, 0.0, 1.0) : 0;
  settling_ = true;
  slider_->setValue(qRound(share * slider_->maximum()));
  settling_ = false;
}

void SliderField::takeFromSlider(int position) {
  const double share = static_cast<double>(position) / slider_->maximum();
  const double before = field_->value();
  const bool mixed = field_->isMixed();
  // Rounded to a step, so that positions read well.
  const double raw = sliderMin_ + share * (sliderMax_ - sliderMin_);
  const double stepped = sliderMin_ + std::round((raw - sliderMin_) / field_->step()) * field_->step();
  field_->setValue(std::min(stepped, sliderMax_));
  if (mixed || field_->value() != before) emit valueChanged(field_->value());
}

} // namespace host
