#include "main_window.h"

#include "attribute_manager.h"
#include "console_widget.h"
#include "dialog_docks.h"
#include "editor_view_widget.h"
#include "icons.h"
#include "link_sign.h"
#include "main_commands.h"
#include "main_menus.h"
#include "material_manager.h"
#include "message_box.h"
#include "missing_files.h"
#include "object_manager.h"
#include "qt_text.h"
#include "qt_user_interface.h"
#include "start_page.h"
#include "status_widget.h"
#include "timeline_widget.h"
#include "tool_windows.h"
#include "window_files.h"
#include "window_layout.h"

namespace host {

namespace {

// The first file of those that are dragged over the window.
Filename droppedFile(const QMimeData* data) {
  if (data && data->hasUrls())
    for (const QUrl& url : data->urls())
      if (url.isLocalFile()) return Filename(String(url.toLocalFile().toStdString()));
  return {};
}

} // namespace

MainWindow::MainWindow(Session& session, QtUserInterface& ui, MainWindowOptions options)
    : session_(session), ui_(ui), commands_(new CommandTable(this)) {
  setObjectName(QStringLiteral("studio"));
  setWindowIcon(icon(QStringLiteral("lumenara")));
  setDockNestingEnabled(true);
  setAcceptDrops(true);
  setTabPosition(Qt::AllDockWidgetAreas, QTabWidget::North);
  setCorner(Qt::BottomLeftCorner, Qt::LeftDockWidgetArea);
  setCorner(Qt::BottomRightCorner, Qt::RightDockWidgetArea);
  placeOnScreen(*this);

  buildCentre(options.tracer);
  buildDocks();
  layout_ = new WindowLayout(
      *this, {objectsDock_, materialsDock_, attributesDock_, consoleDock_, toolBar_, timeline_});
  dialogs_ = new DialogDocks(*this, *layout_, session_, *commands_, std::move(options.dockedDialogs));
  files_ = new WindowFiles(session_, ui_, *this);
  tools_ = new ToolWindows(session_, *commands_, *this);
  buildStartPage(options.demoScene);
  buildStatus(options.stopPlugins);
  buildCommands(options);
  subscribe();
  serveUi();
  layout_->reset();
  refresh();
}

MainWindow::~MainWindow() {
  shutDown();
  ui_.setDialogHost(nullptr);
}

void MainWindow::buildCentre(ViewTracer* tracer) {
  auto* centre = new QWidget;
  view_ = new EditorViewWidget(session_, tracer);
  timeline_ = new TimelineWidget(session_);
  auto* layout = new QVBoxLayout(centre);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(0);
  auto* missing = new MissingNotice(session_);
  connect(missing, &MissingNotice::listWanted, this, [this] { tools_->showMissingFiles(); });
  layout->addWidget(missing);
  layout->addWidget(view_, 1);
  layout->addWidget(timeline_);
  setCentralWidget(centre);
}

QDockWidget* MainWindow::addDock(const char* name, const QString& title, QWidget* content) {
  auto* dock = new QDockWidget(title, this);
  dock->setObjectName(QLatin1String(name));
  dock->setWidget(content);
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
  toolBar_ = addToolBar(tr("Tools"));
  toolBar_->setObjectName(QStringLiteral("tools"));
}

void MainWindow::buildStartPage(const Filename& demoScene) {
  StartPageServices services;
  services.open = [this] { files_->chooseAndOpen(); };
  services.openOne = [this](const Filename& file) { files_->openRecent(file); };
  if (demoScene.Content()) services.openDemo = [this, demoScene] { files_->open(demoScene); };
  start_ = new StartPage(std::move(services), view_);
}

void MainWindow::buildStatus(const std::function<void()>& stopPlugins) {
  status_ = new StatusWidget(session_);
  status_->setStopPlugins(stopPlugins);
  statusBar()->setSizeGripEnabled(false);
  statusBar()->addWidget(status_, 1);
  connect(files_, &WindowFiles::noted, this, [this](int count) {
    status_->say(count == 1 ? tr("The scene was opened with a note in the console.")
                            : tr("The scene was opened with %1 notes in the console.").arg(count));
  });
}

void MainWindow::buildCommands(const MainWindowOptions& options) {
  commands_->setBlocked([this] { return down_ || view_->view().inDrag(); });
  const MainParts parts{*this,
                        session_,
                        ui_,
                        *commands_,
                        *view_,
                        *objects_,
                        *materials_,
                        *files_,
                        *layout_,
                        *dialogs_,
                        *tools_,
                        *toolBar_,
                        {objectsDock_, materialsDock_, attributesDock_, consoleDock_},
                        options.manual,
                        options.link};
  addMainCommands(parts);
  timeline_->showKeys();
  menus_ = new MainMenus(parts);
  if (options.link)
    statusBar()->addPermanentWidget(
        new LinkSign(*options.link, *commands_->action(QStringLiteral("file.link"))));
  connect(view_, &EditorViewWidget::toolChanged, commands_, &CommandTable::refreshSoon);
  connect(view_, &EditorViewWidget::menuWanted, menus_, &MainMenus::showViewMenu);
  connect(layout_, &WindowLayout::pictureOnlyChanged, commands_, &CommandTable::refreshSoon);
}

// The desktop's services for the host and its plug-ins.
void MainWindow::serveUi() {
  ui_.setMainWindow(this);
  ui_.setDialogHost(dialogs_);
  ui_.setShowBitmap([this](const BaseBitmap& bitmap) {
    if (down_ || !session_.pictures().show(bitmap, session_.files().title())) return false;
    tools_->showFrameBuffer();
    return true;
  });
  ui_.setDrawViews([this](LONG flags) { return !down_ && view_->view().drawViews(flags); });
}

void MainWindow::subscribe() {
  const auto soon = [this] { commands_->refreshSoon(); };
  const auto keep = [this](Subscription subscription) { subscriptions_.push_back(std::move(subscription)); };
  keep(session_.hub().changed.add([this] { refresh(); }));
  keep(session_.hub().selectionChanged.add(soon));
  keep(session_.hub().timeChanged.add(soon));
  keep(session_.hub().replaced.add([this](Replacement) { refresh(); }));
  keep(session_.edits().changed.add([this] { refresh(); }));
  keep(session_.files().changed.add([this] { refresh(); }));
  keep(session_.playback().changed.add(soon));
  keep(session_.renders().finished.add([this] {
    commands_->refreshSoon();
    const std::string& error = session_.renders().state().error;
    if (!error.empty()) showError(this, splitBoxText(QString::fromStdString(error)));
  }));
}

void MainWindow::refresh() {
  if (down_) return;
  setWindowTitle(tr("%1 - Lumenara Studio").arg(toQt(session_.files().windowTitle())));
  const BaseDocument* document = session_.document();
  const bool empty = document && !document->GetFirstObject() && !session_.files().file().Content() &&
                     session_.files().activity().kind == FileSession::Activity::Kind::none;
  if (empty && !start_->isVisibleTo(view_)) start_->setRecent(session_.files().recentFiles());
  start_->setVisible(empty);
  if (empty) start_->settle();
  commands_->refreshSoon();
}

FrameBuffer& MainWindow::frameBuffer() {
  return tools_->frameBuffer();
}

void MainWindow::pluginsStarted() {
  menus_->fillPlugins();
}

void MainWindow::openFrameBuffer(bool viewer) {
  tools_->openFrameBuffer(viewer);
}

void MainWindow::offerRecovery() {
  tools_->showRecovery(false);
  tools_->showLeftQueue();
}

void MainWindow::showTour() {
  tools_->showTour();
}

void MainWindow::openFile(const Filename& file) {
  files_->open(file);
}

void MainWindow::closeEvent(QCloseEvent* event) {
  if (down_) return event->accept();
  if (view_->view().inDrag() || !tools_->mayClose() || !session_.files().mayClose()) return event->ignore();
  session_.pictureSaver().finish(); // a failure must show while the window exists
  layout_->setPictureOnly(false);
  layout_->store();
  tools_->keepLayouts();
  event->accept();
  emit closed();
}

void MainWindow::changeEvent(QEvent* event) {
  QMainWindow::changeEvent(event);
  if (event->type() == QEvent::WindowStateChange && layout_) layout_->changed();
}

void MainWindow::moveEvent(QMoveEvent* event) {
  QMainWindow::moveEvent(event);
  if (layout_) layout_->changed();
}

void MainWindow::resizeEvent(QResizeEvent* event) {
  QMainWindow::resizeEvent(event);
  if (layout_) layout_->changed();
}

void MainWindow::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Escape && layout_->isPictureOnly()) return layout_->setPictureOnly(false);
  QMainWindow::keyPressEvent(event);
}

void MainWindow::dragEnterEvent(QDragEnterEvent* event) {
  if (droppedFile(event->mimeData()).Content()) event->acceptProposedAction();
}

// Opens the file after the drop has ended: a question must not keep the other program waiting.
void MainWindow::dropEvent(QDropEvent* event) {
  const Filename file = droppedFile(event->mimeData());
  if (!file.Content() || down_) return;
  event->acceptProposedAction();
  QTimer::singleShot(0, this, [this, file] {
    if (!down_) openFile(file);
  });
}

void MainWindow::shutDown() {
  if (down_) return;
  layout_->shutDown();
  down_ = true;
  dialogs_->shutDown();
  subscriptions_.clear();
  files_->shutDown();
  ui_.setShowBitmap({});
  ui_.setDrawViews({});
  tools_->shutDown();
  // Parts that list the document go before the document does.
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
