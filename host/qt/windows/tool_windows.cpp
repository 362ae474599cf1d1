#include "tool_windows.h"

#include "about_dialog.h"
#include "command_table.h"
#include "desk_panels.h"
#include "dialog_host.h"
#include "farm_windows.h"
#include "frame_buffer.h"
#include "message_box.h"
#include "recovery_dialog.h"
#include "render_settings_dialog.h"
#include "session.h"
#include "shortcuts_dialog.h"
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
    frame_->addAction(commands_.action(QStringLiteral("file.quit")));
  }
  return *frame_;
}

// The first time beside the viewer, so that both are in sight; afterwards where the user left it.
void ToolWindows::showFrameBuffer() {
  FrameBuffer& frame = frameBuffer();
  if (!placed_) {
    placed_ = true;
    frame.resize(frame.sizeHint());
    if (const QRect viewer = viewerPlace(window_); !viewer.isEmpty()) placeBeside(frame, viewer);
  }
  frame.present();
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
    farm_ = new FarmWindows(session_, window_);
    connect(farm_, &FarmWindows::picturesWanted, this, [this](const QStringList& files) {
      showFrameBuffer();
      frameBuffer().openPictures(files);
    });
  }
  return *farm_;
}

void ToolWindows::showShortcuts() {
  if (!shortcuts_) {
    shortcuts_ = new ShortcutsDialog(commands_, &window_);
    QList<QAction*> actions = frameBuffer().actions();
    actions.removeOne(commands_.action(QStringLiteral("file.quit"))); // listed with its menu
    shortcuts_->addActions(tr("Frame Buffer"), actions);
  }
  present(*shortcuts_);
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

void ToolWindows::shutDown() {
  delete frame_;
  delete settings_;
  delete farm_;
  delete shortcuts_;
  delete recovery_;
}

} // namespace host
