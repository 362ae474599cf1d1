#include "library_window.h"

#include "library_model.h"
#include "message_box.h"
#include "mnemonic_tips.h"
#include "qt_text.h"
#include "scene_edits.h"
#include "scene_queries.h"
#include "theme.h"

namespace host {

namespace {

/// Shows one group, or all, and the names with a text.
class LibraryFilter : public QSortFilterProxyModel {
 public:
  using QSortFilterProxyModel::QSortFilterProxyModel;
  void show(const QString& group, const QString& text) {
    group_ = group, text_ = text;
    invalidateFilter();
  }

 protected:
  bool filterAcceptsRow(int row, const QModelIndex& parent) const override {
    const QModelIndex index = sourceModel()->index(row, 0, parent);
    const QString group = index.data(LibraryModel::groupRole).toString();
    if (!group_.isEmpty() && group != group_) return false;
    return text_.isEmpty() || group.contains(text_, Qt::CaseInsensitive) ||
           index.data().toString().contains(text_, Qt::CaseInsensitive);
  }

 private:
  QString group_, text_;
};

QPushButton* makeButton(const QString& text, const QString& name, const QString& tip) {
  auto* button = new QPushButton(text);
  button->setObjectName(name);
  button->setToolTip(tip);
  button->setAutoDefault(false);
  return button;
}

} // namespace

LibraryWindow::LibraryWindow(Session& session, QWidget* parent)
    : QDialog(parent), session_(session), model_(new LibraryModel(session, this)),
      shown_(new LibraryFilter(this)), list_(new QListView), search_(new QLineEdit), groups_(new QComboBox),
      state_(new QLabel),
      take_(
          makeButton(tr("&Take"), QStringLiteral("libraryTake"),
                     tr("Copies the material into the scene and onto the selected objects (double click)"))),
      keep_(makeButton(tr("&Keep Selected Material"), QStringLiteral("libraryKeep"),
                       tr("Adds the scene's selected material to your own library"))),
      remove_(makeButton(tr("&Delete..."), QStringLiteral("libraryDelete"),
                         tr("Deletes a material of your own library"))) {
  setObjectName(QStringLiteral("materialLibrary"));
  setWindowTitle(tr("Material Library"));
  resize(600, 560);
  shown_->setSourceModel(model_);
  build();
  subscriptions_.push_back(session_.materialLibrary().changed.add([this] { refresh(); }));
  const auto state = [this] {
    if (isVisible()) showState();
  };
  subscriptions_.push_back(session_.hub().changed.add(state));
  subscriptions_.push_back(session_.hub().selectionChanged.add(state));
}

LibraryWindow::~LibraryWindow() = default;

void LibraryWindow::build() {
  search_->setObjectName(QStringLiteral("librarySearch"));
  search_->setPlaceholderText(tr("Search"));
  search_->setClearButtonEnabled(true);
  search_->setToolTip(tr("Shows materials with this text in their name or group"));
  search_->setAccessibleName(tr("Search materials"));
  groups_->setObjectName(QStringLiteral("libraryGroups"));
  groups_->setToolTip(tr("Shows the materials of one group"));
  groups_->setAccessibleName(tr("Group"));
  list_->setObjectName(QStringLiteral("libraryList"));
  list_->setAccessibleName(tr("Materials of the library"));
  list_->setToolTip(tr("Double-click a material to take it, or drag it onto an object"));
  list_->setModel(shown_);
  list_->setViewMode(QListView::IconMode);
  list_->setMovement(QListView::Static);
  list_->setResizeMode(QListView::Adjust);
  list_->setDragEnabled(true);
  list_->setUniformItemSizes(true);
  list_->setWordWrap(true);
  list_->setIconSize(QSize(LibraryModel::thumbnailSize, LibraryModel::thumbnailSize));
  list_->setGridSize(QSize(LibraryModel::thumbnailSize + 28, LibraryModel::thumbnailSize + 48));
  connect(search_, &QLineEdit::textChanged, this, &LibraryWindow::filter);
  connect(groups_, &QComboBox::activated, this, &LibraryWindow::filter);
  connect(list_, &QListView::activated, this, &LibraryWindow::take);
  connect(list_->selectionModel(), &QItemSelectionModel::selectionChanged, this, &LibraryWindow::showState);
  connect(take_, &QPushButton::clicked, this, &LibraryWindow::take);
  connect(keep_, &QPushButton::clicked, this, &LibraryWindow::keepSelected);
  connect(remove_, &QPushButton::clicked, this, &LibraryWindow::removeChosen);
  state_->setObjectName(QStringLiteral("libraryState"));
  state_->setWordWrap(true);
  state_->setTextFormat(Qt::PlainText);
  setRole(state_, "dim");
  auto* above = new QHBoxLayout;
  above->addWidget(search_, 1);
  above->addWidget(groups_);
  auto* below = new QHBoxLayout;
  below->addWidget(keep_);
  below->addWidget(remove_);
  below->addStretch(1);
  below->addWidget(take_);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(12, 12, 12, 12);
  layout->setSpacing(metrics::groupSpace);
  layout->addLayout(above);
  layout->addWidget(list_, 1);
  layout->addWidget(state_);
  layout->addLayout(below);
  tellMnemonics(*this);
}

void LibraryWindow::showEvent(QShowEvent* event) {
  QDialog::showEvent(event);
  model_->setPixelRatio(devicePixelRatioF());
  session_.materialLibrary().open();
  refresh();
}

void LibraryWindow::refresh() {
  model_->refresh();
  const QString before = groups_->currentData().toString();
  groups_->clear();
  groups_->addItem(tr("All groups"), QString());
  for (const MaterialLibrary::Entry& entry : session_.materialLibrary().entries()) {
    const QString group = QString::fromStdString(entry.group);
    if (groups_->findData(group) < 0) groups_->addItem(group, group);
  }
  groups_->setCurrentIndex(std::max(0, groups_->findData(before)));
  filter();
}

void LibraryWindow::filter() {
  static_cast<LibraryFilter*>(shown_)->show(groups_->currentData().toString(), search_->text().trimmed());
  showState();
}

Identity LibraryWindow::chosen() const {
  const QModelIndexList rows = list_->selectionModel()->selectedIndexes();
  return rows.isEmpty() ? 0 : model_->identityOf(shown_->mapToSource(rows.first()));
}

void LibraryWindow::showState() {
  const MaterialLibrary& library = session_.materialLibrary();
  const MaterialLibrary::Entry* entry = library.entryOf(chosen());
  take_->setEnabled(entry && session_.document());
  remove_->setEnabled(entry && entry->own());
  keep_->setEnabled(session_.document() && selectedMaterial(*session_.document()) != 0);
  if (library.isReading())
    state_->setText(tr("Reading the library..."));
  else if (!library.problems().empty())
    state_->setText(
        toQt(String(library.problems().front())) +
        (library.problems().size() > 1 ? tr(" And %1 more.").arg(library.problems().size() - 1) : QString()));
  else
    state_->setText(shown_->rowCount() == 0 ? tr("No material has this text in its name.")
                                            : tr("%1 materials").arg(shown_->rowCount()));
}

void LibraryWindow::take() {
  const MaterialLibrary& library = session_.materialLibrary();
  const MaterialLibrary::Entry* entry = library.entryOf(chosen());
  if (!entry || !session_.document()) return;
  session_.edits().apply("Take Material", [&library, material = entry->identity](BaseDocument& document) {
    const Identity copy = library.bring(document, material);
    if (const Identities objects = selectedObjects(document); !objects.empty())
      assignMaterial(document, objects, copy);
  });
}

void LibraryWindow::keepSelected() {
  if (!session_.document() || !keep_->isEnabled()) return;
  session_.materialLibrary().keep(
      *session_.document(), selectedMaterial(*session_.document()),
      [self = QPointer(this)](const std::string& error) {
        if (self && !error.empty())
          showError(self, {tr("The material was not kept."), toQt(String(error)), {}, {}});
      });
}

void LibraryWindow::removeChosen() {
  const MaterialLibrary::Entry* entry = session_.materialLibrary().entryOf(chosen());
  if (!entry || !entry->own()) return;
  const BoxText question{tr("Delete \"%1\" from your library?").arg(QString::fromStdString(entry->name)),
                         tr("Scenes that have it keep their copies. This cannot be undone."),
                         {},
                         {}};
  const Identity identity = entry->identity;
  if (askChoice(this, question, {tr("&Delete"), tr("Cancel")}) != 0) return;
  const std::string error = session_.materialLibrary().remove(identity);
  if (!error.empty()) showError(this, {tr("The material was not deleted."), toQt(String(error)), {}, {}});
}

} // namespace host
