#include "attribute_fields.h"

#include <algorithm>
#include <cmath>

#include "attribute_tips.h"
#include "color_picker.h"
#include "number_field.h"
#include "qt_text.h"
#include "screen_color.h"
#include "theme.h"
#include "user_interface.h"
#include "wheel_rule.h"

namespace host {

namespace {

QHBoxLayout* makeRow(QWidget* widget) {
  auto* row = new QHBoxLayout(widget);
  row->setContentsMargins(0, 0, 0, 0);
  row->setSpacing(metrics::grid);
  return row;
}

QString suffixOf(const Attribute& attribute) {
  const QString unit = QString::fromUtf8(attribute.unit);
  return unit.isEmpty() || unit == QString::fromUtf8("\u00b0") ? unit : QLatin1Char(' ') + unit;
}

void setUp(NumberField& field, const Attribute& attribute) {
  field.setRange(attribute.minimum, attribute.maximum);
  field.setDecimals(attribute.kind == AttributeKind::integer ? 0 : attribute.decimals);
  if (attribute.step > 0) field.setStep(attribute.step);
  field.setSuffix(suffixOf(attribute));
}

double partOf(const Vector& vector, int component) {
  return component == 0 ? vector.x : component == 1 ? vector.y : vector.z;
}

double brightest(const Vector& linear) {
  return std::max({linear.x, linear.y, linear.z});
}

class AttributeSwatch : public QAbstractButton {
 public:
  explicit AttributeSwatch(ColorAttributeField* field) : QAbstractButton(field), field_(*field) {
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setCursor(Qt::PointingHandCursor);
  }
  QSize sizeHint() const override { return {40, metrics::control}; }
  QSize minimumSizeHint() const override { return {28, metrics::control}; }

 protected:
  void paintEvent(QPaintEvent*) override {
    const Tokens& t = tokens();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(hasFocus() ? t.accent : underMouse() ? t.dim : t.line);
    painter.setBrush(field_.isMixed() ? t.field : field_.color());
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), metrics::radius, metrics::radius);
    if (!field_.isMixed()) return;
    painter.setPen(t.dim);
    painter.drawText(rect(), Qt::AlignCenter, QString(QChar(0x2014)));
  }
  void enterEvent(QEnterEvent*) override { update(); }
  void leaveEvent(QEvent*) override { update(); }

 private:
  const ColorAttributeField& field_;
};

} // namespace

// --- all fields ---

AttributeField::AttributeField(const Attribute& attribute, QWidget* parent)
    : QWidget(parent), shape_(attribute) {
  setObjectName(QStringLiteral("attribute-%1").arg(static_cast<int>(attribute.id)));
  setToolTip(attributeTip(attribute));
}

AttributeField* AttributeField::make(const Attribute& attribute, QWidget* parent) {
  AttributeField* field = nullptr;
  switch (attribute.kind) {
  case AttributeKind::boolean:
    field = new SwitchAttributeField(attribute, parent);
    break;
  case AttributeKind::integer:
  case AttributeKind::real:
    field = new NumberAttributeField(attribute, parent);
    break;
  case AttributeKind::vector:
    field = new VectorAttributeField(attribute, parent);
    break;
  case AttributeKind::color:
    field = new ColorAttributeField(attribute, parent);
    break;
  case AttributeKind::choice:
    field = new ChoiceAttributeField(attribute, parent);
    break;
  case AttributeKind::text:
    field = new TextAttributeField(attribute, parent);
    break;
  case AttributeKind::file:
    field = new FileAttributeField(attribute, parent);
    break;
  }
  field->show(attribute);
  return field;
}

bool AttributeField::fits(const Attribute& attribute) const {
  return attribute.id == shape_.id && attribute.kind == shape_.kind && attribute.minimum == shape_.minimum &&
         attribute.maximum == shape_.maximum && attribute.choices == shape_.choices &&
         attribute.label == shape_.label && attribute.group == shape_.group;
}

void AttributeField::show(const Attribute& attribute) {
  shape_ = attribute;
  showValue(attribute);
}

QString AttributeField::mixedText() {
  return QString(QChar(0x2014));
}

// --- text ---

TextAttributeField::TextAttributeField(const Attribute& attribute, QWidget* parent)
    : AttributeField(attribute, parent), edit_(new QLineEdit(this)) {
  makeRow(this)->addWidget(edit_);
  setFocusProxy(edit_);
  edit_->setAccessibleName(tr(attribute.label));
  edit_->installEventFilter(this);
  connect(edit_, &QLineEdit::editingFinished, this, [this] {
    const QString text = edit_->text().trimmed();
    if ((text.isEmpty() && (mixed_ || !mayBeEmpty())) || (!mixed_ && text == text_))
      return showValue(shape());
    edit_->setModified(false);
    emit changed(valueOf(text), -1);
  });
}

// Keeps the text that is being typed.
void TextAttributeField::showValue(const Attribute& attribute) {
  const QString before = text_;
  text_ = textOf(attribute.value);
  mixed_ = attribute.mixed;
  edit_->setPlaceholderText(mixed_ ? mixedText() : QString());
  if (edit_->hasFocus() && edit_->isModified() && text_ == before) return;
  const QString shown = mixed_ ? QString() : text_;
  if (edit_->text() != shown) edit_->setText(shown);
  edit_->setModified(false);
}

bool TextAttributeField::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::KeyPress && static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape &&
      edit_->isModified()) {
    edit_->setModified(false);
    showValue(shape());
    edit_->selectAll();
    return true;
  }
  return AttributeField::eventFilter(watched, event);
}

QString TextAttributeField::textOf(const GeData& value) const {
  return toQt(value.GetString());
}

GeData TextAttributeField::valueOf(const QString& text) const {
  return GeData(toHost(text));
}

// --- files ---

FileAttributeField::FileAttributeField(const Attribute& attribute, QWidget* parent)
    : TextAttributeField(attribute, parent), button_(new QToolButton(this)) {
  button_->setText(QString(QChar(0x2026)));
  button_->setToolTip(tr("Choose a file"));
  button_->setAccessibleName(tr("%1: choose a file").arg(tr(attribute.label)));
  button_->setFixedHeight(metrics::control);
  layout()->addWidget(button_);
  connect(button_, &QAbstractButton::clicked, this, &FileAttributeField::choose);
}

void FileAttributeField::showValue(const Attribute& attribute) {
  TextAttributeField::showValue(attribute);
  edit().setToolTip(attribute.mixed ? QString() : textOf(attribute.value));
}

QString FileAttributeField::textOf(const GeData& value) const {
  return toQt(value.GetFilename().GetString());
}

GeData FileAttributeField::valueOf(const QString& text) const {
  return GeData(Filename(toHost(text)));
}

void FileAttributeField::choose() {
  FileRequest request;
  request.type = FILESELECTTYPE_IMAGES;
  request.mode = FILESELECT_LOAD;
  request.title = "Open Picture";
  request.start = shape().mixed ? Filename() : shape().value.GetFilename();
  Filename file;
  if (userInterface().selectFile(request, file)) emit changed(GeData(file), -1);
}

// --- switches ---

SwitchAttributeField::SwitchAttributeField(const Attribute& attribute, QWidget* parent)
    : AttributeField(attribute, parent), box_(new QCheckBox(tr(attribute.label), this)) {
  makeRow(this)->addWidget(box_);
  setFocusProxy(box_);
  connect(box_, &QCheckBox::clicked, this, [this] {
    // A click on a mixed state switches all on.
    const bool on = box_->checkState() != Qt::Unchecked;
    box_->setTristate(false);
    box_->setChecked(on);
    emit changed(GeData::FromBool(on ? TRUE : FALSE), -1);
  });
}

void SwitchAttributeField::showValue(const Attribute& attribute) {
  box_->setTristate(attribute.mixed);
  box_->setCheckState(attribute.mixed             ? Qt::PartiallyChecked
                      : attribute.value.GetBool() ? Qt::Checked
                                                  : Qt::Unchecked);
}

// --- choices ---

ChoiceAttributeField::ChoiceAttributeField(const Attribute& attribute, QWidget* parent)
    : AttributeField(attribute, parent), box_(new QComboBox(this)) {
  makeRow(this)->addWidget(box_);
  setFocusProxy(box_);
  for (const std::string& choice : attribute.choices)
    box_->addItem(tr(choice.c_str()));
  box_->setAccessibleName(tr(attribute.label));
  box_->setPlaceholderText(mixedText());
  box_->setFocusPolicy(Qt::StrongFocus);
  box_->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
  box_->setMinimumContentsLength(6);
  box_->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
  box_->installEventFilter(this);
  connect(box_, &QComboBox::activated, this,
          [this](int index) { emit changed(GeData(static_cast<LONG>(index)), -1); });
}

void ChoiceAttributeField::showValue(const Attribute& attribute) {
  box_->setCurrentIndex(attribute.mixed ? -1 : attribute.value.GetLong());
}

bool ChoiceAttributeField::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() != QEvent::Wheel || !wheelBelongsToScrollArea(*box_))
    return AttributeField::eventFilter(watched, event);
  event->ignore();
  return true;
}

// --- numbers ---

NumberAttributeField::NumberAttributeField(const Attribute& attribute, QWidget* parent)
    : AttributeField(attribute, parent) {
  QWidget* widget = nullptr;
  if (attribute.softMinimum < attribute.softMaximum) {
    widget = slider_ = new SliderField(this);
    number_ = &slider_->field();
    slider_->setRange(attribute.minimum, attribute.maximum);
    slider_->setSliderRange(attribute.softMinimum, attribute.softMaximum);
    setUp(*number_, attribute);
    if (attribute.step > 0) slider_->setStep(attribute.step);
    connect(slider_, &SliderField::valueChanged, this, &NumberAttributeField::tell);
    connect(slider_, &SliderField::dragStarted, this, &AttributeField::dragStarted);
    connect(slider_, &SliderField::dragFinished, this, &AttributeField::dragFinished);
  } else {
    widget = number_ = new NumberField(this);
    setUp(*number_, attribute);
    connect(number_, &NumberField::valueChanged, this, &NumberAttributeField::tell);
    connect(number_, &NumberField::dragStarted, this, &AttributeField::dragStarted);
    connect(number_, &NumberField::dragFinished, this, &AttributeField::dragFinished);
  }
  makeRow(this)->addWidget(widget);
  setFocusProxy(number_);
  number_->setAccessibleName(tr(attribute.label));
  if (slider_) slider_->setName(tr(attribute.label));
}

void NumberAttributeField::tell(double value) {
  if (shape().kind == AttributeKind::integer)
    emit changed(GeData(static_cast<LONG>(std::lround(value))), -1);
  else
    emit changed(GeData(value), -1);
}

void NumberAttributeField::showValue(const Attribute& attribute) {
  if (number_->isDragging()) return;
  const double value = attribute.kind == AttributeKind::integer
                           ? static_cast<double>(attribute.value.GetLong())
                           : attribute.value.GetReal();
  if (slider_)
    slider_->setValue(value);
  else
    number_->setValue(value);
  if (attribute.mixed) slider_ ? slider_->setMixed() : number_->setMixed();
}

// --- vectors ---

VectorAttributeField::VectorAttributeField(const Attribute& attribute, QWidget* parent)
    : AttributeField(attribute, parent) {
  QHBoxLayout* row = makeRow(this);
  const bool angles = attribute.id == AttributeId::rotation;
  const QStringList names = angles
                                ? QStringList{tr("Heading"), tr("Pitch"), tr("Bank")}
                                : QStringList{QStringLiteral("X"), QStringLiteral("Y"), QStringLiteral("Z")};
  for (int i = 0; i < 3; ++i) {
    auto* label = new QLabel(names[i].left(1), this);
    setRole(label, "dim");
    label->setToolTip(names[i]);
    NumberField* field = parts_[i] = new NumberField(this);
    setUp(*field, attribute);
    field->setToolTip(names[i]);
    field->setAccessibleName(tr(attribute.label) + QLatin1Char(' ') + names[i]);
    field->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    field->setMinimumWidth(48);
    row->addWidget(label);
    row->addWidget(field, 1);
    connect(field, &NumberField::valueChanged, this,
            [this, i](double value) { emit changed(GeData(value), i); });
    connect(field, &NumberField::dragStarted, this, &AttributeField::dragStarted);
    connect(field, &NumberField::dragFinished, this, &AttributeField::dragFinished);
  }
  setFocusProxy(parts_[0]);
}

void VectorAttributeField::showValue(const Attribute& attribute) {
  for (int i = 0; i < 3; ++i) {
    if (parts_[i]->isDragging()) continue;
    parts_[i]->setValue(partOf(attribute.value.GetVector(), i));
    if (attribute.mixedPart[i]) parts_[i]->setMixed();
  }
}

// --- colours ---

ColorAttributeField::ColorAttributeField(const Attribute& attribute, QWidget* parent)
    : AttributeField(attribute, parent), swatch_(new AttributeSwatch(this)), code_(new QLineEdit(this)) {
  QHBoxLayout* row = makeRow(this);
  row->addWidget(swatch_, 1);
  row->addWidget(code_);
  code_->setFixedWidth(78);
  code_->setMaxLength(16);
  code_->setAccessibleName(tr("%1 as #rrggbb").arg(tr(attribute.label)));
  swatch_->setAccessibleName(tr(attribute.label));
  swatch_->setToolTip(tr("Choose a colour"));
  if (attribute.maximum > 1) {
    brightness_ = new NumberField(this);
    brightness_->setRange(0, attribute.maximum * 100);
    brightness_->setDecimals(1);
    brightness_->setSuffix(QStringLiteral(" %"));
    brightness_->setToolTip(tr("Brightness"));
    brightness_->setAccessibleName(tr("%1, brightness").arg(tr(attribute.label)));
    brightness_->setFixedWidth(60);
    row->addWidget(brightness_);
    connect(brightness_, &NumberField::valueChanged, this, [this](double value) {
      const double most = std::max(brightest(value_), 1.0);
      emit changed(GeData(value_ * (value / 100 / most)), -1);
    });
    connect(brightness_, &NumberField::dragStarted, this, &AttributeField::dragStarted);
    connect(brightness_, &NumberField::dragFinished, this, &AttributeField::dragFinished);
  }
  setFocusProxy(swatch_);
  connect(swatch_, &QAbstractButton::clicked, this, &ColorAttributeField::choose);
  connect(code_, &QLineEdit::editingFinished, this, &ColorAttributeField::takeCode);
}

ColorAttributeField::~ColorAttributeField() {
  if (dragging_) emit dragFinished(false);
}

// A colour brighter than white is shown at full light, with its brightness beside it.
void ColorAttributeField::showValue(const Attribute& attribute) {
  value_ = attribute.value.GetVector();
  mixed_ = attribute.mixed;
  if (picker_ && !mixed_) picker_->setColor(value_);
  const double most = brightness_ ? std::max(brightest(value_), 1.0) : 1;
  color_ = screenColor(value_ * (1 / most));
  if (brightness_ && !brightness_->isDragging()) {
    brightness_->setValue(most * 100);
    if (mixed_) brightness_->setMixed();
  }
  if (!code_->hasFocus() || !code_->isModified()) code_->setText(mixed_ ? mixedText() : color_.name());
  swatch_->update();
}

void ColorAttributeField::tell(const QColor& color, double brightness) {
  emit changed(GeData(linearColor(color) * brightness), -1);
}

void ColorAttributeField::takeCode() {
  if (!code_->isModified()) return;
  code_->setModified(false);
  QString text = code_->text().trimmed();
  if (!text.startsWith(QLatin1Char('#'))) text.prepend(QLatin1Char('#'));
  const QColor color(text);
  if (!color.isValid() || (!mixed_ && color.name() == color_.name())) return showValue(shape());
  tell(color, brightness_ && !brightness_->isMixed() ? brightness_->value() / 100 : 1);
}

// The views and the viewer follow while the user looks for a colour.
void ColorAttributeField::choose() {
  ColorPicker* picker =
      ColorPicker::open(*this, tr(shape().label), mixed_ ? Vector(1, 1, 1) : value_, shape().maximum);
  picker_ = picker;
  picker->disconnect(this);
  connect(picker, &ColorPicker::dragStarted, this, [this] {
    dragging_ = true;
    emit dragStarted();
  });
  connect(picker, &ColorPicker::changed, this,
          [this](const Vector& linear) { emit changed(GeData(linear), -1); });
  connect(picker, &ColorPicker::dragFinished, this, [this](bool cancelled) {
    dragging_ = false;
    emit dragFinished(cancelled);
  });
}

} // namespace host
