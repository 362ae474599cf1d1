#include "form_fields.h"

#include <algorithm>
#include <vector>

#include "number_field.h"
#include "platform.h"
#include "program.h"
#include "qt_text.h"
#include "theme.h"

namespace host {

NumberField* numberField(const char* name, const QString& label, double least, double most,
                         const QString& tip) {
  auto* field = new NumberField;
  field->setObjectName(QLatin1String(name));
  field->setDecimals(0);
  field->setRange(least, most);
  field->setAccessibleName(label);
  field->setToolTip(tip);
  field->setMinimumWidth(70);
  return field;
}

LONG numberOf(const NumberField& field) {
  return static_cast<LONG>(field.value());
}

QLineEdit* textField(const char* name, const QString& label, const QString& example, const QString& tip) {
  auto* field = new QLineEdit;
  field->setObjectName(QLatin1String(name));
  field->setAccessibleName(label);
  field->setPlaceholderText(example);
  field->setToolTip(tip);
  return field;
}

std::string textOf(const QLineEdit& field) {
  return field.text().trimmed().toStdString();
}

QWidget* formRow(std::initializer_list<QWidget*> widgets, int stretched) {
  auto* box = new QWidget;
  auto* layout = new QHBoxLayout(box);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(8);
  int index = 0;
  for (QWidget* widget : widgets)
    layout->addWidget(widget, index++ == stretched ? 1 : 0);
  if (stretched < 0) layout->addStretch(1);
  return box;
}

QFormLayout* addForm(QVBoxLayout& layout, const QString& title) {
  auto* label = new QLabel(title);
  setRole(label, "title");
  layout.addWidget(label);
  auto* form = new QFormLayout;
  form->setHorizontalSpacing(12);
  form->setVerticalSpacing(6);
  form->setLabelAlignment(Qt::AlignRight | Qt::AlignVCenter);
  layout.addLayout(form);
  return form;
}

void alignLabels(std::initializer_list<QFormLayout*> forms) {
  std::vector<QWidget*> labels;
  int width = 0;
  for (const QFormLayout* form : forms) {
    for (int row = 0; row < form->rowCount(); ++row) {
      const QLayoutItem* item = form->itemAt(row, QFormLayout::LabelRole);
      if (!item || !item->widget()) continue;
      labels.push_back(item->widget());
      width = std::max(width, item->widget()->sizeHint().width());
    }
  }
  for (QWidget* label : labels)
    label->setMinimumWidth(width);
}

QString roughTime(double seconds) {
  const auto whole = static_cast<qint64>(std::clamp(seconds, 0.0, 1e9) + 0.5);
  if (whole < 60) return QObject::tr("%1 s").arg(whole);
  if (whole < 3600) return QObject::tr("%1 min").arg((whole + 30) / 60);
  return QObject::tr("%1 h %2 min").arg(whole / 3600).arg(whole / 60 % 60);
}

std::string batchProgram() {
  const QString beside =
      QFileInfo(toQt(platform::programPath())).absolutePath() + QStringLiteral("/lumenara");
  return QFileInfo(beside).isExecutable() ? beside.toStdString() : std::string("lumenara");
}

std::string settingsFolder() {
  const Program* program = Program::current();
  return program ? program->writePath().GetString().GetUTF8() : std::string();
}

} // namespace host
