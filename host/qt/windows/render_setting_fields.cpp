#include "render_setting_fields.h"

#include <algorithm>
#include <cmath>

#include "icons.h"
#include "number_field.h"
#include "qt_text.h"
#include "quiet_combo.h"
#include "scene_edits.h"
#include "scene_queries.h"
#include "theme.h"
#include "user_interface.h"

namespace host {

namespace {

void choose(QComboBox& box, LONG value) {
  int index = box.findData(value);
  if (index < 0) { // a value without an entry is kept
    box.addItem(RenderSettingFields::tr("Other (%1)").arg(value), value);
    index = box.count() - 1;
  }
  box.setCurrentIndex(index);
}

} // namespace

RenderSettingFields::RenderSettingFields(Session& session, QWidget& parent)
    : session_(session), parent_(parent) {
}

RenderSettingFields::~RenderSettingFields() = default;

QGridLayout* RenderSettingFields::addGroup(QWidget* page, const QString& title) {
  auto* layout = static_cast<QVBoxLayout*>(page->layout());
  layout->setContentsMargins(metrics::groupSpace, metrics::groupSpace, metrics::groupSpace,
                             metrics::groupSpace);
  layout->setSpacing(metrics::grid);
  auto* heading = new QLabel(title, page);
  setRole(heading, "title");
  heading->setFixedHeight(metrics::control);
  layout->addWidget(heading);
  auto* grid = new QGridLayout;
  grid->setContentsMargins(metrics::groupSpace, 0, 0, metrics::groupSpace);
  grid->setHorizontalSpacing(metrics::groupSpace);
  grid->setVerticalSpacing(metrics::grid);
  grid->setColumnMinimumWidth(0, 120);
  grid->setColumnStretch(1, 1);
  layout->addLayout(grid);
  return grid;
}

void RenderSettingFields::addRow(QGridLayout& grid, const QString& label, QWidget* widget,
                                 const QString& tip) {
  const int row = grid.rowCount();
  widget->setToolTip(tip);
  if (!label.isEmpty()) {
    auto* text = new QLabel(label, widget->parentWidget());
    text->setBuddy(widget);
    text->setToolTip(tip);
    grid.addWidget(text, row, 0);
    widget->setAccessibleName(label);
  }
  grid.addWidget(widget, row, 1);
}

void RenderSettingFields::addNumber(QGridLayout& grid, LONG id, const QString& label, const QString& tip,
                                    double least, double most, int decimals, double step, double factor,
                                    const QString& suffix) {
  NumberField* field = makeNumber(grid, id, label, tip, least, most, decimals, step, factor, suffix);
  const bool whole = decimals == 0;
  connectNumber(*field, [id, whole, factor](double shown) {
    return Values{{id, whole ? GeData(static_cast<LONG>(std::lround(shown))) : GeData(shown / factor)}};
  });
}

NumberField* RenderSettingFields::makeNumber(QGridLayout& grid, LONG id, const QString& label,
                                             const QString& tip, double least, double most, int decimals,
                                             double step, double factor, const QString& suffix) {
  auto* field = new NumberField(&parent_);
  field->setRange(least, most);
  field->setDecimals(decimals);
  field->setStep(step);
  field->setSuffix(suffix);
  addRow(grid, label, field, tip);
  const bool whole = decimals == 0;
  entries_[id] = {field,
                  [field, whole, factor](const GeData& stored) {
                    if (field->isDragging()) return;
                    field->setValue(whole ? static_cast<double>(stored.GetLong())
                                          : stored.GetReal() * factor);
                  },
                  {}};
  return field;
}

// A time as a frame of the document's rate.
void RenderSettingFields::addFrame(QGridLayout& grid, LONG id, const QString& label, const QString& tip) {
  auto* field = new NumberField(&parent_);
  field->setRange(-1e6, 1e6);
  field->setDecimals(0);
  addRow(grid, label, field, tip);
  connectNumber(*field, [this, id](double frame) {
    return Values{{id, GeData(BaseTime(frame, static_cast<Real>(fps())))}};
  });
  entries_[id] = {field,
                  [this, field](const GeData& stored) {
                    if (!field->isDragging()) field->setValue(std::round(stored.GetTime().Get() * fps()));
                  },
                  {}};
}

void RenderSettingFields::connectNumber(NumberField& field, std::function<Values(double)> values) {
  connect(&field, &NumberField::valueChanged, this,
          [this, values = std::move(values)](double shown) { change(values(shown)); });
  connect(&field, &NumberField::dragStarted, this,
          [this] { dragging_ = session_.edits().begin("Change Render Settings"); });
  connect(&field, &NumberField::dragFinished, this, [this](bool cancelled) {
    if (!std::exchange(dragging_, false)) return;
    cancelled ? session_.edits().cancel() : static_cast<void>(session_.edits().end());
    emit changed();
  });
}

void RenderSettingFields::addChoice(QGridLayout& grid, LONG id, const QString& label, const QString& tip,
                                    const std::vector<std::pair<LONG, QString>>& choices) {
  auto* box = new QuietCombo(&parent_);
  for (const auto& [value, text] : choices)
    box->addItem(text, value);
  addRow(grid, label, box, tip);
  connect(box, &QComboBox::activated, this, [this, box, id](int index) {
    change({{id, GeData(static_cast<LONG>(box->itemData(index).toInt()))}});
  });
  entries_[id] = {box, [box](const GeData& stored) { choose(*box, stored.GetLong()); }, {}};
}

void RenderSettingFields::addNameChoice(QGridLayout& grid, LONG id, const QString& label, const QString& tip,
                                        std::function<QStringList()> names) {
  auto* box = new QuietCombo(&parent_);
  addRow(grid, label, box, tip);
  connect(box, &QComboBox::activated, this, [this, box, id] {
    change({{id, GeData(toHost(box->currentText()))}});
  });
  const auto show = [box, names = std::move(names)](const GeData& stored) {
    QStringList all = names();
    const QString name = stored.GetString().Content() ? toQt(stored.GetString()) : all.value(0);
    if (!all.contains(name)) all << name;
    box->clear();
    box->addItems(all);
    box->setCurrentText(name);
  };
  entries_[id] = {box, show, {}};
}

void RenderSettingFields::addFile(QGridLayout& grid, LONG id, const QString& label, const QString& tip,
                                  const QString& none, const QString& suffix) {
  auto* name = new QLineEdit(&parent_);
  name->setPlaceholderText(none);
  name->setClearButtonEnabled(true);
  const auto store = [this, id, name] {
    if (toHost(name->text()) != value(id).GetString()) change({{id, GeData(toHost(name->text()))}});
  };
  connect(name, &QLineEdit::editingFinished, this, store);
  connect(name, &QLineEdit::textChanged, this, [name, store] { // the clear button
    if (name->text().isEmpty()) store();
  });
  QAction* browse = name->addAction(icon(QStringLiteral("open")), QLineEdit::TrailingPosition);
  browse->setToolTip(tr("Choose a file"));
  connect(browse, &QAction::triggered, this, [this, id, label, suffix] {
    FileRequest request;
    request.title = toHost(label);
    request.forceSuffix = toHost(suffix);
    request.start = Filename(value(id).GetString());
    Filename chosen;
    if (userInterface().selectFile(request, chosen)) change({{id, GeData(chosen.GetString())}});
  });
  addRow(grid, label, name, tip);
  entries_[id] = {name,
                  [name](const GeData& stored) {
                    const QSignalBlocker blocker(name);
                    if (!name->hasFocus() || !name->isModified()) name->setText(toQt(stored.GetString()));
                  },
                  {}};
}

void RenderSettingFields::addBits(QGridLayout& grid, LONG id, const std::vector<Bit>& bits) {
  auto* field = new QWidget(&parent_);
  auto* column = new QVBoxLayout(field);
  column->setContentsMargins(0, 0, 0, 0);
  std::vector<std::pair<LONG, QCheckBox*>> boxes;
  for (const Bit& bit : bits) {
    auto* box = new QCheckBox(bit.label, field);
    box->setObjectName(bit.name);
    box->setToolTip(tr("The layer \"%1\" of files and of the command line").arg(bit.name));
    column->addWidget(box);
    boxes.emplace_back(bit.bit, box);
    connect(box, &QCheckBox::clicked, this, [this, id, bit = bit.bit](bool on) {
      const LONG before = value(id).GetLong();
      change({{id, GeData(on ? before | bit : before & ~bit)}});
    });
  }
  grid.addWidget(field, grid.rowCount(), 0, 1, 2);
  const auto show = [boxes](const GeData& stored) {
    for (const auto& [bit, box] : boxes)
      box->setChecked((stored.GetLong() & bit) != 0);
  };
  entries_[id] = {field, show, {}};
}

void RenderSettingFields::addSwitch(QGridLayout& grid, LONG id, const QString& label, const QString& tip,
                                    bool hasEffect, int indent) {
  auto* box = new QCheckBox(hasEffect ? label : tr("%1 (no effect)").arg(label), &parent_);
  if (!hasEffect) setRole(box, "dim");
  box->setToolTip(hasEffect
                      ? tip
                      : tip + QLatin1Char('\n') +
                            tr("Kept in the scene for other programs; the renders here do not use it."));
  auto* cell = new QHBoxLayout;
  cell->setContentsMargins(indent * 20, 0, 0, 0);
  cell->addWidget(box);
  grid.addLayout(cell, grid.rowCount(), 0, 1, 2);
  connect(box, &QCheckBox::clicked, this, [this, id](bool on) {
    change({{id, GeData::FromBool(on ? TRUE : FALSE)}});
  });
  entries_[id] = {box, [box](const GeData& stored) { box->setChecked(stored.GetBool() != FALSE); }, {}};
}

GeData RenderSettingFields::value(LONG id) const {
  return session_.document() ? renderValue(*session_.document(), id) : GeData();
}

bool RenderSettingFields::isOn(LONG id) const {
  return value(id).GetBool() != FALSE;
}

LONG RenderSettingFields::fps() const {
  return session_.document() ? std::max<LONG>(session_.document()->GetFps(), 1) : 30;
}

QWidget* RenderSettingFields::field(LONG id) const {
  const auto found = entries_.find(id);
  return found == entries_.end() ? nullptr : found->second.widget;
}

void RenderSettingFields::change(const Values& values) {
  const auto edit = [&values](BaseDocument& document) {
    for (const auto& [id, wanted] : values)
      setRenderValue(document, id, wanted);
  };
  if (dragging_) {
    session_.edits().update(edit);
  } else {
    const std::string key = "render setting " + std::to_string(values.front().first);
    session_.edits().apply("Change Render Settings", edit, String(key));
  }
  emit changed();
}

void RenderSettingFields::refresh() {
  for (auto& [id, entry] : entries_) {
    entry.show(value(id));
    entry.widget->setEnabled(!entry.enabled || entry.enabled());
  }
}

} // namespace host
