#include "filmstrip.h"

#include <QDesktopServices>

#include "icons.h"
#include "kept_bitmap.h"
#include "key_table.h"
#include "message_box.h"
#include "program.h"
#include "qt_text.h"
#include "theme.h"

namespace host {

namespace {

QString text(const std::string& utf8) {
  return QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size()));
}

} // namespace

Filmstrip::Filmstrip(Session& session, QWidget* parent)
    : QWidget(parent), session_(session), model_(new FilmstripModel(session, this)) {
  setObjectName(QStringLiteral("filmstrip"));
  build();
  const auto soon = [this] { refresh(); };
  subscriptions_.push_back(session_.pictures().changed.add(soon));
  subscriptions_.push_back(session_.renders().finished.add(soon));
  subscriptions_.push_back(session_.history().changed.add([this, soon] {
    soon();
    session_.pluginPictures().refresh(); // a finished render may be in the plug-in's folder soon
  }));
  subscriptions_.push_back(session_.pluginPictures().changed.add(soon));
  connect(&ThemeNotifier::instance(), &ThemeNotifier::changed, this, soon);
  refresh();
}

Filmstrip::~Filmstrip() {
  lifetime_.end();
}

void Filmstrip::build() {
  list_ = new QListView(this);
  list_->setObjectName(QStringLiteral("filmstripList"));
  list_->setAccessibleName(tr("Pictures"));
  list_->setToolTip(tr("The pictures of this session and of earlier ones, the newest first"));
  list_->setModel(model_);
  list_->setIconSize(FilmstripModel::thumbnailSize);
  list_->setSpacing(2);
  list_->setTextElideMode(Qt::ElideRight);
  list_->setSelectionMode(QAbstractItemView::ExtendedSelection);
  list_->setEditTriggers(QAbstractItemView::EditKeyPressed);
  list_->setDragEnabled(true);
  list_->setDragDropMode(QAbstractItemView::DragOnly);
  list_->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
  list_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  list_->setContextMenuPolicy(Qt::NoContextMenu); // the filmstrip has the menu
  list_->installEventFilter(this);
  connect(list_->selectionModel(), &QItemSelectionModel::currentChanged, this, [this] { takeSelection(); });

  empty_ = new QLabel(this);
  empty_->setObjectName(QStringLiteral("filmstripEmpty"));
  empty_->setWordWrap(true);
  empty_->setAlignment(Qt::AlignCenter);
  empty_->setMargin(4 * metrics::grid);
  setRole(empty_, "dim");
  stack_ = new QStackedWidget(this);
  stack_->addWidget(list_);
  stack_->addWidget(empty_);

  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(metrics::grid, metrics::grid, metrics::grid, metrics::grid);
  layout->setSpacing(metrics::grid);
  buildSearch();
  auto* bar = new QHBoxLayout;
  bar->setSpacing(metrics::grid);
  bar->addWidget(search_, 1);
  bar->addWidget(starred_);
  layout->addLayout(bar);
  layout->addWidget(stack_, 1);
}

void Filmstrip::buildSearch() {
  search_ = new QLineEdit(this);
  search_->setObjectName(QStringLiteral("filmstripSearch"));
  search_->setPlaceholderText(tr("Search"));
  search_->setAccessibleName(tr("Search"));
  search_->setToolTip(tr("Words of names, cameras, scenes and notes"));
  search_->setClearButtonEnabled(true);
  search_->setFocusPolicy(Qt::ClickFocus); // a field that is disabled passes the keys on, never to the search
  starred_ = new QToolButton(this);
  starred_->setObjectName(QStringLiteral("filmstripStarred"));
  starred_->setIcon(icon(QStringLiteral("star")));
  starred_->setCheckable(true);
  starred_->setToolTip(tr("Pictures with a star only"));
  starred_->setAccessibleName(starred_->toolTip());
  starred_->setFixedSize(metrics::control, metrics::control);
  const auto filter = [this] {
    model_->setFilter(search_->text(), starred_->isChecked());
    refresh();
  };
  connect(search_, &QLineEdit::textChanged, this, filter);
  connect(starred_, &QToolButton::toggled, this, filter);
}

void Filmstrip::refresh() {
  const bool was = std::exchange(settling_, true);
  model_->refresh();
  const PictureList::Id current = session_.pictures().current();
  FilmstripItem wanted;
  if (reading_)
    wanted = *reading_; // its picture is on its way
  else if (current != 0 && current == visit_)
    wanted = visited_;
  else
    wanted.picture = current;
  const int row = current == 0 && !reading_ ? -1 : model_->rowOf(wanted);
  const QModelIndex at = row < 0 ? QModelIndex() : model_->index(row);
  const QItemSelectionModel& selection = *list_->selectionModel();
  const bool there = at.row() == list_->currentIndex().row() && (row < 0 || selection.isSelected(at));
  if (!there && selection.selectedIndexes().size() < 2) chooseRow(at);
  empty_->setText(
      model_->countAll() > 0
          ? tr("No picture matches.\n\nClear the search, or show those without a star too.")
          : tr("Nothing rendered yet.\n\nEvery finished render is kept here with its scene: render "
               "with Shift+R, or refresh the viewer. A right click on a picture brings its scene "
               "back."));
  stack_->setCurrentIndex(model_->rowCount() > 0 ? 0 : 1);
  settling_ = was;
}

void Filmstrip::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  session_.pluginPictures().refresh();
}

std::vector<FilmstripItem> Filmstrip::chosen() const {
  QModelIndexList rows = list_->selectionModel()->selectedIndexes();
  std::sort(rows.begin(), rows.end());
  std::vector<FilmstripItem> items;
  for (const QModelIndex& row : rows)
    if (const FilmstripItem* item = model_->at(row)) items.push_back(*item);
  return items;
}

// QListView::setCurrentIndex alone extends the selection while Shift is held, as it is for Shift+R.
void Filmstrip::chooseRow(const QModelIndex& row) {
  list_->setCurrentIndex(row);
  list_->selectionModel()->select(row, QItemSelectionModel::ClearAndSelect);
}

void Filmstrip::step(int rows) {
  const int count = model_->rowCount(), now = list_->currentIndex().row();
  if (count == 0) return;
  chooseRow(model_->index(std::clamp(now + rows, 0, count - 1)));
}

// --- showing ---

void Filmstrip::takeSelection() {
  if (settling_) return;
  if (const FilmstripItem* item = model_->at(list_->currentIndex())) showItem(*item);
}

void Filmstrip::showItem(const FilmstripItem& item) {
  const quint64 number = ++wanted_;
  reading_.reset();
  if (item.picture) return session_.pictures().choose(item.picture);
  reading_ = item;
  read(item, [this, self = lifetime_.ref(), item, number](const SharedBitmap& picture) {
    if (!self || number != wanted_) return; // another one was chosen since
    if (!picture)
      emit said(tr("The picture \"%1\" cannot be read: its file is gone or damaged. Remove it from the list.")
                    .arg(item.name));
    visited_ = item;
    visit_ = session_.pictures().visit(picture, toHost(item.name));
    reading_.reset();
    refresh();
  });
}

void Filmstrip::read(const FilmstripItem& item, const RenderHistory::BitmapReady& ready) {
  if (const PictureList::Picture* picture = session_.pictures().find(item.picture))
    ready(picture->bitmap);
  else if (item.entry)
    session_.history().readBitmap(item.entry, ready);
  else
    readFile(item.file.file, ready);
}

void Filmstrip::readFile(const Filename& file, const RenderHistory::BitmapReady& ready) {
  const auto picture = std::make_shared<SharedBitmap>();
  files_.push([file, picture] { *picture = bitmapOf(file); }, [ready, picture] { ready(*picture); });
}

void Filmstrip::use(int slot) {
  const std::vector<FilmstripItem> items = chosen();
  if (items.empty()) return;
  read(items.front(), [this, self = lifetime_.ref(), slot, name = items.front().name](const auto& picture) {
    if (self && picture) emit useWanted(slot, picture, name);
  });
}

// --- commands ---

void Filmstrip::restoreScene() {
  const std::vector<FilmstripItem> items = chosen();
  if (items.size() != 1 || !items[0].scenes) return;
  session_.history().restore(
      items[0].scenes, [self = lifetime_.ref(), name = items[0].name](const std::string& error) {
        if (!self) return;
        if (error.empty())
          emit self->said(tr("The scene of \"%1\" is back. Undo restores the one before.").arg(name));
        else
          showError(self.get(), splitBoxText(text(error)));
      });
}

void Filmstrip::showChanges() {
  const std::vector<FilmstripItem> items = chosen();
  if (items.empty() || items.size() > 2 || !items.front().scenes || !items.back().scenes) return;
  const FilmstripItem& older = items.back();
  const RenderHistory::Id to = items.size() == 2 ? items.front().scenes : 0;
  const QString title = items.size() == 2 ? tr("From \"%1\" to \"%2\"").arg(older.name, items.front().name)
                                          : tr("From \"%1\" to the scene now").arg(older.name);
  session_.history().showChanges(
      older.scenes, to,
      [self = lifetime_.ref(), title](const std::vector<std::string>& lines, const std::string& error) {
        if (!self) return;
        if (!error.empty()) return showError(self.get(), splitBoxText(text(error)));
        QStringList words;
        for (const std::string& line : lines)
          words << text(line);
        self->showLines(title, words);
      });
}

void Filmstrip::showLines(const QString& title, const QStringList& lines) {
  auto* dialog = new QDialog(this);
  dialog->setObjectName(QStringLiteral("changes"));
  dialog->setAttribute(Qt::WA_DeleteOnClose);
  dialog->setWindowTitle(tr("What Changed"));
  auto* heading = new QLabel(title, dialog);
  heading->setWordWrap(true);
  setRole(heading, "title");
  auto* list = new QListWidget(dialog);
  list->setSelectionMode(QAbstractItemView::ExtendedSelection);
  list->addItems(lines.isEmpty() ? QStringList{tr("Nothing: the scenes are equal.")} : lines);
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, dialog);
  connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::close);
  auto* layout = new QVBoxLayout(dialog);
  layout->addWidget(heading);
  layout->addWidget(list, 1);
  layout->addWidget(buttons);
  dialog->resize(420, 320);
  dialog->show();
}

// A picture of the plug-in's folder gets an entry of its own first, with a copy of the picture.
void Filmstrip::withEntry(const FilmstripItem& item, const std::function<void(RenderHistory::Id)>& change) {
  if (item.entry) return change(item.entry);
  if (!item.isFile()) return;
  HistoryEntry entry;
  entry.name = item.name.toStdString();
  entry.time = item.time;
  entry.source = item.file.source;
  session_.history().keepPicture(item.file.file, entry, [change](RenderHistory::Id id) {
    if (id != 0) change(id);
  });
}

void Filmstrip::toggleStar() {
  const std::vector<FilmstripItem> items = chosen();
  const bool on = std::any_of(items.begin(), items.end(), [](const auto& item) { return !item.starred; });
  for (const FilmstripItem& item : items)
    withEntry(item,
              [&history = session_.history(), on](RenderHistory::Id id) { history.setStarred(id, on); });
}

void Filmstrip::setNote(const QString& note) {
  for (const FilmstripItem& item : chosen())
    withEntry(item, [&history = session_.history(), note](RenderHistory::Id id) {
      history.setNote(id, note.trimmed().toStdString());
    });
}

void Filmstrip::askNote() {
  const std::vector<FilmstripItem> items = chosen();
  if (items.empty()) return;
  auto* dialog = new QInputDialog(this);
  dialog->setObjectName(QStringLiteral("note"));
  dialog->setAttribute(Qt::WA_DeleteOnClose);
  dialog->setWindowTitle(tr("Note"));
  dialog->setLabelText(tr("A note on \"%1\"; an empty one removes it.").arg(items.front().name));
  dialog->setTextValue(items.front().note);
  connect(dialog, &QInputDialog::textValueSelected, this, &Filmstrip::setNote);
  dialog->open();
}

void Filmstrip::rename() {
  const std::vector<FilmstripItem> items = chosen();
  if (items.size() == 1 && (items[0].entry || items[0].picture)) list_->edit(list_->currentIndex());
}

// Pictures of the plug-in's folder stay there: it is the plug-in's.
void Filmstrip::remove() {
  for (const FilmstripItem& item : chosen()) {
    if (item.running) continue;
    if (item.entry) session_.history().remove(item.entry);
    if (item.picture) session_.pictures().remove(item.picture);
  }
}

void Filmstrip::showInFolder() {
  const std::vector<FilmstripItem> items = chosen();
  if (items.empty()) return;
  const Program* program = Program::current();
  const Filename folder = items.front().isFile() ? items.front().file.file.GetDirectory()
                          : program              ? program->writePath() + Filename("renders")
                                                 : Filename();
  if (folder.Content()) QDesktopServices::openUrl(QUrl::fromLocalFile(toQt(folder)));
}

QMenu* Filmstrip::makeMenu() {
  const std::vector<FilmstripItem> items = chosen();
  const bool one = items.size() == 1;
  const auto all = [&](auto is) { return !items.empty() && std::all_of(items.begin(), items.end(), is); };
  const bool scenes = all([](const FilmstripItem& item) { return item.scenes != 0; });
  const bool marks = all([](const FilmstripItem& item) { return item.entry || item.isFile(); });
  const bool starred = all([](const FilmstripItem& item) { return item.starred; });
  auto* menu = new QMenu(this);
  const auto add = [&](const char* name, const QString& words, bool enabled, auto run,
                       const QKeySequence& key = {}) {
    QAction* action = menu->addAction(words, this, run);
    action->setObjectName(QLatin1String(name));
    action->setEnabled(enabled);
    if (!key.isEmpty()) action->setShortcut(key);
  };
  const auto key = [this](const char* command, const char* otherwise) {
    return commandKey(*this, command, QKeySequence(QLatin1String(otherwise)));
  };
  add(
      "restore", tr("Restore Scene"), one && scenes, [this] { restoreScene(); },
      key("restore-scene", "Ctrl+Shift+R"));
  add(
      "changes", tr("Show What Changed"), scenes && items.size() <= 2, [this] { showChanges(); },
      key("show-changes", "Ctrl+Shift+D"));
  menu->addSeparator();
  add(
      "star", starred ? tr("Remove Star") : tr("Star"), marks, [this] { toggleStar(); },
      key("star-picture", "*"));
  add(
      "note", tr("Note..."), marks, [this] { askNote(); }, key("note-picture", "Shift+N"));
  add(
      "rename", tr("Rename"), one && (items[0].entry || items[0].picture), [this] { rename(); }, Qt::Key_F2);
  add(
      "remove", tr("Remove"),
      all([](const FilmstripItem& item) { return !item.running && (item.entry || item.picture); }),
      [this] { remove(); }, key("delete", "Del"));
  menu->addSeparator();
  add(
      "use-a", tr("Use as A"), one, [this] { use(0); }, key("use-a", "Shift+A"));
  add(
      "use-b", tr("Use as B"), one, [this] { use(1); }, key("use-b", "Shift+B"));
  add("folder", tr("Show in Folder"), one && (items[0].isFile() || items[0].entry),
      [this] { showInFolder(); });
  return menu;
}

void Filmstrip::contextMenuEvent(QContextMenuEvent* event) {
  if (chosen().empty()) return;
  const std::unique_ptr<QMenu> menu(makeMenu());
  menu->exec(event->globalPos());
}

bool Filmstrip::eventFilter(QObject* watched, QEvent* event) {
  if (watched == list_ && event->type() == QEvent::KeyPress) {
    const auto& key = static_cast<const QKeyEvent&>(*event);
    if (pressesCommand(*this, key, "star-picture", Qt::Key_Asterisk)) return toggleStar(), true;
    if (pressesCommand(*this, key, "delete", Qt::Key_Delete)) return remove(), true;
  }
  return QWidget::eventFilter(watched, event);
}

} // namespace host
