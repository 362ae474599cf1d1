#include "main_window.h"

#include "attribute_manager.h"
#include "c4d_events.h"
#include "console_widget.h"
#include "dialog_window.h"
#include "editor_view_widget.h"
#include "icons.h"
#include "material_manager.h"
#include "message_box.h"
#include "object_manager.h"
#include "picture_viewer.h"
#include "qt_user_interface.h"
#include "render_settings_dialog.h"
#include "shortcuts_dialog.h"
#include "start_page.h"
#include "status_widget.h"
#include "theme.h"
#include "timeline_widget.h"

namespace host {

namespace {

QString text(const String& string) {
  return QString::fromStdString(string.GetUTF8());
}

QString text(const std::string& string) {
  return QString::fromStdString(string);
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
  placeOnScreen();

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
  applySoon_.setSingleShot(true);
  connect(&applySoon_, &QTimer::timeout, this, &MainWindow::applyLayout);
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
    if (down_ || !session_.pictures().show(bitmap, session_.files().title())) return false;
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
  connect(objects_, &ObjectManager::clicked, attributes_, &AttributeManager::lookAtObjects);
  connect(view_, &EditorViewWidget::picked, attributes_, &AttributeManager::lookAtObjects);
  connect(materials_, &MaterialManager::clicked, attributes_, &AttributeManager::lookAtMaterial);
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
    return askChoice(this, box, {tr("Load Again"), tr("Keep My Changes")}, 1) == 0;
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
  applySoon_.stop();
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
