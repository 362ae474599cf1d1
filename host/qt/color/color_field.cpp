#include "color_field.h"

#include "color_picker.h"
#include "number_field.h"
#include "screen_color.h"
#include "theme.h"

namespace host {

namespace {

class Swatch : public QAbstractButton {
 public:
  explicit Swatch(ColorField* field) : QAbstractButton(field), field_(*field) {
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setCursor(Qt::PointingHandCursor);
  }
  QSize sizeHint() const override { return {48, metrics::control}; }
  QSize minimumSizeHint() const override { return {32, metrics::control}; }

 protected:
  void paintEvent(QPaintEvent*) override {
    const Tokens& t = tokens();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(hasFocus() ? t.accent : underMouse() && isEnabled() ? t.dim : t.line);
    QColor fill = field_.isMixed() ? t.field : field_.color();
    if (!isEnabled()) fill.setAlphaF(0.4f);
    painter.setBrush(fill);
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), metrics::radius, metrics::radius);
    if (!field_.isMixed()) return;
    painter.setPen(t.dim);
    painter.drawText(rect(), Qt::AlignCenter, QString::fromUtf8("\xe2\x80\x94"));
  }
  void enterEvent(QEnterEvent*) override { update(); }
  void leaveEvent(QEvent*) override { update(); }

 private:
  const ColorField& field_;
};

} // namespace

ColorField::ColorField(QWidget* parent)
    : QWidget(parent), swatch_(new Swatch(this)), brightness_(new NumberField(this)) {
  auto* layout = new QHBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(metrics::grid);
  layout->addWidget(swatch_, 1);
  layout->addWidget(brightness_);
  brightness_->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
  brightness_->setSuffix(QStringLiteral(" %"));
  brightness_->setDecimals(1);
  brightness_->setRange(0, 100);
  brightness_->setValue(100);
  brightness_->setToolTip(tr("Brightness"));
  brightness_->hide();
  setFocusProxy(swatch_);
  swatch_->setAccessibleName(tr("Colour"));
  connect(swatch_, &QAbstractButton::clicked, this, &ColorField::choose);
  connect(brightness_, &NumberField::valueChanged, this, &ColorField::chosen);
}

double ColorField::brightness() const {
  return brightness_->value() / 100;
}

void ColorField::setValue(const QColor& color, double brightness) {
  color_ = color;
  mixed_ = false;
  if (picker_ && screenColor(picker_->color()) != color) picker_->setColor(linearColor(color));
  brightness_->setValue(brightness * 100);
  swatch_->update();
}

void ColorField::setName(const QString& name) {
  swatch_->setAccessibleName(name);
  brightness_->setAccessibleName(tr("%1, brightness").arg(name));
}

void ColorField::setMaxBrightness(double most) {
  brightness_->setRange(0, most * 100);
  brightness_->setVisible(most > 1);
}

void ColorField::setMixed() {
  mixed_ = true;
  swatch_->update();
}

void ColorField::choose() {
  ColorPicker* picker = ColorPicker::open(*this, swatch_->accessibleName(), linearColor(color_), 1);
  picker_ = picker;
  picker->disconnect(this);
  connect(picker, &ColorPicker::dragStarted, this, [this] { dragging_ = true; });
  connect(picker, &ColorPicker::changed, this, [this](const Vector& linear) {
    color_ = screenColor(linear);
    mixed_ = false;
    swatch_->update();
    if (!dragging_) emit chosen();
  });
  connect(picker, &ColorPicker::dragFinished, this, [this] {
    dragging_ = false;
    emit chosen();
  });
}

} // namespace host
