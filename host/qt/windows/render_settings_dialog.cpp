#include "render_settings_dialog.h"

#include <algorithm>
#include <cmath>

#include "c4d_render.h"
#include "icons.h"
#include "number_field.h"
#include "qt_text.h"
#include "scene_edits.h"
#include "scene_queries.h"
#include "theme.h"
#include "wheel_rule.h"

namespace host {

namespace {

constexpr int identityRole = Qt::UserRole, typeRole = Qt::UserRole + 1;
constexpr LONG mostPixels = 32768; // a side, as bitmaps have it

// Settings of another renderer: kept for it, and nothing here reads them.
constexpr LONG foreignRenderer = 1021830;

bool isInert(LONG type) {
  return type == VPhair || type == foreignRenderer;
}

// A combo box that leaves the wheel to the page.
class QuietCombo : public QComboBox {
 public:
  explicit QuietCombo(QWidget* parent) : QComboBox(parent) { setFocusPolicy(Qt::StrongFocus); }

 protected:
  void wheelEvent(QWheelEvent* event) override {
    if (hasFocus() && !wheelBelongsToScrollArea(*this)) return QComboBox::wheelEvent(event);
    event->ignore();
  }
};

void choose(QComboBox& box, LONG value) {
  int index = box.findData(value);
  if (index < 0) { // a value that has no word here stays what it is
    box.addItem(RenderSettingsDialog::tr("Other (%1)").arg(value), value);
    index = box.count() - 1;
  }
  box.setCurrentIndex(index);
}

} // namespace

RenderSettingsDialog::RenderSettingsDialog(Session& session, QWidget* parent)
    : QDialog(parent), session_(session) {
  setObjectName(QStringLiteral("renderSettings"));
  setWindowTitle(tr("Render Settings"));
  setModal(false);
  tabs_ = new QTabWidget(this);
  tabs_->setDocumentMode(true);
  const auto page = [this](QWidget* content, const QString& title) {
    auto* area = new QScrollArea(tabs_);
    area->setWidgetResizable(true);
    area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    content->setProperty("role", "scrolled");
    area->setWidget(content);
    area->setFocusPolicy(Qt::NoFocus);
    tabs_->addTab(area, title);
  };
  page(buildOutput(), tr("Output"));
  page(buildQuality(), tr("Quality"));
  page(buildOptions(), tr("Options"));
  page(buildEffects(), tr("Effects"));

  auto* render = new QPushButton(icon(QStringLiteral("render")), tr("&Render"), this);
  render->setObjectName(QStringLiteral("renderButton"));
  render->setAutoDefault(false);
  connect(render, &QPushButton::clicked, this, &RenderSettingsDialog::renderWanted);
  auto* shut = new QPushButton(tr("&Close"), this);
  shut->setAutoDefault(false);
  connect(shut, &QPushButton::clicked, this, &QDialog::close);
  auto* buttons = new QHBoxLayout;
  buttons->setSpacing(metrics::groupSpace);
  buttons->addStretch(1);
  buttons->addWidget(render);
  buttons->addWidget(shut);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(metrics::groupSpace, metrics::grid, metrics::groupSpace, metrics::groupSpace);
  layout->setSpacing(metrics::groupSpace);
  layout->addWidget(tabs_, 1);
  layout->addLayout(buttons);

  soon_.setSingleShot(true);
  soon_.setInterval(0);
  connect(&soon_, &QTimer::timeout, this, &RenderSettingsDialog::refresh);
  const auto soon = [this] {
    stale_ = true;
    if (isVisible()) soon_.start();
  };
  subscriptions_.push_back(session_.hub().changed.add(soon));
  subscriptions_.push_back(session_.hub().replaced.add([this, soon](Replacement) {
    dragging_ = false;
    soon();
  }));
  refresh();
}

RenderSettingsDialog::~RenderSettingsDialog() = default;

// --- rows ---

QGridLayout* RenderSettingsDialog::addGroup(QWidget* page, const QString& title) {
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

void RenderSettingsDialog::addRow(QGridLayout& grid, const QString& label, QWidget* widget,
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

void RenderSettingsDialog::addSize(QGridLayout& grid, LONG id, const QString& label) {
  NumberField* field = makeNumber(grid, id, label, tr("Size of the rendered picture in pixels."), 1,
                                  mostPixels, 0, 1, 1, tr(" px"));
  connectNumber(*field, [this, id](double side) {
    Values values{{id, GeData(static_cast<LONG>(std::lround(side)))}};
    if (!proportional_->isChecked()) return values;
    const bool wide = id == RDATA_XRES;
    const double other = std::clamp(wide ? side / proportion_ : side * proportion_, 1.0, double{mostPixels});
    values.emplace_back(wide ? RDATA_YRES : RDATA_XRES, GeData(static_cast<LONG>(std::lround(other))));
    return values;
  });
}

void RenderSettingsDialog::addNumber(QGridLayout& grid, LONG id, const QString& label, const QString& tip,
                                     double least, double most, int decimals, double step, double factor,
                                     const QString& suffix) {
  NumberField* field = makeNumber(grid, id, label, tip, least, most, decimals, step, factor, suffix);
  const bool whole = decimals == 0;
  connectNumber(*field, [id, whole, factor](double shown) {
    return Values{{id, whole ? GeData(static_cast<LONG>(std::lround(shown))) : GeData(shown / factor)}};
  });
}

NumberField* RenderSettingsDialog::makeNumber(QGridLayout& grid, LONG id, const QString& label,
                                              const QString& tip, double least, double most, int decimals,
                                              double step, double factor, const QString& suffix) {
  auto* field = new NumberField(this);
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
void RenderSettingsDialog::addFrame(QGridLayout& grid, LONG id, const QString& label, const QString& tip) {
  auto* field = new NumberField(this);
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

void RenderSettingsDialog::connectNumber(NumberField& field, std::function<Values(double)> values) {
  connect(&field, &NumberField::valueChanged, this,
          [this, values = std::move(values)](double shown) { change(values(shown)); });
  connect(&field, &NumberField::dragStarted, this,
          [this] { dragging_ = session_.edits().begin("Change Render Settings"); });
  connect(&field, &NumberField::dragFinished, this, [this](bool cancelled) {
    if (!std::exchange(dragging_, false)) return;
    cancelled ? session_.edits().cancel() : static_cast<void>(session_.edits().end());
    soon_.start();
  });
}

void RenderSettingsDialog::addChoice(QGridLayout& grid, LONG id, const QString& label, const QString& tip,
                                     const std::vector<std::pair<LONG, QString>>& choices) {
  auto* box = new QuietCombo(this);
  for (const auto& [value, text] : choices)
    box->addItem(text, value);
  addRow(grid, label, box, tip);
  connect(box, &QComboBox::activated, this, [this, box, id](int index) {
    change({{id, GeData(static_cast<LONG>(box->itemData(index).toInt()))}});
  });
  entries_[id] = {box, [box](const GeData& stored) { choose(*box, stored.GetLong()); }, {}};
}

void RenderSettingsDialog::addSwitch(QGridLayout& grid, LONG id, const QString& label, const QString& tip,
                                     bool hasEffect, int indent) {
  auto* box = new QCheckBox(hasEffect ? label : tr("%1 (no effect)").arg(label), this);
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

void RenderSettingsDialog::addPresets(QGridLayout& grid) {
  presets_ = new QuietCombo(this);
  presets_->setObjectName(QStringLiteral("presets"));
  presets_->setPlaceholderText(tr("Custom"));
  const struct {
    const char* name;
    int width, height;
  } presets[] = {{"640 x 480", 640, 480},
                 {"HD 1280 x 720", 1280, 720},
                 {"Full HD 1920 x 1080", 1920, 1080},
                 {"4K UHD 3840 x 2160", 3840, 2160},
                 {"Square 1024 x 1024", 1024, 1024},
                 {"Portrait 1080 x 1920", 1080, 1920}};
  for (const auto& preset : presets)
    presets_->addItem(QLatin1String(preset.name), QSize(preset.width, preset.height));
  connect(presets_, &QComboBox::activated, this, [this](int index) {
    const QSize size = presets_->itemData(index).toSize();
    change({{RDATA_XRES, GeData(static_cast<LONG>(size.width()))},
            {RDATA_YRES, GeData(static_cast<LONG>(size.height()))}});
  });
  addRow(grid, tr("Format"), presets_, tr("Usual sizes."));
}

// --- values ---

GeData RenderSettingsDialog::value(LONG id) const {
  return session_.document() ? renderValue(*session_.document(), id) : GeData();
}

bool RenderSettingsDialog::isOn(LONG id) const {
  return value(id).GetBool() != FALSE;
}

LONG RenderSettingsDialog::fps() const {
  return session_.document() ? std::max<LONG>(session_.document()->GetFps(), 1) : 30;
}

QWidget* RenderSettingsDialog::field(LONG id) const {
  const auto found = entries_.find(id);
  return found == entries_.end() ? nullptr : found->second.widget;
}

void RenderSettingsDialog::setProportional(bool on) {
  const double width = value(RDATA_XRES).GetReal(), height = value(RDATA_YRES).GetReal();
  if (on && width > 0 && height > 0) proportion_ = width / height;
  proportional_->setChecked(on);
}

void RenderSettingsDialog::change(const Values& values) {
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
  stale_ = true;
  soon_.start();
}

void RenderSettingsDialog::refresh() {
  soon_.stop();
  stale_ = false;
  if (!session_.document()) return;
  const bool was = std::exchange(settling_, true);
  for (auto& [id, entry] : entries_) {
    entry.show(value(id));
    entry.widget->setEnabled(!entry.enabled || entry.enabled());
  }
  const QSize size(value(RDATA_XRES).GetLong(), value(RDATA_YRES).GetLong());
  presets_->setCurrentIndex(presets_->findData(size));
  showEffects();
  settling_ = was;
}

void RenderSettingsDialog::showEvent(QShowEvent* event) {
  QDialog::showEvent(event);
  if (stale_) refresh();
}

// --- effects ---

void RenderSettingsDialog::showEffects() {
  const std::vector<VideoPostRow> rows = videoPostRows(*session_.document());
  bool same = effects_->count() == static_cast<int>(rows.size());
  for (std::size_t i = 0; same && i < rows.size(); ++i)
    same = effects_->item(static_cast<int>(i))->data(identityRole).toULongLong() == rows[i].identity;
  if (!same) {
    const QListWidgetItem* current = effects_->currentItem();
    const Identity chosen = current ? current->data(identityRole).toULongLong() : 0;
    effects_->clear();
    for (const VideoPostRow& row : rows) {
      auto* item = new QListWidgetItem(effects_);
      item->setData(identityRole, static_cast<qulonglong>(row.identity));
      item->setData(typeRole, row.type);
      if (row.identity == chosen) effects_->setCurrentItem(item);
    }
  }
  for (std::size_t i = 0; i < rows.size(); ++i) {
    QListWidgetItem* item = effects_->item(static_cast<int>(i));
    const QString name = toQt(rows[i].name);
    item->setText(isInert(rows[i].type) ? tr("%1 (no effect)").arg(name) : name);
    item->setCheckState(rows[i].on ? Qt::Checked : Qt::Unchecked);
  }
  effects_->setVisible(!rows.empty());
  noEffects_->setVisible(rows.empty());
  add_->setEnabled(!addableVideoPosts(*session_.document()).empty());
  showEffectNote();
}

void RenderSettingsDialog::showEffectNote() {
  const QListWidgetItem* item = effects_->currentItem();
  remove_->setEnabled(item != nullptr);
  const LONG type = item ? item->data(typeRole).toInt() : 0;
  QString text;
  if (type == VPglobalillumination) text = tr("Light bounces between surfaces.");
  if (type == VPambientocclusion) text = tr("Darkens crevices on what the camera sees.");
  if (type == VPcaustics) text = tr("Light through glass and off mirrors brightens what it falls on.");
  if (isInert(type)) text = tr("Kept in the scene for other programs; the renders here do not use it.");
  effectNote_->setText(text);
  effectNote_->setVisible(!text.isEmpty());
}

void RenderSettingsDialog::fillAddMenu() {
  add_->menu()->clear();
  if (!session_.document()) return;
  for (const VideoPostRow& row : addableVideoPosts(*session_.document())) {
    const QString name = toQt(row.name);
    add_->menu()->addAction(isInert(row.type) ? tr("%1 (no effect)").arg(name) : name, this,
                            [this, type = row.type] { addEffect(type); });
  }
}

void RenderSettingsDialog::addEffect(LONG type) {
  Identity added = 0;
  session_.edits().apply("Add Effect",
                         [&added, type](BaseDocument& document) { added = addVideoPost(document, type); });
  refresh();
  for (int row = 0; row < effects_->count(); ++row)
    if (effects_->item(row)->data(identityRole).toULongLong() == added) effects_->setCurrentRow(row);
}

void RenderSettingsDialog::switchEffect(QListWidgetItem* item) {
  if (settling_) return;
  const Identity post = item->data(identityRole).toULongLong();
  const bool on = item->checkState() == Qt::Checked;
  session_.edits().apply(on ? "Switch Effect On" : "Switch Effect Off",
                         [post, on](BaseDocument& document) { switchVideoPost(document, post, on); });
}

void RenderSettingsDialog::removeEffect() {
  const QListWidgetItem* item = effects_->currentItem();
  if (!item) return;
  session_.edits().apply("Remove Effect", [post = item->data(identityRole).toULongLong()](
                                              BaseDocument& document) { removeVideoPost(document, post); });
  refresh();
}

} // namespace host
