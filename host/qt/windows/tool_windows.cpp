#include "tool_windows.h"

#include "about_dialog.h"
#include "command_palette.h"
#include "command_table.h"
#include "desk_panels.h"
#include "dialog_host.h"
#include "editor_view_widget.h"
#include "farm_windows.h"
#include "form_fields.h"
#include "frame_buffer.h"
#include "kept_window.h"
#include "key_table.h"
#include "library_window.h"
#include "light_table.h"
#include "link_dialog.h"
#include "message_box.h"
#include "missing_files.h"
#include "queue_windows.h"
#include "recovery_dialog.h"
#include "render_settings_dialog.h"
#include "session.h"
#include "shortcuts_dialog.h"
#include "sky_window.h"
#include "tour.h"
#include "window_layout.h"

namespace host {

namespace {

void present(QWidget& window) {
  window.show();
  window.raise();
  window.activateWindow();
}

/// The largest visible dialog of a plug-in on the screen: its viewer. Empty when none is open.
QRect viewerPlace(const QWidget& window) {
  QRect largest;
  for (const DialogDock* dock : window.findChildren<DialogDock*>()) {
    if (!dock->isVisible() || dock->visibleRegion().isEmpty()) continue;
    const QRect place(dock->mapToGlobal(QPoint(0, 0)), dock->size());
    if (place.width() * place.height() > largest.width() * largest.height()) largest = place;
  }
  return largest;
}

// Of the dock or window that a menu bar stands in.
QString titleAbove(const QWidget& bar) {
  const QWidget* above = bar.parentWidget();
  while (above && !above->isWindow() && !qobject_cast<const QDockWidget*>(above))
    above = above->parentWidget();
  return above ? above->windowTitle() : QString();
}

} // namespace

ToolWindows::ToolWindows(Session& session, CommandTable& commands, QWidget& window)
    : QObject(&window), session_(session), commands_(commands), window_(window) {
}

ToolWindows::~ToolWindows() = default;

FrameBuffer& ToolWindows::frameBuffer() {
  if (!frame_) {
    frame_ = new FrameBuffer(session_);
    new DeskPanels(session_, *frame_);
    connect(frame_, &FrameBuffer::renderWanted, commands_.action(QStringLiteral("render.picture")),
            &QAction::trigger);
    addFrameKeys();
    frame_->addAction(commands_.action(QStringLiteral("file.quit")));
  }
  return *frame_;
}

void ToolWindows::addFrameKeys() {
  KeyTable& keys = commands_.keys();
  keys.setWindow(frameKeys, *frame_);
  for (QAction* action : frame_->actions())
    keys.add(QStringLiteral("frame.") + action->objectName(), tr("Frame Buffer"), *action, frameKeys);
  keys.addPlace(QStringLiteral("file.quit"), frameKeys);
  keys.complete(QStringLiteral("frame."));
}

// Where the user left it. False when that is not known: it gets the size it wants.
bool ToolWindows::placeFrameBuffer() {
  if (keptFrame_) return true;
  FrameBuffer& frame = frameBuffer();
  frame.resize(frame.sizeHint());
  keptFrame_ = new KeptWindow(frame, frameBufferLayout);
  return keptFrame_->restore();
}

// The first time beside the viewer, so that both are in sight.
void ToolWindows::showFrameBuffer() {
  if (!placeFrameBuffer())
    if (const QRect viewer = viewerPlace(window_); !viewer.isEmpty()) placeBeside(frameBuffer(), viewer);
  frameBuffer().present();
}

void ToolWindows::openFrameBuffer(bool viewer) {
  QString trouble;
  const std::optional<StoredLayout> before = readLayout(frameBufferLayout, trouble);
  const bool first = viewer && !before && !readLayout(mainLayout, trouble) && trouble.isEmpty();
  if (before ? !before->open : !first || !hasRoomBeside(window_)) return;
  QTimer::singleShot(0, this, [this, first] { // the main window comes up at once
    FrameBuffer& frame = frameBuffer();
    if (!placeFrameBuffer() && first) placeSideBySide(window_, frame);
    frame.setAttribute(Qt::WA_ShowWithoutActivating);
    frame.show();
    frame.setAttribute(Qt::WA_ShowWithoutActivating, false);
  });
}

void ToolWindows::showRenderSettings() {
  if (!settings_) {
    settings_ = new RenderSettingsDialog(session_, &window_);
    connect(settings_, &RenderSettingsDialog::renderWanted,
            commands_.action(QStringLiteral("render.picture")), &QAction::trigger);
  }
  present(*settings_);
}

FarmWindows& ToolWindows::farm() {
  if (!farm_) {
    farm_ = new FarmWindows(session_, window_, *commands_.action(QStringLiteral("file.quit")));
    connect(farm_, &FarmWindows::picturesWanted, this, [this](const QStringList& files) {
      showFrameBuffer();
      frameBuffer().openPictures(files);
    });
  }
  return *farm_;
}

QueueWindows& ToolWindows::queue() {
  if (!queue_) {
    queue_ = new QueueWindows(session_, window_, *commands_.action(QStringLiteral("file.quit")));
    connect(queue_, &QueueWindows::picturesWanted, this, [this](const QStringList& files) {
      showFrameBuffer();
      frameBuffer().openPictures(files);
    });
  }
  return *queue_;
}

void ToolWindows::showLeftQueue() {
  if (QFileInfo::exists(QString::fromStdString(settingsFolder()) + QStringLiteral("/queue/queue.json")))
    queue().showLeft();
}

bool ToolWindows::mayClose() {
  return !queue_ || queue_->mayClose();
}

void ToolWindows::showLink(LiveLink& link) {
  if (!link_) link_ = new LinkDialog(link, &window_);
  present(*link_);
}

void ToolWindows::showMissingFiles() {
  if (!missing_) missing_ = new MissingFiles(session_, &window_);
  present(*missing_);
}

void ToolWindows::showLibrary() {
  if (!library_) library_ = new LibraryWindow(session_, &window_);
  present(*library_);
}

void ToolWindows::showSkies() {
  if (!skies_) skies_ = new SkyWindow(session_, &window_);
  present(*skies_);
}

void ToolWindows::showLights() {
  if (!lights_) lights_ = new LightTable(session_, &window_);
  present(*lights_);
}

void ToolWindows::showShortcuts() {
  if (!shortcuts_) {
    frameBuffer(); // its commands are listed as well
    shortcuts_ = new ShortcutsDialog(commands_, &window_);
  }
  present(*shortcuts_);
}

void ToolWindows::showPalette() {
  commands_.refresh();
  std::vector<MenuEntryRow> rows;
  const QMenuBar* own = window_.findChild<QMenuBar*>(QString(), Qt::FindDirectChildrenOnly);
  if (own) addMenuEntries(*own, {}, rows);
  for (const QMenuBar* bar : window_.findChildren<QMenuBar*>())
    if (bar != own && bar->isVisible()) addMenuEntries(*bar, titleAbove(*bar), rows);
  if (frame_ && frame_->isVisible()) addActionEntries(frame_->actions(), tr("Frame Buffer"), rows);
  (new CommandPalette(std::move(rows), &window_))->present();
}

void ToolWindows::showTour() {
  if (tour_) return tour_->raise();
  const auto key = [this](const char* id) {
    return commands_.action(QLatin1String(id))->shortcut().toString(QKeySequence::NativeText);
  };
  QPointer<QWidget> viewer;
  for (DialogDock* dock : window_.findChildren<DialogDock*>())
    if (dock->isVisible() && !dock->isFloating() && !viewer) viewer = dock;
  auto* view = window_.findChild<EditorViewWidget*>();
  auto* bar = window_.findChild<QMenuBar*>(QString(), Qt::FindDirectChildrenOnly);
  tour_ = new Tour({{view, tr("Look around"),
                     tr("Hold Alt and drag to orbit. The wheel moves closer, a click selects an object, %1 "
                        "shows the whole "
                        "scene.")
                         .arg(key("view.frame-all"))},
                    {viewer, tr("See it rendered"),
                     tr("The viewer renders the scene beside your work. Change a light or a material and "
                        "press Refresh, or "
                        "tick the box before Refresh to let the picture follow.")},
                    {bar, tr("Find any command"),
                     tr("%1 finds every command by a few letters. Open your own scene with %2, or drop it "
                        "into the window.")
                         .arg(key("help.search"), key("file.open"))}},
                   window_);
  tour_->present();
}

void ToolWindows::showAbout() {
  auto* about = new AboutDialog(&window_);
  about->setAttribute(Qt::WA_DeleteOnClose);
  about->open();
}

void ToolWindows::showRecovery(bool always) {
  if (!recovery_ && session_.autosave().abandoned().empty()) {
    if (always)
      showMessage(&window_,
                  {tr("No unsaved scenes were left behind."),
                   {},
                   tr("Scenes are kept by themselves while they have unsaved changes: File > Autosave."),
                   {}});
    return;
  }
  if (!recovery_) {
    recovery_ = new RecoveryDialog(session_, &window_);
    recovery_->setAttribute(Qt::WA_DeleteOnClose);
  }
  present(*recovery_);
}

void ToolWindows::keepLayouts() {
  if (keptFrame_) std::exchange(keptFrame_, nullptr)->end(); // it goes with the window
}

void ToolWindows::shutDown() {
  keepLayouts();
  delete frame_;
  delete settings_;
  delete farm_;
  delete queue_;
  delete link_;
  delete missing_;
  delete shortcuts_;
  delete recovery_;
  delete tour_;
}

} // namespace host
