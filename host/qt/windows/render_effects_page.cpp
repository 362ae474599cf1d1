#include "render_effects_page.h"

#include <utility>

#include "c4d_render.h"
#include "icons.h"
#include "qt_text.h"
#include "scene_edits.h"
#include "scene_queries.h"
#include "theme.h"

namespace host {

namespace {

constexpr int identityRole = Qt::UserRole, typeRole = Qt::UserRole + 1;

// Settings kept for other renderers; nothing here reads them.
constexpr LONG foreignRenderer = 1021830;

bool isInert(LONG type) {
  return type == VPhair || type == foreignRenderer;
}

} // namespace

RenderEffectsPage::RenderEffectsPage(Session& session, QWidget* parent) : QWidget(parent), session_(session) {
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(metrics::groupSpace, metrics::groupSpace, metrics::groupSpace,
                             metrics::groupSpace);
  layout->setSpacing(metrics::groupSpace);
  auto* bar = new QHBoxLayout;
  bar->setSpacing(metrics::groupSpace);
  addButton_ = new QPushButton(icon(QStringLiteral("plus")), tr("Add Effect"), this);
  addButton_->setObjectName(QStringLiteral("addEffect"));
  addButton_->setAutoDefault(false);
  addButton_->setToolTip(tr("Adds something that a render computes"));
  addButton_->setMenu(new QMenu(addButton_));
  connect(addButton_->menu(), &QMenu::aboutToShow, this, &RenderEffectsPage::fillMenu);
  removeButton_ = new QPushButton(icon(QStringLiteral("delete")), tr("Remove"), this);
  removeButton_->setObjectName(QStringLiteral("removeEffect"));
  removeButton_->setAutoDefault(false);
  removeButton_->setToolTip(tr("Removes the chosen effect"));
  connect(removeButton_, &QPushButton::clicked, this, &RenderEffectsPage::remove);
  bar->addWidget(addButton_);
  bar->addStretch(1);
  bar->addWidget(removeButton_);
  list_ = new QListWidget(this);
  list_->setObjectName(QStringLiteral("effectList"));
  list_->setAccessibleName(tr("Effects"));
  list_->setToolTip(tr("What renders compute; the box switches an effect off (Space)"));
  connect(list_, &QListWidget::itemChanged, this, &RenderEffectsPage::switchItem);
  connect(list_, &QListWidget::currentItemChanged, this, [this] { showNote(); });
  empty_ = new QLabel(tr("No effects. Add one to change what a render computes: global illumination lets "
                         "light bounce between surfaces."),
                      this);
  empty_->setWordWrap(true);
  setRole(empty_, "dim");
  note_ = new QLabel(this);
  note_->setWordWrap(true);
  setRole(note_, "dim");
  layout->addLayout(bar);
  layout->addWidget(list_, 1);
  layout->addWidget(empty_);
  layout->addWidget(note_);
}

RenderEffectsPage::~RenderEffectsPage() = default;

void RenderEffectsPage::refresh() {
  const bool was = std::exchange(settling_, true);
  const std::vector<VideoPostRow> rows = videoPostRows(*session_.document());
  bool same = list_->count() == static_cast<int>(rows.size());
  for (std::size_t i = 0; same && i < rows.size(); ++i)
    same = list_->item(static_cast<int>(i))->data(identityRole).toULongLong() == rows[i].identity;
  if (!same) {
    const QListWidgetItem* current = list_->currentItem();
    const Identity chosen = current ? current->data(identityRole).toULongLong() : 0;
    list_->clear();
    for (const VideoPostRow& row : rows) {
      auto* item = new QListWidgetItem(list_);
      item->setData(identityRole, static_cast<qulonglong>(row.identity));
      item->setData(typeRole, row.type);
      if (row.identity == chosen) list_->setCurrentItem(item);
    }
  }
  for (std::size_t i = 0; i < rows.size(); ++i) {
    QListWidgetItem* item = list_->item(static_cast<int>(i));
    const QString name = toQt(rows[i].name);
    item->setText(isInert(rows[i].type) ? tr("%1 (no effect)").arg(name) : name);
    item->setCheckState(rows[i].on ? Qt::Checked : Qt::Unchecked);
  }
  list_->setVisible(!rows.empty());
  empty_->setVisible(rows.empty());
  addButton_->setEnabled(!addableVideoPosts(*session_.document()).empty());
  showNote();
  settling_ = was;
}

void RenderEffectsPage::showNote() {
  const QListWidgetItem* item = list_->currentItem();
  removeButton_->setEnabled(item != nullptr);
  const LONG type = item ? item->data(typeRole).toInt() : 0;
  QString text;
  if (type == VPglobalillumination) text = tr("Light bounces between surfaces.");
  if (type == VPambientocclusion) text = tr("Darkens crevices on what the camera sees.");
  if (type == VPcaustics) text = tr("Light through glass and off mirrors brightens what it falls on.");
  if (isInert(type)) text = tr("Kept in the scene for other programs; the renders here do not use it.");
  note_->setText(text);
  note_->setVisible(!text.isEmpty());
}

void RenderEffectsPage::fillMenu() {
  addButton_->menu()->clear();
  if (!session_.document()) return;
  for (const VideoPostRow& row : addableVideoPosts(*session_.document())) {
    const QString name = toQt(row.name);
    addButton_->menu()->addAction(isInert(row.type) ? tr("%1 (no effect)").arg(name) : name, this,
                                  [this, type = row.type] { add(type); });
  }
}

void RenderEffectsPage::add(LONG type) {
  Identity added = 0;
  session_.edits().apply("Add Effect",
                         [&added, type](BaseDocument& document) { added = addVideoPost(document, type); });
  refresh();
  for (int row = 0; row < list_->count(); ++row)
    if (list_->item(row)->data(identityRole).toULongLong() == added) list_->setCurrentRow(row);
}

void RenderEffectsPage::switchItem(QListWidgetItem* item) {
  if (settling_) return;
  const Identity post = item->data(identityRole).toULongLong();
  const bool on = item->checkState() == Qt::Checked;
  session_.edits().apply(on ? "Switch Effect On" : "Switch Effect Off",
                         [post, on](BaseDocument& document) { switchVideoPost(document, post, on); });
}

void RenderEffectsPage::remove() {
  const QListWidgetItem* item = list_->currentItem();
  if (!item) return;
  session_.edits().apply("Remove Effect", [post = item->data(identityRole).toULongLong()](
                                              BaseDocument& document) { removeVideoPost(document, post); });
  refresh();
}

} // namespace host
