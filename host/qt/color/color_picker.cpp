#include "color_picker.h"

#include <algorithm>
#include <cmath>

#include "color_patch.h"
#include "color_plane.h"
#include "free_place.h"
#include "light_source.h"
#include "number_field.h"
#include "screen_color.h"
#include "theme.h"

namespace host {

namespace {

QPointer<ColorPicker> current;

double most(const Vector& color) {
  return std::max({color.x, color.y, color.z});
}

bool near(const Vector& a, const Vector& b) {
  const double size = std::max({1e-6, std::abs(most(a)), std::abs(most(b))});
  const auto close = [size](double x, double y) { return std::abs(x - y) <= 1e-6 * size; };
  return close(a.x, b.x) && close(a.y, b.y) && close(a.z, b.z);
}

} // namespace

ColorPicker* ColorPicker::open(QWidget& field, const QString& title, const Vector& color, double brightest) {
  if (current && current->field_ == &field && current->windowTitle() == title && current->isVisible()) {
    current->raise();
    return current;
  }
  delete current;
  current = new ColorPicker(field, title, color, brightest);
  current->show();
  return current;
}

ColorPicker::ColorPicker(QWidget& field, const QString& title, const Vector& color, double brightest)
    : QDialog(field.window(), Qt::Tool), field_(&field), first_(color), brightest_(std::max(1.0, brightest)),
      plane_(new SaturationPlane(this)), strip_(new HueStrip(this)) {
  setObjectName(QStringLiteral("colorPicker"));
  setWindowTitle(title);
  setAttribute(Qt::WA_DeleteOnClose);
  plane_->setToolTip(
      tr("Saturation to the right, value up. The arrow keys move it, with Shift in larger steps"));
  plane_->setAccessibleName(tr("Saturation and value"));
  strip_->setToolTip(tr("Hue. The arrow keys move it, with Shift in larger steps"));
  strip_->setAccessibleName(tr("Hue"));
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(12, 12, 12, 12);
  layout->setSpacing(metrics::groupSpace);
  layout->addWidget(plane_, 1);
  layout->addWidget(strip_);
  layout->addLayout(makePatches());
  layout->addLayout(makeNumbers());
  for (DraggedPoint* part : {static_cast<DraggedPoint*>(plane_), static_cast<DraggedPoint*>(strip_)}) {
    connect(part, &DraggedPoint::dragStarted, this, &ColorPicker::dragStarted);
    connect(part, &DraggedPoint::dragFinished, this, &ColorPicker::dragFinished);
  }
  connect(plane_, &DraggedPoint::moved, this, [this](QPointF at) {
    takeHsv({hsv_.hue, at.x(), 1 - at.y()});
  });
  connect(strip_, &DraggedPoint::moved, this, [this](QPointF at) {
    takeHsv({std::min(at.x() * 360, 359.99), hsv_.saturation, hsv_.value});
  });
  field.installEventFilter(this);
  connect(&field, &QObject::destroyed, this, &QWidget::close);
  adopt(color);
}

QLayout* ColorPicker::makePatches() {
  auto* row = new QHBoxLayout;
  row->setSpacing(metrics::grid);
  before_ = new ColorPatch(this), now_ = new ColorPatch(this);
  before_->setToolTip(tr("The colour before")), now_->setToolTip(tr("The colour now"));
  for (ColorPatch* patch : {before_, now_}) {
    patch->setMinimumSize(28, metrics::control);
    row->addWidget(patch, 1);
  }
  code_ = new QLineEdit(this);
  code_->setFixedWidth(78);
  code_->setMaxLength(16);
  code_->setToolTip(tr("The colour of the screen as #rrggbb"));
  code_->setAccessibleName(tr("Colour as #rrggbb"));
  row->addWidget(code_);
  auto* pick = new QPushButton(tr("Pick"), this);
  pick->setToolTip(tr("Take the colour of any place of the screen: click there. Esc: leave it"));
  pick->setAutoDefault(false);
  auto* back = new QPushButton(tr("Take Back"), this);
  back->setToolTip(tr("The colour from when this window was opened"));
  back->setAutoDefault(false);
  row->addWidget(pick);
  row->addWidget(back);
  connect(code_, &QLineEdit::editingFinished, this, &ColorPicker::takeCode);
  connect(pick, &QPushButton::clicked, this, &ColorPicker::startPicking);
  connect(back, &QPushButton::clicked, this, [this] { take(first_); });
  return row;
}

NumberField* ColorPicker::addNumber(QGridLayout& grid, int row, int column, const QString& name, double most,
                                    int decimals, const QString& suffix) {
  auto* number = new NumberField(this);
  number->setRange(0, most);
  number->setDecimals(decimals);
  number->setStep(decimals > 2 ? 0.01 : 1);
  number->setSuffix(suffix);
  number->setToolTip(name);
  number->setAccessibleName(name);
  number->setMinimumWidth(56);
  grid.addWidget(number, row, column);
  return number;
}

void ColorPicker::watch(NumberField& number) {
  connect(&number, &NumberField::dragStarted, this, &ColorPicker::dragStarted);
  connect(&number, &NumberField::dragFinished, this, &ColorPicker::dragFinished);
}

QLayout* ColorPicker::makeNumbers() {
  auto* grid = new QGridLayout;
  grid->setSpacing(metrics::grid);
  const auto title = [&](int row, const QString& text, const QString& tip) {
    auto* label = new QLabel(text, this);
    setRole(label, "dim");
    label->setToolTip(tip);
    grid->addWidget(label, row, 0);
  };
  title(0, tr("Linear"), tr("Red, green and blue of the light, as the renderer counts"));
  title(1, tr("HSV"), tr("Hue, saturation and value, as the screen shows them"));
  title(2, tr("Kelvin"), tr("The colour of a glowing body: 2700 a lamp, 6500 daylight"));
  const QString percent = QStringLiteral(" %");
  const QString names[]{tr("Red, linear"), tr("Green, linear"), tr("Blue, linear")};
  for (int i = 0; i < 3; ++i) {
    linear_[static_cast<std::size_t>(i)] = addNumber(*grid, 0, i + 1, names[i], brightest_, 4, {});
  }
  parts_ = {addNumber(*grid, 1, 1, tr("Hue"), 360, 1, QString::fromUtf8("\u00b0")),
            addNumber(*grid, 1, 2, tr("Saturation"), 100, 1, percent),
            addNumber(*grid, 1, 3, tr("Value"), 100, 1, percent)};
  kelvin_ = addNumber(*grid, 2, 1, tr("Temperature in kelvin"), mostKelvin, 0, QStringLiteral(" K"));
  kelvin_->setRange(leastKelvin, mostKelvin);
  kelvin_->setStep(100);
  for (NumberField* number : linear_)
    connect(number, &NumberField::valueChanged, this, [this] {
      take({linear_[0]->value(), linear_[1]->value(), linear_[2]->value()});
    });
  for (NumberField* number : parts_)
    connect(number, &NumberField::valueChanged, this, [this] {
      takeHsv({parts_[0]->value(), parts_[1]->value() / 100, parts_[2]->value() / 100});
    });
  connect(kelvin_, &NumberField::valueChanged, this,
          [this](double kelvin) { take(kelvinColor(kelvin, most(color_) > 0 ? most(color_) : 1)); });
  if (brightest_ > 1) {
    brightness_ = addNumber(*grid, 2, 3, tr("Brightness"), brightest_ * 100, 1, percent);
    auto* label = new QLabel(tr("Brightness"), this);
    setRole(label, "dim");
    grid->addWidget(label, 2, 2, Qt::AlignRight | Qt::AlignVCenter);
    connect(brightness_, &NumberField::valueChanged, this, [this](double value) {
      take(most(color_) > 0 ? color_ * (value / 100 / most(color_)) : Vector(1, 1, 1) * (value / 100));
    });
    watch(*brightness_);
  }
  for (NumberField* number : {linear_[0], linear_[1], linear_[2], parts_[0], parts_[1], parts_[2], kelvin_})
    watch(*number);
  return grid;
}

// A hue or saturation that the colour does not tell stays.
void ColorPicker::adopt(const Vector& linear) {
  color_ = linear;
  scale_ = std::max(1.0, most(linear));
  const Hsv hsv = hsvOf(linear * (1 / scale_));
  hsv_ = {hsv.saturation > 0 ? hsv.hue : hsv_.hue, hsv.value > 0 ? hsv.saturation : hsv_.saturation,
          hsv.value};
  show_();
}

void ColorPicker::setColor(const Vector& linear) {
  const bool dragged = plane_->isDragging() || strip_->isDragging();
  if (!dragged && !near(linear, color_)) adopt(linear);
}

void ColorPicker::take(const Vector& linear) {
  if (near(linear, color_)) return show_();
  adopt(linear);
  emit changed(color_);
}

void ColorPicker::takeHsv(const Hsv& hsv) {
  hsv_ = hsv;
  color_ = linearOf(hsv) * scale_;
  show_();
  emit changed(color_);
}

void ColorPicker::takeCode() {
  if (!code_->isModified()) return;
  code_->setModified(false);
  QString text = code_->text().trimmed();
  if (!text.startsWith(QLatin1Char('#'))) text.prepend(QLatin1Char('#'));
  const QColor color(text);
  if (!color.isValid()) return show_();
  take(linearColor(color) * scale_);
}

void ColorPicker::show_() {
  plane_->setHue(hsv_.hue);
  plane_->setPoint({hsv_.saturation, 1 - hsv_.value});
  strip_->setPoint({hsv_.hue / 360, 0.5});
  const QColor now = screenColor(color_ * (1 / scale_));
  before_->show(screenColor(first_ * (1 / std::max(1.0, most(first_)))));
  now_->show(now);
  if (!code_->hasFocus() || !code_->isModified()) code_->setText(now.name());
  const double linear[]{color_.x, color_.y, color_.z},
      parts[]{hsv_.hue, hsv_.saturation * 100, hsv_.value * 100};
  for (std::size_t i = 0; i < 3; ++i) {
    if (!linear_[i]->isDragging()) linear_[i]->setValue(linear[i]);
    if (!parts_[i]->isDragging()) parts_[i]->setValue(parts[i]);
  }
  if (brightness_ && !brightness_->isDragging()) brightness_->setValue(most(color_) * 100);
  if (kelvin_->isDragging()) return;
  const auto kelvin = kelvinOf(color_);
  if (kelvin)
    kelvin_->setValue(std::round(*kelvin));
  else
    kelvin_->setMixed();
}

// --- the screen's colours ---

void ColorPicker::startPicking() {
  picking_ = true;
  grabMouse(Qt::CrossCursor);
  grabKeyboard();
}

void ColorPicker::endPicking() {
  if (!picking_) return;
  picking_ = false;
  releaseMouse();
  releaseKeyboard();
}

void ColorPicker::mousePressEvent(QMouseEvent* event) {
  if (!picking_) return QDialog::mousePressEvent(event);
  endPicking();
  const QPoint at = event->globalPosition().toPoint();
  QScreen* screen = QGuiApplication::screenAt(at);
  if (!screen) return;
  const QPoint inside = at - screen->geometry().topLeft();
  const QImage pixel = screen->grabWindow(0, inside.x(), inside.y(), 1, 1).toImage();
  // Some desktops do not show the screen to programs.
  if (pixel.isNull()) return QApplication::beep();
  take(linearColor(pixel.pixelColor(0, 0)) * scale_);
}

void ColorPicker::keyPressEvent(QKeyEvent* event) {
  if (picking_ && event->key() == Qt::Key_Escape) return endPicking();
  QDialog::keyPressEvent(event);
}

// --- the window ---

bool ColorPicker::eventFilter(QObject* watched, QEvent* event) {
  if (watched == field_ && event->type() == QEvent::Hide) close();
  return QDialog::eventFilter(watched, event);
}

void ColorPicker::showEvent(QShowEvent* event) {
  QDialog::showEvent(event);
  if (event->spontaneous() || !field_) return;
  const QRect control(field_->mapToGlobal(QPoint()), field_->size());
  const QScreen* screen = field_->screen();
  adjustSize();
  const QSize frame(8, 32); // of the window manager, which is not known before it has drawn it
  const QRect place = freePlace(size() + frame, control, screen->availableGeometry(), shownPictures());
  move(place.topLeft() + QPoint(frame.width() / 2, frame.height() - metrics::grid));
}

void ColorPicker::hideEvent(QHideEvent* event) {
  endPicking();
  QDialog::hideEvent(event);
}

} // namespace host
