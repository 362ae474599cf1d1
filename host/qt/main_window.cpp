#include "main_window.h"

#include "area_widget.h"
#include "attribute_manager.h"
#include "c4d_events.h"
#include "console_widget.h"
#include "dialog_window.h"
#include "editor_view_widget.h"
#include "full_picture.h"
#include "icons.h"
#include "material_manager.h"
#include "message_box.h"
#include "object_manager.h"
#include "picture_viewer.h"
#include "preferences.h"
#include "qt_user_interface.h"
#include "render_settings_dialog.h"
#include "shortcuts_dialog.h"
#include "start_page.h"
#include "status_widget.h"
#include "theme.h"
#include "timeline_widget.h"

namespace host {

namespace {

constexpr int layoutVersion = 1;
constexpr const char* layoutName = "window";
enum LayoutKey : LONG { keyVersion = 1, keyGeometry = 2, keyState = 3, keySum = 4, keyTool = 5 };

QString text(const String& string) {
  return QString::fromStdString(string.GetUTF8());
}

QString text(const std::string& string) {
  return QString::fromStdString(string);
}

QByteArray bytes(const BaseContainer& container, LONG id) {
  std::size_t count = 0;
  const void* memory = container.GetMemory(id, &count);
  return memory ? QByteArray(static_cast<const char*>(memory), static_cast<qsizetype>(count)) : QByteArray();
}

void setBytes(BaseContainer& container, LONG id, const QByteArray& data) {
  container.SetMemory(id, data.constData(), static_cast<std::size_t>(data.size()));
}

// The first file of what is dragged over the window.
Filename droppedFile(const QMimeData* data) {
  if (data && data->hasUrls())
    for (const QUrl& url : data->urls())
      if (url.isLocalFile()) return Filename(String(url.toLocalFile().toStdString()));
  return {};
}

} // namespace

MainWindow::MainWindow(Session& session, QtUserInterface& ui, MainWindowOptions options)
    : session_(session), ui_(ui), options_(std::move(options)), commands_(new CommandTable(this)) {
  setObjectName(QStringLiteral("studio"));
  setWindowIcon(icon(QStringLiteral("lumenara")));
  setDockNestingEnabled(true);
  setAcceptDrops(true);
  setTabPosition(Qt::AllDockWidgetAreas, QTabWidget::North);
  setCorner(Qt::BottomLeftCorner, Qt::LeftDockWidgetArea);
  setCorner(Qt::BottomRightCorner, Qt::RightDockWidgetArea);
  resize(1440, 900);

  buildCentre();
  buildDocks();
  fillTable();
  buildMenus();
  buildToolBar();
  status_ = new StatusWidget(session_);
  status_->setStopPlugins(options_.stopPlugins);
  statusBar()->setSizeGripEnabled(false);
  statusBar()->addWidget(status_, 1);

  storeSoon_.setSingleShot(true);
  storeSoon_.setInterval(1000);
  connect(&storeSoon_, &QTimer::timeout, this, &MainWindow::storeLayout);
  progressLate_.setSingleShot(true);
  connect(&progressLate_, &QTimer::timeout, this, &MainWindow::showActivity);
  dialogUsed_.setSingleShot(true);
  dialogUsed_.setInterval(60);
  connect(&dialogUsed_, &QTimer::timeout, this, &MainWindow::noticeDialogs);
  qApp->installEventFilter(this);
  subscribe();
  askQuestions();
  ui_.setMainWindow(this);
  ui_.setDialogHost(this);
  ui_.setShowBitmap([this](const BaseBitmap& bitmap) {
    if (down_ || !session_.pictures().show(bitmap)) return false;
    showPictureViewer();
    return true;
  });
  ui_.setDrawViews([this](LONG flags) { return !down_ && view_->view().drawViews(flags); });
  resetLayout();
  refresh();
}

MainWindow::~MainWindow() {
  shutDown();
  ui_.setDialogHost(nullptr);
}

void MainWindow::buildCentre() {
  auto* centre = new QWidget;
  view_ = new EditorViewWidget(session_, options_.tracer);
  timeline_ = new TimelineWidget(session_);
  auto* layout = new QVBoxLayout(centre);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(0);
  layout->addWidget(view_, 1);
  layout->addWidget(timeline_);
  setCentralWidget(centre);

  StartPageServices services;
  services.open = [this] { chooseAndOpen(); };
  services.openOne = [this](const Filename& file) { userLoads_ = session_.files().openRecent(file); };
  if (options_.demoScene.Content()) services.openDemo = [this] { openFile(options_.demoScene); };
  start_ = new StartPage(std::move(services), view_);
  view_->installEventFilter(this);
  connect(view_, &EditorViewWidget::toolChanged, commands_, &CommandTable::refreshSoon);
  connect(view_, &EditorViewWidget::menuWanted, this, &MainWindow::showViewMenu);
  commands_->setBlocked([this] { return down_ || view_->view().inDrag(); });
}

QDockWidget* MainWindow::addDock(const char* name, const QString& title, QWidget* content) {
  auto* dock = new QDockWidget(title, this);
  dock->setObjectName(QLatin1String(name));
  dock->setWidget(content);
  connect(dock, &QDockWidget::visibilityChanged, this, &MainWindow::layoutChanged);
  connect(dock, &QDockWidget::dockLocationChanged, this, &MainWindow::layoutChanged);
  connect(dock, &QDockWidget::topLevelChanged, this, &MainWindow::layoutChanged);
  return dock;
}

void MainWindow::buildDocks() {
  objects_ = new ObjectManager(session_, nullptr);
  materials_ = new MaterialManager(session_, nullptr);
  attributes_ = new AttributeManager(session_, nullptr);
  connect(objects_, &ObjectManager::frameSelectedWanted, this, [this] { view_->view().frameSelected(); });
  console_ = new ConsoleWidget;
  objectsDock_ = addDock("dock-objects", tr("Objects"), objects_);
  materialsDock_ = addDock("dock-materials", tr("Materials"), materials_);
  attributesDock_ = addDock("dock-attributes", tr("Attributes"), attributes_);
  consoleDock_ = addDock("dock-console", tr("Console"), console_);
}

void MainWindow::subscribe() {
  const auto soon = [this] { commands_->refreshSoon(); };
  const auto keep = [this](Subscription subscription) { subscriptions_.push_back(std::move(subscription)); };
  keep(session_.hub().changed.add([this] { refresh(); }));
  keep(session_.hub().selectionChanged.add(soon));
  keep(session_.hub().timeChanged.add(soon));
  keep(session_.hub().replaced.add([this](Replacement why) {
    refresh();
    if (why != Replacement::opened) return;
    for (const std::string& warning : session_.files().warnings())
      GePrint(String(warning));
    const std::size_t count = session_.files().warnings().size();
    if (count > 0)
      status_->say(
          tr("The scene was opened with %n note(s); the console has them.", "", static_cast<int>(count)));
  }));
  keep(session_.edits().changed.add([this] { refresh(); }));
  keep(session_.files().changed.add([this] {
    showActivity();
    refresh();
  }));
  keep(session_.playback().changed.add(soon));
  keep(session_.renders().finished.add([this] {
    commands_->refreshSoon();
    const RenderState& state = session_.renders().state();
    if (!state.error.empty()) showError(this, splitBoxText(text(state.error)));
  }));
}

void MainWindow::askQuestions() {
  FileQuestions questions;
  questions.unsaved = [this](const String& title) {
    const BoxText box{
        tr("Save the changes to \"%1\"?").arg(text(title)), {}, tr("Without saving they are lost."), {}};
    const int answer = askChoice(this, box, {tr("Save"), tr("Discard"), tr("Cancel")});
    return answer == 0 ? UnsavedAnswer::save : answer == 1 ? UnsavedAnswer::discard : UnsavedAnswer::cancel;
  };
  questions.reload = [this](const String& title) {
    const BoxText box{tr("\"%1\" was changed by another program.").arg(text(title)),
                      tr("There are unsaved changes here as well."),
                      tr("Loading the file again gives them up."),
                      {}};
    return askChoice(this, box, {tr("Load Again"), tr("Keep My Changes")}) == 0;
  };
  questions.chooseSave = [this](Filename& file) {
    FileRequest request;
    request.type = FILESELECTTYPE_SCENES;
    request.mode = FILESELECT_SAVE;
    request.title = "Save Scene";
    request.start = file;
    return ui_.selectFile(request, file);
  };
  questions.failed = [this](const FileError& error) {
    showError(this, {text(error.sentence), text(error.reason), text(error.advice), text(error.details)});
  };
  session_.files().setQuestions(std::move(questions));
}

// --- what is shown ---

void MainWindow::refresh() {
  if (down_) return;
  showTitle();
  const BaseDocument* document = session_.document();
  const bool empty = document && !document->GetFirstObject() && !session_.files().file().Content() &&
                     session_.files().activity().kind == FileSession::Activity::Kind::none;
  if (empty && !start_->isVisibleTo(view_)) start_->setRecent(session_.files().recentFiles());
  start_->setVisible(empty);
  if (empty) start_->settle();
  commands_->refreshSoon();
}

void MainWindow::showTitle() {
  setWindowTitle(tr("%1 - Lumenara Studio").arg(text(session_.files().windowTitle())));
}

// A load that the user asked for has a box once it takes long; others show in the status bar only.
void MainWindow::showActivity() {
  using Kind = FileSession::Activity::Kind;
  const FileSession::Activity& activity = session_.files().activity();
  if (activity.kind == Kind::none) userLoads_ = false;
  if (activity.kind != Kind::loading || !userLoads_) {
    progressLate_.stop();
    if (progress_) progress_->deleteLater(), progress_.clear();
    return;
  }
  if (!progress_) {
    const Milliseconds waited = clock().now() - activity.since;
    if (waited < StatusWidget::delay) {
      if (!progressLate_.isActive()) progressLate_.start(static_cast<int>(StatusWidget::delay - waited));
      return;
    }
    progress_ = new QProgressDialog(this);
    progress_->setObjectName(QStringLiteral("loading"));
    progress_->setWindowTitle(tr("Opening"));
    progress_->setWindowModality(Qt::WindowModal);
    progress_->setAutoClose(false);
    progress_->setAutoReset(false);
    progress_->setMinimumDuration(0);
    progress_->setMinimumWidth(360);
    connect(progress_, &QProgressDialog::canceled, this, [this] { session_.files().cancelLoading(); });
    progress_->show();
  }
  progress_->setLabelText(text(activity.text));
  progress_->setRange(0, activity.progress < 0 ? 0 : 1000);
  if (activity.progress >= 0) progress_->setValue(static_cast<int>(activity.progress * 1000));
}

PictureViewer& MainWindow::pictureViewer() {
  if (!pictures_) {
    pictures_ = new PictureViewer(session_, nullptr);
    connect(pictures_, &PictureViewer::renderWanted, commands_->action(QStringLiteral("render.picture")),
            &QAction::trigger);
    pictures_->addAction(commands_->action(QStringLiteral("file.quit")));
  }
  return *pictures_;
}

void MainWindow::showPictureViewer() {
  pictureViewer().present();
}

void MainWindow::openFile(const Filename& file) {
  userLoads_ = session_.files().open(file);
  showActivity();
}

// --- layout ---

void MainWindow::resetLayout() {
  if (pictureOnly_) setPictureOnly(false);
  const struct {
    QDockWidget* dock;
    Qt::DockWidgetArea area;
  } places[] = {{objectsDock_, Qt::LeftDockWidgetArea},
                {materialsDock_, Qt::LeftDockWidgetArea},
                {attributesDock_, Qt::RightDockWidgetArea},
                {consoleDock_, Qt::BottomDockWidgetArea}};
  for (const auto& [dock, area] : places) {
    dock->setFloating(false);
    addDockWidget(area, dock);
    dock->setVisible(dock != consoleDock_);
  }
  splitDockWidget(objectsDock_, materialsDock_, Qt::Vertical);
  if (toolBar_) {
    addToolBar(Qt::TopToolBarArea, toolBar_);
    toolBar_->show();
  }
  resizeDocks({objectsDock_, attributesDock_}, {270, 380}, Qt::Horizontal);
  resizeDocks({objectsDock_, materialsDock_}, {500, 260}, Qt::Vertical);
  for (DialogDock* dock : findChildren<DialogDock*>()) {
    const auto* window = qobject_cast<DialogWindow*>(dock->widget());
    if (window && window->dialog() && options_.dockedDialogs.count(dock->property("plugin").toInt()))
      dockAboveAttributes(*dock);
  }
}

void MainWindow::restoreLayout() {
  layoutReady_ = true;
  const Preferences* stored = preferences();
  const BaseContainer* layout = stored ? stored->getNamed(layoutName) : nullptr;
  if (!layout || layout->GetLong(keyVersion) != layoutVersion) return;
  const QByteArray geometry = bytes(*layout, keyGeometry), state = bytes(*layout, keyState);
  if (layout->GetLong(keySum, -1) != qChecksum(QByteArrayView(geometry + state))) return;
  restoreGeometry(geometry);
  if (!restoreState(state, layoutVersion)) resetLayout();
}

void MainWindow::storeLayout() {
  storeSoon_.stop();
  Preferences* stored = preferences();
  if (!stored || !layoutReady_ || pictureOnly_ || down_) return;
  const QByteArray geometry = saveGeometry(), state = saveState(layoutVersion);
  BaseContainer layout;
  layout.SetLong(keyVersion, layoutVersion);
  setBytes(layout, keyGeometry, geometry);
  setBytes(layout, keyState, state);
  layout.SetLong(keySum, qChecksum(QByteArrayView(geometry + state)));
  const BaseContainer* before = stored->getNamed(layoutName);
  if (!before || *before != layout) stored->setNamed(layoutName, layout);
}

void MainWindow::layoutChanged() {
  if (layoutReady_ && !pictureOnly_ && !down_) storeSoon_.start();
}

void MainWindow::setPictureOnly(bool on) {
  if (on == pictureOnly_) return;
  if (on) {
    storeLayout();
    beforePictureOnly_ = saveState(layoutVersion);
    wasMaximized_ = isMaximized();
    pictureOnly_ = true;
    for (QDockWidget* dock : findChildren<QDockWidget*>(QString(), Qt::FindDirectChildrenOnly))
      if (!dock->isFloating()) dock->hide();
    toolBar_->hide();
    showFullScreen();
  } else {
    wasMaximized_ ? showMaximized() : showNormal();
    restoreState(beforePictureOnly_, layoutVersion);
    pictureOnly_ = false;
  }
  menuBar()->setVisible(!on);
  statusBar()->setVisible(!on);
  timeline_->setVisible(!on);
  commands_->refreshSoon();
}

AreaWidget* MainWindow::focusedPicture() const {
  const QWidget* focus = QApplication::focusWidget();
  for (const DialogDock* dock : findChildren<DialogDock*>()) {
    if (!focus || !dock->isAncestorOf(focus)) continue;
    for (const QScrollArea* group : dock->findChildren<QScrollArea*>())
      for (AreaWidget* area : group->findChildren<AreaWidget*>())
        if (area->area() && area->isVisible()) return area;
  }
  return nullptr;
}

void MainWindow::togglePicture() {
  AreaWidget* area = pictureOnly_ ? nullptr : focusedPicture();
  if (area)
    new FullPicture(*area, this);
  else
    setPictureOnly(!pictureOnly_);
}

// --- docks of dialogs ---

void MainWindow::dockAboveAttributes(QDockWidget& dock) {
  dock.setFloating(false);
  addDockWidget(Qt::RightDockWidgetArea, &dock);
  if (!attributesDock_->isFloating() && dockWidgetArea(attributesDock_) == Qt::RightDockWidgetArea) {
    const bool shown = !attributesDock_->isHidden();
    splitDockWidget(&dock, attributesDock_, Qt::Vertical);
    attributesDock_->setVisible(shown);
    resizeDocks({&dock, attributesDock_}, {460, 320}, Qt::Vertical);
  }
  resizeDocks({&dock}, {460}, Qt::Horizontal);
}

void MainWindow::placeDialog(DialogDock& dock, const DialogPlacement& placement, const QByteArray& state) {
  const bool docked = options_.dockedDialogs.count(placement.pluginId) > 0;
  // The saved layout knows the dock when it was open then.
  if (!state.isEmpty() && restoreDockWidget(&dock)) return;
  QDataStream stream(state);
  qint32 version = 0, area = 0;
  bool floating = false;
  stream >> version >> floating >> area;
  const bool known = stream.status() == QDataStream::Ok && version == layoutVersion;
  if (known && !floating && area == Qt::RightDockWidgetArea) return dockAboveAttributes(dock);
  if (known && !floating &&
      (area == Qt::LeftDockWidgetArea || area == Qt::BottomDockWidgetArea || area == Qt::TopDockWidgetArea)) {
    addDockWidget(static_cast<Qt::DockWidgetArea>(area), &dock);
    return;
  }
  if (!known && docked && placement.x < 0) return dockAboveAttributes(dock);

  addDockWidget(Qt::RightDockWidgetArea, &dock);
  dock.setFloating(true);
  const QSize wanted = dock.sizeHint().expandedTo({placement.width, placement.height});
  dock.resize(wanted);
  QRect place(QPoint(placement.x, placement.y), wanted);
  const QScreen* at = placement.x < 0 ? nullptr : QGuiApplication::screenAt(place.topLeft());
  if (!at) place.moveCenter(geometry().center());
  dock.move(place.topLeft());
}

QWidget* MainWindow::place(DialogWindow& window, const DialogPlacement& placement, const QByteArray& state) {
  if (down_) return nullptr;
  auto* dock = new DialogDock(window, this);
  dock->setProperty("plugin", placement.pluginId);
  placeDialog(*dock, placement, state);
  for (auto signal : {&QDockWidget::topLevelChanged})
    connect(dock, signal, this, &MainWindow::layoutChanged);
  dock->show();
  dock->raise();
  layoutChanged();
  return dock;
}

DialogDock* MainWindow::dockOf(const DialogWindow& window) const {
  for (DialogDock* dock : findChildren<DialogDock*>())
    if (dock->widget() == &window) return dock;
  return nullptr;
}

void MainWindow::remove(DialogWindow& window) {
  DialogDock* dock = dockOf(window);
  if (!dock) return;
  dock->hide();
  window.setParent(nullptr);
  removeDockWidget(dock);
  dock->deleteLater();
  layoutChanged();
}

QByteArray MainWindow::stateOf(const DialogWindow& window) const {
  QByteArray state;
  const DialogDock* dock = dockOf(window);
  if (!dock) return state;
  QDataStream stream(&state, QIODevice::WriteOnly);
  stream << qint32(layoutVersion) << dock->isFloating()
         << qint32(dockWidgetArea(const_cast<DialogDock*>(dock)));
  return state;
}

// --- events ---

void MainWindow::closeEvent(QCloseEvent* event) {
  if (down_) return event->accept();
  if (view_->view().inDrag() || !session_.files().mayClose()) return event->ignore();
  session_.pictureSaver().finish(); // one that cannot be saved is told while there is a window
  if (pictureOnly_) setPictureOnly(false);
  storeLayout();
  event->accept();
  emit closed();
}

void MainWindow::changeEvent(QEvent* event) {
  QMainWindow::changeEvent(event);
  if (event->type() == QEvent::WindowStateChange) layoutChanged();
}

void MainWindow::moveEvent(QMoveEvent* event) {
  QMainWindow::moveEvent(event);
  layoutChanged();
}

void MainWindow::resizeEvent(QResizeEvent* event) {
  QMainWindow::resizeEvent(event);
  layoutChanged();
}

void MainWindow::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Escape && pictureOnly_) return setPictureOnly(false);
  QMainWindow::keyPressEvent(event);
}

void MainWindow::dragEnterEvent(QDragEnterEvent* event) {
  if (droppedFile(event->mimeData()).Content()) event->acceptProposedAction();
}

// The file is opened after the drop has ended: a question must not keep the other program waiting.
void MainWindow::dropEvent(QDropEvent* event) {
  const Filename file = droppedFile(event->mimeData());
  if (!file.Content() || down_) return;
  event->acceptProposedAction();
  QTimer::singleShot(0, this, [this, file] {
    if (!down_) openFile(file);
  });
}

bool MainWindow::eventFilter(QObject* watched, QEvent* event) {
  const QEvent::Type type = event->type();
  if (watched == view_ && type == QEvent::Resize && start_) start_->settle();
  const bool hand = type == QEvent::MouseButtonRelease || type == QEvent::KeyRelease;
  if (hand && watched->isWidgetType() && !down_) {
    const auto* widget = static_cast<const QWidget*>(watched);
    const bool popup = widget->window()->windowType() == Qt::Popup;
    for (const DialogDock* dock : findChildren<DialogDock*>())
      if (popup || dock->isAncestorOf(widget)) dialogUsed_.start();
  }
  return QMainWindow::eventFilter(watched, event);
}

// What a plug-in's dialog did to the document without saying so becomes a step too, once the user's hand is
// off it.
void MainWindow::noticeDialogs() {
  if (down_ || view_->view().inDrag()) return;
  if (QApplication::activePopupWidget() || session_.edits().isContinuous()) return dialogUsed_.start();
  session_.edits().notice("Change in Dialog");
}

void MainWindow::shutDown() {
  if (down_) return;
  storeLayout();
  down_ = true;
  storeSoon_.stop();
  progressLate_.stop();
  dialogUsed_.stop();
  qApp->removeEventFilter(this);
  subscriptions_.clear();
  session_.files().setQuestions({});
  ui_.setShowBitmap({});
  ui_.setDrawViews({});
  delete pictures_;
  delete settings_;
  delete shortcuts_;
  delete progress_;
  // What lists the document goes before the document does.
  delete objectsDock_;
  delete materialsDock_;
  delete attributesDock_;
  delete consoleDock_;
  delete std::exchange(timeline_, nullptr);
  statusBar()->removeWidget(status_);
  delete std::exchange(status_, nullptr);
  view_->shutDown();
}

} // namespace host
